// Meter records: text forms, truncation and count limits, sort orders, date ranges.
#include "protocols/shared/kel_energyshared_meter.h"
#include "shared/kel_utils.h"

#include "schedule_helpers.h"

#include <array>
#include <functional>
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

using TextCall = std::function<Kel_StatusCode(char*, uint32_t)>;

// A text form into a buffer of the given size: the text, after checking the status.
std::string Text(const TextCall& aCall, uint32_t aSize = 4096, Kel_StatusCode aExpected = Kel_Good)
{
    std::string buffer(aSize, 'x');
    EXPECT_EQ(aCall(buffer.data(), aSize), aExpected);
    return std::string(buffer.c_str());
}

const std::string kDefaultScheduleText =
    "Seasons=(SeasonsCount=1, Seasons[0]=(Month=1, Day=1, WeekId=1)), "
    "Weeks=(WeeksCount=1, Weeks[0]=(WeekId=1, DayIds=([7] 01 01 01 01 01 01 01))), "
    "Days=(DaysCount=1, Days[0]=(DayId=1, Hour=0, Minute=0, ScheduleValue=1)), "
    "SpecialDays=(SpecialDaysCount=0)";
} // namespace

TEST(MeterText, EveryFormItsTextAndItsLimits)
{
    ScheduleParams schedule{};
    ASSERT_EQ(Kel_EnergyShared_Schedule_VerifySchedule(&schedule, 4, 1, 8), Kel_Good);
    const DateTime when = Date(2024, 3, 15, 10, 20, 30);
    const PassportParams passport{
        "012345678", "Z-1 5(60)A", "1.02", "3.4", when, "Feeder 7", {{1, 2.5}, {258, -0.125}}, 2};
    PassportParams full = passport; // a text that fills its field, more than ten parameters
    memset(full.SerialNumber, '9', sizeof(full.SerialNumber));
    full.ParamsCount = 11;
    std::string tenParams;
    for (uint32_t i = 0; i < 10; ++i)
    {
        full.Params[i] = {i + 1, 0.0};
        tenParams += ", Params[" + std::to_string(i) + "]=(ParamType=" + std::to_string(i + 1) +
                     ", ParamValue=0.000000)";
    }
    const ValueParams values[2] = {{0x0101, 1234.5, 0, 0}, {7, -1.25, 2, 3}};
    InstantValues instants{{values[0], values[1]}, 2};
    ReadInstantsParams types{{1, 258}, 2};
    ProfileRecord records[2]{{when, {{5, 1.5, 0, 1}}, 1}, {}};
    const ReadProfileParams range{Date(2024, 3, 1), kNoDate};
    const ReadEventsParams request{when, Date(2024, 4, 1), 4};
    const ReadEventsEntry entry{1, 65535, 3};
    EventParams events[2]{{3, 17, when, {0x01, 0xAB, 0xFF}, 3}, {5, 0, kNoDate, {}, 0}};
    LcdValueList lcd{};
    ASSERT_EQ(Kel_EnergyShared_AddLcdValue(1, 0, &lcd), Kel_Good);
    ASSERT_EQ(Kel_EnergyShared_AddLcdValue(0x0201, 4, &lcd), Kel_Good);
    SettingsValues settings{12, 0.5, 0}; // only the one value the record holds, whatever the count

    const TextCall scheduleText = [&](char* p, uint32_t n)
    { return Kel_EnergyShared_ScheduleParamsToStr(&schedule, p, n); };
    const std::string valueList =
        "ValuesCount=2, Values[0]=(ValueType=257, Value=1234.500000, Quality=0, TariffRate=0), "
        "Values[1]=(ValueType=7, Value=-1.250000, Quality=2, TariffRate=3)";
    const std::string firstRecord =
        "RecordsCount=2, Records[0]=(DateTime=2024.03.15 10:20:30.000, Values=(ValuesCount=1, "
        "Values[0]=(ValueType=5, Value=1.500000, Quality=0, TariffRate=1)))";
    const struct
    {
        TextCall call;
        std::string text;
        uint32_t size = 4096;
        Kel_StatusCode status = Kel_Good;
    } forms[] = {
        {scheduleText, kDefaultScheduleText},
        {scheduleText, kDefaultScheduleText.substr(0, 99), 100},
        {scheduleText, "", 1},
        {[&](char* p, uint32_t n)
         { return Kel_EnergyShared_WriteScheduleParamsToStr(&when, &schedule, p, n); },
         "StartTime=2024.03.15 10:20:30.000, Schedule=(" + kDefaultScheduleText + ")"},
        {[&](char* p, uint32_t n) { return Kel_EnergyShared_PassportToStr(&passport, p, n); },
         "SerialNumber=012345678, MeterType=Z-1 5(60)A, MetrologyVersion=1.02, CommunicateVersion=3.4, "
         "MeterCreateDate=2024.03.15 10:20:30.000, PointData=Feeder 7, ParamsCount=2, "
         "Params[0]=(ParamType=1, ParamValue=2.500000), Params[1]=(ParamType=258, ParamValue=-0.125000)"},
        {[&](char* p, uint32_t n) { return Kel_EnergyShared_PassportToStr(&full, p, n); },
         "SerialNumber=" + std::string(30, '9') +
             ", MeterType=Z-1 5(60)A, MetrologyVersion=1.02, CommunicateVersion=3.4, MeterCreateDate="
             "2024.03.15 10:20:30.000, PointData=Feeder 7, ParamsCount=11" +
             tenParams,
         4096, Kel_BadOutOfRange},
        {[&](char* p, uint32_t n) { return Kel_EnergyShared_ValueParamsListToStr(values, 2, p, n); },
         valueList},
        {[&](char* p, uint32_t n) { return Kel_EnergyShared_InstantValuesToStr(&instants, p, n); },
         "Values=(" + valueList + ")"},
        {[&](char* p, uint32_t n) { return Kel_EnergyShared_ReadInstantsParamsToStr(&types, p, n); },
         "Types=(TypesCount=2, Types[0]=1, Types[1]=258)"},
        {[&](char* p, uint32_t n) { return Kel_EnergyShared_ProfileRecordListToStr(records, 2, p, n); },
         firstRecord + ", Records[1]=(DateTime=, Values=(ValuesCount=0))"},
        {[&](char* p, uint32_t n) { return Kel_EnergyShared_ReadProfileParamsToStr(&range, p, n); },
         "StartTime=2024.03.01 00:00:00.000, EndTime="},
        {[&](char* p, uint32_t n) { return Kel_EnergyShared_ReadEventsParamsToStr(&request, p, n); },
         "StartTime=2024.03.15 10:20:30.000, EndTime=2024.04.01 00:00:00.000, JournalType=4"},
        {[&](char* p, uint32_t n) { return Kel_EnergyShared_ReadEventsEntryToStr(&entry, p, n); },
         "StartEntry=1, EndEntry=65535, JournalType=3"},
        {[&](char* p, uint32_t n) { return Kel_EnergyShared_EventParamsListToStr(events, 2, p, n); },
         "EventsCount=2, Events[0]=(EventInfo=(JournalType=3, EventType=17), Time=2024.03.15 10:20:30.000, "
         "Data=[3] 01 AB FF), Events[1]=(EventInfo=(JournalType=5, EventType=0), Time=, Data=[0])"},
        {[&](char* p, uint32_t n) { return Kel_EnergyShared_LcdValueListToStr(&lcd, p, n); },
         "ValuesCount=2, Values[0]=(ValueType=1, TariffRate=0), Values[1]=(ValueType=513, TariffRate=4)"},
        {[&](char* p, uint32_t n) { return Kel_EnergyShared_SettingsValuesToStr(&settings, p, n); },
         "ValuesCount=0, Values[0]=(Type=12, Value=0.500000)"},
        {[&](char* p, uint32_t n) { return Kel_EnergyShared_WriteTimeToStr(&when, nullptr, p, n); },
         "CurrentTime=2024.03.15 10:20:30.000, WriteTime="},
        {[&](char* p, uint32_t n) { return Kel_EnergyShared_WriteTimeToStr(&kNoDate, &when, p, n); },
         "CurrentTime=, WriteTime=2024.03.15 10:20:30.000"},
        // A null record leaves the buffer empty and is no failure.
        {[](char* p, uint32_t n) { return Kel_EnergyShared_ReadEventsEntryToStr(nullptr, p, n); }, ""},
        {[](char* p, uint32_t n) { return Kel_EnergyShared_ScheduleParamsToStr(nullptr, p, n); }, ""},
        {[](char* p, uint32_t n) { return Kel_EnergyShared_ValueParamsListToStr(nullptr, 3, p, n); }, ""},
    };
    for (const auto& form : forms)
        EXPECT_EQ(Text(form.call, form.size, form.status), form.text);

    // Counts above the capacities: refused, the sections written before stay in the buffer.
    records[1].ValuesCount = 31;
    EXPECT_EQ(Text(forms[9].call, 4096, Kel_BadOutOfRange), firstRecord);
    instants.ValuesCount = 61;
    EXPECT_EQ(Text(forms[7].call, 4096, Kel_BadOutOfRange), "");
    types.TypesCount = 61;
    EXPECT_EQ(Text(forms[8].call, 4096, Kel_BadOutOfRange), "");
    schedule.SpecialDaysCount = 31;
    EXPECT_EQ(Text(forms[0].call, 4096, Kel_BadOutOfRange),
              kDefaultScheduleText.substr(0, kDefaultScheduleText.find(", SpecialDays=")));
    schedule.SeasonsCount = 13;
    EXPECT_EQ(Text(forms[0].call, 4096, Kel_BadOutOfRange), "");
    // The longest event data is written whole; a length beyond the data field is refused.
    for (uint8_t i = 0; i < 100; ++i)
        events[1].Data[i] = i;
    events[1].DataLength = 100;
    const std::string longText = Text(forms[13].call);
    std::string data = "Data=[100]";
    char hex[4];
    for (uint8_t i = 0; i < 100; ++i)
        data += (snprintf(hex, sizeof(hex), " %02X", i), hex);
    EXPECT_TRUE(longText.ends_with(data + ")")) << longText;
    events[1].DataLength = 101;
    EXPECT_EQ(Text(forms[13].call, 4096, Kel_BadOutOfRange),
              longText.substr(0, longText.find(", Events[1]")));
    while (lcd.ValuesCount < 50)
        ASSERT_EQ(Kel_EnergyShared_AddLcdValue(9, 1, &lcd), Kel_Good);
    EXPECT_EQ(Kel_EnergyShared_AddLcdValue(9, 1, &lcd), Kel_BadOutOfRange);
    EXPECT_EQ(lcd.ValuesCount, 50);

    // A buffer of 10 characters gets the first 9 and the terminator; nothing beyond it is touched.
    char buffer[16];
    memset(buffer, 0x7F, sizeof(buffer));
    ASSERT_EQ(Kel_EnergyShared_ReadEventsEntryToStr(&entry, buffer, 10), Kel_Good);
    EXPECT_EQ(std::string(buffer, 16), std::string("StartEntr\0\x7F\x7F\x7F\x7F\x7F\x7F", 16));
    TraceCapture trace("meter_trace.txt");
    EXPECT_EQ(Kel_EnergyShared_ReadEventsEntryToStr(&entry, nullptr, 10), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_EnergyShared_ReadEventsEntryToStr(&entry, buffer, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_EnergyShared_AddLcdValue(1, 0, nullptr), Kel_BadInvalidArgument);
    const std::string file = ", File=protocols/shared/kel_energyshared_meter, Line=#\n";
    EXPECT_EQ(trace.Text(), "<-- ReturnError: Arg pString is NULL!\n" + file +
                                "<-- ReturnError: Argument stringSize is 0!\n" + file +
                                "<-- ReturnError: Arg pLcdValues is NULL!\n" + file);
}

TEST(MeterText, ScheduleSectionsAreCutAt500)
{
    // 83 points: the Days section is cut at its 500-character text; inside the write-schedule text the
    // whole schedule text is cut at 500 in its turn; 84 points are refused.
    ScheduleParams s = MakeSchedule({{1, 1, 1}}, {AllDays(1, 1)}, {}, {{12, 31, 1}});
    for (uint8_t i = 0; i < 83; ++i)
        s.Days[s.DaysCount++] = {1, static_cast<uint8_t>(i % 24), static_cast<uint8_t>(i % 60), 1};
    const TextCall call = [&](char* p, uint32_t n) { return Kel_EnergyShared_ScheduleParamsToStr(&s, p, n); };
    const TextCall write = [&](char* p, uint32_t n)
    { return Kel_EnergyShared_WriteScheduleParamsToStr(&kNoDate, &s, p, n); };
    const std::string text = Text(call);
    const size_t days =
        text.find("Days=(DaysCount=83, Days[0]=(DayId=1, Hour=0, Minute=0, ScheduleValue=1), ");
    ASSERT_NE(days, std::string::npos);
    EXPECT_EQ(text.substr(days + 6 + 499),
              "), SpecialDays=(SpecialDaysCount=1, SpecialDays[0]=(Month=12, Day=31, DayId=1))");
    EXPECT_EQ(Text(write), "StartTime=, Schedule=(" + text.substr(0, 499) + ")");
    s.Days[s.DaysCount++] = {1, 23, 59, 1};
    EXPECT_EQ(Text(call, 4096, Kel_BadOutOfRange), text.substr(0, days - 2));
    EXPECT_EQ(Text(write, 4096, Kel_BadOutOfRange), "StartTime=");
}

TEST(MeterSort, ValuesPassportProfilesAndSchedule)
{
    // Value types compare as unsigned numbers (no wrap through a subtraction).
    ValueParams values[5] = {{5, 0, 0, 2}, {0xFFFFFFF0u, 0, 0, 0}, {1, 0, 0, 3}, {5, 0, 0, 0}, {1, 0, 0, 0}};
    ASSERT_EQ(Kel_EnergyShared_SortValues(values, 5), Kel_Good);
    PassportParam params[3] = {{0xFFFFFFFFu, 1}, {7, 2}, {2, 3}};
    ASSERT_EQ(Kel_EnergyShared_SortPassportParams(params, 3), Kel_Good);
    // Records with an empty date go after every dated record; the values of each record get sorted.
    ProfileRecord records[3]{
        {}, {Date(2024, 3, 15, 10, 20, 30), {{3, 0, 0, 1}, {2, 0, 0, 0}}, 2}, {Date(2001, 1, 1), {}, 0}};
    ASSERT_EQ(Kel_EnergyShared_SortProfileRecords(records, 3), Kel_Good);
    std::string order;
    for (const auto& value : values)
        order += std::to_string(value.ValueType) + "/" + std::to_string(value.TariffRate) + " ";
    for (const auto& param : params)
        order += std::to_string(param.ParamType) + " ";
    for (const auto& record : records)
        order += std::to_string(record.DateTime.seconds - records[0].DateTime.seconds) + ":" +
                 std::to_string(record.Values[0].ValueType) + " ";
    EXPECT_EQ(order, "1/0 1/3 5/0 5/2 4294967280/0 2 7 4294967295 0:0 " +
                         std::to_string(Date(2024, 3, 15, 10, 20, 30).seconds - Date(2001, 1, 1).seconds) +
                         ":2 " + std::to_string(-Date(2001, 1, 1).seconds) + ":0 ");
    EXPECT_EQ(Kel_EnergyShared_SortValues(nullptr, 5), Kel_Good);

    // The schedule record sorts as the verification does.
    ScheduleParams s =
        MakeSchedule({{10, 1, 2}, {1, 1, 1}, {4, 15, 1}}, {AllDays(2, 2), AllDays(1, 1)},
                     {{2, 23, 0, 2}, {1, 7, 30, 1}, {2, 7, 0, 1}, {1, 0, 0, 3}}, {{12, 31, 1}, {1, 7, 2}});
    ASSERT_EQ(Kel_EnergyShared_SortScheduleParams(&s), Kel_Good);
    EXPECT_TRUE(SameBytes(s, MakeSchedule({{1, 1, 1}, {4, 15, 1}, {10, 1, 2}}, {AllDays(1, 1), AllDays(2, 2)},
                                          {{1, 0, 0, 3}, {1, 7, 30, 1}, {2, 7, 0, 1}, {2, 23, 0, 2}},
                                          {{1, 7, 2}, {12, 31, 1}})));
    s.DaysCount = 85;
    EXPECT_EQ(Kel_EnergyShared_SortScheduleParams(&s), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_EnergyShared_SortScheduleParams(nullptr), Kel_BadInvalidArgument);
}

TEST(MeterRange, WidenAndTest)
{
    // The empty date and one inside change nothing.
    const DateTime d = Date(2024, 3, 15), e = Date(2024, 3, 1), f = Date(2024, 3, 31);
    ReadProfileParams range{};
    std::string widened;
    for (const DateTime* pDate : {&d, &kNoDate, &e, &f, &d})
    {
        ASSERT_EQ(Kel_EnergyShared_SetDateRange(pDate, &range), Kel_Good);
        widened += std::to_string((range.EndTime.seconds - range.StartTime.seconds) / 86400) + " ";
    }
    EXPECT_EQ(widened, "0 0 14 30 30 ");
    // Range 1 March .. 31 March: after it, before it, overlapping; an empty end tells nothing.
    const std::array<DateTime, 2> cases[] = {
        {Date(2024, 4, 1), kNoDate}, {kNoDate, Date(2024, 2, 28)}, {f, Date(2024, 4, 2)}, {kNoDate, kNoDate}};
    std::string out;
    for (const auto& c : cases)
    {
        uint32_t result = 7;
        EXPECT_EQ(Kel_EnergyShared_IsOutOfRange(&c[0], &c[1], &range, &result), Kel_Good);
        out += std::to_string(result);
    }
    EXPECT_EQ(out, "1100");
    const uint32_t types[3] = {3, 9, 12};
    EXPECT_EQ(Kel_EnergyShared_Utils_IsExistValueType(9, types, 3) * 10 +
                  Kel_EnergyShared_Utils_IsExistValueType(9, types, 1),
              10u);
}
