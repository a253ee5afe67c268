// The simulator as a whole: one meter, its line engine and fault knobs, served over a
// pseudo-terminal, a TCP listener or stdin/stdout. Tests use it in-process; zentor-sim wraps it.
#pragma once

#include "zentor_sim/line.h"
#include "zentor_sim/meter.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace zentor_sim
{

class Simulator
{
public:
    Simulator();
    explicit Simulator(const MeterState& state);
    ~Simulator();
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    // Everything below is shared with the serving thread: change it under Lock().
    std::unique_lock<std::mutex> Lock() { return std::unique_lock<std::mutex>(mutex_); }
    Meter& GetMeter() { return meter_; }
    Faults& GetFaults() { return faults_; }
    Pacing& GetPacing() { return pacing_; }
    LineEngine& Line() { return line_; }

    // Hex trace of requests and answers ("rx ..", "tx ..", "-- notes") to stderr or elsewhere.
    void TraceToStderr();
    void SetTrace(TraceSink sink);

    // Pause after which incomplete input is forgotten.
    void SetInputResetMs(unsigned ms) { inputResetMs_ = ms; }

    // Feeds bytes straight into the line engine, without a transport (no delays are waited).
    Reply Exchange(const Bytes& bytes);

    // Pseudo-terminal: returns the device path; with a link path, a symlink to it is made there.
    std::string StartPty(const std::string& linkPath = "");
    // TCP listener on host:port (port 0 picks a free one); returns the port.
    uint16_t StartTcp(uint16_t port = 0, const std::string& host = "127.0.0.1");
    // Serves stdin/stdout until end of input (blocks).
    void RunStdio();
    void Stop();

private:
    using Clock = std::chrono::steady_clock;

    void ServeStream(int readFd, int writeFd, bool isSocket);
    void ServeListener();
    // Sends a reply; false when the connection must be closed. With pacing on, the first chunk's
    // bytes start at answerAt (after the chunk's own delay) and every byte takes its character time.
    bool Send(int fd, const Reply& reply, bool isSocket, const Pacing& pacing, Clock::time_point answerAt);
    bool WriteAll(int fd, const uint8_t* data, size_t size, bool isSocket);
    bool SleepUnlessStopped(unsigned ms);
    bool SleepUntil(Clock::time_point deadline);

    std::mutex mutex_;
    Meter meter_;
    Faults faults_;
    Pacing pacing_;
    LineEngine line_;
    std::atomic<bool> stop_{false};
    int wakeRead_ = -1;
    int wakeWrite_ = -1;
    int masterFd_ = -1;
    int slaveFd_ = -1;
    int listenFd_ = -1;
    std::string linkPath_;
    unsigned inputResetMs_ = 500;
    std::thread thread_;
};

} // namespace zentor_sim
