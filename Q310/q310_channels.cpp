// The channel variants over the serial port and the TCP bridge, and the gateway packet codec.
#define KEL_TRACE_FILE "Q310"
#include "Q310/q310_channels.h"

#include "shared/kel_trace.h"

#include <array>
#include <errno.h>
#include <string.h>

namespace
{
constexpr uint32_t CRC24_INIT = 0xB704CEu;
constexpr uint32_t CRC24_POLY = 0x864CFBu;

constexpr std::array<uint32_t, 256> MakeCRC24Table()
{
    std::array<uint32_t, 256> table{};
    for (uint32_t index = 0; index < 256; ++index)
    {
        uint32_t crc = index << 16;
        for (int bit = 0; bit < 8; ++bit)
        {
            crc <<= 1;
            if ((crc & 0x1000000u) != 0)
                crc ^= CRC24_POLY;
        }
        table[index] = crc & 0xFFFFFFu;
    }
    return table;
}

// The byte-wise table of the OpenPGP CRC-24.
constexpr std::array<uint32_t, 256> CRC24Table = MakeCRC24Table();
static_assert(CRC24Table[1] == 0x864CFBu && CRC24Table[255] == 0xDD8538u, "the standard CRC-24 table");

// The copy of a request into a variant's send buffer fails above 64 bytes, as the data buffer does:
// Kel_Bad, and ERANGE as the error number for the error text of the exit line.
template <typename Variant> bool CopyRequest(Variant* pVariant, const uint8_t* pBuffer, uint32_t aSize)
{
    if (aSize > sizeof(pVariant->sendBuffer))
    {
        errno = ERANGE;
        return false;
    }
    memcpy(pVariant->sendBuffer, pBuffer, aSize);
    pVariant->sendLength = static_cast<uint8_t>(aSize);
    return true;
}

// The end of every echo read: echo removal of the aReceived bytes read against the reference, the
// data trace with aTraceText, and the exit. An echo that differs leaves with Kel_Bad, traced at
// level 4 like a success exit (an expected outcome on a shared line, not an error).
Kel_StatusCode FinishEchoRead(const Kel_TraceScope& kelScope, const char* aTraceText,
                              const uint8_t* pReceived, uint32_t aReceived, const uint8_t* pEcho,
                              uint32_t aEchoSize, uint8_t* pBuffer, uint32_t aSize, uint32_t aTimeout,
                              uint32_t* pBytesReaded)
{
    *pBytesReaded = 0;
    const Kel_StatusCode status =
        Kel_Echo_Remove(pReceived, aReceived, pEcho, aEchoSize, pBuffer, aSize, pBytesReaded);
    if (status == Kel_Bad && aReceived >= aEchoSize && aReceived - aEchoSize <= aSize)
        return Kel_Trace_ExitGood(kelScope, __LINE__, status);
    if (status == Kel_BadCommunicationError)
        KEL_GOTO_CODE(Kel_BadCommunicationError);
    if (Kel_IsBad(status))
    {
        Kel_Trace_GotoBad(kelScope, __LINE__, status);
        KEL_EXIT_BAD(status);
    }
    Kel_P_Trace_Imp(kelScope.module, KEL_TRACE_LEVEL_FLOW, pBuffer, *pBytesReaded, kelScope.file, __LINE__,
                    aTraceText, static_cast<int>(aTimeout));
    KEL_EXIT(status);
}

// The serial echo reads: one read of up to 128 bytes, then echo removal.
Kel_StatusCode SerialEchoRead(const Kel_TraceScope& kelScope, Kel_P_Serial_Context* pSerialContext,
                              const uint8_t* pEcho, uint32_t aEchoSize, uint8_t* pBuffer, uint32_t aSize,
                              uint32_t aTimeout, uint32_t* pBytesReaded)
{
    uint8_t received[Q310_ECHO_READ_SIZE];
    uint32_t count = 0;
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_P_Serial_Read(pSerialContext, received, sizeof(received), aTimeout, &count));
    return FinishEchoRead(kelScope, "Kel_P_Serial_EchoRS485_Read, Timeout=%d Data=", received, count, pEcho,
                          aEchoSize, pBuffer, aSize, aTimeout, pBytesReaded);
}

