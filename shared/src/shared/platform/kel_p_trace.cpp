// The trace call and the trace sink. The same code serves both platforms: it needs only the C
// library's streams, the "hMutex" lock and the flush thread primitive of the platform layer.
#define KEL_TRACE_FILE "shared/src/shared/platform/kel_p_trace"
#include "shared/platform/kel_p_trace.h"

#include "shared/kel_trace.h"
#include "shared/platform/kel_p_mutex.h"
#include "shared/platform/kel_p_thread.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace
{
constexpr size_t KEL_TRACE_LINE_SIZE = 1024;
constexpr size_t KEL_TRACE_PATH_SIZE = 256;
constexpr uint32_t KEL_TRACE_DUMP_ALL_LIMIT = 100;
constexpr uint32_t KEL_TRACE_DUMP_EDGE = 50;

struct TraceFile
{
    FILE* file;
    char name[KEL_TRACE_PATH_SIZE];
    char nameOld[KEL_TRACE_PATH_SIZE + 4];
    // The stream's buffer: a stream given its own buffer allocates none when it is opened again.
    char buffer[BUFSIZ];
};

// Process-wide state; everything but the level is guarded by log_mutex.
std::atomic<uint32_t> global_Trace_Level{0};
Kel_P_Mutex_Context log_mutex{};
char log_message[KEL_TRACE_LINE_SIZE + 1];
uint32_t log_console = 0;
TraceFile log_file{};
TraceFile log_file_errors{};
int32_t log_size = 102400;
uint32_t log_added = 0;
uint32_t log_flash = 0;
std::atomic<uint32_t> thread_terminated{0};

// Modules whose every message is dropped, and those whose messages are dropped unless level 1.
bool IsModuleSilenced(uint32_t aModule)
{
    return aModule == 20 || aModule == 773 || aModule == 774 || aModule == 776;
}

bool IsModuleErrorsOnly(uint32_t aModule)
{
    switch (aModule)
    {
        // clang-format off
        case 2: case 3: case 4: case 5: case 7: case 8: case 10: case 11: case 12: case 13: case 14:
        case 16: case 17: case 19: case 21: case 22: case 24: case 26:
        case 258: case 259: case 260: case 261: case 518: case 519: case 520:
            // clang-format on
            return true;
        default:
            return false;
    }
}

// Appends to log_message while it is shorter than the line size, cutting at the buffer's end.
void Append(size_t& rLength, const char* pFormat, ...)
{
    if (rLength >= KEL_TRACE_LINE_SIZE)
        return;
    va_list arguments;
    va_start(arguments, pFormat);
    const int written =
        vsnprintf(log_message + rLength, KEL_TRACE_LINE_SIZE + 1 - rLength, pFormat, arguments);
    va_end(arguments);
    if (written > 0)
        rLength += static_cast<size_t>(written);
    if (rLength > KEL_TRACE_LINE_SIZE)
        rLength = KEL_TRACE_LINE_SIZE;
}

void CloseFile(TraceFile& rFile)
{
    if (rFile.file != KEL_NULL)
    {
        fclose(rFile.file);
        rFile.file = KEL_NULL;
    }
}

void UseOwnBuffer(TraceFile& rFile)
{
    if (rFile.file != KEL_NULL)
        setvbuf(rFile.file, rFile.buffer, _IOFBF, sizeof(rFile.buffer));
}

// Appends the line; when the file reaches half the size limit it becomes the old generation and a
// new current file is opened. A failed rename leaves the sink closed until it is enabled again.
// Where the system renames an open file (POSIX), the open stream is renamed and then reopened on the
// current name in place (freopen), so that the rotation allocates nothing on the caller's exchange;
// elsewhere (Windows) the file is closed first and opened anew.
void WriteToFile(TraceFile& rFile, const char* pLine)
{
    if (rFile.file == KEL_NULL)
        return;
    fputs(pLine, rFile.file);
    if (ftell(rFile.file) < log_size / 2)
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

// The finished line is written as it is (fputs), not handed to a printf-style call a second time, so a
// '%' that a message carries (a dumped string, a host text) comes out unchanged and no line is lost.
void WriteLine(uint32_t aLevel, const char* pLine)
{
    if (aLevel <= KEL_TRACE_LEVEL_NOTICE)
    {
        fputs(pLine, stdout);
        WriteToFile(log_file, pLine);
        WriteToFile(log_file_errors, pLine);
    }
    else
    {
        if (log_console == 1)
            fputs(pLine, stdout);
        WriteToFile(log_file, pLine);
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
            log_flash = 1;
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

bool Kel_P_Trace_IsEnabled(uint32_t aModule, uint32_t aLevel)
{
    const uint32_t level = global_Trace_Level.load(std::memory_order_relaxed);
    if (level == 0 || aLevel > level)
        return false;
    if (IsModuleSilenced(aModule))
        return false;
    if (aLevel != KEL_TRACE_LEVEL_ERROR && IsModuleErrorsOnly(aModule))
        return false;
    return true;
}

Kel_StatusCode Kel_P_Trace_Imp(uint32_t aModule, uint32_t aLevel, const void* pData, uint32_t aDataSize,
                               const char* pFile, int32_t aLine, const char* pFormat, ...)
{
    if (!Kel_P_Trace_IsEnabled(aModule, aLevel))
        return Kel_Good;
    // A failing lock traces its failure through this call; that nested line is dropped rather than
    // recursing.
    thread_local bool inside = false;
    if (inside)
        return Kel_Good;
    inside = true;
    if (Kel_IsBad(Kel_P_Mutex_LockImp(&log_mutex)))
    {
        inside = false;
        return Kel_Good;
    }

    size_t length = 0;
    log_message[0] = '\0';
    if (pFormat != KEL_NULL)
    {
        va_list arguments;
        va_start(arguments, pFormat);
        const int written = vsnprintf(log_message, KEL_TRACE_LINE_SIZE + 1, pFormat, arguments);
        va_end(arguments);
        if (written > 0)
            length = static_cast<size_t>(written) > KEL_TRACE_LINE_SIZE ? KEL_TRACE_LINE_SIZE
                                                                        : static_cast<size_t>(written);
    }
    if (pData != KEL_NULL && aDataSize > 0)
    {
        const uint8_t* bytes = static_cast<const uint8_t*>(pData);
        Append(length, "[%d] ", static_cast<int>(aDataSize));
        for (uint32_t i = 0; i < aDataSize && length < KEL_TRACE_LINE_SIZE; ++i)
        {
            if (aDataSize > KEL_TRACE_DUMP_ALL_LIMIT && i >= KEL_TRACE_DUMP_EDGE &&
                i < aDataSize - KEL_TRACE_DUMP_EDGE)
            {
                if (i == KEL_TRACE_DUMP_EDGE)
                    Append(length, "... ");
                continue;
            }
            Append(length, "%02X ", bytes[i]);
        }
    }
    if (aLevel <= KEL_TRACE_LEVEL_NOTICE)
        Append(length, ", File=%s, Line=%d", pFile != KEL_NULL ? pFile : "", static_cast<int>(aLine));
    Append(length, "\n");

    WriteLine(aLevel, log_message);
    Kel_P_Mutex_UnlockImp(&log_mutex);
    inside = false;
    return Kel_Good;
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
