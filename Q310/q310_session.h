// The process-wide session state: one serial port, one socket, one serial channel through which every
// request goes, the host's line settings and time-outs, the path flags, and the state of the channel
// variants. Plain globals, zeroed when the library is loaded (the socket context excepted, see below);
// no exported function takes a session handle.
#pragma once

#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"
#include "shared/kel_serialchannel.h"
#include "shared/platform/kel_p_serial.h"
#include "shared/platform/kel_p_stopwatch.h"
#include "shared/platform/kel_p_tcp.h"

constexpr uint32_t Q310_COMM_PORT_NAME_SIZE = 28;
// Requests copied for echo removal and gateway packets are at most 64 bytes.
constexpr uint32_t Q310_SEND_DATA_SIZE = 64;
// A gateway packet is 9 bytes longer than its data, so the buffer that holds the last request packet
// is 73 bytes: a request of 64 bytes, or a whole packet around one.
constexpr uint32_t Q310_SEND_BUFFER_SIZE = Q310_SEND_DATA_SIZE + 9;

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
extern uint32_t EchoFlag;    // last value given to eSetEchoFlag
extern uint32_t GSMFlag;     // Q310_GSM_*
extern uint32_t TCPFlag;     // last first argument of eSetTcpFlag
extern uint32_t TCPEchoFlag; // nonzero: the TCP bridge echoes every request
extern uint32_t EchoMode;    // the modem's echo setting
// Copy of the last request written (echo removal), or the last gateway packet.
extern uint8_t SendBuffer[Q310_SEND_BUFFER_SIZE];
// Length of the last request written.
extern uint8_t aBytesWrited;
// Gateway port flag: 0 while the gateway's own dialogue goes raw, nonzero once packets are in use.
extern uint8_t PORT;
// Gateway packet counter, incremented before each packet.
extern uint32_t NUM;
// Restarted when the port is opened.
extern Kel_P_Stopwatch_Context aStopwatchContextMeter;
// The one socket. Its descriptor starts at -1 (closed) rather than 0, so that closing the session
// before any connection never closes descriptor 0 of the process.
extern Kel_P_Tcp_Context client_socket_context;

// The echo reference of the RS-485 line: the protocol transport layer's last transmitted frame and its
// length. The protocol client points these at its transport context's frame when it is created; while
// they are null there is no reference and nothing is removed.
extern const uint8_t* pTransportOutFrame;
extern const uint32_t* pTransportOutFrameIndex;
