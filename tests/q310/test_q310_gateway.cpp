// The GSM gateway packet codec (CRC-24, header, data checksum, answers) and the echo removal, byte for
// byte; then the serial variants over a pseudo-terminal (POSIX build), whose other end plays the line.
#include "Q310/q310_channels.h"
#include "Q310/q310_session.h"
#include "shared/kel_trace.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#ifndef _WIN32
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>
#endif

namespace
{
std::vector<uint8_t> Bytes(std::initializer_list<int> aBytes)
{
    std::vector<uint8_t> bytes;
    for (int value : aBytes)
        bytes.push_back(static_cast<uint8_t>(value));
    return bytes;
}

// CRC-24 bit by bit, as RFC 4880 writes it: an independent check of the table-driven one.
uint32_t Crc24BitByBit(const uint8_t* pData, size_t aCount)
{
    uint32_t crc = 0xB704CE;
    for (size_t index = 0; index < aCount; ++index)
    {
        crc ^= static_cast<uint32_t>(pData[index]) << 16;
        for (int bit = 0; bit < 8; ++bit)
        {
            crc <<= 1;
            if (crc & 0x1000000)
                crc ^= 0x864CFB;
        }
    }
    return crc & 0xFFFFFF;
}
} // namespace

TEST(GatewayPacket, Crc24)
{
    const char* digits = "123456789";
    EXPECT_EQ(Kel_GatewayGSM_CRC24(reinterpret_cast<const uint8_t*>(digits), 9), 0x21CF02u);
    EXPECT_EQ(Kel_GatewayGSM_CRC24(reinterpret_cast<const uint8_t*>(digits), 0), 0xB704CEu);
    uint8_t all[256];
    for (int index = 0; index < 256; ++index)
        all[index] = static_cast<uint8_t>(255 - index);
    EXPECT_EQ(Kel_GatewayGSM_CRC24(all, sizeof(all)), Crc24BitByBit(all, sizeof(all)));
    const std::vector<uint8_t> header = Bytes({0x01, 0x00, 0x04, 0x00, 0x01});
    EXPECT_EQ(Kel_GatewayGSM_CRC24(header.data(), 5), Crc24BitByBit(header.data(), 5));
}

TEST(GatewayPacket, BuiltByteForByte)
{
    uint8_t packet[Q310_SEND_BUFFER_SIZE];
    memset(packet, 0xEE, sizeof(packet));
    const std::vector<uint8_t> zeros = Bytes({0x00, 0x00});
    ASSERT_EQ(Kel_GatewayGSM_BuildPacket(zeros.data(), 2, 1, 1, packet, sizeof(packet)), Kel_Good);
    // CRC-24 of 01 00 02 00 01 is 0x7C56D8, stored low byte first.
    EXPECT_EQ(std::vector<uint8_t>(packet, packet + 11),
              Bytes({0xD8, 0x56, 0x7C, 0x01, 0x00, 0x02, 0x00, 0x01, 0x00, 0x00, 0xFF}));
    EXPECT_EQ(packet[11], 0xEE);

    const std::vector<uint8_t> data = Bytes({0x01, 0x02});
    ASSERT_EQ(Kel_GatewayGSM_BuildPacket(data.data(), 2, 0x1234, 3, packet, sizeof(packet)), Kel_Good);
    const uint32_t crc = Crc24BitByBit(packet + 3, 5);
    EXPECT_EQ(std::vector<uint8_t>(packet, packet + 11),
              Bytes({static_cast<int>(crc & 0xFF), static_cast<int>((crc >> 8) & 0xFF),
                     static_cast<int>(crc >> 16), 0x34, 0x12, 0x02, 0x00, 0x03, 0x01, 0x02, 0x02}));

    // The five header bytes 01 00 04 00 01: CRC 0x7AFBDC, low byte first.
    const std::vector<uint8_t> four = Bytes({0x10, 0x20, 0x30, 0x40});
    ASSERT_EQ(Kel_GatewayGSM_BuildPacket(four.data(), 4, 1, 1, packet, sizeof(packet)), Kel_Good);
    EXPECT_EQ(std::vector<uint8_t>(packet, packet + 3), Bytes({0xDC, 0xFB, 0x7A}));
    EXPECT_EQ(packet[12], static_cast<uint8_t>(0x10 + 0x20 + 0x30 + 0x40 - 1));

    EXPECT_EQ(Kel_GatewayGSM_DataChecksum(zeros.data(), 2), 0xFF);
    EXPECT_EQ(Kel_GatewayGSM_DataChecksum(data.data(), 2), 0x02);
    EXPECT_EQ(Kel_GatewayGSM_DataChecksum(data.data(), 0), 0xFF);

    // 64 bytes fill the 73-byte buffer; 65 bytes have no packet and nothing is written.
    uint8_t big[65] = {};
    ASSERT_EQ(Kel_GatewayGSM_BuildPacket(big, 64, 2, 1, packet, sizeof(packet)), Kel_Good);
    EXPECT_EQ(packet[5], 64);
    memset(packet, 0xEE, sizeof(packet));
    EXPECT_EQ(Kel_GatewayGSM_BuildPacket(big, 65, 2, 1, packet, sizeof(packet)), Kel_Bad);
    EXPECT_EQ(packet[0], 0xEE);
}

