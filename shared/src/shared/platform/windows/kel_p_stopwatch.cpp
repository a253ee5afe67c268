// The millisecond tick of the Windows platform: the system tick counter.
#include "shared/platform/kel_p_stopwatch.h"

#include <windows.h>

uint32_t Kel_P_Stopwatch_GetTick() { return GetTickCount(); }
