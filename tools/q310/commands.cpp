// The subcommands: each calls the exports it needs and gathers their outputs as JSON, texts converted
// from Windows-1251 to UTF-8 and numbers as numbers.
#include "commands.h"

#include "Q310/Q310.h"
#include "errors.h"
#include "progress.h"
#include "text_cp1251.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace q310cli
{
namespace
{
bool IsUtf8(const std::string& aText)
{
    size_t i = 0;
    while (i < aText.size())
    {
        const uint8_t lead = static_cast<uint8_t>(aText[i]);
        size_t more = 0;
        if ((lead & 0xE0) == 0xC0)
            more = 1;
        else if ((lead & 0xF0) == 0xE0)
            more = 2;
        else if ((lead & 0xF8) == 0xF0)
            more = 3;
        else if (lead >= 0x80)
            return false;
        for (size_t k = 1; k <= more; ++k)
            if (i + k >= aText.size() || (static_cast<uint8_t>(aText[i + k]) & 0xC0) != 0x80)
                return false;
        i += more + 1;
    }
    return true;
}

std::string U(const char* pText)
{
    return Cp1251ToUtf8(pText);
}

// A decimal text of the library as a JSON number (integer or not), or the text when it is none.
Json Number(const std::string& aText)
{
    const char* begin = aText.c_str();
    while (*begin == ' ')
        ++begin;
    char* end = nullptr;
    if (strchr(begin, '.') == nullptr)
    {
        const long long value = strtoll(begin, &end, 10);
        if (end != begin && *end == '\0')
            return value;
    }
    else
    {
        const double value = strtod(begin, &end);
        if (end != begin && *end == '\0')
            return value;
    }
    return aText;
}

// Energy registers as the exports hand them on: the meter's own counts, whose last two digits are the
// hundredths of a kWh (kvarh) that its display shows after the point.
Json Tariffs(const uint32_t (&aValues)[4])
{
    Json tariffs;
    for (int t = 0; t < 4; ++t)
        tariffs["T" + std::to_string(t + 1)] = aValues[t] / 100.0;
    return tariffs;
}

Json Counts(const uint32_t (&aValues)[4])
{
    return Json::array({aValues[0], aValues[1], aValues[2], aValues[3]});
}

// "YY" of the meter's century as a four-digit year.
std::string Year(const std::string& aTwoDigits)
{
    return "20" + aTwoDigits;
}

// "dd.mm.yy" or "dd.mm.yyyy" as "yyyy-mm-dd"; the text itself when it is neither.
std::string IsoDate(const std::string& aDate)
{
    if ((aDate.size() == 8 || aDate.size() == 10) && aDate[2] == '.' && aDate[5] == '.')
        return (aDate.size() == 8 ? Year(aDate.substr(6, 2)) : aDate.substr(6, 4)) + "-" +
               aDate.substr(3, 2) + "-" + aDate.substr(0, 2);
    return aDate;
}

// A time "hh:mm:ss" and a date as IsoDate takes it: "yyyy-mm-ddThh:mm:ss".
std::string IsoDateTime(const std::string& aTime, const std::string& aDate)
{
    const std::string date = IsoDate(aDate);
    if (aTime.size() != 8 || date.size() != 10 || date == aDate)
        return aTime + " " + aDate;
    return date + "T" + aTime;
}

// A maximum as the library prints it, " %3d.%d" of quotient and remainder: the remainder is not
// zero-padded (" 12.5" is 12.05 for hundredths), so both parts are taken as integers.
// The same form "%d.%d" serves the battery voltage (volts and hundredths).
Json MaximumValue(const std::string& aText, int aDivisor)
{
    int whole = 0;
    int part = 0;
    if (sscanf(aText.c_str(), " %d.%d", &whole, &part) != 2)
        return aText;
    return whole + static_cast<double>(part) / aDivisor;
}

// The ten digits of the power factor read: the first two bytes carry the factor in thousandths, bit 7
// of the first byte (the high digit 8 or 9) its sign, set meaning positive; the six digits behind them
// are a second value whose meaning the meter keeps to itself (kept in the raw text).
Json PowerFactor(const std::string& aDigits)
{
    if (aDigits.size() != 10 || aDigits.find_first_not_of("0123456789") != std::string::npos)
        return aDigits;
    const int high = aDigits[0] - '0';
    const int thousandths = ((high & 7) * 10 + (aDigits[1] - '0')) * 100 + std::stoi(aDigits.substr(2, 2));
    if ((high & 8) != 0 || thousandths == 0)
        return thousandths / 1000.0;
    return -thousandths / 1000.0;
}

uint32_t ParseUnsigned(const std::string& aText, const std::string& aWhat, uint32_t aMax = 0xFFFFFFFFu,
                       uint32_t aMin = 0)
{
    char* end = nullptr;
    errno = 0;
    const unsigned long long value = strtoull(aText.c_str(), &end, 0);
    if (aText.empty() || aText[0] == '-' || *end != '\0' || errno != 0 || value > aMax || value < aMin)
        throw InputError(aWhat + ": \"" + aText + "\" is not a number from " + std::to_string(aMin) + " to " +
                         std::to_string(aMax));
    return static_cast<uint32_t>(value);
}

// "hh:mm:ss dd.mm.yyyy <event>" lines of the journal texts.
Json JournalEntries(const std::string& aText)
{
    Json entries = Json::array();
    std::istringstream lines(aText);
    std::string line;
    while (std::getline(lines, line))
    {
        if (line.empty())
            continue;
        Json entry;
        entry["at"] = IsoDateTime(line.substr(0, 8), line.size() > 9 ? line.substr(9, 10) : "");
        entry["event"] = line.size() > 20 ? line.substr(20) : "";
        entries.push_back(entry);
    }
    return entries;
}

// The schedule text as months of day kinds of zones "HH:MM,Tn".
Json ScheduleMonths(const std::string& aText)
{
    Json months = Json::array();
    std::istringstream lines(aText);
    std::string line;
    while (std::getline(lines, line))
    {
        if (line.empty() || line == "\tEnd")
            continue;
        if (line[0] != '\t')
            months.push_back(Json{{"month", line}, {"days", Json::array()}});
        else if (!months.empty() && line.size() > 1 && isdigit(static_cast<unsigned char>(line[1])))
        {
            Json& days = months.back()["days"];
            if (!days.empty())
                days.back()["zones"].push_back(line.substr(1));
        }
        else if (!months.empty())
            months.back()["days"].push_back(Json{{"day", line.substr(1)}, {"zones", Json::array()}});
    }
    return months;
}

Json Identity(Session& s)
{
    Json identity;
    identity["serial_number"] = s.Serial();
    identity["address"] = s.Address();
    char version[32] = {};
    char date[32] = {};
    s.Check(eReadSoftVersion(0, version, date, s.Err()), "eReadSoftVersion");
    identity["firmware_version"] = version;
    Json raw;
    raw["eReadSoftVersion"] = Json::array({version, date});
    const std::string ymd = date;
    // "YYYYMMDD" of the record, whose year byte is of the century ("0020" is 2020).
    if (ymd.size() == 8 && ymd.compare(0, 2, "00") == 0)
        identity["firmware_date"] = "20" + ymd.substr(2, 2) + "-" + ymd.substr(4, 2) + "-" + ymd.substr(6, 2);
    else
        identity["firmware_date"] = ymd;
    char ident[32] = {};
    s.Check(eReadIdentPo(0, ident, s.Err()), "eReadIdentPo");
    identity["firmware_id"] = ident;
    char produced[32] = {};
    s.Check(eReadOutputDate(0, produced, s.Err()), "eReadOutputDate");
    identity["production_date"] = IsoDate(produced);
    raw["eReadOutputDate"] = produced;
    uint32_t model = 0;
    uint32_t variant = 0;
    s.Check(eReadTypeState(0, &model, &variant, s.Err()), "eReadTypeState");
    identity["model_code"] = model;
    identity["model_variant"] = variant;
    uint32_t power = 0;
    uint32_t relay = 0;
    s.Check(eReadVariantExecution(0, &power, &relay, s.Err()), "eReadVariantExecution");
    identity["relay"] = relay != 0;
    identity["power_option"] = power != 0;
    identity["raw"] = raw;
    return identity;
}

Json Clock(Session& s)
{
    char time[32] = {};
    char date[32] = {};
    char weekday[32] = {};
    s.Check(eReadCurrentTime(0, time, date, weekday, s.Err()), "eReadCurrentTime");
    return Json{{"time", IsoDateTime(time, date)},
                {"weekday", U(weekday)},
                {"raw", {{"eReadCurrentTime", Json::array({time, date, U(weekday)})}}}};
}

Json Energy(Session& s)
{
    uint32_t active[4] = {};
    uint32_t reactive[4] = {};
    s.Check(eReadStorageBattery(0, &active[0], &active[1], &active[2], &active[3], s.Err()),
            "eReadStorageBattery");
    s.Check(eReadStorageBattery_Q316(0, &reactive[0], &reactive[1], &reactive[2], &reactive[3], s.Err()),
            "eReadStorageBattery_Q316");
    return Json{
        {"active_kWh", Tariffs(active)},
        {"reactive_kvarh", Tariffs(reactive)},
        {"raw", {{"eReadStorageBattery", Counts(active)}, {"eReadStorageBattery_Q316", Counts(reactive)}}}};
}

Json Months(Session& s, const std::vector<int>& aMonths)
{
    std::vector<int> months = aMonths;
    if (months.empty())
        for (int m = 1; m <= 12; ++m)
            months.push_back(m);
    Json result;
    for (const int m : months)
    {
        if (m < 1 || m > 12)
            throw InputError("--month: " + std::to_string(m) + " is not a month from 1 to 12");
        uint32_t active[4] = {};
        uint32_t reactive[4] = {};
        const uint32_t index = static_cast<uint32_t>(m - 1);
        s.Check(eReadMonthEnergy(0, index, &active[0], &active[1], &active[2], &active[3], s.Err()),
                "eReadMonthEnergy");
        s.Check(
            eReadMonthEnergy_Q316(0, index, &reactive[0], &reactive[1], &reactive[2], &reactive[3], s.Err()),
            "eReadMonthEnergy_Q316");
        char key[8];
        snprintf(key, sizeof(key), "%02d", m);
        result[key] = Json{
            {"active_kWh", Tariffs(active)},
            {"reactive_kvarh", Tariffs(reactive)},
            {"raw", {{"eReadMonthEnergy", Counts(active)}, {"eReadMonthEnergy_Q316", Counts(reactive)}}}};
    }
    return result;
}

Json Network(Session& s)
{
    char voltage[32] = {};
    char current[32] = {};
    char power[32] = {};
    s.Check(eReadVoltageCurrentPower(0, voltage, current, power, s.Err()), "eReadVoltageCurrentPower");
    char frequency[32] = {};
    s.Check(eReadFrequency(0, frequency, s.Err()), "eReadFrequency");
    char reactive[32] = {};
    s.Check(eReadCurrentPower_Q316(0, reactive, s.Err()), "eReadCurrentPower_Q316");
    char cosine[32] = {};
    s.Check(eReadCOS_Q316(0, cosine, s.Err()), "eReadCOS_Q316");
    // The reactive power comes unscaled, as the active power does: var beside W.
    return Json{{"voltage_V", Number(voltage)},
                {"current_A", Number(current)},
                {"power_W", Number(power)},
                {"frequency_Hz", Number(frequency)},
                {"reactive_power_var", Number(reactive)},
                {"power_factor", PowerFactor(cosine)},
                {"raw",
                 {{"eReadVoltageCurrentPower", Json::array({voltage, current, power})},
                  {"eReadFrequency", frequency},
                  {"eReadCurrentPower_Q316", reactive},
                  {"eReadCOS_Q316", cosine}}}};
}

Json Maxima(Session& s)
{
    using Reader = int32_t (*)(uint32_t, char*, char*, char*, char*, char*);
    struct Kind
    {
        const char* name;
        Reader read;
        const char* exportName;
        int divisor;
    };
    static const Kind kinds[] = {{"voltage_V", eReadMaxVoltage, "eReadMaxVoltage", 10},
                                 {"current_A", eReadMaxCurrent, "eReadMaxCurrent", 100},
                                 {"power_kW", eReadMaxPower, "eReadMaxPower", 100}};
    // The time stamps come as "hh:mm:ss dd.mm.yy".
    auto at = [](const std::string& aStamp)
    { return aStamp.size() == 17 ? IsoDateTime(aStamp.substr(0, 8), aStamp.substr(9)) : aStamp; };
    Json result;
    Json raw;
    for (const Kind& kind : kinds)
    {
        char date1[48] = {};
        char value1[48] = {};
        char date2[48] = {};
        char value2[48] = {};
        s.Check(kind.read(0, date1, value1, date2, value2, s.Err()), kind.exportName);
        result[kind.name] =
            Json::array({Json{{"value", MaximumValue(value1, kind.divisor)}, {"at", at(date1)}},
                         Json{{"value", MaximumValue(value2, kind.divisor)}, {"at", at(date2)}}});
        raw[kind.exportName] = Json::array({date1, value1, date2, value2});
    }
    result["raw"] = raw;
    return result;
}

Json Running(Session& s)
{
    char meter[32] = {};
    char battery[32] = {};
    s.Check(eReadRunningTime(0, meter, battery, s.Err()), "eReadRunningTime");
    return Json{{"meter_hours", Number(meter)}, {"battery_hours", Number(battery)}};
}

Json Battery(Session& s)
{
    char voltage[32] = {};
    s.Check(eReadVoltageLiBattery(0, voltage, s.Err()), "eReadVoltageLiBattery");
    // Volts and hundredths, the hundredths not zero-padded ("3.5" is 3.05 V).
    return Json{{"voltage_V", MaximumValue(voltage, 100)}, {"raw", {{"eReadVoltageLiBattery", voltage}}}};
}

Json Events(Session& s)
{
    static const struct
    {
        uint32_t code;
        const char* name;
    } events[] = {{43, "power_off"}, {44, "power_on"}, {97, "cover_open"}, {98, "cover_close"}};
    Json result;
    Json raw = Json::array();
    for (const auto& event : events)
    {
        char time[32] = {};
        char date[32] = {};
        s.Check(eReadTimeOnOff(0, event.code, time, date, s.Err()), "eReadTimeOnOff");
        result[event.name] = IsoDateTime(time, date);
        raw.push_back(Json::array({event.code, time, date}));
    }
    result["raw"] = Json{{"eReadTimeOnOff", raw}};
    return result;
}

Json Display(Session& s)
{
    char rates[8] = {};
    uint32_t power = 0;
    uint32_t time = 0;
    uint32_t date = 0;
    s.Check(eReadParamDisplay(0, rates, &power, &time, &date, s.Err()), "eReadParamDisplay");
    uint32_t flags[9] = {};
    s.Check(eReadAddParamDisplay(0, &flags[0], &flags[1], &flags[2], &flags[3], &flags[4], &flags[5],
                                 &flags[6], &flags[7], &flags[8], s.Err()),
            "eReadAddParamDisplay");
    uint32_t delays[4] = {};
    s.Check(eReadIndicationTime(0, &delays[0], &delays[1], &delays[2], &delays[3], s.Err()),
            "eReadIndicationTime");
    // The additional flags in the order of the meter's byte, bit 0 first (as `set display-extra`).
    const std::string extra = std::to_string(flags[0]) + std::to_string(flags[1]) + std::to_string(flags[8]) +
                              std::to_string(flags[2]) + std::to_string(flags[3]) + std::to_string(flags[4]) +
                              std::to_string(flags[5]) + std::to_string(flags[6]);
    return Json{{"tariff_switches", rates},
                {"power", power},
                {"time", time},
                {"date", date},
                {"extra_flags", extra},
                {"extra_delay", flags[7]},
                {"times", Json::array({delays[0], delays[1], delays[2], delays[3]})}};
}

Json Limits(Session& s)
{
    uint32_t power = 0;
    s.Check(eReadPowerLimit(0, &power, s.Err()), "eReadPowerLimit");
    uint32_t mode[4] = {};
    s.Check(eReadPowerLimitMode(0, &mode[0], &mode[1], &mode[2], &mode[3], s.Err()), "eReadPowerLimitMode");
    uint32_t energy = 0;
    s.Check(eReadEnergyLimit(0, &energy, s.Err()), "eReadEnergyLimit");
    char limits[64] = {};
    char flags[32] = {};
    uint32_t unused = 0;
    s.Check(eReadEnergyRateLimit(0, limits, flags, &unused, s.Err()), "eReadEnergyRateLimit");
    Json tariffLimits = Json::array();
    std::istringstream parts(limits);
    std::string part;
    while (std::getline(parts, part, ';'))
        tariffLimits.push_back(Number(part));
    // The power limit comes in tens of watts (the meter keeps whole kW and tens of W).
    return Json{
        {"power_kW", power / 100.0},
        {"power_mode", Json::array({mode[0], mode[1], mode[2], mode[3]})},
        {"month_energy", energy},
        {"tariff_energy", tariffLimits},
        {"tariff_energy_flags", flags},
        {"raw", {{"eReadPowerLimit", power}, {"eReadEnergyRateLimit", Json::array({limits, flags})}}}};
}

// The one-byte settings of the meter's settings table: the name `set` knows them by, what it wants,
// the range the meter takes, and where `read` shows them (JSON key within a read item).
struct SettingRow
{
    const char* name;  // `set` name, "" for none
    const char* usage; // what `set` wants
    uint32_t low;
    uint32_t high;
    const char* key;  // JSON key, "" for none
    const char* item; // the read item that shows it, "" for none
    const char* unit;
    uint32_t (*read)(Session&);                  // nullptr: not read through a plain cell
    int32_t (*write)(uint32_t, uint32_t, char*); // nullptr: no plain write
    const char* writeName;
};

template <typename Cell>
uint32_t ReadCell(Session& s, int32_t (*aExport)(uint32_t, Cell*, char*), const char* aName)
{
    Cell cell{};
    s.Check(aExport(0, &cell, s.Err()), aName);
    return cell;
}

#define Q310_CLI_CAT_(a, b) a##b
#define Q310_CLI_CAT(a, b) Q310_CLI_CAT_(a, b)
#define Q310_CLI_READ_PLAIN(aExport) [](Session& s) { return ReadCell(s, aExport, #aExport); }
#define Q310_CLI_READ_CELL8(aExport) Q310_CLI_READ_PLAIN(aExport)
#define Q310_CLI_READ_OWN(aExport) nullptr
#define Q310_CLI_READ_NONE(aExport) nullptr
#define Q310_CLI_WRITE_PLAIN(aExport) aExport, #aExport
#define Q310_CLI_WRITE_OWN(aExport) nullptr, ""
#define Q310_CLI_WRITE_NONE(aExport) nullptr, ""
#define KEL_ZENTOR1PHASE_SETTING(                                                                            \
    aReadKind, aRead, aResult, aReadCommand, aLength, aMismatch, aReadTrace, aWriteKind, aWrite, aArgument,  \
    aWriteCommand, aRejection, aWriteTrace, aLow, aHigh, aExportReadKind, aExportRead, aCell, aReadText,     \
    aExportWriteKind, aExportWrite, aValue, aWriteText, aName, aUsage, aKey, aItem, aUnit)                   \
    SettingRow{aName,                                                                                        \
               aUsage,                                                                                       \
               aLow,                                                                                         \
               aHigh,                                                                                        \
               aKey,                                                                                         \
               aItem,                                                                                        \
               aUnit,                                                                                        \
               Q310_CLI_CAT(Q310_CLI_READ_, aExportReadKind)(aExportRead),                                   \
               Q310_CLI_CAT(Q310_CLI_WRITE_, aExportWriteKind)(aExportWrite)},
const SettingRow kSettings[] = {
#include "protocols/orlenta/1phase/kel_zentor1phase_commands.def"
};

// The settings a read item shows, in table order.
void ReadSettings(Session& s, const char* pItem, Json& aResult)
{
    for (const SettingRow& row : kSettings)
        if (row.read != nullptr && strcmp(row.item, pItem) == 0)
            aResult[row.key] = row.read(s);
}

const SettingRow* FindSetting(const std::string& aName)
{
    for (const SettingRow& row : kSettings)
        if (row.write != nullptr && *row.name != '\0' && aName == row.name)
            return &row;
    return nullptr;
}

Json Relay(Session& s)
{
    uint32_t mode = 0;
    s.Check(eReadReleMode(0, &mode, s.Err()), "eReadReleMode");
    uint32_t state = 0xFFFFFFFFu; // left unchanged by the library for states it does not name
    s.Check(eReadReleMode_2a(0, &state, s.Err()), "eReadReleMode_2a");
    Json result{{"mode", mode}};
    result["state"] = state == 0xFFFFFFFFu ? Json() : Json(state);
    ReadSettings(s, "relay", result);
    return result;
}

Json Settings(Session& s)
{
    Json result = Json::object();
    ReadSettings(s, "settings", result);
    return result;
}

Json TariffSettings(Session& s)
{
    Json result = Json::object();
    ReadSettings(s, "tariffs", result);
    uint32_t mode = 0;
    uint32_t buffers = 0;
    // No error text for this one: a failure is only its result.
    if (eReadModeTariffProfile(0, &mode, &buffers) != 1)
        throw MeterError("eReadModeTariffProfile: no answer");
    result["profile_mode"] = mode;
    result["profile_buffers"] = buffers;
    return result;
}

Json Plc1(Session& s, const std::string& aRequest)
{
    const std::vector<uint8_t> request = ParseHex(aRequest);
    if (request.size() != 8)
        throw InputError("--plc1-request: 8 bytes wanted");
    uint32_t c[8] = {};
    s.Check(eReadPLC1Config(0, request[0], request[1], request[2], request[3], request[4], request[5],
                            request[6], request[7], &c[0], &c[1], &c[2], &c[3], &c[4], &c[5], &c[6], &c[7],
                            s.Err()),
            "eReadPLC1Config");
    std::string hex;
    for (const uint32_t byte : c)
    {
        char two[4];
        snprintf(two, sizeof(two), "%s%02X", hex.empty() ? "" : " ", byte & 0xFF);
        hex += two;
    }
    return Json{{"request", aRequest}, {"answer", hex}};
}

// The read items in report order: the name `read` takes, the key of its part of the result, the reader.
struct ReadItem
{
    const char* name;
    const char* key;
    Json (*read)(Session&, const CommandOptions&);
};
const ReadItem kReadItems[] = {
    {"energy", "energy", [](Session& s, const CommandOptions&) { return Energy(s); }},
    {"months", "month_energy", [](Session& s, const CommandOptions& o) { return Months(s, o.months); }},
    {"network", "network", [](Session& s, const CommandOptions&) { return Network(s); }},
    {"maxima", "maxima", [](Session& s, const CommandOptions&) { return Maxima(s); }},
    {"running", "running_time", [](Session& s, const CommandOptions&) { return Running(s); }},
    {"battery", "battery", [](Session& s, const CommandOptions&) { return Battery(s); }},
    {"events", "last_events", [](Session& s, const CommandOptions&) { return Events(s); }},
    {"display", "display", [](Session& s, const CommandOptions&) { return Display(s); }},
    {"limits", "limits", [](Session& s, const CommandOptions&) { return Limits(s); }},
    {"relay", "relay", [](Session& s, const CommandOptions&) { return Relay(s); }},
    {"settings", "settings", [](Session& s, const CommandOptions&) { return Settings(s); }},
    {"tariffs", "tariffs", [](Session& s, const CommandOptions&) { return TariffSettings(s); }},
    {"plc1", "plc1", [](Session& s, const CommandOptions& o) { return Plc1(s, o.plc1Request); }},
};
} // namespace

