// The process-wide session state: one serial port, one socket, one serial channel through which every
// request goes, the host's line settings and time-outs, the path flags, and the records of the channel
// variants. Plain globals, zeroed when the library is loaded (the socket context excepted, see below);
// no exported function takes a session handle.
#pragma once

#include "Q310/q310_channels.h"
#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"
#include "shared/kel_serialchannel.h"
#include "shared/platform/kel_p_serial.h"
#include "shared/platform/kel_p_stopwatch.h"
#include "shared/platform/kel_p_tcp.h"

constexpr uint32_t Q310_COMM_PORT_NAME_SIZE = 28;

// GSMFlag values.
constexpr uint32_t Q310_GSM_NONE = 0;
constexpr uint32_t Q310_GSM_DATA_CALL = 1;
constexpr uint32_t Q310_GSM_GATEWAY = 2;

// The one serial port (eOpen).
extern Kel_P_Serial_Context aSerialContextMeter;
// Line settings parsed from eOpen's mode text (baud rate, data bits and stop bits are used).
extern Kel_P_Serial_DCB gl_dcb;
// The one channel; eOpen, eTcpOpen and the flag setters re-initialise it in place.
extern Kel_SerialChannel_Context serialChannelMeter;
// The protocol client of the one meter; eReadSerialNumber creates it, every other data export uses it.
extern Kel_Zentor1Phase_ClientContext clientContext;
// "COM%d" of eOpen's port number.
extern char glCommPortName[Q310_COMM_PORT_NAME_SIZE];
// The host's five serial time-outs; eTcpOpen sets only word 3 (ReadTotalTimeoutConstant), the read
// time-out of the TCP bridge.
extern Kel_P_Serial_CommTimeouts glCommTimeOuts;
extern uint32_t EchoFlag; // last value given to eSetEchoFlag
extern uint32_t GSMFlag;  // Q310_GSM_*
extern uint32_t TCPFlag;  // last first argument of eSetTcpFlag
extern uint32_t EchoMode; // the modem's echo setting
// Restarted when the port is opened.
extern Kel_P_Stopwatch_Context aStopwatchContextMeter;
// The one socket. Its descriptor starts at -1 (closed) rather than 0, so that closing the session
// before any connection never closes descriptor 0 of the process.
extern Kel_P_Tcp_Context client_socket_context;

// The channel variants' records. eReadSerialNumber points the RS-485 echo reference at the protocol
// client's last transmitted frame (the raw exchange points it at its own request while it runs);
// eSetTcpFlag sets the bridge's echo flag; eWriteParamGSMLock uses the gateway's port byte and packet
// number.
extern Kel_EchoRS485_Context echoRS485Meter;
extern Kel_EchoGSM_Context echoGSMMeter;
extern Kel_GatewayGSM_Context gatewayGSMMeter;
extern Kel_TcpBridge_Context tcpBridgeMeter;
// Names the other export files use for the RS-485 echo reference.
inline const uint8_t*& pTransportOutFrame = echoRS485Meter.pEchoFrame;
inline const uint32_t*& pTransportOutFrameIndex = echoRS485Meter.pEchoFrameLength;
