// Helpers of the settings, tariff and journal exports on top of the shared export skeleton: the
// session's client context, the one-request step and the null rejection as the host's signed result.
#pragma once

#include <cstdint>

#include "Q310/q310_export_support.h"
#include "Q310/q310_session.h" // clientContext, the session's protocol client
#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"

// Host-visible result codes of the exports.
constexpr int32_t Q310_RESULT_OK = 1;
constexpr int32_t Q310_RESULT_FAILED = 0;

// Entry of an export under its own name with the leading underscore.
#define Q310_ENTER(aName) KEL_ENTER_AS(Kel_Module_ZentorProtocolClient, "_" aName)
// One request of an export: a failing status ends it with the message and result 0.
#define Q310_REQUEST(aStep, aText)                                                                           \
    do                                                                                                       \
    {                                                                                                        \
        const Kel_StatusCode q310Status_ = (aStep);                                                          \
        if (Kel_IsBad(q310Status_))                                                                          \
            return Q310_FailWith(kelScope, __LINE__, q310Status_, outErr, (aText));                          \
    } while (0)
// A raw answer of the wrong length: "--- GotoError: Kel_BadDeviceUnknownResponse. Statuscode 0x%08X\n",
// the message, result 0.
#define Q310_FAIL_LENGTH(aText)                                                                              \
    return Q310_FailCode(kelScope, __LINE__, "Kel_BadDeviceUnknownResponse", Kel_BadDeviceUnknownResponse,   \
                         outErr, (aText))
// The null rejection of an export: Kel_BadInvalidArgument as the host's signed result.
#define Q310_REJECT_NULL(p)                                                                                  \
    do                                                                                                       \
    {                                                                                                        \
        if ((p) == KEL_NULL)                                                                                 \
            return static_cast<int32_t>(Kel_Trace_RejectNull(kelScope, __LINE__, #p));                       \
    } while (0)
