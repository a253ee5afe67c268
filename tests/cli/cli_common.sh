# Helpers of the q310 command-line tests: run a command, check its exit code, its output lines and its
# JSON. Sourced by cli_test.sh and cli_wine_test.sh; they set Q (the command to run q310) first.
failures=0
work="$(mktemp -d "${TMPDIR:-/tmp}/q310-cli-test.XXXXXX")"

fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

# run WANT_CODE ARGS...: runs q310 with ARGS into $work/out and $work/err (CR of Windows lines removed).
run() {
    local want="$1"
    shift
    "${Q[@]}" "$@" >"$work/out.raw" 2>"$work/err.raw"
    local code=$?
    tr -d '\r' <"$work/out.raw" >"$work/out"
    tr -d '\r' <"$work/err.raw" >"$work/err"
    if [ "$code" != "$want" ]; then
        fail "q310 $* exited $code, expected $want"
        sed 's/^/    out| /' "$work/out" | head -20
        sed 's/^/    err| /' "$work/err" | head -20
    fi
}

# has FILE TEXT...: every TEXT is a whole line of FILE (out or err of the last run).
has() {
    local file="$work/$1"
    shift
    local line
    for line in "$@"; do
        grep -qxF -- "$line" "$file" || fail "line '$line' missing from the $(basename "$file") of the last run"
    done
}

# json EXPRESSION...: each Python expression over d (the last run's output as JSON) is true.
json() {
    local expression
    for expression in "$@"; do
        python3 -c 'import json, sys
d = json.load(open(sys.argv[1], encoding="utf-8"))
sys.exit(0 if eval(sys.argv[2]) else 1)' "$work/out" "$expression" || fail "JSON check failed: $expression"
    done
}

finish() {
    if [ "$failures" -ne 0 ]; then
        echo "$failures check(s) failed"
        return 1
    fi
    echo "all checks passed"
    return 0
}
