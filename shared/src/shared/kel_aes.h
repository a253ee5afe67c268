// AES-128 (FIPS-197) in ECB, CBC and CTR modes, in place, no status.
#pragma once

#include <cstdint>

constexpr uint32_t KEL_AES_BLOCKLEN = 16;
constexpr uint32_t KEL_AES_KEYLEN = 16;
constexpr uint32_t KEL_AES_KEYEXPSIZE = 176;

struct kel_aes_ctx
{
    uint8_t RoundKey[KEL_AES_KEYEXPSIZE];
    uint8_t Iv[KEL_AES_BLOCKLEN];
};
static_assert(sizeof(kel_aes_ctx) == 192, "round keys then chaining value");

void kel_aes_init_ctx(kel_aes_ctx* ctx, const uint8_t* key);
void kel_aes_init_ctx_iv(kel_aes_ctx* ctx, const uint8_t* key, const uint8_t* iv);
void kel_aes_ctx_set_iv(kel_aes_ctx* ctx, const uint8_t* iv);
void kel_aes_ecb_encrypt(const kel_aes_ctx* ctx, uint8_t* block);
void kel_aes_ecb_decrypt(const kel_aes_ctx* ctx, uint8_t* block);
// CBC over whole 16-byte blocks until at least length bytes are done; the context keeps the last
// ciphertext block as chaining value. A tail shorter than 16 bytes is processed as a whole block, so
// the buffer must hold length rounded up to a multiple of 16.
void kel_aes_cbc_encrypt_buffer(kel_aes_ctx* ctx, uint8_t* buffer, uint32_t length);
void kel_aes_cbc_decrypt_buffer(kel_aes_ctx* ctx, uint8_t* buffer, uint32_t length);
// CTR: the 16-byte counter is a big-endian number incremented after each block. Only length bytes
// are touched; a partial last block still uses up one counter value.
void kel_aes_ctr_xcrypt_buffer(kel_aes_ctx* ctx, uint8_t* buffer, uint32_t length);