// The channel variants on a serial port: the record bound to the port and made the channel's context,
// the three operations bound, the port taken as a hardware port.
template <auto Write, auto Read, auto Clear, typename Variant>
Kel_StatusCode BindSerialVariant(const Kel_TraceScope& kelScope, Variant* pVariant,
                                 Kel_P_Serial_Context* pSerialContext,
                                 Kel_SerialChannel_Context* pSerialChannelContext)
{
    KEL_REJECT_NULL(pSerialChannelContext);
    KEL_REJECT_NULL(pSerialContext);
    KEL_REJECT_NULL(pVariant);
    pVariant->pSerialContext = pSerialContext;
    *pSerialChannelContext = Kel_SerialChannel_Context{
        .pContext = pVariant,
        .type = KEL_SERIALCHANNEL_TYPE_VARIANT,
        .pWrite = Kel_SerialChannel_Bind<Write>::Call,
        .pRead = Kel_SerialChannel_Bind<Read>::Call,
        .pClearBuffer = Kel_SerialChannel_Bind<Clear>::Call,
    };
    pSerialContext->isHardwarePort = 1;
    KEL_EXIT(Kel_Good);
}

// The purge of every serial variant: the port's own.
template <typename Variant>
Kel_StatusCode ClearSerialVariant(const Kel_TraceScope& kelScope, Variant* pVariant, uint32_t aInput)
{
    KEL_REJECT_NULL(pVariant);
    KEL_REJECT_NULL_AS(pVariant->pSerialContext, "pSerialContext");
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_P_Serial_Clear_Buffer(pVariant->pSerialContext, aInput));
    KEL_EXIT(status);
}
} // namespace

uint32_t Kel_GatewayGSM_CRC24(const uint8_t* pData, uint32_t aCount)
{
    uint32_t crc = CRC24_INIT;
    for (uint32_t index = 0; index < aCount; ++index)
        crc = ((crc << 8) ^ CRC24Table[((crc >> 16) ^ pData[index]) & 0xFFu]) & 0xFFFFFFu;
    return crc;
}

uint8_t Kel_GatewayGSM_DataChecksum(const uint8_t* pData, uint32_t aCount)
{
    uint32_t sum = 0;
    for (uint32_t index = 0; index < aCount; ++index)
        sum += pData[index];
    return static_cast<uint8_t>((sum & 0xFFu) - 1u);
}

Kel_StatusCode Kel_GatewayGSM_BuildPacket(const uint8_t* pData, uint32_t aCount, uint16_t aPacketNumber,
                                          uint8_t aPort, uint8_t* pPacket, uint32_t aPacketSize)
{
    if (pData == KEL_NULL || pPacket == KEL_NULL)
        return Kel_BadInvalidArgument;
    if (aCount > Q310_SEND_DATA_SIZE || aCount + Q310_GATEWAY_OVERHEAD > aPacketSize)
        return Kel_Bad;
    pPacket[3] = static_cast<uint8_t>(aPacketNumber & 0xFFu);
    pPacket[4] = static_cast<uint8_t>(aPacketNumber >> 8);
    pPacket[5] = static_cast<uint8_t>(aCount & 0xFFu);
    pPacket[6] = static_cast<uint8_t>(aCount >> 8);
    pPacket[7] = aPort;
    const uint32_t crc = Kel_GatewayGSM_CRC24(pPacket + 3, 5);
    pPacket[0] = static_cast<uint8_t>(crc & 0xFFu);
    pPacket[1] = static_cast<uint8_t>((crc >> 8) & 0xFFu);
    pPacket[2] = static_cast<uint8_t>((crc >> 16) & 0xFFu);
    memcpy(pPacket + Q310_GATEWAY_HEADER_SIZE, pData, aCount);
    pPacket[Q310_GATEWAY_HEADER_SIZE + aCount] = Kel_GatewayGSM_DataChecksum(pData, aCount);
    return Kel_Good;
}

