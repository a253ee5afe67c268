// Measurement reads: identity, network values, energies, maxima and status words of the meter, over
// the session's protocol client. eReadSerialNumber creates that client.
#define KEL_TRACE_FILE "Q310"
#include "Q310/q310_export_support.h"
#include "Q310/q310_export_texts.h"
#include "Q310/q310_session.h"

#include <cstdio>
#include <cstring>

namespace
{
static_assert(kTypeStateText.length == 77, "the longest message: 78 bytes with the terminator");

// Weekday names by the meter's weekday number, each in a 12-byte slot (the longest, Воскресенье, is
// 11 bytes).
constexpr size_t kWeekdaySlot = 12;
template <size_t From> constexpr Kel_Cp1251Text<32> Slot(const Kel_Cp1251Text<From>& aText)
{
    static_assert(From <= 32);
    Kel_Cp1251Text<32> result{};
    for (size_t i = 0; i <= aText.length; ++i)
        result.text[i] = aText.text[i];
    result.length = aText.length;
    return result;
}
constexpr Kel_Cp1251Text<32> kWeekdays[8] = {
    Slot(Kel_Cp1251("")),        Slot(Kel_Cp1251("Понедельник")), Slot(Kel_Cp1251("Вторник")),
    Slot(Kel_Cp1251("Среда")),   Slot(Kel_Cp1251("Четверг")),     Slot(Kel_Cp1251("Пятница")),
    Slot(Kel_Cp1251("Суббота")), Slot(Kel_Cp1251("Воскресенье")),
};
static_assert(kWeekdays[7].length + 1 == kWeekdaySlot);

// The two entries of a maximum record: "hh:mm:ss dd.mm.yy" and " %3d.%d" of quotient and remainder.
// The remainder is not zero-padded (1205 hundredths print "  12.5"): hosts depend on that form.
void PrintMaximum(const Kel_Zentor1Phase_MaximumRecord& aRecord, uint32_t aDivisor, char* pDate1,
                  char* pValue1, char* pDate2, char* pValue2)
{
    char* dates[2] = {pDate1, pDate2};
    char* values[2] = {pValue1, pValue2};
    for (int i = 0; i < 2; ++i)
    {
        const Kel_Zentor1Phase_MaximumEntry& entry = aRecord.entries[i];
        sprintf(dates[i], "%02d:%02d:%02d %02d.%02d.%02d", entry.hour, entry.minute, entry.second, entry.day,
                entry.month, entry.year);
        sprintf(values[i], " %3d.%d", static_cast<int>(entry.value / aDivisor),
                static_cast<int>(entry.value % aDivisor));
    }
}

template <size_t N>
int32_t ReadMaximumExport(const Kel_TraceScope& aScope, uint8_t aKind, uint32_t aDivisor, char* pDate1,
                          char* pValue1, char* pDate2, char* pValue2, bool aCheckStatus, char* outErr,
                          const Kel_Cp1251Text<N>* pText)
{
    Kel_Zentor1Phase_MaximumRecord record{};
    const Kel_StatusCode status = Kel_Zentor1Phase_Client_ReadMaximum(&clientContext, aKind, &record);
    if (aCheckStatus && Kel_IsBad(status))
        return Q310_FailWith(aScope, __LINE__, status, outErr, *pText);
    PrintMaximum(record, aDivisor, pDate1, pValue1, pDate2, pValue2);
    return 1;
}

template <size_t N>
int32_t ReadEnergyExport(const Kel_TraceScope& aScope, Kel_StatusCode aStatus, const uint32_t* pValues,
                         uint32_t* enRate1, uint32_t* enRate2, uint32_t* enRate3, uint32_t* enRate4,
                         bool aWriteFirst, char* outErr, const Kel_Cp1251Text<N>& aText)
{
    if (aWriteFirst || Kel_IsGood(aStatus))
    {
        *enRate1 = pValues[0] / 10;
        *enRate2 = pValues[1] / 10;
        *enRate3 = pValues[2] / 10;
        *enRate4 = pValues[3] / 10;
    }
    if (Kel_IsBad(aStatus))
        return Q310_FailWith(aScope, __LINE__, aStatus, outErr, aText);
    return 1;
}

} // namespace

