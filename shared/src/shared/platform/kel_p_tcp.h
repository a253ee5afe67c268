// One TCP connection behind a caller-owned context: a client connection with a connect time-out,
// writing all bytes, reading what is there within a time-out, testing and closing the connection,
// and a listening socket that accepts clients.
#pragma once

#include "shared/kel_types.h"

constexpr uint32_t KEL_TCP_ADDRESS_SIZE = 50;
constexpr uint32_t KEL_TCP_CHANNEL_NAME_SIZE = 50;
constexpr int32_t KEL_TCP_INVALID_SOCKET = -1;

struct Kel_P_Tcp_Context
{
    // The socket descriptor, KEL_TCP_INVALID_SOCKET (-1) when closed.
    int32_t socket_fd;
    // The remote address (or the local one of a server) as given, dotted text.
    char ip_address[KEL_TCP_ADDRESS_SIZE];
    uint16_t tcp_port;
    // "%s:%d" of address and port ("0.0.0.0:%d" for a server); named in every trace line.
    char channel_name[KEL_TCP_CHANNEL_NAME_SIZE];
    // Connect time-out in milliseconds, as given to Kel_P_Tcp_Client_Create.
    uint32_t timeout;
    uint32_t reserved;
};

// Zeroes the context; the descriptor becomes -1.
Kel_StatusCode Kel_P_Tcp_Create_Context(Kel_P_Tcp_Context* pTcpContext);
// Connects to aRemoteTcpPort on the dotted IPv4 address, waiting at most aTimeout ms for the
// connection to become writable. On failure the socket is closed and the descriptor is -1.
Kel_StatusCode Kel_P_Tcp_Client_Create(Kel_P_Tcp_Context* pTcpContext, const char* pRemoteIpAddress,
                                       uint16_t aRemoteTcpPort, uint32_t aTimeout);
// Closes and connects again to the stored address, waiting aDelay/2 ms before and after the
// connect. Does nothing for a context that never had an address.
Kel_StatusCode Kel_P_Tcp_Client_ReOpen(Kel_P_Tcp_Context* pTcpContext, uint32_t aDelay);
// Sends all aCount bytes.
Kel_StatusCode Kel_P_Tcp_Write(Kel_P_Tcp_Context* pTcpContext, const uint8_t* pData, uint32_t aCount);
// Receives what arrives within aTimeout ms, at most aSize bytes, in one receive. A time-out is no
// error: Kel_Good with *pCount 0. A peer that closed gives Kel_BadCommunicationError.
Kel_StatusCode Kel_P_Tcp_Read(Kel_P_Tcp_Context* pTcpContext, uint32_t aTimeout, uint8_t* pBuffer,
                              uint32_t aSize, uint32_t* pCount);
// *pIsConnected = 1 when the descriptor is valid and a zero-time select on it succeeds.
Kel_StatusCode Kel_P_Tcp_IsConnected(Kel_P_Tcp_Context* pTcpContext, uint32_t* pIsConnected);
// Closes the socket (the descriptor is -1 afterwards); closing a closed context succeeds.
Kel_StatusCode Kel_P_Tcp_Close(Kel_P_Tcp_Context* pTcpContext);
// A non-blocking listening socket on aListenPort of every local address.
Kel_StatusCode Kel_P_Tcp_Server_Create(uint16_t aListenPort, Kel_P_Tcp_Context* pTcpContext);
// Accepts one pending connection into pClientContext, named "address:port" of the peer.
Kel_StatusCode Kel_P_Tcp_Server_Accept(Kel_P_Tcp_Context* pServerContext, Kel_P_Tcp_Context* pClientContext);
