#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (the `fuzz` preset) and runs each for a while.
#   scripts/fuzz.sh [SECONDS] [TARGET...]     default: 20 seconds each, every target
# Each target starts from its seed corpus in fuzz/corpus/<target>/ and keeps what it finds in
# build/fuzz/corpus/<target>/ (the committed seeds stay small); a crash leaves its input in
# build/fuzz/artifacts/ and makes the script fail. The targets run side by side, one per core.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-20}"
shift || true
targets=("$@")
if [ "${#targets[@]}" -eq 0 ]; then
    targets=(fuzz_transport_receive fuzz_echo_remove fuzz_gateway_answer fuzz_schedule_decode
             fuzz_iso_time fuzz_decrypt_unpad fuzz_open_mode fuzz_schedule_text fuzz_holiday_text)
fi

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc)" --target q310_fuzz

mkdir -p build/fuzz/artifacts
# run_one TARGET: one target for the given time from its corpus; prints its result in one block.
run_one() {
    local target="$1" work="build/fuzz/corpus/$1"
    mkdir -p "$work"
    if ! "build/fuzz/fuzz/$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
        -print_final_stats=1 -artifact_prefix="build/fuzz/artifacts/$target-" \
        "$work" "fuzz/corpus/$target" 2>"build/fuzz/$target.log"; then
        { echo "fuzz: $target FAILED, see build/fuzz/$target.log and build/fuzz/artifacts/"
          tail -40 "build/fuzz/$target.log"; } >&2
        return 1
    fi
    echo "=== fuzz: $target, ${seconds}s: $(grep -E '^stat::number_of_executed_units' "build/fuzz/$target.log")"
}
export -f run_one
export seconds
# One target per core at a time (FUZZ_JOBS overrides); xargs fails if any target failed.
printf '%s\n' "${targets[@]}" | xargs -P "${FUZZ_JOBS:-$(nproc)}" -I{} bash -c 'run_one {}'
