// Tariff zones and holiday scales of the exported interface: the number of tariffs, the tariff schedule
// as host text (raw requests with 8 zones a day, or the client's tariff table commands with 16), the
// holiday list as host text, the fast schedule write, the tariff-profile mode, and the file-name
// exports that succeed without effect.
#define KEL_TRACE_FILE "Q310/q310_exports_tariff"

#include "Q310/q310_exports_tariff.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <initializer_list>

#include "Q310/q310_export_support.h"
#include "Q310/q310_export_texts.h"
#include "shared/kel_utils.h"

namespace
{
// Month names, day kinds and month names in the genitive of the schedule and holiday texts.
constexpr auto kM0 = Kel_Cp1251("Январь");
constexpr auto kM1 = Kel_Cp1251("Февраль");
constexpr auto kM2 = Kel_Cp1251("Март");
constexpr auto kM3 = Kel_Cp1251("Апрель");
constexpr auto kM4 = Kel_Cp1251("Май");
constexpr auto kM5 = Kel_Cp1251("Июнь");
constexpr auto kM6 = Kel_Cp1251("Июль");
constexpr auto kM7 = Kel_Cp1251("Август");
constexpr auto kM8 = Kel_Cp1251("Сентябрь");
constexpr auto kM9 = Kel_Cp1251("Октябрь");
constexpr auto kM10 = Kel_Cp1251("Ноябрь");
constexpr auto kM11 = Kel_Cp1251("Декабрь");
constexpr auto kD0 = Kel_Cp1251("Понедельник");
constexpr auto kD1 = Kel_Cp1251("Вторник");
constexpr auto kD2 = Kel_Cp1251("Среда");
constexpr auto kD3 = Kel_Cp1251("Четверг");
constexpr auto kD4 = Kel_Cp1251("Пятница");
constexpr auto kD5 = Kel_Cp1251("Суббота");
constexpr auto kD6 = Kel_Cp1251("Воскресенье");
constexpr auto kD7 = Kel_Cp1251("Праздник");
constexpr auto kG1 = Kel_Cp1251("января");
constexpr auto kG2 = Kel_Cp1251("февраля");
constexpr auto kG3 = Kel_Cp1251("марта");
constexpr auto kG4 = Kel_Cp1251("апреля");
constexpr auto kG5 = Kel_Cp1251("мая");
constexpr auto kG6 = Kel_Cp1251("июня");
constexpr auto kG7 = Kel_Cp1251("июля");
constexpr auto kG8 = Kel_Cp1251("августа");
constexpr auto kG9 = Kel_Cp1251("сентября");
constexpr auto kG10 = Kel_Cp1251("октября");
constexpr auto kG11 = Kel_Cp1251("ноября");
constexpr auto kG12 = Kel_Cp1251("декабря");

const char* const kMonthNames[Q310_MONTHS] = {kM0.text, kM1.text, kM2.text, kM3.text, kM4.text,  kM5.text,
                                              kM6.text, kM7.text, kM8.text, kM9.text, kM10.text, kM11.text};

const char* const kDayKindNames[Q310_DAY_KINDS] = {kD0.text, kD1.text, kD2.text, kD3.text,
                                                   kD4.text, kD5.text, kD6.text, kD7.text};

const char* const kGenitiveMonthNames[Q310_MONTHS + 1] = {"",        kG1.text,  kG2.text, kG3.text, kG4.text,
                                                          kG5.text,  kG6.text,  kG7.text, kG8.text, kG9.text,
                                                          kG10.text, kG11.text, kG12.text};

// The raw schedule is the client's table of eight zones a day, selected by month and day kind.
static_assert(Q310_ZONES_RAW == KEL_ZENTOR1PHASE_RAW_TARIFF_ZONES);

constexpr Kel_Zentor1Phase_SwitchPoint kNoZone{0xFF, 0xFF, 0xFF};

bool ZoneIsSet(const Kel_Zentor1Phase_SwitchPoint& aZone)
{
    return aZone.tariff < 4 && aZone.hour <= 23 && aZone.minute < 60;
}

// A word longer than any name cannot match; the bound keeps the scan inside the buffer.
constexpr int kWordSize = 64;
} // namespace

