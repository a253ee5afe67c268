// Flush thread and sleep over pthreads.
#include "shared/platform/kel_p_thread.h"

#include <errno.h>
#include <pthread.h>
#include <time.h>

namespace
{
struct ThreadStart
{
    Kel_P_ThreadFunction function;
    void* argument;
};

void* Run(void* pStart)
{
    ThreadStart* start = static_cast<ThreadStart*>(pStart);
    start->function(start->argument);
    delete start;
    return nullptr;
}
} // namespace

bool Kel_P_Thread_Start(Kel_P_ThreadFunction pFunction, void* pArgument)
{
    ThreadStart* start = new ThreadStart{pFunction, pArgument};
    pthread_t thread;
    if (pthread_create(&thread, nullptr, Run, start) != 0)
    {
        delete start;
        return false;
    }
    pthread_detach(thread);
    return true;
}

void Kel_P_Sleep(uint32_t aMilliseconds)
{
    timespec delay{static_cast<time_t>(aMilliseconds / 1000), static_cast<long>(aMilliseconds % 1000) * 1000000L};
    while (nanosleep(&delay, &delay) != 0 && errno == EINTR)
    {
    }
}
