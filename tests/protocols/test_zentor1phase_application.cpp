// The application layer over a scripted meter: the one repetition, the mapping of line failures to
// Kel_GoodNoResponse, argument limits, the raw exchange.
#include "protocols/orlenta/1phase/kel_zentor1phase_application.h"

#include "scripted_channel.h"

#include <gtest/gtest.h>

#include <chrono>

namespace
{
constexpr uint32_t kAddress = 0x0A0B0C0D;

struct ApplicationTest : ::testing::Test
{
    ScriptedMeter meter;
    Kel_Zentor1Phase_ApplicationContext application{};

    void SetUp() override
    {
        ASSERT_EQ(
            Kel_Zentor1Phase_Application_CreateContext(&application, &meter.channel, kAddress, 100, 5, 50),
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
    meter.Answer(MakeFrame(kAddress, {0x30, 0x01, 0x02}));
    const uint8_t part[] = {0x01};
    EXPECT_EQ(Kel_Zentor1Phase_Application_ReadA(&application, 0x30, part, 1), Kel_Good);
    EXPECT_EQ(Answer(), (Bytes{0x30, 0x01, 0x02}));
    meter.Answer(MakeFrame(kAddress, {0x2F, 0, 0, 0, 1}));
    EXPECT_EQ(Kel_Zentor1Phase_Application_Read(&application, 0x2F), Kel_Good);
    EXPECT_EQ(Answer(), (Bytes{0x2F, 0, 0, 0, 1}));
    meter.Answer(MakeFrame(kAddress, {0x05}));
    const uint8_t flag[] = {0x01};
    EXPECT_EQ(Kel_Zentor1Phase_Application_Write(&application, 0x05, flag, 1), Kel_Good);
    EXPECT_EQ(Answer(), (Bytes{0x05}));
    ASSERT_EQ(meter.writes.size(), 3u);
    EXPECT_EQ(meter.writes[0], MakeFrame(kAddress, {0x30, 0x01}));
    EXPECT_EQ(meter.writes[1], MakeFrame(kAddress, {0x2F}));
    EXPECT_EQ(meter.writes[2], MakeFrame(kAddress, {0x05, 0x01}));
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
    meter.Answer(MakeFrame(kAddress, {0x24, 0x01}));
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
    meter.Answer(MakeFrame(kAddress, {0x2F, 9, 8, 7, 6}));
    const uint8_t request[] = {0x2F};
    EXPECT_EQ(Kel_Zentor1Phase_Application_SendAnyDataAndGetAnswer(&application, request, 1), Kel_Good);
    EXPECT_EQ(Answer(), (Bytes{0x2F, 9, 8, 7, 6}));
    EXPECT_EQ(meter.writes.back(), MakeFrame(kAddress, {0x2F}));

    meter.Silent();
    EXPECT_EQ(Kel_Zentor1Phase_Application_SendAnyDataAndGetAnswer(&application, request, 1),
              Kel_BadDeviceNoAnswer);
    EXPECT_EQ(meter.writes.size(), 2u); // no repetition, no mapping to Kel_GoodNoResponse
    meter.writeStatus = Kel_BadCommunicationError;
    EXPECT_EQ(Kel_Zentor1Phase_Application_SendAnyDataAndGetAnswer(&application, request, 1),
              Kel_BadCommunicationError);
}
