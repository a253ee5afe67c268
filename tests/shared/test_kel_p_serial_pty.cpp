// The POSIX serial port on pseudo-terminal pairs opened in-process: the port opens the terminal end
// through a COMn link, the test plays the line's far end on the controlling end. Covers each shape of
// the five time-out words against the monotonic clock (lower bounds, and upper bounds far above what
// the rule allows, so a loaded machine passes), the write time-out, exclusivity, hang-up, a vanished
// port, the port list and the mapping of the line settings onto termios.
#include "kel_p_serial_test_support.h"

#include <gmock/gmock.h>

#if !defined(_WIN32)

#include "shared/platform/posix/kel_p_serial_termios.h"

#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace
{
using Bytes = std::vector<uint8_t>;

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
        char pattern[] = "/tmp/q310-serial-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        mFolder = pattern;
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
        if (system(("rm -rf '" + mFolder + "'").c_str()) != 0)
            perror("rm");
    }

    void Link(const std::string& aName)
    {
        ASSERT_EQ(symlink(mTerminalPath.c_str(), (mFolder + "/" + aName).c_str()), 0) << strerror(errno);
    }

    void SetTimeouts(uint32_t aInterval, uint32_t aMultiplier, uint32_t aConstant,
                     uint32_t aWriteConstant = 1000)
    {
        const Kel_P_Serial_CommTimeouts timeouts{aInterval, aMultiplier, aConstant, 0, aWriteConstant};
        ASSERT_NE(Kel_P_Serial_SetCommTimeouts(mPort.port_fd, &timeouts), 0);
    }

    // One port read while the far end sends each (delay after the previous, bytes) step from a thread;
    // the bytes read and the milliseconds the read took.
    Bytes TimedRead(uint32_t aSize, const std::vector<std::pair<int, Bytes>>& aSteps, int64_t* pElapsed,
                    Kel_StatusCode aExpected = Kel_Good)
    {
        std::thread peer(
            [this, aSteps]
            {
                for (const auto& [delay, bytes] : aSteps)
                {
                    std::this_thread::sleep_for(std::chrono::milliseconds(delay));
                    if (write(mPeer, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
                        perror("peer write");
                }
            });
        Bytes buffer(aSize);
        uint32_t received = 0;
        const int64_t start = MonotonicMs();
        EXPECT_EQ(Kel_P_Serial_Read(&mPort, buffer.data(), aSize, 0, &received), aExpected);
        *pElapsed = MonotonicMs() - start;
        peer.join();
        buffer.resize(received);
        return buffer;
    }

    uint32_t WaitQueued(uint32_t aCount)
    {
        uint32_t queued = 0;
        for (const int64_t deadline = MonotonicMs() + 2000; queued < aCount && MonotonicMs() < deadline;)
            EXPECT_EQ(Kel_P_Serial_Get_Bytes_In_Buffer(&mPort, 1, &queued), Kel_Good);
        return queued;
    }

    int mPeer = -1;
    std::string mTerminalPath;
    std::string mFolder;
    Kel_P_Serial_Context mPort;
};
} // namespace

