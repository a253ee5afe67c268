#!/usr/bin/env bash
# Installs what is missing, builds the Linux and the Windows targets, and runs every test
# (the Windows test executables under wine); then a short run of each fuzz target (FUZZ_SECONDS,
# default 20). The sanitizer suite runs by itself: `make sanitize`.
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

echo "=== fuzz: short runs"
if ! bash scripts/fuzz.sh "${FUZZ_SECONDS:-20}"; then status=1; fi
exit $status
