// The text forms of the tariff schedule and the holiday list that the tariff exports exchange with the
// host, in the Windows-1251 code page: building them from day records and parsing them back.
#pragma once

#include <cstdint>

#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"

constexpr uint32_t Q310_MONTHS = 12;
constexpr uint32_t Q310_DAY_KINDS = 8;
// Zones a day in the raw form (eReadRateScale_1 / eWriteRateScale_1) and in the client form (_4).
constexpr uint32_t Q310_ZONES_RAW = 8;
constexpr uint32_t Q310_ZONES_CLIENT = 16;
// Two halves of eight holidays of two bytes (day, month); a day byte 0xFF ends a half.
constexpr uint32_t Q310_HOLIDAY_HALF_SIZE = 16;

// Day records are laid out month by month, day kind by day kind, aZonesPerDay zones each.
constexpr uint32_t Q310_ScheduleIndex(uint32_t aMonth, uint32_t aDayKind, uint32_t aZonesPerDay)
{
    return (aMonth * Q310_DAY_KINDS + aDayKind) * aZonesPerDay;
}

// Meter day code of a day kind (Monday..Saturday 1..6, Sunday 0, holiday 7).
uint8_t Q310_DayKindToDayCode(uint32_t aDayKind);

// Appends the day kind's name line and its zone lines; zones with an unset or out-of-range field are
// skipped.
char* Q310_AppendDayText(char* pEnd, uint32_t aDayKind, const Kel_Zentor1Phase_SwitchPoint* pZones,
                         uint32_t aZonesPerDay);
// Appends the whole schedule text (12 months of 8 day kinds, "\tEnd" behind) to pText's content.
void Q310_AppendScheduleText(char* pText, const Kel_Zentor1Phase_SwitchPoint* pDays, uint32_t aZonesPerDay);
// Parses a schedule text into 12 x 8 day records of aZonesPerDay zones (unused zones 0xFF in all three
// bytes). Kel_BadInvalidArgument for a missing or misspelt month or day-kind name.
Kel_StatusCode Q310_ParseScheduleText(const char* pText, Kel_Zentor1Phase_SwitchPoint* pDays,
                                      uint32_t aZonesPerDay);

// Appends one line per holiday of half 0 then half 1 ("%d " day, genitive month name, "\n").
void Q310_AppendHolidayText(char* pText, const uint8_t* pHalf0, const uint8_t* pHalf1);
// Parses the holiday text into the two halves (both start as all 0xFF).
void Q310_ParseHolidayText(const char* pText, uint8_t* pHalf0, uint8_t* pHalf1);
