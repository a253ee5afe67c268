// The utilities and the clock under them: every rejected argument with its trace line from one table,
// calendar conversion (range checks, the signed 32-bit limits, time zones), Unix and ISO times, text
// forms, month steps, numbers, bits, sorting, paths and the periodic timer.
#include "shared/kel_utils.h"
#include "shared/platform/kel_p_datetime.h"
#include "shared/trace_capture.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <array>
#include <tuple>
#include <vector>

namespace
{
#if defined(_WIN32)
const std::string kPlatform = "shared/src/shared/platform/windows/";
#else
const std::string kPlatform = "shared/src/shared/platform/posix/";
#endif
const std::string kClock = kPlatform + "kel_p_datetime";
const std::string kUtils = "shared/src/shared/kel_utils";

std::string At(const std::string& aText, const std::string& aFile = kUtils)
{
    return aText + ", File=" + aFile + ", Line=N";
}

// Sets the TZ variable (a POSIX-style text that the C libraries of both builds read) while it lives;
// the test program starts without one.
struct ScopedTimeZone
{
    explicit ScopedTimeZone(const char* pZone) { Set(pZone); }
    ~ScopedTimeZone() { Set("UTC0"); }
    static void Set(const char* pZone)
    {
#if defined(_WIN32)
        _putenv_s("TZ", pZone);
        _tzset();
#else
        setenv("TZ", pZone, 1);
        tzset();
#endif
    }
};

// The local fields of a record as "YYYY-MM-DD hh:mm:ss.mmm".
std::string Fields(const DateTime& aDateTime)
{
    uint16_t year = 0, millisecond = 0;
    uint8_t month = 0, day = 0, hour = 0, minute = 0, second = 0;
    EXPECT_EQ(
        Kel_Utils_DecodeDateTime(&aDateTime, &year, &month, &day, &hour, &minute, &second, &millisecond),
        Kel_Good);
    char text[32];
    snprintf(text, sizeof(text), "%04u-%02u-%02u %02u:%02u:%02u.%03u", year, month, day, hour, minute, second,
             millisecond);
    return text;
}

DateTime Make(uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour = 0, uint8_t aMinute = 0,
              uint8_t aSecond = 0, uint16_t aMillisecond = 0)
{
    DateTime result{};
    EXPECT_EQ(Kel_Utils_CreateDateTime(aYear, aMonth, aDay, aHour, aMinute, aSecond, aMillisecond, &result),
              Kel_Good);
    return result;
}

// The clock's conversion of "YYYY-MM-DD hh:mm:ss".
Kel_StatusCode ClockCreate(const char* pFields, DateTime* pResult)
{
    unsigned year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    sscanf(pFields, "%u-%u-%u %u:%u:%u", &year, &month, &day, &hour, &minute, &second);
    return Kel_P_DateTime_CreateImp(year, month, day, hour, minute, second, 0, pResult);
}

int CompareInts(const void* pElement1, const void* pElement2)
{
    const int a = *static_cast<const int*>(pElement1);
    const int b = *static_cast<const int*>(pElement2);
    return (a > b) - (a < b);
}
} // namespace

