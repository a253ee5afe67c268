// Tariff schedule transfer of the single-phase meter. The meter keeps its tariff program as fixed
// tables: for each of the 12 months and each of 8 day kinds (7 weekday columns, then the holiday
// column) up to 16 tariff zones, two tables of 8 holiday dates, and the number of tariffs in use.
// These functions map the shared schedule record onto those tables and rebuild a record from them.
//
// Weekday columns: writing sends schedule weekday index c (DayIds[c], c = 0..6) to meter column c;
// reading takes meter column k to weekday index k - 1 and column 0 to index 6. The two directions are
// not mirror images on purpose: a schedule read from a meter and written back moves each weekday
// table by one column.
#pragma once

#include "protocols/orlenta/1phase/kel_zentor1phase_client.h"
#include "protocols/shared/kel_energyshared_schedule.h"

// Zones per day table and holiday dates per holiday table.
constexpr uint32_t KEL_ZENTOR1PHASE_TARIFF_ZONES = 16;
constexpr uint32_t KEL_ZENTOR1PHASE_TARIFF_HOLIDAYS_PER_PART = 8;

// Writes the tariff count, the 12 x 8 zone tables and the holiday dates (16 at most). The record is
// expected to have passed Kel_EnergyShared_Schedule_VerifySchedule; a month, weekday or holiday column
// for which no day schedule can be found ends the write with Kel_BadInvalidArgument. Kel_GoodNoData
// from a command stops the write at once and is returned.
Kel_StatusCode Kel_Zentor1Phase_Tariff_WriteTariffSchedule(Kel_Zentor1Phase_ClientContext* pContext,
                                                           const ScheduleParams* pTariffSchedule);
// Reads the holiday dates and the 12 x 8 zone tables into a zero-filled record, one season and one week
// per month, then merges equal day schedules, weeks and consecutive seasons. On failure the record
// keeps what was built.
Kel_StatusCode Kel_Zentor1Phase_Tariff_ReadTariffSchedule(Kel_Zentor1Phase_ClientContext* pContext,
                                                          ScheduleParams* pTariffSchedule);

// The client's entry points: check both arguments, then run the transfer above.
Kel_StatusCode Kel_Zentor1Phase_Client_WriteTariffSchedule(Kel_Zentor1Phase_ClientContext* pContext,
                                                           const ScheduleParams* pTariffSchedule);
Kel_StatusCode Kel_Zentor1Phase_Client_ReadTariffSchedule(Kel_Zentor1Phase_ClientContext* pContext,
                                                          ScheduleParams* pTariffSchedule);
