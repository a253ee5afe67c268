// AES-128 block cipher (FIPS-197) and its ECB, CBC and CTR modes. All operations work in place on
// the caller's buffer and do not trace.
//
// The state is kept as 16 bytes in input order: byte r + 4c is row r of column c.
#include "shared/kel_aes.h"

#include <array>
#include <cstring>

namespace
{
constexpr uint32_t Nb = 4;  // columns of the state
constexpr uint32_t Nk = 4;  // 32-bit words of the key
constexpr uint32_t Nr = 10; // rounds

// Multiplication by x in GF(2^8) modulo x^8 + x^4 + x^3 + x + 1.
constexpr uint8_t XTime(uint8_t a)
{
    return static_cast<uint8_t>((a << 1) ^ ((a & 0x80) != 0 ? 0x1B : 0x00));
}

// General multiplication in GF(2^8).
constexpr uint8_t Multiply(uint8_t a, uint8_t b)
{
    uint8_t product = 0;
    while (b != 0)
    {
        if ((b & 1) != 0)
            product ^= a;
        a = XTime(a);
        b >>= 1;
    }
    return product;
}

// Multiplicative inverse in GF(2^8) as a^254; 0 maps to 0.
constexpr uint8_t Inverse(uint8_t a)
{
    uint8_t result = 1;
    uint8_t power = a;
    for (uint32_t exponent = 254; exponent != 0; exponent >>= 1)
    {
        if ((exponent & 1) != 0)
            result = Multiply(result, power);
        power = Multiply(power, power);
    }
    return a == 0 ? 0 : result;
}

constexpr uint8_t RotateLeft8(uint8_t a, uint32_t n)
{
    return static_cast<uint8_t>((a << n) | (a >> (8 - n)));
}

// The substitution box: the inverse followed by the affine transformation
// b ^ (b <<< 1) ^ (b <<< 2) ^ (b <<< 3) ^ (b <<< 4) ^ 0x63.
constexpr std::array<uint8_t, 256> MakeSBox()
{
    std::array<uint8_t, 256> box{};
    for (uint32_t i = 0; i < 256; ++i)
    {
        const uint8_t b = Inverse(static_cast<uint8_t>(i));
        box[i] = static_cast<uint8_t>(b ^ RotateLeft8(b, 1) ^ RotateLeft8(b, 2) ^ RotateLeft8(b, 3) ^
                                      RotateLeft8(b, 4) ^ 0x63);
    }
    return box;
}

constexpr std::array<uint8_t, 256> MakeInverseSBox(const std::array<uint8_t, 256>& aBox)
{
    std::array<uint8_t, 256> inverse{};
    for (uint32_t i = 0; i < 256; ++i)
        inverse[aBox[i]] = static_cast<uint8_t>(i);
    return inverse;
}

constexpr std::array<uint8_t, 256> SBox = MakeSBox();
constexpr std::array<uint8_t, 256> InverseSBox = MakeInverseSBox(SBox);

// Entries that the cipher's published example pins (S-box of 0x00, 0x53, 0xFF).
static_assert(SBox[0x00] == 0x63 && SBox[0x53] == 0xED && SBox[0xFF] == 0x16);
static_assert(InverseSBox[0x63] == 0x00 && InverseSBox[0xED] == 0x53);

void AddRoundKey(uint8_t* state, const uint8_t* pRoundKey)
{
    for (uint32_t i = 0; i < KEL_AES_BLOCKLEN; ++i)
        state[i] ^= pRoundKey[i];
}

void SubBytes(uint8_t* state)
{
    for (uint32_t i = 0; i < KEL_AES_BLOCKLEN; ++i)
        state[i] = SBox[state[i]];
}

void InvSubBytes(uint8_t* state)
{
    for (uint32_t i = 0; i < KEL_AES_BLOCKLEN; ++i)
        state[i] = InverseSBox[state[i]];
}

// Row r is shifted left by r columns.
void ShiftRows(uint8_t* state)
{
    uint8_t shifted[KEL_AES_BLOCKLEN];
    for (uint32_t c = 0; c < Nb; ++c)
        for (uint32_t r = 0; r < 4; ++r)
            shifted[r + 4 * c] = state[r + 4 * ((c + r) % Nb)];
    memcpy(state, shifted, sizeof(shifted));
}

void InvShiftRows(uint8_t* state)
{
    uint8_t shifted[KEL_AES_BLOCKLEN];
    for (uint32_t c = 0; c < Nb; ++c)
        for (uint32_t r = 0; r < 4; ++r)
            shifted[r + 4 * ((c + r) % Nb)] = state[r + 4 * c];
    memcpy(state, shifted, sizeof(shifted));
}

// Each column times {03}x^3 + {01}x^2 + {01}x + {02} modulo x^4 + 1.
void MixColumns(uint8_t* state)
{
    for (uint32_t c = 0; c < Nb; ++c)
    {
        uint8_t* column = state + 4 * c;
        const uint8_t a0 = column[0], a1 = column[1], a2 = column[2], a3 = column[3];
        column[0] = static_cast<uint8_t>(XTime(a0) ^ (XTime(a1) ^ a1) ^ a2 ^ a3);
        column[1] = static_cast<uint8_t>(a0 ^ XTime(a1) ^ (XTime(a2) ^ a2) ^ a3);
        column[2] = static_cast<uint8_t>(a0 ^ a1 ^ XTime(a2) ^ (XTime(a3) ^ a3));
        column[3] = static_cast<uint8_t>((XTime(a0) ^ a0) ^ a1 ^ a2 ^ XTime(a3));
    }
}

// Each column times {0b}x^3 + {0d}x^2 + {09}x + {0e} modulo x^4 + 1.
void InvMixColumns(uint8_t* state)
{
    for (uint32_t c = 0; c < Nb; ++c)
    {
        uint8_t* column = state + 4 * c;
        const uint8_t a0 = column[0], a1 = column[1], a2 = column[2], a3 = column[3];
        column[0] = Multiply(a0, 0x0E) ^ Multiply(a1, 0x0B) ^ Multiply(a2, 0x0D) ^ Multiply(a3, 0x09);
        column[1] = Multiply(a0, 0x09) ^ Multiply(a1, 0x0E) ^ Multiply(a2, 0x0B) ^ Multiply(a3, 0x0D);
        column[2] = Multiply(a0, 0x0D) ^ Multiply(a1, 0x09) ^ Multiply(a2, 0x0E) ^ Multiply(a3, 0x0B);
        column[3] = Multiply(a0, 0x0B) ^ Multiply(a1, 0x0D) ^ Multiply(a2, 0x09) ^ Multiply(a3, 0x0E);
    }
}

// Key expansion: Nb * (Nr + 1) words; every Nk-th word passes through RotWord, SubWord and the round
// constant.
void KeyExpansion(uint8_t* pRoundKey, const uint8_t* key)
{
    memcpy(pRoundKey, key, KEL_AES_KEYLEN);
    uint8_t roundConstant = 0x01;
    for (uint32_t i = Nk; i < Nb * (Nr + 1); ++i)
    {
        uint8_t word[4];
        memcpy(word, pRoundKey + 4 * (i - 1), 4);
        if (i % Nk == 0)
        {
            const uint8_t first = word[0];
            word[0] = static_cast<uint8_t>(SBox[word[1]] ^ roundConstant);
            word[1] = SBox[word[2]];
            word[2] = SBox[word[3]];
            word[3] = SBox[first];
            roundConstant = XTime(roundConstant);
        }
        for (uint32_t j = 0; j < 4; ++j)
            pRoundKey[4 * i + j] = pRoundKey[4 * (i - Nk) + j] ^ word[j];
    }
}

void XorBlock(uint8_t* pTarget, const uint8_t* pSource)
{
    for (uint32_t i = 0; i < KEL_AES_BLOCKLEN; ++i)
        pTarget[i] ^= pSource[i];
}
} // namespace