extern "C" int32_t Q310_CALL eReadSerialNumber(uint32_t adr, char* serialNumber, char* outErr)
{
    Q310_EXPORT_ENTER(eReadSerialNumber);
    Q310_REJECT_NULL(serialNumber);
    Q310_REJECT_NULL(outErr);
    // Baud rate and data bits of the session's line settings; parity 0, one stop bit, no flow control.
    Kel_StatusCode status =
        Kel_Zentor1Phase_Client_CreateContext(&clientContext, &q310Session.channel, adr, 1000, 1000, 1000,
                                              q310Session.dcb.BaudRate, 0, q310Session.dcb.ByteSize, 1, 0);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kSerialText);
    Kel_Zentor1Phase_Client_SetReadTimeout(&clientContext, 100);
    // The echoing RS-485 line compares what comes back with the transport's last frame.
    Kel_Zentor1Phase_Client_LastFrame(&clientContext, &q310Session.echoRS485.pEchoFrame,
                                      &q310Session.echoRS485.pEchoFrameLength);
    char serial[10] = {};
    status = Kel_Zentor1Phase_Client_ReadSerial(&clientContext, serial, sizeof(serial));
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kSerialText);
    serial[sizeof(serial) - 1] = '\0';
    memcpy(serialNumber, serial, strlen(serial) + 1);
    return 1;
}

extern "C" int32_t Q310_CALL eReadVoltageCurrentPower(uint32_t adr, char* mVoltage, char* mCurrent,
                                                      char* mPower, char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadVoltageCurrentPower);
    Q310_REJECT_NULL(mVoltage);
    Q310_REJECT_NULL(mCurrent);
    Q310_REJECT_NULL(mPower);
    Q310_REJECT_NULL(outErr);
    uint32_t voltage = 0, current = 0, power = 0;
    const Kel_StatusCode status = Kel_Zentor1Phase_Client_ReadUIP(&clientContext, &voltage, &current, &power);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kUipText);
    sprintf(mVoltage, "%.1f", voltage / 10.0);
    sprintf(mCurrent, "%.2f", current / 100.0);
    sprintf(mPower, "%d", static_cast<int32_t>(power));
    return 1;
}

extern "C" int32_t Q310_CALL eReadFrequency(uint32_t adr, char* frequency, char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadFrequency);
    Q310_REJECT_NULL(frequency);
    Q310_REJECT_NULL(outErr);
    Kel_Zentor1Phase_ExtendedNetParams params{};
    const Kel_StatusCode status = Kel_Zentor1Phase_Client_ReadExtendedNetParams(&clientContext, &params);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kFrequencyText);
    sprintf(frequency, "%.2f", params.frequency / 100.0);
    return 1;
}

extern "C" int32_t Q310_CALL eReadCurrentPower_Q316(uint32_t adr, char* mPower, char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadCurrentPower_Q316);
    Q310_REJECT_NULL(mPower);
    Q310_REJECT_NULL(outErr);
    uint32_t power = 0;
    bool handBack = false;
    const Kel_StatusCode status =
        Kel_Zentor1Phase_Client_ReadReactivePower(kelScope, &clientContext, &power, &handBack);
    // A wrong answer is handed back as a status, without a message.
    if (handBack)
        return static_cast<int32_t>(status);
    Q310_REQUEST_TRACED(status, kPowerQ316Text);
    sprintf(mPower, "%d", static_cast<int32_t>(power));
    return 1;
}

extern "C" int32_t Q310_CALL eReadCOS_Q316(uint32_t adr, char* mCOS, char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadCOS_Q316);
    Q310_REJECT_NULL(mCOS);
    Q310_REJECT_NULL(outErr);
    uint8_t digits[5] = {};
    Q310_REQUEST_TRACED(Kel_Zentor1Phase_Client_ReadPowerFactor(kelScope, &clientContext, digits), kCosText);
    sprintf(mCOS, "%02d%02d%02d%02d%02d", digits[0], digits[1], digits[2], digits[3], digits[4]);
    return 1;
}

