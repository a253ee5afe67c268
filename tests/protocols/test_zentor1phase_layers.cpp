// The lower layers of the single-phase meter protocol: byte orders and BCD; transport frames over a
// scripted meter (request bytes, answer recognition, time-out results); the application layer (the one
// repetition, the mapping of line failures to Kel_GoodNoResponse, argument limits, the raw exchange).
#include "protocols/orlenta/1phase/kel_zentor1phase_application.h"
#include "protocols/orlenta/1phase/kel_zentor1phase_transport.h"
#include "protocols/orlenta/1phase/kel_zentor1phase_utils.h"
#include "shared/kel_utils.h"

#include "scripted_channel.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>

TEST(Zentor1PhaseUtils, ByteOrders)
{
    std::array<uint8_t, 8> buffer{};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_UnpackUInt32(buffer.data(), 8, 1, 0x11223344u), Kel_Good);
    EXPECT_EQ(buffer, (std::array<uint8_t, 8>{0x00, 0x11, 0x22, 0x33, 0x44, 0x00, 0x00, 0x00}));
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PutUInt32(buffer.data(), 8, 4, 0xA1B2C3D4u), Kel_Good);
    EXPECT_EQ(buffer, (std::array<uint8_t, 8>{0x00, 0x11, 0x22, 0x33, 0xD4, 0xC3, 0xB2, 0xA1}));

    uint32_t value32 = 0;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PackUInt32(buffer.data(), 8, 2, &value32), Kel_Good);
    EXPECT_EQ(value32, 0x2233D4C3u);
    uint16_t value16 = 0;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PackUInt16(buffer.data(), 8, 5, &value16), Kel_Good);
    EXPECT_EQ(value16, 0xC3B2u);

    EXPECT_EQ(Kel_Zentor1Phase_Utils_PackUInt16(nullptr, 8, 0, &value16), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_UnpackUInt32(nullptr, 8, 0, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PutUInt32(nullptr, 8, 0, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PackUInt32(nullptr, 8, 0, &value32), Kel_BadInvalidArgument);
}

TEST(Zentor1PhaseUtils, OffsetsWrapAt65536)
{
    std::array<uint8_t, 4> buffer{0x01, 0x02, 0x03, 0x04};
    uint32_t value = 0;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PackUInt32(buffer.data(), 4, 0x10000u, &value), Kel_Good);
    EXPECT_EQ(value, 0x01020304u);
}

TEST(Zentor1PhaseUtils, BcdToByteKeepsTheMetersTolerance)
{
    uint8_t value = 0xEE;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0x99, &value), Kel_Good);
    EXPECT_EQ(value, 99);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0x00, &value), Kel_Good);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0x3C, &value), Kel_Good);
    EXPECT_EQ(value, 42);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0x1A, &value), Kel_Good);
    EXPECT_EQ(value, 20);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0x0F, &value), Kel_Good);
    EXPECT_EQ(value, 15);
    value = 0xEE;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0x9A, &value), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0xFF, &value), Kel_BadInvalidArgument);
    EXPECT_EQ(value, 0xEE);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0x12, nullptr), Kel_BadInvalidArgument);
}

TEST(Zentor1PhaseUtils, ByteToBcd)
{
    uint8_t byte = 0xEE;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_Byte2BCD(7, &byte), Kel_Good);
    EXPECT_EQ(byte, 0x07);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_Byte2BCD(99, &byte), Kel_Good);
    EXPECT_EQ(byte, 0x99);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_Byte2BCD(40, &byte), Kel_Good);
    EXPECT_EQ(byte, 0x40);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_Byte2BCD(100, &byte), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_Byte2BCD(356, &byte), Kel_BadInvalidArgument);
    EXPECT_EQ(byte, 0x40);
}

namespace
{
DateTime Date(uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour, uint8_t aMinute, uint8_t aSecond)
{
    DateTime date{};
    EXPECT_EQ(Kel_Utils_CreateDateTime(aYear, aMonth, aDay, aHour, aMinute, aSecond, 0, &date), Kel_Good);
    return date;
}
} // namespace

