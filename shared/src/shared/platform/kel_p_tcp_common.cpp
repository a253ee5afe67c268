// The TCP calls that read the same on every system, compiled into each backend. Their trace lines name
// the backend's file, as the backend's own calls do.
#define KEL_TRACE_FILE "shared/src/shared/platform/" KEL_PLATFORM_NAME "/kel_p_tcp"
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
