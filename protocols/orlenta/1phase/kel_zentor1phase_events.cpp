// Event journals of the single-phase meter.
#define KEL_TRACE_FILE "protocols/orlenta/1phase/kel_zentor1phase_events"
#include "protocols/orlenta/1phase/kel_zentor1phase_events.h"

#include "protocols/orlenta/1phase/kel_zentor1phase_client_private.h"
#include "shared/kel_utils.h"

#include <cstring>

const uint8_t Kel_Zentor1Phase_EventsArray[KEL_ZENTOR1PHASE_EVENTS_COUNT][4] = {
    // Journal 1.
    {3, 2, 1, 2},
    {3, 1, 1, 3},
    // Journal 2.
    {5, 4, 2, 10},
    {10, 13, 2, 11},
    {5, 3, 2, 12},
    {10, 12, 2, 13},
    // Journal 4.
    {10, 29, 4, 40},
    {10, 28, 4, 41},
    {10, 31, 4, 42},
    {10, 30, 4, 43},
    {10, 27, 4, 44},
    {10, 26, 4, 45},
    {10, 25, 4, 46},
    {10, 24, 4, 47},
    {10, 53, 4, 50},
    {10, 52, 4, 51},
    {10, 55, 4, 52},
    {10, 54, 4, 53},
    {10, 51, 4, 54},
    {10, 50, 4, 55},
    {10, 49, 4, 56},
    {10, 48, 4, 57},
    // Journal 3.
    {4, 1, 3, 60},
    {10, 56, 3, 61},
    {4, 3, 3, 62},
    {4, 19, 3, 63},
    {10, 57, 3, 64},
    {4, 4, 3, 65},
    {4, 68, 3, 66},
    {10, 58, 3, 67},
    {4, 11, 3, 69},
    {10, 59, 3, 70},
    {10, 60, 3, 71},
    {10, 61, 3, 72},
    {4, 12, 3, 73},
    {4, 20, 3, 75},
    {4, 49, 3, 76},
    {4, 7, 3, 77},
    {10, 62, 3, 78},
    {10, 63, 3, 79},
    {10, 64, 3, 80},
    {4, 50, 3, 85},
    {10, 65, 3, 86},
    {10, 66, 3, 87},
    {10, 67, 3, 88},
    {10, 68, 3, 89},
    {10, 69, 3, 93},
    {10, 70, 3, 94},
};

namespace
{
// Hour, minute, second, day, month, year from six BCD bytes; type 0 when a byte is not BCD or the
// time is impossible (the record is then cleared).
void DecodeEventTime(const uint8_t* pBytes, Kel_Zentor1Phase_EventRecord* pRecord)
{
    uint8_t d[6];
    DateTime check{};
    if (Kel_IsBad(Kel_Zentor1Phase_ClientDecodeBcd(pBytes, 6, d)) ||
        Kel_Zentor1Phase_Utils_GetTime(d[5], d[4], d[3], d[0], d[1], d[2], &check) == 0)
    {
        *pRecord = Kel_Zentor1Phase_EventRecord{};
        return;
    }
    pRecord->hour = d[0];
    pRecord->minute = d[1];
    pRecord->second = d[2];
    pRecord->day = d[3];
    pRecord->month = d[4];
    pRecord->year = d[5];
}

// Only the newest entry (index 0), when valid, moves the change state.
template <typename Record>
void TrackNewest(uint8_t aIndex, const Record& aRecord, bool aValid, Record* pLast, uint32_t* pChanged)
{
    if (aIndex != 0 || !aValid)
        return;
    *pChanged = memcmp(&aRecord, pLast, sizeof(Record)) != 0 ? 1 : 0;
    *pLast = aRecord;
}

// The body of journals 1, 2 and 5: in[1] the meter's event, in[2..7] the time.
// aTypeBase: type of event 0; aTypeCount: number of events; aCheckBytes: journals 1 and 2 test the
// hour byte for 0x3F and the bytes behind it for 0xFF; journal 5 (no byte test) knows an empty
// journal (0xFF) and refuses events it does not have.
Kel_StatusCode ReadEvent(const Kel_TraceScope& kelScope, Kel_Zentor1Phase_ClientContext* pContext,
                         uint8_t aCommand, uint8_t Index, uint32_t aTypeBase, uint32_t aTypeCount,
                         bool aCheckBytes, Kel_Zentor1Phase_EventRecord* pRecord,
                         Kel_Zentor1Phase_EventRecord* pLast, uint32_t* pChanged)
{
    *pRecord = Kel_Zentor1Phase_EventRecord{};
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_ReadA(&pContext->ApplicationContext, aCommand, &Index, 1));
    KEL_CLIENT_LENGTH(8, Kel_BadDeviceUnknownResponse);
    const uint8_t* in = KEL_CLIENT_IN;
    if (!aCheckBytes)
    {
        if (in[1] == 0xFF)
            KEL_EXIT(status);
        KEL_REJECT_IF(pContext->ApplicationContext.inBuffer[1] > 6, Kel_BadDeviceUnknownResponse);
    }
    Kel_Zentor1Phase_EventRecord record{};
    if (in[1] < aTypeCount)
        record.type = aTypeBase + in[1];
    if (aCheckBytes)
    {
        bool unusable = in[2] == 0x3F;
        for (uint32_t i = 3; i < 8; ++i)
            unusable = unusable || in[i] == 0xFF;
        if (unusable)
            record.type = 0;
    }
    if (record.type != 0)
        DecodeEventTime(in + 2, &record);
    if (record.type == 0)
        record = Kel_Zentor1Phase_EventRecord{};
    TrackNewest(Index, record, record.type != 0, pLast, pChanged);
    *pRecord = record;
    KEL_EXIT(status);
}