const std::vector<std::string>& ReadItems()
{
    static const std::vector<std::string> names = []
    {
        std::vector<std::string> all;
        for (const ReadItem& item : kReadItems)
            all.push_back(item.name);
        return all;
    }();
    return names;
}

std::vector<uint8_t> ParseHex(const std::string& aText)
{
    std::vector<uint8_t> bytes;
    int high = -1;
    for (const char c : aText)
    {
        if (c == ' ' || c == ':' || c == ',' || c == '-')
        {
            if (high >= 0)
                throw InputError("hex text \"" + aText + "\": a byte of one digit");
            continue;
        }
        if (!isxdigit(static_cast<unsigned char>(c)))
            throw InputError("hex text \"" + aText + "\": '" + std::string(1, c) + "' is not a hex digit");
        const int digit = isdigit(static_cast<unsigned char>(c)) ? c - '0' : (tolower(c) - 'a' + 10);
        if (high < 0)
            high = digit;
        else
        {
            bytes.push_back(static_cast<uint8_t>(high * 16 + digit));
            high = -1;
        }
    }
    if (high >= 0)
        throw InputError("hex text \"" + aText + "\": an odd number of digits");
    return bytes;
}

std::string ToLibraryText(const std::string& aText)
{
    if (auto converted = Utf8ToCp1251(aText))
        return *converted;
    // Valid UTF-8 that the code page cannot carry is refused; anything else is taken as a text kept in
    // Windows-1251 already (the library's own form) and goes as it is.
    if (IsUtf8(aText))
        throw InputError("the text holds characters that Windows-1251 has not");
    return aText;
}

