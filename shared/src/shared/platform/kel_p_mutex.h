// The one named recursive lock "hMutex": every context created here is the same lock.
#pragma once

#include "shared/kel_types.h"

struct Kel_P_Mutex_Context
{
    void* handle;
    const char* name;
};

Kel_StatusCode Kel_P_Mutex_CreateImp(Kel_P_Mutex_Context* pMutexContext);
Kel_StatusCode Kel_P_Mutex_DeleteImp(Kel_P_Mutex_Context* pMutexContext);
Kel_StatusCode Kel_P_Mutex_LockImp(Kel_P_Mutex_Context* pMutexContext);
Kel_StatusCode Kel_P_Mutex_UnlockImp(Kel_P_Mutex_Context* pMutexContext);
