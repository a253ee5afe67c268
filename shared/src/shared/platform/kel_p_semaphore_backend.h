// What the semaphore backends (posix/, windows/) and the calls they share (kel_p_semaphore_common.cpp)
// give each other; not for users of the semaphores.
#pragma once

#include "shared/kel_trace.h"
#include "shared/platform/kel_p_semaphore.h"

// The system object behind CreateImp and OpenImp, for a context that holds its checked name and
// counts. They write their failure lines and the exit line under the calling function's scope.
Kel_StatusCode Kel_P_Semaphore_CreateObject(const Kel_TraceScope& kelScope,
                                            Kel_P_Semaphore_Context* pSemaphoreContext);
Kel_StatusCode Kel_P_Semaphore_OpenObject(const Kel_TraceScope& kelScope,
                                          Kel_P_Semaphore_Context* pSemaphoreContext);
