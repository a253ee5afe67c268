// Serial port behaviour that needs no line: context life cycle, argument rejections, failures on a
// missing or closed port with their exact trace lines, and the refused baud rate.
#include "kel_p_serial_test_support.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#if !defined(_WIN32)
#include <stdlib.h>
#include <unistd.h>
#endif

namespace
{
// Points COMn at an empty folder on POSIX, so a missing port is missing whatever the machine has.
void UseEmptyPortFolder()
{
#if !defined(_WIN32)
    // Made once, removed when the test program ends.
    struct EmptyFolder
    {
        std::string path;
        EmptyFolder()
        {
            char pattern[] = "/tmp/q310-serial-empty-XXXXXX";
            if (mkdtemp(pattern) != nullptr)
                path = pattern;
        }
        ~EmptyFolder()
        {
            if (!path.empty())
                rmdir(path.c_str());
        }
    };
    static EmptyFolder folder;
    ASSERT_FALSE(folder.path.empty());
    SetEnvironment("Q310_SERIAL_DIR", folder.path);
#endif
}

std::string OpenFailureLines(const char* pName)
{
    return std::string("--> Kel_Module_Serial::Kel_P_Serial_Open (0x00000001)\n\n") +
           "Kel_P_Serial_Open, aPortName=" + pName + "\n\n" +
           "--- GotoError: Expr (pSerialContext->port_fd==KEL_INVALID_HANDLE_VALUE) is true!\n" + At() +
           "<-- \"Kel_P_Serial_Open\" = 0x80020000 (BAD) error=" + strerror(ENOENT) + ".\n" + At() +
           "<-- \"Kel_P_Serial_Open\" = 0x80020000 (BAD).\n" + At();
}

Kel_P_Serial_Context ClosedContext(const char* pName)
{
    Kel_P_Serial_Context context;
    EXPECT_EQ(Kel_P_Serial_CreateContext(&context), Kel_Good);
    snprintf(context.port_name, sizeof(context.port_name), "%s", pName);
    return context;
}
} // namespace

