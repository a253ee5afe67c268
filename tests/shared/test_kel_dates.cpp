// The clock and the date utilities: range checks and their trace lines, the signed 32-bit limits of the
// conversion, decoding, differences, the current time in local and UTC fields; comparison, weekdays,
// Unix and ISO times, the text forms, month steps and the local time shift.
#include "datetime_test_support.h"

#include "shared/kel_utils.h"
#include "shared/platform/kel_p_datetime.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

using datetime_test::kClockFile;
using datetime_test::kUtilsFile;
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
    EXPECT_EQ(Kel_Utils_DecodeDateTime(&aDateTime, &fields.year, &fields.month, &fields.day, &fields.hour,
                                       &fields.minute, &fields.second, &fields.millisecond),
              Kel_Good);
    return fields;
}

void ExpectFields(const DateTime& aDateTime, uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour,
                  uint8_t aMinute, uint8_t aSecond, uint16_t aMillisecond)
{
    const Fields fields = DecodeAll(aDateTime);
    EXPECT_EQ(fields.year, aYear);
    EXPECT_EQ(fields.month, aMonth);
    EXPECT_EQ(fields.day, aDay);
    EXPECT_EQ(fields.hour, aHour);
    EXPECT_EQ(fields.minute, aMinute);
    EXPECT_EQ(fields.second, aSecond);
    EXPECT_EQ(fields.millisecond, aMillisecond);
}

std::string ErrorLine(const std::string& aText, const std::string& aFile = kUtilsFile)
{
    return aText + ", File=" + aFile + ", Line=N";
}

DateTime Make(uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour, uint8_t aMinute, uint8_t aSecond,
              uint16_t aMillisecond)
{
    DateTime result{};
    EXPECT_EQ(Kel_Utils_CreateDateTime(aYear, aMonth, aDay, aHour, aMinute, aSecond, aMillisecond, &result),
              Kel_Good);
    return result;
}
// The clock's own decoding and creation (no range checks of the utilities in front).
Fields ClockFields(const DateTime& aDateTime)
{
    Fields fields{};
    EXPECT_EQ(Kel_P_DateTime_Decode(&aDateTime, &fields.year, &fields.month, &fields.day, &fields.hour,
                                    &fields.minute, &fields.second, &fields.millisecond),
              Kel_Good);
    return fields;
}

Kel_StatusCode ClockCreate(uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour, uint8_t aMinute,
                           uint8_t aSecond, DateTime* pResult)
{
    return Kel_P_DateTime_CreateImp(aYear, aMonth, aDay, aHour, aMinute, aSecond, 0, pResult);
}
} // namespace

TEST(UtilsDates, DayOfWeekByZeller)
{
    EXPECT_EQ(Kel_Utils_GetDayOfWeek(2026, 11, 15), 7u); // Sunday
    EXPECT_EQ(Kel_Utils_GetDayOfWeek(2000, 1, 1), 6u);   // Saturday, through month 13 of 1999
    EXPECT_EQ(Kel_Utils_GetDayOfWeek(2024, 2, 29), 4u);  // Thursday, through month 14 of 2023
    EXPECT_EQ(Kel_Utils_GetDayOfWeek(2024, 3, 1), 5u);   // Friday
    EXPECT_EQ(Kel_Utils_GetDayOfWeek(1970, 1, 1), 4u);   // Thursday
    EXPECT_EQ(Kel_Utils_GetDayOfWeek(2038, 1, 19), 2u);  // Tuesday
    EXPECT_EQ(Kel_Utils_GetDayOfWeek(1601, 1, 1), 1u);   // Monday
    EXPECT_EQ(Kel_Utils_GetDayOfWeek(9999, 12, 31), 5u); // Friday
    // Seven consecutive days give each weekday once, Monday 2026-11-09 first.
    for (uint16_t day = 9; day <= 15; day++)
        EXPECT_EQ(Kel_Utils_GetDayOfWeek(2026, 11, day), day - 8u);
}

