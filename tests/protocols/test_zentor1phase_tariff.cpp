// Tariff schedule transfer: the frames a schedule is written as, the schedule rebuilt from scripted
// tables, the failure paths. The write puts weekday index i into column i; the read takes column 0 as
// index 6 and column k as k - 1.
#include "protocols/orlenta/1phase/kel_zentor1phase_tariff.h"

#include "energyshared/schedule_helpers.h"
#include "scripted_channel.h"

#include <array>
#include <cstring>

namespace
{
using Zone = std::array<uint8_t, 3>; // tariff number (1-based), hour, minute
using Zones = std::vector<Zone>;
using Dates = std::vector<std::array<uint8_t, 2>>; // day, month

uint8_t Bcd(uint8_t aValue)
{
    return static_cast<uint8_t>((aValue / 10) << 4 | (aValue % 10));
}

// Command, the 32 zone bytes as the meter keeps them ((tariff index << 6 | BCD hour, BCD minute), FF FF
// unused), then for a write the month * 16 + day kind.
Bytes Table(uint8_t aCommand, const Zones& aZones, int aMonthKind = -1)
{
    Bytes bytes{aCommand};
    for (const Zone& zone : aZones)
        bytes.insert(bytes.end(), {static_cast<uint8_t>((zone[0] - 1) << 6 | Bcd(zone[1])), Bcd(zone[2])});
    bytes.resize(33, 0xFF);
    if (aMonthKind >= 0)
        bytes.push_back(static_cast<uint8_t>(aMonthKind));
    return bytes;
}
Bytes TableWrite(uint8_t aMonth, uint8_t aDayKind, const Zones& aZones)
{
    return Table(0x11, aZones, aMonth * 16 + aDayKind);
}

// Command, eight (BCD day, BCD month) pairs, then for a write the part.
Bytes Holidays(uint8_t aCommand, const Dates& aDates, int aPart = -1)
{
    Bytes bytes{aCommand};
    for (const auto& date : aDates)
        bytes.insert(bytes.end(), {Bcd(date[0]), Bcd(date[1])});
    bytes.resize(17, 0xFF);
    if (aPart >= 0)
        bytes.push_back(static_cast<uint8_t>(aPart));
    return bytes;
}

// One season, one week of day schedule 1: T1 from 07:00, T2 from 23:00.
ScheduleParams DayNightSchedule()
{
    return MakeSchedule({{1, 1, 1}}, {AllDays(1, 1)}, {{1, 7, 0, 1}, {1, 23, 0, 2}});
}

const Zones kDayNightZones = {{2, 0, 0}, {1, 7, 0}, {2, 23, 0}};
const Zones kFlatZones = {{2, 0, 0}};

struct TariffTest : ClientTest
{
    // Writes to a meter acknowledging the count, 96 zone tables and 2 holiday tables.
    Kel_StatusCode Write(const ScheduleParams& aSchedule)
    {
        Reset();
        Answer({0x0A});
        for (int i = 0; i < 96; ++i)
            Answer({0x11});
        Answer({0x10});
        Answer({0x10});
        return Kel_Zentor1Phase_Tariff_WriteTariffSchedule(&client, &aSchedule);
    }
    // The request of zone table (month 0..11, day kind 0..7) among the recorded writes.
    Bytes TableRequest(uint8_t aMonth, uint8_t aDayKind) const { return Request(1 + aMonth * 8u + aDayKind); }
    // Scripts the answers of a whole read: holidays, then per month the 8 tables from aTables(month).
    template <typename F> void ScriptRead(const Dates& aHolidays0, const Dates& aHolidays1, F aTables)
    {
        Answer(Holidays(0x30, aHolidays0));
        Answer(Holidays(0x30, aHolidays1));
        for (uint8_t month = 0; month < 12; ++month)
            for (const Zones& zones : aTables(month))
                Answer(Table(0x31, zones));
    }
};

TEST_F(TariffTest, DayNightScheduleGoesOutAsCountZoneTablesAndEmptyHolidays)
{
    EXPECT_EQ(Write(DayNightSchedule()), Kel_Good);
    ASSERT_EQ(meter.writes.size(), 99u);
    // Spelled out: the tariff count 2, and the first zone table (January, column 0): (T2, 00:00),
    // (T1, 07:00), (T2, 23:00), then 13 unused zones.
    EXPECT_EQ(Request(0), Hex("00 BC 61 4E 0A 02 A9 4A"));
    EXPECT_EQ(Request(1), Hex("00 BC 61 4E 11 40 00 07 00 63 00 FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF "
                              "FF FF FF FF FF FF FF FF FF FF FF 00 87 8E"));
    for (uint8_t month = 0; month < 12; ++month)
        for (uint8_t kind = 0; kind < 8; ++kind)
            EXPECT_EQ(TableRequest(month, kind), Frame(TableWrite(month, kind, kDayNightZones)))
                << "month " << int(month) << " kind " << int(kind);
    EXPECT_EQ(Request(97), Frame(Holidays(0x10, {}, 0)));
    EXPECT_EQ(Request(98), Frame(Holidays(0x10, {}, 1)));

    // The count is the highest tariff, at least 1; tariff 0 points go out as unused zones.
    ScheduleParams schedule = DayNightSchedule();
    schedule.Days[0].ScheduleValue = 0;
    schedule.Days[1].ScheduleValue = 0;
    EXPECT_EQ(Write(schedule), Kel_Good);
    EXPECT_EQ(Request(0), Hex("00 BC 61 4E 0A 01 E9 4B"));
    EXPECT_EQ(TableRequest(0, 0), Frame(TableWrite(0, 0, {})));
    schedule = DayNightSchedule();
    schedule.Days[0].ScheduleValue = 4;
    EXPECT_EQ(Write(schedule), Kel_Good);
    EXPECT_EQ(Request(0), Frame({0x0A, 0x04}));
}

TEST_F(TariffTest, MidnightPointNeedsNoWrapZoneAndSeventeenPointsSendSixteen)
{
    ScheduleParams schedule =
        MakeSchedule({{1, 1, 1}}, {{1, {1, 1, 1, 1, 1, 1, 2}}}, {{2, 0, 0, 2}, {2, 12, 15, 1}});
    Zones sixteen;
    for (uint8_t hour = 0; hour < 17; ++hour)
    {
        const uint8_t value = static_cast<uint8_t>(hour % 3 + 1),
                      minute = static_cast<uint8_t>(30 * (hour % 2));
        schedule.Days[schedule.DaysCount++] = {1, hour, minute, value};
        if (hour < 16)
            sixteen.push_back({value, hour, minute});
    }
    EXPECT_EQ(Write(schedule), Kel_Good);
    EXPECT_EQ(Request(0), Frame({0x0A, 0x03}));
    EXPECT_EQ(TableRequest(4, 0), Frame(TableWrite(4, 0, sixteen)));
    EXPECT_EQ(TableRequest(4, 6), Frame(TableWrite(4, 6, {{2, 0, 0}, {1, 12, 15}})));
}

TEST_F(TariffTest, HolidayColumnTakesTheMonthsFirstSpecialDayElseWeekdayColumnZero)
{
    // Column 0 wraps with T3; May's first special day names day schedule 4, its second 5.
    const ScheduleParams schedule =
        MakeSchedule({{1, 1, 1}}, {{1, {1, 2, 2, 2, 2, 3, 3}}},
                     {{1, 6, 0, 1}, {1, 20, 0, 3}, {2, 0, 0, 2}, {3, 0, 0, 1}, {4, 0, 0, 4}, {5, 0, 0, 3}},
                     {{5, 1, 4}, {5, 9, 5}});
    EXPECT_EQ(Write(schedule), Kel_Good);
    const Zones column0 = {{3, 0, 0}, {1, 6, 0}, {3, 20, 0}};
    for (uint8_t month = 0; month < 12; ++month)
    {
        EXPECT_EQ(TableRequest(month, 0), Frame(TableWrite(month, 0, column0)));
        EXPECT_EQ(TableRequest(month, 1), Frame(TableWrite(month, 1, {{2, 0, 0}})));
        EXPECT_EQ(TableRequest(month, 6), Frame(TableWrite(month, 6, {{1, 0, 0}})));
        const Zones holiday = month == 4 ? Zones{{4, 0, 0}} : column0;
        EXPECT_EQ(TableRequest(month, 7), Frame(TableWrite(month, 7, holiday))) << "month " << int(month);
    }
    EXPECT_EQ(Request(97), Frame(Holidays(0x10, {{1, 5}, {9, 5}}, 0)));

    // Twenty special days in March and December: sixteen dates go out.
    ScheduleParams twenty = DayNightSchedule();
    twenty.Days[twenty.DaysCount++] = {2, 0, 0, 1};
    Dates part0, part1;
    for (uint8_t i = 0; i < 20; ++i)
    {
        const uint8_t day = static_cast<uint8_t>(i % 10 + 20), month = static_cast<uint8_t>(i / 10 * 9 + 3);
        twenty.SpecialDays[twenty.SpecialDaysCount++] = ScheduleSpecial{month, day, 2};
        (i < 8 ? part0 : part1).push_back({day, month});
    }
    part1.resize(8);
    EXPECT_EQ(Write(twenty), Kel_Good);
    EXPECT_EQ(Request(97), Frame(Holidays(0x10, part0, 0)));
    EXPECT_EQ(Request(98), Frame(Holidays(0x10, part1, 1)));
    EXPECT_EQ(TableRequest(2, 7), Frame(TableWrite(2, 7, {{1, 0, 0}})));
    EXPECT_EQ(TableRequest(11, 7), Frame(TableWrite(11, 7, {{1, 0, 0}})));
    EXPECT_EQ(TableRequest(10, 7), Frame(TableWrite(10, 7, kDayNightZones)));
}

TEST_F(TariffTest, SeasonStartingMidMonthGovernsTheWholeMonth)
{
    ScheduleParams schedule =
        MakeSchedule({{1, 1, 1}, {3, 15, 2}}, {AllDays(1, 1), AllDays(2, 2)}, {{1, 0, 0, 1}, {2, 0, 0, 2}});
    EXPECT_EQ(Write(schedule), Kel_Good);
    for (uint8_t month = 0; month < 12; ++month)
        for (uint8_t kind = 0; kind < 8; ++kind)
            EXPECT_EQ(TableRequest(month, kind),
                      Frame(TableWrite(month, kind, {{uint8_t(month < 2 ? 1 : 2), 0, 0}})))
                << "month " << int(month) << " kind " << int(kind);
    // No season starts in or before January: January takes the first season in the record.
    schedule.Seasons[0] = ScheduleSeason{3, 1, 2};
    schedule.Seasons[1] = ScheduleSeason{10, 1, 1};
    EXPECT_EQ(Write(schedule), Kel_Good);
    EXPECT_EQ(TableRequest(0, 3), Frame(TableWrite(0, 3, {{2, 0, 0}})));
    EXPECT_EQ(TableRequest(8, 3), Frame(TableWrite(8, 3, {{2, 0, 0}})));
    EXPECT_EQ(TableRequest(9, 3), Frame(TableWrite(9, 3, {{1, 0, 0}})));
}

TEST_F(TariffTest, WriteFailuresEndTheTransfer)
{
    // A week naming a day schedule without points: the count is written, then the write stops.
    ScheduleParams schedule = DayNightSchedule();
    schedule.Weeks[0].DayIds[2] = 7;
    TraceCapture trace;
    EXPECT_EQ(Write(schedule), Kel_BadInvalidArgument);
    EXPECT_EQ(meter.writes.size(), 3u); // count, January columns 0 and 1
    // A special day whose day schedule has no points fails in its month's holiday column.
    schedule = DayNightSchedule();
    schedule.SpecialDays[schedule.SpecialDaysCount++] = ScheduleSpecial{2, 14, 9};
    EXPECT_EQ(Write(schedule), Kel_BadInvalidArgument);
    EXPECT_EQ(meter.writes.size(), 1u + 8 + 7);
    const std::string text = trace.Stop();
    for (const char* line :
         {"GetDayId - Fail, Month=1, DayOfWeek=3, File=protocols/orlenta/1phase/kel_zentor1phase_tariff, "
          "Line=",
          "GetDaySchedule - Fail, Month=1, DayOfWeek=3, File=",
          "GetDayId - Fail, Month=2, DayOfWeek=8, File=",
          "GetDaySchedule - Fail, Month=2, DayOfWeek=8, File="})
        EXPECT_NE(text.find(line), std::string::npos) << line;

    // No seasons, a season whose week is missing, an hour the table write cannot encode: only the count.
    for (const auto& breakIt :
         {+[](ScheduleParams& s) { s.SeasonsCount = 0; }, +[](ScheduleParams& s) { s.Seasons[0].WeekId = 2; },
          +[](ScheduleParams& s) { s.Days[1].Hour = 100; }})
    {
        schedule = DayNightSchedule();
        breakIt(schedule);
        EXPECT_EQ(Write(schedule), Kel_BadInvalidArgument);
        EXPECT_EQ(meter.writes.size(), 1u);
    }

    // A tariff count the meter refuses is traced with the last answer.
    Reset();
    Answer({0x2E, 0x05});
    uint8_t count = 0;
    ASSERT_EQ(Kel_Zentor1Phase_Client_ReadTariffsNumber(&client, &count), Kel_Good);
    schedule = DayNightSchedule();
    schedule.Days[1].ScheduleValue = 5;
    TraceCapture refused;
    EXPECT_EQ(Kel_Zentor1Phase_Tariff_WriteTariffSchedule(&client, &schedule), Kel_BadInvalidArgument);
    EXPECT_NE(refused.Stop().find("WriteTariffsCount - Fail, Rx: [2] 2E 05 , File=protocols/orlenta/1phase/"
                                  "kel_zentor1phase_tariff, Line="),
              std::string::npos);
    EXPECT_EQ(meter.writes.size(), 1u); // only the read before
}

TEST_F(TariffTest, GoodNoDataAndMissingArguments)
{
    ScheduleParams schedule = DayNightSchedule();
    meter.readStatus = Kel_GoodNoData;
    EXPECT_EQ(Kel_Zentor1Phase_Client_WriteTariffSchedule(&client, &schedule), Kel_GoodNoData);
    schedule.SeasonsCount = 3;
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadTariffSchedule(&client, &schedule), Kel_GoodNoData);
    EXPECT_EQ(meter.writes.size(), 2u);
    EXPECT_EQ(schedule.SeasonsCount, 0); // zero-filled before the first command

