// Client commands of the single-phase meter: energy registers and archives, power profiles, maxima,
// network values, the meter model, the power parameters of command 0x86, the raw pass-through.
#define KEL_TRACE_FILE "protocols/orlenta/1phase/kel_zentor1phase_client_energy"
#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"

#include "protocols/orlenta/1phase/kel_zentor1phase_client_private.h"
#include "shared/kel_cp1251.h"

#include <cstdio>
#include <cstring>

namespace
{
// The national words of the model text: "реле" (relay) and "авт.вкл" (automatic switching on).
constexpr auto kRelayWord = Kel_Cp1251("реле");
constexpr auto kAutoOnWord = Kel_Cp1251("авт.вкл");
constexpr const char* kFamily = "Zentor";

// Four BCD bytes to one energy value: the meter counts in units ten times larger.
Kel_StatusCode DecodeEnergy(const uint8_t* pBytes, uint32_t* pValue)
{
    uint8_t d[4];
    const Kel_StatusCode status = Kel_Zentor1Phase_ClientDecodeBcd(pBytes, 4, d);
    if (Kel_IsBad(status))
        return status;
    *pValue = (d[0] * 1000000u + d[1] * 10000u + d[2] * 100u + d[3]) * 10u;
    return Kel_Good;
}

Kel_StatusCode DecodeEnergies(const uint8_t* pBytes, uint32_t* pValues)
{
    for (uint32_t t = 0; t < 4; ++t)
    {
        const Kel_StatusCode status = DecodeEnergy(pBytes + 4 * t, &pValues[t]);
        if (Kel_IsBad(status))
            return status;
    }
    return Kel_Good;
}

// The body of the energy register reads: four values T1..T4 from in[1..16].
Kel_StatusCode ReadEnergies(const Kel_TraceScope& kelScope, Kel_Zentor1Phase_ClientContext* pContext,
                            uint8_t aCommand, const uint8_t* pArguments, uint32_t aArgumentSize,
                            uint32_t* pValues, const char* pSuccess)
{
    memset(pValues, 0, 4 * sizeof(uint32_t));
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_ReadA(&pContext->ApplicationContext, aCommand, pArguments,
                                                      aArgumentSize));
    KEL_CLIENT_LENGTH(17, Kel_BadDeviceUnknownResponse);
    uint32_t values[4];
    KEL_CLIENT_CHECK(DecodeEnergies(KEL_CLIENT_IN + 1, values));
    memcpy(pValues, values, sizeof(values));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "%s", pSuccess);
    KEL_EXIT(status);
}

// The body of the archive reads (command 0x37): the record's own CRC decides whether it is valid; an
// invalid record is not an error.
Kel_StatusCode ReadArchive(const Kel_TraceScope& kelScope, Kel_Zentor1Phase_ClientContext* pContext,
                           const uint8_t* pArguments, uint8_t aYear, uint8_t aMonth, uint8_t aDay,
                           Kel_Zentor1Phase_EnergyArchiveRecord* pRecord, const char* pSuccess)
{
    memset(pRecord, 0, sizeof(*pRecord));
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_ReadA(&pContext->ApplicationContext, 0x37, pArguments, 4));
    KEL_CLIENT_LENGTH(25, Kel_BadDeviceUnknownResponse);
    const uint32_t crc = Kel_Zentor1Phase_Transport_CalcCRC(KEL_CLIENT_IN, 1, 20);
    pRecord->valid = (KEL_CLIENT_IN[21] == static_cast<uint8_t>(crc >> 8) &&
                      KEL_CLIENT_IN[22] == static_cast<uint8_t>(crc))
                         ? 1
                         : 0;
    pRecord->year = aYear;
    pRecord->month = aMonth;
    pRecord->day = aDay;
    if (pRecord->valid == 0)
        KEL_EXIT(status);
    KEL_CLIENT_CHECK(DecodeEnergies(KEL_CLIENT_IN + 1, pRecord->energy));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "%s", pSuccess);
    KEL_EXIT(status);
}