void kel_aes_init_ctx(kel_aes_ctx* ctx, const uint8_t* key)
{
    KeyExpansion(ctx->RoundKey, key);
}

void kel_aes_init_ctx_iv(kel_aes_ctx* ctx, const uint8_t* key, const uint8_t* iv)
{
    KeyExpansion(ctx->RoundKey, key);
    memcpy(ctx->Iv, iv, KEL_AES_BLOCKLEN);
}

void kel_aes_ctx_set_iv(kel_aes_ctx* ctx, const uint8_t* iv)
{
    memcpy(ctx->Iv, iv, KEL_AES_BLOCKLEN);
}

void kel_aes_ecb_encrypt(const kel_aes_ctx* ctx, uint8_t* block)
{
    AddRoundKey(block, ctx->RoundKey);
    for (uint32_t round = 1; round <= Nr; ++round)
    {
        SubBytes(block);
        ShiftRows(block);
        if (round != Nr)
            MixColumns(block);
        AddRoundKey(block, ctx->RoundKey + round * KEL_AES_BLOCKLEN);
    }
}

void kel_aes_ecb_decrypt(const kel_aes_ctx* ctx, uint8_t* block)
{
    AddRoundKey(block, ctx->RoundKey + Nr * KEL_AES_BLOCKLEN);
    for (uint32_t round = Nr; round-- > 0;)
    {
        InvShiftRows(block);
        InvSubBytes(block);
        AddRoundKey(block, ctx->RoundKey + round * KEL_AES_BLOCKLEN);
        if (round != 0)
            InvMixColumns(block);
    }
}

