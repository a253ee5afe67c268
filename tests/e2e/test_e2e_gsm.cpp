// The GSM modem and gateway against the simulator's line modes on a pseudo-terminal, beyond the shared
// data call (e2e_cases.h): the time-out after a dial, dial failures with the modem's answer behind the
// message, and the gateway flow (eSetGSMFlag(2), eWriteParamGSMLock, reads) with its parameter bytes.
#include "e2e_support.h"

#include "Q310/q310_exports_session.h"
#include "Q310/q310_session.h"

#include <algorithm>
#include <chrono>
#include <string>

namespace
{
using e2e::Path;
using e2e::SessionTest;
using zentor_sim::LineMode;

class Gsm : public SessionTest
{
protected:
    void ModemMode(bool aEcho)
    {
        simulator->Line().SetMode(LineMode::Modem);
        simulator->Line().Modem().echo = aEcho;
        simulator->Line().Modem().savedEcho = aEcho;
        simulator->Line().Modem().dialStepMs = 100;
    }
};

// The modem dialogue byte for byte and the data call are among the shared cases; here what only the
// linked library shows: the host's read time-out is back after the call connected.
TEST_P(Gsm, DialRestoresTheHostTimeOut)
{
    ModemMode(false);
    ASSERT_TRUE(OpenPath());
    EchoMode = 0;
    ASSERT_EQ(eWriteATDtoGSM("5550100", 7, 5, err), 1);
    EXPECT_EQ(glCommTimeOuts.ReadTotalTimeoutConstant, e2e::kTimeOuts[2]);
    auto lock = simulator->Lock();
    EXPECT_EQ(simulator->Line().Modem().dialledNumber, "5550100");
}

// A failed dial leaves its time-out in force; a modem that hangs up in the middle of its answer (the
// far end of the line closed) ends the dial at once, not at the end of the dial time.
TEST_P(Gsm, DialFailuresAndAModemThatHangsUp)
{
    ModemMode(true);
    simulator->Line().Modem().dialResult = "NO CARRIER";
    ASSERT_TRUE(OpenPath());
    EXPECT_EQ(eWriteATDtoGSM("5550100", 7, 2, err), 0);
    EXPECT_EQ(glCommTimeOuts.ReadTotalTimeoutConstant, 2000u);

    {
        auto lock = simulator->Lock();
        simulator->Line().Modem().dialProgress = {"RING"};
        simulator->Line().Modem().dialResult = "CONNECT 9600";
        simulator->Line().Modem().dialHangup = true;
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(eWriteATDtoGSM("5550100", 7, 5, err), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
    // "Дозвон по GSM каналу CSD режим: ошибка " and the last answer (what the hang-up left of it).
    EXPECT_EQ(std::string(err).rfind("\xC4\xEE\xE7\xE2\xEE\xED \xEF\xEE GSM \xEA\xE0\xED\xE0\xEB\xF3 CSD "
                                     "\xF0\xE5\xE6\xE8\xEC: \xEE\xF8\xE8\xE1\xEA\xE0 \r\n",
                                     0),
              0u);
}

TEST_P(Gsm, NoModemAnswer)
{
    ASSERT_TRUE(OpenPath());
    // A plain meter line ignores AT commands.
    EXPECT_EQ(eWriteATZtoGSM(err), 0);
    // "Запрос на запись AT команды ATZ: Нет ответа."
    EXPECT_EQ(std::string(err),
              "\xC7\xE0\xEF\xF0\xEE\xF1 \xED\xE0 \xE7\xE0\xEF\xE8\xF1\xFC AT \xEA\xEE\xEC\xE0\xED"
              "\xE4\xFB ATZ: \xCD\xE5\xF2 \xEE\xF2\xE2\xE5\xF2\xE0.");
    ClearErr();
    EXPECT_EQ(eWriteATCBSTtoGSM("12345678901234567890123", 23, err), 0);
    EXPECT_TRUE(ErrUntouched());
    EXPECT_TRUE(ErrUntouched());
}

TEST_P(Gsm, GatewayFlow)
{
    simulator->Line().SetMode(LineMode::Gateway);
    ASSERT_TRUE(OpenPath());
    ASSERT_EQ(eSetGSMFlag(2), 1);
    const uint32_t number = NUM + 1;
    ASSERT_EQ(eWriteParamGSMLock(9600, 8, 1, 0, 0, 500, 3, err), 1);
    {
        auto lock = simulator->Lock();
        EXPECT_EQ(simulator->Line().Gateway().lastParameters, (zentor_sim::Bytes{0x01, 0x16, 0x25, 0x03}));
    }
    EXPECT_EQ(NUM, number);
    // The gateway's answer switched the channel to packets.
    EXPECT_EQ(PORT, 1);
    char text[64] = {};
    ASSERT_EQ(eReadSerialNumber(e2e::kAddress, text, err), 1);
    EXPECT_STREQ(text, "21000417");
    ASSERT_EQ(eReadFrequency(0, text, err), 1);
    EXPECT_STREQ(text, "50.01");
    EXPECT_TRUE(ErrUntouched());
}

TEST(GatewayParameters, DataBytes)
{
    uint8_t data[4];
    Q310_GatewayParameters(9600, 8, 1, 0, 0, 500, 0x1FF, data);
    EXPECT_EQ(data[0], 0x01);
    EXPECT_EQ(data[1], 0x16);
    EXPECT_EQ(data[2], 0x25);
    EXPECT_EQ(data[3], 0xFF);
    Q310_GatewayParameters(115200, 7, 2, 1, 1, 0, 0, data);
    EXPECT_EQ(data[1], 0x0C | 0x20 | 0x40 | 0x80);
    Q310_GatewayParameters(300, 8, 2, 2, 0, 0, 0, data);
    EXPECT_EQ(data[1], 0x01 | 0x10 | 0x20);
    Q310_GatewayParameters(12345, 8, 1, 0, 0, 0, 0, data);
    EXPECT_EQ(data[1], 0x06 | 0x10);

    const struct
    {
        uint32_t value;
        uint8_t code;
    } timeouts[] = {{0, 0},       {15, 15},     {16, 0x11},    {159, 0x1F}, {160, 0x21},
                    {1599, 0x2F}, {1600, 0x31}, {15999, 0x3F}, {16000, 1},  {100000, 1}};
    for (const auto& t : timeouts)
        EXPECT_EQ(Q310_GatewayTimeoutCode(t.value), t.code) << t.value;
}

INSTANTIATE_TEST_SUITE_P(Paths, Gsm, ::testing::Values(Path::Serial), e2e::PathName);
} // namespace
