// The semaphore calls that read the same on every system, compiled into each backend. Their trace
// lines name the backend's file, as the backend's own calls do.
#define KEL_TRACE_FILE "shared/src/shared/platform/" KEL_PLATFORM_NAME "/kel_p_semaphore"
#include "shared/kel_trace.h"
#include "shared/platform/kel_p_semaphore.h"
#include "shared/platform/kel_p_semaphore_backend.h"

#include <stdio.h>

Kel_StatusCode Kel_P_Semaphore_CreateImp(Kel_P_Semaphore_Context* pSemaphoreContext, const char* pName,
                                         int32_t aInitialCount, int32_t aMaxCount)
{
    KEL_ENTER(Kel_Module_Semaphore);
    KEL_REJECT_NULL(pSemaphoreContext);
    KEL_REJECT_NULL(pName);
    KEL_REJECT_ZERO(aMaxCount);
    KEL_REJECT_IF(aMaxCount < aInitialCount, Kel_BadInvalidArgument);
    KEL_REJECT_IF(aMaxCount < 0, Kel_BadInvalidArgument);
    *pSemaphoreContext = Kel_P_Semaphore_Context{};
    // The name is stored as it is given; a '%' in it is not taken as a conversion.
    snprintf(pSemaphoreContext->name, sizeof(pSemaphoreContext->name), "%s", pName);
    pSemaphoreContext->maxCount = aMaxCount;
    pSemaphoreContext->initialCount = aInitialCount;
    return Kel_P_Semaphore_CreateObject(kelScope, pSemaphoreContext);
}

Kel_StatusCode Kel_P_Semaphore_OpenImp(Kel_P_Semaphore_Context* pSemaphoreContext, const char* pName)
{
    KEL_ENTER(Kel_Module_Semaphore);
    KEL_REJECT_NULL(pSemaphoreContext);
    KEL_REJECT_NULL(pName);
    *pSemaphoreContext = Kel_P_Semaphore_Context{};
    snprintf(pSemaphoreContext->name, sizeof(pSemaphoreContext->name), "%s", pName);
    return Kel_P_Semaphore_OpenObject(kelScope, pSemaphoreContext);
}
