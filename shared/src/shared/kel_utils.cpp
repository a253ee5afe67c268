// Utilities: calendar helpers over DateTime (local calendar fields in and out), Unix and ISO times,
// text forms, numeric and bit helpers, sorting, the periodic timer test and the watchdog helpers.
#define KEL_TRACE_FILE "shared/src/shared/kel_utils"
#include "shared/kel_utils.h"

#include "shared/kel_trace.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace
{
// The days-per-month table is the clock's (daysInMonth): one table for the whole code base.
bool IsLeapYear(uint32_t aYear)
{
    return (aYear % 400 == 0) || (aYear % 4 == 0 && aYear % 100 != 0);
}

struct DecodedFields
{
    uint16_t year;
    uint8_t month;
    uint8_t day;
    uint8_t hour;
    uint8_t minute;
    uint8_t second;
    uint16_t millisecond;
};

Kel_StatusCode Decode(const DateTime* pDateTime, DecodedFields* pFields)
{
    return Kel_Utils_DecodeDateTime(pDateTime, &pFields->year, &pFields->month, &pFields->day, &pFields->hour,
                                    &pFields->minute, &pFields->second, &pFields->millisecond);
}

bool IsEqualFields(const DecodedFields& aFields1, const DecodedFields& aFields2)
{
    return aFields1.year == aFields2.year && aFields1.month == aFields2.month &&
           aFields1.day == aFields2.day && aFields1.hour == aFields2.hour &&
           aFields1.minute == aFields2.minute && aFields1.second == aFields2.second &&
           aFields1.millisecond == aFields2.millisecond;
}
} // namespace

// ---- Dates and times ----

Kel_StatusCode Kel_Utils_CreateDateTime(uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour,
                                        uint8_t aMinute, uint8_t aSecond, uint16_t aMillisecond,
                                        DateTime* pDateTime)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pDateTime);
    *pDateTime = DateTime{};
    KEL_REJECT_IF(aYear < 1601 || aYear >= 10000, Kel_BadOutOfRange);
    KEL_REJECT_IF(aMonth < 1 || aMonth > 12, Kel_BadOutOfRange);
    const uint32_t leap = IsLeapYear(aYear) ? 1 : 0;
    KEL_REJECT_IF(aDay < 1 || aDay > daysInMonth[leap][aMonth - 1], Kel_BadOutOfRange);
    KEL_REJECT_IF(aHour > 23, Kel_BadOutOfRange);
    KEL_REJECT_IF(aMinute > 59, Kel_BadOutOfRange);
    KEL_REJECT_IF(aSecond > 59, Kel_BadOutOfRange);
    KEL_REJECT_IF(aMillisecond > 999, Kel_BadOutOfRange);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_P_DateTime_CreateImp(aYear, aMonth, aDay, aHour, aMinute, aSecond,
                                                     aMillisecond, pDateTime));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Utils_DecodeDateTime(const DateTime* pDateTime, uint16_t* pYear, uint8_t* pMonth,
                                        uint8_t* pDay, uint8_t* pHour, uint8_t* pMinute, uint8_t* pSecond,
                                        uint16_t* pMillisecond)
{
    KEL_ENTER(Kel_Module_Utils);
    if (pYear != KEL_NULL)
        *pYear = 0;
    if (pMonth != KEL_NULL)
        *pMonth = 0;
    if (pDay != KEL_NULL)
        *pDay = 0;
    if (pHour != KEL_NULL)
        *pHour = 0;
    if (pMinute != KEL_NULL)
        *pMinute = 0;
    if (pSecond != KEL_NULL)
        *pSecond = 0;
    if (pMillisecond != KEL_NULL)
        *pMillisecond = 0;
    // No date to decode is an ordinary answer here, not traced.
    if (Kel_Utils_IsEmptyDate(pDateTime) != 0)
        return Kel_BadInvalidArgument;
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(
        status, Kel_P_DateTime_Decode(pDateTime, pYear, pMonth, pDay, pHour, pMinute, pSecond, pMillisecond));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Utils_IsEqualDateTime(const DateTime* pDateTime1, const DateTime* pDateTime2,
                                         uint32_t* pIsEqual)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pDateTime1);
    KEL_REJECT_NULL(pDateTime2);
    KEL_REJECT_NULL(pIsEqual);
    *pIsEqual = 0;
    const uint32_t empty1 = Kel_Utils_IsEmptyDate(pDateTime1);
    const uint32_t empty2 = Kel_Utils_IsEmptyDate(pDateTime2);
    if (empty1 != 0 || empty2 != 0)
    {
        *pIsEqual = (empty1 != 0 && empty2 != 0) ? 1 : 0;
        KEL_EXIT(Kel_Good);
    }
    Kel_StatusCode status = Kel_Good;
    DecodedFields fields1{};
    DecodedFields fields2{};
    KEL_GOTO_IF_BAD(status, Decode(pDateTime1, &fields1));
    KEL_GOTO_IF_BAD(status, Decode(pDateTime2, &fields2));
    *pIsEqual = IsEqualFields(fields1, fields2) ? 1 : 0;
    KEL_EXIT(status);
}

