// Utilities: rounding and powers, 64-bit masks, substring counts, sorting, path separators, the hex
// text of a buffer and the periodic timer test.
#include "datetime_test_support.h"

#include "shared/kel_utils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

using datetime_test::kUtilsFile;
using datetime_test::TraceCapture;

namespace
{
std::string ErrorLine(const std::string& aText)
{
    return aText + ", File=" + kUtilsFile + ", Line=N";
}

int CompareInts(const void* pElement1, const void* pElement2)
{
    const int a = *static_cast<const int*>(pElement1);
    const int b = *static_cast<const int*>(pElement2);
    return (a > b) - (a < b);
}
} // namespace

TEST(Utils, RoundValueHalfAwayFromZero)
{
    EXPECT_DOUBLE_EQ(Kel_Utils_RoundValue(-2.375, 2), -2.38);
    EXPECT_DOUBLE_EQ(Kel_Utils_RoundValue(2.375, 2), 2.38);
    EXPECT_DOUBLE_EQ(Kel_Utils_RoundValue(2.5, 0), 3.0);
    EXPECT_DOUBLE_EQ(Kel_Utils_RoundValue(-2.5, 0), -3.0);
    EXPECT_DOUBLE_EQ(Kel_Utils_RoundValue(2.4999, 0), 2.0);
    EXPECT_DOUBLE_EQ(Kel_Utils_RoundValue(0.0, 3), 0.0);
    EXPECT_DOUBLE_EQ(Kel_Utils_RoundValue(49.9951, 2), 50.0);
    EXPECT_DOUBLE_EQ(Kel_Utils_RoundValue(1234.5678, 1), 1234.6);
    // The magnitude goes through an unsigned 32-bit integer.
    EXPECT_DOUBLE_EQ(Kel_Utils_RoundValue(4294967295.0, 0), 4294967295.0);
    EXPECT_DOUBLE_EQ(Kel_Utils_RoundValue(4294967296.0, 0), 0.0);
    EXPECT_DOUBLE_EQ(Kel_Utils_RoundValue(std::nan(""), 2), 0.0);
}

TEST(Utils, MathPowRoundsTheExponentUp)
{
    EXPECT_DOUBLE_EQ(Kel_Utils_MathPow(2.0, 2.5), 8.0);
    EXPECT_DOUBLE_EQ(Kel_Utils_MathPow(2.0, 3.0), 8.0);
    EXPECT_DOUBLE_EQ(Kel_Utils_MathPow(10.0, 0.1), 10.0);
    EXPECT_DOUBLE_EQ(Kel_Utils_MathPow(-3.0, 3.0), -27.0);
    EXPECT_DOUBLE_EQ(Kel_Utils_MathPow(5.0, 0.0), 1.0);
    EXPECT_DOUBLE_EQ(Kel_Utils_MathPow(5.0, -2.0), 1.0);
    EXPECT_DOUBLE_EQ(Kel_Utils_MathAbs(-1.5), 1.5);
    EXPECT_DOUBLE_EQ(Kel_Utils_MathAbs(1.5), 1.5);
    EXPECT_DOUBLE_EQ(Kel_Utils_MathAbs(0.0), 0.0);
}