TEST(Utils, RejectedArgumentsTraceTheirNameOncePerForm)
{
    DateTime date = Make(2024, 3, 15), empty{};
    uint64_t u64 = 0;
    char text[32];
    uint8_t bytes[16] = {};
    int ints[2] = {};
    Kel_Utils_Watchdog_Context watchdog{};
    Kel_Memory_Context memory{};
    Kel_Memory_CreateContext(&memory, bytes, 16);
    int32_t size = 0;
    // The rejection lines of the skeleton, as TraceCapture::Lines() gives them.
    using Lines = std::vector<std::string>;
    const auto Null = [](const std::string& aName, const std::string& aFile = kUtils)
    { return Lines{At("<-- ReturnError: Arg " + aName + " is NULL!", aFile)}; };
    const auto Zero = [](const std::string& aName)
    { return Lines{At("<-- ReturnError: Argument " + aName + " is 0!")}; };
    const auto If = [](const std::string& aCondition)
    { return Lines{At("<-- ReturnError: " + aCondition + " is true! Return 0x80AB0000")}; };
    const auto Bad = [](const std::string& aFunction)
    {
        return Lines{At("--- GotoError: Bad statuscode 0x80AB0000"),
                     At("<-- \"" + aFunction + "\" = 0x80AB0000 (BAD).")};
    };
    const std::pair<std::function<Kel_StatusCode()>, Lines> cases[] = {
        {[&] { return Kel_Utils_CreateDateTime(2024, 1, 1, 0, 0, 0, 0, nullptr); }, Null("pDateTime")},
        {[&] { return Kel_Utils_DateTimeToStr(&date, text, 0); }, Zero("aSize")},
        {[&] { return Kel_Utils_SetBit64(nullptr, 1); }, Null("pMask")},
        {[&] { return Kel_Utils_SetBit64(&u64, 64); }, If("aBit < 0 || aBit > 63")},
        {[&] { return Kel_Utils_QSort(ints, 2, sizeof(int), nullptr, nullptr); }, Null("pfnCompare")},
        {[&] { return Kel_Utils_StartWatchdog(&watchdog, 0, 1); }, Zero("aTimeout")},
        {[&] { return Kel_Utils_EncryptData(&memory, 16, nullptr, 1, &memory, &size); }, Null("pPassword")},
        {[&] { return Kel_P_DateTime_Copy(&date, nullptr); }, Null("pDestDateTime", kClock)},
        // Several lines: a failed check inside, then the failure exit.
        {[&] { return Kel_Utils_DecryptData(&memory, 15, bytes, 1, &memory, &size); },
         If("aSourceLength % 16 != 0")},
        {[&] { return Kel_Utils_EncryptData(&memory, 0, bytes, 1, &memory, &size); },
         If("aSourceLength < 1")},
        {[&] { return Kel_Utils_DecompressData(&memory, 4, &memory, &size); },
         If("pSource->data == pDest->data")},
        {[&] { return Kel_Utils_DateTimeToISOTime(&date, text, 24); }, If("aSize <= 24")},
        {[&] { return Kel_Utils_DateTimeToISOTime(&empty, text, 32); }, Bad("Kel_Utils_DateTimeToISOTime")},
        {[&] { return Kel_Utils_AddMonths(&empty, 1); }, Bad("Kel_Utils_AddMonths")},
        {[&] { return Kel_Utils_ISOTimeToDateTime("2024-03-15", &date); },
         {At("--- GotoError: Kel_BadInvalidArgument. Statuscode 0x80AB0000"),
          At("<-- \"Kel_Utils_ISOTimeToDateTime\" = 0x80AB0000 (BAD).")}},
    };
    for (const auto& [call, lines] : cases)
    {
        TraceCapture trace;
        EXPECT_EQ(call(), Kel_BadInvalidArgument) << lines[0];
        EXPECT_EQ(trace.Lines(), lines);
    }
}

