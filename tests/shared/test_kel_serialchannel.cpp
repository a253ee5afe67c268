// The serial channel over a scripted operation table (a test double for the port) and over the real
// named lock: trace lines of writes and reads, statuses passed through, optional operations, the
// delay since the last write, and two channels sharing one port's lock.
#include "shared/kel_serialchannel.h"
#include "shared/kel_trace.h"
#include "shared/platform/kel_p_thread.h"

#include "shared/trace_capture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace
{

// The port as the test sees it: what was written, the answers to hand out, the statuses to return.
struct Script
{
    std::vector<uint8_t> written;
    std::vector<std::vector<uint8_t>> answers;
    size_t nextAnswer = 0;
    Kel_StatusCode writeStatus = Kel_Good;
    Kel_StatusCode readStatus = Kel_Good;
    Kel_StatusCode hookStatus = Kel_Good;
    uint32_t clearCalls = 0;
    uint32_t clearInput = 99;
    uint32_t reopenDelay = 0;
    uint32_t setParamsCalls = 0;
    uint32_t baudRate = 0;
    int32_t flowControl = 0;
    uint32_t lockCalls = 0;
    uint32_t unlockCalls = 0;
};

Kel_StatusCode ScriptWrite(void* pContext, const uint8_t* pBuffer, uint32_t aSize, uint32_t,
                           uint32_t* pWritten)
{
    Script& script = *static_cast<Script*>(pContext);
    *pWritten = 0;
    if (Kel_IsBad(script.writeStatus))
        return script.writeStatus;
    script.written.insert(script.written.end(), pBuffer, pBuffer + aSize);
    *pWritten = aSize;
    return script.writeStatus;
}

Kel_StatusCode ScriptRead(void* pContext, uint8_t* pBuffer, uint32_t aSize, uint32_t, uint32_t* pBytesReaded)
{
    Script& script = *static_cast<Script*>(pContext);
    *pBytesReaded = 0;
    if (Kel_IsBad(script.readStatus))
        return script.readStatus;
    if (script.nextAnswer < script.answers.size())
    {
        const std::vector<uint8_t>& answer = script.answers[script.nextAnswer++];
        const size_t count = answer.size() < aSize ? answer.size() : aSize;
        memcpy(pBuffer, answer.data(), count);
        *pBytesReaded = static_cast<uint32_t>(count);
    }
    return script.readStatus;
}

Kel_StatusCode ScriptClear(void* pContext, uint32_t aInput)
{
    Script& script = *static_cast<Script*>(pContext);
    ++script.clearCalls;
    script.clearInput = aInput;
    return Kel_Good;
}

Kel_StatusCode ScriptReOpen(void* pContext, uint32_t aDelay)
{
    static_cast<Script*>(pContext)->reopenDelay = aDelay;
    return Kel_BadCommunicationError;
}

Kel_StatusCode ScriptSetParams(void* pContext, uint32_t aBaudRate, uint32_t, uint8_t, int32_t,
                               int32_t aFlowControl)
{
    Script& script = *static_cast<Script*>(pContext);
    ++script.setParamsCalls;
    script.baudRate = aBaudRate;
    script.flowControl = aFlowControl;
    return Kel_Good;
}

Kel_StatusCode ScriptIsConnected(void*, uint32_t* pConnected)
{
    *pConnected = 0;
    return Kel_Good;
}

Kel_StatusCode ScriptLock(void* pContext)
{
    Script& script = *static_cast<Script*>(pContext);
    ++script.lockCalls;
    return script.hookStatus;
}

Kel_StatusCode ScriptUnlock(void* pContext)
{
    Script& script = *static_cast<Script*>(pContext);
    ++script.unlockCalls;
    return script.hookStatus;
}

// A channel over the script with only write and read, as a variant fills it (no lock).
Kel_SerialChannel_Context ScriptedChannel(Script& aScript)
{
    return Kel_SerialChannel_Context{
        .pContext = &aScript,
        .pWrite = ScriptWrite,
        .pRead = ScriptRead,
    };
}

// A lock name no other run uses (a POSIX semaphore outlives a crashed test).
std::string UniqueName(const char* pPrefix)
{
    return std::string(pPrefix) +
           std::to_string(std::chrono::steady_clock::now().time_since_epoch().count() % 1000000007);
}
} // namespace

