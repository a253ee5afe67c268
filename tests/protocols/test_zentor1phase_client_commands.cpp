// Every client command over a scripted meter: the exact request frame for given arguments, the decoded
// result of a hand-built answer, the length check (a bare echo as answer), and Kel_GoodNoData passed
// through unchanged. Frames are built by the test with the bit-by-bit CRC of the data buffer.
#include "client_test_support.h"

#include "shared/kel_utils.h"

#include <cstring>
#include <functional>
#include <string>

namespace
{
using Call = std::function<Kel_StatusCode(Kel_Zentor1Phase_ClientContext*)>;

struct CommandCase
{
    const char* name;
    std::vector<Bytes> requests; // request payloads, in order
    std::vector<Bytes> answers;  // answer payloads, one per request
    Call call;
    std::function<void()> check;
    Kel_StatusCode shortAnswer; // result when the meter answers with the echoed code only
};

// Results of the calls, checked after each case.
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
};
Results r;

DateTime MakeDate(uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour, uint8_t aMinute,
                  uint8_t aSecond)
{
    DateTime date{};
    EXPECT_EQ(Kel_Utils_CreateDateTime(aYear, aMonth, aDay, aHour, aMinute, aSecond, 0, &date), Kel_Good);
    return date;
}

void ExpectDate(const DateTime& aDate, uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour,
                uint8_t aMinute, uint8_t aSecond)
{
    const DateTime expected = MakeDate(aYear, aMonth, aDay, aHour, aMinute, aSecond);
    EXPECT_EQ(aDate.seconds, expected.seconds);
    EXPECT_EQ(aDate.microseconds, 0u);
}

Bytes Cat(Bytes aFirst, const Bytes& aSecond)
{
    for (uint8_t byte : aSecond)
        aFirst.push_back(byte);
    return aFirst;
}

// Four CRC-checked archive bytes: the data buffer's bit-by-bit CRC over the 20 data bytes, wire order.
Bytes ArchiveAnswer(const Bytes& aData20, bool aGoodCrc)
{
    uint16_t crc = 0;
    Kel_Memory_CrcModbusCalc(aData20.data(), 20, &crc);
    Bytes answer = Cat({0x37}, aData20);
    answer.push_back(static_cast<uint8_t>(aGoodCrc ? crc : crc ^ 0x0001));
    answer.push_back(static_cast<uint8_t>(crc >> 8));
    answer.push_back(0x00);
    answer.push_back(0x00);
    return answer;
}

const Bytes kEnergyData = {0x00, 0x12, 0x34, 0x56, 0x99, 0x99, 0x99, 0x99,
                           0x00, 0x00, 0x00, 0x01, 0x01, 0x00, 0x00, 0x00};

void ExpectEnergies(const uint32_t* pValues)
{
    EXPECT_EQ(pValues[0], 1234560u);
    EXPECT_EQ(pValues[1], 999999990u);
    EXPECT_EQ(pValues[2], 10u);
    EXPECT_EQ(pValues[3], 10000000u);
}

