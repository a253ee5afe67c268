// Settings reads and writes of the exported interface: display modes, indication times, clock
// correction and synchronisation, power and energy limits, relay and output modes, line speed, network
// address, time-out multiplier and the battery counters. Each export is a thin adapter over one client
// command on the session's client: 1 on success, 0 with its fixed message for a failed exchange,
// Kel_BadInvalidArgument for a null pointer.
#define KEL_TRACE_FILE "Q310/q310_exports_settings"

#include <cstdio>
#include <ctime>

#include "Q310/q310_export_support.h"
#include "Q310/q310_export_texts.h"

namespace
{
// Relay control mode bytes on the wire.
constexpr uint8_t kRelayAuto = 0x55;
constexpr uint8_t kRelayOn = 0xAA;
constexpr uint8_t kRelayZ = 0x5A;
constexpr uint8_t kRelayP = 0x50;
// Tariff energy limit flag bytes: limit on ('Z'), off ('U').
constexpr uint8_t kLimitOn = 0x5A;
constexpr uint8_t kLimitOff = 0x55;
} // namespace

// The plain settings exports of kel_zentor1phase_commands.def: a read hands the client's value to the
// host's cell, a write hands the host's value to the client in the client's type (its low bits).
template <typename Function> struct Q310_ClientValue;
template <typename Context, typename Value> struct Q310_ClientValue<Kel_StatusCode (*)(Context*, Value*)>
{
    using type = Value;
};
template <typename Context, typename Value> struct Q310_ClientValue<Kel_StatusCode (*)(Context*, Value)>
{
    using type = Value;
};
#define Q310_SETTING_CAT_(a, b) a##b
#define Q310_SETTING_CAT(a, b) Q310_SETTING_CAT_(a, b)
#define Q310_SETTING_READ_OWN(...)
#define Q310_SETTING_READ_CELL8(...)
#define Q310_SETTING_READ_NONE(...)
#define Q310_SETTING_WRITE_OWN(...)
#define Q310_SETTING_WRITE_NONE(...)
#define Q310_SETTING_READ_PLAIN(aExport, aCell, aText, aClientRead)                                          \
    int32_t aExport(uint32_t adr, uint32_t* aCell, char* outErr)                                             \
    {                                                                                                        \
        static constexpr auto kText = Kel_Cp1251(aText);                                                     \
        Q310_EXPORT_ENTER(aExport);                                                                          \
        (void)adr;                                                                                           \
        Q310_REJECT_NULL(aCell);                                                                             \
        Q310_REJECT_NULL(outErr);                                                                            \
        typename Q310_ClientValue<decltype(&aClientRead)>::type value{};                                     \
        Q310_REQUEST(aClientRead(&clientContext, &value), kText);                                            \
        *aCell = value;                                                                                      \
        return Q310_RESULT_OK;                                                                               \
    }
#define Q310_SETTING_WRITE_PLAIN(aExport, aValue, aText, aClientWrite)                                       \
    int32_t aExport(uint32_t adr, uint32_t aValue, char* outErr)                                             \
    {                                                                                                        \
        static constexpr auto kText = Kel_Cp1251(aText);                                                     \
        Q310_EXPORT_ENTER(aExport);                                                                          \
        (void)adr;                                                                                           \
        Q310_REJECT_NULL(outErr);                                                                            \
        Q310_REQUEST(                                                                                        \
            aClientWrite(&clientContext,                                                                     \
                         static_cast<typename Q310_ClientValue<decltype(&aClientWrite)>::type>(aValue)),     \
            kText);                                                                                          \
        return Q310_RESULT_OK;                                                                               \
    }
#define KEL_ZENTOR1PHASE_SETTING(aReadKind, aRead, aResult, aReadCommand, aLength, aMismatch, aReadTrace,    \
                                 aWriteKind, aWrite, aArgument, aWriteCommand, aRejection, aWriteTrace,      \
                                 aLow, aHigh, aExportReadKind, aExportRead, aCell, aReadText,                \
                                 aExportWriteKind, aExportWrite, aValue, aWriteText, ...)                    \
    Q310_SETTING_CAT(Q310_SETTING_READ_, aExportReadKind)                                                    \
    (aExportRead, aCell, aReadText, aRead)                                                                   \
        Q310_SETTING_CAT(Q310_SETTING_WRITE_, aExportWriteKind)(aExportWrite, aValue, aWriteText, aWrite)
#include "protocols/orlenta/1phase/kel_zentor1phase_commands.def"