TEST(SerialChannel, WriteAndReadTraceLines)
{
    Script script;
    script.answers = {{0xAA, 0x55}};
    Kel_SerialChannel_Context channel = ScriptedChannel(script);

    TraceCapture trace("channel_write_read.txt");
    const uint8_t request[] = {0x01, 0x02, 0x03};
    uint32_t written = 0;
    EXPECT_EQ(Kel_SerialChannel_Write(&channel, request, sizeof(request), 500, &written), Kel_Good);
    uint8_t answer[16] = {};
    uint32_t received = 0;
    EXPECT_EQ(Kel_SerialChannel_Read(&channel, answer, sizeof(answer), 200, &received), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_Read(&channel, answer, sizeof(answer), 200, &received), Kel_Good);
    EXPECT_EQ(trace.Stop(), "--> Kel_Module_SerialChannel::Kel_SerialChannel_Write (0x00000009)\n\n"
                            "Kel_SerialChannel_Write, Timeout=500 Data=[3] 01 02 03 \n"
                            "Kel_SerialChannel_Write - OK, Written=3\n"
                            "<-- \"Kel_SerialChannel_Write\" = 0x00000000 (GOOD).\n\n"
                            "--> Kel_Module_SerialChannel::Kel_SerialChannel_Read (0x00000009)\n\n"
                            "Kel_SerialChannel_Read, Size=16, Timeout=200\n"
                            "Kel_SerialChannel_Read - OK, Data=[2] AA 55 \n"
                            "<-- \"Kel_SerialChannel_Read\" = 0x00000000 (GOOD).\n\n"
                            "--> Kel_Module_SerialChannel::Kel_SerialChannel_Read (0x00000009)\n\n"
                            "Kel_SerialChannel_Read, Size=16, Timeout=200\n"
                            "Kel_SerialChannel_Read - OK, Data=\n"
                            "<-- \"Kel_SerialChannel_Read\" = 0x00000000 (GOOD).\n\n");
    EXPECT_EQ(written, 3u);
    EXPECT_EQ(script.written, std::vector<uint8_t>(request, request + 3));
    EXPECT_EQ(received, 0u);
    EXPECT_EQ(answer[0], 0xAA);
    EXPECT_EQ(answer[1], 0x55);
}

TEST(SerialChannel, StatusesOfTheOperationsPassThrough)
{
    Script script;
    script.answers = {{0x42}};
    Kel_SerialChannel_Context channel = ScriptedChannel(script);
    uint8_t buffer[4];
    uint32_t count = 0;

    // A success with no data reaches the caller as it is, with the detail word cleared.
    script.readStatus = Kel_GoodNoData | 0x1234u;
    EXPECT_EQ(Kel_SerialChannel_Read(&channel, buffer, sizeof(buffer), 10, &count), Kel_GoodNoData);
    EXPECT_EQ(count, 1u);
    script.writeStatus = Kel_GoodNoResponse | 0x0001u;
    EXPECT_EQ(Kel_SerialChannel_Write(&channel, buffer, 1, 10, &count), Kel_GoodNoResponse);

    // Failures come back unchanged, traced with the callee's status and the failure exit.
    TraceCapture trace("channel_failures.txt");
    script.readStatus = Kel_BadCommunicationError | 0x0007u;
    EXPECT_EQ(Kel_SerialChannel_Read(&channel, buffer, sizeof(buffer), 10, &count),
              Kel_BadCommunicationError | 0x0007u);
    script.writeStatus = Kel_BadCommunicationError;
    EXPECT_EQ(Kel_SerialChannel_Write(&channel, buffer, 1, 10, &count), Kel_BadCommunicationError);
    EXPECT_EQ(Messages(trace.Stop()), "--> Kel_Module_SerialChannel::Kel_SerialChannel_Read (0x00000009)|"
                                      "Kel_SerialChannel_Read, Size=4, Timeout=10|"
                                      "--- GotoError: Bad statuscode 0x80050007|"
                                      "<-- \"Kel_SerialChannel_Read\" = 0x80050007 (BAD).|"
                                      "--> Kel_Module_SerialChannel::Kel_SerialChannel_Write (0x00000009)|"
                                      "Kel_SerialChannel_Write, Timeout=10 Data=[1] 42 |"
                                      "--- GotoError: Bad statuscode 0x80050000|"
                                      "<-- \"Kel_SerialChannel_Write\" = 0x80050000 (BAD).|");
}

