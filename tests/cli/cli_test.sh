#!/usr/bin/env bash
# q310 against the simulator: every command in text and JSON with the values the simulated meter
# holds, settings written and read back, the schedule put then got, the failure exit codes and messages.
# Usage: cli_test.sh Q310 ZENTOR_SIM
set -u
. "$(dirname "$0")/cli_common.sh"
Q=("$1")
SIM="$2"
sim_pids=()
cleanup() {
    local pid
    for pid in "${sim_pids[@]}"; do kill "$pid" 2>/dev/null; done
    wait 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

# A meter with its clock stopped at a known moment, two current maxima and a battery voltage whose
# hundredths the library prints without zero padding (" 12.5" is 12.05 A, "3.5" is 3.05 V), and a
# lagging power factor (sign bit clear).
cat >"$work/state.json" <<'JSON'
{"clock": {"time": "2024-03-15 12:00:00", "running": false},
 "battery_centivolts": 305, "parameters": {"p2_milli": -870},
 "maxima": {"current": [{"value": 1205, "time": "2024-03-10 08:30:00"},
                        {"value": 1250, "time": "2024-03-11 09:05:10"}]},
 "events": {"last_off": "2024-03-14 23:00:00"}}
JSON

# start_sim LINK ARGS...: a zentor-sim on a pseudo-terminal linked as LINK.
start_sim() {
    local link="$1"
    shift
    "$SIM" --pty --link "$link" "$@" >/dev/null 2>"$work/sim.err" &
    sim_pids+=($!)
    local i
    for i in $(seq 100); do
        [ -e "$link" ] && return 0
        sleep 0.05
    done
    echo "zentor-sim did not start"
    cat "$work/sim.err"
    exit 1
}
SIMSTATE=(--sim --sim-state "$work/state.json")

# The report (no command): identity, clock, energies, network values, maxima, the schedule summary.
run 0 "${SIMSTATE[@]}"
has out "  serial number:    21000417" "  firmware version: 2.14" "  firmware date:    2020-11-05" \
    "  time:    2024-03-15 12:00:00" "  weekday: Пятница" \
    "  active:   T1 12345.67  T2 4567.89  T3 0.00  T4 0.00 kWh" \
    "  reactive: T1 2345.67  T2 567.89  T3 0.00  T4 0.00 kvarh" \
    "  voltage:        230.1 V" "  current:        5.23 A" "  power:          1180 W" \
    "  frequency:      50.01 Hz" "  reactive power: 123 var" "  power factor:   -0.870" \
    "    - 12.05 A at 2024-03-10 08:30:00" "    - 12.50 A at 2024-03-11 09:05:10" "  Январь – Декабрь:" \
    "    Понедельник, Вторник, Среда, Четверг, Пятница, Суббота, Воскресенье, Праздник: 00:00 T2, 07:00 T1, 23:00 T2"

# info
run 0 "${SIMSTATE[@]}" info
has out "  production date:  2021-03-15" "  firmware id:      90.60" "  model code:       8" "  relay:            yes"
run 0 "${SIMSTATE[@]}" info --json
json 'd["identity"]["serial_number"] == "21000417"' 'd["identity"]["firmware_id"] == "90.60"' \
    'd["identity"]["model_variant"] == 2 and d["identity"]["power_option"] is True' \
    'd["identity"]["production_date"] == "2021-03-15" and d["identity"]["raw"]["eReadOutputDate"] == "15.03.21"' \
    'd["clock"] == {"time": "2024-03-15T12:00:00", "weekday": "Пятница", "raw": {"eReadCurrentTime": ["12:00:00", "15.03.24", "Пятница"]}}'

# read: everything, in JSON, then items in text
run 0 "${SIMSTATE[@]}" --json read
json 'd["energy"]["reactive_kvarh"] == {"T1": 2345.67, "T2": 567.89, "T3": 0, "T4": 0}' \
    'd["energy"]["raw"] == {"eReadStorageBattery": [1234567, 456789, 0, 0], "eReadStorageBattery_Q316": [234567, 56789, 0, 0]}' \
    'len(d["month_energy"]) == 12 and d["month_energy"]["01"]["active_kWh"]["T1"] * 100 == d["month_energy"]["01"]["raw"]["eReadMonthEnergy"][0] > 0' \
    'd["network"] == {"voltage_V": 230.1, "current_A": 5.23, "power_W": 1180, "frequency_Hz": 50.01, "reactive_power_var": 123, "power_factor": -0.87, "raw": {"eReadVoltageCurrentPower": ["230.1", "5.23", "1180"], "eReadFrequency": "50.01", "eReadCurrentPower_Q316": "123", "eReadCOS_Q316": "0870000450"}}' \
    '[m["value"] for m in d["maxima"]["current_A"]] == [12.05, 12.5]' \
    'd["maxima"]["current_A"][1]["at"] == "2024-03-11T09:05:10"' \
    'd["maxima"]["raw"]["eReadMaxCurrent"] == ["08:30:00 10.03.24", "  12.5", "09:05:10 11.03.24", "  12.50"]' \
    'd["running_time"] == {"meter_hours": 12345, "battery_hours": 12001}' \
    'd["battery"] == {"voltage_V": 3.05, "raw": {"eReadVoltageLiBattery": "3.5"}}' \
    'd["last_events"]["power_off"] == "2024-03-14T23:00:00" and d["last_events"]["raw"]["eReadTimeOnOff"][0] == [43, "23:00:00", "14.03.2024"]' \
    'd["display"]["tariff_switches"] == "11000" and d["display"]["times"] == [5, 5, 5, 5]' \
    'd["display"]["extra_flags"] == "11100000" and d["display"]["extra_delay"] == 10' \
    'd["limits"]["power_kW"] == 15 and d["limits"]["raw"]["eReadPowerLimit"] == 1500 and d["limits"]["tariff_energy"] == [5000, 3000, 0, 0]' \
    'd["relay"] == {"mode": 2, "state": 1, "output_mode": 0}' \
    'd["settings"] == {"clock_correction": 0, "summer_time": 1, "timeout_multiplier": 1}' \
    'd["tariffs"]["count"] == 2 and d["tariffs"]["profile_mode"] == 0' \
    'd["plc1"]["answer"] == "01 00 05 10 00 00 01 00"'
run 0 "${SIMSTATE[@]}" read running battery months --month 3
has out "running time:" "  meter hours:   12345" "  battery hours: 12001" "  voltage: 3.05 V" "  03:"
grep -q "^    active:   T1 [0-9]*\.[0-9][0-9]  T2 [0-9]*\.[0-9][0-9]  T3 0\.00  T4 0\.00 kWh$" "$work/out" ||
    fail "month 3 energies missing"

# set, then read back, on a simulator that lives across the runs
start_sim "$work/meter" --state "$work/state.json"
PORT=(--port "$work/meter")
settings_started=$(date +%s)
for setting in "display 10101 0 1 0" "display-extra 10110001 7" "display-times 4 6 7 8" "correction 5" \
    "season 0" "power-limit 2500" "energy-limit 300" "tariff-limits 100 200 300 400 1010" "relay 1" \
    "output 3" "multiplier 4" "tariffs 3" "tariff-profile-mode 1" "battery-reset" "maxima-reset current" \
    "clock" "speed 2" "power-limit-mode 2 4 1 1" "group-address 77" \
    "fast-schedule $(printf '%02X' $(seq 1 35))"; do
    # shellcheck disable=SC2086
    run 0 "${PORT[@]}" set $setting
    has out "set ${setting%% *}: done"
done
run 0 "${PORT[@]}" --json read display limits relay settings tariffs running maxima
json 'd["display"]["tariff_switches"] == "10101" and [d["display"][k] for k in ("power", "time", "date")] == [0, 1, 0]' \
    'd["display"]["extra_flags"] == "10110001" and d["display"]["extra_delay"] == 7' \
    'd["display"]["times"] == [4, 6, 7, 8]' 'd["limits"]["power_kW"] == 25 and d["limits"]["month_energy"] == 300' \
    'd["limits"]["tariff_energy"] == [100, 200, 300, 400]' \
    'd["relay"]["mode"] == 1 and d["relay"]["output_mode"] == 3' \
    'd["settings"] == {"clock_correction": 5, "summer_time": 0, "timeout_multiplier": 4}' \
    'd["tariffs"]["count"] == 3 and d["tariffs"]["profile_mode"] == 1' \
    'd["running_time"]["battery_hours"] == 0' '[m["value"] for m in d["maxima"]["current_A"]] == [0, 0]'
# The clock was set to the computer's: the meter's local time lies between the start of the settings
# and now (a date taken on one side of midnight would not match a clock read on the other).
run 0 "${PORT[@]}" --json info
json "$settings_started - 2 <= __import__('datetime').datetime.fromisoformat(d['clock']['time']).timestamp() <= __import__('time').time() + 2"
# The new address answers; the meter address option reaches it.
run 0 "${PORT[@]}" --address 77 --json info
json 'd["identity"]["address"] == 77 and d["identity"]["serial_number"] == "21000417"'

# schedule: get, change one zone, put, get again: the meter holds the change, text and JSON agree
run 0 "${PORT[@]}" schedule get "$work/schedule.txt"
[ "$(head -4 "$work/schedule.txt")" = "$(printf 'Январь\n\tПонедельник\n\t00:00,T2\n\t07:00,T1')" ] ||
    fail "schedule text: $(head -4 "$work/schedule.txt")"
sed '0,/07:00,T1/s//06:30,T3/' "$work/schedule.txt" >"$work/changed.txt"
run 0 "${PORT[@]}" schedule put "$work/changed.txt"
run 0 "${PORT[@]}" schedule get
cmp -s "$work/out" "$work/changed.txt" || fail "schedule after put differs from the text put"
run 0 "${PORT[@]}" --json schedule get
json 'd["months"][0]["days"][0] == {"day": "Понедельник", "zones": ["00:00,T2", "06:30,T3", "23:00,T2"]}' \
    'd["months"][0]["days"][1]["zones"] == ["00:00,T2", "07:00,T1", "23:00,T2"]' \
    'len(d["months"]) == 12 and all(len(m["days"]) == 8 for m in d["months"])'
# A file kept in Windows-1251 goes as it is.
iconv -f UTF-8 -t CP1251 "$work/schedule.txt" >"$work/schedule-1251.txt"
run 0 "${PORT[@]}" schedule put "$work/schedule-1251.txt"
run 0 "${PORT[@]}" schedule get
cmp -s "$work/out" "$work/schedule.txt" || fail "schedule after a Windows-1251 put"

# holidays
printf '25 декабря\n1 января\n' >"$work/holidays.txt"
run 0 "${PORT[@]}" holidays put "$work/holidays.txt"
run 0 "${PORT[@]}" holidays get
[ "$(cat "$work/out")" = "$(printf '25 декабря\n1 января')" ] || fail "holidays: $(cat "$work/out")"
run 0 "${PORT[@]}" holidays clear
run 0 "${PORT[@]}" --json holidays get
json 'd == {"text": "", "dates": []}'

# journal, profile, raw
run 0 "${PORT[@]}" journal 1 --count 2
[ "$(wc -l <"$work/out")" = 2 ] && grep -qE '^[0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{2}\.[0-9]{2}\.20[0-9]{2} POWER (ON|OFF)$' "$work/out" ||
    fail "journal 1: $(cat "$work/out")"
run 0 "${PORT[@]}" --json journal 4 --first 0 --count 1
json 'len(d["entries"]) >= 1 and all(e["event"].startswith("QUALITY ") for e in d["entries"])'
run 0 "${PORT[@]}" --json journal 4 --parameter 0 --count 1
json 'd["parameter"] == 0 and [e["event"] for e in d["entries"]] == ["QUALITY 0 BACK IN LIMITS"]' \
    'd["entries"][0]["at"] == "%s-%s-%sT%s" % (d["text"][15:19], d["text"][12:14], d["text"][9:11], d["text"][:8])'
run 0 "${PORT[@]}" profile 2024-03-14
[ "$(wc -l <"$work/out")" = 48 ] && [ "$(head -1 "$work/out" | cut -d' ' -f1)" = "00:00" ] &&
    [ "$(tail -1 "$work/out" | cut -d' ' -f1)" = "23:30" ] || fail "profile day: $(head -3 "$work/out")"
day_text=$(sed -n '17,24p' "$work/out")
run 0 "${PORT[@]}" profile 2024-03-14 --block 2
[ "$(cat "$work/out")" = "$day_text" ] || fail "profile block 2 differs from the day's slots 16..23"
run 0 "${PORT[@]}" --json profile 2024-03-14 --block 2
json "[s['time'] + ' ' + str(s['power']) for s in d['slots']] == '''$day_text'''.split('\n')"
run 0 "${PORT[@]}" --json profile 2024-03-14
json 'len(d["slots"]) == 48 and d["slots"][47]["time"] == "23:30"' \
    "[s['time'] + ' ' + str(s['power']) for s in d['slots'][16:24]] == '''$day_text'''.split('\n')"
run 0 "${PORT[@]}" raw "00 00 00 01 2F 64 4C"
has out "request: 00 00 00 01 2F 64 4C" "answer:  00 00 00 01 2F 01 40 70 E1 3B 47" "length:  11"

# GSM data call (the modem's echo and CONNECT in one write), gateway and echo paths; the raw exchange
# through the gateway's packets and the line's echo.
start_sim "$work/modem" --mode modem --dial-step 0
run 0 --port "$work/modem" --gsm 5550100 --dial-timeout 5 --json read network
json 'd["network"]["frequency_Hz"] == 50.01'
start_sim "$work/gateway" --mode gateway
run 0 --port "$work/gateway" --gateway read battery
has out "  voltage: 3.61 V"
run 0 --port "$work/gateway" --gateway raw "00 00 00 01 2F 64 4C"
has out "answer:  00 00 00 01 2F 01 40 70 E1 3B 47"
start_sim "$work/echo" --mode echo
run 0 --port "$work/echo" --echo raw "00 00 00 01 2F 64 4C"
has out "answer:  00 00 00 01 2F 01 40 70 E1 3B 47"
run 0 --port "$work/echo" --echo read battery
has out "  voltage: 3.61 V"
# The five serial time-outs, here the set that returns each read at once with what is queued.
run 0 --port "$work/echo" --echo --timeouts 4294967295 0 0 10 1000 read battery
has out "  voltage: 3.61 V"

# The meter does not answer, or cannot be reached: exit 1 and the library's message.
start_sim "$work/silent" --silent always
run 1 --port "$work/silent" info
has err "q310: Запрос на чтение серийного номера: Нет ответа."
run 1 --port "$work/nothing-here" info
has err "q310: Запрос на открытие канала связи со счетчиком: Ошибка."
run 1 --tcp 127.0.0.1:1 --json info
json 'd == {"error": "Запрос на открытие TCP/IP сокета: Ошибка.", "exit_code": 1}'
run 1 "${PORT[@]}" set display-times 1 2 3 4
has err "q310: Запрос на запись времени индикации: Нет ответа."

# Usage errors: exit 2.
run 2 info
has err "q310: no meter given: --port COM1 (or a device path), --tcp HOST:PORT, or --sim for the built-in simulator"
run 2 --sim frobnicate
run 2 --sim --tcp 127.0.0.1:5000 info
run 2 --sim set nosuch 1
run 2 --sim set display 1 2
run 2 --sim read everything
run 2 --sim journal 6
run 2 --sim schedule
run 2 --tcp nocolon info
run 2 --sim --timeouts 20 0 300 0 info
run 2 --connect ftp:host info
has err 'q310: --connect "ftp:host": tcp:HOST:PORT, port:PORT or gsm:NUMBER wanted'
run 2 --connect gsm:5550100 --json-line --name m7 info
json 'd["name"] == "m7" and d["result"] == "failed" and d["exit_code"] == 2 and d["message"] == "--connect gsm: dials through a modem: --modem PORT"'

# Bad input: exit 3, nothing sent.
run 3 "${PORT[@]}" set power-limit abc
has err 'q310: set power-limit: "abc" is not a number from 0 to 4294967295'
run 3 "${PORT[@]}" raw "0G"
run 3 "${PORT[@]}" profile 2024-13-01
run 3 "${PORT[@]}" schedule put "$work/no-such-file"
printf 'Январь\n\tПонедельник\n\txx\n' >"$work/bad.txt"
run 3 "${PORT[@]}" schedule put "$work/bad.txt"
printf 'Январь ☃\n' >"$work/snowman.txt"
run 3 "${PORT[@]}" schedule put "$work/snowman.txt"
has err "q310: the text holds characters that Windows-1251 has not"

finish
