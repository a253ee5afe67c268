#!/usr/bin/env bash
# q310-fleet against one zentor-sim serving 200 meters over TCP, 10 of them silent and 5 answering with a
# corrupted CRC: 185 lines with values and 15 with the library's message, and a second run with
# --resume-failed that reads only those 15.
# Usage: fleet_test.sh Q310_FLEET ZENTOR_SIM
set -u
. "$(dirname "$0")/cli_common.sh"
FLEET="$1"
SIM="$2"
command -v parallel >/dev/null || { echo "FAIL: GNU parallel is missing (scripts/setup-deps.sh installs it)"; exit 1; }
"$SIM" --meters 200 --tcp 0 --address 101 --silent-meters 11-20 --garbling-meters 101-105 \
    --inventory "$work/fleet.csv" >"$work/sim.out" 2>"$work/sim.err" &
sim_pid=$!
trap 'kill $sim_pid 2>/dev/null; wait 2>/dev/null; rm -rf "$work"' EXIT
for i in $(seq 400); do
    [ "$(wc -l <"$work/sim.out")" = 200 ] && break
    sleep 0.05
done
[ "$(wc -l <"$work/fleet.csv")" = 201 ] || { echo "FAIL: zentor-sim wrote no inventory"; cat "$work/sim.err"; exit 1; }
[ "$(sed -n 2p "$work/fleet.csv")" = "meter-001,tcp:$(head -1 "$work/sim.out"),101," ] ||
    fail "inventory row: $(sed -n 2p "$work/fleet.csv")"

# check FILE WANT_NAMES_OK WANT_NAMES_FAILED: every line one meter's JSON, as q310 --json-line writes it.
check() {
    python3 - "$@" <<'PY' || fail "fleet output $1"
import json, re, sys
lines = open(sys.argv[1], encoding="utf-8").read().splitlines()
want_ok, want_failed = set(sys.argv[2].split()), set(sys.argv[3].split())
ok, failed, bad = set(), set(), []
stamp = re.compile(r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$")
for line in lines:
    d = json.loads(line)
    n = int(d["name"][6:])
    head = {"name": d["name"], "address": 100 + n}
    if {k: d[k] for k in head} != head or not stamp.match(d["started"]) or not d["started"] <= d["ended"]:
        bad.append(line)
    elif d["result"] == "ok" and list(d) == ["name", "connection", "address", "serial_number", "started", "ended", "result", "values"] \
            and d["serial_number"] == "%08d" % (21000416 + n) \
            and d["values"]["energy"]["active_kWh"] == {"T1": 12345.67, "T2": 4567.89, "T3": 0, "T4": 0} \
            and d["values"]["energy"]["raw"]["eReadStorageBattery"] == [1234567, 456789, 0, 0]:
        ok.add(d["name"])
    elif d["result"] == "failed" and d["message"] == "Запрос на чтение серийного номера: Нет ответа." \
            and d["exit_code"] == 1 and d["serial_number"] is None and "values" not in d:
        failed.add(d["name"])
    else:
        bad.append(line)
for what, got, want in (("read", ok, want_ok), ("failed", failed, want_failed)):
    if got != want:
        print("%s: %d meters, want %d; extra %s, missing %s" % (what, len(got), len(want), sorted(got - want)[:5], sorted(want - got)[:5]))
print("\n".join(bad[:3]))
sys.exit(0 if not bad and len(lines) == len(want_ok) + len(want_failed) and ok == want_ok and failed == want_failed else 1)
PY
}
names() { for i in "$@"; do printf 'meter-%03d ' "$i"; done; }
failing="$(names $(seq 11 20) $(seq 101 105))"
good="$(names $(seq 1 10) $(seq 21 100) $(seq 106 200))"

start=$(date +%s)
"$FLEET" --jobs 8 "$work/fleet.csv" >"$work/first.jsonl" 2>"$work/first.err"
code=$?
[ "$code" = 15 ] || fail "first run exited $code, expected 15 (failed meters): $(head -3 "$work/first.err")"
check "$work/first.jsonl" "$good" "$failing"
[ "$(awk 'NR > 1 && $7 != 0' "$work/fleet.csv.joblog" | wc -l)" = 15 ] || fail "job log: not 15 failed jobs"

"$FLEET" --jobs 8 --resume-failed "$work/fleet.csv" >"$work/second.jsonl" 2>"$work/second.err"
code=$?
[ "$code" = 15 ] || fail "resumed run exited $code, expected 15"
check "$work/second.jsonl" "" "$failing"
echo "two fleet runs in $(($(date +%s) - start)) s"

# An inventory without the connection column is refused before anything runs.
printf 'name,address\nm,1\n' >"$work/bad.csv"
"$FLEET" "$work/bad.csv" >"$work/out" 2>"$work/err"
code=$?
[ "$code" = 3 ] && grep -qxF "q310-fleet: $work/bad.csv: the header names no column \"connection\" (name,connection,address,password)" "$work/err" ||
    fail "bad inventory: exit $code, $(cat "$work/err")"
finish
