// What the serial backends (posix/, windows/) and the calls they share (kel_p_serial_common.cpp)
// give each other; not for users of the serial port.
#pragma once

#include "shared/kel_trace.h"
#include "shared/platform/kel_p_serial.h"

// The system's text of the last failed call (each backend has its own).
const char* Kel_P_Serial_LastErrorText();

// A failed step with its expression text: "--- GotoError: Expr ... is true!" and the failure exit with
// the system's text of the error.
Kel_StatusCode Kel_P_Serial_FailExpr(const Kel_TraceScope& aScope, int32_t aLine, const char* pExpression,
                                     Kel_StatusCode aStatus);

// The system calls behind the shared serial port calls. Each works on an open (or closed) port of the
// context and reports a failure as false, leaving the system's error for Kel_P_Serial_LastErrorText.

// Opens the port device of that name exclusively; KEL_INVALID_HANDLE_VALUE on failure.
Kel_P_Serial_Handle Kel_P_Serial_PortOpen(const char* pName);
// Closes the context's open port.
void Kel_P_Serial_PortClose(const Kel_P_Serial_Context* pSerialContext);
// Reads up to aSize bytes under the port's time-outs; *pDead when the line hung up.
uint32_t Kel_P_Serial_PortRead(const Kel_P_Serial_Context* pSerialContext, uint8_t* pBuffer, uint32_t aSize,
                               bool* pDead);
// The pause after a read that found nothing; true when the line hung up meanwhile.
bool Kel_P_Serial_PortIdle(const Kel_P_Serial_Context* pSerialContext);
// Writes aSize bytes under the port's time-outs; the count written.
uint32_t Kel_P_Serial_PortWrite(const Kel_P_Serial_Context* pSerialContext, const uint8_t* pBuffer,
                                uint32_t aSize);
// Lets the output go and discards the input as well when aInput is 1.
bool Kel_P_Serial_PortPurge(const Kel_P_Serial_Context* pSerialContext, uint32_t aInput);
// The bytes waiting in the input (aInput 1) or output queue.
bool Kel_P_Serial_PortQueued(const Kel_P_Serial_Context* pSerialContext, uint32_t aInput, uint32_t* pCount);
// Raises DTR or RTS; true as well on a device without modem-control lines.
bool Kel_P_Serial_PortRaise(const Kel_P_Serial_Context* pSerialContext, uint32_t aSignal);
// Puts the line into the break state.
bool Kel_P_Serial_PortBreak(const Kel_P_Serial_Context* pSerialContext);
// Fills the cleared list with the system's serial port names, at most KEL_SERIAL_PORT_LIST_SIZE.
bool Kel_P_Serial_PortList(Kel_P_Serial_PortNameList* pPortNameList);
