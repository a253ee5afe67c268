// The trace call: the level and module filter and the building of one line (the format's conversions,
// the dump, the File/Line part), on the caller's stack; the finished line goes to the sink.
#include "shared/platform/kel_p_trace_line.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace
{
constexpr size_t KEL_TRACE_LINE_SIZE = Kel_P_TraceLine::Size;
constexpr uint32_t KEL_TRACE_DUMP_ALL_LIMIT = 100;
constexpr uint32_t KEL_TRACE_DUMP_EDGE = 50;

// "00 " to "FF ": the dump's three characters of every byte value, each padded to four so that a
// byte is copied in one move (the fourth character is overwritten by the next byte or lies past the
// line's end, inside the buffer's terminator place).
struct DumpTable
{
    char text[256][4];
};
constexpr DumpTable MakeDumpTable()
{
    constexpr char digits[] = "0123456789ABCDEF";
    DumpTable table{};
    for (int value = 0; value < 256; ++value)
    {
        table.text[value][0] = digits[value >> 4];
        table.text[value][1] = digits[value & 15];
        table.text[value][2] = ' ';
    }
    return table;
}
constexpr DumpTable kDump = MakeDumpTable();

void AppendBytes(Kel_P_TraceLine& rLine, const uint8_t* pBytes, uint32_t aCount)
{
    const size_t room = (rLine.limit - rLine.length) / 3;
    const uint32_t whole = aCount < room ? aCount : static_cast<uint32_t>(room);
    char* out = rLine.text + rLine.length;
    for (uint32_t i = 0; i < whole; ++i, out += 3)
        memcpy(out, kDump.text[pBytes[i]], 4);
    rLine.length += 3 * static_cast<size_t>(whole);
    if (whole < aCount)
        rLine.Append(kDump.text[pBytes[whole]], 3);
}

// "[%d] " and "%02X " per byte; above 100 bytes only the first and last 50, with "... " between.
void AppendDump(Kel_P_TraceLine& rLine, const uint8_t* pBytes, uint32_t aSize)
{
    rLine.Char('[');
    rLine.Decimal(static_cast<int32_t>(aSize));
    rLine.Literal("] ");
    if (aSize <= KEL_TRACE_DUMP_ALL_LIMIT)
    {
        AppendBytes(rLine, pBytes, aSize);
        return;
    }
    AppendBytes(rLine, pBytes, KEL_TRACE_DUMP_EDGE);
    rLine.Literal("... ");
    AppendBytes(rLine, pBytes + aSize - KEL_TRACE_DUMP_EDGE, KEL_TRACE_DUMP_EDGE);
}

// The whole format through the C library, for a conversion that the trace's own routines do not write.
void FormatByLibrary(Kel_P_TraceLine& rLine, const char* pFormat, va_list aArguments)
{
    const int written = vsnprintf(rLine.text, KEL_TRACE_LINE_SIZE + 1, pFormat, aArguments);
    if (written <= 0)
    {
        rLine.length = 0;
        return;
    }
    rLine.length = static_cast<size_t>(written) > KEL_TRACE_LINE_SIZE ? KEL_TRACE_LINE_SIZE
                                                                      : static_cast<size_t>(written);
    // A %c of 0 ends the text early: what follows it was never written to a sink.
    const size_t visible = strlen(rLine.text);
    if (visible < rLine.length)
        rLine.length = rLine.limit = visible;
}

// Writes the format's literal runs in one step each and its conversions through the routines above;
// any other conversion (a length modifier, precision, '-', '+', '#', ' ', %f, ...) hands the whole
// format to the C library instead.
void Format(Kel_P_TraceLine& rLine, const char* pFormat, va_list aArguments)
{
    va_list original;
    va_copy(original, aArguments);
    const char* cursor = pFormat;
    for (;;)
    {
        const char* percent = strchr(cursor, '%');
        if (percent == KEL_NULL)
        {
            rLine.Append(cursor);
            break;
        }
        rLine.Append(cursor, static_cast<size_t>(percent - cursor));
        cursor = percent + 1;
        bool zero = false;
        if (*cursor == '0')
        {
            zero = true;
            ++cursor;
        }
        uint32_t width = 0;
        while (*cursor >= '0' && *cursor <= '9' && width < 100)
            width = width * 10 + static_cast<uint32_t>(*cursor++ - '0');
        const char conversion = *cursor++;
        if (width >= 100 || (zero && conversion == 's') ||
            (conversion != 'd' && conversion != 'i' && conversion != 'u' && conversion != 'x' &&
             conversion != 'X' && conversion != 's' && conversion != '%'))
        {
            rLine.length = 0;
            FormatByLibrary(rLine, pFormat, original);
            break;
        }
        if (conversion == '%')
        {
            if (zero || width != 0)
            {
                rLine.length = 0;
                FormatByLibrary(rLine, pFormat, original);
                break;
            }
            rLine.Char('%');
        }
        else if (conversion == 's')
        {
            const char* text = va_arg(aArguments, const char*);
            if (text == KEL_NULL)
                text = "(null)";
            const size_t length = strlen(text);
            for (size_t pad = length; pad < width; ++pad)
                rLine.Char(' ');
            rLine.Append(text, length);
        }
        else if (conversion == 'd' || conversion == 'i')
        {
            const int value = va_arg(aArguments, int);
            const bool negative = value < 0;
            rLine.Number(negative ? 0u - static_cast<uint32_t>(value) : static_cast<uint32_t>(value),
                         negative, 10, false, width, zero);
        }
        else
            rLine.Number(va_arg(aArguments, unsigned int), false, conversion == 'u' ? 10 : 16,
                         conversion == 'X', width, zero);
    }
    va_end(original);
}

} // namespace

