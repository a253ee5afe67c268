// The simulator served over TCP and over a pseudo-terminal: real bytes on real descriptors, the
// delay and chunk knobs seen as pauses on the line, a dropped connection seen by the host.
#include "sim_test_util.h"

#include <arpa/inet.h>
#include <chrono>
#include <climits>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

using namespace simtest;
using zentor_sim::Simulator;
using Clock = std::chrono::steady_clock;

namespace
{

const Bytes kSerialRequest = H("00 00 00 01 2F 64 4C");
const Bytes kSerialAnswer = H("00 00 00 01 2F 01 40 70 E1 3B 47");

int ConnectTcp(uint16_t port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
    {
        ::close(fd);
        return -1;
    }
    return fd;
}

struct Arrival
{
    Bytes bytes;
    long ms; // since the request was written
};

// Reads until `count` bytes are in, the peer closes, or `timeoutMs` passes; notes each read.
std::vector<Arrival> ReadAnswer(int fd, size_t count, int timeoutMs, bool* closed = nullptr)
{
    std::vector<Arrival> arrivals;
    size_t total = 0;
    const auto start = Clock::now();
    while (total < count)
    {
        const long elapsed = static_cast<long>(
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
        if (elapsed >= timeoutMs)
            break;
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, static_cast<int>(timeoutMs - elapsed)) <= 0)
            break;
        uint8_t buffer[256];
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n <= 0)
        {
            if (closed)
                *closed = true;
            break;
        }
        arrivals.push_back(Arrival{
            Bytes(buffer, buffer + n),
            static_cast<long>(
                std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count())});
        total += static_cast<size_t>(n);
    }
    return arrivals;
}

Bytes Joined(const std::vector<Arrival>& arrivals)
{
    Bytes all;
    for (const Arrival& a : arrivals)
        all.insert(all.end(), a.bytes.begin(), a.bytes.end());
    return all;
}

bool WriteAll(int fd, const Bytes& bytes)
{
    return ::write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
}

} // namespace

TEST(SimTransport, TcpAnswersAndShapesTheAnswerInTime)
{
    Simulator sim(TestState());
    const uint16_t port = sim.StartTcp(0);
    ASSERT_NE(port, 0);
    const int fd = ConnectTcp(port);
    ASSERT_GE(fd, 0);

    ASSERT_TRUE(WriteAll(fd, kSerialRequest));
    EXPECT_EQ(Joined(ReadAnswer(fd, kSerialAnswer.size(), 1000)), kSerialAnswer);

    {
        auto lock = sim.Lock();
        sim.GetFaults().delayMs = 80;
    }
    ASSERT_TRUE(WriteAll(fd, kSerialRequest));
    auto arrivals = ReadAnswer(fd, kSerialAnswer.size(), 1000);
    ASSERT_FALSE(arrivals.empty());
    EXPECT_GE(arrivals.front().ms, 70);
    EXPECT_EQ(Joined(arrivals), kSerialAnswer);

    {
        auto lock = sim.Lock();
        sim.GetFaults().delayMs = 0;
        sim.GetFaults().chunkSize = 4;
        sim.GetFaults().chunkGapMs = 60;
    }
    ASSERT_TRUE(WriteAll(fd, kSerialRequest));
    arrivals = ReadAnswer(fd, kSerialAnswer.size(), 1000);
    EXPECT_EQ(Joined(arrivals), kSerialAnswer);
    ASSERT_EQ(arrivals.size(), 3u); // 4 + 4 + 3 bytes, each after a pause
    EXPECT_GE(arrivals[1].ms - arrivals[0].ms, 45);
    EXPECT_GE(arrivals[2].ms - arrivals[1].ms, 45);
    ::close(fd);
    sim.Stop();
}

TEST(SimTransport, APauseOnTheLineForgetsAnIncompleteRequest)
{
    Simulator sim(TestState());
    sim.SetInputResetMs(40);
    const uint16_t port = sim.StartTcp(0);
    const int fd = ConnectTcp(port);
    ASSERT_GE(fd, 0);
    ASSERT_TRUE(WriteAll(fd, Bytes(kSerialRequest.begin(), kSerialRequest.begin() + 4)));
    ::usleep(150 * 1000);
    ASSERT_TRUE(WriteAll(fd, Bytes(kSerialRequest.begin() + 4, kSerialRequest.end())));
    EXPECT_TRUE(ReadAnswer(fd, 1, 200).empty());
    // Without the pause the pieces make a request.
    ASSERT_TRUE(WriteAll(fd, Bytes(kSerialRequest.begin(), kSerialRequest.begin() + 4)));
    ASSERT_TRUE(WriteAll(fd, Bytes(kSerialRequest.begin() + 4, kSerialRequest.end())));
    EXPECT_EQ(Joined(ReadAnswer(fd, kSerialAnswer.size(), 1000)), kSerialAnswer);
    ::close(fd);
}
