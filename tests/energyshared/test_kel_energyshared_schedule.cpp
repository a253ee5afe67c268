// The tariff schedule record: defaults and validation, the binary form, merging, lookup and building;
// merging never changes a tariff the lookup finds.
#include "schedule_helpers.h"

#include <algorithm>
#include <array>
#include <functional>
#include <tuple>

namespace
{
Kel_StatusCode Verify(ScheduleParams& s, uint8_t maxValue, uint8_t defaultValue, int32_t maxDayPoints)
{
    return Kel_EnergyShared_Schedule_VerifySchedule(&s, maxValue, defaultValue, maxDayPoints);
}

Kel_StatusCode FromBytes(std::vector<uint8_t> aBytes, ScheduleParams& rSchedule, uint32_t& rIndex)
{
    Kel_Memory_Context memory{};
    Kel_Memory_CreateContext(&memory, aBytes.data(), static_cast<int32_t>(aBytes.size()));
    rIndex = 0;
    return Kel_EnergyShared_Schedule_DataToScheduleParams(&memory, &rIndex, &rSchedule);
}

// Tariff at a date and time, or -1 when the lookup finds no point.
int ValueAt(const ScheduleParams& s, uint8_t month, uint8_t day, uint8_t weekDay, uint8_t hour,
            uint8_t minute)
{
    const ScheduleDay* pDay = nullptr;
    EXPECT_EQ(Kel_EnergyShared_Schedule_GetValue(&s, month, day, weekDay, hour, minute, &pDay), Kel_Good);
    return pDay == nullptr ? -1 : pDay->ScheduleValue;
}

// Two seasons, two weeks, two day schedules and a special day: valid with maxValue 4, 2 points a day.
ScheduleParams BaseSchedule()
{
    return MakeSchedule({{1, 1, 1}, {4, 1, 2}}, {AllDays(1, 1), {2, {1, 1, 1, 1, 1, 2, 2}}},
                        {{1, 0, 0, 1}, {1, 7, 0, 2}, {2, 0, 0, 3}}, {{1, 7, 2}});
}
} // namespace

