// TCP sockets on loopback: connect failures, read time-out, a peer that closes, a round trip through
// the layer's own listener, and the trace lines that the socket module lets through (errors only).
#include "shared/kel_trace.h"
#include "shared/platform/kel_p_tcp.h"

#include "shared/trace_capture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

namespace
{

// A listener of this layer on a free loopback port (tries a run of ports from a varying start).
uint16_t ListenOnFreePort(Kel_P_Tcp_Context* pServer)
{
    const auto seed =
        static_cast<uint32_t>(std::chrono::steady_clock::now().time_since_epoch().count() / 1000);
    for (uint32_t attempt = 0; attempt < 200; ++attempt)
    {
        const auto port = static_cast<uint16_t>(20000 + (seed + attempt * 7919u) % 30000);
        if (Kel_P_Tcp_Server_Create(port, pServer) == Kel_Good)
            return port;
    }
    return 0;
}

struct Connection
{
    Kel_P_Tcp_Context server{};
    Kel_P_Tcp_Context client{};
    Kel_P_Tcp_Context accepted{};
    uint16_t port = 0;

    void Open()
    {
        port = ListenOnFreePort(&server);
        ASSERT_NE(port, 0);
        ASSERT_EQ(Kel_P_Tcp_Client_Create(&client, "127.0.0.1", port, 2000), Kel_Good);
        ASSERT_EQ(Kel_P_Tcp_Server_Accept(&server, &accepted), Kel_Good);
    }
    ~Connection()
    {
        Kel_P_Tcp_Close(&client);
        Kel_P_Tcp_Close(&accepted);
        Kel_P_Tcp_Close(&server);
    }
};

int64_t MillisecondsSince(std::chrono::steady_clock::time_point aStart)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - aStart)
        .count();
}
} // namespace

TEST(Tcp, ConnectToClosedPortFailsAndLeavesNoSocket)
{
    Kel_P_Tcp_Context server{};
    const uint16_t port = ListenOnFreePort(&server);
    ASSERT_NE(port, 0);
    ASSERT_EQ(Kel_P_Tcp_Close(&server), Kel_Good);

    TraceCapture trace("tcp_refused.txt");
    Kel_P_Tcp_Context client{};
    EXPECT_EQ(Kel_P_Tcp_Client_Create(&client, "127.0.0.1", port, 1000), Kel_BadCommunicationError);
    EXPECT_EQ(client.socket_fd, KEL_TCP_INVALID_SOCKET);
    EXPECT_STREQ(client.ip_address, "127.0.0.1");
    EXPECT_EQ(client.tcp_port, port);
    EXPECT_EQ(client.timeout, 1000u);
    const std::string channel = "127.0.0.1:" + std::to_string(port);
    EXPECT_EQ(std::string(client.channel_name), channel);

    // The socket module writes only its level-1 lines: no entry lines, no "OK" progress lines.
    const std::string text = trace.Stop();
    EXPECT_EQ(text.find("-->"), std::string::npos) << text;
    EXPECT_EQ(text.find(" - OK"), std::string::npos) << text;
    EXPECT_EQ(text.rfind("Kel_P_Tcp_Client_Create -  Fail, connect - Fail, channel=" + channel +
                             ", result=-1, error=",
                         0),
              0u)
        << text;
    EXPECT_NE(text.find("<-- \"Kel_P_Tcp_Client_Create\" = 0x80050000 (BAD) error="), std::string::npos)
        << text;
}

