// The serial channel: tracing, the named lock, line parameters and write timing around a table of
// operations.
#define KEL_TRACE_FILE "shared/src/shared/kel_serialchannel"
#include "shared/kel_serialchannel.h"

#include "shared/kel_trace.h"

namespace
{
constexpr int32_t LOCK_INITIAL_COUNT = 1;
constexpr int32_t LOCK_MAX_COUNT = 1;

// Creates the channel's semaphore under aName, or opens it when another channel (in this or another
// process) has created it already.
Kel_StatusCode CreateLock(const Kel_TraceScope& aScope, Kel_SerialChannel_Context* pSerialChannelContext,
                          const char* aName)
{
    pSerialChannelContext->lockCreated = 0;
    pSerialChannelContext->lockOpened = 0;
    Kel_StatusCode status =
        Kel_P_Semaphore_CreateImp(&pSerialChannelContext->lock, aName, LOCK_INITIAL_COUNT, LOCK_MAX_COUNT);
    if ((status & 0xC0000000u) == 0)
    {
        pSerialChannelContext->lockCreated = 1;
        return Kel_Good;
    }
    status = Kel_P_Semaphore_OpenImp(&pSerialChannelContext->lock, aName);
    if (Kel_IsBad(status))
        return Kel_Trace_RejectCode(aScope, __LINE__, status);
    pSerialChannelContext->lockOpened = 1;
    return Kel_Good;
}

bool HasLock(const Kel_SerialChannel_Context* pSerialChannelContext)
{
    return pSerialChannelContext->lockCreated != 0 || pSerialChannelContext->lockOpened != 0;
}
} // namespace

Kel_StatusCode Kel_SerialChannel_CreateContext(Kel_P_Serial_Context* pSerialContext,
                                               Kel_SerialChannel_Context* pSerialChannelContext)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    KEL_REJECT_NULL(pSerialChannelContext);
    KEL_REJECT_NULL(pSerialContext);
    *pSerialChannelContext = Kel_SerialChannel_Context{
        .pContext = pSerialContext,
        .type = KEL_SERIALCHANNEL_TYPE_SERIAL,
        .pWrite = Kel_SerialChannel_Bind<Kel_P_Serial_Write>::Call,
        .pRead = Kel_SerialChannel_Bind<Kel_P_Serial_Read>::Call,
        .pClearBuffer = Kel_SerialChannel_Bind<Kel_P_Serial_Clear_Buffer>::Call,
        .pReOpen = Kel_SerialChannel_Bind<Kel_P_Serial_ReOpen>::Call,
        .pSetParams = Kel_SerialChannel_Bind<Kel_P_Serial_Set_Params>::Call,
        .pIsConnected = Kel_SerialChannel_Bind<Kel_P_Serial_IsConnected>::Call,
    };
    Kel_StatusCode status = CreateLock(kelScope, pSerialChannelContext, pSerialContext->port_name);
    if (Kel_IsBad(status))
        return status;
    KEL_GOTO_IF_BAD(status, Kel_P_Stopwatch_Reset(&pSerialChannelContext->writeStopwatch));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_SerialChannel_CreateContextEmpty(Kel_SerialChannel_Context* pSerialChannelContext,
                                                    const char* aPortName)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    KEL_REJECT_NULL(pSerialChannelContext);
    KEL_REJECT_NULL(aPortName);
    *pSerialChannelContext = Kel_SerialChannel_Context{};
    const Kel_StatusCode status = CreateLock(kelScope, pSerialChannelContext, aPortName);
    if (Kel_IsBad(status))
        return status;
    KEL_EXIT(status);
}

