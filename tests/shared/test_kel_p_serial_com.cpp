// The serial port: failures without a line (argument rejections, a missing or closed port, refused
// baud rates) with their exact trace lines, then the port on a line whose far end echoes every byte,
// opened by its COM name. On POSIX the test makes that line itself: a pseudo-terminal pair, an echoing
// thread on the far end and a COMn link in Q310_SERIAL_DIR. The Windows build runs under wine through
// scripts/wine-com-test.sh, which maps a COM port of the wine prefix to a pseudo-terminal with an
// echoing socat on the far end and names it in Q310_TEST_COM_PORT; run without it, the line tests
// are skipped. Latency and the time-out words are covered on POSIX by test_kel_p_serial_pty.
#include "kel_p_serial_test_support.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <poll.h>
#include <pty.h>
#include <unistd.h>
#endif

namespace
{
Kel_P_Serial_Context ClosedContext(const char* pName)
{
    Kel_P_Serial_Context context;
    EXPECT_EQ(Kel_P_Serial_CreateContext(&context), Kel_Good);
    snprintf(context.port_name, sizeof(context.port_name), "%s", pName);
    return context;
}
} // namespace

TEST(SerialPort, RejectedArgumentsTraceEntryAndName)
{
    Kel_P_Serial_Context context = ClosedContext("COM1");
    uint8_t buffer[4] = {};
    uint32_t count = 0;
    const std::pair<std::function<Kel_StatusCode()>, const char*> cases[] = {
        {[&] { return Kel_P_Serial_CreateContext(nullptr); }, "CreateContext|Arg pSerialContext"},
        {[&] { return Kel_P_Serial_Open(nullptr, 1, &context); }, "Open|Arg aPortName"},
        {[&] { return Kel_P_Serial_Read(&context, buffer, 4, 0, nullptr); }, "|Arg pBytesReaded"},
        {[&] { return Kel_P_Serial_Write(&context, nullptr, 4, 0, &count); }, "Write|Arg pBuffer"},
        {[&] { return Kel_P_Serial_Get_Bytes_In_Buffer(&context, 1, nullptr); },
         "Get_Bytes_In_Buffer|Arg aBytesCount"},
        {[&] { return Kel_P_Serial_GetPortNameList(nullptr); }, "GetPortNameList|Arg pPortNameList"},
        {[&] { return Kel_P_Serial_Factory_Open("COM1", nullptr); }, "CreateContext|Arg pSerialContext"},
    };
    for (const auto& [call, form] : cases)
    {
        TraceCapture trace;
        EXPECT_EQ(call(), Kel_BadInvalidArgument) << form;
        const std::string text = form, function = text.substr(0, text.find('|'));
        const std::string entry =
            function.empty() ? "" : "--> Kel_Module_Serial::Kel_P_Serial_" + function + " (0x00000001)\n\n";
        EXPECT_EQ(trace.Text(),
                  entry + "<-- ReturnError: " + text.substr(function.size() + 1) + " is NULL!\n" + At());
    }
}