int32_t eReadParamDisplay(uint32_t adr, char* rateParams, uint32_t* powerParams, uint32_t* timeParams,
                          uint32_t* dateParams, char* outErr)
{
    Q310_EXPORT_ENTER(eReadParamDisplay);
    (void)adr;
    Q310_REJECT_NULL(rateParams);
    Q310_REJECT_NULL(powerParams);
    Q310_REJECT_NULL(timeParams);
    Q310_REJECT_NULL(dateParams);
    Q310_REJECT_NULL(outErr);
    uint8_t mode = 0;
    Q310_REQUEST(Kel_Zentor1Phase_Client_ReadDisplayMode(&clientContext, &mode), kReadParamDisplay);
    // Each switch printed with "%d" at its own position: five digits and the terminator.
    for (int bit = 0; bit < 5; ++bit)
        sprintf(rateParams + bit, "%d", (mode >> bit) & 1);
    *powerParams = (mode >> 5) & 1u;
    *timeParams = (mode >> 6) & 1u;
    *dateParams = (mode >> 7) & 1u;
    return Q310_RESULT_OK;
}

// The text of the tariff switches is a pointer and so is checked for null like outErr (the value
// arguments are plain integers).
int32_t eWriteParamDisplay(uint32_t adr, const char* rateParams, uint32_t power, uint32_t time, uint32_t date,
                           char* outErr)
{
    Q310_EXPORT_ENTER(eWriteParamDisplay);
    (void)adr;
    Q310_REJECT_NULL(rateParams);
    Q310_REJECT_NULL(outErr);
    uint32_t mode = 0;
    for (int bit = 0; bit < 5; ++bit)
        mode |= static_cast<uint32_t>(rateParams[bit] - '0') << bit;
    mode |= (power << 5) | (time << 6) | (date << 7);
    Q310_REQUEST(Kel_Zentor1Phase_Client_WriteDisplayMode(&clientContext, static_cast<uint8_t>(mode)),
                 kWriteParamDisplay);
    return Q310_RESULT_OK;
}

int32_t eReadAddParamDisplay(uint32_t adr, uint32_t* rateFlag1, uint32_t* UIFreqFlag1, uint32_t* maxdumpFlag1,
                             uint32_t* cRunningFlag1, uint32_t* batRunningFlag1, uint32_t* pLimitFlag1,
                             uint32_t* enLimitFlag1, uint32_t* delayTime1, uint32_t* indBat, char* outErr)
{
    Q310_EXPORT_ENTER(eReadAddParamDisplay);
    (void)adr;
    Q310_REJECT_NULL(rateFlag1);
    Q310_REJECT_NULL(UIFreqFlag1);
    Q310_REJECT_NULL(maxdumpFlag1);
    Q310_REJECT_NULL(cRunningFlag1);
    Q310_REJECT_NULL(batRunningFlag1);
    Q310_REJECT_NULL(pLimitFlag1);
    Q310_REJECT_NULL(enLimitFlag1);
    Q310_REJECT_NULL(delayTime1);
    Q310_REJECT_NULL(indBat);
    Q310_REJECT_NULL(outErr);
    uint8_t displ[2] = {0, 0};
    Q310_REQUEST(Kel_Zentor1Phase_Client_ReadAdditionalDisplayMode(&clientContext, displ),
                 kReadAddParamDisplay);
    const uint32_t flags = displ[0];
    *rateFlag1 = flags & 1u;
    *UIFreqFlag1 = (flags >> 1) & 1u;
    *indBat = (flags >> 2) & 1u;
    *maxdumpFlag1 = (flags >> 3) & 1u;
    *cRunningFlag1 = (flags >> 4) & 1u;
    *batRunningFlag1 = (flags >> 5) & 1u;
    *pLimitFlag1 = (flags >> 6) & 1u;
    *enLimitFlag1 = (flags >> 7) & 1u;
    *delayTime1 = displ[1];
    return Q310_RESULT_OK;
}

