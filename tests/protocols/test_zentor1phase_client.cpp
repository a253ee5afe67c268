// Every client command, one row each: the request frames, the answer, the decoded result as text and
// the result of a bare echo (the length check); then refusals, special rules and one whole trace.
#include "scripted_channel.h"

#include "shared/kel_utils.h"

#include <cstring>
#include <functional>
#include <ranges>
#include <string>

namespace
{
using C = Kel_Zentor1Phase_ClientContext*;
using Call = std::function<Kel_StatusCode(C, std::string&)>;

struct Row
{
    const char* requests; // request payloads, '|' between the requests
    const char* answers;  // answer payloads, one per request
    Kel_StatusCode echoOnly;
    const char* result; // the decoded result
    Call call;
};

struct Results
{
    char serial[12];
    uint32_t u32a, u32b, u32c;
    uint16_t u16;
    uint8_t u8;
    uint8_t bytes[16];
    double real;
    DateTime date;
    Kel_Zentor1Phase_MeterTime7 time7;
    Kel_Zentor1Phase_TariffEnergyLimit limits[4];
    Kel_Zentor1Phase_SwitchPoint points[16];
    Kel_Zentor1Phase_DisplayDelay delay;
    Kel_Zentor1Phase_ExtendedNetParams net;
    uint32_t energy[4];
    Kel_Zentor1Phase_EnergyArchiveRecord archive;
    Kel_Zentor1Phase_PowerProfileRecord profile;
    Kel_Zentor1Phase_MaximumRecord maximum;
    Kel_Zentor1Phase_ModelRecord model;
    Kel_Zentor1Phase_ParametersRecord parameters;
    uint32_t received;
} r;

struct Raw
{
    const void* data;
    size_t size;
};

template <typename T> std::string Text(const T& aValue)
{
    char text[32];
    if constexpr (std::is_same_v<T, Raw>)
        return Hex(aValue.data, aValue.size);
    else if constexpr (std::is_same_v<T, double>)
        return snprintf(text, sizeof(text), "%g", aValue), text;
    else if constexpr (std::is_same_v<T, DateTime>)
    {
        uint16_t year = 0, ms = 0;
        uint8_t month = 0, day = 0, hour = 0, minute = 0, second = 0;
        if (Kel_IsBad(Kel_Utils_DecodeDateTime(&aValue, &year, &month, &day, &hour, &minute, &second, &ms)))
            return "?";
        snprintf(text, sizeof(text), "%04u-%02u-%02u %02u:%02u:%02u", year, month, day, hour, minute, second);
        return text + std::string(aValue.microseconds == 0 ? "" : "+us");
    }
    else if constexpr (std::is_arithmetic_v<T>)
        return std::to_string(+aValue);
    else
        return std::string(aValue);
}

// The call's status, with its results written as text behind one another.
template <typename... T> Kel_StatusCode Out(std::string& rText, Kel_StatusCode aStatus, const T&... aValues)
{
    ((rText += (rText.empty() ? "" : " ") + Text(aValues)), ...);
    return aStatus;
}

std::vector<Bytes> Split(const char* pText)
{
    std::vector<Bytes> parts;
    for (const std::string& all = pText; const auto& part : std::views::split(all, '|'))
        parts.push_back(Hex(std::string(part.begin(), part.end()).c_str()));
    return parts;
}

DateTime MakeDate(uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour, uint8_t aMinute,
                  uint8_t aSecond)
{
    DateTime date{};
    EXPECT_EQ(Kel_Utils_CreateDateTime(aYear, aMonth, aDay, aHour, aMinute, aSecond, 0, &date), Kel_Good);
    return date;
}

// The four energy registers of the energy answers and the 20 archive bytes (CRC-checked, wire order).
#define ENERGY "00 12 34 56 99 99 99 99 00 00 00 01 01 00 00 00"
#define ENERGY_TEXT "1234560 999999990 10 10000000"
#define ARCHIVE ENERGY " 01 02 03 04"
std::string Archive(bool aGoodCrc)
{
    const Bytes data = Hex(ARCHIVE);
    uint16_t crc = 0;
    Kel_Memory_CrcModbusCalc(data.data(), 20, &crc);
    crc = static_cast<uint16_t>(aGoodCrc ? crc : crc ^ 1);
    return "37 " ARCHIVE " " + Hex(&crc, 2) + " 00 00";
}
const std::string kArchiveGood = Archive(true), kArchiveBad = Archive(false);

constexpr Kel_StatusCode U = Kel_BadDeviceUnknownResponse;
constexpr Kel_StatusCode E = Kel_BadDeviceErrorResponse;
constexpr Kel_StatusCode W = Kel_Good; // writes have no length check

// A row's call: the client command, then the results to show.
#define CALL(command, ...)                                                                                   \
    [](C c, std::string& o) { return Out(o, Kel_Zentor1Phase_Client_##command __VA_OPT__(, ) __VA_ARGS__); }

#define MODEL CALL(ReadModel(c, &r.model), r.model.text, r.model.relay)
#define ENERGY_OUT r.energy[0], r.energy[1], r.energy[2], r.energy[3]
#define ARCHIVE_OUT                                                                                          \
    r.archive.valid, r.archive.year, r.archive.month, r.archive.day, r.archive.energy[0],                    \
        r.archive.energy[1], r.archive.energy[2], r.archive.energy[3]

#define LIMIT(i) r.limits[i].value, r.limits[i].flag
#define MAX_OUT(i)                                                                                           \
    r.maximum.entries[i].value, r.maximum.entries[i].hour, r.maximum.entries[i].minute,                      \
        r.maximum.entries[i].second, r.maximum.entries[i].day, r.maximum.entries[i].month,                   \
        r.maximum.entries[i].year

// The arguments of the writes.
const Kel_Zentor1Phase_MeterTime7 kTime7{{3, 14, 35, 59, 28, 2, 24}};
const DateTime kDate = MakeDate(2024, 2, 28, 14, 35, 59); // a Wednesday
const Kel_Zentor1Phase_TariffEnergyLimit kLimits[4] = {{12345, 0xAA}, {1, 0}, {999999, 1}, {123456, 0xFF}};
const uint8_t kMode2[2] = {0x12, 0x34}, kMode4[4] = {0x0A, 5, 1, 0}, kCommand[1] = {0x2F};
const uint8_t kHolidays[16] = {1, 1, 7, 1, 8, 3, 255, 255, 31, 12, 255, 5, 9, 5, 12, 6};
const Kel_Zentor1Phase_SwitchPoint kPoints[16] = {
    {1, 7, 30},      {2, 23, 59},     {255, 255, 255}, {255, 255, 255}, {255, 255, 255}, {255, 255, 255},
    {255, 255, 255}, {255, 255, 255}, {255, 255, 255}, {255, 255, 255}, {255, 255, 255}, {255, 255, 255},
    {255, 255, 255}, {255, 255, 255}, {255, 255, 255}, {255, 255, 255}};
const Kel_Zentor1Phase_DisplayDelay kDelay{4, 5, 6, 7};

std::vector<Row> Rows()
{
    return {
        {"2F", "2F 00 BC 61 4E", U, "12345678", CALL(ReadSerial(c, r.serial, 9), r.serial)},
        {"2F", "2F 05 F5 E1 01", U, "30 30 30 30 30 30 30 31 00 00",
         CALL(ReadSerial(c, r.serial, 12), Raw{r.serial, 10})},
        {"00 01 02 03 04", "00", W, "", CALL(WriteNewAddress(c, 0x01020304))},
        {"20", "20 DE AD BE EF", U, "3735928559", CALL(ReadGroupAddress(c, &r.u32a), r.u32a)},
        {"01 11 22 33 44", "01", W, "", CALL(WriteGroupAddress(c, 0x11223344))},
        {"21", "21 03 14 35 59 28 02 24", E, "03 0E 23 3B 1C 02 18",
         CALL(ReadDateTime(c, &r.time7), Raw{r.time7.value, 7})},
        {"21", "21 03 14 35 59 28 02 24", E, "2024-02-28 14:35:59", CALL(ReadTime(c, &r.date), r.date)},
        {"21", "21 07 00 00 00 01 01 51", E, "1951-01-01 00:00:00", CALL(ReadTime(c, &r.date), r.date)},
        {"66", "66 15 06 19", E, "2019-06-15 00:00:00", CALL(ReadProdDate(c, &r.date), r.date)},
        {"02 03 14 35 59 28 02 24", "02", W, "", CALL(WriteDateTime(c, &kTime7))},
        {"02 03 14 35 59 28 02 24", "02", W, "", CALL(WriteTime(c, &kDate))},
        {"22", "22 12 34", U, "12340", CALL(ReadPowerLimit(c, &r.real), r.real)},
        {"03 02 35", "03", W, "", CALL(WritePowerLimit(c, 2350.0))},
        {"03 99 00", "03", W, "", CALL(WritePowerLimit(c, 150000.0))},
        {"23", "23 01 23", U, "123", CALL(ReadEnergyLimit(c, &r.u16), r.u16)},
        {"04 99 07", "04", W, "", CALL(WriteEnergyLimit(c, 9907))},
        {"6E", "6E 01 23 45 AA 00 00 01 00 99 99 99 01 12 34 56 FF", U, "12345 170 1 0 999999 1 123456 255",
         CALL(ReadTariffEnergyLimit(c, r.limits), LIMIT(0), LIMIT(1), LIMIT(2), LIMIT(3))},
        {"72 01 23 45 AA 00 00 01 00 99 99 99 01 12 34 56 FF", "72", W, "",
         CALL(WriteTariffEnergyLimit(c, kLimits))},
        {"24", "24 01", U, "1", CALL(ReadSummerTimeFlag(c, &r.u8), r.u8)},
        {"05 01", "05", W, "", CALL(WriteSummerTimeFlag(c, 1))},
        {"28", "28 02 07 00 19 05 21", U, "02 07 14 15 05 13",
         CALL(ReadFirmwareVersion(c, r.bytes), Raw{r.bytes, 6})},
        {"87", "87 AB CD 11 11 11 11 11 11 11 11 11 11 11 11 11 11", U, "43981",
         CALL(ReadFirmwareCRC(c, &r.u16), r.u16)},
        {"29", "29 03 25", U, "03 19", CALL(ReadBatteryVoltage(c, r.bytes), Raw{r.bytes, 2})},
        {"0C 04 00", "0C", W, "", CALL(WriteBatteryFlagReset(c))},
        {"14 00 00 00 00", "14", W, "", CALL(WriteBatteryLifetimeReset(c))},
        {"25", "25 17", U, "23", CALL(ReadTimeCorrection1(c, &r.u8), r.u8)},
        {"64", "64 01 02 03", U, "66051", CALL(ReadTimeCorrection3(c, &r.u32a), r.u32a)},
        {"06 1F", "06", W, "", CALL(WriteTimeCorrection1(c, 31))},
        {"08 04", "08", W, "", CALL(WriteBaudRate(c, 4))},
        {"2A", "2A 5A", U, "90", CALL(ReadDisplayMode(c, &r.u8), r.u8)},
        {"09 3C", "09", W, "", CALL(WriteDisplayMode(c, 0x3C))},
        {"6A", "6A 12 34", U, "12 34", CALL(ReadAdditionalDisplayMode(c, r.bytes), Raw{r.bytes, 2})},
        {"70 12 34", "70", W, "", CALL(WriteAdditionalDisplayMode(c, kMode2))},
        {"2B", "2B 01 02 03 04 05 06 10", E, "01 02 03 04 05 06 0A",
         CALL(ReadLastMeterOffTime(c, &r.time7), Raw{r.time7.value, 7})},
        {"2C", "2C 01 02 03 04 05 06 11", E, "01 02 03 04 05 06 0B",
         CALL(ReadLastMeterOnTime(c, &r.time7), Raw{r.time7.value, 7})},
        {"61", "61 01 02 03 04 05 06 12", E, "01 02 03 04 05 06 0C",
         CALL(ReadLastCoverOpenTime(c, &r.time7), Raw{r.time7.value, 7})},
        {"62", "62 01 02 03 04 05 06 13", E, "01 02 03 04 05 06 0D",
         CALL(ReadLastCoverCloseTime(c, &r.time7), Raw{r.time7.value, 7})},
        {"6B", "6B 14 35 59 28 02 24 00", E, "0E 23 3B 1C 02 18 00",
         CALL(ReadLastWriteAccessTime(c, &r.time7), Raw{r.time7.value, 7})},
        {"6B", "6B 14 35 59 28 02 24 00", E, "2024-02-28 14:35:59",
         CALL(ReadLastConfigTime(c, &r.date), r.date)},
        {"2D", "2D 01", U, "1", CALL(ReadDryOutputMode(c, &r.u8), r.u8)},
        {"07 02", "07", W, "", CALL(WriteDryOutputMode(c, 2))},
        {"2E", "2E 03", E, "3", CALL(ReadTariffsNumber(c, &r.u8), r.u8)},
        {"0A 01", "0A", W, "", CALL(WriteTariffsNumber(c, 1))},
        {"30 01", "30 01 01 07 01 08 03 FF FF 31 12 FF 05 09 05 12 06", E,
         "01 01 07 01 08 03 FF FF 1F 0C FF 05 09 05 0C 06",
         CALL(ReadHolidaysTable(c, 1, r.bytes), Raw{r.bytes, 16})},
        {"10 01 01 07 01 08 03 FF FF 31 12 FF FF 09 05 12 06 00", "10", W, "",
         CALL(WriteHolidaysTable(c, 0, kHolidays))},
        {"60", "60 02", E, "2", CALL(ReadActiveTariff(c, &r.u8), r.u8)},
        {"0B 01", "0B", W, "", CALL(WriteActiveTariff(c, 1))},
        {"31 B7",
         "31 47 30 A3 59 FF FF 00 FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF",
         U, "01 07 1E 02 17 3B FF FF FF 00 00 FF FF FF FF",
         CALL(ReadTariffsTable(c, 11, 7, r.points), Raw{r.points, 15})},
        {"11 47 30 A3 59 FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF "
         "01",
         "11", W, "", CALL(WriteTariffsTable(c, 0, 1, kPoints))},
        {"12 00 00 00 00 00 00 00 00 02", "12", W, "", CALL(WriteMaximumReset(c, 2, 0))},
        {"13 00 00 00 00 00 00 00 00 01", "13", W, "", CALL(WriteMaximumReset(c, 1, 1))},
        {"67", "67 04 05 06 1E", U, "04 05 06 1E", CALL(ReadDisplayDelay(c, &r.delay), Raw{&r.delay, 4})},
        {"0D 04 05 06 07", "0D", W, "", CALL(WriteDisplayDelay(c, &kDelay))},
        {"68", "68 0A C5", U, "0A 05 01 01", CALL(ReadPowerLimitMode(c, r.bytes), Raw{r.bytes, 4})},
        {"0F 0A 45", "0F", W, "", CALL(WritePowerLimitMode(c, kMode4))},
        {"0F 01 0A", "0F", W, "", CALL(WritePowerLimitPeriod(c, 0))},
        {"0F FF 0A", "0F", W, "", CALL(WritePowerLimitPeriod(c, 300.0))},
        {"0F 0C 0A", "0F", W, "", CALL(WritePowerLimitPeriod(c, 12.7))},
        {"65", "65 01 02", U, "258", CALL(ReadDesignVariant(c, &r.u16), r.u16)},
        {"69", "69 12 34 56 00 01 02", U, "123456 102",
         CALL(ReadRunningTime(c, &r.u32a, &r.u32b), r.u32a, r.u32b)},
        {"6C", "6C 12 34 56", U, "4660 86", CALL(ReadModemAddressLevel(c, &r.u16, &r.u8), r.u16, r.u8)},
        {"6D", "6D AA", U, "170", CALL(ReadRelayControlMode(c, &r.u8), r.u8)},
        {"71 55", "71", W, "", CALL(WriteRelayControlMode(c, 0x55))},
        {"71 AA", "71", W, "", CALL(WriteLoadState(c, 0))},
        {"71 00|71 5A", "71|71", W, "", CALL(WriteLoadState(c, 1))},
        {"6F", "6F 01", U, "1", CALL(ReadLcdUnderBatteryEnable(c, &r.u8), r.u8)},
        {"73 01", "73", W, "", CALL(WriteLcdUnderBatteryEnable(c, 1))},
        {"80", "80 01", U, "1", CALL(ReadPlc2InterfaceEnable(c, &r.u8), r.u8)},
        {"74 00", "74", W, "", CALL(WritePlc2InterfaceEnable(c, 0))},
        {"82", "82 03", U, "3", CALL(ReadTimeoutMultiplier(c, &r.u8), r.u8)},
        {"75 03", "75", W, "", CALL(WriteTimeoutMultiplier(c, 3))},
        // Energy, maxima, network values, profiles.
        {"27", "27 " ENERGY, U, ENERGY_TEXT, CALL(ReadEnergy(c, 0x27, r.energy), ENERGY_OUT)},
        {"85", "85 " ENERGY, U, ENERGY_TEXT, CALL(ReadEnergy(c, 0x85, r.energy), ENERGY_OUT)},
        {"32 0F", "32 " ENERGY, U, ENERGY_TEXT, CALL(ReadEnergyMonth12(c, 15, 0x32, r.energy), ENERGY_OUT)},
        {"38 0B", "38 " ENERGY, U, ENERGY_TEXT, CALL(ReadEnergyMonth12(c, 11, 0x38, r.energy), ENERGY_OUT)},
        {"37 01 01 03 24", kArchiveGood.c_str(), U, "1 24 3 1 " ENERGY_TEXT,
         CALL(ReadEnergyMonth48(c, 24, 3, &r.archive), ARCHIVE_OUT)},
        {"37 01 01 12 99", kArchiveBad.c_str(), U, "0 99 12 1 0 0 0 0",
         CALL(ReadEnergyMonth48(c, 99, 12, &r.archive), ARCHIVE_OUT)},
        {"37 00 31 12 24", kArchiveGood.c_str(), U, "1 24 12 31 " ENERGY_TEXT,
         CALL(ReadEnergyDay48(c, 24, 12, 31, &r.archive), ARCHIVE_OUT)},
        {"33 01", "33 12 34 14 35 59 28 02 24 00 05 23 59 59 31 12 99", U,
         "1 1234 14 35 59 28 2 24 5 23 59 59 31 12 99",
         CALL(ReadMaximum(c, 1, &r.maximum), r.maximum.maximum, MAX_OUT(0), MAX_OUT(1))},
        {"26", "26 05 50", U, "05 32", CALL(ReadPayloadPower(c, r.bytes), Raw{r.bytes, 2})},
        {"63", "63 02 30 01 50 01 23 45", U, "230 150 12345",
         CALL(ReadUIP(c, &r.u32a, &r.u32b, &r.u32c), r.u32a, r.u32b, r.u32c)},
        {"81", "81 50 01 04 07 09 09 09 09 09 09", U, "5001 5 7",
         CALL(ReadExtendedNetParams(c, &r.net), r.net.frequency, r.net.value1, r.net.value2)},
        // Model texts in Windows-1251 ("реле", "авт.вкл"), then the relay flag.
        {"86 FF", "86 FF 02 00", U, "Zentor 310 0", MODEL},
        {"86 FF", "86 FF 04 01", U, "Zentor 313.2T, \xF0\xE5\xEB\xE5 1", MODEL},
        {"86 FF", "86 FF 04 03", U, "Zentor 313.2T, 120(L) 0", MODEL},
        {"86 FF", "86 FF 06 02", U, "Zentor 313.2TR 0", MODEL},
        {"86 FF", "86 FF 08 01", U, "Zentor 316, RS485 0", MODEL},
        {"86 FF", "86 FF 08 03", U, "Zentor 316, PLC, \xF0\xE5\xEB\xE5 1", MODEL},
        {"86 FF", "86 FF 08 04", U, "Zentor 316, RS485, \xF0\xE5\xEB\xE5, \xE0\xE2\xF2.\xE2\xEA\xEB 1",
         MODEL},
        {"86 FF", "86 FF 08 05", U, "Zentor 316, PLC, \xF0\xE5\xEB\xE5, \xE0\xE2\xF2.\xE2\xEA\xEB 1", MODEL},
        {"86 FF", "86 FF 0A 03", U, "Zentor 311.8TLO, \xF0\xE5\xEB\xE5 0", MODEL},
        {"86 FF", "86 FF 0C 01", U, "0", MODEL},
        {"86 00|86 01|86 02", "86 00 12 34 56|86 01 AA|86 02 12 34 00 07 89", U, "123456 2 -1.234 789",
         CALL(ReadParameters(c, &r.parameters), r.parameters.value0, r.parameters.state1,
              r.parameters.value2a, r.parameters.value2b)},
        {"86 02", "86 02 92 34 00 00 01", U, "1.234 1 0",
         CALL(ReadParameters2(c, 2, &r.parameters), r.parameters.value2a, r.parameters.value2b,
              r.parameters.value0)},
        {"86 01", "86 01 55", U, "1", CALL(ReadParameters2(c, 1, &r.parameters), r.parameters.state1)},
        {"2F", "2F 01 02 03 04", W, "5 2F 01 02 03 04",
         CALL(SendCommand(c, kCommand, 1, r.bytes, 5, &r.received), r.received, Raw{r.bytes, 5})},
        {"6D|71 55", "6D 00|71", U, "", CALL(EnablePowerLimit(c, 1))},
        {"6D|71 00", "6D 55|71", U, "", CALL(EnablePowerLimit(c, 0))},
        {"6D|71 AA", "6D AA|71", U, "", CALL(EnablePowerLimit(c, 1))},
    };
}
} // namespace

TEST_F(ClientTest, EveryCommandItsFramesResultLengthCheckAndGoodNoData)
{
    for (const Row& row : Rows())
    {
        SCOPED_TRACE(row.requests);
        const std::vector<Bytes> requests = Split(row.requests);
        const std::vector<Bytes> answers = Split(row.answers);
        Reset();
        memset(&r, 0xEE, sizeof(r));
        for (const Bytes& answer : answers)
            Answer(answer);
        std::string result;
        EXPECT_EQ(row.call(&client, result), Kel_Good);
        EXPECT_EQ(result, row.result);
        ASSERT_EQ(meter.writes.size(), requests.size());
        for (size_t i = 0; i < requests.size(); ++i)
            EXPECT_EQ(meter.writes[i], Frame(requests[i]));

        Reset();
        for (const Bytes& request : requests)
            Answer({request[0]});
        EXPECT_EQ(row.call(&client, result), row.echoOnly);

        Reset();
        meter.readStatus = Kel_GoodNoData;
        EXPECT_EQ(row.call(&client, result), Kel_GoodNoData);
        EXPECT_EQ(meter.writes.size(), 1u);
    }
}

namespace
{
uint8_t buffer[64];
Kel_Zentor1Phase_MaximumRecord maximum;
Kel_Zentor1Phase_EnergyArchiveRecord archive;
Kel_Zentor1Phase_PowerProfileRecord profile;
Kel_Zentor1Phase_SwitchPoint points[16];
uint32_t values[4];
const Kel_Zentor1Phase_DisplayDelay kShortT3{4, 4, 3, 4}, kShortT1{0, 4, 4, 4};
const Kel_Zentor1Phase_MeterTime7 kHour100{{1, 2, 3, 100, 5, 6, 7}};

// The line that refuses the call: a quoted condition, a null argument ("Arg x is NULL!") or a bare status.
struct Refusal
{
    const char* text;
    Call call;
};
} // namespace

TEST_F(ClientTest, RefusedArgumentsWriteNothingAndTraceTheirReason)
{
    const Refusal refusals[] = {
        {"aSerialNumberSizeInBytes < 9", CALL(ReadSerial(c, reinterpret_cast<char*>(buffer), 8))},
        {"(aValue < 1) || (aValue > 4)", CALL(WriteTariffsNumber(c, 0))},
        {"(aValue < 1) || (aValue > 4)", CALL(WriteActiveTariff(c, 5))},
        {"aValue & 0xE0", CALL(WriteTimeCorrection1(c, 32))},
        {"baudRate > KEL_ZENTOR1PHASE_BAUD_600", CALL(WriteBaudRate(c, 5))},
        {"(aPart != 0) && (aPart != 1)", CALL(ReadHolidaysTable(c, 2, buffer))},
        {"Month > 11", CALL(ReadTariffsTable(c, 12, 0, points))},
        {"WDay > 7", CALL(ReadTariffsTable(c, 0, 8, points))},
        {"WDay > 7", CALL(WriteTariffsTable(c, 0, 8, points))},
        {"Maximum > 2", CALL(WriteMaximumReset(c, 3, 0))},
        {"pValue->T3 < 4", CALL(WriteDisplayDelay(c, &kShortT3))},
        {"pValue->T1 < 4", CALL(WriteDisplayDelay(c, &kShortT1))},
        {"(Type != KEL_ZENTOR1PHASE_RCMD_ACTIVE_ENERGY) && (Type != KEL_ZENTOR1PHASE_RCMD_REACTIVE_ENERGY)",
         CALL(ReadEnergy(c, 0x28, values))},
        {"(Month > 11) && (Month != 15)", CALL(ReadEnergyMonth12(c, 12, 0x32, values))},
        {"(aCommand != KEL_ZENTOR1PHASE_RCMD_ACTIVE_ENERGY_MONTH) && (aCommand != "
         "KEL_ZENTOR1PHASE_RCMD_REACTIVE_ENERGY_MONTH)",
         CALL(ReadEnergyMonth12(c, 1, 0x27, values))},
        {"Year > 99", CALL(ReadEnergyMonth48(c, 100, 1, &archive))},
        {"(Day == 0) || (Day > 31)", CALL(ReadEnergyDay48(c, 1, 1, 32, &archive))},
        {"Hour > 23", CALL(ReadPowerUnit48(c, 1, 1, 1, 24, 0, &profile))},
        {"Minute > 59", CALL(ReadPowerUnit48(c, 1, 1, 1, 0, 60, &profile))},
        {"Maximum > KEL_ZENTOR1PHASE_MAXIMUM_POWER", CALL(ReadMaximum(c, 3, &maximum))},
        {"Arg pContext is NULL!", [](C, std::string&)
         { return Kel_Zentor1Phase_Client_ReadSerial(nullptr, reinterpret_cast<char*>(buffer), 9); }},
        {"Arg address is NULL!", CALL(ReadGroupAddress(c, nullptr))},
        {"Arg tariffEnergyLimit is NULL!", CALL(ReadTariffEnergyLimit(c, nullptr))},
        {"Arg i is NULL!", CALL(ReadUIP(c, values, nullptr, values))},
        {"Arg offTime is NULL!", CALL(ReadRunningTime(c, values, nullptr))},
        // Values that do not fit a BCD byte.
        {"0x80AB0000", CALL(WriteEnergyLimit(c, 10000))},
        {"0x80AB0000", CALL(WriteDateTime(c, &kHour100))},
        {"0x80AB0000", CALL(WritePowerLimit(c, -5.0))},
    };
    for (const Refusal& refusal : refusals)
    {
        SCOPED_TRACE(refusal.text);
        Reset();
        TraceCapture trace;
        std::string unused;
        EXPECT_EQ(refusal.call(&client, unused), Kel_BadInvalidArgument);
        const std::string text = trace.Stop();
        EXPECT_TRUE(meter.writes.empty());
        const std::string reason = refusal.text;
        const bool plain = reason.starts_with("Arg ") || reason.starts_with("0x");
        EXPECT_NE(
            text.find("<-- ReturnError: " + reason + (plain ? "" : " is true! Return 0x80AB0000") + "\n"),
            std::string::npos)
            << text;
    }
}

TEST_F(ClientTest, SilentMeterGetsTheRequestTwiceAndEndsAsUnknownResponse)
{
    TraceCapture trace;
    meter.Silent();
    meter.Silent();
    char serial[9];
    memset(serial, 'x', sizeof(serial));
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadSerial(&client, serial, 9), Kel_BadDeviceUnknownResponse);
    EXPECT_EQ(std::string(serial, 9), std::string(9, '\0'));
    EXPECT_EQ(meter.writes.size(), 2u);
    EXPECT_NE(
        trace.Stop().find(
            "<-- ReturnError: pContext->ApplicationContext.inBufferIndex != 5 is true! Return 0x8A050000\n"),
        std::string::npos);
    // The modem's address and level: up to three reads, each with its one repetition.
    Reset();
    for (int i = 0; i < 6; ++i)
        meter.Silent();
    uint16_t address = 1;
    uint8_t level = 1;
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadModemAddressLevel(&client, &address, &level),
              Kel_BadDeviceUnknownResponse);
    EXPECT_EQ(meter.writes.size(), 6u);
}

