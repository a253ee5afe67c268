// The serial channel over a scripted operation table (a test double for the port) and over the real
// named lock: trace lines of writes and reads, statuses passed through, rejections, optional
// operations, the delay since the last write, and channels sharing one port's lock.
#include "shared/kel_serialchannel.h"
#include "shared/platform/kel_p_thread.h"
#include "shared/trace_capture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <vector>

namespace
{
// The port as the test sees it: what was written, the answers to hand out, the statuses to return and
// the optional operations' calls as text.
struct Script
{
    std::vector<uint8_t> written;
    std::vector<std::vector<uint8_t>> answers;
    Kel_StatusCode writeStatus = Kel_Good, readStatus = Kel_Good, hookStatus = Kel_Good;
    std::string calls;
};

Script& Of(void* pContext)
{
    return *static_cast<Script*>(pContext);
}

// A channel over the script with only write and read, as a variant fills it (no lock).
Kel_SerialChannel_Context ScriptedChannel(Script& aScript)
{
    Kel_SerialChannel_Context channel{};
    channel.pContext = &aScript;
    channel.pWrite = [](void* pContext, const uint8_t* pBuffer, uint32_t aSize, uint32_t, uint32_t* pWritten)
    {
        *pWritten = Kel_IsBad(Of(pContext).writeStatus) ? 0 : aSize;
        Of(pContext).written.insert(Of(pContext).written.end(), pBuffer, pBuffer + *pWritten);
        return Of(pContext).writeStatus;
    };
    channel.pRead = [](void* pContext, uint8_t* pBuffer, uint32_t aSize, uint32_t, uint32_t* pReceived)
    {
        Script& script = Of(pContext);
        *pReceived = 0;
        if (!Kel_IsBad(script.readStatus) && !script.answers.empty())
        {
            *pReceived = static_cast<uint32_t>(std::min<size_t>(script.answers.front().size(), aSize));
            memcpy(pBuffer, script.answers.front().data(), *pReceived);
            script.answers.erase(script.answers.begin());
        }
        return script.readStatus;
    };
    return channel;
}

void AddOptionalOperations(Kel_SerialChannel_Context& aChannel)
{
    aChannel.pClearBuffer = [](void* pContext, uint32_t aInput)
    {
        Of(pContext).calls += "clear " + std::to_string(aInput) + ";";
        return Kel_Good;
    };
    aChannel.pReOpen = [](void* pContext, uint32_t aDelay)
    {
        Of(pContext).calls += "reopen " + std::to_string(aDelay) + ";";
        return Kel_BadCommunicationError;
    };
    aChannel.pSetParams =
        [](void* pContext, uint32_t aBaudRate, uint32_t, uint8_t, int32_t, int32_t aFlowControl)
    {
        Of(pContext).calls +=
            "params " + std::to_string(aBaudRate) + " " + std::to_string(aFlowControl) + ";";
        return Kel_Good;
    };
    aChannel.pIsConnected = [](void*, uint32_t* pConnected)
    {
        *pConnected = 0;
        return Kel_Good;
    };
    aChannel.pThreadLock = [](void* pContext)
    {
        Of(pContext).calls += "lock;";
        return Of(pContext).hookStatus;
    };
    aChannel.pThreadUnLock = [](void* pContext)
    {
        Of(pContext).calls += "unlock;";
        return Of(pContext).hookStatus;
    };
}

const uint8_t kByte = 0x10;

// A lock name no other run uses (a POSIX semaphore outlives a crashed test).
std::string UniqueName(const char* pPrefix)
{
    return pPrefix + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count() % 1000000007);
}
} // namespace