// Blocks are taken until at least length bytes are done, so a tail shorter than 16 bytes is
// processed as a whole block: the caller's buffer must hold length rounded up to a multiple of 16.
void kel_aes_cbc_encrypt_buffer(kel_aes_ctx* ctx, uint8_t* buffer, uint32_t length)
{
    for (uint32_t done = 0; done < length; done += KEL_AES_BLOCKLEN)
    {
        uint8_t* block = buffer + done;
        XorBlock(block, ctx->Iv);
        kel_aes_ecb_encrypt(ctx, block);
        memcpy(ctx->Iv, block, KEL_AES_BLOCKLEN);
    }
}

void kel_aes_cbc_decrypt_buffer(kel_aes_ctx* ctx, uint8_t* buffer, uint32_t length)
{
    for (uint32_t done = 0; done < length; done += KEL_AES_BLOCKLEN)
    {
        uint8_t* block = buffer + done;
        uint8_t cipherText[KEL_AES_BLOCKLEN];
        memcpy(cipherText, block, KEL_AES_BLOCKLEN);
        kel_aes_ecb_decrypt(ctx, block);
        XorBlock(block, ctx->Iv);
        memcpy(ctx->Iv, cipherText, KEL_AES_BLOCKLEN);
    }
}

// Only length bytes are touched. Every block started, whole or not, advances the counter once; the
// key stream left over from a partial last block is dropped, so a call that follows one ending
// mid-block starts on the next counter value (the context has no room to keep unused key stream).
void kel_aes_ctr_xcrypt_buffer(kel_aes_ctx* ctx, uint8_t* buffer, uint32_t length)
{
    for (uint32_t done = 0; done < length; done += KEL_AES_BLOCKLEN)
    {
        uint8_t keyStream[KEL_AES_BLOCKLEN];
        memcpy(keyStream, ctx->Iv, KEL_AES_BLOCKLEN);
        kel_aes_ecb_encrypt(ctx, keyStream);

        // Big-endian increment: byte 15 first, carrying into the lower-numbered bytes.
        for (uint32_t i = KEL_AES_BLOCKLEN; i-- > 0;)
        {
            if (++ctx->Iv[i] != 0)
                break;
        }

        const uint32_t count = length - done < KEL_AES_BLOCKLEN ? length - done : KEL_AES_BLOCKLEN;
        for (uint32_t i = 0; i < count; ++i)
            buffer[done + i] ^= keyStream[i];
    }
}
