#!/usr/bin/env bash
# Runs a Windows executable under wine in a throw-away 32-bit prefix of the build tree.
# Used as the cross-compiling emulator, so ctest runs every Windows test executable through it.
# The prefix is made on first use (scripts/wine-prefix.sh) and shared by the tests of one build.
set -euo pipefail
exe="$1"
shift
build_dir="${Q310_WINE_BUILD_DIR:-$(cd "$(dirname "$exe")" && while [ ! -f CMakeCache.txt ] && [ "$PWD" != / ]; do cd ..; done; pwd)}"
export WINEPREFIX="${WINEPREFIX:-$build_dir/wineprefix}"
export WINEARCH=win32
export WINEDEBUG="${WINEDEBUG:--all,err+module}"
export WINEDLLOVERRIDES="mscoree,mshtml="
"$(dirname "$0")/wine-prefix.sh" "$WINEPREFIX" >/dev/null
exec wine "$exe" "$@"
