// The flush thread: it flushes the trace file every 10 ms while the first session runs, and the first
// Finalize ends it for the life of the process. Kept in an executable of its own, since no earlier
// session may have run in the process.
#include "shared/kel_trace.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

namespace
{
std::string ReadText(const char* pPath)
{
    std::ifstream in(pPath);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// Waits up to aSeconds for the file to show aText (the flush thread has no fixed latency under load).
bool Shows(const char* pPath, const std::string& aText, double aSeconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(aSeconds);
    while (std::chrono::steady_clock::now() < end)
    {
        if (ReadText(pPath) == aText)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return ReadText(pPath) == aText;
}
} // namespace

TEST(TraceFlush, FlushesWhileTheFirstSessionRunsAndNeverAfterIt)
{
    remove("flush.txt");
    ASSERT_EQ(Kel_Trace_Initialize(4), Kel_Good);
    ASSERT_EQ(Kel_P_Trace_File_Enable("flush.txt"), Kel_Good);
    Kel_P_Trace_Imp(Kel_Module_Serial, 4, nullptr, 0, "f", 1, "first session\n");
    // The line sits in the stream's buffer until the flush thread writes it out.
    EXPECT_TRUE(Shows("flush.txt", "first session\n\n", 5.0));
    ASSERT_EQ(Kel_Trace_Finalize(), Kel_Good);

    // Files stay open across Finalize; the next enable closes and reopens them.
    ASSERT_EQ(Kel_Trace_Initialize(4), Kel_Good);
    ASSERT_EQ(Kel_P_Trace_File_Enable("flush.txt"), Kel_Good);
    Kel_P_Trace_Imp(Kel_Module_Serial, 4, nullptr, 0, "f", 2, "second session\n");
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(ReadText("flush.txt"), "first session\n\n");
    ASSERT_EQ(Kel_P_Trace_File_Disable(), Kel_Good);
    EXPECT_EQ(ReadText("flush.txt"), "first session\n\nsecond session\n\n");
    ASSERT_EQ(Kel_Trace_Finalize(), Kel_Good);
    remove("flush.txt");
}
