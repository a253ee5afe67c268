#!/usr/bin/env bash
# q310.exe under wine reading the simulator over TCP: the simulator is the native build's zentor-sim
# (`make test` builds the native tree first); without it the test is skipped (exit 77).
# Usage: cli_wine_test.sh Q310_EXE ZENTOR_SIM WINE_RUN
set -u
if [ ! -x "$2" ]; then
    echo "SKIP: $2 is missing; build the native preset first (make test does)"
    exit 77
fi
. "$(dirname "$0")/cli_common.sh"
Q=(bash "$(realpath "$3")" "$(realpath "$1")")
"$2" --tcp 0 >"$work/sim.out" 2>"$work/sim.err" &
sim_pid=$!
trap 'kill $sim_pid 2>/dev/null; wait 2>/dev/null; rm -rf "$work"' EXIT
for i in $(seq 100); do
    [ -s "$work/sim.out" ] && break
    sleep 0.05
done
TCP=(--tcp "$(head -1 "$work/sim.out")")
# Files by relative names: wine sees the working folder through its drive of the root.
cd "$work" || exit 1

run 0 "${TCP[@]}" info
has out "  serial number:    21000417" "  firmware version: 2.14" "  firmware date:    2020-11-05"
run 0 "${TCP[@]}" --json read energy network battery
json 'd["energy"]["active_kWh"] == {"T1": 12345.67, "T2": 4567.89, "T3": 0, "T4": 0}' \
    'd["energy"]["raw"]["eReadStorageBattery"] == [1234567, 456789, 0, 0]' \
    'd["network"]["frequency_Hz"] == 50.01 and d["network"]["voltage_V"] == 230.1' \
    'd["network"]["power_factor"] == 0.985 and d["network"]["raw"]["eReadCOS_Q316"] == "8985000450"' \
    'd["battery"]["voltage_V"] == 3.61'
run 0 "${TCP[@]}" read energy network
has out "  active:   T1 12345.67  T2 4567.89  T3 0.00  T4 0.00 kWh" "  power factor:   0.985"
run 0 "${TCP[@]}" schedule get schedule.txt
sed '0,/07:00,T1/s//06:30,T3/' schedule.txt >changed.txt
run 0 "${TCP[@]}" schedule put changed.txt
run 0 "${TCP[@]}" --json schedule get
json 'd["months"][0]["days"][0]["zones"] == ["00:00,T2", "06:30,T3", "23:00,T2"]' \
    'd["months"][0]["days"][0]["day"] == "Понедельник"'
run 0 "${TCP[@]}" holidays get
has out "1 января" "4 ноября"
# A bridge that is not there: the library's message, in UTF-8.
run 1 --tcp 127.0.0.1:1 info
has err "q310: Запрос на открытие TCP/IP сокета: Ошибка."
run 2 info
has err "q310: no meter given: --port COM1 (or a device path), --tcp HOST:PORT"
run 2 --sim info
has err "q310: --sim needs the Linux build; connect to zentor-sim with --tcp HOST:PORT"
finish
