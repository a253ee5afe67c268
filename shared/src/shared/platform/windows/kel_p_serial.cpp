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

const uint32_t acceptedBaudRates[] = {110,   300,   600,   1200,  2400,   4800,   9600,  14400,
                                      19200, 38400, 56000, 57600, 115200, 128000, 256000};
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

Kel_StatusCode Kel_P_Serial_Open(const char* aPortName, uint32_t aIsHardwarePort,
                                 Kel_P_Serial_Context* pSerialContext)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(aPortName);
    KEL_REJECT_NULL(pSerialContext);
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "Kel_P_Serial_Open, aPortName=%s\n", aPortName);
    const int result =
        snprintf(pSerialContext->port_name, sizeof(pSerialContext->port_name), "%s", aPortName);
    if (result <= 0)
    {
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(result <= 0)");
        KEL_EXIT_BAD(Kel_BadInvalidArgument);
    }
    pSerialContext->isHardwarePort = aIsHardwarePort;
    pSerialContext->port_fd = OpenDevice(pSerialContext->port_name);
    if (pSerialContext->port_fd == KEL_INVALID_HANDLE_VALUE)
    {
        const char* errorText = Kel_P_Serial_LastErrorText();
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(pSerialContext->port_fd==KEL_INVALID_HANDLE_VALUE)");
        Kel_Trace_ExitBadError(kelScope, __LINE__, Kel_BadInternalError, errorText);
        KEL_EXIT_BAD(Kel_BadInternalError);
    }
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_Close(Kel_P_Serial_Context* pSerialContext)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pSerialContext);
    if (pSerialContext->port_fd != KEL_INVALID_HANDLE_VALUE)
    {
        CloseHandle(AsHandle(pSerialContext->port_fd));
        pSerialContext->port_fd = KEL_INVALID_HANDLE_VALUE;
    }
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_Set_Params(Kel_P_Serial_Context* pSerialContext, uint32_t aBaudRate,
                                       uint32_t aParity, uint8_t aDataBits, int32_t aStopBits,
                                       int32_t aFlowControl)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pSerialContext);
    pSerialContext->baud_rate = aBaudRate;
    pSerialContext->parity = aParity;
    pSerialContext->data_bits = aDataBits;
    pSerialContext->stop_bits = aStopBits;
    pSerialContext->flow_control = aFlowControl;
    bool accepted = false;
    for (const uint32_t rate : acceptedBaudRates)
        accepted = accepted || rate == aBaudRate;
    if (!accepted)
    {
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR,
                  "Kel_P_Serial_Set_Params - Fail, Unknown baudrate, port_name=%s, baud_rate=%d",
                  pSerialContext->port_name, static_cast<int>(aBaudRate));
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR, "<--- ReturnError: Kel_BadInvalidArgument. Statuscode 0x%08X\n",
                  Kel_BadInvalidArgument);
        return Kel_BadInvalidArgument;
    }
    const HANDLE handle = AsHandle(pSerialContext->port_fd);
    DCB dcb{};
    dcb.DCBlength = sizeof(DCB);
    if (GetCommState(handle, &dcb) == 0)
        return Kel_P_Serial_FailExpr(kelScope, __LINE__, "(GetCommState(pSerialContext->port_fd,&dcb)==0)",
                                     Kel_BadInternalError);
    dcb.BaudRate = aBaudRate;
    if (aStopBits == 2)
        dcb.StopBits = TWOSTOPBITS;
    else if (aStopBits == 3)
        dcb.StopBits = ONE5STOPBITS;
    else
        dcb.StopBits = ONESTOPBIT;
    dcb.fOutX = 0;
    dcb.fInX = 0;
    if (aFlowControl == 1)
    {
        dcb.fOutX = 1;
        dcb.fInX = 1;
    }
    dcb.ByteSize = aDataBits;
    if (SetCommState(handle, &dcb) == 0)
        return Kel_P_Serial_FailExpr(kelScope, __LINE__, "SetCommState(pSerialContext->port_fd,&dcb)==0",
                                     Kel_BadInternalError);
    COMMTIMEOUTS CommTimeouts{};
    GetCommTimeouts(handle, &CommTimeouts);
    CommTimeouts.ReadIntervalTimeout = MAXDWORD;
    CommTimeouts.ReadTotalTimeoutMultiplier = 0;
    CommTimeouts.ReadTotalTimeoutConstant = 0;
    CommTimeouts.WriteTotalTimeoutMultiplier = 10;
    CommTimeouts.WriteTotalTimeoutConstant = 1000;
    if (SetCommTimeouts(handle, &CommTimeouts) == 0)
        return Kel_P_Serial_FailExpr(kelScope, __LINE__,
                                     "SetCommTimeouts(pSerialContext->port_fd, &CommTimeouts)==0",
                                     Kel_BadInternalError);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_ReOpen(Kel_P_Serial_Context* pSerialContext, uint32_t aDelay)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pSerialContext);
    Kel_StatusCode status = Kel_P_Serial_Close(pSerialContext);
    Sleep(aDelay / 2);
    pSerialContext->port_fd = OpenDevice(pSerialContext->port_name);
    if (pSerialContext->port_fd == KEL_INVALID_HANDLE_VALUE)
    {
        const char* errorText = Kel_P_Serial_LastErrorText();
        status = Kel_BadInternalError | (status & 0x0000FFFFu);
        Kel_Trace_GotoExpr(kelScope, __LINE__, "(pSerialContext->port_fd==KEL_INVALID_HANDLE_VALUE)");
        Kel_Trace_ExitBadError(kelScope, __LINE__, status, errorText);
        KEL_EXIT_BAD(status);
    }
    status = Kel_P_Serial_Set_Params(pSerialContext, pSerialContext->baud_rate, pSerialContext->parity,
                                     pSerialContext->data_bits, pSerialContext->stop_bits,
                                     pSerialContext->flow_control);
    if (Kel_IsBad(status))
    {
        const char* errorText = Kel_P_Serial_LastErrorText();
        Kel_Trace_GotoBad(kelScope, __LINE__, status);
        Kel_Trace_ExitBadError(kelScope, __LINE__, status, errorText);
        KEL_EXIT_BAD(status);
    }
    KEL_EXIT(status);
}

