// Named counting semaphores over POSIX named semaphores (sem_open).
//
// Naming: the system name is "/" followed by the given name with every '/' and '\' replaced by '_',
// cut to NAME_MAX - 4 characters (the C library keeps its own "sem." prefix within NAME_MAX). So
// "COM3" becomes "/COM3" and "/dev/ttyUSB0" becomes "/_dev_ttyUSB0"; every context on one name, in
// any process of the machine, shares one semaphore, as on Windows.
//
// Differences from the Windows objects, kept small on purpose:
// - The system keeps no maximum count. A context that created the semaphore knows it and refuses an
//   unlock that would pass it; a context that only opened the semaphore does not know it and releases
//   without that test.
// - A name lives as long as this process uses it, as a Windows object lives as long as a process
//   holds it: the process counts the contexts on each name it created (the creating one and those
//   that opened it), removes the name (sem_unlink) when the last of them is deleted, and removes the
//   names still in use when it ends normally. Only a process that is killed leaves its names behind;
//   the next create on such a name opens it.
#define KEL_TRACE_FILE "shared/src/shared/platform/posix/kel_p_semaphore"
#include "shared/platform/kel_p_semaphore.h"
#include "shared/platform/kel_p_semaphore_backend.h"

#include "shared/kel_trace.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <mutex>
#include <semaphore.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

namespace
{
constexpr size_t KEL_SEMAPHORE_SYSTEM_NAME_LENGTH = NAME_MAX - 4;

struct SystemName
{
    char text[KEL_SEMAPHORE_SYSTEM_NAME_LENGTH + 2];
};

SystemName MakeSystemName(const char* pName)
{
    SystemName name{};
    name.text[0] = '/';
    size_t length = 1;
    for (const char* c = pName; *c != '\0' && length <= KEL_SEMAPHORE_SYSTEM_NAME_LENGTH; ++c)
        name.text[length++] = (*c == '/' || *c == '\\') ? '_' : *c;
    name.text[length] = '\0';
    return name;
}

// The names this process created, with the number of contexts on each. A process with more names at
// once than the table holds leaves the others to the system, as a killed process does.
class CreatedNames
{
public:
    // A name just created by this process, with its first user.
    void Add(const SystemName& aName)
    {
        std::lock_guard<std::mutex> lock(mutex);
        for (Entry& entry : entries)
            if (entry.users == 0)
            {
                entry = Entry{aName, 1};
                return;
            }
    }
    // One more context on the name, if this process created it.
    void Use(const SystemName& aName)
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (Entry* entry = Find(aName))
            ++entry->users;
    }
    // One context fewer; the name is removed from the system with its last user here.
    void Release(const SystemName& aName)
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (Entry* entry = Find(aName); entry != nullptr && --entry->users == 0)
            sem_unlink(entry->name.text);
    }
    // The process ends: every name it created goes.
    ~CreatedNames()
    {
        for (Entry& entry : entries)
            if (entry.users > 0)
                sem_unlink(entry.name.text);
    }

private:
    struct Entry
    {
        SystemName name;
        int users;
    };
    Entry* Find(const SystemName& aName)
    {
        for (Entry& entry : entries)
            if (entry.users > 0 && strcmp(entry.name.text, aName.text) == 0)
                return &entry;
        return nullptr;
    }
    std::mutex mutex;
    Entry entries[16] = {};
};
CreatedNames createdNames;
} // namespace

// A failed system call: "--- GotoError: Expr (...) is true!" and the failure exit with the C library's
// text of its error number.
#define KEL_SEM_GOTO_IF_EXPR(aCondition)                                                                     \
    do                                                                                                       \
    {                                                                                                        \
        if (aCondition)                                                                                      \
        {                                                                                                    \
            const int kelError_ = errno;                                                                     \
            Kel_Trace_GotoExpr(kelScope, __LINE__, #aCondition);                                             \
            return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, strerror(kelError_));    \
        }                                                                                                    \
    } while (0)

