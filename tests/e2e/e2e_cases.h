// The exports end to end, written once and run on every path a host reaches the meter by: the library
// linked into the test over a pseudo-terminal and over TCP (tests/e2e), and Q310.dll under wine over a
// COM port and over TCP (tests/dll). The including file defines, before including this one:
//   HOST_CALL(name)  the export as the host calls it;
//   class HostTest   a parameterised fixture derived from host::ErrBuffer with OpenSession() (the path
//                    opened and the client created by eReadSerialNumber, meter state of
//                    tests/dll/meter.json), OpenSilent() (the same path to a meter that never answers,
//                    no client yet), Sent(action) (the bytes the meter received while the action ran)
//                    Tcp() (whether the path is TCP), OpenLine(line) (the path's meter behind a line of
//                    host::Line, no client yet: on TCP plain or echoing; the modem with the dial plan of
//                    tests/dll/dial_plan.txt), and for the serial path MeterCom() (the COM number of a
//                    meter, nothing opened);
// and instantiates HostTest.
#pragma once

#include "e2e/e2e_host.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <iterator>

namespace
{
using host::Bytes;
using host::Concat;
using host::Cp1251;
using host::Crc16;
using host::Frame;
using host::kBad;
using host::kUnknownResponse;

TEST_P(HostTest, IdentityAndNetworkValues)
{
    ASSERT_TRUE(OpenSession());
    char a[64] = {}, b[64] = {}, c[64] = {};
    ASSERT_EQ(HOST_CALL(eReadVoltageCurrentPower)(0, a, b, c, err), 1);
    EXPECT_EQ(host::Texts({a, b, c}), (host::Strings{"230.1", "5.23", "1180"}));
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eReadFrequency)(0, a, err), 1); }), Frame({0x81}));
    EXPECT_STREQ(a, "50.01");
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eReadCurrentPower_Q316)(0, a, err), 1); }), Frame({0x86, 0x00}));
    EXPECT_STREQ(a, "123");
    ASSERT_EQ(HOST_CALL(eReadCOS_Q316)(0, a, err), 1);
    EXPECT_STREQ(a, "8985000450");
    ASSERT_EQ(HOST_CALL(eReadSoftVersion)(0, a, b, err), 1);
    EXPECT_EQ(host::Texts({a, b}), (host::Strings{"2.14", "00201105"}));
    ASSERT_EQ(HOST_CALL(eReadIdentPo)(0, a, err), 1);
    EXPECT_STREQ(a, "90.60");
    ASSERT_EQ(HOST_CALL(eReadOutputDate)(0, a, err), 1);
    EXPECT_STREQ(a, "07.06.22");
    ASSERT_EQ(HOST_CALL(eReadRunningTime)(0, a, b, err), 1);
    EXPECT_EQ(host::Texts({a, b}), (host::Strings{"12345", "12001"}));
    ASSERT_EQ(HOST_CALL(eReadVoltageLiBattery)(0, a, err), 1);
    EXPECT_STREQ(a, "3.61");
    EXPECT_TRUE(ErrUntouched());
}

TEST_P(HostTest, StatusWordsAndTheConfigurationRequest)
{
    ASSERT_TRUE(OpenSession());
    uint32_t x = 99, y = 99;
    ASSERT_EQ(HOST_CALL(eReadTypeState)(0, &x, &y, err), 1);
    EXPECT_EQ(x, 8u);
    EXPECT_EQ(y, 2u);
    ASSERT_EQ(HOST_CALL(eReadVariantExecution)(0, &x, &y, err), 1);
    EXPECT_EQ(x, 0u); // power option
    EXPECT_EQ(y, 1u); // relay
    uint32_t cdd[8] = {};
    const Bytes sent = Sent(
        [&]
        {
            ASSERT_EQ(HOST_CALL(eReadPLC1Config)(0, 1, 2, 3, 4, 5, 6, 7, 0x1FF, &cdd[0], &cdd[1], &cdd[2],
                                                 &cdd[3], &cdd[4], &cdd[5], &cdd[6], &cdd[7], err),
                      1);
        });
    // The eight request bytes go out in argument order, each its low byte.
    EXPECT_EQ(sent, Frame({0x79, 1, 2, 3, 4, 5, 6, 7, 0xFF}));
    for (uint32_t i = 0; i < 8; ++i)
        EXPECT_EQ(cdd[i], 0x11u * (i + 1)) << i;
    EXPECT_TRUE(ErrUntouched());
}