// No entry line: the channel's read loop calls this many times per answer.
Kel_StatusCode Kel_P_Serial_Read(Kel_P_Serial_Context* pSerialContext, uint8_t* pBuffer, uint32_t aSize,
                                 uint32_t aTimeout, uint32_t* pBytesReaded)
{
    const Kel_TraceScope kelScope{Kel_Module_Serial, __func__, KEL_TRACE_FILE};
    (void)aTimeout;
    KEL_REJECT_NULL(pSerialContext);
    KEL_REJECT_NULL(pBuffer);
    KEL_REJECT_NULL(pBytesReaded);
    DWORD count = 0;
    ReadFile(AsHandle(pSerialContext->port_fd), pBuffer, aSize, &count, KEL_NULL);
    *pBytesReaded = count;
    if (count > 0)
        KEL_TRACE_DUMP(KEL_TRACE_LEVEL_FLOW, pBuffer, count, "Read:");
    else
        Sleep(5);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_Write(Kel_P_Serial_Context* pSerialContext, const uint8_t* pBuffer,
                                  uint32_t aSize, uint32_t aTimeout, uint32_t* pWritten)
{
    KEL_ENTER(Kel_Module_Serial);
    (void)aTimeout;
    KEL_REJECT_NULL(pSerialContext);
    KEL_REJECT_NULL(pBuffer);
    KEL_REJECT_NULL(pWritten);
    KEL_TRACE_DUMP(KEL_TRACE_LEVEL_FLOW, pBuffer, aSize, "Write:");
    DWORD written = 0;
    WriteFile(AsHandle(pSerialContext->port_fd), pBuffer, aSize, &written, KEL_NULL);
    *pWritten = written;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_Clear_Buffer(Kel_P_Serial_Context* pSerialContext, uint32_t aInput)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pSerialContext);
    if (pSerialContext->isHardwarePort == 1)
    {
        if (PurgeComm(AsHandle(pSerialContext->port_fd),
                      aInput == 1 ? PURGE_TXCLEAR | PURGE_RXCLEAR : PURGE_TXCLEAR) == 0)
            return Kel_P_Serial_FailExpr(
                kelScope, __LINE__,
                "(PurgeComm(pSerialContext->port_fd,aInput==KEL_TRUE?PURGE_TXCLEAR|PURGE_RXCLEAR:"
                "PURGE_TXCLEAR)==0)",
                Kel_BadInternalError);
    }
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_Get_Bytes_In_Buffer(Kel_P_Serial_Context* pSerialContext, uint32_t aInput,
                                                uint32_t* aBytesCount)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pSerialContext);
    KEL_REJECT_NULL(aBytesCount);
    DWORD temp = 0;
    COMSTAT comstat{};
    if (ClearCommError(AsHandle(pSerialContext->port_fd), &temp, &comstat) == 0)
        return Kel_P_Serial_FailExpr(kelScope, __LINE__,
                                     "(ClearCommError(pSerialContext->port_fd,&temp,&comstat)==0)",
                                     Kel_BadInternalError);
    *aBytesCount = aInput == 1 ? comstat.cbInQue : comstat.cbOutQue;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_Set_Signal(Kel_P_Serial_Context* pSerialContext, uint32_t aSignal)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pSerialContext);
    if (aSignal == KEL_SERIAL_SIGNAL_DTR)
    {
        if (EscapeCommFunction(AsHandle(pSerialContext->port_fd), SETDTR) == 0 &&
            GetLastError() != ERROR_NOT_SUPPORTED)
            return Kel_P_Serial_FailExpr(kelScope, __LINE__,
                                         "(EscapeCommFunction(pSerialContext->port_fd,SETDTR)==0)",
                                         Kel_BadInternalError);
    }
    else if (aSignal == KEL_SERIAL_SIGNAL_RTS)
    {
        if (EscapeCommFunction(AsHandle(pSerialContext->port_fd), SETRTS) == 0 &&
            GetLastError() != ERROR_NOT_SUPPORTED)
            return Kel_P_Serial_FailExpr(kelScope, __LINE__,
                                         "(EscapeCommFunction(pSerialContext->port_fd,SETRTS)==0)",
                                         Kel_BadInternalError);
    }
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_Send_Break(Kel_P_Serial_Context* pSerialContext)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pSerialContext);
    if (SetCommBreak(AsHandle(pSerialContext->port_fd)) == 0)
        return Kel_P_Serial_FailExpr(kelScope, __LINE__, "(SetCommBreak(pSerialContext->port_fd)==0)",
                                     Kel_BadInternalError);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_GetPortNameList(Kel_P_Serial_PortNameList* pPortNameList)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pPortNameList);
    *pPortNameList = Kel_P_Serial_PortNameList{};
    HKEY key = KEL_NULL;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, "HARDWARE\\DEVICEMAP\\SERIALCOMM\\", 0, KEY_READ, &key) !=
        ERROR_SUCCESS)
        KEL_REJECT_CODE(Kel_BadInternalError);
    DWORD values = 0;
    if (RegQueryInfoKeyA(key, KEL_NULL, KEL_NULL, KEL_NULL, KEL_NULL, KEL_NULL, KEL_NULL, &values, KEL_NULL,
                         KEL_NULL, KEL_NULL, KEL_NULL) != ERROR_SUCCESS)
    {
        RegCloseKey(key);
        KEL_REJECT_CODE(Kel_BadInternalError);
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
    KEL_EXIT(Kel_Good);
}
