// The meter-independent tariff schedule: one flat record of seasons, weeks, day schedules (switch
// points) and special days; its binary form, validation, merging of duplicates, the lookup of the
// tariff in force and the point-by-point building used when a schedule is read out of a meter.
#pragma once

#include "shared/kel_types.h"
#include "shared/kel_memory.h"

#include <type_traits>

// Capacities of the record (fixed).
constexpr uint8_t KEL_ENERGYSHARED_SCHEDULE_SEASONS_MAX = 12;
constexpr uint8_t KEL_ENERGYSHARED_SCHEDULE_WEEKS_MAX = 12;
constexpr uint8_t KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX = 84;
constexpr uint8_t KEL_ENERGYSHARED_SCHEDULE_SPECIALDAYS_MAX = 30;

// A season starts on Month/Day (1..12, 1..31) and lasts until the next season's start.
struct ScheduleSeason
{
    uint8_t Month;
    uint8_t Day;
    uint8_t WeekId; // not 0; names a ScheduleWeek
};

// A week names one day schedule per weekday index 0..6.
struct ScheduleWeek
{
    uint8_t WeekId; // not 0
    uint8_t DayIds[7];
};

// One switch point: from Hour:Minute on, tariff ScheduleValue is in force. All points with the same
// DayId form one day schedule.
struct ScheduleDay
{
    uint8_t DayId; // not 0
    uint8_t Hour;
    uint8_t Minute;
    uint8_t ScheduleValue; // 1 = first tariff
};

// A special day (holiday) uses the day schedule DayId on Month/Day.
struct ScheduleSpecial
{
    uint8_t Month;
    uint8_t Day;
    uint8_t DayId; // not 0
};

// The schedule record. Entries at positions at or beyond a count are all zero.
struct ScheduleParams
{
    ScheduleSeason Seasons[KEL_ENERGYSHARED_SCHEDULE_SEASONS_MAX];
    uint8_t SeasonsCount;
    ScheduleWeek Weeks[KEL_ENERGYSHARED_SCHEDULE_WEEKS_MAX];
    uint8_t WeeksCount;
    ScheduleDay Days[KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX];
    uint8_t DaysCount;
    ScheduleSpecial SpecialDays[KEL_ENERGYSHARED_SCHEDULE_SPECIALDAYS_MAX];
    uint8_t SpecialDaysCount;
};

static_assert(sizeof(ScheduleSeason) == 3 && sizeof(ScheduleWeek) == 8 && sizeof(ScheduleDay) == 4 &&
                  sizeof(ScheduleSpecial) == 3,
              "schedule entries are unpadded bytes");
static_assert(sizeof(ScheduleParams) == 12 * 3 + 1 + 12 * 8 + 1 + 84 * 4 + 1 + 30 * 3 + 1,
              "the schedule record is a flat byte record without padding");
static_assert(std::is_trivially_copyable_v<ScheduleParams> && std::is_standard_layout_v<ScheduleParams>);

// ---- Binary form: counts and entries, one byte each, in record order ----
// Appends 4 + 3S + 8W + 4D + 3P bytes at *pIndex.
Kel_StatusCode Kel_EnergyShared_Schedule_ScheduleParamsToData(const ScheduleParams* pScheduleParams,
                                                              Kel_Memory_Context* pMemory, uint32_t* pIndex);
// Zero-fills the record, then reads it from *pIndex. A count above a capacity stops the read with
// Kel_BadOutOfRange once the entries that fit are stored.
Kel_StatusCode Kel_EnergyShared_Schedule_DataToScheduleParams(const Kel_Memory_Context* pMemory,
                                                              uint32_t* pIndex,
                                                              ScheduleParams* pScheduleParams);

// ---- Validation and normalisation ----
// Sorts the record, installs the default schedule (one season, one week, one point at 00:00 with
// defaultValue) into an empty record, then checks every entry. Kel_BadInvalidArgument on a failed check.
Kel_StatusCode Kel_EnergyShared_Schedule_VerifySchedule(ScheduleParams* pSchedule, uint8_t maxValue,
                                                        uint8_t defaultValue, int32_t maxDayPoints);
// Merge day schedules, weeks or seasons with equal contents; the smaller identifier survives.
Kel_StatusCode Kel_EnergyShared_Schedule_ShrinkDays(ScheduleParams* pSchedule);
Kel_StatusCode Kel_EnergyShared_Schedule_ShrinkWeeks(ScheduleParams* pSchedule);
Kel_StatusCode Kel_EnergyShared_Schedule_ShrinkSeasons(ScheduleParams* pSchedule);
// ShrinkDays, ShrinkWeeks, ShrinkSeasons; stops at the first failure.
Kel_StatusCode Kel_EnergyShared_Schedule_Shrink(ScheduleParams* pSchedule);