TEST(UtilsDates, CreateChecksEveryFieldAndZeroesTheResult)
{
    DateTime result = Make(2024, 2, 29, 23, 59, 59, 999);
    EXPECT_FALSE(Kel_Utils_IsEmptyDate(&result));
    ExpectFields(result, 2024, 2, 29, 23, 59, 59, 999);

    struct Case
    {
        uint16_t year;
        uint8_t month, day, hour, minute, second;
        uint16_t millisecond;
        const char* pLine;
    };
    const Case cases[] = {
        {1600, 1, 1, 0, 0, 0, 0,
         "<-- ReturnError: aYear < 1601 || aYear >= 10000 is true! Return 0x803C0000"},
        {10000, 1, 1, 0, 0, 0, 0,
         "<-- ReturnError: aYear < 1601 || aYear >= 10000 is true! Return 0x803C0000"},
        {2024, 0, 1, 0, 0, 0, 0, "<-- ReturnError: aMonth < 1 || aMonth > 12 is true! Return 0x803C0000"},
        {2024, 13, 1, 0, 0, 0, 0, "<-- ReturnError: aMonth < 1 || aMonth > 12 is true! Return 0x803C0000"},
        {2023, 2, 29, 0, 0, 0, 0,
         "<-- ReturnError: aDay < 1 || aDay > daysInMonth[leap][aMonth - 1] is true! Return 0x803C0000"},
        {2100, 2, 29, 0, 0, 0, 0,
         "<-- ReturnError: aDay < 1 || aDay > daysInMonth[leap][aMonth - 1] is true! Return 0x803C0000"},
        {2024, 6, 0, 0, 0, 0, 0,
         "<-- ReturnError: aDay < 1 || aDay > daysInMonth[leap][aMonth - 1] is true! Return 0x803C0000"},
        {2024, 1, 1, 24, 0, 0, 0, "<-- ReturnError: aHour > 23 is true! Return 0x803C0000"},
        {2024, 1, 1, 0, 60, 0, 0, "<-- ReturnError: aMinute > 59 is true! Return 0x803C0000"},
        {2024, 1, 1, 0, 0, 60, 0, "<-- ReturnError: aSecond > 59 is true! Return 0x803C0000"},
        {2024, 1, 1, 0, 0, 0, 1000, "<-- ReturnError: aMillisecond > 999 is true! Return 0x803C0000"},
    };
    for (const Case& c : cases)
    {
        result = DateTime{77, 77};
        TraceCapture trace;
        EXPECT_EQ(Kel_Utils_CreateDateTime(c.year, c.month, c.day, c.hour, c.minute, c.second, c.millisecond,
                                           &result),
                  Kel_BadOutOfRange);
        EXPECT_EQ(trace.Lines(), std::vector<std::string>{ErrorLine(c.pLine)});
        EXPECT_TRUE(Kel_Utils_IsEmptyDate(&result)) << c.pLine;
    }

    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_CreateDateTime(2024, 1, 1, 0, 0, 0, 0, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Lines(), std::vector<std::string>{ErrorLine("<-- ReturnError: Arg pDateTime is NULL!")});
}

TEST(UtilsDates, The1999And2038Edges)
{
    const DateTime last1999 = Make(1999, 12, 31, 23, 59, 59, 999);
    ExpectFields(last1999, 1999, 12, 31, 23, 59, 59, 999);
    const DateTime first2000 = Make(2000, 1, 1, 0, 0, 0, 0);
    int64_t difference = 0;
    EXPECT_EQ(Kel_P_DateTime_DiffInSeconds(&first2000, &last1999, &difference), Kel_Good);
    EXPECT_EQ(difference, 1);
    Make(2038, 1, 18, 0, 0, 0, 0);

    // 2038-01-20 passes the range checks and fails in the conversion to 32-bit seconds.
    DateTime result{5, 5};
    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_CreateDateTime(2038, 1, 20, 0, 0, 0, 0, &result), Kel_BadOutOfRange);
    EXPECT_EQ(trace.Lines(),
              (std::vector<std::string>{
                  ErrorLine("--- GotoError: Kel_BadOutOfRange. Statuscode 0x803C0000", kClockFile),
                  ErrorLine("<-- \"Kel_P_DateTime_CreateImp\" = 0x803C0000 (BAD).", kClockFile),
                  ErrorLine("--- GotoError: Bad statuscode 0x803C0000"),
                  ErrorLine("<-- \"Kel_Utils_CreateDateTime\" = 0x803C0000 (BAD)."),
              }));
    EXPECT_TRUE(Kel_Utils_IsEmptyDate(&result));
}

