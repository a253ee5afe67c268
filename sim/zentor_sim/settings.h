// The meter's simple settings as one table (settings.cpp): each row is a value the meter keeps as
// it is, the command that reads it, the command that writes it, how it travels, its key in the
// state file and its default. The read answer, the write, the state and the state-file key of such
// a setting all come from its row, so a new one is a row and nothing else. Commands with logic of
// their own (clock, journals, archives, tariff tables, energies, maxima) stay written out in
// meter.cpp and state_json.cpp.
#pragma once

#include "zentor_sim/codec.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <variant>
#include <vector>

namespace zentor_sim
{

struct SettingValues;

// How a value travels and how the state file gives it.
enum class Form
{
    Binary,  // big-endian integer of `size` bytes (one byte: the byte itself); a number in the file
    Bcd,     // `size` BCD bytes, most significant digits first; a number in the file
    Raw,     // `size` bytes as they travel; hex text ("07 0A") in the file
    RawList, // `size` bytes as they travel; a list of `size` numbers in the file
};

// Where the value lives: its own slot (the default), or a member of SettingValues named by the row.
using Place =
    std::variant<std::monostate, uint32_t SettingValues::*, std::array<uint8_t, 2> SettingValues::*>;

inline constexpr int kNoCommand = -1;

struct Setting
{
    const char* key;        // state-file key; "group.key" for a key inside the object "group"
    int read = kNoCommand;  // answers the value (no argument bytes); rows sharing a read command
                            // answer one after the other in table order
    int write = kNoCommand; // takes exactly `size` argument bytes, acknowledged by the command byte
    Form form = Form::Binary;
    unsigned size = 1;    // bytes on the wire
    uint64_t initial = 0; // the default meter's value (a member keeps its own default)
    uint64_t low = 0;     // writes of a value outside low..high are refused
    uint64_t high = UINT64_MAX;
    Place place = {};
};

std::span<const Setting> SettingTable();
// One slot per row, each holding the row's default.
std::vector<uint64_t> DefaultSlots();

// The values of the rows: each in its slot (index = row), but for the few that other code reads by
// name, which are members here (MeterState derives from this).
struct SettingValues
{
    uint32_t address = 1;
    uint32_t groupAddress = 0;
    uint32_t serialNumber = 21000417;
    std::array<uint8_t, 2> additionalDisplayMode{0x07, 0x0A};
    std::array<uint8_t, 2> powerLimitMode{0x01, 0x0A};
    uint32_t batteryHours = 12001;
    std::vector<uint64_t> slots = DefaultSlots();
};

// A raw value is its bytes as a big-endian number.
uint64_t GetSetting(const SettingValues& values, const Setting& row);
void SetSetting(SettingValues& values, const Setting& row, uint64_t value);
// The largest value the state file accepts: all ones in the smallest of 8, 16 and 32 bits that
// holds the wire bytes (a raw list: per byte).
uint64_t StateFileLimit(const Setting& row);
// The value as it travels, and back (nothing when a byte of a BCD value is not BCD).
Bytes WireBytes(const Setting& row, uint64_t value);
std::optional<uint64_t> WireValue(const Setting& row, const Bytes& bytes);

// The answer of a read command of the table (command byte and the rows' data); nothing when no row
// has that read command or argument bytes came with it.
std::optional<Bytes> ReadSetting(const SettingValues& values, uint8_t command, const Bytes& args);
// True when a row has that write command and takes the argument bytes (the value is then stored).
bool WriteSetting(SettingValues& values, uint8_t command, const Bytes& args);

} // namespace zentor_sim
