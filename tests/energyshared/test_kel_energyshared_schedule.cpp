// The tariff schedule record: the default schedule and validation, the binary form and its bounds,
// merging of duplicates, the lookup rules and point-by-point building.
#include "schedule_helpers.h"

#include <functional>

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

TEST(ScheduleVerify, EmptyRecordBecomesTheDefaultSchedule)
{
    ScheduleParams s{};
    ASSERT_EQ(Verify(s, 4, 2, 8), Kel_Good);
    // One season from 1 January, one week of day schedule 1, one point 00:00 with the default tariff.
    EXPECT_EQ(ToBytes(s), (std::vector<uint8_t>{0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01,
                                                0x01, 0x01, 0x01, 0x01, 0x01, 0x00, 0x00, 0x02, 0x00}));
    EXPECT_TRUE(SameBytes(s, MakeSchedule({{1, 1, 1}}, {AllDays(1, 1)}, {{1, 0, 0, 2}})));

    ScheduleParams one{};
    EXPECT_EQ(Verify(one, 4, 1, 8), Kel_Good);
    EXPECT_EQ(one.Days[0].ScheduleValue, 1);
    // The default tariff is checked like any other: 0, or above the maximum, fails.
    ScheduleParams zero{};
    EXPECT_EQ(Verify(zero, 4, 0, 8), Kel_BadInvalidArgument);
    ScheduleParams above{};
    EXPECT_EQ(Verify(above, 4, 5, 8), Kel_BadInvalidArgument);
    // Without seasons, any other entry makes the record invalid instead of being replaced.
    ScheduleParams special{};
    special.SpecialDays[0] = {1, 1, 1};
    special.SpecialDaysCount = 1;
    EXPECT_EQ(Verify(special, 4, 1, 8), Kel_BadInvalidArgument);
    EXPECT_EQ(special.SeasonsCount, 0);
}

TEST(ScheduleVerify, RefusesEachBrokenRule)
{
    ScheduleParams base = BaseSchedule();
    ASSERT_EQ(Verify(base, 4, 1, 2), Kel_Good);

    const std::vector<std::pair<const char*, std::function<void(ScheduleParams&)>>> broken = {
        {"season month 13", [](ScheduleParams& s) { s.Seasons[1].Month = 13; }},
        {"season month 0", [](ScheduleParams& s) { s.Seasons[1].Month = 0; }},
        {"season day 0", [](ScheduleParams& s) { s.Seasons[1].Day = 0; }},
        {"season day 32", [](ScheduleParams& s) { s.Seasons[1].Day = 32; }},
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
         [](ScheduleParams& s) {
             s.Days[s.DaysCount++] = {1, 12, 0, 1};
         }},
        {"special month 0", [](ScheduleParams& s) { s.SpecialDays[0].Month = 0; }},
        {"special day 32", [](ScheduleParams& s) { s.SpecialDays[0].Day = 32; }},
        {"special day 0 id", [](ScheduleParams& s) { s.SpecialDays[0].DayId = 0; }},
        {"special names a day without points", [](ScheduleParams& s) { s.SpecialDays[0].DayId = 7; }},
    };
    for (const auto& [name, breakIt] : broken)
    {
        SCOPED_TRACE(name);
        ScheduleParams s = BaseSchedule();
        breakIt(s);
        EXPECT_EQ(Verify(s, 4, 1, 2), Kel_BadInvalidArgument);
    }

    // The limit of points per day schedule is inclusive, and below 1 fails on the first point.
    ScheduleParams three = BaseSchedule();
    three.Days[three.DaysCount++] = {1, 12, 0, 1};
    EXPECT_EQ(Verify(three, 4, 1, 3), Kel_Good);
    ScheduleParams none = BaseSchedule();
    EXPECT_EQ(Verify(none, 4, 1, 0), Kel_BadInvalidArgument);

    // Rules that are deliberately not checked: 31 April, a first season after 1 January, a day
    // schedule without a point at 00:00, sparse identifiers.
    ScheduleParams loose = MakeSchedule({{4, 31, 7}}, {AllDays(7, 40)}, {{40, 6, 30, 1}});
    EXPECT_EQ(Verify(loose, 4, 1, 2), Kel_Good);

    // A count above its capacity is refused before anything reaches past the record.
    ScheduleParams overfull = BaseSchedule();
    overfull.DaysCount = 85;
    EXPECT_EQ(Verify(overfull, 4, 1, 2), Kel_BadOutOfRange);
}

