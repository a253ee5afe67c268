// Tariff schedule transfer of the single-phase meter: the shared schedule record to and from the
// meter's month x day-kind zone tables, holiday tables and tariff count.
#define KEL_TRACE_FILE "protocols/orlenta/1phase/kel_zentor1phase_tariff"
#include "protocols/orlenta/1phase/kel_zentor1phase_tariff.h"

#include "protocols/orlenta/1phase/kel_zentor1phase_client_private.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr uint8_t kMonths = 12;
constexpr uint8_t kDayKinds = 8;    // seven weekday columns, then the holiday column
constexpr uint8_t kHolidayKind = 8; // day kind of the holiday column (1-based)
constexpr uint8_t kWeekdayColumns = 7;
constexpr uint8_t kUnused = 0xFF;

// Used entries, never more than the record holds (the record is expected verified; a count above its
// capacity must still not lead the scans out of the record).
uint32_t Used(uint8_t aCount, uint8_t aCapacity)
{
    return std::min(aCount, aCapacity);
}

// The day schedule chosen for one month and day kind, and the range of its switch points.
struct DaySelection
{
    uint8_t dayId;
    uint8_t column; // the weekday column whose schedule was used (1..7), or 8 for a special day's
    uint32_t first; // index of the first point with dayId
    uint32_t last;  // index of the last point with dayId
};

// Chooses the day schedule of month aMonth (1..12) and day kind aDayKind (1..8). The holiday column
// takes the first special day of the month; without one it falls back to weekday column 1. A weekday
// column takes the week of the last season (in record order) that starts in or before the month (its
// day is ignored: a season starting mid-month governs the whole month), or of the first season when
// none does.
Kel_StatusCode GetDayId(const ScheduleParams* pSchedule, uint8_t aMonth, uint8_t aDayKind,
                        DaySelection* pSelection)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    DaySelection selection{0, aDayKind, 0, 0};
    bool found = false;
    if (aDayKind == kHolidayKind)
    {
        const uint32_t specialCount =
            Used(pSchedule->SpecialDaysCount, KEL_ENERGYSHARED_SCHEDULE_SPECIALDAYS_MAX);
        for (uint32_t i = 0; i < specialCount && !found; ++i)
        {
            if (pSchedule->SpecialDays[i].Month == aMonth)
            {
                selection.dayId = pSchedule->SpecialDays[i].DayId;
                found = true;
            }
        }
        if (!found)
            selection.column = 1;
    }
    bool failed = false;
    if (!found)
    {
        const uint32_t seasonCount = Used(pSchedule->SeasonsCount, KEL_ENERGYSHARED_SCHEDULE_SEASONS_MAX);
        const ScheduleSeason* pSeason = seasonCount > 0 ? &pSchedule->Seasons[0] : KEL_NULL;
        for (uint32_t i = 0; i < seasonCount; ++i)
        {
            if (pSchedule->Seasons[i].Month <= aMonth)
                pSeason = &pSchedule->Seasons[i];
        }
        const ScheduleWeek* pWeek = KEL_NULL;
        const uint32_t weekCount = Used(pSchedule->WeeksCount, KEL_ENERGYSHARED_SCHEDULE_WEEKS_MAX);
        for (uint32_t i = 0; pSeason != KEL_NULL && i < weekCount && pWeek == KEL_NULL; ++i)
        {
            if (pSchedule->Weeks[i].WeekId == pSeason->WeekId)
                pWeek = &pSchedule->Weeks[i];
        }
        if (pWeek == KEL_NULL)
            failed = true;
        else
            selection.dayId = pWeek->DayIds[selection.column - 1];
    }
    bool pointFound = false;
    const uint32_t dayCount = Used(pSchedule->DaysCount, KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX);
    for (uint32_t i = 0; !failed && i < dayCount; ++i)
    {
        if (pSchedule->Days[i].DayId != selection.dayId)
            continue;
        if (!pointFound)
            selection.first = i;
        selection.last = i;
        pointFound = true;
    }
    if (failed || !pointFound)
    {
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR, "GetDayId - Fail, Month=%d, DayOfWeek=%d", aMonth, selection.column);
        KEL_EXIT_BAD(Kel_BadInvalidArgument);
    }
    *pSelection = selection;
    KEL_EXIT(Kel_Good);
}