bool DateOf(uint8_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour, uint8_t aMinute, uint8_t aSecond,
            DateTime* pDateTime)
{
    return Kel_IsGood(Kel_Utils_CreateDateTime(static_cast<uint16_t>(2000 + aYear), aMonth, aDay, aHour,
                                               aMinute, aSecond, 0, pDateTime));
}

// Inserts at aSlot, moving the slots from there down by one; the last slot's record is dropped.
template <typename Record> void InsertAt(Record* pList, uint32_t aSlot, const Record& aRecord)
{
    memmove(&pList[aSlot + 1], &pList[aSlot],
            (KEL_ZENTOR1PHASE_EVENT_LIST_SIZE - 1 - aSlot) * sizeof(Record));
    pList[aSlot] = aRecord;
}
} // namespace

Kel_StatusCode Kel_Zentor1Phase_Client_ReadEvent1(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Index,
                                                  Kel_Zentor1Phase_EventRecord* pRecord)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pRecord);
    KEL_REJECT_IF(Index > 63, Kel_BadInvalidArgument);
    // Meter events 0 and 1 are event numbers 2 and 3.
    return ReadEvent(kelScope, pContext, 0x34, Index, 2, 2, true, pRecord, &pContext->journals.last1,
                     &pContext->journals.changed1);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadEvent2(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Index,
                                                  Kel_Zentor1Phase_EventRecord* pRecord)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pRecord);
    KEL_REJECT_IF(Index > 63, Kel_BadInvalidArgument);
    // Meter events 0 to 3 are event numbers 10 to 13.
    return ReadEvent(kelScope, pContext, 0x35, Index, 10, 4, true, pRecord, &pContext->journals.last2,
                     &pContext->journals.changed2);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadEvent5(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Index,
                                                  Kel_Zentor1Phase_EventRecord* pRecord)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pRecord);
    KEL_REJECT_IF(Index > 63, Kel_BadInvalidArgument);
    // Events 0 to 6 are event numbers 20 to 26.
    return ReadEvent(kelScope, pContext, 0x3A, Index, 20, 7, false, pRecord, &pContext->journals.last5,
                     &pContext->journals.changed5);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadEvent3(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Index,
                                                  Kel_Zentor1Phase_EventDayRecord* pDayRecord)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pDayRecord);
    KEL_REJECT_IF(Index > 63, Kel_BadInvalidArgument);
    *pDayRecord = Kel_Zentor1Phase_EventDayRecord{};
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_ReadA(&pContext->ApplicationContext, 0x36, &Index, 1));
    KEL_CLIENT_LENGTH(9, Kel_BadDeviceUnknownResponse);
    const uint8_t* in = KEL_CLIENT_IN;
    Kel_Zentor1Phase_EventDayRecord record{};
    // The flag bytes in the meter's order.
    record.flags[0] = in[2];
    record.flags[1] = in[1];
    record.flags[2] = in[3];
    record.flags[3] = in[5];
    record.flags[4] = in[4];
    uint8_t d[3];
    DateTime check{};
    const bool valid = in[6] != 0xFF && in[7] != 0xFF && in[8] != 0xFF &&
                       Kel_IsGood(Kel_Zentor1Phase_ClientDecodeBcd(in + 6, 3, d)) &&
                       Kel_Zentor1Phase_Utils_GetTime(d[2], d[1], d[0], 0, 0, 0, &check) == 1;
    if (valid)
    {
        record.day = d[0];
        record.month = d[1];
        record.year = d[2];
    }
    else
        record = Kel_Zentor1Phase_EventDayRecord{};
    TrackNewest(Index, record, valid, &pContext->journals.last3, &pContext->journals.changed3);
    *pDayRecord = record;
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ReadEvent4(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Index,
                                                  uint8_t Pke, Kel_Zentor1Phase_EventRecord* pRecord)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pRecord);
    KEL_REJECT_IF(Index > 200, Kel_BadInvalidArgument);
    KEL_REJECT_IF(Pke > 7, Kel_BadInvalidArgument);
    *pRecord = Kel_Zentor1Phase_EventRecord{};
    const uint8_t arguments[3] = {Index, Pke, 0x00};
    Kel_StatusCode status = Kel_Good;
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Application_ReadA(&pContext->ApplicationContext, 0x39, arguments, 3));
    KEL_CLIENT_LENGTH(7, Kel_BadDeviceUnknownResponse);
    const uint8_t* in = KEL_CLIENT_IN;
    // Event numbers of the quality parameters 0..7 for direction 1; direction 2 is one more.
    static const uint8_t types[8] = {40, 42, 44, 46, 50, 52, 54, 56};
    const uint8_t direction = in[1] >> 6;
    Kel_Zentor1Phase_EventRecord record{};
    if (direction == 1 || direction == 2)
        record.type = types[Pke] + (direction - 1u);
    bool unusable = (in[1] & 0x3F) >= 0x3F || in[2] == 0x3F;
    for (uint32_t i = 3; i < 7; ++i)
        unusable = unusable || in[i] == 0xFF;
    if (unusable)
        record.type = 0;
    if (record.type != 0)
    {
        const uint8_t time[6] = {static_cast<uint8_t>(in[1] & 0x3F), in[2], in[3], in[4], in[5], in[6]};
        DecodeEventTime(time, &record);
    }
    if (record.type == 0)
        record = Kel_Zentor1Phase_EventRecord{};
    TrackNewest(Index, record, record.type != 0, &pContext->journals.last4[Pke],
                &pContext->journals.changed4[Pke]);
    *pRecord = record;
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Client_IsJournalChange(Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint32_t aJournal, uint32_t aPke, uint32_t* pChanged)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pChanged);
    KEL_REJECT_IF((aJournal < 1) || (aJournal > 5), Kel_BadInvalidArgument);
    KEL_REJECT_IF((aJournal == 4) && (aPke > 7), Kel_BadInvalidArgument);
    const Kel_Zentor1Phase_JournalState& journals = pContext->journals;
    const uint32_t flags[6] = {0, journals.changed1, journals.changed2, journals.changed3,
                               0, journals.changed5};
    *pChanged = aJournal == 4 ? journals.changed4[aPke] : flags[aJournal];
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_Zentor1Phase_Client_ResetJournalChange(Kel_Zentor1Phase_ClientContext* pContext,
                                                          uint32_t aJournal, uint32_t aPke)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_IF((aJournal < 1) || (aJournal > 5), Kel_BadInvalidArgument);
    KEL_REJECT_IF((aJournal == 4) && (aPke > 7), Kel_BadInvalidArgument);
    Kel_Zentor1Phase_JournalState& journals = pContext->journals;
    uint32_t* flags[6] = {KEL_NULL,           &journals.changed1, &journals.changed2,
                          &journals.changed3, KEL_NULL,           &journals.changed5};
    *(aJournal == 4 ? &journals.changed4[aPke] : flags[aJournal]) = 0;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Local_PushEvent1(Kel_Zentor1Phase_EventRecord* pList,
                                const Kel_Zentor1Phase_EventRecord* pRecord, uint32_t* pAdded)
{
    KEL_ENTER_AS(Kel_Module_ZentorProtocolClient, "Local_PushEvent1");
    KEL_REJECT_NULL(pList);
    KEL_REJECT_NULL(pRecord);
    KEL_REJECT_NULL(pAdded);
    *pAdded = 1;
    if (pRecord->type == 0)
        KEL_EXIT(Kel_Good);
    DateTime time{};
    const bool hasTime = DateOf(pRecord->year, pRecord->month, pRecord->day, pRecord->hour, pRecord->minute,
                                pRecord->second, &time);
    for (uint32_t slot = 0; slot < KEL_ZENTOR1PHASE_EVENT_LIST_SIZE; ++slot)
    {
        const Kel_Zentor1Phase_EventRecord& entry = pList[slot];
        if (entry.type == 0)
        {
            pList[slot] = *pRecord;
            KEL_EXIT(Kel_Good);
        }
        DateTime entryTime{};
        const bool entryHasTime =
            DateOf(entry.year, entry.month, entry.day, entry.hour, entry.minute, entry.second, &entryTime);
        const int64_t difference = (hasTime && entryHasTime) ? static_cast<int64_t>(time.seconds) -
                                                                   static_cast<int64_t>(entryTime.seconds)
                                                             : 0;
        if (difference < 0)
            continue;
        if (difference == 0 && entry.type == pRecord->type)
        {
            *pAdded = 0; // the same event again
            KEL_EXIT(Kel_Good);
        }
        InsertAt(pList, slot, *pRecord);
        KEL_EXIT(Kel_Good);
    }
    *pAdded = 0;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Local_PushEvent3(Kel_Zentor1Phase_EventDayRecord* pList,
                                const Kel_Zentor1Phase_EventDayRecord* pRecord, uint32_t* pAdded)
{
    KEL_ENTER_AS(Kel_Module_ZentorProtocolClient, "Local_PushEvent3");
    KEL_REJECT_NULL(pList);
    KEL_REJECT_NULL(pRecord);
    KEL_REJECT_NULL(pAdded);
    *pAdded = 1;
    if (pRecord->year == 0)
        KEL_EXIT(Kel_Good);
    DateTime time{};
    const bool hasTime = DateOf(pRecord->year, pRecord->month, pRecord->day, 0, 0, 0, &time);
    for (uint32_t slot = 0; slot < KEL_ZENTOR1PHASE_EVENT_LIST_SIZE; ++slot)
    {
        const Kel_Zentor1Phase_EventDayRecord& entry = pList[slot];
        if (entry.year == 0)
        {
            pList[slot] = *pRecord;
            KEL_EXIT(Kel_Good);
        }
        if (memcmp(&entry, pRecord, sizeof(entry)) == 0)
        {
            *pAdded = 0; // the same day record again
            KEL_EXIT(Kel_Good);
        }
        DateTime entryTime{};
        const bool entryHasTime = DateOf(entry.year, entry.month, entry.day, 0, 0, 0, &entryTime);
        const int64_t difference = (hasTime && entryHasTime) ? static_cast<int64_t>(time.seconds) -
                                                                   static_cast<int64_t>(entryTime.seconds)
                                                             : 0;
        if (difference < 0)
            continue;
        InsertAt(pList, slot, *pRecord);
        KEL_EXIT(Kel_Good);
    }
    *pAdded = 0;
    KEL_EXIT(Kel_Good);
}
