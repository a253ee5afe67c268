// What every export shares: the entry trace under the export's own name ("_eReadFrequency"), the
// null-argument rule, the failure exit that writes a fixed message into the host's outErr and returns 0,
// and the host's texts in Windows-1251.
//
// An export reads:
//
//   int32_t Q310_CALL eReadFrequency(uint32_t adr, char* frequency, char* outErr)
//   {
//       Q310_EXPORT_ENTER(eReadFrequency);
//       Q310_REJECT_NULL(frequency);
//       Q310_REJECT_NULL(outErr);
//       Q310_REQUEST(Kel_Zentor1Phase_Client_ReadFrequency(&clientContext, &value), kReadFrequencyText);
//       ...
//       return Q310_RESULT_OK;
//
// A failure that is not one request's status ends with Q310_FailWith, Q310_FailExpr or Q310_FailCode. A
// client command traced as part of the export takes kelScope and is ended with Q310_REQUEST_TRACED.
//   }
//
// Texts stay UTF-8 in the sources and are converted once, at compile time:
//
//   static constexpr auto kReadFrequencyText = Kel_Cp1251("Запрос на чтение частоты сети: Нет ответа.");
#pragma once

#include "Q310/Q310.h"
#include "Q310/q310_session.h" // clientContext, the session's protocol client
#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"
#include "shared/kel_cp1251.h"
#include "shared/kel_trace.h"

#include <cstddef>
#include <cstdint>

// Copies a fixed text with its terminator into the host's buffer.
template <size_t N> inline void Q310_WriteText(char* pBuffer, const Kel_Cp1251Text<N>& aText)
{
    for (size_t i = 0; i <= aText.length; ++i)
        pBuffer[i] = aText.text[i];
}

// The failure exit of an export: "--- GotoError: Bad statuscode 0x%08X\n", the export's message into
// outErr, result 0 (exports trace no exit line).
template <size_t N>
inline int32_t Q310_FailWith(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus,
                             char* outErr, const Kel_Cp1251Text<N>& aText)
{
    Kel_Trace_GotoBad(aScope, aLine, aStatus);
    Q310_WriteText(outErr, aText);
    return 0;
}

// The same for a failed system call: "--- GotoError: Expr %s is true!\n" with the expression's text.
template <size_t N>
inline int32_t Q310_FailExpr(const Kel_TraceScope& aScope, int32_t aLine, const char* pExpression,
                             char* outErr, const Kel_Cp1251Text<N>& aText)
{
    Kel_Trace_GotoExpr(aScope, aLine, pExpression);
    Q310_WriteText(outErr, aText);
    return 0;
}

// The same for a wrong answer of a raw request: "--- GotoError: %s. Statuscode 0x%08X\n" with the code's
// name.
template <size_t N>
inline int32_t Q310_FailCode(const Kel_TraceScope& aScope, int32_t aLine, const char* pCodeName,
                             Kel_StatusCode aCode, char* outErr, const Kel_Cp1251Text<N>& aText)
{
    Kel_Trace_GotoCode(aScope, aLine, pCodeName, aCode);
    Q310_WriteText(outErr, aText);
    return 0;
}

// Entry line of an export: module Kel_Module_ZentorProtocolClient, the name with a leading underscore.
#define Q310_EXPORT_ENTER(aName) KEL_ENTER_AS(Kel_Module_ZentorProtocolClient, "_" #aName)

// Host-visible result codes of the exports.
constexpr int32_t Q310_RESULT_OK = 1;
constexpr int32_t Q310_RESULT_FAILED = 0;

// One request of an export: a failing status ends it with the message and result 0.
#define Q310_REQUEST(aStep, aText)                                                                           \
    do                                                                                                       \
    {                                                                                                        \
        const Kel_StatusCode q310Status_ = (aStep);                                                          \
        if (Kel_IsBad(q310Status_))                                                                          \
            return Q310_FailWith(kelScope, __LINE__, q310Status_, outErr, (aText));                          \
    } while (0)
// One request through a client command traced as part of the export (it takes kelScope and has written
// its failure lines): a failing status ends the export with the message and result 0.
#define Q310_REQUEST_TRACED(aStep, aText)                                                                    \
    do                                                                                                       \
    {                                                                                                        \
        if (Kel_IsBad((aStep)))                                                                              \
        {                                                                                                    \
            Q310_WriteText(outErr, (aText));                                                                 \
            return Q310_RESULT_FAILED;                                                                       \
        }                                                                                                    \
    } while (0)
// The null rejection of an export: Kel_BadInvalidArgument as the host's signed result.
#define Q310_REJECT_NULL(p)                                                                                  \
    do                                                                                                       \
    {                                                                                                        \
        if ((p) == KEL_NULL)                                                                                 \
            return static_cast<int32_t>(Kel_Trace_RejectNull(kelScope, __LINE__, #p));                       \
    } while (0)
