// Meter records: sort orders, date-range helpers and one-line text forms.
#define KEL_TRACE_FILE "protocols/shared/kel_energyshared_meter"
#include "protocols/shared/kel_energyshared_meter.h"
#include "protocols/shared/kel_energyshared_schedule.h"

#include "shared/kel_trace.h"
#include "shared/kel_utils.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace
{
using namespace kel_energyshared_order;

// Size of the texts in which nested lists and schedule sections are built before they are written.
constexpr uint32_t KEL_ENERGYSHARED_PART_TEXT_SIZE = 500;
// Room for one date text ("%04d.%02d.%02d %02d:%02d:%02d.%03d").
constexpr uint32_t KEL_ENERGYSHARED_DATE_TEXT_SIZE = 32;
// Room for the hex text of an event's data: "[100]" and " %02X" per byte.
constexpr uint32_t KEL_ENERGYSHARED_DATA_TEXT_SIZE = 320;

// Appends one formatted piece while the text is shorter than the buffer; the piece is cut to the
// buffer and the text stays terminated.
#if defined(__GNUC__)
__attribute__((format(printf, 3, 4)))
#endif
void Append(char* pString, uint32_t stringSize, const char* pFormat, ...)
{
    const size_t length = strlen(pString);
    if (length >= stringSize)
        return;
    va_list args;
    va_start(args, pFormat);
    vsnprintf(pString + length, stringSize - length, pFormat, args);
    va_end(args);
}

template <typename T> int CompareKeys(T a, T b)
{
    return a < b ? -1 : (a > b ? 1 : 0);
}

int ValuesCompare(const void* p1, const void* p2)
{
    if (p1 == KEL_NULL || p2 == KEL_NULL)
        return CompareNull(p1, p2);
    const ValueParams* a = static_cast<const ValueParams*>(p1);
    const ValueParams* b = static_cast<const ValueParams*>(p2);
    if (a->ValueType != b->ValueType)
        return CompareKeys(a->ValueType, b->ValueType);
    return CompareKeys(a->TariffRate, b->TariffRate);
}

int PassportParamsCompare(const void* p1, const void* p2)
{
    if (p1 == KEL_NULL || p2 == KEL_NULL)
        return CompareNull(p1, p2);
    return CompareKeys(static_cast<const PassportParam*>(p1)->ParamType,
                       static_cast<const PassportParam*>(p2)->ParamType);
}

// Orders two instants; callers handle empty dates first.
int DateCompare(const DateTime& a, const DateTime& b)
{
    if (a.seconds != b.seconds)
        return CompareKeys(a.seconds, b.seconds);
    return CompareKeys(a.microseconds, b.microseconds);
}

int ProfileRecordsCompare(const void* p1, const void* p2)
{
    const DateTime* a = p1 == KEL_NULL ? KEL_NULL : &static_cast<const ProfileRecord*>(p1)->DateTime;
    const DateTime* b = p2 == KEL_NULL ? KEL_NULL : &static_cast<const ProfileRecord*>(p2)->DateTime;
    const bool emptyA = Kel_Utils_IsEmptyDate(a) != 0;
    const bool emptyB = Kel_Utils_IsEmptyDate(b) != 0;
    if (emptyA || emptyB)
        return emptyA == emptyB ? 0 : (emptyA ? 1 : -1);
    return DateCompare(*a, *b);
}

// Sorts the used entries of one array of the schedule record; a count above the array's capacity is
// refused, so that the sort never reaches past the record.
Kel_StatusCode SortScheduleEntries(void* pElements, uint8_t aCount, uint8_t aCapacity, uint32_t aElementSize,
                                   Kel_Utils_CompareFunction pfnCompare)
{
    KEL_ENTER(Kel_Module_Utils);
    if (aCount > aCapacity)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    Kel_StatusCode status = Kel_Good;
    if (aCount > 0)
        KEL_GOTO_IF_BAD(status, Kel_Utils_QSort(pElements, aCount, aElementSize, pfnCompare, KEL_NULL));
    KEL_EXIT(status);
}
} // namespace

// ---- Sorting ----

