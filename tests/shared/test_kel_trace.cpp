// Golden lines of the trace skeleton and of the trace call, read back from a temporary trace file:
// the entry, each rejection form, each GotoError form, the exits GOOD and BAD, the early return,
// dumps of 100 and 101 bytes, the module filter, the levels and the line length.
#define KEL_TRACE_FILE "tests/shared/test_kel_trace"
#include "shared/kel_trace.h"
#include "shared/trace_capture.h"
#include "shared/platform/kel_p_trace.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace
{
int gLineRejectNull; // one line number checked as it is; the others are written "#"

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
    KEL_REJECT_ZERO(aBytesToTransmit);
    KEL_REJECT_IF(aValue & 0xE0, Kel_BadOutOfRange);
    if (aBare != 0)
        KEL_REJECT_CODE(Kel_BadNotImplemented);
    KEL_EXIT(Kel_Good);
}

// One function with every GotoError form; aStep chooses the failing step.
Kel_StatusCode Kel_Sample_Steps(uint32_t aStep, Kel_StatusCode aCallee)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    Kel_StatusCode status = Kel_Good;
    int dcb = 0;
    void* ptm = KEL_NULL;
    const int error_code = 10035;
    if (aStep == 1)
        KEL_GOTO_IF_BAD(status, Failing(aCallee));
    if (aStep == 2)
        KEL_GOTO_IF_EXPR((Failing(static_cast<Kel_StatusCode>(dcb)) == 0));
    if (aStep == 3)
        KEL_GOTO_CODE(Kel_BadOutOfRange);
    if (aStep == 4)
        KEL_GOTO_IF_NULL(ptm, Kel_BadInternalError);
    if (aStep == 5)
        KEL_RETURN_IF(error_code == 10035, 0x0001ABCDu);
    if (aStep == 6)
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, "Broken pipe");
    KEL_EXIT_STATUS(aCallee);
}

// "[n] 00 01 .. " as a dump of the bytes 0, 1, .. writes them; past 100 bytes the middle is "... ".
std::string Dump(uint32_t aSize)
{
    std::string text = "[" + std::to_string(aSize) + "] ";
    char byte[12];
    for (uint32_t i = 0; i < aSize; ++i)
    {
        snprintf(byte, sizeof(byte), "%02X ", i);
        text += aSize > 100 && i == 50 ? "... " : (aSize > 100 && i > 50 && i < aSize - 50 ? "" : byte);
    }
    return text;
}

const std::string At = ", File=tests/shared/test_kel_trace, Line=#\n";
} // namespace

