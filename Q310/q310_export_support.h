// What every export shares: the entry trace under the export's own name ("_eReadFrequency"), the
// null-argument rule, the failure exit that writes a fixed message into the host's outErr and returns 0,
// and the host's texts in Windows-1251.
//
// An export reads:
//
//   int32_t Q310_CALL eReadFrequency(uint32_t adr, char* frequency, char* outErr)
//   {
//       Q310_EXPORT_ENTER(eReadFrequency);
//       KEL_REJECT_NULL(frequency);
//       KEL_REJECT_NULL(outErr);
//       ...
//       if (Kel_IsBad(status))
//           return Q310_FailWith(kelScope, __LINE__, status, outErr, kReadFrequencyText);
//       return 1;
//   }
//
// Texts stay UTF-8 in the sources and are converted once, at compile time:
//
//   static constexpr auto kReadFrequencyText = Q310_Cp1251("Запрос на чтение частоты сети: Нет ответа.");
#pragma once

#include "Q310/Q310.h"
#include "shared/kel_trace.h"

#include <cstddef>
#include <cstdint>

// A text in Windows-1251, zero-terminated, in an array sized by its UTF-8 source (never shorter).
template <size_t N> struct Q310_Cp1251Text
{
    char text[N];
    size_t length; // bytes without the terminator

    constexpr const char* c_str() const { return text; }
};

namespace q310_detail
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
inline void Q310_TextHasCharacterOutsideWindows1251() {}
} // namespace q310_detail

// UTF-8 to Windows-1251 at compile time; a character outside the code page, or malformed UTF-8, stops
// the build.
template <size_t N> consteval Q310_Cp1251Text<N> Q310_Cp1251(const char (&aUtf8)[N])
{
    Q310_Cp1251Text<N> result{};
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
            q310_detail::Q310_TextHasCharacterOutsideWindows1251();
        for (size_t k = 1; k <= more; ++k)
        {
            const uint8_t next = static_cast<uint8_t>(aUtf8[i + k]);
            if ((next & 0xC0) != 0x80)
                q310_detail::Q310_TextHasCharacterOutsideWindows1251();
            codePoint = (codePoint << 6) | (next & 0x3Fu);
        }
        const int byte = q310_detail::Cp1251Byte(codePoint);
        if (byte < 0)
            q310_detail::Q310_TextHasCharacterOutsideWindows1251();
        result.text[out++] = static_cast<char>(byte);
        i += more + 1;
    }
    result.text[out] = '\0';
    result.length = out;
    return result;
}

// Copies a fixed text with its terminator into the host's buffer.
template <size_t N> inline void Q310_WriteText(char* pBuffer, const Q310_Cp1251Text<N>& aText)
{
    for (size_t i = 0; i <= aText.length; ++i)
        pBuffer[i] = aText.text[i];
}

// The failure exit of an export: "--- GotoError: Bad statuscode 0x%08X\n", the export's message into
// outErr, result 0 (exports trace no exit line).
template <size_t N>
inline int32_t Q310_FailWith(const Kel_TraceScope& aScope, int32_t aLine, Kel_StatusCode aStatus,
                             char* outErr, const Q310_Cp1251Text<N>& aText)
{
    Kel_Trace_GotoBad(aScope, aLine, aStatus);
    Q310_WriteText(outErr, aText);
    return 0;
}

// The same for a failed system call: "--- GotoError: Expr %s is true!\n" with the expression's text.
template <size_t N>
inline int32_t Q310_FailExpr(const Kel_TraceScope& aScope, int32_t aLine, const char* pExpression,
                             char* outErr, const Q310_Cp1251Text<N>& aText)
{
    Kel_Trace_GotoExpr(aScope, aLine, pExpression);
    Q310_WriteText(outErr, aText);
    return 0;
}

// The same for a wrong answer of a raw request: "--- GotoError: %s. Statuscode 0x%08X\n" with the code's
// name.
template <size_t N>
inline int32_t Q310_FailCode(const Kel_TraceScope& aScope, int32_t aLine, const char* pCodeName,
                             Kel_StatusCode aCode, char* outErr, const Q310_Cp1251Text<N>& aText)
{
    Kel_Trace_GotoCode(aScope, aLine, pCodeName, aCode);
    Q310_WriteText(outErr, aText);
    return 0;
}

// Entry line of an export: module Kel_Module_ZentorProtocolClient, the name with a leading underscore.
#define Q310_EXPORT_ENTER(aName) KEL_ENTER_AS(Kel_Module_ZentorProtocolClient, "_" #aName)
