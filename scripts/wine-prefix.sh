#!/usr/bin/env bash
# Makes a wine prefix at the given path if it is not there yet: of the architecture in WINEARCH, or
# else of the build folder that holds it (scripts/wine-arch.sh). Safe to call from parallel tests: the
# first caller builds it under a lock, the others wait for it.
set -euo pipefail
prefix="$1"
mkdir -p "$(dirname "$prefix")"
exec 9>"$prefix.lock"
flock 9
if [ ! -f "$prefix/.q310-ready" ]; then
    rm -rf "$prefix"
    export WINEPREFIX="$prefix" WINEARCH="${WINEARCH:-$("$(dirname "$0")/wine-arch.sh" "$(dirname "$prefix")")}" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
    wineboot --init >/dev/null 2>&1
    wineserver -w
    touch "$prefix/.q310-ready"
fi
