// The clock on POSIX: the C library's thread-safe local and UTC conversions, and the setting of the
// system clock. The rest of the clock is common to both platforms (platform/kel_p_datetime.cpp).
#define KEL_TRACE_FILE "shared/src/shared/platform/posix/kel_p_datetime"
#include "shared/platform/kel_p_datetime.h"

#include "shared/kel_trace.h"
#include "shared/platform/kel_p_datetime_os.h"

#include <time.h>

const char Kel_P_DateTime_TraceFile[] = KEL_TRACE_FILE;

tm* Kel_P_DateTime_LocalFields(time_t aSeconds, tm* pFields)
{
    return localtime_r(&aSeconds, pFields);
}

tm* Kel_P_DateTime_UtcFields(time_t aSeconds, tm* pFields)
{
    return gmtime_r(&aSeconds, pFields);
}

// Sets the system clock from the record's local calendar fields, handed to the clock as UTC fields
// unchanged, as the Windows build's SetSystemTime call does.
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
    tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    timespec systemTime{};
    systemTime.tv_sec = timegm(&fields);
    systemTime.tv_nsec = static_cast<long>(millisecond) * 1000000L;
    KEL_GOTO_IF_EXPR((clock_settime(CLOCK_REALTIME, &systemTime) != 0));
    KEL_EXIT(status);
}
