// The simulator's meter model: check values of its own CRCs, BCD and packet codec; the meter's answers,
// byte for byte, for a representative command of every answer layout, and writes that change what later
// reads report; the meter state as JSON (a few lines set up a meter, a saved state loads back to the
// same meter, bad values are refused with the key named).
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

namespace
{

// The record check as the host makes it: CRC over the 20 data bytes in[1..20] against in[21], in[22].
bool RecordCrcMatches(const Bytes& answer)
{
    const Bytes data(answer.begin() + 5, answer.begin() + 25);
    const uint16_t crc = TestCrc(data);
    return answer[25] == (crc & 0xFF) && answer[26] == (crc >> 8);
}

} // namespace

TEST_F(SimMeter, MonthAndDayArchiveRecordsCarryTheirCrc)
{
    // 1 May 2024: the registers less 16 days of consumption (800 and 400 a day).
    const Bytes month = Ask(sim, H("37 01 01 05 24"));
    ASSERT_EQ(month.size(), 31u);
    EXPECT_EQ(Bytes(month.begin() + 4, month.begin() + 25),
              H("37 01 22 17 67 00 45 03 89 00 00 00 00 00 00 00 00 01 05 24 00"));
    EXPECT_TRUE(RecordCrcMatches(month));
    EXPECT_EQ(Bytes(month.begin() + 27, month.begin() + 29), H("00 00"));
    EXPECT_EQ(month, Frame(1, Bytes(month.begin() + 4, month.end() - 2)));

    const Bytes day = Ask(sim, H("37 00 10 05 24"));
    ASSERT_EQ(day.size(), 31u);
    EXPECT_EQ(Bytes(day.begin() + 4, day.begin() + 25),
              H("37 01 22 89 67 00 45 39 89 00 00 00 00 00 00 00 00 10 05 24 00"));
    EXPECT_TRUE(RecordCrcMatches(day));

    // A day not yet come and a damaged record: the record CRC does not match.
    EXPECT_EQ(Ask(sim, H("37 00 20 05 24")), Answer(Cat(H("37"), Bytes(24, 0xFF))));
    sim.GetMeter().State().damagedDays.insert(zentor_sim::ToSeconds(zentor_sim::Civil{2024, 5, 10}));
    const Bytes damaged = Ask(sim, H("37 00 10 05 24"));
    ASSERT_EQ(damaged.size(), 31u);
    EXPECT_FALSE(RecordCrcMatches(damaged));
}

TEST_F(SimMeter, ProfileSlotsCarryTheirCrc)
{
    // 16.05.24, block 5 (20:00 to 24:00): slots 40..47, all over, all valid.
    const Bytes block = Ask(sim, H("37 15 16 05 24"));
    ASSERT_EQ(block.size(), 39u);
    for (int i = 0; i < 8; ++i)
    {
        const uint8_t* slot = block.data() + 5 + i * 4;
        const Bytes check{static_cast<uint8_t>(40 + i), 0x16, 0x05, 0x24, slot[0], slot[1]};
        const uint16_t crc = TestCrc(check);
        EXPECT_EQ(slot[2], crc & 0xFF) << "slot " << 40 + i;
        EXPECT_EQ(slot[3], crc >> 8) << "slot " << 40 + i;
        const int64_t dayStart = zentor_sim::ToSeconds(zentor_sim::Civil{2024, 5, 16});
        EXPECT_EQ((slot[0] + slot[1] * 256) * 4u, sim.GetMeter().SlotPower(dayStart, 40 + i));
        EXPECT_GT(slot[0] + slot[1] * 256, 0);
    }

    // Today, block 3 (12:00 to 16:00) at 12:34:56: slot 24 is over, the later ones not yet.
    const Bytes today = Ask(sim, H("37 13 17 05 24"));
    ASSERT_EQ(today.size(), 39u);
    const Bytes first(today.begin() + 5, today.begin() + 9);
    EXPECT_EQ(TestCrc(Bytes{24, 0x17, 0x05, 0x24, first[0], first[1]}), first[2] | first[3] << 8);
    EXPECT_EQ(Bytes(today.begin() + 9, today.end() - 2), Bytes(28, 0xFF));

    // A damaged slot keeps its power but not its CRC.
    sim.GetMeter().State().damagedSlots.insert(
        zentor_sim::ToSeconds(zentor_sim::Civil{2024, 5, 16, 20, 30, 0}));
    const Bytes damaged = Ask(sim, H("37 15 16 05 24"));
    EXPECT_EQ(Bytes(damaged.begin() + 5, damaged.begin() + 9), Bytes(block.begin() + 5, block.begin() + 9));
    EXPECT_NE(Bytes(damaged.begin() + 9, damaged.begin() + 13), Bytes(block.begin() + 9, block.begin() + 13));
    EXPECT_EQ(Bytes(damaged.begin() + 9, damaged.begin() + 11), Bytes(block.begin() + 9, block.begin() + 11));
    EXPECT_EQ(damaged[12], block[12]);
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

Bytes AskMeter(Meter& meter, const Bytes& payload)
{
    const auto answer = meter.Handle(payload);
    return answer ? *answer : Bytes{};
}

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

TEST(SimState, AFewLinesDescribeAMeter)
{
    Meter meter(TestState());
    zentor_sim::ApplyJson(meter, json::parse(R"({
        "address": 5, "serial_number": 99,
        "clock": {"time": "2023-12-31 23:59:58", "running": false},
        "model": {"code": 4, "variant": 3},
        "energy": {"active": [10, 20, 30, 12345678]},
        "tariff": {"table_read_zones": 8, "zones_all_days": ["00:00,T1", "08:30,T3"], "holidays": ["25.12"]},
        "journals": {"5": [{"code": 2, "time": "2024-01-02 03:04:05"}, {"empty": true}, {"raw": "09 00"}]}
    })"));
    EXPECT_EQ(meter.State().address, 5u);
    EXPECT_EQ(AskMeter(meter, H("2F")), H("2F 00 00 00 63"));
    EXPECT_EQ(AskMeter(meter, H("21")), H("21 07 23 59 58 31 12 23")); // a Sunday
    EXPECT_EQ(AskMeter(meter, H("86 FF")), Cat(H("86 FF 04 03"), Bytes(14, 0x00)));
    EXPECT_EQ(AskMeter(meter, H("27")), H("27 00 00 00 10 00 00 00 20 00 00 00 30 12 34 56 78"));
    EXPECT_EQ(AskMeter(meter, H("31 B7")), Cat(H("31 00 00 88 30"), Bytes(12, 0xFF)));
    EXPECT_EQ(AskMeter(meter, H("30 00")), Cat(H("30 25 12"), Bytes(14, 0xFF)));
    EXPECT_EQ(AskMeter(meter, H("3A 00")), H("3A 02 03 04 05 02 01 24"));
    EXPECT_EQ(AskMeter(meter, H("3A 01")), Cat(H("3A"), Bytes(7, 0xFF)));
    EXPECT_EQ(AskMeter(meter, H("3A 02")), H("3A 09 00"));
    // Keys not given keep the default meter's values.
    EXPECT_EQ(AskMeter(meter, H("22")), H("22 15 00"));
}

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
