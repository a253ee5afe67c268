#!/usr/bin/env bash
# Installs what is missing, builds the Linux and the Windows targets, and runs every test
# (the Windows test executables under wine; on a machine without 32-bit programs, those of the 64-bit
# build under wine64); then the Linux tests again built with AddressSanitizer and
# UndefinedBehaviorSanitizer (the `sanitize` preset; `make sanitize` runs that step alone), and a short
# run of each fuzz target (FUZZ_SECONDS, default 20). Each step prints its time; the sum closes the run.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs="$(nproc)"
# Most tests wait on a line or a time-out rather than compute, so ctest runs three per core; the slow
# ones carry a COST in tests/CMakeLists.txt and start first.
test_jobs="${Q310_TEST_JOBS:-$((jobs * 3))}"
run_start=$(date +%s)
status=0
times=()

# step NAME COMMAND...: runs the command, records its time, and notes a failure without stopping.
step() {
    local name="$1" start rc=0
    shift
    echo "=== $name"
    start=$(date +%s)
    "$@" || rc=$?
    times+=("$(printf '%-34s %5d s%s' "$name" $(( $(date +%s) - start )) "$([ $rc -eq 0 ] || echo "  FAILED ($rc)")")")
    [ $rc -eq 0 ] || status=1
    return 0
}
build() { cmake --preset "$1" >/dev/null && cmake --build --preset "$1" -j "$jobs"; }

# Named semaphores live in /dev/shm as sem.NAME; the library removes its own when the last user ends,
# so a run must leave none behind that were not there before it.
semaphores() { find /dev/shm -maxdepth 1 -name 'sem.*' -printf '%f\n' 2>/dev/null | sort; }
semaphores_before="$(semaphores)"

step "set-up" bash scripts/setup-deps.sh
step "native: build" build native
step "native: test" ctest --preset native -j "$test_jobs"
# The Windows tests run the 32-bit build under 32-bit wine. A machine that does not run 32-bit programs
# (scripts/runs-i386.sh) cannot start 32-bit wine: there the 32-bit library and q310.exe are built and
# the library's export table checked, and the Windows tests run on the 64-bit build under wine64.
windows=windows
if ! bash scripts/runs-i386.sh; then
    echo "windows: this machine does not run 32-bit programs: Q310.dll and q310.exe are built for 32-bit Windows and the DLL's export table is checked; the Windows tests run on the 64-bit build (preset windows64) under wine64"
    step "windows: build (32-bit library)" bash -c 'cmake --preset windows >/dev/null && cmake --build --preset windows -j "$1" --target q310 q310_cli' _ "$jobs"
    step "windows: export table (32-bit)" ctest --preset windows -R '^q310_export_table$'
    windows=windows64
fi
step "$windows: build" build "$windows"
# One persistent wine server for the whole Windows run, stopped after it (scripts/wine-server.sh).
step "$windows: wine server" bash scripts/wine-server.sh start "build/$windows"
step "$windows: test" ctest --preset "$windows" -j "$test_jobs"
bash scripts/wine-server.sh stop "build/$windows"
# Tests labelled no_sanitize cannot run under the sanitizers (the reason is written where the label is
# set, in tests/CMakeLists.txt).
step "sanitize: build" build sanitize
step "sanitize: test" ctest --preset sanitize -j "$test_jobs" -LE no_sanitize
step "fuzz: build and short runs" bash scripts/fuzz.sh "${FUZZ_SECONDS:-20}"

left_behind() {
    local left
    left="$(comm -13 <(echo "$semaphores_before") <(semaphores))"
    [ -z "$left" ] && return 0
    echo "left in /dev/shm by the run:" $left
    return 1
}
step "nothing left in /dev/shm" left_behind

echo "=== times"
printf '%s\n' "${times[@]}"
printf '%-34s %5d s\n' "whole run" $(( $(date +%s) - run_start ))
exit $status