std::vector<CommandCase> Cases()
{
    constexpr Kel_StatusCode U = Kel_BadDeviceUnknownResponse;
    constexpr Kel_StatusCode E = Kel_BadDeviceErrorResponse;
    constexpr Kel_StatusCode W = Kel_Good; // writes have no length check
    using C = Kel_Zentor1Phase_ClientContext*;
    std::vector<CommandCase> cases = {
        {"ReadSerial",
         {{0x2F}},
         {{0x2F, 0x00, 0xBC, 0x61, 0x4E}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadSerial(c, r.serial, 9); },
         [] { EXPECT_EQ(std::string(r.serial, 9), std::string("12345678\0", 9)); },
         U},
        {"ReadSerial nine digits",
         {{0x2F}},
         {{0x2F, 0x05, 0xF5, 0xE1, 0x01}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadSerial(c, r.serial, 12); },
         [] { EXPECT_EQ(std::string(r.serial, 10), std::string("00000001\0\0", 10)); },
         U},
        {"WriteNewAddress",
         {{0x00, 0x01, 0x02, 0x03, 0x04}},
         {{0x00}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteNewAddress(c, 0x01020304); },
         [] {},
         W},
        {"ReadGroupAddress",
         {{0x20}},
         {{0x20, 0xDE, 0xAD, 0xBE, 0xEF}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadGroupAddress(c, &r.u32a); },
         [] { EXPECT_EQ(r.u32a, 0xDEADBEEFu); },
         U},
        {"WriteGroupAddress",
         {{0x01, 0x11, 0x22, 0x33, 0x44}},
         {{0x01}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteGroupAddress(c, 0x11223344); },
         [] {},
         W},
        {"ReadDateTime",
         {{0x21}},
         {{0x21, 0x03, 0x14, 0x35, 0x59, 0x28, 0x02, 0x24}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadDateTime(c, &r.time7); },
         [] {
             EXPECT_EQ(Bytes(r.time7.value, r.time7.value + 7), (Bytes{3, 14, 35, 59, 28, 2, 24}));
         },
         E},
        {"ReadTime",
         {{0x21}},
         {{0x21, 0x03, 0x14, 0x35, 0x59, 0x28, 0x02, 0x24}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadTime(c, &r.date); },
         [] { ExpectDate(r.date, 2024, 2, 28, 14, 35, 59); },
         E},
        {"ReadTime year 37",
         {{0x21}},
         {{0x21, 0x07, 0x00, 0x00, 0x00, 0x01, 0x01, 0x37}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadTime(c, &r.date); },
         [] { ExpectDate(r.date, 2037, 1, 1, 0, 0, 0); },
         E},
        {"ReadTime year 51",
         {{0x21}},
         {{0x21, 0x07, 0x00, 0x00, 0x00, 0x01, 0x01, 0x51}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadTime(c, &r.date); },
         [] { ExpectDate(r.date, 1951, 1, 1, 0, 0, 0); },
         E},
        {"ReadProdDate",
         {{0x66}},
         {{0x66, 0x15, 0x06, 0x19}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadProdDate(c, &r.date); },
         [] { ExpectDate(r.date, 2019, 6, 15, 0, 0, 0); },
         E},
        {"WriteDateTime",
         {{0x02, 0x03, 0x14, 0x35, 0x59, 0x28, 0x02, 0x24}},
         {{0x02}},
         [](C c)
         {
             const Kel_Zentor1Phase_MeterTime7 time{{3, 14, 35, 59, 28, 2, 24}};
             return Kel_Zentor1Phase_Client_WriteDateTime(c, &time);
         },
         [] {},
         W},
        {"WriteTime",
         {{0x02, 0x03, 0x14, 0x35, 0x59, 0x28, 0x02, 0x24}},
         {{0x02}},
         [](C c)
         {
             const DateTime date = MakeDate(2024, 2, 28, 14, 35, 59); // a Wednesday
             return Kel_Zentor1Phase_Client_WriteTime(c, &date);
         },
         [] {},
         W},
        {"ReadPowerLimit",
         {{0x22}},
         {{0x22, 0x12, 0x34}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadPowerLimit(c, &r.real); },
         [] { EXPECT_DOUBLE_EQ(r.real, 12340.0); },
         U},
        {"WritePowerLimit 2.35 kW",
         {{0x03, 0x02, 0x35}},
         {{0x03}},
         [](C c) { return Kel_Zentor1Phase_Client_WritePowerLimit(c, 2350.0); },
         [] {},
         W},
        {"WritePowerLimit 150 kW",
         {{0x03, 0x99, 0x00}},
         {{0x03}},
         [](C c) { return Kel_Zentor1Phase_Client_WritePowerLimit(c, 150000.0); },
         [] {},
         W},
        {"ReadEnergyLimit",
         {{0x23}},
         {{0x23, 0x01, 0x23}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadEnergyLimit(c, &r.u16); },
         [] { EXPECT_EQ(r.u16, 123); },
         U},
        {"WriteEnergyLimit",
         {{0x04, 0x99, 0x07}},
         {{0x04}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteEnergyLimit(c, 9907); },
         [] {},
         W},
        {"ReadTariffEnergyLimit",
         {{0x6E}},
         {{0x6E, 0x01, 0x23, 0x45, 0xAA, 0x00, 0x00, 0x01, 0x00, 0x99, 0x99, 0x99, 0x01, 0x12, 0x34, 0x56,
           0xFF}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadTariffEnergyLimit(c, r.limits); },
         []
         {
             EXPECT_EQ(r.limits[0].value, 12345u);
             EXPECT_EQ(r.limits[0].flag, 0xAA);
             EXPECT_EQ(r.limits[1].value, 1u);
             EXPECT_EQ(r.limits[2].value, 999999u);
             EXPECT_EQ(r.limits[2].flag, 0x01);
             EXPECT_EQ(r.limits[3].value, 123456u);
             EXPECT_EQ(r.limits[3].flag, 0xFF);
         },
         U},
        {"WriteTariffEnergyLimit",
         {{0x72, 0x01, 0x23, 0x45, 0xAA, 0x00, 0x00, 0x01, 0x00, 0x99, 0x99, 0x99, 0x01, 0x12, 0x34, 0x56,
           0xFF}},
         {{0x72}},
         [](C c)
         {
             const Kel_Zentor1Phase_TariffEnergyLimit limits[4] = {
                 {12345, 0xAA}, {1, 0}, {999999, 1}, {123456, 0xFF}};
             return Kel_Zentor1Phase_Client_WriteTariffEnergyLimit(c, limits);
         },
         [] {},
         W},
        {"ReadSummerTimeFlag",
         {{0x24}},
         {{0x24, 0x01}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadSummerTimeFlag(c, &r.u8); },
         [] { EXPECT_EQ(r.u8, 1); },
         U},
        {"WriteSummerTimeFlag",
         {{0x05, 0x01}},
         {{0x05}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteSummerTimeFlag(c, 1); },
         [] {},
         W},
        {"ReadFirmwareVersion",
         {{0x28}},
         {{0x28, 0x02, 0x07, 0x00, 0x19, 0x05, 0x21}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadFirmwareVersion(c, r.bytes); },
         [] {
             EXPECT_EQ(Bytes(r.bytes, r.bytes + 6), (Bytes{2, 7, 20, 21, 5, 19}));
         },
         U},
        {"ReadFirmwareCRC",
         {{0x87}},
         {Cat({0x87, 0xAB, 0xCD}, Bytes(14, 0x11))},
         [](C c) { return Kel_Zentor1Phase_Client_ReadFirmwareCRC(c, &r.u16); },
         [] { EXPECT_EQ(r.u16, 0xABCD); },
         U},
        {"ReadBatteryVoltage",
         {{0x29}},
         {{0x29, 0x03, 0x25}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadBatteryVoltage(c, r.bytes); },
         [] {
             EXPECT_EQ(Bytes(r.bytes, r.bytes + 2), (Bytes{3, 25}));
         },
         U},
        {"WriteBatteryFlagReset",
         {{0x0C, 0x04, 0x00}},
         {{0x0C}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteBatteryFlagReset(c); },
         [] {},
         W},
        {"WriteBatteryLifetimeReset",
         {{0x14, 0x00, 0x00, 0x00, 0x00}},
         {{0x14}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteBatteryLifetimeReset(c); },
         [] {},
         W},
        {"ReadTimeCorrection1",
         {{0x25}},
         {{0x25, 0x17}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadTimeCorrection1(c, &r.u8); },
         [] { EXPECT_EQ(r.u8, 0x17); },
         U},
        {"ReadTimeCorrection3",
         {{0x64}},
         {{0x64, 0x01, 0x02, 0x03}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadTimeCorrection3(c, &r.u32a); },
         [] { EXPECT_EQ(r.u32a, 0x010203u); },
         U},
        {"WriteTimeCorrection1",
         {{0x06, 0x1F}},
         {{0x06}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteTimeCorrection1(c, 31); },
         [] {},
         W},
        {"WriteBaudRate",
         {{0x08, 0x04}},
         {{0x08}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteBaudRate(c, 4); },
         [] {},
         W},
        {"ReadDisplayMode",
         {{0x2A}},
         {{0x2A, 0x5A}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadDisplayMode(c, &r.u8); },
         [] { EXPECT_EQ(r.u8, 0x5A); },
         U},
        {"WriteDisplayMode",
         {{0x09, 0x3C}},
         {{0x09}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteDisplayMode(c, 0x3C); },
         [] {},
         W},
        {"ReadAdditionalDisplayMode",
         {{0x6A}},
         {{0x6A, 0x12, 0x34}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadAdditionalDisplayMode(c, r.bytes); },
         [] {
             EXPECT_EQ(Bytes(r.bytes, r.bytes + 2), (Bytes{0x12, 0x34}));
         },
         U},
        {"WriteAdditionalDisplayMode",
         {{0x70, 0x12, 0x34}},
         {{0x70}},
         [](C c)
         {
             const uint8_t displ[2] = {0x12, 0x34};
             return Kel_Zentor1Phase_Client_WriteAdditionalDisplayMode(c, displ);
         },
         [] {},
         W},
        {"ReadLastMeterOffTime",
         {{0x2B}},
         {{0x2B, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x10}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadLastMeterOffTime(c, &r.time7); },
         [] {
             EXPECT_EQ(Bytes(r.time7.value, r.time7.value + 7), (Bytes{1, 2, 3, 4, 5, 6, 10}));
         },
         E},
        {"ReadLastMeterOnTime",
         {{0x2C}},
         {{0x2C, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x11}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadLastMeterOnTime(c, &r.time7); },
         [] { EXPECT_EQ(r.time7.value[6], 11); },
         E},
        {"ReadLastCoverOpenTime",
         {{0x61}},
         {{0x61, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x12}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadLastCoverOpenTime(c, &r.time7); },
         [] { EXPECT_EQ(r.time7.value[6], 12); },
         E},
        {"ReadLastCoverCloseTime",
         {{0x62}},
         {{0x62, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x13}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadLastCoverCloseTime(c, &r.time7); },
         [] { EXPECT_EQ(r.time7.value[6], 13); },
         E},
        {"ReadLastWriteAccessTime",
         {{0x6B}},
         {{0x6B, 0x14, 0x35, 0x59, 0x28, 0x02, 0x24, 0x00}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadLastWriteAccessTime(c, &r.time7); },
         [] {
             EXPECT_EQ(Bytes(r.time7.value, r.time7.value + 7), (Bytes{14, 35, 59, 28, 2, 24, 0}));
         },
         E},
        {"ReadLastConfigTime",
         {{0x6B}},
         {{0x6B, 0x14, 0x35, 0x59, 0x28, 0x02, 0x24, 0x00}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadLastConfigTime(c, &r.date); },
         [] { ExpectDate(r.date, 2024, 2, 28, 14, 35, 59); },
         E},
        {"ReadDryOutputMode",
         {{0x2D}},
         {{0x2D, 0x01}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadDryOutputMode(c, &r.u8); },
         [] { EXPECT_EQ(r.u8, 1); },
         U},
        {"WriteDryOutputMode",
         {{0x07, 0x02}},
         {{0x07}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteDryOutputMode(c, 2); },
         [] {},
         W},
        {"ReadTariffsNumber",
         {{0x2E}},
         {{0x2E, 0x03}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadTariffsNumber(c, &r.u8); },
         [] { EXPECT_EQ(r.u8, 3); },
         E},
        {"WriteTariffsNumber 1",
         {{0x0A, 0x01}},
         {{0x0A}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteTariffsNumber(c, 1); },
         [] {},
         W},
        {"WriteTariffsNumber 4",
         {{0x0A, 0x04}},
         {{0x0A}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteTariffsNumber(c, 4); },
         [] {},
         W},
        {"ReadHolidaysTable",
         {{0x30, 0x01}},
         {{0x30, 0x01, 0x01, 0x07, 0x01, 0x08, 0x03, 0xFF, 0xFF, 0x31, 0x12, 0xFF, 0x05, 0x09, 0x05, 0x12,
           0x06}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadHolidaysTable(c, 1, r.bytes); },
         []
         {
             EXPECT_EQ(Bytes(r.bytes, r.bytes + 16),
                       (Bytes{1, 1, 7, 1, 8, 3, 255, 255, 31, 12, 255, 5, 9, 5, 12, 6}));
         },
         E},
        {"WriteHolidaysTable",
         {{0x10, 0x01, 0x01, 0x07, 0x01, 0x08, 0x03, 0xFF, 0xFF, 0x31, 0x12, 0xFF, 0xFF, 0x09, 0x05, 0x12,
           0x06, 0x00}},
         {{0x10}},
         [](C c)
         {
             const uint8_t holidays[16] = {1, 1, 7, 1, 8, 3, 255, 255, 31, 12, 255, 5, 9, 5, 12, 6};
             return Kel_Zentor1Phase_Client_WriteHolidaysTable(c, 0, holidays);
         },
         [] {},
         W},
        {"ReadActiveTariff",
         {{0x60}},
         {{0x60, 0x02}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadActiveTariff(c, &r.u8); },
         [] { EXPECT_EQ(r.u8, 2); },
         E},
        {"WriteActiveTariff",
         {{0x0B, 0x01}},
         {{0x0B}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteActiveTariff(c, 1); },
         [] {},
         W},
        {"ReadTariffsTable",
         {{0x31, 0xB7}},
         {Cat({0x31, 0x47, 0x30, 0xA3, 0x59, 0xFF, 0xFF, 0x00, 0xFF}, Bytes(24, 0xFF))},
         [](C c) { return Kel_Zentor1Phase_Client_ReadTariffsTable(c, 11, 7, r.points); },
         []
         {
             EXPECT_EQ(r.points[0].tariff, 1);
             EXPECT_EQ(r.points[0].hour, 7);
             EXPECT_EQ(r.points[0].minute, 30);
             EXPECT_EQ(r.points[1].tariff, 2);
             EXPECT_EQ(r.points[1].hour, 23);
             EXPECT_EQ(r.points[1].minute, 59);
             EXPECT_EQ(r.points[2].tariff, 255);
             EXPECT_EQ(r.points[2].hour, 255);
             EXPECT_EQ(r.points[2].minute, 255);
             EXPECT_EQ(r.points[3].tariff, 0);
             EXPECT_EQ(r.points[3].hour, 0);
             EXPECT_EQ(r.points[3].minute, 255);
             EXPECT_EQ(r.points[15].tariff, 255);
         },
         U},
        {"WriteTariffsTable",
         {Cat(Cat({0x11, 0x47, 0x30, 0xA3, 0x59}, Bytes(28, 0xFF)), {0x01})},
         {{0x11}},
         [](C c)
         {
             Kel_Zentor1Phase_SwitchPoint points[16];
             for (auto& point : points)
                 point = {255, 255, 255};
             points[0] = {1, 7, 30};
             points[1] = {2, 23, 59};
             return Kel_Zentor1Phase_Client_WriteTariffsTable(c, 0, 1, points);
         },
         [] {},
         W},
        {"WriteMaximumReset simple",
         {Cat({0x12}, {0, 0, 0, 0, 0, 0, 0, 0, 2})},
         {{0x12}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteMaximumReset(c, 2, 0); },
         [] {},
         W},
        {"WriteMaximumReset jumper",
         {Cat({0x13}, {0, 0, 0, 0, 0, 0, 0, 0, 1})},
         {{0x13}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteMaximumReset(c, 1, 1); },
         [] {},
         W},
        {"ReadDisplayDelay",
         {{0x67}},
         {{0x67, 0x04, 0x05, 0x06, 0x1E}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadDisplayDelay(c, &r.delay); },
         []
         {
             EXPECT_EQ(r.delay.T1, 4);
             EXPECT_EQ(r.delay.T4, 0x1E);
         },
         U},
        {"WriteDisplayDelay",
         {{0x0D, 0x04, 0x05, 0x06, 0x07}},
         {{0x0D}},
         [](C c)
         {
             const Kel_Zentor1Phase_DisplayDelay delay{4, 5, 6, 7};
             return Kel_Zentor1Phase_Client_WriteDisplayDelay(c, &delay);
         },
         [] {},
         W},
        {"ReadPowerLimitMode",
         {{0x68}},
         {{0x68, 0x0A, 0xC5}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadPowerLimitMode(c, r.bytes); },
         [] {
             EXPECT_EQ(Bytes(r.bytes, r.bytes + 4), (Bytes{0x0A, 5, 1, 1}));
         },
         U},
        {"WritePowerLimitMode",
         {{0x0F, 0x0A, 0x45}},
         {{0x0F}},
         [](C c)
         {
             const uint8_t mode[4] = {0x0A, 5, 1, 0};
             return Kel_Zentor1Phase_Client_WritePowerLimitMode(c, mode);
         },
         [] {},
         W},
        {"WritePowerLimitPeriod 0",
         {{0x0F, 0x01, 0x0A}},
         {{0x0F}},
         [](C c) { return Kel_Zentor1Phase_Client_WritePowerLimitPeriod(c, 0.0); },
         [] {},
         W},
        {"WritePowerLimitPeriod 300",
         {{0x0F, 0xFF, 0x0A}},
         {{0x0F}},
         [](C c) { return Kel_Zentor1Phase_Client_WritePowerLimitPeriod(c, 300.0); },
         [] {},
         W},
        {"WritePowerLimitPeriod 12.7",
         {{0x0F, 0x0C, 0x0A}},
         {{0x0F}},
         [](C c) { return Kel_Zentor1Phase_Client_WritePowerLimitPeriod(c, 12.7); },
         [] {},
         W},
        {"ReadDesignVariant",
         {{0x65}},
         {{0x65, 0x01, 0x02}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadDesignVariant(c, &r.u16); },
         [] { EXPECT_EQ(r.u16, 0x0102); },
         U},
        {"ReadRunningTime",
         {{0x69}},
         {{0x69, 0x12, 0x34, 0x56, 0x00, 0x01, 0x02}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadRunningTime(c, &r.u32a, &r.u32b); },
         []
         {
             EXPECT_EQ(r.u32a, 123456u);
             EXPECT_EQ(r.u32b, 102u);
         },
         U},
        {"ReadModemAddressLevel",
         {{0x6C}},
         {{0x6C, 0x12, 0x34, 0x56}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadModemAddressLevel(c, &r.u16, &r.u8); },
         []
         {
             EXPECT_EQ(r.u16, 0x1234);
             EXPECT_EQ(r.u8, 0x56);
         },
         U},
        {"ReadRelayControlMode",
         {{0x6D}},
         {{0x6D, 0xAA}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadRelayControlMode(c, &r.u8); },
         [] { EXPECT_EQ(r.u8, 0xAA); },
         U},
        {"WriteRelayControlMode",
         {{0x71, 0x55}},
         {{0x71}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteRelayControlMode(c, 0x55); },
         [] {},
         W},
        {"WriteLoadState 0",
         {{0x71, 0xAA}},
         {{0x71}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteLoadState(c, 0); },
         [] {},
         W},
        {"WriteLoadState 1",
         {{0x71, 0x00}, {0x71, 0x5A}},
         {{0x71}, {0x71}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteLoadState(c, 1); },
         [] {},
         W},
        {"ReadLcdUnderBatteryEnable",
         {{0x6F}},
         {{0x6F, 0x01}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadLcdUnderBatteryEnable(c, &r.u8); },
         [] { EXPECT_EQ(r.u8, 1); },
         U},
        {"WriteLcdUnderBatteryEnable",
         {{0x73, 0x01}},
         {{0x73}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteLcdUnderBatteryEnable(c, 1); },
         [] {},
         W},
        {"ReadPlc2InterfaceEnable",
         {{0x80}},
         {{0x80, 0x01}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadPlc2InterfaceEnable(c, &r.u8); },
         [] { EXPECT_EQ(r.u8, 1); },
         U},
        {"WritePlc2InterfaceEnable",
         {{0x74, 0x00}},
         {{0x74}},
         [](C c) { return Kel_Zentor1Phase_Client_WritePlc2InterfaceEnable(c, 0); },
         [] {},
         W},
        {"ReadTimeoutMultiplier",
         {{0x82}},
         {{0x82, 0x03}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadTimeoutMultiplier(c, &r.u8); },
         [] { EXPECT_EQ(r.u8, 3); },
         U},
        {"WriteTimeoutMultiplier",
         {{0x75, 0x03}},
         {{0x75}},
         [](C c) { return Kel_Zentor1Phase_Client_WriteTimeoutMultiplier(c, 3); },
         [] {},
         W},
        // Energy, maxima, network values, profiles.
        {"ReadEnergy active",
         {{0x27}},
         {Cat({0x27}, kEnergyData)},
         [](C c) { return Kel_Zentor1Phase_Client_ReadEnergy(c, 0x27, r.energy); },
         [] { ExpectEnergies(r.energy); },
         U},
        {"ReadEnergy reactive",
         {{0x85}},
         {Cat({0x85}, kEnergyData)},
         [](C c) { return Kel_Zentor1Phase_Client_ReadEnergy(c, 0x85, r.energy); },
         [] { ExpectEnergies(r.energy); },
         U},
        {"ReadEnergyMonth12 15",
         {{0x32, 0x0F}},
         {Cat({0x32}, kEnergyData)},
         [](C c) { return Kel_Zentor1Phase_Client_ReadEnergyMonth12(c, 15, 0x32, r.energy); },
         [] { ExpectEnergies(r.energy); },
         U},
        {"ReadEnergyMonth12 11",
         {{0x38, 0x0B}},
         {Cat({0x38}, kEnergyData)},
         [](C c) { return Kel_Zentor1Phase_Client_ReadEnergyMonth12(c, 11, 0x38, r.energy); },
         [] { ExpectEnergies(r.energy); },
         U},
        {"ReadEnergyMonth48",
         {{0x37, 0x01, 0x01, 0x03, 0x24}},
         {ArchiveAnswer(Cat(kEnergyData, {1, 2, 3, 4}), true)},
         [](C c) { return Kel_Zentor1Phase_Client_ReadEnergyMonth48(c, 24, 3, &r.archive); },
         []
         {
             EXPECT_EQ(r.archive.valid, 1);
             EXPECT_EQ(r.archive.year, 24);
             EXPECT_EQ(r.archive.month, 3);
             EXPECT_EQ(r.archive.day, 1);
             ExpectEnergies(r.archive.energy);
         },
         U},
        {"ReadEnergyMonth48 bad CRC",
         {{0x37, 0x01, 0x01, 0x12, 0x99}},
         {ArchiveAnswer(Cat(kEnergyData, {1, 2, 3, 4}), false)},
         [](C c) { return Kel_Zentor1Phase_Client_ReadEnergyMonth48(c, 99, 12, &r.archive); },
         []
         {
             EXPECT_EQ(r.archive.valid, 0);
             EXPECT_EQ(r.archive.year, 99);
             EXPECT_EQ(r.archive.month, 12);
             EXPECT_EQ(r.archive.energy[0], 0u);
             EXPECT_EQ(r.archive.energy[3], 0u);
         },
         U},
        {"ReadEnergyDay48",
         {{0x37, 0x00, 0x31, 0x12, 0x24}},
         {ArchiveAnswer(Cat(kEnergyData, {0, 0, 0, 0}), true)},
         [](C c) { return Kel_Zentor1Phase_Client_ReadEnergyDay48(c, 24, 12, 31, &r.archive); },
         []
         {
             EXPECT_EQ(r.archive.valid, 1);
             EXPECT_EQ(r.archive.day, 31);
             ExpectEnergies(r.archive.energy);
         },
         U},
        {"ReadMaximum",
         {{0x33, 0x01}},
         {{0x33, 0x12, 0x34, 0x14, 0x35, 0x59, 0x28, 0x02, 0x24, 0x00, 0x05, 0x23, 0x59, 0x59, 0x31, 0x12,
           0x99}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadMaximum(c, 1, &r.maximum); },
         []
         {
             EXPECT_EQ(r.maximum.maximum, 1u);
             const Kel_Zentor1Phase_MaximumEntry& a = r.maximum.entries[0];
             EXPECT_EQ(a.value, 1234);
             EXPECT_EQ(Bytes({a.hour, a.minute, a.second, a.day, a.month, a.year}),
                       (Bytes{14, 35, 59, 28, 2, 24}));
             const Kel_Zentor1Phase_MaximumEntry& b = r.maximum.entries[1];
             EXPECT_EQ(b.value, 5);
             EXPECT_EQ(Bytes({b.hour, b.minute, b.second, b.day, b.month, b.year}),
                       (Bytes{23, 59, 59, 31, 12, 99}));
         },
         U},
        {"ReadPayloadPower",
         {{0x26}},
         {{0x26, 0x05, 0x50}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadPayloadPower(c, r.bytes); },
         [] {
             EXPECT_EQ(Bytes(r.bytes, r.bytes + 2), (Bytes{5, 50}));
         },
         U},
        {"ReadUIP",
         {{0x63}},
         {{0x63, 0x02, 0x30, 0x01, 0x50, 0x01, 0x23, 0x45}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadUIP(c, &r.u32a, &r.u32b, &r.u32c); },
         []
         {
             EXPECT_EQ(r.u32a, 230u);
             EXPECT_EQ(r.u32b, 150u);
             EXPECT_EQ(r.u32c, 12345u);
         },
         U},
        {"ReadExtendedNetParams",
         {{0x81}},
         {{0x81, 0x50, 0x01, 0x04, 0x07, 9, 9, 9, 9, 9, 9}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadExtendedNetParams(c, &r.net); },
         []
         {
             EXPECT_EQ(r.net.frequency, 5001);
             EXPECT_EQ(r.net.value1, 5);
             EXPECT_EQ(r.net.value2, 7);
         },
         U},
        {"ReadModel 316 variant 4",
         {{0x86, 0xFF}},
         {{0x86, 0xFF, 0x08, 0x04}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadModel(c, &r.model); },
         []
         {
             // "реле" and "авт.вкл" in Windows-1251.
             EXPECT_EQ(TextBytes(r.model.text),
                       Cat(TextBytes("Zentor 316, RS485, "),
                           {0xF0, 0xE5, 0xEB, 0xE5, ',', ' ', 0xE0, 0xE2, 0xF2, '.', 0xE2, 0xEA, 0xEB}));
             EXPECT_EQ(r.model.relay, 1u);
         },
         U},
        {"ReadParameters",
         {{0x86, 0x00}, {0x86, 0x01}, {0x86, 0x02}},
         {{0x86, 0x00, 0x12, 0x34, 0x56}, {0x86, 0x01, 0xAA}, {0x86, 0x02, 0x12, 0x34, 0x00, 0x07, 0x89}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadParameters(c, &r.parameters); },
         []
         {
             EXPECT_EQ(r.parameters.value0, 123456u);
             EXPECT_EQ(r.parameters.state1, 2u);
             EXPECT_DOUBLE_EQ(r.parameters.value2a, -1.234);
             EXPECT_EQ(r.parameters.value2b, 789u);
         },
         U},
        {"ReadParameters2 parameter 2 positive",
         {{0x86, 0x02}},
         {{0x86, 0x02, 0x92, 0x34, 0x00, 0x00, 0x01}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadParameters2(c, 2, &r.parameters); },
         []
         {
             EXPECT_DOUBLE_EQ(r.parameters.value2a, 1.234);
             EXPECT_EQ(r.parameters.value2b, 1u);
             EXPECT_EQ(r.parameters.value0, 0u);
         },
         U},
        {"ReadParameters2 parameter 1",
         {{0x86, 0x01}},
         {{0x86, 0x01, 0x55}},
         [](C c) { return Kel_Zentor1Phase_Client_ReadParameters2(c, 1, &r.parameters); },
         [] { EXPECT_EQ(r.parameters.state1, 1u); },
         U},
        {"SendCommand",
         {{0x2F}},
         {{0x2F, 1, 2, 3, 4}},
         [](C c)
         {
             const uint8_t command[1] = {0x2F};
             return Kel_Zentor1Phase_Client_SendCommand(c, command, 1, r.bytes, 5, &r.received);
         },
         []
         {
             EXPECT_EQ(r.received, 5u);
             EXPECT_EQ(Bytes(r.bytes, r.bytes + 5), (Bytes{0x2F, 1, 2, 3, 4}));
         },
         W},
        {"EnablePowerLimit on",
         {{0x6D}, {0x71, 0x55}},
         {{0x6D, 0x00}, {0x71}},
         [](C c) { return Kel_Zentor1Phase_Client_EnablePowerLimit(c, 1); },
         [] {},
         U},
        {"EnablePowerLimit off",
         {{0x6D}, {0x71, 0x00}},
         {{0x6D, 0x55}, {0x71}},
         [](C c) { return Kel_Zentor1Phase_Client_EnablePowerLimit(c, 0); },
         [] {},
         U},
        {"EnablePowerLimit keeps 0xAA",
         {{0x6D}, {0x71, 0xAA}},
         {{0x6D, 0xAA}, {0x71}},
         [](C c) { return Kel_Zentor1Phase_Client_EnablePowerLimit(c, 1); },
         [] {},
         U},
    };
    return cases;
}
} // namespace

