// Application layer of the single-phase meter: one request/answer exchange. The request payload is
// the command code and its argument bytes; the answer payload (the echoed command code and the answer
// data) lands in inBuffer with its length in inBufferIndex. A failure on the line is not reported as
// a failure: the exchange ends with Kel_GoodNoResponse and an empty answer, and the client's length
// check turns that into Kel_BadDeviceUnknownResponse.
#pragma once

#include "protocols/orlenta/1phase/kel_zentor1phase_transport.h"

constexpr uint32_t KEL_ZENTOR1PHASE_OUT_BUFFER_SIZE = 64;
constexpr uint32_t KEL_ZENTOR1PHASE_IN_BUFFER_SIZE = 128;

struct Kel_Zentor1Phase_ApplicationContext
{
    Kel_Zentor1Phase_TransportContext transport; // first member: the context serves the transport as is
    Kel_P_Stopwatch_Context idleStopwatch;       // restarted after each completed raw exchange
    Kel_P_Stopwatch_Context exchangeStopwatch;   // restarted at the start of every command exchange
    uint8_t outBuffer[KEL_ZENTOR1PHASE_OUT_BUFFER_SIZE]; // [0] command code, then its arguments
    uint32_t outBufferIndex;
    uint8_t inBuffer[KEL_ZENTOR1PHASE_IN_BUFFER_SIZE]; // [0] the echoed command code, then the answer data
    uint32_t inBufferIndex;                            // 0 when no answer was taken
};

Kel_StatusCode Kel_Zentor1Phase_Application_CreateContext(Kel_Zentor1Phase_ApplicationContext* pContext,
                                                          Kel_SerialChannel_Context* pSerialChannel,
                                                          uint32_t aAddress, uint32_t aWriteTimeout,
                                                          uint32_t aReadTimeout, uint32_t aAnswerTimeout);
// A read command with optional arguments (pArguments may be null: none are sent).
Kel_StatusCode Kel_Zentor1Phase_Application_ReadA(Kel_Zentor1Phase_ApplicationContext* pContext,
                                                  uint8_t aCommand, const uint8_t* pArguments,
                                                  uint32_t aArgumentSize);
Kel_StatusCode Kel_Zentor1Phase_Application_Read(Kel_Zentor1Phase_ApplicationContext* pContext,
                                                 uint8_t aCommand);
// A write command; its arguments are mandatory.
Kel_StatusCode Kel_Zentor1Phase_Application_Write(Kel_Zentor1Phase_ApplicationContext* pContext,
                                                  uint8_t aCommand, const uint8_t* pArgumentData,
                                                  uint32_t aArgumentSize);
// A caller-built payload (command code included), up to three attempts while nothing comes back;
// line failures are passed on as they are.
Kel_StatusCode
Kel_Zentor1Phase_Application_SendAnyDataAndGetAnswer(Kel_Zentor1Phase_ApplicationContext* pContext,
                                                     const uint8_t* pData, uint32_t aDataSize);
