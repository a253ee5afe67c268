// The serial port calls that read the same on every system, compiled into each backend. Their trace
// lines name the backend's file, as the backend's own calls do.
#define KEL_TRACE_FILE "shared/src/shared/platform/" KEL_PLATFORM_NAME "/kel_p_serial"
#include "shared/kel_trace.h"
#include "shared/platform/kel_p_serial.h"
#include "shared/platform/kel_p_serial_backend.h"
#include "shared/platform/kel_p_thread.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace
{
const uint32_t acceptedBaudRates[] = {110,   300,   600,   1200,  2400,   4800,   9600,  14400,
                                      19200, 38400, 56000, 57600, 115200, 128000, 256000};
} // namespace

Kel_StatusCode Kel_P_Serial_FailExpr(const Kel_TraceScope& aScope, int32_t aLine, const char* pExpression,
                                     Kel_StatusCode aStatus)
{
    const char* errorText = Kel_P_Serial_LastErrorText();
    Kel_Trace_GotoExpr(aScope, aLine, pExpression);
    return Kel_Trace_ExitBadError(aScope, aLine, aStatus, errorText);
}

Kel_StatusCode Kel_P_Serial_Initialize()
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_CreateContext(Kel_P_Serial_Context* pSerialContext)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pSerialContext);
    *pSerialContext = Kel_P_Serial_Context{};
    pSerialContext->port_fd = KEL_INVALID_HANDLE_VALUE;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_Get_Signals(Kel_P_Serial_Context* pSerialContext, uint32_t* aSignals)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pSerialContext);
    KEL_REJECT_NULL(aSignals);
    *aSignals = 0;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_Get_State(Kel_P_Serial_Context* pSerialContext)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pSerialContext);
    if (Kel_P_Serial_GetCommState(pSerialContext->port_fd, &pSerialContext->dcb) == 0)
        return Kel_P_Serial_FailExpr(kelScope, __LINE__,
                                     "(GetCommState(pSerialContext->port_fd,&pSerialContext->dcb)==0)",
                                     Kel_BadInternalError);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_Set_State(Kel_P_Serial_Context* pSerialContext)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pSerialContext);
    if (Kel_P_Serial_SetCommState(pSerialContext->port_fd, &pSerialContext->dcb) == 0)
        return Kel_P_Serial_FailExpr(kelScope, __LINE__,
                                     "(SetCommState(pSerialContext->port_fd,&pSerialContext->dcb)==0)",
                                     Kel_BadInternalError);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_Factory_Open(const char* aPortName, Kel_P_Serial_Context* pSerialContext)
{
    KEL_ENTER_AS(Kel_Module_Serial, "Kel_P_Serial_CreateContext");
    KEL_REJECT_NULL(aPortName);
    KEL_REJECT_NULL(pSerialContext);
    char name[KEL_SERIAL_PORT_NAME_SIZE] = {};
    strncpy(name, aPortName, 20);
    const int number = atoi(name);
    if (number >= 1)
    {
        // A list that cannot be read is empty: the name is then used as it is.
        Kel_P_Serial_PortNameList list;
        Kel_P_Serial_GetPortNameList(&list);
        if (list.count >= number)
            snprintf(name, sizeof(name), "%s", list.portNames[number - 1]);
    }
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_P_Serial_CreateContext(pSerialContext));
    KEL_GOTO_IF_BAD(status, Kel_P_Serial_Open(name, 1, pSerialContext));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_P_Serial_IsConnected(Kel_P_Serial_Context* pSerialContext, uint32_t* pConnected)
{
    const Kel_TraceScope kelScope{Kel_Module_Serial, __func__, KEL_TRACE_FILE};
    KEL_REJECT_NULL(pSerialContext);
    KEL_REJECT_NULL(pConnected);
    *pConnected = pSerialContext->port_fd != KEL_INVALID_HANDLE_VALUE ? 1 : 0;
    return Kel_Good;
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
    pSerialContext->port_fd = Kel_P_Serial_PortOpen(pSerialContext->port_name);
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
        Kel_P_Serial_PortClose(pSerialContext);
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
    Kel_P_Serial_DCB dcb{};
    if (Kel_P_Serial_GetCommState(pSerialContext->port_fd, &dcb) == 0)
        return Kel_P_Serial_FailExpr(kelScope, __LINE__, "(GetCommState(pSerialContext->port_fd,&dcb)==0)",
                                     Kel_BadInternalError);
    dcb.BaudRate = aBaudRate;
    if (aStopBits == 2)
        dcb.StopBits = KEL_SERIAL_TWOSTOPBITS;
    else if (aStopBits == 3)
        dcb.StopBits = KEL_SERIAL_ONE5STOPBITS;
    else
        dcb.StopBits = KEL_SERIAL_ONESTOPBIT;
    dcb.fOutX = 0;
    dcb.fInX = 0;
    if (aFlowControl == 1)
    {
        dcb.fOutX = 1;
        dcb.fInX = 1;
    }
    dcb.ByteSize = aDataBits;
    if (Kel_P_Serial_SetCommState(pSerialContext->port_fd, &dcb) == 0)
        return Kel_P_Serial_FailExpr(kelScope, __LINE__, "SetCommState(pSerialContext->port_fd,&dcb)==0",
                                     Kel_BadInternalError);
    Kel_P_Serial_CommTimeouts CommTimeouts{};
    Kel_P_Serial_GetCommTimeouts(pSerialContext->port_fd, &CommTimeouts);
    CommTimeouts.ReadIntervalTimeout = KEL_SERIAL_MAXDWORD;
    CommTimeouts.ReadTotalTimeoutMultiplier = 0;
    CommTimeouts.ReadTotalTimeoutConstant = 0;
    CommTimeouts.WriteTotalTimeoutMultiplier = 10;
    CommTimeouts.WriteTotalTimeoutConstant = 1000;
    if (Kel_P_Serial_SetCommTimeouts(pSerialContext->port_fd, &CommTimeouts) == 0)
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
    Kel_P_Sleep(aDelay / 2);
    pSerialContext->port_fd = Kel_P_Serial_PortOpen(pSerialContext->port_name);
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
    *pBytesReaded = 0;
    bool dead = false;
    const uint32_t count = Kel_P_Serial_PortRead(pSerialContext, pBuffer, aSize, &dead);
    *pBytesReaded = count;
    if (count > 0)
    {
        KEL_TRACE_DUMP(KEL_TRACE_LEVEL_FLOW, pBuffer, count, "Read:");
        KEL_EXIT(Kel_Good);
    }
    if (!dead)
        dead = Kel_P_Serial_PortIdle(pSerialContext);
    // A line that hung up (the far end of a pseudo-terminal closed, an adapter unplugged) will bring
    // nothing more: a communication failure at once, rather than a wait that polls it again and again.
    if (dead)
    {
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR, "Kel_P_Serial_Read - Fail, line hung up, port_name=%s",
                  pSerialContext->port_name);
        KEL_GOTO_CODE(Kel_BadCommunicationError);
    }
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
    *pWritten = Kel_P_Serial_PortWrite(pSerialContext, pBuffer, aSize);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_Clear_Buffer(Kel_P_Serial_Context* pSerialContext, uint32_t aInput)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pSerialContext);
    if (pSerialContext->isHardwarePort == 1 && !Kel_P_Serial_PortPurge(pSerialContext, aInput))
        return Kel_P_Serial_FailExpr(
            kelScope, __LINE__,
            "(PurgeComm(pSerialContext->port_fd,aInput==KEL_TRUE?PURGE_TXCLEAR|PURGE_RXCLEAR:"
            "PURGE_TXCLEAR)==0)",
            Kel_BadInternalError);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_Get_Bytes_In_Buffer(Kel_P_Serial_Context* pSerialContext, uint32_t aInput,
                                                uint32_t* aBytesCount)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pSerialContext);
    KEL_REJECT_NULL(aBytesCount);
    if (!Kel_P_Serial_PortQueued(pSerialContext, aInput, aBytesCount))
        return Kel_P_Serial_FailExpr(kelScope, __LINE__,
                                     "(ClearCommError(pSerialContext->port_fd,&temp,&comstat)==0)",
                                     Kel_BadInternalError);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_Set_Signal(Kel_P_Serial_Context* pSerialContext, uint32_t aSignal)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pSerialContext);
    if (aSignal == KEL_SERIAL_SIGNAL_DTR)
    {
        if (!Kel_P_Serial_PortRaise(pSerialContext, aSignal))
            return Kel_P_Serial_FailExpr(kelScope, __LINE__,
                                         "(EscapeCommFunction(pSerialContext->port_fd,SETDTR)==0)",
                                         Kel_BadInternalError);
    }
    else if (aSignal == KEL_SERIAL_SIGNAL_RTS)
    {
        if (!Kel_P_Serial_PortRaise(pSerialContext, aSignal))
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
    if (!Kel_P_Serial_PortBreak(pSerialContext))
        return Kel_P_Serial_FailExpr(kelScope, __LINE__, "(SetCommBreak(pSerialContext->port_fd)==0)",
                                     Kel_BadInternalError);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Serial_GetPortNameList(Kel_P_Serial_PortNameList* pPortNameList)
{
    KEL_ENTER(Kel_Module_Serial);
    KEL_REJECT_NULL(pPortNameList);
    *pPortNameList = Kel_P_Serial_PortNameList{};
    if (!Kel_P_Serial_PortList(pPortNameList))
        KEL_REJECT_CODE(Kel_BadInternalError);
    KEL_EXIT(Kel_Good);
}
