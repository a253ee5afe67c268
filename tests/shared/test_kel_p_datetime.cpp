// The clock: range checks and their trace lines, the signed 32-bit limits of the conversion, decoding,
// differences, the current time in local and UTC fields.
#include "datetime_test_support.h"

#include "shared/platform/kel_p_datetime.h"

#include <gtest/gtest.h>

#include <climits>
#include <ctime>
#include <string>
#include <vector>

using datetime_test::kClockFile;
using datetime_test::TraceCapture;

namespace
{
struct Fields
{
    uint16_t year;
    uint8_t month, day, hour, minute, second;
    uint16_t millisecond;
};

Fields DecodeAll(const DateTime& aDateTime)
{
    Fields fields{};
    EXPECT_EQ(Kel_P_DateTime_Decode(&aDateTime, &fields.year, &fields.month, &fields.day, &fields.hour,
                                    &fields.minute, &fields.second, &fields.millisecond),
              Kel_Good);
    return fields;
}

Kel_StatusCode Create(uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour, uint8_t aMinute,
                      uint8_t aSecond, DateTime* pResult)
{
    return Kel_P_DateTime_CreateImp(aYear, aMonth, aDay, aHour, aMinute, aSecond, 0, pResult);
}

std::string ErrorLine(const std::string& aText, const std::string& aFile)
{
    return aText + ", File=" + aFile + ", Line=N";
}
} // namespace

