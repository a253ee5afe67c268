// TCP sockets on loopback: connect failures, read time-out, a round trip, a reopen through the layer's
// own listener (the old connection's peer then fails its read), and the trace lines the socket module
// lets through (errors only).
#include "shared/platform/kel_p_tcp.h"
#include "shared/trace_capture.h"

#include <gmock/gmock.h>

#ifdef _WIN32
#include <winsock2.h>
#else
#include <sys/socket.h>
#endif

#include <chrono>
#include <cstring>
#include <string>

namespace
{
using Clock = std::chrono::steady_clock;
using testing::HasSubstr;
using testing::Not;

// A listener of this layer on a free loopback port (tries a run of ports from a varying start).
uint16_t ListenOnFreePort(Kel_P_Tcp_Context* pServer)
{
    const auto seed = static_cast<uint32_t>(Clock::now().time_since_epoch().count() / 1000);
    for (uint32_t attempt = 0; attempt < 200; ++attempt)
    {
        const auto port = static_cast<uint16_t>(20000 + (seed + attempt * 7919u) % 30000);
        if (Kel_P_Tcp_Server_Create(port, pServer) == Kel_Good)
            return port;
    }
    return 0;
}

struct Connection : ::testing::Test
{
    Kel_P_Tcp_Context server{}, client{}, accepted{};
    uint16_t port = 0;
    uint8_t buffer[16] = {};
    uint32_t count = 99;

    void SetUp() override
    {
        port = ListenOnFreePort(&server);
        ASSERT_NE(port, 0);
        ASSERT_EQ(Kel_P_Tcp_Client_Create(&client, "127.0.0.1", port, 2000), Kel_Good);
        ASSERT_EQ(Kel_P_Tcp_Server_Accept(&server, &accepted), Kel_Good);
    }
    void TearDown() override
    {
        Kel_P_Tcp_Close(&client);
        Kel_P_Tcp_Close(&accepted);
        Kel_P_Tcp_Close(&server);
    }
};
} // namespace

