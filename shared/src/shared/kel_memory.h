// A byte buffer with a separate cursor, typed put/get in either byte order, CRC-16/MODBUS and the
// binary date-time layouts.
#pragma once

#include "shared/kel_types.h"
#include "shared/platform/kel_p_datetime.h"

// size: readable length (read) or capacity (write); data: the area; owned: 1 when this module
// allocated the area and may grow and free it.
struct Kel_Memory_Context
{
    int32_t size;
    uint8_t* data;
    uint32_t owned;
};

// Byte-order flag of the multi-byte functions.
constexpr uint32_t KEL_BYTEORDER_HOST = 0;    // the host's memory order (least significant byte first)
constexpr uint32_t KEL_BYTEORDER_REVERSE = 1; // reversed: most significant byte first

Kel_StatusCode Kel_Memory_CreateContext(Kel_Memory_Context* pMemory, uint8_t* pData, int32_t aSize);
Kel_StatusCode Kel_Memory_Alloc(Kel_Memory_Context* pMemory, int32_t aSize);
Kel_StatusCode Kel_Memory_Realloc(Kel_Memory_Context* pMemory, int32_t aSize);
Kel_StatusCode Kel_Memory_Free(Kel_Memory_Context* pMemory);
Kel_StatusCode Kel_Memory_CheckDataSize(Kel_Memory_Context* pMemoryContext, int32_t aNeeded);

Kel_StatusCode Kel_Memory_ValueToData(const void* pValue, uint32_t aCount, Kel_Memory_Context* pMemory,
                                      uint32_t* pIndex, uint32_t aByteOrder);
Kel_StatusCode Kel_Memory_DataToValue(const Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                      uint32_t aByteOrder, void* pValue, uint32_t aCount);

Kel_StatusCode Kel_Memory_UInt8ToData(uint8_t aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex);
Kel_StatusCode Kel_Memory_DataToUInt8(const Kel_Memory_Context* pMemory, uint32_t* pIndex, uint8_t* pValue);
Kel_StatusCode Kel_Memory_Int8ToData(int8_t aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex);
Kel_StatusCode Kel_Memory_DataToInt8(const Kel_Memory_Context* pMemory, uint32_t* pIndex, int8_t* pValue);
Kel_StatusCode Kel_Memory_UInt16ToData(uint16_t aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                       uint32_t aByteOrder);
Kel_StatusCode Kel_Memory_DataToUInt16(const Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                       uint32_t aByteOrder, uint16_t* pValue);
Kel_StatusCode Kel_Memory_Int16ToData(int16_t aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                      uint32_t aByteOrder);
Kel_StatusCode Kel_Memory_DataToInt16(const Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                      uint32_t aByteOrder, int16_t* pValue);
Kel_StatusCode Kel_Memory_UInt24ToData(uint32_t aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                       uint32_t aByteOrder);
Kel_StatusCode Kel_Memory_DataToUInt24(const Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                       uint32_t aByteOrder, uint32_t* pValue);
Kel_StatusCode Kel_Memory_UInt32ToData(uint32_t aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                       uint32_t aByteOrder);
Kel_StatusCode Kel_Memory_DataToUInt32(const Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                       uint32_t aByteOrder, uint32_t* pValue);
Kel_StatusCode Kel_Memory_Int32ToData(int32_t aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                      uint32_t aByteOrder);
Kel_StatusCode Kel_Memory_DataToInt32(const Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                      uint32_t aByteOrder, int32_t* pValue);
Kel_StatusCode Kel_Memory_FloatToData(float aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                      uint32_t aByteOrder);
Kel_StatusCode Kel_Memory_DataToFloat(const Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                      uint32_t aByteOrder, float* pValue);
Kel_StatusCode Kel_Memory_UInt48ToData(uint64_t aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                       uint32_t aByteOrder);
Kel_StatusCode Kel_Memory_DataToUInt48(const Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                       uint32_t aByteOrder, uint64_t* pValue);
Kel_StatusCode Kel_Memory_UInt64ToData(uint64_t aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                       uint32_t aByteOrder);
Kel_StatusCode Kel_Memory_DataToUInt64(const Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                       uint32_t aByteOrder, uint64_t* pValue);
Kel_StatusCode Kel_Memory_Int64ToData(int64_t aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                      uint32_t aByteOrder);
Kel_StatusCode Kel_Memory_DataToInt64(const Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                      uint32_t aByteOrder, int64_t* pValue);
Kel_StatusCode Kel_Memory_DoubleToData(double aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                       uint32_t aByteOrder);
Kel_StatusCode Kel_Memory_DataToDouble(const Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                       uint32_t aByteOrder, double* pValue);

Kel_StatusCode Kel_Memory_ArrayToData2(const void* pValue, uint32_t aOffset, uint32_t aArraySize,
                                       Kel_Memory_Context* pMemory, uint32_t* pIndex, uint32_t aCount);
Kel_StatusCode Kel_Memory_ArrayToData(const Kel_Memory_Context* pArrayMemory, uint32_t aOffset,
                                      Kel_Memory_Context* pMemory, uint32_t* pIndex, uint32_t aCount);
Kel_StatusCode Kel_Memory_DataToArray2(const Kel_Memory_Context* pMemory, uint32_t* pIndex, void* pArray,
                                       uint32_t aOffset, uint32_t aArraySize, uint32_t aCount);
Kel_StatusCode Kel_Memory_DataToArray(const Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                      Kel_Memory_Context* pArrayMemory, uint32_t aOffset, uint32_t aCount);
Kel_StatusCode Kel_Memory_StringToData(const char* pValue, uint32_t aOffset, uint32_t aArraySize,
                                       Kel_Memory_Context* pMemory, uint32_t* pIndex, uint32_t aCount);
Kel_StatusCode Kel_Memory_DataToString(const Kel_Memory_Context* pMemory, uint32_t* pIndex, char* pArray,
                                       uint32_t aOffset, uint32_t aArraySize, uint32_t aCount);

// CRC-16/MODBUS, bit by bit; a length of 0 or less gives 0xFFFF.
Kel_StatusCode Kel_Memory_CrcModbusCalc(const uint8_t* data, int32_t aLength, uint16_t* pCrc);

// 8 bytes: year-2000, month, day, hour, minute, second, then milliseconds as 16 bits in aByteOrder.
Kel_StatusCode Kel_Memory_DateTimeToData(const DateTime* pValue, Kel_Memory_Context* pMemory,
                                         uint32_t* pOffset, uint32_t aByteOrder);
Kel_StatusCode Kel_Memory_DataToDateTime(const Kel_Memory_Context* pMemory, uint32_t* pOffset,
                                         uint32_t aByteOrder, DateTime* pValue);
// 6 bytes: the same without the milliseconds.
Kel_StatusCode Kel_Memory_DateTimeToData2(const DateTime* pValue, Kel_Memory_Context* pMemory,
                                          uint32_t* pOffset);
Kel_StatusCode Kel_Memory_DataToDateTime2(const Kel_Memory_Context* pMemory, uint32_t* pOffset,
                                          DateTime* pValue);
