// The schedule and holiday text forms on their own: refused texts, the limit of holidays a half, and the
// event and profile lines of the journal reads (their whole layouts are checked end to end).

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