std::atomic<uint32_t> global_Trace_Level{0};

void Kel_P_TraceLine::Number(uint32_t aMagnitude, bool aNegative, uint32_t aBase, bool aUpper,
                             uint32_t aWidth, bool aZero)
{
    const char* digits = aUpper ? "0123456789ABCDEF" : "0123456789abcdef";
    char buffer[16];
    char* end = buffer + sizeof(buffer);
    char* first = end;
    do
    {
        *--first = digits[aMagnitude % aBase];
        aMagnitude /= aBase;
    } while (aMagnitude != 0);
    const uint32_t used = static_cast<uint32_t>(end - first) + (aNegative ? 1 : 0);
    if (!aZero)
        for (uint32_t pad = used; pad < aWidth; ++pad)
            Char(' ');
    if (aNegative)
        Char('-');
    if (aZero)
        for (uint32_t pad = used; pad < aWidth; ++pad)
            Char('0');
    Append(first, static_cast<size_t>(end - first));
}

Kel_StatusCode Kel_P_Trace_Write(uint32_t aLevel, const void* pData, uint32_t aDataSize, const char* pFile,
                                 int32_t aLine, Kel_P_TraceLine& rLine)
{
    if (pData != KEL_NULL && aDataSize > 0)
        AppendDump(rLine, static_cast<const uint8_t*>(pData), aDataSize);
    if (aLevel <= KEL_TRACE_LEVEL_NOTICE)
    {
        rLine.Literal(", File=");
        rLine.Append(pFile != KEL_NULL ? pFile : "");
        rLine.Literal(", Line=");
        rLine.Decimal(aLine);
    }
    rLine.Char('\n');

    Kel_P_Trace_Sink_Write(aLevel, rLine.text, rLine.length);
    return Kel_Good;
}

Kel_StatusCode Kel_P_Trace_Imp(uint32_t aModule, uint32_t aLevel, const void* pData, uint32_t aDataSize,
                               const char* pFile, int32_t aLine, const char* pFormat, ...)
{
    if (!Kel_P_Trace_IsEnabled(aModule, aLevel))
        return Kel_Good;
    Kel_P_TraceLine line;
    if (pFormat != KEL_NULL)
    {
        va_list arguments;
        va_start(arguments, pFormat);
        Format(line, pFormat, arguments);
        va_end(arguments);
    }
    return Kel_P_Trace_Write(aLevel, pData, aDataSize, pFile, aLine, line);
}
