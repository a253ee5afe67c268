// Event and display adapters of the single-phase meter: journal flag bytes and display-mode bytes to
// and from the meter-independent event records and LCD value lists.
#define KEL_TRACE_FILE "protocols/orlenta/1phase/kel_zentor1phase_utils_adapters"
#include "protocols/orlenta/1phase/kel_zentor1phase_utils_adapters.h"

#include "protocols/orlenta/1phase/kel_zentor1phase_utils.h"
#include "shared/kel_trace.h"

#include <cstring>

namespace
{
// LCD value kinds of the shared display list.
constexpr uint32_t kLcdEnergy = 1;
constexpr uint32_t kLcdKind25 = 25;
constexpr uint32_t kLcdKind79 = 79;
constexpr uint32_t kLcdKind163 = 163;
constexpr uint32_t kLcdKind167 = 167;
constexpr uint32_t kLcdKind178 = 178;
constexpr uint32_t kLcdKind205 = 205;
constexpr uint32_t kLcdKind215 = 215;
constexpr uint32_t kLcdKind216 = 216;

// Where a journal 3 event is flagged: byte and bit, and a second place for the events with two.
struct FlagPlace
{
    uint8_t type;
    int8_t byte; // -1: the event is never flagged
    uint8_t bit;
    int8_t byte2; // -1: no second place
    uint8_t bit2;
};

constexpr FlagPlace kFlagPlaces[] = {
    {60, 3, 0, 4, 0},   {61, 3, 1, -1, 0},  {62, 3, 2, -1, 0},  {63, 3, 3, -1, 0},  {64, 3, 4, -1, 0},
    {65, 3, 5, -1, 0},  {66, 3, 6, -1, 0},  {67, 3, 7, -1, 0},  {68, -1, 0, -1, 0}, {69, 4, 1, 0, 0},
    {70, 4, 2, -1, 0},  {71, 4, 3, -1, 0},  {72, 4, 4, -1, 0},  {73, 4, 5, -1, 0},  {74, -1, 0, -1, 0},
    {75, 4, 7, -1, 0},  {76, 2, 0, -1, 0},  {77, 2, 1, 1, 0},   {78, 2, 2, -1, 0},  {79, 2, 3, -1, 0},
    {80, 2, 4, -1, 0},  {81, -1, 0, -1, 0}, {82, -1, 0, -1, 0}, {83, -1, 0, -1, 0}, {84, -1, 0, -1, 0},
    {85, 0, 1, -1, 0},  {86, 0, 2, -1, 0},  {87, 0, 3, -1, 0},  {88, 0, 4, -1, 0},  {89, 0, 5, -1, 0},
    {90, -1, 0, -1, 0}, {91, -1, 0, -1, 0}, {92, -1, 0, -1, 0}, {93, 1, 1, -1, 0},  {94, 1, 2, -1, 0},
};
constexpr uint32_t kFirstFlagType = 60;
constexpr uint32_t kLastFlagType = 94;
static_assert(sizeof(kFlagPlaces) / sizeof(kFlagPlaces[0]) == kLastFlagType - kFirstFlagType + 1);

bool IsSet(const uint8_t* pFlags, int8_t aByte, uint8_t aBit)
{
    return aByte >= 0 && (pFlags[aByte] & (1u << aBit)) != 0;
}

bool IsEmpty(const uint8_t* pBytes, uint32_t aSize)
{
    for (uint32_t i = 0; i < aSize; ++i)
    {
        if (pBytes[i] != 0)
            return false;
    }
    return true;
}

// Category and code of the events array row.
void SetEventInfo(const uint8_t (&aRow)[4], EventParams* pEvent)
{
    pEvent->JournalType = aRow[0];
    pEvent->EventType = aRow[1];
}
} // namespace

uint32_t Kel_Zentor1Phase_Utils_IsEventType(const uint8_t* pFlags, uint32_t aType)
{
    if (pFlags == KEL_NULL || aType < kFirstFlagType || aType > kLastFlagType)
        return 0;
    const FlagPlace& place = kFlagPlaces[aType - kFirstFlagType];
    return IsSet(pFlags, place.byte, place.bit) || IsSet(pFlags, place.byte2, place.bit2) ? 1 : 0;
}

uint32_t Kel_Zentor1Phase_Utils_IsReadJournal(uint32_t aJournal, uint32_t aCategory,
                                              const Kel_Zentor1Phase_WantedEvent* pWanted,
                                              uint32_t aWantedCount)
{
    for (const auto& row : Kel_Zentor1Phase_EventsArray)
    {
        if (row[2] != aJournal || (aCategory != 0 && row[0] != aCategory))
            continue;
        if (pWanted == KEL_NULL || aWantedCount == 0)
            return 1;
        for (uint32_t i = 0; i < aWantedCount; ++i)
        {
            if (pWanted[i].category == row[0] && pWanted[i].code == row[1])
                return 1;
        }
    }
    return 0;
}

