// Tariff zones and holidays against the simulated meter: the schedule text both ways in the raw
// 8-zone form and the client's 16-zone form, the holiday text, refused texts with nothing sent, the fast
// write, the tariff-profile mode and the file-name placeholders.
#include "e2e_support.h"

#include "Q310/q310_export_support.h"
#include "zentor_sim/calendar.h"

#include <ctime>
#include <string>
#include <vector>

namespace
{
using host::Bytes;
using zentor_sim::Zone;

const std::string kMonths[12] = {
    Q310_Cp1251("Январь").text,  Q310_Cp1251("Февраль").text, Q310_Cp1251("Март").text,
    Q310_Cp1251("Апрель").text,  Q310_Cp1251("Май").text,     Q310_Cp1251("Июнь").text,
    Q310_Cp1251("Июль").text,    Q310_Cp1251("Август").text,  Q310_Cp1251("Сентябрь").text,
    Q310_Cp1251("Октябрь").text, Q310_Cp1251("Ноябрь").text,  Q310_Cp1251("Декабрь").text};
const std::string kDays[8] = {Q310_Cp1251("Понедельник").text, Q310_Cp1251("Вторник").text,
                              Q310_Cp1251("Среда").text,       Q310_Cp1251("Четверг").text,
                              Q310_Cp1251("Пятница").text,     Q310_Cp1251("Суббота").text,
                              Q310_Cp1251("Воскресенье").text, Q310_Cp1251("Праздник").text};

// The schedule text with the given zone lines for (month, day kind) and none elsewhere.
std::string Schedule(const std::vector<std::tuple<int, int, std::string>>& aLines)
{
    std::string text;
    for (int m = 0; m < 12; ++m)
    {
        text += kMonths[m] + "\n";
        for (int d = 0; d < 8; ++d)
        {
            text += "\t" + kDays[d] + "\n";
            for (const auto& [lm, ld, line] : aLines)
                if (lm == m && ld == d)
                    text += line;
        }
        text += "\n";
    }
    return text + "\tEnd";
}

class TariffTest : public e2e::SessionTest
{
protected:
    zentor_sim::MeterState& State() { return Meter().State(); }
    void ClearZones()
    {
        for (auto& month : State().zones)
            for (auto& day : month)
                day.fill(zentor_sim::EmptyZone());
    }
    std::vector<char> table = std::vector<char>(20000, '\0');
};

TEST_P(TariffTest, ClientFormReadsTheMeterTablesInDayKindOrder)
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

TEST_P(TariffTest, ClientFormRoundTripAndAppending)
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

TEST_P(TariffTest, RawFormReadDropsImpossibleZones)
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

TEST_P(TariffTest, RawFormWriteSendsEachDayTableWithItsSelector)
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

TEST_P(TariffTest, MalformedSchedulesAreRefusedWithNothingSentAndNoMessage)
{
    ASSERT_TRUE(OpenSession());
    std::string misspelt = Schedule({});
    misspelt.replace(0, kMonths[0].size(), Q310_Cp1251("Январъ").text);
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

TEST_P(TariffTest, ScheduleReadFailures)
{
    ASSERT_TRUE(OpenSession());
    // The meter answers 16 zones: the raw read wants 8.
    ClearErr();
    EXPECT_EQ(eReadRateScale_1(0, table.data(), err), 0);
    EXPECT_STREQ(err, Q310_Cp1251("Запрос на чтение тарифного расписания: Нет ответа.").text);
    EXPECT_EQ(std::string(table.data()), kMonths[0] + "\n"); // what came before the failure stays
    // The client form appends nothing on a failure.
    table[0] = '\0';
    Silence();
    EXPECT_EQ(eReadRateScale_4(0, table.data(), err), 0);
    EXPECT_EQ(table[0], '\0');
}

TEST_P(TariffTest, CountFastWriteModeAndPlaceholders)
{
    ASSERT_TRUE(OpenSession());
    uint32_t count = 0;
    ASSERT_EQ(eWriteRateQuantity(0, 4, err), 1);
    EXPECT_EQ(State().tariffCount, 4);
    ASSERT_EQ(eReadRateQuantity(0, &count, err), 1);
    EXPECT_EQ(count, 4u);

    ASSERT_EQ(eWriteTSFast(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22,
                           23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 0x1FF, err),
              1);
    Bytes expected;
    for (int i = 1; i <= 34; ++i)
        expected.push_back(static_cast<uint8_t>(i));
    expected.push_back(0xFF);
    EXPECT_EQ(State().fastTariffBlock, expected);

    const Bytes sent = Sent([&] { ASSERT_EQ(eWriteModeTariffProfile(0, 3, err), 1); });
    const time_t now = time(nullptr);
    const tm* local = localtime(&now);
    EXPECT_EQ(sent, host::Frame({0x37, 0x03, zentor_sim::ToBcd(local->tm_mday),
                                 zentor_sim::ToBcd(local->tm_mon + 1),
                                 zentor_sim::ToBcd((local->tm_year + 1900) % 100)}));
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
    EXPECT_EQ(eReadRateQuantity(0, &count, err), 0);
    EXPECT_STREQ(err, Q310_Cp1251("Запрос на чтение количества тарифов: Нет ответа.").text);
}

INSTANTIATE_TEST_SUITE_P(Paths, TariffTest, e2e::kBothPaths, e2e::PathName);

} // namespace