TEST_F(PtyLine, EachShapeOfTheReadTimeouts)
{
    constexpr uint32_t All = 0xFFFFFFFFu;
    const struct
    {
        const char* shape;
        uint32_t interval, multiplier, constant, size;
        std::vector<std::pair<int, Bytes>> steps;
        Bytes expected;
        int64_t atLeast, below;
    } cases[] = {
        // clang-format off
        // Return at once: nothing queued gives nothing after a short idle wait.
        {"return at once", All, 0, 0, 10, {}, {}, 4, 1000},
        // Interval only: it starts at the first byte; 120 ms of silence before it and a gap of 25 ms do
        // not end the read, 50 ms of quiet after the last byte do.
        {"interval", 50, 0, 0, 10, {{120, {0xA1, 0xA2}}, {25, {0xA3}}}, {0xA1, 0xA2, 0xA3}, 190, 2000},
        // Total: multiplier times the count plus the constant, bytes before it do not end it early.
        {"total of 5", 0, 10, 50, 5, {}, {}, 100, 2000},
        {"total, bytes short", 0, 10, 50, 5, {{30, {0x01, 0x02}}}, {0x01, 0x02}, 95, 2000},
        {"total, count met", 0, 10, 3000, 3, {{30, {0x03, 0x04, 0x05}}}, {0x03, 0x04, 0x05}, 25, 2500},
        // All zero: blocks until the count is met.
        {"all zero", 0, 0, 0, 4, {{50, {0x01, 0x02}}, {150, {0x03, 0x04}}}, {0x01, 0x02, 0x03, 0x04}, 195, 3000},
        // Interval and multiplier all ones: returns at the first byte, else at the constant.
        {"first byte", All, All, 3000, 10, {{60, {0x42, 0x43}}}, {0x42, 0x43}, 55, 2500},
        {"first byte, none", All, All, 300, 10, {}, {}, 300, 2500},
        // clang-format on
    };
    for (const auto& c : cases)
    {
        SetTimeouts(c.interval, c.multiplier, c.constant);
        int64_t elapsed = 0;
        EXPECT_EQ(TimedRead(c.size, c.steps, &elapsed), c.expected) << c.shape;
        EXPECT_GE(elapsed, c.atLeast) << c.shape;
        EXPECT_LT(elapsed, c.below) << c.shape;
    }
}

TEST_F(PtyLine, ReadsGiveWhatIsQueuedAndTraceIt)
{
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 9600, 0, 8, 1, 0), Kel_Good);
    ASSERT_EQ(write(mPeer, "\x01\x02\x03\x10\x11", 5), 5);
    ASSERT_EQ(WaitQueued(5), 5u);
    TraceCapture trace;
    int64_t elapsed = 0;
    EXPECT_EQ(TimedRead(3, {}, &elapsed), (Bytes{0x01, 0x02, 0x03})); // only what fits
    EXPECT_EQ(trace.Text(), "Read:[3] 01 02 03 \n<-- \"Kel_P_Serial_Read\" = 0x00000000 (GOOD).\n\n");
    EXPECT_EQ(TimedRead(3, {}, &elapsed), (Bytes{0x10, 0x11}));
    // Bytes queued before a read that returns at the first byte: it returns at once, not at the constant.
    ASSERT_EQ(write(mPeer, "\x20\x21", 2), 2);
    ASSERT_EQ(WaitQueued(2), 2u);
    SetTimeouts(0xFFFFFFFFu, 0xFFFFFFFFu, 3000);
    EXPECT_EQ(TimedRead(10, {}, &elapsed), (Bytes{0x20, 0x21}));
    EXPECT_LT(elapsed, 2500);
    ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, 9600, 0, 8, 1, 0), Kel_Good);
    // Input arriving during the idle wait is there for the next read.
    Bytes first = TimedRead(4, {{2, {0x55}}}, &elapsed);
    if (first.empty())
        first = TimedRead(4, {}, &elapsed);
    EXPECT_EQ(first, (Bytes{0x55}));

    // A purge lets what was written leave: "+++" written just before reaches the far end whole.
    uint32_t written = 0;
    ASSERT_EQ(Kel_P_Serial_Write(&mPort, reinterpret_cast<const uint8_t*>("+++"), 3, 0, &written), Kel_Good);
    ASSERT_EQ(Kel_P_Serial_Clear_Buffer(&mPort, 1), Kel_Good);
    pollfd peer{mPeer, POLLIN, 0};
    char out[8] = {};
    ASSERT_EQ(poll(&peer, 1, 1000), 1);
    EXPECT_EQ(read(mPeer, out, sizeof(out)), 3);
    EXPECT_STREQ(out, "+++");
}