TEST(UtilsDates, DecodeZeroesItsOutputsAndRefusesNoDateSilently)
{
    uint16_t year = 1, millisecond = 1;
    uint8_t month = 1, day = 1, hour = 1, minute = 1, second = 1;
    const DateTime empty{};
    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_DecodeDateTime(&empty, &year, &month, &day, &hour, &minute, &second, &millisecond),
              Kel_BadInvalidArgument);
    EXPECT_EQ(year + month + day + hour + minute + second + millisecond, 0);
    year = 5;
    EXPECT_EQ(Kel_Utils_DecodeDateTime(nullptr, &year, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              Kel_BadInvalidArgument);
    EXPECT_EQ(year, 0);
    EXPECT_EQ(trace.Lines(), std::vector<std::string>{});

    // Only the microseconds set is a date (the record is not all zero).
    const DateTime microsecondsOnly{0, 5000};
    EXPECT_FALSE(Kel_Utils_IsEmptyDate(&microsecondsOnly));
    EXPECT_EQ(Kel_Utils_DecodeDateTime(&microsecondsOnly, nullptr, nullptr, nullptr, nullptr, nullptr,
                                       nullptr, &millisecond),
              Kel_Good);
    EXPECT_EQ(millisecond, 5);
}

TEST(UtilsDates, EmptyTests)
{
    EXPECT_EQ(Kel_Utils_IsEmptyDate(nullptr), 1u);
    const DateTime empty{};
    EXPECT_EQ(Kel_Utils_IsEmptyDate(&empty), 1u);
    const DateTime secondsOnly{-1, 0};
    EXPECT_EQ(Kel_Utils_IsEmptyDate(&secondsOnly), 0u);

    const uint8_t zeros[5] = {};
    const uint8_t lastSet[5] = {0, 0, 0, 0, 1};
    EXPECT_EQ(Kel_Utils_IsEmpty(nullptr, 5), 1u);
    EXPECT_EQ(Kel_Utils_IsEmpty(lastSet, 0), 1u);
    EXPECT_EQ(Kel_Utils_IsEmpty(lastSet, -1), 1u);
    EXPECT_EQ(Kel_Utils_IsEmpty(zeros, 5), 1u);
    EXPECT_EQ(Kel_Utils_IsEmpty(lastSet, 4), 1u);
    EXPECT_EQ(Kel_Utils_IsEmpty(lastSet, 5), 0u);
}