TEST_P(HostTest, EnergiesDividedByTen)
{
    ASSERT_TRUE(OpenSession());
    uint32_t r[4] = {};
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eReadStorageBattery)(0, &r[0], &r[1], &r[2], &r[3], err), 1); }),
              Frame({0x27}));
    EXPECT_EQ(host::Words(r + 0, r + 4), (host::Words{1234567, 456789, 0, 0}));
    ASSERT_EQ(HOST_CALL(eReadStorageBattery_Q316)(0, &r[0], &r[1], &r[2], &r[3], err), 1);
    EXPECT_EQ(host::Words(r + 0, r + 2), (host::Words{234567, 56789}));
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eReadMonthEnergy)(0, 3, &r[0], &r[1], &r[2], &r[3], err), 1); }),
              Frame({0x32, 0x03}));
    EXPECT_EQ(host::Words(r + 0, r + 4), (host::Words{100019, 20029, 39, 0}));
    ASSERT_EQ(HOST_CALL(eReadMonthEnergy_Q316)(0, 3, &r[0], &r[1], &r[2], &r[3], err), 1);
    EXPECT_EQ(host::Words(r + 0, r + 4), (host::Words{5555, 66, 7, 8888}));
    EXPECT_TRUE(ErrUntouched());

    // Month 12 is refused before anything is sent; the outputs stay.
    r[0] = 77;
    EXPECT_EQ(
        Sent([&] { EXPECT_EQ(HOST_CALL(eReadMonthEnergy)(0, 12, &r[0], &r[1], &r[2], &r[3], err), 0); }),
        Bytes{});
    ExpectMessage("Запрос на чтение реактивной энергии по месяцам: Нет ответа.", "month 12");
    EXPECT_EQ(r[0], 77u);
}

TEST_P(HostTest, MaximaPrintQuotientAndPlainRemainder)
{
    ASSERT_TRUE(OpenSession());
    char d1[64], v1[64], d2[64], v2[64];
    ASSERT_EQ(HOST_CALL(eReadMaxVoltage)(0, d1, v1, d2, v2, err), 1);
    EXPECT_EQ(host::Texts({d1, v1, d2, v2}),
              (host::Strings{"04:05:06 03.02.24", " 234.5", "23:59:58 31.12.23", " 199.0"}));
    ASSERT_EQ(HOST_CALL(eReadMaxCurrent)(0, d1, v1, d2, v2, err), 1);
    EXPECT_EQ(host::Texts({d1, v1, d2, v2}),
              (host::Strings{"10:11:12 09.01.24", "   7.5", "00:00:01 10.01.24", "  12.5"}));
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eReadMaxPower)(0, d1, v1, d2, v2, err), 1); }),
              Frame({0x33, 0x02}));
    EXPECT_EQ(host::Texts({d1, v1, v2}), (host::Strings{"07:30:00 01.03.24", "  12.50", "  99.99"}));
    EXPECT_TRUE(ErrUntouched());
}

