// Client commands of the single-phase meter: one function per meter command. Each checks its
// arguments, clears its result, runs one exchange through the application layer, checks the answer's
// length and decodes it. Kel_GoodNoData is handed back at once with the answer unread; a silent meter
// (Kel_GoodNoResponse with an empty answer) fails the length check.
#pragma once

#include "protocols/orlenta/1phase/kel_zentor1phase_application.h"
#include "shared/platform/kel_p_datetime.h"

// Command codes named by the client.
constexpr uint8_t KEL_ZENTOR1PHASE_RCMD_ACTIVE_ENERGY = 0x27;
constexpr uint8_t KEL_ZENTOR1PHASE_RCMD_REACTIVE_ENERGY = 0x85;
constexpr uint8_t KEL_ZENTOR1PHASE_RCMD_ACTIVE_ENERGY_MONTH = 0x32;
constexpr uint8_t KEL_ZENTOR1PHASE_RCMD_REACTIVE_ENERGY_MONTH = 0x38;
constexpr uint8_t KEL_ZENTOR1PHASE_RCMD_PARAMETER = 0x86;
// Baud rate codes 0..4; 4 is the slowest.
constexpr uint8_t KEL_ZENTOR1PHASE_BAUD_600 = 4;
// Maximum numbers 0..2.
constexpr uint8_t KEL_ZENTOR1PHASE_MAXIMUM_POWER = 2;

// Seven bytes converted from BCD, in the order the meter sends them (command 0x21: day of week,
// hour, minute, second, day, month, year of century).
struct Kel_Zentor1Phase_MeterTime7
{
    uint8_t value[7];
};
static_assert(sizeof(Kel_Zentor1Phase_MeterTime7) == 7);

struct Kel_Zentor1Phase_TariffEnergyLimit
{
    uint32_t value; // per tariff T1..T4
    uint8_t flag;   // the flag byte as sent
};

// One switch point of a day's tariff table; 255 marks an unused point (tariff and hour) or minute.
struct Kel_Zentor1Phase_SwitchPoint
{
    uint8_t tariff;
    uint8_t hour;
    uint8_t minute;
};

struct Kel_Zentor1Phase_DisplayDelay
{
    uint8_t T1;
    uint8_t T2;
    uint8_t T3;
    uint8_t T4;
};

// Command 0x81: mains frequency in hundredths of a hertz and two further values, handed on undivided.
struct Kel_Zentor1Phase_ExtendedNetParams
{
    uint16_t frequency;
    uint8_t value1; // answer byte 3, plus one
    uint8_t value2; // answer byte 4
};

struct Kel_Zentor1Phase_EnergyArchiveRecord
{
    uint8_t valid; // 1 when the record's own CRC matched
    uint8_t year;  // 0..99
    uint8_t month;
    uint8_t day; // 1 for a month record
    uint32_t energy[4];
};

struct Kel_Zentor1Phase_PowerProfileSlot
{
    uint32_t valid;
    uint32_t power;
};

struct Kel_Zentor1Phase_PowerProfileRecord
{
    uint8_t year;
    uint8_t month;
    uint8_t day;
    uint8_t hour; // start of the four-hour block
    Kel_Zentor1Phase_PowerProfileSlot slots[8];
};

struct Kel_Zentor1Phase_MaximumEntry
{
    uint16_t value;
    uint8_t hour;
    uint8_t minute;
    uint8_t second;
    uint8_t day;
    uint8_t month;
    uint8_t year;
};

struct Kel_Zentor1Phase_MaximumRecord
{
    uint32_t maximum; // the maximum number asked for
    Kel_Zentor1Phase_MaximumEntry entries[2];
};

struct Kel_Zentor1Phase_ModelRecord
{
    char text[40]; // Windows-1251, zero-terminated
    uint32_t relay;
};

// Command 0x86, parameters 0 to 2.
struct Kel_Zentor1Phase_ParametersRecord
{
    uint32_t value0;  // parameter 0
    uint32_t value2b; // parameter 2, bytes 4..6
    double value2a;   // parameter 2, signed value
    uint32_t state1;  // parameter 1: 0, 1 (0x55) or 2 (0xAA)
    uint32_t reserved;
};