TEST(Utils, Bits64)
{
    EXPECT_EQ(Kel_Utils_IsSetBit64(0x00000001u, 0, 0), 1u);
    EXPECT_EQ(Kel_Utils_IsSetBit64(0xFFFFFFFEu, 0xFFFFFFFFu, 0), 0u);
    EXPECT_EQ(Kel_Utils_IsSetBit64(0, 0x80000000u, 63), 1u);
    EXPECT_EQ(Kel_Utils_IsSetBit64(0xFFFFFFFFu, 0x7FFFFFFFu, 63), 0u);
    EXPECT_EQ(Kel_Utils_IsSetBit64(0, 0x00000001u, 32), 1u);
    EXPECT_EQ(Kel_Utils_IsSetBit64(0x80000000u, 0, 31), 1u);
    EXPECT_EQ(Kel_Utils_IsSetBit64(0xFFFFFFFFu, 0xFFFFFFFFu, 64), 0u);
    EXPECT_EQ(Kel_Utils_IsSetBit64(0xFFFFFFFFu, 0xFFFFFFFFu, -1), 0u);
    EXPECT_EQ(Kel_Utils_IsSetBit64(0xFFFFFFFFu, 0xFFFFFFFFu, -128), 0u);

    uint64_t mask = 0;
    EXPECT_EQ(Kel_Utils_SetBit64(&mask, 0), Kel_Good);
    EXPECT_EQ(Kel_Utils_SetBit64(&mask, 63), Kel_Good);
    EXPECT_EQ(Kel_Utils_SetBit64(&mask, 32), Kel_Good);
    EXPECT_EQ(mask, 0x8000000100000001ull);

    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_SetBit64(&mask, 64), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_SetBit64(&mask, -1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_SetBit64(nullptr, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(mask, 0x8000000100000001ull);
    EXPECT_EQ(trace.Lines(),
              (std::vector<std::string>{
                  ErrorLine("<-- ReturnError: aBit < 0 || aBit > 63 is true! Return 0x80AB0000"),
                  ErrorLine("<-- ReturnError: aBit < 0 || aBit > 63 is true! Return 0x80AB0000"),
                  ErrorLine("<-- ReturnError: Arg pMask is NULL!"),
              }));
}

TEST(Utils, CountSubstringsCountsOverlaps)
{
    uint32_t count = 99;
    EXPECT_EQ(Kel_Utils_CountSubstringsInString("aaa", "aa", &count), Kel_Good);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(Kel_Utils_CountSubstringsInString("abababa", "aba", &count), Kel_Good);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(Kel_Utils_CountSubstringsInString("OK\r\nOK\r\n", "\r\n", &count), Kel_Good);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(Kel_Utils_CountSubstringsInString("abc", "abcd", &count), Kel_Good);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(Kel_Utils_CountSubstringsInString("", "a", &count), Kel_Good);
    EXPECT_EQ(count, 0u);
    count = 99;
    EXPECT_EQ(Kel_Utils_CountSubstringsInString("abc", "", &count), Kel_Good);
    EXPECT_EQ(count, 0u);

    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_CountSubstringsInString(nullptr, "a", &count), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_CountSubstringsInString("a", nullptr, &count), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_CountSubstringsInString("a", "a", nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                 ErrorLine("<-- ReturnError: Arg pString is NULL!"),
                                 ErrorLine("<-- ReturnError: Arg pSubString is NULL!"),
                                 ErrorLine("<-- ReturnError: Arg pCount is NULL!"),
                             }));
}

TEST(Utils, QSortChecksItsArguments)
{
    int values[] = {5, -1, 3, 3, 0};
    EXPECT_EQ(Kel_Utils_QSort(values, 5, sizeof(int), CompareInts, nullptr), Kel_Good);
    EXPECT_EQ(std::vector<int>(values, values + 5), (std::vector<int>{-1, 0, 3, 3, 5}));
    int unused = 0;
    int descending[] = {3, 2, 1};
    EXPECT_EQ(Kel_Utils_QSort(descending, 2, sizeof(int), CompareInts, &unused),
              Kel_Good); // only the first two
    EXPECT_EQ(std::vector<int>(descending, descending + 3), (std::vector<int>{2, 3, 1}));

    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_QSort(nullptr, 5, sizeof(int), CompareInts, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_QSort(values, 5, sizeof(int), nullptr, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_QSort(values, 0, sizeof(int), CompareInts, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_QSort(values, 5, 0, CompareInts, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                 ErrorLine("<-- ReturnError: Arg pElements is NULL!"),
                                 ErrorLine("<-- ReturnError: Arg pfnCompare is NULL!"),
                                 ErrorLine("<-- ReturnError: Argument aCount is 0!"),
                                 ErrorLine("<-- ReturnError: Argument aElementSize is 0!"),
                             }));
}

TEST(Utils, SetPathSeparatorWritesNoTerminator)
{
    char path[8];
    memcpy(path, "tmp\0xyzw", 8);
    EXPECT_EQ(Kel_Utils_SetPathSeparator(path, sizeof(path)), Kel_Good);
    EXPECT_EQ(std::string(path, 8), std::string("tmp\\xyzw", 8)); // the byte after it stays 'x'

    memcpy(path, "tmp\\\0xyz", 8);
    EXPECT_EQ(Kel_Utils_SetPathSeparator(path, sizeof(path)), Kel_Good);
    EXPECT_EQ(std::string(path, 8), std::string("tmp\\\0xyz", 8));

    memcpy(path, "\0abcdefg", 8);
    EXPECT_EQ(Kel_Utils_SetPathSeparator(path, sizeof(path)), Kel_Good);
    EXPECT_EQ(std::string(path, 8), std::string("\0abcdefg", 8));

    // Seven characters in eight bytes: the backslash takes the terminator's place.
    memcpy(path, "abcdefg\0", 8);
    EXPECT_EQ(Kel_Utils_SetPathSeparator(path, sizeof(path)), Kel_Good);
    EXPECT_EQ(std::string(path, 8), std::string("abcdefg\\", 8));

    // No terminator within the buffer: not shorter than the buffer, left alone.
    memcpy(path, "abcdefgh", 8);
    EXPECT_EQ(Kel_Utils_SetPathSeparator(path, sizeof(path)), Kel_Good);
    EXPECT_EQ(std::string(path, 8), std::string("abcdefgh", 8));
    memcpy(path, "abc\0defg", 8);
    EXPECT_EQ(Kel_Utils_SetPathSeparator(path, 3), Kel_Good);
    EXPECT_EQ(std::string(path, 8), std::string("abc\0defg", 8));

    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_SetPathSeparator(nullptr, 8), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Lines(), std::vector<std::string>{ErrorLine("<-- ReturnError: Arg pPath is NULL!")});
}

