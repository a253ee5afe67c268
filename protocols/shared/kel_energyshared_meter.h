// Meter-independent records for readings, profiles, events, passport data, display lists and
// settings; their sort orders, two date-range helpers and the one-line text forms used in traces and
// for the host.
#pragma once

#include "shared/kel_types.h"
#include "shared/platform/kel_p_datetime.h"
#include "protocols/shared/kel_energyshared_schedule.h"

#include <type_traits>

constexpr uint8_t KEL_ENERGYSHARED_PASSPORT_PARAMS_MAX = 10;
constexpr uint8_t KEL_ENERGYSHARED_INSTANT_TYPES_MAX = 60;
constexpr uint8_t KEL_ENERGYSHARED_INSTANT_VALUES_MAX = 60;
constexpr uint8_t KEL_ENERGYSHARED_PROFILE_VALUES_MAX = 30;
constexpr uint8_t KEL_ENERGYSHARED_EVENT_DATA_MAX = 100;
constexpr uint8_t KEL_ENERGYSHARED_LCD_VALUES_MAX = 50;

// One measured value; TariffRate 0 is the total, else the tariff.
struct ValueParams
{
    uint32_t ValueType;
    double Value;
    int32_t Quality;
    uint8_t TariffRate;
};

struct PassportParam
{
    uint32_t ParamType;
    double ParamValue;
};

// Meter identity. The texts are zero-terminated when shorter than their field.
struct PassportParams
{
    char SerialNumber[30];
    char MeterType[50];
    char MetrologyVersion[10];
    char CommunicateVersion[10];
    DateTime MeterCreateDate;
    char PointData[68];
    PassportParam Params[KEL_ENERGYSHARED_PASSPORT_PARAMS_MAX];
    uint8_t ParamsCount;
};

struct ReadInstantsParams
{
    uint32_t Types[KEL_ENERGYSHARED_INSTANT_TYPES_MAX];
    uint8_t TypesCount;
};

struct InstantValues
{
    ValueParams Values[KEL_ENERGYSHARED_INSTANT_VALUES_MAX];
    uint8_t ValuesCount;
};

// A profile request, and the date range the range helpers widen and test.
struct ReadProfileParams
{
    DateTime StartTime;
    DateTime EndTime;
};

struct ProfileRecord
{
    ::DateTime DateTime;
    ValueParams Values[KEL_ENERGYSHARED_PROFILE_VALUES_MAX];
    uint8_t ValuesCount;
};

struct ReadEventsParams
{
    DateTime StartTime;
    DateTime EndTime;
    int32_t JournalType;
};

struct ReadEventsEntry
{
    uint16_t StartEntry;
    uint16_t EndEntry;
    uint32_t JournalType;
};

// One journal event with its raw data.
struct EventParams
{
    uint32_t JournalType;
    uint8_t EventType;
    DateTime Time;
    uint8_t Data[KEL_ENERGYSHARED_EVENT_DATA_MAX];
    uint8_t DataLength;
};

struct LcdValue
{
    uint32_t ValueType;
    uint8_t TariffRate;
};

// The list of values shown on the meter's display.
struct LcdValueList
{
    LcdValue Values[KEL_ENERGYSHARED_LCD_VALUES_MAX];
    uint8_t ValuesCount;
};

struct SettingsValues
{
    uint32_t Type;
    double Value;
    uint8_t ValuesCount;
};

static_assert(std::is_trivially_copyable_v<ValueParams> && std::is_trivially_copyable_v<PassportParams> &&
              std::is_trivially_copyable_v<ReadInstantsParams> &&
              std::is_trivially_copyable_v<InstantValues> &&
              std::is_trivially_copyable_v<ReadProfileParams> &&
              std::is_trivially_copyable_v<ProfileRecord> && std::is_trivially_copyable_v<ReadEventsParams> &&
              std::is_trivially_copyable_v<ReadEventsEntry> && std::is_trivially_copyable_v<EventParams> &&
              std::is_trivially_copyable_v<LcdValueList> && std::is_trivially_copyable_v<SettingsValues>);

