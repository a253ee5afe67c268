// Fault tests: the exports against a simulator that misbehaves, dies or hangs up, timed with the
// monotonic clock. Besides the in-process simulator of the end-to-end tests, the zentor-sim program
// runs as a child process, so that it can be killed in the middle of an answer.
#pragma once

#include "e2e/e2e_support.h"
#include "shared/platform/kel_p_trace.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <poll.h>
#include <fcntl.h>
#include <vector>

extern char** environ;

namespace fault
{

// Milliseconds of the monotonic clock since the stopwatch was made.
class Elapsed
{
public:
    int64_t Ms() const
    {
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start)
            .count();
    }

private:
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

// Open file descriptors of this process.
inline size_t OpenDescriptors()
{
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count; // the iterator's own descriptor is counted every time alike
}

// Number of lines in a file (0 when it does not exist).
inline size_t LinesOf(const std::string& aPath, const char* pContaining = nullptr)
{
    FILE* file = fopen(aPath.c_str(), "rb");
    if (file == nullptr)
        return 0;
    size_t count = 0;
    char line[2048];
    while (fgets(line, sizeof(line), file) != nullptr)
        if (pContaining == nullptr || strstr(line, pContaining) != nullptr)
            ++count;
    fclose(file);
    return count;
}

// zentor-sim as a child process with its hex trace read from its standard error.
class SimProcess
{
public:
    ~SimProcess() { Kill(); }

    // Starts the program with the arguments (and --trace unless aTrace is false: a long run would pile
    // up its lines here); returns its first output line: the device path or HOST:PORT.
    std::string Start(const std::vector<std::string>& aArguments, bool aTrace = true)
    {
        int out[2];
        int err[2];
        if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0)
            return {};
        std::vector<std::string> words{ZENTOR_SIM_EXECUTABLE};
        words.insert(words.end(), aArguments.begin(), aArguments.end());
        if (aTrace)
            words.push_back("--trace");
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, out[1], 1);
        posix_spawn_file_actions_adddup2(&actions, err[1], 2);
        const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(out[1]);
        close(err[1]);
        if (spawned != 0)
        {
            pid = -1;
            close(out[0]);
            close(err[0]);
            return {};
        }
        errFd = err[0];
        reader = std::thread([this] { ReadTrace(); });
        std::string first;
        char c = 0;
        pollfd entry{out[0], POLLIN, 0};
        while (poll(&entry, 1, 5000) > 0 && read(out[0], &c, 1) == 1 && c != '\n')
            first += c;
        close(out[0]);
        return first;
    }

    // Waits until aCount trace lines (since the start) begin with aPrefix; false after aTimeoutMs.
    bool WaitForTrace(const std::string& aPrefix, size_t aCount, int aTimeoutMs)
    {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, std::chrono::milliseconds(aTimeoutMs),
                                [&]
                                {
                                    size_t count = 0;
                                    for (const std::string& line : lines)
                                        if (line.rfind("zentor-sim: " + aPrefix, 0) == 0)
                                            ++count;
                                    return count >= aCount;
                                });
    }

    // SIGKILL, then reap the child and its trace reader.
    void Kill()
    {
        if (pid > 0)
        {
            kill(pid, SIGKILL);
            int status = 0;
            waitpid(pid, &status, 0);
            pid = -1;
        }
        if (reader.joinable())
            reader.join();
        if (errFd >= 0)
            close(errFd);
        errFd = -1;
    }

private:
    void ReadTrace()
    {
        std::string line;
        char buffer[256];
        for (;;)
        {
            const ssize_t got = read(errFd, buffer, sizeof(buffer));
            if (got <= 0)
                return;
            for (ssize_t i = 0; i < got; ++i)
            {
                if (buffer[i] != '\n')
                {
                    line += buffer[i];
                    continue;
                }
                std::lock_guard<std::mutex> lock(mutex);
                lines.push_back(line);
                line.clear();
                changed.notify_all();
            }
        }
    }

    pid_t pid = -1;
    int errFd = -1;
    std::thread reader;
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> lines;
};

} // namespace fault