TEST(SerialPort, OpenFailuresTraceTheFailedStep)
{
#if !defined(_WIN32)
    // COMn points at an empty folder, so a missing port is missing whatever the machine has.
    char folder[] = "/tmp/q310-serial-empty-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    SetEnvironment("Q310_SERIAL_DIR", folder);
#endif
    const std::string openFailure =
        std::string("--> Kel_Module_Serial::Kel_P_Serial_Open (0x00000001)\n\n") +
        "Kel_P_Serial_Open, aPortName=COM250\n\n" +
        "--- GotoError: Expr (pSerialContext->port_fd==KEL_INVALID_HANDLE_VALUE) is true!\n" + At() +
        "<-- \"Kel_P_Serial_Open\" = 0x80020000 (BAD) error=" + strerror(ENOENT) + ".\n" + At() +
        "<-- \"Kel_P_Serial_Open\" = 0x80020000 (BAD).\n" + At();
    Kel_P_Serial_Context context = ClosedContext("");
    TraceCapture trace;
    EXPECT_EQ(Kel_P_Serial_Open("COM250", 1, &context), Kel_BadInternalError);
    EXPECT_EQ(trace.Text(), openFailure);
    EXPECT_EQ(context.port_fd, KEL_INVALID_HANDLE_VALUE);
    EXPECT_STREQ(context.port_name, "COM250");

    TraceCapture empty;
    EXPECT_EQ(Kel_P_Serial_Open("", 0, &context), Kel_BadInvalidArgument);
    EXPECT_EQ(empty.Text(), std::string("--> Kel_Module_Serial::Kel_P_Serial_Open (0x00000001)\n\n") +
                                "Kel_P_Serial_Open, aPortName=\n\n" +
                                "--- GotoError: Expr (result <= 0) is true!\n" + At() +
                                "<-- \"Kel_P_Serial_Open\" = 0x80AB0000 (BAD).\n" + At());

    // Factory_Open traces under the CreateContext name; a name that is no number is used as it is.
    TraceCapture factory;
    EXPECT_EQ(Kel_P_Serial_Factory_Open("COM250", &context), Kel_BadInternalError);
    EXPECT_EQ(factory.Text(),
              std::string("--> Kel_Module_Serial::Kel_P_Serial_CreateContext (0x00000001)\n\n") +
                  "--> Kel_Module_Serial::Kel_P_Serial_CreateContext (0x00000001)\n\n" +
                  "<-- \"Kel_P_Serial_CreateContext\" = 0x00000000 (GOOD).\n\n" + openFailure +
                  "--- GotoError: Bad statuscode 0x80020000\n" + At() +
                  "<-- \"Kel_P_Serial_CreateContext\" = 0x80020000 (BAD).\n" + At());
    EXPECT_EQ(Kel_P_Serial_Factory_Open("COM1234567890123456789012", &context), Kel_BadInternalError);
    EXPECT_STREQ(context.port_name, "COM12345678901234567"); // cut at twenty characters
}

