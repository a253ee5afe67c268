// Echo removal: the first input byte splits the rest into the echo reference and the received bytes;
// the second chooses the capacity of the answer buffer.
#include "Q310/q310_channels.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const uint32_t capacity = data[1] % 130;
    data += 2;
    size -= 2;
    const uint32_t echoSize = size == 0 ? 0 : static_cast<uint32_t>(data[-2] % (size + 1));
    // Separate, exactly sized copies, so that a read past either end is caught.
    uint8_t* echo = new uint8_t[echoSize + 1];
    memcpy(echo, data, echoSize);
    const uint32_t receivedSize = static_cast<uint32_t>(size);
    uint8_t* received = new uint8_t[receivedSize + 1];
    // The received bytes start with the echo most of the time, so that the copy path is reached.
    memcpy(received, data, receivedSize);
    if (receivedSize > 0 && (data[receivedSize - 1] & 1))
        for (uint32_t i = 0; i < receivedSize; ++i)
            received[i] = data[receivedSize - 1 - i];
    uint8_t* buffer = new uint8_t[capacity + 1];
    uint32_t readed = 0xFFFFFFFF;
    const Kel_StatusCode status =
        Kel_Echo_Remove(received, receivedSize, echo, echoSize, buffer, capacity, &readed);
    if (status == Kel_Good)
    {
        if (readed != receivedSize - echoSize || readed > capacity ||
            memcmp(buffer, received + echoSize, readed) != 0 || memcmp(received, echo, echoSize) != 0)
            __builtin_trap();
    }
    else if (readed != 0)
        __builtin_trap();
    delete[] buffer;
    delete[] received;
    delete[] echo;
    return 0;
}