TEST(Tcp, ConnectToAClosedPortAndRejectedArguments)
{
    Kel_P_Tcp_Context server{}, client{};
    const uint16_t port = ListenOnFreePort(&server);
    ASSERT_NE(port, 0);
    ASSERT_EQ(Kel_P_Tcp_Close(&server), Kel_Good);
    TraceCapture trace;
    EXPECT_EQ(Kel_P_Tcp_Client_Create(&client, "127.0.0.1", port, 1000), Kel_BadCommunicationError);
    EXPECT_EQ(client.socket_fd, KEL_TCP_INVALID_SOCKET);
    const std::string channel = "127.0.0.1:" + std::to_string(port);
    EXPECT_EQ(std::string(client.channel_name), channel);
    // Only the level-1 lines: no entry lines, no "OK" progress lines.
    const std::string text = trace.Stop();
    EXPECT_THAT(text, Not(HasSubstr("-->")));
    EXPECT_THAT(text, Not(HasSubstr(" - OK")));
    EXPECT_THAT(text, testing::StartsWith("Kel_P_Tcp_Client_Create -  Fail, connect - Fail, channel=" +
                                          channel + ", result=-1, error="));
    EXPECT_THAT(text, HasSubstr("<-- \"Kel_P_Tcp_Client_Create\" = 0x80050000 (BAD) error="));

    TraceCapture arguments;
    uint8_t byte = 0;
    EXPECT_EQ(Kel_P_Tcp_Create_Context(nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Tcp_Client_Create(&client, nullptr, 0, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Tcp_Client_Create(&client, "127.0.0.1", 0, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Tcp_Write(&client, &byte, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Tcp_Read(&client, 0, &byte, 1, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Tcp_Server_Create(0, &client), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Tcp_Server_Accept(&client, nullptr), Kel_BadInvalidArgument);
    const std::string rejections = arguments.Stop();
    EXPECT_THAT(rejections, HasSubstr("NULL!\n, File=shared/src/shared/platform/"));
    EXPECT_EQ(Messages(rejections),
              "<-- ReturnError: Arg pTcpContext is NULL!|<-- ReturnError: Arg pRemoteIpAddress is NULL!|"
              "<-- ReturnError: Argument aRemoteTcpPort is 0!|<-- ReturnError: Argument aCount is 0!|"
              "<-- ReturnError: Arg pCount is NULL!|<-- ReturnError: Argument aListenPort is 0!|"
              "<-- ReturnError: Arg pClientContext is NULL!|");
}

// A listener on loopback that never accepts, its queue of one already filled: the system drops the
// connect and retries it for minutes; the layer gives up after its own time-out.
TEST(Tcp, ConnectToAListenerThatNeverAnswersEndsAtTheTimeOut)
{
    Kel_P_Tcp_Context server{}, queued[8]{}, client{};
    const uint16_t port = ListenOnFreePort(&server);
    // The system socket type: int, or winsock's SOCKET.
    ASSERT_EQ(listen(static_cast<decltype(socket(0, 0, 0))>(server.socket_fd), 0), 0);
    size_t filled = 0;
    while (filled < 8 && Kel_P_Tcp_Client_Create(&queued[filled], "127.0.0.1", port, 300) == Kel_Good)
        ++filled;
    ASSERT_LT(filled, 8u) << "the listener's queue did not fill";
    TraceCapture trace;
    const auto start = Clock::now();
    EXPECT_EQ(Kel_P_Tcp_Client_Create(&client, "127.0.0.1", port, 1000), Kel_BadCommunicationError);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(950));
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(3000));
    EXPECT_EQ(trace.Stop().rfind(
                  "Kel_P_Tcp_Client_Create -  Fail, Timeout, channel=127.0.0.1:" + std::to_string(port), 0),
              0u);
    for (Kel_P_Tcp_Context& connection : queued)
        Kel_P_Tcp_Close(&connection);
    Kel_P_Tcp_Close(&server);
}

TEST_F(Connection, RoundTripAndAReadTimeOutThatIsGoodWithNothing)
{
    EXPECT_EQ(std::string(server.channel_name), "0.0.0.0:" + std::to_string(port));
    EXPECT_EQ(std::string(accepted.channel_name), "127.0.0.1:" + std::to_string(accepted.tcp_port));
    const uint8_t request[] = {0x01, 0x00, 0x04, 0x00, 0x01, 0xFF};
    ASSERT_EQ(Kel_P_Tcp_Write(&client, request, sizeof(request)), Kel_Good);
    ASSERT_EQ(Kel_P_Tcp_Read(&accepted, 1000, buffer, sizeof(buffer), &count), Kel_Good);
    ASSERT_EQ(count, sizeof(request));
    EXPECT_EQ(0, memcmp(buffer, request, sizeof(request)));
    // A read asks for at most its size; the rest stays for the next read.
    ASSERT_EQ(Kel_P_Tcp_Write(&accepted, request, 5), Kel_Good);
    ASSERT_EQ(Kel_P_Tcp_Read(&client, 1000, buffer, 2, &count), Kel_Good);
    ASSERT_EQ(count, 2u);
    ASSERT_EQ(Kel_P_Tcp_Read(&client, 1000, buffer, sizeof(buffer), &count), Kel_Good);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(0, memcmp(buffer, request + 2, 3));

    TraceCapture trace;
    const auto start = Clock::now();
    EXPECT_EQ(Kel_P_Tcp_Read(&client, 1500, buffer, sizeof(buffer), &count), Kel_Good);
    EXPECT_EQ(count, 0u);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(1400));
    EXPECT_EQ(trace.Stop(), ""); // the early return is level 2 of the socket module: filtered out
}

TEST_F(Connection, ReOpenConnectsAgainAndThePeerOfTheOldConnectionFailsItsRead)
{
    Kel_P_Tcp_Context never{};
    ASSERT_EQ(Kel_P_Tcp_Create_Context(&never), Kel_Good);
    EXPECT_EQ(Kel_P_Tcp_Client_ReOpen(&never, 1000), Kel_Good); // never connected: nothing to do
    EXPECT_EQ(never.socket_fd, KEL_TCP_INVALID_SOCKET);
    const auto start = Clock::now();
    ASSERT_EQ(Kel_P_Tcp_Client_ReOpen(&client, 200), Kel_Good);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(180));
    // The old connection reads as closed on the listener's side; the new one carries data.
    TraceCapture trace;
    EXPECT_EQ(Kel_P_Tcp_Read(&accepted, 1000, buffer, sizeof(buffer), &count), Kel_BadCommunicationError);
    EXPECT_EQ(count, 0u);
    const std::string text = trace.Stop();
    EXPECT_THAT(text, testing::StartsWith(
                          "--- GotoError: Kel_BadCommunicationError. Statuscode 0x80050000\n, File="));
    EXPECT_THAT(text, HasSubstr("<-- \"Kel_P_Tcp_Read\" = 0x80050000 (BAD).\n, File="));
    Kel_P_Tcp_Context second{};
    ASSERT_EQ(Kel_P_Tcp_Server_Accept(&server, &second), Kel_Good);
    ASSERT_EQ(Kel_P_Tcp_Write(&client, buffer, 1), Kel_Good);
    ASSERT_EQ(Kel_P_Tcp_Read(&second, 1000, buffer, sizeof(buffer), &count), Kel_Good);
    EXPECT_EQ(count, 1u);
    Kel_P_Tcp_Close(&second);
    // Closing twice is harmless; a closed socket reads as not connected.
    EXPECT_EQ(Kel_P_Tcp_Close(&client), Kel_Good);
    EXPECT_EQ(Kel_P_Tcp_Close(&client), Kel_Good);
    uint32_t connected = 1;
    EXPECT_EQ(Kel_P_Tcp_IsConnected(&client, &connected), Kel_Good);
    EXPECT_EQ(connected, 0u);
}