Kel_StatusCode Kel_EnergyShared_SortValues(ValueParams* values, uint32_t count)
{
    KEL_ENTER(Kel_Module_Utils);
    Kel_StatusCode status = Kel_Good;
    if (values != KEL_NULL && count > 0)
        KEL_GOTO_IF_BAD(status, Kel_Utils_QSort(values, count, sizeof(ValueParams), ValuesCompare, KEL_NULL));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_SortPassportParams(PassportParam* params, uint32_t count)
{
    KEL_ENTER(Kel_Module_Utils);
    Kel_StatusCode status = Kel_Good;
    if (params != KEL_NULL && count > 0)
        KEL_GOTO_IF_BAD(
            status, Kel_Utils_QSort(params, count, sizeof(PassportParam), PassportParamsCompare, KEL_NULL));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_SortProfileRecords(ProfileRecord* records, uint32_t count)
{
    KEL_ENTER(Kel_Module_Utils);
    Kel_StatusCode status = Kel_Good;
    if (records == KEL_NULL || count == 0)
        KEL_EXIT(status);
    KEL_GOTO_IF_BAD(status,
                    Kel_Utils_QSort(records, count, sizeof(ProfileRecord), ProfileRecordsCompare, KEL_NULL));
    for (uint32_t i = 0; i < count; ++i)
    {
        // A record that claims more values than it holds is refused rather than sorted past its end.
        KEL_GOTO_CODE_IF(records[i].ValuesCount > KEL_ENERGYSHARED_PROFILE_VALUES_MAX, Kel_BadOutOfRange);
        KEL_GOTO_IF_BAD(status, Kel_EnergyShared_SortValues(records[i].Values, records[i].ValuesCount));
    }
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_SortScheduleParams(ScheduleParams* pSchedule)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSchedule);
    Kel_StatusCode status = Kel_Good;
    ScheduleParams& s = *pSchedule;
    KEL_GOTO_IF_BAD(status,
                    SortScheduleEntries(s.Seasons, s.SeasonsCount, KEL_ENERGYSHARED_SCHEDULE_SEASONS_MAX,
                                        sizeof(ScheduleSeason), SeasonCompare));
    KEL_GOTO_IF_BAD(status, SortScheduleEntries(s.Weeks, s.WeeksCount, KEL_ENERGYSHARED_SCHEDULE_WEEKS_MAX,
                                                sizeof(ScheduleWeek), WeekCompare));
    KEL_GOTO_IF_BAD(status, SortScheduleEntries(s.Days, s.DaysCount, KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX,
                                                sizeof(ScheduleDay), DayCompare));
    KEL_GOTO_IF_BAD(status, SortScheduleEntries(s.SpecialDays, s.SpecialDaysCount,
                                                KEL_ENERGYSHARED_SCHEDULE_SPECIALDAYS_MAX,
                                                sizeof(ScheduleSpecial), SpecialCompare));
    KEL_EXIT(status);
}

// ---- Lookups and edits ----

uint32_t Kel_EnergyShared_Utils_IsExistValueType(uint32_t valueType, const uint32_t* types, uint32_t count)
{
    if (types == KEL_NULL)
        return 0;
    for (uint32_t i = 0; i < count; ++i)
        if (types[i] == valueType)
            return 1;
    return 0;
}

Kel_StatusCode Kel_EnergyShared_AddLcdValue(uint32_t valueType, uint8_t tariffRate, LcdValueList* pLcdValues)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pLcdValues);
    if (pLcdValues->ValuesCount >= KEL_ENERGYSHARED_LCD_VALUES_MAX)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    pLcdValues->Values[pLcdValues->ValuesCount] = LcdValue{valueType, tariffRate};
    pLcdValues->ValuesCount++;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_EnergyShared_SetDateRange(const DateTime* pDateTime, ReadProfileParams* pRange)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pDateTime);
    KEL_REJECT_NULL(pRange);
    if (Kel_Utils_IsEmptyDate(pDateTime))
        KEL_EXIT(Kel_Good);
    if (Kel_Utils_IsEmptyDate(&pRange->StartTime) || DateCompare(pRange->StartTime, *pDateTime) > 0)
        pRange->StartTime = *pDateTime;
    if (Kel_Utils_IsEmptyDate(&pRange->EndTime) || DateCompare(pRange->EndTime, *pDateTime) < 0)
        pRange->EndTime = *pDateTime;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_EnergyShared_IsOutOfRange(const DateTime* pStartTime, const DateTime* pEndTime,
                                             const ReadProfileParams* pRange, uint32_t* pResult)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pRange);
    KEL_REJECT_NULL(pResult);
    *pResult = 0;
    // A range with an empty end tells nothing; the query's ends may be empty (or null): an empty end
    // is open on that side.
    if (Kel_Utils_IsEmptyDate(&pRange->StartTime) || Kel_Utils_IsEmptyDate(&pRange->EndTime))
        KEL_EXIT(Kel_Good);
    if (!Kel_Utils_IsEmptyDate(pEndTime) && DateCompare(*pEndTime, pRange->StartTime) < 0)
        *pResult = 1;
    else if (!Kel_Utils_IsEmptyDate(pStartTime) && DateCompare(pRange->EndTime, *pStartTime) < 0)
        *pResult = 1;
    KEL_EXIT(Kel_Good);
}