uint32_t Kel_Utils_IsEmptyDate(const DateTime* pDateTime)
{
    return Kel_Utils_IsEmpty(pDateTime, static_cast<int32_t>(sizeof(DateTime)));
}

uint32_t Kel_Utils_IsEmpty(const void* pBuffer, int32_t aSize)
{
    if (pBuffer == KEL_NULL || aSize < 1)
        return 1;
    const uint8_t* pBytes = static_cast<const uint8_t*>(pBuffer);
    for (int32_t i = 0; i < aSize; i++)
    {
        if (pBytes[i] != 0)
            return 0;
    }
    return 1;
}

// Zeller's congruence in 16-bit arithmetic, shifted so that 1 is Monday and 7 is Sunday.
uint32_t Kel_Utils_GetDayOfWeek(uint16_t aYear, uint16_t aMonth, uint16_t aDay)
{
    uint16_t year = aYear;
    uint16_t month = aMonth;
    if (month < 3)
    {
        month = static_cast<uint16_t>(month + 12);
        year = static_cast<uint16_t>(year - 1);
    }
    const uint16_t k = static_cast<uint16_t>(year % 100);
    const uint16_t j = static_cast<uint16_t>(year / 100);
    uint16_t sum = aDay;
    sum = static_cast<uint16_t>(sum + static_cast<uint16_t>(26 * (month + 1)) / 10);
    sum = static_cast<uint16_t>(sum + k + k / 4 + j / 4);
    sum = static_cast<uint16_t>(sum + 5 * j + 5);
    return static_cast<uint32_t>(sum % 7) + 1;
}

Kel_StatusCode Kel_Utils_GetEpochDate(DateTime* pDate)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pDate);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_Utils_CreateDateTime(1970, 1, 1, 0, 0, 0, 0, pDate));
    KEL_EXIT(status);
}

// Unix time counted from the local epoch date: the local calendar time as seconds since 1970-01-01
// 00:00:00 local.
Kel_StatusCode Kel_Utils_DateTimeToUnixTime(const DateTime* pDateTime, uint32_t* pUnixTime)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pDateTime);
    KEL_REJECT_NULL(pUnixTime);
    Kel_StatusCode status = Kel_Good;
    DateTime epoch{};
    int64_t difference = 0;
    KEL_GOTO_IF_BAD(status, Kel_Utils_GetEpochDate(&epoch));
    KEL_GOTO_IF_BAD(status, Kel_P_DateTime_DiffInSeconds(pDateTime, &epoch, &difference));
    *pUnixTime = difference < 0 ? 0u : static_cast<uint32_t>(difference);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Utils_UnixTimeToDateTime(uint32_t aUnixTime, DateTime* pDateTime)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pDateTime);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_Utils_GetEpochDate(pDateTime));
    KEL_GOTO_IF_BAD(status, Kel_P_DateTime_AddSeconds(pDateTime, static_cast<int32_t>(aUnixTime)));
    KEL_EXIT(status);
}

// "2024-03-15T10:20:30.000Z" from the local calendar fields (the "Z" is written although the fields
// are local time, as this text has always been written).
Kel_StatusCode Kel_Utils_DateTimeToISOTime(const DateTime* pDateTime, char* pText, uint32_t aSize)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pDateTime);
    KEL_REJECT_NULL(pText);
    KEL_REJECT_IF(aSize <= 24, Kel_BadInvalidArgument);
    memset(pText, 0, aSize);
    Kel_StatusCode status = Kel_Good;
    DecodedFields fields{};
    KEL_GOTO_IF_BAD(status, Decode(pDateTime, &fields));
    snprintf(pText, aSize, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", fields.year, fields.month, fields.day,
             fields.hour, fields.minute, fields.second, fields.millisecond);
    KEL_EXIT(status);
}

