// Tariff schedule transfer over a scripted meter: the exact frames a schedule is written as (tariff
// count, 12 x 8 zone tables with the wrap zone and the holiday column's fallback, holiday dates), the
// schedule rebuilt from scripted tables (the weekday column shift, holidays by month, the merging), and
// the failure paths. Expected frames are built here from the wire layout (BCD by hand, CRC by the data
// buffer's bit-by-bit routine); two frames are spelled out byte for byte.
#include "client_test_support.h"

#include "protocols/orlenta/1phase/kel_zentor1phase_tariff.h"

#include <array>
#include <cstring>
#include <string>

namespace
{
using Zone = std::array<uint8_t, 3>; // tariff number (1-based), hour, minute
using Zones = std::vector<Zone>;

Bytes Cat(Bytes aFirst, const Bytes& aSecond)
{
    aFirst.insert(aFirst.end(), aSecond.begin(), aSecond.end());
    return aFirst;
}

uint8_t Bcd(uint8_t aValue)
{
    return static_cast<uint8_t>((aValue / 10) << 4 | (aValue % 10));
}

// The 32 zone bytes as the meter keeps them: (tariff index << 6 | BCD hour, BCD minute), FF FF unused.
Bytes ZoneBytes(const Zones& aZones)
{
    Bytes bytes;
    for (const Zone& zone : aZones)
    {
        bytes.push_back(static_cast<uint8_t>((zone[0] - 1) << 6 | Bcd(zone[1])));
        bytes.push_back(Bcd(zone[2]));
    }
    bytes.resize(32, 0xFF);
    return bytes;
}

// Request payload of a zone table write: command 0x11, the zones, then month * 16 + day kind.
Bytes TableWrite(uint8_t aMonth, uint8_t aDayKind, const Zones& aZones)
{
    Bytes payload{0x11};
    const Bytes zones = ZoneBytes(aZones);
    payload.insert(payload.end(), zones.begin(), zones.end());
    payload.push_back(static_cast<uint8_t>(aMonth * 16 + aDayKind));
    return payload;
}

// Request payload of a holiday table write: command 0x10, eight (BCD day, BCD month) pairs, the part.
Bytes HolidayWrite(uint8_t aPart, const std::vector<std::array<uint8_t, 2>>& aDates)
{
    Bytes payload{0x10};
    for (const auto& date : aDates)
    {
        payload.push_back(Bcd(date[0]));
        payload.push_back(Bcd(date[1]));
    }
    payload.resize(17, 0xFF);
    payload.push_back(aPart);
    return payload;
}

// Answer payload of a zone table read (0x31) and of a holiday table read (0x30).
Bytes TableAnswer(const Zones& aZones)
{
    Bytes payload{0x31};
    const Bytes zones = ZoneBytes(aZones);
    payload.insert(payload.end(), zones.begin(), zones.end());
    return payload;
}
Bytes HolidayAnswer(const std::vector<std::array<uint8_t, 2>>& aDates)
{
    Bytes payload = HolidayWrite(0, aDates);
    payload[0] = 0x30;
    payload.pop_back();
    return payload;
}

void AddPoint(ScheduleParams& aSchedule, uint8_t aDayId, uint8_t aHour, uint8_t aMinute, uint8_t aValue)
{
    aSchedule.Days[aSchedule.DaysCount++] = ScheduleDay{aDayId, aHour, aMinute, aValue};
}
void AddWeek(ScheduleParams& aSchedule, uint8_t aWeekId, std::array<uint8_t, 7> aDayIds)
{
    ScheduleWeek& week = aSchedule.Weeks[aSchedule.WeeksCount++];
    week.WeekId = aWeekId;
    memcpy(week.DayIds, aDayIds.data(), 7);
}

// One season, one week of day schedule 1: T1 from 07:00, T2 from 23:00.
ScheduleParams DayNightSchedule()
{
    ScheduleParams schedule{};
    schedule.Seasons[schedule.SeasonsCount++] = ScheduleSeason{1, 1, 1};
    AddWeek(schedule, 1, {1, 1, 1, 1, 1, 1, 1});
    AddPoint(schedule, 1, 7, 0, 1);
    AddPoint(schedule, 1, 23, 0, 2);
    return schedule;
}

const Zones kDayNightZones = {{2, 0, 0}, {1, 7, 0}, {2, 23, 0}};

struct TariffTest : ClientTest
{
    // A meter that acknowledges the whole write: the count, 96 zone tables, 2 holiday tables.
    void AcknowledgeWrite()
    {
        Answer({0x0A});
        for (int i = 0; i < 96; ++i)
            Answer({0x11});
        Answer({0x10});
        Answer({0x10});
    }
    // The request of zone table (month 0..11, day kind 0..7) among the recorded writes.
    Bytes TableRequest(uint8_t aMonth, uint8_t aDayKind) const { return Request(1 + aMonth * 8u + aDayKind); }
    // Scripts the answers of a whole read: holidays, then per month the 8 tables from aTables(month).
    template <typename F> void ScriptRead(const Bytes& aHolidays0, const Bytes& aHolidays1, F aTables)
    {
        Answer(aHolidays0);
        Answer(aHolidays1);
        for (uint8_t month = 0; month < 12; ++month)
        {
            const std::array<Zones, 8> tables = aTables(month);
            for (const Zones& zones : tables)
                Answer(TableAnswer(zones));
        }
    }
};

TEST_F(TariffTest, DayNightScheduleGoesOutAsCountZoneTablesAndEmptyHolidays)
{
    AcknowledgeWrite();
    const ScheduleParams schedule = DayNightSchedule();
    EXPECT_EQ(Kel_Zentor1Phase_Client_WriteTariffSchedule(&client, &schedule), Kel_Good);
    ASSERT_EQ(meter.writes.size(), 99u);
    // Spelled out: the tariff count 2, and the first zone table (January, column 0): (T2, 00:00),
    // (T1, 07:00), (T2, 23:00), then 13 unused zones.
    EXPECT_EQ(Request(0), (Bytes{0x00, 0xBC, 0x61, 0x4E, 0x0A, 0x02, 0xA9, 0x4A}));
    Bytes first{0x00, 0xBC, 0x61, 0x4E, 0x11, 0x40, 0x00, 0x07, 0x00, 0x63, 0x00};
    first.resize(37, 0xFF);
    first.insert(first.end(), {0x00, 0x87, 0x8E});
    EXPECT_EQ(Request(1), first);
    for (uint8_t month = 0; month < 12; ++month)
        for (uint8_t kind = 0; kind < 8; ++kind)
            EXPECT_EQ(TableRequest(month, kind), Frame(TableWrite(month, kind, kDayNightZones)))
                << "month " << int(month) << " kind " << int(kind);
    EXPECT_EQ(Request(97), Frame(HolidayWrite(0, {})));
    EXPECT_EQ(Request(98), Frame(HolidayWrite(1, {})));
}

TEST_F(TariffTest, TariffCountIsTheHighestTariffButAtLeastOne)
{
    ScheduleParams schedule = DayNightSchedule();
    schedule.Days[0].ScheduleValue = 0;
    schedule.Days[1].ScheduleValue = 0;
    AcknowledgeWrite();
    EXPECT_EQ(Kel_Zentor1Phase_Tariff_WriteTariffSchedule(&client, &schedule), Kel_Good);
    EXPECT_EQ(Request(0), (Bytes{0x00, 0xBC, 0x61, 0x4E, 0x0A, 0x01, 0xE9, 0x4B}));
    // Tariff 0 has no zone index: such points go out as unused zones.
    EXPECT_EQ(TableRequest(0, 0), Frame(Cat(Cat({0x11}, Bytes(32, 0xFF)), {0x00})));

    Reset();
    schedule = DayNightSchedule();
    schedule.Days[0].ScheduleValue = 4;
    AcknowledgeWrite();
    EXPECT_EQ(Kel_Zentor1Phase_Tariff_WriteTariffSchedule(&client, &schedule), Kel_Good);
    EXPECT_EQ(Request(0), Frame({0x0A, 0x04}));
}

TEST_F(TariffTest, MidnightPointNeedsNoWrapZoneAndSeventeenPointsSendSixteen)
{
    ScheduleParams schedule{};
    schedule.Seasons[schedule.SeasonsCount++] = ScheduleSeason{1, 1, 1};
    AddWeek(schedule, 1, {1, 1, 1, 1, 1, 1, 2});
    Zones sixteen;
    for (uint8_t hour = 0; hour < 17; ++hour)
    {
        const uint8_t value = static_cast<uint8_t>(hour % 3 + 1);
        AddPoint(schedule, 1, hour, 30 * (hour % 2), value);
        if (hour < 16)
            sixteen.push_back({value, hour, static_cast<uint8_t>(30 * (hour % 2))});
    }
    AddPoint(schedule, 2, 0, 0, 2);
    AddPoint(schedule, 2, 12, 15, 1);
    AcknowledgeWrite();
    EXPECT_EQ(Kel_Zentor1Phase_Tariff_WriteTariffSchedule(&client, &schedule), Kel_Good);
    EXPECT_EQ(Request(0), Frame({0x0A, 0x03}));
    EXPECT_EQ(TableRequest(4, 0), Frame(TableWrite(4, 0, sixteen)));
    EXPECT_EQ(TableRequest(4, 6), Frame(TableWrite(4, 6, {{2, 0, 0}, {1, 12, 15}})));
}

TEST_F(TariffTest, HolidayColumnTakesTheMonthsFirstSpecialDayElseWeekdayColumnZero)
{
    ScheduleParams schedule{};
    schedule.Seasons[schedule.SeasonsCount++] = ScheduleSeason{1, 1, 1};
    AddWeek(schedule, 1, {1, 2, 2, 2, 2, 3, 3});
    AddPoint(schedule, 1, 6, 0, 1); // column 0: wraps with T3
    AddPoint(schedule, 1, 20, 0, 3);
    AddPoint(schedule, 2, 0, 0, 2);
    AddPoint(schedule, 3, 0, 0, 1);
    AddPoint(schedule, 4, 0, 0, 4); // May's first special day
    AddPoint(schedule, 5, 0, 0, 3); // May's second special day: not used for the column
    schedule.SpecialDays[schedule.SpecialDaysCount++] = ScheduleSpecial{5, 1, 4};
    schedule.SpecialDays[schedule.SpecialDaysCount++] = ScheduleSpecial{5, 9, 5};
    AcknowledgeWrite();
    EXPECT_EQ(Kel_Zentor1Phase_Tariff_WriteTariffSchedule(&client, &schedule), Kel_Good);
    const Zones column0 = {{3, 0, 0}, {1, 6, 0}, {3, 20, 0}};
    for (uint8_t month = 0; month < 12; ++month)
    {
        EXPECT_EQ(TableRequest(month, 0), Frame(TableWrite(month, 0, column0)));
        EXPECT_EQ(TableRequest(month, 1), Frame(TableWrite(month, 1, {{2, 0, 0}})));
        EXPECT_EQ(TableRequest(month, 6), Frame(TableWrite(month, 6, {{1, 0, 0}})));
        const Zones holiday = month == 4 ? Zones{{4, 0, 0}} : column0;
        EXPECT_EQ(TableRequest(month, 7), Frame(TableWrite(month, 7, holiday))) << "month " << int(month);
    }
    EXPECT_EQ(Request(97), Frame(HolidayWrite(0, {{1, 5}, {9, 5}})));
}

TEST_F(TariffTest, TwentySpecialDaysSendSixteenDates)
{
    ScheduleParams schedule = DayNightSchedule();
    AddPoint(schedule, 2, 0, 0, 1);
    std::vector<std::array<uint8_t, 2>> part0, part1;
    for (uint8_t i = 0; i < 20; ++i)
    {
        const uint8_t day = static_cast<uint8_t>(i % 10 + 20);
        const uint8_t month = static_cast<uint8_t>(i / 10 * 9 + 3); // March and December
        schedule.SpecialDays[schedule.SpecialDaysCount++] = ScheduleSpecial{month, day, 2};
        if (i < 8)
            part0.push_back({day, month});
        else if (i < 16)
            part1.push_back({day, month});
    }
    AcknowledgeWrite();
    EXPECT_EQ(Kel_Zentor1Phase_Tariff_WriteTariffSchedule(&client, &schedule), Kel_Good);
    ASSERT_EQ(meter.writes.size(), 99u);
    EXPECT_EQ(Request(97), Frame(HolidayWrite(0, part0)));
    EXPECT_EQ(Request(98), Frame(HolidayWrite(1, part1)));
    EXPECT_EQ(Request(98)[5], 0x28); // the second table starts with the ninth date, 28 March
    EXPECT_EQ(TableRequest(2, 7), Frame(TableWrite(2, 7, {{1, 0, 0}})));
    EXPECT_EQ(TableRequest(11, 7), Frame(TableWrite(11, 7, {{1, 0, 0}})));
    EXPECT_EQ(TableRequest(10, 7), Frame(TableWrite(10, 7, kDayNightZones)));
}

TEST_F(TariffTest, SeasonStartingMidMonthGovernsTheWholeMonth)
{
    ScheduleParams schedule{};
    schedule.Seasons[schedule.SeasonsCount++] = ScheduleSeason{1, 1, 1};
    schedule.Seasons[schedule.SeasonsCount++] = ScheduleSeason{3, 15, 2};
    AddWeek(schedule, 1, {1, 1, 1, 1, 1, 1, 1});
    AddWeek(schedule, 2, {2, 2, 2, 2, 2, 2, 2});
    AddPoint(schedule, 1, 0, 0, 1);
    AddPoint(schedule, 2, 0, 0, 2);
    AcknowledgeWrite();
    EXPECT_EQ(Kel_Zentor1Phase_Tariff_WriteTariffSchedule(&client, &schedule), Kel_Good);
    for (uint8_t month = 0; month < 12; ++month)
    {
        const Zones zones = month < 2 ? Zones{{1, 0, 0}} : Zones{{2, 0, 0}};
        for (uint8_t kind = 0; kind < 8; ++kind)
            EXPECT_EQ(TableRequest(month, kind), Frame(TableWrite(month, kind, zones)))
                << "month " << int(month) << " kind " << int(kind);
    }

    // No season starts in or before January: January takes the first season in the record.
    Reset();
    schedule.Seasons[0] = ScheduleSeason{3, 1, 2};
    schedule.Seasons[1] = ScheduleSeason{10, 1, 1};
    AcknowledgeWrite();
    EXPECT_EQ(Kel_Zentor1Phase_Tariff_WriteTariffSchedule(&client, &schedule), Kel_Good);
    EXPECT_EQ(TableRequest(0, 3), Frame(TableWrite(0, 3, {{2, 0, 0}})));
    EXPECT_EQ(TableRequest(8, 3), Frame(TableWrite(8, 3, {{2, 0, 0}})));
    EXPECT_EQ(TableRequest(9, 3), Frame(TableWrite(9, 3, {{1, 0, 0}})));
}

TEST_F(TariffTest, MissingDaySchedulesEndTheWrite)
{
    // A week naming a day schedule without points: the count is written, then the write stops.
    ScheduleParams schedule = DayNightSchedule();
    schedule.Weeks[0].DayIds[2] = 7;
    AcknowledgeWrite();
    {
        TraceCapture trace;
        EXPECT_EQ(Kel_Zentor1Phase_Client_WriteTariffSchedule(&client, &schedule), Kel_BadInvalidArgument);
        const std::string text = trace.Stop();
        EXPECT_NE(text.find("GetDayId - Fail, Month=1, DayOfWeek=3, File=protocols/orlenta/1phase/"
                            "kel_zentor1phase_tariff, Line="),
                  std::string::npos)
            << text;
        EXPECT_NE(text.find("GetDaySchedule - Fail, Month=1, DayOfWeek=3, File="), std::string::npos);
        EXPECT_NE(text.find("<-- \"Kel_Zentor1Phase_Client_WriteTariffSchedule\" = 0x80AB0000 (BAD)."),
                  std::string::npos);
    }
    EXPECT_EQ(meter.writes.size(), 3u); // count, January columns 0 and 1

    // A special day whose day schedule has no points fails in its month's holiday column.
    Reset();
    schedule = DayNightSchedule();
    schedule.SpecialDays[schedule.SpecialDaysCount++] = ScheduleSpecial{2, 14, 9};
    AcknowledgeWrite();
    {
        TraceCapture trace;
        EXPECT_EQ(Kel_Zentor1Phase_Tariff_WriteTariffSchedule(&client, &schedule), Kel_BadInvalidArgument);
        const std::string text = trace.Stop();
        EXPECT_NE(text.find("GetDayId - Fail, Month=2, DayOfWeek=8, File="), std::string::npos) << text;
        EXPECT_NE(text.find("GetDaySchedule - Fail, Month=2, DayOfWeek=8, File="), std::string::npos);
    }
    EXPECT_EQ(meter.writes.size(), 1u + 8 + 7);

    // No seasons, or a season whose week is missing: nothing but the count goes out.
    for (int variant = 0; variant < 2; ++variant)
    {
        Reset();
        schedule = DayNightSchedule();
        if (variant == 0)
            schedule.SeasonsCount = 0;
        else
            schedule.Seasons[0].WeekId = 2;
        AcknowledgeWrite();
        EXPECT_EQ(Kel_Zentor1Phase_Tariff_WriteTariffSchedule(&client, &schedule), Kel_BadInvalidArgument);
        EXPECT_EQ(meter.writes.size(), 1u);
    }
}

TEST_F(TariffTest, RefusedTariffCountIsTracedWithTheLastAnswer)
{
    Answer({0x2E, 0x05});
    uint8_t count = 0;
    ASSERT_EQ(Kel_Zentor1Phase_Client_ReadTariffsNumber(&client, &count), Kel_Good);
    ScheduleParams schedule = DayNightSchedule();
    schedule.Days[1].ScheduleValue = 5;
    TraceCapture trace;
    EXPECT_EQ(Kel_Zentor1Phase_Tariff_WriteTariffSchedule(&client, &schedule), Kel_BadInvalidArgument);
    const std::string text = trace.Stop();
    EXPECT_NE(text.find("WriteTariffsCount - Fail, Rx: [2] 2E 05 , File=protocols/orlenta/1phase/"
                        "kel_zentor1phase_tariff, Line="),
              std::string::npos)
        << text;
    EXPECT_EQ(meter.writes.size(), 1u); // only the read before
}

TEST_F(TariffTest, FailingCommandsAndGoodNoDataStopTheTransfer)
{
    // A zone the table write cannot encode (hour 100 is no BCD byte): its failure ends the write.
    ScheduleParams schedule = DayNightSchedule();
    schedule.Days[1].Hour = 100;
    AcknowledgeWrite();
    EXPECT_EQ(Kel_Zentor1Phase_Client_WriteTariffSchedule(&client, &schedule), Kel_BadInvalidArgument);
    EXPECT_EQ(meter.writes.size(), 1u);

    Reset();
    schedule = DayNightSchedule();
    meter.readStatus = Kel_GoodNoData;
    EXPECT_EQ(Kel_Zentor1Phase_Client_WriteTariffSchedule(&client, &schedule), Kel_GoodNoData);
    EXPECT_EQ(meter.writes.size(), 1u);

    Reset();
    meter.readStatus = Kel_GoodNoData;
    ScheduleParams read{};
    read.SeasonsCount = 3;
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadTariffSchedule(&client, &read), Kel_GoodNoData);
    EXPECT_EQ(meter.writes.size(), 1u);
    EXPECT_EQ(read.SeasonsCount, 0); // zero-filled before the first command
}