TEST_F(ClientTest, EveryCommandSendsItsFrameAndDecodesItsAnswer)
{
    for (const CommandCase& command : Cases())
    {
        SCOPED_TRACE(command.name);
        Reset();
        memset(&r, 0xEE, sizeof(r));
        for (const Bytes& answer : command.answers)
            Answer(answer);
        EXPECT_EQ(command.call(&client), Kel_Good);
        ASSERT_EQ(meter.writes.size(), command.requests.size());
        for (size_t i = 0; i < command.requests.size(); ++i)
            EXPECT_EQ(meter.writes[i], Frame(command.requests[i]));
        command.check();
    }
}

TEST_F(ClientTest, EveryCommandChecksTheAnswerLength)
{
    for (const CommandCase& command : Cases())
    {
        SCOPED_TRACE(command.name);
        Reset();
        for (const Bytes& request : command.requests)
            Answer({request[0]});
        EXPECT_EQ(command.call(&client), command.shortAnswer);
    }
}

TEST_F(ClientTest, GoodNoDataPassesEveryCommandUnchanged)
{
    for (const CommandCase& command : Cases())
    {
        SCOPED_TRACE(command.name);
        Reset();
        meter.readStatus = Kel_GoodNoData;
        EXPECT_EQ(command.call(&client), Kel_GoodNoData);
        EXPECT_EQ(meter.writes.size(), 1u);
    }
}

// Year byte 0x50 means 2050, which the 32-bit DateTime cannot hold: the call fails with the date
// module's own status (1950 would have been made).
TEST_F(ClientTest, YearFiftyIsThisCentury)
{
    DateTime date{};
    const Kel_StatusCode refused = Kel_Utils_CreateDateTime(2050, 1, 1, 0, 0, 0, 0, &date);
    ASSERT_TRUE(Kel_IsBad(refused));
    Answer({0x21, 0x07, 0x00, 0x00, 0x00, 0x01, 0x01, 0x50});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadTime(&client, &date), refused);
    EXPECT_EQ(date.seconds, 0);
    Answer({0x66, 0x01, 0x01, 0x50});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadProdDate(&client, &date), refused);
}
