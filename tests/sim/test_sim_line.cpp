// Line modes (RS-485 echo, GSM modem dialogue, GSM gateway packets) and every fault knob, checked
// on the bytes and pauses the line engine hands to the transport.
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

TEST_F(SimLine, ModemDialogueByteForByte)
{
    sim.Line().SetMode(LineMode::Modem);
    sim.Line().Modem().dialProgress = {"RING", "DIALING"};
    sim.Line().Modem().dialStepMs = 25;

    // Echo on by default: the command comes back, then the verbose result.
    Reply reply = Send("ATZ\r");
    ASSERT_EQ(reply.chunks.size(), 1u);
    EXPECT_EQ(reply.chunks[0].bytes, Text("ATZ\r\r\nOK\r\n"));
    // ATE0 is still echoed (echo was on while it came in); AT&W stores echo off.
    EXPECT_EQ(Send("ATE0\r").Joined(), Text("ATE0\r\r\nOK\r\n"));
    EXPECT_EQ(Send("AT&W\r").Joined(), Text("\r\nOK\r\n"));
    EXPECT_EQ(Send("AT+CBST=71,0,1\r").Joined(), Text("\r\nOK\r\n"));
    EXPECT_EQ(sim.Line().Modem().cbst, "71,0,1");
    EXPECT_EQ(Send("AT&D2\r").Joined(), Text("\r\nOK\r\n"));
    EXPECT_EQ(Send("ATS7=60\r").Joined(), Text("\r\nOK\r\n"));
    EXPECT_EQ(Send("ATX9\r").Joined(), Text("\r\nERROR\r\n"));
    // Meter frames are not for the modem in command mode.
    EXPECT_TRUE(Send(kSerialRequest).chunks.empty());

    // A command may come in pieces.
    EXPECT_TRUE(Send("ATD0123").chunks.empty());
    reply = Send("456789\r");
    ASSERT_EQ(reply.chunks.size(), 3u);
    EXPECT_EQ(reply.chunks[0].bytes, Text("\r\nRING\r\n"));
    EXPECT_EQ(reply.chunks[1].bytes, Text("\r\nDIALING\r\n"));
    EXPECT_EQ(reply.chunks[2].bytes, Text("\r\nCONNECT 9600\r\n"));
    for (const Chunk& chunk : reply.chunks)
        EXPECT_EQ(chunk.delayMs, 25u);
    EXPECT_EQ(sim.Line().Modem().dialledNumber, "0123456789");
    EXPECT_TRUE(sim.Line().ModemConnected());

    // Data mode: the modem echoes the request in front of the meter's answer.
    EXPECT_EQ(Send(kSerialRequest).Joined(), Cat(kSerialRequest, kSerialAnswer));
    sim.Line().Modem().dataEcho = false;
    EXPECT_EQ(Send(kSerialRequest).Joined(), kSerialAnswer);

    // "+++" back to command mode, ATH hangs up.
    EXPECT_EQ(Send("+++").Joined(), Text("\r\nOK\r\n"));
    EXPECT_FALSE(sim.Line().ModemConnected());
    EXPECT_EQ(Send("ATH\r").Joined(), Text("\r\nOK\r\n"));

    // ATZ restores the stored profile (echo off) after ATE1.
    EXPECT_EQ(Send("ATE1\r").Joined(), Text("\r\nOK\r\n"));
    EXPECT_EQ(Send("AT\r").Joined(), Text("AT\r\r\nOK\r\n"));
    EXPECT_EQ(Send("ATZ\r").Joined(), Text("ATZ\r\r\nOK\r\n"));
    EXPECT_EQ(Send("AT\r").Joined(), Text("\r\nOK\r\n"));
}

TEST_F(SimLine, GatewayRawFirstDialogueParameterPacketAndDataPackets)
{
    sim.Line().SetMode(LineMode::Gateway);
    // The first exchange after the host switched to the gateway goes raw.
    EXPECT_EQ(Send(kSerialRequest).Joined(), kSerialAnswer);
    // Parameter packet (port 0): 9600 baud, 8 data bits, time-out 500; answered with 0x81 first.
    EXPECT_EQ(Send(H("E1 D4 97 05 00 04 00 00 01 16 25 00 3B")).Joined(),
              H("E1 D4 97 05 00 04 00 00 81 16 25 00 BB"));
    EXPECT_EQ(sim.Line().Gateway().lastParameters, H("01 16 25 00"));
    // Data packet 6 on port 1 carrying the serial number request; the answer packet keeps the
    // packet number and the port.
    const Bytes request = H("F7 81 FE 06 00 07 00 01 00 00 00 01 2F 64 4C DF");
    const Bytes answer = H("FF DB F3 06 00 0B 00 01 00 00 00 01 2F 01 40 70 E1 3B 47 43");
    EXPECT_EQ(Send(request).Joined(), answer);
    // A packet in two pieces.
    EXPECT_TRUE(Send(Bytes(request.begin(), request.begin() + 5)).chunks.empty());
    EXPECT_EQ(Send(Bytes(request.begin() + 5, request.end())).Joined(), answer);
    // Garbage goes in front of the packet; a silent meter sends no packet at all.
    sim.GetFaults().garbage = 1;
    EXPECT_EQ(Send(request).Joined(), Cat(H("55 AA 00"), answer));
    sim.GetFaults().silent = 1;
    EXPECT_TRUE(Send(request).chunks.empty());
    // A damaged header is no packet.
    Bytes damaged = request;
    damaged[0] ^= 0x01;
    EXPECT_TRUE(Send(damaged).chunks.empty());
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
