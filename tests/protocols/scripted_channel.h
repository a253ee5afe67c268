// A scripted meter behind a serial channel: writes are recorded, the answer to the n-th write comes in
// delayed chunks or not at all, statuses can be forced. Frames use the data buffer's own CRC routine.
#pragma once

#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"
#include "shared/kel_memory.h"
#include "shared/kel_serialchannel.h"
#include "shared/trace_capture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <deque>
#include <string>
#include <thread>
#include <vector>

using Bytes = std::vector<uint8_t>;

inline Bytes Hex(const char* pText)
{
    Bytes bytes;
    for (unsigned value = 0, used = 0; sscanf(pText, "%2x%n", &value, &used) == 1; pText += used)
        bytes.push_back(static_cast<uint8_t>(value));
    return bytes;
}

inline std::string Hex(const void* pData, size_t aSize)
{
    std::string text;
    char byte[4];
    for (size_t i = 0; i < aSize; ++i)
        text +=
            (snprintf(byte, sizeof(byte), i == 0 ? "%02X" : " %02X", static_cast<const uint8_t*>(pData)[i]),
             byte);
    return text;
}

// address (big-endian), payload, CRC-16/MODBUS low byte then high byte.
inline Bytes MakeFrame(uint32_t aAddress, const Bytes& aPayload)
{
    Bytes frame{uint8_t(aAddress >> 24), uint8_t(aAddress >> 16), uint8_t(aAddress >> 8), uint8_t(aAddress)};
    frame.insert(frame.end(), aPayload.begin(), aPayload.end());
    uint16_t crc = 0;
    Kel_Memory_CrcModbusCalc(frame.data(), static_cast<int32_t>(frame.size()), &crc);
    frame.push_back(static_cast<uint8_t>(crc));
    frame.push_back(static_cast<uint8_t>(crc >> 8));
    return frame;
}

struct Chunk
{
    Bytes bytes;
    uint32_t delayMs = 0; // after the write, or after the previous chunk
};

struct ScriptedMeter
{
    std::vector<Bytes> writes;              // every frame written, in order
    std::deque<std::vector<Chunk>> answers; // one entry per expected write; empty = silent
    std::vector<Chunk> pending;             // the answer to the last write
    std::chrono::steady_clock::time_point lastEvent{};
    uint32_t clears = 0;
    Kel_StatusCode readStatus = Kel_Good;  // forced result of every read
    Kel_StatusCode writeStatus = Kel_Good; // forced result of every write
    Kel_SerialChannel_Context channel{};

    ScriptedMeter()
    {
        channel.pContext = this;
        channel.pWrite = &Write;
        channel.pRead = &Read;
        channel.pClearBuffer = [](void* pContext, uint32_t)
        {
            ++static_cast<ScriptedMeter*>(pContext)->clears;
            return Kel_Good;
        };
    }

    void Answer(const Bytes& aFrame) { answers.push_back({Chunk{aFrame, 0}}); }
    void Silent() { answers.push_back({}); }

    static Kel_StatusCode Write(void* pContext, const uint8_t* pBuffer, uint32_t aSize, uint32_t,
                                uint32_t* pWritten)
    {
        ScriptedMeter& meter = *static_cast<ScriptedMeter*>(pContext);
        if (Kel_IsBad(meter.writeStatus))
            return meter.writeStatus;
        meter.writes.emplace_back(pBuffer, pBuffer + aSize);
        meter.pending.clear();
        if (!meter.answers.empty())
            meter.pending = std::move(meter.answers.front()), meter.answers.pop_front();
        meter.lastEvent = std::chrono::steady_clock::now();
        *pWritten = aSize;
        return Kel_Good;
    }

    static Kel_StatusCode Read(void* pContext, uint8_t* pBuffer, uint32_t aSize, uint32_t aTimeout,
                               uint32_t* pReceived)
    {
        ScriptedMeter& meter = *static_cast<ScriptedMeter*>(pContext);
        *pReceived = 0;
        if (meter.readStatus != Kel_Good)
            return meter.readStatus;
        const auto now = std::chrono::steady_clock::now();
        if (!meter.pending.empty() &&
            now >= meter.lastEvent + std::chrono::milliseconds(meter.pending.front().delayMs))
        {
            Chunk& chunk = meter.pending.front();
            const uint32_t count = std::min<uint32_t>(aSize, static_cast<uint32_t>(chunk.bytes.size()));
            std::copy(chunk.bytes.begin(), chunk.bytes.begin() + count, pBuffer);
            chunk.bytes.erase(chunk.bytes.begin(), chunk.bytes.begin() + count);
            if (chunk.bytes.empty())
            {
                meter.pending.erase(meter.pending.begin());
                meter.lastEvent = now;
            }
            *pReceived = count;
            return Kel_Good;
        }
        // Nothing due: wait as a port would, a little.
        std::this_thread::sleep_for(std::chrono::milliseconds(std::min<uint32_t>(aTimeout, 2)));
        return Kel_Good;
    }
};

constexpr uint32_t kClientAddress = 0x00BC614E;

struct ClientTest : ::testing::Test
{
    ScriptedMeter meter;
    Kel_Zentor1Phase_ClientContext client{};

    void SetUp() override { Reset(); }
    void Reset()
    {
        meter.writes.clear();
        meter.answers.clear();
        meter.readStatus = Kel_Good;
        meter.writeStatus = Kel_Good;
        ASSERT_EQ(Kel_Zentor1Phase_Client_CreateContext(&client, &meter.channel, kClientAddress, 100, 2, 20,
                                                        9600, 0, 8, 1, 0),
                  Kel_Good);
    }
    // The meter answers the next request with this payload (echoed command code first).
    void Answer(const Bytes& aPayload) { meter.Answer(MakeFrame(kClientAddress, aPayload)); }
    Bytes Request(size_t aIndex) const
    {
        return aIndex < meter.writes.size() ? meter.writes[aIndex] : Bytes{};
    }
    static Bytes Frame(const Bytes& aPayload) { return MakeFrame(kClientAddress, aPayload); }
};