TEST(SerialChannel, MissingArgumentsAndOperationsAreRejected)
{
    Script script;
    Kel_SerialChannel_Context empty{};
    uint8_t byte = 0;
    uint32_t count = 0;
    uint32_t type = 7;
    TraceCapture trace("channel_rejections.txt");
    EXPECT_EQ(Kel_SerialChannel_Write(nullptr, &byte, 1, 0, &count), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_SerialChannel_Write(&empty, &byte, 1, 0, &count), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_SerialChannel_Read(&empty, &byte, 1, 0, &count), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_SerialChannel_GetType(nullptr, &type), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_SerialChannel_CreateContext(nullptr, &empty), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_SerialChannel_CreateContextEmpty(&empty, nullptr), Kel_BadInvalidArgument);
    // GetType traces nothing when it succeeds.
    EXPECT_EQ(Kel_SerialChannel_GetType(&empty, &type), Kel_Good);
    EXPECT_EQ(type, KEL_SERIALCHANNEL_TYPE_VARIANT);
    EXPECT_EQ(Messages(trace.Stop()),
              "--> Kel_Module_SerialChannel::Kel_SerialChannel_Write (0x00000009)|"
              "<-- ReturnError: Arg pSerialChannelContext is NULL!|"
              "--> Kel_Module_SerialChannel::Kel_SerialChannel_Write (0x00000009)|"
              "<-- ReturnError: Arg pSerialChannelContext->pWrite is NULL!|"
              "--> Kel_Module_SerialChannel::Kel_SerialChannel_Read (0x00000009)|"
              "<-- ReturnError: Arg pSerialChannelContext->pRead is NULL!|"
              "<-- ReturnError: Arg pSerialChannelContext is NULL!|"
              "--> Kel_Module_SerialChannel::Kel_SerialChannel_CreateContext (0x00000009)|"
              "<-- ReturnError: Arg pSerialContext is NULL!|"
              "--> Kel_Module_SerialChannel::Kel_SerialChannel_CreateContextEmpty (0x00000009)|"
              "<-- ReturnError: Arg aPortName is NULL!|");
}

TEST(SerialChannel, OptionalOperations)
{
    Script script;
    Kel_SerialChannel_Context channel = ScriptedChannel(script);

    // Without the operations: nothing happens, the channel reads as connected, parameters are kept.
    uint32_t connected = 0;
    EXPECT_EQ(Kel_SerialChannel_ClearBuffer(&channel, 1), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_ReOpen(&channel, 1000), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_GetIsConnected(&channel, &connected), Kel_Good);
    EXPECT_EQ(connected, 1u);
    EXPECT_EQ(Kel_SerialChannel_SetParams(&channel, 9600, 2, 7, 2, 1), Kel_Good);
    EXPECT_EQ(script.setParamsCalls, 0u);

    // With them: each is called with its arguments and its status comes back.
    channel.pClearBuffer = ScriptClear;
    channel.pReOpen = ScriptReOpen;
    channel.pSetParams = ScriptSetParams;
    channel.pIsConnected = ScriptIsConnected;
    EXPECT_EQ(Kel_SerialChannel_ClearBuffer(&channel, 0), Kel_Good);
    EXPECT_EQ(script.clearCalls, 1u);
    EXPECT_EQ(script.clearInput, 0u);
    EXPECT_EQ(Kel_SerialChannel_ReOpen(&channel, 1001), Kel_BadCommunicationError);
    EXPECT_EQ(script.reopenDelay, 1001u);
    EXPECT_EQ(Kel_SerialChannel_GetIsConnected(&channel, &connected), Kel_Good);
    EXPECT_EQ(connected, 0u);
    EXPECT_EQ(Kel_SerialChannel_SetParams(&channel, 600, 0, 8, 1, 0), Kel_Good);
    EXPECT_EQ(script.setParamsCalls, 1u);
    EXPECT_EQ(script.baudRate, 600u);
}

