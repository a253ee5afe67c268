// The measurement reads end to end against the simulated meter, over the serial path (a COM name
// linked to a pseudo-terminal) and over TCP: host texts and numbers for a meter state set here, the
// fixed Windows-1251 messages of a silent meter, the documented exceptions, and the null-pointer rule
// with nothing sent.
#include "e2e_support.h"

#include <string>

namespace
{
using e2e::SessionTest;
using zentor_sim::Civil;
using zentor_sim::ToSeconds;

class Measurement : public SessionTest
{
};

std::string Cp1251Message(const char* pText)
{
    return std::string(pText);
}

TEST_P(Measurement, IdentityAndNetworkValues)
{
    Meter().State().productionDate = ToSeconds(Civil{2022, 6, 7, 0, 0, 0});
    ASSERT_TRUE(OpenSession());

    char a[64] = {}, b[64] = {}, c[64] = {};
    ASSERT_EQ(eReadSerialNumber(e2e::kAddress, a, err), 1);
    EXPECT_STREQ(a, "21000417");

    ASSERT_EQ(eReadVoltageCurrentPower(0, a, b, c, err), 1);
    EXPECT_STREQ(a, "230.1");
    EXPECT_STREQ(b, "5.23");
    EXPECT_STREQ(c, "1180");

    ASSERT_EQ(eReadFrequency(0, a, err), 1);
    EXPECT_STREQ(a, "50.01");

    ASSERT_EQ(eReadCurrentPower_Q316(0, a, err), 1);
    EXPECT_STREQ(a, "123");
    // Parameter 2: 985 thousandths with the sign bit (0x89 0x85), then 450 in three BCD bytes.
    ASSERT_EQ(eReadCOS_Q316(0, a, err), 1);
    EXPECT_STREQ(a, "8985000450");

    ASSERT_EQ(eReadSoftVersion(0, a, b, err), 1);
    EXPECT_STREQ(a, "2.14");
    // Year, month, day as the record holds them: the two-digit year printed with four digits.
    EXPECT_STREQ(b, "00201105");
    ASSERT_EQ(eReadIdentPo(0, a, err), 1);
    EXPECT_STREQ(a, "90.60"); // 0x5A3C
    ASSERT_EQ(eReadOutputDate(0, a, err), 1);
    EXPECT_STREQ(a, "07.06.22");
    ASSERT_EQ(eReadRunningTime(0, a, b, err), 1);
    EXPECT_STREQ(a, "12345");
    EXPECT_STREQ(b, "12001");
    ASSERT_EQ(eReadVoltageLiBattery(0, a, err), 1);
    EXPECT_STREQ(a, "3.61");
    EXPECT_TRUE(ErrUntouched());
}

TEST_P(Measurement, StatusWords)
{
    Meter().State().designVariant = 0x0100; // relay present, no power option
    Meter().State().plc1Config = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};
    ASSERT_TRUE(OpenSession());

    uint32_t x = 99, y = 99;
    ASSERT_EQ(eReadTypeState(0, &x, &y, err), 1);
    EXPECT_EQ(x, 8u);
    EXPECT_EQ(y, 2u);
    ASSERT_EQ(eReadVariantExecution(0, &x, &y, err), 1);
    EXPECT_EQ(x, 0u); // power
    EXPECT_EQ(y, 1u); // relay

    uint32_t cdd[8] = {};
    for (unsigned length : {9u, 11u})
    {
        Meter().State().plc1AnswerLength = length;
        ASSERT_EQ(eReadPLC1Config(0, 1, 2, 3, 4, 5, 6, 7, 8, &cdd[0], &cdd[1], &cdd[2], &cdd[3], &cdd[4],
                                  &cdd[5], &cdd[6], &cdd[7], err),
                  1)
            << length;
        for (uint32_t i = 0; i < 8; ++i)
            EXPECT_EQ(cdd[i], 0x11u * (i + 1)) << i;
    }
    // The eight request bytes go out in argument order behind command 0x79.
    bool seen = false;
    for (const std::string& line : Trace())
        if (line.find("79 01 02 03 04 05 06 07 08") != std::string::npos)
            seen = true;
    EXPECT_TRUE(seen);
    EXPECT_TRUE(ErrUntouched());
}

