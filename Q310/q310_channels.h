// The channel variants: an RS-485 line that echoes every request, a GSM data call whose modem echoes
// every request, a GSM gateway that wraps each request in a packet of its own, and a TCP serial
// bridge with or without echo. Each variant keeps its state in a record of its own, which the channel
// reaches through its context pointer; the operations work on that record alone. A creation binds the
// record to its port or socket and re-initialises a channel record in place with three operations
// (write, read, clear), type 0 and no lock; the state the record holds (packet number, port byte, echo
// flag, last request) is kept, so that it lives as long as the record's owner, not one channel.
#pragma once

#include "shared/kel_serialchannel.h"
#include "shared/platform/kel_p_serial.h"
#include "shared/platform/kel_p_tcp.h"

#include <type_traits>

// Requests copied for echo removal and gateway packets are at most 64 bytes.
constexpr uint32_t Q310_SEND_DATA_SIZE = 64;
// A gateway packet is 9 bytes longer than its data, so the buffer that holds the last packet is 73
// bytes: a whole packet around a request of 64 bytes.
constexpr uint32_t Q310_SEND_BUFFER_SIZE = Q310_SEND_DATA_SIZE + 9;
// A variant reads at most this many bytes in one go (echo and answer together).
constexpr uint32_t Q310_ECHO_READ_SIZE = 128;
// The gateway answer read.
constexpr uint32_t Q310_GATEWAY_READ_SIZE = 64;
// Header (CRC-24, packet number, length, port byte) and trailing data checksum of a gateway packet.
constexpr uint32_t Q310_GATEWAY_HEADER_SIZE = 8;
constexpr uint32_t Q310_GATEWAY_OVERHEAD = Q310_GATEWAY_HEADER_SIZE + 1;

// RS-485 with echo. The echo reference is the protocol transport's last transmitted frame and its
// length; while either pointer is null there is no reference and nothing is removed.
struct Kel_EchoRS485_Context
{
    Kel_P_Serial_Context* pSerialContext;
    const uint8_t* pEchoFrame;
    const uint32_t* pEchoFrameLength;
};

// GSM data call with echo: the copy of the last request written is the echo the modem sends back.
struct Kel_EchoGSM_Context
{
    Kel_P_Serial_Context* pSerialContext;
    uint8_t sendBuffer[Q310_SEND_DATA_SIZE];
    uint8_t sendLength;
};

// GSM gateway: raw while the port byte is 0, packets after the first raw read.
struct Kel_GatewayGSM_Context
{
    Kel_P_Serial_Context* pSerialContext;
    // 0 while the gateway's own dialogue goes raw, nonzero once packets are in use; it is the port byte
    // of every packet.
    uint8_t port;
    // Incremented before each packet, the parameter packet included.
    uint32_t packetNumber;
    // The last request packet; its byte 3 is the packet number an answer must carry.
    uint8_t sendBuffer[Q310_SEND_BUFFER_SIZE];
};

// TCP serial bridge. Its socket read waits for word 3 (ReadTotalTimeoutConstant) of the host's
// time-outs, read at each read; with the echo flag set the copy of the last request is the echo.
struct Kel_TcpBridge_Context
{
    Kel_P_Tcp_Context* pTcpContext;
    const Kel_P_Serial_CommTimeouts* pCommTimeOuts;
    uint32_t echo; // nonzero: the bridge echoes every request
    uint8_t sendBuffer[Q310_SEND_DATA_SIZE];
    uint8_t sendLength;
};

static_assert(std::is_trivially_copyable_v<Kel_EchoRS485_Context> &&
                  std::is_trivially_copyable_v<Kel_EchoGSM_Context> &&
                  std::is_trivially_copyable_v<Kel_GatewayGSM_Context> &&
                  std::is_trivially_copyable_v<Kel_TcpBridge_Context>,
              "the variant records are plain records");

// Creation: pVariant is bound to the port (or socket and time-outs) and becomes the channel's context.
Kel_StatusCode Kel_SerialChannel_CreateContext_EchoRS485(Kel_EchoRS485_Context* pVariant,
                                                         Kel_P_Serial_Context* pSerialContext,
                                                         Kel_SerialChannel_Context* pSerialChannelContext);
Kel_StatusCode Kel_SerialChannel_CreateContext_EchoGSM(Kel_EchoGSM_Context* pVariant,
                                                       Kel_P_Serial_Context* pSerialContext,
                                                       Kel_SerialChannel_Context* pSerialChannelContext);
Kel_StatusCode Kel_SerialChannel_CreateContext_GatewayGSM(Kel_GatewayGSM_Context* pVariant,
                                                          Kel_P_Serial_Context* pSerialContext,
                                                          Kel_SerialChannel_Context* pSerialChannelContext);
Kel_StatusCode Kel_SerialChannel_CreateContextTcpClient(Kel_TcpBridge_Context* pVariant,
                                                        Kel_P_Tcp_Context* pTcpContext,
                                                        const Kel_P_Serial_CommTimeouts* pCommTimeOuts,
                                                        Kel_SerialChannel_Context* pSerialChannelContext);

