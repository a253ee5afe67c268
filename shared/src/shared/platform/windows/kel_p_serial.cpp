// The serial port over the Windows communications API.
//
// Decisions of this platform:
// - The line settings and time-out records of kel_p_serial.h have the layout of DCB and COMMTIMEOUTS
//   (checked below) and are copied to and from the system's records unchanged.
// - The error text of a failure exit is the C library's text of the error number; as the Windows calls
//   report through GetLastError, the common reasons are turned into their error numbers first
//   (file not found, access denied, bad handle, bad parameter; anything else is EIO).
// - Set_Signal on a port without modem-control lines (wine answers DTR/RTS on a pseudo-terminal with
//   ERROR_NOT_SUPPORTED) reports Kel_Good, as the POSIX port does, so such ports stay usable.
// - GetPortNameList stops at 20 entries, the size of the list record.
#define KEL_TRACE_FILE "shared/src/shared/platform/windows/kel_p_serial"
#include "shared/platform/kel_p_serial.h"
#include "shared/platform/kel_p_serial_backend.h"

#include "shared/kel_trace.h"

#include <windows.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <errno.h>

static_assert(sizeof(DCB) == sizeof(Kel_P_Serial_DCB), "DCB layout");
static_assert(offsetof(DCB, BaudRate) == offsetof(Kel_P_Serial_DCB, BaudRate), "DCB layout");
static_assert(offsetof(DCB, wReserved) == offsetof(Kel_P_Serial_DCB, wReserved), "DCB layout");
static_assert(offsetof(DCB, XonLim) == offsetof(Kel_P_Serial_DCB, XonLim), "DCB layout");
static_assert(offsetof(DCB, ByteSize) == offsetof(Kel_P_Serial_DCB, ByteSize), "DCB layout");
static_assert(offsetof(DCB, StopBits) == offsetof(Kel_P_Serial_DCB, StopBits), "DCB layout");
static_assert(offsetof(DCB, XonChar) == offsetof(Kel_P_Serial_DCB, XonChar), "DCB layout");
static_assert(offsetof(DCB, EvtChar) == offsetof(Kel_P_Serial_DCB, EvtChar), "DCB layout");
static_assert(offsetof(DCB, wReserved1) == offsetof(Kel_P_Serial_DCB, wReserved1), "DCB layout");
static_assert(sizeof(COMMTIMEOUTS) == sizeof(Kel_P_Serial_CommTimeouts), "COMMTIMEOUTS layout");
static_assert(offsetof(COMMTIMEOUTS, WriteTotalTimeoutConstant) ==
                  offsetof(Kel_P_Serial_CommTimeouts, WriteTotalTimeoutConstant),
              "COMMTIMEOUTS layout");
static_assert(KEL_SERIAL_NOPARITY == NOPARITY && KEL_SERIAL_ODDPARITY == ODDPARITY &&
                  KEL_SERIAL_EVENPARITY == EVENPARITY && KEL_SERIAL_MARKPARITY == MARKPARITY &&
                  KEL_SERIAL_SPACEPARITY == SPACEPARITY,
              "parity values");
static_assert(KEL_SERIAL_ONESTOPBIT == ONESTOPBIT && KEL_SERIAL_ONE5STOPBITS == ONE5STOPBITS &&
                  KEL_SERIAL_TWOSTOPBITS == TWOSTOPBITS,
              "stop bit values");
static_assert(KEL_SERIAL_DTR_CONTROL_ENABLE == DTR_CONTROL_ENABLE &&
                  KEL_SERIAL_DTR_CONTROL_HANDSHAKE == DTR_CONTROL_HANDSHAKE &&
                  KEL_SERIAL_RTS_CONTROL_ENABLE == RTS_CONTROL_ENABLE &&
                  KEL_SERIAL_RTS_CONTROL_HANDSHAKE == RTS_CONTROL_HANDSHAKE &&
                  KEL_SERIAL_RTS_CONTROL_TOGGLE == RTS_CONTROL_TOGGLE,
              "DTR/RTS control values");