TEST(ScheduleVerify, SortsEveryArray)
{
    ScheduleParams s =
        MakeSchedule({{10, 1, 2}, {1, 1, 1}, {4, 15, 1}, {4, 1, 2}}, {AllDays(2, 2), AllDays(1, 1)},
                     {{2, 23, 0, 2}, {1, 7, 30, 1}, {2, 7, 0, 1}, {1, 7, 5, 2}, {1, 0, 0, 3}},
                     {{12, 31, 1}, {1, 7, 2}, {5, 1, 1}});
    ASSERT_EQ(Verify(s, 4, 1, 8), Kel_Good);
    const ScheduleParams sorted =
        MakeSchedule({{1, 1, 1}, {4, 1, 2}, {4, 15, 1}, {10, 1, 2}}, {AllDays(1, 1), AllDays(2, 2)},
                     {{1, 0, 0, 3}, {1, 7, 5, 2}, {1, 7, 30, 1}, {2, 7, 0, 1}, {2, 23, 0, 2}},
                     {{1, 7, 2}, {5, 1, 1}, {12, 31, 1}});
    EXPECT_TRUE(SameBytes(s, sorted));
}

TEST(ScheduleBinary, LayoutAndExactRoundTrip)
{
    const ScheduleParams base = BaseSchedule();
    const std::vector<uint8_t> bytes = ToBytes(base);
    EXPECT_EQ(bytes, (std::vector<uint8_t>{0x02, 1, 1, 1, 4, 1, 2,                               // seasons
                                           0x02, 1, 1, 1, 1, 1, 1, 1, 1, 2, 1, 1, 1, 1, 1, 2, 2, // weeks
                                           0x03, 1, 0, 0, 1, 1, 7, 0, 2, 2, 0, 0, 3,             // points
                                           0x01, 1, 7, 2})); // special days
    EXPECT_EQ(bytes.size(), 4u + 3 * 2 + 8 * 2 + 4 * 3 + 3 * 1);

    // The reader zero-fills the record first: unused slots come back as zeros whatever was there.
    ScheduleParams back;
    memset(&back, 0xAA, sizeof(back));
    uint32_t index = 0;
    ASSERT_EQ(FromBytes(bytes, back, index), Kel_Good);
    EXPECT_EQ(index, bytes.size());
    EXPECT_TRUE(SameBytes(back, base));

    // The writer appends at the cursor and leaves the bytes before it alone.
    Kel_Memory_Context memory{};
    ASSERT_EQ(Kel_Memory_Alloc(&memory, 0), Kel_Good);
    uint32_t cursor = 0;
    ASSERT_EQ(Kel_Memory_UInt16ToData(0xBEEF, &memory, &cursor, KEL_BYTEORDER_REVERSE), Kel_Good);
    ASSERT_EQ(Kel_EnergyShared_Schedule_ScheduleParamsToData(&base, &memory, &cursor), Kel_Good);
    EXPECT_EQ(cursor, 2 + bytes.size());
    EXPECT_EQ(memory.data[0], 0xBE);
    EXPECT_EQ(std::vector<uint8_t>(memory.data + 2, memory.data + cursor), bytes);
    uint32_t readCursor = 2;
    ASSERT_EQ(Kel_EnergyShared_Schedule_DataToScheduleParams(&memory, &readCursor, &back), Kel_Good);
    EXPECT_EQ(readCursor, cursor);
    EXPECT_TRUE(SameBytes(back, base));
    Kel_Memory_Free(&memory);
}

