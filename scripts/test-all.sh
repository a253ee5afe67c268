#!/usr/bin/env bash
# Installs what is missing, builds the Linux and the Windows targets, and runs every test
# (the Windows test executables under wine); then the Linux tests again built with AddressSanitizer and
# UndefinedBehaviorSanitizer (the `sanitize` preset; `make sanitize` runs that step alone), and a short
# run of each fuzz target (FUZZ_SECONDS, default 20).
set -euo pipefail
cd "$(dirname "$0")/.."
jobs="$(nproc)"

bash scripts/setup-deps.sh

status=0
for preset in native windows; do
    echo "=== $preset: configure and build"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$jobs"
    echo "=== $preset: test"
    if ! ctest --preset "$preset" -j "$jobs"; then status=1; fi
done
if command -v wineserver >/dev/null; then
    WINEPREFIX="$PWD/build/windows/wineprefix" wineserver -k 2>/dev/null || true
fi

# Tests labelled no_sanitize cannot run under the sanitizers (the reason is written where the label is
# set, in tests/CMakeLists.txt).
echo "=== sanitize: configure, build and test"
sanitize_start=$(date +%s)
cmake --preset sanitize >/dev/null
cmake --build --preset sanitize -j "$jobs"
if ! ctest --preset sanitize -j "$jobs" -LE no_sanitize; then status=1; fi
echo "=== sanitize: $(( $(date +%s) - sanitize_start )) s"

echo "=== fuzz: short runs"
if ! bash scripts/fuzz.sh "${FUZZ_SECONDS:-20}"; then status=1; fi
exit $status