TEST(ScheduleVerify, DefaultScheduleAndEachBrokenRule)
{
    // An empty record gets one season, week and 00:00 point with the default tariff, itself checked.
    ScheduleParams s{};
    ASSERT_EQ(Verify(s, 4, 2, 8), Kel_Good);
    EXPECT_TRUE(SameBytes(s, MakeSchedule({{1, 1, 1}}, {AllDays(1, 1)}, {{1, 0, 0, 2}})));
    ScheduleParams zero{}, above{};
    EXPECT_EQ(Verify(zero, 4, 0, 8), Kel_BadInvalidArgument);
    EXPECT_EQ(Verify(above, 4, 5, 8), Kel_BadInvalidArgument);

    const std::vector<std::pair<const char*, std::function<void(ScheduleParams&)>>> broken = {
        {"season month 13", [](ScheduleParams& s) { s.Seasons[1].Month = 13; }},
        {"season day 0", [](ScheduleParams& s) { s.Seasons[1].Day = 0; }},
        {"season week 0", [](ScheduleParams& s) { s.Seasons[1].WeekId = 0; }},
        {"season names a missing week", [](ScheduleParams& s) { s.Seasons[1].WeekId = 3; }},
        {"no weeks", [](ScheduleParams& s) { s.WeeksCount = 0; }},
        {"week id 0", [](ScheduleParams& s) { s.Weeks[1].WeekId = 0; }},
        {"week names day 0", [](ScheduleParams& s) { s.Weeks[1].DayIds[6] = 0; }},
        {"week names a day without points", [](ScheduleParams& s) { s.Weeks[1].DayIds[6] = 9; }},
        {"no points", [](ScheduleParams& s) { s.DaysCount = 0; }},
        {"point hour 24", [](ScheduleParams& s) { s.Days[1].Hour = 24; }},
        {"point minute 60", [](ScheduleParams& s) { s.Days[1].Minute = 60; }},
        {"tariff 0", [](ScheduleParams& s) { s.Days[2].ScheduleValue = 0; }},
        {"tariff above the maximum", [](ScheduleParams& s) { s.Days[2].ScheduleValue = 5; }},
        {"three points in one day",
         [](ScheduleParams& s) { s.Days[s.DaysCount++] = ScheduleDay(1, 12, 0, 1); }},
        {"special month 0", [](ScheduleParams& s) { s.SpecialDays[0].Month = 0; }},
        {"special day 32", [](ScheduleParams& s) { s.SpecialDays[0].Day = 32; }},
        {"special day 0 id", [](ScheduleParams& s) { s.SpecialDays[0].DayId = 0; }},
        {"special names a day without points", [](ScheduleParams& s) { s.SpecialDays[0].DayId = 7; }},
        {"without seasons any other entry", [](ScheduleParams& s) { s.SeasonsCount = 0; }},
    };
    for (const auto& [name, breakIt] : broken)
    {
        ScheduleParams broke = BaseSchedule();
        breakIt(broke);
        EXPECT_EQ(Verify(broke, 4, 1, 2), Kel_BadInvalidArgument) << name;
    }
    // The limit of points per day schedule is inclusive, and below 1 fails on the first point.
    ScheduleParams three = BaseSchedule();
    three.Days[three.DaysCount++] = {1, 12, 0, 1};
    EXPECT_EQ(Verify(three, 4, 1, 3), Kel_Good);
    ScheduleParams none = BaseSchedule();
    EXPECT_EQ(Verify(none, 4, 1, 0), Kel_BadInvalidArgument);
    // Not checked: 31 April, a first season after 1 January, no 00:00 point, sparse identifiers.
    ScheduleParams loose = MakeSchedule({{4, 31, 7}}, {AllDays(7, 40)}, {{40, 6, 30, 1}});
    EXPECT_EQ(Verify(loose, 4, 1, 2), Kel_Good);
    // A count above its capacity is refused before anything reaches past the record.
    ScheduleParams overfull = BaseSchedule();
    overfull.DaysCount = 85;
    EXPECT_EQ(Verify(overfull, 4, 1, 2), Kel_BadOutOfRange);
}

