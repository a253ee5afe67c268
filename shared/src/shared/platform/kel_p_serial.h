// The serial port: open and close a port by name, line parameters, reads and writes, purge, queued
// byte counts, modem signals, break, and the list of the ports the system knows.
//
// One set of declarations for both platforms. The line settings record and the time-out record have
// the shape and field names of the Windows DCB and COMMTIMEOUTS records (the Windows build checks the
// layouts against the system's records and hands them over unchanged); the POSIX build keeps the same
// records and maps them onto termios and its own reads. Code above the platform layer that changes the
// line settings or the host's time-outs goes through Kel_P_Serial_GetCommState and its siblings below.
#pragma once

#include "shared/kel_types.h"
#include "shared/platform/kel_p_stopwatch.h"

// The port's handle: a Windows HANDLE or a POSIX file descriptor, held in a pointer-sized integer.
// Closed ports hold the invalid value, all bits set on both platforms.
typedef intptr_t Kel_P_Serial_Handle;
constexpr Kel_P_Serial_Handle KEL_INVALID_HANDLE_VALUE = -1;

constexpr uint32_t KEL_SERIAL_PORT_NAME_SIZE = 256;
constexpr uint32_t KEL_SERIAL_PORT_LIST_SIZE = 20;

// Signals for Kel_P_Serial_Set_Signal.
constexpr uint32_t KEL_SERIAL_SIGNAL_DTR = 8;
constexpr uint32_t KEL_SERIAL_SIGNAL_RTS = 16;

// Field values of the line settings record, the same numbers as the Windows records use.
constexpr uint8_t KEL_SERIAL_NOPARITY = 0;
constexpr uint8_t KEL_SERIAL_ODDPARITY = 1;
constexpr uint8_t KEL_SERIAL_EVENPARITY = 2;
constexpr uint8_t KEL_SERIAL_MARKPARITY = 3;
constexpr uint8_t KEL_SERIAL_SPACEPARITY = 4;
constexpr uint8_t KEL_SERIAL_ONESTOPBIT = 0;
constexpr uint8_t KEL_SERIAL_ONE5STOPBITS = 1;
constexpr uint8_t KEL_SERIAL_TWOSTOPBITS = 2;
constexpr uint32_t KEL_SERIAL_DTR_CONTROL_DISABLE = 0;
constexpr uint32_t KEL_SERIAL_DTR_CONTROL_ENABLE = 1;
constexpr uint32_t KEL_SERIAL_DTR_CONTROL_HANDSHAKE = 2;
constexpr uint32_t KEL_SERIAL_RTS_CONTROL_DISABLE = 0;
constexpr uint32_t KEL_SERIAL_RTS_CONTROL_ENABLE = 1;
constexpr uint32_t KEL_SERIAL_RTS_CONTROL_HANDSHAKE = 2;
constexpr uint32_t KEL_SERIAL_RTS_CONTROL_TOGGLE = 3;
// The all-ones time-out word (MAXDWORD).
constexpr uint32_t KEL_SERIAL_MAXDWORD = 0xFFFFFFFFu;

// Line settings: the layout and field names of the Windows DCB.
struct Kel_P_Serial_DCB
{
    uint32_t DCBlength;
    uint32_t BaudRate;
    uint32_t fBinary : 1;
    uint32_t fParity : 1; // parity checking on receive
    uint32_t fOutxCtsFlow : 1;
    uint32_t fOutxDsrFlow : 1;
    uint32_t fDtrControl : 2;
    uint32_t fDsrSensitivity : 1;
    uint32_t fTXContinueOnXoff : 1;
    uint32_t fOutX : 1; // XON/XOFF on output
    uint32_t fInX : 1;  // XON/XOFF on input
    uint32_t fErrorChar : 1;
    uint32_t fNull : 1;
    uint32_t fRtsControl : 2;
    uint32_t fAbortOnError : 1;
    uint32_t fDummy2 : 17;
    uint16_t wReserved;
    uint16_t XonLim;
    uint16_t XoffLim;
    uint8_t ByteSize;
    uint8_t Parity;
    uint8_t StopBits;
    char XonChar;
    char XoffChar;
    char ErrorChar;
    char EofChar;
    char EvtChar;
    uint16_t wReserved1;
};
static_assert(sizeof(Kel_P_Serial_DCB) == 28, "the line settings record has the Windows DCB's size");

// Read and write time-outs in milliseconds: the layout and field names of the Windows COMMTIMEOUTS.
struct Kel_P_Serial_CommTimeouts
{
    uint32_t ReadIntervalTimeout;
    uint32_t ReadTotalTimeoutMultiplier;
    uint32_t ReadTotalTimeoutConstant;
    uint32_t WriteTotalTimeoutMultiplier;
    uint32_t WriteTotalTimeoutConstant;
};
static_assert(sizeof(Kel_P_Serial_CommTimeouts) == 20, "five time-out words");