TEST(SerialPort, FailuresOfAClosedPortNameTheirExpressionAndBaudRatesAreCheckedFirst)
{
    Kel_P_Serial_Context context = ClosedContext("COM9");
    context.dcb.DCBlength = sizeof(Kel_P_Serial_DCB);
    context.dcb.BaudRate = 9600;
    context.dcb.ByteSize = 8;
    uint32_t count = 0;
    // Hardware flag 0: a purge does nothing, so even a closed port clears.
    EXPECT_EQ(Kel_P_Serial_Clear_Buffer(&context, 1), Kel_Good);
    const std::pair<std::function<Kel_StatusCode()>, const char*> cases[] = {
        {[&] { return Kel_P_Serial_Set_Params(&context, 9600, 0, 8, 1, 0); },
         "(GetCommState(pSerialContext->port_fd,&dcb)==0)"},
        {[&] { return Kel_P_Serial_Get_Bytes_In_Buffer(&context, 1, &count); },
         "(ClearCommError(pSerialContext->port_fd,&temp,&comstat)==0)"},
        {[&] { return Kel_P_Serial_Set_Signal(&context, KEL_SERIAL_SIGNAL_DTR); },
         "(EscapeCommFunction(pSerialContext->port_fd,SETDTR)==0)"},
        {[&] { return Kel_P_Serial_Set_State(&context); },
         "(SetCommState(pSerialContext->port_fd,&pSerialContext->dcb)==0)"},
        {[&]
         {
             context.isHardwarePort = 1;
             return Kel_P_Serial_Clear_Buffer(&context, 1);
         },
         "(PurgeComm(pSerialContext->port_fd,aInput==KEL_TRUE?PURGE_TXCLEAR|PURGE_RXCLEAR:PURGE_TXCLEAR)=="
         "0)"},
    };
    for (const auto& [call, expression] : cases)
    {
        TraceCapture trace;
        EXPECT_EQ(call(), Kel_BadInternalError) << expression;
        const std::string text = trace.Text();
        EXPECT_THAT(text, testing::HasSubstr(std::string("--- GotoError: Expr ") + expression +
                                             " is true!\n" + At() + "<-- \""));
        EXPECT_THAT(text, testing::HasSubstr("= 0x80020000 (BAD) error="));
    }
    // A read of a closed port waits its idle time and gives nothing; it traces its success exit only.
    uint8_t buffer[8];
    uint32_t received = 99;
    TraceCapture trace;
    const int64_t start = MonotonicMs();
    EXPECT_EQ(Kel_P_Serial_Read(&context, buffer, sizeof(buffer), 1000, &received), Kel_Good);
    EXPECT_GE(MonotonicMs() - start, 4);
    EXPECT_EQ(received, 0u);
    EXPECT_EQ(trace.Text(), "<-- \"Kel_P_Serial_Read\" = 0x00000000 (GOOD).\n\n");
    // An unknown rate is refused before the line is touched.
    TraceCapture rateTrace;
    EXPECT_EQ(Kel_P_Serial_Set_Params(&context, 250000, 2, 7, 3, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(rateTrace.Text(),
              std::string("--> Kel_Module_Serial::Kel_P_Serial_Set_Params (0x00000001)\n\n") +
                  "Kel_P_Serial_Set_Params - Fail, Unknown baudrate, port_name=COM9, baud_rate=250000" +
                  At() + "<--- ReturnError: Kel_BadInvalidArgument. Statuscode 0x80AB0000\n" + At());
    // A listed rate gets past the check and fails only at the closed port's settings.
    for (uint32_t rate : {110u, 300u, 600u, 1200u, 2400u, 4800u, 9600u, 14400u, 19200u, 38400u, 56000u,
                          57600u, 115200u, 128000u, 256000u})
        EXPECT_EQ(Kel_P_Serial_Set_Params(&context, rate, 0, 8, 1, 0), Kel_BadInternalError) << rate;
    for (uint32_t rate : {0u, 9601u, 230400u, 921600u})
        EXPECT_EQ(Kel_P_Serial_Set_Params(&context, rate, 0, 8, 1, 0), Kel_BadInvalidArgument) << rate;
}

namespace
{
using Bytes = std::vector<uint8_t>;

#if defined(_WIN32)
// The COM port the wrapper script prepared, and the system's port list in the registry.
class EchoLine
{
public:
    bool Start()
    {
        const char* pName = getenv("Q310_TEST_COM_PORT");
        mName = pName != nullptr ? pName : "";
        return !mName.empty();
    }
    void Stop()
    {
        HKEY key = OpenList();
        if (key == nullptr)
            return;
        for (const std::string& value : mRegistered)
            RegDeleteValueA(key, value.c_str());
        RegCloseKey(key);
        mRegistered.clear();
    }
    const std::string& Name() const { return mName; }
    // Adds a port to the system's port list under a value name that sorts by aOrder.
    void Register(const std::string& aPortName, int aOrder)
    {
        HKEY key = OpenList();
        ASSERT_NE(key, nullptr);
        char value[64];
        snprintf(value, sizeof(value), "\\Device\\000Q310Test%03d", aOrder);
        ASSERT_EQ(RegSetValueExA(key, value, 0, REG_SZ, reinterpret_cast<const BYTE*>(aPortName.c_str()),
                                 static_cast<DWORD>(aPortName.size() + 1)),
                  ERROR_SUCCESS);
        mRegistered.push_back(value);
        RegCloseKey(key);
    }

private:
    static HKEY OpenList()
    {
        HKEY key = nullptr;
        if (RegCreateKeyExA(HKEY_LOCAL_MACHINE, "HARDWARE\\DEVICEMAP\\SERIALCOMM", 0, nullptr,
                            REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &key, nullptr) != ERROR_SUCCESS)
            return nullptr;
        return key;
    }
    std::string mName;
    std::vector<std::string> mRegistered;
};
#else
// A pseudo-terminal pair whose far end echoes, reached as COM5 through a link folder. The test keeps
// the terminal end open as well, so the far end does not see a hang-up when the port is reopened.
class EchoLine
{
public:
    bool Start()
    {
        char name[256] = {};
        if (openpty(&mFar, &mHolder, name, nullptr, nullptr) != 0)
            return false;
        mDevice = name;
        char pattern[] = "/tmp/q310-com-XXXXXX";
        if (mkdtemp(pattern) == nullptr)
            return false;
        mFolder = pattern;
        SetEnvironment("Q310_SERIAL_DIR", mFolder);
        Register(Name(), 0);
        mEcho = std::thread(
            [this]
            {
                uint8_t chunk[256];
                while (!mStop.load())
                {
                    pollfd entry{mFar, POLLIN, 0};
                    if (poll(&entry, 1, 10) <= 0)
                        continue;
                    const ssize_t got = read(mFar, chunk, sizeof(chunk));
                    if (got > 0 && write(mFar, chunk, static_cast<size_t>(got)) != got)
                        perror("echo");
                }
            });
        return true;
    }
    void Stop()
    {
        mStop.store(true);
        if (mEcho.joinable())
            mEcho.join();
        close(mHolder);
        close(mFar);
        if (system(("rm -rf '" + mFolder + "'").c_str()) != 0)
            perror("rm");
    }
    std::string Name() const { return "COM5"; }
    // Adds a port to the port list (a link in the folder); a port listed already stays as it is.
    void Register(const std::string& aPortName, int)
    {
        const std::string link = mFolder + "/" + aPortName;
        if (access(link.c_str(), F_OK) != 0)
        {
            ASSERT_EQ(symlink(mDevice.c_str(), link.c_str()), 0);
        }
    }

private:
    int mFar = -1;
    int mHolder = -1;
    std::string mDevice;
    std::string mFolder;
    std::thread mEcho;
    std::atomic<bool> mStop{false};
};
#endif

class EchoPort : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!mLine.Start())
            GTEST_SKIP() << "no COM port given in Q310_TEST_COM_PORT (run through scripts/wine-com-test.sh)";
        mStarted = true;
        ASSERT_EQ(Kel_P_Serial_CreateContext(&mPort), Kel_Good);
        ASSERT_EQ(Kel_P_Serial_Open(mLine.Name().c_str(), 1, &mPort), Kel_Good);
        ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 9600, 0, 8, 1, 0), Kel_Good);
    }
    void TearDown() override
    {
        Kel_P_Serial_Close(&mPort);
        if (mStarted)
            mLine.Stop();
    }

    void Send(const Bytes& aBytes)
    {
        uint32_t written = 0;
        ASSERT_EQ(
            Kel_P_Serial_Write(&mPort, aBytes.data(), static_cast<uint32_t>(aBytes.size()), 0, &written),
            Kel_Good);
        ASSERT_EQ(written, aBytes.size());
    }

    // Reads until aCount bytes came or 3 s passed, as the channel's answer loop does.
    Bytes Receive(size_t aCount)
    {
        Bytes bytes;
        const int64_t deadline = MonotonicMs() + 3000;
        while (bytes.size() < aCount && MonotonicMs() < deadline)
        {
            uint8_t chunk[64];
            uint32_t received = 0;
            EXPECT_EQ(Kel_P_Serial_Read(&mPort, chunk, sizeof(chunk), 0, &received), Kel_Good);
            bytes.insert(bytes.end(), chunk, chunk + received);
        }
        return bytes;
    }

    uint32_t WaitQueued(uint32_t aCount)
    {
        uint32_t queued = 0;
        for (const int64_t deadline = MonotonicMs() + 3000; queued < aCount && MonotonicMs() < deadline;
             std::this_thread::sleep_for(std::chrono::milliseconds(5)))
            EXPECT_EQ(Kel_P_Serial_Get_Bytes_In_Buffer(&mPort, 1, &queued), Kel_Good);
        return queued;
    }

    EchoLine mLine;
    bool mStarted = false;
    Kel_P_Serial_Context mPort;
};
} // namespace

