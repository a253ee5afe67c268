// The millisecond tick of the POSIX platform: the monotonic clock, cut to 32 bits like the
// Windows tick counter.
#include "shared/platform/kel_p_stopwatch.h"

#include <time.h>

uint32_t Kel_P_Stopwatch_GetTick()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const uint64_t milliseconds =
        static_cast<uint64_t>(now.tv_sec) * 1000u + static_cast<uint64_t>(now.tv_nsec) / 1000000u;
    return static_cast<uint32_t>(milliseconds);
}
