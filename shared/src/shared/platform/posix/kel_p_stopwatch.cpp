// The millisecond tick of the POSIX platform: the monotonic clock, cut to 32 bits like the Windows
// tick counter. It counts from the first use in the process rather than from boot: the stopwatch takes
// the tick as a signed 32-bit number, which goes wrong once the tick passes 2^31 ms (about 24.8 days),
// and a server is often up longer than that while a process using the library rarely is.
#include "shared/platform/kel_p_stopwatch.h"

#include <time.h>

namespace
{
uint64_t MonotonicMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000u + static_cast<uint64_t>(now.tv_nsec) / 1000000u;
}
} // namespace

uint32_t Kel_P_Stopwatch_GetTick()
{
    // The origin lies 1 ms before the first use, so that the first tick is not 0.
    static const uint64_t tickOrigin = MonotonicMilliseconds() - 1;
    return static_cast<uint32_t>(MonotonicMilliseconds() - tickOrigin);
}