TEST_P(Measurement, Energies)
{
    Meter().State().monthActive[3] = {100019, 20029, 39, 0};
    Meter().State().monthReactive[3] = {5555, 66, 7, 8888};
    ASSERT_TRUE(OpenSession());
    uint32_t r[4] = {};
    ASSERT_EQ(eReadStorageBattery(0, &r[0], &r[1], &r[2], &r[3], err), 1);
    // The client counts in tenths of the meter's unit; the export divides by 10.
    EXPECT_EQ(r[0], 1234567u);
    EXPECT_EQ(r[1], 456789u);
    EXPECT_EQ(r[2], 0u);
    ASSERT_EQ(eReadStorageBattery_Q316(0, &r[0], &r[1], &r[2], &r[3], err), 1);
    EXPECT_EQ(r[0], 234567u);
    EXPECT_EQ(r[1], 56789u);
    ASSERT_EQ(eReadMonthEnergy(0, 3, &r[0], &r[1], &r[2], &r[3], err), 1);
    EXPECT_EQ(r[0], 100019u);
    EXPECT_EQ(r[1], 20029u);
    EXPECT_EQ(r[2], 39u);
    EXPECT_EQ(r[3], 0u);
    ASSERT_EQ(eReadMonthEnergy_Q316(0, 3, &r[0], &r[1], &r[2], &r[3], err), 1);
    EXPECT_EQ(r[0], 5555u);
    EXPECT_EQ(r[1], 66u);
    EXPECT_EQ(r[2], 7u);
    EXPECT_EQ(r[3], 8888u);
    EXPECT_TRUE(ErrUntouched());

    // Month 12 is outside the client's range: refused before anything is sent, outputs kept.
    ClearTrace();
    r[0] = 77;
    EXPECT_EQ(eReadMonthEnergy(0, 12, &r[0], &r[1], &r[2], &r[3], err), 0);
    EXPECT_EQ(Cp1251Message(err),
              "\xC7\xE0\xEF\xF0\xEE\xF1 \xED\xE0 \xF7\xF2\xE5\xED\xE8\xE5 \xF0\xE5\xE0\xEA\xF2\xE8"
              "\xE2\xED\xEE\xE9 \xFD\xED\xE5\xF0\xE3\xE8\xE8 \xEF\xEE \xEC\xE5\xF1\xFF\xF6\xE0"
              "\xEC: \xCD\xE5\xF2 \xEE\xF2\xE2\xE5\xF2\xE0.");
    EXPECT_EQ(r[0], 77u);
    EXPECT_EQ(Received(), 0u);
}

TEST_P(Measurement, MaximaPrintQuotientAndPlainRemainder)
{
    auto& maxima = Meter().State().maxima;
    maxima[0][0] = {2345, ToSeconds(Civil{2024, 2, 3, 4, 5, 6})};
    maxima[0][1] = {1990, ToSeconds(Civil{2023, 12, 31, 23, 59, 58})};
    maxima[1][0] = {705, ToSeconds(Civil{2024, 1, 9, 10, 11, 12})};
    maxima[1][1] = {1205, ToSeconds(Civil{2024, 1, 10, 0, 0, 1})};
    maxima[2][0] = {1250, ToSeconds(Civil{2024, 3, 1, 7, 30, 0})};
    maxima[2][1] = {9999, ToSeconds(Civil{2024, 3, 2, 8, 0, 0})};
    ASSERT_TRUE(OpenSession());
    char d1[64], v1[64], d2[64], v2[64];
    ASSERT_EQ(eReadMaxVoltage(0, d1, v1, d2, v2, err), 1);
    EXPECT_STREQ(d1, "04:05:06 03.02.24");
    EXPECT_STREQ(v1, " 234.5");
    EXPECT_STREQ(d2, "23:59:58 31.12.23");
    EXPECT_STREQ(v2, " 199.0");
    ASSERT_EQ(eReadMaxCurrent(0, d1, v1, d2, v2, err), 1);
    EXPECT_STREQ(d1, "10:11:12 09.01.24");
    EXPECT_STREQ(v1, "   7.5");
    EXPECT_STREQ(v2, "  12.5");
    ASSERT_EQ(eReadMaxPower(0, d1, v1, d2, v2, err), 1);
    EXPECT_STREQ(d1, "07:30:00 01.03.24");
    EXPECT_STREQ(v1, "  12.50");
    EXPECT_STREQ(v2, "  99.99");
    EXPECT_TRUE(ErrUntouched());
}

