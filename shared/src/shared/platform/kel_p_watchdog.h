// The hardware watchdog interface. No platform of this library provides one.
#pragma once

#include "shared/kel_types.h"

struct Kel_P_WatchDog_Context
{
    void* handle;
};

Kel_StatusCode Kel_P_WatchDog_Initialize();
Kel_StatusCode Kel_P_WatchDog_Create(Kel_P_WatchDog_Context* pWatchDogContext, uint32_t aTimeout, uint32_t aFlags);
Kel_StatusCode Kel_P_WatchDog_Close(Kel_P_WatchDog_Context* pWatchDogContext);
Kel_StatusCode Kel_P_WatchDog_Start(Kel_P_WatchDog_Context* pWatchDogContext);
Kel_StatusCode Kel_P_WatchDog_Stop(Kel_P_WatchDog_Context* pWatchDogContext);
Kel_StatusCode Kel_P_WatchDog_Refresh(Kel_P_WatchDog_Context* pWatchDogContext);
Kel_StatusCode Kel_P_WatchDog_StopAll();
Kel_StatusCode Kel_P_WatchDog_ReadValue(Kel_P_WatchDog_Context* pWatchDogContext, uint32_t* pValue);
Kel_StatusCode Kel_P_WatchDog_WriteValue(Kel_P_WatchDog_Context* pWatchDogContext, uint32_t aValue);