// ---- Text forms ----

// Every text form starts the same way: refuse a null buffer or a size of 0, zero the buffer, and leave
// it empty (Good) for a null record.
#define KEL_TEXT_BEGIN(pRecord)                                                                              \
    KEL_ENTER(Kel_Module_Utils);                                                                             \
    KEL_REJECT_NULL(pString);                                                                                \
    KEL_REJECT_ZERO(stringSize);                                                                             \
    memset(pString, 0, stringSize);                                                                          \
    do                                                                                                       \
    {                                                                                                        \
        if ((pRecord) == KEL_NULL)                                                                           \
            KEL_EXIT(Kel_Good);                                                                              \
    } while (0)

Kel_StatusCode Kel_EnergyShared_WriteTimeToStr(const DateTime* currentTime, const DateTime* writeTime,
                                               char* pString, uint32_t stringSize)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pString);
    KEL_REJECT_ZERO(stringSize);
    memset(pString, 0, stringSize);
    Kel_StatusCode status = Kel_Good;
    // Both parts are always written; a null date reads as the empty date (empty text).
    char date[KEL_ENERGYSHARED_DATE_TEXT_SIZE];
    KEL_GOTO_IF_BAD(status, Kel_Utils_DateTimeToStr(currentTime, date, sizeof(date)));
    Append(pString, stringSize, "CurrentTime=%s", date);
    KEL_GOTO_IF_BAD(status, Kel_Utils_DateTimeToStr(writeTime, date, sizeof(date)));
    Append(pString, stringSize, ", WriteTime=%s", date);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_PassportToStr(const PassportParams* pPassport, char* pString,
                                              uint32_t stringSize)
{
    KEL_TEXT_BEGIN(pPassport);
    Kel_StatusCode status = Kel_Good;
    const PassportParams& p = *pPassport;
    char date[KEL_ENERGYSHARED_DATE_TEXT_SIZE];
    KEL_GOTO_IF_BAD(status, Kel_Utils_DateTimeToStr(&p.MeterCreateDate, date, sizeof(date)));
    // The text fields are read no further than their own size, terminated or not.
    Append(pString, stringSize,
           "SerialNumber=%.*s, MeterType=%.*s, MetrologyVersion=%.*s, CommunicateVersion=%.*s, "
           "MeterCreateDate=%s, PointData=%.*s, ParamsCount=%d",
           static_cast<int>(sizeof(p.SerialNumber)), p.SerialNumber, static_cast<int>(sizeof(p.MeterType)),
           p.MeterType, static_cast<int>(sizeof(p.MetrologyVersion)), p.MetrologyVersion,
           static_cast<int>(sizeof(p.CommunicateVersion)), p.CommunicateVersion, date,
           static_cast<int>(sizeof(p.PointData)), p.PointData, p.ParamsCount);
    for (uint32_t i = 0; i < p.ParamsCount; ++i)
    {
        if (i >= KEL_ENERGYSHARED_PASSPORT_PARAMS_MAX)
            KEL_REJECT_CODE(Kel_BadOutOfRange);
        Append(pString, stringSize, ", Params[%d]=(ParamType=%d, ParamValue=%f)", static_cast<int>(i),
               static_cast<int>(p.Params[i].ParamType), p.Params[i].ParamValue);
    }
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_ValueTypeListToStr(const uint32_t* types, uint32_t count, char* pString,
                                                   uint32_t stringSize)
{
    KEL_TEXT_BEGIN(types);
    Append(pString, stringSize, "TypesCount=%d", static_cast<int>(count));
    for (uint32_t i = 0; i < count; ++i)
        Append(pString, stringSize, ", Types[%d]=%d", static_cast<int>(i), static_cast<int>(types[i]));
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_EnergyShared_ValueParamsListToStr(const ValueParams* values, uint32_t count, char* pString,
                                                     uint32_t stringSize)
{
    KEL_TEXT_BEGIN(values);
    Append(pString, stringSize, "ValuesCount=%d", static_cast<int>(count));
    for (uint32_t i = 0; i < count; ++i)
    {
        const ValueParams& v = values[i];
        Append(pString, stringSize, ", Values[%d]=(ValueType=%d, Value=%f, Quality=%d, TariffRate=%d)",
               static_cast<int>(i), static_cast<int>(v.ValueType), v.Value, static_cast<int>(v.Quality),
               v.TariffRate);
    }
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_EnergyShared_ReadInstantsParamsToStr(const ReadInstantsParams* pParams, char* pString,
                                                        uint32_t stringSize)
{
    KEL_TEXT_BEGIN(pParams);
    if (pParams->TypesCount > KEL_ENERGYSHARED_INSTANT_TYPES_MAX)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    Kel_StatusCode status = Kel_Good;
    char list[KEL_ENERGYSHARED_PART_TEXT_SIZE];
    KEL_GOTO_IF_BAD(
        status, Kel_EnergyShared_ValueTypeListToStr(pParams->Types, pParams->TypesCount, list, sizeof(list)));
    Append(pString, stringSize, "Types=(%s)", list);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_InstantValuesToStr(const InstantValues* pValues, char* pString,
                                                   uint32_t stringSize)
{
    KEL_TEXT_BEGIN(pValues);
    if (pValues->ValuesCount > KEL_ENERGYSHARED_INSTANT_VALUES_MAX)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    Kel_StatusCode status = Kel_Good;
    char list[KEL_ENERGYSHARED_PART_TEXT_SIZE];
    KEL_GOTO_IF_BAD(status, Kel_EnergyShared_ValueParamsListToStr(pValues->Values, pValues->ValuesCount, list,
                                                                  sizeof(list)));
    Append(pString, stringSize, "Values=(%s)", list);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_ReadProfileParamsToStr(const ReadProfileParams* pParams, char* pString,
                                                       uint32_t stringSize)
{
    KEL_TEXT_BEGIN(pParams);
    Kel_StatusCode status = Kel_Good;
    char date[KEL_ENERGYSHARED_DATE_TEXT_SIZE];
    KEL_GOTO_IF_BAD(status, Kel_Utils_DateTimeToStr(&pParams->StartTime, date, sizeof(date)));
    Append(pString, stringSize, "StartTime=%s", date);
    KEL_GOTO_IF_BAD(status, Kel_Utils_DateTimeToStr(&pParams->EndTime, date, sizeof(date)));
    Append(pString, stringSize, ", EndTime=%s", date);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_ProfileRecordListToStr(const ProfileRecord* records, uint32_t count,
                                                       char* pString, uint32_t stringSize)
{
    KEL_TEXT_BEGIN(records);
    Kel_StatusCode status = Kel_Good;
    Append(pString, stringSize, "RecordsCount=%d", static_cast<int>(count));
    char date[KEL_ENERGYSHARED_DATE_TEXT_SIZE];
    char list[KEL_ENERGYSHARED_PART_TEXT_SIZE];
    for (uint32_t i = 0; i < count; ++i)
    {
        const ProfileRecord& record = records[i];
        // A record that claims more values than it holds is refused rather than read past its end.
        if (record.ValuesCount > KEL_ENERGYSHARED_PROFILE_VALUES_MAX)
            KEL_REJECT_CODE(Kel_BadOutOfRange);
        KEL_GOTO_IF_BAD(status, Kel_Utils_DateTimeToStr(&record.DateTime, date, sizeof(date)));
        Append(pString, stringSize, ", Records[%d]=(DateTime=%s", static_cast<int>(i), date);
        KEL_GOTO_IF_BAD(status, Kel_EnergyShared_ValueParamsListToStr(record.Values, record.ValuesCount, list,
                                                                      sizeof(list)));
        Append(pString, stringSize, ", Values=(%s))", list);
    }
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_ReadEventsParamsToStr(const ReadEventsParams* pParams, char* pString,
                                                      uint32_t stringSize)
{
    KEL_TEXT_BEGIN(pParams);
    Kel_StatusCode status = Kel_Good;
    char date[KEL_ENERGYSHARED_DATE_TEXT_SIZE];
    KEL_GOTO_IF_BAD(status, Kel_Utils_DateTimeToStr(&pParams->StartTime, date, sizeof(date)));
    Append(pString, stringSize, "StartTime=%s", date);
    KEL_GOTO_IF_BAD(status, Kel_Utils_DateTimeToStr(&pParams->EndTime, date, sizeof(date)));
    Append(pString, stringSize, ", EndTime=%s, JournalType=%d", date, static_cast<int>(pParams->JournalType));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_ReadEventsEntryToStr(const ReadEventsEntry* pEntry, char* pString,
                                                     uint32_t stringSize)
{
    KEL_TEXT_BEGIN(pEntry);
    Append(pString, stringSize, "StartEntry=%d, EndEntry=%d, JournalType=%d", pEntry->StartEntry,
           pEntry->EndEntry, static_cast<int>(pEntry->JournalType));
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_EnergyShared_EventParamsListToStr(const EventParams* events, uint32_t count, char* pString,
                                                     uint32_t stringSize)
{
    KEL_TEXT_BEGIN(events);
    Kel_StatusCode status = Kel_Good;
    Append(pString, stringSize, "EventsCount=%d", static_cast<int>(count));
    char date[KEL_ENERGYSHARED_DATE_TEXT_SIZE];
    char data[KEL_ENERGYSHARED_DATA_TEXT_SIZE];
    for (uint32_t i = 0; i < count; ++i)
    {
        const EventParams& event = events[i];
        // An event that claims more data than it holds is refused rather than read past its end.
        if (event.DataLength > KEL_ENERGYSHARED_EVENT_DATA_MAX)
            KEL_REJECT_CODE(Kel_BadOutOfRange);
        KEL_GOTO_IF_BAD(status, Kel_Utils_DateTimeToStr(&event.Time, date, sizeof(date)));
        Append(pString, stringSize, ", Events[%d]=(EventInfo=(JournalType=%d, EventType=%d), Time=%s",
               static_cast<int>(i), static_cast<int>(event.JournalType), event.EventType, date);
        KEL_GOTO_IF_BAD(status, Kel_Utils_DataToStr(event.Data, event.DataLength, data, sizeof(data)));
        Append(pString, stringSize, ", Data=%s)", data);
    }
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_ScheduleParamsToStr(const ScheduleParams* pSchedule, char* pString,
                                                    uint32_t stringSize)
{
    KEL_TEXT_BEGIN(pSchedule);
    Kel_StatusCode status = Kel_Good;
    const ScheduleParams& s = *pSchedule;
    // Each section is built in its own text of 500 characters (and cut there), then written.
    char section[KEL_ENERGYSHARED_PART_TEXT_SIZE];

    if (s.SeasonsCount > KEL_ENERGYSHARED_SCHEDULE_SEASONS_MAX)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    memset(section, 0, sizeof(section));
    Append(section, sizeof(section), "SeasonsCount=%d", s.SeasonsCount);
    for (uint8_t i = 0; i < s.SeasonsCount; ++i)
        Append(section, sizeof(section), ", Seasons[%d]=(Month=%d, Day=%d, WeekId=%d)", i, s.Seasons[i].Month,
               s.Seasons[i].Day, s.Seasons[i].WeekId);
    Append(pString, stringSize, "Seasons=(%s)", section);

    if (s.WeeksCount > KEL_ENERGYSHARED_SCHEDULE_WEEKS_MAX)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    memset(section, 0, sizeof(section));
    Append(section, sizeof(section), "WeeksCount=%d", s.WeeksCount);
    char dayIds[KEL_ENERGYSHARED_DATE_TEXT_SIZE];
    for (uint8_t i = 0; i < s.WeeksCount; ++i)
    {
        KEL_GOTO_IF_BAD(status, Kel_Utils_DataToStr(s.Weeks[i].DayIds, sizeof(s.Weeks[i].DayIds), dayIds,
                                                    sizeof(dayIds)));
        Append(section, sizeof(section), ", Weeks[%d]=(WeekId=%d, DayIds=(%s))", i, s.Weeks[i].WeekId,
               dayIds);
    }
    Append(pString, stringSize, ", Weeks=(%s)", section);

    // One point less than the record holds: a schedule of 84 points is refused here on purpose.
    if (s.DaysCount > KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX - 1)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    memset(section, 0, sizeof(section));
    Append(section, sizeof(section), "DaysCount=%d", s.DaysCount);
    for (uint8_t i = 0; i < s.DaysCount; ++i)
        Append(section, sizeof(section), ", Days[%d]=(DayId=%d, Hour=%d, Minute=%d, ScheduleValue=%d)", i,
               s.Days[i].DayId, s.Days[i].Hour, s.Days[i].Minute, s.Days[i].ScheduleValue);
    Append(pString, stringSize, ", Days=(%s)", section);

    if (s.SpecialDaysCount > KEL_ENERGYSHARED_SCHEDULE_SPECIALDAYS_MAX)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    memset(section, 0, sizeof(section));
    Append(section, sizeof(section), "SpecialDaysCount=%d", s.SpecialDaysCount);
    for (uint8_t i = 0; i < s.SpecialDaysCount; ++i)
        Append(section, sizeof(section), ", SpecialDays[%d]=(Month=%d, Day=%d, DayId=%d)", i,
               s.SpecialDays[i].Month, s.SpecialDays[i].Day, s.SpecialDays[i].DayId);
    Append(pString, stringSize, ", SpecialDays=(%s)", section);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_WriteScheduleParamsToStr(const DateTime* startTime,
                                                         const ScheduleParams* pSchedule, char* pString,
                                                         uint32_t stringSize)
{
    KEL_TEXT_BEGIN(pSchedule);
    Kel_StatusCode status = Kel_Good;
    char date[KEL_ENERGYSHARED_DATE_TEXT_SIZE];
    KEL_GOTO_IF_BAD(status, Kel_Utils_DateTimeToStr(startTime, date, sizeof(date)));
    Append(pString, stringSize, "StartTime=%s", date);
    char schedule[KEL_ENERGYSHARED_PART_TEXT_SIZE];
    KEL_GOTO_IF_BAD(status, Kel_EnergyShared_ScheduleParamsToStr(pSchedule, schedule, sizeof(schedule)));
    Append(pString, stringSize, ", Schedule=(%s)", schedule);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_EnergyShared_LcdValueListToStr(const LcdValueList* pLcdValues, char* pString,
                                                  uint32_t stringSize)
{
    KEL_TEXT_BEGIN(pLcdValues);
    // A list that claims more entries than it holds is refused rather than read past its end.
    if (pLcdValues->ValuesCount > KEL_ENERGYSHARED_LCD_VALUES_MAX)
        KEL_REJECT_CODE(Kel_BadOutOfRange);
    Append(pString, stringSize, "ValuesCount=%d", pLcdValues->ValuesCount);
    for (uint8_t i = 0; i < pLcdValues->ValuesCount; ++i)
        Append(pString, stringSize, ", Values[%d]=(ValueType=%d, TariffRate=%d)", i,
               static_cast<int>(pLcdValues->Values[i].ValueType), pLcdValues->Values[i].TariffRate);
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_EnergyShared_SettingsValuesToStr(const SettingsValues* pSettings, char* pString,
                                                    uint32_t stringSize)
{
    KEL_TEXT_BEGIN(pSettings);
    // The record holds one value: only it is written, as entry 0, whatever the count says.
    Append(pString, stringSize, "ValuesCount=%d", pSettings->ValuesCount);
    Append(pString, stringSize, ", Values[%d]=(Type=%d, Value=%f)", 0, static_cast<int>(pSettings->Type),
           pSettings->Value);
    KEL_EXIT(Kel_Good);
}
