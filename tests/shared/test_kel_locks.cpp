// Mutexes, semaphores, the utilities lock and the stopwatch. Waits are measured against the monotonic
// clock with lower bounds only (and loose upper ones), so that a loaded machine or wine passes.
#include "shared/kel_utils.h"
#include "shared/platform/kel_p_mutex.h"
#include "shared/platform/kel_p_semaphore.h"
#include "shared/platform/kel_p_stopwatch.h"
#include "shared/trace_capture.h"

#include <gmock/gmock.h>

#include <unistd.h>
#ifndef _WIN32
#include <spawn.h>
#include <sys/wait.h>
#endif

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <string>
#include <thread>

namespace
{
using Clock = std::chrono::steady_clock;
using testing::HasSubstr;

long long MillisecondsSince(Clock::time_point aStart)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - aStart).count();
}

void SleepMs(int aMilliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(aMilliseconds));
}

// A name no other test run on the machine uses at the same time.
std::string UniqueName(const char* pPrefix)
{
    return pPrefix + std::to_string(getpid());
}
} // namespace

TEST(Locks, RejectedArguments)
{
    Kel_P_Semaphore_Context semaphore{};
    Kel_P_Stopwatch_Context stopwatch{};
    const std::string name = UniqueName("q310-args-");
    const char* pName = name.c_str();
    const std::pair<std::function<Kel_StatusCode()>, const char*> cases[] = {
        {[] { return Kel_P_Mutex_CreateImp(nullptr); }, "Arg pMutexContext is NULL!"},
        {[] { return Kel_P_Mutex_DeleteImp(nullptr); }, "Arg pMutexContext is NULL!"},
        {[&] { return Kel_P_Semaphore_CreateImp(nullptr, pName, 1, 1); }, "Arg pSemaphoreContext is NULL!"},
        {[&] { return Kel_P_Semaphore_CreateImp(&semaphore, nullptr, 1, 1); }, "Arg pName is NULL!"},
        {[&] { return Kel_P_Semaphore_CreateImp(&semaphore, pName, 0, 0); }, "Argument aMaxCount is 0!"},
        {[&] { return Kel_P_Semaphore_CreateImp(&semaphore, pName, 2, 1); },
         "aMaxCount < aInitialCount is true! Return 0x80AB0000"},
        {[&] { return Kel_P_Semaphore_CreateImp(&semaphore, pName, -5, -1); },
         "aMaxCount < 0 is true! Return 0x80AB0000"},
        {[&] { return Kel_P_Semaphore_OpenImp(nullptr, pName); }, "Arg pSemaphoreContext is NULL!"},
        {[] { return Kel_P_Semaphore_LockTimeoutImp(nullptr, 10); }, "Arg pSemaphoreContext is NULL!"},
        {[] { return Kel_P_Semaphore_DeleteImp(nullptr); }, "Arg pSemaphoreContext is NULL!"},
        {[] { return Kel_P_Stopwatch_Start(nullptr); }, "Arg pStopwatchContext is NULL!"},
        {[&] { return Kel_P_Stopwatch_GetMSecElapsed(&stopwatch, nullptr); }, "Arg pElapsed is NULL!"},
    };
    for (const auto& [call, line] : cases)
    {
        TraceCapture trace;
        EXPECT_EQ(call(), Kel_BadInvalidArgument) << line;
        EXPECT_THAT(trace.Stop(), HasSubstr(std::string("<-- ReturnError: ") + line +
                                            "\n, File=shared/src/shared/platform/"));
    }
    // None of the rejected creations made the semaphore; a context that holds nothing fails.
    EXPECT_EQ(Kel_P_Semaphore_OpenImp(&semaphore, pName), Kel_BadInternalError);
    EXPECT_EQ(Kel_P_Semaphore_LockTimeoutImp(&semaphore, 10), Kel_BadInternalError);
    EXPECT_EQ(Kel_P_Semaphore_UnlockImp(&semaphore), Kel_BadInternalError);
    EXPECT_EQ(Kel_P_Semaphore_DeleteImp(&semaphore), Kel_Good);
}

