// Stateless adapters of the single-phase meter protocol (beside the conversions of
// kel_zentor1phase_utils): the meter's journal flag bytes and display-mode bytes to and from the
// meter-independent event records and LCD value lists.
#pragma once

#include "protocols/orlenta/1phase/kel_zentor1phase_events.h"
#include "protocols/shared/kel_energyshared_meter.h"

// One event asked for by the host: the shared event category, then its code.
struct Kel_Zentor1Phase_WantedEvent
{
    uint32_t category;
    uint8_t code;
    uint8_t reserved[3];
};
static_assert(sizeof(Kel_Zentor1Phase_WantedEvent) == 8);

// 1 when meter event aType (60..94) is flagged in the five flag bytes of a journal 3 day record, else 0
// (also for a null pointer, a type outside 60..94 and the types 68, 74, 81..84 and 90..92).
uint32_t Kel_Zentor1Phase_Utils_IsEventType(const uint8_t* pFlags, uint32_t aType);
// 1 when journal aJournal holds an event of category aCategory (any category when 0) that the host
// wants: with no wanted list (null or count 0) any such event; otherwise one whose category and code
// are in the list.
uint32_t Kel_Zentor1Phase_Utils_IsReadJournal(uint32_t aJournal, uint32_t aCategory,
                                              const Kel_Zentor1Phase_WantedEvent* pWanted,
                                              uint32_t aWantedCount);
// A journal 1, 2, 4 or 5 entry (the 12 bytes of Kel_Zentor1Phase_EventRecord: type, hour, minute,
// second, day, month, year) to an event record: category in JournalType, code in EventType, the time.
// An empty entry or an unknown event number leaves the record cleared and returns good.
Kel_StatusCode Kel_Zentor1Phase_Utils_GetEventParams(const uint8_t* pRecord, EventParams* pEvent);
// The same for a journal 3 day record (8 bytes: five flag bytes, day, month, year): the first event of
// the events array that is flagged, at midnight of the record's date.
Kel_StatusCode Kel_Zentor1Phase_Utils_GetEventParams2(const uint8_t* pRecord, EventParams* pEvent);

// Display bit maps: the main display byte (commands 0x2A/0x09) and the first additional display byte
// (commands 0x6A/0x70) to LCD values appended to a list, lowest bit first, and back.
Kel_StatusCode Kel_Zentor1Phase_Utils_GetMainLcdValues(uint8_t aByte, LcdValueList* pList);
Kel_StatusCode Kel_Zentor1Phase_Utils_GetAdditionalLcdValues(uint8_t aByte, LcdValueList* pList);
Kel_StatusCode Kel_Zentor1Phase_Utils_SetMainLcdValues(const LcdValueList* pList, uint8_t* pByte);
// Only pList is checked; pByte must point to a byte.
Kel_StatusCode Kel_Zentor1Phase_Utils_SetAdditionalLcdValues(const LcdValueList* pList, uint8_t* pByte);
