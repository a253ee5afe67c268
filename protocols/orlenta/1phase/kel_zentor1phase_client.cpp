// Client commands of the single-phase meter: context, serial set-up, identity, clock and settings.
// (Energy, maxima, network values and profiles are in kel_zentor1phase_client_energy.cpp.)
#define KEL_TRACE_FILE "protocols/orlenta/1phase/kel_zentor1phase_client"
#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"

#include "protocols/orlenta/1phase/kel_zentor1phase_client_private.h"
#include "shared/kel_utils.h"

#include <cmath>
#include <cstdio>
#include <cstring>

Kel_StatusCode Kel_Zentor1Phase_ClientLengthMismatch(const Kel_TraceScope& aScope, int32_t aLine,
                                                     uint32_t aLength, Kel_StatusCode aCode)
{
    char expression[64];
    snprintf(expression, sizeof(expression), "pContext->ApplicationContext.inBufferIndex != %u",
             static_cast<unsigned>(aLength));
    return Kel_Trace_RejectIf(aScope, aLine, expression, aCode);
}

Kel_StatusCode Kel_Zentor1Phase_ClientDecodeBcd(const uint8_t* pIn, uint32_t aCount, uint8_t* pOut)
{
    for (uint32_t i = 0; i < aCount; ++i)
    {
        const Kel_StatusCode status = Kel_Zentor1Phase_Utils_BCD2Byte(pIn[i], &pOut[i]);
        if (Kel_IsBad(status))
            return status;
    }
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_ClientMakeDate(uint8_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour,
                                               uint8_t aMinute, uint8_t aSecond, DateTime* pDateTime)
{
    // Two-digit years: below 51 this century, 51 and above the last.
    const uint16_t year = static_cast<uint16_t>(aYear < 51 ? 2000 + aYear : 1900 + aYear);
    return Kel_Utils_CreateDateTime(year, aMonth, aDay, aHour, aMinute, aSecond, 0, pDateTime);
}

namespace
{
// The body of the reads that hand back answer bytes 1..aCount as they are.
// pSuccessFormat, when given, is the success trace line; it receives the first byte handed back.
Kel_StatusCode ReadRaw(const Kel_TraceScope& kelScope, Kel_Zentor1Phase_ClientContext* pContext,
                       uint8_t aCommand, uint32_t aLength, Kel_StatusCode aMismatch, uint8_t* pOut,
                       uint32_t aCount, const char* pSuccessFormat = KEL_NULL)
{
    memset(pOut, 0, aCount);
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_READ(aCommand, aLength, aMismatch);
    memcpy(pOut, KEL_CLIENT_IN + 1, aCount);
    if (pSuccessFormat != KEL_NULL)
        Kel_P_Trace_Imp(kelScope.module, KEL_TRACE_LEVEL_FLOW, KEL_NULL, 0, kelScope.file, __LINE__,
                        pSuccessFormat, pOut[0]);
    KEL_EXIT(status);
}

// The body of the reads of a seven-byte time record (answer length 8, mismatch is an error answer).
Kel_StatusCode ReadTime7(const Kel_TraceScope& kelScope, Kel_Zentor1Phase_ClientContext* pContext,
                         uint8_t aCommand, Kel_Zentor1Phase_MeterTime7* pDateTime)
{
    memset(pDateTime, 0, sizeof(*pDateTime));
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_READ(aCommand, 8, Kel_BadDeviceErrorResponse);
    Kel_Zentor1Phase_MeterTime7 decoded{};
    KEL_CLIENT_CHECK(Kel_Zentor1Phase_ClientDecodeBcd(KEL_CLIENT_IN + 1, 7, decoded.value));
    *pDateTime = decoded;
    KEL_EXIT(status);
}

// A write of one argument byte.
Kel_StatusCode WriteByte(Kel_Zentor1Phase_ClientContext* pContext, uint8_t aCommand, uint8_t aValue)
{
    return Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext, aCommand, &aValue, 1);
}

const char* DryOutputModeText(uint8_t aMode)
{
    switch (aMode)
    {
        case 0:
            return "    5000 pulses per kWatt*hour";
        case 1:
            return "    10000 pulses per kWatt*hour";
        case 2:
            return "    CPU Frequency/8 (Hz)";
        case 3:
            return "    Payload Control";
        default:
            return "    Unknown mode";
    }
}
// The success line of a one-byte setting, when its row has one; it receives the byte.
void TraceSetting(const Kel_TraceScope& kelScope, int32_t aLine, const char* pFormat, uint8_t aValue)
{
    if (pFormat != KEL_NULL && Kel_P_Trace_IsEnabled(kelScope.module, KEL_TRACE_LEVEL_FLOW))
        Kel_P_Trace_Imp(kelScope.module, KEL_TRACE_LEVEL_FLOW, KEL_NULL, 0, kelScope.file, aLine, pFormat,
                        aValue);
}

// True when aRejects refuses exactly the bytes outside aLow..aHigh: a row's traced rejection and its
// range state one fact twice, so the two are compared when the client is compiled.
template <typename Rejects> constexpr bool RefusesOutside(Rejects aRejects, uint32_t aLow, uint32_t aHigh)
{
    for (uint32_t value = 0; value < 256; ++value)
        if (aRejects(value) != (value < aLow || value > aHigh))
            return false;
    return true;
}
} // namespace

