// The meter's data through the exports beyond the shared cases (e2e_cases.h), against the simulated
// meter: settings that change its state and read back with their odd mappings; journals with their event
// texts, the power-profile shapes; tariff zones in the raw 8-zone and the client's
// 16-zone form in day-kind order, refused texts with nothing sent, the fast write and the placeholders.
#include "e2e_support.h"

#include "Q310/q310_export_support.h"
#include "zentor_sim/calendar.h"

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

namespace
{
using e2e::Path;
using host::Bytes;
using zentor_sim::Civil;
using zentor_sim::JournalEntry;
using zentor_sim::ToSeconds;
using zentor_sim::Zone;

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

// The schedule text with the given zone lines for (month, day kind) and none elsewhere.
std::string Schedule(const std::vector<std::tuple<int, int, std::string>>& aLines)
{
    return host::ScheduleText(
        [&](int aMonth, int aDay)
        {
            std::string lines;
            for (const auto& [month, day, line] : aLines)
                if (month == aMonth && day == aDay)
                    lines += line;
            return lines;
        });
}
const std::string kJanuary = host::Cp1251("Январь");

class MeterTest : public e2e::SessionTest
{
protected:
    zentor_sim::MeterState& State() { return Meter().State(); }
    void ClearZones()
    {
        for (auto& month : State().zones)
            for (auto& day : month)
                day.fill(zentor_sim::EmptyZone());
    }
    char text[8192] = {};
    std::vector<char> table = std::vector<char>(20000, '\0');
};

TEST_P(MeterTest, AdditionalDisplayModeKeepsTheBatteryBitInTheMiddle)
{
    ASSERT_TRUE(OpenSession());
    uint32_t f[9];
    State().additionalDisplayMode = {0x04, 0x0A};
    ASSERT_EQ(eReadAddParamDisplay(0, &f[0], &f[1], &f[2], &f[3], &f[4], &f[5], &f[6], &f[7], &f[8], err), 1);
    // rate, UIFreq, maxdump, cRunning, batRunning, pLimit, enLimit, delay, indBat
    EXPECT_EQ((std::vector<uint32_t>(f, f + 9)), (std::vector<uint32_t>{0, 0, 0, 0, 0, 0, 0, 10, 1}));

    ASSERT_EQ(eWriteAddParamDisplay(0, 1, 0, 1, 0, 1, 0, 1, 30, 0, err), 1);
    EXPECT_EQ(State().additionalDisplayMode[0], 0x01 | 0x08 | 0x20 | 0x80);
    EXPECT_EQ(State().additionalDisplayMode[1], 30);
    ASSERT_EQ(eReadAddParamDisplay(0, &f[0], &f[1], &f[2], &f[3], &f[4], &f[5], &f[6], &f[7], &f[8], err), 1);
    EXPECT_EQ((std::vector<uint32_t>(f, f + 9)), (std::vector<uint32_t>{1, 0, 1, 0, 1, 0, 1, 30, 0}));
}

TEST_P(MeterTest, PowerLimitInTenthsAndItsMode)
{
    ASSERT_TRUE(OpenSession());
    ASSERT_EQ(eWritePowerLimit(0, 1500, err), 1);
    EXPECT_EQ(State().powerLimitWatts, 15000u);
    State().powerLimitWatts = 12340;
    uint32_t limit = 0;
    ASSERT_EQ(eReadPowerLimit(0, &limit, err), 1);
    EXPECT_EQ(limit, 1234u);

    ASSERT_EQ(eWritePowerLimitMode(0, 0x12, 5, 1, 0, err), 1);
    EXPECT_EQ(State().powerLimitMode, (std::array<uint8_t, 2>{0x12, 0x45}));
    uint32_t m[4] = {};
    ASSERT_EQ(eReadPowerLimitMode(0, &m[0], &m[1], &m[2], &m[3], err), 1);
    EXPECT_EQ((std::vector<uint32_t>(m, m + 4)), (std::vector<uint32_t>{0x12, 5, 1, 0}));
}

TEST_P(MeterTest, RefusedTextsAndTheSecondRelayRead)
{
    ASSERT_TRUE(OpenSession());
    // A tariff energy limit without a leading number is 0; an empty one is refused, nothing sent.
    ASSERT_EQ(eWriteEnergyRateLimit(0, "100", "2500", "x", "999999", "1021", err), 1);
    EXPECT_EQ(State().tariffEnergyLimits[2].value, 0u);
    EXPECT_EQ(Sent([&] { EXPECT_EQ(eWriteEnergyRateLimit(0, "1", "", "3", "4", "1111", err), 0); }), Bytes{});
    ExpectMessage("Запрос на запись лимита энергии: Нет ответа.", "empty limit");
    // The multiplier cell itself is not checked: the client refuses it, the host sees the message.
    ClearErr();
    EXPECT_EQ(eReadMultMode(0, nullptr, err), 0);
    ExpectMessage("Запрос на чтение множителя таймаута: Нет ответа.", "null cell");

    // The second relay read: parameter 1 of command 0x86.
    const std::pair<uint8_t, uint32_t> cases[] = {{0x55, 1}, {0xAA, 0}, {0x50, 2}, {0x5A, 77}, {0x00, 77}};
    for (const auto& [wire, expected] : cases)
    {
        State().parameter1 = wire;
        uint32_t mode = 77;
        ASSERT_EQ(eReadReleMode_2a(0, &mode, err), 1);
        EXPECT_EQ(mode, expected) << int(wire);
    }
}

TEST_P(MeterTest, AddressesBatteryAndClock)
{
    ASSERT_TRUE(OpenSession());
    ASSERT_EQ(eWriteAddress(0, 1, 4242, err), 1);
    EXPECT_EQ(State().groupAddress, 4242u);

    State().batteryFlags = 0x03;
    State().batteryHours = 500;
    ASSERT_EQ(eResetDeviceBat(0, err), 1);
    EXPECT_EQ(State().batteryFlags, 0);
    EXPECT_EQ(State().batteryHours, 0u);

    // The meter's frozen clock of 2024 is set to the computer's.
    ASSERT_EQ(eSynchronizaionTime(0, err), 1);
    EXPECT_LE(std::llabs(Meter().Now() - zentor_sim::ComputerLocalNow()), 3);

    // Last: the meter takes the new address and stops answering the session's.
    ASSERT_EQ(eWriteAddress(0, 0, 77, err), 1);
    EXPECT_EQ(State().address, 77u);
}

TEST_P(MeterTest, JournalLinesWithEventTexts)
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

TEST_P(MeterTest, QualityJournalByParameter)
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

TEST_P(MeterTest, JournalRangesOutsideTheMeterAreRefused)
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

TEST_P(MeterTest, PowerProfileShapesAgree)
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

TEST_P(MeterTest, ClientFormReadsTheMeterTablesInDayKindOrder)
{
    ClearZones();
    // Day codes: Monday 1, Sunday 0, holiday 7.
    State().zones[0][1][0] = Zone{0x07, 0x00};
    State().zones[0][1][1] = Zone{0x63, 0x00};
    State().zones[0][0][0] = Zone{0x47, 0x30};
    State().zones[11][7][15] = Zone{0xC0, 0x59};
    ASSERT_TRUE(OpenSession());
    ASSERT_EQ(eReadRateScale_4(0, table.data(), err), 1);
    EXPECT_EQ(
        std::string(table.data()),
        Schedule({{0, 0, "\t07:00,T1\n\t23:00,T2\n"}, {0, 6, "\t07:30,T2\n"}, {11, 7, "\t00:59,T4\n"}}));
}

TEST_P(MeterTest, ClientFormRoundTripAndAppending)
{
    ASSERT_TRUE(OpenSession());
    const std::string text = Schedule(
        {{0, 0, "\t07:00,T1\n\t23:00,T2\n"}, {5, 5, "\t00:00,T3\n\t12:30,T4\n"}, {11, 7, "\t08:15,T1\n"}});
    ASSERT_EQ(eWriteRateScale_4(0, text.c_str(), err), 1);
    EXPECT_EQ(State().zones[5][6][1], (Zone{0xD2, 0x30})); // Saturday is day code 6
    EXPECT_EQ(State().zones[5][6][2], zentor_sim::EmptyZone());
    EXPECT_EQ(State().zones[11][7][0], (Zone{0x08, 0x15}));
    strcpy(table.data(), "head:");
    ASSERT_EQ(eReadRateScale_4(0, table.data(), err), 1);
    EXPECT_EQ(std::string(table.data()), "head:" + text);
}

TEST_P(MeterTest, RawFormReadDropsImpossibleZones)
{
    ClearZones();
    State().zoneTableReadZones = 8;
    State().zones[2][3][0] = Zone{0x47, 0x30}; // raw selector: day kind 3 directly
    State().zones[2][3][1] = Zone{0x24, 0x00}; // hour 24: dropped
    State().zones[2][3][2] = Zone{0x10, 0x60}; // minute 60: dropped
    State().zones[2][3][3] = Zone{0x10, 0xFF}; // no minute: dropped
    ASSERT_TRUE(OpenSession());
    ASSERT_EQ(eReadRateScale_1(0, table.data(), err), 1);
    EXPECT_EQ(std::string(table.data()), Schedule({{2, 3, "\t07:30,T2\n"}}));
}

TEST_P(MeterTest, RawFormWriteSendsEachDayTableWithItsSelector)
{
    ASSERT_TRUE(OpenSession());
    const Bytes all = Sent(
        [&] {
            ASSERT_EQ(eWriteRateScale_1(0, Schedule({{11, 7, "\t07:30,T2\n\t23:05,T1\n"}}).c_str(), err), 1);
        });
    ASSERT_EQ(all.size(), 96u * (4 + 1 + 17 + 2));
    Bytes payload{0x11, 0x47, 0x30, 0x23, 0x05};
    payload.insert(payload.end(), 12, 0xFF);
    payload.push_back(0xB7);
    EXPECT_EQ(Bytes(all.end() - 24, all.end()), host::Frame(payload));
    EXPECT_EQ(State().zones[11][7][0], (Zone{0x47, 0x30}));
    EXPECT_EQ(State().zones[11][7][8], zentor_sim::EmptyZone());
}

TEST_P(MeterTest, MalformedSchedulesAreRefusedWithNothingSentAndNoMessage)
{
    ASSERT_TRUE(OpenSession());
    std::string misspelt = Schedule({});
    misspelt.replace(0, kJanuary.size(), Kel_Cp1251("Январъ").text);
    std::string nine;
    for (int i = 0; i < 9; ++i)
        nine += "\t0" + std::to_string(i) + ":00,T1\n";
    const Bytes sent = Sent(
        [&]
        {
            EXPECT_EQ(eWriteRateScale_1(0, misspelt.c_str(), err), 0);
            EXPECT_EQ(eWriteRateScale_1(0, Schedule({{0, 0, nine}}).c_str(), err), 0);
        });
    EXPECT_EQ(sent, Bytes{});
    EXPECT_TRUE(ErrUntouched());
    // The client form takes up to 16.
    EXPECT_EQ(eWriteRateScale_4(0, Schedule({{0, 0, nine}}).c_str(), err), 1);
    EXPECT_EQ(State().zones[0][1][8], (Zone{0x08, 0x00}));
}

TEST_P(MeterTest, ScheduleReadFailures)
{
    ASSERT_TRUE(OpenSession());
    // The meter answers 16 zones: the raw read wants 8.
    ClearErr();
    EXPECT_EQ(eReadRateScale_1(0, table.data(), err), 0);
    EXPECT_STREQ(err, Kel_Cp1251("Запрос на чтение тарифного расписания: Нет ответа.").text);
    EXPECT_EQ(std::string(table.data()), kJanuary + "\n"); // what came before the failure stays
    // The client form appends nothing on a failure.
    table[0] = '\0';
    Silence();
    EXPECT_EQ(eReadRateScale_4(0, table.data(), err), 0);
    EXPECT_EQ(table[0], '\0');
}

TEST_P(MeterTest, FastWriteModeAndPlaceholders)
{
    ASSERT_TRUE(OpenSession());
    ASSERT_EQ(eWriteTSFast(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22,
                           23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 0x1FF, err),
              1);
    Bytes expected;
    for (int i = 1; i <= 34; ++i)
        expected.push_back(static_cast<uint8_t>(i));
    expected.push_back(0xFF);
    EXPECT_EQ(State().fastTariffBlock, expected);

    // The request carries the computer's date: the one before the call or, across midnight, after it.
    const auto today = []
    {
        const time_t now = time(nullptr);
        const tm* local = localtime(&now);
        return host::Frame({0x37, 0x03, zentor_sim::ToBcd(local->tm_mday),
                            zentor_sim::ToBcd(local->tm_mon + 1),
                            zentor_sim::ToBcd((local->tm_year + 1900) % 100)});
    };
    const Bytes before = today();
    const Bytes sent = Sent([&] { ASSERT_EQ(eWriteModeTariffProfile(0, 3, err), 1); });
    const Bytes after = today();
    EXPECT_EQ(sent, sent == after ? after : before);
    uint32_t mode = 0, cnt = 0;
    ASSERT_EQ(eReadModeTariffProfile(0, &mode, &cnt), 1);
    EXPECT_EQ(mode, 3u);
    EXPECT_EQ(cnt, 2u);

    EXPECT_EQ(Sent(
                  [&]
                  {
                      for (auto placeholder : {eReadRateScale, eReadRateScale_2, eWriteRateScale,
                                               eWriteRateScale_2, eReadWeekendScale})
                          EXPECT_EQ(placeholder(0, "file.txt", err), 1);
                  }),
              Bytes{});

    Silence();
    EXPECT_EQ(eReadModeTariffProfile(0, &mode, &cnt), 0);
}

INSTANTIATE_TEST_SUITE_P(Paths, MeterTest, e2e::kBothPaths, e2e::PathName);

} // namespace