extern "C" int32_t Q310_CALL eReadStorageBattery(uint32_t adr, uint32_t* enRate1, uint32_t* enRate2,
                                                 uint32_t* enRate3, uint32_t* enRate4, char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadStorageBattery);
    Q310_REJECT_NULL(enRate1);
    Q310_REJECT_NULL(enRate2);
    Q310_REJECT_NULL(enRate3);
    Q310_REJECT_NULL(enRate4);
    Q310_REJECT_NULL(outErr);
    uint32_t values[4] = {};
    const Kel_StatusCode status =
        Kel_Zentor1Phase_Client_ReadEnergy(&clientContext, KEL_ZENTOR1PHASE_RCMD_ACTIVE_ENERGY, values);
    // This read writes its outputs before it looks at the status.
    return ReadEnergyExport(kelScope, status, values, enRate1, enRate2, enRate3, enRate4, true, outErr,
                            kEnergyText);
}

extern "C" int32_t Q310_CALL eReadStorageBattery_Q316(uint32_t adr, uint32_t* enRate1, uint32_t* enRate2,
                                                      uint32_t* enRate3, uint32_t* enRate4, char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadStorageBattery_Q316);
    Q310_REJECT_NULL(enRate1);
    Q310_REJECT_NULL(enRate2);
    Q310_REJECT_NULL(enRate3);
    Q310_REJECT_NULL(enRate4);
    Q310_REJECT_NULL(outErr);
    uint32_t values[4] = {};
    const Kel_StatusCode status =
        Kel_Zentor1Phase_Client_ReadEnergy(&clientContext, KEL_ZENTOR1PHASE_RCMD_REACTIVE_ENERGY, values);
    return ReadEnergyExport(kelScope, status, values, enRate1, enRate2, enRate3, enRate4, false, outErr,
                            kEnergyQ316Text);
}

extern "C" int32_t Q310_CALL eReadMonthEnergy(uint32_t adr, uint32_t month, uint32_t* enRate1,
                                              uint32_t* enRate2, uint32_t* enRate3, uint32_t* enRate4,
                                              char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadMonthEnergy);
    Q310_REJECT_NULL(enRate1);
    Q310_REJECT_NULL(enRate2);
    Q310_REJECT_NULL(enRate3);
    Q310_REJECT_NULL(enRate4);
    Q310_REJECT_NULL(outErr);
    uint32_t values[4] = {};
    const Kel_StatusCode status = Kel_Zentor1Phase_Client_ReadEnergyMonth12(
        &clientContext, static_cast<uint8_t>(month), KEL_ZENTOR1PHASE_RCMD_ACTIVE_ENERGY_MONTH, values);
    return ReadEnergyExport(kelScope, status, values, enRate1, enRate2, enRate3, enRate4, false, outErr,
                            kMonthText);
}

extern "C" int32_t Q310_CALL eReadMonthEnergy_Q316(uint32_t adr, uint32_t month, uint32_t* enRate1,
                                                   uint32_t* enRate2, uint32_t* enRate3, uint32_t* enRate4,
                                                   char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadMonthEnergy_Q316);
    Q310_REJECT_NULL(enRate1);
    Q310_REJECT_NULL(enRate2);
    Q310_REJECT_NULL(enRate3);
    Q310_REJECT_NULL(enRate4);
    Q310_REJECT_NULL(outErr);
    uint32_t values[4] = {};
    const Kel_StatusCode status = Kel_Zentor1Phase_Client_ReadEnergyMonth12(
        &clientContext, static_cast<uint8_t>(month), KEL_ZENTOR1PHASE_RCMD_REACTIVE_ENERGY_MONTH, values);
    return ReadEnergyExport(kelScope, status, values, enRate1, enRate2, enRate3, enRate4, false, outErr,
                            kMonthText);
}

