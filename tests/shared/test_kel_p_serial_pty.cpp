// The POSIX serial port on pseudo-terminal pairs opened in-process: the port opens the terminal end
// through a COMn link, the test plays the line's far end on the controlling end. Covers each shape
// of the five time-out words against the monotonic clock, purge, queued counts, line settings,
// ReOpen, exclusivity, modem lines, hang-up, the port list and Factory_Open.
#include "kel_p_serial_test_support.h"

#include <gtest/gtest.h>

#if !defined(_WIN32)

#include "shared/platform/posix/kel_p_serial_termios.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace
{
std::string MakeFolder()
{
    char pattern[] = "/tmp/q310-serial-XXXXXX";
    if (mkdtemp(pattern) == nullptr)
        return "";
    return pattern;
}

void RemoveFolder(const std::string& aFolder)
{
    std::string command = "rm -rf '" + aFolder + "'";
    if (system(command.c_str()) != 0)
        perror("rm");
}

class PtyLine : public ::testing::Test
{
protected:
    void SetUp() override
    {
        char name[256] = {};
        int terminal = -1;
        ASSERT_EQ(openpty(&mPeer, &terminal, name, nullptr, nullptr), 0);
        mTerminalPath = name;
        close(terminal);
        mFolder = MakeFolder();
        ASSERT_FALSE(mFolder.empty());
        Link("COM7");
        SetEnvironment("Q310_SERIAL_DIR", mFolder);
        ASSERT_EQ(Kel_P_Serial_CreateContext(&mPort), Kel_Good);
        ASSERT_EQ(Kel_P_Serial_Open("COM7", 1, &mPort), Kel_Good);
    }

    void TearDown() override
    {
        Kel_P_Serial_Close(&mPort);
        if (mPeer >= 0)
            close(mPeer);
        RemoveFolder(mFolder);
    }

    void Link(const std::string& aName)
    {
        ASSERT_EQ(symlink(mTerminalPath.c_str(), (mFolder + "/" + aName).c_str()), 0) << strerror(errno);
    }

    void PeerSend(const std::vector<uint8_t>& aBytes)
    {
        ASSERT_EQ(write(mPeer, aBytes.data(), aBytes.size()), static_cast<ssize_t>(aBytes.size()));
    }

    // Sends the bytes from another thread after the delay.
    std::thread PeerSendAfter(int aDelayMs, std::vector<uint8_t> aBytes)
    {
        return std::thread(
            [this, aDelayMs, aBytes]
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(aDelayMs));
                if (write(mPeer, aBytes.data(), aBytes.size()) != static_cast<ssize_t>(aBytes.size()))
                    perror("peer write");
            });
    }

    std::vector<uint8_t> PeerReceive(size_t aCount, int aTimeoutMs = 2000)
    {
        std::vector<uint8_t> bytes;
        const int64_t deadline = MonotonicMs() + aTimeoutMs;
        while (bytes.size() < aCount && MonotonicMs() < deadline)
        {
            pollfd entry{mPeer, POLLIN, 0};
            if (poll(&entry, 1, 20) <= 0)
                continue;
            uint8_t chunk[4096];
            const ssize_t got = read(mPeer, chunk, sizeof(chunk));
            if (got > 0)
                bytes.insert(bytes.end(), chunk, chunk + got);
        }
        return bytes;
    }

    // Waits until the port's input queue holds aCount bytes.
    uint32_t WaitQueued(uint32_t aCount)
    {
        uint32_t queued = 0;
        const int64_t deadline = MonotonicMs() + 2000;
        while (MonotonicMs() < deadline)
        {
            EXPECT_EQ(Kel_P_Serial_Get_Bytes_In_Buffer(&mPort, 1, &queued), Kel_Good);
            if (queued >= aCount)
                break;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return queued;
    }

    void SetReadTimeouts(uint32_t aInterval, uint32_t aMultiplier, uint32_t aConstant)
    {
        const Kel_P_Serial_CommTimeouts timeouts{aInterval, aMultiplier, aConstant, 10, 1000};
        ASSERT_NE(Kel_P_Serial_SetCommTimeouts(mPort.port_fd, &timeouts), 0);
    }

    // One port read: the bytes and the milliseconds it took.
    std::vector<uint8_t> TimedRead(uint32_t aSize, int64_t* pElapsed)
    {
        std::vector<uint8_t> buffer(aSize);
        uint32_t received = 0;
        const int64_t start = MonotonicMs();
        EXPECT_EQ(Kel_P_Serial_Read(&mPort, buffer.data(), aSize, 0, &received), Kel_Good);
        *pElapsed = MonotonicMs() - start;
        buffer.resize(received);
        return buffer;
    }

    Kel_P_Serial_DCB LineSettings()
    {
        Kel_P_Serial_DCB dcb{};
        EXPECT_NE(Kel_P_Serial_GetCommState(mPort.port_fd, &dcb), 0);
        return dcb;
    }

    int mPeer = -1;
    std::string mTerminalPath;
    std::string mFolder;
    Kel_P_Serial_Context mPort;
};