TEST(Zentor1PhaseUtils, DateTimeFromBufferAndTheCenturyRule)
{
    // second, minute, hour, (not read), day, month, year behind two other bytes
    const uint8_t buffer[] = {0xAA, 0xBB, 0x59, 0x35, 0x14, 0xFF, 0x28, 0x02, 0x24};
    DateTime date{};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_DateTimeFromBuffer(buffer, sizeof(buffer), 2, &date), Kel_Good);
    EXPECT_EQ(date.seconds, Date(2024, 2, 28, 14, 35, 59).seconds);

    const uint8_t nineteen51[] = {0x00, 0x00, 0x00, 0x00, 0x01, 0x01, 0x51};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_DateTimeFromBuffer(nineteen51, 7, 0, &date), Kel_Good);
    EXPECT_EQ(date.seconds, Date(1951, 1, 1, 0, 0, 0).seconds);
    // 0x50 is 2050, past the 32-bit DateTime: the date module's refusal comes back (1950 would fit).
    const uint8_t twenty50[] = {0x00, 0x00, 0x00, 0x00, 0x01, 0x01, 0x50};
    DateTime unused{};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_DateTimeFromBuffer(twenty50, 7, 0, &date),
              Kel_Utils_CreateDateTime(2050, 1, 1, 0, 0, 0, 0, &unused));
    EXPECT_TRUE(Kel_IsBad(Kel_Zentor1Phase_Utils_DateTimeFromBuffer(twenty50, 7, 0, &date)));

    const uint8_t notBcd[] = {0x00, 0x00, 0x00, 0x00, 0x01, 0xA1, 0x24};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_DateTimeFromBuffer(notBcd, 7, 0, &date), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_DateTimeFromBuffer(nullptr, 7, 0, &date), Kel_BadInvalidArgument);
}

TEST(Zentor1PhaseUtils, GetTimeChecksItsFieldsAndUsesThisCentury)
{
    DateTime date{};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 2, 28, 14, 35, 59, &date), 1u);
    EXPECT_EQ(date.seconds, Date(2024, 2, 28, 14, 35, 59).seconds);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(37, 12, 31, 23, 59, 59, &date), 1u);
    EXPECT_EQ(date.seconds, Date(2037, 12, 31, 23, 59, 59).seconds);
    const DateTime kept = date;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 0, 1, 0, 0, 0, &date), 0u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 13, 1, 0, 0, 0, &date), 0u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 1, 0, 0, 0, 0, &date), 0u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 1, 32, 0, 0, 0, &date), 0u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 1, 1, 24, 0, 0, &date), 0u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 1, 1, 0, 60, 0, &date), 0u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 1, 1, 0, 0, 60, &date), 0u);
    EXPECT_EQ(date.seconds, kept.seconds);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 1, 1, 0, 0, 0, nullptr), 0u);
}

namespace
{
constexpr uint32_t kTransportAddress = 0x00000001;

struct TransportTest : ::testing::Test
{
    ScriptedMeter meter;
    Kel_Zentor1Phase_TransportContext transport{};
    uint8_t answer[128]{};
    uint32_t answerSize = 0;

