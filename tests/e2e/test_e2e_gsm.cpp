// The GSM modem and gateway against the simulator's line modes on a pseudo-terminal, beyond the shared
// data call and the dial plan (e2e_cases.h): the time-outs after a dial, a modem that hangs up, a line
// with no modem, and the gateway's parameter bytes.
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
};

// The modem dialogue byte for byte, the data call and the dial results are among the shared cases; here
// what only the linked library shows: the host's read time-out is back after a call connected and stays
// at the dial's after a failed dial; a modem that hangs up in the middle of its answer (the far end of
// the line closed) ends the dial at once, not at the end of the dial time.
TEST_P(Gsm, DialTimeOutsAndAModemThatHangsUp)
{
    simulator->Line().SetMode(LineMode::Modem);
    simulator->Line().Modem().dialStepMs = 100;
    ASSERT_TRUE(OpenPath());
    ASSERT_EQ(eSetEchoMode(1, err), 1); // the hang-up then waits for the modem's echo of "+++"
    ASSERT_EQ(eWriteATDtoGSM("5550100", 7, 5, err), 1);
    EXPECT_EQ(q310Session.commTimeOuts.ReadTotalTimeoutConstant, e2e::kTimeOuts[2]);
    ASSERT_EQ(eDisconnectGSM(err), 1);
    {
        auto lock = simulator->Lock();
        simulator->Line().Modem().dialResult = "NO CARRIER";
    }
    EXPECT_EQ(eWriteATDtoGSM("5550100", 7, 2, err), 0);
    EXPECT_EQ(q310Session.commTimeOuts.ReadTotalTimeoutConstant, 2000u);

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