TEST_F(TariffTest, WrappersRejectMissingArguments)
{
    ScheduleParams schedule{};
    TraceCapture trace;
    EXPECT_EQ(Kel_Zentor1Phase_Client_WriteTariffSchedule(nullptr, &schedule), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadTariffSchedule(&client, nullptr), Kel_BadInvalidArgument);
    const std::string text = trace.Stop();
    EXPECT_NE(text.find("<-- ReturnError: Arg pContext is NULL!\n, File=protocols/orlenta/1phase/"
                        "kel_zentor1phase_client_tariff"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("<-- ReturnError: Arg pTariffSchedule is NULL!\n"), std::string::npos);
    EXPECT_TRUE(meter.writes.empty());
}

// Weekday columns 1..5 (the meter's Monday to Friday) hold the day-night table, columns 6 and 0 and the
// holiday column a flat T2 day.
const Zones kFlatZones = {{2, 0, 0}};
std::array<Zones, 8> WorkWeekTables(uint8_t)
{
    return {kFlatZones,     kDayNightZones, kDayNightZones, kDayNightZones,
            kDayNightZones, kDayNightZones, kFlatZones,     kFlatZones};
}

TEST_F(TariffTest, ReadRebuildsOneSeasonOneWeekAndTheHolidays)
{
    ScriptRead(HolidayAnswer({{1, 1}, {8, 3}, {9, 5}}), HolidayAnswer({{4, 11}}), WorkWeekTables);
    ScheduleParams schedule;
    memset(&schedule, 0xEE, sizeof(schedule));
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadTariffSchedule(&client, &schedule), Kel_Good);

    ASSERT_EQ(meter.writes.size(), 2u + 96);
    EXPECT_EQ(Request(0), Frame({0x30, 0x00}));
    EXPECT_EQ(Request(1), Frame({0x30, 0x01}));
    for (uint8_t month = 0; month < 12; ++month)
        for (uint8_t kind = 0; kind < 8; ++kind)
            EXPECT_EQ(Request(2 + month * 8u + kind), Frame({0x31, static_cast<uint8_t>(month * 16 + kind)}));

    // Column 0 became weekday index 6 and was read first (day schedule 1); column k is index k - 1.
    ScheduleParams expected{};
    expected.Seasons[0] = ScheduleSeason{1, 1, 1};
    expected.SeasonsCount = 1;
    AddWeek(expected, 1, {2, 2, 2, 2, 2, 1, 1});
    AddPoint(expected, 1, 0, 0, 2);
    AddPoint(expected, 2, 0, 0, 2);
    AddPoint(expected, 2, 7, 0, 1);
    AddPoint(expected, 2, 23, 0, 2);
    for (const auto& date : std::vector<std::array<uint8_t, 2>>{{1, 1}, {8, 3}, {9, 5}, {4, 11}})
        expected.SpecialDays[expected.SpecialDaysCount++] = ScheduleSpecial{date[1], date[0], 1};
    EXPECT_EQ(memcmp(&schedule, &expected, sizeof(schedule)), 0);

    // Written back, each weekday table moves one column: column 0 now gets weekday index 0.
    Reset();
    AcknowledgeWrite();
    EXPECT_EQ(Kel_Zentor1Phase_Client_WriteTariffSchedule(&client, &schedule), Kel_Good);
    EXPECT_EQ(TableRequest(0, 0), Frame(TableWrite(0, 0, kDayNightZones)));
    EXPECT_EQ(TableRequest(0, 5), Frame(TableWrite(0, 5, kFlatZones)));
    EXPECT_EQ(TableRequest(0, 6), Frame(TableWrite(0, 6, kFlatZones)));
    EXPECT_EQ(TableRequest(0, 7), Frame(TableWrite(0, 7, kFlatZones)));     // 1 January
    EXPECT_EQ(TableRequest(1, 7), Frame(TableWrite(1, 7, kDayNightZones))); // no holiday: column 0's
}

