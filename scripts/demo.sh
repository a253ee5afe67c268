#!/usr/bin/env bash
# A first look: installs what is missing, builds only the Linux q310 (and what it links) and prints
# the report of the simulated meter: identity, clock, energies per tariff, network values, maxima and
# the tariff schedule. Extra arguments go to q310 (e.g. `scripts/demo.sh --json`).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup-deps.sh
cmake --preset native >/dev/null
cmake --build --preset native -j "$(nproc)" --target q310_cli
echo "=== build/native/tools/q310/q310 --sim $*"
exec build/native/tools/q310/q310 --sim "$@"