TEST(SerialPort, NullArgumentsAreRejectedInParameterOrder)
{
    Kel_P_Serial_Context context = ClosedContext("COM1");
    uint8_t buffer[4] = {};
    uint32_t count = 0;
    TraceCapture trace;
    EXPECT_EQ(Kel_P_Serial_CreateContext(nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Serial_Open(nullptr, 1, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Serial_Open("COM1", 1, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Serial_Read(&context, buffer, 4, 0, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Serial_Write(&context, nullptr, 4, 0, &count), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Serial_Get_Bytes_In_Buffer(&context, 1, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Serial_IsConnected(nullptr, &count), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Serial_GetPortNameList(nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_P_Serial_Factory_Open("COM1", nullptr), Kel_BadInvalidArgument);
    const std::string entry = "--> Kel_Module_Serial::";
    EXPECT_EQ(trace.Text(),
              entry + "Kel_P_Serial_CreateContext (0x00000001)\n\n" +
                  "<-- ReturnError: Arg pSerialContext is NULL!\n" + At() + entry +
                  "Kel_P_Serial_Open (0x00000001)\n\n" + "<-- ReturnError: Arg aPortName is NULL!\n" + At() +
                  entry + "Kel_P_Serial_Open (0x00000001)\n\n" +
                  "<-- ReturnError: Arg pSerialContext is NULL!\n" + At() +
                  "<-- ReturnError: Arg pBytesReaded is NULL!\n" + At() + entry +
                  "Kel_P_Serial_Write (0x00000001)\n\n" + "<-- ReturnError: Arg pBuffer is NULL!\n" + At() +
                  entry + "Kel_P_Serial_Get_Bytes_In_Buffer (0x00000001)\n\n" +
                  "<-- ReturnError: Arg aBytesCount is NULL!\n" + At() +
                  "<-- ReturnError: Arg pSerialContext is NULL!\n" + At() + entry +
                  "Kel_P_Serial_GetPortNameList (0x00000001)\n\n" +
                  "<-- ReturnError: Arg pPortNameList is NULL!\n" + At() + entry +
                  "Kel_P_Serial_CreateContext (0x00000001)\n\n" +
                  "<-- ReturnError: Arg pSerialContext is NULL!\n" + At());
}

TEST(SerialPort, OpenOfAMissingPortTracesTheFailureTwice)
{
    UseEmptyPortFolder();
    Kel_P_Serial_Context context = ClosedContext("");
    TraceCapture trace;
    EXPECT_EQ(Kel_P_Serial_Open("COM250", 1, &context), Kel_BadInternalError);
    EXPECT_EQ(trace.Text(), OpenFailureLines("COM250"));
    EXPECT_EQ(context.port_fd, KEL_INVALID_HANDLE_VALUE);
    EXPECT_STREQ(context.port_name, "COM250");
    EXPECT_EQ(context.isHardwarePort, 1u);
}

TEST(SerialPort, OpenOfAnEmptyNameIsAnInvalidArgument)
{
    Kel_P_Serial_Context context = ClosedContext("");
    TraceCapture trace;
    EXPECT_EQ(Kel_P_Serial_Open("", 0, &context), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Text(), std::string("--> Kel_Module_Serial::Kel_P_Serial_Open (0x00000001)\n\n") +
                                "Kel_P_Serial_Open, aPortName=\n\n" +
                                "--- GotoError: Expr (result <= 0) is true!\n" + At() +
                                "<-- \"Kel_P_Serial_Open\" = 0x80AB0000 (BAD).\n" + At());
    EXPECT_EQ(context.port_fd, KEL_INVALID_HANDLE_VALUE);
}

TEST(SerialPort, FactoryOpenTracesUnderTheCreateContextName)
{
    UseEmptyPortFolder();
    Kel_P_Serial_Context context;
    memset(&context, 0x5A, sizeof(context));
    TraceCapture trace;
    // Not a number: the name is used as it is, without the port list.
    EXPECT_EQ(Kel_P_Serial_Factory_Open("COM250", &context), Kel_BadInternalError);
    EXPECT_EQ(trace.Text(),
              std::string("--> Kel_Module_Serial::Kel_P_Serial_CreateContext (0x00000001)\n\n") +
                  "--> Kel_Module_Serial::Kel_P_Serial_CreateContext (0x00000001)\n\n" +
                  "<-- \"Kel_P_Serial_CreateContext\" = 0x00000000 (GOOD).\n\n" + OpenFailureLines("COM250") +
                  "--- GotoError: Bad statuscode 0x80020000\n" + At() +
                  "<-- \"Kel_P_Serial_CreateContext\" = 0x80020000 (BAD).\n" + At());
    EXPECT_EQ(context.port_fd, KEL_INVALID_HANDLE_VALUE);
    EXPECT_EQ(context.baud_rate, 0u); // the context was created before the open
}

TEST(SerialPort, FactoryOpenCutsTheNameAtTwentyCharacters)
{
    UseEmptyPortFolder();
    Kel_P_Serial_Context context;
    EXPECT_EQ(Kel_P_Serial_Factory_Open("COM1234567890123456789012", &context), Kel_BadInternalError);
    EXPECT_STREQ(context.port_name, "COM12345678901234567");
}

TEST(SerialPort, SetParamsStoresTheFiveValuesBeforeRefusingAnUnknownBaudRate)
{
    Kel_P_Serial_Context context = ClosedContext("COM9");
    TraceCapture trace;
    EXPECT_EQ(Kel_P_Serial_Set_Params(&context, 250000, 2, 7, 3, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(trace.Text(),
              std::string("--> Kel_Module_Serial::Kel_P_Serial_Set_Params (0x00000001)\n\n") +
                  "Kel_P_Serial_Set_Params - Fail, Unknown baudrate, port_name=COM9, baud_rate=250000" +
                  At() + "<--- ReturnError: Kel_BadInvalidArgument. Statuscode 0x80AB0000\n" + At());
    EXPECT_EQ(context.baud_rate, 250000u);
    EXPECT_EQ(context.flow_control, 1);
}

TEST(SerialPort, EveryListedBaudRatePassesTheCheckAndNeighboursDoNot)
{
    Kel_P_Serial_Context context = ClosedContext("COM9");
    // A listed rate gets past the check and fails only at the closed port's settings.
    for (uint32_t rate : {110u, 300u, 600u, 1200u, 2400u, 4800u, 9600u, 14400u, 19200u, 38400u, 56000u,
                          57600u, 115200u, 128000u, 256000u})
        EXPECT_EQ(Kel_P_Serial_Set_Params(&context, rate, 0, 8, 1, 0), Kel_BadInternalError) << rate;
    for (uint32_t rate : {0u, 9601u, 230400u, 250000u, 921600u})
        EXPECT_EQ(Kel_P_Serial_Set_Params(&context, rate, 0, 8, 1, 0), Kel_BadInvalidArgument) << rate;
}

TEST(SerialPort, SetParamsOnAClosedPortFailsReadingTheSettings)
{
    Kel_P_Serial_Context context = ClosedContext("COM9");
    TraceCapture trace;
    EXPECT_EQ(Kel_P_Serial_Set_Params(&context, 9600, 0, 8, 1, 0), Kel_BadInternalError);
    const std::string text = trace.Text();
    const std::string head =
        std::string("--> Kel_Module_Serial::Kel_P_Serial_Set_Params (0x00000001)\n\n") +
        "--- GotoError: Expr (GetCommState(pSerialContext->port_fd,&dcb)==0) is true!\n" + At() +
        "<-- \"Kel_P_Serial_Set_Params\" = 0x80020000 (BAD) error=";
    EXPECT_EQ(text.substr(0, head.size()), head);
    EXPECT_EQ(text.substr(text.size() - At().size() - 2), ".\n" + At());
}

TEST(SerialPort, ClearBufferTouchesOnlyHardwarePorts)
{
    Kel_P_Serial_Context context = ClosedContext("COM9");
    // Hardware flag 0: nothing is done, so even a closed port clears.
    EXPECT_EQ(Kel_P_Serial_Clear_Buffer(&context, 1), Kel_Good);
    EXPECT_EQ(Kel_P_Serial_Clear_Buffer(&context, 0), Kel_Good);
    context.isHardwarePort = 1;
    TraceCapture trace;
    EXPECT_EQ(Kel_P_Serial_Clear_Buffer(&context, 1), Kel_BadInternalError);
    const std::string text = trace.Text();
    EXPECT_NE(
        text.find("--- GotoError: Expr (PurgeComm(pSerialContext->port_fd,aInput==KEL_TRUE?PURGE_TXCLEAR|"
                  "PURGE_RXCLEAR:PURGE_TXCLEAR)==0) is true!\n" +
                  At()),
        std::string::npos)
        << text;
}

TEST(SerialPort, FailuresOfAClosedPortNameTheirExpression)
{
    Kel_P_Serial_Context context = ClosedContext("COM9");
    uint32_t count = 0;
    struct Case
    {
        Kel_StatusCode (*call)(Kel_P_Serial_Context*, uint32_t*);
        const char* expression;
    };
    const Case cases[] = {
        {[](Kel_P_Serial_Context* c, uint32_t* n) { return Kel_P_Serial_Get_Bytes_In_Buffer(c, 1, n); },
         "(ClearCommError(pSerialContext->port_fd,&temp,&comstat)==0)"},
        {[](Kel_P_Serial_Context* c, uint32_t*) { return Kel_P_Serial_Set_Signal(c, KEL_SERIAL_SIGNAL_DTR); },
         "(EscapeCommFunction(pSerialContext->port_fd,SETDTR)==0)"},
        {[](Kel_P_Serial_Context* c, uint32_t*) { return Kel_P_Serial_Set_Signal(c, KEL_SERIAL_SIGNAL_RTS); },
         "(EscapeCommFunction(pSerialContext->port_fd,SETRTS)==0)"},
        {[](Kel_P_Serial_Context* c, uint32_t*) { return Kel_P_Serial_Send_Break(c); },
         "(SetCommBreak(pSerialContext->port_fd)==0)"},
        {[](Kel_P_Serial_Context* c, uint32_t*) { return Kel_P_Serial_Get_State(c); },
         "(GetCommState(pSerialContext->port_fd,&pSerialContext->dcb)==0)"},
        {[](Kel_P_Serial_Context* c, uint32_t*) { return Kel_P_Serial_Set_State(c); },
         "(SetCommState(pSerialContext->port_fd,&pSerialContext->dcb)==0)"},
    };
    context.dcb.DCBlength = sizeof(Kel_P_Serial_DCB);
    context.dcb.BaudRate = 9600;
    context.dcb.ByteSize = 8;
    for (const Case& c : cases)
    {
        TraceCapture trace;
        EXPECT_EQ(c.call(&context, &count), Kel_BadInternalError) << c.expression;
        const std::string text = trace.Text();
        EXPECT_NE(text.find(std::string("--- GotoError: Expr ") + c.expression + " is true!\n" + At()),
                  std::string::npos)
            << text;
        EXPECT_NE(text.find("= 0x80020000 (BAD) error="), std::string::npos) << text;
    }
}

TEST(SerialPort, ReadOnAClosedPortGivesNothingAfterTheIdleWait)
{
    Kel_P_Serial_Context context = ClosedContext("COM9");
    uint8_t buffer[8];
    uint32_t received = 99;
    TraceCapture trace;
    const int64_t start = MonotonicMs();
    EXPECT_EQ(Kel_P_Serial_Read(&context, buffer, sizeof(buffer), 1000, &received), Kel_Good);
    EXPECT_GE(MonotonicMs() - start, 4);
    EXPECT_EQ(received, 0u);
    // No entry line; the success exit only.
    EXPECT_EQ(trace.Text(), "<-- \"Kel_P_Serial_Read\" = 0x00000000 (GOOD).\n\n");
}

TEST(SerialPort, CommonCallsRefuseABadHandleAndNullRecords)
{
    Kel_P_Serial_DCB dcb{};
    Kel_P_Serial_CommTimeouts timeouts{};
    EXPECT_EQ(Kel_P_Serial_GetCommState(KEL_INVALID_HANDLE_VALUE, &dcb), 0);
    EXPECT_EQ(Kel_P_Serial_GetCommTimeouts(KEL_INVALID_HANDLE_VALUE, &timeouts), 0);
    EXPECT_EQ(Kel_P_Serial_SetCommTimeouts(KEL_INVALID_HANDLE_VALUE, &timeouts), 0);
    EXPECT_EQ(Kel_P_Serial_GetCommState(KEL_INVALID_HANDLE_VALUE, nullptr), 0);
    EXPECT_EQ(Kel_P_Serial_SetCommState(KEL_INVALID_HANDLE_VALUE, nullptr), 0);
}
