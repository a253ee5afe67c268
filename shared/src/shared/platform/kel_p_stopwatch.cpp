// Stopwatch over the platform's 32-bit millisecond tick (Kel_P_Stopwatch_GetTick). The arithmetic is
// kept as this code base has always had it: the elapsed time takes the current tick as a signed 32-bit
// number (wrong after about 24.8 days of system uptime), and Stop on a stopped stopwatch doubles the
// accumulated time.
#define KEL_TRACE_FILE "shared/src/shared/platform/kel_p_stopwatch"
#include "shared/platform/kel_p_stopwatch.h"

#include "shared/kel_trace.h"

Kel_StatusCode Kel_P_Stopwatch_Reset(Kel_P_Stopwatch_Context* pStopwatchContext)
{
    KEL_ENTER(Kel_Module_Stopwatch);
    KEL_REJECT_NULL(pStopwatchContext);
    *pStopwatchContext = Kel_P_Stopwatch_Context{};
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Stopwatch_Start(Kel_P_Stopwatch_Context* pStopwatchContext)
{
    KEL_ENTER(Kel_Module_Stopwatch);
    KEL_REJECT_NULL(pStopwatchContext);
    pStopwatchContext->running = 1;
    pStopwatchContext->startTick = Kel_P_Stopwatch_GetTick();
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Stopwatch_Restart(Kel_P_Stopwatch_Context* pStopwatchContext)
{
    KEL_ENTER(Kel_Module_Stopwatch);
    KEL_REJECT_NULL(pStopwatchContext);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_P_Stopwatch_Reset(pStopwatchContext));
    KEL_GOTO_IF_BAD(status, Kel_P_Stopwatch_Start(pStopwatchContext));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_P_Stopwatch_IsRunning(Kel_P_Stopwatch_Context* pStopwatchContext, uint32_t* pIsRunning)
{
    KEL_ENTER(Kel_Module_Stopwatch);
    KEL_REJECT_NULL(pStopwatchContext);
    KEL_REJECT_NULL(pIsRunning);
    *pIsRunning = pStopwatchContext->running;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Stopwatch_GetMSecElapsed(Kel_P_Stopwatch_Context* pStopwatchContext, uint64_t* pElapsed)
{
    KEL_ENTER(Kel_Module_Stopwatch);
    KEL_REJECT_NULL(pStopwatchContext);
    KEL_REJECT_NULL(pElapsed);
    if (pStopwatchContext->running != 0)
    {
        pStopwatchContext->lastTick = Kel_P_Stopwatch_GetTick();
        const int64_t now = static_cast<int32_t>(pStopwatchContext->lastTick);
        *pElapsed = static_cast<uint64_t>(now - static_cast<int64_t>(pStopwatchContext->startTick));
    }
    else
    {
        *pElapsed = pStopwatchContext->accumulated;
    }
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Stopwatch_Stop(Kel_P_Stopwatch_Context* pStopwatchContext)
{
    KEL_ENTER(Kel_Module_Stopwatch);
    KEL_REJECT_NULL(pStopwatchContext);
    Kel_StatusCode status = Kel_Good;
    uint64_t elapsed = 0;
    KEL_GOTO_IF_BAD(status, Kel_P_Stopwatch_GetMSecElapsed(pStopwatchContext, &elapsed));
    pStopwatchContext->accumulated += elapsed;
    pStopwatchContext->running = 0;
    KEL_EXIT(status);
}