// ---- Sorting (a null array or a count of 0 does nothing) ----
// By ValueType, then TariffRate.
Kel_StatusCode Kel_EnergyShared_SortValues(ValueParams* values, uint32_t count);
// By ParamType.
Kel_StatusCode Kel_EnergyShared_SortPassportParams(PassportParam* params, uint32_t count);
// By date, empty dates last; then the values of every record.
Kel_StatusCode Kel_EnergyShared_SortProfileRecords(ProfileRecord* records, uint32_t count);
// Seasons, weeks, points and special days, each in its own order.
Kel_StatusCode Kel_EnergyShared_SortScheduleParams(ScheduleParams* pSchedule);

// ---- Lookups and edits ----
// 1 when valueType is among the first count entries of types, else 0.
uint32_t Kel_EnergyShared_Utils_IsExistValueType(uint32_t valueType, const uint32_t* types, uint32_t count);
Kel_StatusCode Kel_EnergyShared_AddLcdValue(uint32_t valueType, uint8_t tariffRate, LcdValueList* pLcdValues);
// Widens pRange so that it includes the date (an empty date changes nothing).
Kel_StatusCode Kel_EnergyShared_SetDateRange(const DateTime* pDateTime, ReadProfileParams* pRange);
// *pResult = 1 when the query StartTime..EndTime (an empty end is open) lies wholly outside pRange.
Kel_StatusCode Kel_EnergyShared_IsOutOfRange(const DateTime* pStartTime, const DateTime* pEndTime,
                                             const ReadProfileParams* pRange, uint32_t* pResult);

// ---- Text forms: the buffer is zeroed, then filled and cut to stringSize - 1 characters ----
Kel_StatusCode Kel_EnergyShared_WriteTimeToStr(const DateTime* currentTime, const DateTime* writeTime,
                                               char* pString, uint32_t stringSize);
Kel_StatusCode Kel_EnergyShared_PassportToStr(const PassportParams* pPassport, char* pString,
                                              uint32_t stringSize);
Kel_StatusCode Kel_EnergyShared_ValueTypeListToStr(const uint32_t* types, uint32_t count, char* pString,
                                                   uint32_t stringSize);
Kel_StatusCode Kel_EnergyShared_ValueParamsListToStr(const ValueParams* values, uint32_t count, char* pString,
                                                     uint32_t stringSize);
Kel_StatusCode Kel_EnergyShared_ReadInstantsParamsToStr(const ReadInstantsParams* pParams, char* pString,
                                                        uint32_t stringSize);
Kel_StatusCode Kel_EnergyShared_InstantValuesToStr(const InstantValues* pValues, char* pString,
                                                   uint32_t stringSize);
Kel_StatusCode Kel_EnergyShared_ReadProfileParamsToStr(const ReadProfileParams* pParams, char* pString,
                                                       uint32_t stringSize);
Kel_StatusCode Kel_EnergyShared_ProfileRecordListToStr(const ProfileRecord* records, uint32_t count,
                                                       char* pString, uint32_t stringSize);
Kel_StatusCode Kel_EnergyShared_ReadEventsParamsToStr(const ReadEventsParams* pParams, char* pString,
                                                      uint32_t stringSize);
Kel_StatusCode Kel_EnergyShared_ReadEventsEntryToStr(const ReadEventsEntry* pEntry, char* pString,
                                                     uint32_t stringSize);
Kel_StatusCode Kel_EnergyShared_EventParamsListToStr(const EventParams* events, uint32_t count, char* pString,
                                                     uint32_t stringSize);
Kel_StatusCode Kel_EnergyShared_ScheduleParamsToStr(const ScheduleParams* pSchedule, char* pString,
                                                    uint32_t stringSize);
Kel_StatusCode Kel_EnergyShared_WriteScheduleParamsToStr(const DateTime* startTime,
                                                         const ScheduleParams* pSchedule, char* pString,
                                                         uint32_t stringSize);
Kel_StatusCode Kel_EnergyShared_LcdValueListToStr(const LcdValueList* pLcdValues, char* pString,
                                                  uint32_t stringSize);
Kel_StatusCode Kel_EnergyShared_SettingsValuesToStr(const SettingsValues* pSettings, char* pString,
                                                    uint32_t stringSize);