TEST(ScheduleBinary, LayoutCursorAndBounds)
{
    const ScheduleParams base = BaseSchedule();
    const std::vector<uint8_t> bytes = ToBytes(base);
    EXPECT_EQ(bytes, (std::vector<uint8_t>{0x02, 1, 1, 1, 4, 1, 2,                               // seasons
                                           0x02, 1, 1, 1, 1, 1, 1, 1, 1, 2, 1, 1, 1, 1, 1, 2, 2, // weeks
                                           0x03, 1, 0, 0, 1, 1, 7, 0, 2, 2, 0, 0, 3,             // points
                                           0x01, 1, 7, 2})); // special days
    // The writer appends at the cursor, the reader reads from its cursor.
    Kel_Memory_Context memory{};
    ASSERT_EQ(Kel_Memory_Alloc(&memory, 0), Kel_Good);
    uint32_t cursor = 0;
    ASSERT_EQ(Kel_Memory_UInt16ToData(0xBEEF, &memory, &cursor, KEL_BYTEORDER_REVERSE), Kel_Good);
    ASSERT_EQ(Kel_EnergyShared_Schedule_ScheduleParamsToData(&base, &memory, &cursor), Kel_Good);
    EXPECT_EQ(std::vector<uint8_t>(memory.data + 2, memory.data + cursor), bytes);
    ScheduleParams back;
    uint32_t readCursor = 2;
    ASSERT_EQ(Kel_EnergyShared_Schedule_DataToScheduleParams(&memory, &readCursor, &back), Kel_Good);
    EXPECT_EQ(readCursor, cursor);
    EXPECT_TRUE(SameBytes(back, base));
    Kel_Memory_Free(&memory);

    // Counts above capacity: the reader stores up to it and stops; the writer writes the sections before.
    auto stream = [](std::array<uint8_t, 4> aCounts)
    {
        std::vector<uint8_t> b;
        for (size_t i = 0; i < 4; ++i)
        {
            b.push_back(aCounts[i]);
            b.insert(b.end(), std::array<size_t, 4>{3, 8, 4, 3}[i] * aCounts[i], 0x11);
        }
        return b;
    };
    const std::tuple<std::array<uint8_t, 4>, uint32_t, Kel_StatusCode> reads[] = {
        {{13, 0, 0, 0}, 1 + 12 * 3, Kel_BadOutOfRange},
        {{0, 13, 0, 0}, 2 + 12 * 8, Kel_BadOutOfRange},
        {{0, 0, 85, 0}, 3 + 84 * 4, Kel_BadOutOfRange},
        {{0, 0, 0, 31}, 4 + 30 * 3, Kel_BadOutOfRange},
        {{12, 12, 84, 30}, 4 + 36 + 96 + 336 + 90, Kel_Good}};
    for (const auto& [c, expectedIndex, status] : reads)
    {
        ScheduleParams s;
        uint32_t index = 0;
        EXPECT_EQ(FromBytes(stream(c), s, index), status);
        EXPECT_EQ(index, expectedIndex);
        EXPECT_EQ((std::array<uint8_t, 4>{s.SeasonsCount, s.WeeksCount, s.DaysCount, s.SpecialDaysCount}),
                  (std::array<uint8_t, 4>{std::min<uint8_t>(c[0], 12), std::min<uint8_t>(c[1], 12),
                                          std::min<uint8_t>(c[2], 84), std::min<uint8_t>(c[3], 30)}));
    }
    std::vector<uint8_t> cut = stream({1, 1, 1, 0});
    cut.pop_back();
    uint32_t index = 0;
    EXPECT_EQ(FromBytes(cut, back, index), Kel_Bad);
    ScheduleParams s = BaseSchedule();
    s.SeasonsCount = 13;
    EXPECT_TRUE(ToBytes(s, Kel_BadOutOfRange).empty());
    s = BaseSchedule();
    s.DaysCount = 85;
    EXPECT_EQ(ToBytes(s, Kel_BadOutOfRange).size(), 1u + 3 * 2 + 1 + 8 * 2);
    EXPECT_EQ(Kel_EnergyShared_Schedule_ScheduleParamsToData(nullptr, nullptr, nullptr),
              Kel_BadInvalidArgument);
}

TEST(ScheduleShrink, MergesEqualDaysWeeksAndSeasonsOnly)
{
    // Day schedules 3 and 5 are both 07:00 T1 / 23:00 T2, 5 given first and with its points reversed.
    ScheduleParams days =
        MakeSchedule({{1, 1, 1}, {6, 1, 2}}, {{1, {3, 3, 3, 3, 3, 5, 5}}, AllDays(2, 5)},
                     {{5, 23, 0, 2}, {5, 7, 0, 1}, {3, 7, 0, 1}, {3, 23, 0, 2}}, {{5, 9, 3}, {1, 1, 5}});
    ASSERT_EQ(Kel_EnergyShared_Schedule_ShrinkDays(&days), Kel_Good);
    EXPECT_TRUE(SameBytes(days, MakeSchedule({{1, 1, 1}, {6, 1, 2}}, {AllDays(1, 3), AllDays(2, 3)},
                                             {{3, 7, 0, 1}, {3, 23, 0, 2}}, {{1, 1, 3}, {5, 9, 3}})));
    // Same times with one tariff different, or one more point: kept.
    for (const ScheduleDay extra : {ScheduleDay{5, 23, 0, 3}, ScheduleDay{5, 12, 0, 1}})
    {
        ScheduleParams differ = MakeSchedule({{1, 1, 1}}, {{1, {3, 3, 3, 3, 3, 5, 5}}},
                                             {{3, 7, 0, 1}, {3, 23, 0, 2}, {5, 7, 0, 1}, {5, 23, 0, 2}});
        differ.Days[extra.Hour == 23 ? 3 : differ.DaysCount++] = extra;
        const uint8_t count = differ.DaysCount;
        ASSERT_EQ(Kel_EnergyShared_Schedule_ShrinkDays(&differ), Kel_Good);
        EXPECT_EQ(differ.DaysCount * 10 + differ.Weeks[0].DayIds[6], count * 10 + 5);
    }
    // Weeks 1 and 2 are equal: seasons of week 2 move to week 1; the copy of week 3 goes.
    ScheduleParams weeks = MakeSchedule({{1, 1, 2}, {5, 1, 3}, {9, 1, 1}},
                                        {AllDays(3, 2), AllDays(2, 1), AllDays(1, 1), AllDays(3, 2)},
                                        {{1, 0, 0, 1}, {2, 0, 0, 2}});
    ASSERT_EQ(Kel_EnergyShared_Schedule_ShrinkWeeks(&weeks), Kel_Good);
    EXPECT_TRUE(SameBytes(weeks, MakeSchedule({{1, 1, 1}, {5, 1, 3}, {9, 1, 1}},
                                              {AllDays(1, 1), AllDays(3, 2)}, {{1, 0, 0, 1}, {2, 0, 0, 2}})));
    // Consecutive seasons of one week merge into the earlier start; the last does not wrap to the first.
    ScheduleParams seasons = MakeSchedule({{10, 1, 2}, {4, 1, 1}, {1, 1, 1}, {12, 1, 1}},
                                          {AllDays(1, 1), AllDays(2, 1)}, {{1, 0, 0, 1}});
    ASSERT_EQ(Kel_EnergyShared_Schedule_ShrinkSeasons(&seasons), Kel_Good);
    EXPECT_TRUE(SameBytes(seasons, MakeSchedule({{1, 1, 1}, {10, 1, 2}, {12, 1, 1}},
                                                {AllDays(1, 1), AllDays(2, 1)}, {{1, 0, 0, 1}})));
}

