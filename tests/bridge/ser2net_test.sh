#!/usr/bin/env bash
# The TCP-bridge path through a real serial-to-TCP bridge: zentor-sim on a pseudo-terminal, ser2net 4
# between that device and a TCP port of its own choosing, q310 (Linux) or q310.exe under wine reading
# through it. Skipped (77) only without ser2net, or for Windows without the native build's zentor-sim.
# Usage: ser2net_test.sh ZENTOR_SIM Q310 [WINE_RUN]
set -u
SIM="$1"
SER2NET="$(command -v ser2net || echo /usr/sbin/ser2net)"
if [ ! -x "$SER2NET" ]; then
    echo "SKIP: ser2net is not installed (scripts/setup-deps.sh installs it)"
    exit 77
fi
if [ ! -x "$SIM" ]; then
    echo "SKIP: $SIM is missing; build the native preset first (make test does)"
    exit 77
fi
. "$(dirname "$0")/../cli/cli_common.sh"
if [ $# -ge 3 ]; then Q=(bash "$(realpath "$3")" "$(realpath "$2")"); else Q=("$(realpath "$2")"); fi
pids=()
cleanup() {
    local pid
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null; done
    wait 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

# bridge NAME SIM_ARGS...: a zentor-sim on a pseudo-terminal $work/NAME and a ser2net in front of it
# listening on a port the system picks; sets BRIDGE_NAME to 127.0.0.1:PORT. The port is read back from the
# listening socket that ser2net's own descriptors hold, so no port number is guessed.
bridge() {
    local name="$1" i inode port=""
    shift
    "$SIM" --pty --link "$work/$name" --trace "$@" >/dev/null 2>"$work/$name.sim" &
    pids+=($!)
    for i in $(seq 200); do
        [ -e "$work/$name" ] && break
        sleep 0.05
    done
    printf 'connection: &%s\n  accepter: tcp,127.0.0.1,0\n  connector: serialdev,%s,9600n81,local\n' \
        "$name" "$work/$name" >"$work/$name.yaml"
    "$SER2NET" -n -d -c "$work/$name.yaml" >"$work/$name.ser2net" 2>&1 &
    local ser2net_pid=$!
    pids+=("$ser2net_pid")
    for i in $(seq 200); do
        for inode in $(find "/proc/$ser2net_pid/fd" -lname 'socket:*' -printf '%l\n' 2>/dev/null | tr -dc '0-9\n'); do
            port=$(awk -v inode="$inode" '$4 == "0A" && $10 == inode { split($2, a, ":"); print a[2] }' /proc/net/tcp)
            [ -n "$port" ] && break 2
        done
        sleep 0.05
    done
    if [ -z "$port" ] || [ ! -e "$work/$name" ]; then
        echo "the bridge $name did not come up"
        cat "$work/$name.sim" "$work/$name.ser2net"
        exit 1
    fi
    printf -v "BRIDGE_$name" '127.0.0.1:%d' "$((16#$port))"
}

# sent FILE SIDE FRAME...: each FRAME (hex) is in the byte stream that the trace FILE shows going one
# way, however the bridge cut it into reads: SIDE is "rx"/"tx" of the simulator, or "write"/"read" of
# the library (its channel trace).
sent() {
    local file="$work/$1" side="$2" pattern stream frame
    shift 2
    case "$side" in
        rx | tx) pattern="s/^zentor-sim: $side //p" ;;
        write) pattern='s/^Kel_SerialChannel_Write, Timeout=[0-9]* Data=\[[0-9]*\] //p' ;;
        read) pattern='s/^Kel_SerialChannel_Read - OK, Data=\[[0-9]*\] //p' ;;
    esac
    stream=" $(sed -n "$pattern" "$file" | tr -s ' \n' '  ') "
    for frame in "$@"; do
        case "$stream" in
            *" $frame "*) ;;
            *) fail "$side stream of $1 lacks $frame" ;;
        esac
    done
}

bridge meter
bridge silent --silent always
bridge echo --mode echo
cd "$work" || exit 1

# Identity, energies, a write: the values arrive, and the frames the library wrote and read through
# its socket are the ones the simulator received and sent on its pseudo-terminal.
run 0 --tcp "$BRIDGE_meter" --json --trace info
json 'd["identity"]["serial_number"] == "21000417"'
run 0 --tcp "$BRIDGE_meter" --json --trace read energy
mv err energy.trace
sent meter.sim rx "00 00 00 01 2F 64 4C" "00 00 00 01 27 65 8A"
sent meter.sim tx "00 00 00 01 27 01 23 45 67 00 45 67 89 00 00 00 00 00 00 00 00 70 08"
sent energy.trace write "00 00 00 01 27 65 8A"
sent energy.trace read "00 00 00 01 27 01 23 45 67 00 45 67 89 00 00 00 00 00 00 00 00 70 08"
# The meter takes a new address; it answers there.
run 0 --tcp "$BRIDGE_meter" set address 77
run 0 --tcp "$BRIDGE_meter" --address 77 --json --trace info
json 'd["identity"]["serial_number"] == "21000417"'
sent err read "00 00 00 4D 2F 01 40 70 E1 35 4B"

# An RS-485 line behind the bridge: the library removes the echo of each request.
run 0 --tcp "$BRIDGE_echo" --tcp-echo --json info
json 'd["identity"]["serial_number"] == "21000417"'

# A silent meter: the request went through twice (the library asks once more), no answer came back,
# exit 1 and the library's message.
run 1 --tcp "$BRIDGE_silent" info
has err "q310: Запрос на чтение серийного номера: Нет ответа."
[ "$(sed -n 's/^zentor-sim: rx //p' silent.sim | tr -s ' \n' '  ')" = "00 00 00 01 2F 64 4C 00 00 00 01 2F 64 4C " ] &&
    ! grep -q '^zentor-sim: tx' silent.sim || fail "silent meter: $(cat silent.sim)"
finish