using Bytes = std::vector<uint8_t>;
} // namespace

TEST_F(PtyLine, OpenThroughTheLinkFolderAndAnAbsolutePath)
{
    uint32_t connected = 0;
    EXPECT_EQ(Kel_P_Serial_IsConnected(&mPort, &connected), Kel_Good);
    EXPECT_EQ(connected, 1u);
    EXPECT_STREQ(mPort.port_name, "COM7");
    EXPECT_EQ(mPort.isHardwarePort, 1u);
    // A port starts with all five time-out words zero, as a Windows handle does.
    Kel_P_Serial_CommTimeouts timeouts{1, 1, 1, 1, 1};
    ASSERT_NE(Kel_P_Serial_GetCommTimeouts(mPort.port_fd, &timeouts), 0);
    EXPECT_EQ(timeouts.ReadIntervalTimeout + timeouts.ReadTotalTimeoutMultiplier +
                  timeouts.ReadTotalTimeoutConstant + timeouts.WriteTotalTimeoutMultiplier +
                  timeouts.WriteTotalTimeoutConstant,
              0u);
    EXPECT_EQ(Kel_P_Serial_Close(&mPort), Kel_Good);
    EXPECT_EQ(Kel_P_Serial_Open(mTerminalPath.c_str(), 0, &mPort), Kel_Good);
    EXPECT_EQ(mPort.isHardwarePort, 0u);
    EXPECT_EQ(mPort.port_name, mTerminalPath);
}

TEST_F(PtyLine, TheOpenIsExclusive)
{
    Kel_P_Serial_Context second;
    Kel_P_Serial_CreateContext(&second);
    EXPECT_EQ(Kel_P_Serial_Open("COM7", 1, &second), Kel_BadInternalError);
    EXPECT_EQ(second.port_fd, KEL_INVALID_HANDLE_VALUE);
    // Closed, the port opens again.
    Kel_P_Serial_Close(&mPort);
    EXPECT_EQ(Kel_P_Serial_Open("COM7", 1, &second), Kel_Good);
    Kel_P_Serial_Close(&second);
}

