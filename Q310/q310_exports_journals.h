// Host texts of the journal and power-profile exports: the event texts of the meter's event numbers
// and the line layouts, built from the client's records.
#pragma once

#include <cstdint>

#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"

// Text of a meter event number (journals 1, 2, 4, 5); "EVENT %u" for numbers without a text of their own
// is written by Q310_AppendEventLine.
const char* Q310_EventText(uint32_t aType);
// Appends "hh:mm:ss dd.mm.yyyy <event text>\n" for a valid record (type not 0); returns the new end.
char* Q310_AppendEventLine(char* pEnd, const Kel_Zentor1Phase_EventRecord& aRecord);
// Appends "00:00:00 dd.mm.yyyy DAY FLAGS ff ff ff ff ff\n" for a valid day record of journal 3.
char* Q310_AppendDayLine(char* pEnd, const Kel_Zentor1Phase_EventDayRecord& aRecord);
// Appends "hh:mm <power>\n" for each slot of a profile block ("hh:mm -\n" for an invalid slot).
char* Q310_AppendProfileLines(char* pEnd, const Kel_Zentor1Phase_PowerProfileRecord& aRecord);

// Value of an invalid half-hour slot in the numeric profile forms.
constexpr uint32_t Q310_PROFILE_INVALID = 0xFFFFFFFFu;
