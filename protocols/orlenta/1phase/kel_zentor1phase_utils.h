// Small stateless conversions of the single-phase meter protocol: the meter's big-endian integers,
// BCD bytes and the meter's time layouts.
//
// Naming of the byte-order helpers: "Pack" reads a value out of the buffer, "Unpack" writes a value
// into it (most significant byte first); only PutUInt32 writes least significant byte first.
// Offsets are taken modulo 65536; the size argument is accepted but not checked.
#pragma once

#include "shared/kel_types.h"
#include "shared/platform/kel_p_datetime.h"

Kel_StatusCode Kel_Zentor1Phase_Utils_PutUInt32(uint8_t* pBuffer, uint32_t aSize, uint32_t aOffset,
                                                uint32_t aValue);
Kel_StatusCode Kel_Zentor1Phase_Utils_UnpackUInt32(uint8_t* pBuffer, uint32_t aSize, uint32_t aOffset,
                                                   uint32_t aValue);
Kel_StatusCode Kel_Zentor1Phase_Utils_PackUInt16(const uint8_t* pBuffer, uint32_t aSize, uint32_t aOffset,
                                                 uint16_t* pValue);
Kel_StatusCode Kel_Zentor1Phase_Utils_PackUInt32(const uint8_t* pBuffer, uint32_t aSize, uint32_t aOffset,
                                                 uint32_t* pValue);

// BCD byte to its number: 0x9A..0xFF are refused with Kel_BadInvalidArgument; any other byte gives
// high nibble * 10 + low nibble, a low nibble above 9 included (0x1A gives 20).
Kel_StatusCode Kel_Zentor1Phase_Utils_BCD2Byte(uint8_t aByte, uint8_t* pValue);
// Number to BCD byte: values over 99 are refused with Kel_BadInvalidArgument.
Kel_StatusCode Kel_Zentor1Phase_Utils_Byte2BCD(uint32_t aValue, uint8_t* pByte);

// Seven BCD bytes at aOffset: second, minute, hour, (not read), day, month, year of century.
// Years below 51 are 2000 + year, 51 and above 1900 + year.
Kel_StatusCode Kel_Zentor1Phase_Utils_DateTimeFromBuffer(const uint8_t* pBuffer, uint32_t aSize,
                                                         uint32_t aOffset, DateTime* pDateTime);
// Plain values, year 2000 + aYear. Returns 1 when the fields are in range and the date was made,
// else 0 (the DateTime is not touched when a field is out of range).
uint32_t Kel_Zentor1Phase_Utils_GetTime(uint32_t aYear, uint32_t aMonth, uint32_t aDay, uint32_t aHour,
                                        uint32_t aMinute, uint32_t aSecond, DateTime* pDateTime);