TEST(UtilsDates, CreateChecksEveryFieldAndTheClockRefusesWithTheBareCode)
{
    EXPECT_EQ(Fields(Make(2024, 2, 29, 23, 59, 59, 999)), "2024-02-29 23:59:59.999");
    // Each row: the fields, then the failed condition of the utilities' check.
    const char* const dayCheck = "aDay < 1 || aDay > daysInMonth[leap][aMonth - 1]";
    const std::tuple<uint16_t, uint8_t, uint8_t, uint8_t, uint8_t, uint8_t, uint16_t, const char*> cases[] = {
        {1600, 1, 1, 0, 0, 0, 0, "aYear < 1601 || aYear >= 10000"},
        {10000, 1, 1, 0, 0, 0, 0, "aYear < 1601 || aYear >= 10000"},
        {2024, 0, 1, 0, 0, 0, 0, "aMonth < 1 || aMonth > 12"},
        {2024, 13, 1, 0, 0, 0, 0, "aMonth < 1 || aMonth > 12"},
        {2023, 2, 29, 0, 0, 0, 0, dayCheck},
        {2100, 2, 29, 0, 0, 0, 0, dayCheck},
        {2024, 4, 31, 0, 0, 0, 0, dayCheck},
        {2024, 6, 0, 0, 0, 0, 0, dayCheck},
        {2024, 1, 1, 24, 0, 0, 0, "aHour > 23"},
        {2024, 1, 1, 0, 60, 0, 0, "aMinute > 59"},
        {2024, 1, 1, 0, 0, 60, 0, "aSecond > 59"},
        {2024, 1, 1, 0, 0, 0, 1000, "aMillisecond > 999"},
    };
    for (const auto& [year, month, day, hour, minute, second, millisecond, pCheck] : cases)
    {
        DateTime result{77, 77};
        TraceCapture trace;
        EXPECT_EQ(Kel_Utils_CreateDateTime(year, month, day, hour, minute, second, millisecond, &result),
                  Kel_BadOutOfRange);
        EXPECT_EQ(trace.Lines(), std::vector<std::string>{At(std::string("<-- ReturnError: ") + pCheck +
                                                             " is true! Return 0x803C0000")});
        EXPECT_TRUE(Kel_Utils_IsEmptyDate(&result)) << pCheck;
        if (millisecond != 0)
            continue; // the clock does not check milliseconds
        result = DateTime{77, 77};
        TraceCapture clockTrace;
        EXPECT_EQ(Kel_P_DateTime_CreateImp(year, month, day, hour, minute, second, 0, &result),
                  Kel_BadOutOfRange);
        EXPECT_EQ(clockTrace.Lines(), std::vector<std::string>{At("<-- ReturnError: 0x803C0000", kClock)});
        EXPECT_EQ(result.seconds, 77);
    }
}

TEST(UtilsDates, SignedThirtyTwoBitLimitsAndTheConversionFailure)
{
    // The seconds of local fields in UTC, or a refusal (mktime's -1 for 1969-12-31 23:59:59 is a valid
    // instant); east of UTC the last local second that fits is 3 hours later.
    constexpr int64_t Refused = INT64_MIN;
    const std::tuple<const char*, const char*, int64_t> cases[] = {
        {"UTC0", "2038-01-19 03:14:07", INT32_MAX},  {"UTC0", "2038-01-19 03:14:08", Refused},
        {"UTC0", "1901-12-13 20:45:52", INT32_MIN},  {"UTC0", "1901-12-13 20:45:51", Refused},
        {"UTC0", "1970-01-01 00:00:00", 0},          {"UTC0", "1969-12-31 23:59:59", -1},
        {"UTC0", "1968-02-29 12:00:00", -58017600},  {"UTC0", "1904-03-01 00:00:00", -2077660800},
        {"UTC0", "2024-03-15 10:20:30", 1710498030}, {"UTC0", "9999-12-31 23:59:59", Refused},
        {"XXX-3", "1901-12-13 23:45:52", INT32_MIN}, {"XXX-3", "2038-01-19 06:14:07", INT32_MAX},
        {"XXX-3", "2038-01-19 06:14:08", Refused}};
    for (const auto& [zone, fields, seconds] : cases)
    {
        ScopedTimeZone scoped(zone);
        DateTime result{};
        EXPECT_EQ(ClockCreate(fields, &result), seconds == Refused ? Kel_BadOutOfRange : Kel_Good) << fields;
        if (seconds != Refused && seconds != 0) // 0 is the empty record
        {
            EXPECT_EQ(Fields(result), std::string(fields) + ".000");
        }
        EXPECT_EQ(result.seconds, seconds == Refused ? 0 : seconds) << zone << " " << fields;
    }
    // 2038-01-20 local passes the range checks in every zone and fails in the conversion.
    DateTime result{5, 5};
    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_CreateDateTime(2038, 1, 20, 0, 0, 0, 0, &result), Kel_BadOutOfRange);
    EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                 At("--- GotoError: Kel_BadOutOfRange. Statuscode 0x803C0000", kClock),
                                 At("<-- \"Kel_P_DateTime_CreateImp\" = 0x803C0000 (BAD).", kClock),
                                 At("--- GotoError: Bad statuscode 0x803C0000"),
                                 At("<-- \"Kel_Utils_CreateDateTime\" = 0x803C0000 (BAD)."),
                             }));
    EXPECT_TRUE(Kel_Utils_IsEmptyDate(&result));
    int64_t difference = 0;
    const DateTime last1999 = Make(1999, 12, 31, 23, 59, 59, 999), first2000 = Make(2000, 1, 1);
    EXPECT_EQ(Kel_P_DateTime_DiffInSeconds(&first2000, &last1999, &difference), Kel_Good);
    EXPECT_EQ(difference, 1);
    // The difference is taken in 64 bits.
    const DateTime low{INT32_MIN, 0}, high{INT32_MAX, 999000};
    EXPECT_EQ(Kel_P_DateTime_DiffInSeconds(&low, &high, &difference), Kel_Good);
    EXPECT_EQ(difference, -4294967295LL);
}

