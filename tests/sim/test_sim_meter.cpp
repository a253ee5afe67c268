// The simulator's meter model where the end-to-end tests do not look: check values of its own CRCs and
// packet codec, exact answers of two commands, silence for what a meter would not answer, and bad
// values of a state file refused with the key named.
#include "sim_test_util.h"
#include "zentor_sim/codec.h"
#include "zentor_sim/state_json.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <unistd.h>

using namespace simtest;
using namespace zentor_sim;
using nlohmann::json;

namespace
{

class SimMeter : public ::testing::Test
{
protected:
    SimMeter() : sim(TestState()) {}
    // Answer frame of the meter at address 1 for the given answer payload.
    static Bytes Answer(const Bytes& payload) { return Frame(1, payload); }
    Simulator sim;
};

} // namespace

TEST_F(SimMeter, SerialNumberAndClockFramesExactly)
{
    EXPECT_EQ(sim.Exchange(H("00 00 00 01 2F 64 4C")).Joined(), H("00 00 00 01 2F 01 40 70 E1 3B 47"));
    // Friday (5), 12:34:56, 17.05.24, all BCD.
    EXPECT_EQ(sim.Exchange(H("00 00 00 01 21 E5 88")).Joined(),
              H("00 00 00 01 21 05 12 34 56 17 05 24 EF 37"));
}

TEST_F(SimMeter, SilentForUnknownCommandsWrongArgumentsAndOtherMeters)
{
    EXPECT_TRUE(Ask(sim, H("2F 00")).empty());
    EXPECT_TRUE(Ask(sim, H("C5")).empty());
    EXPECT_TRUE(Ask(sim, H("32 0C")).empty());
    EXPECT_TRUE(Ask(sim, H("33 03")).empty());
    EXPECT_TRUE(Ask(sim, H("34 40")).empty());
    EXPECT_TRUE(Ask(sim, H("2F"), 2).empty());
    sim.GetMeter().State().acceptAnyAddress = true;
    EXPECT_EQ(Ask(sim, H("2F"), 2), Frame(2, H("2F 01 40 70 E1")));
}

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

namespace
{

std::string ErrorOf(const char* text)
{
    Meter meter(TestState());
    try
    {
        zentor_sim::ApplyJson(meter, json::parse(text));
    }
    catch (const std::runtime_error& error)
    {
        return error.what();
    }
    return "";
}

} // namespace

TEST(SimState, BadValuesAreRefusedNamingTheKey)
{
    EXPECT_EQ(ErrorOf(R"({"address": -1})"), "state: address: out of range");
    EXPECT_EQ(ErrorOf(R"({"summer_time_flag": 256})"), "state: summer_time_flag: out of range");
    EXPECT_EQ(ErrorOf(R"({"clock": {"time": "2024-02-30 00:00:00"}})"),
              "state: clock.time: expected YYYY-MM-DD or YYYY-MM-DD HH:MM:SS");
    EXPECT_EQ(ErrorOf(R"({"tariff": {"zones_all_days": ["25:00,T1"]}})"),
              "state: tariff.zones_all_days: expected \"HH:MM,Tn\" or two hex bytes, got \"25:00,T1\"");
    EXPECT_EQ(ErrorOf(R"({"tariff": {"table_read_zones": 12}})"),
              "state: tariff.table_read_zones: expected 8 or 16");
    EXPECT_EQ(ErrorOf(R"({"journals": {"1": [{"code": 1}]}})"),
              "state: journals.1: an entry needs code and time (or raw, or empty)");
    EXPECT_EQ(ErrorOf(R"({"plc1_config": "01 02"})"), "state: plc1_config: expected 8 hex bytes");
    EXPECT_EQ(ErrorOf(R"([1, 2])"), "state: (document): expected an object");
}