TEST_P(HostTest, ClockAndEventTimes)
{
    ASSERT_TRUE(OpenSession());
    char t[64], d[64], w[64];
    memset(w, 'x', sizeof(w));
    ASSERT_EQ(HOST_CALL(eReadCurrentTime)(0, t, d, w, err), 1);
    EXPECT_EQ(host::Texts({t, d}), (host::Strings{"12:00:00", "15.03.24"}));
    // "Пятница" copied as 12 bytes, the rest of the buffer untouched.
    EXPECT_EQ(std::string(w, 12), Cp1251("Пятница") + std::string(5, '\0'));
    EXPECT_EQ(w[12], 'x');

    const struct
    {
        uint32_t event;
        uint8_t command;
        const char* time;
        const char* date;
    } events[] = {{43, 0x2B, "22:01:02", "14.03.2024"},
                  {44, 0x2C, "22:03:04", "14.03.2024"},
                  {97, 0x61, "03:04:05", "02.01.2023"},
                  {98, 0x62, "03:14:15", "02.01.2023"}};
    for (const auto& e : events)
    {
        EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eReadTimeOnOff)(0, e.event, t, d, err), 1); }),
                  Frame({e.command}))
            << e.event;
        EXPECT_STREQ(t, e.time);
        EXPECT_STREQ(d, e.date);
    }
    // Any other event: success, nothing sent, nothing written.
    strcpy(t, "keep");
    strcpy(d, "keep");
    EXPECT_EQ(Sent([&] { EXPECT_EQ(HOST_CALL(eReadTimeOnOff)(0, 0, t, d, err), 1); }), Bytes{});
    EXPECT_EQ(host::Texts({t, d}), (host::Strings{"keep", "keep"}));
    EXPECT_TRUE(ErrUntouched());
}

// ---- Settings ----

TEST_P(HostTest, SettingsWritesSendTheirFramesAndReadBack)
{
    ASSERT_TRUE(OpenSession());
    char rate[8] = "xxxxxxx";
    uint32_t power = 9, time = 9, date = 9;
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eWriteParamDisplay)(0, "11111", 1, 1, 1, err), 1); }),
              Frame({0x09, 0xFF}));
    ASSERT_EQ(HOST_CALL(eReadParamDisplay)(0, rate, &power, &time, &date, err), 1);
    EXPECT_STREQ(rate, "11111");
    EXPECT_EQ(power + time + date, 3u);
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eWriteParamDisplay)(0, "10000", 0, 0, 0, err), 1); }),
              Frame({0x09, 0x01}));
    ASSERT_EQ(HOST_CALL(eReadParamDisplay)(0, rate, &power, &time, &date, err), 1);
    EXPECT_STREQ(rate, "10000");
    EXPECT_EQ(power + time + date, 0u);

    // 1500 tenths of a kW: 15 kW and 0 tens of W.
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eWritePowerLimit)(0, 1500, err), 1); }),
              Frame({0x03, 0x15, 0x00}));
    uint32_t value = 0;
    ASSERT_EQ(HOST_CALL(eReadPowerLimit)(0, &value, err), 1);
    EXPECT_EQ(value, 1500u);

    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eWriteReleMode)(0, 16, err), 1); }), Frame({0x71, 0x5A}));
    value = 77;
    ASSERT_EQ(HOST_CALL(eReadReleMode)(0, &value, err), 1);
    EXPECT_EQ(value, 0u);
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eWriteReleMode)(0, 3, err), 1); }), Frame({0x71, 0x00}));
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eWriteReleMode)(0, 2, err), 1); }), Frame({0x71, 0x55}));
    ASSERT_EQ(HOST_CALL(eReadReleMode)(0, &value, err), 1);
    EXPECT_EQ(value, 2u);

    EXPECT_EQ(
        Sent(
            [&] {
                ASSERT_EQ(HOST_CALL(eWriteEnergyRateLimit)(0, "100", "2500", "x", "999999", "1021", err), 1);
            }),
        Frame({0x72, 0x00, 0x01, 0x00, 0x5A, 0x00, 0x25, 0x00, 0x55, 0x00, 0x00, 0x00, 0x55, 0x99, 0x99, 0x99,
               0x5A}));
    char values[64] = {}, flags[16] = {};
    uint32_t arr = 0;
    ASSERT_EQ(HOST_CALL(eReadEnergyRateLimit)(0, values, flags, &arr, err), 1);
    EXPECT_EQ(host::Texts({values, flags}), (host::Strings{"100;2500;0;999999", "90858590"}));

    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eWriteIndicationTime)(0, 4, 5, 6, 7, err), 1); }),
              Frame({0x0D, 4, 5, 6, 7}));
    uint32_t delay[4] = {};
    ASSERT_EQ(HOST_CALL(eReadIndicationTime)(0, &delay[0], &delay[1], &delay[2], &delay[3], err), 1);
    EXPECT_EQ(delay[0] * 1000 + delay[1] * 100 + delay[2] * 10 + delay[3], 4567u);

    // The multiplier goes into exactly one byte of the host's cell.
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eWriteMultMode)(0, 5, err), 1); }), Frame({0x75, 0x05}));
    uint8_t cell[2] = {0xEE, 0xEE};
    ASSERT_EQ(HOST_CALL(eReadMultMode)(0, cell, err), 1);
    EXPECT_EQ(cell[0], 5);
    EXPECT_EQ(cell[1], 0xEE);
    EXPECT_TRUE(ErrUntouched());

    // The client refuses a display delay under 4 before sending: the host sees the message.
    EXPECT_EQ(Sent([&] { EXPECT_EQ(HOST_CALL(eWriteIndicationTime)(0, 4, 3, 6, 7, err), 0); }), Bytes{});
    ExpectMessage("Запрос на запись времени индикации: Нет ответа.", "delay 3");
}