Kel_StatusCode Kel_P_Semaphore_CreateObject(const Kel_TraceScope& kelScope,
                                            Kel_P_Semaphore_Context* pSemaphoreContext)
{
    const SystemName name = MakeSystemName(pSemaphoreContext->name);
    // A negative initial count becomes a value beyond SEM_VALUE_MAX, which sem_open refuses.
    sem_t* handle =
        sem_open(name.text, O_CREAT | O_EXCL, 0666, static_cast<unsigned>(pSemaphoreContext->initialCount));
    // The name was taken already: say so with a failure, so that the caller opens it as an existing one.
    if (handle == SEM_FAILED && errno == EEXIST)
    {
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(errno == EEXIST)");
        KEL_EXIT_BAD(Kel_BadInvalidState);
    }
    KEL_SEM_GOTO_IF_EXPR((handle == SEM_FAILED));
    createdNames.Add(name);
    pSemaphoreContext->handle = handle;
    pSemaphoreContext->created = 1;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Semaphore_OpenObject(const Kel_TraceScope& kelScope,
                                          Kel_P_Semaphore_Context* pSemaphoreContext)
{
    const SystemName name = MakeSystemName(pSemaphoreContext->name);
    sem_t* handle = sem_open(name.text, 0);
    KEL_SEM_GOTO_IF_EXPR((handle == SEM_FAILED));
    createdNames.Use(name);
    pSemaphoreContext->handle = handle;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Semaphore_LockImp(Kel_P_Semaphore_Context* pSemaphoreContext)
{
    KEL_ENTER(Kel_Module_Semaphore);
    KEL_REJECT_NULL(pSemaphoreContext);
    sem_t* handle = static_cast<sem_t*>(pSemaphoreContext->handle);
    errno = EINVAL;
    int result = -1;
    if (handle != KEL_NULL)
    {
        do
            result = sem_wait(handle);
        while (result != 0 && errno == EINTR);
    }
    KEL_SEM_GOTO_IF_EXPR((result != 0));
    KEL_EXIT(Kel_Good);
}

// The wait runs against the monotonic clock (sem_clockwait), so that a change of the system's date
// neither shortens nor stretches it; a signal does not end it early.
Kel_StatusCode Kel_P_Semaphore_LockTimeoutImp(Kel_P_Semaphore_Context* pSemaphoreContext,
                                              uint32_t aMilliseconds)
{
    KEL_ENTER(Kel_Module_Semaphore);
    KEL_REJECT_NULL(pSemaphoreContext);
    sem_t* handle = static_cast<sem_t*>(pSemaphoreContext->handle);
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += static_cast<time_t>(aMilliseconds / 1000);
    deadline.tv_nsec += static_cast<long>(aMilliseconds % 1000) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L)
    {
        deadline.tv_sec += 1;
        deadline.tv_nsec -= 1000000000L;
    }
    errno = EINVAL;
    int result = -1;
    if (handle != KEL_NULL)
    {
        do
            result = sem_clockwait(handle, CLOCK_MONOTONIC, &deadline);
        while (result != 0 && errno == EINTR);
    }
    if (result != 0 && errno == ETIMEDOUT)
    {
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(errno == ETIMEDOUT)");
        KEL_EXIT_BAD(Kel_BadTimeout);
    }
    KEL_SEM_GOTO_IF_EXPR((result != 0));
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Semaphore_UnlockImp(Kel_P_Semaphore_Context* pSemaphoreContext)
{
    KEL_ENTER(Kel_Module_Semaphore);
    KEL_REJECT_NULL(pSemaphoreContext);
    sem_t* handle = static_cast<sem_t*>(pSemaphoreContext->handle);
    errno = EINVAL;
    KEL_SEM_GOTO_IF_EXPR((handle == KEL_NULL));
    int value = 0;
    if (pSemaphoreContext->maxCount > 0)
    {
        KEL_SEM_GOTO_IF_EXPR((sem_getvalue(handle, &value) != 0));
        errno = EOVERFLOW;
        KEL_SEM_GOTO_IF_EXPR((value >= pSemaphoreContext->maxCount));
    }
    KEL_SEM_GOTO_IF_EXPR((sem_post(handle) != 0));
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Semaphore_DeleteImp(Kel_P_Semaphore_Context* pSemaphoreContext)
{
    KEL_ENTER(Kel_Module_Semaphore);
    KEL_REJECT_NULL(pSemaphoreContext);
    sem_t* handle = static_cast<sem_t*>(pSemaphoreContext->handle);
    const SystemName name = MakeSystemName(pSemaphoreContext->name);
    *pSemaphoreContext = Kel_P_Semaphore_Context{};
    if (handle == KEL_NULL)
        KEL_EXIT(Kel_Good);
    // Every context on a name counts, the creating one as those that opened it.
    createdNames.Release(name);
    KEL_SEM_GOTO_IF_EXPR((sem_close(handle) != 0));
    KEL_EXIT(Kel_Good);
}
