// TCP sockets over BSD sockets. The same calls, retry rule, time-out split and trace lines as the
// winsock layer; where winsock reports WSAEWOULDBLOCK (10035) or WSAEINPROGRESS (10036), this layer
// tests EWOULDBLOCK and EINPROGRESS.
#define KEL_TRACE_FILE "shared/src/shared/platform/posix/kel_p_tcp"
#include "shared/platform/kel_p_tcp.h"
#include "shared/platform/kel_p_tcp_backend.h"

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
constexpr int SOCKET_ERROR = KEL_TCP_SOCKET_ERROR;
constexpr int LISTEN_BACKLOG = 32;

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
    return Kel_P_Tcp_Retry(
        [&]
        {
            fd_set fds;
            FD_ZERO(&fds);
            FD_SET(aFd, &fds);
            timeval tv = SplitTimeout(aMilliseconds);
            return select(aFd + 1, aWrite ? nullptr : &fds, aWrite ? &fds : nullptr, nullptr, &tv);
        });
}

} // namespace

bool Kel_P_Tcp_Interrupted()
{
    return errno == EINTR;
}

void Kel_P_Tcp_StartClient() {}

void Kel_P_Tcp_StartServer() {}

int Kel_P_Tcp_LastError()
{
    return errno;
}

int Kel_P_Tcp_TimeOutError()
{
    return ETIMEDOUT;
}

void Kel_P_Tcp_ErrorText(char (&aText)[KEL_TCP_ERROR_TEXT_SIZE], int aError)
{
    snprintf(aText, sizeof(aText), "%s", strerror(aError));
}

int32_t Kel_P_Tcp_Socket()
{
    return Kel_P_Tcp_Retry([] { return socket(AF_INET, SOCK_STREAM, 0); });
}

int Kel_P_Tcp_SetNoDelay(int32_t aSocket)
{
    const int on = 1;
    return Kel_P_Tcp_Retry([&] { return setsockopt(aSocket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on)); });
}

int Kel_P_Tcp_SetNonBlocking(int32_t aSocket, bool aNonBlocking)
{
    int nonBlocking = aNonBlocking ? 1 : 0;
    return Kel_P_Tcp_Retry([&] { return ioctl(aSocket, FIONBIO, &nonBlocking); });
}

int Kel_P_Tcp_Connect(int32_t aSocket, const char* pAddress, uint16_t aPort)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(pAddress);
    address.sin_port = htons(aPort);
    const int result = Kel_P_Tcp_Retry(
        [&] { return connect(aSocket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)); });
    return result == SOCKET_ERROR && errno == EINPROGRESS ? 0 : result;
}

int Kel_P_Tcp_AwaitConnect(int32_t aSocket, uint32_t aMilliseconds)
{
    return SelectOne(aSocket, true, aMilliseconds);
}

int Kel_P_Tcp_PendingError(int32_t aSocket, int* pError)
{
    socklen_t length = sizeof(*pError);
    return Kel_P_Tcp_Retry([&] { return getsockopt(aSocket, SOL_SOCKET, SO_ERROR, pError, &length); });
}

int Kel_P_Tcp_Select(int32_t aSocket, bool aWrite, uint32_t aMilliseconds)
{
    return SelectOne(aSocket, aWrite, aMilliseconds);
}

// MSG_NOSIGNAL: a peer that has gone gives a failed send, not a SIGPIPE that ends the host.
int Kel_P_Tcp_Send(int32_t aSocket, const uint8_t* pData, uint32_t aCount)
{
    return Kel_P_Tcp_Retry([&] { return static_cast<int>(send(aSocket, pData, aCount, MSG_NOSIGNAL)); });
}

int Kel_P_Tcp_Recv(int32_t aSocket, uint8_t* pBuffer, uint32_t aSize)
{
    return Kel_P_Tcp_Retry([&] { return static_cast<int>(recv(aSocket, pBuffer, aSize, 0)); });
}

bool Kel_P_Tcp_WouldBlock(const char** pExpression)
{
    const int error_code = errno;
    *pExpression = "error_code == EWOULDBLOCK";
    return error_code == EWOULDBLOCK;
}

// close is not called again after EINTR: Linux releases the descriptor even then, and a second close
// could hit a descriptor that another thread has been given meanwhile.
bool Kel_P_Tcp_CloseSocket(int32_t aSocket)
{
    const int result = close(aSocket);
    return !(result == SOCKET_ERROR && errno != EINTR);
}

int Kel_P_Tcp_SetReuseAddress(int32_t aSocket)
{
    const int on = 1;
    return Kel_P_Tcp_Retry([&] { return setsockopt(aSocket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)); });
}

int Kel_P_Tcp_Bind(int32_t aSocket, uint16_t aPort)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(aPort);
    return Kel_P_Tcp_Retry(
        [&] { return bind(aSocket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)); });
}

int Kel_P_Tcp_Listen(int32_t aSocket)
{
    return Kel_P_Tcp_Retry([&] { return listen(aSocket, LISTEN_BACKLOG); });
}

int32_t Kel_P_Tcp_Accept(int32_t aServerSocket, char* pAddress, size_t aAddressSize, uint16_t* pPort)
{
    sockaddr_in peer{};
    socklen_t length = sizeof(peer);
    const int fd =
        Kel_P_Tcp_Retry([&] { return accept(aServerSocket, reinterpret_cast<sockaddr*>(&peer), &length); });
    if (fd == SOCKET_ERROR)
        return KEL_TCP_INVALID_SOCKET;
    inet_ntop(AF_INET, &peer.sin_addr, pAddress, static_cast<socklen_t>(aAddressSize));
    *pPort = ntohs(peer.sin_port);
    return fd;
}
