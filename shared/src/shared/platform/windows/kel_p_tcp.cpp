// TCP sockets over winsock. Server_Create starts the socket library itself (WSAStartup 2.2, and
// WSACleanup when that fails); a process that only connects as a client gets the library started
// once, before its first Client_Create.
#define KEL_TRACE_FILE "shared/src/shared/platform/windows/kel_p_tcp"
#include "shared/platform/kel_p_tcp.h"
#include "shared/platform/kel_p_tcp_backend.h"

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
constexpr int LISTEN_BACKLOG = 32;
constexpr int ERROR_TEXT_SIZE = KEL_TCP_ERROR_TEXT_SIZE;

std::once_flag clientStartup;

void StartSocketLibrary()
{
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0)
        WSACleanup();
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
    return Kel_P_Tcp_Retry(
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
    return Kel_P_Tcp_Retry(
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

// The error text of trace lines: the system's message for a winsock error (the C library's error
// number says nothing about a failed socket call on this platform). The error becomes the last one.
void ErrorText(char (&aText)[ERROR_TEXT_SIZE], int aError)
{
    WSASetLastError(aError);
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

} // namespace

// Winsock reports its errors through WSAGetLastError, not the C library's error number: WSAEINTR counts
// as interrupted. Winsock has no "try again" besides WSAEWOULDBLOCK, which Read and connect handle
// themselves, so the 10 s retry is left to the C library's own EAGAIN.
bool Kel_P_Tcp_Interrupted()
{
    return WSAGetLastError() == WSAEINTR || errno == EINTR;
}

void Kel_P_Tcp_StartClient()
{
    std::call_once(clientStartup, StartSocketLibrary);
}

void Kel_P_Tcp_StartServer()
{
    StartSocketLibrary();
}

int Kel_P_Tcp_LastError()
{
    return WSAGetLastError();
}

int Kel_P_Tcp_TimeOutError()
{
    return WSAETIMEDOUT;
}

void Kel_P_Tcp_ErrorText(char (&aText)[KEL_TCP_ERROR_TEXT_SIZE], int aError)
{
    ErrorText(aText, aError);
}

int32_t Kel_P_Tcp_Socket()
{
    return FromSocket(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
}

int Kel_P_Tcp_SetNoDelay(int32_t aSocket)
{
    const BOOL on = TRUE;
    return Kel_P_Tcp_Retry(
        [&]
        {
            return setsockopt(ToSocket(aSocket), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on),
                              sizeof(on));
        });
}

int Kel_P_Tcp_SetNonBlocking(int32_t aSocket, bool aNonBlocking)
{
    u_long nonBlocking = aNonBlocking ? 1 : 0;
    return Kel_P_Tcp_Retry([&] { return ioctlsocket(ToSocket(aSocket), FIONBIO, &nonBlocking); });
}

// A non-blocking connect that is under way reports WSAEWOULDBLOCK (10035) or WSAEINPROGRESS (10036).
int Kel_P_Tcp_Connect(int32_t aSocket, const char* pAddress, uint16_t aPort)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(pAddress);
    address.sin_port = htons(aPort);
    const int result = Kel_P_Tcp_Retry(
        [&]
        { return connect(ToSocket(aSocket), reinterpret_cast<const sockaddr*>(&address), sizeof(address)); });
    if (result == SOCKET_ERROR &&
        (WSAGetLastError() == WSAEINPROGRESS || WSAGetLastError() == WSAEWOULDBLOCK))
        return 0;
    return result;
}

int Kel_P_Tcp_AwaitConnect(int32_t aSocket, uint32_t aMilliseconds)
{
    return AwaitConnect(ToSocket(aSocket), aMilliseconds);
}

int Kel_P_Tcp_PendingError(int32_t aSocket, int* pError)
{
    int length = sizeof(*pError);
    return Kel_P_Tcp_Retry(
        [&] {
            return getsockopt(ToSocket(aSocket), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(pError),
                              &length);
        });
}

int Kel_P_Tcp_Select(int32_t aSocket, bool aWrite, uint32_t aMilliseconds)
{
    return SelectOne(ToSocket(aSocket), aWrite, aMilliseconds);
}

int Kel_P_Tcp_Send(int32_t aSocket, const uint8_t* pData, uint32_t aCount)
{
    return Kel_P_Tcp_Retry(
        [&] {
            return send(ToSocket(aSocket), reinterpret_cast<const char*>(pData), static_cast<int>(aCount), 0);
        });
}

int Kel_P_Tcp_Recv(int32_t aSocket, uint8_t* pBuffer, uint32_t aSize)
{
    return Kel_P_Tcp_Retry(
        [&]
        { return recv(ToSocket(aSocket), reinterpret_cast<char*>(pBuffer), static_cast<int>(aSize), 0); });
}

bool Kel_P_Tcp_WouldBlock(const char** pExpression)
{
    const int error_code = WSAGetLastError();
    *pExpression = "error_code == WSAEWOULDBLOCK";
    return error_code == WSAEWOULDBLOCK;
}

bool Kel_P_Tcp_CloseSocket(int32_t aSocket)
{
    return Kel_P_Tcp_Retry([&] { return closesocket(ToSocket(aSocket)); }) != SOCKET_ERROR;
}

int Kel_P_Tcp_SetReuseAddress(int32_t aSocket)
{
    const BOOL on = TRUE;
    return Kel_P_Tcp_Retry(
        [&]
        {
            return setsockopt(ToSocket(aSocket), SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char*>(&on),
                              sizeof(on));
        });
}

int Kel_P_Tcp_Bind(int32_t aSocket, uint16_t aPort)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(aPort);
    return Kel_P_Tcp_Retry(
        [&]
        { return bind(ToSocket(aSocket), reinterpret_cast<const sockaddr*>(&address), sizeof(address)); });
}

int Kel_P_Tcp_Listen(int32_t aSocket)
{
    return Kel_P_Tcp_Retry([&] { return listen(ToSocket(aSocket), LISTEN_BACKLOG); });
}

// An accepted socket inherits the listener's non-blocking mode; the shared Accept makes it blocking.
int32_t Kel_P_Tcp_Accept(int32_t aServerSocket, char* pAddress, size_t aAddressSize, uint16_t* pPort)
{
    sockaddr_in peer{};
    int length = sizeof(peer);
    const SOCKET fd = accept(ToSocket(aServerSocket), reinterpret_cast<sockaddr*>(&peer), &length);
    if (fd == INVALID_SOCKET)
        return KEL_TCP_INVALID_SOCKET;
    snprintf(pAddress, aAddressSize, "%s", inet_ntoa(peer.sin_addr));
    *pPort = ntohs(peer.sin_port);
    return FromSocket(fd);
}
