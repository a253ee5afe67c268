// The serial variants on a real COM port whose far end echoes every byte (the Windows build under
// wine, through scripts/wine-com-test.sh, which names the port in Q310_TEST_COM_PORT). Without a
// port the tests are skipped; the POSIX build covers the variants on a pseudo-terminal it drives.
#include "Q310/q310_channels.h"
#include "Q310/q310_session.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace
{
class EchoingPort : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const char* name = std::getenv("Q310_TEST_COM_PORT");
        if (name == nullptr || name[0] == '\0')
            GTEST_SKIP() << "no COM port given in Q310_TEST_COM_PORT (run through scripts/wine-com-test.sh)";
        ASSERT_EQ(Kel_P_Serial_CreateContext(&port), Kel_Good);
        ASSERT_EQ(Kel_P_Serial_Open(name, 1, &port), Kel_Good);
        ASSERT_EQ(Kel_P_Serial_Set_Params(&port, 9600, 0, 8, 1, 0), Kel_Good);
        const Kel_P_Serial_CommTimeouts timeouts{50, 0, 500, 0, 0};
        ASSERT_NE(Kel_P_Serial_SetCommTimeouts(port.port_fd, &timeouts), 0);
        PORT = 0;
        NUM = 0;
    }
    void TearDown() override
    {
        Kel_P_Serial_Close(&port);
        PORT = 0;
        NUM = 0;
    }

    Kel_P_Serial_Context port{};
    Kel_SerialChannel_Context channel{};
};
} // namespace

TEST_F(EchoingPort, GatewayPacketComesBackWhole)
{
    ASSERT_EQ(Kel_SerialChannel_CreateContext_GatewayGSM(&port, &channel), Kel_Good);
    const std::vector<uint8_t> hello{'A', 'T', '\r'};
    uint32_t written = 0;
    ASSERT_EQ(channel.pWrite(channel.pContext, hello.data(), 3, 100, &written), Kel_Good);
    uint8_t buffer[32] = {};
    uint32_t count = 0;
    ASSERT_EQ(channel.pRead(channel.pContext, buffer, sizeof(buffer), 100, &count), Kel_Good);
    EXPECT_EQ(std::vector<uint8_t>(buffer, buffer + count), hello);
    EXPECT_EQ(PORT, 1);

    // The echoed packet is an answer with the request's own number: its data comes back.
    const std::vector<uint8_t> request{0x01, 0x02};
    ASSERT_EQ(channel.pWrite(channel.pContext, request.data(), 2, 100, &written), Kel_Good);
    EXPECT_EQ(std::vector<uint8_t>(SendBuffer, SendBuffer + 11),
              std::vector<uint8_t>({0xD8, 0x56, 0x7C, 0x01, 0x00, 0x02, 0x00, 0x01, 0x01, 0x02, 0x02}));
    ASSERT_EQ(channel.pRead(channel.pContext, buffer, sizeof(buffer), 100, &count), Kel_Good);
    EXPECT_EQ(std::vector<uint8_t>(buffer, buffer + count), request);
}

TEST_F(EchoingPort, EchoGsmReadOfTheEchoAloneIsEmpty)
{
    ASSERT_EQ(Kel_SerialChannel_CreateContext_EchoGSM(&port, &channel), Kel_Good);
    const std::vector<uint8_t> request{0x00, 0x00, 0x00, 0x2A, 0x01, 0xC1, 0x8E};
    uint32_t written = 0;
    ASSERT_EQ(channel.pWrite(channel.pContext, request.data(), 7, 100, &written), Kel_Good);
    EXPECT_EQ(written, 7u);
    uint8_t buffer[32];
    uint32_t count = 99;
    ASSERT_EQ(channel.pRead(channel.pContext, buffer, sizeof(buffer), 100, &count), Kel_Good);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(channel.pClearBuffer(channel.pContext, 1), Kel_Good);
}
