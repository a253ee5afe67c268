// The TCP calls that read the same on every system, compiled into each backend. Their trace lines name
// the backend's file, as the backend's own calls do.
#define KEL_TRACE_FILE "shared/src/shared/platform/" KEL_PLATFORM_NAME "/kel_p_tcp"
#include "shared/kel_trace.h"
#include "shared/platform/kel_p_tcp.h"
#include "shared/platform/kel_p_tcp_backend.h"
#include "shared/platform/kel_p_thread.h"

#include <stdio.h>
#include <string.h>

namespace
{
constexpr uint32_t WRITE_SELECT_TIMEOUT = 180000;

// A name longer than the field is cut (the address text alone may fill it).
void SetChannelName(Kel_P_Tcp_Context* pTcpContext, const char* pAddress, uint16_t aPort)
{
    char name[KEL_TCP_ADDRESS_SIZE + 8];
    snprintf(name, sizeof(name), "%s:%d", pAddress, static_cast<int>(aPort));
    const size_t length = strnlen(name, sizeof(pTcpContext->channel_name) - 1);
    memcpy(pTcpContext->channel_name, name, length);
    pTcpContext->channel_name[length] = '\0';
}
} // namespace

Kel_StatusCode Kel_P_Tcp_Create_Context(Kel_P_Tcp_Context* pTcpContext)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_NULL(pTcpContext);
    *pTcpContext = Kel_P_Tcp_Context{};
    pTcpContext->socket_fd = KEL_TCP_INVALID_SOCKET;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Tcp_Client_ReOpen(Kel_P_Tcp_Context* pTcpContext, uint32_t aDelay)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_NULL(pTcpContext);
    Kel_StatusCode status = Kel_Good;
    if (pTcpContext->ip_address[0] == '\0')
        KEL_EXIT(status);
    const Kel_P_Tcp_Context saved = *pTcpContext;
    KEL_GOTO_IF_BAD(status, Kel_P_Tcp_Close(pTcpContext));
    Kel_P_Sleep(aDelay / 2);
    KEL_GOTO_IF_BAD(status,
                    Kel_P_Tcp_Client_Create(pTcpContext, saved.ip_address, saved.tcp_port, saved.timeout));
    Kel_P_Sleep(aDelay / 2);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_P_Tcp_Client_Create(Kel_P_Tcp_Context* pTcpContext, const char* pRemoteIpAddress,
                                       uint16_t aRemoteTcpPort, uint32_t aTimeout)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_NULL(pTcpContext);
    KEL_REJECT_NULL(pRemoteIpAddress);
    KEL_REJECT_ZERO(aRemoteTcpPort);

    Kel_P_Tcp_StartClient();

    *pTcpContext = Kel_P_Tcp_Context{};
    pTcpContext->socket_fd = KEL_TCP_INVALID_SOCKET;
    pTcpContext->timeout = aTimeout;
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "Kel_P_Tcp_Client_Create - OK, ip_address=%s, tcp_port=%d, timeout=%d",
              pRemoteIpAddress, static_cast<int>(aRemoteTcpPort), static_cast<int>(aTimeout));
    snprintf(pTcpContext->ip_address, sizeof(pTcpContext->ip_address), "%s", pRemoteIpAddress);
    pTcpContext->tcp_port = aRemoteTcpPort;
    SetChannelName(pTcpContext, pTcpContext->ip_address, aRemoteTcpPort);

    // Every failure below closes the socket and leaves with Kel_BadCommunicationError.
    // The error text is taken at the failure, before any trace line can change the system's error.
    char errorText[KEL_TCP_ERROR_TEXT_SIZE];
    auto fail = [&](int aLine) -> Kel_StatusCode
    {
        Kel_P_Tcp_Close(pTcpContext);
        return Kel_Trace_ExitBadError(kelScope, aLine, Kel_BadCommunicationError, errorText);
    };

    const int32_t fd = Kel_P_Tcp_Socket();
    if (fd == KEL_TCP_INVALID_SOCKET)
    {
        Kel_P_Tcp_ErrorText(errorText, Kel_P_Tcp_LastError());
        Kel_Trace_GotoCode(kelScope, __LINE__, "Kel_BadCommunicationError", Kel_BadCommunicationError);
        return fail(__LINE__);
    }
    pTcpContext->socket_fd = fd;

    int result = Kel_P_Tcp_SetNoDelay(fd);
    if (result == KEL_TCP_SOCKET_ERROR)
    {
        Kel_P_Tcp_ErrorText(errorText, Kel_P_Tcp_LastError());
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
        return fail(__LINE__);
    }

    // The connect itself is bounded by the time-out: it runs non-blocking and is awaited below; the
    // socket is blocking again once connected. A time-out of 0 leaves the connect blocking, bounded by
    // the system alone, as the wait below could not see it complete otherwise.
    result = Kel_P_Tcp_SetNonBlocking(fd, aTimeout != 0);
    if (result > 0)
    {
        Kel_P_Tcp_ErrorText(errorText, Kel_P_Tcp_LastError());
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result > 0)");
        return fail(__LINE__);
    }

    result = Kel_P_Tcp_Connect(fd, pTcpContext->ip_address, aRemoteTcpPort);
    if (result == KEL_TCP_SOCKET_ERROR)
    {
        Kel_P_Tcp_ErrorText(errorText, Kel_P_Tcp_LastError());
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR,
                  "Kel_P_Tcp_Client_Create -  Fail, connect - Fail, channel=%s, result=%d, error=%s",
                  pTcpContext->channel_name, result, errorText);
        return fail(__LINE__);
    }

    result = Kel_P_Tcp_AwaitConnect(fd, aTimeout);
    if (result == KEL_TCP_SOCKET_ERROR)
    {
        Kel_P_Tcp_ErrorText(errorText, Kel_P_Tcp_LastError());
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR,
                  "Kel_P_Tcp_Client_Create -  Fail, select - Fail, channel=%s, result=%d, error=%s",
                  pTcpContext->channel_name, result, errorText);
        return fail(__LINE__);
    }
    if (result == 0)
    {
        Kel_P_Tcp_ErrorText(errorText, Kel_P_Tcp_TimeOutError());
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR, "Kel_P_Tcp_Client_Create -  Fail, Timeout, channel=%s",
                  pTcpContext->channel_name);
        return fail(__LINE__);
    }

    int pendingError = 0;
    result = Kel_P_Tcp_PendingError(fd, &pendingError);
    if (result == KEL_TCP_SOCKET_ERROR)
    {
        Kel_P_Tcp_ErrorText(errorText, Kel_P_Tcp_LastError());
        Kel_Trace_GotoCode(kelScope, __LINE__, "Kel_BadCommunicationError", Kel_BadCommunicationError);
        return fail(__LINE__);
    }
    // The connect that was under way failed (refused, unreachable): traced as a failed connect.
    if (pendingError != 0)
    {
        Kel_P_Tcp_ErrorText(errorText, pendingError);
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR,
                  "Kel_P_Tcp_Client_Create -  Fail, connect - Fail, channel=%s, result=%d, error=%s",
                  pTcpContext->channel_name, KEL_TCP_SOCKET_ERROR, errorText);
        return fail(__LINE__);
    }
    result = Kel_P_Tcp_SetNonBlocking(fd, false);
    if (result > 0)
    {
        Kel_P_Tcp_ErrorText(errorText, Kel_P_Tcp_LastError());
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result > 0)");
        return fail(__LINE__);
    }

    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "Kel_P_Tcp_Client_Create - OK, channel=%s, client_fd=%d",
              pTcpContext->channel_name, fd);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Tcp_Write(Kel_P_Tcp_Context* pTcpContext, const uint8_t* pData, uint32_t aCount)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_NULL(pTcpContext);
    KEL_REJECT_NULL(pData);
    KEL_REJECT_ZERO(aCount);
    const int32_t fd = pTcpContext->socket_fd;
    KEL_TRACE_DUMP(KEL_TRACE_LEVEL_FLOW, pData, aCount, "Kel_P_Tcp_WriteTo, channel=%s, client_fd=%d",
                   pTcpContext->channel_name, fd);
    uint32_t sent = 0;
    while (sent < aCount)
    {
        int result = Kel_P_Tcp_Select(fd, true, WRITE_SELECT_TIMEOUT);
        if (result != KEL_TCP_SOCKET_ERROR)
            result = Kel_P_Tcp_Send(fd, pData + sent, aCount - sent);
        if (result == KEL_TCP_SOCKET_ERROR)
        {
            Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
            KEL_EXIT_BAD(Kel_BadCommunicationError);
        }
        sent += static_cast<uint32_t>(result);
    }
    KEL_TRACE_DUMP(KEL_TRACE_LEVEL_FLOW, pData, aCount, "Kel_P_Tcp_WriteTo, channel=%s, client_fd=%d",
                   pTcpContext->channel_name, fd);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Tcp_Read(Kel_P_Tcp_Context* pTcpContext, uint32_t aTimeout, uint8_t* pBuffer,
                              uint32_t aSize, uint32_t* pCount)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_NULL(pTcpContext);
    KEL_REJECT_NULL(pBuffer);
    KEL_REJECT_NULL(pCount);
    *pCount = 0;
    const int32_t fd = pTcpContext->socket_fd;
    int result = Kel_P_Tcp_Select(fd, false, aTimeout);
    if (result == KEL_TCP_SOCKET_ERROR)
    {
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
        KEL_EXIT_BAD(Kel_BadCommunicationError);
    }
    KEL_RETURN_IF(result == 0, Kel_Good);

    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "Kel_P_Tcp_Read, Read data, channel=%s, client_fd=%d, count=%d",
              pTcpContext->channel_name, fd, static_cast<int>(aSize));
    result = Kel_P_Tcp_Recv(fd, pBuffer, aSize);
    if (result > 0)
    {
        *pCount = static_cast<uint32_t>(result);
        KEL_TRACE_DUMP(KEL_TRACE_LEVEL_FLOW, pBuffer, *pCount, "Kel_P_Tcp_Read, channel=%s, client_fd=%d",
                       pTcpContext->channel_name, fd);
        KEL_EXIT(Kel_Good);
    }
    if (result == 0)
        KEL_GOTO_CODE(Kel_BadCommunicationError);
    const char* wouldBlock = KEL_NULL;
    if (Kel_P_Tcp_WouldBlock(&wouldBlock))
        return Kel_Trace_ReturnEarly(kelScope, __LINE__, wouldBlock, Kel_Good);
    Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
    KEL_EXIT_BAD(Kel_BadCommunicationError);
}

