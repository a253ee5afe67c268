#!/usr/bin/env bash
# Packs the Windows build into a zip for host developers:
#   scripts/package-windows.sh [BUILD_DIR [OUT_DIR]]      (defaults: build/windows, BUILD_DIR/package)
# It runs `cmake --install` (stripped) into a staging folder and zips it as q310-<version>-win32.zip:
#   q310-<version>-win32/bin/Q310.dll        the library
#   q310-<version>-win32/bin/q310.exe        the command-line host (when the build has target q310_cli)
#   q310-<version>-win32/include/Q310.h      the header
#   q310-<version>-win32/lib/Q310.lib        import library made by the GNU linker (C names eOpen, ...)
#   q310-<version>-win32/lib/Q310.def        the module definition: the 90 exports "eOpen == _eOpen"
# Then it checks that the archive holds exactly these files and that Q310.def names exactly the exports
# of Q310/exports.txt, and prints the archive's path.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="$(cd "${1:-$root/build/windows}" && pwd)"
out="${2:-$build/package}"

[ -f "$build/Q310/Q310.dll" ] || { echo "no Q310.dll in $build: build the windows preset first" >&2; exit 1; }
version="$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")"
name="q310-$version-win32"
mkdir -p "$out"
out="$(cd "$out" && pwd)"
archive="$out/$name.zip"

stage="$(mktemp -d)"
trap 'rm -rf "$stage"' EXIT
cmake --install "$build" --prefix "$stage/$name" --strip >/dev/null
rm -f "$archive"
(cd "$stage" && zip -q -r -X "$archive" "$name")

# The archive's files, exactly.
expected="$name/bin/Q310.dll
$name/include/Q310.h
$name/lib/Q310.def
$name/lib/Q310.lib"
if [ -n "$(find "$build" -maxdepth 4 -type d -path '*/CMakeFiles/q310_cli.dir' -print -quit)" ]; then
    expected="$expected
$name/bin/q310.exe"
fi
if ! diff -u <(sort <<<"$expected") <(unzip -Z1 "$archive" | grep -v '/$' | sort); then
    echo "package-windows: $archive does not hold exactly the expected files" >&2
    exit 1
fi

# Q310.def: "LIBRARY Q310.dll", "EXPORTS", then one line "    eName == _eName" for each listed export.
def="$(unzip -p "$archive" "$name/lib/Q310.def")"
expected_def="$(printf 'LIBRARY Q310.dll\nEXPORTS\n'; sed 's/.*/    & == _&/' "$root/Q310/exports.txt")"
if [ "$def" != "$expected_def" ]; then
    echo "package-windows: Q310.def does not name exactly the exports of Q310/exports.txt" >&2
    diff -u <(echo "$expected_def") <(echo "$def") >&2 || true
    exit 1
fi
echo "package-windows: $(unzip -Z1 "$archive" | grep -vc '/$') files, $(grep -c ' == _e' <<<"$def") exports in Q310.def"
echo "$archive"