uint8_t Q310_DayKindToDayCode(uint32_t aDayKind)
{
    if (aDayKind < 6)
        return static_cast<uint8_t>(aDayKind + 1);
    return aDayKind == 6 ? 0 : 7;
}

char* Q310_AppendDayText(char* pEnd, uint32_t aDayKind, const Kel_Zentor1Phase_SwitchPoint* pZones,
                         uint32_t aZonesPerDay)
{
    pEnd += sprintf(pEnd, "\t%s\n", kDayKindNames[aDayKind]);
    for (uint32_t z = 0; z < aZonesPerDay; ++z)
        if (ZoneIsSet(pZones[z]))
            pEnd +=
                sprintf(pEnd, "\t%02d:%02d,T%d\n", pZones[z].hour, pZones[z].minute, pZones[z].tariff + 1);
    return pEnd;
}

void Q310_AppendScheduleText(char* pText, const Kel_Zentor1Phase_SwitchPoint* pDays, uint32_t aZonesPerDay)
{
    char* end = pText + strlen(pText);
    for (uint32_t m = 0; m < Q310_MONTHS; ++m)
    {
        end += sprintf(end, "%s\n", kMonthNames[m]);
        for (uint32_t d = 0; d < Q310_DAY_KINDS; ++d)
            end = Q310_AppendDayText(end, d, pDays + Q310_ScheduleIndex(m, d, aZonesPerDay), aZonesPerDay);
        end += sprintf(end, "\n");
    }
    sprintf(end, "\tEnd");
}

Kel_StatusCode Q310_ParseScheduleText(const char* pText, Kel_Zentor1Phase_SwitchPoint* pDays,
                                      uint32_t aZonesPerDay)
{
    for (uint32_t i = 0; i < Q310_MONTHS * Q310_DAY_KINDS * aZonesPerDay; ++i)
        pDays[i] = kNoZone;
    const char* p = pText;
    char word[kWordSize];
    int used = 0;
    for (uint32_t m = 0; m < Q310_MONTHS; ++m)
    {
        if (sscanf(p, "%63s%n", word, &used) != 1 || strcmp(word, kMonthNames[m]) != 0)
            return Kel_BadInvalidArgument;
        p += used;
        for (uint32_t d = 0; d < Q310_DAY_KINDS; ++d)
        {
            if (sscanf(p, "\t%63s%n", word, &used) != 1 || strcmp(word, kDayKindNames[d]) != 0)
                return Kel_BadInvalidArgument;
            p += used;
            Kel_Zentor1Phase_SwitchPoint* zones = pDays + Q310_ScheduleIndex(m, d, aZonesPerDay);
            for (uint32_t z = 0; z < aZonesPerDay; ++z)
            {
                unsigned hour = 0, minute = 0, tariff = 0;
                if (sscanf(p, "\t%02u:%02u,T%u%n", &hour, &minute, &tariff, &used) != 3)
                    break;
                p += used;
                zones[z] = {static_cast<uint8_t>(tariff - 1), static_cast<uint8_t>(hour),
                            static_cast<uint8_t>(minute)};
            }
        }
    }
    return Kel_Good;
}

void Q310_AppendHolidayText(char* pText, const uint8_t* pHalf0, const uint8_t* pHalf1)
{
    char* end = pText + strlen(pText);
    for (const uint8_t* half : {pHalf0, pHalf1})
        for (uint32_t i = 0; i < Q310_HOLIDAY_HALF_SIZE; i += 2)
        {
            if (half[i] == 0xFF)
                break;
            // Month bytes outside 1..12 print the empty name, as month 0 does.
            const uint8_t month = half[i + 1];
            end += sprintf(end, "%d %s\n", half[i], month <= Q310_MONTHS ? kGenitiveMonthNames[month] : "");
        }
}