Json Info(Session& aSession)
{
    return Json{{"identity", Identity(aSession)}, {"clock", Clock(aSession)}};
}

Json Read(Session& aSession, const std::vector<std::string>& aItems, const CommandOptions& aOptions)
{
    Json result;
    for (const std::string& name : aItems.empty() ? ReadItems() : aItems)
    {
        const ReadItem* item = std::find_if(std::begin(kReadItems), std::end(kReadItems),
                                            [&](const ReadItem& aItem) { return name == aItem.name; });
        if (item == std::end(kReadItems))
            throw UsageError("read: unknown item \"" + name + "\"");
        result[item->key] = item->read(aSession, aOptions);
    }
    return result;
}

const std::vector<std::string>& SetNames()
{
    static const std::vector<std::string> names = []
    {
        // The settings written out in Set, then those of the settings table.
        std::vector<std::string> all = {"clock",
                                        "display",
                                        "display-extra",
                                        "display-times",
                                        "power-limit",
                                        "power-limit-mode",
                                        "tariff-limits",
                                        "relay",
                                        "address",
                                        "group-address",
                                        "battery-reset",
                                        "maxima-reset",
                                        "tariff-profile-mode",
                                        "fast-schedule"};
        for (const SettingRow& row : kSettings)
            if (row.write != nullptr && *row.name != '\0')
                all.push_back(row.name);
        return all;
    }();
    return names;
}

