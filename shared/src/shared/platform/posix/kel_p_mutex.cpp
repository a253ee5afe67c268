// The "hMutex" lock on POSIX: one process-wide recursive mutex. Every context created here refers to
// it, as every Windows mutex named "hMutex" is the same system object.
#define KEL_TRACE_FILE "shared/src/shared/platform/posix/kel_p_mutex"
#include "shared/platform/kel_p_mutex.h"

#include "shared/kel_trace.h"

#include <errno.h>
#include <pthread.h>
#include <string.h>

namespace
{
pthread_mutex_t hMutex;
pthread_once_t hMutexOnce = PTHREAD_ONCE_INIT;

void InitializeMutex()
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&hMutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}
} // namespace

Kel_StatusCode Kel_P_Mutex_CreateImp(Kel_P_Mutex_Context* pMutexContext)
{
    KEL_ENTER(Kel_Module_Mutex);
    KEL_REJECT_NULL(pMutexContext);
    if (pthread_once(&hMutexOnce, InitializeMutex) != 0)
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, strerror(errno));
    pMutexContext->handle = &hMutex;
    pMutexContext->name = "hMutex";
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Mutex_DeleteImp(Kel_P_Mutex_Context* pMutexContext)
{
    KEL_ENTER(Kel_Module_Mutex);
    KEL_REJECT_NULL(pMutexContext);
    *pMutexContext = Kel_P_Mutex_Context{};
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Mutex_LockImp(Kel_P_Mutex_Context* pMutexContext)
{
    KEL_ENTER(Kel_Module_Mutex);
    KEL_REJECT_NULL(pMutexContext);
    if (pMutexContext->handle == KEL_NULL)
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, strerror(EINVAL));
    const int result = pthread_mutex_lock(static_cast<pthread_mutex_t*>(pMutexContext->handle));
    if (result != 0)
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, strerror(result));
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Mutex_UnlockImp(Kel_P_Mutex_Context* pMutexContext)
{
    KEL_ENTER(Kel_Module_Mutex);
    KEL_REJECT_NULL(pMutexContext);
    if (pMutexContext->handle == KEL_NULL)
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, strerror(EINVAL));
    const int result = pthread_mutex_unlock(static_cast<pthread_mutex_t*>(pMutexContext->handle));
    if (result != 0)
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, strerror(result));
    KEL_EXIT(Kel_Good);
}
