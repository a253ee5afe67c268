// The clock: DateTime records from and to local calendar fields, the current time, differences.
//
// One source for both platforms: the local-time conversions (the C library's mktime and its
// thread-safe localtime) come from each platform's kel_p_datetime.cpp together with the setting of
// the system clock. Trace lines name that platform file (Kel_P_DateTime_TraceFile).
//
// The record holds signed 32-bit seconds, whatever the width of the C library's time_t (32 bits in
// the Windows runtime, 64 on Linux): an instant outside that range is refused by the conversion.
#define KEL_TRACE_FILE Kel_P_DateTime_TraceFile
#include "shared/platform/kel_p_datetime.h"

#include "shared/kel_trace.h"
#include "shared/platform/kel_p_datetime_os.h"

#include <stdint.h>

const uint32_t daysInMonth[2][12] = {
    {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31},
    {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31},
};

namespace
{
bool IsLeapYear(uint32_t aYear)
{
    return (aYear % 400 == 0) || (aYear % 4 == 0 && aYear % 100 != 0);
}

// Seconds of local calendar fields (daylight saving decided by the C library). False when the C
// library cannot convert them or the instant does not fit the record's signed 32-bit seconds.
// The C library's calendar fields of a date and time.
tm CalendarFields(int aYear, int aMonth, int aDay, int aHour, int aMinute, int aSecond)
{
    tm fields{};
    fields.tm_year = aYear - 1900;
    fields.tm_mon = aMonth - 1;
    fields.tm_mday = aDay;
    fields.tm_hour = aHour;
    fields.tm_min = aMinute;
    fields.tm_sec = aSecond;
    return fields;
}

bool LocalFieldsToSeconds(int aYear, int aMonth, int aDay, int aHour, int aMinute, int aSecond,
                          int32_t* pSeconds)
{
    tm fields = CalendarFields(aYear, aMonth, aDay, aHour, aMinute, aSecond);
    fields.tm_isdst = -1;
    int64_t seconds = 0;
    if (!Kel_P_DateTime_LocalSeconds(&fields, &seconds) || seconds < INT32_MIN || seconds > INT32_MAX)
        return false;
    *pSeconds = static_cast<int32_t>(seconds);
    return true;
}
} // namespace

