// The hardware watchdog: this platform has none. Initialize succeeds so that callers can start up;
// every other call reports Kel_BadNotImplemented (traced as a bare early failure under the utilities'
// module, the only user of the watchdog) and touches nothing, so its arguments are not checked.
#define KEL_TRACE_FILE "shared/src/shared/platform/" KEL_PLATFORM_NAME "/kel_p_watchdog"
#include "shared/platform/kel_p_watchdog.h"

#include "shared/kel_trace.h"

Kel_StatusCode Kel_P_WatchDog_Initialize()
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_WatchDog_Create(Kel_P_WatchDog_Context*, uint32_t, uint32_t)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_CODE(Kel_BadNotImplemented);
}

Kel_StatusCode Kel_P_WatchDog_Close(Kel_P_WatchDog_Context*)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_CODE(Kel_BadNotImplemented);
}

Kel_StatusCode Kel_P_WatchDog_Start(Kel_P_WatchDog_Context*)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_CODE(Kel_BadNotImplemented);
}

Kel_StatusCode Kel_P_WatchDog_Stop(Kel_P_WatchDog_Context*)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_CODE(Kel_BadNotImplemented);
}

Kel_StatusCode Kel_P_WatchDog_Refresh(Kel_P_WatchDog_Context*)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_CODE(Kel_BadNotImplemented);
}

Kel_StatusCode Kel_P_WatchDog_StopAll()
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_CODE(Kel_BadNotImplemented);
}

Kel_StatusCode Kel_P_WatchDog_ReadValue(Kel_P_WatchDog_Context*, uint32_t*)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_CODE(Kel_BadNotImplemented);
}

Kel_StatusCode Kel_P_WatchDog_WriteValue(Kel_P_WatchDog_Context*, uint32_t)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_CODE(Kel_BadNotImplemented);
}