void Q310_ParseHolidayText(const char* pText, uint8_t* pHalf0, uint8_t* pHalf1)
{
    memset(pHalf0, 0xFF, Q310_HOLIDAY_HALF_SIZE);
    memset(pHalf1, 0xFF, Q310_HOLIDAY_HALF_SIZE);
    const char* p = pText;
    bool ended = false;
    for (uint8_t* half : {pHalf0, pHalf1})
        for (uint32_t i = 0; i < Q310_HOLIDAY_HALF_SIZE && !ended; i += 2)
        {
            int day = 0;
            int used = 0;
            char word[kWordSize];
            if (sscanf(p, "%d %63s%n", &day, word, &used) != 2)
            {
                ended = true; // the text that ends half 0 also ends half 1
                break;
            }
            p += used;
            half[i] = static_cast<uint8_t>(day);
            for (uint32_t month = 1; month <= Q310_MONTHS; ++month)
                if (strcmp(word, kGenitiveMonthNames[month]) == 0)
                    half[i + 1] = static_cast<uint8_t>(month);
        }
}

// The schedule by raw requests, eight zones a day, appended month by month as the answers arrive.
int32_t eReadRateScale_1(uint32_t adr, char* TariffsTable, char* outErr)
{
    Q310_EXPORT_ENTER(eReadRateScale_1);
    (void)adr;
    Q310_REJECT_NULL(TariffsTable);
    Q310_REJECT_NULL(outErr);
    char* end = TariffsTable + strlen(TariffsTable);
    for (uint32_t m = 0; m < Q310_MONTHS; ++m)
    {
        end += sprintf(end, "%s\n", kMonthNames[m]);
        for (uint32_t d = 0; d < Q310_DAY_KINDS; ++d)
        {
            Kel_Zentor1Phase_SwitchPoint zones[Q310_ZONES_RAW];
            bool handBack = false;
            const Kel_StatusCode status = Kel_Zentor1Phase_Client_ReadTariffZones(
                kelScope, &clientContext, static_cast<uint8_t>(m), static_cast<uint8_t>(d), zones, &handBack);
            // A zone that is not BCD is handed back as its status, without a message.
            if (handBack)
                return static_cast<int32_t>(status);
            Q310_REQUEST_TRACED(status, kReadRateScale);
            end = Q310_AppendDayText(end, d, zones, Q310_ZONES_RAW); // out-of-range fields are not printed
        }
        end += sprintf(end, "\n");
    }
    sprintf(end, "\tEnd");
    return Q310_RESULT_OK;
}

// Parses the whole text first (a malformed text: 0, nothing sent, no message), then writes the 96 day
// tables by raw requests.
int32_t eWriteRateScale_1(uint32_t adr, const char* TariffsTable, char* outErr)
{
    Q310_EXPORT_ENTER(eWriteRateScale_1);
    (void)adr;
    Q310_REJECT_NULL(TariffsTable);
    Q310_REJECT_NULL(outErr);
    Kel_Zentor1Phase_SwitchPoint days[Q310_MONTHS * Q310_DAY_KINDS * Q310_ZONES_RAW];
    Kel_StatusCode status = Q310_ParseScheduleText(TariffsTable, days, Q310_ZONES_RAW);
    if (Kel_IsBad(status))
    {
        Kel_Trace_GotoBad(kelScope, __LINE__, status);
        return Q310_RESULT_FAILED;
    }
    for (uint32_t m = 0; m < Q310_MONTHS; ++m)
        for (uint32_t d = 0; d < Q310_DAY_KINDS; ++d)
        {
            bool handBack = false;
            status = Kel_Zentor1Phase_Client_WriteTariffZones(
                kelScope, &clientContext, static_cast<uint8_t>(m), static_cast<uint8_t>(d),
                days + Q310_ScheduleIndex(m, d, Q310_ZONES_RAW), &handBack);
            // A field that has no BCD form is handed back as its status, without a message.
            if (handBack)
                return static_cast<int32_t>(status);
            Q310_REQUEST_TRACED(status, kWriteRateScale);
        }
    return Q310_RESULT_OK;
}

