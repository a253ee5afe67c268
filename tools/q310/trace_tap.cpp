#include "trace_tap.h"

#include "host_os.h"

namespace q310cli
{
namespace
{
// The transport's entry line, one per frame sent (a repeated request counts again).
constexpr const char* kFrameLine = "::Kel_Zentor1Phase_Transport_TransmitFrame (";

std::FILE* DuplicateStream(int aFd)
{
    const int copy = os::Dup(aFd);
    if (copy < 0)
        return nullptr;
    std::FILE* stream = os::OpenWrite(copy);
    if (stream == nullptr)
        os::Close(copy);
    return stream;
}
} // namespace

bool TraceTap::Start(bool aForwardToStderr)
{
    forward_ = aForwardToStderr;
    fflush(stdout);
    fflush(stderr);
    out_ = DuplicateStream(1);
    err_ = DuplicateStream(2);
    int fds[2] = {-1, -1};
    if (out_ == nullptr || err_ == nullptr || !os::Pipe(fds))
    {
        if (out_ != nullptr)
            fclose(out_);
        if (err_ != nullptr)
            fclose(err_);
        out_ = err_ = nullptr;
        return false;
    }
    savedStdout_ = os::Dup(1);
    savedStderr_ = os::Dup(2);
    os::Dup2(fds[1], 1);
    os::Dup2(fds[1], 2);
    os::Close(fds[1]);
    readFd_ = fds[0];
    // Unbuffered, so that every trace line reaches the counter when it is written.
    setvbuf(stdout, nullptr, _IONBF, 0);
    reader_ = std::thread([this] { Run(); });
    return true;
}

void TraceTap::Stop()
{
    if (!reader_.joinable())
        return;
    fflush(stdout);
    fflush(stderr);
    // Descriptors 1 and 2 back to the originals: the pipe's last writers go and the reader sees its end.
    os::Dup2(savedStdout_, 1);
    os::Dup2(savedStderr_, 2);
    os::Close(savedStdout_);
    os::Close(savedStderr_);
    savedStdout_ = savedStderr_ = -1;
    reader_.join();
    os::Close(readFd_);
    readFd_ = -1;
}

void TraceTap::Run()
{
    std::string line;
    char buffer[4096];
    for (;;)
    {
        const long got = os::Read(readFd_, buffer, sizeof(buffer));
        if (got <= 0)
            break;
        for (long i = 0; i < got; ++i)
        {
            line += buffer[i];
            if (buffer[i] == '\n')
            {
                Line(line);
                line.clear();
            }
        }
    }
    if (!line.empty())
        Line(line);
}

void TraceTap::Line(const std::string& aLine)
{
    if (aLine.find(kFrameLine) != std::string::npos)
        frames_.fetch_add(1);
    if (forward_)
    {
        fputs(aLine.c_str(), err_);
        fflush(err_);
    }
}

} // namespace q310cli