// Reads "2024-03-15T10:20:30.000Z" or, without milliseconds, "2024-03-15T10:20:30Z". A field too
// large for its calendar field (a month of 257, say) is refused as out of range instead of being cut
// to the field's width.
Kel_StatusCode Kel_Utils_ISOTimeToDateTime(const char* pText, DateTime* pDateTime)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pText);
    KEL_REJECT_NULL(pDateTime);
    *pDateTime = DateTime{};
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, millisecond = 0;
    const int parsed =
        sscanf(pText, "%d-%d-%dT%d:%d:%d.%dZ", &year, &month, &day, &hour, &minute, &second, &millisecond);
    KEL_GOTO_CODE_IF(parsed != 6 && parsed != 7, Kel_BadInvalidArgument);
    if (parsed == 6)
        millisecond = 0;
    KEL_GOTO_CODE_IF(year < 0 || year > 0xFFFF || month < 0 || month > 0xFF || day < 0 || day > 0xFF ||
                         hour < 0 || hour > 0xFF || minute < 0 || minute > 0xFF || second < 0 ||
                         second > 0xFF || millisecond < 0 || millisecond > 0xFFFF,
                     Kel_BadOutOfRange);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status,
                    Kel_P_DateTime_CreateImp(static_cast<uint16_t>(year), static_cast<uint8_t>(month),
                                             static_cast<uint8_t>(day), static_cast<uint8_t>(hour),
                                             static_cast<uint8_t>(minute), static_cast<uint8_t>(second),
                                             static_cast<uint16_t>(millisecond), pDateTime));
    KEL_EXIT(status);
}

// "2024.03.15 10:20:30.000", cut to the buffer. No date, or one that cannot be decoded, leaves the
// text empty.
Kel_StatusCode Kel_Utils_DateTimeToStr(const DateTime* pDateTime, char* pText, uint32_t aSize)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pText);
    KEL_REJECT_ZERO(aSize);
    memset(pText, 0, aSize);
    if (Kel_Utils_IsEmptyDate(pDateTime) != 0)
        KEL_EXIT(Kel_Good);
    DecodedFields fields{};
    if (Kel_IsBad(Decode(pDateTime, &fields)))
        KEL_EXIT(Kel_Good);
    snprintf(pText, aSize, "%04d.%02d.%02d %02d:%02d:%02d.%03d", fields.year, fields.month, fields.day,
             fields.hour, fields.minute, fields.second, fields.millisecond);
    KEL_EXIT(Kel_Good);
}

// "[3] 01 02 03". The byte pieces are appended whole while they fit with the terminator, so a cut
// text ends after a complete byte.
Kel_StatusCode Kel_Utils_DataToStr(const uint8_t* pData, uint32_t aLength, char* pText, uint32_t aSize)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pText);
    KEL_REJECT_ZERO(aSize);
    memset(pText, 0, aSize);
    if (pData == KEL_NULL)
        KEL_EXIT(Kel_Good);
    snprintf(pText, aSize, "[%d]", static_cast<int>(aLength));
    size_t used = strlen(pText);
    for (uint32_t i = 0; i < aLength; i++)
    {
        char piece[4];
        snprintf(piece, sizeof(piece), " %02X", pData[i]);
        if (used + 3 >= aSize)
            break;
        memcpy(pText + used, piece, 3);
        used += 3;
    }
    KEL_EXIT(Kel_Good);
}

// Steps the month one at a time, carrying into the year; the day is kept, so a day the target month
// does not have fails in the clock's range checks instead of being clamped.
Kel_StatusCode Kel_Utils_AddMonths(DateTime* pDateTime, int16_t aMonths)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pDateTime);
    Kel_StatusCode status = Kel_Good;
    DecodedFields fields{};
    KEL_GOTO_IF_BAD(status, Decode(pDateTime, &fields));
    int year = fields.year;
    int month = fields.month;
    for (int16_t step = 0; step < aMonths; step++)
    {
        if (++month > 12)
        {
            month = 1;
            year++;
        }
    }
    for (int16_t step = 0; step > aMonths; step--)
    {
        if (--month < 1)
        {
            month = 12;
            year--;
        }
    }
    DateTime result{};
    KEL_GOTO_IF_BAD(status, Kel_P_DateTime_CreateImp(static_cast<uint16_t>(year), static_cast<uint8_t>(month),
                                                     fields.day, fields.hour, fields.minute, fields.second,
                                                     fields.millisecond, &result));
    *pDateTime = result;
    KEL_EXIT(status);
}

