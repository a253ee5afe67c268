// The library writes its trace to the process's standard output (and complaints about trace files it
// cannot open to standard error). The host keeps both streams for itself: it moves the originals aside
// for its own output and points descriptors 1 and 2 at a pipe, whose reader thread counts the frames
// the library sends (the progress of long transfers) and, with --trace, passes the lines on to the
// original standard error.
#pragma once

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>

namespace q310cli
{

class TraceTap
{
public:
    TraceTap() = default;
    TraceTap(const TraceTap&) = delete;
    TraceTap& operator=(const TraceTap&) = delete;
    ~TraceTap() { Stop(); }

    // False when the descriptors cannot be set up; the host then writes to stdout as it is.
    bool Start(bool aForwardToStderr);
    // Puts standard output back and ends the reader (call after the library's last trace).
    void Stop();
    // The host's own output: the original standard output.
    std::FILE* Out() const { return out_ != nullptr ? out_ : stdout; }
    // The host's own error stream: the original standard error.
    std::FILE* Err() const { return err_ != nullptr ? err_ : stderr; }
    // Frames sent by the library since Start.
    unsigned Frames() const { return frames_.load(); }

private:
    void Run();
    void Line(const std::string& aLine);

    std::FILE* out_ = nullptr;
    std::FILE* err_ = nullptr;
    int savedStdout_ = -1;
    int savedStderr_ = -1;
    int readFd_ = -1;
    bool forward_ = false;
    std::atomic<unsigned> frames_{0};
    std::thread reader_;
};

} // namespace q310cli