// The schedule through the client's tariff table commands, sixteen zones a day: all 96 days are read
// before anything is appended.
int32_t eReadRateScale_4(uint32_t adr, char* TariffsTable, char* outErr)
{
    Q310_EXPORT_ENTER(eReadRateScale_4);
    (void)adr;
    Q310_REJECT_NULL(TariffsTable);
    Q310_REJECT_NULL(outErr);
    Kel_Zentor1Phase_SwitchPoint days[Q310_MONTHS * Q310_DAY_KINDS * Q310_ZONES_CLIENT];
    for (uint32_t m = 0; m < Q310_MONTHS; ++m)
        for (uint32_t d = 0; d < Q310_DAY_KINDS; ++d)
            Q310_REQUEST(Kel_Zentor1Phase_Client_ReadTariffsTable(
                             &clientContext, static_cast<uint8_t>(m), Q310_DayKindToDayCode(d),
                             days + Q310_ScheduleIndex(m, d, Q310_ZONES_CLIENT)),
                         kReadRateScale);
    Q310_AppendScheduleText(TariffsTable, days, Q310_ZONES_CLIENT);
    return Q310_RESULT_OK;
}

int32_t eWriteRateScale_4(uint32_t adr, const char* TariffsTable, char* outErr)
{
    Q310_EXPORT_ENTER(eWriteRateScale_4);
    (void)adr;
    Q310_REJECT_NULL(TariffsTable);
    Q310_REJECT_NULL(outErr);
    Kel_Zentor1Phase_SwitchPoint days[Q310_MONTHS * Q310_DAY_KINDS * Q310_ZONES_CLIENT];
    const Kel_StatusCode status = Q310_ParseScheduleText(TariffsTable, days, Q310_ZONES_CLIENT);
    if (Kel_IsBad(status))
    {
        Kel_Trace_GotoBad(kelScope, __LINE__, status);
        return Q310_RESULT_FAILED;
    }
    for (uint32_t m = 0; m < Q310_MONTHS; ++m)
        for (uint32_t d = 0; d < Q310_DAY_KINDS; ++d)
            Q310_REQUEST(Kel_Zentor1Phase_Client_WriteTariffsTable(
                             &clientContext, static_cast<uint8_t>(m), Q310_DayKindToDayCode(d),
                             days + Q310_ScheduleIndex(m, d, Q310_ZONES_CLIENT)),
                         kWriteRateScale);
    return Q310_RESULT_OK;
}

// File-name exports kept for hosts that call them: they check their pointers and succeed without effect.
#define Q310_FILE_PLACEHOLDER(aName)                                                                         \
    int32_t Q310_CALL aName(uint32_t adr, const char* fName, char* outErr)                                   \
    {                                                                                                        \
        Q310_EXPORT_ENTER(aName);                                                                            \
        (void)adr;                                                                                           \
        Q310_REJECT_NULL(fName);                                                                             \
        Q310_REJECT_NULL(outErr);                                                                            \
        return Q310_RESULT_OK;                                                                               \
    }
Q310_FILE_PLACEHOLDER(eReadRateScale)
Q310_FILE_PLACEHOLDER(eReadRateScale_2)
Q310_FILE_PLACEHOLDER(eWriteRateScale)
Q310_FILE_PLACEHOLDER(eWriteRateScale_2)
Q310_FILE_PLACEHOLDER(eReadWeekendScale)

// The file is not read: both holiday halves are written empty (all 0xFF), which clears the meter's
// holiday list.
int32_t eWriteWeekendScale(uint32_t adr, const char* fName, char* outErr)
{
    Q310_EXPORT_ENTER(eWriteWeekendScale);
    (void)adr;
    Q310_REJECT_NULL(fName);
    Q310_REJECT_NULL(outErr);
    uint8_t empty[Q310_HOLIDAY_HALF_SIZE];
    memset(empty, 0xFF, sizeof(empty));
    for (uint8_t half = 0; half < 2; ++half)
        Q310_REQUEST(Kel_Zentor1Phase_Client_WriteHolidaysTable(&clientContext, half, empty),
                     kWriteWeekendScale);
    return Q310_RESULT_OK;
}

int32_t eReadWeekendScale2(uint32_t adr, char* holiday, char* outErr)
{
    Q310_EXPORT_ENTER(eReadWeekendScale2);
    (void)adr;
    Q310_REJECT_NULL(holiday);
    Q310_REJECT_NULL(outErr);
    uint8_t halves[2][Q310_HOLIDAY_HALF_SIZE];
    for (uint8_t half = 0; half < 2; ++half)
        Q310_REQUEST(Kel_Zentor1Phase_Client_ReadHolidaysTable(&clientContext, half, halves[half]),
                     kReadWeekendScale);
    Q310_AppendHolidayText(holiday, halves[0], halves[1]);
    return Q310_RESULT_OK;
}

