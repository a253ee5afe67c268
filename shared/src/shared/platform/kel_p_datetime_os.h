// The operating-system side of the clock, one implementation per platform (posix/ and windows/
// kel_p_datetime.cpp). The clock's functions themselves are one source for both platforms
// (kel_p_datetime.cpp beside this header); their trace lines carry the platform file's name, which
// each platform supplies here.
#pragma once

#include "shared/kel_types.h"

#include <time.h>

// "shared/src/shared/platform/<platform>/kel_p_datetime": the file named in the clock's trace lines.
extern const char Kel_P_DateTime_TraceFile[];

// Local calendar fields of an instant, through the C library's thread-safe local-time conversion;
// null when it cannot convert the instant.
tm* Kel_P_DateTime_LocalFields(time_t aSeconds, tm* pFields);
// The same in UTC.
tm* Kel_P_DateTime_UtcFields(time_t aSeconds, tm* pFields);
