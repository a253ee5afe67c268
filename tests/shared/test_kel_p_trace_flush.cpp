// The flush thread: it flushes the trace file every 10 ms while the first session runs, and the first
// Finalize ends it for the life of the process. Kept in an executable of its own, since no earlier
// session may have run in the process.
#include "shared/kel_trace.h"
#include "shared/trace_capture.h"
#include "shared/platform/kel_p_trace.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

TEST(TraceFlush, FlushesWhileTheFirstSessionRunsAndNeverAfterIt)
{
    remove("flush.txt");
    ASSERT_EQ(Kel_Trace_Initialize(4), Kel_Good);
    ASSERT_EQ(Kel_P_Trace_File_Enable("flush.txt"), Kel_Good);
    Kel_P_Trace_Imp(Kel_Module_Serial, 4, nullptr, 0, "f", 1, "first session\n");
    // The line sits in the stream's buffer until the flush thread writes it out; under load that has
    // no fixed latency, so the test waits up to 5 s.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (ReadFile("flush.txt") != "first session\n\n" && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(ReadFile("flush.txt"), "first session\n\n");
    ASSERT_EQ(Kel_Trace_Finalize(), Kel_Good);

    // Files stay open across Finalize; the next enable closes and reopens them.
    ASSERT_EQ(Kel_Trace_Initialize(4), Kel_Good);
    ASSERT_EQ(Kel_P_Trace_File_Enable("flush.txt"), Kel_Good);
    Kel_P_Trace_Imp(Kel_Module_Serial, 4, nullptr, 0, "f", 2, "second session\n");
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(ReadFile("flush.txt"), "first session\n\n");
    ASSERT_EQ(Kel_P_Trace_File_Disable(), Kel_Good);
    EXPECT_EQ(ReadFile("flush.txt"), "first session\n\nsecond session\n\n");
    ASSERT_EQ(Kel_Trace_Finalize(), Kel_Good);
    remove("flush.txt");
}
