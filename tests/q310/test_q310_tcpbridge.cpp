// The TCP bridge variant on loopback: the test's listener plays the bridge. Requests go out as they
// are; with the echo flag the bridge's echo is taken off the answer, and the trace shows what the
// caller gets. The test holds the bridge's record, socket and time-outs itself, apart from the session.
#include "Q310/q310_channels.h"
#include "shared/kel_trace.h"

#include "shared/trace_capture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace
{

// A socket connected to a listener of the test, and the bridge channel on it.
class Bridge : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const auto seed =
            static_cast<uint32_t>(std::chrono::steady_clock::now().time_since_epoch().count() / 1000);
        uint16_t port = 0;
        for (uint32_t attempt = 0; attempt < 200 && port == 0; ++attempt)
        {
            const auto candidate = static_cast<uint16_t>(20000 + (seed + attempt * 7919u) % 30000);
            if (Kel_P_Tcp_Server_Create(candidate, &server) == Kel_Good)
                port = candidate;
        }
        ASSERT_NE(port, 0);
        ASSERT_EQ(Kel_P_Tcp_Client_Create(&client, "127.0.0.1", port, 1000), Kel_Good);
        ASSERT_EQ(Kel_P_Tcp_Server_Accept(&server, &peer), Kel_Good);
        ASSERT_EQ(Kel_SerialChannel_CreateContextTcpClient(&bridge, &client, &timeOuts, &channel), Kel_Good);
        timeOuts.ReadTotalTimeoutConstant = 300;
    }
    void TearDown() override
    {
        Kel_P_Tcp_Close(&client);
        Kel_P_Tcp_Close(&peer);
        Kel_P_Tcp_Close(&server);
    }

    // What the bridge received.
    std::vector<uint8_t> Take()
    {
        uint8_t buffer[256];
        uint32_t count = 0;
        EXPECT_EQ(Kel_P_Tcp_Read(&peer, 1000, buffer, sizeof(buffer), &count), Kel_Good);
        return std::vector<uint8_t>(buffer, buffer + count);
    }
    void Give(const std::vector<uint8_t>& aBytes)
    {
        ASSERT_EQ(Kel_P_Tcp_Write(&peer, aBytes.data(), static_cast<uint32_t>(aBytes.size())), Kel_Good);
    }
    Kel_StatusCode Write(const std::vector<uint8_t>& aBytes, uint32_t* pWritten)
    {
        return channel.pWrite(channel.pContext, aBytes.data(), static_cast<uint32_t>(aBytes.size()), 250,
                              pWritten);
    }
    Kel_StatusCode Read(uint8_t* pBuffer, uint32_t aSize, uint32_t* pCount)
    {
        return channel.pRead(channel.pContext, pBuffer, aSize, 250, pCount);
    }

    Kel_P_Tcp_Context server{};
    Kel_P_Tcp_Context peer{};
    Kel_P_Tcp_Context client{};
    Kel_P_Serial_CommTimeouts timeOuts{};
    Kel_TcpBridge_Context bridge{};
    Kel_SerialChannel_Context channel{};
};

const std::vector<uint8_t> request{0x00, 0x00, 0x00, 0x2A, 0x01, 0xC1, 0x8E};
} // namespace

TEST(BridgeCreation, TracedUnderItsCapitalisedNameAndWithoutLock)
{
    Kel_P_Tcp_Context socket{};
    Kel_P_Serial_CommTimeouts timeOuts{};
    Kel_TcpBridge_Context bridge{};
    Kel_SerialChannel_Context channel{};
    channel.lockCreated = 1;
    channel.baudRate = 9600;
    TraceCapture trace("bridge_creation.txt");
    EXPECT_EQ(Kel_SerialChannel_CreateContextTcpClient(&bridge, &socket, &timeOuts, &channel), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_CreateContextTcpClient(&bridge, nullptr, &timeOuts, &channel),
              Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_SerialChannel_CreateContextTcpClient(&bridge, &socket, &timeOuts, nullptr),
              Kel_BadInvalidArgument);
    const std::string text = trace.Stop();
    EXPECT_EQ(Messages(text),
              "--> Kel_Module_SerialChannel::Kel_SerialChannel_CreateContextTCPClient (0x00000009)|"
              "<-- \"Kel_SerialChannel_CreateContextTCPClient\" = 0x00000000 (GOOD).|"
              "--> Kel_Module_SerialChannel::Kel_SerialChannel_CreateContextTCPClient (0x00000009)|"
              "<-- ReturnError: Arg pTcpContext is NULL!|"
              "--> Kel_Module_SerialChannel::Kel_SerialChannel_CreateContextTCPClient (0x00000009)|"
              "<-- ReturnError: Arg pSerialChannelContext is NULL!|");
    EXPECT_NE(text.find("<-- ReturnError: Arg pTcpContext is NULL!\n, File=Q310, Line="), std::string::npos);
    // A fresh variant: no lock of its own; its context is the bridge's record, bound to the socket.
    EXPECT_EQ(channel.lockCreated, 0u);
    EXPECT_EQ(channel.pContext, &bridge);
    EXPECT_EQ(bridge.pTcpContext, &socket);
}

