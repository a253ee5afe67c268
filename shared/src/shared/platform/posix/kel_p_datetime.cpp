// The clock on POSIX: the C library's local and UTC conversions, and the setting of the system clock.
// The rest of the clock is common to both platforms (platform/kel_p_datetime.cpp).
#define KEL_TRACE_FILE "shared/src/shared/platform/posix/kel_p_datetime"
#include "shared/platform/kel_p_datetime.h"

#include "shared/kel_trace.h"
#include "shared/platform/kel_p_datetime_os.h"

#include <time.h>

const char Kel_P_DateTime_TraceFile[] = KEL_TRACE_FILE;

namespace
{
bool SameFields(const tm& aLeft, const tm& aRight)
{
    return aLeft.tm_year == aRight.tm_year && aLeft.tm_mon == aRight.tm_mon &&
           aLeft.tm_mday == aRight.tm_mday && aLeft.tm_hour == aRight.tm_hour &&
           aLeft.tm_min == aRight.tm_min && aLeft.tm_sec == aRight.tm_sec;
}

// mktime reads the time-zone setting again on every call, and the C library then copies the zone's
// name onto the heap when TZ is not set: one allocation per conversion, on the exchange path of every
// export that dates a record. Fields that name exactly one local instant are converted without it:
// read as UTC (timegm), less each zone offset in force within a day of that, and checked by converting
// back with localtime_r, which reads the setting once. Fields with tm_isdst given, fields out of their
// ranges, and times that a daylight-saving change skips or repeats are left to mktime (false). As for
// localtime_r, a change of TZ while the process runs takes effect at its next tzset().
bool UniqueLocalSeconds(const tm* pFields, time_t* pSeconds)
{
    if (pFields->tm_isdst >= 0)
        return false;
    tm asUtcFields = *pFields;
    const time_t asUtc = timegm(&asUtcFields);
    if (!SameFields(asUtcFields, *pFields))
        return false;
    int matches = 0;
    time_t found = 0;
    long tried[5] = {};
    int triedCount = 0;
    const time_t probes[5] = {asUtc - 86400, asUtc - 43200, asUtc, asUtc + 43200, asUtc + 86400};
    for (const time_t probe : probes)
    {
        tm probeFields{};
        if (localtime_r(&probe, &probeFields) == nullptr)
            return false;
        const long offset = probeFields.tm_gmtoff;
        bool seen = false;
        for (int i = 0; i < triedCount; ++i)
            seen = seen || tried[i] == offset;
        if (seen)
            continue;
        tried[triedCount++] = offset;
        const time_t candidate = asUtc - offset;
        tm candidateFields{};
        if (localtime_r(&candidate, &candidateFields) != nullptr && SameFields(candidateFields, *pFields) &&
            candidateFields.tm_gmtoff == offset)
        {
            ++matches;
            found = candidate;
        }
    }
    if (matches != 1)
        return false;
    *pSeconds = found;
    return true;
}
} // namespace

bool Kel_P_DateTime_LocalSeconds(const tm* pFields, int64_t* pSeconds)
{
    time_t unique = 0;
    if (UniqueLocalSeconds(pFields, &unique))
    {
        *pSeconds = static_cast<int64_t>(unique);
        return true;
    }
    tm fields = *pFields;
    const time_t converted = mktime(&fields);
    if (converted == static_cast<time_t>(-1))
    {
        // mktime's failure value is also the instant 1969-12-31 23:59:59 UTC: take it only when that
        // instant reads back as the fields asked for.
        tm check{};
        if (localtime_r(&converted, &check) == nullptr || check.tm_year != pFields->tm_year ||
            check.tm_mon != pFields->tm_mon || check.tm_mday != pFields->tm_mday ||
            check.tm_hour != pFields->tm_hour || check.tm_min != pFields->tm_min ||
            check.tm_sec != pFields->tm_sec)
            return false;
    }
    *pSeconds = static_cast<int64_t>(converted);
    return true;
}

tm* Kel_P_DateTime_LocalFields(int64_t aSeconds, tm* pFields)
{
    const time_t seconds = static_cast<time_t>(aSeconds);
    return localtime_r(&seconds, pFields);
}

tm* Kel_P_DateTime_UtcFields(int64_t aSeconds, tm* pFields)
{
    const time_t seconds = static_cast<time_t>(aSeconds);
    return gmtime_r(&seconds, pFields);
}

bool Kel_P_DateTime_SetSystemClock(const tm& aFields, uint16_t aMillisecond, const char** pFailedCall)
{
    tm fields = aFields;
    timespec systemTime{};
    systemTime.tv_sec = timegm(&fields);
    systemTime.tv_nsec = static_cast<long>(aMillisecond) * 1000000L;
    *pFailedCall = "(clock_settime(CLOCK_REALTIME, &systemTime) != 0)";
    return clock_settime(CLOCK_REALTIME, &systemTime) == 0;
}