// The time stamps of the maxima are the only meter dates the client checks.
Kel_StatusCode CheckHour(const Kel_TraceScope& kelScope, uint8_t aByte)
{
    KEL_REJECT_IF(aByte > 23, Kel_BadDeviceUnknownResponse);
    return Kel_Good;
}
Kel_StatusCode CheckMinuteOrSecond(const Kel_TraceScope& kelScope, uint8_t aByte)
{
    KEL_REJECT_IF(aByte > 59, Kel_BadDeviceUnknownResponse);
    return Kel_Good;
}
Kel_StatusCode CheckDay(const Kel_TraceScope& kelScope, uint8_t aByte)
{
    KEL_REJECT_IF(aByte == 0, Kel_BadDeviceUnknownResponse);
    KEL_REJECT_IF(aByte > 31, Kel_BadDeviceUnknownResponse);
    return Kel_Good;
}
Kel_StatusCode CheckMonth(const Kel_TraceScope& kelScope, uint8_t aByte)
{
    KEL_REJECT_IF(aByte == 0, Kel_BadDeviceUnknownResponse);
    KEL_REJECT_IF(aByte > 12, Kel_BadDeviceUnknownResponse);
    return Kel_Good;
}

// Parameters 0 to 2 of command 0x86: all three in order when pSelector is null, else the one it names
// (another value reads none).
Kel_StatusCode ReadParameters(Kel_Zentor1Phase_ClientContext* pContext, const uint8_t* pSelector,
                              Kel_Zentor1Phase_ParametersRecord* pParameters)
{
    KEL_ENTER_AS(Kel_Module_ZentorProtocolClient, "ReadParameters");
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pParameters);
    memset(pParameters, 0, sizeof(*pParameters));
    const bool all = pSelector == KEL_NULL;
    const uint8_t selector = all ? 0 : *pSelector;
    Kel_StatusCode status = Kel_Good;
    uint8_t argument = 0;
    if (all || selector == 0)
    {
        argument = 0;
        status = Kel_Zentor1Phase_Application_ReadA(&pContext->ApplicationContext,
                                                    KEL_ZENTOR1PHASE_RCMD_PARAMETER, &argument, 1);
        // An incomplete answer goes on with parameter 1 without storing anything (the exchange does
        // not give it, a time-out reaches here as an empty answer).
        if (status != Kel_BadDeviceIncompleteAnswer)
        {
            KEL_CLIENT_RUN(status);
            KEL_CLIENT_LENGTH(5, Kel_BadDeviceUnknownResponse);
            KEL_REJECT_IF(pContext->ApplicationContext.inBuffer[1] != 0, Kel_BadDeviceUnknownResponse);
            uint8_t d[3];
            KEL_CLIENT_CHECK(Kel_Zentor1Phase_ClientDecodeBcd(KEL_CLIENT_IN + 2, 3, d));
            pParameters->value0 = d[0] * 10000u + d[1] * 100u + d[2];
        }
    }
    if (all || selector == 1)
    {
        argument = 1;
        KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_ReadA(&pContext->ApplicationContext,
                                                          KEL_ZENTOR1PHASE_RCMD_PARAMETER, &argument, 1));
        KEL_CLIENT_LENGTH(3, Kel_BadDeviceUnknownResponse);
        KEL_REJECT_IF(pContext->ApplicationContext.inBuffer[1] != 1, Kel_BadDeviceUnknownResponse);
        const uint8_t state = KEL_CLIENT_IN[2];
        pParameters->state1 = state == 0x55 ? 1 : (state == 0xAA ? 2 : 0);
    }
    if (all || selector == 2)
    {
        argument = 2;
        KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_ReadA(&pContext->ApplicationContext,
                                                          KEL_ZENTOR1PHASE_RCMD_PARAMETER, &argument, 1));
        KEL_CLIENT_LENGTH(7, Kel_BadDeviceUnknownResponse);
        KEL_REJECT_IF(pContext->ApplicationContext.inBuffer[1] != 2, Kel_BadDeviceUnknownResponse);
        uint8_t d[5];
        KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_BCD2Byte(KEL_CLIENT_IN[2] & 0x7F, &d[0]));
        KEL_CLIENT_CHECK(Kel_Zentor1Phase_ClientDecodeBcd(KEL_CLIENT_IN + 3, 4, d + 1));
        const uint32_t magnitude = d[0] * 100u + d[1];
        // A set sign bit means positive.
        pParameters->value2a = (KEL_CLIENT_IN[2] & 0x80) != 0 ? magnitude * 0.001 : magnitude * -0.001;
        pParameters->value2b = d[2] * 10000u + d[3] * 100u + d[4];
    }
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadParameters");
    KEL_EXIT(status);
}
} // namespace