// The regular commands of kel_zentor1phase_commands.def: for a one-byte setting one read and one write
// where its kind is BYTE, for a time record its read. A read hands back answer byte 1 as it is; a write sends
// its one argument byte.
#define KEL_SETTING_CAT_(a, b) a##b
#define KEL_SETTING_CAT(a, b) KEL_SETTING_CAT_(a, b)
#define KEL_SETTING_READ_OWN(...)
#define KEL_SETTING_READ_NONE(...)
#define KEL_SETTING_WRITE_OWN(...)
#define KEL_SETTING_WRITE_NONE(...)
#define KEL_SETTING_READ_BYTE(aFunction, aResult, aCommand, aLength, aMismatch, aTrace)                      \
    Kel_StatusCode aFunction(Kel_Zentor1Phase_ClientContext* pContext, uint8_t* aResult)                     \
    {                                                                                                        \
        KEL_ENTER(Kel_Module_ZentorProtocolClient);                                                          \
        KEL_REJECT_NULL(pContext);                                                                           \
        KEL_REJECT_NULL(aResult);                                                                            \
        return ReadRaw(kelScope, pContext, (aCommand), (aLength), (aMismatch), aResult, 1, (aTrace));        \
    }
#define KEL_SETTING_WRITE_BYTE(aFunction, aArgument, aCommand, aRejection, aTrace, aLow, aHigh)              \
    static_assert(RefusesOutside([]([[maybe_unused]] uint32_t aArgument)                                     \
                                 { return static_cast<bool>(aRejection); },                                  \
                                 (aLow), (aHigh)),                                                           \
                  "the rejection of " #aFunction " does not match its range");                               \
    Kel_StatusCode aFunction(Kel_Zentor1Phase_ClientContext* pContext, uint8_t aArgument)                    \
    {                                                                                                        \
        KEL_ENTER(Kel_Module_ZentorProtocolClient);                                                          \
        KEL_REJECT_NULL(pContext);                                                                           \
        KEL_REJECT_IF(aRejection, Kel_BadInvalidArgument);                                                   \
        Kel_StatusCode status = Kel_Good;                                                                    \
        KEL_CLIENT_RUN(WriteByte(pContext, (aCommand), aArgument));                                          \
        TraceSetting(kelScope, __LINE__, (aTrace), aArgument);                                               \
        KEL_EXIT(status);                                                                                    \
    }
#define KEL_ZENTOR1PHASE_SETTING(aReadKind, aRead, aResult, aReadCommand, aLength, aMismatch, aReadTrace,    \
                                 aWriteKind, aWrite, aArgument, aWriteCommand, aRejection, aWriteTrace,      \
                                 aLow, aHigh, ...)                                                           \
    KEL_SETTING_CAT(KEL_SETTING_READ_, aReadKind)                                                            \
    (aRead, aResult, aReadCommand, aLength, aMismatch, aReadTrace)                                           \
        KEL_SETTING_CAT(KEL_SETTING_WRITE_, aWriteKind)(aWrite, aArgument, aWriteCommand, aRejection,        \
                                                        aWriteTrace, aLow, aHigh)
