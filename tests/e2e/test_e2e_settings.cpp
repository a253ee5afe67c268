// Settings reads and writes against the simulated meter: each write changes the meter's state and
// the matching read brings it back; the odd mappings (relay modes, display bits, limits in tenths);
// failure messages and null pointers.
#include "e2e_received.h"
#include "e2e_support.h"

#include "Q310/q310_export_support.h"
#include "zentor_sim/calendar.h"

#include <cstdlib>

namespace
{
using e2e::Path;
using zentor_sim::Bytes;

class SettingsTest : public e2e::SessionTest
{
protected:
    zentor_sim::MeterState& State() { return Meter().State(); }
};

TEST_P(SettingsTest, DisplayModeBitsBothWays)
{
    ASSERT_TRUE(OpenSession());
    char rate[8] = "xxxxxxx";
    uint32_t power = 9, time = 9, date = 9;
    State().displayMode = 0xE3; // switches 0 and 1, power, time, date
    ASSERT_EQ(eReadParamDisplay(0, rate, &power, &time, &date, err), 1);
    EXPECT_STREQ(rate, "11000");
    EXPECT_EQ(power, 1u);
    EXPECT_EQ(time, 1u);
    EXPECT_EQ(date, 1u);

    ASSERT_EQ(eWriteParamDisplay(0, "11111", 1, 1, 1, err), 1);
    EXPECT_EQ(State().displayMode, 0xFF);
    ASSERT_EQ(eWriteParamDisplay(0, "10000", 0, 0, 0, err), 1);
    EXPECT_EQ(State().displayMode, 0x01);
    ASSERT_EQ(eReadParamDisplay(0, rate, &power, &time, &date, err), 1);
    EXPECT_STREQ(rate, "10000");
    EXPECT_EQ(power + time + date, 0u);
}

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
    ASSERT_EQ(eWriteIndicationTime(0, 4, 5, 6, 7, err), 1);
    EXPECT_EQ(State().displayDelay, (std::array<uint8_t, 4>{4, 5, 6, 7}));
    uint32_t t[4] = {};
    ASSERT_EQ(eReadIndicationTime(0, &t[0], &t[1], &t[2], &t[3], err), 1);
    EXPECT_EQ((std::vector<uint32_t>(t, t + 4)), (std::vector<uint32_t>{4, 5, 6, 7}));
    // The client refuses delays under 4: the host sees the message.
    EXPECT_EQ(eWriteIndicationTime(0, 4, 3, 6, 7, err), 0);
    EXPECT_STREQ(err, Q310_Cp1251("Запрос на запись времени индикации: Нет ответа.").text);

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

