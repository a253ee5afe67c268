// Flush thread and sleep over the Windows kernel.
#include "shared/platform/kel_p_thread.h"

#include <windows.h>

namespace
{
struct ThreadStart
{
    Kel_P_ThreadFunction function;
    void* argument;
};

DWORD WINAPI Run(LPVOID pStart)
{
    ThreadStart* start = static_cast<ThreadStart*>(pStart);
    start->function(start->argument);
    delete start;
    return 0;
}
} // namespace

bool Kel_P_Thread_Start(Kel_P_ThreadFunction pFunction, void* pArgument)
{
    ThreadStart* start = new ThreadStart{pFunction, pArgument};
    DWORD threadId = 0;
    HANDLE thread = CreateThread(nullptr, 0, Run, start, 0, &threadId);
    if (thread == nullptr)
    {
        delete start;
        return false;
    }
    CloseHandle(thread);
    return true;
}

void Kel_P_Sleep(uint32_t aMilliseconds) { Sleep(aMilliseconds); }
