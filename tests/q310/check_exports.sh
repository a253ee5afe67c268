#!/usr/bin/env bash
# Compares the export table of the built library with the list of export names.
#   check_exports.sh windows Q310.dll exports.txt [OBJDUMP]  -> exactly "_<name>" for each name, system imports only
#   check_exports.sh posix libq310.so exports.txt            -> exactly "<name>" for each name
# OBJDUMP is the build's own (the 32-bit or the 64-bit mingw-w64 one); i686-w64-mingw32-objdump by default.
set -euo pipefail
platform="$1" library="$2" list="$3" objdump="${4:-i686-w64-mingw32-objdump}"
expected="$(mktemp)" actual="$(mktemp)"
trap 'rm -f "$expected" "$actual"' EXIT

if [ "$platform" = windows ]; then
    dump="$("$objdump" -p "$library")"
    sed 's/^/_/' "$list" | sort >"$expected"
    sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' <<<"$dump" | sed -n 's/^[[:space:]]*\[ *[0-9]*\] //p' | sort >"$actual"
    # The DLL carries its runtime: it may import only DLLs that every Windows has.
    imports="$(sed -n 's/^[[:space:]]*DLL Name: //p' <<<"$dump" | tr 'A-Z' 'a-z' | sort -u)"
    for dll in $imports; do
        case "$dll" in
            kernel32.dll | advapi32.dll | msvcrt.dll | ws2_32.dll | user32.dll | ntdll.dll) ;;
            *) echo "unexpected import: $dll"; exit 1 ;;
        esac
    done
    echo "imports: $(echo $imports)"
else
    sort "$list" >"$expected"
    nm -D --defined-only "$library" | awk '$2 ~ /^[TtWw]$/ || $2 ~ /^[A-Z]$/ {print $3}' | sort >"$actual"
fi

if ! diff -u "$expected" "$actual"; then
    echo "the export table differs from $list"
    exit 1
fi
echo "$(wc -l <"$actual") exports, as listed"
