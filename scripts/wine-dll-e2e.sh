#!/usr/bin/env bash
# Runs the Windows test host of Q310.dll under wine against simulated meters (zentor-sim of the native
# build, a Linux program):
#   scripts/wine-dll-e2e.sh HOST.exe Q310.dll EXPORTS.txt METER.json ZENTOR-SIM
# It starts, each with the meter state of METER.json and its hex trace in a file of its own:
#   TCP         a TCP listener on loopback (eTcpOpen)
#   TCP_SILENT  the same, silent for every request
#   COM         a pseudo-terminal behind a COM link of the wine prefix (eOpen)
#   COM_SILENT  the same, silent
#   COM_ECHO    an RS-485 line that echoes every request
#   COM_MODEM   a GSM modem (AT commands, then a data call), with the dial plan of dial_plan.txt
#               beside METER.json (zentor-sim --dial, one per line)
#   COM_GATEWAY a GSM gateway (CRC-24 packets)
#   TCP_ECHO    a TCP listener whose line echoes every request
# and names them to the host as Q310_SIM_<NAME>_PORT (TCP port or COM number) and Q310_SIM_<NAME>_TRACE
# (the trace file as a Windows path), the DLL as Q310_DLL and the export list as Q310_EXPORTS.
# Exit status 77 (a skip for ctest) only when ZENTOR-SIM is missing, that is when the native build has
# not been made; everything else that goes wrong fails. It stops what it started by its pid.
set -euo pipefail
if [ $# -lt 5 ]; then
    echo "usage: $0 HOST.exe Q310.dll EXPORTS.txt METER.json ZENTOR-SIM [host arguments]" >&2
    exit 2
fi
exe="$1" dll="$2" exports="$3" state="$4" sim="$5"
shift 5
here="$(cd "$(dirname "$0")" && pwd)"

if [ ! -x "$sim" ]; then
    echo "wine-dll-e2e: SKIPPED: no simulator at $sim; build the native preset first" \
         "(cmake --preset native && cmake --build --preset native)" >&2
    exit 77
fi
for file in "$exe" "$dll" "$exports" "$state"; do
    if [ ! -f "$file" ]; then
        echo "wine-dll-e2e: missing $file" >&2
        exit 1
    fi
done

build_dir="${Q310_WINE_BUILD_DIR:-$(cd "$(dirname "$exe")" && while [ ! -f CMakeCache.txt ] && [ "$PWD" != / ]; do cd ..; done; pwd)}"
export WINEPREFIX="${WINEPREFIX:-$build_dir/wineprefix}"
"$here/wine-prefix.sh" "$WINEPREFIX" >/dev/null

# A Unix path as wine sees it through its drive Z: (the root of the file system).
winpath() {
    local path
    path="$(readlink -f "$1")"
    echo "Z:${path//\//\\}"
}

work="$(mktemp -d /tmp/q310-dll-XXXXXX)"
pids=()
cleanup() {
    for pid in "${pids[@]}"; do
        kill "$pid" 2>/dev/null || true
    done
    for pid in "${pids[@]}"; do
        wait "$pid" 2>/dev/null || true
    done
    rm -rf "$work"
}
trap cleanup EXIT

# Waits for the first line a simulator prints (its device or HOST:PORT).
first_line() {
    local file="$1" pid="$2"
    for _ in $(seq 200); do
        if [ -s "$file" ] && grep -q . "$file"; then
            head -n 1 "$file"
            return 0
        fi
        if ! kill -0 "$pid" 2>/dev/null; then
            break
        fi
        sleep 0.05
    done
    echo "wine-dll-e2e: the simulator did not start:" >&2
    cat "$work"/*.trace >&2 || true
    return 1
}

start_tcp() {
    local name="$1"
    shift
    "$sim" --tcp 0 --state "$state" --trace "$@" >"$work/$name.out" 2>"$work/$name.trace" &
    pids+=($!)
    local address
    address="$(first_line "$work/$name.out" $!)"
    export "Q310_SIM_${name}_PORT=${address##*:}"
    export "Q310_SIM_${name}_TRACE=$(winpath "$work/$name.trace")"
}

# The first free COM number from 60 on; the simulator makes the link dosdevices/comN itself.
mkdir -p "$WINEPREFIX/dosdevices"
next_com=60
start_com() {
    local name="$1"
    shift
    while [ -e "$WINEPREFIX/dosdevices/com$next_com" ] || [ -L "$WINEPREFIX/dosdevices/com$next_com" ]; do
        next_com=$((next_com + 1))
    done
    local number=$next_com
    next_com=$((next_com + 1))
    "$sim" --pty --link "$WINEPREFIX/dosdevices/com$number" --state "$state" --trace "$@" \
        >"$work/$name.out" 2>"$work/$name.trace" &
    pids+=($!)
    first_line "$work/$name.out" $! >/dev/null
    export "Q310_SIM_${name}_PORT=$number"
    export "Q310_SIM_${name}_TRACE=$(winpath "$work/$name.trace")"
}

start_tcp TCP
start_tcp TCP_SILENT --silent always
start_com COM
start_com COM_SILENT --silent always
start_com COM_ECHO --mode echo
dial_plan=()
while IFS= read -r entry; do
    dial_plan+=(--dial "$entry")
done <"$(dirname "$state")/dial_plan.txt"
start_tcp TCP_ECHO --mode echo
start_com COM_MODEM --mode modem --dial-step 100 "${dial_plan[@]}"
start_com COM_GATEWAY --mode gateway

export Q310_DLL="$(winpath "$dll")"
export Q310_EXPORTS="$(winpath "$exports")"
# The exports trace into tmp\ of the working directory.
mkdir -p tmp

# The wine server takes a pseudo-terminal it opens as its controlling terminal and reports the hang-up
# at the end on its standard error; the test runner's persistent server (scripts/wine-server.sh)
# discards that output.
status=0
"$here/wine-run.sh" "$exe" "$@" || status=$?
if [ $status -ne 0 ]; then
    echo "wine-dll-e2e: the host failed ($status); the end of each simulator's trace:" >&2
    for trace in "$work"/*.trace; do
        echo "--- $(basename "$trace")" >&2
        tail -n 20 "$trace" >&2
    done
fi
exit $status
