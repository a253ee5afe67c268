// The schedule and holiday text forms on their own: exact layouts, accepted and refused texts, the
// limits of zones a day and of holidays a half, and the event and profile lines of the journal reads.
#include "Q310/q310_export_support.h"
#include "Q310/q310_exports_journals.h"
#include "Q310/q310_exports_tariff.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
using Zone = Kel_Zentor1Phase_SwitchPoint;

const std::string kJanuary = Q310_Cp1251("Январь").text;
const std::string kMonday = Q310_Cp1251("Понедельник").text;

std::vector<Zone> Days(uint32_t aZones)
{
    return std::vector<Zone>(Q310_MONTHS * Q310_DAY_KINDS * aZones, Zone{0xFF, 0xFF, 0xFF});
}

TEST(ScheduleText, LayoutOfAMonthAndTheEnd)
{
    auto days = Days(Q310_ZONES_RAW);
    days[0] = {0, 7, 0};
    days[1] = {1, 23, 0};
    days[2] = {3, 24, 0}; // impossible hour: not printed
    days[3] = {0, 5, 60}; // impossible minute: not printed
    char text[10000] = "";
    Q310_AppendScheduleText(text, days.data(), Q310_ZONES_RAW);
    const std::string s = text;
    EXPECT_EQ(s.substr(0, kJanuary.size() + kMonday.size() + 3 + 20),
              kJanuary + "\n\t" + kMonday + "\n\t07:00,T1\n\t23:00,T2\n");
    EXPECT_EQ(s.substr(s.size() - 6), "\n\n\tEnd");
    // With every zone set the 8-zone text stays within 9053 bytes with its terminator.
    for (auto& zone : days)
        zone = {3, 23, 59};
    text[0] = '\0';
    Q310_AppendScheduleText(text, days.data(), Q310_ZONES_RAW);
    EXPECT_LE(strlen(text) + 1, 9053u);
}

TEST(ScheduleText, ParsesWhatItPrints)
{
    auto days = Days(Q310_ZONES_CLIENT);
    days[Q310_ScheduleIndex(4, 6, Q310_ZONES_CLIENT) + 15] = {2, 12, 30};
    days[Q310_ScheduleIndex(11, 7, Q310_ZONES_CLIENT)] = {0, 0, 0};
    std::vector<char> text(20000, '\0');
    Q310_AppendScheduleText(text.data(), days.data(), Q310_ZONES_CLIENT);
    auto parsed = Days(Q310_ZONES_CLIENT);
    ASSERT_EQ(Q310_ParseScheduleText(text.data(), parsed.data(), Q310_ZONES_CLIENT), Kel_Good);
    // Zones are packed in the order read: the 16th zone of the day comes back first.
    EXPECT_EQ(parsed[Q310_ScheduleIndex(4, 6, Q310_ZONES_CLIENT)].hour, 12);
    EXPECT_EQ(parsed[Q310_ScheduleIndex(4, 6, Q310_ZONES_CLIENT)].tariff, 2);
    EXPECT_EQ(parsed[Q310_ScheduleIndex(11, 7, Q310_ZONES_CLIENT)].minute, 0);
    EXPECT_EQ(parsed[Q310_ScheduleIndex(11, 7, Q310_ZONES_CLIENT) + 1].tariff, 0xFF);
}

TEST(ScheduleText, RefusedTexts)
{
    auto days = Days(Q310_ZONES_RAW);
    std::vector<char> text(20000, '\0');
    Q310_AppendScheduleText(text.data(), days.data(), Q310_ZONES_RAW);
    const std::string good = text.data();
    ASSERT_EQ(Q310_ParseScheduleText(good.c_str(), days.data(), Q310_ZONES_RAW), Kel_Good);
    // Without the end line and with other white space it still parses.
    std::string loose = good.substr(0, good.size() - 4);
    EXPECT_EQ(Q310_ParseScheduleText(loose.c_str(), days.data(), Q310_ZONES_RAW), Kel_Good);

    std::string misspelt = good;
    misspelt.replace(misspelt.find(kMonday), kMonday.size(), Q310_Cp1251("понедельник").text);
    EXPECT_EQ(Q310_ParseScheduleText(misspelt.c_str(), days.data(), Q310_ZONES_RAW), Kel_BadInvalidArgument);
    EXPECT_EQ(Q310_ParseScheduleText(good.substr(0, good.size() / 2).c_str(), days.data(), Q310_ZONES_RAW),
              Kel_BadInvalidArgument); // months missing
    EXPECT_EQ(Q310_ParseScheduleText("", days.data(), Q310_ZONES_RAW), Kel_BadInvalidArgument);
    // A zone line in an unexpected place is taken as a name.
    std::string stray = good;
    stray.insert(kJanuary.size() + 1, "\t07:00,T1\n");
    EXPECT_EQ(Q310_ParseScheduleText(stray.c_str(), days.data(), Q310_ZONES_RAW), Kel_BadInvalidArgument);
}

