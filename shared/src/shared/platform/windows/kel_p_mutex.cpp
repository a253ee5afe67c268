// The "hMutex" lock on Windows: a named system mutex. Every context created here opens the same
// object, so all of them are one recursive lock, shared with every process of the session.
#define KEL_TRACE_FILE "shared/src/shared/platform/windows/kel_p_mutex"
#include "shared/platform/kel_p_mutex.h"

#include "shared/kel_trace.h"

#include <errno.h>
#include <string.h>
#include <windows.h>

Kel_StatusCode Kel_P_Mutex_CreateImp(Kel_P_Mutex_Context* pMutexContext)
{
    KEL_ENTER(Kel_Module_Mutex);
    KEL_REJECT_NULL(pMutexContext);
    HANDLE handle = CreateMutexA(nullptr, FALSE, "hMutex");
    if (handle == nullptr)
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, strerror(errno));
    pMutexContext->handle = handle;
    pMutexContext->name = "hMutex";
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Mutex_DeleteImp(Kel_P_Mutex_Context* pMutexContext)
{
    KEL_ENTER(Kel_Module_Mutex);
    KEL_REJECT_NULL(pMutexContext);
    if (pMutexContext->handle != KEL_NULL && CloseHandle(pMutexContext->handle) == 0)
    {
        *pMutexContext = Kel_P_Mutex_Context{};
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, strerror(errno));
    }
    *pMutexContext = Kel_P_Mutex_Context{};
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Mutex_LockImp(Kel_P_Mutex_Context* pMutexContext)
{
    KEL_ENTER(Kel_Module_Mutex);
    KEL_REJECT_NULL(pMutexContext);
    const DWORD result = WaitForSingleObject(pMutexContext->handle, INFINITE);
    // An abandoned mutex is still acquired by this thread.
    if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED)
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, strerror(errno));
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Mutex_UnlockImp(Kel_P_Mutex_Context* pMutexContext)
{
    KEL_ENTER(Kel_Module_Mutex);
    KEL_REJECT_NULL(pMutexContext);
    if (ReleaseMutex(pMutexContext->handle) == 0)
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, strerror(errno));
    KEL_EXIT(Kel_Good);
}
