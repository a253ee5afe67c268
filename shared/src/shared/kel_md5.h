// MD5 message digest (RFC 1321).
#pragma once

#include <cstdint>

struct kel_md5_context
{
    uint32_t total[2];  // number of bytes processed, low and high words
    uint32_t state[4];  // intermediate digest
    uint8_t buffer[64]; // block being filled
};

void kel_md5_starts(kel_md5_context* ctx);
void kel_md5_update(kel_md5_context* ctx, const uint8_t* input, uint32_t length);
void kel_md5_finish(kel_md5_context* ctx, uint8_t output[16]);
void kel_md5_process(kel_md5_context* ctx, const uint8_t data[64]);
