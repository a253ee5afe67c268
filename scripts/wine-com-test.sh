#!/usr/bin/env bash
# Runs a Windows serial test executable under wine with a COM port of the build's wine prefix mapped
# to a pseudo-terminal whose far end echoes every byte back (socat with a PIPE), and names that port
# in Q310_TEST_COM_PORT for the test.
#   scripts/wine-com-test.sh path/to/test.exe [test arguments]
# Wine maps \\.\COMn through the link dosdevices/comN (lower case) of the prefix. The script keeps
# the terminal end open itself, so that the test may close and reopen the port without the far end
# seeing a hang-up. It stops what it started by its pid and removes the link it made.
set -euo pipefail
exe="$1"
shift
here="$(cd "$(dirname "$0")" && pwd)"
build_dir="${Q310_WINE_BUILD_DIR:-$(cd "$(dirname "$exe")" && while [ ! -f CMakeCache.txt ] && [ "$PWD" != / ]; do cd ..; done; pwd)}"
export WINEPREFIX="${WINEPREFIX:-$build_dir/wineprefix}"
"$here/wine-prefix.sh" "$WINEPREFIX" >/dev/null

work="$(mktemp -d /tmp/q310-com-XXXXXX)"
socat_pid=""
link=""
cleanup() {
    [ -n "$link" ] && rm -f "$link"
    exec 8>&- 2>/dev/null || true
    if [ -n "$socat_pid" ]; then
        kill "$socat_pid" 2>/dev/null || true
        wait "$socat_pid" 2>/dev/null || true
    fi
    rm -rf "$work"
}
trap cleanup EXIT

socat PTY,raw,echo=0,link="$work/line" PIPE &
socat_pid=$!
for _ in $(seq 200); do
    [ -e "$work/line" ] && break
    sleep 0.05
done
if [ ! -e "$work/line" ]; then
    echo "wine-com-test: socat made no pseudo-terminal" >&2
    exit 1
fi
device="$(readlink -f "$work/line")"
exec 8<>"$device"

# The first free COM number from 40 on; ln fails if another run took it meanwhile.
mkdir -p "$WINEPREFIX/dosdevices"
for number in $(seq 40 99); do
    candidate="$WINEPREFIX/dosdevices/com$number"
    if [ ! -e "$candidate" ] && [ ! -L "$candidate" ] && ln -s "$device" "$candidate" 2>/dev/null; then
        link="$candidate"
        export Q310_TEST_COM_PORT="COM$number"
        break
    fi
done
if [ -z "$link" ]; then
    echo "wine-com-test: no free COM number in $WINEPREFIX/dosdevices" >&2
    exit 1
fi

# The wine server opens the device itself and, being a session leader, takes the pseudo-terminal
# as its controlling terminal; when the line goes away at the end it reports the hang-up on its
# standard error. The test runner's persistent server (scripts/wine-server.sh) discards that output.
"$here/wine-run.sh" "$exe" "$@"