TEST_F(EchoPort, BytesComeBackAsSentAndAPurgeDropsQueuedInput)
{
    const Bytes request = {0x00, 0x01, 0x0D, 0x0A, 0x11, 0x13, 0x7F, 0x80, 0xFF, 0x1B, 0x03, 0x04};
    TraceCapture trace;
    Send(request);
    EXPECT_EQ(Receive(request.size()), request); // no line-end or flow-control processing
    const std::string text = trace.Text();
    EXPECT_THAT(text, testing::StartsWith("--> Kel_Module_Serial::Kel_P_Serial_Write (0x00000001)\n\n"
                                          "Write:[12] 00 01 0D 0A 11 13 7F 80 FF 1B 03 04 \n"
                                          "<-- \"Kel_P_Serial_Write\" = 0x00000000 (GOOD).\n\n"));
    EXPECT_THAT(text, testing::HasSubstr("\nRead:["));

    Send({0x21, 0x22, 0x23, 0x24, 0x25});
    ASSERT_EQ(WaitQueued(5), 5u);
    EXPECT_EQ(Kel_P_Serial_Clear_Buffer(&mPort, 0), Kel_Good); // output only: the input stays
    EXPECT_EQ(WaitQueued(5), 5u);
    EXPECT_EQ(Kel_P_Serial_Clear_Buffer(&mPort, 1), Kel_Good);
    uint32_t queued = 99;
    EXPECT_EQ(Kel_P_Serial_Get_Bytes_In_Buffer(&mPort, 1, &queued), Kel_Good);
    EXPECT_EQ(queued, 0u);
    // Modem signals on a port without modem lines report success; the line still carries data.
    EXPECT_EQ(Kel_P_Serial_Set_Signal(&mPort, KEL_SERIAL_SIGNAL_DTR), Kel_Good);
    EXPECT_EQ(Kel_P_Serial_Set_Signal(&mPort, KEL_SERIAL_SIGNAL_RTS), Kel_Good);
    Send({0x30});
    EXPECT_EQ(Receive(1), (Bytes{0x30}));
}

