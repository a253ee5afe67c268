// The serial port on a line whose far end echoes every byte, opened by its COM name. On POSIX the
// test makes the line itself: a pseudo-terminal pair, an echoing thread on the far end and a COMn
// link in Q310_SERIAL_DIR. The Windows build runs under wine through scripts/wine-com-test.sh, which
// maps a COM port of the wine prefix to a pseudo-terminal with an echoing socat on the far end and
// names it in Q310_TEST_COM_PORT; run without it, the line tests are skipped.
// Latency is not asserted here (wine's serial time-outs differ), nor the exclusive open (wine does
// not refuse a second open of a device); test_kel_p_serial_pty covers both on POSIX.
#include "kel_p_serial_test_support.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <stdlib.h>
#include <unistd.h>
#endif

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
        mName = GetEnvironment("Q310_TEST_COM_PORT");
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
        mName = "COM5";
        Register(mName, 0);
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
        const std::string command = "rm -rf '" + mFolder + "'";
        if (system(command.c_str()) != 0)
            perror("rm");
    }
    const std::string& Name() const { return mName; }
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
    std::string mName;
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
        const int64_t deadline = MonotonicMs() + 3000;
        while (MonotonicMs() < deadline)
        {
            EXPECT_EQ(Kel_P_Serial_Get_Bytes_In_Buffer(&mPort, 1, &queued), Kel_Good);
            if (queued >= aCount)
                break;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return queued;
    }

    EchoLine mLine;
    bool mStarted = false;
    Kel_P_Serial_Context mPort;
};
} // namespace

TEST_F(EchoPort, TheEchoComesBackByteForByte)
{
    const Bytes request = {0x00, 0x01, 0x0D, 0x0A, 0x11, 0x13, 0x7F, 0x80, 0xFF, 0x1B, 0x03, 0x04};
    TraceCapture trace;
    Send(request);
    EXPECT_EQ(Receive(request.size()), request);
    const std::string text = trace.Text();
    EXPECT_EQ(text.rfind("--> Kel_Module_Serial::Kel_P_Serial_Write (0x00000001)\n\n"
                         "Write:[12] 00 01 0D 0A 11 13 7F 80 FF 1B 03 04 \n"
                         "<-- \"Kel_P_Serial_Write\" = 0x00000000 (GOOD).\n\n",
                         0),
              0u)
        << text;
    EXPECT_NE(text.find("\nRead:["), std::string::npos) << text;
    // Nothing more follows.
    uint8_t extra[8];
    uint32_t received = 9;
    EXPECT_EQ(Kel_P_Serial_Read(&mPort, extra, sizeof(extra), 0, &received), Kel_Good);
    EXPECT_EQ(received, 0u);
}

TEST_F(EchoPort, PurgeDropsQueuedInput)
{
    Send({0x21, 0x22, 0x23, 0x24, 0x25});
    ASSERT_EQ(WaitQueued(5), 5u);
    EXPECT_EQ(Kel_P_Serial_Clear_Buffer(&mPort, 1), Kel_Good);
    uint32_t queued = 99;
    EXPECT_EQ(Kel_P_Serial_Get_Bytes_In_Buffer(&mPort, 1, &queued), Kel_Good);
    EXPECT_EQ(queued, 0u);
    uint8_t buffer[8];
    uint32_t received = 9;
    EXPECT_EQ(Kel_P_Serial_Read(&mPort, buffer, sizeof(buffer), 0, &received), Kel_Good);
    EXPECT_EQ(received, 0u);
    // The line still works after the purge.
    Send({0x30});
    EXPECT_EQ(Receive(1), (Bytes{0x30}));
}