#define KEL_ZENTOR1PHASE_TIME7(aFunction, aCommand)                                                          \
    Kel_StatusCode aFunction(Kel_Zentor1Phase_ClientContext* pContext,                                       \
                             Kel_Zentor1Phase_MeterTime7* pDateTime)                                         \
    {                                                                                                        \
        KEL_ENTER(Kel_Module_ZentorProtocolClient);                                                          \
        KEL_REJECT_NULL(pContext);                                                                           \
        KEL_REJECT_NULL(pDateTime);                                                                          \
        return ReadTime7(kelScope, pContext, (aCommand), pDateTime);                                         \
    }
#include "protocols/orlenta/1phase/kel_zentor1phase_commands.def"

Kel_StatusCode Kel_Zentor1Phase_Client_CreateContext(Kel_Zentor1Phase_ClientContext* pContext,
                                                     Kel_SerialChannel_Context* pSerialChannel,
                                                     uint32_t aAddress, uint32_t aWriteTimeout,
                                                     uint32_t aReadTimeout, uint32_t aAnswerTimeout,
                                                     uint32_t p1, uint32_t p2, uint8_t p3, uint32_t p4,
                                                     uint32_t p5)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pSerialChannel);
    memset(pContext, 0, sizeof(*pContext));
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_Zentor1Phase_Application_CreateContext(
                                &pContext->ApplicationContext, pSerialChannel, aAddress, aWriteTimeout,
                                aReadTimeout, aAnswerTimeout));
    pContext->serialParam1 = p1;
    pContext->serialParam2 = p2;
    pContext->serialParam3 = p3;
    pContext->serialParam4 = p4;
    pContext->serialParam5 = p5;
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_SetupSerialChannel(Kel_Zentor1Phase_ClientContext* pContext)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_SerialChannel_SetParams(pContext->ApplicationContext.transport.pSerialChannel,
                                                        pContext->serialParam1, pContext->serialParam2,
                                                        pContext->serialParam3,
                                                        static_cast<int32_t>(pContext->serialParam4),
                                                        static_cast<int32_t>(pContext->serialParam5)));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadSerial(Kel_Zentor1Phase_ClientContext* pContext,
                                                  char* pSerialNumber, uint32_t aSerialNumberSizeInBytes)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pSerialNumber);
    KEL_REJECT_IF(aSerialNumberSizeInBytes < 9, Kel_BadInvalidArgument);
    memset(pSerialNumber, 0, aSerialNumberSizeInBytes);
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_READ(0x2F, 5, Kel_BadDeviceUnknownResponse);
    uint32_t number = 0;
    KEL_GOTO_IF_BAD(status, Kel_Zentor1Phase_Utils_PackUInt32(KEL_CLIENT_IN, KEL_ZENTOR1PHASE_IN_BUFFER_SIZE,
                                                              1, &number));
    // Exactly eight digits: a longer number loses its highest digits.
    char digits[16];
    snprintf(digits, sizeof(digits), "%08lu", static_cast<unsigned long>(number % 100000000u));
    memcpy(pSerialNumber, digits, 9);
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadSerial, SerialNumber= (%s)", pSerialNumber);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteNewAddress(Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint32_t aNewAddress)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    uint8_t bytes[4];
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_Zentor1Phase_Utils_UnpackUInt32(bytes, sizeof(bytes), 0, aNewAddress));
    // The transport keeps the old address: talking to the meter under its new one needs a new client.
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext, 0x00, bytes, 4));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteNewAddress success (%d)\n", static_cast<int>(aNewAddress));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadGroupAddress(Kel_Zentor1Phase_ClientContext* pContext,
                                                        uint32_t* address)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(address);
    *address = 0;
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_READ(0x20, 5, Kel_BadDeviceUnknownResponse);
    KEL_GOTO_IF_BAD(status, Kel_Zentor1Phase_Utils_PackUInt32(KEL_CLIENT_IN, KEL_ZENTOR1PHASE_IN_BUFFER_SIZE,
                                                              1, address));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadGroupAddress, Group Address= %08X", *address);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteGroupAddress(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint32_t aGroupAddress)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    uint8_t bytes[4];
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_Zentor1Phase_Utils_UnpackUInt32(bytes, sizeof(bytes), 0, aGroupAddress));
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext, 0x01, bytes, 4));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteGroupAddress success (%d)\n", static_cast<int>(aGroupAddress));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadTime(Kel_Zentor1Phase_ClientContext* pContext, DateTime* pDateTime)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pDateTime);
    *pDateTime = DateTime{};
    Kel_StatusCode status = Kel_Good;
    // Day of week, hour, minute, second, day, month, year; the day of week is not used.
    uint8_t d[7];
    KEL_CLIENT_READ_BCD(0x21, 8, Kel_BadDeviceErrorResponse, 1, 7, d);
    KEL_GOTO_IF_BAD(status, Kel_Zentor1Phase_ClientMakeDate(d[6], d[5], d[4], d[1], d[2], d[3], pDateTime));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadProdDate(Kel_Zentor1Phase_ClientContext* pContext,
                                                    DateTime* pDateTime)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pDateTime);
    *pDateTime = DateTime{};
    Kel_StatusCode status = Kel_Good;
    uint8_t d[3];
    KEL_CLIENT_READ_BCD(0x66, 4, Kel_BadDeviceErrorResponse, 1, 3, d);
    KEL_GOTO_IF_BAD(status, Kel_Zentor1Phase_ClientMakeDate(d[2], d[1], d[0], 0, 0, 0, pDateTime));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteDateTime(Kel_Zentor1Phase_ClientContext* pContext,
                                                     const Kel_Zentor1Phase_MeterTime7* pDateTime)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pDateTime);
    uint8_t bytes[7];
    for (uint32_t i = 0; i < 7; ++i)
        KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(pDateTime->value[i], &bytes[i]));
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext, 0x02, bytes, 7));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteDateTime success");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteTime(Kel_Zentor1Phase_ClientContext* pContext,
                                                 const DateTime* pDateTime)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pDateTime);
    Kel_StatusCode status = Kel_Good;
    uint16_t year = 0;
    uint16_t millisecond = 0;
    Kel_Zentor1Phase_MeterTime7 time{};
    uint8_t* v = time.value;
    KEL_GOTO_IF_BAD(
        status, Kel_Utils_DecodeDateTime(pDateTime, &year, &v[5], &v[4], &v[1], &v[2], &v[3], &millisecond));
    v[0] = static_cast<uint8_t>(Kel_Utils_GetDayOfWeek(year, v[5], v[4]));
    v[6] = static_cast<uint8_t>(year % 100);
    KEL_GOTO_IF_BAD(status, Kel_Zentor1Phase_Client_WriteDateTime(pContext, &time));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadPowerLimit(Kel_Zentor1Phase_ClientContext* pContext,
                                                      double* pValue)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pValue);
    *pValue = 0;
    Kel_StatusCode status = Kel_Good;
    uint8_t d[2];
    KEL_CLIENT_READ_BCD(0x22, 3, Kel_BadDeviceUnknownResponse, 1, 2, d);
    *pValue = (d[0] * 100.0 + d[1]) * 10.0;
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WritePowerLimit(Kel_Zentor1Phase_ClientContext* pContext,
                                                       double aValue)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    // Watts: whole kilowatts (at most 99), then tens of watts. A negative power cannot be encoded and is
    // refused as an invalid BCD value.
    const double clamped = std::fmin(std::fmax(aValue, -1.0e9), 1.0e9);
    const int64_t watts = static_cast<int64_t>(std::trunc(clamped));
    const int64_t kilowatts = watts / 1000 > 99 ? 99 : watts / 1000;
    const int64_t tens = watts % 1000 / 10;
    uint8_t bytes[2];
    KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(
        watts < 0 ? 0xFFFFFFFFu : static_cast<uint32_t>(kilowatts), &bytes[0]));
    KEL_CLIENT_CHECK(
        Kel_Zentor1Phase_Utils_Byte2BCD(watts < 0 ? 0xFFFFFFFFu : static_cast<uint32_t>(tens), &bytes[1]));
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext, 0x03, bytes, 2));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadEnergyLimit(Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint16_t* pValue)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pValue);
    *pValue = 0;
    Kel_StatusCode status = Kel_Good;
    uint8_t d[2];
    KEL_CLIENT_READ_BCD(0x23, 3, Kel_BadDeviceUnknownResponse, 1, 2, d);
    *pValue = static_cast<uint16_t>(d[0] * 100 + d[1]);
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadEnergyLimit() success");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteEnergyLimit(Kel_Zentor1Phase_ClientContext* pContext,
                                                        uint16_t aValue)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    uint8_t bytes[2];
    KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(aValue / 100u, &bytes[0]));
    KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(aValue % 100u, &bytes[1]));
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext, 0x04, bytes, 2));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteEnergyLimit() success");
    KEL_EXIT(status);
}