Kel_StatusCode Kel_SerialChannel_Write(Kel_SerialChannel_Context* pSerialChannelContext,
                                       const uint8_t* pBuffer, uint32_t aSize, uint32_t aTimeout,
                                       uint32_t* pWritten)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    KEL_REJECT_NULL(pSerialChannelContext);
    KEL_REJECT_NULL(pSerialChannelContext->pWrite);
    KEL_TRACE_DUMP(KEL_TRACE_LEVEL_FLOW, pBuffer, aSize,
                   "Kel_SerialChannel_Write, Timeout=%d Data=", static_cast<int>(aTimeout));
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, pSerialChannelContext->pWrite(pSerialChannelContext->pContext, pBuffer, aSize,
                                                          aTimeout, pWritten));
    Kel_StatusCode restart = Kel_Good;
    KEL_GOTO_IF_BAD(restart, Kel_P_Stopwatch_Restart(&pSerialChannelContext->writeStopwatch));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "Kel_SerialChannel_Write - OK, Written=%d",
              pWritten != KEL_NULL ? static_cast<int>(*pWritten) : 0);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_SerialChannel_Read(Kel_SerialChannel_Context* pSerialChannelContext, uint8_t* pBuffer,
                                      uint32_t aSize, uint32_t aTimeout, uint32_t* pBytesReaded)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    KEL_REJECT_NULL(pSerialChannelContext);
    KEL_REJECT_NULL(pSerialChannelContext->pRead);
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "Kel_SerialChannel_Read, Size=%d, Timeout=%d", static_cast<int>(aSize),
              static_cast<int>(aTimeout));
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, pSerialChannelContext->pRead(pSerialChannelContext->pContext, pBuffer, aSize,
                                                         aTimeout, pBytesReaded));
    KEL_TRACE_DUMP(KEL_TRACE_LEVEL_FLOW, pBuffer, pBytesReaded != KEL_NULL ? *pBytesReaded : 0,
                   "Kel_SerialChannel_Read - OK, Data=");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_SerialChannel_ClearBuffer(Kel_SerialChannel_Context* pSerialChannelContext,
                                             uint32_t aInput)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    KEL_REJECT_NULL(pSerialChannelContext);
    Kel_StatusCode status = Kel_Good;
    if (pSerialChannelContext->pClearBuffer != KEL_NULL)
        KEL_GOTO_IF_BAD(status, pSerialChannelContext->pClearBuffer(pSerialChannelContext->pContext, aInput));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_SerialChannel_ReOpen(Kel_SerialChannel_Context* pSerialChannelContext, uint32_t aDelay)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    KEL_REJECT_NULL(pSerialChannelContext);
    Kel_StatusCode status = Kel_Good;
    if (pSerialChannelContext->pReOpen != KEL_NULL)
        KEL_GOTO_IF_BAD(status, pSerialChannelContext->pReOpen(pSerialChannelContext->pContext, aDelay));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_SerialChannel_GetIsConnected(Kel_SerialChannel_Context* pSerialChannelContext,
                                                uint32_t* pConnected)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    KEL_REJECT_NULL(pSerialChannelContext);
    KEL_REJECT_NULL(pConnected);
    // A channel without the operation always reads as connected.
    *pConnected = 1;
    Kel_StatusCode status = Kel_Good;
    if (pSerialChannelContext->pIsConnected != KEL_NULL)
        KEL_GOTO_IF_BAD(status,
                        pSerialChannelContext->pIsConnected(pSerialChannelContext->pContext, pConnected));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_SerialChannel_SetParams(Kel_SerialChannel_Context* pSerialChannelContext,
                                           uint32_t aBaudRate, uint32_t aParity, uint8_t aDataBits,
                                           int32_t aStopBits, int32_t aFlowControl)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    KEL_REJECT_NULL(pSerialChannelContext);
    pSerialChannelContext->baudRate = aBaudRate;
    pSerialChannelContext->parity = aParity;
    pSerialChannelContext->dataBits = aDataBits;
    pSerialChannelContext->stopBits = aStopBits;
    pSerialChannelContext->flowControl = aFlowControl;
    Kel_StatusCode status = Kel_Good;
    if (pSerialChannelContext->pSetParams != KEL_NULL)
        KEL_GOTO_IF_BAD(status,
                        pSerialChannelContext->pSetParams(pSerialChannelContext->pContext, aBaudRate, aParity,
                                                          aDataBits, aStopBits, aFlowControl));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_SerialChannel_GetParams(Kel_SerialChannel_Context* pSerialChannelContext,
                                           uint32_t* pBaudRate, uint32_t* pParity, uint8_t* pDataBits,
                                           int32_t* pStopBits, int32_t* pFlowControl)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    KEL_REJECT_NULL(pSerialChannelContext);
    KEL_REJECT_NULL(pBaudRate);
    KEL_REJECT_NULL(pParity);
    KEL_REJECT_NULL(pDataBits);
    KEL_REJECT_NULL(pStopBits);
    KEL_REJECT_NULL(pFlowControl);
    *pBaudRate = pSerialChannelContext->baudRate;
    *pParity = pSerialChannelContext->parity;
    *pDataBits = pSerialChannelContext->dataBits;
    *pStopBits = pSerialChannelContext->stopBits;
    *pFlowControl = pSerialChannelContext->flowControl;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_SerialChannel_GetType(Kel_SerialChannel_Context* pSerialChannelContext, uint32_t* pType)
{
    // Traces nothing but a rejected argument: no entry or exit line.
    const Kel_TraceScope kelScope{Kel_Module_SerialChannel, __func__, KEL_TRACE_FILE};
    KEL_REJECT_NULL(pSerialChannelContext);
    KEL_REJECT_NULL(pType);
    *pType = pSerialChannelContext->type;
    return Kel_Good;
}