// One serial port (caller-owned, zeroed by Kel_P_Serial_CreateContext).
struct Kel_P_Serial_Context
{
    Kel_P_Serial_Handle port_fd;               // KEL_INVALID_HANDLE_VALUE when closed
    char port_name[KEL_SERIAL_PORT_NAME_SIZE]; // the name given to Open ("COM3")
    Kel_P_Serial_DCB dcb;                      // as last read by Get_State / to be written by Set_State
    // The parameters last given to Set_Params, applied again by ReOpen. The parity is kept only.
    uint32_t baud_rate;
    uint32_t parity;
    uint8_t data_bits;
    int32_t stop_bits;                 // 1, 2, or 3 for one and a half
    int32_t flow_control;              // 1: XON/XOFF
    Kel_P_Stopwatch_Context stopwatch; // for the serial channel, restarted after each write
    uint32_t isHardwarePort;           // 1: a real port whose buffers may be purged
};

// The ports the system knows: up to 20 names and their count.
struct Kel_P_Serial_PortNameList
{
    char portNames[KEL_SERIAL_PORT_LIST_SIZE][KEL_SERIAL_PORT_NAME_SIZE];
    uint16_t count;
};
static_assert(sizeof(Kel_P_Serial_PortNameList) == 20 * 256 + 2, "20 names of 256 characters and a count");

Kel_StatusCode Kel_P_Serial_Initialize();
Kel_StatusCode Kel_P_Serial_CreateContext(Kel_P_Serial_Context* pSerialContext);
Kel_StatusCode Kel_P_Serial_Open(const char* aPortName, uint32_t aIsHardwarePort,
                                 Kel_P_Serial_Context* pSerialContext);
Kel_StatusCode Kel_P_Serial_Close(Kel_P_Serial_Context* pSerialContext);
Kel_StatusCode Kel_P_Serial_Set_Params(Kel_P_Serial_Context* pSerialContext, uint32_t aBaudRate,
                                       uint32_t aParity, uint8_t aDataBits, int32_t aStopBits,
                                       int32_t aFlowControl);
Kel_StatusCode Kel_P_Serial_ReOpen(Kel_P_Serial_Context* pSerialContext, uint32_t aDelay);
// One read of up to aSize bytes as the port's time-outs allow; aTimeout is not used.
Kel_StatusCode Kel_P_Serial_Read(Kel_P_Serial_Context* pSerialContext, uint8_t* pBuffer, uint32_t aSize,
                                 uint32_t aTimeout, uint32_t* pBytesReaded);
// One write of aSize bytes; aTimeout is not used; the caller compares *pWritten with aSize.
Kel_StatusCode Kel_P_Serial_Write(Kel_P_Serial_Context* pSerialContext, const uint8_t* pBuffer,
                                  uint32_t aSize, uint32_t aTimeout, uint32_t* pWritten);
// Purges the output buffer, and the input buffer as well when aInput is 1 (hardware ports only).
Kel_StatusCode Kel_P_Serial_Clear_Buffer(Kel_P_Serial_Context* pSerialContext, uint32_t aInput);
// Bytes queued in the input buffer (aInput 1) or the output buffer (other values).
Kel_StatusCode Kel_P_Serial_Get_Bytes_In_Buffer(Kel_P_Serial_Context* pSerialContext, uint32_t aInput,
                                                uint32_t* aBytesCount);
Kel_StatusCode Kel_P_Serial_Get_Signals(Kel_P_Serial_Context* pSerialContext, uint32_t* aSignals);
Kel_StatusCode Kel_P_Serial_Set_Signal(Kel_P_Serial_Context* pSerialContext, uint32_t aSignal);
Kel_StatusCode Kel_P_Serial_Send_Break(Kel_P_Serial_Context* pSerialContext);
Kel_StatusCode Kel_P_Serial_Get_State(Kel_P_Serial_Context* pSerialContext);
Kel_StatusCode Kel_P_Serial_Set_State(Kel_P_Serial_Context* pSerialContext);
Kel_StatusCode Kel_P_Serial_GetPortNameList(Kel_P_Serial_PortNameList* pPortNameList);
// Opens a port by name, or by its 1-based number in the port list.
Kel_StatusCode Kel_P_Serial_Factory_Open(const char* aPortName, Kel_P_Serial_Context* pSerialContext);
Kel_StatusCode Kel_P_Serial_IsConnected(Kel_P_Serial_Context* pSerialContext, uint32_t* pConnected);

// The platform's calls on the records, for code above this layer. They return nonzero on success and
// 0 on failure, as the Windows calls of the same names do.
int32_t Kel_P_Serial_GetCommState(Kel_P_Serial_Handle aPort, Kel_P_Serial_DCB* pDcb);
int32_t Kel_P_Serial_SetCommState(Kel_P_Serial_Handle aPort, const Kel_P_Serial_DCB* pDcb);
int32_t Kel_P_Serial_GetCommTimeouts(Kel_P_Serial_Handle aPort, Kel_P_Serial_CommTimeouts* pCommTimeouts);
int32_t Kel_P_Serial_SetCommTimeouts(Kel_P_Serial_Handle aPort,
                                     const Kel_P_Serial_CommTimeouts* pCommTimeouts);
