// The data buffer: every width in both byte orders written and read back byte-exact, growth, bounds,
// arrays and strings, and CRC-16/MODBUS.
#include "shared/kel_memory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace
{
using Bytes = std::vector<uint8_t>;

Bytes Contents(const Kel_Memory_Context& aMemory, uint32_t aCount)
{
    return Bytes(aMemory.data, aMemory.data + aCount);
}
} // namespace

TEST(Memory, EveryWidthInBothByteOrdersAndGrowth)
{
    Kel_Memory_Context memory{};
    ASSERT_EQ(Kel_Memory_Alloc(&memory, 0), Kel_Good);
    uint32_t index = 0;
    // Host order (0) is little-endian, reverse order (1) big-endian; a growing buffer doubles the need.
    ASSERT_EQ(Kel_Memory_UInt16ToData(0x1234, &memory, &index, KEL_BYTEORDER_HOST), Kel_Good);
    EXPECT_EQ(memory.size, 4);
    EXPECT_EQ(Contents(memory, 4), (Bytes{0x34, 0x12, 0x00, 0x00})); // the added bytes are zeroed
    ASSERT_EQ(Kel_Memory_UInt16ToData(0x1234, &memory, &index, KEL_BYTEORDER_REVERSE), Kel_Good);
    ASSERT_EQ(Kel_Memory_UInt24ToData(0x00ABCDEF, &memory, &index, 1), Kel_Good);
    ASSERT_EQ(Kel_Memory_UInt24ToData(0x00ABCDEF, &memory, &index, 0), Kel_Good);
    ASSERT_EQ(Kel_Memory_UInt32ToData(0xA1B2C3D4u, &memory, &index, 1), Kel_Good);
    ASSERT_EQ(Kel_Memory_UInt32ToData(0xA1B2C3D4u, &memory, &index, 0), Kel_Good);
    ASSERT_EQ(Kel_Memory_UInt48ToData(0x0000112233445566ull, &memory, &index, 1), Kel_Good);
    ASSERT_EQ(Kel_Memory_UInt48ToData(0x0000112233445566ull, &memory, &index, 0), Kel_Good);
    ASSERT_EQ(Kel_Memory_Int16ToData(-2, &memory, &index, 0), Kel_Good);
    ASSERT_EQ(Kel_Memory_FloatToData(1.0f, &memory, &index, 0), Kel_Good);
    ASSERT_EQ(Kel_Memory_DoubleToData(-2.0, &memory, &index, 1), Kel_Good);
    ASSERT_EQ(Kel_Memory_Int8ToData(-1, &memory, &index), Kel_Good);
    EXPECT_EQ(
        Contents(memory, index),
        (Bytes{0x34, 0x12, 0x12, 0x34, 0xAB, 0xCD, 0xEF, 0xEF, 0xCD, 0xAB, 0xA1, 0xB2, 0xC3, 0xD4, 0xD4,
               0xC3, 0xB2, 0xA1, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11,
               0xFE, 0xFF, 0x00, 0x00, 0x80, 0x3F, 0xC0, 0,    0,    0,    0,    0,    0,    0,    0xFF}));

    uint32_t cursor = 0, u24a = 0, u24b = 0, u32a = 0, u32b = 0;
    uint16_t u16a = 0, u16b = 0;
    uint64_t u48a = 0, u48b = 0;
    int16_t i16 = 0;
    float f = 0;
    double d = 0;
    int8_t i8 = 0;
    ASSERT_EQ(Kel_Memory_DataToUInt16(&memory, &cursor, 0, &u16a), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToUInt16(&memory, &cursor, 1, &u16b), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToUInt24(&memory, &cursor, 1, &u24a), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToUInt24(&memory, &cursor, 0, &u24b), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToUInt32(&memory, &cursor, 1, &u32a), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToUInt32(&memory, &cursor, 0, &u32b), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToUInt48(&memory, &cursor, 1, &u48a), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToUInt48(&memory, &cursor, 0, &u48b), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToInt16(&memory, &cursor, 0, &i16), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToFloat(&memory, &cursor, 0, &f), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToDouble(&memory, &cursor, 1, &d), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToInt8(&memory, &cursor, &i8), Kel_Good);
    EXPECT_EQ(u16a + (static_cast<uint32_t>(u16b) << 16), 0x12341234u);
    EXPECT_EQ(u24a + (static_cast<uint64_t>(u24b) << 32), 0x00ABCDEF00ABCDEFull);
    EXPECT_EQ(u32a + (static_cast<uint64_t>(u32b) << 32), 0xA1B2C3D4A1B2C3D4ull);
    EXPECT_EQ(u48a ^ u48b, 0u);
    EXPECT_EQ(u48a, 0x0000112233445566ull);
    EXPECT_EQ(i16 * f * d * i8, -4.0);
    EXPECT_EQ(cursor, index);
    Kel_Memory_Free(&memory);
}