TEST(ScheduleShrink, TraceLinesOfAFailure)
{
    // Season merging traces under the name of week merging (the trace text is kept as written).
    ScheduleParams s = BaseSchedule();
    s.SeasonsCount = 13;
    TraceCapture trace("schedule_trace.txt");
    EXPECT_EQ(Kel_EnergyShared_Schedule_ShrinkSeasons(&s), Kel_BadOutOfRange);
    const ScheduleDay* pDay = nullptr;
    ScheduleParams good = BaseSchedule();
    EXPECT_EQ(Kel_EnergyShared_Schedule_GetValue(&good, 1, 1, 7, 0, 0, &pDay), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_EnergyShared_Schedule_GetValue(&good, 1, 1, 0, 0, 0, nullptr), Kel_BadInvalidArgument);
    good.Days[0].ScheduleValue = 9;
    EXPECT_EQ(Verify(good, 4, 1, 8), Kel_BadInvalidArgument);
    const std::string file = ", File=protocols/shared/kel_energyshared_schedule, Line=#\n";
    EXPECT_EQ(trace.Text(),
              "<-- ReturnError: 0x803C0000\n" + file + "--- GotoError: Bad statuscode 0x803C0000\n" + file +
                  "<-- \"Kel_EnergyShared_Schedule_ShrinkWeeks\" = 0x803C0000 (BAD).\n" + file +
                  "<-- ReturnError: weekDay > 6 is true! Return 0x80AB0000\n" + file +
                  "<-- ReturnError: Arg ppDay is NULL!\n" + file +
                  "--- GotoError: Kel_BadInvalidArgument. Statuscode 0x80AB0000\n" + file +
                  "<-- \"Kel_EnergyShared_Schedule_VerifySchedule\" = 0x80AB0000 (BAD).\n" + file);
}

