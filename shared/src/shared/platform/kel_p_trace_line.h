// The trace call: the level and module filter and the building of one line, handed finished to the
// sink (kel_p_trace.cpp). The bottom of the trace: it uses nothing of the skeleton helpers, the
// platform files or the sink's own state.
#pragma once

#include "shared/kel_types.h"

#include <atomic>
#include <cstring>

// Formats one trace line (module filter, level test, dump, ", File=%s, Line=%d" for levels 1 and 2)
// and hands it to the sinks. Never fails; always returns Kel_Good. The conversions the code base uses
// (%s, %d, %i, %u, %x, %X with an optional '0' flag and a width, %%) are written by the trace's own
// routines; a format with any other conversion is written by the C library's vsnprintf.
Kel_StatusCode Kel_P_Trace_Imp(uint32_t aModule, uint32_t aLevel, const void* pData, uint32_t aDataSize,
                               const char* pFile, int32_t aLine, const char* pFormat, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 7, 8)))
#endif
    ;

// Highest level written; 0 = tracing off. Read without the lock.
extern std::atomic<uint32_t> global_Trace_Level;

// The fixed module filter: every message of modules 20, 773, 774 and 776 is dropped, and every message
// but errors of the modules that trace only their errors.
constexpr bool Kel_P_Trace_ModulePasses(uint32_t aModule, uint32_t aLevel)
{
    switch (aModule)
    {
        case 20:
        case 773:
        case 774:
        case 776:
            return false;
        // clang-format off
        case 2: case 3: case 4: case 5: case 7: case 8: case 10: case 11: case 12: case 13: case 14:
        case 16: case 17: case 19: case 21: case 22: case 24: case 26:
        case 258: case 259: case 260: case 261: case 518: case 519: case 520:
            // clang-format on
            return aLevel == KEL_TRACE_LEVEL_ERROR;
        default:
            return true;
    }
}

// True when a line of this module and level would be written (global level and module filter). Inline,
// so that a call site with a constant module tests only the level; callers test it before they prepare
// any argument, and the trace call tests it again itself.
inline bool Kel_P_Trace_IsEnabled(uint32_t aModule, uint32_t aLevel)
{
    if (!Kel_P_Trace_ModulePasses(aModule, aLevel))
        return false;
    const uint32_t level = global_Trace_Level.load(std::memory_order_relaxed);
    return level != 0 && aLevel <= level;
}

// "000102...FEFF": the two upper-case hex digits of every byte value.
struct Kel_P_TraceHexTable
{
    char text[512];
};
constexpr Kel_P_TraceHexTable Kel_P_TraceMakeHexTable()
{
    constexpr char digits[] = "0123456789ABCDEF";
    Kel_P_TraceHexTable table{};
    for (int value = 0; value < 256; ++value)
    {
        table.text[2 * value] = digits[value >> 4];
        table.text[2 * value + 1] = digits[value & 15];
    }
    return table;
}
inline constexpr Kel_P_TraceHexTable Kel_P_TraceHexPairs = Kel_P_TraceMakeHexTable();

// The text of one trace line before its dump and File/Line part, built on the caller's stack. Every
// append stops at the line's size of 1024 characters, so the line is cut there as a whole.
struct Kel_P_TraceLine
{
    static constexpr size_t Size = 1024;

    void Append(const char* pText, size_t aLength)
    {
        const size_t room = limit - length;
        const size_t count = aLength < room ? aLength : room;
        memcpy(text + length, pText, count);
        length += count;
    }
    void Append(const char* pText) { Append(pText, strlen(pText)); }
    // A literal of the code: copied with its length known to the compiler.
    template <size_t N> void Literal(const char (&aText)[N])
    {
        if (limit - length >= N - 1)
        {
            memcpy(text + length, aText, N - 1);
            length += N - 1;
        }
        else
            Append(aText, N - 1);
    }
    void Char(char aCharacter)
    {
        if (length < limit)
            text[length++] = aCharacter;
    }
    // "%08X", two digits per step from a table of the 256 byte values.
    void Hex8(uint32_t aValue)
    {
        char digits[8];
        for (int i = 0; i < 4; ++i)
            memcpy(digits + 2 * i, Kel_P_TraceHexPairs.text + 2 * ((aValue >> (24 - 8 * i)) & 0xFF), 2);
        if (limit - length >= sizeof(digits))
        {
            memcpy(text + length, digits, sizeof(digits));
            length += sizeof(digits);
        }
        else
            Append(digits, sizeof(digits));
    }
    // "%d", "%u", "%x", "%X" with a minimum width, padded with '0' or ' ' in front.
    void Number(uint32_t aMagnitude, bool aNegative, uint32_t aBase, bool aUpper, uint32_t aWidth,
                bool aZero);
    void Decimal(int32_t aValue)
    {
        const bool negative = aValue < 0;
        Number(negative ? 0u - static_cast<uint32_t>(aValue) : static_cast<uint32_t>(aValue), negative, 10,
               false, 0, false);
    }

    char text[Size + 1];
    size_t length = 0;
    // Appends stop here: the size, or the end of a text that the C library cut short at a NUL.
    size_t limit = Size;
};

// Writes a line built by the caller, who has found Kel_P_Trace_IsEnabled true for it: appends the dump
// of pData (when not null and aDataSize > 0), ", File=%s, Line=%d" for levels 1 and 2 and the line
// end, and hands it to the sinks. Always returns Kel_Good.
Kel_StatusCode Kel_P_Trace_Write(uint32_t aLevel, const void* pData, uint32_t aDataSize, const char* pFile,
                                 int32_t aLine, Kel_P_TraceLine& rLine);

// The sink's write of one finished line (with its line end), under the sink's lock; implemented by the
// sink (kel_p_trace.cpp), which this layer does not include.
void Kel_P_Trace_Sink_Write(uint32_t aLevel, const char* pLine, size_t aLength);