TEST(SerialChannel, WriteAndReadTraceLinesAndStatusesPassThrough)
{
    Script script;
    script.answers = {{0xAA, 0x55}};
    Kel_SerialChannel_Context channel = ScriptedChannel(script);
    TraceCapture trace;
    const uint8_t request[] = {0x01, 0x02, 0x03};
    uint8_t answer[16] = {};
    uint32_t count = 0;
    EXPECT_EQ(Kel_SerialChannel_Write(&channel, request, sizeof(request), 500, &count), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_Read(&channel, answer, sizeof(answer), 200, &count), Kel_Good);
    EXPECT_EQ(answer[0] * 256 + answer[1], 0xAA55);
    EXPECT_EQ(Kel_SerialChannel_Read(&channel, answer, sizeof(answer), 200, &count), Kel_Good);
    EXPECT_EQ(count, 0u);
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
    EXPECT_EQ(script.written, std::vector<uint8_t>(request, request + 3));

    // A success with no data reaches the caller with the detail word cleared; failures unchanged.
    script.answers = {{0x42}};
    script.readStatus = Kel_GoodNoData | 0x1234u;
    EXPECT_EQ(Kel_SerialChannel_Read(&channel, answer, 4, 10, &count), Kel_GoodNoData);
    EXPECT_EQ(count, 1u);
    script.writeStatus = Kel_GoodNoResponse | 0x0001u;
    EXPECT_EQ(Kel_SerialChannel_Write(&channel, answer, 1, 10, &count), Kel_GoodNoResponse);
    TraceCapture failures;
    script.readStatus = Kel_BadCommunicationError | 0x0007u;
    EXPECT_EQ(Kel_SerialChannel_Read(&channel, answer, 4, 10, &count), Kel_BadCommunicationError | 0x0007u);
    script.writeStatus = Kel_BadCommunicationError;
    EXPECT_EQ(Kel_SerialChannel_Write(&channel, answer, 1, 10, &count), Kel_BadCommunicationError);
    EXPECT_EQ(Messages(failures.Stop()), "--> Kel_Module_SerialChannel::Kel_SerialChannel_Read (0x00000009)|"
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
    Kel_SerialChannel_Context empty{};
    uint8_t byte = 0;
    uint32_t count = 0, type = 7;
    TraceCapture trace;
    EXPECT_EQ(Kel_SerialChannel_Write(nullptr, &byte, 1, 0, &count), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_SerialChannel_Write(&empty, &byte, 1, 0, &count), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_SerialChannel_Read(&empty, &byte, 1, 0, &count), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_SerialChannel_GetType(nullptr, &type), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_SerialChannel_CreateContext(nullptr, &empty), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_SerialChannel_CreateContextEmpty(&empty, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_SerialChannel_GetType(&empty, &type), Kel_Good); // traces nothing when it succeeds
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

TEST(SerialChannel, OptionalOperationsAndLockHooks)
{
    Script script;
    Kel_SerialChannel_Context channel = ScriptedChannel(script);
    // Without the operations: nothing happens and the channel reads as connected.
    uint32_t connected = 0;
    EXPECT_EQ(Kel_SerialChannel_ClearBuffer(&channel, 1), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_ReOpen(&channel, 1000), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_SetParams(&channel, 9600, 2, 7, 2, 1), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_GetIsConnected(&channel, &connected), Kel_Good);
    EXPECT_EQ(connected, 1u);
    // With them: each is called with its arguments and its status comes back.
    AddOptionalOperations(channel);
    EXPECT_EQ(Kel_SerialChannel_ClearBuffer(&channel, 0), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_ReOpen(&channel, 1001), Kel_BadCommunicationError);
    EXPECT_EQ(Kel_SerialChannel_SetParams(&channel, 600, 0, 8, 1, 1), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_GetIsConnected(&channel, &connected), Kel_Good);
    EXPECT_EQ(connected, 0u);
    // Without a semaphore: the lock hook's status comes back; a failing unlock hook is traced only.
    script.hookStatus = Kel_BadInternalError;
    EXPECT_EQ(Kel_SerialChannel_ThreadLock(&channel, 10), Kel_BadInternalError);
    TraceCapture trace;
    EXPECT_EQ(Kel_SerialChannel_ThreadUnLock(&channel), Kel_Good);
    EXPECT_EQ(Messages(trace.Stop()),
              "--> Kel_Module_SerialChannel::Kel_SerialChannel_ThreadUnLock (0x00000009)|"
              "--- GotoError: Bad statuscode 0x80020000|"
              "<-- \"Kel_SerialChannel_ThreadUnLock\" = 0x00000000 (GOOD).|");
    // With one: a lock that times out on the semaphore does not reach the hook.
    const std::string name = UniqueName("KelChannelHook");
    Kel_SerialChannel_Context holder{}, locked{};
    ASSERT_EQ(Kel_SerialChannel_CreateContextEmpty(&holder, name.c_str()), Kel_Good);
    ASSERT_EQ(Kel_SerialChannel_CreateContextEmpty(&locked, name.c_str()), Kel_Good);
    locked.pContext = &script;
    AddOptionalOperations(locked);
    script.hookStatus = Kel_Good;
    ASSERT_EQ(Kel_SerialChannel_ThreadLock(&holder, 100), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_ThreadLock(&locked, 50), Kel_BadTimeout);
    EXPECT_EQ(Kel_SerialChannel_ThreadUnLock(&holder), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_ThreadLock(&locked, 100), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_ThreadUnLock(&locked), Kel_Good);
    EXPECT_EQ(script.calls, "clear 0;reopen 1001;params 600 1;lock;unlock;lock;unlock;");
    Kel_SerialChannel_Delete(&locked);
    Kel_SerialChannel_Delete(&holder);
}

TEST(SerialChannel, LastChannelDelayIsHalfTheTimeSinceTheLastGoodWrite)
{
    Script script;
    Kel_SerialChannel_Context channel = ScriptedChannel(script);
    uint32_t delay = 99, written = 0;
    EXPECT_EQ(Kel_SerialChannel_GetLastChannelDelay(&channel, &delay), Kel_Good);
    EXPECT_EQ(delay, 0u); // no write yet
    // Bounded by what a monotonic clock saw around the calls (a loaded machine may sleep longer).
    using Clock = std::chrono::steady_clock;
    const auto ms = [](Clock::duration aDuration)
    { return std::chrono::duration_cast<std::chrono::milliseconds>(aDuration).count(); };
    const Clock::time_point beforeWrite = Clock::now();
    ASSERT_EQ(Kel_SerialChannel_Write(&channel, &kByte, 1, 100, &written), Kel_Good);
    const Clock::time_point afterWrite = Clock::now();
    Kel_P_Sleep(150);
    script.writeStatus = Kel_BadCommunicationError; // a failed write does not count
    EXPECT_EQ(Kel_SerialChannel_Write(&channel, &kByte, 1, 100, &written), Kel_BadCommunicationError);
    Kel_P_Sleep(150);
    const Clock::time_point beforeRead = Clock::now();
    EXPECT_EQ(Kel_SerialChannel_GetLastChannelDelay(&channel, &delay), Kel_Good);
    const Clock::time_point afterRead = Clock::now();
    EXPECT_GE(delay, 135u); // half the 300 ms, less what a tick clock of 16 ms steps loses
    EXPECT_GE(static_cast<int64_t>(delay), ms(beforeRead - afterWrite) / 2 - 10);
    EXPECT_LE(static_cast<int64_t>(delay), ms(afterRead - beforeWrite) / 2 + 10);
    EXPECT_EQ(Kel_SerialChannel_GetLastChannelDelay(&channel, &delay), Kel_Good);
    EXPECT_EQ(delay, 0u);
}

TEST(SerialChannel, ChannelsOnOnePortShareItsLock)
{
    Kel_P_Serial_Context port{};
    ASSERT_EQ(Kel_P_Serial_CreateContext(&port), Kel_Good);
    const std::string name = UniqueName("KelChannelPort");
    snprintf(port.port_name, sizeof(port.port_name), "%s", name.c_str());
    Kel_SerialChannel_Context first{}, second{}, third{};
    first.baudRate = 1234; // the whole record is zeroed by the creation
    ASSERT_EQ(Kel_SerialChannel_CreateContext(&port, &first), Kel_Good);
    uint32_t type = 0;
    EXPECT_EQ(Kel_SerialChannel_GetType(&first, &type), Kel_Good);
    EXPECT_EQ(type, KEL_SERIALCHANNEL_TYPE_SERIAL);
    EXPECT_EQ(first.baudRate, 0u);
    EXPECT_EQ(first.pThreadLock, nullptr);
    ASSERT_EQ(Kel_SerialChannel_CreateContextEmpty(&second, name.c_str()), Kel_Good);
    EXPECT_EQ(first.lockCreated + second.lockOpened, 2u);
    // The bound write reaches the port layer (which writes nothing on a port that is not open).
    uint32_t written = 99;
    TraceCapture trace;
    EXPECT_EQ(Kel_SerialChannel_Write(&first, &kByte, 1, 100, &written), Kel_Good);
    EXPECT_NE(trace.Stop().find("--> Kel_Module_Serial::Kel_P_Serial_Write (0x00000001)\n"),
              std::string::npos);
    EXPECT_EQ(written, 0u);

    // One semaphore of count 1: while the first holds it, the second waits out its time-out.
    EXPECT_EQ(Kel_SerialChannel_ThreadLock(&first, 100), Kel_Good);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Kel_SerialChannel_ThreadLock(&second, 200), Kel_BadTimeout);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(150));
    EXPECT_EQ(Kel_SerialChannel_ThreadUnLock(&first), Kel_Good);
    // Deleting the channel that only opened the lock leaves it to the one that created it.
    EXPECT_EQ(Kel_SerialChannel_Delete(&second), Kel_Good);
    ASSERT_EQ(Kel_SerialChannel_CreateContextEmpty(&third, name.c_str()), Kel_Good);
    EXPECT_EQ(third.lockOpened, 1u);
    EXPECT_EQ(Kel_SerialChannel_Delete(&third), Kel_Good);
    EXPECT_EQ(Kel_SerialChannel_Delete(&first), Kel_Good);
    EXPECT_EQ(first.lockCreated, 0u);
}
