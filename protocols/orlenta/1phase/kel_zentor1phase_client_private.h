// Helpers shared by the client's sources (not part of the client's interface).
#pragma once

#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"
#include "protocols/orlenta/1phase/kel_zentor1phase_utils.h"
#include "shared/kel_trace.h"

// The answer bytes of the last exchange (in a client function with pContext).
#define KEL_CLIENT_IN (pContext->ApplicationContext.inBuffer)

// One exchange: a failure leaves through the failure exit; Kel_GoodNoData leaves at once through the
// success exit, the answer unread.
#define KEL_CLIENT_RUN(aStep)                                                                                \
    do                                                                                                       \
    {                                                                                                        \
        KEL_GOTO_IF_BAD(status, (aStep));                                                                    \
        if (status == Kel_GoodNoData)                                                                        \
            KEL_EXIT(status);                                                                                \
    } while (0)

// The answer length check: "<-- ReturnError: pContext->ApplicationContext.inBufferIndex != 5 is true!".
#define KEL_CLIENT_LENGTH(aLength, aCode)                                                                    \
    do                                                                                                       \
    {                                                                                                        \
        if (pContext->ApplicationContext.inBufferIndex != (aLength))                                         \
            return Kel_Zentor1Phase_ClientLengthMismatch(kelScope, __LINE__, (aLength), (aCode));            \
    } while (0)

// The read of a command with the check of its answer length (both as above).
#define KEL_CLIENT_READ(aCommand, aLength, aCode)                                                            \
    do                                                                                                       \
    {                                                                                                        \
        KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Read(&pContext->ApplicationContext, (aCommand)));        \
        KEL_CLIENT_LENGTH((aLength), (aCode));                                                               \
    } while (0)

// The same for an answer of BCD numbers: aCount of them from answer byte aFirst decoded into aOut.
#define KEL_CLIENT_READ_BCD(aCommand, aLength, aCode, aFirst, aCount, aOut)                                  \
    do                                                                                                       \
    {                                                                                                        \
        KEL_CLIENT_READ((aCommand), (aLength), (aCode));                                                     \
        KEL_CLIENT_CHECK(Kel_Zentor1Phase_ClientDecodeBcd(KEL_CLIENT_IN + (aFirst), (aCount), (aOut)));      \
    } while (0)

// A conversion (BCD) that may fail: "<-- ReturnError: 0x%08X" with its status.
#define KEL_CLIENT_CHECK(aStep)                                                                              \
    do                                                                                                       \
    {                                                                                                        \
        const Kel_StatusCode kelCheck_ = (aStep);                                                            \
        if (Kel_IsBad(kelCheck_))                                                                            \
            KEL_REJECT_CODE(kelCheck_);                                                                      \
    } while (0)

Kel_StatusCode Kel_Zentor1Phase_ClientLengthMismatch(const Kel_TraceScope& aScope, int32_t aLine,
                                                     uint32_t aLength, Kel_StatusCode aCode);
// aCount BCD bytes to numbers; the first bad byte's status.
Kel_StatusCode Kel_Zentor1Phase_ClientDecodeBcd(const uint8_t* pIn, uint32_t aCount, uint8_t* pOut);
// A DateTime from a two-digit year (below 51: 2000 + year, else 1900 + year) and plain fields.
Kel_StatusCode Kel_Zentor1Phase_ClientMakeDate(uint8_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour,
                                               uint8_t aMinute, uint8_t aSecond, DateTime* pDateTime);
