// Named counting semaphores with time-out.
#pragma once

#include "shared/kel_types.h"

constexpr uint32_t KEL_SEMAPHORE_NAME_SIZE = 256;

struct Kel_P_Semaphore_Context
{
    void* handle;
    char name[KEL_SEMAPHORE_NAME_SIZE];
    int32_t maxCount;
    int32_t initialCount;
    // 1 when CreateImp made the system object, 0 when OpenImp attached to an existing one.
    uint32_t created;
};

Kel_StatusCode Kel_P_Semaphore_CreateImp(Kel_P_Semaphore_Context* pSemaphoreContext, const char* pName,
                                         int32_t aInitialCount, int32_t aMaxCount);
Kel_StatusCode Kel_P_Semaphore_OpenImp(Kel_P_Semaphore_Context* pSemaphoreContext, const char* pName);
Kel_StatusCode Kel_P_Semaphore_LockImp(Kel_P_Semaphore_Context* pSemaphoreContext);
Kel_StatusCode Kel_P_Semaphore_LockTimeoutImp(Kel_P_Semaphore_Context* pSemaphoreContext,
                                              uint32_t aMilliseconds);
Kel_StatusCode Kel_P_Semaphore_UnlockImp(Kel_P_Semaphore_Context* pSemaphoreContext);
Kel_StatusCode Kel_P_Semaphore_DeleteImp(Kel_P_Semaphore_Context* pSemaphoreContext);