// One journal entry (journals 1, 2, 4 and 5); type 0 marks an empty or invalid entry.
struct Kel_Zentor1Phase_EventRecord
{
    uint32_t type;
    uint8_t hour;
    uint8_t minute;
    uint8_t second;
    uint8_t day;
    uint8_t month;
    uint8_t year; // of century, 2000-based
    uint8_t reserved[2];
};
static_assert(sizeof(Kel_Zentor1Phase_EventRecord) == 12);

// One day of journal 3: five flag bytes, then the date; day 0 marks an invalid record.
struct Kel_Zentor1Phase_EventDayRecord
{
    uint8_t flags[5];
    uint8_t day;
    uint8_t month;
    uint8_t year;
};
static_assert(sizeof(Kel_Zentor1Phase_EventDayRecord) == 8);

// The newest entry seen of each journal and whether it changed.
struct Kel_Zentor1Phase_JournalState
{
    Kel_Zentor1Phase_EventRecord last1;
    uint32_t changed1;
    Kel_Zentor1Phase_EventRecord last2;
    uint32_t changed2;
    Kel_Zentor1Phase_EventDayRecord last3;
    uint32_t changed3;
    Kel_Zentor1Phase_EventRecord last4[8]; // per quality parameter
    uint32_t changed4[8];
    Kel_Zentor1Phase_EventRecord last5;
    uint32_t changed5;
};

struct Kel_Zentor1Phase_ClientContext
{
    Kel_Zentor1Phase_ApplicationContext ApplicationContext; // first member: one pointer serves all layers
    // The line parameters handed to Kel_SerialChannel_SetParams: baud rate, parity, data bits, stop
    // bits, flow control.
    uint32_t serialParam1;
    uint32_t serialParam2;
    uint8_t serialParam3;
    uint32_t serialParam4;
    uint32_t serialParam5;
    Kel_Zentor1Phase_JournalState journals;
};

typedef Kel_Zentor1Phase_ClientContext Kel_Zentor1Phase_Client;

Kel_StatusCode Kel_Zentor1Phase_Client_CreateContext(Kel_Zentor1Phase_ClientContext* pContext,
                                                     Kel_SerialChannel_Context* pSerialChannel,
                                                     uint32_t aAddress, uint32_t aWriteTimeout,
                                                     uint32_t aReadTimeout, uint32_t aAnswerTimeout,
                                                     uint32_t p1, uint32_t p2, uint8_t p3, uint32_t p4,
                                                     uint32_t p5);
Kel_StatusCode Kel_Zentor1Phase_Client_SetupSerialChannel(Kel_Zentor1Phase_ClientContext* pContext);

// ---- Identity, clock and settings ----
Kel_StatusCode Kel_Zentor1Phase_Client_ReadSerial(Kel_Zentor1Phase_ClientContext* pContext,
                                                  char* pSerialNumber, uint32_t aSerialNumberSizeInBytes);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteNewAddress(Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint32_t aNewAddress);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadGroupAddress(Kel_Zentor1Phase_ClientContext* pContext,
                                                        uint32_t* address);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteGroupAddress(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint32_t aGroupAddress);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadDateTime(Kel_Zentor1Phase_ClientContext* pContext,
                                                    Kel_Zentor1Phase_MeterTime7* pDateTime);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadTime(Kel_Zentor1Phase_ClientContext* pContext,
                                                DateTime* pDateTime);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadProdDate(Kel_Zentor1Phase_ClientContext* pContext,
                                                    DateTime* pDateTime);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteDateTime(Kel_Zentor1Phase_ClientContext* pContext,
                                                     const Kel_Zentor1Phase_MeterTime7* pDateTime);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteTime(Kel_Zentor1Phase_ClientContext* pContext,
                                                 const DateTime* pDateTime);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadPowerLimit(Kel_Zentor1Phase_ClientContext* pContext,
                                                      double* pValue);
