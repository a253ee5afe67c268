// Golden lines of the trace skeleton and of the trace call, read back from a temporary trace file.
#define KEL_TRACE_FILE "tests/shared/test_kel_trace"
#include "shared/kel_trace.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace
{
const char* const kFile = "golden.txt";
const std::string kWhere = ", File=tests/shared/test_kel_trace, Line=";

std::string ReadFile(const char* pPath)
{
    std::ifstream in(pPath); // text mode: the Windows build writes CRLF line ends
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string Where(int aLine)
{
    return kWhere + std::to_string(aLine) + "\n";
}

// Line numbers of the traced steps below, recorded next to them so that the expected File/Line parts
// follow the source.
int gLineRejectNull, gLineRejectZero, gLineRejectIf, gLineRejectCode;
int gLineGotoBad, gLineGotoExpr, gLineGotoCode, gLineGotoNull, gLineExitBad, gLineReturn, gLineExitError;

Kel_StatusCode Failing(Kel_StatusCode aStatus)
{
    return aStatus;
}

// One function with every rejection form, in parameter order.
Kel_StatusCode Kel_Sample_Check(void* pSerialChannelContext, uint32_t aBytesToTransmit, uint32_t aValue,
                                uint32_t aBare)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    gLineRejectNull = __LINE__ + 1;
    KEL_REJECT_NULL(pSerialChannelContext);
    gLineRejectZero = __LINE__ + 1;
    KEL_REJECT_ZERO(aBytesToTransmit);
    gLineRejectIf = __LINE__ + 1;
    KEL_REJECT_IF(aValue & 0xE0, Kel_BadOutOfRange);
    gLineRejectCode = __LINE__ + 2;
    if (aBare != 0)
        KEL_REJECT_CODE(Kel_BadNotImplemented);
    KEL_EXIT(Kel_Good);
}

// One function with every GotoError form; aStep chooses the failing step.
Kel_StatusCode Kel_Sample_Steps(uint32_t aStep, Kel_StatusCode aCallee)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    Kel_StatusCode status = Kel_Good;
    if (aStep == 1)
    {
        gLineGotoBad = __LINE__ + 1;
        KEL_GOTO_IF_BAD(status, Failing(aCallee));
    }
    if (aStep == 2)
    {
        int dcb = 0;
        gLineGotoExpr = __LINE__ + 1;
        KEL_GOTO_IF_EXPR((Failing(static_cast<Kel_StatusCode>(dcb)) == 0));
    }
    if (aStep == 3)
    {
        gLineGotoCode = __LINE__ + 1;
        KEL_GOTO_CODE(Kel_BadOutOfRange);
    }
    if (aStep == 4)
    {
        void* ptm = KEL_NULL;
        gLineGotoNull = __LINE__ + 1;
        KEL_GOTO_IF_NULL(ptm, Kel_BadInternalError);
    }
    if (aStep == 5)
    {
        const int error_code = 10035;
        gLineReturn = __LINE__ + 1;
        KEL_RETURN_IF(error_code == 10035, 0x0001ABCDu);
    }
    if (aStep == 6)
    {
        gLineExitError = __LINE__ + 1;
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, "Broken pipe");
    }
    gLineExitBad = __LINE__ + 1;
    KEL_EXIT_STATUS(aCallee);
}

std::string Dump(uint32_t aSize)
{
    std::string text = "[" + std::to_string(aSize) + "] ";
    char byte[8];
    for (uint32_t i = 0; i < aSize; ++i)
    {
        if (aSize > 100 && i >= 50 && i < aSize - 50)
        {
            if (i == 50)
                text += "... ";
            continue;
        }
        snprintf(byte, sizeof(byte), "%02X ", i & 0xFF);
        text += byte;
    }
    return text;
}

