// The GSM gateway packet codec (CRC-24, header, data checksum, answers) and the echo removal, byte for
// byte. The variants that use them are driven end to end against the simulator's gateway, modem and
// RS-485 echo lines (tests/e2e, tests/dll).
#include "Q310/q310_channels.h"
#include "shared/kel_trace.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

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
