// The data buffer: growth, byte orders, bounds, arrays and strings, CRC-16/MODBUS.
#include "shared/kel_memory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace
{
std::vector<uint8_t> Bytes(const Kel_Memory_Context& aMemory, uint32_t aCount)
{
    return std::vector<uint8_t>(aMemory.data, aMemory.data + aCount);
}

struct OwnedBuffer : ::testing::Test
{
    Kel_Memory_Context memory{};
    uint32_t index = 0;
    void SetUp() override { ASSERT_EQ(Kel_Memory_Alloc(&memory, 0), Kel_Good); }
    void TearDown() override { Kel_Memory_Free(&memory); }
};
} // namespace

TEST_F(OwnedBuffer, GrowsToTwiceTheRequirement)
{
    EXPECT_EQ(memory.size, 0);
    EXPECT_EQ(memory.owned, 1u);
    ASSERT_EQ(Kel_Memory_UInt16ToData(0x1234, &memory, &index, KEL_BYTEORDER_HOST), Kel_Good);
    EXPECT_EQ(memory.size, 4);
    EXPECT_EQ(index, 2u);
    // The added bytes are zeroed.
    EXPECT_EQ(Bytes(memory, 4), (std::vector<uint8_t>{0x34, 0x12, 0x00, 0x00}));
    ASSERT_EQ(Kel_Memory_UInt32ToData(0xA1B2C3D4u, &memory, &index, KEL_BYTEORDER_REVERSE), Kel_Good);
    EXPECT_EQ(memory.size, 12);
    EXPECT_EQ(Bytes(memory, 6), (std::vector<uint8_t>{0x34, 0x12, 0xA1, 0xB2, 0xC3, 0xD4}));
}

TEST_F(OwnedBuffer, EveryWidthInBothByteOrders)
{
    ASSERT_EQ(Kel_Memory_UInt16ToData(0x1234, &memory, &index, 1), Kel_Good);
    ASSERT_EQ(Kel_Memory_UInt24ToData(0x00ABCDEF, &memory, &index, 1), Kel_Good);
    ASSERT_EQ(Kel_Memory_UInt24ToData(0x00ABCDEF, &memory, &index, 0), Kel_Good);
    ASSERT_EQ(Kel_Memory_UInt48ToData(0x0000112233445566ull, &memory, &index, 1), Kel_Good);
    ASSERT_EQ(Kel_Memory_UInt48ToData(0x0000112233445566ull, &memory, &index, 0), Kel_Good);
    ASSERT_EQ(Kel_Memory_Int16ToData(-2, &memory, &index, 1), Kel_Good);
    ASSERT_EQ(Kel_Memory_FloatToData(1.0f, &memory, &index, 1), Kel_Good);
    ASSERT_EQ(Kel_Memory_DoubleToData(-2.0, &memory, &index, 0), Kel_Good);
    ASSERT_EQ(Kel_Memory_Int8ToData(-1, &memory, &index), Kel_Good);
    EXPECT_EQ(index, 2u + 3 + 3 + 6 + 6 + 2 + 4 + 8 + 1);
    EXPECT_EQ(Bytes(memory, index),
              (std::vector<uint8_t>{0x12, 0x34, 0xAB, 0xCD, 0xEF, 0xEF, 0xCD, 0xAB, 0x11, 0x22, 0x33, 0x44,
                                    0x55, 0x66, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11, 0xFF, 0xFE, 0x3F, 0x80,
                                    0x00, 0x00, 0,    0,    0,    0,    0,    0,    0x00, 0xC0, 0xFF}));

    uint32_t cursor = 0;
    uint16_t u16 = 0;
    uint32_t u24a = 0, u24b = 0;
    uint64_t u48a = 0, u48b = 0;
    int16_t i16 = 0;
    float f = 0;
    double d = 0;
    int8_t i8 = 0;
    ASSERT_EQ(Kel_Memory_DataToUInt16(&memory, &cursor, 1, &u16), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToUInt24(&memory, &cursor, 1, &u24a), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToUInt24(&memory, &cursor, 0, &u24b), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToUInt48(&memory, &cursor, 1, &u48a), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToUInt48(&memory, &cursor, 0, &u48b), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToInt16(&memory, &cursor, 1, &i16), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToFloat(&memory, &cursor, 1, &f), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToDouble(&memory, &cursor, 0, &d), Kel_Good);
    ASSERT_EQ(Kel_Memory_DataToInt8(&memory, &cursor, &i8), Kel_Good);
    EXPECT_EQ(u16, 0x1234);
    EXPECT_EQ(u24a, 0x00ABCDEFu);
    EXPECT_EQ(u24b, 0x00ABCDEFu);
    EXPECT_EQ(u48a, 0x0000112233445566ull);
    EXPECT_EQ(u48b, 0x0000112233445566ull);
    EXPECT_EQ(i16, -2);
    EXPECT_EQ(f, 1.0f);
    EXPECT_EQ(d, -2.0);
    EXPECT_EQ(i8, -1);
    EXPECT_EQ(cursor, index);
}