TEST_F(ClientTest, ProfileAsksForTheBlockAndChecksEverySlot)
{
    Bytes answer{0x37};
    std::string expected;
    for (uint8_t i = 0; i < 8; ++i)
    {
        const uint8_t checked[6] = {static_cast<uint8_t>(40 + i),   0x28, 0x02, 0x24,
                                    static_cast<uint8_t>(0x10 + i), i};
        uint16_t crc = 0;
        Kel_Memory_CrcModbusCalc(checked, 6, &crc);
        answer.insert(answer.end(), {checked[4], checked[5], static_cast<uint8_t>(i == 3 ? ~crc : crc),
                                     static_cast<uint8_t>(crc >> 8)}); // slot 3 is damaged
        expected += i == 3 ? " 0 0" : " 1 " + std::to_string(((0x10 + i) + i * 256) * 4);
    }
    Answer(answer);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadPowerUnit48(&client, 24, 2, 28, 23, 59, &profile), Kel_Good);
    ASSERT_EQ(meter.writes.size(), 1u);
    EXPECT_EQ(meter.writes[0], Frame({0x37, 0x15, 0x28, 0x02, 0x24}));
    std::string result = Hex(&profile, 4);
    for (const auto& slot : profile.slots)
        result += " " + std::to_string(slot.valid) + " " + std::to_string(slot.power);
    EXPECT_EQ(result, "18 02 1C 14" + expected);
    // 03:59 is still block 0.
    Reset();
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadPowerUnit48(&client, 1, 12, 31, 3, 59, &profile),
              Kel_BadDeviceUnknownResponse);
    EXPECT_EQ(meter.writes[0], Frame({0x37, 0x10, 0x31, 0x12, 0x01}));
}

