// The meter's time layouts: seven BCD bytes to a DateTime, plain fields to a DateTime.
#define KEL_TRACE_FILE "protocols/orlenta/1phase/kel_zentor1phase_utils_time"
#include "protocols/orlenta/1phase/kel_zentor1phase_utils.h"

#include "shared/kel_trace.h"
#include "shared/kel_utils.h"

namespace
{
inline uint16_t At(uint32_t aOffset, uint32_t aIndex)
{
    return static_cast<uint16_t>(aOffset + aIndex);
}
} // namespace

Kel_StatusCode Kel_Zentor1Phase_Utils_DateTimeFromBuffer(const uint8_t* pBuffer, uint32_t aSize,
                                                         uint32_t aOffset, DateTime* pDateTime)
{
    const Kel_TraceScope kelScope{Kel_Module_ZentorProtocolClient, __func__, KEL_TRACE_FILE};
    (void)aSize;
    KEL_REJECT_NULL(pBuffer);
    KEL_REJECT_NULL(pDateTime);
    // Layout: second, minute, hour, (day of week, not read), day, month, year; decoded year first.
    static const uint32_t order[6] = {6, 5, 4, 2, 1, 0};
    uint8_t fields[7] = {};
    for (uint32_t position : order)
    {
        const Kel_StatusCode status =
            Kel_Zentor1Phase_Utils_BCD2Byte(pBuffer[At(aOffset, position)], &fields[position]);
        if (Kel_IsBad(status))
            KEL_REJECT_CODE(status);
    }
    const uint16_t year = static_cast<uint16_t>(fields[6] < 51 ? 2000 + fields[6] : 1900 + fields[6]);
    const Kel_StatusCode status =
        Kel_Utils_CreateDateTime(year, fields[5], fields[4], fields[2], fields[1], fields[0], 0, pDateTime);
    if (Kel_IsBad(status))
        KEL_REJECT_CODE(status);
    return status & 0xFFFF0000u;
}

uint32_t Kel_Zentor1Phase_Utils_GetTime(uint32_t aYear, uint32_t aMonth, uint32_t aDay, uint32_t aHour,
                                        uint32_t aMinute, uint32_t aSecond, DateTime* pDateTime)
{
    if (pDateTime == KEL_NULL || aMonth < 1 || aMonth > 12 || aDay < 1 || aDay > 31 || aHour > 23 ||
        aMinute > 59 || aSecond > 59)
        return 0;
    const Kel_StatusCode status =
        Kel_Utils_CreateDateTime(static_cast<uint16_t>(2000 + aYear), static_cast<uint8_t>(aMonth),
                                 static_cast<uint8_t>(aDay), static_cast<uint8_t>(aHour),
                                 static_cast<uint8_t>(aMinute), static_cast<uint8_t>(aSecond), 0, pDateTime);
    return Kel_IsBad(status) ? 0 : 1;
}