Kel_StatusCode Kel_Zentor1Phase_Client_WritePowerLimit(Kel_Zentor1Phase_ClientContext* pContext,
                                                       double aValue);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadEnergyLimit(Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint16_t* pValue);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteEnergyLimit(Kel_Zentor1Phase_ClientContext* pContext,
                                                        uint16_t aValue);
Kel_StatusCode
Kel_Zentor1Phase_Client_ReadTariffEnergyLimit(Kel_Zentor1Phase_ClientContext* pContext,
                                              Kel_Zentor1Phase_TariffEnergyLimit* tariffEnergyLimit);
Kel_StatusCode
Kel_Zentor1Phase_Client_WriteTariffEnergyLimit(Kel_Zentor1Phase_ClientContext* pContext,
                                               const Kel_Zentor1Phase_TariffEnergyLimit* tariffEnergyLimit);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadSummerTimeFlag(Kel_Zentor1Phase_ClientContext* pContext,
                                                          uint8_t* pFlag);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteSummerTimeFlag(Kel_Zentor1Phase_ClientContext* pContext,
                                                           uint8_t aFlag);
// Six bytes: major, minor, 20, then the three date bytes d(in[6]), d(in[5]), d(in[4]).
Kel_StatusCode Kel_Zentor1Phase_Client_ReadFirmwareVersion(Kel_Zentor1Phase_ClientContext* pContext,
                                                           uint8_t* pVersion);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadFirmwareCRC(Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint16_t* pCrc);
// Two bytes: whole volts, the digits after the point.
Kel_StatusCode Kel_Zentor1Phase_Client_ReadBatteryVoltage(Kel_Zentor1Phase_ClientContext* pContext,
                                                          uint8_t* pVoltage);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteBatteryFlagReset(Kel_Zentor1Phase_ClientContext* pContext);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteBatteryLifetimeReset(Kel_Zentor1Phase_ClientContext* pContext);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadTimeCorrection1(Kel_Zentor1Phase_ClientContext* pContext,
                                                           uint8_t* pValue);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadTimeCorrection3(Kel_Zentor1Phase_ClientContext* pContext,
                                                           uint32_t* pValue);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteTimeCorrection1(Kel_Zentor1Phase_ClientContext* pContext,
                                                            uint8_t aValue);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteBaudRate(Kel_Zentor1Phase_ClientContext* pContext,
                                                     uint8_t baudRate);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadDisplayMode(Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint8_t* pMode);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteDisplayMode(Kel_Zentor1Phase_ClientContext* pContext,
                                                        uint8_t aMode);
// Two bytes.
Kel_StatusCode Kel_Zentor1Phase_Client_ReadAdditionalDisplayMode(Kel_Zentor1Phase_ClientContext* pContext,
                                                                 uint8_t* displ);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteAdditionalDisplayMode(Kel_Zentor1Phase_ClientContext* pContext,
                                                                  const uint8_t* displ);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadLastMeterOffTime(Kel_Zentor1Phase_ClientContext* pContext,
                                                            Kel_Zentor1Phase_MeterTime7* pDateTime);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadLastMeterOnTime(Kel_Zentor1Phase_ClientContext* pContext,
                                                           Kel_Zentor1Phase_MeterTime7* pDateTime);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadLastCoverOpenTime(Kel_Zentor1Phase_ClientContext* pContext,
                                                             Kel_Zentor1Phase_MeterTime7* pDateTime);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadLastCoverCloseTime(Kel_Zentor1Phase_ClientContext* pContext,
                                                              Kel_Zentor1Phase_MeterTime7* pDateTime);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadLastWriteAccessTime(Kel_Zentor1Phase_ClientContext* pContext,
                                                               Kel_Zentor1Phase_MeterTime7* pDateTime);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadLastConfigTime(Kel_Zentor1Phase_ClientContext* pContext,
                                                          DateTime* pDateTime);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadDryOutputMode(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t* pMode);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteDryOutputMode(Kel_Zentor1Phase_ClientContext* pContext,
                                                          uint8_t aMode);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadTariffsNumber(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t* pValue);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteTariffsNumber(Kel_Zentor1Phase_ClientContext* pContext,
                                                          uint8_t aValue);
