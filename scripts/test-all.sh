#!/usr/bin/env bash
# Installs what is missing, builds the Linux and the Windows targets, and runs every test
# (the Windows test executables under wine).
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
exit $status