Kel_StatusCode Kel_SerialChannel_GetLastChannelDelay(Kel_SerialChannel_Context* pSerialChannelContext,
                                                     uint32_t* pDelay)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    KEL_REJECT_NULL(pSerialChannelContext);
    KEL_REJECT_NULL(pDelay);
    *pDelay = 0;
    Kel_StatusCode status = Kel_Good;
    if (pSerialChannelContext->pGetLastChannelDelay != KEL_NULL)
    {
        KEL_GOTO_IF_BAD(status,
                        pSerialChannelContext->pGetLastChannelDelay(pSerialChannelContext->pContext, pDelay));
        KEL_EXIT(status);
    }
    uint32_t running = 0;
    status = Kel_P_Stopwatch_IsRunning(&pSerialChannelContext->writeStopwatch, &running);
    if (Kel_IsBad(status))
        KEL_REJECT_CODE(status);
    if (running != 0)
    {
        uint64_t elapsed = 0;
        status = Kel_P_Stopwatch_GetMSecElapsed(&pSerialChannelContext->writeStopwatch, &elapsed);
        if (Kel_IsBad(status))
            KEL_REJECT_CODE(status);
        *pDelay = static_cast<uint32_t>(elapsed / 2);
        // Reset: asked again before the next write, the delay is 0.
        status = Kel_P_Stopwatch_Reset(&pSerialChannelContext->writeStopwatch);
        if (Kel_IsBad(status))
            KEL_REJECT_CODE(status);
    }
    KEL_EXIT(status);
}

Kel_StatusCode Kel_SerialChannel_ThreadLock(Kel_SerialChannel_Context* pSerialChannelContext,
                                            uint32_t aTimeout)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    KEL_REJECT_NULL(pSerialChannelContext);
    Kel_StatusCode status = Kel_Good;
    if (HasLock(pSerialChannelContext))
        KEL_GOTO_IF_BAD(status, Kel_P_Semaphore_LockTimeoutImp(&pSerialChannelContext->lock, aTimeout));
    if (pSerialChannelContext->pThreadLock != KEL_NULL)
        KEL_GOTO_IF_BAD(status, pSerialChannelContext->pThreadLock(pSerialChannelContext->pContext));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_SerialChannel_ThreadUnLock(Kel_SerialChannel_Context* pSerialChannelContext)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    KEL_REJECT_NULL(pSerialChannelContext);
    Kel_StatusCode status = Kel_Good;
    if (pSerialChannelContext->pThreadUnLock != KEL_NULL)
    {
        // A failing unlock hook is traced; the semaphore is released all the same, and on a channel
        // without one the unlock counts as done.
        const Kel_StatusCode hookStatus =
            pSerialChannelContext->pThreadUnLock(pSerialChannelContext->pContext);
        if (Kel_IsBad(hookStatus))
            Kel_Trace_GotoBad(kelScope, __LINE__, hookStatus);
    }
    if (HasLock(pSerialChannelContext))
        KEL_GOTO_IF_BAD(status, Kel_P_Semaphore_UnlockImp(&pSerialChannelContext->lock));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_SerialChannel_Delete(Kel_SerialChannel_Context* pSerialChannelContext)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    KEL_REJECT_NULL(pSerialChannelContext);
    Kel_StatusCode status = Kel_Good;
    // A semaphore that was only opened belongs to the channel that created it.
    if (pSerialChannelContext->lockCreated != 0)
    {
        pSerialChannelContext->lockCreated = 0;
        KEL_GOTO_IF_BAD(status, Kel_P_Semaphore_DeleteImp(&pSerialChannelContext->lock));
    }
    pSerialChannelContext->lockOpened = 0;
    KEL_EXIT(status);
}
