// The trace sink. The same code serves both platforms: it needs only the C library's streams, the
// "hMutex" lock and the flush thread primitive of the platform layer.
#define KEL_TRACE_FILE "shared/src/shared/platform/kel_p_trace"
#include "shared/platform/kel_p_trace.h"

#include "shared/kel_trace.h"
#include "shared/platform/kel_p_mutex.h"
#include "shared/platform/kel_p_thread.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{
constexpr size_t KEL_TRACE_PATH_SIZE = 256;

struct TraceFile
{
    FILE* file;
    // The file's position when it was last asked (ftell) and the bytes handed to the stream since.
    long position;
    long written;
    char name[KEL_TRACE_PATH_SIZE];
    char nameOld[KEL_TRACE_PATH_SIZE + 4];
    // The stream's buffer: a stream given its own buffer allocates none when it is opened again.
    char buffer[BUFSIZ];
    // While the flush thread runs, lines gather here and reach the stream in one write: when this is
    // full, before the position is asked, at every flush, close and Finalize, and at the process's exit.
    char pending[4096];
    size_t pendingLength;
};

// Process-wide state; everything but the level is guarded by log_mutex. The line itself is built on
// the stack of the thread that traces it (Kel_P_TraceLine), so the lock covers only the writes.
Kel_P_Mutex_Context log_mutex{};
uint32_t log_console = 0;
TraceFile log_file{};
TraceFile log_file_errors{};
int32_t log_size = 102400;
uint32_t log_added = 0;
uint32_t log_flash = 0;
std::atomic<uint32_t> thread_terminated{0};

// The trace files are used only under log_mutex, so the stream's own lock is not needed where the C
// library offers a write without it.
void WriteUnlocked(const char* pText, size_t aLength, FILE* pFile)
{
#if defined(__GLIBC__)
    fwrite_unlocked(pText, 1, aLength, pFile);
#else
    fwrite(pText, 1, aLength, pFile);
#endif
}

void Drain(TraceFile& rFile)
{
    if (rFile.pendingLength == 0)
        return;
    if (rFile.file != KEL_NULL)
        WriteUnlocked(rFile.pending, rFile.pendingLength, rFile.file);
    rFile.pendingLength = 0;
}

void DrainBoth()
{
    Drain(log_file);
    Drain(log_file_errors);
}

// Lines gathered while the flush thread still runs are handed to the streams before the C library
// writes the streams out at the exit.
void DrainAtExit()
{
    Kel_P_Mutex_Context mutex{};
    const bool locked = Kel_IsGood(Kel_P_Mutex_CreateImp(&mutex)) && Kel_IsGood(Kel_P_Mutex_LockImp(&mutex));
    DrainBoth();
    if (locked)
        Kel_P_Mutex_UnlockImp(&mutex);
    Kel_P_Mutex_DeleteImp(&mutex);
}

void CloseFile(TraceFile& rFile)
{
    Drain(rFile);
    if (rFile.file != KEL_NULL)
    {
        fclose(rFile.file);
        rFile.file = KEL_NULL;
    }
}

// Gives a newly opened stream its own buffer and takes its position (the size it was opened with).
void UseOwnBuffer(TraceFile& rFile)
{
    rFile.position = 0;
    rFile.written = 0;
    if (rFile.file == KEL_NULL)
        return;
    setvbuf(rFile.file, rFile.buffer, _IOFBF, sizeof(rFile.buffer));
    fseek(rFile.file, 0, SEEK_END);
    rFile.position = ftell(rFile.file);
}

