// Protocol utilities of the single-phase meter: byte orders and BCD. (The meter's time layouts
// are in kel_zentor1phase_utils_time.cpp.)
//
// These helpers run for every byte the client decodes, so they trace only what goes wrong (a null
// buffer, a failed date), under the protocol client's module; they write no entry or success lines,
// which keeps the client's traces readable.
#define KEL_TRACE_FILE "protocols/orlenta/1phase/kel_zentor1phase_utils"
#include "protocols/orlenta/1phase/kel_zentor1phase_utils.h"

#include "shared/kel_trace.h"

// A scope for the rejection and failure lines, without the entry line.
#define KEL_UTILS_SCOPE                                                                                      \
    const Kel_TraceScope kelScope                                                                            \
    {                                                                                                        \
        Kel_Module_ZentorProtocolClient, __func__, KEL_TRACE_FILE                                            \
    }

namespace
{
inline uint16_t At(uint32_t aOffset, uint32_t aIndex)
{
    return static_cast<uint16_t>(aOffset + aIndex);
}
} // namespace

Kel_StatusCode Kel_Zentor1Phase_Utils_PutUInt32(uint8_t* pBuffer, uint32_t aSize, uint32_t aOffset,
                                                uint32_t aValue)
{
    KEL_UTILS_SCOPE;
    (void)aSize;
    KEL_REJECT_NULL(pBuffer);
    for (uint32_t i = 0; i < 4; ++i)
        pBuffer[At(aOffset, i)] = static_cast<uint8_t>(aValue >> (8 * i));
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_Utils_UnpackUInt32(uint8_t* pBuffer, uint32_t aSize, uint32_t aOffset,
                                                   uint32_t aValue)
{
    KEL_UTILS_SCOPE;
    (void)aSize;
    KEL_REJECT_NULL(pBuffer);
    for (uint32_t i = 0; i < 4; ++i)
        pBuffer[At(aOffset, i)] = static_cast<uint8_t>(aValue >> (8 * (3 - i)));
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_Utils_PackUInt16(const uint8_t* pBuffer, uint32_t aSize, uint32_t aOffset,
                                                 uint16_t* pValue)
{
    KEL_UTILS_SCOPE;
    (void)aSize;
    KEL_REJECT_NULL(pBuffer);
    KEL_REJECT_NULL(pValue);
    *pValue = static_cast<uint16_t>((pBuffer[At(aOffset, 0)] << 8) | pBuffer[At(aOffset, 1)]);
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_Utils_PackUInt32(const uint8_t* pBuffer, uint32_t aSize, uint32_t aOffset,
                                                 uint32_t* pValue)
{
    KEL_UTILS_SCOPE;
    (void)aSize;
    KEL_REJECT_NULL(pBuffer);
    KEL_REJECT_NULL(pValue);
    uint32_t value = 0;
    for (uint32_t i = 0; i < 4; ++i)
        value = (value << 8) | pBuffer[At(aOffset, i)];
    *pValue = value;
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_Utils_BCD2Byte(uint8_t aByte, uint8_t* pValue)
{
    KEL_UTILS_SCOPE;
    KEL_REJECT_NULL(pValue);
    // The meter's BCD is taken with a tolerance: only bytes above 0x99 are refused, a low nibble
    // above 9 is added as it is.
    if (aByte > 0x99)
        return Kel_BadInvalidArgument;
    *pValue = static_cast<uint8_t>((aByte >> 4) * 10 + (aByte & 0x0F));
    return Kel_Good;
}

Kel_StatusCode Kel_Zentor1Phase_Utils_Byte2BCD(uint32_t aValue, uint8_t* pByte)
{
    KEL_UTILS_SCOPE;
    KEL_REJECT_NULL(pByte);
    if (aValue > 99)
        return Kel_BadInvalidArgument;
    *pByte = static_cast<uint8_t>(((aValue / 10) << 4) | (aValue % 10));
    return Kel_Good;
}
