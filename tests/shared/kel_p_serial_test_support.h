// Helpers shared by the serial port tests: trace capture into a temporary file, a monotonic clock,
// environment variables, and the source path the port's trace lines name.
#pragma once

#include "shared/kel_trace.h"
#include "shared/platform/kel_p_serial.h"
#include "shared/trace_capture.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#if defined(_WIN32)
constexpr const char* kSerialTraceFile = "shared/src/shared/platform/windows/kel_p_serial";
#else
constexpr const char* kSerialTraceFile = "shared/src/shared/platform/posix/kel_p_serial";
#endif

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

inline std::string GetEnvironment(const char* pName)
{
    const char* value = getenv(pName);
    return value != nullptr ? value : "";
}

// ", File=<serial source>, Line=#" as error lines end.
inline std::string At()
{
    return std::string(", File=") + kSerialTraceFile + ", Line=#\n";
}