TEST_F(ClientTest, AnswersWithImpossibleContentsAreRefused)
{
    // Maxima: each damaged field of the second entry.
    const Bytes good = Hex("33 12 34 14 35 59 28 02 24 12 34 14 35 59 28 02 24");
    const struct
    {
        size_t index;
        uint8_t byte;
        const char* text;
    } damages[] = {{11, 0x24, "aByte > 23"},
                   {12, 0x60, "aByte > 59"},
                   {14, 0x00, "aByte == 0"},
                   {14, 0x32, "aByte > 31"},
                   {15, 0x13, "aByte > 12"}};
    for (const auto& damage : damages)
    {
        SCOPED_TRACE(damage.text);
        Reset();
        Bytes answer = good;
        answer[damage.index] = damage.byte;
        Answer(answer);
        TraceCapture trace;
        EXPECT_EQ(Kel_Zentor1Phase_Client_ReadMaximum(&client, 0, &maximum), Kel_BadDeviceUnknownResponse);
        EXPECT_NE(trace.Stop().find(std::string("<-- ReturnError: ") + damage.text +
                                    " is true! Return 0x8A050000\n"),
                  std::string::npos);
        EXPECT_EQ(maximum.entries[0].value, 0);
    }
    Reset();
    TraceCapture trace;
    Answer({0x33, 0x12});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadMaximum(&client, 0, &maximum), Kel_BadDeviceUnknownResponse);
    // Parameters: the selector must be echoed, the value must be BCD.
    Kel_Zentor1Phase_ParametersRecord parameters{};
    Answer({0x86, 0x01, 0x12, 0x34, 0x56});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadParameters2(&client, 0, &parameters), Kel_BadDeviceUnknownResponse);
    Answer({0x86, 0x00, 0x12, 0x34, 0xA0});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadParameters2(&client, 0, &parameters), Kel_BadInvalidArgument);
    // A model the meter does not have.
    Kel_Zentor1Phase_ModelRecord model{};
    Answer({0x86, 0x00, 0x08, 0x01});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadModel(&client, &model), Kel_BadDeviceUnknownResponse);
    // The year byte 0x50 is 2050, which the 32-bit DateTime cannot hold: the date module's refusal.
    DateTime date{};
    const Kel_StatusCode refused = Kel_Utils_CreateDateTime(2050, 1, 1, 0, 0, 0, 0, &date);
    ASSERT_TRUE(Kel_IsBad(refused));
    Answer({0x21, 0x07, 0x00, 0x00, 0x00, 0x01, 0x01, 0x50});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadTime(&client, &date), refused);
    // The raw pass-through: an answer larger than the caller's buffer, then none.
    const uint8_t command[] = {0x2F};
    uint32_t received = 9;
    Answer({0x2F, 1, 2, 3, 4});
    EXPECT_EQ(Kel_Zentor1Phase_Client_SendCommand(&client, command, 1, buffer, 4, &received),
              Kel_BadOutOfRange);
    EXPECT_EQ(received, 0u);
    meter.Silent();
    EXPECT_EQ(Kel_Zentor1Phase_Client_SendCommand(&client, command, 1, buffer, 4, &received),
              Kel_BadDeviceNoAnswer);
    const std::string text = trace.Stop();
    for (const char* line :
         {"Maxixmum, inBufferIndex = 2 (should be 17)\n",
          "<-- ReturnError: pContext->ApplicationContext.inBuffer[1] != 0 is true! Return 0x8A050000\n",
          "<-- ReturnError: 0x80AB0000\n", "--- GotoError: Kel_BadOutOfRange. Statuscode 0x803C0000\n",
          "SendCommand - Fail, Tx: [1] 2F , File=", "SendCommand - Fail, Rx: [5] 2F 01 02 03 04 , File="})
        EXPECT_NE(text.find(line), std::string::npos) << line;
}