Kel_StatusCode Kel_Zentor1Phase_Client_ReadEnergy(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Type,
                                                  uint32_t* pValues)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pValues);
    KEL_REJECT_IF((Type != KEL_ZENTOR1PHASE_RCMD_ACTIVE_ENERGY) &&
                      (Type != KEL_ZENTOR1PHASE_RCMD_REACTIVE_ENERGY),
                  Kel_BadInvalidArgument);
    return ReadEnergies(kelScope, pContext, Type, KEL_NULL, 0, pValues, "ReadEnergy");
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadEnergyMonth12(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t Month, uint8_t aCommand, uint32_t* pValues)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pValues);
    KEL_REJECT_IF((Month > 11) && (Month != 15), Kel_BadInvalidArgument);
    KEL_REJECT_IF((aCommand != KEL_ZENTOR1PHASE_RCMD_ACTIVE_ENERGY_MONTH) &&
                      (aCommand != KEL_ZENTOR1PHASE_RCMD_REACTIVE_ENERGY_MONTH),
                  Kel_BadInvalidArgument);
    return ReadEnergies(kelScope, pContext, aCommand, &Month, 1, pValues, "ReadEnergyMonth12");
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadEnergyMonth48(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t Year, uint8_t Month,
                                                         Kel_Zentor1Phase_EnergyArchiveRecord* pRecord)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pRecord);
    KEL_REJECT_IF(Year > 99, Kel_BadInvalidArgument);
    KEL_REJECT_IF((Month == 0) || (Month > 12), Kel_BadInvalidArgument);
    uint8_t arguments[4] = {0x01, 0x01, 0, 0};
    KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(Month, &arguments[2]));
    KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(Year, &arguments[3]));
    return ReadArchive(kelScope, pContext, arguments, Year, Month, 1, pRecord, "ReadEnergyMonth48");
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadEnergyDay48(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Year,
                                                       uint8_t Month, uint8_t Day,
                                                       Kel_Zentor1Phase_EnergyArchiveRecord* pRecord)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pRecord);
    KEL_REJECT_IF(Year > 99, Kel_BadInvalidArgument);
    KEL_REJECT_IF((Month == 0) || (Month > 12), Kel_BadInvalidArgument);
    KEL_REJECT_IF((Day == 0) || (Day > 31), Kel_BadInvalidArgument);
    uint8_t arguments[4] = {0x00, 0, 0, 0};
    KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(Day, &arguments[1]));
    KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(Month, &arguments[2]));
    KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(Year, &arguments[3]));
    return ReadArchive(kelScope, pContext, arguments, Year, Month, Day, pRecord, "ReadEnergyDay48");
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadPowerUnit48(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Year,
                                                       uint8_t Month, uint8_t Day, uint8_t Hour,
                                                       uint8_t Minute,
                                                       Kel_Zentor1Phase_PowerProfileRecord* pRecord)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pRecord);
    KEL_REJECT_IF(Year > 99, Kel_BadInvalidArgument);
    KEL_REJECT_IF((Month == 0) || (Month > 12), Kel_BadInvalidArgument);
    KEL_REJECT_IF((Day == 0) || (Day > 31), Kel_BadInvalidArgument);
    KEL_REJECT_IF(Hour > 23, Kel_BadInvalidArgument);
    KEL_REJECT_IF(Minute > 59, Kel_BadInvalidArgument);
    memset(pRecord, 0, sizeof(*pRecord));
    // Six blocks of four hours a day, eight half-hour slots each.
    const uint8_t block = static_cast<uint8_t>((Hour * 60 + Minute) / 240);
    uint8_t arguments[4] = {static_cast<uint8_t>(0x10 + block), 0, 0, 0};
    KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(Day, &arguments[1]));
    KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(Month, &arguments[2]));
    KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(Year, &arguments[3]));
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_ReadA(&pContext->ApplicationContext, 0x37, arguments, 4));
    KEL_CLIENT_LENGTH(33, Kel_BadDeviceUnknownResponse);
    for (uint32_t i = 0; i < 8; ++i)
    {
        const uint8_t* slot = KEL_CLIENT_IN + 1 + 4 * i;
        // Each slot carries a CRC over its number, the date asked for and its two power bytes.
        const uint8_t checked[6] = {
            static_cast<uint8_t>(block * 8 + i), arguments[1], arguments[2], arguments[3], slot[0], slot[1]};
        const uint32_t crc = Kel_Zentor1Phase_Transport_CalcCRC(checked, 0, 6);
        if (slot[2] == static_cast<uint8_t>(crc >> 8) && slot[3] == static_cast<uint8_t>(crc))
        {
            pRecord->slots[i].valid = 1;
            pRecord->slots[i].power = (slot[0] + slot[1] * 256u) * 4u; // least significant byte first
        }
    }
    pRecord->year = Year;
    pRecord->month = Month;
    pRecord->day = Day;
    pRecord->hour = static_cast<uint8_t>(block * 4);
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadPowerUnutM48");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadMaximum(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Maximum,
                                                   Kel_Zentor1Phase_MaximumRecord* pRecord)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pRecord);
    KEL_REJECT_IF(Maximum > KEL_ZENTOR1PHASE_MAXIMUM_POWER, Kel_BadInvalidArgument);
    memset(pRecord, 0, sizeof(*pRecord));
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_ReadA(&pContext->ApplicationContext, 0x33, &Maximum, 1));
    if (pContext->ApplicationContext.inBufferIndex != 17)
    {
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR, "Maxixmum, inBufferIndex = %d (should be 17)\n",
                  static_cast<int>(pContext->ApplicationContext.inBufferIndex));
        KEL_EXIT_BAD(Kel_BadDeviceUnknownResponse);
    }
    Kel_Zentor1Phase_MaximumRecord record{};
    record.maximum = Maximum;
    for (uint32_t e = 0; e < 2; ++e)
    {
        uint8_t d[8];
        KEL_CLIENT_CHECK(Kel_Zentor1Phase_ClientDecodeBcd(KEL_CLIENT_IN + 1 + 8 * e, 8, d));
        Kel_StatusCode check = CheckHour(kelScope, d[2]);
        if (Kel_IsGood(check))
            check = CheckMinuteOrSecond(kelScope, d[3]);
        if (Kel_IsGood(check))
            check = CheckMinuteOrSecond(kelScope, d[4]);
        if (Kel_IsGood(check))
            check = CheckDay(kelScope, d[5]);
        if (Kel_IsGood(check))
            check = CheckMonth(kelScope, d[6]);
        if (Kel_IsBad(check))
            return check;
        Kel_Zentor1Phase_MaximumEntry& entry = record.entries[e];
        entry.value = static_cast<uint16_t>(d[0] * 100 + d[1]);
        entry.hour = d[2];
        entry.minute = d[3];
        entry.second = d[4];
        entry.day = d[5];
        entry.month = d[6];
        entry.year = d[7];
    }
    *pRecord = record;
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadPayloadPower(Kel_Zentor1Phase_ClientContext* pContext,
                                                        uint8_t* pValue)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pValue);
    memset(pValue, 0, 2);
    Kel_StatusCode status = Kel_Good;
    uint8_t d[2];
    KEL_CLIENT_READ_BCD(0x26, 3, Kel_BadDeviceUnknownResponse, 1, 2, d);
    memcpy(pValue, d, 2);
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadPayloadPower power in the payload: %d.%d kw\n", d[0], d[1]);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadUIP(Kel_Zentor1Phase_ClientContext* pContext, uint32_t* v,
                                               uint32_t* i, uint32_t* p)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(v);
    KEL_REJECT_NULL(i);
    KEL_REJECT_NULL(p);
    *v = 0;
    *i = 0;
    *p = 0;
    Kel_StatusCode status = Kel_Good;
    uint8_t d[7];
    KEL_CLIENT_READ_BCD(0x63, 8, Kel_BadDeviceUnknownResponse, 1, 7, d);
    // The meter's units, handed on undivided.
    *v = d[0] * 100u + d[1];
    *i = d[2] * 100u + d[3];
    *p = d[4] * 10000u + d[5] * 100u + d[6];
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadUIP");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadExtendedNetParams(Kel_Zentor1Phase_ClientContext* pContext,
                                                             Kel_Zentor1Phase_ExtendedNetParams* pValue)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pValue);
    *pValue = Kel_Zentor1Phase_ExtendedNetParams{};
    Kel_StatusCode status = Kel_Good;
    uint8_t d[2];
    KEL_CLIENT_READ_BCD(0x81, 11, Kel_BadDeviceUnknownResponse, 1, 2, d);
    pValue->frequency = static_cast<uint16_t>(d[0] * 100 + d[1]);
    pValue->value1 = static_cast<uint8_t>(KEL_CLIENT_IN[3] + 1);
    pValue->value2 = KEL_CLIENT_IN[4];
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadExtendedNetParams");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadModel(Kel_Zentor1Phase_ClientContext* pContext,
                                                 Kel_Zentor1Phase_ModelRecord* pModel)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pModel);
    memset(pModel, 0, sizeof(*pModel));
    const uint8_t argument = 0xFF;
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_ReadA(&pContext->ApplicationContext,
                                                      KEL_ZENTOR1PHASE_RCMD_PARAMETER, &argument, 1));
    KEL_REJECT_IF(pContext->ApplicationContext.inBufferIndex < 4, Kel_BadDeviceUnknownResponse);
    KEL_REJECT_IF(pContext->ApplicationContext.inBuffer[0] != KEL_ZENTOR1PHASE_RCMD_PARAMETER,
                  Kel_BadDeviceUnknownResponse);
    KEL_REJECT_IF(pContext->ApplicationContext.inBuffer[1] != 0xFF, Kel_BadDeviceUnknownResponse);
    const uint8_t model = KEL_CLIENT_IN[2];
    const uint8_t variant = KEL_CLIENT_IN[3];
    const char* base = KEL_NULL;
    switch (model)
    {
        case 2:
            base = "%s 310";
            break;
        case 4:
            base = "%s 313.2T";
            break;
        case 6:
            base = "%s 313.2TR";
            break;
        case 8:
            base = "%s 316";
            break;
        case 10:
            base = "%s 311.8TLO";
            break;
        default:
            break;
    }
    if (base != KEL_NULL)
    {
        char* text = pModel->text;
        const size_t size = sizeof(pModel->text);
        snprintf(text, size, base, kFamily);
        const size_t used = strlen(text);
        const char* relay = kRelayWord.text;
        const char* autoOn = kAutoOnWord.text;
        if ((model == 4 || model == 6) && variant == 1)
        {
            snprintf(text + used, size - used, ", %s", relay);
            pModel->relay = 1;
        }
        else if ((model == 4 || model == 6) && variant == 3)
            snprintf(text + used, size - used, ", %s", "120(L)");
        else if (model == 8 && variant == 1)
            snprintf(text + used, size - used, ", %s", "RS485");
        else if (model == 8 && (variant == 2 || variant == 3))
        {
            snprintf(text + used, size - used, ", %s, %s", variant == 2 ? "RS485" : "PLC", relay);
            pModel->relay = 1;
        }
        else if (model == 8 && (variant == 4 || variant == 5))
        {
            snprintf(text + used, size - used, ", %s, %s, %s", variant == 4 ? "RS485" : "PLC", relay, autoOn);
            pModel->relay = 1;
        }
        else if (model == 10 && variant == 3)
            snprintf(text + used, size - used, ", %s", relay); // the relay flag stays 0 for this variant
    }
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadParameters(Kel_Zentor1Phase_ClientContext* pContext,
                                                      Kel_Zentor1Phase_ParametersRecord* pParameters)
{
    return ReadParameters(pContext, KEL_NULL, pParameters);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadParameters2(Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint8_t aSelector,
                                                       Kel_Zentor1Phase_ParametersRecord* pParameters)
{
    return ReadParameters(pContext, &aSelector, pParameters);
}

Kel_StatusCode Kel_Zentor1Phase_Client_SendCommand(Kel_Zentor1Phase_ClientContext* pContext,
                                                   const uint8_t* pCommand, uint32_t aCommandSize,
                                                   uint8_t* pAnswer, uint32_t aAnswerSize,
                                                   uint32_t* pReceived)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pCommand);
    KEL_REJECT_NULL(pAnswer);
    KEL_REJECT_NULL(pReceived);
    memset(pAnswer, 0, aAnswerSize);
    *pReceived = 0;
    Kel_StatusCode status = Kel_Zentor1Phase_Application_SendAnyDataAndGetAnswer(
        &pContext->ApplicationContext, pCommand, aCommandSize);
    const uint32_t received = pContext->ApplicationContext.inBufferIndex;
    const char* pCodeName = KEL_NULL;
    if (Kel_IsGood(status) && status != Kel_GoodNoData)
    {
        if (received == 0)
        {
            status = Kel_BadDeviceAnswerTimeout;
            pCodeName = "Kel_BadDeviceAnswerTimeout";
        }
        else if (received > aAnswerSize)
        {
            status = Kel_BadOutOfRange;
            pCodeName = "Kel_BadOutOfRange";
        }
        else
        {
            memcpy(pAnswer, pContext->ApplicationContext.inBuffer, received);
            *pReceived = received;
        }
    }
    if (Kel_IsGood(status))
        KEL_EXIT(status);
    if (pCodeName != KEL_NULL)
        Kel_Trace_GotoCode(kelScope, __LINE__, pCodeName, status);
    else
        Kel_Trace_GotoBad(kelScope, __LINE__, status);
    KEL_TRACE_DUMP(KEL_TRACE_LEVEL_ERROR, pCommand, aCommandSize, "SendCommand - Fail, Tx: ");
    KEL_TRACE_DUMP(KEL_TRACE_LEVEL_ERROR, pContext->ApplicationContext.inBuffer, received,
                   "SendCommand - Fail, Rx: ");
    KEL_EXIT_BAD(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_EnablePowerLimit(Kel_Zentor1Phase_ClientContext* pContext,
                                                        uint32_t aEnable)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    uint8_t mode = 0;
    Kel_StatusCode status = Kel_Zentor1Phase_Client_ReadRelayControlMode(pContext, &mode);
    if (status == Kel_GoodNoData)
        KEL_EXIT(status);
    if (Kel_IsGood(status))
    {
        // 0xAA is kept as it is; otherwise 0x55 enables and 0x00 disables the limit.
        const uint8_t next = mode == 0xAA ? 0xAA : (aEnable != 0 ? 0x55 : 0x00);
        status = Kel_Zentor1Phase_Client_WriteRelayControlMode(pContext, next);
    }
    if (Kel_IsGood(status))
        KEL_EXIT(status);
    Kel_Trace_GotoBad(kelScope, __LINE__, status);
    KEL_TRACE_DUMP(KEL_TRACE_LEVEL_ERROR, pContext->ApplicationContext.inBuffer,
                   pContext->ApplicationContext.inBufferIndex,
                   "EnablePowerLimit - Fail, Enable=%d, Rx: ", static_cast<int>(aEnable));
    KEL_EXIT_BAD(status);
}