    // The multiplier goes into exactly one byte of the host's cell.
    ASSERT_EQ(eWriteMultMode(0, 5, err), 1);
    EXPECT_EQ(State().timeoutMultiplier, 5);
    uint8_t cell[2] = {0xEE, 0xEE};
    ASSERT_EQ(eReadMultMode(0, cell, err), 1);
    EXPECT_EQ(cell[0], 5);
    EXPECT_EQ(cell[1], 0xEE);
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

TEST_P(SettingsTest, TariffEnergyLimitsParseTextsAndFlags)
{
    ASSERT_TRUE(OpenSession());
    ASSERT_EQ(eWriteEnergyRateLimit(0, "100", "2500", "x", "999999", "1021", err), 1);
    const auto& limits = State().tariffEnergyLimits;
    EXPECT_EQ(limits[0].value, 100u);
    EXPECT_EQ(limits[1].value, 2500u);
    EXPECT_EQ(limits[2].value, 0u); // no leading number: 0, silently
    EXPECT_EQ(limits[3].value, 999999u);
    EXPECT_EQ((std::vector<uint8_t>{limits[0].flag, limits[1].flag, limits[2].flag, limits[3].flag}),
              (std::vector<uint8_t>{0x5A, 0x55, 0x55, 0x5A}));

    char values[64] = {};
    char flags[16] = {};
    uint32_t arr = 0;
    ASSERT_EQ(eReadEnergyRateLimit(0, values, flags, &arr, err), 1);
    EXPECT_STREQ(values, "100;2500;0;999999");
    EXPECT_STREQ(flags, "90858590"); // the flag bytes as the meter keeps them

    // An empty text is refused with the message, nothing sent.
    e2e::Received received;
    received.Attach(*simulator);
    ClearErr();
    EXPECT_EQ(eWriteEnergyRateLimit(0, "1", "", "3", "4", "1111", err), 0);
    EXPECT_STREQ(err, Q310_Cp1251("Запрос на запись лимита энергии: Нет ответа.").text);
    EXPECT_TRUE(received.Take().empty());
}

TEST_P(SettingsTest, RelayModesMapAsymmetrically)
{
    ASSERT_TRUE(OpenSession());
    uint32_t mode = 77;
    ASSERT_EQ(eWriteReleMode(0, 3, err), 1);
    EXPECT_EQ(State().relayControlMode, 0x00);
    ASSERT_EQ(eWriteReleMode(0, 16, err), 1);
    EXPECT_EQ(State().relayControlMode, 0x5A);
    ASSERT_EQ(eReadReleMode(0, &mode, err), 1);
    EXPECT_EQ(mode, 0u);
    ASSERT_EQ(eWriteReleMode(0, 2, err), 1);
    EXPECT_EQ(State().relayControlMode, 0x55);
    ASSERT_EQ(eReadReleMode(0, &mode, err), 1);
    EXPECT_EQ(mode, 2u);
    ASSERT_EQ(eWriteReleMode(0, 1, err), 1);
    ASSERT_EQ(eReadReleMode(0, &mode, err), 1);
    EXPECT_EQ(mode, 1u);

    // The second read: parameter 1 of command 0x86.
    const std::pair<uint8_t, uint32_t> cases[] = {{0x55, 1}, {0xAA, 0}, {0x50, 2}, {0x5A, 77}, {0x00, 77}};
    for (const auto& [wire, expected] : cases)
    {
        State().parameter1 = wire;
        mode = 77;
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

TEST_P(SettingsTest, SilentMeterReadsFailWithTheirMessageWritesStillSucceed)
{
    ASSERT_TRUE(OpenSession());
    Silence();
    uint32_t value = 0;
    EXPECT_EQ(eReadSeasonFlag(0, &value, err), 0);
    const auto expected = Q310_Cp1251("Запрос на чтение флага перехода зима-лето: Нет ответа.");
    EXPECT_EQ(std::string(err), std::string(expected.text));
    EXPECT_EQ(static_cast<uint8_t>(err[0]), 0xC7); // 'З' in Windows-1251

    ClearErr();
    EXPECT_EQ(eReadPowerLimit(0, &value, err), 0);
    EXPECT_STREQ(err, Q310_Cp1251("Запрос на чтение лимита мощности: Нет ответа.").text);
    ClearErr();
    EXPECT_EQ(eReadReleMode_2a(0, &value, err), 0);
    EXPECT_STREQ(err, Q310_Cp1251("Запрос на чтение режима работы реле нагрузки: Нет ответа.").text);

    // A write has no answer length to check: no answer ends good.
    ClearErr();
    EXPECT_EQ(eWriteSeasonFlag(0, 1, err), 1);
    EXPECT_TRUE(ErrUntouched());
}

TEST_P(SettingsTest, NullPointersAreRefusedWithNothingSent)
{
    ASSERT_TRUE(OpenSession());
    e2e::Received received;
    received.Attach(*simulator);
    uint32_t v = 0;
    char text[16] = {};
    const int32_t bad = Q310_BAD_INVALID_ARGUMENT;
    EXPECT_EQ(eReadParamDisplay(0, nullptr, &v, &v, &v, err), bad);
    EXPECT_EQ(eReadParamDisplay(0, text, &v, &v, nullptr, err), bad);
    EXPECT_EQ(eWriteParamDisplay(0, nullptr, 0, 0, 0, err), bad);
    EXPECT_EQ(eReadAddParamDisplay(0, &v, &v, &v, &v, &v, &v, &v, &v, nullptr, err), bad);
    EXPECT_EQ(eWriteAddParamDisplay(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, nullptr), bad);
    EXPECT_EQ(eReadIndicationTime(0, &v, nullptr, &v, &v, err), bad);
    EXPECT_EQ(eWriteIndicationTime(0, 1, 1, 1, 1, nullptr), bad);
    EXPECT_EQ(eReadCorrectionTime(0, nullptr, err), bad);
    EXPECT_EQ(eWriteCorrectionTime(0, 1, nullptr), bad);
    EXPECT_EQ(eReadSeasonFlag(0, &v, nullptr), bad);
    EXPECT_EQ(eWriteSeasonFlag(0, 1, nullptr), bad);
    EXPECT_EQ(eSynchronizaionTime(0, nullptr), bad);
    EXPECT_EQ(eReadPowerLimit(0, nullptr, err), bad);
    EXPECT_EQ(eWritePowerLimit(0, 1, nullptr), bad);
    EXPECT_EQ(eReadPowerLimitMode(0, &v, &v, &v, nullptr, err), bad);
    EXPECT_EQ(eWritePowerLimitMode(0, 1, 1, 1, 1, nullptr), bad);
    EXPECT_EQ(eReadEnergyLimit(0, &v, nullptr), bad);
    EXPECT_EQ(eWriteEnergyLimit(0, 1, nullptr), bad);
    EXPECT_EQ(eReadEnergyRateLimit(0, text, text, nullptr, err), bad);
    EXPECT_EQ(eWriteEnergyRateLimit(0, "1", "2", nullptr, "4", "1111", err), bad);
    EXPECT_EQ(eReadReleMode(0, nullptr, err), bad);
    EXPECT_EQ(eReadReleMode_2a(0, &v, nullptr), bad);
    EXPECT_EQ(eWriteReleMode(0, 1, nullptr), bad);
    EXPECT_EQ(eReadOutputFunction(0, nullptr, err), bad);
    EXPECT_EQ(eWriteOutputFunction(0, 1, nullptr), bad);
    EXPECT_EQ(eWriteSpeed(0, 1, nullptr), bad);
    EXPECT_EQ(eWriteAddress(0, 0, 1, nullptr), bad);
    EXPECT_EQ(eReadMultMode(0, reinterpret_cast<uint8_t*>(text), nullptr), bad);
    EXPECT_EQ(eWriteMultMode(0, 1, nullptr), bad);
    EXPECT_EQ(eResetDeviceBat(0, nullptr), bad);
    EXPECT_TRUE(ErrUntouched());
    EXPECT_TRUE(received.Take().empty());

    // The multiplier cell itself is not checked: the client refuses it, the host sees the message.
    EXPECT_EQ(eReadMultMode(0, nullptr, err), 0);
    EXPECT_STREQ(err, Q310_Cp1251("Запрос на чтение множителя таймаута: Нет ответа.").text);
}

INSTANTIATE_TEST_SUITE_P(Paths, SettingsTest, e2e::kBothPaths, e2e::PathName);

} // namespace