TEST_F(ClientTest, TraceOfOneReadSerial)
{
    Answer({0x2F, 0x00, 0x00, 0x00, 0x01});
    TraceCapture trace;
    char serial[9];
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadSerial(&client, serial, 9), Kel_Good);
    EXPECT_EQ(trace.Stop(),
              "--> Kel_Module_ZentorProtocolClient::Kel_Zentor1Phase_Client_ReadSerial (0x00000101)\n\n"
              "--> Kel_Module_ZentorProtocolClient::Kel_Zentor1Phase_Application_Read (0x00000101)\n\n"
              "--> Kel_Module_ZentorProtocolClient::Kel_Zentor1Phase_Application_ReadA (0x00000101)\n\n"
              "--> Kel_Module_ZentorProtocolClient::sendAndReceiveAnswer (0x00000101)\n\n"
              "--> Kel_Module_ZentorProtocolClient::Kel_Zentor1Phase_Transport_TransmitFrame (0x00000101)\n\n"
              "--> Kel_Module_SerialChannel::Kel_SerialChannel_ClearBuffer (0x00000009)\n\n"
              "<-- \"Kel_SerialChannel_ClearBuffer\" = 0x00000000 (GOOD).\n\n"
              "--> Kel_Module_SerialChannel::Kel_SerialChannel_Write (0x00000009)\n\n"
              "Kel_SerialChannel_Write, Timeout=100 Data=[7] 00 BC 61 4E 2F 24 32 \n"
              "Kel_SerialChannel_Write - OK, Written=7\n"
              "<-- \"Kel_SerialChannel_Write\" = 0x00000000 (GOOD).\n\n"
              "<-- \"Kel_Zentor1Phase_Transport_TransmitFrame\" = 0x00000000 (GOOD).\n\n"
              "--> Kel_Module_ZentorProtocolClient::Kel_Zentor1Phase_Transport_ReceiveFrame (0x00000101)\n\n"
              "--> Kel_Module_SerialChannel::Kel_SerialChannel_Read (0x00000009)\n\n"
              "Kel_SerialChannel_Read, Size=128, Timeout=2\n"
              "Kel_SerialChannel_Read - OK, Data=[11] 00 BC 61 4E 2F 00 00 00 01 6A FF \n"
              "<-- \"Kel_SerialChannel_Read\" = 0x00000000 (GOOD).\n\n"
              "<-- \"Kel_Zentor1Phase_Transport_ReceiveFrame\" = 0x00000000 (GOOD).\n\n"
              "<-- \"sendAndReceiveAnswer\" = 0x00000000 (GOOD).\n\n"
              "<-- \"Kel_Zentor1Phase_Application_ReadA\" = 0x00000000 (GOOD).\n\n"
              "<-- \"Kel_Zentor1Phase_Application_Read\" = 0x00000000 (GOOD).\n\n"
              "ReadSerial, SerialNumber= (00000001)\n"
              "<-- \"Kel_Zentor1Phase_Client_ReadSerial\" = 0x00000000 (GOOD).\n\n");
}

