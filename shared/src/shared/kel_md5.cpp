// MD5 message digest (RFC 1321). Words are read and written least significant byte first whatever
// the host's byte order. No tracing.
#include "shared/kel_md5.h"

#include <cstring>

namespace
{
// T[i] = the integer part of 2^32 * |sin(i + 1)|, i in radians.
constexpr uint32_t T[64] = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391,
};

// Left-rotation amounts, four per round.
constexpr uint32_t Shift[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

constexpr uint32_t RotateLeft(uint32_t x, uint32_t n)
{
    return (x << n) | (x >> (32 - n));
}

uint32_t LoadLittleEndian(const uint8_t* p)
{
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
           (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

void StoreLittleEndian(uint32_t x, uint8_t* p)
{
    p[0] = static_cast<uint8_t>(x);
    p[1] = static_cast<uint8_t>(x >> 8);
    p[2] = static_cast<uint8_t>(x >> 16);
    p[3] = static_cast<uint8_t>(x >> 24);
}
} // namespace

void kel_md5_starts(kel_md5_context* ctx)
{
    ctx->total[0] = 0;
    ctx->total[1] = 0;
    ctx->state[0] = 0x67452301;
    ctx->state[1] = 0xEFCDAB89;
    ctx->state[2] = 0x98BADCFE;
    ctx->state[3] = 0x10325476;
}

// The four rounds of sixteen steps over one 64-byte block.
void kel_md5_process(kel_md5_context* ctx, const uint8_t data[64])
{
    uint32_t X[16];
    for (uint32_t i = 0; i < 16; ++i)
        X[i] = LoadLittleEndian(data + 4 * i);

    uint32_t a = ctx->state[0];
    uint32_t b = ctx->state[1];
    uint32_t c = ctx->state[2];
    uint32_t d = ctx->state[3];

    for (uint32_t i = 0; i < 64; ++i)
    {
        const uint32_t round = i / 16;
        uint32_t f;
        uint32_t k;
        switch (round)
        {
            case 0: // F(b, c, d) = (b and c) or (not b and d)
                f = (b & c) | (~b & d);
                k = i;
                break;
            case 1: // G(b, c, d) = (b and d) or (c and not d)
                f = (b & d) | (c & ~d);
                k = (5 * i + 1) % 16;
                break;
            case 2: // H(b, c, d) = b xor c xor d
                f = b ^ c ^ d;
                k = (3 * i + 5) % 16;
                break;
            default: // I(b, c, d) = c xor (b or not d)
                f = c ^ (b | ~d);
                k = (7 * i) % 16;
                break;
        }
        const uint32_t rotated = RotateLeft(a + f + X[k] + T[i], Shift[round][i % 4]);
        a = d;
        d = c;
        c = b;
        b = b + rotated;
    }

    ctx->state[0] += a;
    ctx->state[1] += b;
    ctx->state[2] += c;
    ctx->state[3] += d;
}

void kel_md5_update(kel_md5_context* ctx, const uint8_t* input, uint32_t length)
{
    if (length == 0)
        return;

    uint32_t filled = ctx->total[0] & 0x3F;
    ctx->total[0] += length;
    if (ctx->total[0] < length)
        ++ctx->total[1];

    if (filled != 0 && length >= 64 - filled)
    {
        const uint32_t take = 64 - filled;
        memcpy(ctx->buffer + filled, input, take);
        kel_md5_process(ctx, ctx->buffer);
        input += take;
        length -= take;
        filled = 0;
    }
    while (length >= 64)
    {
        kel_md5_process(ctx, input);
        input += 64;
        length -= 64;
    }
    if (length > 0)
        memcpy(ctx->buffer + filled, input, length);
}

// Padding: one 0x80 byte, zeros up to 56 bytes modulo 64, then the message length in bits as a
// 64-bit little-endian number.
void kel_md5_finish(kel_md5_context* ctx, uint8_t output[16])
{
    uint8_t lengthBits[8];
    const uint32_t bitsLow = ctx->total[0] << 3;
    const uint32_t bitsHigh = (ctx->total[1] << 3) | (ctx->total[0] >> 29);
    StoreLittleEndian(bitsLow, lengthBits);
    StoreLittleEndian(bitsHigh, lengthBits + 4);

    static constexpr uint8_t Padding[64] = {0x80};
    const uint32_t filled = ctx->total[0] & 0x3F;
    const uint32_t padLength = filled < 56 ? 56 - filled : 120 - filled;
    kel_md5_update(ctx, Padding, padLength);
    kel_md5_update(ctx, lengthBits, 8);

    for (uint32_t i = 0; i < 4; ++i)
        StoreLittleEndian(ctx->state[i], output + 4 * i);
}