TEST(UtilsDates, IsEqualComparesToTheMillisecond)
{
    const DateTime empty{};
    const DateTime a = Make(2024, 3, 15, 10, 20, 30, 123);
    uint32_t equal = 7;
    EXPECT_EQ(Kel_Utils_IsEqualDateTime(&empty, &empty, &equal), Kel_Good);
    EXPECT_EQ(equal, 1u);
    EXPECT_EQ(Kel_Utils_IsEqualDateTime(&empty, &a, &equal), Kel_Good);
    EXPECT_EQ(equal, 0u);
    equal = 7;
    EXPECT_EQ(Kel_Utils_IsEqualDateTime(&a, &empty, &equal), Kel_Good);
    EXPECT_EQ(equal, 0u);
    EXPECT_EQ(Kel_Utils_IsEqualDateTime(&a, &a, &equal), Kel_Good);
    EXPECT_EQ(equal, 1u);

    DateTime belowOneMillisecond = a;
    belowOneMillisecond.microseconds += 999;
    EXPECT_EQ(Kel_Utils_IsEqualDateTime(&a, &belowOneMillisecond, &equal), Kel_Good);
    EXPECT_EQ(equal, 1u);
    DateTime oneMillisecond = a;
    oneMillisecond.microseconds += 1000;
    EXPECT_EQ(Kel_Utils_IsEqualDateTime(&a, &oneMillisecond, &equal), Kel_Good);
    EXPECT_EQ(equal, 0u);
    DateTime oneSecond = a;
    oneSecond.seconds += 1;
    EXPECT_EQ(Kel_Utils_IsEqualDateTime(&oneSecond, &a, &equal), Kel_Good);
    EXPECT_EQ(equal, 0u);

    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_IsEqualDateTime(nullptr, &a, &equal), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_IsEqualDateTime(&a, nullptr, &equal), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_IsEqualDateTime(&a, &a, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                 ErrorLine("<-- ReturnError: Arg pDateTime1 is NULL!"),
                                 ErrorLine("<-- ReturnError: Arg pDateTime2 is NULL!"),
                                 ErrorLine("<-- ReturnError: Arg pIsEqual is NULL!"),
                             }));
}

TEST(UtilsDates, UnixTimeCountsFromTheLocalEpoch)
{
    datetime_test::ScopedTimeZone zone("XXX5"); // west of UTC: the epoch date is a positive record
    DateTime epoch{1, 1};
    ASSERT_EQ(Kel_Utils_GetEpochDate(&epoch), Kel_Good);
    EXPECT_EQ(epoch.seconds, 5 * 3600);
    EXPECT_EQ(epoch.microseconds, 0u);
    ExpectFields(epoch, 1970, 1, 1, 0, 0, 0, 0);
    uint32_t unixTime = 7;
    EXPECT_EQ(Kel_Utils_DateTimeToUnixTime(&epoch, &unixTime), Kel_Good);
    EXPECT_EQ(unixTime, 0u);
    const DateTime nextDay = Make(1970, 1, 2, 0, 0, 1, 0);
    EXPECT_EQ(Kel_Utils_DateTimeToUnixTime(&nextDay, &unixTime), Kel_Good);
    EXPECT_EQ(unixTime, 86401u);

    // Before the local epoch date: 0.
    DateTime before = epoch;
    before.seconds -= 100;
    EXPECT_EQ(Kel_Utils_DateTimeToUnixTime(&before, &unixTime), Kel_Good);
    EXPECT_EQ(unixTime, 0u);

    // Round trip; the record is the epoch date plus the seconds, microseconds 0.
    DateTime back{};
    EXPECT_EQ(Kel_Utils_UnixTimeToDateTime(1710498030u, &back), Kel_Good);
    EXPECT_EQ(static_cast<int64_t>(back.seconds) - epoch.seconds, 1710498030);
    EXPECT_EQ(back.microseconds, 0u);
    EXPECT_EQ(Kel_Utils_DateTimeToUnixTime(&back, &unixTime), Kel_Good);
    EXPECT_EQ(unixTime, 1710498030u);

    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_GetEpochDate(nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_DateTimeToUnixTime(nullptr, &unixTime), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_DateTimeToUnixTime(&epoch, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_UnixTimeToDateTime(0, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                 ErrorLine("<-- ReturnError: Arg pDate is NULL!"),
                                 ErrorLine("<-- ReturnError: Arg pDateTime is NULL!"),
                                 ErrorLine("<-- ReturnError: Arg pUnixTime is NULL!"),
                                 ErrorLine("<-- ReturnError: Arg pDateTime is NULL!"),
                             }));
}