Kel_StatusCode Kel_GatewayGSM_TakeAnswer(const uint8_t* pAnswer, uint32_t aReceived, uint8_t aPacketNumberLow,
                                         uint8_t* pBuffer, uint32_t aSize, uint32_t* pBytesReaded)
{
    if (pAnswer == KEL_NULL || pBuffer == KEL_NULL || pBytesReaded == KEL_NULL)
        return Kel_BadInvalidArgument;
    *pBytesReaded = 0;
    // An answer shorter than an empty packet has no data to take: a failed read, not a copy of a
    // negative count.
    if (aReceived < Q310_GATEWAY_OVERHEAD)
        return Kel_BadCommunicationError;
    if (pAnswer[3] != aPacketNumberLow)
        return Kel_Bad;
    const uint32_t count = aReceived - Q310_GATEWAY_OVERHEAD;
    if (count > aSize)
        return Kel_Bad;
    memcpy(pBuffer, pAnswer + Q310_GATEWAY_HEADER_SIZE, count);
    *pBytesReaded = count;
    return Kel_Good;
}

Kel_StatusCode Kel_Echo_Remove(const uint8_t* pReceived, uint32_t aReceived, const uint8_t* pEcho,
                               uint32_t aEchoSize, uint8_t* pBuffer, uint32_t aSize, uint32_t* pBytesReaded)
{
    if (pReceived == KEL_NULL || pBuffer == KEL_NULL || pBytesReaded == KEL_NULL ||
        (aEchoSize > 0 && pEcho == KEL_NULL))
        return Kel_BadInvalidArgument;
    *pBytesReaded = 0;
    // Fewer bytes than the echo: the read failed on the line. Nothing is compared or copied beyond what
    // arrived.
    if (aReceived < aEchoSize)
        return Kel_BadCommunicationError;
    if (aEchoSize > 0 && memcmp(pReceived, pEcho, aEchoSize) != 0)
        return Kel_Bad;
    const uint32_t count = aReceived - aEchoSize;
    if (count > aSize)
        return Kel_Bad;
    memcpy(pBuffer, pReceived + aEchoSize, count);
    *pBytesReaded = count;
    return Kel_Good;
}

// Creation of the variants.

Kel_StatusCode Kel_SerialChannel_CreateContext_EchoRS485(Kel_EchoRS485_Context* pVariant,
                                                         Kel_P_Serial_Context* pSerialContext,
                                                         Kel_SerialChannel_Context* pSerialChannelContext)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    return BindSerialVariant<Kel_P_Serial_EchoRS485_Write, Kel_P_Serial_EchoRS485_Read,
                             Kel_P_Serial_EchoRS485_Clear_Buffer>(kelScope, pVariant, pSerialContext,
                                                                  pSerialChannelContext);
}

Kel_StatusCode Kel_SerialChannel_CreateContext_EchoGSM(Kel_EchoGSM_Context* pVariant,
                                                       Kel_P_Serial_Context* pSerialContext,
                                                       Kel_SerialChannel_Context* pSerialChannelContext)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    return BindSerialVariant<Kel_P_Serial_EchoGSM_Write, Kel_P_Serial_EchoGSM_Read,
                             Kel_P_Serial_EchoGSM_Clear_Buffer>(kelScope, pVariant, pSerialContext,
                                                                pSerialChannelContext);
}

Kel_StatusCode Kel_SerialChannel_CreateContext_GatewayGSM(Kel_GatewayGSM_Context* pVariant,
                                                          Kel_P_Serial_Context* pSerialContext,
                                                          Kel_SerialChannel_Context* pSerialChannelContext)
{
    KEL_ENTER(Kel_Module_SerialChannel);
    return BindSerialVariant<Kel_P_Serial_GatewayGSM_Write, Kel_P_Serial_GatewayGSM_Read,
                             Kel_P_Serial_GatewayGSM_Clear_Buffer>(kelScope, pVariant, pSerialContext,
                                                                   pSerialChannelContext);
}