Kel_StatusCode
Kel_Zentor1Phase_Client_ReadTariffEnergyLimit(Kel_Zentor1Phase_ClientContext* pContext,
                                              Kel_Zentor1Phase_TariffEnergyLimit* tariffEnergyLimit)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(tariffEnergyLimit);
    memset(tariffEnergyLimit, 0, 4 * sizeof(*tariffEnergyLimit));
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_READ(0x6E, 17, Kel_BadDeviceUnknownResponse);
    Kel_Zentor1Phase_TariffEnergyLimit limits[4]{};
    for (uint32_t t = 0; t < 4; ++t)
    {
        const uint8_t* group = KEL_CLIENT_IN + 1 + 4 * t;
        uint8_t d[3];
        KEL_CLIENT_CHECK(Kel_Zentor1Phase_ClientDecodeBcd(group, 3, d));
        limits[t].value = d[0] * 10000u + d[1] * 100u + d[2];
        limits[t].flag = group[3];
    }
    memcpy(tariffEnergyLimit, limits, sizeof(limits));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadTariffEnergyLimit() success");
    KEL_EXIT(status);
}

Kel_StatusCode
Kel_Zentor1Phase_Client_WriteTariffEnergyLimit(Kel_Zentor1Phase_ClientContext* pContext,
                                               const Kel_Zentor1Phase_TariffEnergyLimit* tariffEnergyLimit)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(tariffEnergyLimit);
    uint8_t bytes[16];
    for (uint32_t t = 0; t < 4; ++t)
    {
        const uint32_t value = tariffEnergyLimit[t].value;
        KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(value / 10000u % 100u, &bytes[4 * t]));
        KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(value / 100u % 100u, &bytes[4 * t + 1]));
        KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(value % 100u, &bytes[4 * t + 2]));
        bytes[4 * t + 3] = tariffEnergyLimit[t].flag;
    }
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext, 0x72, bytes, 16));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteTariffEnergyLimit() success");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadFirmwareVersion(Kel_Zentor1Phase_ClientContext* pContext,
                                                           uint8_t* pVersion)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pVersion);
    memset(pVersion, 0, 6);
    Kel_StatusCode status = Kel_Good;
    uint8_t d[3];
    KEL_CLIENT_READ_BCD(0x28, 7, Kel_BadDeviceUnknownResponse, 4, 3, d);
    // Major, minor, then the release date as century 20, d(in[6]), d(in[5]), d(in[4]); in[3] is unused.
    const uint8_t version[6] = {KEL_CLIENT_IN[1], KEL_CLIENT_IN[2], 20, d[2], d[1], d[0]};
    memcpy(pVersion, version, 6);
    // Shown as major.minor of day/month/century year.
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadFirmwareVersion\n  SW version: %d.%d   of %d/%d/%d%d\n", version[0],
              version[1], version[3], version[4], version[2], version[5]);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadFirmwareCRC(Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint16_t* pCrc)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pCrc);
    *pCrc = 0;
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_READ(0x87, 17, Kel_BadDeviceUnknownResponse);
    *pCrc = static_cast<uint16_t>(KEL_CLIENT_IN[1] * 256 + KEL_CLIENT_IN[2]);
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadFirmwareCRC\nFirmware CRC: %X\n", *pCrc);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadBatteryVoltage(Kel_Zentor1Phase_ClientContext* pContext,
                                                          uint8_t* pVoltage)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pVoltage);
    memset(pVoltage, 0, 2);
    Kel_StatusCode status = Kel_Good;
    uint8_t d[2];
    KEL_CLIENT_READ_BCD(0x29, 3, Kel_BadDeviceUnknownResponse, 1, 2, d);
    memcpy(pVoltage, d, 2);
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadBatteryVoltage litium battery voltage: %d.%dV\n", d[0], d[1]);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteBatteryFlagReset(Kel_Zentor1Phase_ClientContext* pContext)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    const uint8_t bytes[2] = {0x04, 0x00};
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext, 0x0C, bytes, 2));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteBatteryFlagReset success");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteBatteryLifetimeReset(Kel_Zentor1Phase_ClientContext* pContext)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    const uint8_t bytes[4] = {0, 0, 0, 0};
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext, 0x14, bytes, 4));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteBatteryLifetimeReset success");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadTimeCorrection3(Kel_Zentor1Phase_ClientContext* pContext,
                                                           uint32_t* pValue)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pValue);
    *pValue = 0;
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_READ(0x64, 4, Kel_BadDeviceUnknownResponse);
    *pValue = (static_cast<uint32_t>(KEL_CLIENT_IN[1]) << 16) |
              (static_cast<uint32_t>(KEL_CLIENT_IN[2]) << 8) | KEL_CLIENT_IN[3];
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadAdditionalDisplayMode(Kel_Zentor1Phase_ClientContext* pContext,
                                                                 uint8_t* displ)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(displ);
    return ReadRaw(kelScope, pContext, 0x6A, 3, Kel_BadDeviceUnknownResponse, displ, 2);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteAdditionalDisplayMode(Kel_Zentor1Phase_ClientContext* pContext,
                                                                  const uint8_t* displ)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(displ);
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext, 0x70, displ, 2));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteDisplayMode success (%02X %02X)\n", displ[0], displ[1]);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadLastConfigTime(Kel_Zentor1Phase_ClientContext* pContext,
                                                          DateTime* pDateTime)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pDateTime);
    *pDateTime = DateTime{};
    Kel_StatusCode status = Kel_Good;
    // Hour, minute, second, day, month, year: no day of week in front, unlike command 0x21.
    uint8_t d[6];
    KEL_CLIENT_READ_BCD(0x6B, 8, Kel_BadDeviceErrorResponse, 1, 6, d);
    KEL_GOTO_IF_BAD(status, Kel_Zentor1Phase_ClientMakeDate(d[5], d[4], d[3], d[0], d[1], d[2], pDateTime));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadDryOutputMode(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t* pMode)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pMode);
    *pMode = 0;
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Read(&pContext->ApplicationContext, 0x2D));
    if (pContext->ApplicationContext.inBufferIndex != 2)
    {
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR, "ReadDryOutputMode, inBufferIndex = %d (should be 2)\n",
                  static_cast<int>(pContext->ApplicationContext.inBufferIndex));
        KEL_EXIT_BAD(Kel_BadDeviceUnknownResponse);
    }
    *pMode = KEL_CLIENT_IN[1];
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadDryOutputMode isolated output mode:");
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "%s", DryOutputModeText(*pMode));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadHolidaysTable(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t aPart, uint8_t* pHolidays)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pHolidays);
    KEL_REJECT_IF((aPart != 0) && (aPart != 1), Kel_BadInvalidArgument);
    memset(pHolidays, 0, 16);
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_ReadA(&pContext->ApplicationContext, 0x30, &aPart, 1));
    KEL_CLIENT_LENGTH(17, Kel_BadDeviceErrorResponse);
    uint8_t holidays[16];
    for (uint32_t i = 0; i < 16; ++i)
    {
        const uint8_t byte = KEL_CLIENT_IN[1 + i];
        holidays[i] = 0xFF;
        if (byte != 0xFF)
            KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_BCD2Byte(byte, &holidays[i]));
    }
    memcpy(pHolidays, holidays, 16);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteHolidaysTable(Kel_Zentor1Phase_ClientContext* pContext,
                                                          uint8_t aPart, const uint8_t* pHolidays)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pHolidays);
    KEL_REJECT_IF((aPart != 0) && (aPart != 1), Kel_BadInvalidArgument);
    // Eight pairs, then the part number behind them.
    uint8_t bytes[17];
    for (uint32_t i = 0; i < 16; i += 2)
    {
        if (pHolidays[i] == 0xFF || pHolidays[i + 1] == 0xFF)
        {
            bytes[i] = 0xFF;
            bytes[i + 1] = 0xFF;
            continue;
        }
        KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(pHolidays[i], &bytes[i]));
        KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(pHolidays[i + 1], &bytes[i + 1]));
    }
    bytes[16] = aPart;
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext, 0x10, bytes, 17));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteHolidaysTable success\n");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadTariffsTable(Kel_Zentor1Phase_ClientContext* pContext,
                                                        uint8_t Month, uint8_t WDay,
                                                        Kel_Zentor1Phase_SwitchPoint* pPoints)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pPoints);
    KEL_REJECT_IF(Month > 11, Kel_BadInvalidArgument);
    KEL_REJECT_IF(WDay > 7, Kel_BadInvalidArgument);
    memset(pPoints, 0, 16 * sizeof(*pPoints));
    // The day selector goes in front as the read's only argument (behind the data in the write).
    const uint8_t selector = static_cast<uint8_t>(Month * 16 + WDay);
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_ReadA(&pContext->ApplicationContext, 0x31, &selector, 1));
    if (pContext->ApplicationContext.inBufferIndex != 33)
    {
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR, "ReadTariffsTable, inBufferIndex = %d (should be 33)\n",
                  static_cast<int>(pContext->ApplicationContext.inBufferIndex));
        KEL_EXIT_BAD(Kel_BadDeviceUnknownResponse);
    }
    Kel_Zentor1Phase_SwitchPoint points[16]{};
    for (uint32_t i = 0; i < 16; ++i)
    {
        const uint8_t a = KEL_CLIENT_IN[1 + 2 * i];
        const uint8_t b = KEL_CLIENT_IN[2 + 2 * i];
        points[i].tariff = 0xFF;
        points[i].hour = 0xFF;
        points[i].minute = 0xFF;
        if (a != 0xFF)
        {
            points[i].tariff = static_cast<uint8_t>(a >> 6);
            KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_BCD2Byte(a & 0x3F, &points[i].hour));
        }
        if (b != 0xFF)
            KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_BCD2Byte(b, &points[i].minute));
    }
    memcpy(pPoints, points, sizeof(points));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteTariffsTable(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t Month, uint8_t WDay,
                                                         const Kel_Zentor1Phase_SwitchPoint* pPoints)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pPoints);
    KEL_REJECT_IF(Month > 11, Kel_BadInvalidArgument);
    KEL_REJECT_IF(WDay > 7, Kel_BadInvalidArgument);
    uint8_t bytes[33];
    for (uint32_t i = 0; i < 16; ++i)
    {
        if (pPoints[i].tariff == 0xFF)
        {
            bytes[2 * i] = 0xFF;
            bytes[2 * i + 1] = 0xFF;
            continue;
        }
        uint8_t hour = 0;
        KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(pPoints[i].hour, &hour));
        KEL_CLIENT_CHECK(Kel_Zentor1Phase_Utils_Byte2BCD(pPoints[i].minute, &bytes[2 * i + 1]));
        bytes[2 * i] = static_cast<uint8_t>(pPoints[i].tariff * 64 + hour);
    }
    bytes[32] = static_cast<uint8_t>(Month * 16 + WDay);
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext, 0x11, bytes, 33));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteTariffsTable success\n");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteMaximumReset(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t Maximum, uint32_t aJumper)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_IF(Maximum > 2, Kel_BadInvalidArgument);
    uint8_t bytes[9] = {};
    bytes[8] = Maximum;
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext,
                                                      aJumper != 0 ? 0x13 : 0x12, bytes, 9));
    if (aJumper != 0)
        KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteMaximumResetJumper success\n");
    else
        KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteMaximumResetSimple success\n");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadDisplayDelay(Kel_Zentor1Phase_ClientContext* pContext,
                                                        Kel_Zentor1Phase_DisplayDelay* pValue)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pValue);
    return ReadRaw(kelScope, pContext, 0x67, 5, Kel_BadDeviceUnknownResponse, &pValue->T1, 4);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteDisplayDelay(Kel_Zentor1Phase_ClientContext* pContext,
                                                         const Kel_Zentor1Phase_DisplayDelay* pValue)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pValue);
    KEL_REJECT_IF(pValue->T1 < 4, Kel_BadInvalidArgument);
    KEL_REJECT_IF(pValue->T2 < 4, Kel_BadInvalidArgument);
    KEL_REJECT_IF(pValue->T3 < 4, Kel_BadInvalidArgument);
    KEL_REJECT_IF(pValue->T4 < 4, Kel_BadInvalidArgument);
    const uint8_t bytes[4] = {pValue->T1, pValue->T2, pValue->T3, pValue->T4};
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext, 0x0D, bytes, 4));
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteDisplayDelay success");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadPowerLimitMode(Kel_Zentor1Phase_ClientContext* pContext,
                                                          uint8_t* pMode)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pMode);
    memset(pMode, 0, 4);
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_READ(0x68, 3, Kel_BadDeviceUnknownResponse);
    const uint8_t second = KEL_CLIENT_IN[2];
    pMode[0] = KEL_CLIENT_IN[1];
    pMode[1] = second & 0x0F;
    pMode[2] = (second >> 6) & 1;
    pMode[3] = (second >> 7) & 1;
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WritePowerLimitMode(Kel_Zentor1Phase_ClientContext* pContext,
                                                           const uint8_t* pMode)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pMode);
    const uint8_t bytes[2] = {pMode[0], static_cast<uint8_t>(pMode[2] * 64 + pMode[3] * 128 + pMode[1])};
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Write(&pContext->ApplicationContext, 0x0F, bytes, 2));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WritePowerLimitPeriod(Kel_Zentor1Phase_ClientContext* pContext,
                                                             double aPeriod)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    // Whole units, at least 1 and at most 255; mode fields 10, 0, 0. (A negative period counts as 0.)
    const double whole = std::trunc(std::fmin(std::fmax(aPeriod, 0.0), 255.0));
    const uint8_t period = whole < 1.0 ? 1 : static_cast<uint8_t>(whole);
    const uint8_t mode[4] = {period, 10, 0, 0};
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_Zentor1Phase_Client_WritePowerLimitMode(pContext, mode));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadDesignVariant(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint16_t* pValue)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pValue);
    *pValue = 0;
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_READ(0x65, 3, Kel_BadDeviceUnknownResponse);
    *pValue = static_cast<uint16_t>(KEL_CLIENT_IN[1] * 256 + KEL_CLIENT_IN[2]);
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadDesignVariant");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadRunningTime(Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint32_t* onTime, uint32_t* offTime)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(onTime);
    KEL_REJECT_NULL(offTime);
    *onTime = 0;
    *offTime = 0;
    Kel_StatusCode status = Kel_Good;
    uint8_t d[6];
    KEL_CLIENT_READ_BCD(0x69, 7, Kel_BadDeviceUnknownResponse, 1, 6, d);
    *onTime = d[0] * 10000u + d[1] * 100u + d[2];
    *offTime = d[3] * 10000u + d[4] * 100u + d[5];
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadRunningTime");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadModemAddressLevel(Kel_Zentor1Phase_ClientContext* pContext,
                                                             uint16_t* address, uint8_t* level)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(address);
    KEL_REJECT_NULL(level);
    *address = 0;
    *level = 0;
    Kel_StatusCode status = Kel_Good;
    // The modem may not have its answer ready: up to three tries while nothing comes back.
    for (uint32_t attempt = 0; attempt < 3; ++attempt)
    {
        KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_Read(&pContext->ApplicationContext, 0x6C));
        if (pContext->ApplicationContext.inBufferIndex != 0)
            break;
    }
    KEL_CLIENT_LENGTH(4, Kel_BadDeviceUnknownResponse);
    *address = static_cast<uint16_t>(KEL_CLIENT_IN[1] * 256 + KEL_CLIENT_IN[2]);
    *level = KEL_CLIENT_IN[3];
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "ReadModemAddressLevel");
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_WriteLoadState(Kel_Zentor1Phase_ClientContext* pContext,
                                                      uint32_t aState)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    Kel_StatusCode status = Kel_Good;
    if (aState == 0)
    {
        KEL_CLIENT_RUN(WriteByte(pContext, 0x71, 0xAA));
    }
    else
    {
        KEL_CLIENT_RUN(WriteByte(pContext, 0x71, 0x00));
        KEL_CLIENT_RUN(WriteByte(pContext, 0x71, 0x5A));
    }
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteLoadState");
    KEL_EXIT(status);
}
