// The serial channel: the one way the protocol stack writes requests and reads answers, whatever the
// path to the meter. A channel is a plain record with the underlying port or socket context and a
// table of operations; the plain serial channel binds the serial port, the variants bind their own
// operations. The channel adds tracing, a named lock shared by every channel on one port, the line
// parameters last set and the time of the last write.
#pragma once

#include "shared/kel_types.h"
#include "shared/platform/kel_p_semaphore.h"
#include "shared/platform/kel_p_serial.h"
#include "shared/platform/kel_p_stopwatch.h"

#include <type_traits>

// Channel types.
constexpr uint32_t KEL_SERIALCHANNEL_TYPE_VARIANT = 0; // echoing RS-485, GSM, GSM gateway, TCP bridge
constexpr uint32_t KEL_SERIALCHANNEL_TYPE_SERIAL = 1;  // the plain serial port

// Operations. Each receives the channel's underlying context as its first argument.
typedef Kel_StatusCode (*Kel_SerialChannel_WriteFunction)(void* pContext, const uint8_t* pBuffer,
                                                          uint32_t aSize, uint32_t aTimeout,
                                                          uint32_t* pWritten);
typedef Kel_StatusCode (*Kel_SerialChannel_ReadFunction)(void* pContext, uint8_t* pBuffer, uint32_t aSize,
                                                         uint32_t aTimeout, uint32_t* pBytesReaded);
typedef Kel_StatusCode (*Kel_SerialChannel_ClearBufferFunction)(void* pContext, uint32_t aInput);
typedef Kel_StatusCode (*Kel_SerialChannel_ReOpenFunction)(void* pContext, uint32_t aDelay);
typedef Kel_StatusCode (*Kel_SerialChannel_SetParamsFunction)(void* pContext, uint32_t aBaudRate,
                                                              uint32_t aParity, uint8_t aDataBits,
                                                              int32_t aStopBits, int32_t aFlowControl);
typedef Kel_StatusCode (*Kel_SerialChannel_IsConnectedFunction)(void* pContext, uint32_t* pConnected);
typedef Kel_StatusCode (*Kel_SerialChannel_LockFunction)(void* pContext);
typedef Kel_StatusCode (*Kel_SerialChannel_DelayFunction)(void* pContext, uint32_t* pDelay);

// Every member starts zeroed, so that a creation names only the members it fills.
struct Kel_SerialChannel_Context
{
    void* pContext{};       // the port or socket context the operations work on
    uint32_t type{};        // KEL_SERIALCHANNEL_TYPE_*
    uint32_t lockCreated{}; // 1: this channel created the named semaphore
    uint32_t lockOpened{};  // 1: the semaphore existed and was opened
    Kel_P_Semaphore_Context lock{};
    // Line parameters as last given to SetParams.
    uint32_t baudRate{};
    uint32_t parity{};
    uint8_t dataBits{};
    int32_t stopBits{};
    int32_t flowControl{};
    Kel_P_Stopwatch_Context writeStopwatch{}; // restarted after every successful write
    // The operation table; any entry may be null.
    Kel_SerialChannel_WriteFunction pWrite{};
    Kel_SerialChannel_ReadFunction pRead{};
    Kel_SerialChannel_ClearBufferFunction pClearBuffer{};
    Kel_SerialChannel_ReOpenFunction pReOpen{};
    Kel_SerialChannel_SetParamsFunction pSetParams{};
    Kel_SerialChannel_IsConnectedFunction pIsConnected{};
    Kel_SerialChannel_LockFunction pThreadLock{};
    Kel_SerialChannel_LockFunction pThreadUnLock{};
    Kel_SerialChannel_DelayFunction pGetLastChannelDelay{};
    uint32_t reserved{};
};
static_assert(std::is_trivially_copyable_v<Kel_SerialChannel_Context>, "the channel is a plain record");

// Binds a function on a typed context (Kel_P_Serial_Write on a Kel_P_Serial_Context, say) into a
// slot of the operation table, whose entries take the context untyped:
//   .pWrite = Kel_SerialChannel_Bind<Kel_P_Serial_Write>::Call
template <auto Function> struct Kel_SerialChannel_Bind;
template <typename Context, typename... Arguments, Kel_StatusCode (*Function)(Context*, Arguments...)>
struct Kel_SerialChannel_Bind<Function>
{
    static Kel_StatusCode Call(void* pContext, Arguments... aArguments)
    {
        return Function(static_cast<Context*>(pContext), aArguments...);
    }
};

// A plain serial channel over an open port; its lock is named by the port's name.
Kel_StatusCode Kel_SerialChannel_CreateContext(Kel_P_Serial_Context* pSerialContext,
                                               Kel_SerialChannel_Context* pSerialChannelContext);
// A channel with no operations, only the lock named aPortName.
Kel_StatusCode Kel_SerialChannel_CreateContextEmpty(Kel_SerialChannel_Context* pSerialChannelContext,
                                                    const char* aPortName);
Kel_StatusCode Kel_SerialChannel_Write(Kel_SerialChannel_Context* pSerialChannelContext,
                                       const uint8_t* pBuffer, uint32_t aSize, uint32_t aTimeout,
                                       uint32_t* pWritten);
// One read of the operation; it may bring fewer bytes than asked, or none.
Kel_StatusCode Kel_SerialChannel_Read(Kel_SerialChannel_Context* pSerialChannelContext, uint8_t* pBuffer,
                                      uint32_t aSize, uint32_t aTimeout, uint32_t* pBytesReaded);
Kel_StatusCode Kel_SerialChannel_ClearBuffer(Kel_SerialChannel_Context* pSerialChannelContext,
                                             uint32_t aInput);
Kel_StatusCode Kel_SerialChannel_ReOpen(Kel_SerialChannel_Context* pSerialChannelContext, uint32_t aDelay);
Kel_StatusCode Kel_SerialChannel_GetIsConnected(Kel_SerialChannel_Context* pSerialChannelContext,
                                                uint32_t* pConnected);
Kel_StatusCode Kel_SerialChannel_SetParams(Kel_SerialChannel_Context* pSerialChannelContext,
                                           uint32_t aBaudRate, uint32_t aParity, uint8_t aDataBits,
                                           int32_t aStopBits, int32_t aFlowControl);
Kel_StatusCode Kel_SerialChannel_GetParams(Kel_SerialChannel_Context* pSerialChannelContext,
                                           uint32_t* pBaudRate, uint32_t* pParity, uint8_t* pDataBits,
                                           int32_t* pStopBits, int32_t* pFlowControl);
Kel_StatusCode Kel_SerialChannel_GetType(Kel_SerialChannel_Context* pSerialChannelContext, uint32_t* pType);
// Half the milliseconds since the last successful write, once; 0 when asked again before the next.
Kel_StatusCode Kel_SerialChannel_GetLastChannelDelay(Kel_SerialChannel_Context* pSerialChannelContext,
                                                     uint32_t* pDelay);
Kel_StatusCode Kel_SerialChannel_ThreadLock(Kel_SerialChannel_Context* pSerialChannelContext,
                                            uint32_t aTimeout);
Kel_StatusCode Kel_SerialChannel_ThreadUnLock(Kel_SerialChannel_Context* pSerialChannelContext);
// Deletes the semaphore only when this channel created it.
Kel_StatusCode Kel_SerialChannel_Delete(Kel_SerialChannel_Context* pSerialChannelContext);
