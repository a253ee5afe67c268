// Helpers of the simulator tests: request frames are built here by hand, with a CRC-16/MODBUS of
// the test's own, so that the simulator's codec is checked rather than reused.
#pragma once

#include "zentor_sim/calendar.h"
#include "zentor_sim/simulator.h"

#include <cstdint>
#include <string>
#include <vector>

namespace simtest
{

using zentor_sim::Bytes;

inline uint16_t TestCrc(const Bytes& data)
{
    uint16_t crc = 0xFFFF;
    for (uint8_t byte : data)
    {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) ? static_cast<uint16_t>((crc >> 1) ^ 0xA001) : static_cast<uint16_t>(crc >> 1);
    }
    return crc;
}

// "2F 01 40" -> bytes.
inline Bytes H(const std::string& text)
{
    Bytes out;
    std::string digits;
    for (char c : text)
        if (c != ' ')
            digits.push_back(c);
    for (size_t i = 0; i + 1 < digits.size(); i += 2)
        out.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return out;
}

inline Bytes Cat(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// Address (most significant byte first), payload, CRC low byte then high byte.
inline Bytes Frame(uint32_t address, const Bytes& payload)
{
    Bytes frame;
    frame.reserve(payload.size() + 6);
    for (int shift = 24; shift >= 0; shift -= 8)
        frame.push_back(static_cast<uint8_t>(address >> shift));
    frame.insert(frame.end(), payload.begin(), payload.end());
    const uint16_t crc = TestCrc(frame);
    frame.push_back(static_cast<uint8_t>(crc & 0xFF));
    frame.push_back(static_cast<uint8_t>(crc >> 8));
    return frame;
}

// The meter of the tests: the default meter with its clock stopped at Friday 2024-05-17 12:34:56.
inline int64_t TestNow()
{
    return zentor_sim::ToSeconds(zentor_sim::Civil{2024, 5, 17, 12, 34, 56});
}

inline zentor_sim::MeterState TestState()
{
    zentor_sim::MeterState state = zentor_sim::MeterState::Default(TestNow());
    state.clockRunning = false;
    state.clockFrozen = TestNow();
    return state;
}

// Sends a request built from the payload to address 1 and returns every byte that comes back.
inline Bytes Ask(zentor_sim::Simulator& sim, const Bytes& payload, uint32_t address = 1)
{
    return sim.Exchange(Frame(address, payload)).Joined();
}

} // namespace simtest