TEST(Memory, BoundsOfACallerArea)
{
    uint8_t area[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    Kel_Memory_Context memory{};
    ASSERT_EQ(Kel_Memory_CreateContext(&memory, area, 8), Kel_Good);
    // A read past the end fails and leaves the cursor and the value; one that just fits succeeds.
    uint32_t cursor = 5, value = 0xDEADBEEF;
    EXPECT_EQ(Kel_Memory_DataToUInt32(&memory, &cursor, 0, &value), Kel_Bad);
    EXPECT_EQ(cursor * 0x100000000ull + value, 5 * 0x100000000ull + 0xDEADBEEFu);
    cursor = 4;
    EXPECT_EQ(Kel_Memory_DataToUInt32(&memory, &cursor, 1, &value), Kel_Good);
    EXPECT_EQ(value, 0x05060708u);
    EXPECT_EQ(Kel_Memory_DataToUInt32(&memory, nullptr, 0, &value), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Memory_DataToUInt32(nullptr, &cursor, 0, &value), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Memory_DataToUInt32(&memory, &cursor, 0, nullptr), Kel_BadInvalidArgument);
    // A caller's area does not grow: a write past its end fails and changes nothing.
    cursor = 6;
    EXPECT_EQ(Kel_Memory_UInt32ToData(0x11223344u, &memory, &cursor, 0), Kel_BadOutOfMemory);
    EXPECT_EQ(Kel_Memory_Realloc(&memory, 100), Kel_BadOutOfMemory);
    EXPECT_EQ(Kel_Memory_UInt16ToData(0x1122, &memory, &cursor, 0), Kel_Good);
    EXPECT_EQ(Bytes(area, area + 8), (Bytes{1, 2, 3, 4, 5, 6, 0x22, 0x11}));
    EXPECT_EQ(Kel_Memory_Free(&memory), Kel_Good); // freeing a caller's area only forgets it
    EXPECT_EQ(memory.data, nullptr);

    ASSERT_EQ(Kel_Memory_Alloc(&memory, -5), Kel_Good);
    ASSERT_EQ(Kel_Memory_Realloc(&memory, 3), Kel_Good);
    memset(memory.data, 0x77, 3);
    ASSERT_EQ(Kel_Memory_Realloc(&memory, 6), Kel_Good);
    EXPECT_EQ(Contents(memory, 6), (Bytes{0x77, 0x77, 0x77, 0, 0, 0}));
    ASSERT_EQ(Kel_Memory_CheckDataSize(&memory, 6), Kel_Good);
    EXPECT_EQ(memory.size, 6);
    ASSERT_EQ(Kel_Memory_CheckDataSize(&memory, 7), Kel_Good);
    EXPECT_EQ(memory.size, 14);
    Kel_Memory_Free(&memory);
    EXPECT_EQ(Kel_Memory_Alloc(nullptr, 1), Kel_BadInvalidArgument);
}

TEST(Memory, ArraysAndStrings)
{
    const char source[] = "0123456789";
    Kel_Memory_Context memory{}, target{}, copy{};
    Kel_Memory_Alloc(&memory, 0);
    uint32_t index = 0, cursor = 0;
    // The writer's bound test compares the count alone with the array size.
    ASSERT_EQ(Kel_Memory_ArrayToData2(source, 6, 4, &memory, &index, 4), Kel_Good);
    EXPECT_EQ(Kel_Memory_ArrayToData2(source, 0, 3, &memory, &index, 4), Kel_Bad);
    EXPECT_EQ(Kel_Memory_ArrayToData2(nullptr, 0, 3, &memory, &index, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Memory_ArrayToData2(source, 0, 3, &memory, &index, 0), Kel_Good);
    ASSERT_EQ(Kel_Memory_StringToData("ABC", 0, 3, &memory, &index, 3), Kel_Good);
    EXPECT_EQ(Contents(memory, index), (Bytes{'6', '7', '8', '9', 'A', 'B', 'C'}));
    // The reader's bound test adds the offset.
    uint8_t out[4] = {};
    EXPECT_EQ(Kel_Memory_DataToArray2(&memory, &cursor, out, 1, 4, 4), Kel_Bad);
    ASSERT_EQ(Kel_Memory_DataToArray2(&memory, &cursor, out, 1, 4, 3), Kel_Good);
    EXPECT_EQ(Bytes(out, out + 4), (Bytes{0, '6', '7', '8'}));
    // DataToString terminates in the last byte of the destination, not after the bytes read.
    char text[10];
    memset(text, '#', sizeof(text));
    cursor = 4;
    ASSERT_EQ(Kel_Memory_DataToString(&memory, &cursor, text, 0, 10, 3), Kel_Good);
    EXPECT_EQ(std::string(text, 10), std::string("ABC######\0", 10));

    Kel_Memory_Alloc(&target, 5);
    cursor = 0;
    ASSERT_EQ(Kel_Memory_DataToArray(&memory, &cursor, &target, 2, 3), Kel_Good);
    EXPECT_EQ(Contents(target, 5), (Bytes{0, 0, '6', '7', '8'}));
    Kel_Memory_Alloc(&copy, 0);
    index = 0;
    ASSERT_EQ(Kel_Memory_ArrayToData(&target, 2, &copy, &index, 3), Kel_Good);
    EXPECT_EQ(Contents(copy, 3), (Bytes{'6', '7', '8'}));
    Kel_Memory_Free(&copy);
    Kel_Memory_Free(&target);
    Kel_Memory_Free(&memory);
}

TEST(Memory, CrcModbus)
{
    const uint8_t digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    // The check value, and the frame 01 03 00 00 00 01 that is sent with its CRC as 84 0A.
    const uint8_t frame[] = {0x01, 0x03, 0x00, 0x00, 0x00, 0x01};
    for (const auto& [data, size, expected] : {std::tuple{digits, 9, 0x4B37}, std::tuple{frame, 6, 0x0A84},
                                               std::tuple{digits, 0, 0xFFFF}, std::tuple{digits, -1, 0xFFFF}})
    {
        uint16_t crc = 0;
        ASSERT_EQ(Kel_Memory_CrcModbusCalc(data, size, &crc), Kel_Good);
        EXPECT_EQ(crc, expected) << size;
    }
    uint16_t crc = 0;
    EXPECT_EQ(Kel_Memory_CrcModbusCalc(nullptr, 1, &crc), Kel_BadInvalidArgument);
}
