// Golden lines of the trace skeleton, read back from a temporary trace file.
#define KEL_TRACE_FILE "tests/shared/test_kel_trace"
#include "shared/kel_trace.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace
{
std::string ReadFile(const char* pPath)
{
    std::ifstream in(pPath); // text mode: the Windows build writes CRLF line ends
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

Kel_StatusCode SampleFunction(void* pSerialChannelContext)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    KEL_REJECT_NULL(pSerialChannelContext);
    KEL_EXIT(0x0001ABCDu);
}
} // namespace

TEST(Trace, EntryAndExitLines)
{
    remove("golden.txt");
    ASSERT_EQ(Kel_Trace_Initialize(4), Kel_Good);
    ASSERT_EQ(Kel_P_Trace_File_Enable("golden.txt"), Kel_Good);
    int dummy = 0;
    EXPECT_EQ(SampleFunction(&dummy), 0x00010000u);
    EXPECT_EQ(SampleFunction(nullptr), Kel_BadInvalidArgument);
    ASSERT_EQ(Kel_P_Trace_File_Disable(), Kel_Good);
    Kel_Trace_Finalize();
    EXPECT_EQ(ReadFile("golden.txt"),
              "--> Kel_Module_SerialChannel::SampleFunction (0x00000009)\n\n"
              "<-- \"SampleFunction\" = 0x0001ABCD (GOOD).\n\n"
              "--> Kel_Module_SerialChannel::SampleFunction (0x00000009)\n\n"
              "<-- ReturnError: Arg pSerialChannelContext is NULL!\n, File=tests/shared/test_kel_trace, Line=25\n");
}