TEST(ScheduleLookup, SeasonsWeekdaysAndTheDayBeforeItsFirstPoint)
{
    // From 1 March week 1 (weekday index 2: day schedule 4, 07:00 T1 and 23:00 T2, no point at 00:00;
    // the others day schedule 1, T3), from 1 October week 2 (T2). Seasons do not wrap to the year's end.
    ScheduleParams s = MakeSchedule({{3, 1, 1}, {10, 1, 2}}, {{1, {1, 1, 4, 1, 1, 1, 1}}, AllDays(2, 2)},
                                    {{1, 0, 0, 3}, {2, 0, 0, 2}, {4, 7, 0, 1}, {4, 23, 0, 2}});
    ASSERT_EQ(Verify(s, 4, 1, 8), Kel_Good);
    const std::array<int, 6> at[] = {{1, 15, 0, 12, 0, 3}, {2, 29, 3, 12, 0, 3},   {9, 30, 3, 23, 59, 3},
                                     {10, 1, 3, 0, 0, 2},  {12, 31, 6, 23, 59, 2}, {5, 5, 2, 0, 0, 1},
                                     {5, 5, 2, 7, 0, 1},   {5, 5, 2, 22, 59, 1},   {5, 5, 2, 23, 0, 2},
                                     {5, 5, 1, 23, 59, 3}, {5, 5, 6, 0, 0, 3}};
    for (const auto& a : at)
        EXPECT_EQ(ValueAt(s, uint8_t(a[0]), uint8_t(a[1]), uint8_t(a[2]), uint8_t(a[3]), uint8_t(a[4])), a[5])
            << a[0] << "-" << a[1] << " weekday " << a[2] << " " << a[3] << ":" << a[4];
    const ScheduleDay* pDay = nullptr;
    ASSERT_EQ(Kel_EnergyShared_Schedule_GetDay(&s, 9, 12, 0, &pDay), Kel_Good); // a day without points
    EXPECT_EQ(pDay, nullptr);
    // On an unsorted record the later point wins by the loose test: 09:30 after 10:00 at 11:00.
    ScheduleParams loose = MakeSchedule({{1, 1, 1}}, {AllDays(1, 1)}, {{1, 10, 0, 1}, {1, 9, 30, 2}});
    ASSERT_EQ(Kel_EnergyShared_Schedule_GetDay(&loose, 1, 11, 0, &pDay), Kel_Good);
    EXPECT_EQ(pDay, &loose.Days[1]);
    // Two seasons starting on one date: the one earlier in the record wins.
    ScheduleParams twin = MakeSchedule({{1, 1, 1}, {5, 1, 2}, {5, 1, 1}}, {AllDays(1, 1), AllDays(2, 2)},
                                       {{1, 0, 0, 1}, {2, 0, 0, 2}});
    const ScheduleSeason* pSeason = nullptr;
    ASSERT_EQ(Kel_EnergyShared_Schedule_GetSeason(&twin, 6, 1, &pSeason), Kel_Good);
    EXPECT_EQ(pSeason, &twin.Seasons[1]);
    // Nothing to find: Good with a null result.
    ScheduleParams empty{};
    EXPECT_EQ(ValueAt(empty, 6, 1, 0, 0, 0), -1);
    ScheduleParams noWeek = MakeSchedule({{1, 1, 4}}, {AllDays(1, 1)}, {{1, 0, 0, 1}});
    EXPECT_EQ(ValueAt(noWeek, 6, 1, 0, 0, 0), -1);
    EXPECT_EQ(Kel_EnergyShared_Schedule_GetValue(&s, 13, 1, 0, 0, 0, &pDay), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_EnergyShared_Schedule_GetSeason(&s, 0, 1, &pSeason), Kel_BadInvalidArgument);
    s.SeasonsCount = 13; // a count past the capacity fails when the scan gets there
    EXPECT_EQ(Kel_EnergyShared_Schedule_GetSeason(&s, 12, 31, &pSeason), Kel_BadOutOfRange);
    uint8_t maxValue = 0;
    ASSERT_EQ(Kel_EnergyShared_Schedule_GetScheduleMaxValue(&s, &maxValue), Kel_Good);
    EXPECT_EQ(maxValue * 10 + Kel_EnergyShared_Schedule_GetDayIdMax(&s), 34);
    EXPECT_EQ(Kel_EnergyShared_Schedule_GetDayIdMax(nullptr), 0);
}

