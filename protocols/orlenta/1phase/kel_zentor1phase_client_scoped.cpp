// Client commands traced as part of the calling export: parameters 0, 1, 2 and 0xFF of command 0x86,
// the production date fields, the design options, the PLC-I configuration, the tariff table of eight
// zones a day, the fast tariff table write and the tariff profile's mode. Every line is written under
// the caller's trace scope; no function here has an entry or exit line (see the header).
#define KEL_TRACE_FILE "protocols/orlenta/1phase/kel_zentor1phase_client_scoped"
#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"

#include "protocols/orlenta/1phase/kel_zentor1phase_client_private.h"

#include <cstring>

// The answer bytes of the last exchange and their count.
#define KEL_SCOPED_IN (pContext->ApplicationContext.inBuffer)
#define KEL_SCOPED_LENGTH (pContext->ApplicationContext.inBufferIndex)

// A failure of the caller's request: "--- GotoError: <code's name>. Statuscode 0x%08X".
#define KEL_SCOPED_FAIL_CODE(aCode)                                                                          \
    do                                                                                                       \
    {                                                                                                        \
        Kel_Trace_GotoCode(kelScope, __LINE__, #aCode, (aCode));                                             \
        return (aCode);                                                                                      \
    } while (0)

namespace
{
// A failed step of the caller's request: "--- GotoError: Bad statuscode 0x%08X".
Kel_StatusCode FailStep(const Kel_TraceScope& kelScope, int32_t aLine, Kel_StatusCode aStatus)
{
    Kel_Trace_GotoBad(kelScope, aLine, aStatus);
    return aStatus;
}

// A refusal the caller hands back as its result.
Kel_StatusCode HandBack(bool* pHandBack, Kel_StatusCode aStatus)
{
    *pHandBack = true;
    return aStatus;
}

// One read: without arguments through Kel_Zentor1Phase_Application_Read (whose entry line comes before
// that of the read with arguments), with them through Kel_Zentor1Phase_Application_ReadA. A failure is
// traced as the caller's failed step.
Kel_StatusCode ReadCommand(const Kel_TraceScope& kelScope, Kel_Zentor1Phase_ClientContext* pContext,
                           uint8_t aCommand, const uint8_t* pArguments = KEL_NULL, uint32_t aArgumentSize = 0)
{
    const Kel_StatusCode status =
        aArgumentSize == 0 ? Kel_Zentor1Phase_Application_Read(&pContext->ApplicationContext, aCommand)
                           : Kel_Zentor1Phase_Application_ReadA(&pContext->ApplicationContext, aCommand,
                                                                pArguments, aArgumentSize);
    return Kel_IsBad(status) ? FailStep(kelScope, __LINE__, status) : status;
}

// A write; a failure is traced as the caller's failed step.
Kel_StatusCode WriteCommand(const Kel_TraceScope& kelScope, Kel_Zentor1Phase_ClientContext* pContext,
                            uint8_t aCommand, const uint8_t* pArguments, uint32_t aArgumentSize)
{
    const Kel_StatusCode status = Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext, aCommand,
                                                                     pArguments, aArgumentSize);
    return Kel_IsBad(status) ? FailStep(kelScope, __LINE__, status) : status;
}

// The selector of command 0x86.
Kel_StatusCode ReadParameter(const Kel_TraceScope& kelScope, Kel_Zentor1Phase_ClientContext* pContext,
                             uint8_t aSelector)
{
    return ReadCommand(kelScope, pContext, KEL_ZENTOR1PHASE_RCMD_PARAMETER, &aSelector, 1);
}

constexpr uint8_t kReadTariffZones = 0x31;
constexpr uint8_t kWriteTariffZones = 0x11;
constexpr uint32_t kTariffZonesLength = 1 + 2 * KEL_ZENTOR1PHASE_RAW_TARIFF_ZONES;
constexpr uint8_t kWriteFastTariffTable = 0x78;
constexpr uint32_t kFastTariffTableSize = 35;
constexpr uint8_t kTariffProfileMode = 0x37;
constexpr Kel_Zentor1Phase_SwitchPoint kNoZone{0xFF, 0xFF, 0xFF};
} // namespace