TEST(UtilsDates, TimeZones)
{
    {
        // East of UTC: records are UTC seconds of the local fields; Unix time counts local calendar time
        // from 1970-01-01 00:00 local.
        ScopedTimeZone zone("XXX-3");
        const DateTime local = Make(2024, 3, 15, 10, 20, 30);
        EXPECT_EQ(local.seconds, 1710498030 - 3 * 3600);
        uint8_t hour = 0;
        EXPECT_EQ(Kel_P_DateTime_GetHour(&local, &hour), Kel_Good);
        EXPECT_EQ(hour, 10);
        uint32_t unixTime = 0;
        EXPECT_EQ(Kel_Utils_DateTimeToUnixTime(&local, &unixTime), Kel_Good);
        EXPECT_EQ(unixTime, 1710498030u);
        DateTime back{};
        EXPECT_EQ(Kel_Utils_UnixTimeToDateTime(unixTime, &back), Kel_Good);
        EXPECT_EQ(Fields(back), "2024-03-15 10:20:30.000");
    }
    {
        ScopedTimeZone zone("XXX5"); // west of UTC: the local epoch is a positive record
        DateTime epoch{1, 1};
        ASSERT_EQ(Kel_Utils_GetEpochDate(&epoch), Kel_Good);
        EXPECT_EQ(epoch.seconds, 5 * 3600);
        EXPECT_EQ(epoch.microseconds, 0u);
        uint32_t unixTime = 7;
        const DateTime nextDay = Make(1970, 1, 2, 0, 0, 1);
        EXPECT_EQ(Kel_Utils_DateTimeToUnixTime(&nextDay, &unixTime), Kel_Good);
        EXPECT_EQ(unixTime, 86401u);
        const DateTime before{epoch.seconds - 100, 0};
        EXPECT_EQ(Kel_Utils_DateTimeToUnixTime(&before, &unixTime), Kel_Good);
        EXPECT_EQ(unixTime, 0u); // before the local epoch
    }
    for (auto [pZone, minutes] :
         {std::pair{"UTC0", 0}, std::pair{"XXX-3", 180}, std::pair{"XXX-5:30", 330}, std::pair{"XXX3", -180}})
    {
        ScopedTimeZone zone(pZone);
        uint16_t shift = 1;
        EXPECT_EQ(Kel_Utils_GetLocalTimeShift(&shift), Kel_Good);
        EXPECT_EQ(shift, static_cast<uint16_t>(minutes)) << pZone;
        DateTime local{}, utc{}, localAfter{};
        ASSERT_EQ(Kel_P_DateTime_GetTimeOfDayLocal(&local), Kel_Good);
        ASSERT_EQ(Kel_P_DateTime_GetTimeOfDayUTC(&utc), Kel_Good);
        ASSERT_EQ(Kel_P_DateTime_GetTimeOfDayLocal(&localAfter), Kel_Good);
        int64_t difference = 0;
        EXPECT_EQ(Kel_P_DateTime_DiffInSeconds(&local, &utc, &difference), Kel_Good);
        EXPECT_GE(difference, minutes * 60 - 1) << pZone;
        EXPECT_LE(difference, minutes * 60 + (localAfter.seconds - local.seconds)) << pZone;
    }
}