TEST(ScheduleBuild, MonthByMonthShrinksToSeasons)
{
    // Winter weekdays 00:00 T2 / 07:00 T1 / 23:00 T2, summer weekdays 06:00 and 22:00; weekends T2.
    ScheduleParams s{};
    for (uint8_t month = 1; month <= 12; ++month)
    {
        const bool summer = month >= 4 && month <= 9;
        for (uint8_t weekDay = 0; weekDay < 7; ++weekDay)
        {
            ASSERT_EQ(Kel_EnergyShared_Schedule_AddValue(month, weekDay, 0, 0, 2, &s), Kel_Good);
            if (weekDay >= 5)
                continue;
            ASSERT_EQ(Kel_EnergyShared_Schedule_AddValue(month, weekDay, summer ? 6 : 7, 0, 1, &s), Kel_Good);
            ASSERT_EQ(Kel_EnergyShared_Schedule_AddValue(month, weekDay, summer ? 22 : 23, 0, 2, &s),
                      Kel_Good);
        }
        ASSERT_EQ(Kel_EnergyShared_Schedule_Shrink(&s), Kel_Good);
    }
    const ScheduleParams expected = MakeSchedule(
        {{1, 1, 1}, {4, 1, 2}, {10, 1, 1}}, {{1, {1, 1, 1, 1, 1, 6, 6}}, {2, {7, 7, 7, 7, 7, 6, 6}}},
        {{1, 0, 0, 2}, {1, 7, 0, 1}, {1, 23, 0, 2}, {6, 0, 0, 2}, {7, 0, 0, 2}, {7, 6, 0, 1}, {7, 22, 0, 2}});
    EXPECT_TRUE(SameBytes(s, expected)) << ::testing::PrintToString(ToBytes(s));

    // 12 x 7 one-point day schedules fill the 84 points: an overwrite fits, a new point does not.
    ScheduleParams fill{};
    for (uint8_t month = 1; month <= 12; ++month)
        for (uint8_t weekDay = 0; weekDay < 7; ++weekDay)
            ASSERT_EQ(Kel_EnergyShared_Schedule_AddValue(month, weekDay, 0, 0, weekDay < 5 ? 1 : 2, &fill),
                      Kel_Good);
    EXPECT_EQ(fill.Weeks[11].DayIds[6], 84);
    EXPECT_EQ(Kel_EnergyShared_Schedule_AddValue(3, 1, 0, 0, 1, &fill), Kel_Good);
    EXPECT_EQ(Kel_EnergyShared_Schedule_AddValue(3, 1, 12, 0, 1, &fill), Kel_BadOutOfRange);
    // A month that cannot get a season of its own: twelve seasons start mid-month already.
    ScheduleParams mid{};
    for (uint8_t month = 1; month <= 12; ++month)
        mid.Seasons[mid.SeasonsCount++] = {month, 15, 1};
    EXPECT_EQ(Kel_EnergyShared_Schedule_AddValue(3, 0, 0, 0, 1, &mid), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_EnergyShared_Schedule_AddValue(3, 7, 0, 0, 1, &mid), Kel_BadInvalidArgument);

    // Special days: a new day schedule, an overwrite, a point added to an existing special day's.
    ScheduleParams special = BaseSchedule();
    ASSERT_EQ(Kel_EnergyShared_Schedule_AddSpecialValue(1, 1, 0, 0, 3, &special), Kel_Good);
    ASSERT_EQ(Kel_EnergyShared_Schedule_AddSpecialValue(1, 1, 12, 0, 1, &special), Kel_Good);
    ASSERT_EQ(Kel_EnergyShared_Schedule_AddSpecialValue(1, 1, 12, 0, 2, &special), Kel_Good);
    ASSERT_EQ(Kel_EnergyShared_Schedule_AddSpecialValue(1, 7, 6, 0, 4, &special), Kel_Good);
    EXPECT_TRUE(SameBytes(
        special,
        MakeSchedule({{1, 1, 1}, {4, 1, 2}}, {AllDays(1, 1), {2, {1, 1, 1, 1, 1, 2, 2}}},
                     {{1, 0, 0, 1}, {1, 7, 0, 2}, {2, 0, 0, 3}, {3, 0, 0, 3}, {3, 12, 0, 2}, {2, 6, 0, 4}},
                     {{1, 7, 2}, {1, 1, 3}})));
    // With 30 special days used the new point stays although its special day does not fit.
    ScheduleParams full = BaseSchedule();
    for (uint8_t i = 0; i < 29; ++i)
        full.SpecialDays[full.SpecialDaysCount++] = {2, static_cast<uint8_t>(i + 1), 1};
    EXPECT_EQ(Kel_EnergyShared_Schedule_AddSpecialValue(3, 8, 0, 0, 1, &full), Kel_BadOutOfRange);
    EXPECT_EQ(full.SpecialDaysCount * 100 + full.DaysCount * 10 + full.Days[3].DayId, 3043);
}