// ---- Tariff zones and holidays ----

TEST_P(HostTest, TariffScheduleAndHolidayTexts)
{
    ASSERT_TRUE(OpenSession());
    // The meter's default tables: T2 from 00:00, T1 from 07:00, T2 from 23:00 on every day.
    const std::string expected =
        host::ScheduleText([](int, int) { return std::string("\t00:00,T2\n\t07:00,T1\n\t23:00,T2\n"); });
    std::vector<char> table(16733, '\0');
    ASSERT_EQ(HOST_CALL(eReadRateScale_4)(0, table.data(), err), 1);
    EXPECT_EQ(std::string(table.data()), expected);

    const std::string holidays =
        "1 " + Cp1251("января") + "\n7 " + Cp1251("января") + "\n8 " + Cp1251("марта") + "\n";
    Bytes half0{0x10, 0x01, 0x01, 0x07, 0x01, 0x08, 0x03};
    half0.resize(17, 0xFF);
    half0.push_back(0x00);
    Bytes half1{0x10};
    half1.resize(17, 0xFF);
    half1.push_back(0x01);
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eWriteWeekendScale2)(0, holidays.c_str(), err), 1); }),
              Concat({Frame(half0), Frame(half1)}));
    char text[512] = "";
    ASSERT_EQ(HOST_CALL(eReadWeekendScale2)(0, text, err), 1);
    EXPECT_EQ(std::string(text), holidays);

    uint32_t count = 0;
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eWriteRateQuantity)(0, 4, err), 1); }), Frame({0x0A, 0x04}));
    ASSERT_EQ(HOST_CALL(eReadRateQuantity)(0, &count, err), 1);
    EXPECT_EQ(count, 4u);

    // A misspelt month name: 0, nothing sent, no message.
    std::string misspelt = expected;
    misspelt.replace(0, Cp1251("Январь").size(), Cp1251("Январъ"));
    EXPECT_EQ(Sent([&] { EXPECT_EQ(HOST_CALL(eWriteRateScale_4)(0, misspelt.c_str(), err), 0); }), Bytes{});
    EXPECT_TRUE(ErrUntouched());
}

// ---- Journals ----

TEST_P(HostTest, JournalLines)
{
    ASSERT_TRUE(OpenSession());
    char text[1024] = {};
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eReadJournal)(0, 1, 0, 3, text, err), 1); }),
              Concat({Frame({0x34, 0x00}), Frame({0x34, 0x01}), Frame({0x34, 0x02})}));
    EXPECT_STREQ(text, "08:05:09 14.03.2024 POWER ON\n"
                       "23:59:01 13.03.2024 POWER OFF\n");
    EXPECT_TRUE(ErrUntouched());
}

