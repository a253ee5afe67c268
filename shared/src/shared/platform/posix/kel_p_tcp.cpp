// TCP sockets over BSD sockets. The same calls, retry rule, time-out split and trace lines as the
// winsock layer; where winsock reports WSAEWOULDBLOCK (10035) or WSAEINPROGRESS (10036), this layer
// tests EWOULDBLOCK and EINPROGRESS.
#define KEL_TRACE_FILE "shared/src/shared/platform/posix/kel_p_tcp"
#include "shared/platform/kel_p_tcp.h"

#include "shared/kel_trace.h"
#include "shared/platform/kel_p_thread.h"

#include <arpa/inet.h>
#include <errno.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{
constexpr int SOCKET_ERROR = -1;
constexpr uint32_t WRITE_SELECT_TIMEOUT = 180000;
constexpr uint32_t TRY_AGAIN_SLEEP = 10000;
constexpr int TRY_AGAIN_ATTEMPTS = 3;
constexpr int LISTEN_BACKLOG = 32;

// The retry rule around every socket call: interrupted (4) calls again at once; "try again" (11)
// sleeps 10 s and calls again, giving up at the third such failure; any other error ends it.
template <typename Call> int Retry(Call aCall)
{
    int tryAgainFailures = 0;
    for (;;)
    {
        const int result = aCall();
        if (result != SOCKET_ERROR)
            return result;
        if (errno == EINTR)
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
    tv.tv_sec = static_cast<time_t>(aMilliseconds / 1000);
    tv.tv_usec = static_cast<suseconds_t>((aMilliseconds % 1000) * 1000);
    return tv;
}

// select on one descriptor for readability or writability. A descriptor beyond FD_SETSIZE cannot
// be put into an fd_set; it fails as a select failure would (EBADF).
int SelectOne(int aFd, bool aWrite, uint32_t aMilliseconds)
{
    if (aFd < 0 || aFd >= FD_SETSIZE)
    {
        errno = EBADF;
        return SOCKET_ERROR;
    }
    return Retry(
        [&]
        {
            fd_set fds;
            FD_ZERO(&fds);
            FD_SET(aFd, &fds);
            timeval tv = SplitTimeout(aMilliseconds);
            return select(aFd + 1, aWrite ? nullptr : &fds, aWrite ? &fds : nullptr, nullptr, &tv);
        });
}

const char* ErrorText()
{
    return strerror(errno);
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

    *pTcpContext = Kel_P_Tcp_Context{};
    pTcpContext->socket_fd = KEL_TCP_INVALID_SOCKET;
    pTcpContext->timeout = aTimeout;
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "Kel_P_Tcp_Client_Create - OK, ip_address=%s, tcp_port=%d, timeout=%d",
              pRemoteIpAddress, static_cast<int>(aRemoteTcpPort), static_cast<int>(aTimeout));
    snprintf(pTcpContext->ip_address, sizeof(pTcpContext->ip_address), "%s", pRemoteIpAddress);
    pTcpContext->tcp_port = aRemoteTcpPort;
    SetChannelName(pTcpContext, pTcpContext->ip_address, aRemoteTcpPort);

    // Every failure below closes the socket and leaves with Kel_BadCommunicationError.
    // The error number is taken at the failure, before any trace line can change it.
    int failedErrno = 0;
    auto fail = [&](int aLine) -> Kel_StatusCode
    {
        Kel_P_Tcp_Close(pTcpContext);
        return Kel_Trace_ExitBadError(kelScope, aLine, Kel_BadCommunicationError, strerror(failedErrno));
    };

    const int fd = Retry([] { return socket(AF_INET, SOCK_STREAM, 0); });
    if (fd == SOCKET_ERROR)
    {
        failedErrno = errno;
        Kel_Trace_GotoCode(kelScope, __LINE__, "Kel_BadCommunicationError", Kel_BadCommunicationError);
        return fail(__LINE__);
    }
    pTcpContext->socket_fd = fd;

    int result = 0;
    const int noDelay = 1;
    result = Retry([&] { return setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &noDelay, sizeof(noDelay)); });
    if (result == SOCKET_ERROR)
    {
        failedErrno = errno;
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
        return fail(__LINE__);
    }

    // The connect itself is bounded by the time-out: it runs non-blocking and is awaited below; the
    // socket is blocking again once connected. A time-out of 0 leaves the connect blocking, bounded by
    // the system alone, as the wait below could not see it complete otherwise.
    int nonBlocking = aTimeout != 0 ? 1 : 0;
    result = Retry([&] { return ioctl(fd, FIONBIO, &nonBlocking); });
    if (result > 0)
    {
        failedErrno = errno;
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result > 0)");
        return fail(__LINE__);
    }

    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(pTcpContext->ip_address);
    address.sin_port = htons(aRemoteTcpPort);
    result = Retry([&] { return connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)); });
    if (result == SOCKET_ERROR && errno != EINPROGRESS)
    {
        failedErrno = errno;
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR,
                  "Kel_P_Tcp_Client_Create -  Fail, connect - Fail, channel=%s, result=%d, error=%s",
                  pTcpContext->channel_name, result, strerror(failedErrno));
        return fail(__LINE__);
    }

    result = SelectOne(fd, true, aTimeout);
    if (result == SOCKET_ERROR)
    {
        failedErrno = errno;
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR,
                  "Kel_P_Tcp_Client_Create -  Fail, select - Fail, channel=%s, result=%d, error=%s",
                  pTcpContext->channel_name, result, strerror(failedErrno));
        return fail(__LINE__);
    }
    if (result == 0)
    {
        failedErrno = ETIMEDOUT;
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR, "Kel_P_Tcp_Client_Create -  Fail, Timeout, channel=%s",
                  pTcpContext->channel_name);
        return fail(__LINE__);
    }

    int pendingError = 0;
    socklen_t length = sizeof(pendingError);
    result = Retry([&] { return getsockopt(fd, SOL_SOCKET, SO_ERROR, &pendingError, &length); });
    if (result == SOCKET_ERROR)
    {
        failedErrno = errno;
        Kel_Trace_GotoCode(kelScope, __LINE__, "Kel_BadCommunicationError", Kel_BadCommunicationError);
        return fail(__LINE__);
    }
    // The connect that was under way failed (refused, unreachable): traced as a failed connect.
    if (pendingError != 0)
    {
        failedErrno = pendingError;
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR,
                  "Kel_P_Tcp_Client_Create -  Fail, connect - Fail, channel=%s, result=%d, error=%s",
                  pTcpContext->channel_name, SOCKET_ERROR, strerror(failedErrno));
        return fail(__LINE__);
    }
    nonBlocking = 0;
    result = Retry([&] { return ioctl(fd, FIONBIO, &nonBlocking); });
    if (result > 0)
    {
        failedErrno = errno;
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
    const int fd = pTcpContext->socket_fd;
    KEL_TRACE_DUMP(KEL_TRACE_LEVEL_FLOW, pData, aCount, "Kel_P_Tcp_WriteTo, channel=%s, client_fd=%d",
                   pTcpContext->channel_name, fd);
    uint32_t sent = 0;
    while (sent < aCount)
    {
        int result = SelectOne(fd, true, WRITE_SELECT_TIMEOUT);
        // MSG_NOSIGNAL: a peer that has gone gives a failed send, not a SIGPIPE that ends the host.
        if (result != SOCKET_ERROR)
            result =
                Retry([&] { return static_cast<int>(send(fd, pData + sent, aCount - sent, MSG_NOSIGNAL)); });
        if (result == SOCKET_ERROR)
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
    const int fd = pTcpContext->socket_fd;
    int result = SelectOne(fd, false, aTimeout);
    if (result == SOCKET_ERROR)
    {
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
        KEL_EXIT_BAD(Kel_BadCommunicationError);
    }
    KEL_RETURN_IF(result == 0, Kel_Good);

    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "Kel_P_Tcp_Read, Read data, channel=%s, client_fd=%d, count=%d",
              pTcpContext->channel_name, fd, static_cast<int>(aSize));
    result = Retry([&] { return static_cast<int>(recv(fd, pBuffer, aSize, 0)); });
    if (result > 0)
    {
        *pCount = static_cast<uint32_t>(result);
        KEL_TRACE_DUMP(KEL_TRACE_LEVEL_FLOW, pBuffer, *pCount, "Kel_P_Tcp_Read, channel=%s, client_fd=%d",
                       pTcpContext->channel_name, fd);
        KEL_EXIT(Kel_Good);
    }
    if (result == 0)
        KEL_GOTO_CODE(Kel_BadCommunicationError);
    const int error_code = errno;
    KEL_RETURN_IF(error_code == EWOULDBLOCK, Kel_Good);
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
        *pIsConnected = SelectOne(pTcpContext->socket_fd, false, 0) != SOCKET_ERROR ? 1 : 0;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Tcp_Close(Kel_P_Tcp_Context* pTcpContext)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_NULL(pTcpContext);
    const int fd = pTcpContext->socket_fd;
    pTcpContext->socket_fd = KEL_TCP_INVALID_SOCKET;
    if (fd != KEL_TCP_INVALID_SOCKET)
    {
        // close is not called again after EINTR: Linux releases the descriptor even then, and a
        // second close could hit a descriptor that another thread has been given meanwhile.
        const int result = close(fd);
        if (result == SOCKET_ERROR && errno != EINTR)
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

    *pTcpContext = Kel_P_Tcp_Context{};
    pTcpContext->socket_fd = KEL_TCP_INVALID_SOCKET;
    snprintf(pTcpContext->ip_address, sizeof(pTcpContext->ip_address), "0.0.0.0");
    pTcpContext->tcp_port = aListenPort;
    SetChannelName(pTcpContext, "0.0.0.0", aListenPort);

    const int fd = Retry([] { return socket(AF_INET, SOCK_STREAM, 0); });
    int result = fd;
    if (fd != SOCKET_ERROR)
    {
        pTcpContext->socket_fd = fd;
        const int on = 1;
        result = Retry([&] { return setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on)); });
        if (result != SOCKET_ERROR)
            result = Retry([&] { return setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)); });
        int nonBlocking = 1;
        if (result != SOCKET_ERROR)
            result = Retry([&] { return ioctl(fd, FIONBIO, &nonBlocking); });
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
        char errorText[128];
        snprintf(errorText, sizeof(errorText), "%s", ErrorText());
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
    sockaddr_in peer{};
    socklen_t length = sizeof(peer);
    const int fd =
        Retry([&] { return accept(pServerContext->socket_fd, reinterpret_cast<sockaddr*>(&peer), &length); });
    if (fd == SOCKET_ERROR)
    {
        char errorText[128];
        snprintf(errorText, sizeof(errorText), "%s", ErrorText());
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR,
                  "Kel_P_Tcp_Server_Accept - Fail, accept - Fail, channel=%s, result=%d",
                  pServerContext->channel_name, fd);
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadCommunicationError, errorText);
    }
    pClientContext->socket_fd = fd;
    // The accepted connection is named by the peer: dotted address and port, "%s:%d".
    inet_ntop(AF_INET, &peer.sin_addr, pClientContext->ip_address, sizeof(pClientContext->ip_address));
    pClientContext->tcp_port = ntohs(peer.sin_port);
    SetChannelName(pClientContext, pClientContext->ip_address, pClientContext->tcp_port);

    const int on = 1;
    int result = Retry([&] { return setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on)); });
    // The listening socket is non-blocking; the accepted one reads and writes blocking, as a client.
    int nonBlocking = 0;
    if (result != SOCKET_ERROR)
        result = Retry([&] { return ioctl(fd, FIONBIO, &nonBlocking); });
    if (result == SOCKET_ERROR)
    {
        char errorText[128];
        snprintf(errorText, sizeof(errorText), "%s", ErrorText());
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result == SOCKET_ERROR)");
        Kel_P_Tcp_Close(pClientContext);
        return Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadCommunicationError, errorText);
    }
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW,
              "Kel_P_Tcp_Server_Accept - OK, channel=%s, server_fd=%d, client_fd=%d, client_channel=%s",
              pServerContext->channel_name, pServerContext->socket_fd, fd, pClientContext->channel_name);
    KEL_EXIT(Kel_Good);
}
