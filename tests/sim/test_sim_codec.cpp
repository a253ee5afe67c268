// Check values of the simulator's own CRCs, BCD and packet codec.
#include "zentor_sim/codec.h"

#include <gtest/gtest.h>

using namespace zentor_sim;

TEST(SimCodec, CrcCheckValues)
{
    const uint8_t digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(Crc16Modbus(digits, 9), 0x4B37);
    EXPECT_EQ(Crc24(digits, 9), 0x21CF02u);
    EXPECT_EQ(Crc24(digits, 0), 0xB704CEu);
    Bytes frame(digits, digits + 9);
    AppendCrc16(frame);
    EXPECT_EQ(frame[9], 0x37);
    EXPECT_EQ(frame[10], 0x4B);
    EXPECT_TRUE(Crc16Matches(frame.data(), frame.size()));
    frame[3] ^= 1;
    EXPECT_FALSE(Crc16Matches(frame.data(), frame.size()));
}

TEST(SimCodec, BcdAndHex)
{
    EXPECT_EQ(ToBcd(7), 0x07);
    EXPECT_EQ(ToBcd(99), 0x99);
    EXPECT_EQ(FromBcd(0x42), 42u);
    EXPECT_FALSE(FromBcd(0x1A));
    EXPECT_FALSE(FromBcd(0xA1));
    Bytes out;
    AppendBcd(out, 1234567, 4);
    EXPECT_EQ(out, (Bytes{0x01, 0x23, 0x45, 0x67}));
    EXPECT_EQ(Hex(out), "01 23 45 67");
    EXPECT_EQ(ParseHex("01 23:45-67"), out);
    EXPECT_FALSE(ParseHex("0 1"));
    EXPECT_FALSE(ParseHex("0G"));
}

TEST(SimCodec, GatewayPacketLayout)
{
    // Header 01 00 04 00 01: packet 1, length 4, port 1; data checksum = sum - 1.
    const Bytes packet = BuildGatewayPacket(1, 1, Bytes{0x01, 0x02, 0x00, 0x00});
    const uint8_t header[] = {0x01, 0x00, 0x04, 0x00, 0x01};
    const uint32_t crc = Crc24(header, 5);
    ASSERT_EQ(packet.size(), 13u);
    EXPECT_EQ(packet[0], crc & 0xFF);
    EXPECT_EQ(packet[1], (crc >> 8) & 0xFF);
    EXPECT_EQ(packet[2], crc >> 16);
    EXPECT_EQ(Bytes(packet.begin() + 3, packet.end()),
              (Bytes{0x01, 0x00, 0x04, 0x00, 0x01, 0x01, 0x02, 0x00, 0x00, 0x02}));
    const uint8_t zeros[] = {0, 0};
    EXPECT_EQ(GatewayChecksum(zeros, 2), 0xFF);

    const auto parsed = ParseGatewayPacket(packet.data(), packet.size());
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->number, 1);
    EXPECT_EQ(parsed->port, 1);
    EXPECT_EQ(parsed->data, (Bytes{0x01, 0x02, 0x00, 0x00}));
    EXPECT_FALSE(ParseGatewayPacket(packet.data(), packet.size() - 1));
    Bytes damaged = packet;
    damaged[4] ^= 0x01;
    EXPECT_FALSE(ParseGatewayPacket(damaged.data(), damaged.size()));
}
