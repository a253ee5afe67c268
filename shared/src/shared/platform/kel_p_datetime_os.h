// The operating-system side of the clock, one implementation per platform (posix/ and windows/
// kel_p_datetime.cpp). The clock's functions themselves are one source for both platforms
// (kel_p_datetime.cpp beside this header); their trace lines carry the platform file's name, which
// each platform supplies here.
//
// Both platforms convert every instant of the record's signed 32-bit seconds, 1901-12-13 20:45:52 to
// 2038-01-19 03:14:07 UTC, in either direction.
#pragma once

#include "shared/kel_types.h"

#include <time.h>

// "shared/src/shared/platform/<platform>/kel_p_datetime": the file named in the clock's trace lines.
extern const char Kel_P_DateTime_TraceFile[];

// Seconds since 1970-01-01 00:00:00 UTC of local calendar fields, through the C library's mktime
// (the caller sets tm_isdst to -1 to let it decide daylight saving). False when it cannot convert
// them. The result may lie outside 32 bits: the caller checks the range.
bool Kel_P_DateTime_LocalSeconds(const tm* pFields, int64_t* pSeconds);
// Local calendar fields of an instant, through the C library's thread-safe local-time conversion;
// null when it cannot convert the instant.
tm* Kel_P_DateTime_LocalFields(int64_t aSeconds, tm* pFields);
// UTC calendar fields of an instant; null when the C library cannot convert it.
tm* Kel_P_DateTime_UtcFields(int64_t aSeconds, tm* pFields);
// Sets the system clock to the calendar fields and milliseconds, taken as UTC. False when the system
// refuses; *pFailedCall is then the refused call as the trace line names it.
bool Kel_P_DateTime_SetSystemClock(const tm& aFields, uint16_t aMillisecond, const char** pFailedCall);