TEST(UtilsDates, WeekdaysComparisonAndEmptyRecords)
{
    // 1 = Monday .. 7 = Sunday: a week from Monday 2026-11-09, and dates through months 13 and 14.
    for (uint16_t day = 9; day <= 15; ++day)
        EXPECT_EQ(Kel_Utils_GetDayOfWeek(2026, 11, day), day - 8u) << day;
    for (auto [year, month, day, weekday] :
         {std::tuple{2000, 1, 1, 6u}, std::tuple{2024, 2, 29, 4u}, std::tuple{2024, 3, 1, 5u},
          std::tuple{1601, 1, 1, 1u}, std::tuple{9999, 12, 31, 5u}})
        EXPECT_EQ(Kel_Utils_GetDayOfWeek(year, month, day), weekday) << year << "-" << month << "-" << day;

    const DateTime a = Make(2024, 3, 15, 10, 20, 30, 123), empty{};
    for (const auto& [other, expected] :
         {std::pair{DateTime{a.seconds, a.microseconds + 999}, 1u},
          std::pair{DateTime{a.seconds, a.microseconds + 1000}, 0u}, std::pair{empty, 0u}})
    {
        uint32_t equal = 7;
        EXPECT_EQ(Kel_Utils_IsEqualDateTime(&a, &other, &equal), Kel_Good);
        EXPECT_EQ(equal, expected) << other.seconds << "." << other.microseconds;
    }

    // A record is empty only when both words are zero; decoding one zeroes the outputs silently.
    EXPECT_EQ(Kel_Utils_IsEmptyDate(nullptr), 1u);
    EXPECT_EQ(Kel_Utils_IsEmptyDate(&empty), 1u);
    const DateTime secondsOnly{-1, 0}, microsecondsOnly{0, 5000};
    EXPECT_EQ(Kel_Utils_IsEmptyDate(&secondsOnly), 0u);
    uint16_t year = 1, millisecond = 1;
    uint8_t month = 1, day = 1, hour = 1, minute = 1, second = 1;
    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_DecodeDateTime(&empty, &year, &month, &day, &hour, &minute, &second, &millisecond),
              Kel_BadInvalidArgument);
    EXPECT_EQ(year + month + day + hour + minute + second + millisecond, 0);
    EXPECT_EQ(trace.Stop(), "");
    EXPECT_EQ(Fields(microsecondsOnly), "1970-01-01 00:00:00.005");
    const uint8_t lastSet[5] = {0, 0, 0, 0, 1};
    EXPECT_EQ(Kel_Utils_IsEmpty(lastSet, 4), 1u);
    EXPECT_EQ(Kel_Utils_IsEmpty(lastSet, 5), 0u);
    EXPECT_EQ(Kel_Utils_IsEmpty(lastSet, -1), 1u);
}