TEST_F(EchoPort, SetParamsSetsTheLineAndReOpenAppliesItAgain)
{
    auto expectTimeouts =
        [this](uint32_t aInterval, uint32_t aMultiplier, uint32_t aConstant, uint32_t aWriteConstant)
    {
        Kel_P_Serial_CommTimeouts timeouts{};
        ASSERT_NE(Kel_P_Serial_GetCommTimeouts(mPort.port_fd, &timeouts), 0);
        EXPECT_EQ(timeouts.ReadIntervalTimeout, aInterval);
        EXPECT_EQ(timeouts.ReadTotalTimeoutMultiplier, aMultiplier);
        EXPECT_EQ(timeouts.ReadTotalTimeoutConstant, aConstant);
        EXPECT_EQ(timeouts.WriteTotalTimeoutConstant, aWriteConstant);
    };
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 4800, 0, 8, 2, 1), Kel_Good);
    ASSERT_EQ(Kel_P_Serial_Get_State(&mPort), Kel_Good);
    EXPECT_EQ(mPort.dcb.BaudRate, 4800u);
    EXPECT_EQ(mPort.dcb.StopBits, KEL_SERIAL_TWOSTOPBITS);
    EXPECT_EQ(mPort.dcb.fOutX + mPort.dcb.fInX, 2u);
    expectTimeouts(0xFFFFFFFFu, 0, 0, 1000); // return at once, writes 10 ms a byte plus 1 s

    // 250000 is refused and leaves the line and the time-outs as they were.
    const Kel_P_Serial_CommTimeouts own{100, 0, 0, 0, 500};
    ASSERT_NE(Kel_P_Serial_SetCommTimeouts(mPort.port_fd, &own), 0);
    EXPECT_EQ(Kel_P_Serial_Set_Params(&mPort, 250000, 2, 7, 1, 0), Kel_BadInvalidArgument);
    ASSERT_EQ(Kel_P_Serial_Get_State(&mPort), Kel_Good);
    EXPECT_EQ(mPort.dcb.BaudRate, 4800u);
    expectTimeouts(100, 0, 0, 500);

    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 19200, 0, 8, 2, 0), Kel_Good);
    ASSERT_NE(Kel_P_Serial_SetCommTimeouts(mPort.port_fd, &own), 0);
    const int64_t start = MonotonicMs();
    ASSERT_EQ(Kel_P_Serial_ReOpen(&mPort, 1001), Kel_Good);
    EXPECT_GE(MonotonicMs() - start, 500); // half the delay
    ASSERT_EQ(Kel_P_Serial_Get_State(&mPort), Kel_Good);
    EXPECT_EQ(mPort.dcb.BaudRate, 19200u);
    EXPECT_EQ(mPort.dcb.StopBits, KEL_SERIAL_TWOSTOPBITS);
    expectTimeouts(0xFFFFFFFFu, 0, 0, 1000);
    Send({0x44, 0x45});
    EXPECT_EQ(Receive(2), (Bytes{0x44, 0x45}));
}

TEST_F(EchoPort, FactoryOpenResolvesANumberThroughThePortList)
{
    Kel_P_Serial_Close(&mPort);
    mLine.Register(mLine.Name(), 0);
    Kel_P_Serial_PortNameList list;
    ASSERT_EQ(Kel_P_Serial_GetPortNameList(&list), Kel_Good);
    int position = -1;
    for (int index = 0; index < list.count; ++index)
        position = mLine.Name() == list.portNames[index] ? index : position;
    ASSERT_GE(position, 0);
    ASSERT_EQ(Kel_P_Serial_Factory_Open(std::to_string(position + 1).c_str(), &mPort), Kel_Good);
    EXPECT_EQ(mLine.Name(), mPort.port_name);
    EXPECT_EQ(mPort.isHardwarePort, 1u);
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 9600, 0, 8, 1, 0), Kel_Good);
    Send({0x61});
    EXPECT_EQ(Receive(1), (Bytes{0x61}));
    // More registered ports than the list holds: it stops at 20.
    for (int order = 1; order <= 25; ++order)
        mLine.Register("COM" + std::to_string(200 + order), order);
    ASSERT_EQ(Kel_P_Serial_GetPortNameList(&list), Kel_Good);
    EXPECT_EQ(list.count, 20u);
}