TEST(SerialChannel, LastChannelDelayIsHalfTheTimeSinceTheLastWrite)
{
    Script script;
    Kel_SerialChannel_Context channel = ScriptedChannel(script);
    uint32_t delay = 99;
    EXPECT_EQ(Kel_SerialChannel_GetLastChannelDelay(&channel, &delay), Kel_Good);
    EXPECT_EQ(delay, 0u); // no write yet

    const uint8_t request[] = {0x10};
    uint32_t written = 0;
    // The delay is half the time since the write, bounded by what a monotonic clock saw around the
    // calls (a loaded machine or wine may sleep much longer than asked).
    using Clock = std::chrono::steady_clock;
    const Clock::time_point beforeWrite = Clock::now();
    ASSERT_EQ(Kel_SerialChannel_Write(&channel, request, 1, 100, &written), Kel_Good);
    const Clock::time_point afterWrite = Clock::now();
    Kel_P_Sleep(300);
    const Clock::time_point beforeRead = Clock::now();
    EXPECT_EQ(Kel_SerialChannel_GetLastChannelDelay(&channel, &delay), Kel_Good);
    const Clock::time_point afterRead = Clock::now();
    const auto milliseconds = [](Clock::duration aDuration)
    { return std::chrono::duration_cast<std::chrono::milliseconds>(aDuration).count(); };
    // At least half the 300 ms sleep, less what a tick clock of 16 ms steps and an early wake lose.
    EXPECT_GE(delay, 135u);
    EXPECT_GE(static_cast<int64_t>(delay), milliseconds(beforeRead - afterWrite) / 2 - 10);
    EXPECT_LE(static_cast<int64_t>(delay), milliseconds(afterRead - beforeWrite) / 2 + 10);
    EXPECT_EQ(Kel_SerialChannel_GetLastChannelDelay(&channel, &delay), Kel_Good);
    EXPECT_EQ(delay, 0u);

    // A failed write does not count as the last write: the delay runs from the good one before it.
    ASSERT_EQ(Kel_SerialChannel_Write(&channel, request, 1, 100, &written), Kel_Good);
    Kel_P_Sleep(150);
    script.writeStatus = Kel_BadCommunicationError;
    EXPECT_EQ(Kel_SerialChannel_Write(&channel, request, 1, 100, &written), Kel_BadCommunicationError);
    Kel_P_Sleep(150);
    EXPECT_EQ(Kel_SerialChannel_GetLastChannelDelay(&channel, &delay), Kel_Good);
    EXPECT_GE(delay, 135u);
}

TEST(SerialChannel, TwoChannelsOnOnePortShareItsLock)
{
    const std::string name = UniqueName("KelChannelTest");
    Kel_SerialChannel_Context first{};
    Kel_SerialChannel_Context second{};
    ASSERT_EQ(Kel_SerialChannel_CreateContextEmpty(&first, name.c_str()), Kel_Good);
    ASSERT_EQ(Kel_SerialChannel_CreateContextEmpty(&second, name.c_str()), Kel_Good);
    EXPECT_EQ(first.lockCreated, 1u);
    EXPECT_EQ(first.lockOpened, 0u);
    EXPECT_EQ(second.lockCreated, 0u);
    EXPECT_EQ(second.lockOpened, 1u);

    // One semaphore of count 1: while the first holds it, the second waits out its time-out.
    EXPECT_EQ(Kel_SerialChannel_ThreadLock(&first, 100), Kel_Good);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Kel_SerialChannel_ThreadLock(&second, 200), Kel_BadTimeout);
    EXPECT_GE(std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start)
                  .count(),
              150);
    EXPECT_EQ(Kel_SerialChannel_ThreadUnLock(&first), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_ThreadLock(&second, 100), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_ThreadUnLock(&second), Kel_Good);

    // Deleting the channel that only opened the lock leaves it to the one that created it.
    EXPECT_EQ(Kel_SerialChannel_Delete(&second), Kel_Good);
    Kel_SerialChannel_Context third{};
    ASSERT_EQ(Kel_SerialChannel_CreateContextEmpty(&third, name.c_str()), Kel_Good);
    EXPECT_EQ(third.lockOpened, 1u);
    EXPECT_EQ(Kel_SerialChannel_ThreadLock(&third, 100), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_ThreadLock(&first, 100), Kel_BadTimeout);
    EXPECT_EQ(Kel_SerialChannel_ThreadUnLock(&third), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_ThreadLock(&first, 100), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_ThreadUnLock(&first), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_Delete(&third), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_Delete(&first), Kel_Good);
    EXPECT_EQ(first.lockCreated, 0u);
}