TEST_P(Measurement, ClockAndEventTimes)
{
    Meter().State().lastOffTime = ToSeconds(Civil{2024, 3, 14, 22, 1, 2});
    Meter().State().lastOnTime = ToSeconds(Civil{2024, 3, 14, 22, 3, 4});
    Meter().State().lastCoverOpenTime = ToSeconds(Civil{2023, 1, 2, 3, 4, 5});
    Meter().State().lastCoverCloseTime = ToSeconds(Civil{2023, 1, 2, 3, 14, 15});
    ASSERT_TRUE(OpenSession());
    char t[64], d[64], w[64];
    memset(w, 'x', sizeof(w));
    ASSERT_EQ(eReadCurrentTime(0, t, d, w, err), 1);
    EXPECT_STREQ(t, "12:00:00");
    EXPECT_STREQ(d, "15.03.24");
    EXPECT_EQ(std::string(w, 12), std::string("\xCF\xFF\xF2\xED\xE8\xF6\xE0\0\0\0\0\0", 12)); // Пятница
    EXPECT_EQ(w[12], 'x');

    const struct
    {
        uint32_t event;
        const char* time;
        const char* date;
    } events[] = {{43, "22:01:02", "14.03.2024"},
                  {44, "22:03:04", "14.03.2024"},
                  {97, "03:04:05", "02.01.2023"},
                  {98, "03:14:15", "02.01.2023"}};
    for (const auto& e : events)
    {
        ASSERT_EQ(eReadTimeOnOff(0, e.event, t, d, err), 1) << e.event;
        EXPECT_STREQ(t, e.time);
        EXPECT_STREQ(d, e.date);
    }
    // Any other event: success with nothing sent and nothing written.
    ClearTrace();
    strcpy(t, "keep");
    strcpy(d, "keep");
    EXPECT_EQ(eReadTimeOnOff(0, 0, t, d, err), 1);
    EXPECT_STREQ(t, "keep");
    EXPECT_STREQ(d, "keep");
    EXPECT_EQ(Received(), 0u);
    EXPECT_TRUE(ErrUntouched());
}

TEST_P(Measurement, WeekdayNames)
{
    const char* names[8] = {"",
                            "\xCF\xEE\xED\xE5\xE4\xE5\xEB\xFC\xED\xE8\xEA",
                            "\xC2\xF2\xEE\xF0\xED\xE8\xEA",
                            "\xD1\xF0\xE5\xE4\xE0",
                            "\xD7\xE5\xF2\xE2\xE5\xF0\xE3",
                            "\xCF\xFF\xF2\xED\xE8\xF6\xE0",
                            "\xD1\xF3\xE1\xE1\xEE\xF2\xE0",
                            "\xC2\xEE\xF1\xEA\xF0\xE5\xF1\xE5\xED\xFC\xE5"};
    ASSERT_TRUE(OpenSession());
    char t[64], d[64], w[64];
    // 2024-03-11 is a Monday.
    for (int day = 0; day < 7; ++day)
    {
        {
            auto lock = simulator->Lock();
            Meter().State().clockFrozen = ToSeconds(Civil{2024, 3, 11 + day, 8, 0, 0});
        }
        ASSERT_EQ(eReadCurrentTime(0, t, d, w, err), 1);
        EXPECT_STREQ(w, names[day + 1]) << day;
    }
}

TEST_P(Measurement, SilentMeterGivesTheFixedMessages)
{
    ASSERT_TRUE(OpenSession());
    Silence();
    char a[64], b[64], c[64], d[64];
    uint32_t u = 0;
    EXPECT_EQ(eReadFrequency(0, a, err), 0);
    // "Запрос на чтение частоты сети: Нет ответа." with its terminator.
    EXPECT_EQ(std::string(err, 43),
              std::string("\xC7\xE0\xEF\xF0\xEE\xF1 \xED\xE0 \xF7\xF2\xE5\xED\xE8\xE5 \xF7\xE0"
                          "\xF1\xF2\xEE\xF2\xFB \xF1\xE5\xF2\xE8: \xCD\xE5\xF2 \xEE\xF2\xE2"
                          "\xE5\xF2\xE0.\0",
                          43));
    EXPECT_EQ(err[43], e2e::kUntouched);

    // The voltage maxima never fail: the empty record is printed and outErr stays as it was.
    ClearErr();
    EXPECT_EQ(eReadMaxVoltage(0, a, b, c, d, err), 1);
    EXPECT_STREQ(a, "00:00:00 00.00.00");
    EXPECT_STREQ(b, "   0.0");
    EXPECT_TRUE(ErrUntouched());

    // A silent meter ends a raw request without an answer but not as a failure: the answer length is
    // what fails, handed back as a status without a message.
    ClearErr();
    EXPECT_EQ(eReadCurrentPower_Q316(0, a, err), static_cast<int32_t>(0x8A050000u));
    EXPECT_EQ(eReadVariantExecution(0, &u, &u, err), static_cast<int32_t>(0x8A050000u));
    EXPECT_TRUE(ErrUntouched());
    // The other raw reads give their message.
    EXPECT_EQ(eReadTypeState(0, &u, &u, err), 0);
    EXPECT_EQ(std::string(err, 6), "\xC7\xE0\xEF\xF0\xEE\xF1");
}