TEST_F(PtyLine, SetParamsAppliesTheLineAndTheReturnAtOnceTimeouts)
{
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 19200, 2, 8, 2, 1), Kel_Good);
    Kel_P_Serial_DCB dcb = LineSettings();
    EXPECT_EQ(dcb.BaudRate, 19200u);
    EXPECT_EQ(dcb.StopBits, KEL_SERIAL_TWOSTOPBITS);
    EXPECT_EQ(dcb.fOutX, 1u);
    EXPECT_EQ(dcb.fInX, 1u);
    EXPECT_EQ(dcb.ByteSize, 8u);
    Kel_P_Serial_CommTimeouts timeouts{};
    ASSERT_NE(Kel_P_Serial_GetCommTimeouts(mPort.port_fd, &timeouts), 0);
    EXPECT_EQ(timeouts.ReadIntervalTimeout, 0xFFFFFFFFu);
    EXPECT_EQ(timeouts.ReadTotalTimeoutMultiplier, 0u);
    EXPECT_EQ(timeouts.ReadTotalTimeoutConstant, 0u);
    EXPECT_EQ(timeouts.WriteTotalTimeoutMultiplier, 10u);
    EXPECT_EQ(timeouts.WriteTotalTimeoutConstant, 1000u);

    // Rates without a termios constant, one and a half stop bits, no flow control.
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 14400, 0, 8, 3, 0), Kel_Good);
    dcb = LineSettings();
    EXPECT_EQ(dcb.BaudRate, 14400u);
    EXPECT_EQ(dcb.StopBits, KEL_SERIAL_ONE5STOPBITS);
    EXPECT_EQ(dcb.fOutX, 0u);
    EXPECT_EQ(dcb.fInX, 0u);
    for (uint32_t rate : {56000u, 128000u, 256000u, 110u})
    {
        ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, rate, 0, 8, 0, 0), Kel_Good);
        dcb = LineSettings();
        EXPECT_EQ(dcb.BaudRate, rate);
        EXPECT_EQ(dcb.StopBits, KEL_SERIAL_ONESTOPBIT);
    }
}

TEST_F(PtyLine, AnUnknownBaudRateChangesNothingOnTheLineButIsStored)
{
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 9600, 0, 8, 1, 0), Kel_Good);
    SetReadTimeouts(20, 2, 30);
    const Kel_P_Serial_DCB before = LineSettings();
    EXPECT_EQ(Kel_P_Serial_Set_Params(&mPort, 250000, 1, 7, 2, 1), Kel_BadInvalidArgument);
    const Kel_P_Serial_DCB after = LineSettings();
    EXPECT_EQ(memcmp(&before, &after, sizeof(before)), 0);
    EXPECT_EQ(after.BaudRate, 9600u);
    Kel_P_Serial_CommTimeouts timeouts{};
    ASSERT_NE(Kel_P_Serial_GetCommTimeouts(mPort.port_fd, &timeouts), 0);
    EXPECT_EQ(timeouts.ReadIntervalTimeout, 20u);
    EXPECT_EQ(timeouts.ReadTotalTimeoutConstant, 30u);
    EXPECT_EQ(mPort.baud_rate, 250000u);
    EXPECT_EQ(mPort.parity, 1u);
    EXPECT_EQ(mPort.data_bits, 7u);
    EXPECT_EQ(mPort.stop_bits, 2);
    EXPECT_EQ(mPort.flow_control, 1);
}

TEST_F(PtyLine, ReturnAtOnceGivesWhatIsQueuedOrNothingAfterTheIdleWait)
{
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 9600, 0, 8, 1, 0), Kel_Good);
    int64_t elapsed = 0;
    EXPECT_TRUE(TimedRead(10, &elapsed).empty());
    EXPECT_GE(elapsed, 4);
    EXPECT_LT(elapsed, 100);

    PeerSend({0x01, 0x02, 0x03});
    ASSERT_EQ(WaitQueued(3), 3u);
    TraceCapture trace;
    EXPECT_EQ(TimedRead(10, &elapsed), (Bytes{0x01, 0x02, 0x03}));
    EXPECT_LT(elapsed, 100);
    EXPECT_EQ(trace.Text(), "Read:[3] 01 02 03 \n<-- \"Kel_P_Serial_Read\" = 0x00000000 (GOOD).\n\n");

    // A read smaller than the queue takes only what fits and leaves the rest.
    PeerSend({0x10, 0x11, 0x12, 0x13});
    ASSERT_EQ(WaitQueued(4), 4u);
    EXPECT_EQ(TimedRead(3, &elapsed), (Bytes{0x10, 0x11, 0x12}));
    EXPECT_EQ(TimedRead(3, &elapsed), (Bytes{0x13}));
}