static_assert(sizeof(Kel_P_Serial_Handle) == sizeof(HANDLE), "a handle fits the port's handle field");

namespace
{
HANDLE AsHandle(Kel_P_Serial_Handle aPort)
{
    return reinterpret_cast<HANDLE>(aPort);
}

// Opens the device \\.\<name> for reading and writing, exclusively, existing only.
Kel_P_Serial_Handle OpenDevice(const char* pName)
{
    char path[KEL_SERIAL_PORT_NAME_SIZE + 8];
    snprintf(path, sizeof(path), "\\\\.\\%s", pName);
    const HANDLE handle =
        CreateFileA(path, GENERIC_READ | GENERIC_WRITE, 0, KEL_NULL, OPEN_EXISTING, 0, KEL_NULL);
    return reinterpret_cast<Kel_P_Serial_Handle>(handle);
}
} // namespace

// The error number for the current Windows error, for the error text of a failure exit.
const char* Kel_P_Serial_LastErrorText()
{
    switch (GetLastError())
    {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
            errno = ENOENT;
            break;
        case ERROR_ACCESS_DENIED:
        case ERROR_SHARING_VIOLATION:
            errno = EACCES;
            break;
        case ERROR_INVALID_HANDLE:
            errno = EBADF;
            break;
        case ERROR_INVALID_PARAMETER:
            errno = EINVAL;
            break;
        default:
            errno = EIO;
            break;
    }
    return strerror(errno);
}

int32_t Kel_P_Serial_GetCommState(Kel_P_Serial_Handle aPort, Kel_P_Serial_DCB* pDcb)
{
    if (pDcb == KEL_NULL)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    DCB dcb{};
    dcb.DCBlength = sizeof(DCB);
    if (GetCommState(AsHandle(aPort), &dcb) == 0)
        return 0;
    memcpy(pDcb, &dcb, sizeof(dcb));
    return 1;
}

int32_t Kel_P_Serial_SetCommState(Kel_P_Serial_Handle aPort, const Kel_P_Serial_DCB* pDcb)
{
    if (pDcb == KEL_NULL)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    DCB dcb;
    memcpy(&dcb, pDcb, sizeof(dcb));
    return SetCommState(AsHandle(aPort), &dcb) != 0 ? 1 : 0;
}

int32_t Kel_P_Serial_GetCommTimeouts(Kel_P_Serial_Handle aPort, Kel_P_Serial_CommTimeouts* pCommTimeouts)
{
    if (pCommTimeouts == KEL_NULL)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    COMMTIMEOUTS timeouts{};
    if (GetCommTimeouts(AsHandle(aPort), &timeouts) == 0)
        return 0;
    memcpy(pCommTimeouts, &timeouts, sizeof(timeouts));
    return 1;
}

int32_t Kel_P_Serial_SetCommTimeouts(Kel_P_Serial_Handle aPort,
                                     const Kel_P_Serial_CommTimeouts* pCommTimeouts)
{
    if (pCommTimeouts == KEL_NULL)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    COMMTIMEOUTS timeouts;
    memcpy(&timeouts, pCommTimeouts, sizeof(timeouts));
    return SetCommTimeouts(AsHandle(aPort), &timeouts) != 0 ? 1 : 0;
}

Kel_P_Serial_Handle Kel_P_Serial_PortOpen(const char* pName)
{
    return OpenDevice(pName);
}

void Kel_P_Serial_PortClose(const Kel_P_Serial_Context* pSerialContext)
{
    CloseHandle(AsHandle(pSerialContext->port_fd));
}

