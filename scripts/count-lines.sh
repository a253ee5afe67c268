#!/bin/bash
# Non-blank lines of C, C++ and Python in tests/ against the code outside tests/, bench/ and fuzz/
# (build folders excluded), and their ratio.
cd "$(dirname "$0")/.." || exit 1
count() { git ls-files "$@" | grep -E '\.(c|cpp|h|hpp|py)$' | xargs cat | grep -cv '^\s*$'; }
tests=$(count tests)
code=$(count . ':!tests' ':!bench' ':!fuzz')
echo "tests $tests, code $code: $(awk -v t="$tests" -v c="$code" 'BEGIN { printf "%.1f %%", 100 * t / c }')"
