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
