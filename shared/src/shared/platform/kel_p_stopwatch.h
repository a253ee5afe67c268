// A millisecond stopwatch over the system's 32-bit millisecond tick.
#pragma once

#include "shared/kel_types.h"

struct Kel_P_Stopwatch_Context
{
    uint32_t running;
    uint32_t startTick;
    uint32_t lastTick;
    uint64_t accumulated;
};

// The system's millisecond tick, wrapping at 2^32.
uint32_t Kel_P_Stopwatch_GetTick();

Kel_StatusCode Kel_P_Stopwatch_Reset(Kel_P_Stopwatch_Context* pStopwatchContext);
Kel_StatusCode Kel_P_Stopwatch_Start(Kel_P_Stopwatch_Context* pStopwatchContext);
Kel_StatusCode Kel_P_Stopwatch_Restart(Kel_P_Stopwatch_Context* pStopwatchContext);
Kel_StatusCode Kel_P_Stopwatch_Stop(Kel_P_Stopwatch_Context* pStopwatchContext);
Kel_StatusCode Kel_P_Stopwatch_IsRunning(Kel_P_Stopwatch_Context* pStopwatchContext, uint32_t* pIsRunning);
Kel_StatusCode Kel_P_Stopwatch_GetMSecElapsed(Kel_P_Stopwatch_Context* pStopwatchContext, uint64_t* pElapsed);