TEST_F(PtyLine, TheIdleWaitEndsAsSoonAsInputArrives)
{
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 9600, 0, 8, 1, 0), Kel_Good);
    // Input arriving during the wait does not lengthen it, and is there for the next read.
    std::thread peer = PeerSendAfter(2, {0x55});
    int64_t elapsed = 0;
    const Bytes first = TimedRead(4, &elapsed);
    peer.join();
    EXPECT_LT(elapsed, 50);
    Bytes all = first;
    if (all.empty())
        all = TimedRead(4, &elapsed);
    EXPECT_EQ(all, (Bytes{0x55}));
}

TEST_F(PtyLine, IntervalTimeoutStartsAtTheFirstByte)
{
    SetReadTimeouts(50, 0, 0);
    std::thread peer(
        [this]
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(120));
            PeerSend({0xA1, 0xA2});
            std::this_thread::sleep_for(std::chrono::milliseconds(25));
            PeerSend({0xA3});
        });
    int64_t elapsed = 0;
    const Bytes got = TimedRead(10, &elapsed);
    peer.join();
    // No byte for 120 ms did not end the read; the gap of 25 ms did not either; 50 ms of quiet after
    // the last byte did.
    EXPECT_EQ(got, (Bytes{0xA1, 0xA2, 0xA3}));
    EXPECT_GE(elapsed, 120 + 25 + 45);
    EXPECT_LT(elapsed, 120 + 25 + 50 + 150);
}

TEST_F(PtyLine, TotalTimeoutIsMultiplierTimesCountPlusConstant)
{
    SetReadTimeouts(0, 10, 50);
    int64_t elapsed = 0;
    EXPECT_TRUE(TimedRead(5, &elapsed).empty()); // 5 x 10 + 50
    EXPECT_GE(elapsed, 100);
    EXPECT_LT(elapsed, 100 + 120);
    EXPECT_TRUE(TimedRead(15, &elapsed).empty()); // 15 x 10 + 50
    EXPECT_GE(elapsed, 200);
    EXPECT_LT(elapsed, 200 + 120);

    // Bytes that come before the deadline do not end the read early; the count does.
    std::thread peer = PeerSendAfter(30, {0x01, 0x02});
    EXPECT_EQ(TimedRead(5, &elapsed), (Bytes{0x01, 0x02}));
    peer.join();
    EXPECT_GE(elapsed, 95);
    EXPECT_LT(elapsed, 100 + 120);
    peer = PeerSendAfter(30, {0x03, 0x04, 0x05});
    EXPECT_EQ(TimedRead(3, &elapsed), (Bytes{0x03, 0x04, 0x05}));
    peer.join();
    EXPECT_LT(elapsed, 90);
}

TEST_F(PtyLine, AllZeroBlocksUntilTheCountIsMet)
{
    SetReadTimeouts(0, 0, 0);
    std::thread peer(
        [this]
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            PeerSend({0x01, 0x02});
            std::this_thread::sleep_for(std::chrono::milliseconds(150));
            PeerSend({0x03, 0x04});
        });
    int64_t elapsed = 0;
    const Bytes got = TimedRead(4, &elapsed);
    peer.join();
    EXPECT_EQ(got, (Bytes{0x01, 0x02, 0x03, 0x04}));
    EXPECT_GE(elapsed, 195);
    EXPECT_LT(elapsed, 200 + 150);
}

TEST_F(PtyLine, IntervalAndMultiplierAllOnesReturnAtTheFirstByte)
{
    SetReadTimeouts(0xFFFFFFFFu, 0xFFFFFFFFu, 400);
    std::thread peer = PeerSendAfter(60, {0x42, 0x43});
    int64_t elapsed = 0;
    EXPECT_EQ(TimedRead(10, &elapsed), (Bytes{0x42, 0x43}));
    peer.join();
    EXPECT_GE(elapsed, 55);
    EXPECT_LT(elapsed, 250);
    // Nothing comes: the constant ends the read.
    EXPECT_TRUE(TimedRead(10, &elapsed).empty());
    EXPECT_GE(elapsed, 400);
    EXPECT_LT(elapsed, 400 + 150);
}

