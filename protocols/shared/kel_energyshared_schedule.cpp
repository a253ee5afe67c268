// The tariff schedule record: binary form, validation, merging of duplicates, lookups and building.
#define KEL_TRACE_FILE "protocols/shared/kel_energyshared_schedule"
#include "protocols/shared/kel_energyshared_schedule.h"

#include "shared/kel_trace.h"
#include "shared/kel_utils.h"

#include <algorithm>
#include <cstring>

namespace
{
using namespace kel_energyshared_order;

// Sorts the used entries of one array; nothing to do for a count of 0. A count above the array's
// capacity is refused with Kel_BadOutOfRange, so that the sort never reaches past the record.
Kel_StatusCode SortEntries(void* pElements, uint8_t aCount, uint8_t aCapacity, uint32_t aElementSize,
                           Kel_Utils_CompareFunction pfnCompare)
{
    KEL_ENTER(Kel_Module_Utils);
    if (aCount > aCapacity)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    Kel_StatusCode status = Kel_Good;
    if (aCount > 0)
        KEL_GOTO_IF_BAD(status, Kel_Utils_QSort(pElements, aCount, aElementSize, pfnCompare, KEL_NULL));
    KEL_EXIT(status);
}

Kel_StatusCode SortSeasons(ScheduleParams* pSchedule)
{
    return SortEntries(pSchedule->Seasons, pSchedule->SeasonsCount, KEL_ENERGYSHARED_SCHEDULE_SEASONS_MAX,
                       sizeof(ScheduleSeason), SeasonCompare);
}

Kel_StatusCode SortWeeks(ScheduleParams* pSchedule)
{
    return SortEntries(pSchedule->Weeks, pSchedule->WeeksCount, KEL_ENERGYSHARED_SCHEDULE_WEEKS_MAX,
                       sizeof(ScheduleWeek), WeekCompare);
}

Kel_StatusCode SortDays(ScheduleParams* pSchedule)
{
    return SortEntries(pSchedule->Days, pSchedule->DaysCount, KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX,
                       sizeof(ScheduleDay), DayCompare);
}

Kel_StatusCode SortSpecialDays(ScheduleParams* pSchedule)
{
    return SortEntries(pSchedule->SpecialDays, pSchedule->SpecialDaysCount,
                       KEL_ENERGYSHARED_SCHEDULE_SPECIALDAYS_MAX, sizeof(ScheduleSpecial), SpecialCompare);
}

// Used entries that lie inside the record (a count above the capacity is never walked past it).
uint8_t UsedWeeks(const ScheduleParams* pSchedule)
{
    return std::min(pSchedule->WeeksCount, KEL_ENERGYSHARED_SCHEDULE_WEEKS_MAX);
}

uint8_t UsedSeasons(const ScheduleParams* pSchedule)
{
    return std::min(pSchedule->SeasonsCount, KEL_ENERGYSHARED_SCHEDULE_SEASONS_MAX);
}

uint8_t UsedDays(const ScheduleParams* pSchedule)
{
    return std::min(pSchedule->DaysCount, KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX);
}

uint8_t UsedSpecialDays(const ScheduleParams* pSchedule)
{
    return std::min(pSchedule->SpecialDaysCount, KEL_ENERGYSHARED_SCHEDULE_SPECIALDAYS_MAX);
}

bool HasDayId(const ScheduleParams* pSchedule, uint8_t aDayId)
{
    for (uint8_t i = 0; i < UsedDays(pSchedule); ++i)
        if (pSchedule->Days[i].DayId == aDayId)
            return true;
    return false;
}

bool HasWeekId(const ScheduleParams* pSchedule, uint8_t aWeekId)
{
    for (uint8_t i = 0; i < UsedWeeks(pSchedule); ++i)
        if (pSchedule->Weeks[i].WeekId == aWeekId)
            return true;
    return false;
}

// Removes the point at index; the following points move down and the freed last slot is zeroed.
Kel_StatusCode RemoveDay(ScheduleParams* pSchedule, uint32_t index)
{
    KEL_ENTER(Kel_Module_Utils);
    if (index >= pSchedule->DaysCount || pSchedule->DaysCount > KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    for (uint32_t k = index; k + 1 < pSchedule->DaysCount; ++k)
        pSchedule->Days[k] = pSchedule->Days[k + 1];
    pSchedule->DaysCount--;
    pSchedule->Days[pSchedule->DaysCount] = ScheduleDay{};
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode RemoveWeek(ScheduleParams* pSchedule, uint32_t index)
{
    KEL_ENTER(Kel_Module_Utils);
    if (index >= pSchedule->WeeksCount || pSchedule->WeeksCount > KEL_ENERGYSHARED_SCHEDULE_WEEKS_MAX)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    for (uint32_t k = index; k + 1 < pSchedule->WeeksCount; ++k)
        pSchedule->Weeks[k] = pSchedule->Weeks[k + 1];
    pSchedule->WeeksCount--;
    pSchedule->Weeks[pSchedule->WeeksCount] = ScheduleWeek{};
    KEL_EXIT(Kel_Good);
}

// Two day schedules are equal when they have as many points (counted in 8 bits) and every point of
// the first has a point of the second with the same time and tariff.
bool DaySchedulesEqual(const ScheduleParams* pSchedule, uint8_t aDayIdA, uint8_t aDayIdB)
{
    uint8_t countA = 0;
    uint8_t countB = 0;
    for (uint8_t i = 0; i < UsedDays(pSchedule); ++i)
    {
        if (pSchedule->Days[i].DayId == aDayIdA)
            countA++;
        if (pSchedule->Days[i].DayId == aDayIdB)
            countB++;
    }
    if (countA != countB)
        return false;
    for (uint8_t i = 0; i < UsedDays(pSchedule); ++i)
    {
        const ScheduleDay& a = pSchedule->Days[i];
        if (a.DayId != aDayIdA)
            continue;
        bool found = false;
        for (uint8_t k = 0; k < UsedDays(pSchedule) && !found; ++k)
        {
            const ScheduleDay& b = pSchedule->Days[k];
            found = b.DayId == aDayIdB && b.Hour == a.Hour && b.Minute == a.Minute &&
                    b.ScheduleValue == a.ScheduleValue;
        }
        if (!found)
            return false;
    }
    return true;
}

// The point with exactly this DayId, Hour and Minute, or null.
Kel_StatusCode GetDay(ScheduleParams* pSchedule, uint8_t dayId, uint8_t hour, uint8_t minute,
                      ScheduleDay** ppDay)
{
    KEL_ENTER(Kel_Module_Utils);
    *ppDay = KEL_NULL;
    for (uint32_t i = 0; i < pSchedule->DaysCount; ++i)
    {
        if (i >= KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX)
            KEL_REJECT_CODE(Kel_BadOutOfRange);
        ScheduleDay& point = pSchedule->Days[i];
        if (point.DayId == dayId && point.Hour == hour && point.Minute == minute)
        {
            *ppDay = &point;
            break;
        }
    }
    KEL_EXIT(Kel_Good);
}

// Sets the point dayId at hour:minute to value, appending it when the day schedule has no point there.
Kel_StatusCode SetPoint(ScheduleParams* pSchedule, uint8_t dayId, uint8_t hour, uint8_t minute, uint8_t value)
{
    KEL_ENTER(Kel_Module_Utils);
    Kel_StatusCode status = Kel_Good;
    ScheduleDay* pDay = KEL_NULL;
    KEL_GOTO_IF_BAD(status, GetDay(pSchedule, dayId, hour, minute, &pDay));
    if (pDay != KEL_NULL)
    {
        pDay->ScheduleValue = value;
        KEL_EXIT(status);
    }
    if (pSchedule->DaysCount >= KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    pSchedule->Days[pSchedule->DaysCount] = ScheduleDay{dayId, hour, minute, value};
    pSchedule->DaysCount++;
    KEL_EXIT(status);
}
} // namespace

Kel_StatusCode Kel_EnergyShared_Schedule_ScheduleParamsToData(const ScheduleParams* pScheduleParams,
                                                              Kel_Memory_Context* pMemory, uint32_t* pIndex)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pScheduleParams);
    KEL_REJECT_NULL(pMemory);
    KEL_REJECT_NULL(pIndex);
    Kel_StatusCode status = Kel_Good;
    const ScheduleParams& s = *pScheduleParams;

    // A count above its capacity cannot come from the record's own entries: it is refused before its
    // section is written, instead of writing bytes from beyond the array.
    KEL_GOTO_CODE_IF(s.SeasonsCount > KEL_ENERGYSHARED_SCHEDULE_SEASONS_MAX, Kel_BadOutOfRange);
    KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.SeasonsCount, pMemory, pIndex));
    for (uint8_t i = 0; i < s.SeasonsCount; ++i)
    {
        KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.Seasons[i].Month, pMemory, pIndex));
        KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.Seasons[i].Day, pMemory, pIndex));
        KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.Seasons[i].WeekId, pMemory, pIndex));
    }

    KEL_GOTO_CODE_IF(s.WeeksCount > KEL_ENERGYSHARED_SCHEDULE_WEEKS_MAX, Kel_BadOutOfRange);
    KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.WeeksCount, pMemory, pIndex));
    for (uint8_t i = 0; i < s.WeeksCount; ++i)
    {
        KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.Weeks[i].WeekId, pMemory, pIndex));
        for (uint8_t d = 0; d < 7; ++d)
            KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.Weeks[i].DayIds[d], pMemory, pIndex));
    }

    KEL_GOTO_CODE_IF(s.DaysCount > KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX, Kel_BadOutOfRange);
    KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.DaysCount, pMemory, pIndex));
    for (uint8_t i = 0; i < s.DaysCount; ++i)
    {
        KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.Days[i].DayId, pMemory, pIndex));
        KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.Days[i].Hour, pMemory, pIndex));
        KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.Days[i].Minute, pMemory, pIndex));
        KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.Days[i].ScheduleValue, pMemory, pIndex));
    }

    KEL_GOTO_CODE_IF(s.SpecialDaysCount > KEL_ENERGYSHARED_SCHEDULE_SPECIALDAYS_MAX, Kel_BadOutOfRange);
    KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.SpecialDaysCount, pMemory, pIndex));
    for (uint8_t i = 0; i < s.SpecialDaysCount; ++i)
    {
        KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.SpecialDays[i].Month, pMemory, pIndex));
        KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.SpecialDays[i].Day, pMemory, pIndex));
        KEL_GOTO_IF_BAD(status, Kel_Memory_UInt8ToData(s.SpecialDays[i].DayId, pMemory, pIndex));
    }
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_Schedule_DataToScheduleParams(const Kel_Memory_Context* pMemory,
                                                              uint32_t* pIndex,
                                                              ScheduleParams* pScheduleParams)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pMemory);
    KEL_REJECT_NULL(pIndex);
    KEL_REJECT_NULL(pScheduleParams);
    Kel_StatusCode status = Kel_Good;
    ScheduleParams& s = *pScheduleParams;
    memset(&s, 0, sizeof(s));

    // Every count is bounded by its capacity (days and special days as well as seasons and weeks):
    // the entries that fit are stored, then the read stops with Kel_BadOutOfRange. The record's count
    // always tells the entries actually stored, so it never claims more than the record holds.
    uint8_t count = 0;
    KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &count));
    for (uint8_t i = 0; i < count; ++i)
    {
        KEL_GOTO_CODE_IF(i >= KEL_ENERGYSHARED_SCHEDULE_SEASONS_MAX, Kel_BadOutOfRange);
        ScheduleSeason& season = s.Seasons[i];
        KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &season.Month));
        KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &season.Day));
        KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &season.WeekId));
        s.SeasonsCount = i + 1;
    }

    KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &count));
    for (uint8_t i = 0; i < count; ++i)
    {
        KEL_GOTO_CODE_IF(i >= KEL_ENERGYSHARED_SCHEDULE_WEEKS_MAX, Kel_BadOutOfRange);
        ScheduleWeek& week = s.Weeks[i];
        KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &week.WeekId));
        for (uint8_t d = 0; d < 7; ++d)
            KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &week.DayIds[d]));
        s.WeeksCount = i + 1;
    }

    KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &count));
    for (uint8_t i = 0; i < count; ++i)
    {
        KEL_GOTO_CODE_IF(i >= KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX, Kel_BadOutOfRange);
        ScheduleDay& point = s.Days[i];
        KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &point.DayId));
        KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &point.Hour));
        KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &point.Minute));
        KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &point.ScheduleValue));
        s.DaysCount = i + 1;
    }

    KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &count));
    for (uint8_t i = 0; i < count; ++i)
    {
        KEL_GOTO_CODE_IF(i >= KEL_ENERGYSHARED_SCHEDULE_SPECIALDAYS_MAX, Kel_BadOutOfRange);
        ScheduleSpecial& special = s.SpecialDays[i];
        KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &special.Month));
        KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &special.Day));
        KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt8(pMemory, pIndex, &special.DayId));
        s.SpecialDaysCount = i + 1;
    }
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_Schedule_VerifySchedule(ScheduleParams* pSchedule, uint8_t maxValue,
                                                        uint8_t defaultValue, int32_t maxDayPoints)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSchedule);
    Kel_StatusCode status = Kel_Good;
    ScheduleParams& s = *pSchedule;

    // The sorts also refuse counts above the capacities, so every loop below stays inside the record.
    KEL_GOTO_IF_BAD(status, SortSeasons(pSchedule));
    KEL_GOTO_IF_BAD(status, SortWeeks(pSchedule));
    KEL_GOTO_IF_BAD(status, SortDays(pSchedule));
    KEL_GOTO_IF_BAD(status, SortSpecialDays(pSchedule));

    if (s.SeasonsCount == 0)
    {
        KEL_GOTO_CODE_IF(s.WeeksCount != 0 || s.DaysCount != 0 || s.SpecialDaysCount != 0,
                         Kel_BadInvalidArgument);
        // The default schedule: the whole year one week, every weekday one day schedule, one tariff.
        s.Seasons[0] = ScheduleSeason{1, 1, 1};
        s.SeasonsCount = 1;
        s.Weeks[0] = ScheduleWeek{1, {1, 1, 1, 1, 1, 1, 1}};
        s.WeeksCount = 1;
        s.Days[0] = ScheduleDay{1, 0, 0, defaultValue};
        s.DaysCount = 1;
    }

    for (uint8_t i = 0; i < s.SeasonsCount; ++i)
    {
        const ScheduleSeason& season = s.Seasons[i];
        KEL_GOTO_CODE_IF(season.Month < 1 || season.Month > 12, Kel_BadInvalidArgument);
        KEL_GOTO_CODE_IF(season.Day < 1 || season.Day > 31, Kel_BadInvalidArgument);
        KEL_GOTO_CODE_IF(season.WeekId == 0 || !HasWeekId(pSchedule, season.WeekId), Kel_BadInvalidArgument);
    }

    KEL_GOTO_CODE_IF(s.WeeksCount == 0, Kel_BadInvalidArgument);
    for (uint8_t i = 0; i < s.WeeksCount; ++i)
    {
        const ScheduleWeek& week = s.Weeks[i];
        KEL_GOTO_CODE_IF(week.WeekId == 0, Kel_BadInvalidArgument);
        for (uint8_t d = 0; d < 7; ++d)
            KEL_GOTO_CODE_IF(week.DayIds[d] == 0 || !HasDayId(pSchedule, week.DayIds[d]),
                             Kel_BadInvalidArgument);
    }

    KEL_GOTO_CODE_IF(s.DaysCount == 0, Kel_BadInvalidArgument);
    int32_t run = 0;
    for (uint8_t i = 0; i < s.DaysCount; ++i)
    {
        const ScheduleDay& point = s.Days[i];
        KEL_GOTO_CODE_IF(point.DayId == 0, Kel_BadInvalidArgument);
        KEL_GOTO_CODE_IF(point.Hour > 23 || point.Minute > 59, Kel_BadInvalidArgument);
        KEL_GOTO_CODE_IF(point.ScheduleValue < 1 || point.ScheduleValue > maxValue, Kel_BadInvalidArgument);
        // Points of one day schedule are consecutive after the sort; count the run.
        run = (i > 0 && s.Days[i - 1].DayId == point.DayId) ? run + 1 : 1;
        KEL_GOTO_CODE_IF(run > maxDayPoints, Kel_BadInvalidArgument);
    }

    for (uint8_t i = 0; i < s.SpecialDaysCount; ++i)
    {
        const ScheduleSpecial& special = s.SpecialDays[i];
        KEL_GOTO_CODE_IF(special.Month < 1 || special.Month > 12, Kel_BadInvalidArgument);
        KEL_GOTO_CODE_IF(special.Day < 1 || special.Day > 31, Kel_BadInvalidArgument);
        KEL_GOTO_CODE_IF(special.DayId == 0 || !HasDayId(pSchedule, special.DayId), Kel_BadInvalidArgument);
    }
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_Schedule_ShrinkDays(ScheduleParams* pSchedule)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSchedule);
    Kel_StatusCode status = Kel_Good;
    ScheduleParams& s = *pSchedule;
    KEL_GOTO_IF_BAD(status, SortDays(pSchedule));
    KEL_GOTO_IF_BAD(status, SortSpecialDays(pSchedule));

    for (uint32_t i = 0; i < s.DaysCount; ++i)
    {
        KEL_GOTO_CODE_IF(i >= KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX, Kel_BadOutOfRange);
        uint32_t j = i + 1;
        while (j < s.DaysCount)
        {
            KEL_GOTO_CODE_IF(j > KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX - 1, Kel_BadOutOfRange);
            const ScheduleDay a = s.Days[i];
            const ScheduleDay b = s.Days[j];
            if (memcmp(&a, &b, sizeof(ScheduleDay)) == 0)
            {
                KEL_GOTO_IF_BAD(status, RemoveDay(pSchedule, j));
                continue;
            }
            if (a.DayId == b.DayId || !DaySchedulesEqual(pSchedule, a.DayId, b.DayId))
            {
                j++;
                continue;
            }
            // Day schedule B repeats A: every reference to B now names A, and B's points go.
            for (uint8_t w = 0; w < UsedWeeks(pSchedule); ++w)
                for (uint8_t d = 0; d < 7; ++d)
                    if (s.Weeks[w].DayIds[d] == b.DayId)
                        s.Weeks[w].DayIds[d] = a.DayId;
            for (uint8_t p = 0; p < UsedSpecialDays(pSchedule); ++p)
                if (s.SpecialDays[p].DayId == b.DayId)
                    s.SpecialDays[p].DayId = a.DayId;
            uint32_t k = 0;
            while (k < s.DaysCount)
            {
                if (s.Days[k].DayId == b.DayId)
                    KEL_GOTO_IF_BAD(status, RemoveDay(pSchedule, k));
                else
                    k++;
            }
        }
    }
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_Schedule_ShrinkWeeks(ScheduleParams* pSchedule)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSchedule);
    Kel_StatusCode status = Kel_Good;
    ScheduleParams& s = *pSchedule;
    KEL_GOTO_IF_BAD(status, SortWeeks(pSchedule));

    for (uint32_t i = 0; i < s.WeeksCount; ++i)
    {
        KEL_GOTO_CODE_IF(i >= KEL_ENERGYSHARED_SCHEDULE_WEEKS_MAX, Kel_BadOutOfRange);
        uint32_t j = i + 1;
        while (j < s.WeeksCount)
        {
            KEL_GOTO_CODE_IF(j > KEL_ENERGYSHARED_SCHEDULE_WEEKS_MAX - 1, Kel_BadOutOfRange);
            const ScheduleWeek a = s.Weeks[i];
            const ScheduleWeek b = s.Weeks[j];
            if (memcmp(&a, &b, sizeof(ScheduleWeek)) == 0)
            {
                KEL_GOTO_IF_BAD(status, RemoveWeek(pSchedule, j));
                continue;
            }
            if (a.WeekId == b.WeekId || memcmp(a.DayIds, b.DayIds, sizeof(a.DayIds)) != 0)
            {
                j++;
                continue;
            }
            // Week B repeats A: seasons of B now name A, and every week B goes.
            for (uint8_t n = 0; n < UsedSeasons(pSchedule); ++n)
                if (s.Seasons[n].WeekId == b.WeekId)
                    s.Seasons[n].WeekId = a.WeekId;
            uint32_t k = 0;
            while (k < s.WeeksCount)
            {
                if (s.Weeks[k].WeekId == b.WeekId)
                    KEL_GOTO_IF_BAD(status, RemoveWeek(pSchedule, k));
                else
                    k++;
            }
        }
    }
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_Schedule_ShrinkSeasons(ScheduleParams* pSchedule)
{
    // The entry and exit lines of this function carry the name of ShrinkWeeks; the trace text is kept
    // as it has always been written, so that trace readers and filters keep working.
    KEL_ENTER_AS(Kel_Module_Utils, "Kel_EnergyShared_Schedule_ShrinkWeeks");
    KEL_REJECT_NULL(pSchedule);
    Kel_StatusCode status = Kel_Good;
    ScheduleParams& s = *pSchedule;
    KEL_GOTO_IF_BAD(status, SortSeasons(pSchedule));

    // Consecutive seasons with the same week merge into the earlier one; the last season of the year
    // is not merged with the first.
    int32_t i = 0;
    while (i < static_cast<int32_t>(s.SeasonsCount) - 1)
    {
        KEL_GOTO_CODE_IF(i > KEL_ENERGYSHARED_SCHEDULE_SEASONS_MAX - 1, Kel_BadOutOfRange);
        if (s.Seasons[i + 1].WeekId != s.Seasons[i].WeekId)
        {
            i++;
            continue;
        }
        for (int32_t k = i + 1; k + 1 < s.SeasonsCount; ++k)
            s.Seasons[k] = s.Seasons[k + 1];
        s.SeasonsCount--;
        s.Seasons[s.SeasonsCount] = ScheduleSeason{};
    }
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_Schedule_Shrink(ScheduleParams* pSchedule)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSchedule);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_EnergyShared_Schedule_ShrinkDays(pSchedule));
    KEL_GOTO_IF_BAD(status, Kel_EnergyShared_Schedule_ShrinkWeeks(pSchedule));
    KEL_GOTO_IF_BAD(status, Kel_EnergyShared_Schedule_ShrinkSeasons(pSchedule));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_Schedule_GetScheduleMaxValue(const ScheduleParams* pSchedule,
                                                             uint8_t* pMaxValue)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSchedule);
    KEL_REJECT_NULL(pMaxValue);
    uint8_t maxValue = 0;
    for (uint8_t i = 0; i < UsedDays(pSchedule); ++i)
        maxValue = std::max(maxValue, pSchedule->Days[i].ScheduleValue);
    *pMaxValue = maxValue;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_EnergyShared_Schedule_GetSeason(const ScheduleParams* pSchedule, uint8_t month,
                                                   uint8_t day, const ScheduleSeason** ppSeason)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSchedule);
    KEL_REJECT_IF(month < 1 || month > 12, Kel_BadInvalidArgument);
    KEL_REJECT_IF(day < 1 || day > 31, Kel_BadInvalidArgument);
    KEL_REJECT_NULL(ppSeason);
    *ppSeason = KEL_NULL;
    const ScheduleSeason* pCandidate = KEL_NULL;
    for (uint32_t i = 0; i < pSchedule->SeasonsCount; ++i)
    {
        if (i >= KEL_ENERGYSHARED_SCHEDULE_SEASONS_MAX)
            KEL_REJECT_CODE(Kel_BadOutOfRange);
        const ScheduleSeason* pSeason = &pSchedule->Seasons[i];
        // The first season stands even when it starts after the date: the year does not wrap round
        // to the last season.
        if (pCandidate == KEL_NULL)
        {
            pCandidate = pSeason;
            continue;
        }
        const bool started = pSeason->Month < month || (pSeason->Month == month && pSeason->Day <= day);
        const bool later = pSeason->Month > pCandidate->Month ||
                           (pSeason->Month == pCandidate->Month && pSeason->Day > pCandidate->Day);
        if (started && later)
            pCandidate = pSeason;
    }
    *ppSeason = pCandidate;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_EnergyShared_Schedule_GetWeek(const ScheduleParams* pSchedule, uint8_t weekId,
                                                 const ScheduleWeek** ppWeek)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSchedule);
    KEL_REJECT_NULL(ppWeek);
    *ppWeek = KEL_NULL;
    for (uint32_t i = 0; i < pSchedule->WeeksCount; ++i)
    {
        if (i >= KEL_ENERGYSHARED_SCHEDULE_WEEKS_MAX)
            KEL_REJECT_CODE(Kel_BadOutOfRange);
        if (pSchedule->Weeks[i].WeekId == weekId)
        {
            *ppWeek = &pSchedule->Weeks[i];
            break;
        }
    }
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_EnergyShared_Schedule_GetDay(const ScheduleParams* pSchedule, uint8_t dayId, uint8_t hour,
                                                uint8_t minute, const ScheduleDay** ppDay)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSchedule);
    KEL_REJECT_IF(hour > 23, Kel_BadInvalidArgument);
    KEL_REJECT_IF(minute > 59, Kel_BadInvalidArgument);
    KEL_REJECT_NULL(ppDay);
    *ppDay = KEL_NULL;
    const ScheduleDay* pCandidate = KEL_NULL;
    for (uint32_t i = 0; i < pSchedule->DaysCount; ++i)
    {
        if (i >= KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX)
            KEL_REJECT_CODE(Kel_BadOutOfRange);
        const ScheduleDay* pPoint = &pSchedule->Days[i];
        if (pPoint->DayId != dayId)
            continue;
        // The day's first point stands before its own start time: no wrap from the previous evening.
        if (pCandidate == KEL_NULL)
        {
            pCandidate = pPoint;
            continue;
        }
        if (pPoint->Hour > hour || (pPoint->Hour == hour && pPoint->Minute > minute))
            continue;
        // Looser than the season test (an earlier hour with a larger minute also wins); on points
        // sorted by time both give the last point that has started.
        if (pPoint->Hour >= pCandidate->Hour || pPoint->Minute > pCandidate->Minute)
            pCandidate = pPoint;
    }
    *ppDay = pCandidate;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_EnergyShared_Schedule_GetValue(const ScheduleParams* pSchedule, uint8_t month, uint8_t day,
                                                  uint8_t weekDay, uint8_t hour, uint8_t minute,
                                                  const ScheduleDay** ppDay)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSchedule);
    KEL_REJECT_IF(month < 1 || month > 12, Kel_BadInvalidArgument);
    KEL_REJECT_IF(day < 1 || day > 31, Kel_BadInvalidArgument);
    KEL_REJECT_IF(weekDay > 6, Kel_BadInvalidArgument);
    KEL_REJECT_IF(hour > 23, Kel_BadInvalidArgument);
    KEL_REJECT_IF(minute > 59, Kel_BadInvalidArgument);
    KEL_REJECT_NULL(ppDay);
    *ppDay = KEL_NULL;
    Kel_StatusCode status = Kel_Good;
    const ScheduleSeason* pSeason = KEL_NULL;
    KEL_GOTO_IF_BAD(status, Kel_EnergyShared_Schedule_GetSeason(pSchedule, month, day, &pSeason));
    if (pSeason == KEL_NULL)
        KEL_EXIT(status);
    const ScheduleWeek* pWeek = KEL_NULL;
    KEL_GOTO_IF_BAD(status, Kel_EnergyShared_Schedule_GetWeek(pSchedule, pSeason->WeekId, &pWeek));
    if (pWeek == KEL_NULL)
        KEL_EXIT(status);
    KEL_GOTO_IF_BAD(status,
                    Kel_EnergyShared_Schedule_GetDay(pSchedule, pWeek->DayIds[weekDay], hour, minute, ppDay));
    KEL_EXIT(status);
}