TEST(Locks, MutexContextsAreOneRecursiveLockAndTheUtilitiesLockKeepsItsFlag)
{
    Kel_P_Mutex_Context first{}, second{};
    ASSERT_EQ(Kel_P_Mutex_CreateImp(&first), Kel_Good);
    ASSERT_EQ(Kel_P_Mutex_CreateImp(&second), Kel_Good);
    // One thread takes the lock twice; the other, through its own context, waits for both releases.
    ASSERT_EQ(Kel_P_Mutex_LockImp(&first), Kel_Good);
    ASSERT_EQ(Kel_P_Mutex_LockImp(&first), Kel_Good);
    std::atomic<int> stage{0};
    std::thread other(
        [&]
        {
            stage = 1;
            EXPECT_EQ(Kel_P_Mutex_LockImp(&second), Kel_Good);
            stage = 2;
            EXPECT_EQ(Kel_P_Mutex_UnlockImp(&second), Kel_Good);
        });
    while (stage == 0)
        SleepMs(1);
    SleepMs(100);
    ASSERT_EQ(Kel_P_Mutex_UnlockImp(&first), Kel_Good);
    SleepMs(100);
    EXPECT_EQ(stage, 1);
    ASSERT_EQ(Kel_P_Mutex_UnlockImp(&first), Kel_Good);
    other.join();
    EXPECT_EQ(stage, 2);
    // Releasing a lock this thread does not hold is a system failure.
    TraceCapture trace;
    EXPECT_EQ(Kel_P_Mutex_UnlockImp(&first), Kel_BadInternalError);
    const std::string text = trace.Stop();
    EXPECT_THAT(text, HasSubstr("<-- \"Kel_P_Mutex_UnlockImp\" = 0x80020000 (BAD) error="));
#if defined(_WIN32)
    EXPECT_THAT(text, HasSubstr("(BAD) error=Win32 error 288")); // ERROR_NOT_OWNER
#endif
    EXPECT_EQ(Kel_P_Mutex_DeleteImp(&second), Kel_Good);
    EXPECT_EQ(Kel_P_Mutex_LockImp(&second), Kel_BadInternalError);
    EXPECT_EQ(Kel_P_Mutex_DeleteImp(&first), Kel_Good);

    Kel_Utils_Lock_Context lock{};
    lock.locked = 7;
    ASSERT_EQ(Kel_Utils_CreateLock(&lock), Kel_Good);
    TraceCapture lockTrace;
    EXPECT_EQ(Kel_Utils_Unlock(&lock), Kel_BadInvalidState);
    EXPECT_EQ(Kel_Utils_Lock(&lock), Kel_Good);
    EXPECT_EQ(Kel_Utils_Unlock(&lock), Kel_Good);
    EXPECT_EQ(Kel_Utils_Unlock(&lock), Kel_BadInvalidState);
    EXPECT_EQ(Kel_Utils_DeleteLock(&lock), Kel_Good);
    // The utilities trace only their errors; the mutex calls under them trace nothing on success.
    const std::string rejected = "<-- ReturnError: pLock->locked == 0 is true! Return 0x80AF0000\n"
                                 ", File=shared/src/shared/kel_utils, Line=#\n";
    EXPECT_EQ(lockTrace.Text(), rejected + rejected);
}

