// The gateway answer read: the first input byte is the packet number awaited, the second the capacity
// of the answer buffer, the rest the answer as received. A packet built from the taken data must
// carry the same data again.
#include "Q310/q310_channels.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const uint8_t packetNumber = data[0];
    const uint32_t capacity = data[1] % 130;
    const uint32_t receivedSize = static_cast<uint32_t>(size - 2);
    uint8_t* received = new uint8_t[receivedSize];
    memcpy(received, data + 2, receivedSize);
    uint8_t* buffer = new uint8_t[capacity + 1];
    uint32_t readed = 0xFFFFFFFF;
    const Kel_StatusCode status =
        Kel_GatewayGSM_TakeAnswer(received, receivedSize, packetNumber, buffer, capacity, &readed);
    if (status == Kel_Good)
    {
        if (readed > capacity || readed + 9 != receivedSize || received[3] != packetNumber)
            __builtin_trap();
        uint8_t packet[64 + 9];
        const Kel_StatusCode built =
            Kel_GatewayGSM_BuildPacket(buffer, readed, packetNumber, 0, packet, sizeof(packet));
        if (readed <= 64)
        {
            if (built != Kel_Good || memcmp(packet + 8, buffer, readed) != 0)
                __builtin_trap();
        }
        else if (built != Kel_Bad)
            __builtin_trap();
    }
    else if (readed != 0)
        __builtin_trap();
    delete[] buffer;
    delete[] received;
    return 0;
}
