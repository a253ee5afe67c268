// Helpers of the serial port tests: a monotonic clock, environment variables and the source path that
// the port's error lines name.
#pragma once

#include "shared/platform/kel_p_serial.h"
#include "shared/trace_capture.h"

#include <chrono>
#include <cstdlib>
#include <string>

inline int64_t MonotonicMs()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

inline void SetEnvironment(const char* pName, const std::string& aValue)
{
#if defined(_WIN32)
    _putenv_s(pName, aValue.c_str());
#else
    setenv(pName, aValue.c_str(), 1);
#endif
}

// ", File=<serial source>, Line=#" as error lines end.
inline std::string At()
{
#if defined(_WIN32)
    return ", File=shared/src/shared/platform/windows/kel_p_serial, Line=#\n";
#else
    return ", File=shared/src/shared/platform/posix/kel_p_serial, Line=#\n";
#endif
}