TEST(Locks, SemaphoreCountsAndTimedWaits)
{
    const std::string name = UniqueName("q310/lock%d-") + std::string(300, 'n');
    Kel_P_Semaphore_Context creator{}, opener{};
    TraceCapture trace;
    ASSERT_EQ(Kel_P_Semaphore_CreateImp(&creator, name.c_str(), 1, 1), Kel_Good);
    EXPECT_EQ(strlen(creator.name), 255u); // cut the same way on create and on open
    // Creating over the existing name is not a plain success; the caller then opens it.
    EXPECT_NE(Kel_P_Semaphore_CreateImp(&opener, name.c_str(), 1, 1) & 0xC0000000u, 0u);
    ASSERT_EQ(Kel_P_Semaphore_OpenImp(&opener, name.c_str()), Kel_Good);
    EXPECT_EQ(opener.created, 0u);

    ASSERT_EQ(Kel_P_Semaphore_LockImp(&creator), Kel_Good);
    auto start = Clock::now();
    EXPECT_EQ(Kel_P_Semaphore_LockTimeoutImp(&opener, 300), Kel_BadTimeout);
    EXPECT_GE(MillisecondsSince(start), 280);
    EXPECT_EQ(Kel_P_Semaphore_LockTimeoutImp(&opener, 0), Kel_BadTimeout);
    // A release from another thread ends a wait well before its time-out.
    std::atomic<long long> otherWaited{-1};
    std::thread other(
        [&]
        {
            const auto otherStart = Clock::now();
            EXPECT_EQ(Kel_P_Semaphore_LockTimeoutImp(&opener, 20000), Kel_Good);
            otherWaited = MillisecondsSince(otherStart);
        });
    SleepMs(200);
    EXPECT_EQ(otherWaited, -1);
    ASSERT_EQ(Kel_P_Semaphore_UnlockImp(&creator), Kel_Good);
    other.join();
    EXPECT_GE(otherWaited, 150);
    EXPECT_LT(otherWaited, 15000);
    // The other thread held the one count; released, the count is at its maximum: a further release
    // is refused.
    ASSERT_EQ(Kel_P_Semaphore_UnlockImp(&opener), Kel_Good);
    EXPECT_EQ(Kel_P_Semaphore_UnlockImp(&creator), Kel_BadInternalError);
    // The name lives as long as a context of this process holds it, the creator gone or not.
    EXPECT_EQ(Kel_P_Semaphore_DeleteImp(&creator), Kel_Good);
    ASSERT_EQ(Kel_P_Semaphore_OpenImp(&creator, name.c_str()), Kel_Good);
    EXPECT_EQ(Kel_P_Semaphore_DeleteImp(&creator), Kel_Good);
    EXPECT_EQ(Kel_P_Semaphore_DeleteImp(&opener), Kel_Good);
    EXPECT_EQ(Kel_P_Semaphore_OpenImp(&opener, name.c_str()), Kel_BadInternalError); // gone with the last
    const std::string text = trace.Stop();
    EXPECT_THAT(
        text,
        HasSubstr(
            "<-- \"Kel_P_Semaphore_CreateImp\" = 0x80AF0000 (BAD).\n, File=shared/src/shared/platform/"));
    EXPECT_THAT(text, HasSubstr("<-- \"Kel_P_Semaphore_LockTimeoutImp\" = 0x800A0000 (BAD).\n, File="));

    // A counting semaphore that starts empty.
    Kel_P_Semaphore_Context counting{};
    ASSERT_EQ(Kel_P_Semaphore_CreateImp(&counting, UniqueName("q310-count-").c_str(), 0, 2), Kel_Good);
    EXPECT_EQ(Kel_P_Semaphore_LockTimeoutImp(&counting, 20), Kel_BadTimeout);
    EXPECT_EQ(Kel_P_Semaphore_UnlockImp(&counting), Kel_Good);
    EXPECT_EQ(Kel_P_Semaphore_UnlockImp(&counting), Kel_Good);
    EXPECT_EQ(Kel_P_Semaphore_UnlockImp(&counting), Kel_BadInternalError);
    EXPECT_EQ(Kel_P_Semaphore_LockTimeoutImp(&counting, 1000), Kel_Good);
    EXPECT_EQ(Kel_P_Semaphore_LockTimeoutImp(&counting, 1000), Kel_Good);
    EXPECT_EQ(Kel_P_Semaphore_LockTimeoutImp(&counting, 20), Kel_BadTimeout);
    EXPECT_EQ(Kel_P_Semaphore_DeleteImp(&counting), Kel_Good);
}

