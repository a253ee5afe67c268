// The trace of a test read back from a temporary file. The trace is process-wide state: a capture
// switches it on at level 4 (every line the module filter lets through) and off again when done.
#pragma once

#include "shared/kel_trace.h"
#include "shared/platform/kel_p_trace.h"

#include <cstdio>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

inline std::string ReadFile(const char* pPath)
{
    std::ifstream in(pPath); // text mode: the Windows build writes CRLF line ends
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

class TraceCapture
{
public:
    explicit TraceCapture(const char* pPath = "trace_capture.txt") : mPath(pPath)
    {
        remove(mPath);
        Kel_Trace_Initialize(4);
        Kel_P_Trace_File_Enable(mPath);
    }
    ~TraceCapture() { Stop(); }

    // The text written so far, as it is; stops the capture.
    std::string Stop()
    {
        if (mActive)
        {
            Kel_P_Trace_File_Disable();
            Kel_Trace_Finalize();
            mActive = false;
            mText = ReadFile(mPath);
        }
        return mText;
    }

    // The text with the line numbers replaced by '#', so that expected texts survive edits of sources.
    std::string Text() { return std::regex_replace(Stop(), std::regex("Line=[0-9]+"), "Line=#"); }

    // The non-empty lines. An error line's text ends in its own line end, so its ", File=..., Line=..."
    // part comes out on the next line: it is joined back to its text, the line number written "N".
    std::vector<std::string> Lines()
    {
        std::istringstream in(std::regex_replace(Stop(), std::regex("(, Line=)[0-9]+(\n|$)"), "$1N$2"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);)
        {
            if (line.rfind(", File=", 0) == 0 && !lines.empty())
                lines.back() += line;
            else if (!line.empty())
                lines.push_back(line);
        }
        return lines;
    }

private:
    const char* mPath;
    bool mActive = true;
    std::string mText;
};

// Lines of a trace without their ", File=..., Line=..." parts and blank lines, joined by '|'.
inline std::string Messages(const std::string& aText)
{
    std::istringstream lines(aText);
    std::string messages;
    for (std::string line; std::getline(lines, line);)
        if (line = line.substr(0, line.find(", File=")); !line.empty())
            messages += line + "|";
    return messages;
}
