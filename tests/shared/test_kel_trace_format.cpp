// The trace's own formatting against the C library's: every conversion it writes itself, with its flags
// and widths, and the formats it hands whole to the C library.
#include "shared/kel_trace.h"
#include "shared/platform/kel_p_trace.h"

#include <gtest/gtest.h>

#include <climits>
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
} // namespace

TEST(TraceFormat, LinesMatchTheCLibrary)
{
    remove("format.txt");
    ASSERT_EQ(Kel_Trace_Initialize(4), Kel_Good);
    ASSERT_EQ(Kel_P_Trace_File_Enable("format.txt"), Kel_Good);
    std::string expected;
    char text[256];
#define KEL_CHECK_FORMAT(...)                                                                                \
    Kel_P_Trace_Imp(Kel_Module_Serial, 4, nullptr, 0, "f", 1, __VA_ARGS__);                                  \
    snprintf(text, sizeof(text), __VA_ARGS__);                                                               \
    expected += std::string(text) + "\n"
    KEL_CHECK_FORMAT("d=%d i=%i u=%u neg=%d min=%d", 0, 123, 4000000000u, -7, INT_MIN);
    KEL_CHECK_FORMAT("w=%5d|%05d|%05d|%2d|%08x|%4X|%x|%X", 42, 42, -42, 12345, 0xBEEFu, 0xAu, 0xDEADBEEFu,
                     0u);
    KEL_CHECK_FORMAT("s=%s|%6s|%2s|%%|%s", "abc", "abc", "abcdef", "");
    // Handed whole to the C library: '-', a precision, a length modifier, %c, %f.
    KEL_CHECK_FORMAT("%-5d|%.3s|%ld|%c|%.2f|%d", 7, "abcdef", 123456789L, 'Z', 50.01, 9);
    KEL_CHECK_FORMAT("no conversion");
#undef KEL_CHECK_FORMAT
    ASSERT_EQ(Kel_P_Trace_File_Disable(), Kel_Good);
    ASSERT_EQ(Kel_Trace_Finalize(), Kel_Good);
    EXPECT_EQ(ReadFile("format.txt"), expected);
    remove("format.txt");
}
