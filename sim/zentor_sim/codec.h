// Byte-level helpers of the simulated meter: CRC-16/MODBUS of the meter frames, CRC-24 of the
// GSM gateway packets, packed BCD, hex text. Written for the meter's side only; nothing here is
// shared with the host library's decoding.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zentor_sim
{

using Bytes = std::vector<uint8_t>;

// Standard CRC-16/MODBUS value (0x4B37 for "123456789"); on the wire the low byte goes first.
uint16_t Crc16Modbus(const uint8_t* data, size_t size);
inline uint16_t Crc16Modbus(const Bytes& data)
{
    return Crc16Modbus(data.data(), data.size());
}

// OpenPGP CRC-24 (0x21CF02 for "123456789", 0xB704CE for no bytes).
uint32_t Crc24(const uint8_t* data, size_t size);

// Appends the two CRC bytes of everything in the buffer (low byte first).
void AppendCrc16(Bytes& frame);
// True when the last two bytes are the CRC of the bytes before them.
bool Crc16Matches(const uint8_t* data, size_t size);

// Packed BCD of 0..99; values over 99 are taken modulo 100.
inline uint8_t ToBcd(unsigned value)
{
    return static_cast<uint8_t>(((value / 10) % 10) << 4 | (value % 10));
}
// Strict decoding: both nibbles must be 0..9.
std::optional<unsigned> FromBcd(uint8_t value);
// Writes value as `count` BCD bytes, most significant digits first.
void AppendBcd(Bytes& out, uint64_t value, unsigned count);

// Meter frame: 4 address bytes (most significant first), command, data, CRC.
Bytes BuildFrame(uint32_t address, const Bytes& payload);

// Gateway packet: CRC-24 of bytes 3..7 (low byte first), packet number, length, port byte (all
// little-endian), data, data checksum ((sum of data bytes) - 1, 8 bits).
Bytes BuildGatewayPacket(uint16_t number, uint8_t port, const Bytes& data);
uint8_t GatewayChecksum(const uint8_t* data, size_t size);

struct GatewayPacket
{
    uint16_t number = 0;
    uint8_t port = 0;
    Bytes data;
};
// Parses a whole packet (header CRC and length must agree with the size; the data checksum is
// checked too). Returns nothing for anything else.
std::optional<GatewayPacket> ParseGatewayPacket(const uint8_t* data, size_t size);

// "00 1A FF" form.
std::string Hex(const uint8_t* data, size_t size);
inline std::string Hex(const Bytes& data)
{
    return Hex(data.data(), data.size());
}
// Accepts hex digits with optional spaces; nothing on a malformed text.
std::optional<Bytes> ParseHex(std::string_view text);

} // namespace zentor_sim
