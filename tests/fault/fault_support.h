// Fault tests: the exports against a simulator that misbehaves, goes away or hangs up, timed with the
// monotonic clock, and a soak; descriptors and trace lines counted.
#pragma once

#include "e2e/e2e_support.h"
#include "shared/platform/kel_p_trace.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <string>

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

} // namespace fault