// The operations, each on its variant's record.
Kel_StatusCode Kel_P_Serial_EchoRS485_Write(Kel_EchoRS485_Context* pVariant, const uint8_t* pBuffer,
                                            uint32_t aSize, uint32_t aTimeout, uint32_t* pWritten);
Kel_StatusCode Kel_P_Serial_EchoRS485_Read(Kel_EchoRS485_Context* pVariant, uint8_t* pBuffer, uint32_t aSize,
                                           uint32_t aTimeout, uint32_t* pBytesReaded);
Kel_StatusCode Kel_P_Serial_EchoRS485_Clear_Buffer(Kel_EchoRS485_Context* pVariant, uint32_t aInput);
Kel_StatusCode Kel_P_Serial_EchoGSM_Write(Kel_EchoGSM_Context* pVariant, const uint8_t* pBuffer,
                                          uint32_t aSize, uint32_t aTimeout, uint32_t* pWritten);
Kel_StatusCode Kel_P_Serial_EchoGSM_Read(Kel_EchoGSM_Context* pVariant, uint8_t* pBuffer, uint32_t aSize,
                                         uint32_t aTimeout, uint32_t* pBytesReaded);
Kel_StatusCode Kel_P_Serial_EchoGSM_Clear_Buffer(Kel_EchoGSM_Context* pVariant, uint32_t aInput);
Kel_StatusCode Kel_P_Serial_GatewayGSM_Write(Kel_GatewayGSM_Context* pVariant, const uint8_t* pBuffer,
                                             uint32_t aSize, uint32_t aTimeout, uint32_t* pWritten);
Kel_StatusCode Kel_P_Serial_GatewayGSM_Read(Kel_GatewayGSM_Context* pVariant, uint8_t* pBuffer,
                                            uint32_t aSize, uint32_t aTimeout, uint32_t* pBytesReaded);
Kel_StatusCode Kel_P_Serial_GatewayGSM_Clear_Buffer(Kel_GatewayGSM_Context* pVariant, uint32_t aInput);
Kel_StatusCode Kel_P_Tcp_Serial_Bridge_Write(Kel_TcpBridge_Context* pVariant, const uint8_t* pBuffer,
                                             uint32_t aSize, uint32_t aTimeout, uint32_t* pWritten);
Kel_StatusCode Kel_P_Tcp_Serial_Bridge_Read(Kel_TcpBridge_Context* pVariant, uint8_t* pBuffer, uint32_t aSize,
                                            uint32_t aTimeout, uint32_t* pBytesReaded);
Kel_StatusCode Kel_P_Tcp_Serial_Bridge_Clear_Buffer(Kel_TcpBridge_Context* pVariant, uint32_t aInput);

// The gateway packet codec and the echo removal, without tracing.

// OpenPGP CRC-24 (polynomial 0x864CFB, initial value 0xB704CE, most significant bit first, no final XOR).
uint32_t Kel_GatewayGSM_CRC24(const uint8_t* pData, uint32_t aCount);
// Data checksum of a packet: the sum of the bytes modulo 256, minus 1, kept to 8 bits.
uint8_t Kel_GatewayGSM_DataChecksum(const uint8_t* pData, uint32_t aCount);
// Builds the packet of aCount data bytes (at most 64) into pPacket (at least aCount + 9 bytes):
// CRC-24 of bytes 3..7 low byte first, packet number and length little-endian, port byte, data, data
// checksum. Returns Kel_Bad, building nothing, when the data does not fit.
Kel_StatusCode Kel_GatewayGSM_BuildPacket(const uint8_t* pData, uint32_t aCount, uint16_t aPacketNumber,
                                          uint8_t aPort, uint8_t* pPacket, uint32_t aPacketSize);
// Takes the data of a gateway answer (bytes 8 to the one before the last) into pBuffer when its byte 3
// (packet number, low byte) is aPacketNumberLow: Kel_Bad for another packet number,
// Kel_BadCommunicationError for an answer shorter than a packet, Kel_Bad when the data does not fit.
Kel_StatusCode Kel_GatewayGSM_TakeAnswer(const uint8_t* pAnswer, uint32_t aReceived, uint8_t aPacketNumberLow,
                                         uint8_t* pBuffer, uint32_t aSize, uint32_t* pBytesReaded);
// Echo removal: the first aEchoSize received bytes must equal pEcho (Kel_Bad otherwise); the bytes after
// them go to pBuffer. Fewer bytes than the echo: Kel_BadCommunicationError, nothing copied. More answer
// bytes than pBuffer holds: Kel_Bad.
Kel_StatusCode Kel_Echo_Remove(const uint8_t* pReceived, uint32_t aReceived, const uint8_t* pEcho,
                               uint32_t aEchoSize, uint8_t* pBuffer, uint32_t aSize, uint32_t* pBytesReaded);