TEST_F(PtyLine, PurgeDropsQueuedInputOfHardwarePortsOnly)
{
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 9600, 0, 8, 1, 0), Kel_Good);
    PeerSend({1, 2, 3, 4, 5});
    ASSERT_EQ(WaitQueued(5), 5u);
    // Output only: the input stays.
    EXPECT_EQ(Kel_P_Serial_Clear_Buffer(&mPort, 0), Kel_Good);
    EXPECT_EQ(WaitQueued(5), 5u);
    // Not a hardware port: nothing is purged.
    mPort.isHardwarePort = 0;
    EXPECT_EQ(Kel_P_Serial_Clear_Buffer(&mPort, 1), Kel_Good);
    EXPECT_EQ(WaitQueued(5), 5u);
    mPort.isHardwarePort = 1;
    EXPECT_EQ(Kel_P_Serial_Clear_Buffer(&mPort, 1), Kel_Good);
    uint32_t queued = 99;
    EXPECT_EQ(Kel_P_Serial_Get_Bytes_In_Buffer(&mPort, 1, &queued), Kel_Good);
    EXPECT_EQ(queued, 0u);
    int64_t elapsed = 0;
    EXPECT_TRUE(TimedRead(8, &elapsed).empty());
    // The output queue of a pseudo-terminal hands everything on at once.
    EXPECT_EQ(Kel_P_Serial_Get_Bytes_In_Buffer(&mPort, 0, &queued), Kel_Good);
    EXPECT_EQ(queued, 0u);
}

TEST_F(PtyLine, WriteSendsTheBytesAndTracesThem)
{
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 9600, 0, 8, 1, 0), Kel_Good);
    const uint8_t request[] = {0x10, 0x20, 0x0D, 0x0A, 0x11, 0x13};
    uint32_t written = 0;
    TraceCapture trace;
    EXPECT_EQ(Kel_P_Serial_Write(&mPort, request, sizeof(request), 0, &written), Kel_Good);
    EXPECT_EQ(trace.Text(), "--> Kel_Module_Serial::Kel_P_Serial_Write (0x00000001)\n\n"
                            "Write:[6] 10 20 0D 0A 11 13 \n"
                            "<-- \"Kel_P_Serial_Write\" = 0x00000000 (GOOD).\n\n");
    EXPECT_EQ(written, sizeof(request));
    // Byte for byte: no output processing, no flow control characters taken out.
    EXPECT_EQ(PeerReceive(sizeof(request)), Bytes(request, request + sizeof(request)));
}

TEST_F(PtyLine, AWriteThatCannotFinishStopsAtTheWriteTimeout)
{
    const Kel_P_Serial_CommTimeouts timeouts{0xFFFFFFFFu, 0, 0, 0, 150};
    ASSERT_NE(Kel_P_Serial_SetCommTimeouts(mPort.port_fd, &timeouts), 0);
    // Nobody reads the far end: the pseudo-terminal's buffers fill and the write stops short.
    std::vector<uint8_t> big(1 << 20, 0x5A);
    uint32_t written = 0;
    const int64_t start = MonotonicMs();
    EXPECT_EQ(Kel_P_Serial_Write(&mPort, big.data(), static_cast<uint32_t>(big.size()), 0, &written),
              Kel_Good);
    const int64_t elapsed = MonotonicMs() - start;
    EXPECT_GT(written, 0u);
    EXPECT_LT(written, big.size());
    EXPECT_GE(elapsed, 145);
    EXPECT_LT(elapsed, 150 + 300);
}

