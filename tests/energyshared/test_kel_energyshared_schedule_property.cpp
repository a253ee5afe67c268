// Properties over many generated schedules: the binary form round-trips exactly, and merging
// duplicates (Shrink) does not change the tariff that the lookup finds at any date and time. (Streams
// that would overrun the record are the reader's bound checks and its fuzz target.)
//
// The generated schedules have distinct week ids, distinct season starts and distinct times within a
// day schedule. Where two entries tie on their sort key (two seasons starting on one date, two points
// of one day at one time, two weeks with one id), the lookup takes the one earlier in the record and
// the sort is not stable, so the answer for such a record depends on the sort both before and after
// Shrink; such records are left out.
#include "schedule_helpers.h"

#include <algorithm>
#include <array>
#include <random>
#include <set>

namespace
{
int Pick(std::mt19937& rng, int lo, int hi)
{
    return std::uniform_int_distribution<int>(lo, hi)(rng);
}

uint8_t U8(int value)
{
    return static_cast<uint8_t>(value);
}

// A valid schedule with repeats at every level: day schedules copied from a few templates, weeks from a
// few patterns, seasons naming a few weeks; entries in random order.
ScheduleParams Generate(std::mt19937& rng)
{
    ScheduleParams s{};
    std::vector<std::vector<std::array<uint8_t, 3>>> templates(Pick(rng, 1, 4));
    for (auto& points : templates)
    {
        std::set<int> minutes;
        const size_t count = static_cast<size_t>(Pick(rng, 1, 6));
        while (minutes.size() < count)
            minutes.insert(Pick(rng, 0, 1439));
        for (int m : minutes)
            points.push_back({U8(m / 60), U8(m % 60), U8(Pick(rng, 1, 4))});
    }

    std::vector<uint8_t> dayIds;
    std::set<int> usedDayIds;
    const int daySchedules = Pick(rng, 1, 14);
    for (int k = 0; k < daySchedules; ++k)
    {
        const auto& points = templates[Pick(rng, 0, static_cast<int>(templates.size()) - 1)];
        if (s.DaysCount + points.size() > KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX)
            break;
        int id = 0;
        do
            id = Pick(rng, 1, 90);
        while (!usedDayIds.insert(id).second);
        dayIds.push_back(U8(id));
        for (const auto& p : points)
            s.Days[s.DaysCount++] = {U8(id), p[0], p[1], p[2]};
    }

    std::vector<std::array<uint8_t, 7>> patterns(Pick(rng, 1, 3));
    for (auto& pattern : patterns)
        for (auto& dayId : pattern)
            dayId = dayIds[Pick(rng, 0, static_cast<int>(dayIds.size()) - 1)];
    std::vector<uint8_t> weekIds;
    std::set<int> usedWeekIds;
    const int weeks = Pick(rng, 1, 12);
    for (int k = 0; k < weeks; ++k)
    {
        int id = 0;
        do
            id = Pick(rng, 1, 40);
        while (!usedWeekIds.insert(id).second);
        weekIds.push_back(U8(id));
        ScheduleWeek& week = s.Weeks[s.WeeksCount++];
        week.WeekId = U8(id);
        const auto& pattern = patterns[Pick(rng, 0, static_cast<int>(patterns.size()) - 1)];
        std::copy(pattern.begin(), pattern.end(), week.DayIds);
    }

    std::set<std::pair<int, int>> starts;
    const size_t seasons = static_cast<size_t>(Pick(rng, 1, 12));
    while (starts.size() < seasons)
        starts.insert({Pick(rng, 1, 12), Pick(rng, 1, 31)});
    for (const auto& [month, day] : starts)
        s.Seasons[s.SeasonsCount++] = {U8(month), U8(day),
                                       weekIds[Pick(rng, 0, static_cast<int>(weekIds.size()) - 1)]};

    std::set<std::pair<int, int>> holidays;
    const size_t specials = static_cast<size_t>(Pick(rng, 0, 8));
    while (holidays.size() < specials)
        holidays.insert({Pick(rng, 1, 12), Pick(rng, 1, 31)});
    for (const auto& [month, day] : holidays)
        s.SpecialDays[s.SpecialDaysCount++] = {U8(month), U8(day),
                                               dayIds[Pick(rng, 0, static_cast<int>(dayIds.size()) - 1)]};

    std::shuffle(s.Seasons, s.Seasons + s.SeasonsCount, rng);
    std::shuffle(s.Weeks, s.Weeks + s.WeeksCount, rng);
    std::shuffle(s.Days, s.Days + s.DaysCount, rng);
    std::shuffle(s.SpecialDays, s.SpecialDays + s.SpecialDaysCount, rng);
    return s;
}

// Where the answer may change: every season start, the day before it and the ends of the year; every
// switch time, the minute before it, 00:00 and 23:59.
struct Samples
{
    std::set<std::pair<int, int>> dates = {{1, 1}, {12, 31}};
    std::set<int> minutes = {0, 1439};
};

Samples SamplesOf(const ScheduleParams& s)
{
    Samples samples;
    for (uint8_t i = 0; i < s.SeasonsCount; ++i)
    {
        const ScheduleSeason& season = s.Seasons[i];
        samples.dates.insert({season.Month, season.Day});
        if (season.Day > 1)
            samples.dates.insert({season.Month, season.Day - 1});
        else if (season.Month > 1)
            samples.dates.insert({season.Month - 1, 31});
    }
    for (uint8_t i = 0; i < s.DaysCount; ++i)
    {
        const int m = s.Days[i].Hour * 60 + s.Days[i].Minute;
        samples.minutes.insert(m);
        if (m > 0)
            samples.minutes.insert(m - 1);
    }
    return samples;
}

// The tariffs found at the sample dates and times, on every weekday.
std::vector<int> Answers(const ScheduleParams& s, const Samples& samples)
{
    std::vector<int> answers;
    for (const auto& [month, day] : samples.dates)
        for (uint8_t weekDay = 0; weekDay < 7; ++weekDay)
            for (int m : samples.minutes)
            {
                const ScheduleDay* pDay = nullptr;
                EXPECT_EQ(Kel_EnergyShared_Schedule_GetValue(&s, U8(month), U8(day), weekDay, U8(m / 60),
                                                             U8(m % 60), &pDay),
                          Kel_Good);
                answers.push_back(pDay == nullptr ? -1 : pDay->ScheduleValue);
            }
    return answers;
}

Kel_StatusCode Read(std::vector<uint8_t>& rBytes, ScheduleParams& rSchedule)
{
    Kel_Memory_Context memory{};
    Kel_Memory_CreateContext(&memory, rBytes.data(), static_cast<int32_t>(rBytes.size()));
    uint32_t index = 0;
    return Kel_EnergyShared_Schedule_DataToScheduleParams(&memory, &index, &rSchedule);
}
} // namespace