// Appends the whole line to a file; when the file reaches half the size limit it becomes the old
// generation and a new current file is opened. The file's position is asked (ftell) only when the
// bytes written since the last answer could have brought it to the limit: a byte handed to a stream
// puts at most two on the disk (a line end in a text-mode stream).
// Where the system renames an open file (POSIX), the open stream is renamed and then reopened on the
// current name in place (freopen), so that the rotation allocates nothing on the caller's exchange;
// elsewhere (Windows) the file is closed first and opened anew. A failed rename leaves the sink
// closed until it is enabled again.
void WriteToFile(TraceFile& rFile, const char* pLine, size_t aLength)
{
    if (rFile.file == KEL_NULL)
        return;
    // Without the flush thread (before the first file enable, after the first Finalize) a line goes to
    // the stream at once, as the C library's exit and buffer are then all that write it out.
    if (log_flash == 1 && thread_terminated.load(std::memory_order_relaxed) == 0 &&
        aLength <= sizeof(rFile.pending))
    {
        if (rFile.pendingLength + aLength > sizeof(rFile.pending))
            Drain(rFile);
        memcpy(rFile.pending + rFile.pendingLength, pLine, aLength);
        rFile.pendingLength += aLength;
    }
    else
    {
        Drain(rFile);
        WriteUnlocked(pLine, aLength, rFile.file);
    }
    rFile.written += static_cast<long>(aLength);
    const long limit = log_size / 2;
    if (rFile.position + 2 * rFile.written < limit)
        return;
    Drain(rFile);
    rFile.position = ftell(rFile.file);
    rFile.written = 0;
    if (rFile.position < limit)
        return;
    fflush(rFile.file);
    remove(rFile.nameOld);
    if (rename(rFile.name, rFile.nameOld) == 0)
    {
        rFile.file = freopen(rFile.name, "a", rFile.file);
        UseOwnBuffer(rFile);
        return;
    }
    CloseFile(rFile);
    if (rename(rFile.name, rFile.nameOld) != 0)
        return;
    rFile.file = fopen(rFile.name, "a");
    UseOwnBuffer(rFile);
}

// The finished line is written as it is (fwrite), not handed to a printf-style call a second time, so a
// '%' that a message carries (a dumped string, a host text) comes out unchanged and no line is lost.
void WriteLine(uint32_t aLevel, const char* pLine, size_t aLength)
{
    if (aLevel <= KEL_TRACE_LEVEL_NOTICE)
    {
        fwrite(pLine, 1, aLength, stdout);
        WriteToFile(log_file, pLine, aLength);
        WriteToFile(log_file_errors, pLine, aLength);
    }
    else
    {
        if (log_console == 1)
            fwrite(pLine, 1, aLength, stdout);
        WriteToFile(log_file, pLine, aLength);
    }
    log_added = 1;
}

void FlushThread(void*)
{
    // The thread keeps a lock context of its own: the same "hMutex" lock, but a handle that a
    // Finalize on another thread does not close under it.
    Kel_P_Mutex_Context mutex{};
    if (Kel_IsBad(Kel_P_Mutex_CreateImp(&mutex)))
        return;
    while (thread_terminated.load() == 0)
    {
        Kel_P_Sleep(10);
        if (thread_terminated.load() != 0)
            break;
        if (Kel_IsBad(Kel_P_Mutex_LockImp(&mutex)))
            break;
        if (log_added == 1)
        {
            DrainBoth();
            if (log_file.file != KEL_NULL)
                fflush(log_file.file);
            if (log_file_errors.file != KEL_NULL)
                fflush(log_file_errors.file);
        }
        log_added = 0;
        Kel_P_Mutex_UnlockImp(&mutex);
    }
    Kel_P_Mutex_DeleteImp(&mutex);
}

void OpenFile(TraceFile& rFile, const char* pFileName)
{
    snprintf(rFile.name, sizeof(rFile.name), "%s", pFileName);
    const char* dot = strrchr(rFile.name, '.');
    if (dot != KEL_NULL)
        snprintf(rFile.nameOld, sizeof(rFile.nameOld), "%.*s_old%s", static_cast<int>(dot - rFile.name),
                 rFile.name, dot);
    else
        snprintf(rFile.nameOld, sizeof(rFile.nameOld), "%s_old", rFile.name);

    // The flush thread is started once per process (a start the system refused is tried again at the
    // next enable). It ends at the first Finalize and, log_flash staying 1, is not started again: later
    // sessions run without it.
    if (log_flash == 0)
    {
        if (Kel_P_Thread_Start(FlushThread, KEL_NULL))
        {
            log_flash = 1;
            atexit(DrainAtExit);
        }
        else
            perror("enable_log_file, CreateThread");
    }
    rFile.file = fopen(rFile.name, "a");
    if (rFile.file == KEL_NULL)
        perror("enable_log_file, fopen - Fail");
    UseOwnBuffer(rFile);
}

