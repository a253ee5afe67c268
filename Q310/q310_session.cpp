// The process-wide session state.
#include "Q310/q310_session.h"

Kel_P_Serial_Context aSerialContextMeter;
Kel_P_Serial_DCB gl_dcb;
Kel_SerialChannel_Context serialChannelMeter;
char glCommPortName[Q310_COMM_PORT_NAME_SIZE];
Kel_P_Serial_CommTimeouts glCommTimeOuts;
uint32_t EchoFlag;
uint32_t GSMFlag;
uint32_t TCPFlag;
uint32_t EchoMode;
Kel_Zentor1Phase_ClientContext clientContext;
Kel_P_Stopwatch_Context aStopwatchContextMeter;
constinit Kel_P_Tcp_Context client_socket_context = []
{
    Kel_P_Tcp_Context closed{};
    closed.socket_fd = KEL_TCP_INVALID_SOCKET;
    return closed;
}();

Kel_EchoRS485_Context echoRS485Meter;
Kel_EchoGSM_Context echoGSMMeter;
Kel_GatewayGSM_Context gatewayGSMMeter;
Kel_TcpBridge_Context tcpBridgeMeter;