TEST(UtilsDates, TextFormsAndMonthSteps)
{
    char text[32];
    memset(text, 'x', sizeof(text));
    const DateTime date = Make(2024, 3, 5, 7, 8, 9, 12);
    EXPECT_EQ(Kel_Utils_DateTimeToISOTime(&date, text, 25), Kel_Good);
    EXPECT_STREQ(text, "2024-03-05T07:08:09.012Z");
    EXPECT_EQ(text[25], 'x'); // only the given size is touched
    DateTime back{};
    EXPECT_EQ(Kel_Utils_ISOTimeToDateTime(text, &back), Kel_Good);
    EXPECT_EQ(back.seconds, date.seconds);
    EXPECT_EQ(back.microseconds, date.microseconds);
    EXPECT_EQ(Kel_Utils_ISOTimeToDateTime("2024-03-15T10:20:30Z", &back), Kel_Good);
    EXPECT_EQ(Fields(back), "2024-03-15 10:20:30.000");
    EXPECT_EQ(Kel_Utils_ISOTimeToDateTime("2024-02-30T00:00:00Z", &back), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_Utils_ISOTimeToDateTime("2024-257-15T00:00:00Z", &back), Kel_BadOutOfRange);
    EXPECT_TRUE(Kel_Utils_IsEmptyDate(&back));

    EXPECT_EQ(Kel_Utils_DateTimeToStr(&date, text, sizeof(text)), Kel_Good);
    EXPECT_STREQ(text, "2024.03.05 07:08:09.012");
    memset(text, 'x', sizeof(text));
    EXPECT_EQ(Kel_Utils_DateTimeToStr(&date, text, 11), Kel_Good);
    EXPECT_STREQ(text, "2024.03.05");
    EXPECT_EQ(text[11], 'x');
    const DateTime empty{};
    EXPECT_EQ(Kel_Utils_DateTimeToStr(&empty, text, sizeof(text)), Kel_Good); // no date: empty text
    EXPECT_EQ(Kel_Utils_IsEmpty(text, sizeof(text)), 1u);

    DateTime month = Make(2024, 3, 15, 10, 20, 30, 456);
    for (const auto& [step, expected] : {std::pair{-3, "2023-12-15"}, std::pair{13, "2025-01-15"},
                                         std::pair{0, "2025-01-15"}, std::pair{-25, "2022-12-15"}})
    {
        EXPECT_EQ(Kel_Utils_AddMonths(&month, static_cast<int16_t>(step)), Kel_Good);
        EXPECT_EQ(Fields(month), std::string(expected) + " 10:20:30.456");
    }
    // A day the target month lacks fails and leaves the record as it was.
    DateTime leapDay = Make(2024, 2, 29);
    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_AddMonths(&leapDay, 12), Kel_BadOutOfRange);
    EXPECT_EQ(trace.Lines(),
              (std::vector<std::string>{At("<-- ReturnError: 0x803C0000", kClock),
                                        At("--- GotoError: Bad statuscode 0x803C0000"),
                                        At("<-- \"Kel_Utils_AddMonths\" = 0x803C0000 (BAD).")}));
    EXPECT_EQ(Kel_Utils_AddMonths(&leapDay, 48), Kel_Good);
    EXPECT_EQ(Fields(leapDay), "2028-02-29 00:00:00.000");
}