// ---- Lookups (the out pointers point into the record, or are null when nothing matches) ----
Kel_StatusCode Kel_EnergyShared_Schedule_GetScheduleMaxValue(const ScheduleParams* pSchedule,
                                                             uint8_t* pMaxValue);
Kel_StatusCode Kel_EnergyShared_Schedule_GetSeason(const ScheduleParams* pSchedule, uint8_t month,
                                                   uint8_t day, const ScheduleSeason** ppSeason);
Kel_StatusCode Kel_EnergyShared_Schedule_GetWeek(const ScheduleParams* pSchedule, uint8_t weekId,
                                                 const ScheduleWeek** ppWeek);
Kel_StatusCode Kel_EnergyShared_Schedule_GetDay(const ScheduleParams* pSchedule, uint8_t dayId, uint8_t hour,
                                                uint8_t minute, const ScheduleDay** ppDay);
// The switch point in force on month/day, weekday index weekDay (0..6), at hour:minute. Special days
// are not consulted.
Kel_StatusCode Kel_EnergyShared_Schedule_GetValue(const ScheduleParams* pSchedule, uint8_t month, uint8_t day,
                                                  uint8_t weekDay, uint8_t hour, uint8_t minute,
                                                  const ScheduleDay** ppDay);
// Highest DayId over the points; 0 for a null record or no points.
uint8_t Kel_EnergyShared_Schedule_GetDayIdMax(const ScheduleParams* pSchedule);

// ---- Building a schedule one switch point at a time ----
// One season (starting on day 1) and one week per month; sets the point of weekday weekDay.
Kel_StatusCode Kel_EnergyShared_Schedule_AddValue(uint8_t month, uint8_t weekDay, uint8_t hour,
                                                  uint8_t minute, uint8_t value, ScheduleParams* pSchedule);
// Sets one point of the day schedule of the special day month/day (created on first use).
Kel_StatusCode Kel_EnergyShared_Schedule_AddSpecialValue(uint8_t month, uint8_t day, uint8_t hour,
                                                         uint8_t minute, uint8_t value,
                                                         ScheduleParams* pSchedule);

// The sort orders of the schedule arrays, for the schedule module and the meter record texts: a null
// entry sorts last, then the key fields in order.
namespace kel_energyshared_order
{
inline int CompareNull(const void* p1, const void* p2)
{
    if (p1 == KEL_NULL && p2 == KEL_NULL)
        return 0;
    return p1 == KEL_NULL ? 1 : -1;
}

inline int SeasonCompare(const void* p1, const void* p2)
{
    if (p1 == KEL_NULL || p2 == KEL_NULL)
        return CompareNull(p1, p2);
    const ScheduleSeason* a = static_cast<const ScheduleSeason*>(p1);
    const ScheduleSeason* b = static_cast<const ScheduleSeason*>(p2);
    if (a->Month != b->Month)
        return a->Month - b->Month;
    return a->Day - b->Day;
}

inline int WeekCompare(const void* p1, const void* p2)
{
    if (p1 == KEL_NULL || p2 == KEL_NULL)
        return CompareNull(p1, p2);
    return static_cast<const ScheduleWeek*>(p1)->WeekId - static_cast<const ScheduleWeek*>(p2)->WeekId;
}

inline int DayCompare(const void* p1, const void* p2)
{
    if (p1 == KEL_NULL || p2 == KEL_NULL)
        return CompareNull(p1, p2);
    const ScheduleDay* a = static_cast<const ScheduleDay*>(p1);
    const ScheduleDay* b = static_cast<const ScheduleDay*>(p2);
    if (a->DayId != b->DayId)
        return a->DayId - b->DayId;
    if (a->Hour != b->Hour)
        return a->Hour - b->Hour;
    return a->Minute - b->Minute;
}

inline int SpecialCompare(const void* p1, const void* p2)
{
    if (p1 == KEL_NULL || p2 == KEL_NULL)
        return CompareNull(p1, p2);
    const ScheduleSpecial* a = static_cast<const ScheduleSpecial*>(p1);
    const ScheduleSpecial* b = static_cast<const ScheduleSpecial*>(p2);
    if (a->Month != b->Month)
        return a->Month - b->Month;
    return a->Day - b->Day;
}
} // namespace kel_energyshared_order
