// Meter records: exact text forms and their truncation, the count limits of the text forms, the sort
// orders and the date-range helpers.
#include "protocols/shared/kel_energyshared_meter.h"
#include "shared/kel_utils.h"

#include "schedule_helpers.h"

#include <string>

namespace
{
DateTime Date(uint16_t year, uint8_t month, uint8_t day, uint8_t hour = 0, uint8_t minute = 0,
              uint8_t second = 0)
{
    DateTime d{};
    EXPECT_EQ(Kel_Utils_CreateDateTime(year, month, day, hour, minute, second, 0, &d), Kel_Good);
    return d;
}

const DateTime kNoDate{};

bool SameDate(const DateTime& a, const DateTime& b)
{
    return a.seconds == b.seconds && a.microseconds == b.microseconds;
}

// Calls a text form into a buffer of the given size and returns the text, checking the status.
template <typename Call> std::string Text(Call call, uint32_t size = 4096, Kel_StatusCode expected = Kel_Good)
{
    std::string buffer(size, 'x');
    EXPECT_EQ(call(buffer.data(), size), expected);
    return std::string(buffer.c_str());
}

ScheduleParams DefaultSchedule()
{
    ScheduleParams s{};
    EXPECT_EQ(Kel_EnergyShared_Schedule_VerifySchedule(&s, 4, 1, 8), Kel_Good);
    return s;
}

const std::string kDefaultScheduleText =
    "Seasons=(SeasonsCount=1, Seasons[0]=(Month=1, Day=1, WeekId=1)), "
    "Weeks=(WeeksCount=1, Weeks[0]=(WeekId=1, DayIds=([7] 01 01 01 01 01 01 01))), "
    "Days=(DaysCount=1, Days[0]=(DayId=1, Hour=0, Minute=0, ScheduleValue=1)), "
    "SpecialDays=(SpecialDaysCount=0)";
} // namespace

TEST(MeterText, DefaultScheduleAndItsTruncation)
{
    const ScheduleParams s = DefaultSchedule();
    auto call = [&](char* p, uint32_t n) { return Kel_EnergyShared_ScheduleParamsToStr(&s, p, n); };
    EXPECT_EQ(Text(call), kDefaultScheduleText);

    // A buffer of 10 characters gets the first 9 and the terminator, and nothing beyond it is touched.
    char buffer[16];
    memset(buffer, 0x7F, sizeof(buffer));
    ASSERT_EQ(Kel_EnergyShared_ScheduleParamsToStr(&s, buffer, 10), Kel_Good);
    EXPECT_EQ(std::string(buffer), "Seasons=(");
    for (int i = 10; i < 16; ++i)
        EXPECT_EQ(buffer[i], 0x7F) << i;
    // Cut inside a later section as well, and at one character.
    EXPECT_EQ(Text(call, 100), kDefaultScheduleText.substr(0, 99));
    EXPECT_EQ(Text(call, 1), "");

    const DateTime start = Date(2024, 3, 15, 10, 20, 30);
    auto write = [&](char* p, uint32_t n)
    { return Kel_EnergyShared_WriteScheduleParamsToStr(&start, &s, p, n); };
    EXPECT_EQ(Text(write), "StartTime=2024.03.15 10:20:30.000, Schedule=(" + kDefaultScheduleText + ")");
}