TEST(Utils, NumbersBitsSubstringsPathsAndHexText)
{
    using std::tuple;
    for (auto [value, digits, rounded] :
         {tuple{-2.375, 2, -2.38}, tuple{2.5, 0, 3.0}, tuple{-2.5, 0, -3.0}, tuple{2.4999, 0, 2.0},
          tuple{49.9951, 2, 50.0}, tuple{1234.5678, 1, 1234.6}, tuple{4294967295.0, 0, 4294967295.0},
          tuple{4294967296.0, 0, 0.0}, tuple{std::nan(""), 2, 0.0}})
        EXPECT_DOUBLE_EQ(Kel_Utils_RoundValue(value, static_cast<uint8_t>(digits)), rounded) << value;
    for (auto [base, exponent, power] :
         {tuple{2.0, 2.5, 8.0}, tuple{10.0, 0.1, 10.0}, tuple{-3.0, 3.0, -27.0}, tuple{5.0, -2.0, 1.0}})
        EXPECT_DOUBLE_EQ(Kel_Utils_MathPow(base, exponent), power) << base << "^" << exponent; // rounded up
    EXPECT_DOUBLE_EQ(Kel_Utils_MathAbs(-1.5), 1.5);
    for (auto [low, high, bit, set] :
         {tuple{1u, 0u, 0, 1u}, tuple{0xFFFFFFFEu, 0xFFFFFFFFu, 0, 0u}, tuple{0u, 0x80000000u, 63, 1u},
          tuple{0xFFFFFFFFu, 0x7FFFFFFFu, 63, 0u}, tuple{0u, 1u, 32, 1u}, tuple{0x80000000u, 0u, 31, 1u},
          tuple{0xFFFFFFFFu, 0xFFFFFFFFu, 64, 0u}, tuple{0xFFFFFFFFu, 0xFFFFFFFFu, -1, 0u}})
        EXPECT_EQ(Kel_Utils_IsSetBit64(low, high, static_cast<int8_t>(bit)), set) << bit;
    uint64_t mask = 0;
    for (int8_t bit : {0, 63, 32})
        EXPECT_EQ(Kel_Utils_SetBit64(&mask, bit), Kel_Good);
    EXPECT_EQ(mask, 0x8000000100000001ull);
    for (auto [text, part, expected] :
         {tuple{"aaa", "aa", 2u}, tuple{"abababa", "aba", 3u}, tuple{"OK\r\nOK\r\n", "\r\n", 2u},
          tuple{"abc", "abcd", 0u}, tuple{"", "a", 0u}, tuple{"abc", "", 0u}})
    {
        uint32_t count = 99;
        EXPECT_EQ(Kel_Utils_CountSubstringsInString(text, part, &count), Kel_Good);
        EXPECT_EQ(count, expected) << text << " / " << part; // overlaps count
    }
    int values[] = {5, -1, 3, 3, 0};
    EXPECT_EQ(Kel_Utils_QSort(values, 4, sizeof(int), CompareInts, nullptr), Kel_Good); // the first four
    EXPECT_EQ(std::vector<int>(values, values + 5), (std::vector<int>{-1, 3, 3, 5, 0}));

    // The separator is written over the terminator, when the text is shorter than the buffer.
    for (auto [before, size, after] :
         {tuple{"tmp\0xyzw", 8u, "tmp\\xyzw"}, tuple{"tmp\\\0xyz", 8u, "tmp\\\0xyz"},
          tuple{"\0abcdefg", 8u, "\0abcdefg"}, tuple{"abcdefg\0", 8u, "abcdefg\\"},
          tuple{"abcdefgh", 8u, "abcdefgh"}, tuple{"abc\0defg", 3u, "abc\0defg"}})
    {
        char path[8];
        memcpy(path, before, 8);
        EXPECT_EQ(Kel_Utils_SetPathSeparator(path, size), Kel_Good);
        EXPECT_EQ(std::string(path, 8), std::string(after, 8));
    }
    const uint8_t data[] = {0xAB, 0xFF, 0x00};
    for (auto [bytes, length, size, expected] :
         {tuple{data, 3u, 20u, "[3] AB FF 00"}, tuple{data, 0u, 20u, "[0]"},
          tuple{data, 3u, 13u, "[3] AB FF 00"}, tuple{data, 3u, 12u, "[3] AB FF"}, tuple{data, 3u, 3u, "[3"},
          tuple{(const uint8_t*)nullptr, 3u, 20u, ""}})
    {
        char text[20];
        memset(text, 'x', sizeof(text));
        EXPECT_EQ(Kel_Utils_DataToStr(bytes, length, text, size), Kel_Good);
        EXPECT_STREQ(text, expected);
        EXPECT_EQ(text[size - 1], '\0');                        // the whole size is zeroed first
        EXPECT_TRUE(size == sizeof(text) || text[size] == 'x'); // and nothing after it
    }
}

TEST(Utils, IsTimerOverAStopwatch)
{
    Kel_P_Stopwatch_Context stopwatch{};
    uint32_t isTimer = 7;
    // Each step: period low and high words, start flag, restart flag; then whether it fired and runs.
    const std::array<uint32_t, 6> steps[] = {
        {1000, 0, 0, 1, 0, 0},  // stopped, no start flag: nothing
        {60000, 0, 1, 1, 1, 1}, // stopped with the start flag: fires at once and starts
        {60000, 0, 1, 1, 0, 1}, // running, the period not over
        {0, 1, 1, 1, 0, 1},     // the high word counts: 2^32 ms never elapse here
        {0, 0, 0, 1, 1, 1},     // a period of 0 has elapsed: restart keeps it running
        {0, 0, 0, 0, 1, 0},     // without restart it is reset
        {60000, 0, 1, 0, 1, 0}, // stopped, start flag, no restart: fires and stays stopped
    };
    for (const auto& [low, high, start, restart, fired, running] : steps)
    {
        EXPECT_EQ(Kel_Utils_IsTimer(&stopwatch, low, high, start, restart, &isTimer), Kel_Good);
        EXPECT_EQ(isTimer, fired) << low << "/" << high;
        EXPECT_EQ(stopwatch.running, running) << low << "/" << high;
    }
    EXPECT_EQ(stopwatch.accumulated, 0u);
}
