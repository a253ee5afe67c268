// The holiday text parser of eWriteWeekendScale2 over arbitrary text. Every month byte is a month
// (1 to 12) or 0xFF; the halves written out as eReadWeekendScale2 writes them parse again to the same
// holidays in the same order, whenever every holiday shown has a month name (a line without one does
// not read back as a line).
#include "Q310/q310_exports_tariff.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace
{
// The holidays a reader sees: half 0 up to its first day byte 0xFF, then half 1 likewise.
std::vector<uint16_t> Shown(const uint8_t* pHalf0, const uint8_t* pHalf1)
{
    std::vector<uint16_t> shown;
    for (const uint8_t* half : {pHalf0, pHalf1})
        for (uint32_t i = 0; i < Q310_HOLIDAY_HALF_SIZE && half[i] != 0xFF; i += 2)
            shown.push_back(static_cast<uint16_t>(half[i] << 8 | half[i + 1]));
    return shown;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 4096)
        return 0;
    char* text = new char[size + 1];
    memcpy(text, data, size);
    text[size] = '\0';

    uint8_t half0[Q310_HOLIDAY_HALF_SIZE];
    uint8_t half1[Q310_HOLIDAY_HALF_SIZE];
    Q310_ParseHolidayText(text, half0, half1);
    for (uint32_t i = 1; i < Q310_HOLIDAY_HALF_SIZE; i += 2)
        for (uint8_t month : {half0[i], half1[i]})
            if (month != 0xFF && (month < 1 || month > Q310_MONTHS))
                __builtin_trap();

    const std::vector<uint16_t> shown = Shown(half0, half1);
    bool named = true;
    for (uint16_t entry : shown)
        named = named && (entry & 0xFF) != 0xFF;
    if (named)
    {
        // 16 lines of at most "254 " and the longest genitive name.
        char written[16 * 32 + 1] = {};
        Q310_AppendHolidayText(written, half0, half1);
        uint8_t again0[Q310_HOLIDAY_HALF_SIZE];
        uint8_t again1[Q310_HOLIDAY_HALF_SIZE];
        Q310_ParseHolidayText(written, again0, again1);
        if (Shown(again0, again1) != shown)
            __builtin_trap();
    }
    delete[] text;
    return 0;
}