Kel_StatusCode Kel_Zentor1Phase_Client_ReadReactivePower(const Kel_TraceScope& kelScope,
                                                         Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint32_t* pPower, bool* pHandBack)
{
    *pHandBack = false;
    const Kel_StatusCode status = ReadParameter(kelScope, pContext, 0x00);
    if (Kel_IsBad(status))
        return status;
    if (KEL_SCOPED_LENGTH != 5)
        return HandBack(pHandBack,
                        Kel_Trace_RejectIf(kelScope, __LINE__,
                                           "(&clientContext)->ApplicationContext.inBufferIndex != 5",
                                           Kel_BadDeviceUnknownResponse));
    if (KEL_SCOPED_IN[1] != 0)
        return HandBack(pHandBack, Kel_Trace_RejectIf(kelScope, __LINE__,
                                                      "(&clientContext)->ApplicationContext.inBuffer[1] != 0",
                                                      Kel_BadDeviceUnknownResponse));
    uint8_t d[3];
    const Kel_StatusCode converted = Kel_Zentor1Phase_ClientDecodeBcd(KEL_SCOPED_IN + 2, 3, d);
    if (Kel_IsBad(converted))
        return HandBack(pHandBack, Kel_Trace_RejectCode(kelScope, __LINE__, converted));
    *pPower = d[0] * 10000u + d[1] * 100u + d[2];
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadPowerFactor(const Kel_TraceScope& kelScope,
                                                       Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint8_t* pDigits)
{
    const Kel_StatusCode status = ReadParameter(kelScope, pContext, 0x02);
    if (Kel_IsBad(status))
        return status;
    if (KEL_SCOPED_LENGTH != 7)
        KEL_SCOPED_FAIL_CODE(Kel_BadDeviceUnknownResponse);
    uint8_t d[5];
    const Kel_StatusCode converted = Kel_Zentor1Phase_ClientDecodeBcd(KEL_SCOPED_IN + 2, 5, d);
    if (Kel_IsBad(converted))
        return FailStep(kelScope, __LINE__, converted);
    memcpy(pDigits, d, sizeof(d));
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadProdDateFields(const Kel_TraceScope& kelScope,
                                                          Kel_Zentor1Phase_ClientContext* pContext,
                                                          uint8_t* pDate, bool* pHandBack)
{
    *pHandBack = false;
    const Kel_StatusCode status = ReadCommand(kelScope, pContext, 0x66);
    if (Kel_IsBad(status))
        return status;
    if (KEL_SCOPED_LENGTH != 4)
        KEL_SCOPED_FAIL_CODE(Kel_BadDeviceUnknownResponse);
    // The same three BCD bytes Kel_Zentor1Phase_Client_ReadProdDate turns into a date.
    uint8_t d[3];
    const Kel_StatusCode converted = Kel_Zentor1Phase_ClientDecodeBcd(KEL_SCOPED_IN + 1, 3, d);
    if (Kel_IsBad(converted))
        return HandBack(pHandBack, Kel_Trace_RejectCode(kelScope, __LINE__, converted));
    memcpy(pDate, d, sizeof(d));
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadMeterType(const Kel_TraceScope& kelScope,
                                                     Kel_Zentor1Phase_ClientContext* pContext, uint8_t* pType,
                                                     uint8_t* pVariant)
{
    const Kel_StatusCode status = ReadParameter(kelScope, pContext, 0xFF);
    if (Kel_IsBad(status))
        return status;
    if (KEL_SCOPED_LENGTH != 18)
        KEL_SCOPED_FAIL_CODE(Kel_BadDeviceUnknownResponse);
    *pType = KEL_SCOPED_IN[2];
    *pVariant = KEL_SCOPED_IN[3];
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadDesignOptions(const Kel_TraceScope& kelScope,
                                                         Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t* pRelay, uint8_t* pPower, bool* pHandBack)
{
    *pHandBack = false;
    const Kel_StatusCode status = ReadCommand(kelScope, pContext, 0x65);
    if (Kel_IsBad(status))
        return status;
    if (KEL_SCOPED_LENGTH != 3)
        return HandBack(pHandBack,
                        Kel_Trace_RejectIf(kelScope, __LINE__,
                                           "(&clientContext)->ApplicationContext.inBufferIndex != 3",
                                           Kel_BadDeviceUnknownResponse));
    *pRelay = KEL_SCOPED_IN[1] != 0 ? 1 : 0;
    *pPower = KEL_SCOPED_IN[2] != 0 ? 1 : 0;
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadPlc1Config(const Kel_TraceScope& kelScope,
                                                      Kel_Zentor1Phase_ClientContext* pContext,
                                                      const uint8_t* pRequest, uint8_t* pConfig)
{
    const Kel_StatusCode status = ReadCommand(kelScope, pContext, 0x79, pRequest, 8);
    if (Kel_IsBad(status))
        return status;
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "inBufferIndex= %d\n", KEL_SCOPED_LENGTH);
    // Answers of 9 and of 11 bytes are both accepted.
    if ((KEL_SCOPED_LENGTH & ~2u) != 9)
        KEL_SCOPED_FAIL_CODE(Kel_BadDeviceErrorResponse);
    memcpy(pConfig, KEL_SCOPED_IN + 1, 8);
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadRelayParameter(const Kel_TraceScope& kelScope,
                                                          Kel_Zentor1Phase_ClientContext* pContext,
                                                          uint8_t* pState)
{
    const Kel_StatusCode status = ReadParameter(kelScope, pContext, 0x01);
    if (Kel_IsBad(status))
        return status;
    if (KEL_SCOPED_LENGTH != 3)
        KEL_SCOPED_FAIL_CODE(Kel_BadDeviceUnknownResponse);
    *pState = KEL_SCOPED_IN[2];
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadTariffZones(const Kel_TraceScope& kelScope,
                                                       Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint8_t Month, uint8_t WDay,
                                                       Kel_Zentor1Phase_SwitchPoint* pZones, bool* pHandBack)
{
    *pHandBack = false;
    const uint8_t selector = static_cast<uint8_t>(Month * 16 + WDay);
    const Kel_StatusCode status = ReadCommand(kelScope, pContext, kReadTariffZones, &selector, 1);
    if (Kel_IsBad(status))
        return status;
    if (KEL_SCOPED_LENGTH != kTariffZonesLength)
        KEL_SCOPED_FAIL_CODE(Kel_BadDeviceUnknownResponse);
    Kel_Zentor1Phase_SwitchPoint zones[KEL_ZENTOR1PHASE_RAW_TARIFF_ZONES];
    for (uint32_t z = 0; z < KEL_ZENTOR1PHASE_RAW_TARIFF_ZONES; ++z)
    {
        // The tariff in the top two bits of the hour byte; an hour byte of 255 leaves the zone unused
        // whatever the minute byte holds, a minute byte of 255 leaves the minute 255.
        const uint8_t a = KEL_SCOPED_IN[1 + 2 * z];
        const uint8_t b = KEL_SCOPED_IN[2 + 2 * z];
        zones[z] = kNoZone;
        if (a == 0xFF)
            continue;
        uint8_t hour = 0;
        uint8_t minute = 0xFF;
        Kel_StatusCode converted = Kel_Zentor1Phase_Utils_BCD2Byte(a & 0x3F, &hour);
        if (Kel_IsGood(converted) && b != 0xFF)
            converted = Kel_Zentor1Phase_Utils_BCD2Byte(b, &minute);
        if (Kel_IsBad(converted))
            return HandBack(pHandBack, Kel_Trace_RejectCode(kelScope, __LINE__, converted));
        zones[z] = {static_cast<uint8_t>(a >> 6), hour, minute};
    }
    memcpy(pZones, zones, sizeof(zones));
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteTariffZones(const Kel_TraceScope& kelScope,
                                                        Kel_Zentor1Phase_ClientContext* pContext,
                                                        uint8_t Month, uint8_t WDay,
                                                        const Kel_Zentor1Phase_SwitchPoint* pZones,
                                                        bool* pHandBack)
{
    *pHandBack = false;
    uint8_t payload[kTariffZonesLength];
    for (uint32_t z = 0; z < KEL_ZENTOR1PHASE_RAW_TARIFF_ZONES; ++z)
    {
        payload[2 * z] = 0xFF;
        payload[2 * z + 1] = 0xFF;
        if (pZones[z].tariff == 0xFF && pZones[z].hour == 0xFF && pZones[z].minute == 0xFF)
            continue;
        uint8_t hour = 0;
        uint8_t minute = 0;
        Kel_StatusCode converted = Kel_Zentor1Phase_Utils_Byte2BCD(pZones[z].hour, &hour);
        if (Kel_IsGood(converted))
            converted = Kel_Zentor1Phase_Utils_Byte2BCD(pZones[z].minute, &minute);
        if (Kel_IsBad(converted))
            return HandBack(pHandBack, Kel_Trace_RejectCode(kelScope, __LINE__, converted));
        // The tariff index is shifted without a range check.
        payload[2 * z] = static_cast<uint8_t>((pZones[z].tariff << 6) + hour);
        payload[2 * z + 1] = minute;
    }
    payload[2 * KEL_ZENTOR1PHASE_RAW_TARIFF_ZONES] = static_cast<uint8_t>(Month * 16 + WDay);
    return WriteCommand(kelScope, pContext, kWriteTariffZones, payload, sizeof(payload));
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteFastTariffTable(const Kel_TraceScope& kelScope,
                                                            Kel_Zentor1Phase_ClientContext* pContext,
                                                            const uint8_t* pTable)
{
    return WriteCommand(kelScope, pContext, kWriteFastTariffTable, pTable, kFastTariffTableSize);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadTariffProfileMode(const Kel_TraceScope& kelScope,
                                                             Kel_Zentor1Phase_ClientContext* pContext,
                                                             uint8_t* pMode)
{
    static constexpr uint8_t request[4] = {0xE0, 0x01, 0x12, 0x19};
    const Kel_StatusCode status =
        ReadCommand(kelScope, pContext, kTariffProfileMode, request, sizeof(request));
    if (Kel_IsBad(status))
        return status;
    if (KEL_SCOPED_LENGTH != 2)
        KEL_SCOPED_FAIL_CODE(Kel_BadDeviceUnknownResponse);
    *pMode = KEL_SCOPED_IN[1];
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteTariffProfileMode(const Kel_TraceScope& kelScope,
                                                              Kel_Zentor1Phase_ClientContext* pContext,
                                                              uint8_t aMode, uint8_t aDay, uint8_t aMonth,
                                                              uint16_t aYear)
{
    uint8_t payload[4] = {aMode, 0, 0, 0};
    const uint8_t fields[3] = {aDay, aMonth, static_cast<uint8_t>(aYear + 0x30)};
    for (uint32_t i = 0; i < 3; ++i)
    {
        const Kel_StatusCode converted = Kel_Zentor1Phase_Utils_Byte2BCD(fields[i], &payload[1 + i]);
        if (Kel_IsBad(converted))
            return FailStep(kelScope, __LINE__, converted);
    }
    return WriteCommand(kelScope, pContext, kTariffProfileMode, payload, sizeof(payload));
}

Kel_StatusCode Kel_Zentor1Phase_Client_SetReadTimeout(Kel_Zentor1Phase_ClientContext* pContext,
                                                      uint32_t aTimeout)
{
    pContext->ApplicationContext.transport.readTimeout = aTimeout;
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_Client_LastFrame(const Kel_Zentor1Phase_ClientContext* pContext,
                                                 const uint8_t** ppFrame, const uint32_t** ppLength)
{
    *ppFrame = pContext->ApplicationContext.transport.outFrame;
    *ppLength = &pContext->ApplicationContext.transport.outFrameIndex;
    return Kel_Good;
}