extern "C" int32_t Q310_CALL eReadMaxVoltage(uint32_t adr, char* maxVoltageDate, char* maxVoltage,
                                             char* maxrVoltageDate, char* maxrVoltage, char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadMaxVoltage);
    Q310_REJECT_NULL(maxVoltageDate);
    Q310_REJECT_NULL(maxVoltage);
    Q310_REJECT_NULL(maxrVoltageDate);
    Q310_REJECT_NULL(maxrVoltage);
    Q310_REJECT_NULL(outErr);
    // The voltage maxima are printed whatever the read gave (a silent meter prints the empty record) and
    // the export always succeeds: hosts rely on it.
    return ReadMaximumExport(kelScope, 0, 10, maxVoltageDate, maxVoltage, maxrVoltageDate, maxrVoltage, false,
                             outErr, &kMaxCurrentText);
}

extern "C" int32_t Q310_CALL eReadMaxCurrent(uint32_t adr, char* maxCurrentDate, char* maxCurrent,
                                             char* maxrCurrentDate, char* maxrCurrent, char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadMaxCurrent);
    Q310_REJECT_NULL(maxCurrentDate);
    Q310_REJECT_NULL(maxCurrent);
    Q310_REJECT_NULL(maxrCurrentDate);
    Q310_REJECT_NULL(maxrCurrent);
    Q310_REJECT_NULL(outErr);
    return ReadMaximumExport(kelScope, 1, 100, maxCurrentDate, maxCurrent, maxrCurrentDate, maxrCurrent, true,
                             outErr, &kMaxCurrentText);
}

extern "C" int32_t Q310_CALL eReadMaxPower(uint32_t adr, char* maxPowerDate, char* maxPower,
                                           char* maxrPowerDate, char* maxrPower, char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadMaxPower);
    Q310_REJECT_NULL(maxPowerDate);
    Q310_REJECT_NULL(maxPower);
    Q310_REJECT_NULL(maxrPowerDate);
    Q310_REJECT_NULL(maxrPower);
    Q310_REJECT_NULL(outErr);
    return ReadMaximumExport(kelScope, KEL_ZENTOR1PHASE_MAXIMUM_POWER, 100, maxPowerDate, maxPower,
                             maxrPowerDate, maxrPower, true, outErr, &kMaxPowerText);
}

extern "C" int32_t Q310_CALL eResertMaxParam(uint32_t adr, uint32_t mode, uint32_t kind, char* outErr)
{
    (void)adr;
    (void)mode;
    Q310_EXPORT_ENTER(eResertMaxParam);
    Q310_REJECT_NULL(outErr);
    const Kel_StatusCode status =
        Kel_Zentor1Phase_Client_WriteMaximumReset(&clientContext, static_cast<uint8_t>(kind), 0);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kResetMaxText);
    return 1;
}

extern "C" int32_t Q310_CALL eReadSoftVersion(uint32_t adr, char* softVersion, char* svDate, char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadSoftVersion);
    Q310_REJECT_NULL(softVersion);
    Q310_REJECT_NULL(svDate);
    Q310_REJECT_NULL(outErr);
    uint8_t version[6] = {};
    const Kel_StatusCode status = Kel_Zentor1Phase_Client_ReadFirmwareVersion(&clientContext, version);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kSoftVersionText);
    sprintf(softVersion, "%d.%d", version[0], version[1]);
    sprintf(svDate, "%04d%02d%02d", version[5], version[4], version[3]);
    return 1;
}

extern "C" int32_t Q310_CALL eReadIdentPo(uint32_t adr, char* IdentPo, char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadIdentPo);
    Q310_REJECT_NULL(IdentPo);
    Q310_REJECT_NULL(outErr);
    uint16_t crc = 0;
    const Kel_StatusCode status = Kel_Zentor1Phase_Client_ReadFirmwareCRC(&clientContext, &crc);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kIdentPoText);
    sprintf(IdentPo, "%d.%d", crc >> 8, crc & 0xFF);
    return 1;
}

