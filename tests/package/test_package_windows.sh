#!/usr/bin/env bash
# Packs the Windows build (scripts/package-windows.sh checks the archive's files and Q310.def), unpacks
# the archive, builds the small C host (host/host.c) against its include/ and lib/Q310.lib, puts
# Q310.dll beside it and runs it under wine: eTcpOpen to a closed port gives 0 and its message, and the
# DLL exports _eTcpOpen (not eTcpOpen) for GetProcAddress.
#   test_package_windows.sh BUILD_DIR SOURCE_DIR C_COMPILER WORK_DIR
set -euo pipefail
build="$1" source="$2" cc="$3" work="$4"

rm -rf "$work"
mkdir -p "$work/unpacked" "$work/run"
archive="$(bash "$source/scripts/package-windows.sh" "$build" "$work" | tail -n 1)"
unzip -q "$archive" -d "$work/unpacked"
package="$(echo "$work"/unpacked/q310-*-win32)"

"$cc" -Wall -Wextra -Werror -I"$package/include" -o "$work/run/host.exe" "$source/examples/host/host.c" \
    "$package/lib/Q310.lib" -lws2_32
cp "$package/bin/Q310.dll" "$work/run/"

out="$(cd "$work/run" && Q310_WINE_BUILD_DIR="$build" "$source/scripts/wine-run.sh" ./host.exe closed)" || {
    echo "$out"
    exit 1
}
grep -q "^closed port refused" <<<"$(tr -d '\r' <<<"$out")" || {
    echo "$out"
    exit 1
}
rm -rf "$work"
echo "package: the archive's host builds against Q310.lib and runs under wine"