// ---- A silent meter ----

TEST_P(HostTest, SilentMeterGivesTheFixedMessages)
{
    ASSERT_TRUE(OpenSilent());
    char a[64], b[64], c[64], d[64];
    uint32_t u[4];
    // The client is created even when the serial number does not come.
    EXPECT_EQ(HOST_CALL(eReadSerialNumber)(1, a, err), 0);
    ExpectMessage("Запрос на чтение серийного номера: Нет ответа.", "eReadSerialNumber");

    // A silent meter gets each request once more.
    ClearErr();
    EXPECT_EQ(Sent([&] { EXPECT_EQ(HOST_CALL(eReadFrequency)(0, a, err), 0); }),
              Concat({Frame({0x81}), Frame({0x81})}));
    ExpectMessage("Запрос на чтение частоты сети: Нет ответа.", "eReadFrequency");

    const struct
    {
        const char* name;
        std::function<int32_t()> call;
        const char* message;
    } cases[] = {
        {"eReadVoltageCurrentPower", [&] { return HOST_CALL(eReadVoltageCurrentPower)(0, a, b, c, err); },
         "Запрос на чтение напряжения тока и мощности: Нет ответа."},
        {"eReadStorageBattery",
         [&] { return HOST_CALL(eReadStorageBattery)(0, &u[0], &u[1], &u[2], &u[3], err); },
         "Запрос на чтение энергии от сброса по тарифам: Нет ответа."},
        {"eReadMaxCurrent", [&] { return HOST_CALL(eReadMaxCurrent)(0, a, b, c, d, err); },
         "Запрос на чтение максимума тока: Нет ответа."},
        {"eReadSoftVersion", [&] { return HOST_CALL(eReadSoftVersion)(0, a, b, err); },
         "Запрос на чтение версии ПО: Нет ответа."},
        {"eReadRunningTime", [&] { return HOST_CALL(eReadRunningTime)(0, a, b, err); },
         "Запрос на чтение времени работы счетчика/батарейки: Нет ответа."},
        {"eReadTypeState", [&] { return HOST_CALL(eReadTypeState)(0, &u[0], &u[1], err); },
         "Запрос на чтение типа однофазного счетчика и варианта исполнения: Нет ответа."},
        {"eReadCurrentTime", [&] { return HOST_CALL(eReadCurrentTime)(0, a, b, c, err); },
         "Запрос на чтение текущего времени: Нет ответа."},
        {"eReadTimeOnOff", [&] { return HOST_CALL(eReadTimeOnOff)(0, 43, a, b, err); },
         "Запрос на чтение журнала событий вкл./выкл. и откр./закр. : Нет ответа."},
        {"eReadSeasonFlag", [&] { return HOST_CALL(eReadSeasonFlag)(0, &u[0], err); },
         "Запрос на чтение флага перехода зима-лето: Нет ответа."},
        {"eReadReleMode_2a", [&] { return HOST_CALL(eReadReleMode_2a)(0, &u[0], err); },
         "Запрос на чтение режима работы реле нагрузки: Нет ответа."},
        {"eReadRateQuantity", [&] { return HOST_CALL(eReadRateQuantity)(0, &u[0], err); },
         "Запрос на чтение количества тарифов: Нет ответа."},
        {"eReadWeekendScale2", [&] { return HOST_CALL(eReadWeekendScale2)(0, a, err); },
         "Запрос на чтение расписания праздничных дней: Нет ответа."},
        {"eReadJournal", [&] { return HOST_CALL(eReadJournal)(0, 1, 0, 1, a, err); },
         "Запрос на чтение журнала событий: Нет ответа."},
        {"eWriteData",
         [&]
         {
             u[0] = sizeof(a);
             return HOST_CALL(eWriteData)(0, reinterpret_cast<const uint8_t*>(b), 7,
                                          reinterpret_cast<uint8_t*>(a), &u[0], err);
         },
         "Запрос на передачу данных: Нет ответа."},
    };
    // The messages do not depend on the path, and each silent request costs two answer time-outs: half
    // the list on each path.
    for (size_t i = Tcp() ? 1 : 0; i < std::size(cases); i += 2)
    {
        const auto& entry = cases[i];
        ClearErr();
        a[0] = '\0';
        EXPECT_EQ(entry.call(), 0) << entry.name;
        ExpectMessage(entry.message, entry.name);
    }

    // The documented exceptions: the voltage maxima never fail and print the empty record; the raw
    // reads whose answer length fails hand back the status without a message.
    ClearErr();
    EXPECT_EQ(HOST_CALL(eReadMaxVoltage)(0, a, b, c, d, err), 1);
    EXPECT_EQ(host::Texts({a, b}), (host::Strings{"00:00:00 00.00.00", "   0.0"}));
    EXPECT_EQ(HOST_CALL(eReadCurrentPower_Q316)(0, a, err), kUnknownResponse);
    EXPECT_EQ(HOST_CALL(eReadVariantExecution)(0, &u[0], &u[1], err), kUnknownResponse);
    // A write has no answer length to check.
    EXPECT_EQ(HOST_CALL(eWriteSeasonFlag)(0, 1, err), 1);
    EXPECT_TRUE(ErrUntouched());
}