int32_t eWriteAddParamDisplay(uint32_t adr, uint32_t rateFlag1, uint32_t UIFreqFlag1, uint32_t maxdumpFlag1,
                              uint32_t cRunningFlag1, uint32_t batRunningFlag1, uint32_t pLimitFlag1,
                              uint32_t enLimitFlag1, uint32_t delayTime1, uint32_t indBat, char* outErr)
{
    Q310_EXPORT_ENTER(eWriteAddParamDisplay);
    (void)adr;
    Q310_REJECT_NULL(outErr);
    // Each flag shifted into place without masking: only 0 and 1 are meaningful.
    const uint32_t flags = rateFlag1 | (UIFreqFlag1 << 1) | (indBat << 2) | (maxdumpFlag1 << 3) |
                           (cRunningFlag1 << 4) | (batRunningFlag1 << 5) | (pLimitFlag1 << 6) |
                           (enLimitFlag1 << 7);
    const uint8_t displ[2] = {static_cast<uint8_t>(flags), static_cast<uint8_t>(delayTime1)};
    Q310_REQUEST(Kel_Zentor1Phase_Client_WriteAdditionalDisplayMode(&clientContext, displ),
                 kWriteAddParamDisplay);
    return Q310_RESULT_OK;
}

int32_t eReadIndicationTime(uint32_t adr, uint32_t* indTime11, uint32_t* indTime21, uint32_t* indTime31,
                            uint32_t* indTime41, char* outErr)
{
    Q310_EXPORT_ENTER(eReadIndicationTime);
    (void)adr;
    Q310_REJECT_NULL(indTime11);
    Q310_REJECT_NULL(indTime21);
    Q310_REJECT_NULL(indTime31);
    Q310_REJECT_NULL(indTime41);
    Q310_REJECT_NULL(outErr);
    Kel_Zentor1Phase_DisplayDelay delay{};
    Q310_REQUEST(Kel_Zentor1Phase_Client_ReadDisplayDelay(&clientContext, &delay), kReadIndicationTime);
    *indTime11 = delay.T1;
    *indTime21 = delay.T2;
    *indTime31 = delay.T3;
    *indTime41 = delay.T4;
    return Q310_RESULT_OK;
}

int32_t eWriteIndicationTime(uint32_t adr, uint32_t indTime1, uint32_t indTime2, uint32_t indTime3,
                             uint32_t indTime4, char* outErr)
{
    Q310_EXPORT_ENTER(eWriteIndicationTime);
    (void)adr;
    Q310_REJECT_NULL(outErr);
    const Kel_Zentor1Phase_DisplayDelay delay{static_cast<uint8_t>(indTime1), static_cast<uint8_t>(indTime2),
                                              static_cast<uint8_t>(indTime3), static_cast<uint8_t>(indTime4)};
    Q310_REQUEST(Kel_Zentor1Phase_Client_WriteDisplayDelay(&clientContext, &delay), kWriteIndicationTime);
    return Q310_RESULT_OK;
}

// The computer's clock as the C library's 32-bit time; the client turns it into the meter's local
// date and time.
int32_t eSynchronizaionTime(uint32_t adr, char* outErr)
{
    Q310_EXPORT_ENTER(eSynchronizaionTime);
    (void)adr;
    Q310_REJECT_NULL(outErr);
    const DateTime now{static_cast<int32_t>(time(KEL_NULL)), 0};
    Q310_REQUEST(Kel_Zentor1Phase_Client_WriteTime(&clientContext, &now), kSynchronizeTime);
    return Q310_RESULT_OK;
}

int32_t eReadPowerLimit(uint32_t adr, uint32_t* powerLimit, char* outErr)
{
    Q310_EXPORT_ENTER(eReadPowerLimit);
    (void)adr;
    Q310_REJECT_NULL(powerLimit);
    Q310_REJECT_NULL(outErr);
    double value = 0;
    Q310_REQUEST(Kel_Zentor1Phase_Client_ReadPowerLimit(&clientContext, &value), kReadPowerLimit);
    // Tenths to the host's unit, truncated toward zero.
    *powerLimit = static_cast<uint32_t>(static_cast<int64_t>(value / 10));
    return Q310_RESULT_OK;
}

int32_t eWritePowerLimit(uint32_t adr, uint32_t powerLimit, char* outErr)
{
    Q310_EXPORT_ENTER(eWritePowerLimit);
    (void)adr;
    Q310_REJECT_NULL(outErr);
    const uint32_t tenths = powerLimit * 10u; // the product taken in 32 bits
    Q310_REQUEST(Kel_Zentor1Phase_Client_WritePowerLimit(&clientContext, static_cast<double>(tenths)),
                 kWritePowerLimit);
    return Q310_RESULT_OK;
}

