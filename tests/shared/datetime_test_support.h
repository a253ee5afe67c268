// Test support for the clock and the utilities: trace lines read back from a temporary trace file,
// and a fixed time zone for the POSIX build.
#pragma once

#include "shared/kel_trace.h"

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
// Collects the trace lines written while it lives (level 4, so every line the module filter lets
// through). An error line's text ends in its own line end, so its ", File=..., Line=..." part comes
// out on the next line: it is joined back to its text here, and the line number is replaced by "N"
// so that the texts can be compared.
class TraceCapture
{
public:
    TraceCapture()
    {
        remove(kFile);
        Kel_Trace_Initialize(4);
        Kel_P_Trace_File_Enable(kFile);
    }
    ~TraceCapture() { Stop(); }

    // The non-empty lines written so far; stops the capture.
    std::vector<std::string> Lines()
    {
        Stop();
        std::ifstream in(kFile); // text mode: the Windows build writes CRLF line ends
        std::vector<std::string> lines;
        std::string line;
        static const std::regex lineNumber(", Line=[0-9]+$");
        while (std::getline(in, line))
        {
            if (line.empty())
                continue;
            line = std::regex_replace(line, lineNumber, ", Line=N");
            if (line.rfind(", File=", 0) == 0 && !lines.empty())
                lines.back() += line;
            else
                lines.push_back(line);
        }
        return lines;
    }

private:
    void Stop()
    {
        if (stopped_)
            return;
        stopped_ = true;
        Kel_P_Trace_File_Disable();
        Kel_Trace_Finalize();
    }

    static constexpr const char* kFile = "datetime_trace.txt";
    bool stopped_ = false;
};

// The clock's source file as named in its error lines.
#if defined(_WIN32)
inline const std::string kClockFile = "shared/src/shared/platform/windows/kel_p_datetime";
#else
inline const std::string kClockFile = "shared/src/shared/platform/posix/kel_p_datetime";
#endif
inline const std::string kUtilsFile = "shared/src/shared/kel_utils";

// Sets the process's time zone (a POSIX TZ text such as "UTC0" or "XXX-3") and restores the previous
// one. Only the POSIX build can choose its zone: the Windows build under wine keeps the machine's.
#if !defined(_WIN32)
class ScopedTimeZone
{
public:
    explicit ScopedTimeZone(const char* pZone)
    {
        const char* pOld = getenv("TZ");
        hadOld_ = pOld != nullptr;
        if (hadOld_)
            old_ = pOld;
        setenv("TZ", pZone, 1);
        tzset();
    }
    ~ScopedTimeZone()
    {
        if (hadOld_)
            setenv("TZ", old_.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

private:
    bool hadOld_ = false;
    std::string old_;
};
#endif
} // namespace datetime_test
