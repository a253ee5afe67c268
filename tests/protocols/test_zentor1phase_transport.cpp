// Transport frames over a scripted meter: request bytes, answer recognition, time-out results.
#include "protocols/orlenta/1phase/kel_zentor1phase_transport.h"

#include "scripted_channel.h"

#include <gtest/gtest.h>

#include <chrono>

namespace
{
constexpr uint32_t kAddress = 0x00000001;

struct TransportTest : ::testing::Test
{
    ScriptedMeter meter;
    Kel_Zentor1Phase_TransportContext transport{};
    uint8_t answer[128]{};
    uint32_t answerSize = 0;

    void SetUp() override
    {
        ASSERT_EQ(Kel_Zentor1Phase_Transport_CreateContext(&transport, &meter.channel, kAddress, 100, 5, 60),
                  Kel_Good);
    }
    Kel_StatusCode Receive()
    {
        return Kel_Zentor1Phase_Transport_ReceiveFrame(&transport, answer, sizeof(answer), 0, &answerSize);
    }
    Kel_StatusCode Send(const Bytes& aPayload)
    {
        return Kel_Zentor1Phase_Transport_TransmitFrame(&transport, aPayload.data(),
                                                        static_cast<uint32_t>(aPayload.size()));
    }
};
} // namespace

TEST(Zentor1PhaseTransportCrc, PublishedCheckValueWithSwappedBytes)
{
    const uint8_t digits[] = {'x', '1', '2', '3', '4', '5', '6', '7', '8', '9'};
    // The standard check value 0x4B37 goes out as 0x37, 0x4B: the result's high byte first.
    EXPECT_EQ(Kel_Zentor1Phase_Transport_CalcCRC(digits, 1, 9) & 0xFFFFu, 0x374Bu);
    EXPECT_EQ(Kel_Zentor1Phase_Transport_CalcCRC(digits, 0, 0), 0xFFFFFFFFu);
}

TEST_F(TransportTest, RequestFrameIsAddressPayloadCrcAfterClearingInput)
{
    const uint8_t payload[] = {0x2F};
    EXPECT_EQ(Kel_Zentor1Phase_Transport_TransmitFrame(&transport, payload, 1), Kel_Good);
    ASSERT_EQ(meter.writes.size(), 1u);
    EXPECT_EQ(meter.writes[0], (Bytes{0x00, 0x00, 0x00, 0x01, 0x2F, 0x64, 0x4C}));
    EXPECT_EQ(meter.clears, 1u);

    // Another address, a longer payload: compared with the independently built frame.
    ASSERT_EQ(Kel_Zentor1Phase_Transport_CreateContext(&transport, &meter.channel, 0x12345678u, 100, 5, 60),
              Kel_Good);
    const Bytes longest(60, 0xA5);
    EXPECT_EQ(Send(longest), Kel_Good);
    ASSERT_EQ(meter.writes.size(), 2u);
    EXPECT_EQ(meter.writes[1], MakeFrame(0x12345678u, longest));
    EXPECT_EQ(meter.writes[1].size(), 66u);
}