    void SetUp() override
    {
        ASSERT_EQ(Kel_Zentor1Phase_Transport_CreateContext(&transport, &meter.channel, kTransportAddress, 100,
                                                           5, 60),
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
    const Bytes frame = MakeFrame(kTransportAddress, {0x2F, 0x12, 0x34, 0x56, 0x78});
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
    meter.Answer(MakeFrame(kTransportAddress, {0x05}));
    ASSERT_EQ(Send({0x05, 0x01}), Kel_Good);
    EXPECT_EQ(Receive(), Kel_Good);
    EXPECT_EQ(answerSize, 1u);
    EXPECT_EQ(answer[0], 0x05);
}

TEST_F(TransportTest, OtherAddressOrGarbageAheadTimesOut)
{
    Bytes garbage{0x00};
    const Bytes frame = MakeFrame(kTransportAddress, {0x2F, 1, 2, 3, 4});
    garbage.insert(garbage.end(), frame.begin(), frame.end());
    const Bytes other = MakeFrame(kTransportAddress + 1, {0x2F, 1, 2, 3, 4});
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
    meter.Answer(MakeFrame(kTransportAddress, {0x2F, 1, 2, 3, 4}));
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

namespace
{
constexpr uint32_t kApplicationAddress = 0x0A0B0C0D;

struct ApplicationTest : ::testing::Test
{
    ScriptedMeter meter;
    Kel_Zentor1Phase_ApplicationContext application{};

    void SetUp() override
    {
        ASSERT_EQ(Kel_Zentor1Phase_Application_CreateContext(&application, &meter.channel,
                                                             kApplicationAddress, 100, 5, 50),
                  Kel_Good);
    }
    Bytes Answer() const
    {
        return Bytes(application.inBuffer, application.inBuffer + application.inBufferIndex);
    }
};
} // namespace

TEST_F(ApplicationTest, ReadWithArgumentsAndWrite)
{
    meter.Answer(MakeFrame(kApplicationAddress, {0x30, 0x01, 0x02}));
    const uint8_t part[] = {0x01};
    EXPECT_EQ(Kel_Zentor1Phase_Application_ReadA(&application, 0x30, part, 1), Kel_Good);
    EXPECT_EQ(Answer(), (Bytes{0x30, 0x01, 0x02}));
    meter.Answer(MakeFrame(kApplicationAddress, {0x2F, 0, 0, 0, 1}));
    EXPECT_EQ(Kel_Zentor1Phase_Application_Read(&application, 0x2F), Kel_Good);
    EXPECT_EQ(Answer(), (Bytes{0x2F, 0, 0, 0, 1}));
    meter.Answer(MakeFrame(kApplicationAddress, {0x05}));
    const uint8_t flag[] = {0x01};
    EXPECT_EQ(Kel_Zentor1Phase_Application_Write(&application, 0x05, flag, 1), Kel_Good);
    EXPECT_EQ(Answer(), (Bytes{0x05}));
    ASSERT_EQ(meter.writes.size(), 3u);
    EXPECT_EQ(meter.writes[0], MakeFrame(kApplicationAddress, {0x30, 0x01}));
    EXPECT_EQ(meter.writes[1], MakeFrame(kApplicationAddress, {0x2F}));
    EXPECT_EQ(meter.writes[2], MakeFrame(kApplicationAddress, {0x05, 0x01}));
}

TEST_F(ApplicationTest, SilentMeterGetsTheRequestTwiceAndEndsWithGoodNoResponse)
{
    TraceCapture trace;
    meter.Silent();
    meter.Silent();
    application.inBufferIndex = 7;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Kel_Zentor1Phase_Application_Read(&application, 0x2F), Kel_GoodNoResponse);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(80));
    EXPECT_EQ(application.inBufferIndex, 0u);
    ASSERT_EQ(meter.writes.size(), 2u);
    EXPECT_EQ(meter.writes[0], meter.writes[1]);
    EXPECT_NE(trace.Stop().find("<-- \"sendAndReceiveAnswer\" = 0x00A50000 (GOOD).\n\n"), std::string::npos);
}

TEST_F(ApplicationTest, AnswerToTheRepetitionIsUsed)
{
    meter.Silent();
    meter.Answer(MakeFrame(kApplicationAddress, {0x24, 0x01}));
    EXPECT_EQ(Kel_Zentor1Phase_Application_Read(&application, 0x24), Kel_Good);
    EXPECT_EQ(Answer(), (Bytes{0x24, 0x01}));
    EXPECT_EQ(meter.writes.size(), 2u);
}

TEST_F(ApplicationTest, LineFailuresBecomeGoodNoResponse)
{
    meter.writeStatus = Kel_BadCommunicationError;
    EXPECT_EQ(Kel_Zentor1Phase_Application_Read(&application, 0x2F), Kel_GoodNoResponse);
    meter.writeStatus = Kel_Good;
    meter.readStatus = Kel_BadCommunicationError;
    EXPECT_EQ(Kel_Zentor1Phase_Application_Read(&application, 0x2F), Kel_GoodNoResponse);
    EXPECT_EQ(meter.writes.size(), 1u); // a failed read is not repeated
    EXPECT_EQ(application.inBufferIndex, 0u);
}

TEST_F(ApplicationTest, GoodNoDataPassesUnchanged)
{
    meter.readStatus = Kel_GoodNoData;
    EXPECT_EQ(Kel_Zentor1Phase_Application_Read(&application, 0x2F), Kel_GoodNoData);
    const uint8_t flag[] = {0x01};
    EXPECT_EQ(Kel_Zentor1Phase_Application_Write(&application, 0x05, flag, 1), Kel_GoodNoData);
    EXPECT_EQ(Kel_Zentor1Phase_Application_SendAnyDataAndGetAnswer(&application, flag, 1), Kel_GoodNoData);
    EXPECT_EQ(meter.writes.size(), 3u);
}

TEST_F(ApplicationTest, ArgumentLimits)
{
    TraceCapture trace;
    const uint8_t block[64] = {};
    EXPECT_EQ(Kel_Zentor1Phase_Application_Write(&application, 0x10, block, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Application_Write(&application, 0x10, nullptr, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Application_ReadA(&application, 0x10, block, 64), Kel_BadOutOfRange);
    // 60 arguments fit the request buffer, but with the command code they are more than a frame holds.
    EXPECT_EQ(Kel_Zentor1Phase_Application_Write(&application, 0x10, block, 60), Kel_GoodNoResponse);
    EXPECT_EQ(Kel_Zentor1Phase_Application_ReadA(nullptr, 0x10, block, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Application_SendAnyDataAndGetAnswer(&application, nullptr, 1),
              Kel_BadInvalidArgument);
    const std::string text = trace.Stop();
    EXPECT_TRUE(meter.writes.empty());
    EXPECT_NE(text.find("<-- ReturnError: Argument aArgumentSize is 0!\n"), std::string::npos);
    EXPECT_NE(text.find("<-- ReturnError: Arg pArgumentData is NULL!\n"), std::string::npos);
    EXPECT_NE(text.find("<-- ReturnError: Arg pData is NULL!\n"), std::string::npos);
    EXPECT_NE(text.find("<-- \"Kel_Zentor1Phase_Transport_TransmitFrame\" = 0x803C0000 (BAD).\n"),
              std::string::npos);
    EXPECT_NE(text.find("<-- \"Kel_Zentor1Phase_Application_ReadA\" = 0x803C0000 (BAD).\n"),
              std::string::npos);
}

TEST_F(ApplicationTest, RawExchangeSendsTheCallersBytesAndPassesFailuresOn)
{
    meter.Answer(MakeFrame(kApplicationAddress, {0x2F, 9, 8, 7, 6}));
    const uint8_t request[] = {0x2F};
    EXPECT_EQ(Kel_Zentor1Phase_Application_SendAnyDataAndGetAnswer(&application, request, 1), Kel_Good);
    EXPECT_EQ(Answer(), (Bytes{0x2F, 9, 8, 7, 6}));
    EXPECT_EQ(meter.writes.back(), MakeFrame(kApplicationAddress, {0x2F}));

    meter.Silent();
    EXPECT_EQ(Kel_Zentor1Phase_Application_SendAnyDataAndGetAnswer(&application, request, 1),
              Kel_BadDeviceNoAnswer);
    EXPECT_EQ(meter.writes.size(), 2u); // no repetition, no mapping to Kel_GoodNoResponse
    meter.writeStatus = Kel_BadCommunicationError;
    EXPECT_EQ(Kel_Zentor1Phase_Application_SendAnyDataAndGetAnswer(&application, request, 1),
              Kel_BadCommunicationError);
}
