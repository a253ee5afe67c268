// The session: one serial port, one socket, one serial channel through which every request goes, the
// protocol client of the one meter, the host's line settings and time-outs, the path flags, and the
// records of the channel variants. All of it is one record; the library holds one instance for the
// process, zeroed when the library is loaded (the socket excepted, see below). No exported function
// takes a session handle.
#pragma once

#include "Q310/q310_channels.h"
#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"
#include "shared/kel_serialchannel.h"
#include "shared/platform/kel_p_serial.h"
#include "shared/platform/kel_p_stopwatch.h"
#include "shared/platform/kel_p_tcp.h"

#include <type_traits>

constexpr uint32_t Q310_COMM_PORT_NAME_SIZE = 28;

// Values of gsmFlag.
constexpr uint32_t Q310_GSM_NONE = 0;
constexpr uint32_t Q310_GSM_DATA_CALL = 1;
constexpr uint32_t Q310_GSM_GATEWAY = 2;

struct Q310_Session
{
    // The one serial port (eOpen), and whether eOpen has put a port into it: the zeroed context of a
    // session that never called eOpen holds handle 0, which eClose must not close (on POSIX it is the
    // process's standard input).
    Kel_P_Serial_Context serialContext;
    bool serialPortCreated;
    // Line settings parsed from eOpen's mode text (baud rate, data bits and stop bits are used).
    Kel_P_Serial_DCB dcb;
    // The one channel; eOpen, eTcpOpen and the flag setters re-initialise it in place.
    Kel_SerialChannel_Context channel;
    // The protocol client of the one meter; eReadSerialNumber creates it, every other data export uses
    // it.
    Kel_Zentor1Phase_ClientContext clientContext;
    // "COM%d" of eOpen's port number.
    char commPortName[Q310_COMM_PORT_NAME_SIZE];
    // The host's five serial time-outs; eTcpOpen sets only word 3 (ReadTotalTimeoutConstant), the read
    // time-out of the TCP bridge.
    Kel_P_Serial_CommTimeouts commTimeOuts;
    uint32_t echoFlag; // last value given to eSetEchoFlag
    uint32_t gsmFlag;  // Q310_GSM_*
    uint32_t tcpFlag;  // last first argument of eSetTcpFlag
    uint32_t echoMode; // the modem's echo setting
    // Restarted when the port is opened.
    Kel_P_Stopwatch_Context stopwatch;
    // The one socket. Its descriptor starts at -1 (closed) rather than 0, so that closing the session
    // before any connection never closes descriptor 0 of the process.
    Kel_P_Tcp_Context socket;
    // The channel variants' records. eReadSerialNumber points the RS-485 echo reference at the protocol
    // client's last transmitted frame (the raw exchange points it at its own request while it runs);
    // eSetTcpFlag sets the bridge's echo flag; eWriteParamGSMLock uses the gateway's port byte and
    // packet number.
    Kel_EchoRS485_Context echoRS485;
    Kel_EchoGSM_Context echoGSM;
    Kel_GatewayGSM_Context gatewayGSM;
    Kel_TcpBridge_Context tcpBridge;
};
static_assert(std::is_trivially_copyable_v<Q310_Session>, "the session is a plain record");

// The process's session.
extern Q310_Session q310Session;

// The session's protocol client under the name every data export uses.
inline Kel_Zentor1Phase_ClientContext& clientContext = q310Session.clientContext;
