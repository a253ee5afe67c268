// The one background thread primitive the code base needs (the trace flush thread) and a sleep.
#pragma once

#include "shared/kel_types.h"

typedef void (*Kel_P_ThreadFunction)(void* pArgument);

// Starts a detached thread running pFunction(pArgument). Returns false when the system refuses.
bool Kel_P_Thread_Start(Kel_P_ThreadFunction pFunction, void* pArgument);

// Sleeps the calling thread for aMilliseconds.
void Kel_P_Sleep(uint32_t aMilliseconds);