TEST(GatewayPacket, AnswerIsTakenOnlyForItsPacketNumber)
{
    const std::vector<uint8_t> answer =
        Bytes({0x11, 0x22, 0x33, 0x05, 0x00, 0x03, 0x00, 0x01, 0xAA, 0xBB, 0xCC, 0x00});
    uint8_t buffer[8];
    memset(buffer, 0xEE, sizeof(buffer));
    uint32_t count = 99;
    EXPECT_EQ(Kel_GatewayGSM_TakeAnswer(answer.data(), answer.size(), 0x05, buffer, sizeof(buffer), &count),
              Kel_Good);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(std::vector<uint8_t>(buffer, buffer + 4), Bytes({0xAA, 0xBB, 0xCC, 0xEE}));

    count = 99;
    EXPECT_EQ(Kel_GatewayGSM_TakeAnswer(answer.data(), answer.size(), 0x06, buffer, sizeof(buffer), &count),
              Kel_Bad);
    EXPECT_EQ(count, 0u);
    // Shorter than an empty packet; data larger than the caller's buffer.
    EXPECT_EQ(Kel_GatewayGSM_TakeAnswer(answer.data(), 8, 0x05, buffer, sizeof(buffer), &count),
              Kel_BadCommunicationError);
    EXPECT_EQ(Kel_GatewayGSM_TakeAnswer(answer.data(), answer.size(), 0x05, buffer, 2, &count), Kel_Bad);
    EXPECT_EQ(count, 0u);
}

TEST(EchoRemoval, ExactDifferingAndShortEchoes)
{
    const std::vector<uint8_t> echo = Bytes({0x00, 0x00, 0x00, 0x2A, 0x01, 0xC1, 0x8E});
    uint8_t buffer[10];
    uint32_t count = 99;

    // Exactly the echo: no answer yet.
    memset(buffer, 0xEE, sizeof(buffer));
    EXPECT_EQ(Kel_Echo_Remove(echo.data(), 7, echo.data(), 7, buffer, sizeof(buffer), &count), Kel_Good);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(buffer[0], 0xEE);

    // Echo and answer: the answer alone.
    std::vector<uint8_t> line = echo;
    line.insert(line.end(), {0x55, 0x66});
    EXPECT_EQ(Kel_Echo_Remove(line.data(), line.size(), echo.data(), 7, buffer, sizeof(buffer), &count),
              Kel_Good);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(std::vector<uint8_t>(buffer, buffer + 3), Bytes({0x55, 0x66, 0xEE}));

    // One byte of the echo differs.
    line[6] ^= 0x01;
    EXPECT_EQ(Kel_Echo_Remove(line.data(), line.size(), echo.data(), 7, buffer, sizeof(buffer), &count),
              Kel_Bad);
    EXPECT_EQ(count, 0u);

    // Fewer bytes than the echo: a failed read; the caller's buffer is not touched. The received
    // bytes sit at the end of their own buffer, so any read past them would leave it.
    std::vector<uint8_t> shortLine(echo.begin(), echo.begin() + 3);
    memset(buffer, 0xEE, sizeof(buffer));
    count = 99;
    EXPECT_EQ(
        Kel_Echo_Remove(shortLine.data(), shortLine.size(), echo.data(), 7, buffer, sizeof(buffer), &count),
        Kel_BadCommunicationError);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(buffer[0], 0xEE);
    EXPECT_EQ(Kel_Echo_Remove(shortLine.data(), 0, echo.data(), 7, buffer, sizeof(buffer), &count),
              Kel_BadCommunicationError);

    // No reference: everything is the answer; more than the caller holds fails.
    EXPECT_EQ(Kel_Echo_Remove(echo.data(), 7, nullptr, 0, buffer, sizeof(buffer), &count), Kel_Good);
    EXPECT_EQ(count, 7u);
    EXPECT_EQ(Kel_Echo_Remove(echo.data(), 7, nullptr, 0, buffer, 6, &count), Kel_Bad);
}