Kel_StatusCode Kel_SerialChannel_CreateContextTcpClient(Kel_TcpBridge_Context* pVariant,
                                                        Kel_P_Tcp_Context* pTcpContext,
                                                        const Kel_P_Serial_CommTimeouts* pCommTimeOuts,
                                                        Kel_SerialChannel_Context* pSerialChannelContext)
{
    // Traced under the name this function has always had in the trace, with "TCP" in capitals.
    KEL_ENTER_AS(Kel_Module_SerialChannel, "Kel_SerialChannel_CreateContextTCPClient");
    KEL_REJECT_NULL(pSerialChannelContext);
    KEL_REJECT_NULL(pTcpContext);
    KEL_REJECT_NULL(pVariant);
    KEL_REJECT_NULL(pCommTimeOuts);
    pVariant->pTcpContext = pTcpContext;
    pVariant->pCommTimeOuts = pCommTimeOuts;
    *pSerialChannelContext = Kel_SerialChannel_Context{
        .pContext = pVariant,
        .type = KEL_SERIALCHANNEL_TYPE_VARIANT,
        .pWrite = Kel_SerialChannel_Bind<Kel_P_Tcp_Serial_Bridge_Write>::Call,
        .pRead = Kel_SerialChannel_Bind<Kel_P_Tcp_Serial_Bridge_Read>::Call,
        .pClearBuffer = Kel_SerialChannel_Bind<Kel_P_Tcp_Serial_Bridge_Clear_Buffer>::Call,
    };
    KEL_EXIT(Kel_Good);
}

// RS-485 with echo.

Kel_StatusCode Kel_P_Serial_EchoRS485_Write(Kel_EchoRS485_Context* pVariant, const uint8_t* pBuffer,
                                            uint32_t aSize, uint32_t aTimeout, uint32_t* pWritten)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pVariant);
    KEL_REJECT_NULL_AS(pVariant->pSerialContext, "pSerialContext");
    KEL_REJECT_NULL(pBuffer);
    KEL_REJECT_NULL(pWritten);
    // The line's own result is not looked at: whether the request went out shows in its echo.
    Kel_P_Serial_Write(pVariant->pSerialContext, pBuffer, aSize, aTimeout, pWritten);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_EchoRS485_Read(Kel_EchoRS485_Context* pVariant, uint8_t* pBuffer, uint32_t aSize,
                                           uint32_t aTimeout, uint32_t* pBytesReaded)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pVariant);
    KEL_REJECT_NULL_AS(pVariant->pSerialContext, "pSerialContext");
    KEL_REJECT_NULL(pBuffer);
    KEL_REJECT_NULL(pBytesReaded);
    const uint32_t echoSize = pVariant->pEchoFrame != KEL_NULL && pVariant->pEchoFrameLength != KEL_NULL
                                  ? *pVariant->pEchoFrameLength
                                  : 0;
    return SerialEchoRead(kelScope, pVariant->pSerialContext, pVariant->pEchoFrame, echoSize, pBuffer, aSize,
                          aTimeout, pBytesReaded);
}

Kel_StatusCode Kel_P_Serial_EchoRS485_Clear_Buffer(Kel_EchoRS485_Context* pVariant, uint32_t aInput)
{
    KEL_ENTER(Kel_Module_Serial);
    return ClearSerialVariant(kelScope, pVariant, aInput);
}

// GSM data call with echo.

Kel_StatusCode Kel_P_Serial_EchoGSM_Write(Kel_EchoGSM_Context* pVariant, const uint8_t* pBuffer,
                                          uint32_t aSize, uint32_t aTimeout, uint32_t* pWritten)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pVariant);
    KEL_REJECT_NULL_AS(pVariant->pSerialContext, "pSerialContext");
    KEL_REJECT_NULL(pBuffer);
    KEL_REJECT_NULL(pWritten);
    if (!CopyRequest(pVariant, pBuffer, aSize))
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_Bad, strerror(errno));
    // A write the port refuses is passed up; otherwise the whole request counts as written (the echo
    // read shows whether it really went out).
    uint32_t written = 0;
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_P_Serial_Write(pVariant->pSerialContext, pVariant->sendBuffer, aSize,
                                               aTimeout, &written));
    *pWritten = aSize;
    KEL_EXIT(status);
}

