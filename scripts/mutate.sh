#!/usr/bin/env bash
# Fault injection: applies each deliberate fault of the table below, one at a time, to a scratch copy
# of the source tree (never to the working tree), rebuilds it incrementally and runs the test suite.
# Every fault must make at least one test fail.
#
#   scripts/mutate.sh [--list] [--full] [NAME...]
#
# --list prints the faults and stops; NAMEs choose a subset. The tests run in two tiers: the unit tests
# first, the tests against the simulator (e2e, fault, alloc, the q310 command) only when no unit test
# caught the fault; "caught by" lists the failing tests of the tier that caught it. --full runs the
# whole suite for every fault instead (twice as slow) and lists every failing test. The scratch copy lives in MUTATE_DIR
# (default build/mutate, ignored by git) and is kept with its build, so a second run is incremental;
# it is built like a plain native build (`cmake --preset native` in the copy), so with ccache
# (CMAKE_CXX_COMPILER_LAUNCHER from the environment) unchanged files come from the cache. MUTATE_JOBS
# sets the parallelism (default 2).
# Exit status: 0 when every chosen fault was caught; 1 when one survived or its original text was not
# found exactly once (NOT APPLIED: the code drifted and the table needs updating).
set -uo pipefail
repo="$(cd "$(dirname "$0")/.." && pwd)"
jobs="${MUTATE_JOBS:-2}"

# name, file, original text (must occur exactly once), replacement: separated by tabs. Literal texts,
# no patterns.
faults_table() {
    cat <<'EOF'
crc_init	protocols/orlenta/1phase/kel_zentor1phase_transport.cpp	uint8_t hi = 0xFF;	uint8_t hi = 0xFE;
length_check	protocols/orlenta/1phase/kel_zentor1phase_transport.cpp	if (received > 6 && Pack32	if (received > 7 && Pack32
bcd_order	protocols/orlenta/1phase/kel_zentor1phase_utils.cpp	*pByte = static_cast<uint8_t>(((aValue / 10) << 4) | (aValue % 10));	*pByte = static_cast<uint8_t>(((aValue % 10) << 4) | (aValue / 10));
retry_count	protocols/orlenta/1phase/kel_zentor1phase_client.cpp	for (uint32_t attempt = 0; attempt < 3; ++attempt)	for (uint32_t attempt = 0; attempt < 2; ++attempt)
byte_order	protocols/orlenta/1phase/kel_zentor1phase_utils.cpp	*pValue = static_cast<uint16_t>((pBuffer[At(aOffset, 0)] << 8) | pBuffer[At(aOffset, 1)]);	*pValue = static_cast<uint16_t>((pBuffer[At(aOffset, 1)] << 8) | pBuffer[At(aOffset, 0)]);
cp1251_byte	Q310/q310_export_texts.h	Kel_Cp1251("Запрос на открытие канала связи со счетчиком: Ошибка.")	Kel_Cp1251("Запрос на открытие канала связи со счетчиком: Ошибкa.")
trace_text	shared/src/shared/kel_serialchannel.cpp	"Kel_SerialChannel_Read, Size=%d, Timeout=%d"	"Kel_SerialChannel_Read, Size=%d Timeout=%d"
echo_length	Q310/q310_channels.cpp	? *pVariant->pEchoFrameLength	? *pVariant->pEchoFrameLength - 1
crc24_init	Q310/q310_channels.cpp	constexpr uint32_t CRC24_INIT = 0xB704CEu;	constexpr uint32_t CRC24_INIT = 0xB704CFu;
weekday_map	protocols/orlenta/1phase/kel_zentor1phase_tariff.cpp	const uint8_t weekDay = column == 0 ? 6 : static_cast<uint8_t>(column - 1);	const uint8_t weekDay = column == 0 ? 5 : static_cast<uint8_t>(column - 1);
read_timeout	shared/src/shared/platform/kel_p_serial_common.cpp	CommTimeouts.ReadTotalTimeoutConstant = 0;	CommTimeouts.ReadTotalTimeoutConstant = 10;
answer_timeout	protocols/orlenta/1phase/kel_zentor1phase_transport.cpp	} while (elapsed < pContext->answerTimeout);	} while (elapsed < pContext->answerTimeout / 4);
export_null	Q310/q310_exports_settings.cpp	    Q310_REJECT_NULL(powerLimit);	    (void)powerLimit;
dial_progress	Q310/q310_exports_gsm.cpp	{"RING", "RINGING", "RINGBACK", "DIALING", "DIALLING"}	{"RINGING", "RINGBACK", "DIALING", "DIALLING"}
hangup_read	shared/src/shared/platform/kel_p_serial_common.cpp	        KEL_GOTO_CODE(Kel_BadCommunicationError);	        KEL_EXIT(Kel_Good);
connect_timeout	shared/src/shared/platform/kel_p_tcp_common.cpp	Kel_P_Tcp_SetNonBlocking(fd, aTimeout != 0);	Kel_P_Tcp_SetNonBlocking(fd, false);
raw_wrapped	Q310/q310_exports_journals.cpp	if (Kel_IsBad(status) && received > 0)	if (Kel_IsBad(status) && received > 999)
semaphore_end	shared/src/shared/platform/posix/kel_p_semaphore.cpp	if (entry.users > 0)	if (entry.users > 999)
row_length	protocols/orlenta/1phase/kel_zentor1phase_commands.def	Kel_Zentor1Phase_Client_ReadTimeoutMultiplier, pValue, 0x82, 2,	Kel_Zentor1Phase_Client_ReadTimeoutMultiplier, pValue, 0x82, 3,
row_range	protocols/orlenta/1phase/kel_zentor1phase_commands.def	    0, 31,	    0, 63,
purge_output	shared/src/shared/platform/posix/kel_p_serial.cpp	tcflush(fd, TCIFLUSH)	tcflush(fd, TCIOFLUSH)
EOF
}