extern "C" int32_t Q310_CALL eReadOutputDate(uint32_t adr, char* outputDate, char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadOutputDate);
    Q310_REJECT_NULL(outputDate);
    Q310_REJECT_NULL(outErr);
    uint8_t date[3] = {};
    bool handBack = false;
    const Kel_StatusCode status =
        Kel_Zentor1Phase_Client_ReadProdDateFields(kelScope, &clientContext, date, &handBack);
    // A failed conversion is handed back as its status, without a message.
    if (handBack)
        return static_cast<int32_t>(status);
    Q310_REQUEST_TRACED(status, kOutputDateText);
    sprintf(outputDate, "%02d.%02d.%02d", date[0], date[1], date[2]);
    return 1;
}

extern "C" int32_t Q310_CALL eReadRunningTime(uint32_t adr, char* Time, char* batTime, char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadRunningTime);
    Q310_REJECT_NULL(Time);
    Q310_REJECT_NULL(batTime);
    Q310_REJECT_NULL(outErr);
    uint32_t meterTime = 0, batteryTime = 0;
    const Kel_StatusCode status =
        Kel_Zentor1Phase_Client_ReadRunningTime(&clientContext, &meterTime, &batteryTime);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kRunningTimeText);
    sprintf(Time, "%d", static_cast<int32_t>(meterTime));
    sprintf(batTime, "%d", static_cast<int32_t>(batteryTime));
    return 1;
}

extern "C" int32_t Q310_CALL eReadVoltageLiBattery(uint32_t adr, char* libatBattery, char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadVoltageLiBattery);
    Q310_REJECT_NULL(libatBattery);
    Q310_REJECT_NULL(outErr);
    uint8_t voltage[2] = {};
    const Kel_StatusCode status = Kel_Zentor1Phase_Client_ReadBatteryVoltage(&clientContext, voltage);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kBatteryText);
    sprintf(libatBattery, "%d.%d", voltage[0], voltage[1]);
    return 1;
}

extern "C" int32_t Q310_CALL eReadTypeState(uint32_t adr, uint32_t* typeMode1, uint32_t* typeMode2,
                                            char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadTypeState);
    Q310_REJECT_NULL(typeMode1);
    Q310_REJECT_NULL(typeMode2);
    Q310_REJECT_NULL(outErr);
    uint8_t type = 0, variant = 0;
    Q310_REQUEST_TRACED(Kel_Zentor1Phase_Client_ReadMeterType(kelScope, &clientContext, &type, &variant),
                        kTypeStateText);
    *typeMode1 = type;
    *typeMode2 = variant;
    return 1;
}

extern "C" int32_t Q310_CALL eReadVariantExecution(uint32_t adr, uint32_t* powerFlag, uint32_t* relayFlag,
                                                   char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadVariantExecution);
    Q310_REJECT_NULL(powerFlag);
    Q310_REJECT_NULL(relayFlag);
    Q310_REJECT_NULL(outErr);
    uint8_t relay = 0, power = 0;
    bool handBack = false;
    const Kel_StatusCode status =
        Kel_Zentor1Phase_Client_ReadDesignOptions(kelScope, &clientContext, &relay, &power, &handBack);
    // An answer of the wrong length is handed back as a status, without a message.
    if (handBack)
        return static_cast<int32_t>(status);
    Q310_REQUEST_TRACED(status, kVariantText);
    *relayFlag = relay;
    *powerFlag = power;
    return 1;
}