int32_t eWriteWeekendScale2(uint32_t adr, const char* holiday, char* outErr)
{
    Q310_EXPORT_ENTER(eWriteWeekendScale2);
    (void)adr;
    Q310_REJECT_NULL(holiday);
    Q310_REJECT_NULL(outErr);
    uint8_t halves[2][Q310_HOLIDAY_HALF_SIZE];
    Q310_ParseHolidayText(holiday, halves[0], halves[1]);
    for (uint8_t half = 0; half < 2; ++half)
        Q310_REQUEST(Kel_Zentor1Phase_Client_WriteHolidaysTable(&clientContext, half, halves[half]),
                     kWriteWeekendScale);
    return Q310_RESULT_OK;
}

// 35 bytes, one a stack word, sent in argument order behind command 0x78.
#define Q310_B5(n) uint32_t b##n##0, uint32_t b##n##1, uint32_t b##n##2, uint32_t b##n##3, uint32_t b##n##4
#define Q310_V5(n) b##n##0, b##n##1, b##n##2, b##n##3, b##n##4
int32_t eWriteTSFast(uint32_t adr, Q310_B5(0), Q310_B5(1), Q310_B5(2), Q310_B5(3), Q310_B5(4), Q310_B5(5),
                     Q310_B5(6), char* outErr)
{
    Q310_EXPORT_ENTER(eWriteTSFast);
    (void)adr;
    Q310_REJECT_NULL(outErr);
    const uint32_t words[35] = {Q310_V5(0), Q310_V5(1), Q310_V5(2), Q310_V5(3),
                                Q310_V5(4), Q310_V5(5), Q310_V5(6)};
    uint8_t payload[35];
    for (uint32_t i = 0; i < 35; ++i)
        payload[i] = static_cast<uint8_t>(words[i]);
    Q310_REQUEST_TRACED(Kel_Zentor1Phase_Client_WriteFastTariffTable(kelScope, &clientContext, payload),
                        kWriteTSFast);
    return Q310_RESULT_OK;
}
#undef Q310_B5
#undef Q310_V5

// No error buffer: 0 for any failure, the reason only in the trace.
int32_t eReadModeTariffProfile(uint32_t adr, uint32_t* ModeTariffProfile, uint32_t* CntBuf)
{
    Q310_EXPORT_ENTER(eReadModeTariffProfile);
    (void)adr;
    Q310_REJECT_NULL(ModeTariffProfile);
    Q310_REJECT_NULL(CntBuf);
    uint8_t mode = 0;
    if (Kel_IsBad(Kel_Zentor1Phase_Client_ReadTariffProfileMode(kelScope, &clientContext, &mode)))
        return Q310_RESULT_FAILED;
    *ModeTariffProfile = mode;
    *CntBuf = 2;
    return Q310_RESULT_OK;
}

// The mode byte and today's date from the computer's clock.
int32_t eWriteModeTariffProfile(uint32_t adr, uint32_t mode, char* outErr)
{
    Q310_EXPORT_ENTER(eWriteModeTariffProfile);
    (void)adr;
    Q310_REJECT_NULL(outErr);
    const DateTime now{static_cast<int32_t>(time(KEL_NULL)), 0};
    uint16_t year = 0, millisecond = 0;
    uint8_t month = 0, day = 0, hour = 0, minute = 0, second = 0;
    Q310_REQUEST(Kel_Utils_DecodeDateTime(&now, &year, &month, &day, &hour, &minute, &second, &millisecond),
                 kWriteModeTariffProfile);
    Q310_REQUEST_TRACED(Kel_Zentor1Phase_Client_WriteTariffProfileMode(
                            kelScope, &clientContext, static_cast<uint8_t>(mode), day, month, year),
                        kWriteModeTariffProfile);
    return Q310_RESULT_OK;
}
