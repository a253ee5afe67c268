// The simulated single-phase meter: its whole state and the handling of one request payload
// (command byte and argument bytes) into one answer payload (echoed command byte and data).
#pragma once

#include "zentor_sim/codec.h"
#include "zentor_sim/settings.h"

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <vector>

namespace zentor_sim
{

// One entry of journals 1, 2, 4 and 5: the code byte the meter sends first (journal 1: 0 power
// off, 1 power on; journal 2: 0..3; journal 4: the direction 1 or 2; journal 5: 0..6) and the time.
// `raw`, when set, replaces the whole answer data (to model damaged entries); `empty` answers as an
// unused slot.
struct JournalEntry
{
    uint8_t code = 0;
    int64_t time = 0;
    bool empty = false;
    std::optional<Bytes> raw;
};

// One entry of journal 3: the five flag bytes in the order they travel (answer bytes 1..5) and the
// date (time of day ignored).
struct DayJournalEntry
{
    std::array<uint8_t, 5> flags{};
    int64_t date = 0;
    bool empty = false;
    std::optional<Bytes> raw;
};

struct MaximumEntry
{
    uint16_t value = 0; // 0..9999: tenths of a volt (voltage), hundredths (current, power)
    int64_t time = 0;
};

struct TariffEnergyLimit
{
    uint32_t value = 0; // 0..999999
    uint8_t flag = 0x55;
};

// A zone as it travels: (tariff index << 6 | BCD hour, BCD minute); FF FF is an unused zone.
using Zone = std::array<uint8_t, 2>;
using DayZones = std::array<Zone, 16>;

// The meter's whole state: the simple settings of the table in settings.cpp (the address, group
// address, serial number and a few more by name, the rest by row) and everything below.
struct MeterState : SettingValues
{
    // Identity
    bool acceptAnyAddress = false;
    int64_t productionDate = 0;
    uint8_t firmwareMajor = 2;
    uint8_t firmwareMinor = 14;
    int64_t firmwareDate = 0;
    uint16_t firmwareCrc = 0x5A3C;
    uint8_t modelCode = 8;
    uint8_t modelVariant = 2;

    // Clock: meter time = computer's local time + offset while running, else the frozen time.
    bool clockRunning = true;
    int64_t clockOffset = 0;
    int64_t clockFrozen = 0;

    // Display, limits, modes
    uint32_t powerLimitWatts = 15000; // tens of watts resolution, at most 99990
    std::array<TariffEnergyLimit, 4> tariffEnergyLimits{};
    uint8_t batteryFlags = 0;

    // PLC configuration
    std::array<uint8_t, 8> plc1Config{0x01, 0x00, 0x05, 0x10, 0x00, 0x00, 0x01, 0x00};
    unsigned plc1AnswerLength = 9; // 9 or 11
    Bytes fastTariffBlock;         // last block of command 0x78

    // Command 0x86 parameters
    uint32_t parameter0 = 123;     // six digits
    uint8_t parameter1 = 0x55;     // 0x55, 0xAA, 0x5A, 0x50
    int32_t parameter2Milli = 985; // signed, -9999..9999 thousandths
    uint32_t parameter2b = 450;    // six digits

    // Energy registers (8 digits each) per tariff, for command 0x27 and 0x85
    std::array<uint32_t, 4> energyActive{1234567, 456789, 0, 0};
    std::array<uint32_t, 4> energyReactive{234567, 56789, 0, 0};
    std::array<std::array<uint32_t, 4>, 12> monthActive{};
    std::array<std::array<uint32_t, 4>, 12> monthReactive{};
    std::array<uint32_t, 4> month15Active{};
    std::array<uint32_t, 4> month15Reactive{};

    // Archives (command 0x37): generated from the registers and the daily consumption; dates
    // listed as damaged answer with a record whose CRC does not match.
    std::array<uint32_t, 4> dailyConsumption{800, 400, 0, 0};
    std::set<int64_t> damagedDays;   // midnight of the day
    std::set<int64_t> damagedMonths; // midnight of the 1st
    std::set<int64_t> damagedSlots;  // start of the half hour
    uint32_t profileBaseWatts = 400;

    // Maxima: voltage, current, power; two entries each
    std::array<std::array<MaximumEntry, 2>, 3> maxima{};

    // Event times (command 0x2B, 0x2C, 0x61, 0x62, 0x6B)
    int64_t lastOffTime = 0;
    int64_t lastOnTime = 0;
    int64_t lastCoverOpenTime = 0;
    int64_t lastCoverCloseTime = 0;
    int64_t lastWriteAccessTime = 0;

    // Journals, newest entry first
    std::vector<JournalEntry> journal1;
    std::vector<JournalEntry> journal2;
    std::vector<DayJournalEntry> journal3;
    std::array<std::vector<JournalEntry>, 8> journal4;
    std::vector<JournalEntry> journal5;

    // Tariff program
    std::array<std::array<DayZones, 8>, 12> zones{}; // [month 0..11][day code 0 Sunday..6, 7 holiday]
    std::array<Zone, 16> holidays{};                 // (BCD day, BCD month), FF FF unused
    uint8_t tariffProfileMode = 0;
    unsigned zoneTableReadZones = 16; // meter variant: 16 (33-byte answer) or 8 (17-byte answer)

    // A realistic meter: clock running, two tariffs (T1 07:00-23:00, T2 at night), journals,
    // maxima and event times filled relative to `now`.
    static MeterState Default(int64_t now);
};

class Meter
{
public:
    Meter();
    explicit Meter(const MeterState& state) : state_(state) {}

    MeterState& State() { return state_; }
    const MeterState& State() const { return state_; }

    int64_t Now() const;
    void SetNow(int64_t time);

    // True when a request to this address is for this meter.
    bool Accepts(uint32_t address) const;

    // Handles one request payload. Nothing back means the meter stays silent (unknown command,
    // wrong argument count, refused value). Writes are answered with the command byte alone.
    std::optional<Bytes> Handle(const Bytes& request);

    // Record of the month (year 2000-based) and day archives and of a profile block (0..5), as
    // answered by command 0x37, without the echoed command byte.
    Bytes ArchiveRecord(int year, int month, int day, bool isMonth) const;
    Bytes ProfileBlock(int year, int month, int day, int block) const;
    // Power of one half-hour slot (watts) as the generator makes it.
    uint32_t SlotPower(int64_t dayStart, int slot) const;

private:
    std::optional<Bytes> HandleArchive(const Bytes& args);
    std::optional<Bytes> HandleWrite(uint8_t command, const Bytes& args);
    std::optional<Bytes> HandleRead(uint8_t command, const Bytes& args);

    MeterState state_;
};

// Tariff zone helpers for the state file: "07:00,T1" <-> wire form.
std::optional<Zone> ParseZone(const std::string& text);
std::string FormatZone(const Zone& zone);
inline Zone EmptyZone()
{
    return Zone{0xFF, 0xFF};
}

} // namespace zentor_sim