extern "C" int32_t Q310_CALL eReadPLC1Config(uint32_t adr, uint32_t b1, uint32_t b2, uint32_t b3, uint32_t b4,
                                             uint32_t b5, uint32_t b6, uint32_t b7, uint32_t b8,
                                             uint32_t* cdd1, uint32_t* cdd2, uint32_t* cdd3, uint32_t* cdd4,
                                             uint32_t* cdd5, uint32_t* cdd6, uint32_t* cdd7, uint32_t* cdd8,
                                             char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadPLC1Config);
    Q310_REJECT_NULL(cdd1);
    Q310_REJECT_NULL(cdd2);
    Q310_REJECT_NULL(cdd3);
    Q310_REJECT_NULL(cdd4);
    Q310_REJECT_NULL(cdd5);
    Q310_REJECT_NULL(cdd6);
    Q310_REJECT_NULL(cdd7);
    Q310_REJECT_NULL(cdd8);
    Q310_REJECT_NULL(outErr);
    // Each request byte is the low byte of its argument.
    const uint8_t request[8] = {static_cast<uint8_t>(b1), static_cast<uint8_t>(b2), static_cast<uint8_t>(b3),
                                static_cast<uint8_t>(b4), static_cast<uint8_t>(b5), static_cast<uint8_t>(b6),
                                static_cast<uint8_t>(b7), static_cast<uint8_t>(b8)};
    uint8_t config[8] = {};
    Q310_REQUEST_TRACED(Kel_Zentor1Phase_Client_ReadPlc1Config(kelScope, &clientContext, request, config),
                        kPlcText);
    uint32_t* outputs[8] = {cdd1, cdd2, cdd3, cdd4, cdd5, cdd6, cdd7, cdd8};
    for (int i = 0; i < 8; ++i)
        *outputs[i] = config[i];
    return 1;
}

extern "C" int32_t Q310_CALL eReadCurrentTime(uint32_t adr, char* testTime, char* testDate, char* weekDay,
                                              char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadCurrentTime);
    Q310_REJECT_NULL(testTime);
    Q310_REJECT_NULL(testDate);
    Q310_REJECT_NULL(weekDay);
    Q310_REJECT_NULL(outErr);
    Kel_Zentor1Phase_MeterTime7 time{};
    const Kel_StatusCode status = Kel_Zentor1Phase_Client_ReadDateTime(&clientContext, &time);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kCurrentTimeText);
    const uint8_t* v = time.value;
    if (sprintf(testTime, "%02d:%02d:%02d", v[1], v[2], v[3]) < 0 ||
        sprintf(testDate, "%02d.%02d.%02d", v[4], v[5], v[6]) < 0)
        return Q310_FailWith(kelScope, __LINE__, Kel_Bad, outErr, kCurrentTimeText);
    // A weekday number above 7 has no name: it gets the empty text, as 0 does.
    const uint8_t day = v[0] <= 7 ? v[0] : 0;
    memcpy(weekDay, kWeekdays[day].text, kWeekdaySlot);
    return 1;
}

extern "C" int32_t Q310_CALL eReadTimeOnOff(uint32_t adr, uint32_t event, char* timeMass, char* dateMass,
                                            char* outErr)
{
    (void)adr;
    Q310_EXPORT_ENTER(eReadTimeOnOff);
    Q310_REJECT_NULL(timeMass);
    Q310_REJECT_NULL(dateMass);
    Q310_REJECT_NULL(outErr);
    Kel_StatusCode (*read)(Kel_Zentor1Phase_ClientContext*, Kel_Zentor1Phase_MeterTime7*) = nullptr;
    const char* name = nullptr;
    switch (event)
    {
        case 0x2B:
            read = Kel_Zentor1Phase_Client_ReadLastMeterOffTime;
            name = "POWER OFF";
            break;
        case 0x2C:
            read = Kel_Zentor1Phase_Client_ReadLastMeterOnTime;
            name = "POWER ON";
            break;
        case 0x61:
            read = Kel_Zentor1Phase_Client_ReadLastCoverOpenTime;
            name = "COVER OPEN";
            break;
        case 0x62:
            read = Kel_Zentor1Phase_Client_ReadLastCoverCloseTime;
            name = "COVER CLOSE";
            break;
        default:
            // Any other event: nothing sent, nothing written, success. Hosts call it that way.
            return 1;
    }
    Kel_Zentor1Phase_MeterTime7 time{};
    const Kel_StatusCode status = read(&clientContext, &time);
    if (Kel_IsBad(status))
        return Q310_FailWith(kelScope, __LINE__, status, outErr, kTimeOnOffText);
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "%s", name);
    const uint8_t* v = time.value;
    sprintf(timeMass, "%02d:%02d:%02d", v[1], v[2], v[3]);
    sprintf(dateMass, "%02d.%02d.20%02d", v[4], v[5], v[6]);
    return 1;
}