TEST(ScheduleBinary, ReaderBoundsEveryCount)
{
    // Stream with the given counts and as many entries as each count asks (entry bytes all 0x11).
    auto stream = [](uint8_t seasons, uint8_t weeks, uint8_t days, uint8_t specials)
    {
        std::vector<uint8_t> b;
        b.push_back(seasons);
        b.insert(b.end(), 3u * seasons, 0x11);
        b.push_back(weeks);
        b.insert(b.end(), 8u * weeks, 0x11);
        b.push_back(days);
        b.insert(b.end(), 4u * days, 0x11);
        b.push_back(specials);
        b.insert(b.end(), 3u * specials, 0x11);
        return b;
    };
    ScheduleParams s;
    uint32_t index = 0;

    // 13 seasons: twelve are stored, then the read stops.
    ASSERT_EQ(FromBytes(stream(13, 0, 0, 0), s, index), Kel_BadOutOfRange);
    EXPECT_EQ(index, 1u + 12 * 3);
    EXPECT_EQ(s.SeasonsCount, 12);
    EXPECT_EQ(s.Seasons[11].WeekId, 0x11);
    EXPECT_EQ(s.WeeksCount, 0);

    ASSERT_EQ(FromBytes(stream(0, 13, 0, 0), s, index), Kel_BadOutOfRange);
    EXPECT_EQ(index, 2u + 12 * 8);
    EXPECT_EQ(s.WeeksCount, 12);

    // Points and special days are bounded the same way, so no stream can reach past the record.
    ASSERT_EQ(FromBytes(stream(0, 0, 85, 0), s, index), Kel_BadOutOfRange);
    EXPECT_EQ(index, 3u + 84 * 4);
    EXPECT_EQ(s.DaysCount, 84);
    EXPECT_EQ(s.Days[83].ScheduleValue, 0x11);
    ASSERT_EQ(FromBytes(stream(0, 0, 255, 0), s, index), Kel_BadOutOfRange);
    EXPECT_EQ(s.DaysCount, 84);
    EXPECT_EQ(s.SpecialDaysCount, 0);

    ASSERT_EQ(FromBytes(stream(0, 0, 0, 31), s, index), Kel_BadOutOfRange);
    EXPECT_EQ(index, 4u + 30 * 3);
    EXPECT_EQ(s.SpecialDaysCount, 30);

    // Exactly at the capacities the read succeeds.
    ASSERT_EQ(FromBytes(stream(12, 12, 84, 30), s, index), Kel_Good);
    EXPECT_EQ(index, 4u + 36 + 96 + 336 + 90);

    // A stream that ends early fails in the data buffer.
    std::vector<uint8_t> cut = stream(1, 1, 1, 0);
    cut.pop_back();
    EXPECT_EQ(FromBytes(cut, s, index), Kel_Bad);
}

TEST(ScheduleBinary, WriterRefusesCountsAboveTheCapacities)
{
    ScheduleParams s = BaseSchedule();
    s.SeasonsCount = 13;
    EXPECT_TRUE(ToBytes(s, Kel_BadOutOfRange).empty());
    // A later section: the sections before it are written, nothing from beyond the points array.
    s = BaseSchedule();
    s.DaysCount = 85;
    EXPECT_EQ(ToBytes(s, Kel_BadOutOfRange).size(), 1u + 3 * 2 + 1 + 8 * 2);

    EXPECT_EQ(Kel_EnergyShared_Schedule_ScheduleParamsToData(nullptr, nullptr, nullptr),
              Kel_BadInvalidArgument);
}

