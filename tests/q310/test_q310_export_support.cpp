// The compile-time Windows-1251 texts, byte for byte, and the failure exit of the exports: message with
// its terminator into outErr, result 0, nothing written past the terminator.
#define KEL_TRACE_FILE "Q310"
#include "Q310/q310_export_support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{
std::string Bytes(const char* pText, size_t aLength)
{
    return std::string(pText, aLength);
}

constexpr auto kOpenText = Q310_Cp1251("Запрос на открытие канала связи со счетчиком: Ошибка.");
static_assert(kOpenText.length == 53);
static_assert(Q310_Cp1251("ASCII only").length == 10);
static_assert(Q310_Cp1251("").length == 0);

TEST(Cp1251, HostMessageBytes)
{
    EXPECT_EQ(
        Bytes(kOpenText.c_str(), kOpenText.length + 1),
        std::string("\xC7\xE0\xEF\xF0\xEE\xF1\x20\xED\xE0\x20\xEE\xF2\xEA\xF0\xFB\xF2\xE8\xE5\x20\xEA\xE0"
                    "\xED\xE0\xEB\xE0\x20\xF1\xE2\xFF\xE7\xE8\x20\xF1\xEE\x20\xF1\xF7\xE5\xF2\xF7\xE8\xEA"
                    "\xEE\xEC\x3A\x20\xCE\xF8\xE8\xE1\xEA\xE0\x2E",
                    54));
}

TEST(Cp1251, BlockEdgesAndTheLettersOutsideIt)
{
    // А and Я, а and я close the block; Ё, ё and № lie outside it; ASCII passes unchanged.
    constexpr auto text = Q310_Cp1251("АЯаяЁё№ z");
    EXPECT_EQ(Bytes(text.c_str(), text.length), std::string("\xC0\xDF\xE0\xFF\xA8\xB8\xB9\x20\x7A"));
    constexpr auto sunday = Q310_Cp1251("Воскресенье");
    EXPECT_EQ(sunday.length, 11u);
    EXPECT_EQ(Bytes(sunday.c_str(), sunday.length),
              std::string("\xC2\xEE\xF1\xEA\xF0\xE5\xF1\xE5\xED\xFC\xE5"));
}

TEST(Cp1251, FailureExitWritesTheMessageAndReturnsZero)
{
    char outErr[80];
    memset(outErr, 0x7E, sizeof(outErr));
    const Kel_TraceScope scope{Kel_Module_ZentorProtocolClient, "_eOpen", KEL_TRACE_FILE};
    EXPECT_EQ(Q310_FailWith(scope, __LINE__, Kel_BadTimeout, outErr, kOpenText), 0);
    EXPECT_EQ(Bytes(outErr, 54), Bytes(kOpenText.c_str(), 54));
    EXPECT_EQ(outErr[54], '\x7E');
}
} // namespace
