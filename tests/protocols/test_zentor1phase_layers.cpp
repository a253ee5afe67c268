// The lower layers: byte orders, BCD and meter dates; transport frames and time-outs; the application
// layer's repetition, line failures and argument limits.
#include "protocols/orlenta/1phase/kel_zentor1phase_application.h"
#include "protocols/orlenta/1phase/kel_zentor1phase_transport.h"
#include "protocols/orlenta/1phase/kel_zentor1phase_utils.h"
#include "shared/kel_utils.h"

#include "scripted_channel.h"

#include <array>

namespace
{
DateTime Date(uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour, uint8_t aMinute, uint8_t aSecond)
{
    DateTime date{};
    EXPECT_EQ(Kel_Utils_CreateDateTime(aYear, aMonth, aDay, aHour, aMinute, aSecond, 0, &date), Kel_Good);
    return date;
}

bool Contains(const std::string& aText, std::initializer_list<const char*> aLines)
{
    for (const char* line : aLines)
        if (aText.find(line) == std::string::npos)
            return ADD_FAILURE() << "missing " << line << " in\n" << aText, false;
    return true;
}
} // namespace

TEST(Zentor1PhaseUtils, ByteOrdersBcdAndDates)
{
    std::array<uint8_t, 8> buffer{};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_UnpackUInt32(buffer.data(), 8, 1, 0x11223344u), Kel_Good);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PutUInt32(buffer.data(), 8, 4, 0xA1B2C3D4u), Kel_Good);
    EXPECT_EQ(buffer, (std::array<uint8_t, 8>{0x00, 0x11, 0x22, 0x33, 0xD4, 0xC3, 0xB2, 0xA1}));
    uint32_t value32 = 0;
    uint16_t value16 = 0;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PackUInt32(buffer.data(), 8, 2, &value32), Kel_Good);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PackUInt16(buffer.data(), 8, 5, &value16), Kel_Good);
    EXPECT_EQ(value32, 0x2233D4C3u);
    EXPECT_EQ(value16, 0xC3B2u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PackUInt32(buffer.data(), 8, 0x10000u, &value32),
              Kel_Good); // offsets wrap
    EXPECT_EQ(value32, 0x00112233u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PackUInt16(nullptr, 8, 0, &value16), Kel_BadInvalidArgument);

    // BCD with the meter's tolerance of a low digit above 9; a high digit above 9 is refused.
    const std::pair<uint8_t, int> bcd[] = {{0x99, 99}, {0x00, 0},  {0x12, 12}, {0x3C, 42}, {0x1A, 20},
                                           {0x0F, 15}, {0x9A, -1}, {0xFF, -1}, {0xA1, -1}};
    for (const auto& [byte, expected] : bcd)
    {
        uint8_t value = 0xEE;
        EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(byte, &value),
                  expected < 0 ? Kel_BadInvalidArgument : Kel_Good);
        EXPECT_EQ(value, expected < 0 ? 0xEE : expected) << int(byte);
    }
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0x12, nullptr), Kel_BadInvalidArgument);
    const std::pair<uint32_t, int> toBcd[] = {{7, 0x07}, {99, 0x99}, {40, 0x40}, {100, -1}, {356, -1}};
    for (const auto& [value, expected] : toBcd)
    {
        uint8_t byte = 0xEE;
        EXPECT_EQ(Kel_Zentor1Phase_Utils_Byte2BCD(value, &byte),
                  expected < 0 ? Kel_BadInvalidArgument : Kel_Good);
        EXPECT_EQ(byte, expected < 0 ? 0xEE : expected) << value;
    }

    // Second, minute, hour, (not read), day, month, year behind two other bytes; 51..99 the last century.
    const uint8_t stamp[] = {0xAA, 0xBB, 0x59, 0x35, 0x14, 0xFF, 0x28, 0x02, 0x24};
    DateTime date{};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_DateTimeFromBuffer(stamp, sizeof(stamp), 2, &date), Kel_Good);
    EXPECT_EQ(date.seconds, Date(2024, 2, 28, 14, 35, 59).seconds);
    const uint8_t nineteen51[] = {0x00, 0x00, 0x00, 0x00, 0x01, 0x01, 0x51};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_DateTimeFromBuffer(nineteen51, 7, 0, &date), Kel_Good);
    EXPECT_EQ(date.seconds, Date(1951, 1, 1, 0, 0, 0).seconds);
    const uint8_t notBcd[] = {0x00, 0x00, 0x00, 0x00, 0x01, 0xA1, 0x24};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_DateTimeFromBuffer(notBcd, 7, 0, &date), Kel_BadInvalidArgument);

    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(37, 12, 31, 23, 59, 59, &date), 1u);
    EXPECT_EQ(date.seconds, Date(2037, 12, 31, 23, 59, 59).seconds);
    const std::array<uint32_t, 6> refused[] = {{24, 13, 1, 0, 0, 0},
                                               {24, 1, 0, 0, 0, 0},
                                               {24, 1, 1, 24, 0, 0},
                                               {24, 1, 1, 0, 60, 0},
                                               {24, 1, 1, 0, 0, 60}};
    for (const auto& f : refused)
        EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(f[0], f[1], f[2], f[3], f[4], f[5], &date), 0u);
    EXPECT_EQ(date.seconds, Date(2037, 12, 31, 23, 59, 59).seconds);
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
    Kel_StatusCode Receive(uint32_t aEntrySize = 0)
    {
        answerSize = aEntrySize;
        return Kel_Zentor1Phase_Transport_ReceiveFrame(&transport, answer, sizeof(answer), 0, &answerSize);
    }
    Kel_StatusCode Send(const Bytes& aPayload)
    {
        return Kel_Zentor1Phase_Transport_TransmitFrame(&transport, aPayload.data(),
                                                        static_cast<uint32_t>(aPayload.size()));
    }
};
} // namespace