TEST(TraceGolden, EntryAndEachRejectionForm)
{
    int context = 0;
    TraceCapture trace;
    EXPECT_EQ(Kel_Sample_Check(nullptr, 1, 0, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Sample_Check(&context, 0, 0, 0), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Sample_Check(&context, 1, 0x20, 0), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_Sample_Check(&context, 1, 0x1F, 1), Kel_BadNotImplemented);
    const std::string text = trace.Stop();
    EXPECT_NE(text.find("NULL!\n, File=tests/shared/test_kel_trace, Line=" + std::to_string(gLineRejectNull) +
                        "\n"),
              std::string::npos);
    const std::string entry = "--> Kel_Module_SerialChannel::Kel_Sample_Check (0x00000009)\n\n";
    EXPECT_EQ(trace.Text(), entry + "<-- ReturnError: Arg pSerialChannelContext is NULL!\n" + At + entry +
                                "<-- ReturnError: Argument aBytesToTransmit is 0!\n" + At + entry +
                                "<-- ReturnError: aValue & 0xE0 is true! Return 0x803C0000\n" + At + entry +
                                "<-- ReturnError: 0x80400000\n" + At);
}

TEST(TraceGolden, EachGotoErrorFormTheExitsAndTheEarlyReturn)
{
    TraceCapture trace;
    EXPECT_EQ(Kel_Sample_Steps(1, Kel_BadDeviceUnknownResponse), Kel_BadDeviceUnknownResponse);
    EXPECT_EQ(Kel_Sample_Steps(2, Kel_Good), Kel_BadInternalError);
    EXPECT_EQ(Kel_Sample_Steps(3, Kel_Good), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_Sample_Steps(4, Kel_Good), Kel_BadInternalError);
    EXPECT_EQ(Kel_Sample_Steps(6, Kel_Good), Kel_BadInternalError);
    EXPECT_EQ(Kel_Sample_Steps(5, Kel_Good), 0x00010000u); // a success return clears the detail word
    // A success exit clears the detail word; a failure keeps it; bit 30 alone is traced BAD, yet is not
    // negative, so callers take it for a success.
    EXPECT_EQ(Kel_Sample_Steps(0, 0x0001ABCDu), 0x00010000u);
    EXPECT_EQ(Kel_Sample_Steps(0, 0x80AB1234u), 0x80AB1234u);
    EXPECT_EQ(Kel_Sample_Steps(0, 0x40000000u), 0x40000000u);
    const std::string entry = "--> Kel_Module_ZentorProtocolClient::Kel_Sample_Steps (0x00000101)\n\n";
    auto exitBad = [](const char* pStatus)
    { return std::string("<-- \"Kel_Sample_Steps\" = ") + pStatus + " (BAD).\n" + At; };
    EXPECT_EQ(trace.Text(),
              entry + "--- GotoError: Bad statuscode 0x8A050000\n" + At + exitBad("0x8A050000") + entry +
                  "--- GotoError: Expr (Failing(static_cast<Kel_StatusCode>(dcb)) == 0) is true!\n" + At +
                  exitBad("0x80020000") + entry +
                  "--- GotoError: Kel_BadOutOfRange. Statuscode 0x803C0000\n" + At + exitBad("0x803C0000") +
                  entry + "--- GotoError: ptm is NULL!\n" + At + exitBad("0x80020000") + entry +
                  "<-- \"Kel_Sample_Steps\" = 0x80020000 (BAD) error=Broken pipe.\n" + At + entry +
                  "<-- Return: error_code == 10035 is true! Return 0x0001ABCD\n" + At + entry +
                  "<-- \"Kel_Sample_Steps\" = 0x0001ABCD (GOOD).\n\n" + entry +
                  "<-- \"Kel_Sample_Steps\" = 0x80AB1234 (BAD).\n" + At + entry +
                  "<-- \"Kel_Sample_Steps\" = 0x40000000 (BAD).\n\n");
}

TEST(TraceGolden, DumpsOfHundredAndHundredAndOneBytes)
{
    uint8_t data[101];
    for (uint32_t i = 0; i < sizeof(data); ++i)
        data[i] = static_cast<uint8_t>(i);
    TraceCapture trace;
    Kel_P_Trace_Imp(Kel_Module_SerialChannel, 4, data, 100, "f", 1, "Kel_SerialChannel_Read - OK, Data=");
    Kel_P_Trace_Imp(Kel_Module_SerialChannel, 4, data, 101, "f", 1, "Kel_SerialChannel_Read - OK, Data=");
    Kel_P_Trace_Imp(Kel_Module_SerialChannel, 1, data, 3, "f", 77, "Bad answer, Data="); // File/Line after
    Kel_P_Trace_Imp(Kel_Module_SerialChannel, 4, nullptr, 5, "f", 1, "NoData\n"); // no dump without data
    Kel_P_Trace_Imp(Kel_Module_SerialChannel, 4, data, 0, "f", 1, "Empty\n");     // nor of size 0
    // Written out for the 101 bytes: 0..49, "... " where byte 50 stood, 51..100.
    EXPECT_EQ(Dump(101).find(" 31 ... 33 "), 6u + 48 * 3 + 2);
    EXPECT_EQ(trace.Stop(), "Kel_SerialChannel_Read - OK, Data=" + Dump(100) +
                                "\nKel_SerialChannel_Read - OK, Data=" + Dump(101) +
                                "\nBad answer, Data=[3] 00 01 02 , File=f, Line=77\nNoData\n\nEmpty\n\n");
}

TEST(TraceGolden, ModuleFilterAndLevels)
{
    TraceCapture trace;
    const struct
    {
        uint32_t module, level;
        const char* text;
    } lines[] = {{Kel_Module_Tcp, 4, "tcp flow\n"},
                 {Kel_Module_Tcp, 2, "tcp return\n"},
                 {Kel_Module_Tcp, 1, "tcp error\n"},
                 {20, 1, "module 20 error\n"},
                 {773, 1, "module 773 error\n"},
                 {Kel_Module_Mutex, 4, "mutex flow\n"},
                 {519, 3, "module 519 info\n"},
                 {Kel_Module_Serial, 4, "serial flow\n"},
                 {Kel_Module_FileSystem, 3, "files info\n"},
                 {Kel_Module_ZentorProtocolClient, 4, "client flow\n"},
                 {18, 4, "module 18 flow\n"}};
    for (const auto& line : lines)
        Kel_P_Trace_Imp(line.module, line.level, nullptr, 0, "t", 3, "%s", line.text);
    EXPECT_EQ(trace.Stop(),
              "tcp error\n, File=t, Line=3\nserial flow\n\nfiles info\n\nclient flow\n\nmodule 18 flow\n\n");

    // The global level limits every module; level 0 writes nothing, not even a rejection.
    for (uint32_t global : {2u, 0u})
    {
        TraceCapture limited;
        Kel_Trace_Initialize(global);
        for (uint32_t level = 4; level >= 1; --level)
            Kel_P_Trace_Imp(Kel_Module_Serial, level, nullptr, 0, "s", level, "level %u\n", level);
        EXPECT_EQ(Kel_Sample_Check(nullptr, 1, 0, 0), Kel_BadInvalidArgument);
        EXPECT_EQ(limited.Text(), global == 0 ? ""
                                              : "level 2\n, File=s, Line=#\nlevel 1\n, File=s, Line=#\n"
                                                "<-- ReturnError: Arg pSerialChannelContext is NULL!\n" +
                                                    At);
    }
}

TEST(TraceGolden, LinesAreCutAtTheBufferSizeAndPercentSignsKept)
{
    TraceCapture trace;
    const std::string text(1020, 'x'), longer(1500, 'y');
    uint8_t data[4] = {1, 2, 3, 4};
    Kel_P_Trace_Imp(Kel_Module_Serial, 1, nullptr, 0, "s", 1, "%s", text.c_str());
    Kel_P_Trace_Imp(Kel_Module_Serial, 4, data, 4, "s", 2, "%s", longer.c_str());
    Kel_P_Trace_Imp(Kel_Module_Serial, 4, nullptr, 0, "s", 3, "Text=%s\n", "100%d %s %%");
    // A cut line keeps its first 1024 characters and loses its line end.
    EXPECT_EQ(trace.Stop(), text + ", Fi" + std::string(1024, 'y') + "Text=100%d %s %%\n\n");
}