// Eight holidays of two bytes in the meter's order; 255 marks an empty byte.
Kel_StatusCode Kel_Zentor1Phase_Client_ReadHolidaysTable(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t aPart, uint8_t* pHolidays);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteHolidaysTable(Kel_Zentor1Phase_ClientContext* pContext,
                                                          uint8_t aPart, const uint8_t* pHolidays);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadActiveTariff(Kel_Zentor1Phase_ClientContext* pContext,
                                                        uint8_t* pValue);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteActiveTariff(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t aValue);
// Sixteen switch points.
Kel_StatusCode Kel_Zentor1Phase_Client_ReadTariffsTable(Kel_Zentor1Phase_ClientContext* pContext,
                                                        uint8_t Month, uint8_t WDay,
                                                        Kel_Zentor1Phase_SwitchPoint* pPoints);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteTariffsTable(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t Month, uint8_t WDay,
                                                         const Kel_Zentor1Phase_SwitchPoint* pPoints);
// Command 0x13 when aJumper is not 0, else 0x12.
Kel_StatusCode Kel_Zentor1Phase_Client_WriteMaximumReset(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t Maximum, uint32_t aJumper);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadDisplayDelay(Kel_Zentor1Phase_ClientContext* pContext,
                                                        Kel_Zentor1Phase_DisplayDelay* pValue);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteDisplayDelay(Kel_Zentor1Phase_ClientContext* pContext,
                                                         const Kel_Zentor1Phase_DisplayDelay* pValue);
// Four fields: period, mode (low nibble), bit 6, bit 7 of the second byte.
Kel_StatusCode Kel_Zentor1Phase_Client_ReadPowerLimitMode(Kel_Zentor1Phase_ClientContext* pContext,
                                                          uint8_t* pMode);
Kel_StatusCode Kel_Zentor1Phase_Client_WritePowerLimitMode(Kel_Zentor1Phase_ClientContext* pContext,
                                                           const uint8_t* pMode);
Kel_StatusCode Kel_Zentor1Phase_Client_WritePowerLimitPeriod(Kel_Zentor1Phase_ClientContext* pContext,
                                                             double aPeriod);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadDesignVariant(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint16_t* pValue);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadRunningTime(Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint32_t* onTime, uint32_t* offTime);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadModemAddressLevel(Kel_Zentor1Phase_ClientContext* pContext,
                                                             uint16_t* address, uint8_t* level);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadRelayControlMode(Kel_Zentor1Phase_ClientContext* pContext,
                                                            uint8_t* relayControlMode);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteRelayControlMode(Kel_Zentor1Phase_ClientContext* pContext,
                                                             uint8_t aMode);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteLoadState(Kel_Zentor1Phase_ClientContext* pContext,
                                                      uint32_t aState);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadLcdUnderBatteryEnable(Kel_Zentor1Phase_ClientContext* pContext,
                                                                 uint8_t* pValue);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteLcdUnderBatteryEnable(Kel_Zentor1Phase_ClientContext* pContext,
                                                                  uint8_t aValue);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadPlc2InterfaceEnable(Kel_Zentor1Phase_ClientContext* pContext,
                                                               uint8_t* pValue);
Kel_StatusCode Kel_Zentor1Phase_Client_WritePlc2InterfaceEnable(Kel_Zentor1Phase_ClientContext* pContext,
                                                                uint8_t aValue);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadTimeoutMultiplier(Kel_Zentor1Phase_ClientContext* pContext,
                                                             uint8_t* pValue);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteTimeoutMultiplier(Kel_Zentor1Phase_ClientContext* pContext,
                                                              uint8_t aValue);