TEST_F(PtyLine, ReOpenWaitsHalfTheDelayAndAppliesTheParametersAgain)
{
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 19200, 0, 8, 2, 0), Kel_Good);
    SetReadTimeouts(0, 0, 0);
    const int64_t start = MonotonicMs();
    EXPECT_EQ(Kel_P_Serial_ReOpen(&mPort, 1001), Kel_Good);
    const int64_t elapsed = MonotonicMs() - start;
    EXPECT_GE(elapsed, 500);
    EXPECT_LT(elapsed, 900);
    ASSERT_NE(mPort.port_fd, KEL_INVALID_HANDLE_VALUE);
    const Kel_P_Serial_DCB dcb = LineSettings();
    EXPECT_EQ(dcb.BaudRate, 19200u);
    EXPECT_EQ(dcb.StopBits, KEL_SERIAL_TWOSTOPBITS);
    Kel_P_Serial_CommTimeouts timeouts{};
    ASSERT_NE(Kel_P_Serial_GetCommTimeouts(mPort.port_fd, &timeouts), 0);
    EXPECT_EQ(timeouts.ReadIntervalTimeout, 0xFFFFFFFFu);
    EXPECT_EQ(timeouts.WriteTotalTimeoutConstant, 1000u);
    PeerSend({0x77});
    ASSERT_EQ(WaitQueued(1), 1u);
    int64_t readTime = 0;
    EXPECT_EQ(TimedRead(4, &readTime), (Bytes{0x77}));
}

TEST_F(PtyLine, ReOpenOfAVanishedPortFailsAndLeavesItClosed)
{
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 9600, 0, 8, 1, 0), Kel_Good);
    ASSERT_EQ(unlink((mFolder + "/COM7").c_str()), 0);
    TraceCapture trace;
    EXPECT_EQ(Kel_P_Serial_ReOpen(&mPort, 0), Kel_BadInternalError);
    EXPECT_EQ(mPort.port_fd, KEL_INVALID_HANDLE_VALUE);
    EXPECT_EQ(trace.Text(),
              std::string("--> Kel_Module_Serial::Kel_P_Serial_ReOpen (0x00000001)\n\n") +
                  "--> Kel_Module_Serial::Kel_P_Serial_Close (0x00000001)\n\n" +
                  "<-- \"Kel_P_Serial_Close\" = 0x00000000 (GOOD).\n\n" +
                  "--- GotoError: Expr (pSerialContext->port_fd==KEL_INVALID_HANDLE_VALUE) is true!\n" +
                  At() + "<-- \"Kel_P_Serial_ReOpen\" = 0x80020000 (BAD) error=" + strerror(ENOENT) + ".\n" +
                  At() + "<-- \"Kel_P_Serial_ReOpen\" = 0x80020000 (BAD).\n" + At());
}

TEST_F(PtyLine, ModemSignalsAndBreakOnATerminalWithoutModemLinesSucceed)
{
    // A pseudo-terminal refuses the DTR/RTS ioctls; the port reports success so it stays usable.
    EXPECT_EQ(Kel_P_Serial_Set_Signal(&mPort, KEL_SERIAL_SIGNAL_DTR), Kel_Good);
    EXPECT_EQ(Kel_P_Serial_Set_Signal(&mPort, KEL_SERIAL_SIGNAL_RTS), Kel_Good);
    EXPECT_EQ(Kel_P_Serial_Send_Break(&mPort), Kel_Good);
    // The line still carries data.
    PeerSend({0x31});
    ASSERT_EQ(WaitQueued(1), 1u);
}

TEST_F(PtyLine, AHungUpLineEndsEvenABlockingRead)
{
    SetReadTimeouts(0, 0, 0);
    close(mPeer);
    mPeer = -1;
    int64_t elapsed = 0;
    EXPECT_TRUE(TimedRead(4, &elapsed).empty());
    EXPECT_LT(elapsed, 200);
    uint32_t written = 0;
    const uint8_t byte = 0x01;
    EXPECT_EQ(Kel_P_Serial_Write(&mPort, &byte, 1, 0, &written), Kel_Good);
}

