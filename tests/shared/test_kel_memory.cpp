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
    // Appends a value, compares the bytes it added and reads it back from where they start.
    auto roundTrip = [&]<typename T>(auto aWrite, auto aRead, T aValue, uint32_t aOrder, const Bytes& aBytes)
    {
        uint32_t cursor = index;
        ASSERT_EQ(aWrite(aValue, &memory, &index, aOrder), Kel_Good);
        EXPECT_EQ(Bytes(memory.data + cursor, memory.data + index), aBytes);
        T back{};
        ASSERT_EQ(aRead(&memory, &cursor, aOrder, &back), Kel_Good);
        EXPECT_EQ(back, aValue);
        EXPECT_EQ(cursor, index);
    };
    // Host order (0) is little-endian, reverse order (1) big-endian; a growing buffer doubles the need.
    roundTrip(Kel_Memory_UInt16ToData, Kel_Memory_DataToUInt16, uint16_t{0x1234}, KEL_BYTEORDER_HOST,
              {0x34, 0x12});
    EXPECT_EQ(memory.size, 4);
    EXPECT_EQ(Contents(memory, 4), (Bytes{0x34, 0x12, 0x00, 0x00})); // the added bytes are zeroed
    roundTrip(Kel_Memory_UInt16ToData, Kel_Memory_DataToUInt16, uint16_t{0x1234}, KEL_BYTEORDER_REVERSE,
              {0x12, 0x34});
    roundTrip(Kel_Memory_UInt24ToData, Kel_Memory_DataToUInt24, 0x00ABCDEFu, 1, {0xAB, 0xCD, 0xEF});
    roundTrip(Kel_Memory_UInt24ToData, Kel_Memory_DataToUInt24, 0x00ABCDEFu, 0, {0xEF, 0xCD, 0xAB});
    roundTrip(Kel_Memory_UInt32ToData, Kel_Memory_DataToUInt32, 0xA1B2C3D4u, 1, {0xA1, 0xB2, 0xC3, 0xD4});
    roundTrip(Kel_Memory_UInt32ToData, Kel_Memory_DataToUInt32, 0xA1B2C3D4u, 0, {0xD4, 0xC3, 0xB2, 0xA1});
    roundTrip(Kel_Memory_UInt48ToData, Kel_Memory_DataToUInt48, uint64_t{0x112233445566}, 1,
              {0x11, 0x22, 0x33, 0x44, 0x55, 0x66});
    roundTrip(Kel_Memory_UInt48ToData, Kel_Memory_DataToUInt48, uint64_t{0x112233445566}, 0,
              {0x66, 0x55, 0x44, 0x33, 0x22, 0x11});
    roundTrip(Kel_Memory_Int16ToData, Kel_Memory_DataToInt16, int16_t{-2}, 0, {0xFE, 0xFF});
    roundTrip(Kel_Memory_FloatToData, Kel_Memory_DataToFloat, 1.0f, 0, {0x00, 0x00, 0x80, 0x3F});
    roundTrip(Kel_Memory_DoubleToData, Kel_Memory_DataToDouble, -2.0, 1, {0xC0, 0, 0, 0, 0, 0, 0, 0});
    roundTrip([](int8_t aValue, Kel_Memory_Context* pMemory, uint32_t* pIndex, uint32_t)
              { return Kel_Memory_Int8ToData(aValue, pMemory, pIndex); },
              [](const Kel_Memory_Context* pMemory, uint32_t* pIndex, uint32_t, int8_t* pValue)
              { return Kel_Memory_DataToInt8(pMemory, pIndex, pValue); },
              int8_t{-1}, 0, {0xFF});
    EXPECT_EQ(Contents(memory, 4), (Bytes{0x34, 0x12, 0x12, 0x34})); // kept through every growth
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
