// Hexadecimal text to bytes and back, for the test vectors of the data-protection tests.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kel_test
{
// Two hex digits per byte; blanks between bytes are allowed.
inline std::vector<uint8_t> FromHex(const std::string& aText)
{
    std::vector<uint8_t> bytes;
    int high = -1;
    for (char ch : aText)
    {
        int digit;
        if (ch >= '0' && ch <= '9')
            digit = ch - '0';
        else if (ch >= 'a' && ch <= 'f')
            digit = ch - 'a' + 10;
        else if (ch >= 'A' && ch <= 'F')
            digit = ch - 'A' + 10;
        else
            continue;
        if (high < 0)
            high = digit;
        else
        {
            bytes.push_back(static_cast<uint8_t>(high * 16 + digit));
            high = -1;
        }
    }
    return bytes;
}

// Lower-case hex without blanks.
inline std::string ToHex(const uint8_t* pData, size_t aSize)
{
    static const char Digits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < aSize; ++i)
    {
        text += Digits[pData[i] >> 4];
        text += Digits[pData[i] & 0x0F];
    }
    return text;
}

inline std::string ToHex(const std::vector<uint8_t>& aData)
{
    return ToHex(aData.data(), aData.size());
}
} // namespace kel_test