TEST(ScheduleShrink, MergesEqualDaySchedulesWhateverTheirOrder)
{
    // Day schedules 3 and 5 are both 07:00 T1 / 23:00 T2; 5 is written first and with its points
    // in the other order.
    const ScheduleParams expected =
        MakeSchedule({{1, 1, 1}, {6, 1, 2}}, {{1, {3, 3, 3, 3, 3, 3, 3}}, {2, {3, 3, 3, 3, 3, 3, 3}}},
                     {{3, 7, 0, 1}, {3, 23, 0, 2}}, {{1, 1, 3}, {5, 9, 3}});
    for (const bool fiveFirst : {false, true})
    {
        SCOPED_TRACE(fiveFirst ? "5 first" : "3 first");
        ScheduleParams s =
            fiveFirst ? MakeSchedule({{1, 1, 1}, {6, 1, 2}}, {{1, {3, 3, 3, 3, 3, 5, 5}}, AllDays(2, 5)},
                                     {{5, 23, 0, 2}, {5, 7, 0, 1}, {3, 7, 0, 1}, {3, 23, 0, 2}},
                                     {{5, 9, 3}, {1, 1, 5}})
                      : MakeSchedule({{1, 1, 1}, {6, 1, 2}}, {{1, {3, 3, 3, 3, 3, 5, 5}}, AllDays(2, 5)},
                                     {{3, 7, 0, 1}, {3, 23, 0, 2}, {5, 23, 0, 2}, {5, 7, 0, 1}},
                                     {{1, 1, 5}, {5, 9, 3}});
        ASSERT_EQ(Kel_EnergyShared_Schedule_ShrinkDays(&s), Kel_Good);
        EXPECT_TRUE(SameBytes(s, expected)) << ::testing::PrintToString(ToBytes(s));
    }

    // Three equal schedules merge into the smallest id; an exact duplicate point is dropped.
    ScheduleParams three = MakeSchedule({{1, 1, 1}}, {{1, {2, 4, 6, 2, 4, 6, 2}}},
                                        {{6, 0, 0, 1}, {4, 0, 0, 1}, {2, 0, 0, 1}, {2, 0, 0, 1}});
    ASSERT_EQ(Kel_EnergyShared_Schedule_ShrinkDays(&three), Kel_Good);
    EXPECT_TRUE(SameBytes(three, MakeSchedule({{1, 1, 1}}, {AllDays(1, 2)}, {{2, 0, 0, 1}})));
}

TEST(ScheduleShrink, KeepsDaySchedulesThatDiffer)
{
    // Same times, one tariff different.
    ScheduleParams tariff = MakeSchedule({{1, 1, 1}}, {{1, {3, 3, 3, 3, 3, 5, 5}}},
                                         {{3, 7, 0, 1}, {3, 23, 0, 2}, {5, 7, 0, 1}, {5, 23, 0, 3}});
    const ScheduleParams tariffBefore = tariff;
    ASSERT_EQ(Kel_EnergyShared_Schedule_ShrinkDays(&tariff), Kel_Good);
    EXPECT_TRUE(SameBytes(tariff, tariffBefore));

    // One schedule holds every point of the other and one more.
    ScheduleParams extra =
        MakeSchedule({{1, 1, 1}}, {{1, {3, 3, 3, 3, 3, 5, 5}}},
                     {{3, 7, 0, 1}, {3, 23, 0, 2}, {5, 7, 0, 1}, {5, 12, 0, 1}, {5, 23, 0, 2}});
    const ScheduleParams extraBefore = extra;
    ASSERT_EQ(Kel_EnergyShared_Schedule_ShrinkDays(&extra), Kel_Good);
    EXPECT_TRUE(SameBytes(extra, extraBefore));
}