Kel_StatusCode Kel_Zentor1Phase_Utils_GetEventParams(const uint8_t* pRecord, EventParams* pEvent)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pRecord);
    KEL_REJECT_NULL(pEvent);
    memset(pEvent, 0, sizeof(*pEvent));
    if (IsEmpty(pRecord, sizeof(Kel_Zentor1Phase_EventRecord)))
        KEL_EXIT(Kel_Good);
    for (const auto& row : Kel_Zentor1Phase_EventsArray)
    {
        if (row[3] != pRecord[0])
            continue;
        // year, month, day, hour, minute, second of the entry
        if (Kel_Zentor1Phase_Utils_GetTime(pRecord[9], pRecord[8], pRecord[7], pRecord[4], pRecord[5],
                                           pRecord[6], &pEvent->Time) != 0)
        {
            SetEventInfo(row, pEvent);
            break;
        }
        pEvent->Time = DateTime{}; // an impossible date leaves the record cleared
    }
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_Zentor1Phase_Utils_GetEventParams2(const uint8_t* pRecord, EventParams* pEvent)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pRecord);
    KEL_REJECT_NULL(pEvent);
    memset(pEvent, 0, sizeof(*pEvent));
    if (IsEmpty(pRecord, sizeof(Kel_Zentor1Phase_EventDayRecord)))
        KEL_EXIT(Kel_Good);
    for (const auto& row : Kel_Zentor1Phase_EventsArray)
    {
        if (Kel_Zentor1Phase_Utils_IsEventType(pRecord, row[3]) == 0)
            continue;
        // year, month, day of the record, at midnight
        if (Kel_Zentor1Phase_Utils_GetTime(pRecord[7], pRecord[6], pRecord[5], 0, 0, 0, &pEvent->Time) != 0)
        {
            SetEventInfo(row, pEvent);
            break;
        }
        pEvent->Time = DateTime{}; // an impossible date leaves the record cleared
    }
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_Zentor1Phase_Utils_GetMainLcdValues(uint8_t aByte, LcdValueList* pList)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pList);
    Kel_StatusCode status = Kel_Good;
    for (uint8_t bit = 0; bit < 4; ++bit)
    {
        if ((aByte & (1u << bit)) != 0)
            KEL_GOTO_IF_BAD(status,
                            Kel_EnergyShared_AddLcdValue(kLcdEnergy, static_cast<uint8_t>(bit + 1), pList));
    }
    if ((aByte & 0x10) != 0)
        KEL_GOTO_IF_BAD(status, Kel_EnergyShared_AddLcdValue(kLcdEnergy, 0, pList));
    if ((aByte & 0x20) != 0)
        KEL_GOTO_IF_BAD(status, Kel_EnergyShared_AddLcdValue(kLcdKind79, 0, pList));
    if ((aByte & 0x40) != 0)
        KEL_GOTO_IF_BAD(status, Kel_EnergyShared_AddLcdValue(kLcdKind216, 0, pList));
    if ((aByte & 0x80) != 0)
        KEL_GOTO_IF_BAD(status, Kel_EnergyShared_AddLcdValue(kLcdKind215, 0, pList));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Utils_GetAdditionalLcdValues(uint8_t aByte, LcdValueList* pList)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pList);
    Kel_StatusCode status = Kel_Good;
    if ((aByte & 0x02) != 0)
    {
        KEL_GOTO_IF_BAD(status, Kel_EnergyShared_AddLcdValue(kLcdKind167, 0, pList));
        KEL_GOTO_IF_BAD(status, Kel_EnergyShared_AddLcdValue(kLcdKind163, 0, pList));
        KEL_GOTO_IF_BAD(status, Kel_EnergyShared_AddLcdValue(kLcdKind178, 0, pList));
    }
    if ((aByte & 0x04) != 0)
        KEL_GOTO_IF_BAD(status, Kel_EnergyShared_AddLcdValue(kLcdKind25, 0, pList));
    if ((aByte & 0x40) != 0)
        KEL_GOTO_IF_BAD(status, Kel_EnergyShared_AddLcdValue(kLcdKind205, 0, pList));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Utils_SetMainLcdValues(const LcdValueList* pList, uint8_t* pByte)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pList);
    KEL_REJECT_NULL(pByte);
    uint8_t byte = 0;
    const uint32_t count = pList->ValuesCount < KEL_ENERGYSHARED_LCD_VALUES_MAX
                               ? pList->ValuesCount
                               : KEL_ENERGYSHARED_LCD_VALUES_MAX;
    for (uint32_t i = 0; i < count; ++i)
    {
        const LcdValue& value = pList->Values[i];
        if (value.ValueType == kLcdEnergy)
        {
            if (value.TariffRate >= 1 && value.TariffRate <= 4)
                byte |= static_cast<uint8_t>(1u << (value.TariffRate - 1));
            else if (value.TariffRate == 0)
                byte |= 0x10;
            continue;
        }
        if (value.TariffRate != 0)
            continue;
        if (value.ValueType == kLcdKind79)
            byte |= 0x20;
        else if (value.ValueType == kLcdKind216)
            byte |= 0x40;
        else if (value.ValueType == kLcdKind215)
            byte |= 0x80;
    }
    *pByte = byte;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_Zentor1Phase_Utils_SetAdditionalLcdValues(const LcdValueList* pList, uint8_t* pByte)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    // Only the list is checked, unlike the main display byte; callers always pass a byte.
    KEL_REJECT_NULL(pList);
    uint8_t byte = 0;
    const uint32_t count = pList->ValuesCount < KEL_ENERGYSHARED_LCD_VALUES_MAX
                               ? pList->ValuesCount
                               : KEL_ENERGYSHARED_LCD_VALUES_MAX;
    for (uint32_t i = 0; i < count; ++i)
    {
        const LcdValue& value = pList->Values[i];
        if (value.TariffRate != 0)
            continue;
        if (value.ValueType == kLcdKind163 || value.ValueType == kLcdKind167 ||
            value.ValueType == kLcdKind178)
            byte |= 0x02;
        else if (value.ValueType == kLcdKind25)
            byte |= 0x04;
        else if (value.ValueType == kLcdKind205)
            byte |= 0x40;
    }
    *pByte = byte;
    KEL_EXIT(Kel_Good);
}
