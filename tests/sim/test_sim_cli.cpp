// zentor-sim as people run it: --help, --pty printing a device a terminal program can open,
// --stdio, and a refused option.
#include "sim_test_util.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

using namespace simtest;

namespace
{

struct Child
{
    pid_t pid = -1;
    int in = -1;  // its stdin
    int out = -1; // its stdout
};

Child Spawn(const std::vector<std::string>& args)
{
    int toChild[2], fromChild[2];
    if (::pipe(toChild) != 0 || ::pipe(fromChild) != 0)
        return {};
    const pid_t pid = ::fork();
    if (pid == 0)
    {
        ::dup2(toChild[0], 0);
        ::dup2(fromChild[1], 1);
        const int null = ::open("/dev/null", O_WRONLY);
        ::dup2(null, 2);
        for (int fd : {toChild[0], toChild[1], fromChild[0], fromChild[1], null})
            ::close(fd);
        std::vector<char*> argv;
        std::vector<std::string> all{ZENTOR_SIM_EXECUTABLE};
        all.insert(all.end(), args.begin(), args.end());
        for (std::string& a : all)
            argv.push_back(a.data());
        argv.push_back(nullptr);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    ::close(toChild[0]);
    ::close(fromChild[1]);
    return Child{pid, toChild[1], fromChild[0]};
}

// Everything the child writes until it closes stdout or the time is up.
std::string ReadOutput(int fd, int timeoutMs, size_t stopAt = SIZE_MAX)
{
    std::string text;
    while (text.size() < stopAt)
    {
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, timeoutMs) <= 0)
            break;
        char buffer[4096];
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n <= 0)
            break;
        text.append(buffer, static_cast<size_t>(n));
    }
    return text;
}

int Wait(pid_t pid)
{
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

TEST(SimCli, PtyPrintsADeviceThatAnswers)
{
    Child child = Spawn({"--pty", "--address", "0x00000007"});
    const std::string line = ReadOutput(child.out, 5000, 1);
    std::string path = line.substr(0, line.find('\n'));
    ASSERT_EQ(path.rfind("/dev/pts/", 0), 0u) << line;
    const int fd = ::open(path.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(fd, 0);
    termios tio{};
    ::tcgetattr(fd, &tio);
    ::cfmakeraw(&tio);
    ::tcsetattr(fd, TCSANOW, &tio);
    const Bytes request = Frame(7, H("2E"));
    ASSERT_EQ(::write(fd, request.data(), request.size()), static_cast<ssize_t>(request.size()));
    const std::string answer = ReadOutput(fd, 1000, 8);
    EXPECT_EQ(Bytes(answer.begin(), answer.end()), Frame(7, H("2E 02")));
    ::close(fd);
    ::kill(child.pid, SIGTERM);
    EXPECT_EQ(Wait(child.pid), 0);
    ::close(child.in);
    ::close(child.out);
}

TEST(SimCli, StdioServesUntilEndOfInput)
{
    Child child = Spawn({"--stdio", "--mode", "echo", "--bad-crc", "1"});
    const Bytes request = Frame(1, H("2E"));
    ASSERT_EQ(::write(child.in, request.data(), request.size()), static_cast<ssize_t>(request.size()));
    Bytes bad = Frame(1, H("2E 02"));
    bad.back() ^= 0xFF;
    const std::string first = ReadOutput(child.out, 2000, request.size() + bad.size());
    EXPECT_EQ(Bytes(first.begin(), first.end()), Cat(request, bad));
    ASSERT_EQ(::write(child.in, request.data(), request.size()), static_cast<ssize_t>(request.size()));
    ::close(child.in);
    const std::string second = ReadOutput(child.out, 2000);
    EXPECT_EQ(Bytes(second.begin(), second.end()), Cat(request, Frame(1, H("2E 02"))));
    EXPECT_EQ(Wait(child.pid), 0);
    ::close(child.out);
}

TEST(SimCli, RefusesUnknownOptionsAndBadValues)
{
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"--frobnicate"}, std::vector<std::string>{"--mode", "fax"},
          std::vector<std::string>{"--variant", "12"}, std::vector<std::string>{"--garbage", "1:XYZ"}})
    {
        Child child = Spawn(args);
        ReadOutput(child.out, 5000);
        EXPECT_EQ(Wait(child.pid), 2) << args[0];
        ::close(child.in);
        ::close(child.out);
    }
}