TEST(ScheduleShrink, MergesWeeksAndSeasons)
{
    // Weeks 1 and 2 name the same day schedules: seasons of week 2 move to week 1. Week 3 appears
    // twice exactly: the copy goes.
    ScheduleParams weeks = MakeSchedule({{1, 1, 2}, {5, 1, 3}, {9, 1, 1}},
                                        {AllDays(3, 2), AllDays(2, 1), AllDays(1, 1), AllDays(3, 2)},
                                        {{1, 0, 0, 1}, {2, 0, 0, 2}});
    ASSERT_EQ(Kel_EnergyShared_Schedule_ShrinkWeeks(&weeks), Kel_Good);
    EXPECT_TRUE(SameBytes(weeks, MakeSchedule({{1, 1, 1}, {5, 1, 3}, {9, 1, 1}},
                                              {AllDays(1, 1), AllDays(3, 2)}, {{1, 0, 0, 1}, {2, 0, 0, 2}})));

    // Consecutive seasons of one week merge into the earlier start (given unsorted here).
    ScheduleParams seasons =
        MakeSchedule({{10, 1, 2}, {4, 1, 1}, {1, 1, 1}}, {AllDays(1, 1), AllDays(2, 1)}, {{1, 0, 0, 1}});
    ASSERT_EQ(Kel_EnergyShared_Schedule_ShrinkSeasons(&seasons), Kel_Good);
    EXPECT_TRUE(SameBytes(
        seasons, MakeSchedule({{1, 1, 1}, {10, 1, 2}}, {AllDays(1, 1), AllDays(2, 1)}, {{1, 0, 0, 1}})));

    // The last season of the year does not merge with the first.
    ScheduleParams noWrap =
        MakeSchedule({{1, 1, 1}, {6, 1, 2}, {10, 1, 1}}, {AllDays(1, 1), AllDays(2, 1)}, {{1, 0, 0, 1}});
    const ScheduleParams noWrapBefore = noWrap;
    ASSERT_EQ(Kel_EnergyShared_Schedule_ShrinkSeasons(&noWrap), Kel_Good);
    EXPECT_TRUE(SameBytes(noWrap, noWrapBefore));
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
              "<-- ReturnError: 0x803C0000\n" + file +                                    //
                  "--- GotoError: Bad statuscode 0x803C0000\n" + file +                   //
                  "<-- \"Kel_EnergyShared_Schedule_ShrinkWeeks\" = 0x803C0000 (BAD).\n" + // name kept
                  file +                                                                  //
                  "<-- ReturnError: weekDay > 6 is true! Return 0x80AB0000\n" + file +    //
                  "<-- ReturnError: Arg ppDay is NULL!\n" + file +                        //
                  "--- GotoError: Kel_BadInvalidArgument. Statuscode 0x80AB0000\n" + file +
                  "<-- \"Kel_EnergyShared_Schedule_VerifySchedule\" = 0x80AB0000 (BAD).\n" + file);
}

TEST(ScheduleLookup, SeasonsDoNotWrapToTheEndOfTheYear)
{
    // Seasons from 1 March (week 1: tariff 1 all day) and 1 October (week 2: tariff 2 all day).
    ScheduleParams s =
        MakeSchedule({{3, 1, 1}, {10, 1, 2}}, {AllDays(1, 1), AllDays(2, 2)}, {{1, 0, 0, 1}, {2, 0, 0, 2}});
    ASSERT_EQ(Verify(s, 4, 1, 8), Kel_Good);
    EXPECT_EQ(ValueAt(s, 1, 15, 0, 12, 0), 1); // before the first start: the first season, not October's
    EXPECT_EQ(ValueAt(s, 2, 29, 3, 12, 0), 1);
    EXPECT_EQ(ValueAt(s, 9, 30, 3, 23, 59), 1);
    EXPECT_EQ(ValueAt(s, 10, 1, 3, 0, 0), 2);
    EXPECT_EQ(ValueAt(s, 12, 31, 6, 23, 59), 2);

    // Two seasons starting on the same date: the one earlier in the record wins.
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

    const ScheduleDay* pDay = nullptr;
    EXPECT_EQ(Kel_EnergyShared_Schedule_GetValue(&s, 13, 1, 0, 0, 0, &pDay), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_EnergyShared_Schedule_GetSeason(&s, 0, 1, &pSeason), Kel_BadInvalidArgument);
    // A count that runs past the capacity fails when the scan gets there.
    s.SeasonsCount = 13;
    EXPECT_EQ(Kel_EnergyShared_Schedule_GetSeason(&s, 12, 31, &pSeason), Kel_BadOutOfRange);
}

