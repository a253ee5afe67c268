// The meter state as JSON: a few lines set up a meter, a saved state loads back to the same meter,
// bad values are refused with the key named.
#include "sim_test_util.h"
#include "zentor_sim/state_json.h"

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace simtest;
using nlohmann::json;
using zentor_sim::Meter;
using zentor_sim::Simulator;

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

TEST(SimState, SavedStateLoadsBackToTheSameMeter)
{
    Meter original(TestState());
    original.State().damagedDays.insert(zentor_sim::ToSeconds(zentor_sim::Civil{2024, 5, 3}));
    original.State().damagedSlots.insert(zentor_sim::ToSeconds(zentor_sim::Civil{2024, 5, 16, 20, 30}));
    original.State().zones[3][2][5] = zentor_sim::Zone{0xAB, 0xCD}; // not a valid zone: kept raw
    char path[] = "/tmp/zentor-sim-state-XXXXXX";
    const int fd = ::mkstemp(path);
    ASSERT_GE(fd, 0);
    ::close(fd);
    zentor_sim::SaveStateFile(original, path);

    Meter loaded;
    zentor_sim::LoadStateFile(loaded, path);
    ::unlink(path);
    EXPECT_EQ(zentor_sim::ToJson(loaded).dump(), zentor_sim::ToJson(original).dump());
    for (const char* request : {"21", "27", "32 05", "33 02", "34 00", "35 02", "36 00", "39 00 00 00", "6E",
                                "31 32", "37 00 03 05 24", "37 15 16 05 24", "6B", "2B", "86 02"})
        EXPECT_EQ(AskMeter(loaded, H(request)), AskMeter(original, H(request))) << request;
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