uint8_t Kel_EnergyShared_Schedule_GetDayIdMax(const ScheduleParams* pSchedule)
{
    if (pSchedule == KEL_NULL)
        return 0;
    uint8_t dayIdMax = 0;
    for (uint8_t i = 0; i < UsedDays(pSchedule); ++i)
        dayIdMax = std::max(dayIdMax, pSchedule->Days[i].DayId);
    return dayIdMax;
}

Kel_StatusCode Kel_EnergyShared_Schedule_AddValue(uint8_t month, uint8_t weekDay, uint8_t hour,
                                                  uint8_t minute, uint8_t value, ScheduleParams* pSchedule)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSchedule);
    KEL_REJECT_IF(month < 1 || month > 12, Kel_BadInvalidArgument);
    KEL_REJECT_IF(weekDay > 6, Kel_BadInvalidArgument);
    KEL_REJECT_IF(hour > 23, Kel_BadInvalidArgument);
    KEL_REJECT_IF(minute > 59, Kel_BadInvalidArgument);
    Kel_StatusCode status = Kel_Good;
    ScheduleParams& s = *pSchedule;

    // One season per month, starting on its first day, with a week of its own.
    const ScheduleSeason* pSeason = KEL_NULL;
    KEL_GOTO_IF_BAD(status, Kel_EnergyShared_Schedule_GetSeason(pSchedule, month, 1, &pSeason));
    if (pSeason == KEL_NULL || pSeason->Month != month || pSeason->Day != 1)
    {
        if (s.SeasonsCount >= KEL_ENERGYSHARED_SCHEDULE_SEASONS_MAX)
            KEL_REJECT_CODE(Kel_BadOutOfRange);
        uint8_t weekIdMax = 0;
        for (uint8_t i = 0; i < UsedWeeks(pSchedule); ++i)
            weekIdMax = std::max(weekIdMax, s.Weeks[i].WeekId);
        s.Seasons[s.SeasonsCount] = ScheduleSeason{month, 1, static_cast<uint8_t>(weekIdMax + 1)};
        pSeason = &s.Seasons[s.SeasonsCount];
        s.SeasonsCount++;
    }

    const ScheduleWeek* pFoundWeek = KEL_NULL;
    KEL_GOTO_IF_BAD(status, Kel_EnergyShared_Schedule_GetWeek(pSchedule, pSeason->WeekId, &pFoundWeek));
    ScheduleWeek* pWeek = KEL_NULL;
    if (pFoundWeek != KEL_NULL)
    {
        pWeek = &s.Weeks[pFoundWeek - s.Weeks];
    }
    else
    {
        if (s.WeeksCount >= KEL_ENERGYSHARED_SCHEDULE_WEEKS_MAX)
            KEL_REJECT_CODE(Kel_BadOutOfRange);
        pWeek = &s.Weeks[s.WeeksCount];
        *pWeek = ScheduleWeek{pSeason->WeekId, {0, 0, 0, 0, 0, 0, 0}};
        s.WeeksCount++;
    }

    if (pWeek->DayIds[weekDay] == 0)
        pWeek->DayIds[weekDay] = static_cast<uint8_t>(Kel_EnergyShared_Schedule_GetDayIdMax(pSchedule) + 1);
    KEL_GOTO_IF_BAD(status, SetPoint(pSchedule, pWeek->DayIds[weekDay], hour, minute, value));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_Schedule_AddSpecialValue(uint8_t month, uint8_t day, uint8_t hour,
                                                         uint8_t minute, uint8_t value,
                                                         ScheduleParams* pSchedule)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSchedule);
    KEL_REJECT_IF(month < 1 || month > 12, Kel_BadInvalidArgument);
    KEL_REJECT_IF(day < 1 || day > 31, Kel_BadInvalidArgument);
    KEL_REJECT_IF(hour > 23, Kel_BadInvalidArgument);
    KEL_REJECT_IF(minute > 59, Kel_BadInvalidArgument);
    Kel_StatusCode status = Kel_Good;
    ScheduleParams& s = *pSchedule;

    uint8_t dayId = static_cast<uint8_t>(Kel_EnergyShared_Schedule_GetDayIdMax(pSchedule) + 1);
    bool exists = false;
    for (uint8_t i = 0; i < UsedSpecialDays(pSchedule) && !exists; ++i)
    {
        if (s.SpecialDays[i].Month == month && s.SpecialDays[i].Day == day)
        {
            dayId = s.SpecialDays[i].DayId;
            exists = true;
        }
    }
    KEL_GOTO_IF_BAD(status, SetPoint(pSchedule, dayId, hour, minute, value));
    if (exists)
        KEL_EXIT(status);
    // The point just set stays in the record when the special day itself does not fit.
    if (s.SpecialDaysCount >= KEL_ENERGYSHARED_SCHEDULE_SPECIALDAYS_MAX)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    s.SpecialDays[s.SpecialDaysCount] = ScheduleSpecial{month, day, dayId};
    s.SpecialDaysCount++;
    KEL_EXIT(status);
}