// ---- Energy, maxima, network values, profiles ----
Kel_StatusCode Kel_Zentor1Phase_Client_ReadEnergy(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Type,
                                                  uint32_t* pValues);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadEnergyMonth12(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t Month, uint8_t aCommand, uint32_t* pValues);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadEnergyMonth48(Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t Year, uint8_t Month,
                                                         Kel_Zentor1Phase_EnergyArchiveRecord* pRecord);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadEnergyDay48(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Year,
                                                       uint8_t Month, uint8_t Day,
                                                       Kel_Zentor1Phase_EnergyArchiveRecord* pRecord);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadPowerUnit48(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Year,
                                                       uint8_t Month, uint8_t Day, uint8_t Hour,
                                                       uint8_t Minute,
                                                       Kel_Zentor1Phase_PowerProfileRecord* pRecord);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadMaximum(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Maximum,
                                                   Kel_Zentor1Phase_MaximumRecord* pRecord);
// Two bytes: whole kilowatts, the digits after the point.
Kel_StatusCode Kel_Zentor1Phase_Client_ReadPayloadPower(Kel_Zentor1Phase_ClientContext* pContext,
                                                        uint8_t* pValue);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadUIP(Kel_Zentor1Phase_ClientContext* pContext, uint32_t* v,
                                               uint32_t* i, uint32_t* p);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadExtendedNetParams(Kel_Zentor1Phase_ClientContext* pContext,
                                                             Kel_Zentor1Phase_ExtendedNetParams* pValue);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadModel(Kel_Zentor1Phase_ClientContext* pContext,
                                                 Kel_Zentor1Phase_ModelRecord* pModel);
// Parameters 0, 1 and 2 of command 0x86; ReadParameters2 reads the one selected (0..2; others: none).
Kel_StatusCode Kel_Zentor1Phase_Client_ReadParameters(Kel_Zentor1Phase_ClientContext* pContext,
                                                      Kel_Zentor1Phase_ParametersRecord* pParameters);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadParameters2(Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint8_t aSelector,
                                                       Kel_Zentor1Phase_ParametersRecord* pParameters);
// A caller-built request (command code included); the answer payload from the echoed command on.
Kel_StatusCode Kel_Zentor1Phase_Client_SendCommand(Kel_Zentor1Phase_ClientContext* pContext,
                                                   const uint8_t* pCommand, uint32_t aCommandSize,
                                                   uint8_t* pAnswer, uint32_t aAnswerSize,
                                                   uint32_t* pReceived);
Kel_StatusCode Kel_Zentor1Phase_Client_EnablePowerLimit(Kel_Zentor1Phase_ClientContext* pContext,
                                                        uint32_t aEnable);

// ---- Commands traced as part of the calling export ----
// The exchanges of exports whose trace has never carried a client entry line: each function takes the
// export's trace scope and writes its lines (a failed exchange or conversion, a refused answer) as the
// export's, with no entry or exit line of its own; the refusals quote the expressions the export's
// trace has always shown. Results are written only when the answer is accepted.
// A failure traced as "--- GotoError" ends the export through its failure exit (its message, result
// 0). One traced as "<-- ReturnError" ends it with the status as its result, without a message: the
// functions that have such failures set *pHandBack for them (and clear it otherwise).
// Kel_GoodNoData and Kel_GoodNoResponse are not failures of the exchange here: the answer's length is
// checked as for any other answer.
struct Kel_TraceScope;

// Parameter 0 of command 0x86: the reactive power, three BCD bytes behind the echoed selector.
Kel_StatusCode Kel_Zentor1Phase_Client_ReadReactivePower(const Kel_TraceScope& aScope,
                                                         Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint32_t* pPower, bool* pHandBack);
// Parameter 2 of command 0x86: five BCD bytes (the selector's echo is not checked), as five numbers.
Kel_StatusCode Kel_Zentor1Phase_Client_ReadPowerFactor(const Kel_TraceScope& aScope,
                                                       Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint8_t* pDigits);
// Command 0x66: day, month and year of century of the production date.
Kel_StatusCode Kel_Zentor1Phase_Client_ReadProdDateFields(const Kel_TraceScope& aScope,
                                                          Kel_Zentor1Phase_ClientContext* pContext,
                                                          uint8_t* pDate, bool* pHandBack);
