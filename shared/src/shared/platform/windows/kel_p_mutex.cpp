// The "hMutex" lock on Windows: a named system mutex. Every context created here opens the same
// object, so all of them are one recursive lock, shared with every process of the session.
#define KEL_TRACE_FILE "shared/src/shared/platform/windows/kel_p_mutex"
#include "shared/platform/kel_p_mutex.h"

#include "shared/kel_trace.h"

#include <stdio.h>
#include <string.h>
#include <windows.h>

namespace
{
// The reason a Win32 call failed, for the trace: the number GetLastError() gives and the system's
// text for it (without its line end), e.g. "Win32 error 6: The handle is invalid.".
struct Win32Error
{
    char text[256];

    Win32Error()
    {
        const DWORD code = GetLastError();
        const int used = snprintf(text, sizeof(text), "Win32 error %lu", static_cast<unsigned long>(code));
        char message[200] = {};
        const DWORD length =
            FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                           MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), message, sizeof(message), nullptr);
        size_t end = length;
        while (end > 0 && (message[end - 1] == '\r' || message[end - 1] == '\n' || message[end - 1] == ' '))
            message[--end] = '\0';
        if (end > 0 && used > 0 && static_cast<size_t>(used) < sizeof(text))
            snprintf(text + used, sizeof(text) - static_cast<size_t>(used), ": %s", message);
    }
};
} // namespace

Kel_StatusCode Kel_P_Mutex_CreateImp(Kel_P_Mutex_Context* pMutexContext)
{
    KEL_ENTER(Kel_Module_Mutex);
    KEL_REJECT_NULL(pMutexContext);
    HANDLE handle = CreateMutexA(nullptr, FALSE, "hMutex");
    if (handle == nullptr)
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, Win32Error().text);
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
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, Win32Error().text);
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
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, Win32Error().text);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Mutex_UnlockImp(Kel_P_Mutex_Context* pMutexContext)
{
    KEL_ENTER(Kel_Module_Mutex);
    KEL_REJECT_NULL(pMutexContext);
    if (ReleaseMutex(pMutexContext->handle) == 0)
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, Win32Error().text);
    KEL_EXIT(Kel_Good);
}