int32_t eReadPowerLimitMode(uint32_t adr, uint32_t* compareByte1, uint32_t* cycleTime1, uint32_t* cycleFlag1,
                            uint32_t* resFlag1, char* outErr)
{
    Q310_EXPORT_ENTER(eReadPowerLimitMode);
    (void)adr;
    Q310_REJECT_NULL(compareByte1);
    Q310_REJECT_NULL(cycleTime1);
    Q310_REJECT_NULL(cycleFlag1);
    Q310_REJECT_NULL(resFlag1);
    Q310_REJECT_NULL(outErr);
    uint8_t mode[4] = {0, 0, 0, 0};
    Q310_REQUEST(Kel_Zentor1Phase_Client_ReadPowerLimitMode(&clientContext, mode), kReadPowerLimitMode);
    *compareByte1 = mode[0];
    *cycleTime1 = mode[1];
    *cycleFlag1 = mode[2];
    *resFlag1 = mode[3];
    return Q310_RESULT_OK;
}

int32_t eWritePowerLimitMode(uint32_t adr, uint32_t compareByte1, uint32_t cycleTime1, uint32_t cycleFlag1,
                             uint32_t resFlag1, char* outErr)
{
    Q310_EXPORT_ENTER(eWritePowerLimitMode);
    (void)adr;
    Q310_REJECT_NULL(outErr);
    const uint8_t mode[4] = {static_cast<uint8_t>(compareByte1), static_cast<uint8_t>(cycleTime1),
                             static_cast<uint8_t>(cycleFlag1), static_cast<uint8_t>(resFlag1)};
    Q310_REQUEST(Kel_Zentor1Phase_Client_WritePowerLimitMode(&clientContext, mode), kWritePowerLimitMode);
    return Q310_RESULT_OK;
}

int32_t eReadEnergyRateLimit(uint32_t adr, char* enRateLimitMass, char* enLimitFlagMass, uint32_t* arr,
                             char* outErr)
{
    Q310_EXPORT_ENTER(eReadEnergyRateLimit);
    (void)adr;
    Q310_REJECT_NULL(enRateLimitMass);
    Q310_REJECT_NULL(enLimitFlagMass);
    Q310_REJECT_NULL(arr); // checked, otherwise unused
    Q310_REJECT_NULL(outErr);
    Kel_Zentor1Phase_TariffEnergyLimit limits[4]{};
    Q310_REQUEST(Kel_Zentor1Phase_Client_ReadTariffEnergyLimit(&clientContext, limits), kReadEnergyRateLimit);
    if (sprintf(enRateLimitMass, "%d;%d;%d;%d", static_cast<int>(limits[0].value),
                static_cast<int>(limits[1].value), static_cast<int>(limits[2].value),
                static_cast<int>(limits[3].value)) < 0 ||
        sprintf(enLimitFlagMass, "%d%d%d%d", limits[0].flag, limits[1].flag, limits[2].flag, limits[3].flag) <
            0)
        return Q310_FailWith(kelScope, __LINE__, Kel_BadInternalError, outErr, kReadEnergyRateLimit);
    return Q310_RESULT_OK;
}

// The four limits and the flags are texts and so are checked for null like outErr.
int32_t eWriteEnergyRateLimit(uint32_t adr, const char* enRateLimit1, const char* enRateLimit2,
                              const char* enRateLimit3, const char* enRateLimit4, const char* enLimitFlag,
                              char* outErr)
{
    Q310_EXPORT_ENTER(eWriteEnergyRateLimit);
    (void)adr;
    Q310_REJECT_NULL(enRateLimit1);
    Q310_REJECT_NULL(enRateLimit2);
    Q310_REJECT_NULL(enRateLimit3);
    Q310_REJECT_NULL(enRateLimit4);
    Q310_REJECT_NULL(enLimitFlag);
    Q310_REJECT_NULL(outErr);
    const char* texts[4] = {enRateLimit1, enRateLimit2, enRateLimit3, enRateLimit4};
    unsigned values[4] = {0, 0, 0, 0};
    unsigned flags[4] = {0, 0, 0, 0};
    // Only an empty text (end of input) is refused; a text without a leading number leaves 0.
    for (int t = 0; t < 4; ++t)
        if (sscanf(texts[t], "%u", &values[t]) == EOF)
            return Q310_FailWith(kelScope, __LINE__, Kel_BadInvalidArgument, outErr, kWriteEnergyRateLimit);
    if (sscanf(enLimitFlag, "%1u%1u%1u%1u", &flags[0], &flags[1], &flags[2], &flags[3]) == EOF)
        return Q310_FailWith(kelScope, __LINE__, Kel_BadInvalidArgument, outErr, kWriteEnergyRateLimit);
    Kel_Zentor1Phase_TariffEnergyLimit limits[4]{};
    for (int t = 0; t < 4; ++t)
    {
        limits[t].value = values[t];
        limits[t].flag = flags[t] == 1 ? kLimitOn : kLimitOff;
    }
    Q310_REQUEST(Kel_Zentor1Phase_Client_WriteTariffEnergyLimit(&clientContext, limits),
                 kWriteEnergyRateLimit);
    return Q310_RESULT_OK;
}

