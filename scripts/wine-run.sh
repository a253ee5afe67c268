#!/usr/bin/env bash
# Runs a Windows executable under wine in a throw-away prefix of the build tree
# (32-bit, or 64-bit for the x86_64 build).
# Used as the cross-compiling emulator, so ctest runs every Windows test executable through it.
# The prefix is made on first use (scripts/wine-prefix.sh) and shared by the tests of one build; the
# test runner starts one persistent wine server for it (scripts/wine-server.sh).
# A wine client that cannot reach its server fails before the program runs, with "wine client error"
# on its standard error. That is the wine set-up failing, not the program: it is said in one line and
# the program is run once more; the second run's result stands.
set -euo pipefail
exe="$1"
shift
build_dir="${Q310_WINE_BUILD_DIR:-$(cd "$(dirname "$exe")" && while [ ! -f CMakeCache.txt ] && [ "$PWD" != / ]; do cd ..; done; pwd)}"
export WINEPREFIX="${WINEPREFIX:-$build_dir/wineprefix}"
WINEARCH="$("$(dirname "$0")/wine-arch.sh" "$build_dir")"
export WINEARCH
export WINEDEBUG="${WINEDEBUG:--all,err+module}"
export WINEDLLOVERRIDES="mscoree,mshtml="
"$(dirname "$0")/wine-prefix.sh" "$WINEPREFIX" >/dev/null

errors="$(mktemp "${TMPDIR:-/tmp}/q310-wine-run-XXXXXX")"
trap 'rm -f "$errors"' EXIT
for attempt in 1 2; do
    # The standard error goes to the caller as it comes and into a file for the check below.
    set +e
    { wine "$exe" "$@" 2>&1 1>&3 3>&- | tee "$errors" >&2; status=${PIPESTATUS[0]}; } 3>&1
    set -e
    if [ $status -eq 0 ] || [ $attempt -eq 2 ] || ! grep -q "wine client error" "$errors"; then
        exit $status
    fi
    echo "wine-run: wine lost its server ($(grep -m1 "wine client error" "$errors")); running $(basename "$exe") once more" >&2
done