#ifndef _WIN32
// A name this process creates ends with the process when it ends normally (without Delete), as a named
// object of Windows ends with its last holder: a second run creates it afresh, with no failure line.
// The first run is this test executable again, run with the name in Q310_SEMAPHORE_CHILD.
TEST(Locks, SemaphoreNameEndsWithTheProcess)
{
    if (const char* child = getenv("Q310_SEMAPHORE_CHILD"))
    {
        Kel_P_Semaphore_Context kept{};
        ASSERT_EQ(Kel_P_Semaphore_CreateImp(&kept, child, 1, 1), Kel_Good);
        return;
    }
    const std::string name = UniqueName("q310-ends-"), variable = "Q310_SEMAPHORE_CHILD=" + name;
    char program[] = "test_kel_locks", filter[] = "--gtest_filter=Locks.SemaphoreNameEndsWithTheProcess";
    char *argv[] = {program, filter, nullptr}, *envp[] = {const_cast<char*>(variable.c_str()), nullptr};
    pid_t pid = 0;
    int status = -1;
    ASSERT_EQ(posix_spawn(&pid, "/proc/self/exe", nullptr, nullptr, argv, envp), 0);
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;

    Kel_P_Semaphore_Context again{};
    TraceCapture trace;
    ASSERT_EQ(Kel_P_Semaphore_CreateImp(&again, name.c_str(), 1, 1), Kel_Good);
    EXPECT_THAT(trace.Stop(), testing::Not(HasSubstr("EEXIST")));
    EXPECT_EQ(Kel_P_Semaphore_DeleteImp(&again), Kel_Good);
}
#endif

TEST(Locks, StopwatchAccumulatesItsRuns)
{
    Kel_P_Stopwatch_Context stopwatch{};
    uint64_t first = 0, second = 0, total = 0;
    ASSERT_EQ(Kel_P_Stopwatch_Start(&stopwatch), Kel_Good);
    SleepMs(100);
    ASSERT_EQ(Kel_P_Stopwatch_Stop(&stopwatch), Kel_Good);
    ASSERT_EQ(Kel_P_Stopwatch_GetMSecElapsed(&stopwatch, &first), Kel_Good);
    EXPECT_GE(first, 84u); // the Windows tick may move in steps of about 16 ms
    // Started again, the reading is the new run only; stopped, both runs together.
    ASSERT_EQ(Kel_P_Stopwatch_Start(&stopwatch), Kel_Good);
    SleepMs(50);
    ASSERT_EQ(Kel_P_Stopwatch_GetMSecElapsed(&stopwatch, &second), Kel_Good);
    EXPECT_GE(second, 34u);
    EXPECT_LT(second, first + 1000u);
    ASSERT_EQ(Kel_P_Stopwatch_Stop(&stopwatch), Kel_Good);
    ASSERT_EQ(Kel_P_Stopwatch_GetMSecElapsed(&stopwatch, &total), Kel_Good);
    EXPECT_GE(total, first + second);
    EXPECT_LT(total, first + second + 1000u);
    // Stop on a stopped stopwatch adds the accumulated time to itself (kept as this code always had it).
    ASSERT_EQ(Kel_P_Stopwatch_Stop(&stopwatch), Kel_Good);
    ASSERT_EQ(Kel_P_Stopwatch_GetMSecElapsed(&stopwatch, &second), Kel_Good);
    EXPECT_EQ(second, 2 * total);
    ASSERT_EQ(Kel_P_Stopwatch_Restart(&stopwatch), Kel_Good);
    EXPECT_EQ(stopwatch.accumulated, 0u);
    ASSERT_EQ(Kel_P_Stopwatch_Reset(&stopwatch), Kel_Good);
    ASSERT_EQ(Kel_P_Stopwatch_GetMSecElapsed(&stopwatch, &total), Kel_Good);
    EXPECT_EQ(total, 0u);
}