Kel_StatusCode Kel_P_Serial_EchoGSM_Read(Kel_EchoGSM_Context* pVariant, uint8_t* pBuffer, uint32_t aSize,
                                         uint32_t aTimeout, uint32_t* pBytesReaded)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pVariant);
    KEL_REJECT_NULL_AS(pVariant->pSerialContext, "pSerialContext");
    KEL_REJECT_NULL(pBuffer);
    KEL_REJECT_NULL(pBytesReaded);
    return SerialEchoRead(kelScope, pVariant->pSerialContext, pVariant->sendBuffer, pVariant->sendLength,
                          pBuffer, aSize, aTimeout, pBytesReaded);
}

Kel_StatusCode Kel_P_Serial_EchoGSM_Clear_Buffer(Kel_EchoGSM_Context* pVariant, uint32_t aInput)
{
    KEL_ENTER(Kel_Module_Serial);
    return ClearSerialVariant(kelScope, pVariant, aInput);
}

// GSM gateway.

Kel_StatusCode Kel_P_Serial_GatewayGSM_Write(Kel_GatewayGSM_Context* pVariant, const uint8_t* pBuffer,
                                             uint32_t aSize, uint32_t aTimeout, uint32_t* pWritten)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pVariant);
    KEL_REJECT_NULL_AS(pVariant->pSerialContext, "pSerialContext");
    KEL_REJECT_NULL(pBuffer);
    KEL_REJECT_NULL(pWritten);
    Kel_StatusCode status = Kel_Good;
    if (pVariant->port == 0)
    {
        // The gateway's own dialogue goes raw.
        KEL_GOTO_IF_BAD(status,
                        Kel_P_Serial_Write(pVariant->pSerialContext, pBuffer, aSize, aTimeout, pWritten));
        KEL_EXIT(status);
    }
    // A request over 64 bytes has no packet: it fails here and nothing is sent (a packet around it
    // would not fit the 73-byte packet buffer).
    if (aSize > Q310_SEND_DATA_SIZE)
    {
        errno = ERANGE;
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_Bad, strerror(errno));
    }
    ++pVariant->packetNumber;
    status =
        Kel_GatewayGSM_BuildPacket(pBuffer, aSize, static_cast<uint16_t>(pVariant->packetNumber & 0xFFFFu),
                                   pVariant->port, pVariant->sendBuffer, sizeof(pVariant->sendBuffer));
    if (Kel_IsBad(status))
        return Kel_Trace_ExitBadError(kelScope, __LINE__, status, strerror(errno));
    const uint32_t packetSize = aSize + Q310_GATEWAY_OVERHEAD;
    KEL_TRACE_DUMP(KEL_TRACE_LEVEL_FLOW, pVariant->sendBuffer, packetSize,
                   "Kel_P_Serial_GatewayGSM_Write, Timeout=%d Data=", static_cast<int>(aTimeout));
    // A write the port refuses is passed up; a packet that went out counts as the request written.
    uint32_t written = 0;
    KEL_GOTO_IF_BAD(status, Kel_P_Serial_Write(pVariant->pSerialContext, pVariant->sendBuffer, packetSize,
                                               aTimeout, &written));
    *pWritten = aSize;
    KEL_EXIT(status);
}

