// The channel variants: an RS-485 line that echoes every request, a GSM data call whose modem echoes
// every request, a GSM gateway that wraps each request in a packet of its own, and a TCP serial
// bridge with or without echo. Each creation re-initialises a channel record in place with three
// operations (write, read, clear), type 0 and no lock. The operations use the session state.
#pragma once

#include "shared/kel_serialchannel.h"
#include "shared/platform/kel_p_serial.h"
#include "shared/platform/kel_p_tcp.h"

// A variant reads at most this many bytes in one go (echo and answer together).
constexpr uint32_t Q310_ECHO_READ_SIZE = 128;
// The gateway answer read.
constexpr uint32_t Q310_GATEWAY_READ_SIZE = 64;
// Header (CRC-24, packet number, length, port byte) and trailing data checksum of a gateway packet.
constexpr uint32_t Q310_GATEWAY_HEADER_SIZE = 8;
constexpr uint32_t Q310_GATEWAY_OVERHEAD = Q310_GATEWAY_HEADER_SIZE + 1;

Kel_StatusCode Kel_SerialChannel_CreateContext_EchoRS485(Kel_P_Serial_Context* pSerialContext,
                                                         Kel_SerialChannel_Context* pSerialChannelContext);
Kel_StatusCode Kel_SerialChannel_CreateContext_EchoGSM(Kel_P_Serial_Context* pSerialContext,
                                                       Kel_SerialChannel_Context* pSerialChannelContext);
Kel_StatusCode Kel_SerialChannel_CreateContext_GatewayGSM(Kel_P_Serial_Context* pSerialContext,
                                                          Kel_SerialChannel_Context* pSerialChannelContext);
Kel_StatusCode Kel_SerialChannel_CreateContextTcpClient(Kel_P_Tcp_Context* pTcpContext,
                                                        Kel_SerialChannel_Context* pSerialChannelContext);

// RS-485 with echo; the echo reference is the transport layer's last transmitted frame.
Kel_StatusCode Kel_P_Serial_EchoRS485_Write(Kel_P_Serial_Context* pSerialContext, const uint8_t* pBuffer,
                                            uint32_t aSize, uint32_t aTimeout, uint32_t* pWritten);
Kel_StatusCode Kel_P_Serial_EchoRS485_Read(Kel_P_Serial_Context* pSerialContext, uint8_t* pBuffer,
                                           uint32_t aSize, uint32_t aTimeout, uint32_t* pBytesReaded);
Kel_StatusCode Kel_P_Serial_EchoRS485_Clear_Buffer(Kel_P_Serial_Context* pSerialContext, uint32_t aInput);
// GSM data call with echo; the echo reference is SendBuffer and aBytesWrited.
Kel_StatusCode Kel_P_Serial_EchoGSM_Write(Kel_P_Serial_Context* pSerialContext, const uint8_t* pBuffer,
                                          uint32_t aSize, uint32_t aTimeout, uint32_t* pWritten);
Kel_StatusCode Kel_P_Serial_EchoGSM_Read(Kel_P_Serial_Context* pSerialContext, uint8_t* pBuffer,
                                         uint32_t aSize, uint32_t aTimeout, uint32_t* pBytesReaded);
Kel_StatusCode Kel_P_Serial_EchoGSM_Clear_Buffer(Kel_P_Serial_Context* pSerialContext, uint32_t aInput);
// GSM gateway: raw while PORT is 0, packets after the first raw read.
Kel_StatusCode Kel_P_Serial_GatewayGSM_Write(Kel_P_Serial_Context* pSerialContext, const uint8_t* pBuffer,
                                             uint32_t aSize, uint32_t aTimeout, uint32_t* pWritten);
Kel_StatusCode Kel_P_Serial_GatewayGSM_Read(Kel_P_Serial_Context* pSerialContext, uint8_t* pBuffer,
                                            uint32_t aSize, uint32_t aTimeout, uint32_t* pBytesReaded);
Kel_StatusCode Kel_P_Serial_GatewayGSM_Clear_Buffer(Kel_P_Serial_Context* pSerialContext, uint32_t aInput);
// TCP serial bridge; with TCPEchoFlag set the echo reference is SendBuffer and aBytesWrited.
Kel_StatusCode Kel_P_Tcp_Serial_Bridge_Write(Kel_P_Tcp_Context* pTcpContext, const uint8_t* pBuffer,
                                             uint32_t aSize, uint32_t aTimeout, uint32_t* pWritten);
Kel_StatusCode Kel_P_Tcp_Serial_Bridge_Read(Kel_P_Tcp_Context* pTcpContext, uint8_t* pBuffer, uint32_t aSize,
                                            uint32_t aTimeout, uint32_t* pBytesReaded);
Kel_StatusCode Kel_P_Tcp_Serial_Bridge_Clear_Buffer(Kel_P_Tcp_Context* pTcpContext, uint32_t aInput);

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