TEST_F(TariffTest, ReadKeepsSeasonsWhereTheMonthsDiffer)
{
    // January to March and October to December hold the work week; April to September a flat week.
    ScriptRead(HolidayAnswer({}), HolidayAnswer({}),
               [](uint8_t aMonth)
               {
                   if (aMonth >= 3 && aMonth <= 8)
                       return std::array<Zones, 8>{kFlatZones, kFlatZones, kFlatZones, kFlatZones,
                                                   kFlatZones, kFlatZones, kFlatZones, kFlatZones};
                   return WorkWeekTables(aMonth);
               });
    ScheduleParams schedule{};
    EXPECT_EQ(Kel_Zentor1Phase_Tariff_ReadTariffSchedule(&client, &schedule), Kel_Good);
    ASSERT_EQ(schedule.SeasonsCount, 3);
    EXPECT_EQ(schedule.Seasons[0].Month, 1);
    EXPECT_EQ(schedule.Seasons[1].Month, 4);
    EXPECT_EQ(schedule.Seasons[2].Month, 10);
    EXPECT_EQ(schedule.Seasons[2].WeekId, schedule.Seasons[0].WeekId);
    ASSERT_EQ(schedule.WeeksCount, 2);
    EXPECT_EQ(schedule.DaysCount, 4);
    EXPECT_EQ(schedule.SpecialDaysCount, 0);
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(schedule.Weeks[1].DayIds[i], 1) << i; // the flat day, merged with the work week's
}