full=0
if [[ "${1:-}" == "--full" ]]; then full=1; shift; fi
if [[ "${1:-}" == "--list" ]]; then
    faults_table | awk -F'\t' '{ printf "%-15s %s\n    - %s\n    + %s\n", $1, $2, $3, $4 }'
    exit 0
fi

declare -a chosen=()
while IFS= read -r line; do
    name="${line%%$'\t'*}"
    if [[ $# -eq 0 ]]; then chosen+=("$line"); continue; fi
    for want in "$@"; do [[ "$want" == "$name" ]] && chosen+=("$line"); done
done < <(faults_table)
for want in "$@"; do
    faults_table | cut -f1 | grep -qx -- "$want" || { echo "unknown fault: $want" >&2; exit 2; }
done

# The scratch copy: tracked and untracked (not ignored) files of the working tree as they are now,
# uncommitted changes included. A kept MUTATE_DIR gets only the files whose content changed, so its
# build stays incremental.
work="${MUTATE_DIR:-$repo/build/mutate}"
mkdir -p "$work/src"
build="$work/src/build/native"
tree_hash="$( (cd "$repo" && git ls-files -z -co --exclude-standard) | python3 -c '
import hashlib, os, shutil, sys
src, dst = sys.argv[1], sys.argv[2]
digest = hashlib.sha256()
for rel in sys.stdin.buffer.read().decode().split("\0"):
    if not rel or not os.path.isfile(os.path.join(src, rel)):
        continue
    a, b = os.path.join(src, rel), os.path.join(dst, rel)
    with open(a, "rb") as f:
        data = f.read()
    if rel != "scripts/mutate.sh" and not rel.startswith("docs/"):
        digest.update(rel.encode() + b"\0" + hashlib.sha256(data).digest())
    if os.path.exists(b):
        with open(b, "rb") as f:
            if f.read() == data:
                continue
    os.makedirs(os.path.dirname(b), exist_ok=True)
    shutil.copy2(a, b)
print(digest.hexdigest())
' "$repo" "$work/src")"

log="$work/log"
mkdir -p "$log"
start=$(date +%s)
echo "=== scratch copy in $work; configure and build (native, RelWithDebInfo)"
if ! (cd "$work/src" && cmake --preset native) >"$log/configure.txt" 2>&1 ||
   ! cmake --build "$build" -j "$jobs" >"$log/build.txt" 2>&1; then
    echo "the unchanged tree does not build; see $log" >&2
    tail -20 "$log/build.txt" >&2
    exit 1
fi

# The suite without the soak and the installation tests (slow, and blind to these faults).
run_tests() {
    ctest --test-dir "$build" -j "$jobs" -E 'soak|package' --timeout 300 >"$1" 2>&1
}
simulator_tests='^test_e2e_|^test_fault_|^test_alloc_|^q310_cli'
run_tiered() {
    if [[ $full == 1 ]]; then run_tests "$1"; return; fi
    ctest --test-dir "$build" -j "$jobs" -E "soak|package|$simulator_tests" --timeout 300 >"$1" 2>&1 || return 1
    ctest --test-dir "$build" -j "$jobs" -R "$simulator_tests" -E 'soak' --timeout 300 >>"$1" 2>&1
}
# The unchanged tree must pass; a pass is remembered for this exact tree.
if [[ "$(cat "$work/baseline.ok" 2>/dev/null)" == "$tree_hash" ]]; then
    echo "=== baseline: passed before for this tree"
elif echo "=== baseline: the suite on the unchanged tree" && run_tests "$log/baseline.txt"; then
    echo "$tree_hash" >"$work/baseline.ok"
else
    echo "the unchanged tree fails its tests; see $log/baseline.txt" >&2
    grep -A100 'tests failed' "$log/baseline.txt" >&2
    exit 1
fi

# Applies (mode apply) or reverts (mode revert) one fault: a literal replacement that must match once.
edit() {
    python3 - "$@" <<'PY'
import sys
mode, path, old, new = sys.argv[1:5]
backup = path + ".mutate-original"
if mode == "revert":
    with open(backup, "rb") as f:
        data = f.read()
    with open(path, "wb") as f:
        f.write(data)
    import os; os.remove(backup)
    sys.exit(0)
with open(path, "rb") as f:
    data = f.read()
count = data.count(old.encode())
if count != 1:
    print(f"original text found {count} times", file=sys.stderr)
    sys.exit(3)
with open(backup, "wb") as f:
    f.write(data)
with open(path, "wb") as f:
    f.write(data.replace(old.encode(), new.encode(), 1))
PY
}

declare -a rows=()
status=0
for line in "${chosen[@]}"; do
    IFS=$'\t' read -r name file old new <<<"$line"
    path="$work/src/$file"
    t0=$(date +%s)
    if ! edit apply "$path" "$old" "$new" 2>"$log/$name.apply.txt"; then
        rows+=("$name|$file|NOT APPLIED ($(cat "$log/$name.apply.txt"))")
        echo "--- $name: NOT APPLIED"
        status=1
        continue
    fi
    if ! cmake --build "$build" -j "$jobs" >"$log/$name.build.txt" 2>&1; then
        result="compiler only (build failed)"
    elif run_tiered "$log/$name.tests.txt"; then
        result="SURVIVED"
        status=1
    else
        failed="$build/Testing/Temporary/LastTestsFailed.log"
        result="$(cut -d: -f2- "$failed" 2>/dev/null | sed 's/ (.*//' | paste -sd, - | sed 's/,/, /g')"
        [[ -n "$result" ]] || result="caught (failure list missing, see $log/$name.tests.txt)"
    fi
    edit revert "$path" x x
    rows+=("$name|$file|$result")
    echo "--- $name ($(( $(date +%s) - t0 )) s): $result"
done

# Leave the build matching the unchanged tree for the next run.
cmake --build "$build" -j "$jobs" >"$log/rebuild.txt" 2>&1 || true

echo
echo "=== $(date -u '+%Y-%m-%d %H:%M UTC'), $(( $(date +%s) - start )) s"
printf '| %s | %s | %s |\n' fault file "caught by"
printf '|---|---|---|\n'
for row in "${rows[@]}"; do
    IFS='|' read -r name file result <<<"$row"
    printf '| %s | %s | %s |\n' "$name" "$file" "$result"
done
[[ $status -eq 0 ]] || echo "FAILED: a fault survived or was not applied" >&2
exit $status