namespace
{
// The tariffs on every date and weekday at each half hour of the records below and the minute before.
std::vector<int> Answers(const ScheduleParams& s)
{
    std::vector<int> answers;
    for (uint8_t month = 1; month <= 12; ++month)
        for (uint8_t day = 1; day <= 31; ++day)
            for (uint8_t weekDay = 0; weekDay < 7; ++weekDay)
                for (int m = 0; m < 1440; m += m % 30 == 0 ? 29 : 1)
                    answers.push_back(ValueAt(s, month, day, weekDay, uint8_t(m / 60), uint8_t(m % 60)));
    return answers;
}
} // namespace

TEST(ScheduleProperty, ShrinkKeepsEveryAnswerAndTheBinaryFormRoundTrips)
{
    // Records with repeats at every level, out of order; all but the first have something to merge.
    const ScheduleParams records[] = {
        BaseSchedule(),
        MakeSchedule({{6, 1, 2}, {1, 1, 1}}, {{1, {3, 3, 3, 3, 3, 5, 5}}, AllDays(2, 5)},
                     {{5, 23, 0, 2}, {5, 7, 0, 1}, {3, 7, 0, 1}, {3, 23, 0, 2}}, {{5, 9, 3}, {1, 1, 5}}),
        MakeSchedule({{9, 1, 1}, {1, 1, 2}, {5, 1, 3}}, {AllDays(3, 2), AllDays(2, 1), AllDays(1, 1)},
                     {{2, 12, 0, 3}, {1, 0, 0, 1}, {2, 0, 0, 2}}, {{2, 28, 2}}),
        MakeSchedule({{10, 1, 2}, {4, 1, 1}, {1, 1, 1}, {12, 1, 1}},
                     {AllDays(1, 1), {2, {1, 1, 2, 2, 1, 1, 2}}},
                     {{2, 6, 30, 4}, {1, 0, 0, 1}, {2, 0, 0, 3}}),
    };
    int merged = 0;
    for (const ScheduleParams& record : records)
    {
        ScheduleParams s = record;
        ASSERT_EQ(Verify(s, 4, 1, KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX), Kel_Good);
        ScheduleParams shrunk = s;
        ASSERT_EQ(Kel_EnergyShared_Schedule_Shrink(&shrunk), Kel_Good);
        EXPECT_EQ(Answers(shrunk), Answers(s));
        merged += SameBytes(shrunk, s) ? 0 : 1;
        // Still valid, nothing more to merge, and both come back from their binary form exactly.
        ScheduleParams again = shrunk;
        ASSERT_EQ(Verify(again, 4, 1, KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX), Kel_Good);
        ASSERT_EQ(Kel_EnergyShared_Schedule_Shrink(&again), Kel_Good);
        EXPECT_TRUE(SameBytes(again, shrunk));
        for (const ScheduleParams* pRecord : {&s, &shrunk})
        {
            const std::vector<uint8_t> bytes = ToBytes(*pRecord);
            ScheduleParams back;
            memset(&back, 0x5A, sizeof(back));
            uint32_t index = 0;
            ASSERT_EQ(FromBytes(bytes, back, index), Kel_Good);
            EXPECT_EQ(index, bytes.size());
            EXPECT_TRUE(SameBytes(back, *pRecord));
        }
    }
    EXPECT_EQ(merged, 3);
}
