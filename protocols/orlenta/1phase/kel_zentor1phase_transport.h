// Transport frames of the single-phase meter: meter address (4 bytes, most significant first),
// command byte, argument or answer bytes, CRC-16/MODBUS (2 bytes). The transport frames one request
// payload, writes it on the serial channel and finds the meter's answer frame in the incoming bytes.
#pragma once

#include "shared/kel_serialchannel.h"
#include "shared/kel_types.h"
#include "shared/platform/kel_p_stopwatch.h"

constexpr uint32_t KEL_ZENTOR1PHASE_OUT_FRAME_SIZE = 64;
constexpr uint32_t KEL_ZENTOR1PHASE_IN_FRAME_SIZE = 128;
// The address takes 4 bytes of the request frame, so a request payload holds at most 60 bytes.
constexpr uint32_t KEL_ZENTOR1PHASE_MAX_REQUEST_PAYLOAD = KEL_ZENTOR1PHASE_OUT_FRAME_SIZE - 4;

struct Kel_Zentor1Phase_TransportContext
{
    Kel_SerialChannel_Context* pSerialChannel; // not owned
    uint32_t address;                          // sent in every request, required in every answer
    uint32_t writeTimeout;                     // ms, for each write
    uint32_t readTimeout;                      // ms, for each read
    uint32_t answerTimeout;                    // ms, the whole time allowed for an answer frame
    // The frame buffer has room for the address and the longest accepted payload (60 bytes) and two
    // bytes more for the CRC behind them, so that the longest request never runs into outFrameIndex.
    uint8_t outFrame[KEL_ZENTOR1PHASE_OUT_FRAME_SIZE + 2];
    uint32_t outFrameIndex;
    uint8_t inFrame[KEL_ZENTOR1PHASE_IN_FRAME_SIZE];
    Kel_P_Stopwatch_Context stopwatch; // time since the answer began to be awaited
};

Kel_StatusCode Kel_Zentor1Phase_Transport_CreateContext(Kel_Zentor1Phase_TransportContext* pContext,
                                                        Kel_SerialChannel_Context* pSerialChannel,
                                                        uint32_t aAddress, uint32_t aWriteTimeout,
                                                        uint32_t aReadTimeout, uint32_t aAnswerTimeout);
// Frames pBuffer[0..aBytesToTransmit) (command byte and arguments), clears pending input, writes the
// frame and lets the line settle for 10 ms.
Kel_StatusCode Kel_Zentor1Phase_Transport_TransmitFrame(Kel_Zentor1Phase_TransportContext* pContext,
                                                        const uint8_t* pBuffer, uint32_t aBytesToTransmit);
// Reads until a frame with the context's address and a matching CRC is complete, or the answer
// time-out passes; copies its payload (echoed command byte and data) to pBuffer + aOffset.
// On time-out the result depends on the value *pAnswerSize held on entry (callers set it to 0).
Kel_StatusCode Kel_Zentor1Phase_Transport_ReceiveFrame(Kel_Zentor1Phase_TransportContext* pContext,
                                                       uint8_t* pBuffer, uint32_t aBufferSizeInBytes,
                                                       uint32_t aOffset, uint32_t* pAnswerSize);
// CRC-16/MODBUS of pBuffer[aStart..aStart+aCount) with its two bytes swapped: the result's high byte
// is the first CRC byte on the wire. 0xFFFFFFFF when aCount is 0.
uint32_t Kel_Zentor1Phase_Transport_CalcCRC(const uint8_t* pBuffer, uint32_t aStart, uint32_t aCount);
