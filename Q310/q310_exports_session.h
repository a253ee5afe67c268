// Helpers of the session exports, open to the other exports and to tests.
#pragma once

#include "shared/platform/kel_p_serial.h"

// The fields of eOpen's mode text "baud=%d parity=%s data=%d stop=%d dtr=%s rts=%s".
struct Q310_Mode
{
    uint32_t baudRate;
    uint8_t dataBits;
    uint8_t stopBits; // as written: 2 two stop bits, 3 one and a half, others one
    char parity[16];
    char dtr[16];
    char rts[16];
};

// Tracing as a session starts it: level 4, console, trace file, error file.
Kel_StatusCode Q310_StartTracing();
// Reads the mode text into pParsed; fields that do not match keep the values pParsed held. False only
// for a text of which nothing could be read (empty or white space).
bool Q310_ParseMode(const char* pMode, Q310_Mode* pParsed);
// Changes line settings as eOpen writes them: baud rate, data bits, stop bits, parity (exact words
// None, Odd, Even, Mask, Space; any other leaves the port's parity), no software flow control, DTR and
// RTS control disabled, XON/XOFF characters and limits 0.
void Q310_ApplyMode(const Q310_Mode& aMode, Kel_P_Serial_DCB* pDcb);

// The GSM gateway's parameter packet data: 1; baud code | 0x10 for 8 data bits | 0x20 for 2 stop bits |
// 0x40 option 3 | 0x80 option 4; the time-out code; the lock value.
uint8_t Q310_GatewayTimeoutCode(uint32_t aValue);
void Q310_GatewayParameters(uint32_t aBaudRate, uint32_t aDataBits, uint32_t aStopBits, uint32_t aOption3,
                            uint32_t aOption4, uint32_t aTimeout, uint32_t aLock, uint8_t* pData);