class TraceGolden : public ::testing::Test
{
protected:
    void Start(uint32_t aLevel)
    {
        remove(kFile);
        ASSERT_EQ(Kel_Trace_Initialize(aLevel), Kel_Good);
        ASSERT_EQ(Kel_P_Trace_File_Enable(kFile), Kel_Good);
        started_ = true;
    }
    void SetUp() override { Start(4); }
    // Closes the file and turns tracing off again, so that every test leaves the trace as it found it.
    std::string Finish()
    {
        if (started_)
        {
            EXPECT_EQ(Kel_P_Trace_File_Disable(), Kel_Good);
            EXPECT_EQ(Kel_Trace_Finalize(), Kel_Good);
            started_ = false;
        }
        return ReadFile(kFile);
    }
    void TearDown() override
    {
        Finish();
        remove(kFile);
    }
    bool started_ = false;
};
} // namespace

TEST_F(TraceGolden, EntryAndArgumentRejections)
{
    int context = 0;
    EXPECT_EQ(Kel_Sample_Check(nullptr, 1, 0, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Sample_Check(&context, 0, 0, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Sample_Check(&context, 1, 0x20, 0), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_Sample_Check(&context, 1, 0x1F, 1), Kel_BadNotImplemented);
    const std::string entry = "--> Kel_Module_SerialChannel::Kel_Sample_Check (0x00000009)\n\n";
    EXPECT_EQ(Finish(),
              entry + "<-- ReturnError: Arg pSerialChannelContext is NULL!\n" + Where(gLineRejectNull) +
                  entry + "<-- ReturnError: Argument aBytesToTransmit is 0!\n" + Where(gLineRejectZero) +
                  entry + "<-- ReturnError: aValue & 0xE0 is true! Return 0x803C0000\n" +
                  Where(gLineRejectIf) + entry + "<-- ReturnError: 0x80400000\n" + Where(gLineRejectCode));
}

TEST_F(TraceGolden, GotoErrorFormsEndInTheFailureExit)
{
    EXPECT_EQ(Kel_Sample_Steps(1, Kel_BadDeviceUnknownResponse), Kel_BadDeviceUnknownResponse);
    EXPECT_EQ(Kel_Sample_Steps(2, Kel_Good), Kel_BadInternalError);
    EXPECT_EQ(Kel_Sample_Steps(3, Kel_Good), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_Sample_Steps(4, Kel_Good), Kel_BadInternalError);
    EXPECT_EQ(Kel_Sample_Steps(6, Kel_Good), Kel_BadInternalError);
    const std::string entry = "--> Kel_Module_ZentorProtocolClient::Kel_Sample_Steps (0x00000101)\n\n";
    auto exitBad = [](int aLine, const char* pStatus)
    { return std::string("<-- \"Kel_Sample_Steps\" = ") + pStatus + " (BAD).\n" + Where(aLine); };
    EXPECT_EQ(Finish(),
              entry + "--- GotoError: Bad statuscode 0x8A050000\n" + Where(gLineGotoBad) +
                  exitBad(gLineGotoBad, "0x8A050000") + entry +
                  "--- GotoError: Expr (Failing(static_cast<Kel_StatusCode>(dcb)) == 0) is true!\n" +
                  Where(gLineGotoExpr) + exitBad(gLineGotoExpr, "0x80020000") + entry +
                  "--- GotoError: Kel_BadOutOfRange. Statuscode 0x803C0000\n" + Where(gLineGotoCode) +
                  exitBad(gLineGotoCode, "0x803C0000") + entry + "--- GotoError: ptm is NULL!\n" +
                  Where(gLineGotoNull) + exitBad(gLineGotoNull, "0x80020000") + entry +
                  "<-- \"Kel_Sample_Steps\" = 0x80020000 (BAD) error=Broken pipe.\n" + Where(gLineExitError));
}

TEST_F(TraceGolden, ExitsClearTheDetailWordOnlyOnSuccess)
{
    const Kel_StatusCode good = Kel_Sample_Steps(0, 0x0001ABCDu);
    const Kel_StatusCode bad = Kel_Sample_Steps(0, 0x80AB1234u);
    const Kel_StatusCode uncertain = Kel_Sample_Steps(0, 0x40000000u);
    EXPECT_EQ(good, 0x00010000u);
    EXPECT_EQ(bad, 0x80AB1234u);
    EXPECT_LT(static_cast<int32_t>(bad), 0);
    // Traced "BAD", yet not negative: callers take it for a success, and the success exit writes it.
    EXPECT_EQ(uncertain, 0x40000000u);
    EXPECT_GE(static_cast<int32_t>(uncertain), 0);
    const std::string entry = "--> Kel_Module_ZentorProtocolClient::Kel_Sample_Steps (0x00000101)\n\n";
    EXPECT_EQ(Finish(), entry + "<-- \"Kel_Sample_Steps\" = 0x0001ABCD (GOOD).\n\n" + entry +
                            "<-- \"Kel_Sample_Steps\" = 0x80AB1234 (BAD).\n" + Where(gLineExitBad) + entry +
                            "<-- \"Kel_Sample_Steps\" = 0x40000000 (BAD).\n\n");
}

TEST_F(TraceGolden, EarlyReturnIsLevelTwoWithFileAndLine)
{
    EXPECT_EQ(Kel_Sample_Steps(5, Kel_Good), 0x00010000u);
    EXPECT_EQ(Finish(), "--> Kel_Module_ZentorProtocolClient::Kel_Sample_Steps (0x00000101)\n\n"
                        "<-- Return: error_code == 10035 is true! Return 0x0001ABCD\n" +
                            Where(gLineReturn));
}

TEST_F(TraceGolden, DumpsOfHundredAndHundredAndOneBytes)
{
    uint8_t data[101];
    for (uint32_t i = 0; i < sizeof(data); ++i)
        data[i] = static_cast<uint8_t>(i);
    Kel_P_Trace_Imp(Kel_Module_SerialChannel, 4, data, 100, "f", 1, "Kel_SerialChannel_Read - OK, Data=");
    Kel_P_Trace_Imp(Kel_Module_SerialChannel, 4, data, 101, "f", 1, "Kel_SerialChannel_Read - OK, Data=");
    // A level-1 dump: the File/Line part follows the bytes.
    Kel_P_Trace_Imp(Kel_Module_SerialChannel, 1, data, 3, "f", 77, "Bad answer, Data=");
    // No dump without data or with size 0.
    Kel_P_Trace_Imp(Kel_Module_SerialChannel, 4, nullptr, 5, "f", 1, "NoData\n");
    Kel_P_Trace_Imp(Kel_Module_SerialChannel, 4, data, 0, "f", 1, "Empty\n");
    const std::string text = Finish();
    const std::string dump100 = "Kel_SerialChannel_Read - OK, Data=" + Dump(100) + "\n";
    const std::string dump101 = "Kel_SerialChannel_Read - OK, Data=" + Dump(101) + "\n";
    EXPECT_EQ(text,
              dump100 + dump101 + "Bad answer, Data=[3] 00 01 02 , File=f, Line=77\nNoData\n\nEmpty\n\n");
    // The 101-byte form in full: bytes 0..49, "... " where byte 50 stood, bytes 51..100.
    EXPECT_NE(dump101.find("[101] 00 01 02 "), std::string::npos);
    EXPECT_NE(dump101.find(" 30 31 ... 33 34 "), std::string::npos);
    EXPECT_NE(dump101.find(" 63 64 \n"), std::string::npos);
    EXPECT_EQ(dump101.find(" 32 "), std::string::npos);
    EXPECT_NE(dump100.find(" 31 32 33 "), std::string::npos);
    EXPECT_EQ(dump100.find("..."), std::string::npos);
}

TEST_F(TraceGolden, ModuleFilter)
{
    Kel_P_Trace_Imp(Kel_Module_Tcp, 4, nullptr, 0, "t", 1, "tcp flow\n");
    Kel_P_Trace_Imp(Kel_Module_Tcp, 2, nullptr, 0, "t", 2, "tcp return\n");
    Kel_P_Trace_Imp(Kel_Module_Tcp, 1, nullptr, 0, "t", 3, "tcp error\n");
    Kel_P_Trace_Imp(20, 1, nullptr, 0, "t", 4, "module 20 error\n");
    Kel_P_Trace_Imp(773, 1, nullptr, 0, "t", 5, "module 773 error\n");
    Kel_P_Trace_Imp(Kel_Module_Mutex, 4, nullptr, 0, "t", 6, "mutex flow\n");
    Kel_P_Trace_Imp(519, 3, nullptr, 0, "t", 7, "module 519 info\n");
    Kel_P_Trace_Imp(Kel_Module_Serial, 4, nullptr, 0, "t", 8, "serial flow\n");
    Kel_P_Trace_Imp(Kel_Module_FileSystem, 3, nullptr, 0, "t", 9, "files info\n");
    Kel_P_Trace_Imp(Kel_Module_ZentorProtocolClient, 4, nullptr, 0, "t", 10, "client flow\n");
    Kel_P_Trace_Imp(18, 4, nullptr, 0, "t", 11, "module 18 flow\n");
    EXPECT_EQ(Finish(),
              "tcp error\n, File=t, Line=3\nserial flow\n\nfiles info\n\nclient flow\n\nmodule 18 flow\n\n");
}

TEST_F(TraceGolden, GlobalLevelLimitsAndZeroWritesNothing)
{
    Finish();
    Start(2);
    Kel_P_Trace_Imp(Kel_Module_Serial, 4, nullptr, 0, "s", 1, "flow\n");
    Kel_P_Trace_Imp(Kel_Module_Serial, 3, nullptr, 0, "s", 2, "info\n");
    Kel_P_Trace_Imp(Kel_Module_Serial, 2, nullptr, 0, "s", 3, "notice\n");
    Kel_P_Trace_Imp(Kel_Module_Serial, 1, nullptr, 0, "s", 4, "error\n");
    EXPECT_EQ(Finish(), "notice\n, File=s, Line=3\nerror\n, File=s, Line=4\n");

    Start(0);
    int context = 0;
    EXPECT_EQ(Kel_Sample_Check(nullptr, 1, 0, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Sample_Steps(1, Kel_BadTimeout), Kel_BadTimeout);
    EXPECT_EQ(Kel_Sample_Check(&context, 1, 0, 0), Kel_Good);
    Kel_P_Trace_Imp(Kel_Module_Serial, 1, nullptr, 0, "s", 5, "error\n");
    EXPECT_EQ(Finish(), "");
}

TEST_F(TraceGolden, LineIsCutAtTheBufferSize)
{
    const std::string text(1020, 'x');
    Kel_P_Trace_Imp(Kel_Module_Serial, 1, nullptr, 0, "s", 1, "%s", text.c_str());
    const std::string longer(1500, 'y');
    uint8_t data[4] = {1, 2, 3, 4};
    Kel_P_Trace_Imp(Kel_Module_Serial, 4, data, 4, "s", 2, "%s", longer.c_str());
    Kel_P_Trace_Imp(Kel_Module_Serial, 4, nullptr, 0, "s", 3, "next\n");
    // A cut line keeps its first 1024 characters and loses its line end.
    EXPECT_EQ(Finish(), text + ", Fi" + std::string(1024, 'y') + "next\n\n");
}

TEST_F(TraceGolden, PercentSignsInTheFinishedLineAreWrittenAsTheyAre)
{
    Kel_P_Trace_Imp(Kel_Module_Serial, 4, nullptr, 0, "s", 1, "Text=%s\n", "100%d %s %%");
    EXPECT_EQ(Finish(), "Text=100%d %s %%\n\n");
}