TEST(ScheduleLookup, DayBeforeItsFirstSwitchPoint)
{
    // Weekday index 2 uses day schedule 4: 07:00 T1, 23:00 T2 (no point at 00:00).
    ScheduleParams s =
        MakeSchedule({{1, 1, 1}}, {{1, {1, 1, 4, 1, 1, 1, 1}}}, {{1, 0, 0, 3}, {4, 7, 0, 1}, {4, 23, 0, 2}});
    ASSERT_EQ(Verify(s, 4, 1, 8), Kel_Good);
    const ScheduleDay* pDay = nullptr;
    ASSERT_EQ(Kel_EnergyShared_Schedule_GetDay(&s, 4, 3, 0, &pDay), Kel_Good);
    EXPECT_EQ(pDay, &s.Days[1]); // the 07:00 point, not the previous evening's 23:00
    EXPECT_EQ(ValueAt(s, 5, 5, 2, 0, 0), 1);
    EXPECT_EQ(ValueAt(s, 5, 5, 2, 7, 0), 1);
    EXPECT_EQ(ValueAt(s, 5, 5, 2, 22, 59), 1);
    EXPECT_EQ(ValueAt(s, 5, 5, 2, 23, 0), 2);
    EXPECT_EQ(ValueAt(s, 5, 5, 2, 23, 59), 2);
    EXPECT_EQ(ValueAt(s, 5, 5, 3, 23, 59), 3);
    ASSERT_EQ(Kel_EnergyShared_Schedule_GetDay(&s, 9, 12, 0, &pDay), Kel_Good);
    EXPECT_EQ(pDay, nullptr);

    // On an unsorted record the later point wins by the loose test: 09:30 after 10:00 at 11:00
    // (an earlier hour with a larger minute).
    ScheduleParams loose = MakeSchedule({{1, 1, 1}}, {AllDays(1, 1)}, {{1, 10, 0, 1}, {1, 9, 30, 2}});
    ASSERT_EQ(Kel_EnergyShared_Schedule_GetDay(&loose, 1, 11, 0, &pDay), Kel_Good);
    EXPECT_EQ(pDay, &loose.Days[1]);

    uint8_t maxValue = 0;
    ASSERT_EQ(Kel_EnergyShared_Schedule_GetScheduleMaxValue(&s, &maxValue), Kel_Good);
    EXPECT_EQ(maxValue, 3);
    EXPECT_EQ(Kel_EnergyShared_Schedule_GetDayIdMax(&s), 4);
    EXPECT_EQ(Kel_EnergyShared_Schedule_GetDayIdMax(nullptr), 0);
}

TEST(ScheduleBuild, TwelveEqualMonthsShrinkToOneSeason)
{
    // One point per weekday: Monday to Friday tariff 1, the weekend tariff 2; every month the same.
    // Twelve months of seven day schedules fill the 84 points exactly.
    ScheduleParams s{};
    for (uint8_t month = 1; month <= 12; ++month)
        for (uint8_t weekDay = 0; weekDay < 7; ++weekDay)
            ASSERT_EQ(Kel_EnergyShared_Schedule_AddValue(month, weekDay, 0, 0, weekDay < 5 ? 1 : 2, &s),
                      Kel_Good);
    EXPECT_EQ(s.SeasonsCount, 12);
    EXPECT_EQ(s.WeeksCount, 12);
    EXPECT_EQ(s.DaysCount, 84);
    EXPECT_EQ(s.Seasons[11].Month, 12);
    EXPECT_EQ(s.Seasons[11].WeekId, 12);
    EXPECT_EQ(s.Weeks[11].DayIds[6], 84);
    // Overwriting an existing point needs no room; a new point does not fit.
    EXPECT_EQ(Kel_EnergyShared_Schedule_AddValue(3, 1, 0, 0, 1, &s), Kel_Good);
    EXPECT_EQ(Kel_EnergyShared_Schedule_AddValue(3, 1, 12, 0, 1, &s), Kel_BadOutOfRange);

    ASSERT_EQ(Kel_EnergyShared_Schedule_Shrink(&s), Kel_Good);
    EXPECT_TRUE(
        SameBytes(s, MakeSchedule({{1, 1, 1}}, {{1, {1, 1, 1, 1, 1, 6, 6}}}, {{1, 0, 0, 1}, {6, 0, 0, 2}})));
}