uint32_t Kel_P_Serial_PortRead(const Kel_P_Serial_Context* pSerialContext, uint8_t* pBuffer, uint32_t aSize,
                               bool* pDead)
{
    *pDead = false;
    DWORD count = 0;
    ReadFile(AsHandle(pSerialContext->port_fd), pBuffer, aSize, &count, KEL_NULL);
    return count;
}

bool Kel_P_Serial_PortIdle(const Kel_P_Serial_Context* pSerialContext)
{
    (void)pSerialContext;
    Sleep(5);
    return false;
}

uint32_t Kel_P_Serial_PortWrite(const Kel_P_Serial_Context* pSerialContext, const uint8_t* pBuffer,
                                uint32_t aSize)
{
    DWORD written = 0;
    WriteFile(AsHandle(pSerialContext->port_fd), pBuffer, aSize, &written, KEL_NULL);
    return written;
}

bool Kel_P_Serial_PortPurge(const Kel_P_Serial_Context* pSerialContext, uint32_t aInput)
{
    return PurgeComm(AsHandle(pSerialContext->port_fd),
                     aInput == 1 ? PURGE_TXCLEAR | PURGE_RXCLEAR : PURGE_TXCLEAR) != 0;
}

bool Kel_P_Serial_PortQueued(const Kel_P_Serial_Context* pSerialContext, uint32_t aInput, uint32_t* pCount)
{
    DWORD temp = 0;
    COMSTAT comstat{};
    if (ClearCommError(AsHandle(pSerialContext->port_fd), &temp, &comstat) == 0)
        return false;
    *pCount = aInput == 1 ? comstat.cbInQue : comstat.cbOutQue;
    return true;
}

bool Kel_P_Serial_PortRaise(const Kel_P_Serial_Context* pSerialContext, uint32_t aSignal)
{
    return EscapeCommFunction(AsHandle(pSerialContext->port_fd),
                              aSignal == KEL_SERIAL_SIGNAL_DTR ? SETDTR : SETRTS) != 0 ||
           GetLastError() == ERROR_NOT_SUPPORTED;
}

bool Kel_P_Serial_PortBreak(const Kel_P_Serial_Context* pSerialContext)
{
    return SetCommBreak(AsHandle(pSerialContext->port_fd)) != 0;
}

bool Kel_P_Serial_PortList(Kel_P_Serial_PortNameList* pPortNameList)
{
    HKEY key = KEL_NULL;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, "HARDWARE\\DEVICEMAP\\SERIALCOMM\\", 0, KEY_READ, &key) !=
        ERROR_SUCCESS)
        return false;
    DWORD values = 0;
    if (RegQueryInfoKeyA(key, KEL_NULL, KEL_NULL, KEL_NULL, KEL_NULL, KEL_NULL, KEL_NULL, &values, KEL_NULL,
                         KEL_NULL, KEL_NULL, KEL_NULL) != ERROR_SUCCESS)
    {
        RegCloseKey(key);
        return false;
    }
    char valueName[16383];
    for (DWORD index = 0; index < values && pPortNameList->count < KEL_SERIAL_PORT_LIST_SIZE; ++index)
    {
        DWORD nameLength = sizeof(valueName);
        if (RegEnumValueA(key, index, valueName, &nameLength, KEL_NULL, KEL_NULL, KEL_NULL, KEL_NULL) !=
            ERROR_SUCCESS)
            continue;
        char* entry = pPortNameList->portNames[pPortNameList->count];
        DWORD dataLength = KEL_SERIAL_PORT_NAME_SIZE - 1;
        DWORD type = 0;
        if (RegQueryValueExA(key, valueName, KEL_NULL, &type, reinterpret_cast<BYTE*>(entry), &dataLength) !=
            ERROR_SUCCESS)
        {
            memset(entry, 0, KEL_SERIAL_PORT_NAME_SIZE);
            continue;
        }
        entry[KEL_SERIAL_PORT_NAME_SIZE - 1] = '\0';
        ++pPortNameList->count;
    }
    RegCloseKey(key);
    return true;
}
