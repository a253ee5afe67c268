#!/usr/bin/env bash
# Times a fleet read: one zentor-sim serving N meters (over TCP, or on pseudo-terminals paced like a
# 9600-baud line), read by q310-fleet with J jobs. Prints wall time, CPU time, meters per hour (and
# per core) beside the floor: the sum of the exchanges' wire floors per meter, divided by J.
# Usage: scripts/fleet-bench.sh [tcp|pty] [METERS] [JOBS] [q310 options...]
#        (default: tcp 200 8; e.g. pty 200 8 --timeouts 4294967295 0 0 10 1000). BUILD=build/native.
set -euo pipefail
transport="${1:-tcp}"
meters="${2:-200}"
jobs="${3:-8}"
shift $(($# < 3 ? $# : 3))
options=("$@")
build="${BUILD:-build/native}"
sim="$build/sim/zentor-sim"
fleet="$build/tools/q310/q310-fleet"
baud=9600
bits=10
turnaround=5
cores=$(nproc)
work="$(mktemp -d "${TMPDIR:-/tmp}/q310-fleet-bench.XXXXXX")"
pids=()
trap 'for p in "${pids[@]}"; do kill "$p" 2>/dev/null; done; wait 2>/dev/null; rm -rf "$work"' EXIT

start_sim() { # OUT LINES ARGS...: waits for LINES endpoints on OUT
    local out="$1" lines="$2"
    shift 2
    "$sim" "$@" >"$out" 2>"$out.err" &
    pids+=($!)
    for _ in $(seq 200); do
        [ "$(wc -l <"$out")" -ge "$lines" ] && return 0
        sleep 0.05
    done
    echo "zentor-sim did not start: $(cat "$out.err")" >&2
    exit 1
}

pace=()
[ "$transport" = pty ] && pace=(--pace "$baud:$bits" --turnaround "$turnaround")

# One meter read once with the simulator's trace: the request and answer sizes of every exchange.
if [ "$transport" = tcp ]; then
    start_sim "$work/one" 1 --tcp 0 --trace "${pace[@]}"
    connection="tcp:$(head -1 "$work/one")"
else
    start_sim "$work/one" 1 --pty --link "$work/one-meter" --trace "${pace[@]}"
    connection="port:$work/one-meter"
fi
"$build/tools/q310/q310" --connect "$connection" --json-line read energy "${options[@]}" >/dev/null
floor_ms=$(python3 - "$work/one.err" "$transport" "$baud" "$bits" "$turnaround" <<'PY'
import sys
lines = open(sys.argv[1]).read().splitlines()
transport, baud, bits, turnaround = sys.argv[2], int(sys.argv[3]), int(sys.argv[4]), float(sys.argv[5])
total, request, exchanges = 0.0, 0, 0
for line in lines:
    if line.startswith("zentor-sim: rx "):
        request += len(line.split()) - 2
    elif line.startswith("zentor-sim: tx "):
        answer = len(line.split()) - 2
        wire = 0.0 if transport == "tcp" else (request + answer) * bits * 1000.0 / baud + turnaround
        total += max(10.0, wire)  # the transport's 10 ms settle runs beside the line
        request, exchanges = 0, exchanges + 1
print("%.3f %d" % (total, exchanges))
PY
)
read -r floor_meter exchanges <<<"$floor_ms"

# The fleet.
if [ "$transport" = tcp ]; then
    start_sim "$work/fleet" "$meters" --meters "$meters" --tcp 0 --inventory "$work/fleet.csv" "${pace[@]}"
else
    start_sim "$work/fleet" "$meters" --meters "$meters" --pty --link "$work/m" --inventory "$work/fleet.csv" "${pace[@]}"
fi
started=$(date +%s.%N)
/usr/bin/time -f '%U %S' -o "$work/cpu" "$fleet" --jobs "$jobs" "$work/fleet.csv" -- read energy "${options[@]}" >"$work/lines.jsonl" || true
ended=$(date +%s.%N)
ok=$(grep -c '"result":"ok"' "$work/lines.jsonl" || true)
read -r user sys < <(tail -n 1 "$work/cpu")
grep -v '"result":"ok"' "$work/lines.jsonl" | head -n 3 >&2 || true
python3 - <<PY
wall = $ended - $started
cpu = $user + $sys
meters, jobs, cores, ok = $meters, $jobs, $cores, $ok
floor_meter = $floor_meter / 1000.0
floor_wall = meters * floor_meter / jobs
print("q310 options: ${options[*]:-none}")
print("transport %s, %d meters (%d read), %d jobs, %d cores, %d exchanges a meter"
      % ("$transport" + (" paced $baud baud x $bits bits, turnaround $turnaround ms" if "$transport" == "pty" else ""),
         meters, ok, jobs, cores, $exchanges))
print("wall %.2f s, CPU %.2f s (user $user, sys $sys): %.1f ms CPU a meter" % (wall, cpu, cpu / meters * 1000))
print("floor %.2f ms a meter, %.2f s for the fleet at %d jobs; wall / floor %.2f"
      % (floor_meter * 1000, floor_wall, jobs, wall / floor_wall))
print("meters per hour: %.0f (floor %.0f); per core %.0f; CPU-bound per core %.0f"
      % (meters / wall * 3600, meters / floor_wall * 3600, meters / wall * 3600 / cores, 3600 / (cpu / meters)))
PY