TEST(ScheduleBuild, MonthByMonthWithShrinkKeepsTheTariffs)
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
    EXPECT_TRUE(SameBytes(s, MakeSchedule({{1, 1, 1}, {4, 1, 2}, {10, 1, 1}},
                                          {{1, {1, 1, 1, 1, 1, 6, 6}}, {2, {7, 7, 7, 7, 7, 6, 6}}},
                                          {{1, 0, 0, 2},
                                           {1, 7, 0, 1},
                                           {1, 23, 0, 2},
                                           {6, 0, 0, 2},
                                           {7, 0, 0, 2},
                                           {7, 6, 0, 1},
                                           {7, 22, 0, 2}})))
        << ::testing::PrintToString(ToBytes(s));
    EXPECT_EQ(ValueAt(s, 1, 15, 0, 6, 59), 2);
    EXPECT_EQ(ValueAt(s, 1, 15, 0, 7, 0), 1);
    EXPECT_EQ(ValueAt(s, 5, 15, 2, 6, 30), 1);
    EXPECT_EQ(ValueAt(s, 11, 15, 6, 12, 0), 2);

    // A month that cannot get a season of its own: twelve seasons start mid-month already.
    ScheduleParams mid{};
    for (uint8_t month = 1; month <= 12; ++month)
        mid.Seasons[mid.SeasonsCount++] = {month, 15, 1};
    EXPECT_EQ(Kel_EnergyShared_Schedule_AddValue(3, 0, 0, 0, 1, &mid), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_EnergyShared_Schedule_AddValue(3, 7, 0, 0, 1, &mid), Kel_BadInvalidArgument);
}

TEST(ScheduleBuild, SpecialDays)
{
    ScheduleParams s = BaseSchedule(); // day schedules 1 and 2, special day 7 January
    ASSERT_EQ(Kel_EnergyShared_Schedule_AddSpecialValue(1, 1, 0, 0, 3, &s), Kel_Good);
    ASSERT_EQ(Kel_EnergyShared_Schedule_AddSpecialValue(1, 1, 12, 0, 1, &s), Kel_Good);
    ASSERT_EQ(Kel_EnergyShared_Schedule_AddSpecialValue(1, 1, 12, 0, 2, &s), Kel_Good); // overwrites
    ASSERT_EQ(Kel_EnergyShared_Schedule_AddSpecialValue(1, 7, 6, 0, 4, &s), Kel_Good);  // existing day 2
    EXPECT_TRUE(SameBytes(
        s, MakeSchedule({{1, 1, 1}, {4, 1, 2}}, {AllDays(1, 1), {2, {1, 1, 1, 1, 1, 2, 2}}},
                        {{1, 0, 0, 1}, {1, 7, 0, 2}, {2, 0, 0, 3}, {3, 0, 0, 3}, {3, 12, 0, 2}, {2, 6, 0, 4}},
                        {{1, 7, 2}, {1, 1, 3}})));

    // With 30 special days used the new point stays although its special day does not fit.
    ScheduleParams full = BaseSchedule();
    for (uint8_t i = 0; i < 29; ++i)
        full.SpecialDays[full.SpecialDaysCount++] = {2, static_cast<uint8_t>(i + 1), 1};
    EXPECT_EQ(Kel_EnergyShared_Schedule_AddSpecialValue(3, 8, 0, 0, 1, &full), Kel_BadOutOfRange);
    EXPECT_EQ(full.SpecialDaysCount, 30);
    EXPECT_EQ(full.DaysCount, 4);
    EXPECT_EQ(full.Days[3].DayId, 3);
}
