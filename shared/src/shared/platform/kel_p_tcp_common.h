// The TCP calls that read the same on every system. Not a header of its own: posix/ and
// windows/kel_p_tcp.cpp include it at their end, after their KEL_TRACE_FILE and their local helpers,
// so that the error lines of these calls name the platform's file as before.
#pragma once

#include "shared/kel_trace.h"
#include "shared/platform/kel_p_tcp.h"
#include "shared/platform/kel_p_thread.h"

Kel_StatusCode Kel_P_Tcp_Create_Context(Kel_P_Tcp_Context* pTcpContext)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_NULL(pTcpContext);
    *pTcpContext = Kel_P_Tcp_Context{};
    pTcpContext->socket_fd = KEL_TCP_INVALID_SOCKET;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_P_Tcp_Client_ReOpen(Kel_P_Tcp_Context* pTcpContext, uint32_t aDelay)
{
    KEL_ENTER(Kel_Module_Tcp);
    KEL_REJECT_NULL(pTcpContext);
    Kel_StatusCode status = Kel_Good;
    if (pTcpContext->ip_address[0] == '\0')
        KEL_EXIT(status);
    const Kel_P_Tcp_Context saved = *pTcpContext;
    KEL_GOTO_IF_BAD(status, Kel_P_Tcp_Close(pTcpContext));
    Kel_P_Sleep(aDelay / 2);
    KEL_GOTO_IF_BAD(status,
                    Kel_P_Tcp_Client_Create(pTcpContext, saved.ip_address, saved.tcp_port, saved.timeout));
    Kel_P_Sleep(aDelay / 2);
    KEL_EXIT(status);
}
