#!/usr/bin/env bash
# Builds the benchmarks (build/bench: native, RelWithDebInfo, Q310_BUILD_BENCH=ON, no tests) and runs
# the set that docs/performance.md reports, printing every figure beside its floor:
#   1. time per exchange over a pseudo-terminal paced at 9600, 19200 and 115200 baud (and 9600 8E1),
#   2. the same over TCP,
#   3. a full read-out of the meter, paced at 9600 and 115200 baud and over TCP,
#   4. instructions per exchange under callgrind at trace level 4 and with the trace off, one line
#      "instructions per exchange (trace level 4, serial|tcp): N" per path,
#   5. heap allocations of the host thread per call of every read export.
# Environment: BENCH_COUNT (calls per timed figure, default 200), BENCH_RUNS (read-outs, default 3),
# BENCH_TURNAROUND (the simulated meter's turnaround in ms, default 5), BENCH_RT (0: no real-time
# priority for the timed runs), BENCH_ONLY (a space-separated subset of: exchange tcp readout
# instructions alloc).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup-deps.sh >/dev/null

count="${BENCH_COUNT:-200}"
runs="${BENCH_RUNS:-3}"
turn="${BENCH_TURNAROUND:-5}"
only="${BENCH_ONLY:-exchange tcp readout instructions alloc}"
build=build/bench

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQ310_BUILD_BENCH=ON -DQ310_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j2 --target q310-bench
bench="$PWD/$build/bench/q310-bench"

wants() { [[ " $only " == *" $1 "* ]]; }

echo "=== machine"
echo "$(nproc) cores: $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2- | sed 's/^ *//')"
echo "kernel $(uname -r); load average at start: $(cut -d' ' -f1-3 /proc/loadavg)"
echo "commit $(git rev-parse --short HEAD 2>/dev/null || echo unknown)$(git diff --quiet 2>/dev/null || echo ' (with local changes)')"

# The timed figures run at a real-time priority where the system allows it (root or CAP_SYS_NICE), so
# that other work on the cores delays the bench's threads less; BENCH_RT=0 runs them plainly.
timed=()
if [ "${BENCH_RT:-1}" != 0 ] && chrt -f 10 true 2>/dev/null; then
    timed=(chrt -f 10)
fi
echo "timed runs: ${timed[*]:-normal priority}"

if wants exchange; then
    echo "=== 1. time per exchange over a paced pseudo-terminal (ms; turnaround $turn ms)"
    first=1
    for line in "--baud 9600" "--baud 19200" "--baud 115200" "--baud 9600 --parity" \
                "--baud 9600 --timeouts 20,0,300,0,0"; do
        # shellcheck disable=SC2086
        "${timed[@]}" "$bench" exchange $line --turnaround "$turn" --count "$count" eReadFrequency eReadStorageBattery |
            if [ "$first" = 1 ]; then cat; else grep -v '^#'; fi
        first=0
    done
fi

if wants tcp; then
    echo "=== 2. time per exchange over TCP (ms)"
    "${timed[@]}" "$bench" exchange --tcp --count "$count" eReadFrequency eReadStorageBattery
fi

if wants readout; then
    echo "=== 3. full read-out (ms)"
    "${timed[@]}" "$bench" readout --baud 9600 --turnaround "$turn" --runs "$runs"
    "${timed[@]}" "$bench" readout --baud 115200 --turnaround "$turn" --runs "$runs" | grep -E '^# read-out|TOTAL'
    "${timed[@]}" "$bench" readout --tcp --runs "$runs" | grep -E '^# read-out|TOTAL'
fi

if wants instructions; then
    echo "=== 4. instructions per exchange (valgrind --tool=callgrind, host thread only, eReadFrequency)"
    out="$(mktemp -d /tmp/q310-callgrind-XXXXXX)"
    calls=50
    for path in "" "--tcp"; do
        for trace in "" "--trace-off"; do
            # shellcheck disable=SC2086
            valgrind --tool=callgrind --separate-threads=yes --toggle-collect=q310_bench_measured \
                --callgrind-out-file="$out/cg.out" "$bench" instructions $path $trace --count "$calls" \
                eReadFrequency 2>"$out/valgrind.log" >/dev/null
            mv "$out/cg.out-01" "$out/profile${trace}"
            rm -f "$out"/cg.out*
        done
        name=serial
        [ "$path" = "--tcp" ] && name=tcp
        python3 bench/callgrind_split.py "$out/profile" "$out/profile--trace-off" "$calls" "$name"
    done
    rm -rf "$out"
fi

if wants alloc; then
    echo "=== 5. heap allocations of the host thread"
    "$bench" alloc --count 20
    "$bench" alloc --tcp --count 20 | grep -v '^#' | awk '$4 != "0.000" { bad = 1; print } END { if (!bad) print "  tcp: every read export 0.000 per call after the first" }'
fi