// ---- Opening ----

TEST_P(HostTest, RefusedOpens)
{
    if (Tcp())
        GTEST_SKIP() << "a serial path's test";
    // A COM number with no device behind it; empty and blank mode texts on a port that exists.
    const int32_t com = MeterCom();
    const std::pair<int32_t, const char*> opens[] = {{199, host::kMode}, {com, ""}, {com, "   "}};
    for (const auto& [number, mode] : opens)
    {
        ClearErr();
        EXPECT_EQ(HOST_CALL(eOpen)(number, mode, host::kTimeOuts, err), 0) << number << " '" << mode << "'";
        ExpectMessage("Запрос на открытие канала связи со счетчиком: Ошибка.", mode);
        EXPECT_EQ(HOST_CALL(eClose)(0, err), 1);
    }
    // Nothing listens on port 1 of the loopback.
    ClearErr();
    EXPECT_EQ(HOST_CALL(eTcpOpen)(1, "127.0.0.1", 0, 300, err), 0);
    ExpectMessage("Запрос на открытие TCP/IP сокета: Ошибка.", "eTcpOpen port 1");
    EXPECT_EQ(HOST_CALL(eClose)(0, err), 1);
}

// ---- A GSM modem data call (serial path): AT commands byte for byte, the call, reads through the modem's
// echo, the hang-up ----

