// The ISO time parser over arbitrary text. A time that parses is written out and read back to the same
// date-time.
#include "shared/kel_utils.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 256)
        return 0;
    char* text = new char[size + 1];
    memcpy(text, data, size);
    text[size] = '\0';
    DateTime parsed{};
    if (Kel_Utils_ISOTimeToDateTime(text, &parsed) == Kel_Good)
    {
        char again[64];
        if (Kel_Utils_DateTimeToISOTime(&parsed, again, sizeof(again)) == Kel_Good)
        {
            DateTime reparsed{};
            if (Kel_Utils_ISOTimeToDateTime(again, &reparsed) != Kel_Good ||
                memcmp(&reparsed, &parsed, sizeof(DateTime)) != 0)
                __builtin_trap();
        }
    }
    delete[] text;
    return 0;
}