Kel_StatusCode Kel_P_Serial_GatewayGSM_Read(Kel_GatewayGSM_Context* pVariant, uint8_t* pBuffer,
                                            uint32_t aSize, uint32_t aTimeout, uint32_t* pBytesReaded)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pVariant);
    KEL_REJECT_NULL_AS(pVariant->pSerialContext, "pSerialContext");
    KEL_REJECT_NULL(pBuffer);
    KEL_REJECT_NULL(pBytesReaded);
    if (pVariant->port == 0)
    {
        // The first answer of the gateway comes raw; from now on every exchange is packed.
        Kel_P_Serial_Read(pVariant->pSerialContext, pBuffer, aSize, aTimeout, pBytesReaded);
        pVariant->port = 1;
        KEL_EXIT(Kel_Good);
    }
    uint8_t answer[Q310_GATEWAY_READ_SIZE];
    uint32_t received = 0;
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status,
                    Kel_P_Serial_Read(pVariant->pSerialContext, answer, sizeof(answer), aTimeout, &received));
    *pBytesReaded = 0;
    const uint8_t packetNumberLow = pVariant->sendBuffer[3];
    status = Kel_GatewayGSM_TakeAnswer(answer, received, packetNumberLow, pBuffer, aSize, pBytesReaded);
    // An answer to another packet: refused, traced at level 4 like the differing echo.
    if (status == Kel_Bad && received >= Q310_GATEWAY_OVERHEAD && answer[3] != packetNumberLow)
        KEL_EXIT(status);
    if (status == Kel_BadCommunicationError)
        KEL_GOTO_CODE(Kel_BadCommunicationError);
    KEL_GOTO_IF_BAD(status, status);
    KEL_TRACE_DUMP(KEL_TRACE_LEVEL_FLOW, pBuffer, *pBytesReaded,
                   "Kel_P_Serial_GatewayGSM_Read, Timeout=%d Data=", static_cast<int>(aTimeout));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_P_Serial_GatewayGSM_Clear_Buffer(Kel_GatewayGSM_Context* pVariant, uint32_t aInput)
{
    KEL_ENTER(Kel_Module_Serial);
    return ClearSerialVariant(kelScope, pVariant, aInput);
}

// TCP serial bridge.

Kel_StatusCode Kel_P_Tcp_Serial_Bridge_Write(Kel_TcpBridge_Context* pVariant, const uint8_t* pBuffer,
                                             uint32_t aSize, uint32_t aTimeout, uint32_t* pWritten)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pVariant);
    KEL_REJECT_NULL_AS(pVariant->pTcpContext, "pTcpContext");
    KEL_REJECT_NULL(pBuffer);
    KEL_REJECT_NULL(pWritten);
    (void)aTimeout; // the socket layer waits by its own rule
    if (!CopyRequest(pVariant, pBuffer, aSize))
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_Bad, strerror(errno));
    const Kel_StatusCode status = Kel_P_Tcp_Write(pVariant->pTcpContext, pVariant->sendBuffer, aSize);
    if (Kel_IsBad(status))
        return Kel_Trace_ExitBadError(kelScope, __LINE__, status, strerror(errno));
    *pWritten = aSize;
    KEL_EXIT(status);
}

Kel_StatusCode Kel_P_Tcp_Serial_Bridge_Read(Kel_TcpBridge_Context* pVariant, uint8_t* pBuffer, uint32_t aSize,
                                            uint32_t aTimeout, uint32_t* pBytesReaded)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pVariant);
    KEL_REJECT_NULL_AS(pVariant->pTcpContext, "pTcpContext");
    KEL_REJECT_NULL(pBuffer);
    KEL_REJECT_NULL(pBytesReaded);
    KEL_REJECT_NULL_AS(pVariant->pCommTimeOuts, "pCommTimeOuts");
    const uint32_t socketTimeout = pVariant->pCommTimeOuts->ReadTotalTimeoutConstant;
    Kel_StatusCode status = Kel_Good;
    if (pVariant->echo == 0)
    {
        KEL_GOTO_IF_BAD(status,
                        Kel_P_Tcp_Read(pVariant->pTcpContext, socketTimeout, pBuffer, aSize, pBytesReaded));
        KEL_EXIT(status);
    }
    uint8_t received[Q310_ECHO_READ_SIZE];
    uint32_t count = 0;
    // The read's own status is not looked at: what arrived decides, through the echo removal.
    Kel_P_Tcp_Read(pVariant->pTcpContext, socketTimeout, received, sizeof(received), &count);
    return FinishEchoRead(kelScope, "Kel_P_Tcp_Serial_Bridge_Read, Timeout=%d Data=", received, count,
                          pVariant->sendBuffer, pVariant->sendLength, pBuffer, aSize, aTimeout, pBytesReaded);
}

Kel_StatusCode Kel_P_Tcp_Serial_Bridge_Clear_Buffer(Kel_TcpBridge_Context* pVariant, uint32_t aInput)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pVariant);
    KEL_REJECT_NULL_AS(pVariant->pTcpContext, "pTcpContext");
    (void)aInput; // a socket has no buffer of this layer to purge
    KEL_EXIT(Kel_Good);
}