TEST_F(PtyLine, PortListNamesTheLinksInNumberOrderAndFactoryOpenResolvesNumbers)
{
    Kel_P_Serial_Close(&mPort);
    Link("COM10");
    Link("COM2");
    Link("com3");
    ASSERT_EQ(symlink(mTerminalPath.c_str(), (mFolder + "/notes").c_str()), 0);
    Kel_P_Serial_PortNameList list;
    memset(&list, 0x5A, sizeof(list));
    ASSERT_EQ(Kel_P_Serial_GetPortNameList(&list), Kel_Good);
    ASSERT_EQ(list.count, 4u);
    EXPECT_STREQ(list.portNames[0], "COM2");
    EXPECT_STREQ(list.portNames[1], "com3");
    EXPECT_STREQ(list.portNames[2], "COM7");
    EXPECT_STREQ(list.portNames[3], "COM10");
    EXPECT_EQ(list.portNames[4][0], '\0');

    Kel_P_Serial_Context port;
    EXPECT_EQ(Kel_P_Serial_Factory_Open("2", &port), Kel_Good);
    EXPECT_STREQ(port.port_name, "com3");
    EXPECT_EQ(port.isHardwarePort, 1u);
    Kel_P_Serial_Close(&port);
    EXPECT_EQ(Kel_P_Serial_Factory_Open("COM10", &port), Kel_Good);
    EXPECT_STREQ(port.port_name, "COM10");
    Kel_P_Serial_Close(&port);
    // More than listed: the text itself is the name.
    EXPECT_EQ(Kel_P_Serial_Factory_Open("9", &port), Kel_BadInternalError);
    EXPECT_STREQ(port.port_name, "9");
}

TEST_F(PtyLine, PortListStopsAtTwentyEntries)
{
    for (int number = 20; number < 41; ++number)
        Link("COM" + std::to_string(number));
    Kel_P_Serial_PortNameList list;
    ASSERT_EQ(Kel_P_Serial_GetPortNameList(&list), Kel_Good);
    ASSERT_EQ(list.count, 20u);
    EXPECT_STREQ(list.portNames[0], "COM7");
    EXPECT_STREQ(list.portNames[19], "COM38");
}

TEST(SerialPortList, WithoutALinkFolderNamesDevicesOfTheMachine)
{
    unsetenv("Q310_SERIAL_DIR");
    Kel_P_Serial_PortNameList list;
    ASSERT_EQ(Kel_P_Serial_GetPortNameList(&list), Kel_Good);
    EXPECT_LE(list.count, 20u);
    for (uint32_t index = 0; index < list.count; ++index)
    {
        EXPECT_EQ(std::string(list.portNames[index]).rfind("/dev/tty", 0), 0u) << list.portNames[index];
        EXPECT_EQ(access(list.portNames[index], F_OK), 0) << list.portNames[index];
    }
    // A missing folder cannot be listed.
    SetEnvironment("Q310_SERIAL_DIR", "/nonexistent/q310");
    TraceCapture trace;
    EXPECT_EQ(Kel_P_Serial_GetPortNameList(&list), Kel_BadInternalError);
    EXPECT_EQ(list.count, 0u);
    EXPECT_EQ(trace.Text(),
              std::string("--> Kel_Module_Serial::Kel_P_Serial_GetPortNameList (0x00000001)\n\n") +
                  "<-- ReturnError: 0x80020000\n" + At());
    unsetenv("Q310_SERIAL_DIR");
}