// The clock is read three times (local, UTC, local) and again when the two local readings differ, so
// that a second boundary between the readings cannot take a minute off the shift.
Kel_StatusCode Kel_Utils_GetLocalTimeShift(uint16_t* pMinutes)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pMinutes);
    Kel_StatusCode status = Kel_Good;
    DateTime local{};
    DateTime utc{};
    DateTime localAfter{};
    for (int attempt = 0; attempt < 3; attempt++)
    {
        KEL_GOTO_IF_BAD(status, Kel_P_DateTime_GetTimeOfDayLocal(&local));
        KEL_GOTO_IF_BAD(status, Kel_P_DateTime_GetTimeOfDayUTC(&utc));
        KEL_GOTO_IF_BAD(status, Kel_P_DateTime_GetTimeOfDayLocal(&localAfter));
        if (local.seconds == localAfter.seconds)
            break;
    }
    int64_t shift = 0;
    KEL_GOTO_IF_BAD(status, Kel_P_DateTime_DiffInSeconds(&local, &utc, &shift));
    *pMinutes = static_cast<uint16_t>(shift / 60);
    KEL_EXIT(status);
}

// ---- Numbers, bits, strings, sorting ----

// The magnitude is rounded half up through an unsigned 32-bit integer; magnitudes beyond 32 bits
// wrap as that conversion always has (and give 0 beyond 64 bits or for a value that is not a number).
double Kel_Utils_RoundValue(double aValue, uint8_t aDigits)
{
    const bool negative = aValue < 0.0;
    double magnitude = negative ? -aValue : aValue;
    for (uint8_t i = 0; i < aDigits; i++)
        magnitude *= 10.0;
    magnitude += 0.5;
    const uint32_t truncated =
        magnitude < 18446744073709551616.0 ? static_cast<uint32_t>(static_cast<uint64_t>(magnitude)) : 0u;
    double result = static_cast<double>(truncated);
    for (uint8_t i = 0; i < aDigits; i++)
        result /= 10.0;
    return negative ? -result : result;
}

// Whole-number powers by repeated multiplication; a fractional exponent is rounded up.
double Kel_Utils_MathPow(double aBase, double aExponent)
{
    double result = 1.0;
    if (aExponent <= 0.0)
        return result;
    for (double count = 0.0; count < aExponent; count += 1.0)
        result *= aBase;
    return result;
}

double Kel_Utils_MathAbs(double aValue)
{
    return aValue < 0.0 ? -aValue : aValue;
}

uint32_t Kel_Utils_IsSetBit64(uint32_t aMaskLow, uint32_t aMaskHigh, int8_t aBit)
{
    if (aBit < 0 || aBit > 63)
        return 0;
    const uint64_t mask = (static_cast<uint64_t>(aMaskHigh) << 32) | aMaskLow;
    return static_cast<uint32_t>((mask >> aBit) & 1u);
}

Kel_StatusCode Kel_Utils_SetBit64(uint64_t* pMask, int8_t aBit)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pMask);
    KEL_REJECT_IF(aBit < 0 || aBit > 63, Kel_BadInvalidArgument);
    *pMask |= static_cast<uint64_t>(1) << aBit;
    KEL_EXIT(Kel_Good);
}

// Overlapping occurrences count: the search restarts one character after each match's start. An
// empty substring occurs nowhere (count 0).
Kel_StatusCode Kel_Utils_CountSubstringsInString(const char* pString, const char* pSubString,
                                                 uint32_t* pCount)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pString);
    KEL_REJECT_NULL(pSubString);
    KEL_REJECT_NULL(pCount);
    *pCount = 0;
    if (*pSubString == '\0')
        KEL_EXIT(Kel_Good);
    for (const char* pMatch = strstr(pString, pSubString); pMatch != KEL_NULL;
         pMatch = strstr(pMatch + 1, pSubString))
        (*pCount)++;
    KEL_EXIT(Kel_Good);
}