TEST(Tcp, ArgumentsAreRejectedInOrder)
{
    TraceCapture trace("tcp_arguments.txt");
    Kel_P_Tcp_Context context{};
    uint8_t byte = 0;
    uint32_t count = 7;
    EXPECT_EQ(Kel_P_Tcp_Create_Context(nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Tcp_Client_Create(&context, nullptr, 0, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Tcp_Client_Create(&context, "127.0.0.1", 0, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Tcp_Write(&context, &byte, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Tcp_Read(&context, 0, &byte, 1, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Tcp_Server_Create(0, &context), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Tcp_Server_Accept(&context, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(count, 7u); // a rejected read leaves the count alone
    const std::string text = trace.Stop();
    EXPECT_NE(text.find("NULL!\n, File=shared/src/shared/platform/"), std::string::npos) << text;
    EXPECT_EQ(Messages(text), "<-- ReturnError: Arg pTcpContext is NULL!|"
                              "<-- ReturnError: Arg pRemoteIpAddress is NULL!|"
                              "<-- ReturnError: Argument aRemoteTcpPort is 0!|"
                              "<-- ReturnError: Argument aCount is 0!|"
                              "<-- ReturnError: Arg pCount is NULL!|"
                              "<-- ReturnError: Argument aListenPort is 0!|"
                              "<-- ReturnError: Arg pClientContext is NULL!|");
}

TEST(Tcp, RoundTripThroughOwnListener)
{
    Connection connection;
    connection.Open();
    if (HasFatalFailure())
        return;
    EXPECT_EQ(std::string(connection.server.channel_name), "0.0.0.0:" + std::to_string(connection.port));
    EXPECT_EQ(std::string(connection.client.channel_name), "127.0.0.1:" + std::to_string(connection.port));
    EXPECT_EQ(std::string(connection.accepted.ip_address), "127.0.0.1");
    EXPECT_EQ(std::string(connection.accepted.channel_name),
              "127.0.0.1:" + std::to_string(connection.accepted.tcp_port));

    uint32_t connected = 0;
    EXPECT_EQ(Kel_P_Tcp_IsConnected(&connection.client, &connected), Kel_Good);
    EXPECT_EQ(connected, 1u);

    const uint8_t request[] = {0x01, 0x00, 0x04, 0x00, 0x01, 0xFF};
    ASSERT_EQ(Kel_P_Tcp_Write(&connection.client, request, sizeof(request)), Kel_Good);
    uint8_t received[16] = {};
    uint32_t count = 0;
    ASSERT_EQ(Kel_P_Tcp_Read(&connection.accepted, 1000, received, sizeof(received), &count), Kel_Good);
    ASSERT_EQ(count, sizeof(request));
    EXPECT_EQ(0, memcmp(received, request, sizeof(request)));

    // A read asks for at most its size; the rest stays for the next read.
    const uint8_t answer[] = {0x10, 0x20, 0x30, 0x40, 0x50};
    ASSERT_EQ(Kel_P_Tcp_Write(&connection.accepted, answer, sizeof(answer)), Kel_Good);
    uint8_t piece[16] = {};
    ASSERT_EQ(Kel_P_Tcp_Read(&connection.client, 1000, piece, 2, &count), Kel_Good);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(piece[0], 0x10);
    EXPECT_EQ(piece[1], 0x20);
    EXPECT_EQ(piece[2], 0x00);
    ASSERT_EQ(Kel_P_Tcp_Read(&connection.client, 1000, piece, sizeof(piece), &count), Kel_Good);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(piece[0], 0x30);
    EXPECT_EQ(piece[2], 0x50);
}

TEST(Tcp, ReadTimeOutIsGoodWithNothing)
{
    Connection connection;
    connection.Open();
    if (HasFatalFailure())
        return;
    TraceCapture trace("tcp_timeout.txt");
    uint8_t buffer[8];
    uint32_t count = 99;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Kel_P_Tcp_Read(&connection.client, 1500, buffer, sizeof(buffer), &count), Kel_Good);
    const int64_t elapsed = MillisecondsSince(start);
    EXPECT_EQ(count, 0u);
    EXPECT_GE(elapsed, 1400);
    EXPECT_LT(elapsed, 10000);
    // The early-return line is level 2 of the socket module, which the trace filter drops.
    EXPECT_EQ(trace.Stop(), "");
}

TEST(Tcp, PeerThatClosesFailsTheNextReadAndCloseTwiceSucceeds)
{
    Connection connection;
    connection.Open();
    if (HasFatalFailure())
        return;
    ASSERT_EQ(Kel_P_Tcp_Close(&connection.accepted), Kel_Good);
    EXPECT_EQ(connection.accepted.socket_fd, KEL_TCP_INVALID_SOCKET);

    TraceCapture trace("tcp_peer_closed.txt");
    uint8_t buffer[8];
    uint32_t count = 99;
    EXPECT_EQ(Kel_P_Tcp_Read(&connection.client, 1000, buffer, sizeof(buffer), &count),
              Kel_BadCommunicationError);
    EXPECT_EQ(count, 0u);
    const std::string text = trace.Stop();
    EXPECT_EQ(text.rfind("--- GotoError: Kel_BadCommunicationError. Statuscode 0x80050000\n, File=", 0), 0u)
        << text;
    EXPECT_NE(text.find("<-- \"Kel_P_Tcp_Read\" = 0x80050000 (BAD).\n, File="), std::string::npos) << text;

    EXPECT_EQ(Kel_P_Tcp_Close(&connection.client), Kel_Good);
    EXPECT_EQ(connection.client.socket_fd, KEL_TCP_INVALID_SOCKET);
    EXPECT_EQ(Kel_P_Tcp_Close(&connection.client), Kel_Good);
    uint32_t connected = 1;
    EXPECT_EQ(Kel_P_Tcp_IsConnected(&connection.client, &connected), Kel_Good);
    EXPECT_EQ(connected, 0u);
}

TEST(Tcp, ReOpenConnectsAgainToTheStoredAddress)
{
    Kel_P_Tcp_Context never{};
    ASSERT_EQ(Kel_P_Tcp_Create_Context(&never), Kel_Good);
    EXPECT_EQ(never.socket_fd, KEL_TCP_INVALID_SOCKET);
    EXPECT_EQ(Kel_P_Tcp_Client_ReOpen(&never, 1000), Kel_Good);
    EXPECT_EQ(never.socket_fd, KEL_TCP_INVALID_SOCKET);

    Connection connection;
    connection.Open();
    if (HasFatalFailure())
        return;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(Kel_P_Tcp_Client_ReOpen(&connection.client, 200), Kel_Good);
    EXPECT_GE(MillisecondsSince(start), 180);
    EXPECT_EQ(std::string(connection.client.channel_name), "127.0.0.1:" + std::to_string(connection.port));
    EXPECT_EQ(connection.client.timeout, 2000u);

    // The old connection reads as closed on the listener's side; the new one carries data.
    uint8_t buffer[4];
    uint32_t count = 0;
    EXPECT_EQ(Kel_P_Tcp_Read(&connection.accepted, 1000, buffer, sizeof(buffer), &count),
              Kel_BadCommunicationError);
    Kel_P_Tcp_Context second{};
    ASSERT_EQ(Kel_P_Tcp_Server_Accept(&connection.server, &second), Kel_Good);
    const uint8_t data[] = {0xA5};
    ASSERT_EQ(Kel_P_Tcp_Write(&connection.client, data, 1), Kel_Good);
    ASSERT_EQ(Kel_P_Tcp_Read(&second, 1000, buffer, sizeof(buffer), &count), Kel_Good);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(buffer[0], 0xA5);
    Kel_P_Tcp_Close(&second);
}