TEST(MeterText, ScheduleSectionsAreCutAt500AndCountsAreChecked)
{
    // 83 points: the Days section is longer than its 500-character text.
    ScheduleParams s =
        MakeSchedule({{1, 1, 1}, {7, 15, 2}}, {AllDays(1, 1), {2, {1, 2, 10, 11, 12, 255, 7}}}, {});
    std::string days = "DaysCount=83";
    for (uint8_t i = 0; i < 83; ++i)
    {
        s.Days[s.DaysCount++] = {static_cast<uint8_t>(1 + i / 10), static_cast<uint8_t>(i % 24),
                                 static_cast<uint8_t>(i % 60), static_cast<uint8_t>(1 + i % 4)};
        days += ", Days[" + std::to_string(i) + "]=(DayId=" + std::to_string(1 + i / 10) +
                ", Hour=" + std::to_string(i % 24) + ", Minute=" + std::to_string(i % 60) +
                ", ScheduleValue=" + std::to_string(1 + i % 4) + ")";
    }
    s.SpecialDays[s.SpecialDaysCount++] = {12, 31, 3};
    const std::string head = "Seasons=(SeasonsCount=2, Seasons[0]=(Month=1, Day=1, WeekId=1), "
                             "Seasons[1]=(Month=7, Day=15, WeekId=2)), "
                             "Weeks=(WeeksCount=2, Weeks[0]=(WeekId=1, DayIds=([7] 01 01 01 01 01 01 01)), "
                             "Weeks[1]=(WeekId=2, DayIds=([7] 01 02 0A 0B 0C FF 07)))";
    const std::string full = head + ", Days=(" + days.substr(0, 499) + ")" +
                             ", SpecialDays=(SpecialDaysCount=1, SpecialDays[0]=(Month=12, Day=31, DayId=3))";
    auto call = [&](char* p, uint32_t n) { return Kel_EnergyShared_ScheduleParamsToStr(&s, p, n); };
    EXPECT_EQ(Text(call), full);

    // Inside the write-schedule text, the whole schedule text is cut at 500 in its turn.
    auto write = [&](char* p, uint32_t n)
    { return Kel_EnergyShared_WriteScheduleParamsToStr(&kNoDate, &s, p, n); };
    EXPECT_EQ(Text(write), "StartTime=, Schedule=(" + full.substr(0, 499) + ")");

    // 84 points are refused; the sections written before stay in the buffer.
    s.Days[s.DaysCount++] = {9, 23, 59, 1};
    EXPECT_EQ(Text(call, 4096, Kel_BadOutOfRange), head);
    EXPECT_EQ(Text(write, 4096, Kel_BadOutOfRange), "StartTime=");

    ScheduleParams seasons = DefaultSchedule();
    seasons.SeasonsCount = 13;
    EXPECT_EQ(Text([&](char* p, uint32_t n) { return Kel_EnergyShared_ScheduleParamsToStr(&seasons, p, n); },
                   4096, Kel_BadOutOfRange),
              "");
    ScheduleParams specials = DefaultSchedule();
    specials.SpecialDaysCount = 31;
    EXPECT_EQ(Text([&](char* p, uint32_t n) { return Kel_EnergyShared_ScheduleParamsToStr(&specials, p, n); },
                   4096, Kel_BadOutOfRange),
              kDefaultScheduleText.substr(0, kDefaultScheduleText.find(", SpecialDays=")));
}

