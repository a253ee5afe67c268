// The data buffer: a memory context with a separate cursor, typed put/get in either byte order, and
// CRC-16/MODBUS. (The binary date-time layouts are in kel_memory_datetime.cpp.)
#define KEL_TRACE_FILE "shared/src/shared/kel_memory"
#include "shared/kel_memory.h"

#include "shared/kel_trace.h"

#include <cstdlib>
#include <cstring>

namespace
{
// Copies aCount bytes, reversing their order when aByteOrder is 1.
void CopyBytes(uint8_t* pDestination, const uint8_t* pSource, uint32_t aCount, uint32_t aByteOrder)
{
    if (aByteOrder == KEL_BYTEORDER_REVERSE)
    {
        for (uint32_t i = 0; i < aCount; ++i)
            pDestination[i] = pSource[aCount - 1 - i];
    }
    else
    {
        memcpy(pDestination, pSource, aCount);
    }
}
} // namespace

Kel_StatusCode Kel_Memory_CreateContext(Kel_Memory_Context* pMemory, uint8_t* pData, int32_t aSize)
{
    KEL_ENTER(Kel_Module_Memory);
    KEL_REJECT_NULL(pMemory);
    pMemory->size = aSize;
    pMemory->data = pData;
    pMemory->owned = 0;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_Memory_Alloc(Kel_Memory_Context* pMemory, int32_t aSize)
{
    KEL_ENTER(Kel_Module_Memory);
    KEL_REJECT_NULL(pMemory);
    const int32_t size = aSize < 0 ? 0 : aSize;
    // At least one byte, so that an empty buffer is still an owned area.
    uint8_t* data = static_cast<uint8_t*>(calloc(size > 0 ? static_cast<size_t>(size) : 1u, 1));
    if (data == KEL_NULL)
    {
        *pMemory = Kel_Memory_Context{};
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR, "<-- ReturnError:  Allocation failed!\n");
        return Kel_BadOutOfMemory;
    }
    pMemory->size = size;
    pMemory->data = data;
    pMemory->owned = 1;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_Memory_Realloc(Kel_Memory_Context* pMemory, int32_t aSize)
{
    KEL_ENTER(Kel_Module_Memory);
    KEL_REJECT_NULL(pMemory);
    if (pMemory->data != KEL_NULL && pMemory->owned != 1)
    {
        Kel_Trace_GotoBad(kelScope, __LINE__, Kel_BadOutOfMemory);
        KEL_EXIT_BAD(Kel_BadOutOfMemory);
    }
    if (aSize <= 0)
    {
        free(pMemory->data);
        pMemory->data = KEL_NULL;
        pMemory->size = 0;
        pMemory->owned = 1;
        KEL_EXIT(Kel_Good);
    }
    uint8_t* data = static_cast<uint8_t*>(realloc(pMemory->data, static_cast<size_t>(aSize)));
    if (data == KEL_NULL)
    {
        KEL_TRACE(KEL_TRACE_LEVEL_ERROR, "--- GotoError:  Allocation failed!\n");
        KEL_EXIT_BAD(Kel_BadOutOfMemory);
    }
    const int32_t oldSize = pMemory->data != KEL_NULL && pMemory->size > 0 ? pMemory->size : 0;
    if (aSize > oldSize)
        memset(data + oldSize, 0, static_cast<size_t>(aSize - oldSize));
    pMemory->data = data;
    pMemory->size = aSize;
    pMemory->owned = 1;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_Memory_Free(Kel_Memory_Context* pMemory)
{
    KEL_ENTER(Kel_Module_Memory);
    KEL_REJECT_NULL(pMemory);
    if (pMemory->owned == 1)
        free(pMemory->data);
    *pMemory = Kel_Memory_Context{};
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_Memory_CheckDataSize(Kel_Memory_Context* pMemoryContext, int32_t aNeeded)
{
    KEL_ENTER(Kel_Module_Memory);
    KEL_REJECT_NULL(pMemoryContext);
    Kel_StatusCode status = Kel_Good;
    // Growth doubles the requirement, not the old size.
    if (pMemoryContext->size < aNeeded)
        KEL_GOTO_IF_BAD(status, Kel_Memory_Realloc(pMemoryContext, aNeeded * 2));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Memory_ValueToData(const void* pValue, uint32_t aCount, Kel_Memory_Context* pMemory,
                                      uint32_t* pIndex, uint32_t aByteOrder)
{
    KEL_ENTER(Kel_Module_Memory);
    KEL_REJECT_NULL(pValue);
    KEL_REJECT_NULL_AS(pMemory, "pDestinationMemoryContext");
    KEL_REJECT_NULL(pIndex);
    Kel_StatusCode status = Kel_Good;
    const int64_t needed = static_cast<int64_t>(*pIndex) + aCount;
    KEL_REJECT_IF(needed > INT32_MAX / 2, Kel_BadOutOfRange);
    KEL_GOTO_IF_BAD(status, Kel_Memory_CheckDataSize(pMemory, static_cast<int32_t>(needed)));
    CopyBytes(pMemory->data + *pIndex, static_cast<const uint8_t*>(pValue), aCount, aByteOrder);
    *pIndex += aCount;
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Memory_DataToValue(const Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                      uint32_t aByteOrder, void* pValue, uint32_t aCount)
{
    KEL_ENTER(Kel_Module_Memory);
    KEL_REJECT_NULL_AS(pMemory, "pSourceMemoryContext");
    KEL_REJECT_NULL(pIndex);
    KEL_REJECT_NULL_AS(pValue, "pDestinationValue");
    if (static_cast<int64_t>(*pIndex) + aCount > static_cast<int64_t>(pMemory->size) ||
        pMemory->data == KEL_NULL)
        KEL_REJECT_CODE(Kel_Bad);
    CopyBytes(static_cast<uint8_t*>(pValue), pMemory->data + *pIndex, aCount, aByteOrder);
    *pIndex += aCount;
    KEL_EXIT(Kel_Good);
}

Kel_StatusCode Kel_Memory_UInt8ToData(uint8_t aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex)
{
    return Kel_Memory_ValueToData(&aValue, 1, pMemory, pIndex, KEL_BYTEORDER_HOST);
}

Kel_StatusCode Kel_Memory_DataToUInt8(const Kel_Memory_Context* pMemory, uint32_t* pIndex, uint8_t* pValue)
{
    return Kel_Memory_DataToValue(pMemory, pIndex, KEL_BYTEORDER_HOST, pValue, 1);
}

Kel_StatusCode Kel_Memory_Int8ToData(int8_t aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex)
{
    return Kel_Memory_ValueToData(&aValue, 1, pMemory, pIndex, KEL_BYTEORDER_HOST);
}

Kel_StatusCode Kel_Memory_DataToInt8(const Kel_Memory_Context* pMemory, uint32_t* pIndex, int8_t* pValue)
{
    return Kel_Memory_DataToValue(pMemory, pIndex, KEL_BYTEORDER_HOST, pValue, 1);
}

// The multi-byte writers and readers move the value's own bytes; 24- and 48-bit forms move the low
// three and six bytes of the (little-endian) value.
#define KEL_MEMORY_TYPED(Name, Type, Count)                                                                  \
    Kel_StatusCode Kel_Memory_##Name##ToData(Type aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex,     \
                                             uint32_t aByteOrder)                                            \
    {                                                                                                        \
        return Kel_Memory_ValueToData(&aValue, (Count), pMemory, pIndex, aByteOrder);                        \
    }                                                                                                        \
    Kel_StatusCode Kel_Memory_DataTo##Name(const Kel_Memory_Context* pMemory, uint32_t* pIndex,              \
                                           uint32_t aByteOrder, Type* pValue)                                \
    {                                                                                                        \
        return Kel_Memory_DataToValue(pMemory, pIndex, aByteOrder, pValue, (Count));                         \
    }

KEL_MEMORY_TYPED(UInt16, uint16_t, 2)
KEL_MEMORY_TYPED(Int16, int16_t, 2)
KEL_MEMORY_TYPED(UInt24, uint32_t, 3)
KEL_MEMORY_TYPED(UInt32, uint32_t, 4)
KEL_MEMORY_TYPED(Int32, int32_t, 4)
KEL_MEMORY_TYPED(Float, float, 4)
KEL_MEMORY_TYPED(UInt48, uint64_t, 6)
KEL_MEMORY_TYPED(UInt64, uint64_t, 8)
KEL_MEMORY_TYPED(Int64, int64_t, 8)
KEL_MEMORY_TYPED(Double, double, 8)

#undef KEL_MEMORY_TYPED

Kel_StatusCode Kel_Memory_ArrayToData2(const void* pValue, uint32_t aOffset, uint32_t aArraySize,
                                       Kel_Memory_Context* pMemory, uint32_t* pIndex, uint32_t aCount)
{
    KEL_ENTER(Kel_Module_Memory);
    KEL_REJECT_NULL(pValue);
    KEL_REJECT_NULL_AS(pMemory, "pDestinationMemoryContext");
    // The bound test compares the count alone with the array size; the offset is the caller's care.
    if (aCount > aArraySize)
        KEL_REJECT_CODE(Kel_Bad);
    Kel_StatusCode status = Kel_Good;
    if (aCount > 0)
        KEL_GOTO_IF_BAD(status, Kel_Memory_ValueToData(static_cast<const uint8_t*>(pValue) + aOffset, aCount,
                                                       pMemory, pIndex, KEL_BYTEORDER_HOST));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Memory_ArrayToData(const Kel_Memory_Context* pArrayMemory, uint32_t aOffset,
                                      Kel_Memory_Context* pMemory, uint32_t* pIndex, uint32_t aCount)
{
    KEL_ENTER(Kel_Module_Memory);
    KEL_REJECT_NULL(pArrayMemory);
    Kel_StatusCode status = Kel_Good;
    const uint32_t arraySize = pArrayMemory->size > 0 ? static_cast<uint32_t>(pArrayMemory->size) : 0;
    KEL_GOTO_IF_BAD(status,
                    Kel_Memory_ArrayToData2(pArrayMemory->data, aOffset, arraySize, pMemory, pIndex, aCount));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Memory_DataToArray2(const Kel_Memory_Context* pMemory, uint32_t* pIndex, void* pArray,
                                       uint32_t aOffset, uint32_t aArraySize, uint32_t aCount)
{
    if (static_cast<uint64_t>(aOffset) + aCount > aArraySize)
        return Kel_Bad;
    if (aCount == 0)
        return Kel_Good;
    if (pArray == KEL_NULL)
        return Kel_BadInvalidArgument;
    return Kel_Memory_DataToValue(pMemory, pIndex, KEL_BYTEORDER_HOST,
                                  static_cast<uint8_t*>(pArray) + aOffset, aCount);
}

Kel_StatusCode Kel_Memory_DataToArray(const Kel_Memory_Context* pMemory, uint32_t* pIndex,
                                      Kel_Memory_Context* pArrayMemory, uint32_t aOffset, uint32_t aCount)
{
    KEL_ENTER(Kel_Module_Memory);
    KEL_REJECT_NULL(pArrayMemory);
    Kel_StatusCode status = Kel_Good;
    const uint32_t arraySize = pArrayMemory->size > 0 ? static_cast<uint32_t>(pArrayMemory->size) : 0;
    KEL_GOTO_IF_BAD(status,
                    Kel_Memory_DataToArray2(pMemory, pIndex, pArrayMemory->data, aOffset, arraySize, aCount));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Memory_StringToData(const char* pValue, uint32_t aOffset, uint32_t aArraySize,
                                       Kel_Memory_Context* pMemory, uint32_t* pIndex, uint32_t aCount)
{
    return Kel_Memory_ArrayToData2(pValue, aOffset, aArraySize, pMemory, pIndex, aCount);
}

Kel_StatusCode Kel_Memory_DataToString(const Kel_Memory_Context* pMemory, uint32_t* pIndex, char* pArray,
                                       uint32_t aOffset, uint32_t aArraySize, uint32_t aCount)
{
    const Kel_StatusCode status =
        Kel_Memory_DataToArray2(pMemory, pIndex, pArray, aOffset, aArraySize, aCount);
    // The terminator goes into the last byte of the destination, not after the bytes read.
    if (Kel_IsGood(status) && aArraySize >= 1 && pArray != KEL_NULL)
        pArray[aArraySize - 1] = '\0';
    return status;
}

Kel_StatusCode Kel_Memory_CrcModbusCalc(const uint8_t* data, int32_t aLength, uint16_t* pCrc)
{
    KEL_ENTER(Kel_Module_Memory);
    KEL_REJECT_NULL(data);
    KEL_REJECT_NULL(pCrc);
    uint16_t crc = 0xFFFF;
    for (int32_t i = 0; i < aLength; ++i)
    {
        crc ^= data[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1u) != 0 ? static_cast<uint16_t>((crc >> 1) ^ 0xA001u)
                                  : static_cast<uint16_t>(crc >> 1);
    }
    *pCrc = crc;
    KEL_EXIT(Kel_Good);
}