namespace
{
// The commands traced as part of an export, called as the export "_eCaller" of source Q310 calls them.
const Kel_TraceScope kCaller{Kel_Module_ZentorProtocolClient, "_eCaller", "Q310"};
const uint8_t kPlcRequest[8] = {1, 2, 3, 4, 5, 6, 7, 8};
bool handBack;

struct ScopedRow
{
    const char* request;
    const char* answer;
    Kel_StatusCode status;
    int handBack;     // the hand-back flag afterwards (1 or 0); -1: the command has none
    const char* last; // the last trace line
    const char* result;
    Call call;
};

const char* const kReadAExit = "<-- \"Kel_Zentor1Phase_Application_ReadA\" = 0x00000000 (GOOD).";
const char* const kReadExit = "<-- \"Kel_Zentor1Phase_Application_Read\" = 0x00000000 (GOOD).";
#define AT_CALLER ", File=Q310, Line=N"
#define NOT_BCD "<-- ReturnError: 0x80AB0000" AT_CALLER
} // namespace

TEST_F(ClientTest, CommandsOfAnExportTraceUnderItsScopeWithoutLinesOfTheirOwn)
{
    const ScopedRow rows[] = {
        {"86 00", "86 00 01 23 45", Kel_Good, 0, kReadAExit, "12345",
         CALL(ReadReactivePower(kCaller, c, &r.u32a, &handBack), r.u32a)},
        {"86 00", "86 01 01 23 45", U, 1,
         "<-- ReturnError: (&clientContext)->ApplicationContext.inBuffer[1] != 0 is true! Return "
         "0x8A050000" AT_CALLER,
         "4008636142", CALL(ReadReactivePower(kCaller, c, &r.u32a, &handBack), r.u32a)}, // left as it was
        {"86 00", "86 00 01 A3 45", Kel_BadInvalidArgument, 1, NOT_BCD, "",
         CALL(ReadReactivePower(kCaller, c, &r.u32a, &handBack))},
        // The selector's echo is not checked.
        {"86 02", "86 07 89 85 00 04 50", Kel_Good, -1, kReadAExit, "59 55 00 04 32",
         CALL(ReadPowerFactor(kCaller, c, r.bytes), Raw{r.bytes, 5})},
        {"86 02", "86 02 89 85 00 04", U, -1,
         "--- GotoError: Kel_BadDeviceUnknownResponse. Statuscode 0x8A050000" AT_CALLER, "",
         CALL(ReadPowerFactor(kCaller, c, r.bytes))},
        {"86 02", "86 02 89 85 00 04 9A", Kel_BadInvalidArgument, -1,
         "--- GotoError: Bad statuscode 0x80AB0000" AT_CALLER, "",
         CALL(ReadPowerFactor(kCaller, c, r.bytes))},
        {"66", "66 07 06 22", Kel_Good, 0, kReadExit, "07 06 16",
         CALL(ReadProdDateFields(kCaller, c, r.bytes, &handBack), Raw{r.bytes, 3})},
        {"66", "66 07 A6 22", Kel_BadInvalidArgument, 1, NOT_BCD, "",
         CALL(ReadProdDateFields(kCaller, c, r.bytes, &handBack))},
        {"79 01 02 03 04 05 06 07 08", "79 11 22 33 44 55 66 77 88 09 0A", Kel_Good, -1, "inBufferIndex= 11",
         "11 22 33 44 55 66 77 88", CALL(ReadPlc1Config(kCaller, c, kPlcRequest, r.bytes), Raw{r.bytes, 8})},
        {"79 01 02 03 04 05 06 07 08", "79 11 22 33 44 55 66 77 88 09", E, -1,
         "--- GotoError: Kel_BadDeviceErrorResponse. Statuscode 0x8A060000" AT_CALLER, "",
         CALL(ReadPlc1Config(kCaller, c, kPlcRequest, r.bytes))},
        // Zones: unused (its minute byte not looked at), no minute, hour 24 and minute 60 as they came.
        {"31 B7", "31 FF 12 47 FF 24 00 C1 60 FF FF FF FF FF FF FF FF", Kel_Good, 0, kReadAExit,
         "FF FF FF 01 07 FF 00 18 00 03 01 3C",
         CALL(ReadTariffZones(kCaller, c, 11, 7, r.points, &handBack), Raw{r.points, 12})},
        {"31 00", "31 47 A0 FF FF FF FF FF FF FF FF FF FF FF FF FF FF", Kel_BadInvalidArgument, 1, NOT_BCD,
         "EE EE EE", CALL(ReadTariffZones(kCaller, c, 0, 0, r.points, &handBack), Raw{r.points, 3})},
    };
    for (const ScopedRow& row : rows)
    {
        SCOPED_TRACE(row.answer);
        Reset();
        memset(&r, 0xEE, sizeof(r));
        handBack = row.handBack == 0; // the opposite of what the command must leave
        Answer(Hex(row.answer));
        TraceCapture trace;
        std::string result;
        EXPECT_EQ(row.call(&client, result), row.status);
        const std::vector<std::string> lines = trace.Lines();
        EXPECT_EQ(result, row.result);
        if (row.handBack >= 0)
        {
            EXPECT_EQ(handBack, row.handBack == 1);
        }
        ASSERT_EQ(meter.writes.size(), 1u);
        EXPECT_EQ(meter.writes[0], Frame(Hex(row.request)));
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back(), row.last);
        for (const std::string& line : lines)
            EXPECT_EQ(line.find("Kel_Zentor1Phase_Client"), std::string::npos) << line;
    }
}
