// Application layer of the single-phase meter: request buffer, the exchange with its one repetition,
// and the raw exchange of caller-built requests.
#define KEL_TRACE_FILE "protocols/orlenta/1phase/kel_zentor1phase_application"
#include "protocols/orlenta/1phase/kel_zentor1phase_application.h"

#include "shared/kel_trace.h"

#include <cstring>

namespace
{
// The time-outs of the transport, whichever of the two codes it gives.
bool IsAnswerTimeout(Kel_StatusCode aStatus)
{
    return (aStatus & ~0x00010000u) == Kel_BadDeviceIncompleteAnswer;
}

// One request from outBuffer and its answer into inBuffer. A silent meter gets the request once more;
// every failure on the line ends as Kel_GoodNoResponse with an empty answer.
Kel_StatusCode sendAndReceiveAnswer(Kel_Zentor1Phase_ApplicationContext* pContext)
{
    KEL_ENTER_AS(Kel_Module_ZentorProtocolClient, "sendAndReceiveAnswer");
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_P_Stopwatch_Restart(&pContext->exchangeStopwatch));
    Kel_Zentor1Phase_TransportContext* pTransport = &pContext->transport;
    status =
        Kel_Zentor1Phase_Transport_TransmitFrame(pTransport, pContext->outBuffer, pContext->outBufferIndex);
    if (Kel_IsGood(status))
    {
        status = Kel_Zentor1Phase_Transport_ReceiveFrame(
            pTransport, pContext->inBuffer, sizeof(pContext->inBuffer), 0, &pContext->inBufferIndex);
        if (Kel_IsGood(status))
            KEL_EXIT(status);
        if (IsAnswerTimeout(status))
        {
            // The one repetition of a command exchange.
            status = Kel_Zentor1Phase_Transport_TransmitFrame(pTransport, pContext->outBuffer,
                                                              pContext->outBufferIndex);
            if (Kel_IsGood(status))
            {
                status = Kel_Zentor1Phase_Transport_ReceiveFrame(
                    pTransport, pContext->inBuffer, sizeof(pContext->inBuffer), 0, &pContext->inBufferIndex);
                if (Kel_IsGood(status))
                    KEL_EXIT(status);
            }
        }
    }
    // A failed line is not a failure of the call: the empty answer tells the client.
    pContext->inBufferIndex = 0;
    KEL_TRACE(KEL_TRACE_LEVEL_INFO, "<-- \"%s\" = 0x%08X (%s).\n", kelScope.function, Kel_GoodNoResponse,
              "GOOD");
    return Kel_GoodNoResponse;
}

// Command code and arguments into outBuffer, then the exchange.
Kel_StatusCode Exchange(Kel_Zentor1Phase_ApplicationContext* pContext, uint8_t aCommand,
                        const uint8_t* pArguments, uint32_t aArgumentSize)
{
    pContext->inBufferIndex = 0;
    pContext->outBufferIndex = 1;
    pContext->outBuffer[0] = aCommand;
    if (pArguments != KEL_NULL && aArgumentSize != 0)
    {
        if (aArgumentSize > sizeof(pContext->outBuffer) - 1)
            return Kel_BadOutOfRange;
        memcpy(pContext->outBuffer + 1, pArguments, aArgumentSize);
        pContext->outBufferIndex += aArgumentSize;
    }
    return sendAndReceiveAnswer(pContext);
}
} // namespace

Kel_StatusCode Kel_Zentor1Phase_Application_CreateContext(Kel_Zentor1Phase_ApplicationContext* pContext,
                                                          Kel_SerialChannel_Context* pSerialChannel,
                                                          uint32_t aAddress, uint32_t aWriteTimeout,
                                                          uint32_t aReadTimeout, uint32_t aAnswerTimeout)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pSerialChannel);
    memset(pContext, 0, sizeof(*pContext));
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status,
                    Kel_Zentor1Phase_Transport_CreateContext(&pContext->transport, pSerialChannel, aAddress,
                                                             aWriteTimeout, aReadTimeout, aAnswerTimeout));
    KEL_GOTO_IF_BAD(status, Kel_P_Stopwatch_Reset(&pContext->idleStopwatch));
    KEL_GOTO_IF_BAD(status, Kel_P_Stopwatch_Reset(&pContext->exchangeStopwatch));
    pContext->outBufferIndex = 0;
    pContext->inBufferIndex = 0;
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Application_ReadA(Kel_Zentor1Phase_ApplicationContext* pContext,
                                                  uint8_t aCommand, const uint8_t* pArguments,
                                                  uint32_t aArgumentSize)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Exchange(pContext, aCommand, pArguments, aArgumentSize));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Application_Read(Kel_Zentor1Phase_ApplicationContext* pContext,
                                                 uint8_t aCommand)
{
    return Kel_Zentor1Phase_Application_ReadA(pContext, aCommand, KEL_NULL, 0);
}

Kel_StatusCode Kel_Zentor1Phase_Application_Write(Kel_Zentor1Phase_ApplicationContext* pContext,
                                                  uint8_t aCommand, const uint8_t* pArgumentData,
                                                  uint32_t aArgumentSize)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pArgumentData);
    KEL_REJECT_ZERO(aArgumentSize);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Exchange(pContext, aCommand, pArgumentData, aArgumentSize));
    KEL_EXIT(status);
}

Kel_StatusCode
Kel_Zentor1Phase_Application_SendAnyDataAndGetAnswer(Kel_Zentor1Phase_ApplicationContext* pContext,
                                                     const uint8_t* pData, uint32_t aDataSize)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pData);
    Kel_StatusCode status = Kel_Good;
    for (uint32_t attempt = 1; attempt <= 3; ++attempt)
    {
        pContext->outBufferIndex = 0;
        pContext->inBufferIndex = 0;
        KEL_GOTO_IF_BAD(status,
                        Kel_Zentor1Phase_Transport_TransmitFrame(&pContext->transport, pData, aDataSize));
        KEL_GOTO_IF_BAD(status, Kel_Zentor1Phase_Transport_ReceiveFrame(
                                    &pContext->transport, pContext->inBuffer, sizeof(pContext->inBuffer), 0,
                                    &pContext->inBufferIndex));
        if (status == Kel_GoodNoData)
            KEL_EXIT(status);
        if (pContext->inBufferIndex > 0 || attempt == 3)
            break;
    }
    const Kel_StatusCode last = status;
    KEL_GOTO_IF_BAD(status, Kel_P_Stopwatch_Stop(&pContext->exchangeStopwatch));
    KEL_GOTO_IF_BAD(status, Kel_P_Stopwatch_Restart(&pContext->idleStopwatch));
    KEL_EXIT(last);
}