Json Set(Session& s, const std::string& aName, const std::vector<std::string>& aValues)
{
    auto want = [&](size_t aCount, const char* pUsage)
    {
        if (aValues.size() != aCount)
            throw UsageError("set " + aName + " wants " + pUsage);
    };
    auto value = [&](size_t aIndex, uint32_t aMax = 0xFFFFFFFFu, uint32_t aMin = 0)
    { return ParseUnsigned(aValues[aIndex], "set " + aName, aMax, aMin); };
    auto digits = [&](const std::string& aText, size_t aCount)
    {
        if (aText.size() != aCount || aText.find_first_not_of("01") != std::string::npos)
            throw InputError("set " + aName + ": \"" + aText + "\" is not " + std::to_string(aCount) +
                             " digits 0 or 1");
    };

    if (const SettingRow* row = FindSetting(aName))
    {
        want(1, row->usage);
        s.Check(row->write(0, value(0, row->high, row->low), s.Err()), row->writeName);
    }
    else if (aName == "clock")
    {
        want(0, "no values");
        s.Check(eSynchronizaionTime(0, s.Err()), "eSynchronizaionTime");
    }
    else if (aName == "display")
    {
        want(4, "TARIFFS(5 digits 0/1) POWER TIME DATE");
        digits(aValues[0], 5);
        s.Check(eWriteParamDisplay(0, aValues[0].c_str(), value(1, 1), value(2, 1), value(3, 1), s.Err()),
                "eWriteParamDisplay");
    }
    else if (aName == "display-extra")
    {
        want(2, "FLAGS(8 digits 0/1, bit 0 first) DELAY");
        digits(aValues[0], 8);
        auto bit = [&](size_t aIndex) { return static_cast<uint32_t>(aValues[0][aIndex] - '0'); };
        // The meter's byte: tariff, voltage/current/frequency, battery indication, maxima, running time,
        // battery running time, power limit, energy limit; the export takes the battery flag last.
        s.Check(eWriteAddParamDisplay(0, bit(0), bit(1), bit(3), bit(4), bit(5), bit(6), bit(7),
                                      value(1, 255), bit(2), s.Err()),
                "eWriteAddParamDisplay");
    }
    else if (aName == "display-times")
    {
        want(4, "T1 T2 T3 T4");
        s.Check(eWriteIndicationTime(0, value(0, 255), value(1, 255), value(2, 255), value(3, 255), s.Err()),
                "eWriteIndicationTime");
    }
    else if (aName == "power-limit")
    {
        want(1, "LIMIT");
        s.Check(eWritePowerLimit(0, value(0), s.Err()), "eWritePowerLimit");
    }
    else if (aName == "power-limit-mode")
    {
        want(4, "COMPARE CYCLE-TIME CYCLE-FLAG RESET-FLAG");
        s.Check(eWritePowerLimitMode(0, value(0, 255), value(1, 255), value(2, 255), value(3, 255), s.Err()),
                "eWritePowerLimitMode");
    }
    else if (aName == "tariff-limits")
    {
        want(5, "L1 L2 L3 L4 FLAGS(4 digits 0/1)");
        for (size_t i = 0; i < 4; ++i)
            value(i);
        digits(aValues[4], 4);
        s.Check(eWriteEnergyRateLimit(0, aValues[0].c_str(), aValues[1].c_str(), aValues[2].c_str(),
                                      aValues[3].c_str(), aValues[4].c_str(), s.Err()),
                "eWriteEnergyRateLimit");
    }
    else if (aName == "relay")
    {
        want(1, "MODE (1, 2 or 16)");
        s.Check(eWriteReleMode(0, static_cast<int32_t>(value(0, 0x7FFFFFFF)), s.Err()), "eWriteReleMode");
    }
    else if (aName == "address" || aName == "group-address")
    {
        want(1, "ADDRESS");
        s.Check(eWriteAddress(0, aName == "group-address" ? 1 : 0, value(0), s.Err()), "eWriteAddress");
    }
    else if (aName == "battery-reset")
    {
        want(0, "no values");
        s.Check(eResetDeviceBat(0, s.Err()), "eResetDeviceBat");
    }
    else if (aName == "maxima-reset")
    {
        want(1, "voltage|current|power");
        static const char* kinds[] = {"voltage", "current", "power"};
        uint32_t kind = 3;
        for (uint32_t k = 0; k < 3; ++k)
            if (aValues[0] == kinds[k])
                kind = k;
        if (kind == 3)
            kind = value(0, 2);
        s.Check(eResertMaxParam(0, 0, kind, s.Err()), "eResertMaxParam");
    }
    else if (aName == "tariff-profile-mode")
    {
        want(1, "MODE");
        s.Check(eWriteModeTariffProfile(0, value(0, 255), s.Err()), "eWriteModeTariffProfile");
    }
    else if (aName == "fast-schedule")
    {
        want(1, "HEX (35 bytes)");
        const std::vector<uint8_t> b = ParseHex(aValues[0]);
        if (b.size() != 35)
            throw InputError("set fast-schedule: 35 bytes wanted, got " + std::to_string(b.size()));
        s.Check(eWriteTSFast(0, b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11],
                             b[12], b[13], b[14], b[15], b[16], b[17], b[18], b[19], b[20], b[21], b[22],
                             b[23], b[24], b[25], b[26], b[27], b[28], b[29], b[30], b[31], b[32], b[33],
                             b[34], s.Err()),
                "eWriteTSFast");
    }
    else
        throw UsageError("set: unknown setting \"" + aName + "\"");
    Json values = Json::array();
    for (const std::string& v : aValues)
        values.push_back(v);
    return Json{{"set", aName}, {"values", values}, {"result", "done"}};
}

