// The journal, power-profile and raw-exchange exports against the simulated meter: exact journal
// lines with their event texts, the quality journal by parameter, the four profile shapes agreeing
// with each other and with the meter's slots, the raw exchange, failures and null pointers.
#include "e2e_support.h"

#include "zentor_sim/calendar.h"

#include <string>

namespace
{
using host::Bytes;
using zentor_sim::Civil;
using zentor_sim::JournalEntry;
using zentor_sim::ToSeconds;

int64_t At(int aDay, int aHour, int aMinute, int aSecond)
{
    return ToSeconds(Civil{2024, 3, aDay, aHour, aMinute, aSecond});
}

JournalEntry Entry(uint8_t aCode, int64_t aTime)
{
    JournalEntry entry;
    entry.code = aCode;
    entry.time = aTime;
    return entry;
}

zentor_sim::DayJournalEntry DayEntry(std::array<uint8_t, 5> aFlags, int64_t aDate)
{
    zentor_sim::DayJournalEntry entry;
    entry.flags = aFlags;
    entry.date = aDate;
    return entry;
}

class DesignedTest : public e2e::SessionTest
{
protected:
    zentor_sim::MeterState& State() { return Meter().State(); }
    char text[8192] = {};
};

TEST_P(DesignedTest, JournalLinesWithEventTexts)
{
    State().journal1 = {Entry(1, At(14, 8, 5, 9)), Entry(0, At(13, 23, 59, 1))};
    JournalEntry damaged{};
    damaged.raw = Bytes{0x01, 0x25, 0x61, 0x00, 0x01, 0x01, 0x24};
    State().journal2 = {Entry(0, At(10, 1, 2, 3)), Entry(2, At(10, 1, 7, 0)), damaged,
                        Entry(1, At(9, 0, 0, 0)), Entry(3, At(9, 0, 30, 0))};
    State().journal5 = {Entry(2, At(1, 12, 0, 0)), Entry(6, At(1, 11, 0, 0))};
    State().journal3 = {DayEntry({0x01, 0x02, 0x03, 0x04, 0x05}, At(12, 0, 0, 0))};
    ASSERT_TRUE(OpenSession());

    ASSERT_EQ(eReadJournal(0, 1, 0, 3, text, err), 1); // index 2 is unused: no line
    EXPECT_STREQ(text, "08:05:09 14.03.2024 POWER ON\n"
                       "23:59:01 13.03.2024 POWER OFF\n");
    ASSERT_EQ(eReadJournal(0, 2, 0, 5, text, err), 1);
    EXPECT_STREQ(text, "01:02:03 10.03.2024 COVER OPEN\n"
                       "01:07:00 10.03.2024 COVER CLOSE\n"
                       "00:00:00 09.03.2024 TERMINAL COVER OPEN\n"
                       "00:30:00 09.03.2024 TERMINAL COVER CLOSE\n");
    ASSERT_EQ(eReadJournal(0, 2, 1, 1, text, err), 1);
    EXPECT_STREQ(text, "01:07:00 10.03.2024 COVER CLOSE\n");
    ASSERT_EQ(eReadJournal(0, 5, 0, 2, text, err), 1);
    EXPECT_STREQ(text, "12:00:00 01.03.2024 TARIFF SCHEDULE WRITTEN\n"
                       "11:00:00 01.03.2024 MAXIMA RESET\n");
    // Journal 3: the flag bytes in the order the client keeps them.
    ASSERT_EQ(eReadJournal(0, 3, 0, 1, text, err), 1);
    EXPECT_STREQ(text, "00:00:00 12.03.2024 DAY FLAGS 02 01 03 05 04\n");
    ASSERT_EQ(eReadJournal(0, 1, 5, 0, text, err), 1);
    EXPECT_STREQ(text, "");
}

TEST_P(DesignedTest, QualityJournalByParameter)
{
    State().journal4 = {};
    State().journal4[2] = {Entry(1, At(14, 10, 0, 0)), Entry(2, At(14, 10, 15, 0))};
    State().journal4[6] = {Entry(2, At(11, 6, 0, 1))};
    ASSERT_TRUE(OpenSession());
    ASSERT_EQ(eReadPKE_2(0, 2, 0, 3, text, err), 1);
    EXPECT_STREQ(text, "10:00:00 14.03.2024 QUALITY 2 OUT OF LIMITS\n"
                       "10:15:00 14.03.2024 QUALITY 2 BACK IN LIMITS\n");
    ASSERT_EQ(eReadPKE_2(0, 6, 0, 1, text, err), 1);
    EXPECT_STREQ(text, "06:00:01 11.03.2024 QUALITY 6 BACK IN LIMITS\n");
    // The whole journal 4 through eReadJournal: every parameter for each index.
    ASSERT_EQ(eReadJournal(0, 4, 0, 1, text, err), 1);
    EXPECT_STREQ(text, "10:00:00 14.03.2024 QUALITY 2 OUT OF LIMITS\n"
                       "06:00:01 11.03.2024 QUALITY 6 BACK IN LIMITS\n");
}

TEST_P(DesignedTest, JournalRangesOutsideTheMeterAreRefused)
{
    ASSERT_TRUE(OpenSession());
    EXPECT_EQ(Sent(
                  [&]
                  {
                      EXPECT_EQ(eReadJournal(0, 6, 0, 1, text, err), 0);
                      ExpectMessage("Запрос на чтение журнала событий: Нет ответа.", "journal 6");
                      EXPECT_EQ(eReadJournal(0, 1, 60, 5, text, err), 0);
                      EXPECT_EQ(eReadPKE_2(0, 8, 0, 1, text, err), 0);
                      EXPECT_EQ(eReadPKE_2(0, 0, 200, 2, text, err), 0);
                  }),
              Bytes{});
    ExpectMessage("Запрос на чтение журнала качества электроэнергии: Нет ответа.", "quality 8");
    // Journal 4 reaches index 200.
    EXPECT_EQ(Sent([&] { EXPECT_EQ(eReadPKE_2(0, 7, 200, 1, text, err), 1); }),
              host::Frame({0x39, 200, 7, 0}));
}

TEST_P(DesignedTest, PowerProfileShapesAgree)
{
    const int64_t dayStart = At(14, 0, 0, 0);
    State().damagedSlots = {At(14, 9, 30, 0)}; // slot 19, block 2
    ASSERT_TRUE(OpenSession());

    uint32_t values[48];
    ASSERT_EQ(eReadSecPowerProfile_22(0, 14, 3, 2024, values, err), 1);
    std::string expected;
    for (int slot = 0; slot < 48; ++slot)
    {
        char line[32];
        if (slot == 19)
        {
            EXPECT_EQ(values[slot], 0xFFFFFFFFu);
            snprintf(line, sizeof(line), "%02d:%02d -\n", slot / 2, slot % 2 * 30);
        }
        else
        {
            const uint32_t power = Meter().SlotPower(dayStart, slot) / 4 * 4;
            EXPECT_EQ(values[slot], power) << slot;
            snprintf(line, sizeof(line), "%02d:%02d %u\n", slot / 2, slot % 2 * 30, power);
        }
        expected += line;
    }
    ASSERT_EQ(eReadSecPowerProfile(0, 14, 3, 24, text, err), 1); // two-digit year
    EXPECT_EQ(std::string(text), expected);

    ASSERT_EQ(eReadSecPowerProfile_21(0, 14, 3, 2024, 2, text, err), 1);
    const size_t begin = expected.find("08:00 ");
    const size_t end = expected.find("12:00 ");
    EXPECT_EQ(std::string(text), expected.substr(begin, end - begin));

    uint32_t block[8];
    ASSERT_EQ(eReadSecPowerProfile_23(0, 14, 3, 2024, 5, block, err), 1);
    EXPECT_EQ(std::vector<uint32_t>(block, block + 8), std::vector<uint32_t>(values + 40, values + 48));

    // A block outside the day is refused by the client.
    EXPECT_EQ(eReadSecPowerProfile_23(0, 14, 3, 2024, 6, block, err), 0);
    ExpectMessage("Запрос на чтение профиля мощности: Нет ответа.", "block 6");
}

// The raw exchange (its good answer is among the shared cases) with a silent meter and with a buffer
// shorter than the answer.
TEST_P(DesignedTest, RawExchangeSilentAndShort)
{
    ASSERT_TRUE(OpenPath()); // no protocol client needed
    const Bytes request = host::Frame({0x81});
    uint8_t answer[64];
    uint32_t length = sizeof(answer);
    Silence();
    EXPECT_EQ(eWriteData(0, request.data(), static_cast<uint32_t>(request.size()), answer, &length, err), 0);
    EXPECT_EQ(length, 0u);
    ExpectMessage("Запрос на передачу данных: Нет ответа.", "silent");
    {
        auto lock = simulator->Lock();
        simulator->GetFaults().silent = 0;
    }
    // What fits (the rest stays behind in the channel).
    length = 6;
    ASSERT_EQ(eWriteData(0, request.data(), static_cast<uint32_t>(request.size()), answer, &length, err), 1);
    EXPECT_EQ(length, 6u);
    EXPECT_EQ(Bytes(answer, answer + 5), (Bytes{0x00, 0x00, 0x00, 0x01, 0x81}));
}

INSTANTIATE_TEST_SUITE_P(Paths, DesignedTest, e2e::kBothPaths, e2e::PathName);

} // namespace