TEST_F(TariffTest, ReadStopsAtABadAnswerKeepingWhatWasBuilt)
{
    Answer(HolidayAnswer({}));
    Answer(HolidayAnswer({}));
    Answer(TableAnswer(kFlatZones));
    Answer(TableAnswer(kDayNightZones));
    Answer({0x31, 0x00}); // short answer to the third table
    ScheduleParams schedule{};
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadTariffSchedule(&client, &schedule), Kel_BadDeviceUnknownResponse);
    EXPECT_EQ(meter.writes.size(), 5u);
    EXPECT_EQ(schedule.SeasonsCount, 1);
    EXPECT_EQ(schedule.DaysCount, 4);
    EXPECT_EQ(schedule.Weeks[0].DayIds[6], 1);
    EXPECT_EQ(schedule.Weeks[0].DayIds[0], 2);

    // A holiday date that no month can hold ends the read in its month.
    Reset();
    ScriptRead(HolidayAnswer({{31, 2}, {32, 2}}), HolidayAnswer({}), WorkWeekTables);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadTariffSchedule(&client, &schedule), Kel_BadInvalidArgument);
    EXPECT_EQ(meter.writes.size(), 2u + 16);
}
} // namespace

#ifdef ZENTOR_SIM_EXECUTABLE
#include "zentor_sim/calendar.h"
#include "zentor_sim/simulator.h"