Json ScheduleSummary(const Json& aMonths)
{
    // Each month as its day kinds grouped by identical zone lists, in order of first appearance.
    std::vector<std::pair<std::string, Json>> months;
    for (const Json& month : aMonths)
    {
        std::vector<std::pair<std::string, std::string>> groups; // zones, day kinds
        for (const Json& day : month["days"])
        {
            std::string zones;
            for (const Json& zone : day["zones"])
            {
                std::string text = zone.get<std::string>();
                const size_t comma = text.find(',');
                if (comma != std::string::npos)
                    text[comma] = ' ';
                zones += (zones.empty() ? "" : ", ") + text;
            }
            if (zones.empty())
                zones = "no zones";
            auto found = groups.begin();
            while (found != groups.end() && found->first != zones)
                ++found;
            const std::string name = day["day"].get<std::string>();
            if (found == groups.end())
                groups.emplace_back(zones, name);
            else
                found->second += ", " + name;
        }
        Json table;
        for (const auto& group : groups)
            table[group.second] = group.first;
        months.emplace_back(month["month"].get<std::string>(), table);
    }
    Json summary;
    for (size_t i = 0; i < months.size();)
    {
        size_t last = i;
        while (last + 1 < months.size() && months[last + 1].second == months[i].second)
            ++last;
        summary[last == i ? months[i].first : months[i].first + " – " + months[last].first] =
            months[i].second;
        i = last + 1;
    }
    return summary;
}

