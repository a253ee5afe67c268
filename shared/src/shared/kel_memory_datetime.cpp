// The binary date-time layouts of the data buffer: year-2000, month, day, hour, minute, second, and
// (in the 8-byte form) milliseconds as 16 bits. An empty date, and a year outside 2000..2255, is
// written as zero bytes; zero bytes read back as the empty date.
#define KEL_TRACE_FILE "shared/src/shared/kel_memory"
#include "shared/kel_memory.h"

#include "shared/kel_trace.h"
#include "shared/kel_utils.h"

namespace
{
struct Fields
{
    uint16_t year;
    uint8_t month, day, hour, minute, second;
    uint16_t millisecond;
};

// Decodes the record into the fields that go on the wire; all zero for an empty or out-of-range date.
Kel_StatusCode ToFields(const DateTime* pValue, Fields* pFields)
{
    *pFields = Fields{};
    if (Kel_Utils_IsEmptyDate(pValue) != 0)
        return Kel_Good;
    uint16_t year = 0;
    Fields fields{};
    const Kel_StatusCode status =
        Kel_Utils_DecodeDateTime(pValue, &year, &fields.month, &fields.day, &fields.hour, &fields.minute,
                                 &fields.second, &fields.millisecond);
    if (Kel_IsBad(status))
        return status;
    fields.year = static_cast<uint16_t>(year - 2000);
    if (fields.year > 255)
        return Kel_Good;
    *pFields = fields;
    return Kel_Good;
}

Kel_StatusCode WriteFields(const Fields& aFields, Kel_Memory_Context* pMemory, uint32_t* pOffset)
{
    const uint8_t bytes[6] = {static_cast<uint8_t>(aFields.year),
                              aFields.month,
                              aFields.day,
                              aFields.hour,
                              aFields.minute,
                              aFields.second};
    for (uint8_t byte : bytes)
    {
        const Kel_StatusCode status = Kel_Memory_UInt8ToData(byte, pMemory, pOffset);
        if (Kel_IsBad(status))
            return status;
    }
    return Kel_Good;
}

Kel_StatusCode ReadFields(const Kel_Memory_Context* pMemory, uint32_t* pOffset, Fields* pFields)
{
    uint8_t bytes[6] = {};
    for (uint8_t& byte : bytes)
    {
        const Kel_StatusCode status = Kel_Memory_DataToUInt8(pMemory, pOffset, &byte);
        if (Kel_IsBad(status))
            return status;
    }
    pFields->year = bytes[0];
    pFields->month = bytes[1];
    pFields->day = bytes[2];
    pFields->hour = bytes[3];
    pFields->minute = bytes[4];
    pFields->second = bytes[5];
    return Kel_Good;
}

Kel_StatusCode FromFields(const Fields& aFields, DateTime* pValue)
{
    if (aFields.year == 0 && aFields.month == 0 && aFields.day == 0 && aFields.hour == 0 &&
        aFields.minute == 0 && aFields.second == 0 && aFields.millisecond == 0)
        return Kel_Good;
    return Kel_Utils_CreateDateTime(static_cast<uint16_t>(2000 + aFields.year), aFields.month, aFields.day,
                                    aFields.hour, aFields.minute, aFields.second, aFields.millisecond,
                                    pValue);
}
} // namespace

Kel_StatusCode Kel_Memory_DateTimeToData(const DateTime* pValue, Kel_Memory_Context* pMemory,
                                         uint32_t* pOffset, uint32_t aByteOrder)
{
    KEL_ENTER(Kel_Module_Memory);
    KEL_REJECT_NULL(pValue);
    KEL_REJECT_NULL_AS(pMemory, "pDestinationMemoryContext");
    KEL_REJECT_NULL(pOffset);
    Kel_StatusCode status = Kel_Good;
    Fields fields{};
    KEL_GOTO_IF_BAD(status, ToFields(pValue, &fields));
    KEL_GOTO_IF_BAD(status, WriteFields(fields, pMemory, pOffset));
    KEL_GOTO_IF_BAD(status, Kel_Memory_UInt16ToData(fields.millisecond, pMemory, pOffset, aByteOrder));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Memory_DataToDateTime(const Kel_Memory_Context* pMemory, uint32_t* pOffset,
                                         uint32_t aByteOrder, DateTime* pValue)
{
    KEL_ENTER(Kel_Module_Memory);
    KEL_REJECT_NULL_AS(pMemory, "pSourceMemoryContext");
    KEL_REJECT_NULL(pOffset);
    KEL_REJECT_NULL(pValue);
    *pValue = DateTime{};
    Kel_StatusCode status = Kel_Good;
    Fields fields{};
    KEL_GOTO_IF_BAD(status, ReadFields(pMemory, pOffset, &fields));
    KEL_GOTO_IF_BAD(status, Kel_Memory_DataToUInt16(pMemory, pOffset, aByteOrder, &fields.millisecond));
    KEL_GOTO_IF_BAD(status, FromFields(fields, pValue));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Memory_DateTimeToData2(const DateTime* pValue, Kel_Memory_Context* pMemory,
                                          uint32_t* pOffset)
{
    KEL_ENTER(Kel_Module_Memory);
    KEL_REJECT_NULL(pValue);
    KEL_REJECT_NULL_AS(pMemory, "pDestinationMemoryContext");
    KEL_REJECT_NULL(pOffset);
    Kel_StatusCode status = Kel_Good;
    Fields fields{};
    KEL_GOTO_IF_BAD(status, ToFields(pValue, &fields));
    KEL_GOTO_IF_BAD(status, WriteFields(fields, pMemory, pOffset));
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Memory_DataToDateTime2(const Kel_Memory_Context* pMemory, uint32_t* pOffset,
                                          DateTime* pValue)
{
    KEL_ENTER(Kel_Module_Memory);
    KEL_REJECT_NULL_AS(pMemory, "pSourceMemoryContext");
    KEL_REJECT_NULL(pOffset);
    KEL_REJECT_NULL(pValue);
    *pValue = DateTime{};
    Kel_StatusCode status = Kel_Good;
    Fields fields{};
    KEL_GOTO_IF_BAD(status, ReadFields(pMemory, pOffset, &fields));
    fields.millisecond = 0;
    KEL_GOTO_IF_BAD(status, FromFields(fields, pValue));
    KEL_EXIT(status);
}
