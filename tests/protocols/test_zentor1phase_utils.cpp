// Byte orders and BCD of the single-phase meter protocol.
#include "protocols/orlenta/1phase/kel_zentor1phase_utils.h"

#include "shared/kel_utils.h"

#include <gtest/gtest.h>

#include <array>

TEST(Zentor1PhaseUtils, ByteOrders)
{
    std::array<uint8_t, 8> buffer{};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_UnpackUInt32(buffer.data(), 8, 1, 0x11223344u), Kel_Good);
    EXPECT_EQ(buffer, (std::array<uint8_t, 8>{0x00, 0x11, 0x22, 0x33, 0x44, 0x00, 0x00, 0x00}));
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PutUInt32(buffer.data(), 8, 4, 0xA1B2C3D4u), Kel_Good);
    EXPECT_EQ(buffer, (std::array<uint8_t, 8>{0x00, 0x11, 0x22, 0x33, 0xD4, 0xC3, 0xB2, 0xA1}));

    uint32_t value32 = 0;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PackUInt32(buffer.data(), 8, 2, &value32), Kel_Good);
    EXPECT_EQ(value32, 0x2233D4C3u);
    uint16_t value16 = 0;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PackUInt16(buffer.data(), 8, 5, &value16), Kel_Good);
    EXPECT_EQ(value16, 0xC3B2u);

    EXPECT_EQ(Kel_Zentor1Phase_Utils_PackUInt16(nullptr, 8, 0, &value16), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_UnpackUInt32(nullptr, 8, 0, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PutUInt32(nullptr, 8, 0, 1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PackUInt32(nullptr, 8, 0, &value32), Kel_BadInvalidArgument);
}

TEST(Zentor1PhaseUtils, OffsetsWrapAt65536)
{
    std::array<uint8_t, 4> buffer{0x01, 0x02, 0x03, 0x04};
    uint32_t value = 0;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_PackUInt32(buffer.data(), 4, 0x10000u, &value), Kel_Good);
    EXPECT_EQ(value, 0x01020304u);
}

TEST(Zentor1PhaseUtils, BcdToByteKeepsTheMetersTolerance)
{
    uint8_t value = 0xEE;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0x99, &value), Kel_Good);
    EXPECT_EQ(value, 99);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0x00, &value), Kel_Good);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0x3C, &value), Kel_Good);
    EXPECT_EQ(value, 42);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0x1A, &value), Kel_Good);
    EXPECT_EQ(value, 20);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0x0F, &value), Kel_Good);
    EXPECT_EQ(value, 15);
    value = 0xEE;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0x9A, &value), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0xFF, &value), Kel_BadInvalidArgument);
    EXPECT_EQ(value, 0xEE);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_BCD2Byte(0x12, nullptr), Kel_BadInvalidArgument);
}

TEST(Zentor1PhaseUtils, ByteToBcd)
{
    uint8_t byte = 0xEE;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_Byte2BCD(7, &byte), Kel_Good);
    EXPECT_EQ(byte, 0x07);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_Byte2BCD(99, &byte), Kel_Good);
    EXPECT_EQ(byte, 0x99);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_Byte2BCD(40, &byte), Kel_Good);
    EXPECT_EQ(byte, 0x40);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_Byte2BCD(100, &byte), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_Byte2BCD(356, &byte), Kel_BadInvalidArgument);
    EXPECT_EQ(byte, 0x40);
}

namespace
{
DateTime Date(uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour, uint8_t aMinute, uint8_t aSecond)
{
    DateTime date{};
    EXPECT_EQ(Kel_Utils_CreateDateTime(aYear, aMonth, aDay, aHour, aMinute, aSecond, 0, &date), Kel_Good);
    return date;
}
} // namespace

TEST(Zentor1PhaseUtils, DateTimeFromBufferAndTheCenturyRule)
{
    // second, minute, hour, (not read), day, month, year behind two other bytes
    const uint8_t buffer[] = {0xAA, 0xBB, 0x59, 0x35, 0x14, 0xFF, 0x28, 0x02, 0x24};
    DateTime date{};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_DateTimeFromBuffer(buffer, sizeof(buffer), 2, &date), Kel_Good);
    EXPECT_EQ(date.seconds, Date(2024, 2, 28, 14, 35, 59).seconds);

    const uint8_t nineteen51[] = {0x00, 0x00, 0x00, 0x00, 0x01, 0x01, 0x51};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_DateTimeFromBuffer(nineteen51, 7, 0, &date), Kel_Good);
    EXPECT_EQ(date.seconds, Date(1951, 1, 1, 0, 0, 0).seconds);
    // 0x50 is 2050, past the 32-bit DateTime: the date module's refusal comes back (1950 would fit).
    const uint8_t twenty50[] = {0x00, 0x00, 0x00, 0x00, 0x01, 0x01, 0x50};
    DateTime unused{};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_DateTimeFromBuffer(twenty50, 7, 0, &date),
              Kel_Utils_CreateDateTime(2050, 1, 1, 0, 0, 0, 0, &unused));
    EXPECT_TRUE(Kel_IsBad(Kel_Zentor1Phase_Utils_DateTimeFromBuffer(twenty50, 7, 0, &date)));

    const uint8_t notBcd[] = {0x00, 0x00, 0x00, 0x00, 0x01, 0xA1, 0x24};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_DateTimeFromBuffer(notBcd, 7, 0, &date), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_DateTimeFromBuffer(nullptr, 7, 0, &date), Kel_BadInvalidArgument);
}

TEST(Zentor1PhaseUtils, GetTimeChecksItsFieldsAndUsesThisCentury)
{
    DateTime date{};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 2, 28, 14, 35, 59, &date), 1u);
    EXPECT_EQ(date.seconds, Date(2024, 2, 28, 14, 35, 59).seconds);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(37, 12, 31, 23, 59, 59, &date), 1u);
    EXPECT_EQ(date.seconds, Date(2037, 12, 31, 23, 59, 59).seconds);
    const DateTime kept = date;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 0, 1, 0, 0, 0, &date), 0u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 13, 1, 0, 0, 0, &date), 0u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 1, 0, 0, 0, 0, &date), 0u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 1, 32, 0, 0, 0, &date), 0u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 1, 1, 24, 0, 0, &date), 0u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 1, 1, 0, 60, 0, &date), 0u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 1, 1, 0, 0, 60, &date), 0u);
    EXPECT_EQ(date.seconds, kept.seconds);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetTime(24, 1, 1, 0, 0, 0, nullptr), 0u);
}
