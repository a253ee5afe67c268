#include "zentor_sim/state_json.h"

#include "zentor_sim/calendar.h"

#include <cstdio>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace zentor_sim
{

using nlohmann::json;

namespace
{

[[noreturn]] void Fail(const std::string& key, const std::string& reason)
{
    throw std::runtime_error("state: " + key + ": " + reason);
}

int64_t Integer(const json& value, const std::string& key, int64_t low, int64_t high)
{
    if (!value.is_number_integer())
        Fail(key, "expected an integer");
    const auto number = value.get<int64_t>();
    if (number < low || number > high)
        Fail(key, "out of range");
    return number;
}

template <typename T> void Num(const json& j, const char* key, T& field)
{
    if (!j.contains(key))
        return;
    const json& value = j.at(key);
    if constexpr (std::is_same_v<T, bool>)
    {
        if (!value.is_boolean())
            Fail(key, "expected true or false");
        field = value.get<bool>();
    }
    else
        field = static_cast<T>(Integer(value, key, static_cast<int64_t>(std::numeric_limits<T>::min()),
                                       static_cast<int64_t>(std::numeric_limits<T>::max())));
}

int64_t TimeValue(const json& value, const std::string& key)
{
    if (!value.is_string())
        Fail(key, "expected a time text");
    const auto time = ParseTime(value.get<std::string>());
    if (!time)
        Fail(key, "expected YYYY-MM-DD or YYYY-MM-DD HH:MM:SS");
    return *time;
}

void Time(const json& j, const char* key, int64_t& field)
{
    if (j.contains(key))
        field = TimeValue(j.at(key), key);
}

Bytes HexValue(const json& value, const std::string& key, size_t size = 0)
{
    if (!value.is_string())
        Fail(key, "expected hex bytes");
    const auto bytes = ParseHex(value.get<std::string>());
    if (!bytes || (size != 0 && bytes->size() != size))
        Fail(key, size != 0 ? "expected " + std::to_string(size) + " hex bytes" : "expected hex bytes");
    return *bytes;
}

template <size_t N> void HexArray(const json& j, const char* key, std::array<uint8_t, N>& field)
{
    if (!j.contains(key))
        return;
    const Bytes bytes = HexValue(j.at(key), key, N);
    std::copy(bytes.begin(), bytes.end(), field.begin());
}

template <typename T, size_t N> void NumArray(const json& j, const char* key, std::array<T, N>& field)
{
    if (!j.contains(key))
        return;
    const json& value = j.at(key);
    if (!value.is_array() || value.size() != N)
        Fail(key, "expected " + std::to_string(N) + " numbers");
    for (size_t i = 0; i < N; ++i)
    {
        json wrapper{{key, value[i]}};
        Num(wrapper, key, field[i]);
    }
}

// The group and the key of a settings row: "group.key" is the key inside the object "group".
std::pair<std::string, std::string> SettingKey(const Setting& row)
{
    const std::string path = row.key;
    const size_t dot = path.find('.');
    return dot == std::string::npos ? std::pair{std::string(), path}
                                    : std::pair{path.substr(0, dot), path.substr(dot + 1)};
}

void ApplySetting(MeterState& s, const json& d, const Setting& row)
{
    const auto [group, key] = SettingKey(row);
    if (!group.empty() && !d.contains(group))
        return;
    const json& j = group.empty() ? d : d.at(group);
    if (!j.contains(key))
        return;
    const json& value = j.at(key);
    const auto limit = static_cast<int64_t>(StateFileLimit(row));
    Bytes bytes;
    if (row.form == Form::Binary || row.form == Form::Bcd)
    {
        SetSetting(s, row, static_cast<uint64_t>(Integer(value, key, 0, limit)));
        return;
    }
    if (row.form == Form::Raw)
        bytes = HexValue(value, key, row.size);
    else if (!value.is_array() || value.size() != row.size)
        Fail(key, "expected " + std::to_string(row.size) + " numbers");
    else
        for (const json& item : value)
            bytes.push_back(static_cast<uint8_t>(Integer(item, key, 0, limit)));
    SetSetting(s, row, WireValue(row, bytes).value_or(0));
}

void SettingJson(json& d, const MeterState& s, const Setting& row)
{
    const auto [group, key] = SettingKey(row);
    json& target = group.empty() ? d[key] : d[group][key];
    const uint64_t value = GetSetting(s, row);
    if (row.form == Form::Binary || row.form == Form::Bcd)
        target = value;
    else if (row.form == Form::Raw)
        target = Hex(WireBytes(row, value));
    else
        target = WireBytes(row, value);
}

std::optional<Bytes> Raw(const json& entry, const std::string& key)
{
    if (entry.contains("raw"))
        return HexValue(entry.at("raw"), key + ".raw");
    return std::nullopt;
}

std::vector<JournalEntry> Journal(const json& value, const std::string& key)
{
    if (!value.is_array())
        Fail(key, "expected a list of entries");
    std::vector<JournalEntry> journal;
    for (const json& item : value)
    {
        JournalEntry entry;
        entry.empty = item.value("empty", false);
        entry.raw = Raw(item, key);
        if (!entry.empty && !entry.raw)
        {
            if (!item.contains("code") || !item.contains("time"))
                Fail(key, "an entry needs code and time (or raw, or empty)");
            Num(item, "code", entry.code);
            entry.time = TimeValue(item.at("time"), key + ".time");
        }
        journal.push_back(entry);
    }
    return journal;
}

json JournalJson(const std::vector<JournalEntry>& journal)
{
    json list = json::array();
    for (const JournalEntry& entry : journal)
    {
        if (entry.empty)
            list.push_back({{"empty", true}});
        else if (entry.raw)
            list.push_back({{"raw", Hex(*entry.raw)}});
        else
            list.push_back({{"code", entry.code}, {"time", FormatTime(entry.time)}});
    }
    return list;
}

Zone ZoneValue(const json& value, const std::string& key)
{
    if (!value.is_string())
        Fail(key, "expected \"HH:MM,Tn\"");
    const std::string text = value.get<std::string>();
    if (const auto zone = ParseZone(text))
        return *zone;
    const auto raw = ParseHex(text);
    if (!raw || raw->size() != 2)
        Fail(key, "expected \"HH:MM,Tn\" or two hex bytes, got \"" + text + "\"");
    return Zone{(*raw)[0], (*raw)[1]};
}

std::string ZoneText(const Zone& zone)
{
    const std::string text = FormatZone(zone);
    const auto back = ParseZone(text);
    return back && *back == zone ? text : Hex(zone.data(), 2);
}

DayZones DayValue(const json& value, const std::string& key)
{
    if (!value.is_array() || value.size() > 16)
        Fail(key, "expected a list of at most 16 zones");
    DayZones day;
    day.fill(EmptyZone());
    for (size_t i = 0; i < value.size(); ++i)
        day[i] = ZoneValue(value[i], key);
    return day;
}

json DayJson(const DayZones& day)
{
    // Trailing unused zones are left out.
    size_t used = day.size();
    while (used > 0 && day[used - 1] == EmptyZone())
        --used;
    json list = json::array();
    for (size_t i = 0; i < used; ++i)
        list.push_back(ZoneText(day[i]));
    return list;
}

json MaximaJson(const std::array<MaximumEntry, 2>& entries)
{
    json list = json::array();
    for (const MaximumEntry& entry : entries)
        list.push_back({{"value", entry.value}, {"time", FormatTime(entry.time)}});
    return list;
}

void Maxima(const json& j, const char* key, std::array<MaximumEntry, 2>& entries)
{
    if (!j.contains(key))
        return;
    const json& value = j.at(key);
    if (!value.is_array() || value.size() != 2)
        Fail(key, "expected two entries");
    for (size_t i = 0; i < 2; ++i)
    {
        Num(value[i], "value", entries[i].value);
        Time(value[i], "time", entries[i].time);
    }
}

std::set<int64_t> TimeSet(const json& value, const std::string& key)
{
    if (!value.is_array())
        Fail(key, "expected a list of times");
    std::set<int64_t> times;
    for (const json& item : value)
    {
        if (item.is_string() && item.get<std::string>().size() == 16)
            times.insert(TimeValue(item.get<std::string>() + ":00", key));
        else
            times.insert(TimeValue(item, key));
    }
    return times;
}

json TimeSetJson(const std::set<int64_t>& times, bool withTime)
{
    json list = json::array();
    for (int64_t time : times)
        list.push_back(withTime ? FormatTime(time).substr(0, 16) : FormatDate(time));
    return list;
}

} // namespace

void ApplyJson(Meter& meter, const json& d)
{
    if (!d.is_object())
        Fail("(document)", "expected an object");
    MeterState& s = meter.State();
    for (const Setting& row : SettingTable())
        ApplySetting(s, d, row);
    Num(d, "accept_any_address", s.acceptAnyAddress);
    Time(d, "production_date", s.productionDate);
    if (d.contains("firmware"))
    {
        const json& f = d.at("firmware");
        Num(f, "major", s.firmwareMajor);
        Num(f, "minor", s.firmwareMinor);
        Time(f, "date", s.firmwareDate);
        Num(f, "crc", s.firmwareCrc);
    }
    if (d.contains("model"))
    {
        Num(d.at("model"), "code", s.modelCode);
        Num(d.at("model"), "variant", s.modelVariant);
    }
    if (d.contains("clock"))
    {
        const json& c = d.at("clock");
        Num(c, "running", s.clockRunning);
        if (c.contains("time"))
        {
            const int64_t time = TimeValue(c.at("time"), "clock.time");
            s.clockFrozen = time;
            s.clockOffset = time - ComputerLocalNow();
        }
        else if (c.contains("offset_seconds"))
        {
            Num(c, "offset_seconds", s.clockOffset);
            s.clockFrozen = ComputerLocalNow() + s.clockOffset;
        }
    }
    Num(d, "power_limit_watts", s.powerLimitWatts);
    if (d.contains("tariff_energy_limits"))
    {
        const json& list = d.at("tariff_energy_limits");
        if (!list.is_array() || list.size() != 4)
            Fail("tariff_energy_limits", "expected four entries");
        for (size_t t = 0; t < 4; ++t)
        {
            Num(list[t], "value", s.tariffEnergyLimits[t].value);
            Num(list[t], "flag", s.tariffEnergyLimits[t].flag);
        }
    }
    HexArray(d, "plc1_config", s.plc1Config);
    Num(d, "plc1_answer_length", s.plc1AnswerLength);
    if (s.plc1AnswerLength != 9 && s.plc1AnswerLength != 11)
        Fail("plc1_answer_length", "expected 9 or 11");
    if (d.contains("fast_tariff_block"))
        s.fastTariffBlock = HexValue(d.at("fast_tariff_block"), "fast_tariff_block");
    if (d.contains("parameters"))
    {
        const json& p = d.at("parameters");
        Num(p, "p0", s.parameter0);
        Num(p, "p1", s.parameter1);
        Num(p, "p2_milli", s.parameter2Milli);
        Num(p, "p2b", s.parameter2b);
    }
    if (d.contains("energy"))
    {
        NumArray(d.at("energy"), "active", s.energyActive);
        NumArray(d.at("energy"), "reactive", s.energyReactive);
    }
    if (d.contains("month_energy"))
    {
        const json& m = d.at("month_energy");
        for (const char* key : {"active", "reactive"})
            if (m.contains(key))
            {
                const json& list = m.at(key);
                if (!list.is_array() || list.size() != 12)
                    Fail(std::string("month_energy.") + key, "expected 12 months");
                auto& target = std::string(key) == "active" ? s.monthActive : s.monthReactive;
                for (size_t i = 0; i < 12; ++i)
                {
                    json wrapper{{key, list[i]}};
                    NumArray(wrapper, key, target[i]);
                }
            }
        NumArray(m, "active_15", s.month15Active);
        NumArray(m, "reactive_15", s.month15Reactive);
    }
    if (d.contains("archive"))
    {
        const json& a = d.at("archive");
        NumArray(a, "daily_consumption", s.dailyConsumption);
        Num(a, "profile_base_watts", s.profileBaseWatts);
        if (a.contains("damaged_days"))
            s.damagedDays = TimeSet(a.at("damaged_days"), "archive.damaged_days");
        if (a.contains("damaged_months"))
            s.damagedMonths = TimeSet(a.at("damaged_months"), "archive.damaged_months");
        if (a.contains("damaged_slots"))
            s.damagedSlots = TimeSet(a.at("damaged_slots"), "archive.damaged_slots");
    }
    if (d.contains("maxima"))
    {
        Maxima(d.at("maxima"), "voltage", s.maxima[0]);
        Maxima(d.at("maxima"), "current", s.maxima[1]);
        Maxima(d.at("maxima"), "power", s.maxima[2]);
    }
    if (d.contains("events"))
    {
        const json& e = d.at("events");
        Time(e, "last_off", s.lastOffTime);
        Time(e, "last_on", s.lastOnTime);
        Time(e, "last_cover_open", s.lastCoverOpenTime);
        Time(e, "last_cover_close", s.lastCoverCloseTime);
        Time(e, "last_write_access", s.lastWriteAccessTime);
    }
    if (d.contains("journals"))
    {
        const json& j = d.at("journals");
        if (j.contains("1"))
            s.journal1 = Journal(j.at("1"), "journals.1");
        if (j.contains("2"))
            s.journal2 = Journal(j.at("2"), "journals.2");
        if (j.contains("5"))
            s.journal5 = Journal(j.at("5"), "journals.5");
        if (j.contains("4"))
        {
            const json& lists = j.at("4");
            if (!lists.is_array() || lists.size() != 8)
                Fail("journals.4", "expected 8 lists, one per quality parameter");
            for (size_t p = 0; p < 8; ++p)
                s.journal4[p] = Journal(lists[p], "journals.4");
        }
        if (j.contains("3"))
        {
            const json& list = j.at("3");
            if (!list.is_array())
                Fail("journals.3", "expected a list of entries");
            s.journal3.clear();
            for (const json& item : list)
            {
                DayJournalEntry entry;
                entry.empty = item.value("empty", false);
                entry.raw = Raw(item, "journals.3");
                if (!entry.empty && !entry.raw)
                {
                    if (!item.contains("flags") || !item.contains("date"))
                        Fail("journals.3", "an entry needs flags and date (or raw, or empty)");
                    const Bytes flags = HexValue(item.at("flags"), "journals.3.flags", 5);
                    std::copy(flags.begin(), flags.end(), entry.flags.begin());
                    entry.date = TimeValue(item.at("date"), "journals.3.date");
                }
                s.journal3.push_back(entry);
            }
        }
    }
    if (d.contains("tariff"))
    {
        const json& t = d.at("tariff");
        Num(t, "profile_mode", s.tariffProfileMode);
        Num(t, "table_read_zones", s.zoneTableReadZones);
        if (s.zoneTableReadZones != 8 && s.zoneTableReadZones != 16)
            Fail("tariff.table_read_zones", "expected 8 or 16");
        if (t.contains("zones_all_days"))
        {
            const DayZones day = DayValue(t.at("zones_all_days"), "tariff.zones_all_days");
            for (auto& month : s.zones)
                month.fill(day);
        }
        if (t.contains("zones"))
        {
            const json& months = t.at("zones");
            if (!months.is_array() || months.size() != 12)
                Fail("tariff.zones", "expected 12 months of 8 day lists");
            for (size_t m = 0; m < 12; ++m)
            {
                if (!months[m].is_array() || months[m].size() != 8)
                    Fail("tariff.zones", "expected 8 day lists in each month");
                for (size_t k = 0; k < 8; ++k)
                    s.zones[m][k] = DayValue(months[m][k], "tariff.zones");
            }
        }
        if (t.contains("holidays"))
        {
            const json& list = t.at("holidays");
            if (!list.is_array() || list.size() > 16)
                Fail("tariff.holidays", "expected at most 16 dates");
            s.holidays.fill(EmptyZone());
            for (size_t i = 0; i < list.size(); ++i)
            {
                if (!list[i].is_string())
                    Fail("tariff.holidays", "expected \"DD.MM\"");
                const std::string text = list[i].get<std::string>();
                unsigned day = 0, month = 0;
                int consumed = 0;
                if (std::sscanf(text.c_str(), "%2u.%2u%n", &day, &month, &consumed) == 2 &&
                    static_cast<size_t>(consumed) == text.size() && day >= 1 && day <= 31 && month >= 1 &&
                    month <= 12)
                    s.holidays[i] = Zone{ToBcd(day), ToBcd(month)};
                else if (const auto raw = ParseHex(text); raw && raw->size() == 2)
                    s.holidays[i] = Zone{(*raw)[0], (*raw)[1]};
                else
                    Fail("tariff.holidays", "expected \"DD.MM\" or two hex bytes, got \"" + text + "\"");
            }
        }
    }
}

json ToJson(const Meter& meter)
{
    const MeterState& s = meter.State();
    json d;
    for (const Setting& row : SettingTable())
        SettingJson(d, s, row);
    d["accept_any_address"] = s.acceptAnyAddress;
    d["production_date"] = FormatDate(s.productionDate);
    d["firmware"] = {{"major", s.firmwareMajor},
                     {"minor", s.firmwareMinor},
                     {"date", FormatDate(s.firmwareDate)},
                     {"crc", s.firmwareCrc}};
    d["model"] = {{"code", s.modelCode}, {"variant", s.modelVariant}};
    d["clock"] = {{"time", FormatTime(meter.Now())}, {"running", s.clockRunning}};
    d["power_limit_watts"] = s.powerLimitWatts;
    d["tariff_energy_limits"] = json::array();
    for (const auto& limit : s.tariffEnergyLimits)
        d["tariff_energy_limits"].push_back({{"value", limit.value}, {"flag", limit.flag}});
    d["plc1_config"] = Hex(s.plc1Config.data(), s.plc1Config.size());
    d["plc1_answer_length"] = s.plc1AnswerLength;
    d["fast_tariff_block"] = Hex(s.fastTariffBlock);
    d["parameters"] = {
        {"p0", s.parameter0}, {"p1", s.parameter1}, {"p2_milli", s.parameter2Milli}, {"p2b", s.parameter2b}};
    d["energy"] = {{"active", s.energyActive}, {"reactive", s.energyReactive}};
    d["month_energy"] = {{"active", s.monthActive},
                         {"reactive", s.monthReactive},
                         {"active_15", s.month15Active},
                         {"reactive_15", s.month15Reactive}};
    d["archive"] = {{"daily_consumption", s.dailyConsumption},
                    {"profile_base_watts", s.profileBaseWatts},
                    {"damaged_days", TimeSetJson(s.damagedDays, false)},
                    {"damaged_months", TimeSetJson(s.damagedMonths, false)},
                    {"damaged_slots", TimeSetJson(s.damagedSlots, true)}};
    d["maxima"] = {{"voltage", MaximaJson(s.maxima[0])},
                   {"current", MaximaJson(s.maxima[1])},
                   {"power", MaximaJson(s.maxima[2])}};
    d["events"] = {{"last_off", FormatTime(s.lastOffTime)},
                   {"last_on", FormatTime(s.lastOnTime)},
                   {"last_cover_open", FormatTime(s.lastCoverOpenTime)},
                   {"last_cover_close", FormatTime(s.lastCoverCloseTime)},
                   {"last_write_access", FormatTime(s.lastWriteAccessTime)}};
    json journals;
    journals["1"] = JournalJson(s.journal1);
    journals["2"] = JournalJson(s.journal2);
    journals["3"] = json::array();
    for (const DayJournalEntry& entry : s.journal3)
    {
        if (entry.empty)
            journals["3"].push_back({{"empty", true}});
        else if (entry.raw)
            journals["3"].push_back({{"raw", Hex(*entry.raw)}});
        else
            journals["3"].push_back(
                {{"flags", Hex(entry.flags.data(), 5)}, {"date", FormatDate(entry.date)}});
    }
    journals["4"] = json::array();
    for (const auto& list : s.journal4)
        journals["4"].push_back(JournalJson(list));
    journals["5"] = JournalJson(s.journal5);
    d["journals"] = journals;
    json zones = json::array();
    for (const auto& month : s.zones)
    {
        json days = json::array();
        for (const DayZones& day : month)
            days.push_back(DayJson(day));
        zones.push_back(days);
    }
    json holidays = json::array();
    size_t usedHolidays = s.holidays.size();
    while (usedHolidays > 0 && s.holidays[usedHolidays - 1] == EmptyZone())
        --usedHolidays;
    for (size_t i = 0; i < usedHolidays; ++i)
    {
        const Zone& h = s.holidays[i];
        const auto day = FromBcd(h[0]), month = FromBcd(h[1]);
        char text[8];
        if (day && month && *day >= 1 && *day <= 31 && *month >= 1 && *month <= 12)
        {
            std::snprintf(text, sizeof text, "%02u.%02u", *day, *month);
            holidays.push_back(text);
        }
        else
            holidays.push_back(Hex(h.data(), 2));
    }
    d["tariff"]["profile_mode"] = s.tariffProfileMode;
    d["tariff"]["table_read_zones"] = s.zoneTableReadZones;
    d["tariff"]["zones"] = zones;
    d["tariff"]["holidays"] = holidays;
    return d;
}

void LoadStateFile(Meter& meter, const std::string& path)
{
    std::ifstream in(path);
    if (!in)
        throw std::runtime_error("cannot read " + path);
    json document;
    try
    {
        in >> document;
    }
    catch (const json::exception& error)
    {
        throw std::runtime_error(path + ": " + error.what());
    }
    ApplyJson(meter, document);
}

void SaveStateFile(const Meter& meter, const std::string& path)
{
    std::ofstream out(path);
    if (!out)
        throw std::runtime_error("cannot write " + path);
    out << ToJson(meter).dump(2) << "\n";
}

} // namespace zentor_sim