TEST(UtilsDates, UnixTimeIsLocalCalendarTime)
{
    // In a zone 3 hours east of UTC the record of 2024-03-15 10:20:30 local is 07:20:30 UTC, yet its
    // Unix time counts from 1970-01-01 00:00 local: the local calendar time taken as UTC.
    datetime_test::ScopedTimeZone zone("XXX-3");
    const DateTime local = Make(2024, 3, 15, 10, 20, 30, 0);
    EXPECT_EQ(local.seconds, 1710498030 - 3 * 3600);
    uint32_t unixTime = 0;
    EXPECT_EQ(Kel_Utils_DateTimeToUnixTime(&local, &unixTime), Kel_Good);
    EXPECT_EQ(unixTime, 1710498030u);
    DateTime back{};
    EXPECT_EQ(Kel_Utils_UnixTimeToDateTime(unixTime, &back), Kel_Good);
    ExpectFields(back, 2024, 3, 15, 10, 20, 30, 0);
}

TEST(UtilsDates, LocalTimeShiftInMinutes)
{
    const struct
    {
        const char* pZone;
        uint16_t minutes;
    } cases[] = {{"UTC0", 0}, {"XXX-3", 180}, {"XXX-5:30", 330}, {"XXX3", static_cast<uint16_t>(-180)}};
    for (const auto& c : cases)
    {
        datetime_test::ScopedTimeZone zone(c.pZone);
        uint16_t minutes = 1;
        EXPECT_EQ(Kel_Utils_GetLocalTimeShift(&minutes), Kel_Good);
        EXPECT_EQ(minutes, c.minutes) << c.pZone;
    }
}

TEST(UtilsDates, IsoTextOut)
{
    const DateTime date = Make(2024, 3, 15, 10, 20, 30, 0);
    char text[32];
    memset(text, 'x', sizeof(text));
    EXPECT_EQ(Kel_Utils_DateTimeToISOTime(&date, text, 25), Kel_Good);
    EXPECT_STREQ(text, "2024-03-15T10:20:30.000Z");
    EXPECT_EQ(text[25], 'x'); // only the given size is touched

    const DateTime last1999 = Make(1999, 12, 31, 23, 59, 59, 7);
    EXPECT_EQ(Kel_Utils_DateTimeToISOTime(&last1999, text, sizeof(text)), Kel_Good);
    EXPECT_STREQ(text, "1999-12-31T23:59:59.007Z");
    EXPECT_EQ(text[31], '\0'); // the whole buffer is zeroed first

    memset(text, 'x', sizeof(text));
    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_DateTimeToISOTime(&date, text, 24), Kel_BadInvalidArgument);
    EXPECT_EQ(text[0], 'x');
    const DateTime empty{};
    EXPECT_EQ(Kel_Utils_DateTimeToISOTime(&empty, text, sizeof(text)), Kel_BadInvalidArgument);
    EXPECT_EQ(text[0], '\0');
    EXPECT_EQ(Kel_Utils_DateTimeToISOTime(&date, nullptr, sizeof(text)), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                 ErrorLine("<-- ReturnError: aSize <= 24 is true! Return 0x80AB0000"),
                                 ErrorLine("--- GotoError: Bad statuscode 0x80AB0000"),
                                 ErrorLine("<-- \"Kel_Utils_DateTimeToISOTime\" = 0x80AB0000 (BAD)."),
                                 ErrorLine("<-- ReturnError: Arg pText is NULL!"),
                             }));
}