// Builds the 16 zones of month aMonth and day kind aDayKind. A day schedule that does not start at
// 00:00 gets a first zone at 00:00 with the tariff of its last point (the evening tariff wraps over
// midnight). Points beyond 16 zones are dropped.
Kel_StatusCode GetDaySchedule(const ScheduleParams* pSchedule, uint8_t aMonth, uint8_t aDayKind,
                              Kel_Zentor1Phase_SwitchPoint* pZones)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    memset(pZones, kUnused, KEL_ZENTOR1PHASE_TARIFF_ZONES * sizeof(*pZones));
    DaySelection selection{};
    if (Kel_IsBad(GetDayId(pSchedule, aMonth, aDayKind, &selection)))
    {
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR, "GetDaySchedule - Fail, Month=%d, DayOfWeek=%d", aMonth, aDayKind);
        KEL_EXIT_BAD(Kel_BadInvalidArgument);
    }
    const ScheduleDay& firstPoint = pSchedule->Days[selection.first];
    const bool startsAtMidnight = firstPoint.Hour == 0 && firstPoint.Minute == 0;
    const uint8_t wrapValue =
        startsAtMidnight ? firstPoint.ScheduleValue : pSchedule->Days[selection.last].ScheduleValue;
    uint32_t point = selection.first;
    for (uint32_t zone = 0; zone < KEL_ZENTOR1PHASE_TARIFF_ZONES && point <= selection.last; ++zone)
    {
        if (zone == 0 && !startsAtMidnight)
        {
            pZones[zone] = Kel_Zentor1Phase_SwitchPoint{static_cast<uint8_t>(wrapValue - 1), 0, 0};
            continue;
        }
        const ScheduleDay& day = pSchedule->Days[point++];
        pZones[zone] =
            Kel_Zentor1Phase_SwitchPoint{static_cast<uint8_t>(day.ScheduleValue - 1), day.Hour, day.Minute};
    }
    KEL_EXIT(Kel_Good);
}

bool IsUsedZone(const Kel_Zentor1Phase_SwitchPoint& aZone)
{
    return aZone.tariff != kUnused && aZone.hour != kUnused && aZone.minute != kUnused;
}
} // namespace

