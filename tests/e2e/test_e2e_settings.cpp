// Settings reads and writes against the simulated meter, beyond the frames of the shared cases: each
// write changes the meter's state and the matching read brings it back; the odd mappings (display bits,
// limits in tenths, the second relay read); refused texts.
#include "e2e_support.h"

#include "Q310/q310_export_support.h"
#include "zentor_sim/calendar.h"

#include <cstdlib>

namespace
{
using e2e::Path;
using host::Bytes;

class SettingsTest : public e2e::SessionTest
{
protected:
    zentor_sim::MeterState& State() { return Meter().State(); }
};

TEST_P(SettingsTest, AdditionalDisplayModeKeepsTheBatteryBitInTheMiddle)
{
    ASSERT_TRUE(OpenSession());
    uint32_t f[9];
    State().additionalDisplayMode = {0x04, 0x0A};
    ASSERT_EQ(eReadAddParamDisplay(0, &f[0], &f[1], &f[2], &f[3], &f[4], &f[5], &f[6], &f[7], &f[8], err), 1);
    // rate, UIFreq, maxdump, cRunning, batRunning, pLimit, enLimit, delay, indBat
    EXPECT_EQ((std::vector<uint32_t>(f, f + 9)), (std::vector<uint32_t>{0, 0, 0, 0, 0, 0, 0, 10, 1}));

    ASSERT_EQ(eWriteAddParamDisplay(0, 1, 0, 1, 0, 1, 0, 1, 30, 0, err), 1);
    EXPECT_EQ(State().additionalDisplayMode[0], 0x01 | 0x08 | 0x20 | 0x80);
    EXPECT_EQ(State().additionalDisplayMode[1], 30);
    ASSERT_EQ(eReadAddParamDisplay(0, &f[0], &f[1], &f[2], &f[3], &f[4], &f[5], &f[6], &f[7], &f[8], err), 1);
    EXPECT_EQ((std::vector<uint32_t>(f, f + 9)), (std::vector<uint32_t>{1, 0, 1, 0, 1, 0, 1, 30, 0}));
}

TEST_P(SettingsTest, SingleByteSettingsRoundTrip)
{
    ASSERT_TRUE(OpenSession());
    uint32_t value = 0;
    ASSERT_EQ(eWriteCorrectionTime(0, 7, err), 1);
    EXPECT_EQ(State().timeCorrection, 7);
    ASSERT_EQ(eReadCorrectionTime(0, &value, err), 1);
    EXPECT_EQ(value, 7u);

    ASSERT_EQ(eWriteSeasonFlag(0, 0, err), 1);
    EXPECT_EQ(State().summerTimeFlag, 0);
    value = 9;
    ASSERT_EQ(eReadSeasonFlag(0, &value, err), 1);
    EXPECT_EQ(value, 0u);

    ASSERT_EQ(eWriteOutputFunction(0, 2, err), 1);
    EXPECT_EQ(State().dryOutputMode, 2);
    ASSERT_EQ(eReadOutputFunction(0, &value, err), 1);
    EXPECT_EQ(value, 2u);

    ASSERT_EQ(eWriteEnergyLimit(0, 4321, err), 1);
    EXPECT_EQ(State().energyLimit, 4321);
    ASSERT_EQ(eReadEnergyLimit(0, &value, err), 1);
    EXPECT_EQ(value, 4321u);

    ASSERT_EQ(eWriteSpeed(0, 3, err), 1);
    EXPECT_EQ(State().baudCode, 3);
}

TEST_P(SettingsTest, PowerLimitInTenthsAndItsMode)
{
    ASSERT_TRUE(OpenSession());
    ASSERT_EQ(eWritePowerLimit(0, 1500, err), 1);
    EXPECT_EQ(State().powerLimitWatts, 15000u);
    State().powerLimitWatts = 12340;
    uint32_t limit = 0;
    ASSERT_EQ(eReadPowerLimit(0, &limit, err), 1);
    EXPECT_EQ(limit, 1234u);

    ASSERT_EQ(eWritePowerLimitMode(0, 0x12, 5, 1, 0, err), 1);
    EXPECT_EQ(State().powerLimitMode, (std::array<uint8_t, 2>{0x12, 0x45}));
    uint32_t m[4] = {};
    ASSERT_EQ(eReadPowerLimitMode(0, &m[0], &m[1], &m[2], &m[3], err), 1);
    EXPECT_EQ((std::vector<uint32_t>(m, m + 4)), (std::vector<uint32_t>{0x12, 5, 1, 0}));
}

TEST_P(SettingsTest, RefusedTextsAndTheSecondRelayRead)
{
    ASSERT_TRUE(OpenSession());
    // A tariff energy limit without a leading number is 0; an empty one is refused, nothing sent.
    ASSERT_EQ(eWriteEnergyRateLimit(0, "100", "2500", "x", "999999", "1021", err), 1);
    EXPECT_EQ(State().tariffEnergyLimits[2].value, 0u);
    EXPECT_EQ(Sent([&] { EXPECT_EQ(eWriteEnergyRateLimit(0, "1", "", "3", "4", "1111", err), 0); }), Bytes{});
    ExpectMessage("Запрос на запись лимита энергии: Нет ответа.", "empty limit");
    // The multiplier cell itself is not checked: the client refuses it, the host sees the message.
    ClearErr();
    EXPECT_EQ(eReadMultMode(0, nullptr, err), 0);
    ExpectMessage("Запрос на чтение множителя таймаута: Нет ответа.", "null cell");

    // The second relay read: parameter 1 of command 0x86.
    const std::pair<uint8_t, uint32_t> cases[] = {{0x55, 1}, {0xAA, 0}, {0x50, 2}, {0x5A, 77}, {0x00, 77}};
    for (const auto& [wire, expected] : cases)
    {
        State().parameter1 = wire;
        uint32_t mode = 77;
        ASSERT_EQ(eReadReleMode_2a(0, &mode, err), 1);
        EXPECT_EQ(mode, expected) << int(wire);
    }
}

TEST_P(SettingsTest, AddressesBatteryAndClock)
{
    ASSERT_TRUE(OpenSession());
    ASSERT_EQ(eWriteAddress(0, 1, 4242, err), 1);
    EXPECT_EQ(State().groupAddress, 4242u);

    State().batteryFlags = 0x03;
    State().batteryHours = 500;
    ASSERT_EQ(eResetDeviceBat(0, err), 1);
    EXPECT_EQ(State().batteryFlags, 0);
    EXPECT_EQ(State().batteryHours, 0u);

    // The meter's frozen clock of 2024 is set to the computer's.
    ASSERT_EQ(eSynchronizaionTime(0, err), 1);
    EXPECT_LE(std::llabs(Meter().Now() - zentor_sim::ComputerLocalNow()), 3);

    // Last: the meter takes the new address and stops answering the session's.
    ASSERT_EQ(eWriteAddress(0, 0, 77, err), 1);
    EXPECT_EQ(State().address, 77u);
}

INSTANTIATE_TEST_SUITE_P(Paths, SettingsTest, e2e::kBothPaths, e2e::PathName);

} // namespace
