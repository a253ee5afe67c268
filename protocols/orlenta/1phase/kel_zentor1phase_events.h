// Event journals of the single-phase meter: five journals read one entry at a time (index 0 is the
// newest), decoded into a common record; empty or malformed entries come back as invalid records
// with a good status. The newest entry of each journal is remembered, so that the host can ask
// whether a journal changed since it last looked.
#pragma once

#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"

// Meter event numbers to the shared event identification: category, code, journal, meter number.
constexpr uint32_t KEL_ZENTOR1PHASE_EVENTS_COUNT = 48;
extern const uint8_t Kel_Zentor1Phase_EventsArray[KEL_ZENTOR1PHASE_EVENTS_COUNT][4];

// Journal 1 (0x34, power on/off), 2 (0x35), 5 (0x3A): index 0..63.
Kel_StatusCode Kel_Zentor1Phase_Client_ReadEvent1(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Index,
                                                  Kel_Zentor1Phase_EventRecord* pRecord);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadEvent2(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Index,
                                                  Kel_Zentor1Phase_EventRecord* pRecord);
// Journal 3 (0x36): one day record per entry, index 0..63.
Kel_StatusCode Kel_Zentor1Phase_Client_ReadEvent3(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Index,
                                                  Kel_Zentor1Phase_EventDayRecord* pDayRecord);
// Journal 4 (0x39, power quality): index 0..200, quality parameter 0..7.
Kel_StatusCode Kel_Zentor1Phase_Client_ReadEvent4(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Index,
                                                  uint8_t Pke, Kel_Zentor1Phase_EventRecord* pRecord);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadEvent5(Kel_Zentor1Phase_ClientContext* pContext, uint8_t Index,
                                                  Kel_Zentor1Phase_EventRecord* pRecord);
// The change flag of journal aJournal (1..5; for journal 4 that of quality parameter aPke, 0..7).
Kel_StatusCode Kel_Zentor1Phase_Client_IsJournalChange(Kel_Zentor1Phase_ClientContext* pContext,
                                                       uint32_t aJournal, uint32_t aPke, uint32_t* pChanged);
Kel_StatusCode Kel_Zentor1Phase_Client_ResetJournalChange(Kel_Zentor1Phase_ClientContext* pContext,
                                                          uint32_t aJournal, uint32_t aPke);

// Sorted lists of 64 entries, newest first, for the host's own journal views (no caller inside the
// library). *pAdded is 1 when the record was taken, or when it is empty and so not stored.
constexpr uint32_t KEL_ZENTOR1PHASE_EVENT_LIST_SIZE = 64;
Kel_StatusCode Local_PushEvent1(Kel_Zentor1Phase_EventRecord* pList,
                                const Kel_Zentor1Phase_EventRecord* pRecord, uint32_t* pAdded);
Kel_StatusCode Local_PushEvent3(Kel_Zentor1Phase_EventDayRecord* pList,
                                const Kel_Zentor1Phase_EventDayRecord* pRecord, uint32_t* pAdded);