TEST_F(PtyLine, WritesStopAtTheWriteTimeoutAndAHungUpLineEndsReads)
{
    // Nobody reads the far end: the pseudo-terminal's buffers fill and the write stops short.
    SetTimeouts(0xFFFFFFFFu, 0, 0, 150);
    std::vector<uint8_t> big(1 << 20, 0x5A);
    uint32_t written = 0;
    const int64_t start = MonotonicMs();
    EXPECT_EQ(Kel_P_Serial_Write(&mPort, big.data(), static_cast<uint32_t>(big.size()), 0, &written),
              Kel_Good);
    EXPECT_GE(MonotonicMs() - start, 145);
    EXPECT_GT(written, 0u);
    EXPECT_LT(written, big.size());

    // The far end hangs up: a read with a total time-out of 1000 ms fails at once with a communication
    // failure instead of polling the dead line until then.
    SetTimeouts(20, 0, 1000);
    close(mPeer);
    mPeer = -1;
    TraceCapture trace;
    int64_t elapsed = 0;
    EXPECT_TRUE(TimedRead(4, {}, &elapsed, Kel_BadCommunicationError).empty());
    EXPECT_LT(elapsed, 50);
    EXPECT_THAT(trace.Text(), testing::StartsWith("Kel_P_Serial_Read - Fail, line hung up, port_name=COM7"));
    EXPECT_EQ(Kel_P_Serial_Write(&mPort, big.data(), 1, 0, &written), Kel_Good);
}

TEST_F(PtyLine, TheOpenIsExclusiveAndAVanishedPortFailsToReOpen)
{
    Kel_P_Serial_Context second;
    Kel_P_Serial_CreateContext(&second);
    EXPECT_EQ(Kel_P_Serial_Open("COM7", 1, &second), Kel_BadInternalError);
    EXPECT_EQ(second.port_fd, KEL_INVALID_HANDLE_VALUE);

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
    // Closed, the path opens again, as a plain (not hardware) port.
    EXPECT_EQ(Kel_P_Serial_Open(mTerminalPath.c_str(), 0, &second), Kel_Good);
    EXPECT_EQ(second.isHardwarePort, 0u);
    Kel_P_Serial_Close(&second);
}

TEST_F(PtyLine, PortListInNumberOrderUpToTwentyAndFactoryOpenByNumber)
{
    Kel_P_Serial_Close(&mPort);
    for (const char* name : {"COM10", "COM2", "com3", "notes"})
        Link(name);
    Kel_P_Serial_PortNameList list;
    ASSERT_EQ(Kel_P_Serial_GetPortNameList(&list), Kel_Good);
    ASSERT_EQ(list.count, 4u);
    EXPECT_EQ(std::string(list.portNames[0]) + list.portNames[1] + list.portNames[2] + list.portNames[3],
              "COM2com3COM7COM10");
    Kel_P_Serial_Context port;
    EXPECT_EQ(Kel_P_Serial_Factory_Open("2", &port), Kel_Good);
    EXPECT_STREQ(port.port_name, "com3");
    Kel_P_Serial_Close(&port);
    EXPECT_EQ(Kel_P_Serial_Factory_Open("9", &port), Kel_BadInternalError); // more than listed: a name
    EXPECT_STREQ(port.port_name, "9");
    for (int number = 20; number < 41; ++number)
        Link("COM" + std::to_string(number));
    ASSERT_EQ(Kel_P_Serial_GetPortNameList(&list), Kel_Good);
    ASSERT_EQ(list.count, 20u);
    EXPECT_STREQ(list.portNames[19], "COM35");

    // A missing folder cannot be listed.
    SetEnvironment("Q310_SERIAL_DIR", "/nonexistent/q310");
    TraceCapture trace;
    EXPECT_EQ(Kel_P_Serial_GetPortNameList(&list), Kel_BadInternalError);
    EXPECT_EQ(list.count, 0u);
    EXPECT_EQ(trace.Text(),
              std::string("--> Kel_Module_Serial::Kel_P_Serial_GetPortNameList (0x00000001)\n\n") +
                  "<-- ReturnError: 0x80020000\n" + At());
}