TEST(Memory, ReadPastTheEndFailsAndLeavesTheCursor)
{
    uint8_t area[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    Kel_Memory_Context memory{};
    ASSERT_EQ(Kel_Memory_CreateContext(&memory, area, 8), Kel_Good);
    EXPECT_EQ(memory.owned, 0u);
    uint32_t cursor = 5;
    uint32_t value = 0xDEADBEEF;
    EXPECT_EQ(Kel_Memory_DataToUInt32(&memory, &cursor, 0, &value), Kel_Bad);
    EXPECT_EQ(cursor, 5u);
    EXPECT_EQ(value, 0xDEADBEEFu);
    EXPECT_EQ(Kel_Memory_DataToUInt32(&memory, nullptr, 0, &value), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Memory_DataToUInt32(nullptr, &cursor, 0, &value), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Memory_DataToUInt32(&memory, &cursor, 0, nullptr), Kel_BadInvalidArgument);
    cursor = 4;
    EXPECT_EQ(Kel_Memory_DataToUInt32(&memory, &cursor, 1, &value), Kel_Good);
    EXPECT_EQ(value, 0x05060708u);
    EXPECT_EQ(cursor, 8u);
}

TEST(Memory, CallerOwnedAreaDoesNotGrow)
{
    uint8_t area[4] = {0xAA, 0xAA, 0xAA, 0xAA};
    Kel_Memory_Context memory{};
    Kel_Memory_CreateContext(&memory, area, 4);
    uint32_t cursor = 2;
    EXPECT_EQ(Kel_Memory_UInt32ToData(0x11223344u, &memory, &cursor, 0), Kel_BadOutOfMemory);
    EXPECT_EQ(cursor, 2u);
    EXPECT_EQ(memory.data, area);
    EXPECT_EQ(memory.size, 4);
    EXPECT_EQ(area[2], 0xAA);
    EXPECT_EQ(Kel_Memory_Realloc(&memory, 100), Kel_BadOutOfMemory);
    EXPECT_EQ(Kel_Memory_UInt16ToData(0x1122, &memory, &cursor, 0), Kel_Good);
    EXPECT_EQ(area[2], 0x22);
    EXPECT_EQ(area[3], 0x11);
    // Freeing a caller's area only forgets it.
    EXPECT_EQ(Kel_Memory_Free(&memory), Kel_Good);
    EXPECT_EQ(memory.data, nullptr);
    EXPECT_EQ(memory.size, 0);
}

TEST(Memory, AllocAndReallocZeroFill)
{
    Kel_Memory_Context memory{};
    ASSERT_EQ(Kel_Memory_Alloc(&memory, -5), Kel_Good);
    EXPECT_EQ(memory.size, 0);
    ASSERT_EQ(Kel_Memory_Realloc(&memory, 3), Kel_Good);
    memory.data[0] = memory.data[1] = memory.data[2] = 0x77;
    ASSERT_EQ(Kel_Memory_Realloc(&memory, 6), Kel_Good);
    EXPECT_EQ(Bytes(memory, 6), (std::vector<uint8_t>{0x77, 0x77, 0x77, 0, 0, 0}));
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
    Kel_Memory_Context memory{};
    Kel_Memory_Alloc(&memory, 0);
    uint32_t index = 0;
    // The writer's bound test compares the count alone with the array size.
    ASSERT_EQ(Kel_Memory_ArrayToData2(source, 6, 4, &memory, &index, 4), Kel_Good);
    EXPECT_EQ(Bytes(memory, 4), (std::vector<uint8_t>{'6', '7', '8', '9'}));
    EXPECT_EQ(Kel_Memory_ArrayToData2(source, 0, 3, &memory, &index, 4), Kel_Bad);
    EXPECT_EQ(Kel_Memory_ArrayToData2(nullptr, 0, 3, &memory, &index, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Memory_ArrayToData2(source, 0, 3, nullptr, &index, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Memory_ArrayToData2(source, 0, 3, &memory, &index, 0), Kel_Good);
    EXPECT_EQ(index, 4u);
    ASSERT_EQ(Kel_Memory_StringToData("ABC", 0, 3, &memory, &index, 3), Kel_Good);
    EXPECT_EQ(index, 7u);

    // The reader's bound test adds the offset.
    uint8_t out[4] = {};
    uint32_t cursor = 0;
    EXPECT_EQ(Kel_Memory_DataToArray2(&memory, &cursor, out, 1, 4, 4), Kel_Bad);
    EXPECT_EQ(cursor, 0u);
    ASSERT_EQ(Kel_Memory_DataToArray2(&memory, &cursor, out, 1, 4, 3), Kel_Good);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[1], '6');
    EXPECT_EQ(out[3], '8');

    // DataToString terminates in the last byte of the destination, not after the bytes read.
    char text[10];
    memset(text, '#', sizeof(text));
    cursor = 4;
    ASSERT_EQ(Kel_Memory_DataToString(&memory, &cursor, text, 0, 10, 3), Kel_Good);
    EXPECT_EQ(std::string(text, 3), "ABC");
    for (int i = 3; i < 9; ++i)
        EXPECT_EQ(text[i], '#') << i;
    EXPECT_EQ(text[9], '\0');

    Kel_Memory_Context target{};
    Kel_Memory_Alloc(&target, 5);
    cursor = 0;
    ASSERT_EQ(Kel_Memory_DataToArray(&memory, &cursor, &target, 2, 3), Kel_Good);
    EXPECT_EQ(Bytes(target, 5), (std::vector<uint8_t>{0, 0, '6', '7', '8'}));
    uint32_t outIndex = 0;
    Kel_Memory_Context copy{};
    Kel_Memory_Alloc(&copy, 0);
    ASSERT_EQ(Kel_Memory_ArrayToData(&target, 2, &copy, &outIndex, 3), Kel_Good);
    EXPECT_EQ(Bytes(copy, 3), (std::vector<uint8_t>{'6', '7', '8'}));
    Kel_Memory_Free(&copy);
    Kel_Memory_Free(&target);
    Kel_Memory_Free(&memory);
}

TEST(Memory, CrcModbus)
{
    const uint8_t digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    uint16_t crc = 0;
    ASSERT_EQ(Kel_Memory_CrcModbusCalc(digits, 9, &crc), Kel_Good);
    EXPECT_EQ(crc, 0x4B37);
    ASSERT_EQ(Kel_Memory_CrcModbusCalc(digits, 0, &crc), Kel_Good);
    EXPECT_EQ(crc, 0xFFFF);
    ASSERT_EQ(Kel_Memory_CrcModbusCalc(digits, -1, &crc), Kel_Good);
    EXPECT_EQ(crc, 0xFFFF);
    // A second external vector: the frame 01 03 00 00 00 01 is sent with its CRC as 84 0A.
    const uint8_t frame[] = {0x01, 0x03, 0x00, 0x00, 0x00, 0x01};
    ASSERT_EQ(Kel_Memory_CrcModbusCalc(frame, 6, &crc), Kel_Good);
    EXPECT_EQ(crc, 0x0A84);
    EXPECT_EQ(Kel_Memory_CrcModbusCalc(nullptr, 1, &crc), Kel_BadInvalidArgument);
}
