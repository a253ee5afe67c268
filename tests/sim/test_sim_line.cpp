// The RS-485 echo line and the counted fault knobs, checked on the bytes the line engine hands to the
// transport (the modem and gateway modes are driven end to end by tests/e2e).
#include "sim_test_util.h"

#include <gtest/gtest.h>

using namespace simtest;
using zentor_sim::Chunk;
using zentor_sim::LineMode;
using zentor_sim::Reply;
using zentor_sim::Simulator;

namespace
{

Bytes Text(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

const Bytes kSerialRequest = H("00 00 00 01 2F 64 4C");
const Bytes kSerialAnswer = H("00 00 00 01 2F 01 40 70 E1 3B 47");

class SimLine : public ::testing::Test
{
protected:
    SimLine() : sim(TestState()) {}
    Reply Send(const Bytes& bytes) { return sim.Exchange(bytes); }
    Reply Send(const std::string& text) { return sim.Exchange(Text(text)); }
    Simulator sim;
};

} // namespace

TEST_F(SimLine, Rs485EchoPutsTheRequestInFrontOfTheAnswerInOneWrite)
{
    sim.Line().SetMode(LineMode::Echo);
    const Reply reply = Send(kSerialRequest);
    ASSERT_EQ(reply.chunks.size(), 1u);
    EXPECT_EQ(reply.chunks[0].bytes, Cat(kSerialRequest, kSerialAnswer));
    // The line echoes even when the meter keeps quiet.
    sim.GetFaults().silent = 1;
    EXPECT_EQ(Send(kSerialRequest).Joined(), kSerialRequest);
}

TEST_F(SimLine, CountedFaultsActOnTheNextRequestsOnly)
{
    zentor_sim::Faults& faults = sim.GetFaults();
    faults.silent = 2;
    EXPECT_TRUE(Send(kSerialRequest).chunks.empty());
    // Requests for other meters do not use up the count.
    EXPECT_TRUE(Send(Frame(2, H("2F"))).chunks.empty());
    EXPECT_TRUE(Send(kSerialRequest).chunks.empty());
    EXPECT_EQ(Send(kSerialRequest).Joined(), kSerialAnswer);

    faults.badCrc = 1;
    Bytes bad = kSerialAnswer;
    bad.back() ^= 0xFF;
    EXPECT_EQ(Send(kSerialRequest).Joined(), bad);
    EXPECT_EQ(Send(kSerialRequest).Joined(), kSerialAnswer);

    faults.wrongAddress = 1;
    EXPECT_EQ(Send(kSerialRequest).Joined(), Frame(2, H("2F 01 40 70 E1")));
    EXPECT_EQ(Send(kSerialRequest).Joined(), kSerialAnswer);

    faults.garbage = 1;
    faults.garbageBytes = H("00 FF 13");
    EXPECT_EQ(Send(kSerialRequest).Joined(), Cat(H("00 FF 13"), kSerialAnswer));
    EXPECT_EQ(Send(kSerialRequest).Joined(), kSerialAnswer);

    faults.drop = 1;
    const Reply dropped = Send(kSerialRequest);
    EXPECT_TRUE(dropped.drop);
    EXPECT_TRUE(dropped.chunks.empty());
    EXPECT_FALSE(Send(kSerialRequest).drop);

    faults.silent = zentor_sim::kAlways;
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(Send(kSerialRequest).chunks.empty());
}

TEST_F(SimLine, FindsTheRequestBehindNoiseAndAcrossPieces)
{
    EXPECT_TRUE(Send(H("13 37")).chunks.empty());
    EXPECT_TRUE(Send(Bytes(kSerialRequest.begin(), kSerialRequest.begin() + 3)).chunks.empty());
    EXPECT_EQ(Send(Bytes(kSerialRequest.begin() + 3, kSerialRequest.end())).Joined(), kSerialAnswer);
}