// Rates without a termios constant reach the line. A pseudo-terminal keeps neither parity nor data bits,
// so the mapping of the character format is checked on the termios record itself.
TEST_F(PtyLine, LineSettingsMapOntoTermiosAndBack)
{
    for (const auto& [rate, stop] : {std::pair{14400u, 3}, std::pair{56000u, 0}, std::pair{128000u, 2},
                                     std::pair{256000u, 0}, std::pair{110u, 0}})
    {
        ASSERT_EQ(Kel_P_Serial_Set_Params(&mPort, rate, 0, 8, stop, 0), Kel_Good);
        Kel_P_Serial_DCB dcb{};
        ASSERT_NE(Kel_P_Serial_GetCommState(mPort.port_fd, &dcb), 0);
        EXPECT_EQ(dcb.BaudRate, rate);
        EXPECT_EQ(dcb.StopBits, stop == 3 ? KEL_SERIAL_ONE5STOPBITS
                                          : (stop == 2 ? KEL_SERIAL_TWOSTOPBITS : KEL_SERIAL_ONESTOPBIT));
    }
    const std::pair<uint8_t, tcflag_t> parities[] = {{KEL_SERIAL_NOPARITY, 0},
                                                     {KEL_SERIAL_ODDPARITY, PARENB | PARODD},
                                                     {KEL_SERIAL_EVENPARITY, PARENB},
                                                     {KEL_SERIAL_MARKPARITY, PARENB | PARODD | CMSPAR},
                                                     {KEL_SERIAL_SPACEPARITY, PARENB | CMSPAR}};
    const tcflag_t sizes[] = {CS5, CS6, CS7, CS8};
    for (const auto& [parity, flags] : parities)
        for (uint8_t bits = 5; bits <= 8; ++bits)
            for (uint8_t stop : {KEL_SERIAL_ONESTOPBIT, KEL_SERIAL_ONE5STOPBITS, KEL_SERIAL_TWOSTOPBITS})
            {
                Kel_P_Serial_DCB dcb{};
                dcb.ByteSize = bits;
                dcb.Parity = parity;
                dcb.fParity = parity != KEL_SERIAL_NOPARITY ? 1 : 0;
                dcb.StopBits = stop;
                termios settings{};
                settings.c_cflag = CSIZE | PARENB | PARODD | CMSPAR | CSTOPB | CRTSCTS; // all replaced
                settings.c_iflag = IXANY;
                Kel_P_Serial_DcbToTermios(dcb, &settings);
                EXPECT_EQ(settings.c_cflag & CSIZE, sizes[bits - 5]);
                EXPECT_EQ(settings.c_cflag & (PARENB | PARODD | CMSPAR), flags);
                EXPECT_EQ((settings.c_cflag & CSTOPB) != 0, stop != KEL_SERIAL_ONESTOPBIT);
                EXPECT_EQ(settings.c_cflag & (CRTSCTS | CREAD | CLOCAL),
                          static_cast<tcflag_t>(CREAD | CLOCAL));
                EXPECT_EQ(settings.c_iflag, parity != KEL_SERIAL_NOPARITY ? INPCK : 0u);
                Kel_P_Serial_DCB back{};
                back.StopBits = stop; // one and a half is known only to the record
                Kel_P_Serial_TermiosToDcb(settings, &back);
                EXPECT_EQ(back.ByteSize, bits);
                EXPECT_EQ(back.Parity, parity);
                EXPECT_EQ(back.fParity, dcb.fParity);
                EXPECT_EQ(back.StopBits, stop);
            }

    Kel_P_Serial_DCB dcb{};
    dcb.ByteSize = 8;
    dcb.fOutX = 1;
    dcb.XonChar = 0x11;
    dcb.XoffChar = 0x13;
    dcb.fRtsControl = KEL_SERIAL_RTS_CONTROL_HANDSHAKE;
    termios settings{};
    Kel_P_Serial_DcbToTermios(dcb, &settings);
    EXPECT_EQ(settings.c_iflag & (IXON | IXOFF), static_cast<tcflag_t>(IXON));
    EXPECT_EQ(settings.c_cc[VSTART], 0x11);
    EXPECT_EQ(settings.c_cc[VSTOP], 0x13);
    Kel_P_Serial_DCB back{};
    Kel_P_Serial_TermiosToDcb(settings, &back);
    EXPECT_EQ(back.fOutX + back.fInX, 1u);
    EXPECT_EQ(back.fOutxCtsFlow, 1u);
    EXPECT_EQ(back.fRtsControl, KEL_SERIAL_RTS_CONTROL_HANDSHAKE);
    // CTS flow control off: a handshaking RTS becomes a plain raised one.
    settings.c_cflag &= ~CRTSCTS;
    Kel_P_Serial_TermiosToDcb(settings, &back);
    EXPECT_EQ(back.fOutxCtsFlow, 0u);
    EXPECT_EQ(back.fRtsControl, KEL_SERIAL_RTS_CONTROL_ENABLE);
}

#endif