TEST(UtilsDates, IsoTextIn)
{
    DateTime date{};
    EXPECT_EQ(Kel_Utils_ISOTimeToDateTime("2024-03-15T10:20:30Z", &date), Kel_Good);
    ExpectFields(date, 2024, 3, 15, 10, 20, 30, 0);
    EXPECT_EQ(Kel_Utils_ISOTimeToDateTime("2024-03-15T10:20:30.250Z", &date), Kel_Good);
    ExpectFields(date, 2024, 3, 15, 10, 20, 30, 250);
    // The text written by DateTimeToISOTime reads back as the same record.
    char text[25];
    const DateTime original = Make(2031, 7, 4, 5, 6, 7, 890);
    ASSERT_EQ(Kel_Utils_DateTimeToISOTime(&original, text, sizeof(text)), Kel_Good);
    EXPECT_EQ(Kel_Utils_ISOTimeToDateTime(text, &date), Kel_Good);
    EXPECT_EQ(date.seconds, original.seconds);
    EXPECT_EQ(date.microseconds, original.microseconds);

    TraceCapture trace;
    date = DateTime{9, 9};
    EXPECT_EQ(Kel_Utils_ISOTimeToDateTime("2024-03-15", &date), Kel_BadInvalidArgument);
    EXPECT_TRUE(Kel_Utils_IsEmptyDate(&date));
    EXPECT_EQ(Kel_Utils_ISOTimeToDateTime("", &date), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_ISOTimeToDateTime("2024-02-30T00:00:00Z", &date), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_Utils_ISOTimeToDateTime("2024-257-15T00:00:00Z", &date), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_Utils_ISOTimeToDateTime(nullptr, &date), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_ISOTimeToDateTime("2024-03-15T10:20:30Z", nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                 ErrorLine("--- GotoError: Kel_BadInvalidArgument. Statuscode 0x80AB0000"),
                                 ErrorLine("<-- \"Kel_Utils_ISOTimeToDateTime\" = 0x80AB0000 (BAD)."),
                                 ErrorLine("--- GotoError: Kel_BadInvalidArgument. Statuscode 0x80AB0000"),
                                 ErrorLine("<-- \"Kel_Utils_ISOTimeToDateTime\" = 0x80AB0000 (BAD)."),
                                 ErrorLine("<-- ReturnError: 0x803C0000", kClockFile),
                                 ErrorLine("--- GotoError: Bad statuscode 0x803C0000"),
                                 ErrorLine("<-- \"Kel_Utils_ISOTimeToDateTime\" = 0x803C0000 (BAD)."),
                                 ErrorLine("--- GotoError: Kel_BadOutOfRange. Statuscode 0x803C0000"),
                                 ErrorLine("<-- \"Kel_Utils_ISOTimeToDateTime\" = 0x803C0000 (BAD)."),
                                 ErrorLine("<-- ReturnError: Arg pText is NULL!"),
                                 ErrorLine("<-- ReturnError: Arg pDateTime is NULL!"),
                             }));
}

TEST(UtilsDates, DateTimeToStr)
{
    const DateTime date = Make(2024, 3, 5, 7, 8, 9, 12);
    char text[32];
    memset(text, 'x', sizeof(text));
    EXPECT_EQ(Kel_Utils_DateTimeToStr(&date, text, sizeof(text)), Kel_Good);
    EXPECT_STREQ(text, "2024.03.05 07:08:09.012");
    EXPECT_EQ(text[31], '\0');

    memset(text, 'x', sizeof(text));
    EXPECT_EQ(Kel_Utils_DateTimeToStr(&date, text, 11), Kel_Good);
    EXPECT_STREQ(text, "2024.03.05");
    EXPECT_EQ(text[11], 'x');

    // No date leaves the text empty and is no failure.
    const DateTime empty{};
    memset(text, 'x', sizeof(text));
    EXPECT_EQ(Kel_Utils_DateTimeToStr(&empty, text, sizeof(text)), Kel_Good);
    EXPECT_EQ(Kel_Utils_IsEmpty(text, sizeof(text)), 1u);
    memset(text, 'x', sizeof(text));
    EXPECT_EQ(Kel_Utils_DateTimeToStr(nullptr, text, sizeof(text)), Kel_Good);
    EXPECT_EQ(Kel_Utils_IsEmpty(text, sizeof(text)), 1u);

    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_DateTimeToStr(&date, nullptr, 5), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_DateTimeToStr(&date, text, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                 ErrorLine("<-- ReturnError: Arg pText is NULL!"),
                                 ErrorLine("<-- ReturnError: Argument aSize is 0!"),
                             }));
}

