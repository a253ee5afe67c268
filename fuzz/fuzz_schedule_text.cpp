// The schedule text parser of eWriteRateScale_1 (8 zones a day) and eWriteRateScale_4 (16) over
// arbitrary text. A text that parses is written out as the reads write it (zones with a tariff, hour or
// minute out of range left out) and stays within the longest text of its form; that text parses again
// to the zones it shows, in order, each day's remaining zones empty.
#include "Q310/q310_exports_tariff.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace
{
constexpr uint32_t kDays = Q310_MONTHS * Q310_DAY_KINDS;
// Longest texts with the terminator: 8 zones a day and 16 zones a day.
constexpr size_t kLongestRaw = 9053;
constexpr size_t kLongestClient = 16733;

bool Shown(const Kel_Zentor1Phase_SwitchPoint& aZone)
{
    return aZone.tariff < 4 && aZone.hour <= 23 && aZone.minute < 60;
}

bool Empty(const Kel_Zentor1Phase_SwitchPoint& aZone)
{
    return aZone.tariff == 0xFF && aZone.hour == 0xFF && aZone.minute == 0xFF;
}

Kel_Zentor1Phase_SwitchPoint parsed[kDays * Q310_ZONES_CLIENT];
Kel_Zentor1Phase_SwitchPoint reparsed[kDays * Q310_ZONES_CLIENT];
char written[kLongestClient + 64];
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1 || size > 24000)
        return 0;
    const uint32_t zonesPerDay = (data[0] & 1) != 0 ? Q310_ZONES_CLIENT : Q310_ZONES_RAW;
    char* text = new char[size];
    memcpy(text, data + 1, size - 1);
    text[size - 1] = '\0';

    const Kel_StatusCode status = Q310_ParseScheduleText(text, parsed, zonesPerDay);
    if (status != Kel_Good && status != Kel_BadInvalidArgument)
        __builtin_trap();
    if (status == Kel_Good)
    {
        written[0] = '\0';
        Q310_AppendScheduleText(written, parsed, zonesPerDay);
        const size_t longest = zonesPerDay == Q310_ZONES_CLIENT ? kLongestClient : kLongestRaw;
        if (strlen(written) + 1 > longest)
            __builtin_trap();
        if (Q310_ParseScheduleText(written, reparsed, zonesPerDay) != Kel_Good)
            __builtin_trap();
        for (uint32_t day = 0; day < kDays; ++day)
        {
            const Kel_Zentor1Phase_SwitchPoint* before = parsed + day * zonesPerDay;
            const Kel_Zentor1Phase_SwitchPoint* after = reparsed + day * zonesPerDay;
            uint32_t next = 0;
            for (uint32_t z = 0; z < zonesPerDay; ++z)
            {
                if (!Shown(before[z]))
                    continue;
                if (memcmp(&after[next], &before[z], sizeof(before[z])) != 0)
                    __builtin_trap();
                ++next;
            }
            for (; next < zonesPerDay; ++next)
                if (!Empty(after[next]))
                    __builtin_trap();
        }
    }
    delete[] text;
    return 0;
}
