// Named counting semaphores over the Windows kernel. The name is the system object's name as given
// (a serial channel uses its port's name, "COM3"), so every context on one name, in any process of
// the session, shares one semaphore.
#define KEL_TRACE_FILE "shared/src/shared/platform/windows/kel_p_semaphore"
#include "shared/platform/kel_p_semaphore.h"
#include "shared/platform/kel_p_semaphore_backend.h"

#include "shared/kel_trace.h"

#include <cstdio>
#include <windows.h>

Kel_StatusCode Kel_P_Semaphore_CreateObject(const Kel_TraceScope& kelScope,
                                            Kel_P_Semaphore_Context* pSemaphoreContext)
{
    HANDLE handle = CreateSemaphoreA(KEL_NULL, pSemaphoreContext->initialCount, pSemaphoreContext->maxCount,
                                     pSemaphoreContext->name);
    KEL_GOTO_IF_EXPR((handle == KEL_NULL));
    // The name was taken already: the system hands back the existing semaphore, which this context
    // did not create. Say so with a failure, so that the caller opens it as an existing one.
    if (GetLastError() == ERROR_ALREADY_EXISTS)
    {
        CloseHandle(handle);
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(GetLastError() == ERROR_ALREADY_EXISTS)");
        KEL_EXIT_BAD(Kel_BadInvalidState);
    }
    pSemaphoreContext->handle = handle;
    pSemaphoreContext->created = 1;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Semaphore_OpenObject(const Kel_TraceScope& kelScope,
                                          Kel_P_Semaphore_Context* pSemaphoreContext)
{
    HANDLE handle = OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, pSemaphoreContext->name);
    KEL_GOTO_IF_EXPR((handle == KEL_NULL));
    pSemaphoreContext->handle = handle;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Semaphore_LockImp(Kel_P_Semaphore_Context* pSemaphoreContext)
{
    KEL_ENTER(Kel_Module_Semaphore);
    KEL_REJECT_NULL(pSemaphoreContext);
    KEL_GOTO_IF_EXPR((WaitForSingleObject(pSemaphoreContext->handle, INFINITE) != WAIT_OBJECT_0));
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Semaphore_LockTimeoutImp(Kel_P_Semaphore_Context* pSemaphoreContext,
                                              uint32_t aMilliseconds)
{
    KEL_ENTER(Kel_Module_Semaphore);
    KEL_REJECT_NULL(pSemaphoreContext);
    const DWORD result = WaitForSingleObject(pSemaphoreContext->handle, aMilliseconds);
    if (result == WAIT_TIMEOUT)
    {
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == WAIT_TIMEOUT)");
        KEL_EXIT_BAD(Kel_BadTimeout);
    }
    KEL_GOTO_IF_EXPR((result != WAIT_OBJECT_0));
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Semaphore_UnlockImp(Kel_P_Semaphore_Context* pSemaphoreContext)
{
    KEL_ENTER(Kel_Module_Semaphore);
    KEL_REJECT_NULL(pSemaphoreContext);
    KEL_GOTO_IF_EXPR((ReleaseSemaphore(pSemaphoreContext->handle, 1, KEL_NULL) == 0));
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Semaphore_DeleteImp(Kel_P_Semaphore_Context* pSemaphoreContext)
{
    KEL_ENTER(Kel_Module_Semaphore);
    KEL_REJECT_NULL(pSemaphoreContext);
    HANDLE handle = pSemaphoreContext->handle;
    *pSemaphoreContext = Kel_P_Semaphore_Context{};
    KEL_GOTO_IF_EXPR((handle != KEL_NULL && CloseHandle(handle) == 0));
    KEL_EXIT(Kel_Good);
}