#ifndef _WIN32
namespace
{
// A pseudo-terminal pair: the variant works on the port side, the test plays the line on the other.
class Line
{
public:
    Line()
    {
        char name[256] = {};
        if (openpty(&master, &slave, name, nullptr, nullptr) != 0)
            return;
        termios settings{};
        tcgetattr(master, &settings);
        cfmakeraw(&settings);
        tcsetattr(master, TCSANOW, &settings);
        Kel_P_Serial_CreateContext(&port);
        if (Kel_P_Serial_Open(name, 1, &port) != Kel_Good)
            return;
        // A read returns 50 ms after the last byte, or after 500 ms.
        const Kel_P_Serial_CommTimeouts timeouts{50, 0, 500, 0, 0};
        opened = Kel_P_Serial_SetCommTimeouts(port.port_fd, &timeouts) != 0;
    }
    ~Line()
    {
        Kel_P_Serial_Close(&port);
        if (slave >= 0)
            close(slave);
        if (master >= 0)
            close(master);
    }
    // Everything the port side has written within 300 ms.
    std::vector<uint8_t> Take()
    {
        std::vector<uint8_t> bytes;
        pollfd wait{master, POLLIN, 0};
        while (poll(&wait, 1, 300) > 0)
        {
            uint8_t chunk[256];
            const ssize_t count = read(master, chunk, sizeof(chunk));
            if (count <= 0)
                break;
            bytes.insert(bytes.end(), chunk, chunk + count);
        }
        return bytes;
    }
    void Give(const std::vector<uint8_t>& aBytes)
    {
        ASSERT_EQ(write(master, aBytes.data(), aBytes.size()), static_cast<ssize_t>(aBytes.size()));
    }

    Kel_P_Serial_Context port{};
    bool opened = false;

private:
    int master = -1;
    int slave = -1;
};
} // namespace