Json ScheduleGet(Session& s, const CommandOptions& aOptions)
{
    // Room for the longest text of either form, zeroed: the reads append to what the buffer holds.
    std::vector<char> text(16733 + 64, '\0');
    {
        // Both forms fetch the 96 day tables (12 months x 8 day kinds) one frame each.
        Progress progress(s.Tap(), "schedule read", 96, aOptions.progress);
        if (aOptions.zones == 8)
            s.Check(eReadRateScale_1(0, text.data(), s.Err()), "eReadRateScale_1");
        else
            s.Check(eReadRateScale_4(0, text.data(), s.Err()), "eReadRateScale_4");
    }
    const std::string utf8 = U(text.data());
    return Json{{"zones_per_day", aOptions.zones}, {"text", utf8}, {"months", ScheduleMonths(utf8)}};
}

Json SchedulePut(Session& s, const std::string& aText, const CommandOptions& aOptions)
{
    const std::string text = ToLibraryText(aText);
    int32_t result = 0;
    {
        Progress progress(s.Tap(), "schedule write", 96, aOptions.progress);
        result = aOptions.zones == 8 ? eWriteRateScale_1(0, text.c_str(), s.Err())
                                     : eWriteRateScale_4(0, text.c_str(), s.Err());
    }
    // A refused text comes back as 0 without a message, before anything is sent.
    if (result == 0 && s.Err()[0] == '\0')
        throw InputError("the schedule text was refused: each month name, then each of its eight day kinds "
                         "with up to " +
                         std::to_string(aOptions.zones) + " lines \"HH:MM,Tn\" (see `schedule get`)");
    s.Check(result, aOptions.zones == 8 ? "eWriteRateScale_1" : "eWriteRateScale_4");
    return Json{{"zones_per_day", aOptions.zones}, {"result", "written"}};
}

