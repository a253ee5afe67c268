// The shared date-time record and the clock: local calendar fields to and from the record, the
// current time, and setting the system clock.
#pragma once

#include "shared/kel_types.h"

// An instant: seconds since 1970-01-01 00:00:00 UTC and the sub-second part. Built from local calendar
// fields and shown again in local time. Both fields zero is the empty date.
struct DateTime
{
    int32_t seconds;
    uint32_t microseconds;
};
static_assert(sizeof(DateTime) == 8, "DateTime is two 32-bit words");

// Days per month, row 0 common years, row 1 leap years.
extern const uint32_t daysInMonth[2][12];

Kel_StatusCode Kel_P_DateTime_CreateImp(uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour, uint8_t aMinute,
                                        uint8_t aSecond, uint16_t aMillisecond, DateTime* pResult);
Kel_StatusCode Kel_P_DateTime_Decode(const DateTime* pDateTime, uint16_t* pYear, uint8_t* pMonth, uint8_t* pDay,
                                     uint8_t* pHour, uint8_t* pMinute, uint8_t* pSecond, uint16_t* pMillisecond);
Kel_StatusCode Kel_P_DateTime_Copy(const DateTime* pSrcDateTime, DateTime* pDestDateTime);
Kel_StatusCode Kel_P_DateTime_DiffInSeconds(const DateTime* pDateTime1, const DateTime* pDateTime2,
                                            int64_t* pDiffInSeconds);
Kel_StatusCode Kel_P_DateTime_AddSeconds(DateTime* pDateTime, int32_t aSeconds);
Kel_StatusCode Kel_P_DateTime_GetTimeOfDayLocal(DateTime* pResult);
Kel_StatusCode Kel_P_DateTime_GetTimeOfDayUTC(DateTime* pResult);
Kel_StatusCode Kel_P_DateTime_GetHour(const DateTime* pDateTime, uint8_t* pHour);
Kel_StatusCode Kel_P_DateTime_SetOSDateTime(const DateTime* pDateTime);