TEST_P(HostTest, GsmModemDataCall)
{
    if (Tcp())
        GTEST_SKIP() << "a serial path's test";
    ASSERT_TRUE(OpenLine(host::Line::Modem));
    // The client's time-outs come from eReadSerialNumber; the modem in command mode does not answer
    // meter frames, so this one fails with its message.
    char text[32] = {};
    EXPECT_EQ(HOST_CALL(eReadSerialNumber)(1, text, err), 0);
    ExpectMessage("Запрос на чтение серийного номера: Нет ответа.", "serial number in command mode");

    ClearErr();
    const Bytes commands = Sent(
        [&]
        {
            EXPECT_EQ(HOST_CALL(eWriteATZtoGSM)(err), 1);
            EXPECT_EQ(HOST_CALL(eSetEchoMode)(1, err), 1);
            EXPECT_EQ(HOST_CALL(eWriteATCBSTtoGSM)("71,0,1", 6, err), 1);
            EXPECT_EQ(HOST_CALL(eWriteATD2toGSM)(err), 1);
            EXPECT_EQ(HOST_CALL(eWriteATS7toGSM)(err), 1);
        });
    EXPECT_EQ(commands, host::Ascii("ATZ\rATE1\rAT&W\rAT+CBST=71,0,1\rAT&D2\rATS7=60\r"));
    // Too long a number: 0 at once, no text, nothing sent.
    EXPECT_EQ(Sent([&] { EXPECT_EQ(HOST_CALL(eWriteATDtoGSM)("1234567890123", 13, 5, err), 0); }), Bytes{});
    EXPECT_TRUE(ErrUntouched());

    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eWriteATDtoGSM)("5550100", 7, 5, err), 1); }),
              host::Ascii("ATD5550100\r"));
    // In the call the modem echoes every request; the GSM variant removes the echo.
    ASSERT_EQ(HOST_CALL(eSetGSMFlag)(1), 1);
    ASSERT_EQ(HOST_CALL(eReadSerialNumber)(1, text, err), 1);
    EXPECT_STREQ(text, "21000417");
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eReadFrequency)(0, text, err), 1); }), Frame({0x81}));
    EXPECT_STREQ(text, "50.01");

    EXPECT_EQ(Sent([&] { EXPECT_EQ(HOST_CALL(eDisconnectGSM)(err), 1); }), host::Ascii("+++ATH\r"));
    // Back on the plain channel and in command mode.
    EXPECT_EQ(HOST_CALL(eWriteATZtoGSM)(err), 1);
    EXPECT_TRUE(ErrUntouched());
}

// The dial plan of the modem (tests/dll/dial_plan.txt): the modem's answers come with its echo in one
// write, line by line, or with progress lines before them; each ends in its result, failures at once
// with the modem's last read behind the message, and a connected call is hung up again.
TEST_P(HostTest, DialResultsWhateverTheModemSendsAroundThem)
{
    if (Tcp())
        GTEST_SKIP() << "a serial path's test";
    ASSERT_TRUE(OpenLine(host::Line::Modem));
    ASSERT_EQ(HOST_CALL(eSetEchoMode)(1, err), 1);
    const auto dial = [&](const char* aNumber, int32_t aResult)
    {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(HOST_CALL(eWriteATDtoGSM)(aNumber, 7, 5, err), aResult) << aNumber;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2500)) << aNumber;
    };
    for (const char* number : {"5550101", "5550102", "5550103"})
    {
        dial(number, 1);
        EXPECT_EQ(HOST_CALL(eDisconnectGSM)(err), 1) << number;
    }
    EXPECT_TRUE(ErrUntouched());
    // The message's end: the modem's last read (behind the echo; it may hold a progress line too).
    const std::pair<const char*, const char*> failures[] = {
        {"5550104", "ошибка \r\nNO DIALTONE\r\n"}, {"5550105", "\r\nBUSY\r\n"},
        {"5550106", "\r\nNO ANSWER\r\n"},          {"5550107", "ошибка \r\nERROR\r\n"},
        {"5550108", "\r\nNO CARRIER\r\n"},
    };
    for (const auto& [number, end] : failures)
    {
        dial(number, 0);
        const std::string message(err), want = Cp1251(end);
        EXPECT_EQ(message.rfind(Cp1251("Дозвон по GSM каналу CSD режим: ошибка "), 0), 0u) << number;
        EXPECT_EQ(message.substr(message.size() - std::min(message.size(), want.size())), want) << number;
    }
}

