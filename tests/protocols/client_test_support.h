// A client over a scripted meter, for the client command tests.
#pragma once

#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"

#include "scripted_channel.h"

#include <gtest/gtest.h>

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

// Bytes of a text (for Windows-1251 comparisons).
inline Bytes TextBytes(const char* pText)
{
    Bytes bytes;
    for (const char* p = pText; *p != 0; ++p)
        bytes.push_back(static_cast<uint8_t>(*p));
    return bytes;
}