TEST(SerialVariants, GatewayFirstExchangeRawThenPacked)
{
    Line line;
    ASSERT_TRUE(line.opened);
    Kel_SerialChannel_Context channel{};
    ASSERT_EQ(Kel_SerialChannel_CreateContext_GatewayGSM(&line.port, &channel), Kel_Good);
    EXPECT_EQ(channel.type, KEL_SERIALCHANNEL_TYPE_VARIANT);
    EXPECT_EQ(line.port.isHardwarePort, 1u);
    PORT = 0;
    NUM = 0;

    // The gateway's own dialogue: raw both ways; the first read switches to packets.
    const std::vector<uint8_t> hello = Bytes({'A', 'T', '\r'});
    uint32_t written = 0;
    ASSERT_EQ(channel.pWrite(channel.pContext, hello.data(), 3, 100, &written), Kel_Good);
    EXPECT_EQ(line.Take(), hello);
    line.Give(Bytes({'O', 'K', '\r', '\n'}));
    uint8_t buffer[32] = {};
    uint32_t count = 0;
    ASSERT_EQ(channel.pRead(channel.pContext, buffer, sizeof(buffer), 100, &count), Kel_Good);
    EXPECT_EQ(std::vector<uint8_t>(buffer, buffer + count), Bytes({'O', 'K', '\r', '\n'}));
    EXPECT_EQ(PORT, 1);

    // Then packets: number 1, two data bytes, port byte 1, checksum 0x02.
    const std::vector<uint8_t> request = Bytes({0x01, 0x02});
    ASSERT_EQ(channel.pWrite(channel.pContext, request.data(), 2, 100, &written), Kel_Good);
    EXPECT_EQ(written, 2u);
    EXPECT_EQ(NUM, 1u);
    EXPECT_EQ(line.Take(), Bytes({0xD8, 0x56, 0x7C, 0x01, 0x00, 0x02, 0x00, 0x01, 0x01, 0x02, 0x02}));
    line.Give(Bytes({0x00, 0x00, 0x00, 0x01, 0x00, 0x03, 0x00, 0x01, 0xAA, 0xBB, 0xCC, 0x00}));
    ASSERT_EQ(channel.pRead(channel.pContext, buffer, sizeof(buffer), 100, &count), Kel_Good);
    EXPECT_EQ(std::vector<uint8_t>(buffer, buffer + count), Bytes({0xAA, 0xBB, 0xCC}));

    // An answer that carries the previous packet's number is refused.
    ASSERT_EQ(channel.pWrite(channel.pContext, request.data(), 2, 100, &written), Kel_Good);
    const std::vector<uint8_t> second = line.Take();
    ASSERT_EQ(second.size(), 11u);
    EXPECT_EQ(second[3], 0x02);
    line.Give(Bytes({0x00, 0x00, 0x00, 0x01, 0x00, 0x01, 0x00, 0x01, 0xAA, 0x00}));
    EXPECT_EQ(channel.pRead(channel.pContext, buffer, sizeof(buffer), 100, &count), Kel_Bad);
    EXPECT_EQ(count, 0u);
    PORT = 0;
    NUM = 0;
}

TEST(SerialVariants, EchoGsmAndRs485RemoveTheirEchoes)
{
    Line line;
    ASSERT_TRUE(line.opened);
    Kel_SerialChannel_Context channel{};
    ASSERT_EQ(Kel_SerialChannel_CreateContext_EchoGSM(&line.port, &channel), Kel_Good);

    const std::vector<uint8_t> request = Bytes({0x00, 0x00, 0x00, 0x2A, 0x01, 0xC1, 0x8E});
    uint32_t written = 0;
    ASSERT_EQ(channel.pWrite(channel.pContext, request.data(), 7, 100, &written), Kel_Good);
    EXPECT_EQ(written, 7u);
    EXPECT_EQ(aBytesWrited, 7);
    EXPECT_EQ(line.Take(), request);
    std::vector<uint8_t> echoAndAnswer = request;
    echoAndAnswer.insert(echoAndAnswer.end(), {0x12, 0x34});
    line.Give(echoAndAnswer);
    uint8_t buffer[32] = {};
    uint32_t count = 0;
    ASSERT_EQ(channel.pRead(channel.pContext, buffer, sizeof(buffer), 100, &count), Kel_Good);
    EXPECT_EQ(std::vector<uint8_t>(buffer, buffer + count), Bytes({0x12, 0x34}));

    // RS-485: the reference is the transport layer's last frame.
    ASSERT_EQ(Kel_SerialChannel_CreateContext_EchoRS485(&line.port, &channel), Kel_Good);
    const uint8_t frame[] = {0x00, 0x00, 0x00, 0x07, 0x2B, 0x10, 0x20};
    const uint32_t frameSize = sizeof(frame);
    pTransportOutFrame = frame;
    pTransportOutFrameIndex = &frameSize;
    ASSERT_EQ(channel.pWrite(channel.pContext, frame, frameSize, 100, &written), Kel_Good);
    EXPECT_EQ(line.Take(), std::vector<uint8_t>(frame, frame + frameSize));
    line.Give(std::vector<uint8_t>(frame, frame + frameSize));
    ASSERT_EQ(channel.pRead(channel.pContext, buffer, sizeof(buffer), 100, &count), Kel_Good);
    EXPECT_EQ(count, 0u);
    std::vector<uint8_t> garbled(frame, frame + frameSize);
    garbled[4] = 0x2C;
    line.Give(garbled);
    EXPECT_EQ(channel.pRead(channel.pContext, buffer, sizeof(buffer), 100, &count), Kel_Bad);
    pTransportOutFrame = nullptr;
    pTransportOutFrameIndex = nullptr;
}
#endif