// A pseudo-terminal keeps neither parity nor data bits (nor does wine's view of one), so the mapping
// of the character format is checked on the termios record itself.
TEST(SerialCharacterFormat, ParityDataBitsAndStopBitsMapOntoTermiosAndBack)
{
    struct Case
    {
        uint8_t parity;
        tcflag_t flags;
    };
    const Case parities[] = {{KEL_SERIAL_NOPARITY, 0},
                             {KEL_SERIAL_ODDPARITY, PARENB | PARODD},
                             {KEL_SERIAL_EVENPARITY, PARENB},
                             {KEL_SERIAL_MARKPARITY, PARENB | PARODD | CMSPAR},
                             {KEL_SERIAL_SPACEPARITY, PARENB | CMSPAR}};
    const tcflag_t sizes[] = {CS5, CS6, CS7, CS8};
    for (const Case& parity : parities)
    {
        for (uint8_t bits = 5; bits <= 8; ++bits)
        {
            for (uint8_t stop : {KEL_SERIAL_ONESTOPBIT, KEL_SERIAL_ONE5STOPBITS, KEL_SERIAL_TWOSTOPBITS})
            {
                Kel_P_Serial_DCB dcb{};
                dcb.ByteSize = bits;
                dcb.Parity = parity.parity;
                dcb.fParity = parity.parity != KEL_SERIAL_NOPARITY ? 1 : 0;
                dcb.StopBits = stop;
                termios settings{};
                settings.c_cflag = CSIZE | PARENB | PARODD | CMSPAR | CSTOPB | CRTSCTS; // all replaced
                settings.c_iflag = IXANY;
                Kel_P_Serial_DcbToTermios(dcb, &settings);
                EXPECT_EQ(settings.c_cflag & CSIZE, sizes[bits - 5]);
                EXPECT_EQ(settings.c_cflag & (PARENB | PARODD | CMSPAR), parity.flags);
                EXPECT_EQ((settings.c_cflag & CSTOPB) != 0, stop != KEL_SERIAL_ONESTOPBIT);
                EXPECT_EQ(settings.c_cflag & CRTSCTS, 0u);
                EXPECT_EQ(settings.c_cflag & (CREAD | CLOCAL), static_cast<tcflag_t>(CREAD | CLOCAL));
                EXPECT_EQ(settings.c_iflag, parity.parity != KEL_SERIAL_NOPARITY ? INPCK : 0u);

                Kel_P_Serial_DCB back{};
                back.StopBits = stop; // one and a half is known only to the record
                Kel_P_Serial_TermiosToDcb(settings, &back);
                EXPECT_EQ(back.ByteSize, bits);
                EXPECT_EQ(back.Parity, parity.parity);
                EXPECT_EQ(back.fParity, dcb.fParity);
                EXPECT_EQ(back.StopBits, stop);
            }
        }
    }
}

TEST(SerialCharacterFormat, FlowControlFlagsAndCharacters)
{
    Kel_P_Serial_DCB dcb{};
    dcb.ByteSize = 8;
    dcb.fOutX = 1;
    dcb.fInX = 0;
    dcb.XonChar = 0x11;
    dcb.XoffChar = 0x13;
    dcb.fRtsControl = KEL_SERIAL_RTS_CONTROL_HANDSHAKE;
    termios settings{};
    Kel_P_Serial_DcbToTermios(dcb, &settings);
    EXPECT_EQ(settings.c_iflag & (IXON | IXOFF), static_cast<tcflag_t>(IXON));
    EXPECT_EQ(settings.c_cc[VSTART], 0x11);
    EXPECT_EQ(settings.c_cc[VSTOP], 0x13);
    EXPECT_NE(settings.c_cflag & CRTSCTS, 0u);
    Kel_P_Serial_DCB back{};
    Kel_P_Serial_TermiosToDcb(settings, &back);
    EXPECT_EQ(back.fOutX, 1u);
    EXPECT_EQ(back.fInX, 0u);
    EXPECT_EQ(back.fOutxCtsFlow, 1u);
    EXPECT_EQ(back.fRtsControl, KEL_SERIAL_RTS_CONTROL_HANDSHAKE);
    // CTS flow control off: a handshaking RTS becomes a plain raised one.
    settings.c_cflag &= ~CRTSCTS;
    Kel_P_Serial_TermiosToDcb(settings, &back);
    EXPECT_EQ(back.fOutxCtsFlow, 0u);
    EXPECT_EQ(back.fRtsControl, KEL_SERIAL_RTS_CONTROL_ENABLE);
}

#endif