Json HolidaysGet(Session& s)
{
    char text[16 * 24 + 1] = {};
    s.Check(eReadWeekendScale2(0, text, s.Err()), "eReadWeekendScale2");
    const std::string utf8 = U(text);
    Json dates = Json::array();
    std::istringstream lines(utf8);
    std::string line;
    while (std::getline(lines, line))
        if (!line.empty())
            dates.push_back(line);
    return Json{{"text", utf8}, {"dates", dates}};
}

Json HolidaysPut(Session& s, const std::string& aText)
{
    const std::string text = ToLibraryText(aText);
    s.Check(eWriteWeekendScale2(0, text.c_str(), s.Err()), "eWriteWeekendScale2");
    return Json{{"result", "written"}};
}

Json HolidaysClear(Session& s)
{
    // The file-name form does not read its file: it writes both holiday halves empty.
    s.Check(eWriteWeekendScale(0, "", s.Err()), "eWriteWeekendScale");
    return Json{{"result", "cleared"}};
}

Json Journal(Session& s, unsigned aJournal, unsigned aFirst, unsigned aCount, int aQualityParameter,
             const CommandOptions& aOptions)
{
    const bool allQuality = aJournal == 4 && aQualityParameter < 0;
    // Lines of at most 40 bytes; journal 4 read whole gives eight lines (one per quality parameter) an index.
    std::vector<char> text(static_cast<size_t>(aCount) * (allQuality ? 8 : 1) * 40 + 64, '\0');
    Json result{{"journal", aJournal}, {"first", aFirst}, {"count", aCount}};
    {
        Progress progress(s.Tap(), "journal read", aCount * (allQuality ? 8 : 1), aOptions.progress);
        if (aQualityParameter >= 0)
        {
            if (aJournal != 4)
                throw UsageError("journal: --parameter belongs to journal 4");
            result["parameter"] = aQualityParameter;
            s.Check(
                eReadPKE_2(0, static_cast<uint32_t>(aQualityParameter), aFirst, aCount, text.data(), s.Err()),
                "eReadPKE_2");
        }
        else
            s.Check(eReadJournal(0, aJournal, aFirst, aCount, text.data(), s.Err()), "eReadJournal");
    }
    const std::string utf8 = U(text.data());
    result["text"] = utf8;
    result["entries"] = JournalEntries(utf8);
    return result;
}

