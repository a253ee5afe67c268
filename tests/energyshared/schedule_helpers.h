// Helpers shared by the energy model tests and the tariff transfer tests: building schedule records
// and the binary form as a byte vector.
#pragma once

#include "protocols/shared/kel_energyshared_schedule.h"

#include "shared/trace_capture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <vector>

inline ScheduleParams MakeSchedule(std::initializer_list<ScheduleSeason> aSeasons,
                                   std::initializer_list<ScheduleWeek> aWeeks,
                                   std::initializer_list<ScheduleDay> aDays,
                                   std::initializer_list<ScheduleSpecial> aSpecialDays = {})
{
    ScheduleParams s{};
    for (const ScheduleSeason& season : aSeasons)
        s.Seasons[s.SeasonsCount++] = season;
    for (const ScheduleWeek& week : aWeeks)
        s.Weeks[s.WeeksCount++] = week;
    for (const ScheduleDay& day : aDays)
        s.Days[s.DaysCount++] = day;
    for (const ScheduleSpecial& special : aSpecialDays)
        s.SpecialDays[s.SpecialDaysCount++] = special;
    return s;
}

inline ScheduleWeek AllDays(uint8_t aWeekId, uint8_t aDayId)
{
    return ScheduleWeek{aWeekId, {aDayId, aDayId, aDayId, aDayId, aDayId, aDayId, aDayId}};
}

// The binary form written at cursor 0 of a fresh growable buffer.
inline std::vector<uint8_t> ToBytes(const ScheduleParams& aSchedule, Kel_StatusCode aExpected = Kel_Good)
{
    Kel_Memory_Context memory{};
    EXPECT_EQ(Kel_Memory_Alloc(&memory, 0), Kel_Good);
    uint32_t index = 0;
    EXPECT_EQ(Kel_EnergyShared_Schedule_ScheduleParamsToData(&aSchedule, &memory, &index), aExpected);
    std::vector<uint8_t> bytes(memory.data, memory.data + index);
    Kel_Memory_Free(&memory);
    return bytes;
}

inline bool SameBytes(const ScheduleParams& a, const ScheduleParams& b)
{
    return memcmp(&a, &b, sizeof(ScheduleParams)) == 0;
}
