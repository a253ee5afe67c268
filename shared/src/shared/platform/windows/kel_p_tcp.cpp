// TCP sockets over winsock. Server_Create starts the socket library itself (WSAStartup 2.2, and
// WSACleanup when that fails); a process that only connects as a client gets the library started
// once, before its first Client_Create.
#define KEL_TRACE_FILE "shared/src/shared/platform/windows/kel_p_tcp"
#include "shared/platform/kel_p_tcp.h"

#include "shared/kel_trace.h"
#include "shared/platform/kel_p_thread.h"

#include <winsock2.h>
#include <ws2tcpip.h>
#include <windows.h>

#include <errno.h>
#include <mutex>
#include <stdio.h>
#include <string.h>

namespace
{
constexpr uint32_t WRITE_SELECT_TIMEOUT = 180000;
constexpr uint32_t TRY_AGAIN_SLEEP = 10000;
constexpr int TRY_AGAIN_ATTEMPTS = 3;
constexpr int LISTEN_BACKLOG = 32;
constexpr int ERROR_TEXT_SIZE = 128;

std::once_flag clientStartup;

void StartSocketLibrary()
{
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0)
        WSACleanup();
}

// The retry rule around every socket call: interrupted (4) calls again at once; "try again" (11)
// sleeps 10 s and calls again, giving up at the third such failure; any other error ends it.
// Winsock reports its errors through WSAGetLastError, not the C library's error number: WSAEINTR
// counts as interrupted. Winsock has no "try again" besides WSAEWOULDBLOCK, which Read and connect
// handle themselves, so the 10 s retry is left to the C library's own EAGAIN.
template <typename Call> int Retry(Call aCall)
{
    int tryAgainFailures = 0;
    for (;;)
    {
        errno = 0;
        const int result = aCall();
        if (result != SOCKET_ERROR)
            return result;
        if (WSAGetLastError() == WSAEINTR || errno == EINTR)
            continue;
        if (errno == EAGAIN && ++tryAgainFailures < TRY_AGAIN_ATTEMPTS)
        {
            Kel_P_Sleep(TRY_AGAIN_SLEEP);
            continue;
        }
        return result;
    }
}

// A time-out in milliseconds as select takes it: seconds and microseconds.
timeval SplitTimeout(uint32_t aMilliseconds)
{
    timeval tv{};
    tv.tv_sec = static_cast<long>(aMilliseconds / 1000);
    tv.tv_usec = static_cast<long>((aMilliseconds % 1000) * 1000);
    return tv;
}

int SelectOne(SOCKET aSocket, bool aWrite, uint32_t aMilliseconds)
{
    return Retry(
        [&]
        {
            fd_set fds;
            FD_ZERO(&fds);
            FD_SET(aSocket, &fds);
            timeval tv = SplitTimeout(aMilliseconds);
            return select(0, aWrite ? nullptr : &fds, aWrite ? &fds : nullptr, nullptr, &tv);
        });
}

// The wait for a connect under way: writable once connected; a connect that failed shows in the
// exception set (winsock does not mark it writable), and its error is read through SO_ERROR after.
int AwaitConnect(SOCKET aSocket, uint32_t aMilliseconds)
{
    return Retry(
        [&]
        {
            fd_set writable;
            fd_set failed;
            FD_ZERO(&writable);
            FD_ZERO(&failed);
            FD_SET(aSocket, &writable);
            FD_SET(aSocket, &failed);
            timeval tv = SplitTimeout(aMilliseconds);
            return select(0, nullptr, &writable, &failed, &tv);
        });
}

// The error text of trace lines: the system's message for the last winsock error (the C library's
// error number says nothing about a failed socket call on this platform).
void ErrorText(char (&aText)[ERROR_TEXT_SIZE])
{
    const int error = WSAGetLastError();
    const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                        static_cast<DWORD>(error), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                                        aText, ERROR_TEXT_SIZE, nullptr);
    if (length == 0)
        snprintf(aText, ERROR_TEXT_SIZE, "error %d", error);
    // Without the message's own line end and full stop: the trace line adds its own.
    size_t end = strlen(aText);
    while (end > 0 && (aText[end - 1] == '\r' || aText[end - 1] == '\n' || aText[end - 1] == '.'))
        aText[--end] = '\0';
}