Json Profile(Session& s, const std::string& aDate, int aBlock, bool aNumbers, const CommandOptions& aOptions)
{
    unsigned year = 0;
    unsigned month = 0;
    unsigned day = 0;
    char tail = 0;
    if (sscanf(aDate.c_str(), "%4u-%2u-%2u%c", &year, &month, &day, &tail) != 3 || month < 1 || month > 12 ||
        day < 1 || day > 31)
        throw InputError("profile: \"" + aDate + "\" is not a date YYYY-MM-DD");
    if (aBlock > 5)
        throw InputError("profile: --block is 0 to 5");
    Json result{{"date", aDate}};
    if (aBlock >= 0)
        result["block"] = aBlock;
    const uint32_t block = static_cast<uint32_t>(aBlock < 0 ? 0 : aBlock);
    const unsigned slots = aBlock < 0 ? 48 : 8;
    Progress progress(s.Tap(), "profile read", slots / 8, aOptions.progress);
    if (aNumbers)
    {
        uint32_t values[48] = {};
        if (aBlock < 0)
            s.Check(eReadSecPowerProfile_22(0, day, month, year, values, s.Err()), "eReadSecPowerProfile_22");
        else
            s.Check(eReadSecPowerProfile_23(0, day, month, year, block, values, s.Err()),
                    "eReadSecPowerProfile_23");
        Json list = Json::array();
        const unsigned firstSlot = aBlock < 0 ? 0 : block * 8;
        for (unsigned i = 0; i < slots; ++i)
        {
            char time[8];
            snprintf(time, sizeof(time), "%02u:%02u", (firstSlot + i) / 2, (firstSlot + i) % 2 * 30);
            list.push_back(
                Json{{"time", time}, {"power", values[i] == 0xFFFFFFFFu ? Json() : Json(values[i])}});
        }
        result["slots"] = list;
    }
    else
    {
        char text[48 * 17 + 1] = {};
        if (aBlock < 0)
            s.Check(eReadSecPowerProfile(0, day, month, year, text, s.Err()), "eReadSecPowerProfile");
        else
            s.Check(eReadSecPowerProfile_21(0, day, month, year, block, text, s.Err()),
                    "eReadSecPowerProfile_21");
        result["text"] = U(text);
    }
    return result;
}

Json Raw(Session& s, const std::string& aHex, unsigned aAnswerSize)
{
    const std::vector<uint8_t> request = ParseHex(aHex);
    if (request.empty())
        throw InputError("raw: no bytes to send");
    std::vector<uint8_t> answer(aAnswerSize == 0 ? 1 : aAnswerSize);
    uint32_t length = static_cast<uint32_t>(answer.size());
    s.Check(
        eWriteData(0, request.data(), static_cast<uint32_t>(request.size()), answer.data(), &length, s.Err()),
        "eWriteData");
    std::string hex;
    for (uint32_t i = 0; i < length; ++i)
    {
        char two[4];
        snprintf(two, sizeof(two), "%s%02X", hex.empty() ? "" : " ", answer[i]);
        hex += two;
    }
    return Json{{"request", aHex}, {"answer", hex}, {"length", length}};
}

} // namespace q310cli
