#include "zentor_sim/settings.h"

#include <string_view>

namespace zentor_sim
{

namespace
{

// The columns are explained in settings.h. Rows sharing a read command answer one after the other
// in table order (0x63: voltage, current, power). A command listed here has no case of its own in
// meter.cpp; such a case would be served first and hide the row.
// clang-format off
constexpr Setting kSettings[] = {
    {.key = "address", .write = 0x00, .size = 4, .place = &SettingValues::address},
    {.key = "group_address", .read = 0x20, .write = 0x01, .size = 4, .place = &SettingValues::groupAddress},
    {.key = "serial_number", .read = 0x2F, .size = 4, .place = &SettingValues::serialNumber},
    {.key = "design_variant", .read = 0x65, .size = 2, .initial = 0x0101}, // relay present, power option
    {.key = "summer_time_flag", .read = 0x24, .write = 0x05, .initial = 1},
    {.key = "time_correction", .read = 0x25, .write = 0x06, .high = 31},
    {.key = "time_correction3", .read = 0x64, .size = 3},
    {.key = "display_mode", .read = 0x2A, .write = 0x09, .initial = 0xE3},
    {.key = "additional_display_mode", .read = 0x6A, .write = 0x70, .form = Form::Raw, .size = 2,
     .place = &SettingValues::additionalDisplayMode},
    {.key = "display_delay", .read = 0x67, .write = 0x0D, .form = Form::RawList, .size = 4, .initial = 0x05050505},
    {.key = "energy_limit", .read = 0x23, .write = 0x04, .form = Form::Bcd, .size = 2},
    {.key = "power_limit_mode", .read = 0x68, .write = 0x0F, .form = Form::Raw, .size = 2,
     .place = &SettingValues::powerLimitMode},
    {.key = "relay_control_mode", .read = 0x6D, .write = 0x71, .initial = 0x55},
    {.key = "dry_output_mode", .read = 0x2D, .write = 0x07},
    {.key = "timeout_multiplier", .read = 0x82, .write = 0x75, .initial = 1},
    {.key = "baud_code", .write = 0x08, .high = 4}, // stored only: the line speed stays
    {.key = "lcd_under_battery", .read = 0x6F, .write = 0x73, .initial = 1},
    {.key = "plc2_interface_enable", .read = 0x80, .write = 0x74},
    {.key = "battery_centivolts", .read = 0x29, .form = Form::Bcd, .size = 2, .initial = 361},
    {.key = "running_hours", .read = 0x69, .form = Form::Bcd, .size = 3, .initial = 12345},
    {.key = "battery_hours", .read = 0x69, .form = Form::Bcd, .size = 3, .place = &SettingValues::batteryHours},
    {.key = "modem_address", .read = 0x6C, .size = 2, .initial = 0x0001},
    {.key = "modem_level", .read = 0x6C, .initial = 0x20},
    {.key = "network.voltage_dV", .read = 0x63, .form = Form::Bcd, .size = 2, .initial = 2301},
    {.key = "network.current_cA", .read = 0x63, .form = Form::Bcd, .size = 2, .initial = 523},
    {.key = "network.power_W", .read = 0x63, .form = Form::Bcd, .size = 3, .initial = 1180},
    {.key = "network.payload_power_ckW", .read = 0x26, .form = Form::Bcd, .size = 2, .initial = 118},
    {.key = "network.frequency_cHz", .read = 0x81, .form = Form::Bcd, .size = 2, .initial = 5001},
    {.key = "network.extended_tail", .read = 0x81, .form = Form::Raw, .size = 8},
    {.key = "tariff.count", .read = 0x2E, .write = 0x0A, .initial = 2, .low = 1, .high = 4},
    {.key = "tariff.active", .read = 0x60, .write = 0x0B, .initial = 1, .low = 1, .high = 4},
};
// clang-format on

// A row the drivers cannot serve fails the build: a state-file key or a write command taken twice,
// more than 8 wire bytes (a slot's 64 bits), a number of more than 4 bytes (the state file holds
// 32 bits), a member that does not fit the row.
constexpr bool Servable(std::span<const Setting> rows)
{
    for (size_t i = 0; i < rows.size(); ++i)
    {
        const Setting& row = rows[i];
        const bool number = row.form == Form::Binary || row.form == Form::Bcd;
        if (row.size < 1 || row.size > 8 || (number && row.size > 4))
            return false;
        if (std::holds_alternative<uint32_t SettingValues::*>(row.place) && !number)
            return false;
        if (std::holds_alternative<std::array<uint8_t, 2> SettingValues::*>(row.place) &&
            (row.form != Form::Raw || row.size != 2))
            return false;
        for (size_t j = i + 1; j < rows.size(); ++j)
            if (std::string_view(row.key) == rows[j].key ||
                (row.write != kNoCommand && row.write == rows[j].write))
                return false;
    }
    return true;
}
static_assert(Servable(kSettings), "a row of the settings table the drivers cannot serve");

size_t Row(const Setting& row)
{
    return static_cast<size_t>(&row - kSettings);
}

} // namespace

std::span<const Setting> SettingTable()
{
    return kSettings;
}

std::vector<uint64_t> DefaultSlots()
{
    std::vector<uint64_t> values;
    for (const Setting& row : kSettings)
        values.push_back(row.initial);
    return values;
}

uint64_t GetSetting(const SettingValues& values, const Setting& row)
{
    if (const auto member = std::get_if<uint32_t SettingValues::*>(&row.place))
        return values.*(*member);
    if (const auto member = std::get_if<std::array<uint8_t, 2> SettingValues::*>(&row.place))
        return static_cast<uint64_t>((values.*(*member))[0]) << 8 | (values.*(*member))[1];
    return values.slots[Row(row)];
}

void SetSetting(SettingValues& values, const Setting& row, uint64_t value)
{
    if (const auto member = std::get_if<uint32_t SettingValues::*>(&row.place))
        values.*(*member) = static_cast<uint32_t>(value);
    else if (const auto member = std::get_if<std::array<uint8_t, 2> SettingValues::*>(&row.place))
        values.*(*member) = {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
    else
        values.slots[Row(row)] = value;
}

Bytes WireBytes(const Setting& row, uint64_t value)
{
    Bytes out;
    if (row.form == Form::Bcd)
        AppendBcd(out, value, row.size);
    else
        for (unsigned i = row.size; i-- > 0;)
            out.push_back(static_cast<uint8_t>(value >> (8 * i)));
    return out;
}

std::optional<uint64_t> WireValue(const Setting& row, const Bytes& bytes)
{
    uint64_t value = 0;
    for (uint8_t byte : bytes)
    {
        if (row.form != Form::Bcd)
            value = value << 8 | byte;
        else if (const auto digits = FromBcd(byte))
            value = value * 100 + *digits;
        else
            return std::nullopt;
    }
    return value;
}

uint64_t StateFileLimit(const Setting& row)
{
    const unsigned size = row.form == Form::RawList ? 1 : row.size;
    return size == 1 ? UINT8_MAX : size == 2 ? UINT16_MAX : UINT32_MAX;
}

std::optional<Bytes> ReadSetting(const SettingValues& values, uint8_t command, const Bytes& args)
{
    Bytes out{command};
    for (const Setting& row : kSettings)
        if (row.read == command)
        {
            const Bytes data = WireBytes(row, GetSetting(values, row));
            out.insert(out.end(), data.begin(), data.end());
        }
    if (out.size() == 1 || !args.empty())
        return std::nullopt;
    return out;
}

bool WriteSetting(SettingValues& values, uint8_t command, const Bytes& args)
{
    for (const Setting& row : kSettings)
        if (row.write == command)
        {
            const auto value = args.size() == row.size ? WireValue(row, args) : std::nullopt;
            if (!value || *value < row.low || *value > row.high)
                return false;
            SetSetting(values, row, *value);
            return true;
        }
    return false;
}

} // namespace zentor_sim
