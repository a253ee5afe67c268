// The answer frame receive loop over a scripted byte stream. The input's first bytes choose the
// caller's side (the buffer capacity, the entry value of the answer size, how the stream ends); the
// rest is the line, handed to the loop in chunks whose sizes come from the input too.
#include "protocols/orlenta/1phase/kel_zentor1phase_transport.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace
{
constexpr uint32_t kAddress = 0x00000001;

struct ScriptedLine
{
    const uint8_t* pData;
    size_t size;
    size_t position;
    uint8_t chunkSeed; // cycles the chunk sizes
    uint8_t endMode;   // 0: the answer time passes, 1: no data, 2: the line fails
    Kel_Zentor1Phase_TransportContext* pTransport;
};

Kel_StatusCode ScriptedRead(void* pContext, uint8_t* pBuffer, uint32_t aSize, uint32_t,
                            uint32_t* pBytesReaded)
{
    auto* line = static_cast<ScriptedLine*>(pContext);
    *pBytesReaded = 0;
    // The stream is over, or the frame buffer is full and the loop asks for nothing.
    if (line->position >= line->size || aSize == 0)
    {
        switch (line->endMode)
        {
            case 1:
                return Kel_GoodNoData;
            case 2:
                return Kel_BadCommunicationError;
            default:
                // Nothing more will come: let the answer time run out on the next check.
                line->pTransport->answerTimeout = 0;
                return Kel_Good;
        }
    }
    size_t chunk = 1 + (line->chunkSeed % 16);
    line->chunkSeed = static_cast<uint8_t>(line->chunkSeed * 5 + 3);
    const size_t left = line->size - line->position;
    if (chunk > left)
        chunk = left;
    if (chunk > aSize)
        chunk = aSize;
    memcpy(pBuffer, line->pData + line->position, chunk);
    line->position += chunk;
    *pBytesReaded = static_cast<uint32_t>(chunk);
    return Kel_Good;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 3)
        return 0;
    const uint32_t capacity = 1 + data[0] % 128; // the caller's buffer, 1..128 bytes
    const uint32_t entryAnswerSize = data[1] & 1;
    ScriptedLine line{data + 3, size - 3, 0, data[2], static_cast<uint8_t>((data[1] >> 1) % 3), nullptr};

    Kel_SerialChannel_Context channel{};
    channel.pContext = &line;
    channel.pRead = ScriptedRead;
    Kel_Zentor1Phase_TransportContext transport;
    if (Kel_IsBad(
            Kel_Zentor1Phase_Transport_CreateContext(&transport, &channel, kAddress, 1000, 1000, 60000)))
        __builtin_trap();
    line.pTransport = &transport;

    // The buffer is exactly the capacity, so any write past it is caught.
    uint8_t* answer = new uint8_t[capacity];
    uint32_t answerSize = entryAnswerSize;
    const Kel_StatusCode status =
        Kel_Zentor1Phase_Transport_ReceiveFrame(&transport, answer, capacity, 0, &answerSize);
    if (status == Kel_Good)
    {
        // An accepted frame: address, at least the command byte, a CRC that matches, and a payload
        // that fits. The one other good outcome is the time-out with bytes received and a nonzero
        // entry answer size, which leaves that size as it was.
        bool frameAccepted = false;
        if (answerSize >= 1 && answerSize <= capacity && answerSize <= KEL_ZENTOR1PHASE_IN_FRAME_SIZE - 6)
        {
            const uint32_t frame = answerSize + 6;
            const uint32_t crc = Kel_Zentor1Phase_Transport_CalcCRC(transport.inFrame, 0, frame - 2);
            frameAccepted = transport.inFrame[0] == 0 && transport.inFrame[1] == 0 &&
                            transport.inFrame[2] == 0 && transport.inFrame[3] == 1 &&
                            transport.inFrame[frame - 2] == static_cast<uint8_t>(crc >> 8) &&
                            transport.inFrame[frame - 1] == static_cast<uint8_t>(crc) &&
                            memcmp(answer, transport.inFrame + 4, answerSize) == 0;
        }
        if (!frameAccepted && !(entryAnswerSize != 0 && answerSize == entryAnswerSize))
            __builtin_trap();
    }
    delete[] answer;
    return 0;
}
