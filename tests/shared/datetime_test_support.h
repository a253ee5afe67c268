// Test support for the clock and the utilities: trace lines read back from a temporary trace file,
// and a fixed time zone for the POSIX build.
#pragma once

#include "shared/kel_trace.h"
#include "shared/trace_capture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

namespace datetime_test
{
using ::TraceCapture;

// The clock's source file as named in its error lines.
#if defined(_WIN32)
inline const std::string kClockFile = "shared/src/shared/platform/windows/kel_p_datetime";
#else
inline const std::string kClockFile = "shared/src/shared/platform/posix/kel_p_datetime";
#endif
inline const std::string kUtilsFile = "shared/src/shared/kel_utils";

// Sets this process's time zone through its TZ variable (a POSIX-style text such as "UTC0", "XXX-3"
// or "XXX5", which the C libraries of both builds read) and restores the previous setting. The
// machine's own zone is left alone.
class ScopedTimeZone
{
public:
    explicit ScopedTimeZone(const char* pZone)
    {
        const char* pOld = getenv("TZ");
        hadOld_ = pOld != nullptr;
        if (hadOld_)
            old_ = pOld;
        Set(pZone);
    }
    ~ScopedTimeZone() { Set(hadOld_ ? old_.c_str() : nullptr); }

private:
    static void Set(const char* pZone)
    {
#if defined(_WIN32)
        static std::string assignment; // _putenv keeps no copy on every runtime
        assignment = std::string("TZ=") + (pZone != nullptr ? pZone : "");
        _putenv(assignment.c_str());
        _tzset();
#else
        if (pZone != nullptr)
            setenv("TZ", pZone, 1);
        else
            unsetenv("TZ");
        tzset();
#endif
    }

    bool hadOld_ = false;
    std::string old_;
};
} // namespace datetime_test