    Reset();
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
std::array<Zones, 8> WorkWeekTables(uint8_t)
{
    return {kFlatZones,     kDayNightZones, kDayNightZones, kDayNightZones,
            kDayNightZones, kDayNightZones, kFlatZones,     kFlatZones};
}

TEST_F(TariffTest, ReadRebuildsOneSeasonOneWeekAndTheHolidays)
{
    ScriptRead({{1, 1}, {8, 3}, {9, 5}}, {{4, 11}}, WorkWeekTables);
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
    EXPECT_TRUE(SameBytes(schedule, MakeSchedule({{1, 1, 1}}, {{1, {2, 2, 2, 2, 2, 1, 1}}},
                                                 {{1, 0, 0, 2}, {2, 0, 0, 2}, {2, 7, 0, 1}, {2, 23, 0, 2}},
                                                 {{1, 1, 1}, {3, 8, 1}, {5, 9, 1}, {11, 4, 1}})))
        << Hex(&schedule, sizeof(schedule));

    // Written back, each weekday table moves one column: column 0 now gets weekday index 0.
    EXPECT_EQ(Write(schedule), Kel_Good);
    EXPECT_EQ(TableRequest(0, 0), Frame(TableWrite(0, 0, kDayNightZones)));
    EXPECT_EQ(TableRequest(0, 5), Frame(TableWrite(0, 5, kFlatZones)));
    EXPECT_EQ(TableRequest(0, 6), Frame(TableWrite(0, 6, kFlatZones)));
    EXPECT_EQ(TableRequest(0, 7), Frame(TableWrite(0, 7, kFlatZones)));     // 1 January
    EXPECT_EQ(TableRequest(1, 7), Frame(TableWrite(1, 7, kDayNightZones))); // no holiday: column 0's
}

TEST_F(TariffTest, ReadKeepsSeasonsWhereTheMonthsDiffer)
{
    // January to March and October to December hold the work week; April to September a flat week.
    ScriptRead({}, {},
               [](uint8_t aMonth)
               {
                   if (aMonth >= 3 && aMonth <= 8)
                       return std::array<Zones, 8>{kFlatZones, kFlatZones, kFlatZones, kFlatZones,
                                                   kFlatZones, kFlatZones, kFlatZones, kFlatZones};
                   return WorkWeekTables(aMonth);
               });
    ScheduleParams schedule{};
    EXPECT_EQ(Kel_Zentor1Phase_Tariff_ReadTariffSchedule(&client, &schedule), Kel_Good);
    // The flat day is merged with the work week's.
    EXPECT_TRUE(SameBytes(schedule, MakeSchedule({{1, 1, 1}, {4, 1, 2}, {10, 1, 1}},
                                                 {{1, {2, 2, 2, 2, 2, 1, 1}}, AllDays(2, 1)},
                                                 {{1, 0, 0, 2}, {2, 0, 0, 2}, {2, 7, 0, 1}, {2, 23, 0, 2}})))
        << Hex(&schedule, sizeof(schedule));
}

TEST_F(TariffTest, ReadStopsAtABadAnswerKeepingWhatWasBuilt)
{
    Answer(Holidays(0x30, {}));
    Answer(Holidays(0x30, {}));
    Answer(Table(0x31, kFlatZones));
    Answer(Table(0x31, kDayNightZones));
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
    ScriptRead({{31, 2}, {32, 2}}, {}, WorkWeekTables);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadTariffSchedule(&client, &schedule), Kel_BadInvalidArgument);
    EXPECT_EQ(meter.writes.size(), 2u + 16);
}
} // namespace