TEST(SerialChannel, LockHooksRunAfterTheSemaphore)
{
    Script script;
    Kel_SerialChannel_Context channel = ScriptedChannel(script);
    channel.pThreadLock = ScriptLock;
    channel.pThreadUnLock = ScriptUnlock;

    // Without a semaphore: the lock hook's status comes back; a failing unlock hook is traced only.
    script.hookStatus = Kel_BadInternalError;
    EXPECT_EQ(Kel_SerialChannel_ThreadLock(&channel, 10), Kel_BadInternalError);
    TraceCapture trace("channel_unlock_hook.txt");
    EXPECT_EQ(Kel_SerialChannel_ThreadUnLock(&channel), Kel_Good);
    EXPECT_EQ(Messages(trace.Stop()),
              "--> Kel_Module_SerialChannel::Kel_SerialChannel_ThreadUnLock (0x00000009)|"
              "--- GotoError: Bad statuscode 0x80020000|"
              "<-- \"Kel_SerialChannel_ThreadUnLock\" = 0x00000000 (GOOD).|");
    EXPECT_EQ(script.lockCalls, 1u);
    EXPECT_EQ(script.unlockCalls, 1u);

    // With one: a lock that times out on the semaphore does not reach the hook.
    const std::string name = UniqueName("KelChannelHook");
    Kel_SerialChannel_Context holder{};
    ASSERT_EQ(Kel_SerialChannel_CreateContextEmpty(&holder, name.c_str()), Kel_Good);
    Kel_SerialChannel_Context locked{};
    ASSERT_EQ(Kel_SerialChannel_CreateContextEmpty(&locked, name.c_str()), Kel_Good);
    locked.pContext = &script;
    locked.pThreadLock = ScriptLock;
    locked.pThreadUnLock = ScriptUnlock;
    script.hookStatus = Kel_Good;
    ASSERT_EQ(Kel_SerialChannel_ThreadLock(&holder, 100), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_ThreadLock(&locked, 50), Kel_BadTimeout);
    EXPECT_EQ(script.lockCalls, 1u);
    EXPECT_EQ(Kel_SerialChannel_ThreadUnLock(&holder), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_ThreadLock(&locked, 100), Kel_Good);
    EXPECT_EQ(script.lockCalls, 2u);
    EXPECT_EQ(Kel_SerialChannel_ThreadUnLock(&locked), Kel_Good);
    EXPECT_EQ(script.unlockCalls, 2u);
    Kel_SerialChannel_Delete(&locked);
    Kel_SerialChannel_Delete(&holder);
}

TEST(SerialChannel, PlainChannelBindsThePortAndNamesItsLockByThePort)
{
    Kel_P_Serial_Context port{};
    ASSERT_EQ(Kel_P_Serial_CreateContext(&port), Kel_Good);
    const std::string name = UniqueName("KelChannelPort");
    snprintf(port.port_name, sizeof(port.port_name), "%s", name.c_str());
    Kel_SerialChannel_Context channel{};
    channel.baudRate = 1234; // the whole record is zeroed by the creation
    ASSERT_EQ(Kel_SerialChannel_CreateContext(&port, &channel), Kel_Good);
    uint32_t type = 0;
    EXPECT_EQ(Kel_SerialChannel_GetType(&channel, &type), Kel_Good);
    EXPECT_EQ(type, KEL_SERIALCHANNEL_TYPE_SERIAL);
    EXPECT_EQ(channel.pContext, &port);
    EXPECT_EQ(channel.baudRate, 0u);
    EXPECT_NE(channel.pWrite, nullptr);
    EXPECT_NE(channel.pRead, nullptr);
    EXPECT_NE(channel.pClearBuffer, nullptr);
    EXPECT_NE(channel.pReOpen, nullptr);
    EXPECT_NE(channel.pSetParams, nullptr);
    EXPECT_NE(channel.pIsConnected, nullptr);
    EXPECT_EQ(channel.pThreadLock, nullptr);
    EXPECT_EQ(channel.pThreadUnLock, nullptr);
    EXPECT_EQ(channel.pGetLastChannelDelay, nullptr);
    EXPECT_EQ(channel.lockCreated, 1u);

    // The bound write reaches the port layer (which writes nothing on a port that is not open).
    const uint8_t request[] = {0x01};
    uint32_t written = 99;
    TraceCapture trace("channel_plain.txt");
    EXPECT_EQ(Kel_SerialChannel_Write(&channel, request, 1, 100, &written), Kel_Good);
    const std::string text = trace.Stop();
    EXPECT_NE(text.find("--> Kel_Module_Serial::Kel_P_Serial_Write (0x00000001)\n"), std::string::npos)
        << text;
    EXPECT_EQ(written, 0u);

    Kel_SerialChannel_Context other{};
    ASSERT_EQ(Kel_SerialChannel_CreateContextEmpty(&other, name.c_str()), Kel_Good);
    EXPECT_EQ(other.lockOpened, 1u);
    Kel_SerialChannel_Delete(&other);
    Kel_SerialChannel_Delete(&channel);
}