TEST(Utils, DataToStr)
{
    const uint8_t data[] = {0x01, 0x02, 0x03};
    char text[20];
    memset(text, 'x', sizeof(text));
    EXPECT_EQ(Kel_Utils_DataToStr(data, 3, text, sizeof(text)), Kel_Good);
    EXPECT_STREQ(text, "[3] 01 02 03");
    EXPECT_EQ(text[19], '\0'); // the whole buffer is zeroed

    const uint8_t high[] = {0xAB, 0xFF, 0x00};
    EXPECT_EQ(Kel_Utils_DataToStr(high, 3, text, sizeof(text)), Kel_Good);
    EXPECT_STREQ(text, "[3] AB FF 00");
    EXPECT_EQ(Kel_Utils_DataToStr(data, 0, text, sizeof(text)), Kel_Good);
    EXPECT_STREQ(text, "[0]");

    // Cut to the buffer after the last whole byte: 12 characters need 13 bytes.
    memset(text, 'x', sizeof(text));
    EXPECT_EQ(Kel_Utils_DataToStr(data, 3, text, 13), Kel_Good);
    EXPECT_STREQ(text, "[3] 01 02 03");
    memset(text, 'x', sizeof(text));
    EXPECT_EQ(Kel_Utils_DataToStr(data, 3, text, 12), Kel_Good);
    EXPECT_STREQ(text, "[3] 01 02");
    EXPECT_EQ(text[11], '\0');
    EXPECT_EQ(text[12], 'x');
    EXPECT_EQ(Kel_Utils_DataToStr(data, 3, text, 3), Kel_Good);
    EXPECT_STREQ(text, "[3");

    memset(text, 'x', sizeof(text));
    EXPECT_EQ(Kel_Utils_DataToStr(nullptr, 3, text, sizeof(text)), Kel_Good);
    EXPECT_EQ(Kel_Utils_IsEmpty(text, sizeof(text)), 1u);

    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_DataToStr(data, 3, nullptr, 10), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_DataToStr(data, 3, text, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                 ErrorLine("<-- ReturnError: Arg pText is NULL!"),
                                 ErrorLine("<-- ReturnError: Argument aSize is 0!"),
                             }));
}

TEST(Utils, IsTimerOverAStopwatch)
{
    Kel_P_Stopwatch_Context stopwatch{};
    uint32_t isTimer = 7;

    // Stopped, no start flag: nothing happens.
    EXPECT_EQ(Kel_Utils_IsTimer(&stopwatch, 1000, 0, 0, 1, &isTimer), Kel_Good);
    EXPECT_EQ(isTimer, 0u);
    EXPECT_EQ(stopwatch.running, 0u);

    // Stopped with the start flag: fires at once and starts timing the next period.
    EXPECT_EQ(Kel_Utils_IsTimer(&stopwatch, 60000, 0, 1, 1, &isTimer), Kel_Good);
    EXPECT_EQ(isTimer, 1u);
    EXPECT_EQ(stopwatch.running, 1u);
    EXPECT_EQ(Kel_Utils_IsTimer(&stopwatch, 60000, 0, 1, 1, &isTimer), Kel_Good);
    EXPECT_EQ(isTimer, 0u);

    // The period's high word counts: 2^32 ms never elapse here.
    EXPECT_EQ(Kel_Utils_IsTimer(&stopwatch, 0, 1, 1, 1, &isTimer), Kel_Good);
    EXPECT_EQ(isTimer, 0u);

    // A period of 0 has elapsed: restart keeps it running, otherwise it is reset (stopped).
    EXPECT_EQ(Kel_Utils_IsTimer(&stopwatch, 0, 0, 0, 1, &isTimer), Kel_Good);
    EXPECT_EQ(isTimer, 1u);
    EXPECT_EQ(stopwatch.running, 1u);
    stopwatch.accumulated = 500;
    EXPECT_EQ(Kel_Utils_IsTimer(&stopwatch, 0, 0, 0, 0, &isTimer), Kel_Good);
    EXPECT_EQ(isTimer, 1u);
    EXPECT_EQ(stopwatch.running, 0u);
    EXPECT_EQ(stopwatch.accumulated, 0u);

    // Stopped with the start flag but no restart: fires every time and stays stopped.
    EXPECT_EQ(Kel_Utils_IsTimer(&stopwatch, 60000, 0, 1, 0, &isTimer), Kel_Good);
    EXPECT_EQ(isTimer, 1u);
    EXPECT_EQ(stopwatch.running, 0u);

    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_IsTimer(nullptr, 0, 0, 1, 1, &isTimer), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_IsTimer(&stopwatch, 0, 0, 1, 1, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                 ErrorLine("<-- ReturnError: Arg pStopwatch is NULL!"),
                                 ErrorLine("<-- ReturnError: Arg pIsTimer is NULL!"),
                             }));
}

