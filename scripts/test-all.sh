#!/usr/bin/env bash
# Installs what is missing, builds the Linux and the Windows targets, and runs every test
# (the Windows test executables under wine); then the Linux tests again built with AddressSanitizer and
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
    times+=("$(printf '%-28s %5d s%s' "$name" $(( $(date +%s) - start )) "$([ $rc -eq 0 ] || echo "  FAILED ($rc)")")")
    [ $rc -eq 0 ] || status=1
    return 0
}
build() { cmake --preset "$1" >/dev/null && cmake --build --preset "$1" -j "$jobs"; }

step "set-up" bash scripts/setup-deps.sh
step "native: build" build native
step "native: test" ctest --preset native -j "$test_jobs"
step "windows: build" build windows
# One persistent wine server for the whole Windows run, stopped after it (scripts/wine-server.sh).
step "windows: wine server" bash scripts/wine-server.sh start
step "windows: test" ctest --preset windows -j "$test_jobs"
bash scripts/wine-server.sh stop
# Tests labelled no_sanitize cannot run under the sanitizers (the reason is written where the label is
# set, in tests/CMakeLists.txt).
step "sanitize: build" build sanitize
step "sanitize: test" ctest --preset sanitize -j "$test_jobs" -LE no_sanitize
step "fuzz: build and short runs" bash scripts/fuzz.sh "${FUZZ_SECONDS:-20}"

echo "=== times"
printf '%s\n' "${times[@]}"
printf '%-28s %5d s\n' "whole run" $(( $(date +%s) - run_start ))
exit $status