SOCKET ToSocket(int32_t aFd)
{
    return static_cast<SOCKET>(static_cast<uint32_t>(aFd));
}
int32_t FromSocket(SOCKET aSocket)
{
    return static_cast<int32_t>(static_cast<uint32_t>(aSocket));
}

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

Kel_StatusCode Kel_P_Tcp_Client_Create(Kel_P_Tcp_Context* pTcpContext, const char* pRemoteIpAddress,
                                       uint16_t aRemoteTcpPort, uint32_t aTimeout)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_NULL(pTcpContext);
    KEL_REJECT_NULL(pRemoteIpAddress);
    KEL_REJECT_ZERO(aRemoteTcpPort);

    std::call_once(clientStartup, StartSocketLibrary);

    *pTcpContext = Kel_P_Tcp_Context{};
    pTcpContext->socket_fd = KEL_TCP_INVALID_SOCKET;
    pTcpContext->timeout = aTimeout;
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "Kel_P_Tcp_Client_Create - OK, ip_address=%s, tcp_port=%d, timeout=%d",
              pRemoteIpAddress, static_cast<int>(aRemoteTcpPort), static_cast<int>(aTimeout));
    snprintf(pTcpContext->ip_address, sizeof(pTcpContext->ip_address), "%s", pRemoteIpAddress);
    pTcpContext->tcp_port = aRemoteTcpPort;
    SetChannelName(pTcpContext, pTcpContext->ip_address, aRemoteTcpPort);

    char errorText[ERROR_TEXT_SIZE];
    // Every failure below closes the socket and leaves with Kel_BadCommunicationError.
    auto fail = [&](int aLine) -> Kel_StatusCode
    {
        Kel_P_Tcp_Close(pTcpContext);
        return Kel_Trace_ExitBadError(kelScope, aLine, Kel_BadCommunicationError, errorText);
    };

    const SOCKET fd = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    if (fd == INVALID_SOCKET)
    {
        ErrorText(errorText);
        Kel_Trace_GotoCode(kelScope, __LINE__, "Kel_BadCommunicationError", Kel_BadCommunicationError);
        return fail(__LINE__);
    }
    pTcpContext->socket_fd = FromSocket(fd);

    int result = 0;
    const BOOL noDelay = TRUE;
    result = Retry(
        [&]
        {
            return setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&noDelay),
                              sizeof(noDelay));
        });
    if (result == SOCKET_ERROR)
    {
        ErrorText(errorText);
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
        return fail(__LINE__);
    }

    // The connect itself is bounded by the time-out: it runs non-blocking and is awaited below; the
    // socket is blocking again once connected. A time-out of 0 leaves the connect blocking, bounded by
    // the system alone, as the wait below could not see it complete otherwise.
    u_long nonBlocking = aTimeout != 0 ? 1 : 0;
    result = Retry([&] { return ioctlsocket(fd, FIONBIO, &nonBlocking); });
    if (result > 0)
    {
        ErrorText(errorText);
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result > 0)");
        return fail(__LINE__);
    }

    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(pTcpContext->ip_address);
    address.sin_port = htons(aRemoteTcpPort);
    result = Retry([&] { return connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)); });
    // A non-blocking connect that is under way reports WSAEWOULDBLOCK (10035) or WSAEINPROGRESS (10036).
    if (result == SOCKET_ERROR && WSAGetLastError() != WSAEINPROGRESS && WSAGetLastError() != WSAEWOULDBLOCK)
    {
        ErrorText(errorText);
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR,
                  "Kel_P_Tcp_Client_Create -  Fail, connect - Fail, channel=%s, result=%d, error=%s",
                  pTcpContext->channel_name, result, errorText);
        return fail(__LINE__);
    }

    result = AwaitConnect(fd, aTimeout);
    if (result == SOCKET_ERROR)
    {
        ErrorText(errorText);
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR,
                  "Kel_P_Tcp_Client_Create -  Fail, select - Fail, channel=%s, result=%d, error=%s",
                  pTcpContext->channel_name, result, errorText);
        return fail(__LINE__);
    }
    if (result == 0)
    {
        WSASetLastError(WSAETIMEDOUT);
        ErrorText(errorText);
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR, "Kel_P_Tcp_Client_Create -  Fail, Timeout, channel=%s",
                  pTcpContext->channel_name);
        return fail(__LINE__);
    }

    int pendingError = 0;
    int length = sizeof(pendingError);
    result = Retry(
        [&]
        { return getsockopt(fd, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&pendingError), &length); });
    if (result == SOCKET_ERROR)
    {
        ErrorText(errorText);
        Kel_Trace_GotoCode(kelScope, __LINE__, "Kel_BadCommunicationError", Kel_BadCommunicationError);
        return fail(__LINE__);
    }
    // The connect that was under way failed (refused, unreachable): traced as a failed connect.
    if (pendingError != 0)
    {
        WSASetLastError(pendingError);
        ErrorText(errorText);
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR,
                  "Kel_P_Tcp_Client_Create -  Fail, connect - Fail, channel=%s, result=%d, error=%s",
                  pTcpContext->channel_name, SOCKET_ERROR, errorText);
        return fail(__LINE__);
    }
    nonBlocking = 0;
    result = Retry([&] { return ioctlsocket(fd, FIONBIO, &nonBlocking); });
    if (result > 0)
    {
        ErrorText(errorText);
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result > 0)");
        return fail(__LINE__);
    }

    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "Kel_P_Tcp_Client_Create - OK, channel=%s, client_fd=%d",
              pTcpContext->channel_name, pTcpContext->socket_fd);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Tcp_Write(Kel_P_Tcp_Context* pTcpContext, const uint8_t* pData, uint32_t aCount)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_NULL(pTcpContext);
    KEL_REJECT_NULL(pData);
    KEL_REJECT_ZERO(aCount);
    const SOCKET fd = ToSocket(pTcpContext->socket_fd);
    KEL_TRACE_DUMP(KEL_TRACE_LEVEL_FLOW, pData, aCount, "Kel_P_Tcp_WriteTo, channel=%s, client_fd=%d",
                   pTcpContext->channel_name, pTcpContext->socket_fd);
    uint32_t sent = 0;
    while (sent < aCount)
    {
        int result = SelectOne(fd, true, WRITE_SELECT_TIMEOUT);
        if (result != SOCKET_ERROR)
            result = Retry(
                [&] {
                    return send(fd, reinterpret_cast<const char*>(pData + sent),
                                static_cast<int>(aCount - sent), 0);
                });
        if (result == SOCKET_ERROR)
        {
            Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
            KEL_EXIT_BAD(Kel_BadCommunicationError);
        }
        sent += static_cast<uint32_t>(result);
    }
    KEL_TRACE_DUMP(KEL_TRACE_LEVEL_FLOW, pData, aCount, "Kel_P_Tcp_WriteTo, channel=%s, client_fd=%d",
                   pTcpContext->channel_name, pTcpContext->socket_fd);
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
    const SOCKET fd = ToSocket(pTcpContext->socket_fd);
    int result = SelectOne(fd, false, aTimeout);
    if (result == SOCKET_ERROR)
    {
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
        KEL_EXIT_BAD(Kel_BadCommunicationError);
    }
    KEL_RETURN_IF(result == 0, Kel_Good);

    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "Kel_P_Tcp_Read, Read data, channel=%s, client_fd=%d, count=%d",
              pTcpContext->channel_name, pTcpContext->socket_fd, static_cast<int>(aSize));
    result = Retry([&] { return recv(fd, reinterpret_cast<char*>(pBuffer), static_cast<int>(aSize), 0); });
    if (result > 0)
    {
        *pCount = static_cast<uint32_t>(result);
        KEL_TRACE_DUMP(KEL_TRACE_LEVEL_FLOW, pBuffer, *pCount, "Kel_P_Tcp_Read, channel=%s, client_fd=%d",
                       pTcpContext->channel_name, pTcpContext->socket_fd);
        KEL_EXIT(Kel_Good);
    }
    if (result == 0)
        KEL_GOTO_CODE(Kel_BadCommunicationError);
    const int error_code = WSAGetLastError();
    KEL_RETURN_IF(error_code == WSAEWOULDBLOCK, Kel_Good);
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
        *pIsConnected = SelectOne(ToSocket(pTcpContext->socket_fd), false, 0) != SOCKET_ERROR ? 1 : 0;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Tcp_Close(Kel_P_Tcp_Context* pTcpContext)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_NULL(pTcpContext);
    const int32_t fd = pTcpContext->socket_fd;
    pTcpContext->socket_fd = KEL_TCP_INVALID_SOCKET;
    if (fd != KEL_TCP_INVALID_SOCKET)
    {
        const int result = Retry([&] { return closesocket(ToSocket(fd)); });
        if (result == SOCKET_ERROR)
        {
            Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
            KEL_EXIT_BAD(Kel_BadCommunicationError);
        }
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

    StartSocketLibrary();

    *pTcpContext = Kel_P_Tcp_Context{};
    pTcpContext->socket_fd = KEL_TCP_INVALID_SOCKET;
    snprintf(pTcpContext->ip_address, sizeof(pTcpContext->ip_address), "0.0.0.0");
    pTcpContext->tcp_port = aListenPort;
    SetChannelName(pTcpContext, "0.0.0.0", aListenPort);

    const SOCKET fd = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    int result = fd == INVALID_SOCKET ? SOCKET_ERROR : 0;
    if (fd != INVALID_SOCKET)
    {
        pTcpContext->socket_fd = FromSocket(fd);
        const BOOL on = TRUE;
        result = Retry(
            [&] {
                return setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on),
                                  sizeof(on));
            });
        if (result != SOCKET_ERROR)
            result = Retry(
                [&] {
                    return setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char*>(&on),
                                      sizeof(on));
                });
        u_long nonBlocking = 1;
        if (result != SOCKET_ERROR)
            result = Retry([&] { return ioctlsocket(fd, FIONBIO, &nonBlocking); });
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_ANY);
        address.sin_port = htons(aListenPort);
        if (result != SOCKET_ERROR)
            result =
                Retry([&] { return bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)); });
        if (result != SOCKET_ERROR)
            result = Retry([&] { return listen(fd, LISTEN_BACKLOG); });
    }
    if (result == SOCKET_ERROR)
    {
        char errorText[ERROR_TEXT_SIZE];
        ErrorText(errorText);
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
        Kel_P_Tcp_Close(pTcpContext);
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadCommunicationError, errorText);
    }
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "Kel_P_Tcp_Server_Create - OK, channel=%s, server_fd=%d, channel=%s",
              pTcpContext->channel_name, pTcpContext->socket_fd, pTcpContext->channel_name);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Tcp_Server_Accept(Kel_P_Tcp_Context* pServerContext, Kel_P_Tcp_Context* pClientContext)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_NULL(pServerContext);
    KEL_REJECT_NULL(pClientContext);

    *pClientContext = Kel_P_Tcp_Context{};
    pClientContext->socket_fd = KEL_TCP_INVALID_SOCKET;
    sockaddr_in peer{};
    int length = sizeof(peer);
    const SOCKET fd =
        accept(ToSocket(pServerContext->socket_fd), reinterpret_cast<sockaddr*>(&peer), &length);
    if (fd == INVALID_SOCKET)
    {
        char errorText[ERROR_TEXT_SIZE];
        ErrorText(errorText);
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR,
                  "Kel_P_Tcp_Server_Accept - Fail, accept - Fail, channel=%s, result=%d",
                  pServerContext->channel_name, SOCKET_ERROR);
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadCommunicationError, errorText);
    }
    pClientContext->socket_fd = FromSocket(fd);
    // The accepted connection is named by the peer: dotted address and port, "%s:%d".
    snprintf(pClientContext->ip_address, sizeof(pClientContext->ip_address), "%s", inet_ntoa(peer.sin_addr));
    pClientContext->tcp_port = ntohs(peer.sin_port);
    SetChannelName(pClientContext, pClientContext->ip_address, pClientContext->tcp_port);

    const BOOL on = TRUE;
    int result = Retry(
        [&]
        { return setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof(on)); });
    // An accepted socket inherits the listener's non-blocking mode; it reads and writes blocking,
    // as a client's socket does.
    u_long nonBlocking = 0;
    if (result != SOCKET_ERROR)
        result = Retry([&] { return ioctlsocket(fd, FIONBIO, &nonBlocking); });
    if (result == SOCKET_ERROR)
    {
        char errorText[ERROR_TEXT_SIZE];
        ErrorText(errorText);
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
        Kel_P_Tcp_Close(pClientContext);
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadCommunicationError, errorText);
    }
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW,
              "Kel_P_Tcp_Server_Accept - OK, channel=%s, server_fd=%d, client_fd=%d, client_channel=%s",
              pServerContext->channel_name, pServerContext->socket_fd, pClientContext->socket_fd,
              pClientContext->channel_name);
    KEL_EXIT(Kel_Good);
}