TEST(MeterText, BufferChecksAndNullRecords)
{
    const ReadEventsEntry entry{1, 65535, 3};
    EXPECT_EQ(Kel_EnergyShared_ReadEventsEntryToStr(&entry, nullptr, 10), Kel_BadInvalidArgument);
    char buffer[8] = "abcdefg";
    EXPECT_EQ(Kel_EnergyShared_ReadEventsEntryToStr(&entry, buffer, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(std::string(buffer), "abcdefg");

    // A null record leaves the buffer empty (zeroed) and is no failure.
    EXPECT_EQ(Text([](char* p, uint32_t n) { return Kel_EnergyShared_ReadEventsEntryToStr(nullptr, p, n); }),
              "");
    EXPECT_EQ(Text([](char* p, uint32_t n) { return Kel_EnergyShared_ScheduleParamsToStr(nullptr, p, n); }),
              "");
    EXPECT_EQ(
        Text([](char* p, uint32_t n) { return Kel_EnergyShared_ValueParamsListToStr(nullptr, 3, p, n); }),
        "");

    TraceCapture trace("meter_trace.txt");
    EXPECT_EQ(Kel_EnergyShared_ReadEventsEntryToStr(&entry, nullptr, 10), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_EnergyShared_ReadEventsEntryToStr(&entry, buffer, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_EnergyShared_AddLcdValue(1, 0, nullptr), Kel_BadInvalidArgument);
    const std::string file = ", File=protocols/shared/kel_energyshared_meter, Line=#\n";
    EXPECT_EQ(trace.Text(), "<-- ReturnError: Arg pString is NULL!\n" + file +
                                "<-- ReturnError: Argument stringSize is 0!\n" + file +
                                "<-- ReturnError: Arg pLcdValues is NULL!\n" + file);
}

TEST(MeterText, PassportText)
{
    PassportParams p{};
    strcpy(p.SerialNumber, "012345678");
    strcpy(p.MeterType, "Z-1 5(60)A");
    strcpy(p.MetrologyVersion, "1.02");
    strcpy(p.CommunicateVersion, "3.4");
    p.MeterCreateDate = Date(2024, 3, 15, 10, 20, 30);
    strcpy(p.PointData, "Feeder 7");
    p.Params[0] = {1, 2.5};
    p.Params[1] = {258, -0.125};
    p.ParamsCount = 2;
    auto call = [&](char* s, uint32_t n) { return Kel_EnergyShared_PassportToStr(&p, s, n); };
    EXPECT_EQ(Text(call),
              "SerialNumber=012345678, MeterType=Z-1 5(60)A, MetrologyVersion=1.02, "
              "CommunicateVersion=3.4, MeterCreateDate=2024.03.15 10:20:30.000, PointData=Feeder 7, "
              "ParamsCount=2, Params[0]=(ParamType=1, ParamValue=2.500000), "
              "Params[1]=(ParamType=258, ParamValue=-0.125000)");

    // A text that fills its field without a terminator is read no further than the field.
    memset(p.SerialNumber, '9', sizeof(p.SerialNumber));
    p.MeterCreateDate = kNoDate;
    p.ParamsCount = 0;
    EXPECT_EQ(Text(call), "SerialNumber=" + std::string(30, '9') +
                              ", MeterType=Z-1 5(60)A, MetrologyVersion=1.02, CommunicateVersion=3.4, "
                              "MeterCreateDate=, PointData=Feeder 7, ParamsCount=0");

    // More than ten parameters: refused after the tenth is written.
    for (uint8_t i = 0; i < 10; ++i)
        p.Params[i] = {static_cast<uint32_t>(i + 1), 0.0};
    p.ParamsCount = 11;
    const std::string text = Text(call, 4096, Kel_BadOutOfRange);
    EXPECT_NE(text.find("ParamsCount=11, Params[0]=(ParamType=1, ParamValue=0.000000)"), std::string::npos);
    EXPECT_TRUE(text.ends_with(", Params[9]=(ParamType=10, ParamValue=0.000000)")) << text;
}

TEST(MeterText, ValuesInstantsAndProfiles)
{
    const ValueParams values[2] = {{0x0101, 1234.5, 0, 0}, {7, -1.25, 2, 3}};
    const std::string list =
        "ValuesCount=2, Values[0]=(ValueType=257, Value=1234.500000, Quality=0, TariffRate=0), "
        "Values[1]=(ValueType=7, Value=-1.250000, Quality=2, TariffRate=3)";
    EXPECT_EQ(
        Text([&](char* p, uint32_t n) { return Kel_EnergyShared_ValueParamsListToStr(values, 2, p, n); }),
        list);

    InstantValues instants{};
    instants.Values[0] = values[0];
    instants.Values[1] = values[1];
    instants.ValuesCount = 2;
    auto instantsText = [&](char* p, uint32_t n)
    { return Kel_EnergyShared_InstantValuesToStr(&instants, p, n); };
    EXPECT_EQ(Text(instantsText), "Values=(" + list + ")");
    // Sixty values: the list is cut at its 500-character text.
    for (uint8_t i = 0; i < 60; ++i)
        instants.Values[i] = {i, i * 0.5, 0, static_cast<uint8_t>(i % 5)};
    instants.ValuesCount = 60;
    const std::string longList =
        Text([&](char* p, uint32_t n)
             { return Kel_EnergyShared_ValueParamsListToStr(instants.Values, 60, p, n); });
    ASSERT_GT(longList.size(), 499u);
    EXPECT_EQ(Text(instantsText), "Values=(" + longList.substr(0, 499) + ")");
    instants.ValuesCount = 61;
    EXPECT_EQ(Text(instantsText, 4096, Kel_BadOutOfRange), "");

    ReadInstantsParams types{};
    types.Types[0] = 1;
    types.Types[1] = 258;
    types.TypesCount = 2;
    auto typesText = [&](char* p, uint32_t n)
    { return Kel_EnergyShared_ReadInstantsParamsToStr(&types, p, n); };
    EXPECT_EQ(Text(typesText), "Types=(TypesCount=2, Types[0]=1, Types[1]=258)");
    types.TypesCount = 61;
    EXPECT_EQ(Text(typesText, 4096, Kel_BadOutOfRange), "");

    ProfileRecord records[2]{};
    records[0].DateTime = Date(2024, 3, 15, 10, 20, 30);
    records[0].Values[0] = {5, 1.5, 0, 1};
    records[0].ValuesCount = 1;
    auto recordsText = [&](char* p, uint32_t n)
    { return Kel_EnergyShared_ProfileRecordListToStr(records, 2, p, n); };
    EXPECT_EQ(Text(recordsText), "RecordsCount=2, Records[0]=(DateTime=2024.03.15 10:20:30.000, "
                                 "Values=(ValuesCount=1, Values[0]=(ValueType=5, Value=1.500000, Quality=0, "
                                 "TariffRate=1))), Records[1]=(DateTime=, Values=(ValuesCount=0))");
    records[1].ValuesCount = 31;
    EXPECT_EQ(Text(recordsText, 4096, Kel_BadOutOfRange),
              "RecordsCount=2, Records[0]=(DateTime=2024.03.15 10:20:30.000, Values=(ValuesCount=1, "
              "Values[0]=(ValueType=5, Value=1.500000, Quality=0, TariffRate=1)))");

    const ReadProfileParams range{Date(2024, 3, 1), kNoDate};
    EXPECT_EQ(
        Text([&](char* p, uint32_t n) { return Kel_EnergyShared_ReadProfileParamsToStr(&range, p, n); }),
        "StartTime=2024.03.01 00:00:00.000, EndTime=");
}

TEST(MeterText, EventsLcdSettingsAndTimes)
{
    const ReadEventsParams request{Date(2024, 3, 15, 10, 20, 30), Date(2024, 4, 1), 4};
    EXPECT_EQ(
        Text([&](char* p, uint32_t n) { return Kel_EnergyShared_ReadEventsParamsToStr(&request, p, n); }),
        "StartTime=2024.03.15 10:20:30.000, EndTime=2024.04.01 00:00:00.000, JournalType=4");
    const ReadEventsEntry entry{1, 65535, 3};
    auto entryText = [&](char* p, uint32_t n) { return Kel_EnergyShared_ReadEventsEntryToStr(&entry, p, n); };
    EXPECT_EQ(Text(entryText), "StartEntry=1, EndEntry=65535, JournalType=3");
    EXPECT_EQ(Text(entryText, 12), "StartEntry=");

    EventParams events[2]{};
    events[0] = {3, 17, Date(2024, 3, 15, 10, 20, 30), {0x01, 0xAB, 0xFF}, 3};
    events[1] = {5, 0, kNoDate, {}, 0};
    auto eventsText = [&](char* p, uint32_t n)
    { return Kel_EnergyShared_EventParamsListToStr(events, 2, p, n); };
    EXPECT_EQ(Text(eventsText), "EventsCount=2, Events[0]=(EventInfo=(JournalType=3, EventType=17), "
                                "Time=2024.03.15 10:20:30.000, Data=[3] 01 AB FF), "
                                "Events[1]=(EventInfo=(JournalType=5, EventType=0), Time=, Data=[0])");
    // The longest data is written whole; a length beyond the data field is refused.
    for (uint8_t i = 0; i < 100; ++i)
        events[1].Data[i] = i;
    events[1].DataLength = 100;
    const std::string longText = Text(eventsText);
    EXPECT_TRUE(
        longText.ends_with("Data=[100] 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13 14 15 "
                           "16 17 18 19 1A 1B 1C 1D 1E 1F 20 21 22 23 24 25 26 27 28 29 2A 2B 2C 2D 2E 2F "
                           "30 31 32 33 34 35 36 37 38 39 3A 3B 3C 3D 3E 3F 40 41 42 43 44 45 46 47 48 49 "
                           "4A 4B 4C 4D 4E 4F 50 51 52 53 54 55 56 57 58 59 5A 5B 5C 5D 5E 5F 60 61 62 63)"))
        << longText;
    events[1].DataLength = 101;
    EXPECT_EQ(Text(eventsText, 4096, Kel_BadOutOfRange), longText.substr(0, longText.find(", Events[1]")));

    LcdValueList lcd{};
    ASSERT_EQ(Kel_EnergyShared_AddLcdValue(1, 0, &lcd), Kel_Good);
    ASSERT_EQ(Kel_EnergyShared_AddLcdValue(0x0201, 4, &lcd), Kel_Good);
    auto lcdText = [&](char* p, uint32_t n) { return Kel_EnergyShared_LcdValueListToStr(&lcd, p, n); };
    EXPECT_EQ(Text(lcdText), "ValuesCount=2, Values[0]=(ValueType=1, TariffRate=0), "
                             "Values[1]=(ValueType=513, TariffRate=4)");
    while (lcd.ValuesCount < 50)
        ASSERT_EQ(Kel_EnergyShared_AddLcdValue(9, 1, &lcd), Kel_Good);
    EXPECT_EQ(Kel_EnergyShared_AddLcdValue(9, 1, &lcd), Kel_BadOutOfRange);
    EXPECT_EQ(lcd.ValuesCount, 50);

    // Settings: only the one value the record holds, written as entry 0 whatever the count.
    SettingsValues settings{12, 0.5, 3};
    auto settingsText = [&](char* p, uint32_t n)
    { return Kel_EnergyShared_SettingsValuesToStr(&settings, p, n); };
    EXPECT_EQ(Text(settingsText), "ValuesCount=3, Values[0]=(Type=12, Value=0.500000)");
    settings.ValuesCount = 0;
    EXPECT_EQ(Text(settingsText), "ValuesCount=0, Values[0]=(Type=12, Value=0.500000)");

    const DateTime now = Date(2024, 3, 15, 10, 20, 30);
    EXPECT_EQ(Text([&](char* p, uint32_t n) { return Kel_EnergyShared_WriteTimeToStr(&now, nullptr, p, n); }),
              "CurrentTime=2024.03.15 10:20:30.000, WriteTime=");
    EXPECT_EQ(
        Text([&](char* p, uint32_t n) { return Kel_EnergyShared_WriteTimeToStr(&kNoDate, &now, p, n); }),
        "CurrentTime=, WriteTime=2024.03.15 10:20:30.000");
}

TEST(MeterSort, ValuesPassportAndProfiles)
{
    // Value types compare as unsigned numbers (no wrap through a subtraction).
    ValueParams values[5] = {{5, 0, 0, 2}, {0xFFFFFFF0u, 0, 0, 0}, {1, 0, 0, 3}, {5, 0, 0, 0}, {1, 0, 0, 0}};
    ASSERT_EQ(Kel_EnergyShared_SortValues(values, 5), Kel_Good);
    const std::pair<uint32_t, uint8_t> order[5] = {{1, 0}, {1, 3}, {5, 0}, {5, 2}, {0xFFFFFFF0u, 0}};
    for (int i = 0; i < 5; ++i)
    {
        EXPECT_EQ(values[i].ValueType, order[i].first) << i;
        EXPECT_EQ(values[i].TariffRate, order[i].second) << i;
    }
    EXPECT_EQ(Kel_EnergyShared_SortValues(nullptr, 5), Kel_Good);
    EXPECT_EQ(Kel_EnergyShared_SortValues(values, 0), Kel_Good);

    PassportParam params[3] = {{0xFFFFFFFFu, 1}, {7, 2}, {2, 3}};
    ASSERT_EQ(Kel_EnergyShared_SortPassportParams(params, 3), Kel_Good);
    EXPECT_EQ(params[0].ParamType, 2u);
    EXPECT_EQ(params[1].ParamType, 7u);
    EXPECT_EQ(params[2].ParamType, 0xFFFFFFFFu);

    // Records with an empty date go after every dated record; the values of each record get sorted.
    const DateTime early = Date(2001, 1, 1);
    const DateTime late = Date(2024, 3, 15, 10, 20, 30);
    ProfileRecord records[4]{};
    records[0].DateTime = kNoDate;
    records[0].Values[0] = {9, 0, 0, 0};
    records[0].ValuesCount = 1;
    records[1].DateTime = late;
    records[1].Values[0] = {3, 0, 0, 1};
    records[1].Values[1] = {2, 0, 0, 0};
    records[1].ValuesCount = 2;
    records[2].DateTime = kNoDate;
    records[3].DateTime = early;
    ASSERT_EQ(Kel_EnergyShared_SortProfileRecords(records, 4), Kel_Good);
    EXPECT_TRUE(SameDate(records[0].DateTime, early));
    EXPECT_TRUE(SameDate(records[1].DateTime, late));
    EXPECT_EQ(records[1].Values[0].ValueType, 2u);
    EXPECT_EQ(records[1].Values[1].ValueType, 3u);
    EXPECT_TRUE(Kel_Utils_IsEmptyDate(&records[2].DateTime));
    EXPECT_TRUE(Kel_Utils_IsEmptyDate(&records[3].DateTime));
}

TEST(MeterSort, ScheduleRecord)
{
    ScheduleParams s =
        MakeSchedule({{10, 1, 2}, {1, 1, 1}, {4, 15, 1}}, {AllDays(2, 2), AllDays(1, 1)},
                     {{2, 23, 0, 2}, {1, 7, 30, 1}, {2, 7, 0, 1}, {1, 0, 0, 3}}, {{12, 31, 1}, {1, 7, 2}});
    ScheduleParams verified = s;
    ASSERT_EQ(Kel_EnergyShared_SortScheduleParams(&s), Kel_Good);
    ASSERT_EQ(Kel_EnergyShared_Schedule_VerifySchedule(&verified, 4, 1, 8), Kel_Good);
    EXPECT_TRUE(SameBytes(s, verified));
    EXPECT_EQ(s.Seasons[2].Month, 10);
    EXPECT_EQ(s.Days[0].DayId, 1);
    EXPECT_EQ(s.Days[0].Hour, 0);

    s.DaysCount = 85;
    EXPECT_EQ(Kel_EnergyShared_SortScheduleParams(&s), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_EnergyShared_SortScheduleParams(nullptr), Kel_BadInvalidArgument);
}

TEST(MeterRange, WidenAndTest)
{
    const DateTime d = Date(2024, 3, 15);
    const DateTime e = Date(2024, 3, 1);
    const DateTime f = Date(2024, 3, 31);
    ReadProfileParams range{};
    ASSERT_EQ(Kel_EnergyShared_SetDateRange(&kNoDate, &range), Kel_Good);
    EXPECT_TRUE(Kel_Utils_IsEmptyDate(&range.StartTime) && Kel_Utils_IsEmptyDate(&range.EndTime));
    ASSERT_EQ(Kel_EnergyShared_SetDateRange(&d, &range), Kel_Good);
    EXPECT_TRUE(SameDate(range.StartTime, d) && SameDate(range.EndTime, d));
    ASSERT_EQ(Kel_EnergyShared_SetDateRange(&e, &range), Kel_Good);
    EXPECT_TRUE(SameDate(range.StartTime, e) && SameDate(range.EndTime, d));
    ASSERT_EQ(Kel_EnergyShared_SetDateRange(&f, &range), Kel_Good);
    EXPECT_TRUE(SameDate(range.StartTime, e) && SameDate(range.EndTime, f));
    ASSERT_EQ(Kel_EnergyShared_SetDateRange(&d, &range), Kel_Good); // inside: no change
    EXPECT_TRUE(SameDate(range.StartTime, e) && SameDate(range.EndTime, f));
    ASSERT_EQ(Kel_EnergyShared_SetDateRange(&kNoDate, &range), Kel_Good);
    EXPECT_TRUE(SameDate(range.StartTime, e) && SameDate(range.EndTime, f));

    // Range 1 March .. 31 March.
    auto out = [&](const DateTime& start, const DateTime& end, const ReadProfileParams& r)
    {
        uint32_t result = 7;
        EXPECT_EQ(Kel_EnergyShared_IsOutOfRange(&start, &end, &r, &result), Kel_Good);
        return result;
    };
    EXPECT_EQ(out(Date(2024, 4, 1), kNoDate, range), 1u);           // starts after the range
    EXPECT_EQ(out(kNoDate, Date(2024, 3, 15), range), 0u);          // ends inside it
    EXPECT_EQ(out(kNoDate, Date(2024, 2, 28), range), 1u);          // ends before it
    EXPECT_EQ(out(Date(2024, 2, 1), kNoDate, range), 0u);           // open end reaches into it
    EXPECT_EQ(out(Date(2024, 3, 31), Date(2024, 4, 2), range), 0u); // touches its last instant
    EXPECT_EQ(out(kNoDate, kNoDate, range), 0u);
    // A range with an empty end tells nothing.
    EXPECT_EQ(out(Date(2030, 1, 1), kNoDate, ReadProfileParams{e, kNoDate}), 0u);

    const uint32_t types[3] = {3, 9, 12};
    EXPECT_EQ(Kel_EnergyShared_Utils_IsExistValueType(9, types, 3), 1u);
    EXPECT_EQ(Kel_EnergyShared_Utils_IsExistValueType(9, types, 1), 0u);
    EXPECT_EQ(Kel_EnergyShared_Utils_IsExistValueType(9, nullptr, 3), 0u);
}