TEST_F(EchoPort, SetParamsSetsTheLineAndRefuses250000WithoutTouchingIt)
{
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 4800, 0, 8, 2, 1), Kel_Good);
    ASSERT_EQ(Kel_P_Serial_Get_State(&mPort), Kel_Good);
    EXPECT_EQ(mPort.dcb.BaudRate, 4800u);
    EXPECT_EQ(mPort.dcb.StopBits, KEL_SERIAL_TWOSTOPBITS);
    EXPECT_EQ(mPort.dcb.fOutX, 1u);
    EXPECT_EQ(mPort.dcb.fInX, 1u);
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 19200, 0, 8, 1, 0), Kel_Good);
    Kel_P_Serial_CommTimeouts timeouts{};
    ASSERT_NE(Kel_P_Serial_GetCommTimeouts(mPort.port_fd, &timeouts), 0);
    EXPECT_EQ(timeouts.ReadIntervalTimeout, 0xFFFFFFFFu);
    EXPECT_EQ(timeouts.ReadTotalTimeoutMultiplier, 0u);
    EXPECT_EQ(timeouts.ReadTotalTimeoutConstant, 0u);
    EXPECT_EQ(timeouts.WriteTotalTimeoutMultiplier, 10u);
    EXPECT_EQ(timeouts.WriteTotalTimeoutConstant, 1000u);

    const Kel_P_Serial_CommTimeouts own{100, 0, 0, 0, 500};
    ASSERT_NE(Kel_P_Serial_SetCommTimeouts(mPort.port_fd, &own), 0);
    EXPECT_EQ(Kel_P_Serial_Set_Params(&mPort, 250000, 2, 7, 2, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(mPort.baud_rate, 250000u);
    EXPECT_EQ(mPort.parity, 2u);
    EXPECT_EQ(mPort.data_bits, 7u);
    EXPECT_EQ(mPort.stop_bits, 2);
    EXPECT_EQ(mPort.flow_control, 1);
    ASSERT_EQ(Kel_P_Serial_Get_State(&mPort), Kel_Good);
    EXPECT_EQ(mPort.dcb.BaudRate, 19200u);
    EXPECT_EQ(mPort.dcb.StopBits, KEL_SERIAL_ONESTOPBIT);
    EXPECT_EQ(mPort.dcb.fOutX, 0u);
    ASSERT_NE(Kel_P_Serial_GetCommTimeouts(mPort.port_fd, &timeouts), 0);
    EXPECT_EQ(timeouts.ReadIntervalTimeout, 100u);
    EXPECT_EQ(timeouts.WriteTotalTimeoutConstant, 500u);
}

TEST_F(EchoPort, ReOpenWaitsHalfTheDelayAndTheLineWorksAfterwards)
{
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 4800, 0, 8, 2, 0), Kel_Good);
    const int64_t start = MonotonicMs();
    ASSERT_EQ(Kel_P_Serial_ReOpen(&mPort, 1001), Kel_Good);
    EXPECT_GE(MonotonicMs() - start, 500);
    ASSERT_EQ(Kel_P_Serial_Get_State(&mPort), Kel_Good);
    EXPECT_EQ(mPort.dcb.BaudRate, 4800u);
    EXPECT_EQ(mPort.dcb.StopBits, KEL_SERIAL_TWOSTOPBITS);
    Send({0x44, 0x45});
    EXPECT_EQ(Receive(2), (Bytes{0x44, 0x45}));
}

TEST_F(EchoPort, SignalsAndBreakOnAVirtualPortSucceed)
{
    // A virtual port has no modem lines; raising DTR and RTS still reports success.
    EXPECT_EQ(Kel_P_Serial_Set_Signal(&mPort, KEL_SERIAL_SIGNAL_DTR), Kel_Good);
    EXPECT_EQ(Kel_P_Serial_Set_Signal(&mPort, KEL_SERIAL_SIGNAL_RTS), Kel_Good);
    Send({0x50});
    EXPECT_EQ(Receive(1), (Bytes{0x50}));
}

TEST_F(EchoPort, FactoryOpenResolvesANumberThroughThePortList)
{
    Kel_P_Serial_Close(&mPort);
    mLine.Register(mLine.Name(), 0);
    Kel_P_Serial_PortNameList list;
    ASSERT_EQ(Kel_P_Serial_GetPortNameList(&list), Kel_Good);
    int position = -1;
    for (int index = 0; index < list.count; ++index)
    {
        if (mLine.Name() == list.portNames[index])
            position = index;
    }
    ASSERT_GE(position, 0);
    const std::string number = std::to_string(position + 1);
    ASSERT_EQ(Kel_P_Serial_Factory_Open(number.c_str(), &mPort), Kel_Good);
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
