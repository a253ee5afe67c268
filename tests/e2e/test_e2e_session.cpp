// Session and connection end to end: eOpen on a COM name linked to the simulator's pseudo-terminal
// (the line settings as written), eTcpOpen's time-out, and the TCP flag setter with its results.
#include "e2e_support.h"

#include "Q310/q310_session.h"

#include <cstdio>
#include <string>

namespace
{
using e2e::Path;
using e2e::SessionTest;

class Session : public SessionTest
{
};
class SerialSession : public SessionTest
{
};

TEST_P(SerialSession, LineSettingsAndTimeOutsAsWritten)
{
    ASSERT_TRUE(OpenPath("baud=4800 parity=Odd data=7 stop=2 dtr=on rts=on"));
    EXPECT_STREQ(q310Session.commPortName, "COM7");
    EXPECT_EQ(q310Session.commTimeOuts.ReadIntervalTimeout, e2e::kTimeOuts[0]);
    EXPECT_EQ(q310Session.commTimeOuts.ReadTotalTimeoutConstant, e2e::kTimeOuts[2]);
    // The port was really written: its speed reads back.
    Kel_P_Serial_DCB readBack{};
    ASSERT_NE(Kel_P_Serial_GetCommState(q310Session.serialContext.port_fd, &readBack), 0);
    EXPECT_EQ(readBack.BaudRate, 4800u);
    // The line settings of the session are what eReadSerialNumber gives the protocol client.
    EXPECT_EQ(q310Session.dcb.BaudRate, 4800u);
    EXPECT_EQ(q310Session.dcb.ByteSize, 7);
}

TEST_P(Session, TcpFlagStopsTracing)
{
    ASSERT_TRUE(OpenSession());
    char text[32] = {};
    testing::internal::CaptureStdout();
    ASSERT_EQ(eReadFrequency(0, text, err), 1);
    fflush(stdout);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("_eReadFrequency"), std::string::npos);

    EXPECT_EQ(eSetTcpFlag(1, 0), 0);
    EXPECT_EQ(q310Session.tcpFlag, 1u);
    EXPECT_EQ(q310Session.tcpBridge.echo, 0u);
    testing::internal::CaptureStdout();
    ASSERT_EQ(eReadFrequency(0, text, err), 1);
    fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_STREQ(text, "50.01");
}

TEST_P(Session, TcpFlagZeroClosesTheSocket)
{
    if (GetParam() != Path::Tcp)
        GTEST_SKIP() << "TCP only";
    ASSERT_TRUE(OpenSession());
    EXPECT_EQ(eSetTcpFlag(0, 0), 0);
    EXPECT_EQ(q310Session.socket.socket_fd, KEL_TCP_INVALID_SOCKET);
    char text[32] = {};
    EXPECT_EQ(eReadFrequency(0, text, err), 0);
    // A refused eTcpOpen (nothing listens on port 1) keeps its read time-out all the same.
    EXPECT_EQ(eTcpOpen(1, "127.0.0.1", 0, 432, err), 0);
    EXPECT_EQ(q310Session.commTimeOuts.ReadTotalTimeoutConstant, 432u);
}

INSTANTIATE_TEST_SUITE_P(Paths, Session, e2e::kBothPaths, e2e::PathName);
INSTANTIATE_TEST_SUITE_P(Paths, SerialSession, ::testing::Values(Path::Serial), e2e::PathName);
} // namespace
