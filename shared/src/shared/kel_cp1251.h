// Texts for the host in Windows-1251, written UTF-8 in the sources and converted once, at compile time:
//
//   static constexpr auto kWord = Kel_Cp1251("реле");   // kWord.text, kWord.length
#pragma once

#include <cstddef>
#include <cstdint>

// A text in Windows-1251, zero-terminated, in an array sized by its UTF-8 source (never shorter).
template <size_t N> struct Kel_Cp1251Text
{
    char text[N];
    size_t length; // bytes without the terminator

    constexpr const char* c_str() const { return text; }
};

namespace kel_cp1251_detail
{
// Windows-1251 byte of one code point of the Cyrillic block, of the few other letters the host texts
// use, or -1 for a code point the code page has not.
constexpr int Cp1251Byte(uint32_t aCodePoint)
{
    if (aCodePoint < 0x80)
        return static_cast<int>(aCodePoint);
    if (aCodePoint >= 0x0410 && aCodePoint <= 0x044F) // А..я
        return static_cast<int>(0xC0 + (aCodePoint - 0x0410));
    switch (aCodePoint)
    {
        case 0x0401: // Ё
            return 0xA8;
        case 0x0451: // ё
            return 0xB8;
        case 0x2116: // №
            return 0xB9;
        case 0x00AB: // «
            return 0xAB;
        case 0x00BB: // »
            return 0xBB;
        case 0x2013: // –
            return 0x96;
        case 0x2014: // —
            return 0x97;
        default:
            return -1;
    }
}
// Makes constant evaluation fail with this name in the compiler's message.
inline void Kel_TextHasCharacterOutsideWindows1251() {}
} // namespace kel_cp1251_detail

// UTF-8 to Windows-1251 at compile time; a character outside the code page, or malformed UTF-8, stops
// the build.
template <size_t N> consteval Kel_Cp1251Text<N> Kel_Cp1251(const char (&aUtf8)[N])
{
    Kel_Cp1251Text<N> result{};
    size_t out = 0;
    size_t i = 0;
    while (i + 1 < N && aUtf8[i] != '\0')
    {
        const uint8_t lead = static_cast<uint8_t>(aUtf8[i]);
        uint32_t codePoint = 0;
        size_t more = 0;
        if (lead < 0x80)
            codePoint = lead;
        else if ((lead & 0xE0) == 0xC0)
        {
            codePoint = lead & 0x1Fu;
            more = 1;
        }
        else if ((lead & 0xF0) == 0xE0)
        {
            codePoint = lead & 0x0Fu;
            more = 2;
        }
        else
            kel_cp1251_detail::Kel_TextHasCharacterOutsideWindows1251();
        for (size_t k = 1; k <= more; ++k)
        {
            const uint8_t next = static_cast<uint8_t>(aUtf8[i + k]);
            if ((next & 0xC0) != 0x80)
                kel_cp1251_detail::Kel_TextHasCharacterOutsideWindows1251();
            codePoint = (codePoint << 6) | (next & 0x3Fu);
        }
        const int byte = kel_cp1251_detail::Cp1251Byte(codePoint);
        if (byte < 0)
            kel_cp1251_detail::Kel_TextHasCharacterOutsideWindows1251();
        result.text[out++] = static_cast<char>(byte);
        i += more + 1;
    }
    result.text[out] = '\0';
    result.length = out;
    return result;
}