// Runs one change of the sink state under log_mutex.
template <typename Change> Kel_StatusCode UnderLock(const Kel_TraceScope& aScope, Change aChange)
{
    Kel_StatusCode status = Kel_P_Mutex_LockImp(&log_mutex);
    if (Kel_IsBad(status))
    {
        Kel_Trace_GotoBad(aScope, __LINE__, status);
        return status;
    }
    aChange();
    status = Kel_P_Mutex_UnlockImp(&log_mutex);
    if (Kel_IsBad(status))
    {
        Kel_Trace_GotoBad(aScope, __LINE__, status);
        return status;
    }
    return Kel_Good;
}
} // namespace

// Writes one finished line under log_mutex.
void Kel_P_Trace_Sink_Write(uint32_t aLevel, const char* pLine, size_t aLength)
{
    // A failing lock traces its failure through this call; that nested line is dropped rather than
    // recursing.
    thread_local bool inside = false;
    if (inside)
        return;
    inside = true;
    if (Kel_IsBad(Kel_P_Mutex_LockImp(&log_mutex)))
    {
        inside = false;
        return;
    }
    WriteLine(aLevel, pLine, aLength);
    Kel_P_Mutex_UnlockImp(&log_mutex);
    inside = false;
}

Kel_StatusCode Kel_P_Trace_Initialize(uint32_t aLevel)
{
    KEL_ENTER(Kel_Module_Trace);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_P_Mutex_CreateImp(&log_mutex));
    global_Trace_Level.store(aLevel);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_P_Trace_Finalize()
{
    global_Trace_Level.store(0);
    thread_terminated.store(1);
    // No line gathers any more: hand over what waits.
    if (Kel_IsGood(Kel_P_Mutex_LockImp(&log_mutex)))
    {
        DrainBoth();
        Kel_P_Mutex_UnlockImp(&log_mutex);
    }
    Kel_P_Mutex_DeleteImp(&log_mutex);
    return Kel_Good;
}

Kel_StatusCode Kel_P_Trace_Console_Enable()
{
    KEL_ENTER(Kel_Module_Trace);
    KEL_EXIT_STATUS(UnderLock(kelScope, [] { log_console = 1; }));
}

Kel_StatusCode Kel_P_Trace_Console_Disable()
{
    KEL_ENTER(Kel_Module_Trace);
    KEL_EXIT_STATUS(UnderLock(kelScope, [] { log_console = 0; }));
}

Kel_StatusCode Kel_P_Trace_File_Enable(const char* pFileName)
{
    KEL_ENTER(Kel_Module_Trace);
    KEL_EXIT_STATUS(UnderLock(kelScope,
                              [pFileName]
                              {
                                  CloseFile(log_file);
                                  if (pFileName != KEL_NULL && pFileName[0] != '\0')
                                      OpenFile(log_file, pFileName);
                              }));
}

Kel_StatusCode Kel_P_Trace_File_Disable()
{
    KEL_ENTER(Kel_Module_Trace);
    KEL_EXIT_STATUS(UnderLock(kelScope, [] { CloseFile(log_file); }));
}

Kel_StatusCode Kel_P_Trace_File_Errors_Enable(const char* pFileName)
{
    KEL_ENTER(Kel_Module_Trace);
    KEL_EXIT_STATUS(UnderLock(kelScope,
                              [pFileName]
                              {
                                  CloseFile(log_file_errors);
                                  if (pFileName != KEL_NULL && pFileName[0] != '\0')
                                      OpenFile(log_file_errors, pFileName);
                              }));
}

Kel_StatusCode Kel_P_Trace_File_Errors_Disable()
{
    KEL_ENTER(Kel_Module_Trace);
    KEL_EXIT_STATUS(UnderLock(kelScope, [] { CloseFile(log_file_errors); }));
}

Kel_StatusCode Kel_P_Trace_File_Set_Size(int32_t aSize)
{
    KEL_ENTER(Kel_Module_Trace);
    KEL_EXIT_STATUS(UnderLock(kelScope, [aSize] { log_size = aSize < 100 ? 100 : aSize; }));
}

Kel_StatusCode Kel_Trace_Initialize(uint32_t aLevel)
{
    return Kel_P_Trace_Initialize(aLevel);
}

Kel_StatusCode Kel_Trace_Finalize()
{
    return Kel_P_Trace_Finalize();
}