TEST(ScheduleProperty, ShrinkKeepsEveryAnswerAndRoundTripsExactly)
{
    std::mt19937 rng(310);
    int merged = 0;
    for (int n = 0; n < 150; ++n)
    {
        SCOPED_TRACE(n);
        ScheduleParams s = Generate(rng);
        ASSERT_EQ(Kel_EnergyShared_Schedule_VerifySchedule(&s, 4, 1, KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX),
                  Kel_Good);

        std::vector<uint8_t> bytes = ToBytes(s);
        ASSERT_EQ(bytes.size(),
                  4u + 3 * s.SeasonsCount + 8 * s.WeeksCount + 4 * s.DaysCount + 3 * s.SpecialDaysCount);
        ScheduleParams back;
        memset(&back, 0x5A, sizeof(back));
        ASSERT_EQ(Read(bytes, back), Kel_Good);
        ASSERT_TRUE(SameBytes(back, s));

        const Samples samples = SamplesOf(s);
        const std::vector<int> before = Answers(s, samples);
        ScheduleParams shrunk = s;
        ASSERT_EQ(Kel_EnergyShared_Schedule_Shrink(&shrunk), Kel_Good);
        ASSERT_EQ(Answers(shrunk, samples), before);
        if (!SameBytes(shrunk, s))
            merged++;

        // The result is still a valid schedule, and a second Shrink finds nothing more to merge.
        ScheduleParams again = shrunk;
        ASSERT_EQ(Kel_EnergyShared_Schedule_VerifySchedule(&again, 4, 1, KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX),
                  Kel_Good);
        ASSERT_EQ(Kel_EnergyShared_Schedule_Shrink(&again), Kel_Good);
        ASSERT_TRUE(SameBytes(again, shrunk));

        std::vector<uint8_t> shrunkBytes = ToBytes(shrunk);
        ASSERT_EQ(Read(shrunkBytes, back), Kel_Good);
        ASSERT_TRUE(SameBytes(back, shrunk));
    }
    // The generator makes repeats on purpose: most records must actually have been merged.
    EXPECT_GT(merged, 100);
}

TEST(ScheduleProperty, AnyRecordWithinTheCapacitiesRoundTrips)
{
    std::mt19937 rng(1);
    for (int n = 0; n < 200; ++n)
    {
        SCOPED_TRACE(n);
        // Random counts, and every tenth record full to every capacity.
        const bool full = n % 10 == 0;
        ScheduleParams s{};
        s.SeasonsCount = U8(full ? 12 : Pick(rng, 0, 12));
        s.WeeksCount = U8(full ? 12 : Pick(rng, 0, 12));
        s.DaysCount = U8(full ? 84 : Pick(rng, 0, 84));
        s.SpecialDaysCount = U8(full ? 30 : Pick(rng, 0, 30));
        uint8_t* seasons = &s.Seasons[0].Month;
        std::generate(seasons, seasons + 3 * s.SeasonsCount, [&] { return U8(Pick(rng, 0, 255)); });
        uint8_t* weeks = &s.Weeks[0].WeekId;
        std::generate(weeks, weeks + 8 * s.WeeksCount, [&] { return U8(Pick(rng, 0, 255)); });
        uint8_t* days = &s.Days[0].DayId;
        std::generate(days, days + 4 * s.DaysCount, [&] { return U8(Pick(rng, 0, 255)); });
        uint8_t* specials = &s.SpecialDays[0].Month;
        std::generate(specials, specials + 3 * s.SpecialDaysCount, [&] { return U8(Pick(rng, 0, 255)); });

        std::vector<uint8_t> bytes = ToBytes(s);
        ASSERT_EQ(bytes.size(),
                  4u + 3 * s.SeasonsCount + 8 * s.WeeksCount + 4 * s.DaysCount + 3 * s.SpecialDaysCount);
        ScheduleParams back;
        memset(&back, 0xFF, sizeof(back));
        ASSERT_EQ(Read(bytes, back), Kel_Good);
        ASSERT_TRUE(SameBytes(back, s));
    }
}