Kel_StatusCode Kel_P_Tcp_IsConnected(Kel_P_Tcp_Context* pTcpContext, uint32_t* pIsConnected)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_NULL(pTcpContext);
    KEL_REJECT_NULL(pIsConnected);
    *pIsConnected = 0;
    if (pTcpContext->socket_fd != KEL_TCP_INVALID_SOCKET)
        *pIsConnected = Kel_P_Tcp_Select(pTcpContext->socket_fd, false, 0) != KEL_TCP_SOCKET_ERROR ? 1 : 0;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Tcp_Close(Kel_P_Tcp_Context* pTcpContext)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_NULL(pTcpContext);
    const int32_t fd = pTcpContext->socket_fd;
    pTcpContext->socket_fd = KEL_TCP_INVALID_SOCKET;
    if (fd != KEL_TCP_INVALID_SOCKET && !Kel_P_Tcp_CloseSocket(fd))
    {
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
        KEL_EXIT_BAD(Kel_BadCommunicationError);
    }
    Kel_P_Trace_Imp(Kel_Module_TcpClose, KEL_TRACE_LEVEL_FLOW, KEL_NULL, 0, kelScope.file, __LINE__,
                    "Kel_P_Tcp_Close - OK");
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Tcp_Server_Create(uint16_t aListenPort, Kel_P_Tcp_Context* pTcpContext)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_ZERO(aListenPort);
    KEL_REJECT_NULL(pTcpContext);

    Kel_P_Tcp_StartServer();

    *pTcpContext = Kel_P_Tcp_Context{};
    pTcpContext->socket_fd = KEL_TCP_INVALID_SOCKET;
    snprintf(pTcpContext->ip_address, sizeof(pTcpContext->ip_address), "0.0.0.0");
    pTcpContext->tcp_port = aListenPort;
    SetChannelName(pTcpContext, "0.0.0.0", aListenPort);

    const int32_t fd = Kel_P_Tcp_Socket();
    int result = KEL_TCP_SOCKET_ERROR;
    if (fd != KEL_TCP_INVALID_SOCKET)
    {
        pTcpContext->socket_fd = fd;
        result = Kel_P_Tcp_SetNoDelay(fd);
        if (result != KEL_TCP_SOCKET_ERROR)
            result = Kel_P_Tcp_SetReuseAddress(fd);
        if (result != KEL_TCP_SOCKET_ERROR)
            result = Kel_P_Tcp_SetNonBlocking(fd, true);
        if (result != KEL_TCP_SOCKET_ERROR)
            result = Kel_P_Tcp_Bind(fd, aListenPort);
        if (result != KEL_TCP_SOCKET_ERROR)
            result = Kel_P_Tcp_Listen(fd);
    }
    if (result == KEL_TCP_SOCKET_ERROR)
    {
        char errorText[KEL_TCP_ERROR_TEXT_SIZE];
        Kel_P_Tcp_ErrorText(errorText, Kel_P_Tcp_LastError());
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
        Kel_P_Tcp_Close(pTcpContext);
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadCommunicationError, errorText);
    }
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "Kel_P_Tcp_Server_Create - OK, channel=%s, server_fd=%d, channel=%s",
              pTcpContext->channel_name, fd, pTcpContext->channel_name);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Tcp_Server_Accept(Kel_P_Tcp_Context* pServerContext, Kel_P_Tcp_Context* pClientContext)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_NULL(pServerContext);
    KEL_REJECT_NULL(pClientContext);

    *pClientContext = Kel_P_Tcp_Context{};
    pClientContext->socket_fd = KEL_TCP_INVALID_SOCKET;
    char errorText[KEL_TCP_ERROR_TEXT_SIZE];
    // The accepted connection is named by the peer: dotted address and port, "%s:%d".
    const int32_t fd = Kel_P_Tcp_Accept(pServerContext->socket_fd, pClientContext->ip_address,
                                        sizeof(pClientContext->ip_address), &pClientContext->tcp_port);
    if (fd == KEL_TCP_INVALID_SOCKET)
    {
        Kel_P_Tcp_ErrorText(errorText, Kel_P_Tcp_LastError());
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR,
                  "Kel_P_Tcp_Server_Accept - Fail, accept - Fail, channel=%s, result=%d",
                  pServerContext->channel_name, KEL_TCP_SOCKET_ERROR);
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadCommunicationError, errorText);
    }
    pClientContext->socket_fd = fd;
    SetChannelName(pClientContext, pClientContext->ip_address, pClientContext->tcp_port);

    // The listening socket is non-blocking; the accepted one reads and writes blocking, as a client.
    int result = Kel_P_Tcp_SetNoDelay(fd);
    if (result != KEL_TCP_SOCKET_ERROR)
        result = Kel_P_Tcp_SetNonBlocking(fd, false);
    if (result == KEL_TCP_SOCKET_ERROR)
    {
        Kel_P_Tcp_ErrorText(errorText, Kel_P_Tcp_LastError());
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
        Kel_P_Tcp_Close(pClientContext);
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadCommunicationError, errorText);
    }
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW,
              "Kel_P_Tcp_Server_Accept - OK, channel=%s, server_fd=%d, client_fd=%d, client_channel=%s",
              pServerContext->channel_name, pServerContext->socket_fd, fd, pClientContext->channel_name);
    KEL_EXIT(Kel_Good);
}
