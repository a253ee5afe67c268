// What the serial backends (posix/, windows/) and the calls they share (kel_p_serial_common.cpp)
// give each other; not for users of the serial port.
#pragma once

#include "shared/kel_trace.h"

// The system's text of the last failed call (each backend has its own).
const char* Kel_P_Serial_LastErrorText();

// A failed step with its expression text: "--- GotoError: Expr ... is true!" and the failure exit with
// the system's text of the error.
Kel_StatusCode Kel_P_Serial_FailExpr(const Kel_TraceScope& aScope, int32_t aLine, const char* pExpression,
                                     Kel_StatusCode aStatus);
