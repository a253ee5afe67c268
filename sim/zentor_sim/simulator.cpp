#include "zentor_sim/simulator.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

namespace zentor_sim
{

namespace
{

using Clock = std::chrono::steady_clock;

Clock::duration Micros(double us)
{
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double, std::micro>(us));
}

void CloseFd(int& fd)
{
    if (fd >= 0)
        ::close(fd);
    fd = -1;
}

} // namespace

Simulator::Simulator() : line_(meter_, faults_)
{
    int fds[2];
    if (::pipe(fds) != 0)
        throw std::runtime_error("pipe failed");
    wakeRead_ = fds[0];
    wakeWrite_ = fds[1];
}

Simulator::Simulator(const MeterState& state) : Simulator()
{
    meter_.State() = state;
}

Simulator::~Simulator()
{
    Stop();
    CloseFd(wakeRead_);
    CloseFd(wakeWrite_);
}

void Simulator::TraceToStderr()
{
    SetTrace([](const std::string& line) { std::cerr << "zentor-sim: " << line << std::endl; });
}

void Simulator::SetTrace(TraceSink sink)
{
    auto lock = Lock();
    line_.SetTrace(std::move(sink));
}

Reply Simulator::Exchange(const Bytes& bytes)
{
    auto lock = Lock();
    return line_.Feed(bytes.data(), bytes.size());
}

std::string Simulator::StartPty(const std::string& linkPath)
{
    masterFd_ = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (masterFd_ < 0 || ::grantpt(masterFd_) != 0 || ::unlockpt(masterFd_) != 0)
        throw std::runtime_error("cannot create a pseudo-terminal");
    const char* name = ::ptsname(masterFd_);
    if (name == nullptr)
        throw std::runtime_error("cannot name the pseudo-terminal");
    const std::string path = name;
    // Holding the slave side open keeps the master readable while no host has the device open, and
    // sets the line raw so that every byte passes unchanged.
    slaveFd_ = ::open(path.c_str(), O_RDWR | O_NOCTTY);
    if (slaveFd_ < 0)
        throw std::runtime_error("cannot open " + path);
    termios tio{};
    ::tcgetattr(slaveFd_, &tio);
    ::cfmakeraw(&tio);
    ::tcsetattr(slaveFd_, TCSANOW, &tio);
    if (!linkPath.empty())
    {
        ::unlink(linkPath.c_str());
        if (::symlink(path.c_str(), linkPath.c_str()) != 0)
            throw std::runtime_error("cannot make the link " + linkPath);
        linkPath_ = linkPath;
    }
    stop_ = false;
    thread_ = std::thread(
        [this]
        {
            ServeStream(masterFd_, masterFd_, false);
            // The line hung up (rather than stopped): the host's side sees it once both ends here are
            // closed.
            if (!stop_)
            {
                CloseFd(masterFd_);
                CloseFd(slaveFd_);
            }
        });
    return path;
}