TEST(Utils, IsTimerFiresAfterThePeriod)
{
    Kel_P_Stopwatch_Context stopwatch{};
    uint32_t isTimer = 0;
    ASSERT_EQ(Kel_Utils_IsTimer(&stopwatch, 30, 0, 1, 1, &isTimer), Kel_Good);
    ASSERT_EQ(isTimer, 1u);
    const uint32_t start = Kel_P_Stopwatch_GetTick();
    int fired = 0;
    while (Kel_P_Stopwatch_GetTick() - start < 2000 && fired == 0)
    {
        ASSERT_EQ(Kel_Utils_IsTimer(&stopwatch, 30, 0, 1, 1, &isTimer), Kel_Good);
        fired = static_cast<int>(isTimer);
    }
    EXPECT_EQ(fired, 1);
    EXPECT_GE(Kel_P_Stopwatch_GetTick() - start, 30u);
}

TEST(Utils, WatchdogHelpersOverAPlatformWithoutWatchdog)
{
#if defined(_WIN32)
    const std::string watchdogFile = "shared/src/shared/platform/windows/kel_p_watchdog";
#else
    const std::string watchdogFile = "shared/src/shared/platform/posix/kel_p_watchdog";
#endif
    const std::string notImplemented = "<-- ReturnError: 0x80400000, File=" + watchdogFile + ", Line=N";
    Kel_Utils_Watchdog_Context watchdog{};
    memset(&watchdog, 0x5A, sizeof(watchdog));
    {
        TraceCapture trace;
        EXPECT_EQ(Kel_Utils_StartWatchdog(&watchdog, 5000, 1), Kel_BadNotImplemented);
        EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                     notImplemented,
                                     ErrorLine("--- GotoError: Bad statuscode 0x80400000"),
                                     ErrorLine("<-- \"Kel_Utils_StartWatchdog\" = 0x80400000 (BAD)."),
                                 }));
    }
    // The record was zeroed and its stopwatch reset before the platform refused.
    const Kel_Utils_Watchdog_Context zero{};
    EXPECT_EQ(memcmp(&watchdog, &zero, sizeof(watchdog)), 0);

    // The first reset refreshes at once; the next one within the second does not reach the platform.
    {
        TraceCapture trace;
        EXPECT_EQ(Kel_Utils_ResetWatchdog(&watchdog), Kel_BadNotImplemented);
        EXPECT_EQ(watchdog.stopwatch.running, 1u);
        EXPECT_EQ(Kel_Utils_ResetWatchdog(&watchdog), Kel_Good);
        EXPECT_EQ(Kel_Utils_StopWatchdog(&watchdog), Kel_BadNotImplemented);
        EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                     notImplemented,
                                     ErrorLine("--- GotoError: Bad statuscode 0x80400000"),
                                     ErrorLine("<-- \"Kel_Utils_ResetWatchdog\" = 0x80400000 (BAD)."),
                                     notImplemented,
                                     ErrorLine("--- GotoError: Bad statuscode 0x80400000"),
                                     ErrorLine("<-- \"Kel_Utils_StopWatchdog\" = 0x80400000 (BAD)."),
                                 }));
    }

    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_StartWatchdog(nullptr, 5000, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_StartWatchdog(&watchdog, 0, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_StartWatchdog(&watchdog, 5000, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_ResetWatchdog(nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_StopWatchdog(nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                 ErrorLine("<-- ReturnError: Arg pWatchdog is NULL!"),
                                 ErrorLine("<-- ReturnError: Argument aTimeout is 0!"),
                                 ErrorLine("<-- ReturnError: Argument aFlags is 0!"),
                                 ErrorLine("<-- ReturnError: Arg pWatchdog is NULL!"),
                                 ErrorLine("<-- ReturnError: Arg pWatchdog is NULL!"),
                             }));
}