// Wire byte to the host's relay mode: 0x55 is 2, 0xAA is 1, anything else 0.
int32_t eReadReleMode(uint32_t adr, uint32_t* releMode, char* outErr)
{
    Q310_EXPORT_ENTER(eReadReleMode);
    (void)adr;
    Q310_REJECT_NULL(releMode);
    Q310_REJECT_NULL(outErr);
    uint8_t mode = 0;
    Q310_REQUEST(Kel_Zentor1Phase_Client_ReadRelayControlMode(&clientContext, &mode), kReadReleMode);
    *releMode = mode == kRelayAuto ? 2u : (mode == kRelayOn ? 1u : 0u);
    return Q310_RESULT_OK;
}

// The second relay read: parameter 1 of command 0x86, a different mapping (0x55 is 1, 0xAA is 0, 0x50
// is 2); other bytes leave the host's cell as it was.
int32_t eReadReleMode_2a(uint32_t adr, uint32_t* releMode, char* outErr)
{
    Q310_EXPORT_ENTER(eReadReleMode_2a);
    (void)adr;
    Q310_REJECT_NULL(releMode);
    Q310_REJECT_NULL(outErr);
    uint8_t mode = 0;
    Q310_REQUEST_TRACED(Kel_Zentor1Phase_Client_ReadRelayParameter(kelScope, &clientContext, &mode),
                        kReadReleMode);
    if (mode == kRelayAuto)
        *releMode = 1;
    else if (mode == kRelayOn)
        *releMode = 0;
    else if (mode == kRelayP)
        *releMode = 2;
    return Q310_RESULT_OK;
}

// Host mode to wire byte: 2 is 0x55, 1 is 0xAA, 16 is 0x5A, every other mode 0x00.
int32_t eWriteReleMode(uint32_t adr, int32_t releMode, char* outErr)
{
    Q310_EXPORT_ENTER(eWriteReleMode);
    (void)adr;
    Q310_REJECT_NULL(outErr);
    uint8_t mode = 0x00;
    if (releMode == 2)
        mode = kRelayAuto;
    else if (releMode == 1)
        mode = kRelayOn;
    else if (releMode == 16)
        mode = kRelayZ;
    Q310_REQUEST(Kel_Zentor1Phase_Client_WriteRelayControlMode(&clientContext, mode), kWriteReleMode);
    return Q310_RESULT_OK;
}

int32_t eWriteAddress(uint32_t adr, uint32_t group, uint32_t address, char* outErr)
{
    Q310_EXPORT_ENTER(eWriteAddress);
    (void)adr;
    Q310_REJECT_NULL(outErr);
    if (group != 0)
        Q310_REQUEST(Kel_Zentor1Phase_Client_WriteGroupAddress(&clientContext, address), kWriteAddress);
    else
        Q310_REQUEST(Kel_Zentor1Phase_Client_WriteNewAddress(&clientContext, address), kWriteAddress);
    return Q310_RESULT_OK;
}

// The multiplier goes straight into the host's one-byte cell; the cell is not checked here (the
// client refuses a null one, which ends as a failed request).
int32_t eReadMultMode(uint32_t adr, uint8_t* multMode, char* outErr)
{
    Q310_EXPORT_ENTER(eReadMultMode);
    (void)adr;
    Q310_REJECT_NULL(outErr);
    Q310_REQUEST(Kel_Zentor1Phase_Client_ReadTimeoutMultiplier(&clientContext, multMode), kReadMultMode);
    return Q310_RESULT_OK;
}

// Clear the battery flag, then reset the battery lifetime counter; a failed first step skips the second.
int32_t eResetDeviceBat(uint32_t adr, char* outErr)
{
    Q310_EXPORT_ENTER(eResetDeviceBat);
    (void)adr;
    Q310_REJECT_NULL(outErr);
    Q310_REQUEST(Kel_Zentor1Phase_Client_WriteBatteryFlagReset(&clientContext), kResetDeviceBat);
    Q310_REQUEST(Kel_Zentor1Phase_Client_WriteBatteryLifetimeReset(&clientContext), kResetDeviceBat);
    return Q310_RESULT_OK;
}