// The raw exchange on every channel variant: the meter's answer to 0x81, byte for byte the same behind
// each, the echo or the gateway's packet taken off.
TEST_P(HostTest, RawExchangeOnEveryChannelVariant)
{
    const Bytes request = Frame({0x81});
    const auto rawExchange = [&](uint32_t aSize = 64)
    {
        uint8_t answer[64];
        uint32_t length = aSize;
        EXPECT_EQ(HOST_CALL(eWriteData)(0, request.data(), 7, answer, &length, err), 1);
        return Bytes(answer, answer + std::min<uint32_t>(length, sizeof(answer)));
    };
    ASSERT_TRUE(OpenLine(host::Line::Plain));
    const Bytes expected = rawExchange();
    ASSERT_EQ(expected.size(), 17u);
    EXPECT_EQ(Bytes(expected.begin(), expected.begin() + 7),
              (Bytes{0x00, 0x00, 0x00, 0x01, 0x81, 0x50, 0x01}));
    EXPECT_EQ(Crc16(Bytes(expected.begin(), expected.begin() + 15)), expected[15] | (expected[16] << 8));
    // What fits a shorter buffer; the rest stays in the channel until the next request clears it.
    EXPECT_EQ(rawExchange(6), Bytes(expected.begin(), expected.begin() + 6));

    ASSERT_TRUE(OpenLine(host::Line::Echo));
    if (Tcp())
    {
        HOST_CALL(eSetTcpFlag)(1, 1);
        EXPECT_EQ(rawExchange(), expected) << "TCP bridge with echo";
        HOST_CALL(eSetTcpFlag)(1, 0);
        return;
    }
    EXPECT_EQ(HOST_CALL(eSetEchoFlag)(1), 0); // 0 in every case
    EXPECT_EQ(rawExchange(), expected) << "RS-485 echo";
    char text[32] = {};
    ASSERT_EQ(HOST_CALL(eReadSerialNumber)(1, text, err), 1); // the protocol through the echo as well
    EXPECT_EQ(HOST_CALL(eSetGSMFlag)(5), 1);                  // no such mode: nothing changes
    EXPECT_EQ(Sent([&] { ASSERT_EQ(HOST_CALL(eReadFrequency)(0, text, err), 1); }), Frame({0x81}));
    EXPECT_STREQ(text, "50.01");

    ASSERT_TRUE(OpenLine(host::Line::Modem));
    ASSERT_EQ(HOST_CALL(eSetEchoMode)(1, err), 1);
    ASSERT_EQ(HOST_CALL(eWriteATDtoGSM)("5550101", 7, 5, err), 1);
    ASSERT_EQ(HOST_CALL(eSetGSMFlag)(1), 1);
    EXPECT_EQ(rawExchange(), expected) << "GSM data call";
    EXPECT_EQ(HOST_CALL(eDisconnectGSM)(err), 1);

    ASSERT_TRUE(OpenLine(host::Line::Gateway));
    ASSERT_EQ(HOST_CALL(eSetGSMFlag)(2), 1);
    ASSERT_EQ(HOST_CALL(eWriteParamGSMLock)(9600, 8, 1, 0, 0, 500, 3, err), 1);
    EXPECT_EQ(rawExchange(), expected) << "GSM gateway";
    ASSERT_EQ(HOST_CALL(eReadSerialNumber)(1, text, err), 1); // the protocol through the packets
    EXPECT_STREQ(text, "21000417");
    EXPECT_TRUE(ErrUntouched());
}

// ---- The null-argument rule, for every export of the list ----

TEST_P(HostTest, EveryExportRefusesNullArgumentsAndSendsNothing)
{
    ASSERT_TRUE(OpenSession());
    std::vector<char> scratch(65536, host::kUntouched);
    scratch.back() = '\0';
    int calls = 0;
    const Bytes sent = Sent(
        [&]
        {
#define Q310_NULL_CHECKS(name)                                                                               \
    calls += host::ExpectNullChecks(#name, HOST_CALL(name), scratch.data(), host::UncheckedArguments(#name));
            Q310_EXPORT_LIST(Q310_NULL_CHECKS)
#undef Q310_NULL_CHECKS
        });
    EXPECT_EQ(sent, Bytes{});
    // Nothing was written through the pointers that were not null.
    EXPECT_EQ(std::count(scratch.begin(), scratch.end(), host::kUntouched),
              static_cast<std::ptrdiff_t>(scratch.size() - 1));
    EXPECT_EQ(calls, 211);
}

} // namespace