// Parameter 0xFF of command 0x86 in its long form (18 bytes): the meter type and its variant.
Kel_StatusCode Kel_Zentor1Phase_Client_ReadMeterType(const Kel_TraceScope& aScope,
                                                     Kel_Zentor1Phase_ClientContext* pContext, uint8_t* pType,
                                                     uint8_t* pVariant);
// Command 0x65: whether the meter has a relay and the power option (1 or 0).
Kel_StatusCode Kel_Zentor1Phase_Client_ReadDesignOptions(const Kel_TraceScope& aScope,
                                                         Kel_Zentor1Phase_ClientContext* pContext,
                                                         uint8_t* pRelay, uint8_t* pPower, bool* pHandBack);
// Command 0x79 with eight request bytes: the eight configuration bytes of the PLC-I interface (an
// answer of 9 or of 11 bytes).
Kel_StatusCode Kel_Zentor1Phase_Client_ReadPlc1Config(const Kel_TraceScope& aScope,
                                                      Kel_Zentor1Phase_ClientContext* pContext,
                                                      const uint8_t* pRequest, uint8_t* pConfig);
// Parameter 1 of command 0x86: the relay's state byte as sent (the selector's echo is not checked).
Kel_StatusCode Kel_Zentor1Phase_Client_ReadRelayParameter(const Kel_TraceScope& aScope,
                                                          Kel_Zentor1Phase_ClientContext* pContext,
                                                          uint8_t* pState);

// Eight zones a day, commands 0x31 (read) and 0x11 (write), selector Month * 16 + WDay. An unused zone
// is 255 in all three fields; a read zone keeps fields out of range as they came.
constexpr uint32_t KEL_ZENTOR1PHASE_RAW_TARIFF_ZONES = 8;
Kel_StatusCode Kel_Zentor1Phase_Client_ReadTariffZones(const Kel_TraceScope& aScope,
                                                       Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint8_t Month, uint8_t WDay,
                                                       Kel_Zentor1Phase_SwitchPoint* pZones, bool* pHandBack);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteTariffZones(const Kel_TraceScope& aScope,
                                                        Kel_Zentor1Phase_ClientContext* pContext,
                                                        uint8_t Month, uint8_t WDay,
                                                        const Kel_Zentor1Phase_SwitchPoint* pZones,
                                                        bool* pHandBack);
// Command 0x78: the 35 bytes of the fast tariff table write, as given.
Kel_StatusCode Kel_Zentor1Phase_Client_WriteFastTariffTable(const Kel_TraceScope& aScope,
                                                            Kel_Zentor1Phase_ClientContext* pContext,
                                                            const uint8_t* pTable);
// Command 0x37: the tariff profile's mode byte (read with the fixed request E0 01 12 19); written with
// the date, the year sent as the BCD of the low byte of year + 0x30 (year - 2000 for 2000..2099).
Kel_StatusCode Kel_Zentor1Phase_Client_ReadTariffProfileMode(const Kel_TraceScope& aScope,
                                                             Kel_Zentor1Phase_ClientContext* pContext,
                                                             uint8_t* pMode);
Kel_StatusCode Kel_Zentor1Phase_Client_WriteTariffProfileMode(const Kel_TraceScope& aScope,
                                                              Kel_Zentor1Phase_ClientContext* pContext,
                                                              uint8_t aMode, uint8_t aDay, uint8_t aMonth,
                                                              uint16_t aYear);

// Line settings of a created client, traced by nothing: the read time-out of each serial read, and
// the transport's last frame with its length (the reference of an echoing line's echo removal).
Kel_StatusCode Kel_Zentor1Phase_Client_SetReadTimeout(Kel_Zentor1Phase_ClientContext* pContext,
                                                      uint32_t aTimeout);
Kel_StatusCode Kel_Zentor1Phase_Client_LastFrame(const Kel_Zentor1Phase_ClientContext* pContext,
                                                 const uint8_t** ppFrame, const uint32_t** ppLength);