uint16_t Simulator::StartTcp(uint16_t port, const std::string& host)
{
    listenFd_ = ::socket(AF_INET, SOCK_STREAM, 0);
    if (listenFd_ < 0)
        throw std::runtime_error("cannot create a socket");
    const int yes = 1;
    ::setsockopt(listenFd_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (::inet_pton(AF_INET, host.c_str(), &address.sin_addr) != 1)
        throw std::runtime_error("bad listen address " + host);
    if (::bind(listenFd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listenFd_, 4) != 0)
        throw std::runtime_error("cannot listen on " + host + ":" + std::to_string(port));
    socklen_t size = sizeof address;
    ::getsockname(listenFd_, reinterpret_cast<sockaddr*>(&address), &size);
    stop_ = false;
    thread_ = std::thread([this] { ServeListener(); });
    return ntohs(address.sin_port);
}

void Simulator::RunStdio()
{
    stop_ = false;
    ServeStream(STDIN_FILENO, STDOUT_FILENO, false);
}

void Simulator::Stop()
{
    stop_ = true;
    if (wakeWrite_ >= 0)
    {
        const char byte = 1;
        [[maybe_unused]] const auto written = ::write(wakeWrite_, &byte, 1);
    }
    if (thread_.joinable())
        thread_.join();
    CloseFd(masterFd_);
    CloseFd(slaveFd_);
    CloseFd(listenFd_);
    if (!linkPath_.empty())
        ::unlink(linkPath_.c_str());
    linkPath_.clear();
    // Drain the wake-up pipe for a later start.
    char drain[16];
    pollfd wake{wakeRead_, POLLIN, 0};
    while (::poll(&wake, 1, 0) > 0 && ::read(wakeRead_, drain, sizeof drain) > 0)
    {
    }
}

bool Simulator::SleepUnlessStopped(unsigned ms)
{
    if (ms == 0)
        return !stop_;
    pollfd wake{wakeRead_, POLLIN, 0};
    ::poll(&wake, 1, static_cast<int>(ms));
    return !stop_;
}

bool Simulator::SleepUntil(Clock::time_point deadline)
{
    for (;;)
    {
        if (stop_)
            return false;
        const auto now = Clock::now();
        if (now >= deadline)
            return true;
        const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(deadline - now).count();
        const timespec wait{static_cast<time_t>(left / 1000000000), static_cast<long>(left % 1000000000)};
        pollfd wake{wakeRead_, POLLIN, 0};
        ::ppoll(&wake, 1, &wait, nullptr);
    }
}

bool Simulator::WriteAll(int fd, const uint8_t* data, size_t size, bool isSocket)
{
    size_t done = 0;
    while (done < size)
    {
        const ssize_t n = isSocket ? ::send(fd, data + done, size - done, MSG_NOSIGNAL)
                                   : ::write(fd, data + done, size - done);
        if (n <= 0)
            return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

bool Simulator::Send(int fd, const Reply& reply, bool isSocket, const Pacing& pacing,
                     Clock::time_point answerAt)
{
    if (reply.drop && isSocket)
        return false;
    // With pacing: the moment the line is free for the next byte.
    Clock::time_point lineFree = answerAt;
    for (const Chunk& chunk : reply.chunks)
    {
        if (!pacing.On())
        {
            if (!SleepUnlessStopped(chunk.delayMs) ||
                !WriteAll(fd, chunk.bytes.data(), chunk.bytes.size(), isSocket))
                return false;
            continue;
        }
        // Byte k is complete at the receiver k + 1 character times after the chunk starts; bytes that
        // are due go out together, so a late wake-up does not shift the ones after it.
        const Clock::time_point start =
            std::max(lineFree, Clock::now()) + std::chrono::milliseconds(chunk.delayMs);
        const double byteUs = pacing.WireUs(1);
        size_t sent = 0;
        while (sent < chunk.bytes.size())
        {
            if (!SleepUntil(start + Micros(byteUs * static_cast<double>(sent + 1))))
                return false;
            const double elapsedUs = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
            const size_t due = std::min(chunk.bytes.size(), static_cast<size_t>(elapsedUs / byteUs));
            if (!WriteAll(fd, chunk.bytes.data() + sent, std::max(due, sent + 1) - sent, isSocket))
                return false;
            sent = std::max(due, sent + 1);
        }
        lineFree = start + Micros(byteUs * static_cast<double>(chunk.bytes.size()));
    }
    return !reply.hangup;
}

void Simulator::ServeStream(int readFd, int writeFd, bool isSocket)
{
    uint8_t buffer[512];
    auto lastInput = Clock::now();
    auto requestStart = lastInput; // first byte of the request being received
    size_t requestBytes = 0;
    while (!stop_)
    {
        pollfd fds[2] = {{readFd, POLLIN, 0}, {wakeRead_, POLLIN, 0}};
        const int ready = ::poll(fds, 2, 20);
        if (stop_)
            return;
        if (ready <= 0 || !(fds[0].revents & (POLLIN | POLLHUP | POLLERR)))
        {
            // A pause on the line ends whatever came before it.
            auto lock = Lock();
            if (line_.HasPendingInput() &&
                Clock::now() - lastInput > std::chrono::milliseconds(inputResetMs_))
                line_.ResetInput();
            continue;
        }
        const ssize_t n =
            isSocket ? ::recv(readFd, buffer, sizeof buffer, 0) : ::read(readFd, buffer, sizeof buffer);
        if (n <= 0)
        {
            if (!isSocket && n < 0 && (errno == EAGAIN || errno == EINTR || errno == EIO))
            {
                // A pseudo-terminal whose host closed the device: wait for the next one.
                SleepUnlessStopped(20);
                continue;
            }
            return;
        }
        lastInput = Clock::now();
        Reply reply;
        Pacing pacing;
        {
            auto lock = Lock();
            if (!line_.HasPendingInput())
            {
                requestStart = lastInput;
                requestBytes = 0;
            }
            requestBytes += static_cast<size_t>(n);
            reply = line_.Feed(buffer, static_cast<size_t>(n));
            pacing = pacing_;
        }
        // The request's last byte would have arrived one wire time after its first; the meter answers a
        // turnaround after that.
        const Clock::time_point answerAt =
            requestStart + Micros(pacing.WireUs(requestBytes) + static_cast<double>(pacing.turnaroundUs));
        if (!Send(writeFd, reply, isSocket, pacing, answerAt))
            return;
    }
}

void Simulator::ServeListener()
{
    while (!stop_)
    {
        pollfd fds[2] = {{listenFd_, POLLIN, 0}, {wakeRead_, POLLIN, 0}};
        if (::poll(fds, 2, 100) <= 0 || !(fds[0].revents & POLLIN))
            continue;
        int client = ::accept(listenFd_, nullptr, nullptr);
        if (client < 0)
            continue;
        // Small answers and paced bytes leave at once, as a serial bridge forwards them.
        const int noDelay = 1;
        ::setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &noDelay, sizeof noDelay);
        {
            auto lock = Lock();
            line_.ResetInput();
        }
        ServeStream(client, client, true);
        ::close(client);
    }
}

} // namespace zentor_sim
