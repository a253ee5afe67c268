// The clock on Windows: the C runtime's local and UTC conversions, and the setting of the system
// clock. The rest of the clock is common to both platforms (platform/kel_p_datetime.cpp).
//
// The runtime's 32-bit conversions refuse every instant before 1970-01-01 00:00:00 UTC (and so, east
// of UTC, even the local epoch date 1970-01-01 00:00). Such instants are converted 28 years (or a
// multiple of it) later and moved back: from 1901 to 2099 the calendar repeats every 28 years, leap
// days and weekdays alike, and the runtime applies one set of daylight-saving rules to every year.
#define KEL_TRACE_FILE "shared/src/shared/platform/windows/kel_p_datetime"
#include "shared/platform/kel_p_datetime.h"

#include "shared/kel_trace.h"
#include "shared/platform/kel_p_datetime_os.h"

#include <time.h>
#include <windows.h>

const char Kel_P_DateTime_TraceFile[] = KEL_TRACE_FILE;

namespace
{
constexpr int kCycleYears = 28;
constexpr int64_t kCycleSeconds = (28 * 365 + 7) * 86400LL;
// Instants before 1971 are converted in a later cycle: 1971 keeps them clear of the runtime's limit
// in every time zone.
constexpr int kFirstSafeYear = 1971 - 1900;
constexpr int64_t kFirstSafeSecond = 365 * 86400LL;
} // namespace

bool Kel_P_DateTime_LocalSeconds(const tm* pFields, int64_t* pSeconds)
{
    int cycles = 0;
    if (pFields->tm_year < kFirstSafeYear)
        cycles = (kFirstSafeYear - pFields->tm_year + kCycleYears - 1) / kCycleYears;
    tm fields = *pFields;
    fields.tm_year += cycles * kCycleYears;
    // The runtime's time_t is 32 bits: no valid result is -1 once the instant lies after 1970.
    const time_t converted = mktime(&fields);
    if (converted == static_cast<time_t>(-1))
        return false;
    *pSeconds = static_cast<int64_t>(converted) - cycles * kCycleSeconds;
    return true;
}

tm* Kel_P_DateTime_LocalFields(int64_t aSeconds, tm* pFields)
{
    int cycles = 0;
    if (aSeconds < kFirstSafeSecond)
        cycles = static_cast<int>((kFirstSafeSecond - aSeconds + kCycleSeconds - 1) / kCycleSeconds);
    const int64_t shifted = aSeconds + cycles * kCycleSeconds;
    if (shifted > INT32_MAX)
        return nullptr;
    const time_t seconds = static_cast<time_t>(shifted);
    if (localtime_s(pFields, &seconds) != 0)
        return nullptr;
    pFields->tm_year -= cycles * kCycleYears;
    return pFields;
}

tm* Kel_P_DateTime_UtcFields(int64_t aSeconds, tm* pFields)
{
    if (aSeconds < 0 || aSeconds > INT32_MAX)
        return nullptr;
    const time_t seconds = static_cast<time_t>(aSeconds);
    return gmtime_s(pFields, &seconds) == 0 ? pFields : nullptr;
}

// SetSystemTime takes UTC fields.
bool Kel_P_DateTime_SetSystemClock(const tm& aFields, uint16_t aMillisecond, const char** pFailedCall)
{
    SYSTEMTIME systemTime{};
    systemTime.wYear = static_cast<WORD>(aFields.tm_year + 1900);
    systemTime.wMonth = static_cast<WORD>(aFields.tm_mon + 1);
    systemTime.wDay = static_cast<WORD>(aFields.tm_mday);
    systemTime.wHour = static_cast<WORD>(aFields.tm_hour);
    systemTime.wMinute = static_cast<WORD>(aFields.tm_min);
    systemTime.wSecond = static_cast<WORD>(aFields.tm_sec);
    systemTime.wMilliseconds = aMillisecond;
    *pFailedCall = "(SetSystemTime(&systemTime) == 0)";
    return SetSystemTime(&systemTime) != 0;
}