TEST_F(TransportTest, RequestFrameIsAddressPayloadCrcAfterClearingInput)
{
    // CRC-16/MODBUS: the check value 0x4B37 goes out as 0x37, 0x4B, the result's high byte first.
    const uint8_t digits[] = {'x', '1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(Kel_Zentor1Phase_Transport_CalcCRC(digits, 1, 9) & 0xFFFFu, 0x374Bu);
    EXPECT_EQ(Send({0x2F}), Kel_Good);
    ASSERT_EQ(meter.writes.size(), 1u);
    EXPECT_EQ(meter.writes[0], (Bytes{0x00, 0x00, 0x00, 0x01, 0x2F, 0x64, 0x4C}));
    EXPECT_EQ(meter.clears, 1u);
    // Another address and the longest payload, against the independently built frame.
    ASSERT_EQ(Kel_Zentor1Phase_Transport_CreateContext(&transport, &meter.channel, 0x12345678u, 100, 5, 60),
              Kel_Good);
    EXPECT_EQ(Send(Bytes(60, 0xA5)), Kel_Good);
    EXPECT_EQ(meter.writes.at(1), MakeFrame(0x12345678u, Bytes(60, 0xA5)));

    meter.writeStatus = Kel_BadCommunicationError;
    EXPECT_EQ(Send({0x2F}), Kel_BadCommunicationError);
}

TEST_F(TransportTest, RefusedRequestsWriteNothing)
{
    TraceCapture trace;
    EXPECT_EQ(Send(Bytes(61, 0x01)), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_Zentor1Phase_Transport_TransmitFrame(&transport, nullptr, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Transport_TransmitFrame(&transport, answer, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Transport_TransmitFrame(nullptr, answer, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Transport_ReceiveFrame(&transport, answer, 0, 0, &answerSize),
              Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Transport_CreateContext(&transport, nullptr, 1, 1, 1, 1),
              Kel_BadInvalidArgument);
    EXPECT_TRUE(meter.writes.empty());
    EXPECT_EQ(meter.clears, 0u);
    Contains(trace.Stop(),
             {"--- GotoError: Bad statuscode 0x803C0000\n, File=protocols/orlenta/1phase/"
              "kel_zentor1phase_transport, Line=",
              "<-- \"Kel_Zentor1Phase_Transport_TransmitFrame\" = 0x803C0000 (BAD).\n",
              "<-- ReturnError: Arg pBuffer is NULL!\n", "<-- ReturnError: Argument aBytesToTransmit is 0!\n",
              "<-- ReturnError: Arg pContext is NULL!\n"});
}

TEST_F(TransportTest, AnswersInPiecesTheShortestAndTheTooLarge)
{
    const Bytes frame = MakeFrame(kTransportAddress, {0x2F, 0x12, 0x34, 0x56, 0x78});
    meter.answers.push_back({{Bytes(frame.begin(), frame.begin() + 3), 0},
                             {Bytes(frame.begin() + 3, frame.begin() + 7), 10},
                             {Bytes(frame.begin() + 7, frame.end()), 10}});
    ASSERT_EQ(Send({0x2F}), Kel_Good);
    EXPECT_EQ(Receive(), Kel_Good);
    EXPECT_EQ(Bytes(answer, answer + answerSize), (Bytes{0x2F, 0x12, 0x34, 0x56, 0x78}));

    meter.Answer(MakeFrame(kTransportAddress, {0x05}));
    ASSERT_EQ(Send({0x05, 0x01}), Kel_Good);
    EXPECT_EQ(Receive(), Kel_Good);
    EXPECT_EQ(Bytes(answer, answer + answerSize), Bytes{0x05});

    meter.Answer(frame);
    ASSERT_EQ(Send({0x2F}), Kel_Good);
    EXPECT_EQ(Kel_Zentor1Phase_Transport_ReceiveFrame(&transport, answer, 4, 0, &answerSize),
              Kel_BadOutOfRange);
}

TEST_F(TransportTest, TimeOutResultDependsOnTheEntryAnswerSize)
{
    // Another address, garbage ahead of the frame, silence: no answer.
    Bytes garbage{0x00};
    const Bytes frame = MakeFrame(kTransportAddress, {0x2F, 1, 2, 3, 4});
    garbage.insert(garbage.end(), frame.begin(), frame.end());
    for (const Bytes& bytes : {garbage, MakeFrame(kTransportAddress + 1, {0x2F, 1, 2, 3, 4}), Bytes{}})
    {
        bytes.empty() ? meter.Silent() : meter.Answer(bytes);
        ASSERT_EQ(Send({0x2F}), Kel_Good);
        EXPECT_EQ(Receive(), Kel_BadDeviceNoAnswer);
        EXPECT_EQ(answerSize, 0u);
    }
    TraceCapture trace;
    EXPECT_EQ(Receive(3), Kel_BadDeviceIncompleteAnswer);
    EXPECT_EQ(answerSize, 3u);
    // Bytes arrive but never make a frame.
    meter.Answer({0x00, 0x00, 0x00, 0x01, 0x2F});
    ASSERT_EQ(Send({0x2F}), Kel_Good);
    EXPECT_EQ(Receive(), Kel_BadDeviceNoAnswer);
    meter.Answer({0x00, 0x00, 0x00, 0x01, 0x2F});
    ASSERT_EQ(Send({0x2F}), Kel_Good);
    EXPECT_EQ(Receive(9), Kel_Good);
    EXPECT_EQ(answerSize, 9u);
    // The time-out is information, not an error: no File= and Line= behind it.
    Contains(trace.Stop(), {"<-- \"Kel_Zentor1Phase_Transport_ReceiveFrame\" = 0x8A030000 (BAD).\n\n",
                            "<-- \"Kel_Zentor1Phase_Transport_ReceiveFrame\" = 0x8A020000 (BAD).\n\n"});
    meter.readStatus = Kel_GoodNoData;
    EXPECT_EQ(Receive(), Kel_GoodNoData);
    meter.readStatus = Kel_BadCommunicationError;
    EXPECT_EQ(Receive(), Kel_BadCommunicationError);
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
    void Answer(const Bytes& aPayload) { meter.Answer(MakeFrame(kApplicationAddress, aPayload)); }
    Bytes Received() const
    {
        return Bytes(application.inBuffer, application.inBuffer + application.inBufferIndex);
    }
};
} // namespace

// The command frames themselves are checked through the client; the raw exchange neither repeats nor
// maps failures to Kel_GoodNoResponse.
TEST_F(ApplicationTest, RawExchange)
{
    const uint8_t one[] = {0x01};
    Answer({0x2F, 9, 8, 7, 6});
    EXPECT_EQ(Kel_Zentor1Phase_Application_SendAnyDataAndGetAnswer(&application, one, 1), Kel_Good);
    EXPECT_EQ(Received(), (Bytes{0x2F, 9, 8, 7, 6}));
    EXPECT_EQ(meter.writes.at(0), MakeFrame(kApplicationAddress, {0x01}));
    meter.Silent();
    EXPECT_EQ(Kel_Zentor1Phase_Application_SendAnyDataAndGetAnswer(&application, one, 1),
              Kel_BadDeviceNoAnswer);
    EXPECT_EQ(meter.writes.size(), 2u);
    meter.writeStatus = Kel_BadCommunicationError;
    EXPECT_EQ(Kel_Zentor1Phase_Application_SendAnyDataAndGetAnswer(&application, one, 1),
              Kel_BadCommunicationError);
}

TEST_F(ApplicationTest, SilentMeterAndLineFailuresEndWithGoodNoResponse)
{
    TraceCapture trace;
    meter.Silent();
    meter.Silent();
    application.inBufferIndex = 7;
    EXPECT_EQ(Kel_Zentor1Phase_Application_Read(&application, 0x2F), Kel_GoodNoResponse);
    EXPECT_EQ(application.inBufferIndex, 0u);
    ASSERT_EQ(meter.writes.size(), 2u);
    EXPECT_EQ(meter.writes[0], meter.writes[1]);
    Contains(trace.Stop(), {"<-- \"sendAndReceiveAnswer\" = 0x00A50000 (GOOD).\n\n"});
    // The answer to the repetition is used.
    meter.Silent();
    Answer({0x24, 0x01});
    EXPECT_EQ(Kel_Zentor1Phase_Application_Read(&application, 0x24), Kel_Good);
    EXPECT_EQ(Received(), (Bytes{0x24, 0x01}));
    EXPECT_EQ(meter.writes.size(), 4u);
    // Line failures are Kel_GoodNoResponse too; a failed read is not repeated.
    meter.writeStatus = Kel_BadCommunicationError;
    EXPECT_EQ(Kel_Zentor1Phase_Application_Read(&application, 0x2F), Kel_GoodNoResponse);
    meter.writeStatus = Kel_Good;
    meter.readStatus = Kel_BadCommunicationError;
    EXPECT_EQ(Kel_Zentor1Phase_Application_Read(&application, 0x2F), Kel_GoodNoResponse);
    EXPECT_EQ(meter.writes.size(), 5u);
    EXPECT_EQ(application.inBufferIndex, 0u);
    meter.readStatus = Kel_GoodNoData;
    const uint8_t flag[] = {0x01};
    EXPECT_EQ(Kel_Zentor1Phase_Application_SendAnyDataAndGetAnswer(&application, flag, 1), Kel_GoodNoData);
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
    EXPECT_TRUE(meter.writes.empty());
    Contains(trace.Stop(),
             {"<-- ReturnError: Argument aArgumentSize is 0!\n",
              "<-- ReturnError: Arg pArgumentData is NULL!\n", "<-- ReturnError: Arg pData is NULL!\n",
              "<-- \"Kel_Zentor1Phase_Transport_TransmitFrame\" = 0x803C0000 (BAD).\n",
              "<-- \"Kel_Zentor1Phase_Application_ReadA\" = 0x803C0000 (BAD).\n"});
}
