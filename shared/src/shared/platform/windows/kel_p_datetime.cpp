// The clock on Windows: the C runtime's thread-safe local and UTC conversions, and the setting of
// the system clock. The rest of the clock is common to both platforms (platform/kel_p_datetime.cpp).
#define KEL_TRACE_FILE "shared/src/shared/platform/windows/kel_p_datetime"
#include "shared/platform/kel_p_datetime.h"

#include "shared/kel_trace.h"
#include "shared/platform/kel_p_datetime_os.h"

#include <time.h>
#include <windows.h>

const char Kel_P_DateTime_TraceFile[] = KEL_TRACE_FILE;

tm* Kel_P_DateTime_LocalFields(time_t aSeconds, tm* pFields)
{
    return localtime_s(pFields, &aSeconds) == 0 ? pFields : KEL_NULL;
}

tm* Kel_P_DateTime_UtcFields(time_t aSeconds, tm* pFields)
{
    return gmtime_s(pFields, &aSeconds) == 0 ? pFields : KEL_NULL;
}

// Sets the system clock from the record's local calendar fields. SetSystemTime takes UTC fields; the
// local fields are passed to it unchanged, as this call has always done.
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
    SYSTEMTIME systemTime{};
    systemTime.wYear = year;
    systemTime.wMonth = month;
    systemTime.wDay = day;
    systemTime.wHour = hour;
    systemTime.wMinute = minute;
    systemTime.wSecond = second;
    systemTime.wMilliseconds = millisecond;
    KEL_GOTO_IF_EXPR((SetSystemTime(&systemTime) == 0));
    KEL_EXIT(status);
}
