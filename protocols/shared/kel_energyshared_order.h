// The sort orders of the schedule arrays, one for the schedule module and the meter record texts: a
// null entry sorts last, then the key fields in order.
#pragma once

#include "protocols/shared/kel_energyshared_schedule.h"

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