TEST_F(Bridge, WithoutEchoTheBytesPassUntouched)
{
    uint32_t written = 0;
    ASSERT_EQ(Write(request, &written), Kel_Good);
    EXPECT_EQ(written, request.size());
    EXPECT_EQ(bridge.sendLength, request.size());
    EXPECT_EQ(0, memcmp(bridge.sendBuffer, request.data(), request.size()));
    EXPECT_EQ(Take(), request);

    // The bridge's bytes, whatever they are, reach the caller as they are.
    Give(request);
    uint8_t buffer[32] = {};
    uint32_t count = 0;
    ASSERT_EQ(Read(buffer, sizeof(buffer), &count), Kel_Good);
    EXPECT_EQ(std::vector<uint8_t>(buffer, buffer + count), request);

    // The socket read waits for word 3 of the host's time-outs, not the read's own time-out.
    timeOuts.ReadTotalTimeoutConstant = 600;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(Read(buffer, sizeof(buffer), &count), Kel_Good);
    EXPECT_EQ(count, 0u);
    EXPECT_GE(std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start)
                  .count(),
              550);

    // A bridge that has gone fails the read with the socket's status.
    Kel_P_Tcp_Close(&peer);
    EXPECT_EQ(Read(buffer, sizeof(buffer), &count), Kel_BadCommunicationError);
}

TEST_F(Bridge, WithEchoTheEchoIsRemoved)
{
    bridge.echo = 1;
    uint32_t written = 0;
    ASSERT_EQ(Write(request, &written), Kel_Good);
    EXPECT_EQ(Take(), request);

    std::vector<uint8_t> line = request;
    line.insert(line.end(), {0x0A, 0x0B});
    Give(line);
    uint8_t buffer[32] = {};
    uint32_t count = 0;
    TraceCapture trace("bridge_echo.txt");
    ASSERT_EQ(Read(buffer, sizeof(buffer), &count), Kel_Good);
    EXPECT_EQ(std::vector<uint8_t>(buffer, buffer + count), std::vector<uint8_t>({0x0A, 0x0B}));

    // Exactly the echo: Good and nothing for the caller.
    Give(request);
    ASSERT_EQ(Read(buffer, sizeof(buffer), &count), Kel_Good);
    EXPECT_EQ(count, 0u);

    // An echo that differs: Kel_Bad, its exit traced at level 4.
    std::vector<uint8_t> garbled = line;
    garbled[2] = 0x01;
    Give(garbled);
    EXPECT_EQ(Read(buffer, sizeof(buffer), &count), Kel_Bad);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(trace.Stop(), "--> Kel_Module_Serial::Kel_P_Tcp_Serial_Bridge_Read (0x00000001)\n\n"
                            "Kel_P_Tcp_Serial_Bridge_Read, Timeout=250 Data=[2] 0A 0B \n"
                            "<-- \"Kel_P_Tcp_Serial_Bridge_Read\" = 0x00000000 (GOOD).\n\n"
                            "--> Kel_Module_Serial::Kel_P_Tcp_Serial_Bridge_Read (0x00000001)\n\n"
                            "Kel_P_Tcp_Serial_Bridge_Read, Timeout=250 Data=\n"
                            "<-- \"Kel_P_Tcp_Serial_Bridge_Read\" = 0x00000000 (GOOD).\n\n"
                            "--> Kel_Module_Serial::Kel_P_Tcp_Serial_Bridge_Read (0x00000001)\n\n"
                            "<-- \"Kel_P_Tcp_Serial_Bridge_Read\" = 0x80000000 (BAD).\n\n");

    // Fewer bytes than the echo: a failed read, and the bytes beyond the caller's stay as they were.
    memset(buffer, 0xEE, sizeof(buffer));
    Give(std::vector<uint8_t>(request.begin(), request.begin() + 3));
    EXPECT_EQ(Read(buffer, sizeof(buffer), &count), Kel_BadCommunicationError);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(buffer[0], 0xEE);
    // Nothing at all within the time-out is short as well.
    EXPECT_EQ(Read(buffer, sizeof(buffer), &count), Kel_BadCommunicationError);
}

TEST_F(Bridge, RequestsOverSixtyFourBytesAreRefused)
{
    const std::vector<uint8_t> tooLong(65, 0x11);
    uint32_t written = 7;
    TraceCapture trace("bridge_long.txt");
    EXPECT_EQ(Write(tooLong, &written), Kel_Bad);
    const std::string text = trace.Stop();
    EXPECT_NE(text.find("<-- \"Kel_P_Tcp_Serial_Bridge_Write\" = 0x80000000 (BAD) error="), std::string::npos)
        << text;
    EXPECT_EQ(written, 7u);
    const std::vector<uint8_t> full(64, 0x22);
    ASSERT_EQ(Write(full, &written), Kel_Good);
    EXPECT_EQ(written, 64u);
    EXPECT_EQ(Take(), full);
}
