// eOpen's mode text parser over arbitrary text. The parse fails exactly when the text ends before
// anything could be read (a blank text, a beginning of "baud=", or "baud=" and white space); what is
// read, written back in the mode format, reads again to the same fields from other starting values;
// applied to line settings, only the exact parity words change the parity.
#include "Q310/q310_exports_session.h"

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace
{
bool Terminated(const char (&aWord)[16])
{
    return memchr(aWord, '\0', sizeof(aWord)) != nullptr;
}

// A text that ends before the first field could be read: blank, a beginning of "baud=", or "baud=" and
// white space only.
bool EndsBeforeTheFirstField(const char* pText)
{
    static const char kLead[] = "baud=";
    size_t matched = 0;
    while (pText[matched] != '\0' && matched < 5 && pText[matched] == kLead[matched])
        ++matched;
    const char* rest = pText + matched;
    if (matched > 0 && matched < 5)
        return *rest == '\0';
    for (; *rest != '\0'; ++rest)
        if (isspace(static_cast<unsigned char>(*rest)) == 0)
            return false;
    return true;
}

bool SameFields(const Q310_Mode& aLeft, const Q310_Mode& aRight)
{
    return aLeft.baudRate == aRight.baudRate && aLeft.dataBits == aRight.dataBits &&
           aLeft.stopBits == aRight.stopBits && strcmp(aLeft.parity, aRight.parity) == 0 &&
           strcmp(aLeft.dtr, aRight.dtr) == 0 && strcmp(aLeft.rts, aRight.rts) == 0;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 512)
        return 0;
    char* text = new char[size + 1];
    memcpy(text, data, size);
    text[size] = '\0';

    // Starting values that are words of their own, so that a field left alone still writes back.
    Q310_Mode parsed{};
    parsed.baudRate = 1200;
    parsed.dataBits = 7;
    parsed.stopBits = 1;
    strcpy(parsed.parity, "p");
    strcpy(parsed.dtr, "d");
    strcpy(parsed.rts, "r");
    const bool ok = Q310_ParseMode(text, &parsed);

    if (ok == EndsBeforeTheFirstField(text))
        __builtin_trap();
    if (!Terminated(parsed.parity) || !Terminated(parsed.dtr) || !Terminated(parsed.rts))
        __builtin_trap();

    if (ok)
    {
        char again[160];
        snprintf(again, sizeof(again), "baud=%d parity=%s data=%d stop=%d dtr=%s rts=%s",
                 static_cast<int>(parsed.baudRate), parsed.parity, parsed.dataBits, parsed.stopBits,
                 parsed.dtr, parsed.rts);
        Q310_Mode reparsed{};
        reparsed.baudRate = 9600;
        reparsed.dataBits = 8;
        reparsed.stopBits = 2;
        strcpy(reparsed.parity, "q");
        strcpy(reparsed.dtr, "e");
        strcpy(reparsed.rts, "s");
        if (!Q310_ParseMode(again, &reparsed) || !SameFields(parsed, reparsed))
            __builtin_trap();

        // Parity changes only for the five exact words; everything else keeps the port's parity.
        Kel_P_Serial_DCB dcb{};
        dcb.Parity = 0x5A;
        dcb.fParity = 1;
        Q310_ApplyMode(parsed, &dcb);
        static const char* const kWords[] = {"None", "Odd", "Even", "Mask", "Space"};
        bool known = false;
        for (uint8_t i = 0; i < 5; ++i)
            if (strcmp(parsed.parity, kWords[i]) == 0)
            {
                known = true;
                if (dcb.Parity != i || dcb.fParity != (i != 0 ? 1u : 0u))
                    __builtin_trap();
            }
        if (!known && (dcb.Parity != 0x5A || dcb.fParity != 1))
            __builtin_trap();
        if (dcb.BaudRate != parsed.baudRate || dcb.ByteSize != parsed.dataBits)
            __builtin_trap();
    }
    delete[] text;
    return 0;
}