// The C library's quicksort (not stable). The last argument is accepted and ignored.
Kel_StatusCode Kel_Utils_QSort(void* pElements, uint32_t aCount, uint32_t aElementSize,
                               Kel_Utils_CompareFunction pfnCompare, void* pUnused)
{
    KEL_ENTER(Kel_Module_Utils);
    (void)pUnused;
    KEL_REJECT_NULL(pElements);
    KEL_REJECT_NULL(pfnCompare);
    KEL_REJECT_ZERO(aCount);
    KEL_REJECT_ZERO(aElementSize);
    qsort(pElements, aCount, aElementSize, pfnCompare);
    KEL_EXIT(Kel_Good);
}

// Writes one backslash over the terminator of a non-empty path that does not end in one, when the
// text is shorter than the buffer. No new terminator follows it: the caller's buffer must hold one
// (kept as the callers have always relied on).
Kel_StatusCode Kel_Utils_SetPathSeparator(char* pPath, uint32_t aSize)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pPath);
    const size_t length = strnlen(pPath, aSize);
    if (length > 0 && length < aSize && pPath[length - 1] != '\\')
        pPath[length] = '\\';
    KEL_EXIT(Kel_Good);
}

// ---- Periodic timer test ----

Kel_StatusCode Kel_Utils_IsTimer(Kel_P_Stopwatch_Context* pStopwatch, uint32_t aPeriodLow,
                                 uint32_t aPeriodHigh, uint32_t aStartIfStopped, uint32_t aRestart,
                                 uint32_t* pIsTimer)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pStopwatch);
    KEL_REJECT_NULL(pIsTimer);
    *pIsTimer = 0;
    Kel_StatusCode status = Kel_Good;
    uint32_t running = 0;
    KEL_GOTO_IF_BAD(status, Kel_P_Stopwatch_IsRunning(pStopwatch, &running));
    if (running != 0)
    {
        const uint64_t period = (static_cast<uint64_t>(aPeriodHigh) << 32) | aPeriodLow;
        uint64_t elapsed = 0;
        KEL_GOTO_IF_BAD(status, Kel_P_Stopwatch_GetMSecElapsed(pStopwatch, &elapsed));
        if (elapsed < period)
            KEL_EXIT(status);
    }
    else if (aStartIfStopped == 0)
    {
        KEL_EXIT(status);
    }
    if (aRestart != 0)
        KEL_GOTO_IF_BAD(status, Kel_P_Stopwatch_Restart(pStopwatch));
    else
        KEL_GOTO_IF_BAD(status, Kel_P_Stopwatch_Reset(pStopwatch));
    *pIsTimer = 1;
    KEL_EXIT(status);
}

// ---- Watchdog helpers ----
// No platform of this library provides a watchdog, so starting one fails with Kel_BadNotImplemented.

Kel_StatusCode Kel_Utils_StartWatchdog(Kel_Utils_Watchdog_Context* pWatchdog, uint32_t aTimeout,
                                       uint32_t aFlags)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pWatchdog);
    KEL_REJECT_ZERO(aTimeout);
    KEL_REJECT_ZERO(aFlags);
    *pWatchdog = Kel_Utils_Watchdog_Context{};
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_P_Stopwatch_Reset(&pWatchdog->stopwatch));
    KEL_GOTO_IF_BAD(status, Kel_P_WatchDog_Create(&pWatchdog->watchdog, aTimeout, aFlags));
    KEL_GOTO_IF_BAD(status, Kel_P_WatchDog_Start(&pWatchdog->watchdog));
    KEL_EXIT(status);
}

// Refreshes the watchdog at most once a second: the first call refreshes at once and starts timing.
Kel_StatusCode Kel_Utils_ResetWatchdog(Kel_Utils_Watchdog_Context* pWatchdog)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pWatchdog);
    Kel_StatusCode status = Kel_Good;
    uint32_t isTimer = 0;
    KEL_GOTO_IF_BAD(status, Kel_Utils_IsTimer(&pWatchdog->stopwatch, 1000, 0, 1, 1, &isTimer));
    if (isTimer != 0)
        KEL_GOTO_IF_BAD(status, Kel_P_WatchDog_Refresh(&pWatchdog->watchdog));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Utils_StopWatchdog(Kel_Utils_Watchdog_Context* pWatchdog)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pWatchdog);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_P_WatchDog_Stop(&pWatchdog->watchdog));
    KEL_GOTO_IF_BAD(status, Kel_P_WatchDog_Close(&pWatchdog->watchdog));
    KEL_EXIT(status);
}
