#include "zentor_sim/codec.h"

namespace zentor_sim
{

uint16_t Crc16Modbus(const uint8_t* data, size_t size)
{
    uint16_t crc = 0xFFFF;
    for (size_t i = 0; i < size; ++i)
    {
        crc ^= data[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) ? static_cast<uint16_t>((crc >> 1) ^ 0xA001) : static_cast<uint16_t>(crc >> 1);
    }
    return crc;
}

uint32_t Crc24(const uint8_t* data, size_t size)
{
    uint32_t crc = 0xB704CE;
    for (size_t i = 0; i < size; ++i)
    {
        crc ^= static_cast<uint32_t>(data[i]) << 16;
        for (int bit = 0; bit < 8; ++bit)
        {
            crc <<= 1;
            if (crc & 0x1000000)
                crc ^= 0x864CFB;
        }
    }
    return crc & 0xFFFFFF;
}

void AppendCrc16(Bytes& frame)
{
    const uint16_t crc = Crc16Modbus(frame);
    frame.push_back(static_cast<uint8_t>(crc & 0xFF));
    frame.push_back(static_cast<uint8_t>(crc >> 8));
}

bool Crc16Matches(const uint8_t* data, size_t size)
{
    if (size < 3)
        return false;
    const uint16_t crc = Crc16Modbus(data, size - 2);
    return data[size - 2] == (crc & 0xFF) && data[size - 1] == (crc >> 8);
}

std::optional<unsigned> FromBcd(uint8_t value)
{
    if ((value >> 4) > 9 || (value & 0x0F) > 9)
        return std::nullopt;
    return (value >> 4) * 10u + (value & 0x0Fu);
}

void AppendBcd(Bytes& out, uint64_t value, unsigned count)
{
    Bytes digits(count);
    for (unsigned i = count; i-- > 0;)
    {
        digits[i] = ToBcd(static_cast<unsigned>(value % 100));
        value /= 100;
    }
    out.insert(out.end(), digits.begin(), digits.end());
}

Bytes BuildFrame(uint32_t address, const Bytes& payload)
{
    Bytes frame{static_cast<uint8_t>(address >> 24), static_cast<uint8_t>(address >> 16),
                static_cast<uint8_t>(address >> 8), static_cast<uint8_t>(address)};
    frame.insert(frame.end(), payload.begin(), payload.end());
    AppendCrc16(frame);
    return frame;
}

uint8_t GatewayChecksum(const uint8_t* data, size_t size)
{
    unsigned sum = 0;
    for (size_t i = 0; i < size; ++i)
        sum += data[i];
    return static_cast<uint8_t>((sum & 0xFF) - 1);
}

Bytes BuildGatewayPacket(uint16_t number, uint8_t port, const Bytes& data)
{
    Bytes packet(8);
    packet[3] = static_cast<uint8_t>(number & 0xFF);
    packet[4] = static_cast<uint8_t>(number >> 8);
    packet[5] = static_cast<uint8_t>(data.size() & 0xFF);
    packet[6] = static_cast<uint8_t>(data.size() >> 8);
    packet[7] = port;
    const uint32_t crc = Crc24(packet.data() + 3, 5);
    packet[0] = static_cast<uint8_t>(crc & 0xFF);
    packet[1] = static_cast<uint8_t>((crc >> 8) & 0xFF);
    packet[2] = static_cast<uint8_t>((crc >> 16) & 0xFF);
    packet.insert(packet.end(), data.begin(), data.end());
    packet.push_back(GatewayChecksum(data.data(), data.size()));
    return packet;
}

std::optional<GatewayPacket> ParseGatewayPacket(const uint8_t* data, size_t size)
{
    if (size < 9)
        return std::nullopt;
    const uint32_t crc = Crc24(data + 3, 5);
    if (data[0] != (crc & 0xFF) || data[1] != ((crc >> 8) & 0xFF) || data[2] != ((crc >> 16) & 0xFF))
        return std::nullopt;
    const size_t length = data[5] | (static_cast<size_t>(data[6]) << 8);
    if (length + 9 != size)
        return std::nullopt;
    if (GatewayChecksum(data + 8, length) != data[8 + length])
        return std::nullopt;
    GatewayPacket packet;
    packet.number = static_cast<uint16_t>(data[3] | (data[4] << 8));
    packet.port = data[7];
    packet.data.assign(data + 8, data + 8 + length);
    return packet;
}

std::string Hex(const uint8_t* data, size_t size)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(size * 3);
    for (size_t i = 0; i < size; ++i)
    {
        if (i != 0)
            text.push_back(' ');
        text.push_back(digits[data[i] >> 4]);
        text.push_back(digits[data[i] & 0x0F]);
    }
    return text;
}

std::optional<Bytes> ParseHex(std::string_view text)
{
    Bytes out;
    int high = -1;
    for (char c : text)
    {
        int nibble;
        if (c >= '0' && c <= '9')
            nibble = c - '0';
        else if (c >= 'a' && c <= 'f')
            nibble = c - 'a' + 10;
        else if (c >= 'A' && c <= 'F')
            nibble = c - 'A' + 10;
        else if (c == ' ' || c == ':' || c == '-')
        {
            if (high >= 0)
                return std::nullopt;
            continue;
        }
        else
            return std::nullopt;
        if (high < 0)
            high = nibble;
        else
        {
            out.push_back(static_cast<uint8_t>(high << 4 | nibble));
            high = -1;
        }
    }
    if (high >= 0)
        return std::nullopt;
    return out;
}

} // namespace zentor_sim
