// The utilities lock: the "hMutex" lock with a flag that records whether this context holds it.
#define KEL_TRACE_FILE "shared/src/shared/kel_utils"
#include "shared/kel_utils.h"

#include "shared/kel_trace.h"

Kel_StatusCode Kel_Utils_CreateLock(Kel_Utils_Lock_Context* pLock)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pLock);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_P_Mutex_CreateImp(&pLock->mutex));
    pLock->locked = 0;
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Utils_Lock(Kel_Utils_Lock_Context* pLock)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pLock);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_P_Mutex_LockImp(&pLock->mutex));
    pLock->locked = 1;
    KEL_EXIT(status);
}

// The argument is not tested for null: callers pass the context they locked with.
Kel_StatusCode Kel_Utils_Unlock(Kel_Utils_Lock_Context* pLock)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_IF(pLock->locked == 0, Kel_BadInvalidState);
    pLock->locked = 0;
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_P_Mutex_UnlockImp(&pLock->mutex));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Utils_DeleteLock(Kel_Utils_Lock_Context* pLock)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pLock);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_P_Mutex_DeleteImp(&pLock->mutex));
    KEL_EXIT(status);
}
