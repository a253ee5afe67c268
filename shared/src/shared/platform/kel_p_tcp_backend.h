// What the TCP backends (posix/, windows/) and the calls they share (kel_p_tcp_common.cpp) give each
// other; not for users of the TCP layer. Each socket call applies the retry rule of its system and
// answers KEL_TCP_SOCKET_ERROR on failure, leaving the system's error for Kel_P_Tcp_LastError.
#pragma once

#include "shared/platform/kel_p_tcp.h"
#include "shared/platform/kel_p_thread.h"

#include <errno.h>

constexpr int KEL_TCP_SOCKET_ERROR = -1;
constexpr int KEL_TCP_ERROR_TEXT_SIZE = 128;
constexpr uint32_t KEL_TCP_TRY_AGAIN_SLEEP = 10000;
constexpr int KEL_TCP_TRY_AGAIN_ATTEMPTS = 3;

// True when the last failed socket call was interrupted (each system reports that its own way).
bool Kel_P_Tcp_Interrupted();

// The retry rule around every socket call: interrupted (4) calls again at once; "try again" (11)
// sleeps 10 s and calls again, giving up at the third such failure; any other error ends it.
template <typename Call> int Kel_P_Tcp_Retry(Call aCall)
{
    int tryAgainFailures = 0;
    for (;;)
    {
        errno = 0;
        const int result = aCall();
        if (result != KEL_TCP_SOCKET_ERROR)
            return result;
        if (Kel_P_Tcp_Interrupted())
            continue;
        if (errno == EAGAIN && ++tryAgainFailures < KEL_TCP_TRY_AGAIN_ATTEMPTS)
        {
            Kel_P_Sleep(KEL_TCP_TRY_AGAIN_SLEEP);
            continue;
        }
        return result;
    }
}

// Makes the socket library ready: before a client's first connect, and before every server socket.
void Kel_P_Tcp_StartClient();
void Kel_P_Tcp_StartServer();
// The system's number of the last failed socket call, and of a connect that timed out.
int Kel_P_Tcp_LastError();
int Kel_P_Tcp_TimeOutError();
// The system's text of an error number, for the error text of a failure exit.
void Kel_P_Tcp_ErrorText(char (&aText)[KEL_TCP_ERROR_TEXT_SIZE], int aError);

// A new stream socket; KEL_TCP_INVALID_SOCKET on failure.
int32_t Kel_P_Tcp_Socket();
int Kel_P_Tcp_SetNoDelay(int32_t aSocket);
int Kel_P_Tcp_SetNonBlocking(int32_t aSocket, bool aNonBlocking);
// Starts the connect to the dotted IPv4 address; a connect still under way is no failure.
int Kel_P_Tcp_Connect(int32_t aSocket, const char* pAddress, uint16_t aPort);
// Waits for the connect under way: 0 on time-out, else ready.
int Kel_P_Tcp_AwaitConnect(int32_t aSocket, uint32_t aMilliseconds);
// The error of the connect that was under way (0 when it succeeded).
int Kel_P_Tcp_PendingError(int32_t aSocket, int* pError);
// Waits for the socket to become writable (aWrite) or readable: 0 on time-out, else ready.
int Kel_P_Tcp_Select(int32_t aSocket, bool aWrite, uint32_t aMilliseconds);
int Kel_P_Tcp_Send(int32_t aSocket, const uint8_t* pData, uint32_t aCount);
int Kel_P_Tcp_Recv(int32_t aSocket, uint8_t* pBuffer, uint32_t aSize);
// True when the failed receive only found nothing to read; *pExpression is the test as the early
// return's trace line names it.
bool Kel_P_Tcp_WouldBlock(const char** pExpression);
// Closes the socket; false when that failed.
bool Kel_P_Tcp_CloseSocket(int32_t aSocket);
// A listening socket: its port may be taken again at once, it is bound to aPort of every local
// address, and it listens.
int Kel_P_Tcp_SetReuseAddress(int32_t aSocket);
int Kel_P_Tcp_Bind(int32_t aSocket, uint16_t aPort);
int Kel_P_Tcp_Listen(int32_t aSocket);
// Accepts one pending connection; the peer's dotted address and port. KEL_TCP_INVALID_SOCKET on failure.
int32_t Kel_P_Tcp_Accept(int32_t aServerSocket, char* pAddress, size_t aAddressSize, uint16_t* pPort);
