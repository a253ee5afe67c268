// The padding check of the decryption. The input is the plain text as it comes out of the cipher
// (padding included, cut to whole blocks); the target encrypts it without padding and hands it to
// DecryptData, so that every padding byte value and length is reachable. A result taken as good must
// be a correct PKCS#7 padding of the plain text.
#include "shared/kel_aes.h"
#include "shared/kel_memory.h"
#include "shared/kel_utils.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const uint8_t kPassword[] = {'q', '3', '1', '0'};
    size &= ~static_cast<size_t>(15);
    if (size == 0 || size > 1024)
        return 0;
    uint8_t* block = new uint8_t[size];
    memcpy(block, data, size);
    uint8_t digest[16];
    Kel_Utils_Md5Hash(kPassword, sizeof(kPassword), digest);
    kel_aes_ctx aes;
    kel_aes_init_ctx_iv(&aes, digest, digest);
    kel_aes_cbc_encrypt_buffer(&aes, block, static_cast<uint32_t>(size));

    Kel_Memory_Context memory{};
    Kel_Memory_CreateContext(&memory, block, static_cast<int32_t>(size));
    int32_t length = -1;
    const Kel_StatusCode status = Kel_Utils_DecryptData(&memory, static_cast<int32_t>(size), kPassword,
                                                        sizeof(kPassword), &memory, &length);
    if (memcmp(block, data, size) != 0) // decrypted in place back to the input
        __builtin_trap();
    if (status == Kel_Good)
    {
        const uint8_t pad = data[size - 1];
        if (length < 0 || static_cast<size_t>(length) + pad != size)
            __builtin_trap();
        for (size_t i = static_cast<size_t>(length); i < size; ++i)
            if (data[i] != pad)
                __builtin_trap();
    }
    delete[] block;
    return 0;
}