TEST(UtilsDates, AddMonthsStepsMonthByMonth)
{
    DateTime date = Make(2024, 3, 15, 10, 20, 30, 456);
    EXPECT_EQ(Kel_Utils_AddMonths(&date, -3), Kel_Good);
    ExpectFields(date, 2023, 12, 15, 10, 20, 30, 456);
    EXPECT_EQ(Kel_Utils_AddMonths(&date, 13), Kel_Good);
    ExpectFields(date, 2025, 1, 15, 10, 20, 30, 456);
    EXPECT_EQ(Kel_Utils_AddMonths(&date, 0), Kel_Good);
    ExpectFields(date, 2025, 1, 15, 10, 20, 30, 456);
    EXPECT_EQ(Kel_Utils_AddMonths(&date, -25), Kel_Good);
    ExpectFields(date, 2022, 12, 15, 10, 20, 30, 456);

    // A day the target month lacks fails and leaves the record as it was.
    DateTime endOfJanuary = Make(2024, 1, 31, 0, 0, 0, 0);
    const DateTime kept = endOfJanuary;
    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_AddMonths(&endOfJanuary, 1), Kel_BadOutOfRange);
    EXPECT_EQ(endOfJanuary.seconds, kept.seconds);
    DateTime leapDay = Make(2024, 2, 29, 0, 0, 0, 0);
    EXPECT_EQ(Kel_Utils_AddMonths(&leapDay, 12), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_Utils_AddMonths(&leapDay, 48), Kel_Good);
    const DateTime empty{};
    DateTime noDate = empty;
    EXPECT_EQ(Kel_Utils_AddMonths(&noDate, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_AddMonths(nullptr, 1), Kel_BadInvalidArgument);
    const std::vector<std::string> dayMissing = {
        ErrorLine("<-- ReturnError: 0x803C0000", kClockFile),
        ErrorLine("--- GotoError: Bad statuscode 0x803C0000"),
        ErrorLine("<-- \"Kel_Utils_AddMonths\" = 0x803C0000 (BAD)."),
    };
    std::vector<std::string> expected = dayMissing;
    expected.insert(expected.end(), dayMissing.begin(), dayMissing.end());
    expected.push_back(ErrorLine("--- GotoError: Bad statuscode 0x80AB0000"));
    expected.push_back(ErrorLine("<-- \"Kel_Utils_AddMonths\" = 0x80AB0000 (BAD)."));
    expected.push_back(ErrorLine("<-- ReturnError: Arg pDateTime is NULL!"));
    EXPECT_EQ(trace.Lines(), expected);
    ExpectFields(leapDay, 2028, 2, 29, 0, 0, 0, 0);
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

TEST(DateTime, CreateAndDecodeKeepTheLocalFields)
{
    DateTime result{};
    ASSERT_EQ(Kel_P_DateTime_CreateImp(2024, 2, 29, 10, 20, 30, 123, &result), Kel_Good);
    EXPECT_EQ(result.microseconds, 123000u);
    const Fields fields = ClockFields(result);
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
    EXPECT_EQ(ClockCreate(2000, 2, 29, 0, 0, 0, &result), Kel_Good);
    ASSERT_EQ(ClockCreate(1999, 12, 31, 23, 59, 59, &result), Kel_Good);
    const Fields last = ClockFields(result);
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
    EXPECT_EQ(ClockCreate(2038, 1, 18, 0, 0, 0, &result), Kel_Good);
    const DateTime before = result;
    TraceCapture trace;
    EXPECT_EQ(ClockCreate(2038, 1, 20, 0, 0, 0, &result), Kel_BadOutOfRange);
    EXPECT_EQ(ClockCreate(9999, 12, 31, 23, 59, 59, &result), Kel_BadOutOfRange);
    EXPECT_EQ(ClockCreate(1601, 1, 1, 0, 0, 0, &result), Kel_BadOutOfRange);
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
    ASSERT_EQ(ClockCreate(2038, 1, 19, 3, 14, 7, &result), Kel_Good);
    EXPECT_EQ(result.seconds, INT32_MAX);
    EXPECT_EQ(ClockCreate(2038, 1, 19, 3, 14, 8, &result), Kel_BadOutOfRange);
    ASSERT_EQ(ClockCreate(1901, 12, 13, 20, 45, 52, &result), Kel_Good);
    EXPECT_EQ(result.seconds, INT32_MIN);
    EXPECT_EQ(ClockCreate(1901, 12, 13, 20, 45, 51, &result), Kel_BadOutOfRange);
    ASSERT_EQ(ClockCreate(1970, 1, 1, 0, 0, 0, &result), Kel_Good);
    EXPECT_EQ(result.seconds, 0);
    ASSERT_EQ(ClockCreate(1969, 12, 31, 23, 59, 58, &result), Kel_Good);
    EXPECT_EQ(result.seconds, -2);
    // 1904 and 1968 are leap years; the calendar around them comes out right.
    ASSERT_EQ(ClockCreate(1968, 2, 29, 12, 0, 0, &result), Kel_Good);
    EXPECT_EQ(result.seconds, -58017600);
    ASSERT_EQ(ClockCreate(1904, 3, 1, 0, 0, 0, &result), Kel_Good);
    EXPECT_EQ(result.seconds, -2077660800);
    const Fields leap = ClockFields(DateTime{-58017600, 0});
    EXPECT_EQ(leap.year, 1968);
    EXPECT_EQ(leap.month, 2);
    EXPECT_EQ(leap.day, 29);
    EXPECT_EQ(leap.hour, 12);
    ASSERT_EQ(ClockCreate(2024, 3, 15, 10, 20, 30, &result), Kel_Good);
    EXPECT_EQ(result.seconds, 1710498030);
}

TEST(DateTime, TheSecondBeforeTheEpochIsAValidInstant)
{
    // mktime answers -1 both for a failure and for 1969-12-31 23:59:59 UTC.
    datetime_test::ScopedTimeZone zone("UTC0");
    DateTime result{};
    ASSERT_EQ(ClockCreate(1969, 12, 31, 23, 59, 59, &result), Kel_Good);
    EXPECT_EQ(result.seconds, -1);
    const Fields fields = ClockFields(result);
    EXPECT_EQ(fields.year, 1969);
    EXPECT_EQ(fields.second, 59);
}

TEST(DateTime, LocalFieldsFollowTheTimeZone)
{
    datetime_test::ScopedTimeZone zone("XXX-3");
    DateTime result{};
    ASSERT_EQ(ClockCreate(2024, 3, 15, 10, 20, 30, &result), Kel_Good);
    EXPECT_EQ(result.seconds, 1710498030 - 3 * 3600);
    uint8_t hour = 0;
    EXPECT_EQ(Kel_P_DateTime_GetHour(&result, &hour), Kel_Good);
    EXPECT_EQ(hour, 10);
    // East of UTC the local epoch date lies before the epoch; it converts both ways all the same.
    ASSERT_EQ(ClockCreate(1970, 1, 1, 0, 0, 0, &result), Kel_Good);
    EXPECT_EQ(result.seconds, -3 * 3600);
    Fields fields = ClockFields(result);
    EXPECT_EQ(fields.year, 1970);
    EXPECT_EQ(fields.month, 1);
    EXPECT_EQ(fields.day, 1);
    EXPECT_EQ(fields.hour, 0);
    ASSERT_EQ(ClockCreate(1901, 12, 13, 23, 45, 52, &result), Kel_Good);
    EXPECT_EQ(result.seconds, INT32_MIN);
    fields = ClockFields(result);
    EXPECT_EQ(fields.year, 1901);
    EXPECT_EQ(fields.day, 13);
    EXPECT_EQ(fields.hour, 23);
    // The last local second that fits is 3 hours later than in UTC.
    EXPECT_EQ(ClockCreate(2038, 1, 19, 6, 14, 7, &result), Kel_Good);
    EXPECT_EQ(ClockCreate(2038, 1, 19, 6, 14, 8, &result), Kel_BadOutOfRange);
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
