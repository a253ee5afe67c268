// The serial port calls that read the same on every system, compiled into each backend. Their trace
// lines name the backend's file, as the backend's own calls do.
#define KEL_TRACE_FILE "shared/src/shared/platform/" KEL_PLATFORM_NAME "/kel_p_serial"
#include "shared/kel_trace.h"
#include "shared/platform/kel_p_serial.h"
#include "shared/platform/kel_p_serial_backend.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

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