Kel_StatusCode Kel_Zentor1Phase_Tariff_WriteTariffSchedule(Kel_Zentor1Phase_ClientContext* pContext,
                                                           const ScheduleParams* pTariffSchedule)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pTariffSchedule);
    Kel_StatusCode status = Kel_Good;

    // Tariff count: the highest tariff over the switch points, at least 1.
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "kel_zentor1phase_tariff, WriteTariffsCount()");
    uint8_t tariffCount = 1;
    const uint32_t dayCount = Used(pTariffSchedule->DaysCount, KEL_ENERGYSHARED_SCHEDULE_DAYS_MAX);
    for (uint32_t i = 0; i < dayCount; ++i)
        tariffCount = std::max(tariffCount, pTariffSchedule->Days[i].ScheduleValue);
    status = Kel_Zentor1Phase_Client_WriteTariffsNumber(pContext, tariffCount);
    if (Kel_IsBad(status))
    {
        KEL_TRACE_DUMP(KEL_TRACE_LEVEL_ERROR, pContext->ApplicationContext.inBuffer,
                       pContext->ApplicationContext.inBufferIndex, "WriteTariffsCount - Fail, Rx: ");
        KEL_EXIT_BAD(status);
    }
    if (status == Kel_GoodNoData)
        KEL_EXIT(status);

    // Zone tables, month by month, weekday columns 1..7 then the holiday column.
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteTariffSchedule()");
    for (uint8_t month = 1; month <= kMonths; ++month)
    {
        for (uint8_t dayKind = 1; dayKind <= kDayKinds; ++dayKind)
        {
            Kel_Zentor1Phase_SwitchPoint zones[KEL_ZENTOR1PHASE_TARIFF_ZONES];
            KEL_GOTO_IF_BAD(status, GetDaySchedule(pTariffSchedule, month, dayKind, zones));
            KEL_CLIENT_RUN(Kel_Zentor1Phase_Client_WriteTariffsTable(
                pContext, static_cast<uint8_t>(month - 1), static_cast<uint8_t>(dayKind - 1), zones));
        }
    }

    // Holiday dates: the special days in record order, 8 per table; beyond 16 they are not sent.
    KEL_TRACE(KEL_TRACE_LEVEL_FLOW, "WriteSpecialDays");
    const uint32_t specialCount =
        Used(pTariffSchedule->SpecialDaysCount, KEL_ENERGYSHARED_SCHEDULE_SPECIALDAYS_MAX);
    uint32_t special = 0;
    for (uint8_t part = 0; part < 2; ++part)
    {
        uint8_t holidays[2 * KEL_ZENTOR1PHASE_TARIFF_HOLIDAYS_PER_PART];
        memset(holidays, kUnused, sizeof(holidays));
        for (uint32_t entry = 0; entry < KEL_ZENTOR1PHASE_TARIFF_HOLIDAYS_PER_PART && special < specialCount;
             ++entry, ++special)
        {
            holidays[2 * entry] = pTariffSchedule->SpecialDays[special].Day;
            holidays[2 * entry + 1] = pTariffSchedule->SpecialDays[special].Month;
        }
        KEL_CLIENT_RUN(Kel_Zentor1Phase_Client_WriteHolidaysTable(pContext, part, holidays));
    }
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Zentor1Phase_Tariff_ReadTariffSchedule(Kel_Zentor1Phase_ClientContext* pContext,
                                                          ScheduleParams* pTariffSchedule)
{
    KEL_ENTER(Kel_Module_ZentorProtocolClient);
    KEL_REJECT_NULL(pContext);
    KEL_REJECT_NULL(pTariffSchedule);
    memset(pTariffSchedule, 0, sizeof(*pTariffSchedule));
    Kel_StatusCode status = Kel_Good;

    // Holiday list: (day, month) pairs, part 0 then part 1.
    uint8_t holidays[4 * KEL_ZENTOR1PHASE_TARIFF_HOLIDAYS_PER_PART];
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Client_ReadHolidaysTable(pContext, 0, holidays));
    KEL_CLIENT_RUN(Kel_Zentor1Phase_Client_ReadHolidaysTable(pContext, 1, holidays + 16));

    for (uint8_t month = 1; month <= kMonths; ++month)
    {
        const uint8_t meterMonth = static_cast<uint8_t>(month - 1);
        Kel_Zentor1Phase_SwitchPoint zones[KEL_ZENTOR1PHASE_TARIFF_ZONES];
        for (uint8_t column = 0; column < kWeekdayColumns; ++column)
        {
            KEL_CLIENT_RUN(Kel_Zentor1Phase_Client_ReadTariffsTable(pContext, meterMonth, column, zones));
            const uint8_t weekDay = column == 0 ? 6 : static_cast<uint8_t>(column - 1);
            for (const Kel_Zentor1Phase_SwitchPoint& zone : zones)
            {
                if (!IsUsedZone(zone))
                    continue;
                KEL_GOTO_IF_BAD(status, Kel_EnergyShared_Schedule_AddValue(
                                            month, weekDay, zone.hour, zone.minute,
                                            static_cast<uint8_t>(zone.tariff + 1), pTariffSchedule));
            }
            KEL_GOTO_IF_BAD(status, Kel_EnergyShared_Schedule_ShrinkDays(pTariffSchedule));
        }
        // The holiday column applies to every holiday date of this month.
        KEL_CLIENT_RUN(
            Kel_Zentor1Phase_Client_ReadTariffsTable(pContext, meterMonth, kHolidayKind - 1, zones));
        for (uint32_t entry = 0; entry < 2 * KEL_ZENTOR1PHASE_TARIFF_HOLIDAYS_PER_PART; ++entry)
        {
            const uint8_t day = holidays[2 * entry];
            if (holidays[2 * entry + 1] != month)
                continue;
            for (const Kel_Zentor1Phase_SwitchPoint& zone : zones)
            {
                if (!IsUsedZone(zone))
                    continue;
                KEL_GOTO_IF_BAD(status, Kel_EnergyShared_Schedule_AddSpecialValue(
                                            month, day, zone.hour, zone.minute,
                                            static_cast<uint8_t>(zone.tariff + 1), pTariffSchedule));
            }
        }
        KEL_GOTO_IF_BAD(status, Kel_EnergyShared_Schedule_Shrink(pTariffSchedule));
    }
    KEL_EXIT(status);
}