Kel_StatusCode Kel_P_DateTime_CreateImp(uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour,
                                        uint8_t aMinute, uint8_t aSecond, uint16_t aMillisecond,
                                        DateTime* pResult)
{
    KEL_ENTER(Kel_Module_DateTime);
    KEL_REJECT_NULL(pResult);
    if (aYear < 1601 || aYear >= 10000)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    if (aMonth < 1 || aMonth > 12)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    if (aDay < 1 || aDay > daysInMonth[IsLeapYear(aYear) ? 1 : 0][aMonth - 1])
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    if (aHour > 23)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    if (aMinute > 59)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    if (aSecond > 59)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    int32_t seconds = 0;
    KEL_GOTO_CODE_IF(!LocalFieldsToSeconds(aYear, aMonth, aDay, aHour, aMinute, aSecond, &seconds),
                     Kel_BadOutOfRange);
    pResult->seconds = seconds;
    pResult->microseconds = static_cast<uint32_t>(aMillisecond) * 1000u;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_DateTime_Decode(const DateTime* pDateTime, uint16_t* pYear, uint8_t* pMonth,
                                     uint8_t* pDay, uint8_t* pHour, uint8_t* pMinute, uint8_t* pSecond,
                                     uint16_t* pMillisecond)
{
    KEL_ENTER(Kel_Module_DateTime);
    KEL_REJECT_NULL(pDateTime);
    tm fields{};
    const tm* ptm = Kel_P_DateTime_LocalFields(pDateTime->seconds, &fields);
    KEL_GOTO_IF_NULL(ptm, Kel_BadInternalError);
    if (pYear != KEL_NULL)
        *pYear = static_cast<uint16_t>(ptm->tm_year + 1900);
    if (pMonth != KEL_NULL)
        *pMonth = static_cast<uint8_t>(ptm->tm_mon + 1);
    if (pDay != KEL_NULL)
        *pDay = static_cast<uint8_t>(ptm->tm_mday);
    if (pHour != KEL_NULL)
        *pHour = static_cast<uint8_t>(ptm->tm_hour);
    if (pMinute != KEL_NULL)
        *pMinute = static_cast<uint8_t>(ptm->tm_min);
    if (pSecond != KEL_NULL)
        *pSecond = static_cast<uint8_t>(ptm->tm_sec);
    if (pMillisecond != KEL_NULL)
        *pMillisecond = static_cast<uint16_t>(pDateTime->microseconds / 1000u);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_DateTime_Copy(const DateTime* pSrcDateTime, DateTime* pDestDateTime)
{
    KEL_ENTER(Kel_Module_DateTime);
    KEL_REJECT_NULL(pSrcDateTime);
    KEL_REJECT_NULL(pDestDateTime);
    *pDestDateTime = *pSrcDateTime;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_DateTime_DiffInSeconds(const DateTime* pDateTime1, const DateTime* pDateTime2,
                                            int64_t* pDiffInSeconds)
{
    KEL_ENTER(Kel_Module_DateTime);
    KEL_REJECT_NULL(pDateTime1);
    KEL_REJECT_NULL(pDateTime2);
    KEL_REJECT_NULL(pDiffInSeconds);
    *pDiffInSeconds = static_cast<int64_t>(pDateTime1->seconds) - static_cast<int64_t>(pDateTime2->seconds);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_DateTime_AddSeconds(DateTime* pDateTime, int32_t aSeconds)
{
    KEL_ENTER(Kel_Module_DateTime);
    KEL_REJECT_NULL(pDateTime);
    // Wraps like the 32-bit addition it has always been.
    pDateTime->seconds =
        static_cast<int32_t>(static_cast<uint32_t>(pDateTime->seconds) + static_cast<uint32_t>(aSeconds));
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_DateTime_GetTimeOfDayLocal(DateTime* pResult)
{
    KEL_ENTER(Kel_Module_DateTime);
    KEL_REJECT_NULL(pResult);
    const time_t now = time(KEL_NULL);
    KEL_GOTO_IF_EXPR((now == static_cast<time_t>(-1)));
    pResult->seconds = static_cast<int32_t>(now);
    pResult->microseconds = 0;
    KEL_EXIT(Kel_Good);
}

// The current UTC calendar fields converted as if they were local time: the current local time minus
// this record is the zone's offset (daylight saving included, as the C library decides it for those
// fields).
Kel_StatusCode Kel_P_DateTime_GetTimeOfDayUTC(DateTime* pResult)
{
    KEL_ENTER(Kel_Module_DateTime);
    KEL_REJECT_NULL(pResult);
    const time_t now = time(KEL_NULL);
    KEL_GOTO_IF_EXPR((now == static_cast<time_t>(-1)));
    tm fields{};
    const tm* ptm = Kel_P_DateTime_UtcFields(static_cast<int64_t>(now), &fields);
    KEL_GOTO_IF_NULL(ptm, Kel_BadInternalError);
    int32_t seconds = 0;
    KEL_GOTO_IF_EXPR(!LocalFieldsToSeconds(ptm->tm_year + 1900, ptm->tm_mon + 1, ptm->tm_mday, ptm->tm_hour,
                                           ptm->tm_min, ptm->tm_sec, &seconds));
    pResult->seconds = seconds;
    pResult->microseconds = 0;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_DateTime_GetHour(const DateTime* pDateTime, uint8_t* pHour)
{
    KEL_ENTER(Kel_Module_DateTime);
    KEL_REJECT_NULL(pDateTime);
    KEL_REJECT_NULL(pHour);
    tm fields{};
    const tm* ptm = Kel_P_DateTime_LocalFields(pDateTime->seconds, &fields);
    KEL_GOTO_IF_NULL(ptm, Kel_BadInternalError);
    *pHour = static_cast<uint8_t>(ptm->tm_hour);
    KEL_EXIT(Kel_Good);
}

// Sets the system clock from the record's local calendar fields, handed to the clock as UTC fields
// unchanged, as this call has always done.
Kel_StatusCode Kel_P_DateTime_SetOSDateTime(const DateTime* pDateTime)
{
    KEL_ENTER(Kel_Module_DateTime);
    KEL_REJECT_NULL(pDateTime);
    Kel_StatusCode status = Kel_Good;
    uint16_t year = 0;
    uint8_t month = 0, day = 0, hour = 0, minute = 0, second = 0;
    uint16_t millisecond = 0;
    KEL_GOTO_IF_BAD(
        status, Kel_P_DateTime_Decode(pDateTime, &year, &month, &day, &hour, &minute, &second, &millisecond));
    const char* failedCall = KEL_NULL;
    if (!Kel_P_DateTime_SetSystemClock(CalendarFields(year, month, day, hour, minute, second), millisecond,
                                       &failedCall))
    {
        Kel_Trace_GotoExpr(kelScope, __LINE__, failedCall);
        return Kel_Trace_ExitBad(kelScope, __LINE__, Kel_BadInternalError);
    }
    KEL_EXIT(status);
}