TEST(DateTime, DaysInMonthTable)
{
    const uint32_t common[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (int month = 0; month < 12; month++)
    {
        EXPECT_EQ(daysInMonth[0][month], common[month]);
        EXPECT_EQ(daysInMonth[1][month], month == 1 ? 29u : common[month]);
    }
}

TEST(DateTime, CreateRefusesFieldsOutOfRangeWithTheBareCodeLine)
{
    const DateTime untouched{12345, 678000};
    struct Case
    {
        uint16_t year;
        uint8_t month, day, hour, minute, second;
    };
    const Case cases[] = {
        {1600, 1, 1, 0, 0, 0},  {10000, 1, 1, 0, 0, 0}, {2024, 0, 1, 0, 0, 0},  {2024, 13, 1, 0, 0, 0},
        {2024, 1, 0, 0, 0, 0},  {2024, 2, 30, 0, 0, 0}, {2023, 2, 29, 0, 0, 0}, {1900, 2, 29, 0, 0, 0},
        {2024, 4, 31, 0, 0, 0}, {2024, 1, 1, 24, 0, 0}, {2024, 1, 1, 0, 60, 0}, {2024, 1, 1, 0, 0, 60},
    };
    for (const Case& c : cases)
    {
        DateTime result = untouched;
        TraceCapture trace;
        EXPECT_EQ(Kel_P_DateTime_CreateImp(c.year, c.month, c.day, c.hour, c.minute, c.second, 0, &result),
                  Kel_BadOutOfRange)
            << c.year << "-" << int(c.month) << "-" << int(c.day);
        EXPECT_EQ(trace.Lines(),
                  std::vector<std::string>{ErrorLine("<-- ReturnError: 0x803C0000", kClockFile)});
        EXPECT_EQ(result.seconds, untouched.seconds);
        EXPECT_EQ(result.microseconds, untouched.microseconds);
    }
}

TEST(DateTime, CreateRejectsNullResult)
{
    TraceCapture trace;
    EXPECT_EQ(Create(2024, 1, 1, 0, 0, 0, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Lines(),
              std::vector<std::string>{ErrorLine("<-- ReturnError: Arg pResult is NULL!", kClockFile)});
}

TEST(DateTime, CreateAndDecodeKeepTheLocalFields)
{
    DateTime result{};
    ASSERT_EQ(Kel_P_DateTime_CreateImp(2024, 2, 29, 10, 20, 30, 123, &result), Kel_Good);
    EXPECT_EQ(result.microseconds, 123000u);
    const Fields fields = DecodeAll(result);
    EXPECT_EQ(fields.year, 2024);
    EXPECT_EQ(fields.month, 2);
    EXPECT_EQ(fields.day, 29);
    EXPECT_EQ(fields.hour, 10);
    EXPECT_EQ(fields.minute, 20);
    EXPECT_EQ(fields.second, 30);
    EXPECT_EQ(fields.millisecond, 123);

    // The clock does not check the milliseconds (the utilities do): they are stored times 1000.
    ASSERT_EQ(Kel_P_DateTime_CreateImp(2024, 2, 29, 10, 20, 30, 1500, &result), Kel_Good);
    EXPECT_EQ(result.microseconds, 1500000u);

    // 2000 is a leap year, 1999-12-31 23:59:59 an ordinary instant.
    EXPECT_EQ(Create(2000, 2, 29, 0, 0, 0, &result), Kel_Good);
    ASSERT_EQ(Create(1999, 12, 31, 23, 59, 59, &result), Kel_Good);
    const Fields last = DecodeAll(result);
    EXPECT_EQ(last.year, 1999);
    EXPECT_EQ(last.second, 59);

    // Any output may be left out.
    uint8_t hour = 0;
    EXPECT_EQ(Kel_P_DateTime_Decode(&result, nullptr, nullptr, nullptr, &hour, nullptr, nullptr, nullptr),
              Kel_Good);
    EXPECT_EQ(hour, 23);
    EXPECT_EQ(Kel_P_DateTime_GetHour(&result, &hour), Kel_Good);
    EXPECT_EQ(hour, 23);
}

TEST(DateTime, ConversionFailsBeyondThe32BitSeconds)
{
    // 2038-01-20 00:00 local lies after 2038-01-19 03:14:07 UTC in every time zone; 2038-01-18 00:00
    // before it in every zone.
    DateTime result{};
    EXPECT_EQ(Create(2038, 1, 18, 0, 0, 0, &result), Kel_Good);
    const DateTime before = result;
    TraceCapture trace;
    EXPECT_EQ(Create(2038, 1, 20, 0, 0, 0, &result), Kel_BadOutOfRange);
    EXPECT_EQ(Create(9999, 12, 31, 23, 59, 59, &result), Kel_BadOutOfRange);
    EXPECT_EQ(Create(1601, 1, 1, 0, 0, 0, &result), Kel_BadOutOfRange);
    const std::vector<std::string> failure = {
        ErrorLine("--- GotoError: Kel_BadOutOfRange. Statuscode 0x803C0000", kClockFile),
        ErrorLine("<-- \"Kel_P_DateTime_CreateImp\" = 0x803C0000 (BAD).", kClockFile),
    };
    std::vector<std::string> expected;
    for (int i = 0; i < 3; i++)
        expected.insert(expected.end(), failure.begin(), failure.end());
    EXPECT_EQ(trace.Lines(), expected);
    EXPECT_EQ(result.seconds, before.seconds);
}

TEST(DateTime, ExactLimitsInUtc)
{
    // The whole signed 32-bit range converts on both builds, although the Windows runtime by itself
    // refuses every instant before 1970.
    datetime_test::ScopedTimeZone zone("UTC0");
    DateTime result{};
    ASSERT_EQ(Create(2038, 1, 19, 3, 14, 7, &result), Kel_Good);
    EXPECT_EQ(result.seconds, INT32_MAX);
    EXPECT_EQ(Create(2038, 1, 19, 3, 14, 8, &result), Kel_BadOutOfRange);
    ASSERT_EQ(Create(1901, 12, 13, 20, 45, 52, &result), Kel_Good);
    EXPECT_EQ(result.seconds, INT32_MIN);
    EXPECT_EQ(Create(1901, 12, 13, 20, 45, 51, &result), Kel_BadOutOfRange);
    ASSERT_EQ(Create(1970, 1, 1, 0, 0, 0, &result), Kel_Good);
    EXPECT_EQ(result.seconds, 0);
    ASSERT_EQ(Create(1969, 12, 31, 23, 59, 58, &result), Kel_Good);
    EXPECT_EQ(result.seconds, -2);
    // 1904 and 1968 are leap years; the calendar around them comes out right.
    ASSERT_EQ(Create(1968, 2, 29, 12, 0, 0, &result), Kel_Good);
    EXPECT_EQ(result.seconds, -58017600);
    ASSERT_EQ(Create(1904, 3, 1, 0, 0, 0, &result), Kel_Good);
    EXPECT_EQ(result.seconds, -2077660800);
    const Fields leap = DecodeAll(DateTime{-58017600, 0});
    EXPECT_EQ(leap.year, 1968);
    EXPECT_EQ(leap.month, 2);
    EXPECT_EQ(leap.day, 29);
    EXPECT_EQ(leap.hour, 12);
    ASSERT_EQ(Create(2024, 3, 15, 10, 20, 30, &result), Kel_Good);
    EXPECT_EQ(result.seconds, 1710498030);
}

TEST(DateTime, TheSecondBeforeTheEpochIsAValidInstant)
{
    // mktime answers -1 both for a failure and for 1969-12-31 23:59:59 UTC.
    datetime_test::ScopedTimeZone zone("UTC0");
    DateTime result{};
    ASSERT_EQ(Create(1969, 12, 31, 23, 59, 59, &result), Kel_Good);
    EXPECT_EQ(result.seconds, -1);
    const Fields fields = DecodeAll(result);
    EXPECT_EQ(fields.year, 1969);
    EXPECT_EQ(fields.second, 59);
}

TEST(DateTime, LocalFieldsFollowTheTimeZone)
{
    datetime_test::ScopedTimeZone zone("XXX-3");
    DateTime result{};
    ASSERT_EQ(Create(2024, 3, 15, 10, 20, 30, &result), Kel_Good);
    EXPECT_EQ(result.seconds, 1710498030 - 3 * 3600);
    uint8_t hour = 0;
    EXPECT_EQ(Kel_P_DateTime_GetHour(&result, &hour), Kel_Good);
    EXPECT_EQ(hour, 10);
    // East of UTC the local epoch date lies before the epoch; it converts both ways all the same.
    ASSERT_EQ(Create(1970, 1, 1, 0, 0, 0, &result), Kel_Good);
    EXPECT_EQ(result.seconds, -3 * 3600);
    Fields fields = DecodeAll(result);
    EXPECT_EQ(fields.year, 1970);
    EXPECT_EQ(fields.month, 1);
    EXPECT_EQ(fields.day, 1);
    EXPECT_EQ(fields.hour, 0);
    ASSERT_EQ(Create(1901, 12, 13, 23, 45, 52, &result), Kel_Good);
    EXPECT_EQ(result.seconds, INT32_MIN);
    fields = DecodeAll(result);
    EXPECT_EQ(fields.year, 1901);
    EXPECT_EQ(fields.day, 13);
    EXPECT_EQ(fields.hour, 23);
    // The last local second that fits is 3 hours later than in UTC.
    EXPECT_EQ(Create(2038, 1, 19, 6, 14, 7, &result), Kel_Good);
    EXPECT_EQ(Create(2038, 1, 19, 6, 14, 8, &result), Kel_BadOutOfRange);
}

TEST(DateTime, UtcFieldsAsLocalTimeGiveTheZoneOffset)
{
    for (const auto& [zone, offset] : {std::pair{"XXX-3", 3 * 3600}, std::pair{"XXX5", -5 * 3600}})
    {
        datetime_test::ScopedTimeZone scoped(zone);
        DateTime local{}, utc{}, localAfter{};
        ASSERT_EQ(Kel_P_DateTime_GetTimeOfDayLocal(&local), Kel_Good);
        ASSERT_EQ(Kel_P_DateTime_GetTimeOfDayUTC(&utc), Kel_Good);
        ASSERT_EQ(Kel_P_DateTime_GetTimeOfDayLocal(&localAfter), Kel_Good);
        EXPECT_EQ(utc.microseconds, 0u);
        int64_t difference = 0;
        EXPECT_EQ(Kel_P_DateTime_DiffInSeconds(&local, &utc, &difference), Kel_Good);
        EXPECT_GE(difference, offset - 1) << zone;
        EXPECT_LE(difference, offset + (localAfter.seconds - local.seconds)) << zone;
    }
}

TEST(DateTime, CopyDiffAndAddSeconds)
{
    const DateTime source{1000, 250000};
    DateTime copy{};
    EXPECT_EQ(Kel_P_DateTime_Copy(&source, &copy), Kel_Good);
    EXPECT_EQ(copy.seconds, 1000);
    EXPECT_EQ(copy.microseconds, 250000u);

    // The difference is taken in 64 bits: the extremes of the record do not wrap.
    const DateTime low{INT32_MIN, 0};
    const DateTime high{INT32_MAX, 999000};
    int64_t difference = 0;
    EXPECT_EQ(Kel_P_DateTime_DiffInSeconds(&low, &high, &difference), Kel_Good);
    EXPECT_EQ(difference, -4294967295LL);
    EXPECT_EQ(Kel_P_DateTime_DiffInSeconds(&high, &low, &difference), Kel_Good);
    EXPECT_EQ(difference, 4294967295LL);

    EXPECT_EQ(Kel_P_DateTime_AddSeconds(&copy, -1001), Kel_Good);
    EXPECT_EQ(copy.seconds, -1);
    EXPECT_EQ(copy.microseconds, 250000u);

    TraceCapture trace;
    EXPECT_EQ(Kel_P_DateTime_Copy(&source, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_DateTime_DiffInSeconds(&low, nullptr, &difference), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_DateTime_DiffInSeconds(&low, &high, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_DateTime_AddSeconds(nullptr, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                 ErrorLine("<-- ReturnError: Arg pDestDateTime is NULL!", kClockFile),
                                 ErrorLine("<-- ReturnError: Arg pDateTime2 is NULL!", kClockFile),
                                 ErrorLine("<-- ReturnError: Arg pDiffInSeconds is NULL!", kClockFile),
                                 ErrorLine("<-- ReturnError: Arg pDateTime is NULL!", kClockFile),
                             }));
}

TEST(DateTime, CurrentTimeComesFromTheSystemClock)
{
    const time_t before = time(nullptr);
    DateTime now{1, 1};
    ASSERT_EQ(Kel_P_DateTime_GetTimeOfDayLocal(&now), Kel_Good);
    const time_t after = time(nullptr);
    EXPECT_GE(now.seconds, static_cast<int32_t>(before));
    EXPECT_LE(now.seconds, static_cast<int32_t>(after));
    EXPECT_EQ(now.microseconds, 0u);
}

TEST(DateTime, SetOSDateTimeRejectsANullRecord)
{
    // The clock is never set here: the tests may run with the right to set it.
    TraceCapture trace;
    EXPECT_EQ(Kel_P_DateTime_SetOSDateTime(nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Lines(),
              std::vector<std::string>{ErrorLine("<-- ReturnError: Arg pDateTime is NULL!", kClockFile)});
}