TEST(ScheduleText, TariffNumberZeroAndLooseZoneDigits)
{
    auto days = Days(Q310_ZONES_RAW);
    std::vector<char> text(20000, '\0');
    Q310_AppendScheduleText(text.data(), days.data(), Q310_ZONES_RAW);
    std::string s = text.data();
    s.insert(s.find(kMonday) + kMonday.size() + 1, "\t7:5,T0\n");
    ASSERT_EQ(Q310_ParseScheduleText(s.c_str(), days.data(), Q310_ZONES_RAW), Kel_Good);
    EXPECT_EQ(days[0].hour, 7);
    EXPECT_EQ(days[0].minute, 5);
    EXPECT_EQ(days[0].tariff, 0xFF); // T0: tariff number - 1, not checked
}

TEST(HolidayText, LayoutAndParsing)
{
    const std::string jan = Q310_Cp1251("января").text;
    const std::string dec = Q310_Cp1251("декабря").text;
    uint8_t half0[16], half1[16];
    Q310_ParseHolidayText(("1 " + jan + "\n7 " + jan + "\n31 " + dec + "\n").c_str(), half0, half1);
    EXPECT_EQ(std::vector<uint8_t>(half0, half0 + 8), (std::vector<uint8_t>{1, 1, 7, 1, 31, 12, 0xFF, 0xFF}));
    EXPECT_EQ(half1[0], 0xFF);
    char text[512] = "x";
    Q310_AppendHolidayText(text, half0, half1);
    EXPECT_EQ(std::string(text), "x1 " + jan + "\n7 " + jan + "\n31 " + dec + "\n");

    // A nominative name: the day stays, the month is 0xFF.
    Q310_ParseHolidayText((std::string("25 ") + Q310_Cp1251("декабрь").text).c_str(), half0, half1);
    EXPECT_EQ(half0[0], 25);
    EXPECT_EQ(half0[1], 0xFF);
    // A text that does not start with a number gives nothing.
    Q310_ParseHolidayText(("a " + jan).c_str(), half0, half1);
    EXPECT_EQ(half0[0], 0xFF);
}

TEST(HolidayText, SixteenEntriesAcrossTheHalves)
{
    const std::string mar = Q310_Cp1251("марта").text;
    std::string text;
    for (int day = 1; day <= 17; ++day)
        text += std::to_string(day) + " " + mar + "\n";
    uint8_t half0[16], half1[16];
    Q310_ParseHolidayText(text.c_str(), half0, half1);
    EXPECT_EQ(half0[14], 8);
    EXPECT_EQ(half1[0], 9);
    EXPECT_EQ(half1[14], 16); // the 17th is ignored
    EXPECT_EQ(half1[15], 3);
    // The printed form stops a half at its first empty day; month 0 and months above 12 print no name.
    half0[2] = 0xFF;
    half1[1] = 0;
    half1[3] = 13;
    char out[1024] = "";
    Q310_AppendHolidayText(out, half0, half1);
    const std::string expected = "1 " + mar + "\n9 \n10 \n11 " + mar + "\n";
    EXPECT_EQ(std::string(out).substr(0, expected.size()), expected);
}

TEST(JournalLines, EventsDaysAndProfileSlots)
{
    char text[256] = "";
    Kel_Zentor1Phase_EventRecord record{3, 8, 5, 9, 14, 3, 24, {0, 0}};
    Q310_AppendEventLine(text, record);
    EXPECT_STREQ(text, "08:05:09 14.03.2024 POWER ON\n");
    record.type = 57; // quality parameter 7, direction 2
    Q310_AppendEventLine(text, record);
    EXPECT_STREQ(text, "08:05:09 14.03.2024 QUALITY 7 BACK IN LIMITS\n");
    record.type = 99;
    Q310_AppendEventLine(text, record);
    EXPECT_STREQ(text, "08:05:09 14.03.2024 EVENT 99\n");
    text[0] = '\0';
    record.type = 0;
    EXPECT_EQ(Q310_AppendEventLine(text, record), text);

    Kel_Zentor1Phase_PowerProfileRecord block{};
    block.hour = 20;
    block.slots[0] = {1, 1200};
    block.slots[7] = {1, 4};
    char* end = Q310_AppendProfileLines(text, block);
    EXPECT_EQ(std::string(text, end),
              "20:00 1200\n20:30 -\n21:00 -\n21:30 -\n22:00 -\n22:30 -\n23:00 -\n23:30 4\n");
}

} // namespace
