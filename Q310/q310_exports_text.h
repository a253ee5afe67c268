// Helpers shared by the settings, tariff and journal exports: the host texts in the Windows-1251
// code page built at compile time from the source's UTF-8, the failure step that writes an export's
// fixed message, and the client context of the session.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"
#include "shared/kel_trace.h"

// The session's protocol client, created by eReadSerialNumber.
extern Kel_Zentor1Phase_ClientContext clientContext;

// A Windows-1251 text converted at compile time from a UTF-8 literal (u8"..."): ASCII is copied, the
// Cyrillic letters А..я, Ё and ё are mapped; any other character stops the build.
template <size_t N> struct Q310_Cp1251
{
    char text[N]{};
    size_t length = 0;

    consteval Q310_Cp1251(const char8_t (&utf8)[N])
    {
        size_t in = 0;
        while (in < N && utf8[in] != 0)
        {
            const unsigned c = utf8[in];
            if (c < 0x80)
            {
                text[length++] = static_cast<char>(c);
                in += 1;
                continue;
            }
            const unsigned c2 = (in + 1 < N) ? static_cast<unsigned>(utf8[in + 1]) : 0u;
            const unsigned code = ((c & 0x1Fu) << 6) | (c2 & 0x3Fu);
            if ((c & 0xE0u) != 0xC0u || (c2 & 0xC0u) != 0x80u)
                throw "only one- and two-byte characters";
            if (code >= 0x410 && code <= 0x44F)
                text[length++] = static_cast<char>(0xC0 + (code - 0x410));
            else if (code == 0x401)
                text[length++] = static_cast<char>(0xA8);
            else if (code == 0x451)
                text[length++] = static_cast<char>(0xB8);
            else
                throw "character without a Windows-1251 form";
            in += 2;
        }
        text[length] = 0;
    }
};

// Host-visible result codes of the exports.
constexpr int32_t Q310_RESULT_OK = 1;
constexpr int32_t Q310_RESULT_FAILED = 0;

// A failed request of an export: "--- GotoError: Bad statuscode 0x%08X\n", the export's message into
// the host's error buffer, result 0.
inline int32_t Q310_Fail(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus, char* outErr,
                         const char* pMessage)
{
    Kel_Trace_GotoBad(aScope, aLine, aStatus);
    strcpy(outErr, pMessage);
    return Q310_RESULT_FAILED;
}

// A raw answer of the wrong length: "--- GotoError: Kel_BadDeviceUnknownResponse. Statuscode 0x%08X\n",
// the message, result 0.
inline int32_t Q310_FailLength(const Kel_TraceScope& aScope, int32_t aLine, char* outErr,
                               const char* pMessage)
{
    Kel_Trace_GotoCode(aScope, aLine, "Kel_BadDeviceUnknownResponse", Kel_BadDeviceUnknownResponse);
    strcpy(outErr, pMessage);
    return Q310_RESULT_FAILED;
}

// Entry of an export: its name with the leading underscore, module Kel_Module_ZentorProtocolClient.
#define Q310_ENTER(aName) KEL_ENTER_AS(Kel_Module_ZentorProtocolClient, "_" aName)
// One request of an export: a failing status ends it with the message and result 0.
#define Q310_REQUEST(aStep, aMessage)                                                                        \
    do                                                                                                       \
    {                                                                                                        \
        const Kel_StatusCode q310Status_ = (aStep);                                                          \
        if (Kel_IsBad(q310Status_))                                                                          \
            return Q310_Fail(kelScope, __LINE__, q310Status_, outErr, (aMessage));                           \
    } while (0)
// The null rejection of an export: Kel_BadInvalidArgument as the host's signed result.
#define Q310_REJECT_NULL(p)                                                                                  \
    do                                                                                                       \
    {                                                                                                        \
        if ((p) == KEL_NULL)                                                                                 \
            return static_cast<int32_t>(Kel_Trace_RejectNull(kelScope, __LINE__, #p));                       \
    } while (0)