TEST_F(TransportTest, RefusedRequestsWriteNothing)
{
    TraceCapture trace;
    EXPECT_EQ(Send(Bytes(61, 0x01)), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_Zentor1Phase_Transport_TransmitFrame(&transport, nullptr, 1), Kel_BadInvalidArgument);
    const uint8_t payload[] = {0x2F};
    EXPECT_EQ(Kel_Zentor1Phase_Transport_TransmitFrame(&transport, payload, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Transport_TransmitFrame(nullptr, payload, 1), Kel_BadInvalidArgument);
    const std::string text = trace.Stop();
    EXPECT_TRUE(meter.writes.empty());
    EXPECT_EQ(meter.clears, 0u);
    EXPECT_NE(text.find("--- GotoError: Bad statuscode 0x803C0000\n, File=protocols/orlenta/1phase/"
                        "kel_zentor1phase_transport, Line="),
              std::string::npos);
    EXPECT_NE(text.find("<-- \"Kel_Zentor1Phase_Transport_TransmitFrame\" = 0x803C0000 (BAD).\n"),
              std::string::npos);
    EXPECT_NE(text.find("<-- ReturnError: Arg pBuffer is NULL!\n"), std::string::npos);
    EXPECT_NE(text.find("<-- ReturnError: Argument aBytesToTransmit is 0!\n"), std::string::npos);
    EXPECT_NE(text.find("<-- ReturnError: Arg pContext is NULL!\n"), std::string::npos);
}

TEST_F(TransportTest, WriteFailureIsPassedOn)
{
    meter.writeStatus = Kel_BadCommunicationError;
    EXPECT_EQ(Send({0x2F}), Kel_BadCommunicationError);
}

TEST_F(TransportTest, AnswerSplitOverSeveralReadsIsAccepted)
{
    const Bytes frame = MakeFrame(kAddress, {0x2F, 0x12, 0x34, 0x56, 0x78});
    meter.AnswerChunks({{Bytes(frame.begin(), frame.begin() + 3), 0},
                        {Bytes(frame.begin() + 3, frame.begin() + 7), 10},
                        {Bytes(frame.begin() + 7, frame.end()), 10}});
    ASSERT_EQ(Send({0x2F}), Kel_Good);
    EXPECT_EQ(Receive(), Kel_Good);
    EXPECT_EQ(answerSize, 5u);
    EXPECT_EQ(Bytes(answer, answer + 5), (Bytes{0x2F, 0x12, 0x34, 0x56, 0x78}));
}

TEST_F(TransportTest, ShortestFrameGivesAnswerSizeOne)
{
    meter.Answer(MakeFrame(kAddress, {0x05}));
    ASSERT_EQ(Send({0x05, 0x01}), Kel_Good);
    EXPECT_EQ(Receive(), Kel_Good);
    EXPECT_EQ(answerSize, 1u);
    EXPECT_EQ(answer[0], 0x05);
}

TEST_F(TransportTest, OtherAddressOrGarbageAheadTimesOut)
{
    Bytes garbage{0x00};
    const Bytes frame = MakeFrame(kAddress, {0x2F, 1, 2, 3, 4});
    garbage.insert(garbage.end(), frame.begin(), frame.end());
    const Bytes other = MakeFrame(kAddress + 1, {0x2F, 1, 2, 3, 4});
    for (const Bytes& bytes : {garbage, other})
    {
        meter.Answer(bytes);
        ASSERT_EQ(Send({0x2F}), Kel_Good);
        answerSize = 0;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Receive(), Kel_BadDeviceNoAnswer);
        EXPECT_GE(std::chrono::steady_clock::now() - start,
                  std::chrono::milliseconds(40)); // coarse ticks under wine
        EXPECT_EQ(answerSize, 0u);
    }
}

TEST_F(TransportTest, TimeOutResultDependsOnTheEntryAnswerSize)
{
    TraceCapture trace;
    // Nothing arrives.
    meter.Silent();
    ASSERT_EQ(Send({0x2F}), Kel_Good);
    answerSize = 0;
    EXPECT_EQ(Receive(), Kel_BadDeviceNoAnswer);
    answerSize = 3;
    EXPECT_EQ(Receive(), Kel_BadDeviceIncompleteAnswer);
    EXPECT_EQ(answerSize, 3u);
    // Bytes arrive but never make a frame.
    meter.Answer({0x00, 0x00, 0x00, 0x01, 0x2F});
    ASSERT_EQ(Send({0x2F}), Kel_Good);
    answerSize = 0;
    EXPECT_EQ(Receive(), Kel_BadDeviceNoAnswer);
    meter.Answer({0x00, 0x00, 0x00, 0x01, 0x2F});
    ASSERT_EQ(Send({0x2F}), Kel_Good);
    answerSize = 9;
    EXPECT_EQ(Receive(), Kel_Good);
    EXPECT_EQ(answerSize, 9u);
    const std::string text = trace.Stop();
    // The time-out is information, not an error: no File= and Line= behind it.
    EXPECT_NE(text.find("<-- \"Kel_Zentor1Phase_Transport_ReceiveFrame\" = 0x8A030000 (BAD).\n\n"),
              std::string::npos);
    EXPECT_NE(text.find("<-- \"Kel_Zentor1Phase_Transport_ReceiveFrame\" = 0x8A020000 (BAD).\n\n"),
              std::string::npos);
}

TEST_F(TransportTest, ChannelStatusesArePassedOn)
{
    meter.readStatus = Kel_GoodNoData;
    EXPECT_EQ(Receive(), Kel_GoodNoData);
    EXPECT_EQ(meter.reads, 1u);
    meter.readStatus = Kel_BadCommunicationError;
    EXPECT_EQ(Receive(), Kel_BadCommunicationError);
}

TEST_F(TransportTest, AnswerLargerThanTheCallersBufferIsRefused)
{
    meter.Answer(MakeFrame(kAddress, {0x2F, 1, 2, 3, 4}));
    ASSERT_EQ(Send({0x2F}), Kel_Good);
    EXPECT_EQ(Kel_Zentor1Phase_Transport_ReceiveFrame(&transport, answer, 4, 0, &answerSize),
              Kel_BadOutOfRange);
}

TEST_F(TransportTest, ArgumentsOfReceive)
{
    EXPECT_EQ(Kel_Zentor1Phase_Transport_ReceiveFrame(&transport, answer, 0, 0, &answerSize),
              Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Transport_ReceiveFrame(&transport, answer, 128, 0, nullptr),
              Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Transport_CreateContext(&transport, nullptr, 1, 1, 1, 1),
              Kel_BadInvalidArgument);
    EXPECT_TRUE(meter.writes.empty());
}
