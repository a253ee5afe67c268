// How the POSIX serial port maps the line settings record onto termios. Used by the port itself and
// by the tests, which check the character format a pseudo-terminal does not keep.
#pragma once

#include "shared/platform/kel_p_serial.h"

#include <termios.h>

// Fills the record's fields that termios holds: parity checking and scheme (mark and space through
// CMSPAR), CTS flow control, XON/XOFF flags and characters, data bits, one or two stop bits. A record
// that says one and a half stop bits keeps that when termios has two. Baud rate and the fields termios
// has no place for are left as they are.
void Kel_P_Serial_TermiosToDcb(const termios& aSettings, Kel_P_Serial_DCB* pDcb);

// The reverse: sets those flags and characters in the termios record (receiver on, modem status
// ignored); the speed is left as it is. ByteSize must be 5 to 8.
void Kel_P_Serial_DcbToTermios(const Kel_P_Serial_DCB& aDcb, termios* pSettings);