#include <tuple>

namespace
{
// The simulator's meter behind a serial channel, without a line: every frame written is fed to the
// meter at once and its answer is read back from a queue.
struct SimulatedMeter
{
    zentor_sim::Simulator simulator{
        zentor_sim::MeterState::Default(zentor_sim::ToSeconds(zentor_sim::Civil{2024, 3, 15, 12, 0, 0}))};
    Bytes pending;
    Kel_SerialChannel_Context channel{};

    SimulatedMeter()
    {
        channel.pContext = this;
        channel.pWrite =
            [](void* pContext, const uint8_t* pBuffer, uint32_t aSize, uint32_t, uint32_t* pWritten)
        {
            SimulatedMeter& meter = *static_cast<SimulatedMeter*>(pContext);
            const Bytes answer = meter.simulator.Exchange(Bytes(pBuffer, pBuffer + aSize)).Joined();
            meter.pending.insert(meter.pending.end(), answer.begin(), answer.end());
            *pWritten = aSize;
            return Kel_Good;
        };
        channel.pRead = [](void* pContext, uint8_t* pBuffer, uint32_t aSize, uint32_t, uint32_t* pReceived)
        {
            SimulatedMeter& meter = *static_cast<SimulatedMeter*>(pContext);
            const uint32_t count = std::min<uint32_t>(aSize, static_cast<uint32_t>(meter.pending.size()));
            std::copy(meter.pending.begin(), meter.pending.begin() + count, pBuffer);
            meter.pending.erase(meter.pending.begin(), meter.pending.begin() + count);
            *pReceived = count;
            return Kel_Good;
        };
        channel.pClearBuffer = [](void* pContext, uint32_t)
        {
            static_cast<SimulatedMeter*>(pContext)->pending.clear();
            return Kel_Good;
        };
    }
};

using Points = std::vector<std::tuple<uint8_t, uint8_t, uint8_t>>;

// The switch points of one day schedule, in record order.
Points Content(const ScheduleParams& aSchedule, uint8_t aDayId)
{
    Points points;
    for (uint32_t i = 0; i < aSchedule.DaysCount; ++i)
    {
        const ScheduleDay& day = aSchedule.Days[i];
        if (day.DayId == aDayId)
            points.emplace_back(day.Hour, day.Minute, day.ScheduleValue);
    }
    return points;
}

const ScheduleWeek& WeekOf(const ScheduleParams& aSchedule, const ScheduleSeason& aSeason)
{
    for (uint32_t i = 0; i < aSchedule.WeeksCount; ++i)
        if (aSchedule.Weeks[i].WeekId == aSeason.WeekId)
            return aSchedule.Weeks[i];
    ADD_FAILURE() << "no week " << int(aSeason.WeekId);
    return aSchedule.Weeks[0];
}

TEST(TariffSimulator, WrittenScheduleReadsBackWithWeekdaysShiftedByOneColumn)
{
    SimulatedMeter meter;
    Kel_Zentor1Phase_ClientContext client{};
    ASSERT_EQ(Kel_Zentor1Phase_Client_CreateContext(&client, &meter.channel, 1, 100, 2, 50, 9600, 0, 8, 0, 0),
              Kel_Good);

    ScheduleParams written{};
    written.Seasons[written.SeasonsCount++] = ScheduleSeason{1, 1, 1};
    written.Seasons[written.SeasonsCount++] = ScheduleSeason{6, 1, 2};
    AddWeek(written, 1, {1, 1, 1, 1, 1, 2, 3});
    AddWeek(written, 2, {4, 4, 4, 4, 1, 2, 2});
    AddPoint(written, 1, 0, 0, 2);
    AddPoint(written, 1, 7, 0, 1);
    AddPoint(written, 1, 23, 0, 2);
    AddPoint(written, 2, 0, 0, 2);
    AddPoint(written, 3, 0, 0, 3);
    AddPoint(written, 3, 12, 30, 1);
    AddPoint(written, 4, 0, 0, 1);
    AddPoint(written, 4, 8, 0, 4);
    AddPoint(written, 4, 20, 0, 1);
    AddPoint(written, 5, 0, 0, 4);
    written.SpecialDays[written.SpecialDaysCount++] = ScheduleSpecial{1, 1, 5};
    written.SpecialDays[written.SpecialDaysCount++] = ScheduleSpecial{5, 9, 2};
    ASSERT_EQ(Kel_EnergyShared_Schedule_VerifySchedule(&written, 4, 1, 16), Kel_Good);
    ASSERT_EQ(Kel_Zentor1Phase_Client_WriteTariffSchedule(&client, &written), Kel_Good);

    ScheduleParams read{};
    ASSERT_EQ(Kel_Zentor1Phase_Client_ReadTariffSchedule(&client, &read), Kel_Good);
    ASSERT_EQ(read.SeasonsCount, 2);
    ASSERT_EQ(read.WeeksCount, 2);
    for (int s = 0; s < 2; ++s)
    {
        EXPECT_EQ(read.Seasons[s].Month, written.Seasons[s].Month);
        EXPECT_EQ(read.Seasons[s].Day, 1);
        const ScheduleWeek& readWeek = WeekOf(read, read.Seasons[s]);
        const ScheduleWeek& writtenWeek = WeekOf(written, written.Seasons[s]);
        for (int w = 0; w < 7; ++w)
            EXPECT_EQ(Content(read, readWeek.DayIds[w]), Content(written, writtenWeek.DayIds[(w + 1) % 7]))
                << "season " << s << " weekday " << w;
    }
    ASSERT_EQ(read.SpecialDaysCount, 2);
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_EQ(read.SpecialDays[i].Month, written.SpecialDays[i].Month);
        EXPECT_EQ(read.SpecialDays[i].Day, written.SpecialDays[i].Day);
        EXPECT_EQ(Content(read, read.SpecialDays[i].DayId), Content(written, written.SpecialDays[i].DayId));
    }
    // Five distinct day schedules written, five read.
    EXPECT_EQ(read.DaysCount, written.DaysCount);

    uint8_t count = 0;
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadTariffsNumber(&client, &count), Kel_Good);
    EXPECT_EQ(count, 4);
}
} // namespace
#endif