TEST_P(Measurement, NullPointersSendNothing)
{
    ASSERT_TRUE(OpenSession());
    ClearTrace();
    const int32_t bad = static_cast<int32_t>(0x80AB0000u);
    char t[64];
    uint32_t u = 0;
    char* n = nullptr;
    uint32_t* un = nullptr;
    EXPECT_EQ(eReadSerialNumber(1, n, err), bad);
    EXPECT_EQ(eReadSerialNumber(1, t, n), bad);
    EXPECT_EQ(eReadVoltageCurrentPower(0, t, t, n, err), bad);
    EXPECT_EQ(eReadVoltageCurrentPower(0, t, t, t, n), bad);
    EXPECT_EQ(eReadFrequency(0, n, err), bad);
    EXPECT_EQ(eReadFrequency(0, t, n), bad);
    EXPECT_EQ(eReadCurrentPower_Q316(0, n, err), bad);
    EXPECT_EQ(eReadCOS_Q316(0, t, n), bad);
    EXPECT_EQ(eReadStorageBattery(0, &u, &u, &u, un, err), bad);
    EXPECT_EQ(eReadStorageBattery(0, &u, &u, &u, &u, n), bad);
    EXPECT_EQ(eReadStorageBattery_Q316(0, un, &u, &u, &u, err), bad);
    EXPECT_EQ(eReadMonthEnergy(0, 1, &u, un, &u, &u, err), bad);
    EXPECT_EQ(eReadMonthEnergy_Q316(0, 1, &u, &u, &u, &u, n), bad);
    EXPECT_EQ(eReadMaxVoltage(0, t, t, t, t, n), bad);
    EXPECT_EQ(eReadMaxVoltage(0, t, n, t, t, err), bad);
    EXPECT_EQ(eReadMaxCurrent(0, t, t, n, t, err), bad);
    EXPECT_EQ(eReadMaxPower(0, t, t, t, n, err), bad);
    EXPECT_EQ(eResertMaxParam(0, 0, 1, n), bad);
    EXPECT_EQ(eReadSoftVersion(0, t, n, err), bad);
    EXPECT_EQ(eReadIdentPo(0, n, err), bad);
    EXPECT_EQ(eReadOutputDate(0, t, n), bad);
    EXPECT_EQ(eReadRunningTime(0, n, t, err), bad);
    EXPECT_EQ(eReadVoltageLiBattery(0, n, err), bad);
    EXPECT_EQ(eReadTypeState(0, &u, un, err), bad);
    EXPECT_EQ(eReadVariantExecution(0, un, &u, err), bad);
    EXPECT_EQ(eReadPLC1Config(0, 0, 0, 0, 0, 0, 0, 0, 0, &u, &u, &u, &u, &u, &u, &u, un, err), bad);
    EXPECT_EQ(eReadPLC1Config(0, 0, 0, 0, 0, 0, 0, 0, 0, &u, &u, &u, &u, &u, &u, &u, &u, n), bad);
    EXPECT_EQ(eReadCurrentTime(0, t, t, n, err), bad);
    EXPECT_EQ(eReadTimeOnOff(0, 43, t, n, err), bad);
    EXPECT_EQ(eReadTimeOnOff(0, 43, t, t, n), bad);
    EXPECT_EQ(Received(), 0u);
    EXPECT_TRUE(ErrUntouched());
}

TEST_P(Measurement, ResetOfMaxima)
{
    Meter().State().maxima[1][0] = {705, ToSeconds(Civil{2024, 1, 9, 10, 11, 12})};
    ASSERT_TRUE(OpenSession());
    ASSERT_EQ(eResertMaxParam(0, 7, 1, err), 1);
    auto lock = simulator->Lock();
    EXPECT_EQ(Meter().State().maxima[1][0].value, 0);
}

INSTANTIATE_TEST_SUITE_P(Paths, Measurement, e2e::kBothPaths, e2e::PathName);
} // namespace
