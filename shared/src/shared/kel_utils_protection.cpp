// Data protection: the MD5 digest, password-based encryption of a data buffer (AES-128-CBC with
// PKCS#7 padding, key and IV both the MD5 digest of the password) and the compression entry points,
// which this build does not implement.
//
// The encrypted container is the bare ciphertext: no header, no stored IV, no length, no integrity
// tag. A wrong password shows only as a padding failure (Kel_Bad) or as garbage when the padding
// happens to look valid.
#define KEL_TRACE_FILE "shared/src/shared/kel_utils"
#include "shared/kel_utils.h"

#include "shared/kel_aes.h"
#include "shared/kel_md5.h"
#include "shared/kel_trace.h"

#include <cstring>

namespace
{
// Overwrites key material on the stack before it goes out of scope; the volatile access keeps the
// compiler from dropping the stores.
void Wipe(void* pData, size_t aSize)
{
    volatile uint8_t* p = static_cast<volatile uint8_t*>(pData);
    for (size_t i = 0; i < aSize; ++i)
        p[i] = 0;
}
} // namespace

Kel_StatusCode Kel_Utils_Md5Hash(const uint8_t* pData, uint32_t aLength, uint8_t* md5)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pData);
    KEL_REJECT_NULL(md5);
    kel_md5_context ctx;
    memset(&ctx, 0, sizeof(ctx));
    memset(md5, 0, 16);
    kel_md5_starts(&ctx);
    kel_md5_update(&ctx, pData, aLength);
    kel_md5_finish(&ctx, md5);
    Wipe(&ctx, sizeof(ctx));
    KEL_EXIT(Kel_Good);
}

// The source and the password must not be null, and aSourceLength bytes must lie inside the source
// area (reading past it is refused with Kel_BadOutOfRange rather than left undefined). The
// destination receives the container, which is aSourceLength rounded up to the next multiple of 16
// (a whole block more when aSourceLength already is one); an owned destination grows as the data
// buffer allows, a caller-owned one that is too small fails with Kel_BadOutOfMemory. Source and
// destination may be the same area: the data is then encrypted in place.
Kel_StatusCode Kel_Utils_EncryptData(Kel_Memory_Context* pSource, int32_t aSourceLength,
                                     const uint8_t* pPassword, uint32_t aPasswordLength,
                                     Kel_Memory_Context* pDest, int32_t* pDestLength)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSource);
    KEL_REJECT_NULL(pPassword);
    KEL_REJECT_NULL(pDest);
    KEL_REJECT_NULL(pDestLength);
    KEL_REJECT_IF(aSourceLength < 1, Kel_BadInvalidArgument);
    KEL_REJECT_NULL_AS(pSource->data, "pSource->data");
    KEL_REJECT_IF(aSourceLength > pSource->size, Kel_BadOutOfRange);

    Kel_StatusCode status = Kel_Good;
    if (pDest->data != pSource->data)
    {
        KEL_GOTO_CODE_IF(pDest->data == KEL_NULL || pDest->size < aSourceLength, Kel_BadOutOfRange);
        memmove(pDest->data, pSource->data, static_cast<size_t>(aSourceLength));
    }
    *pDestLength = aSourceLength;

    uint8_t digest[16];
    KEL_GOTO_IF_BAD(status, Kel_Utils_Md5Hash(pPassword, aPasswordLength, digest));

    // PKCS#7: 1 to 16 bytes, each holding the padding length, appended at the length as cursor.
    const uint8_t pad =
        static_cast<uint8_t>(KEL_AES_BLOCKLEN - static_cast<uint32_t>(aSourceLength) % KEL_AES_BLOCKLEN);
    for (uint8_t i = 0; i < pad; ++i)
    {
        uint32_t cursor = static_cast<uint32_t>(*pDestLength);
        status = Kel_Memory_UInt8ToData(pad, pDest, &cursor);
        if (Kel_IsBad(status))
        {
            Wipe(digest, sizeof(digest));
            Kel_Trace_GotoBad(kelScope, __LINE__, status);
            KEL_EXIT_BAD(status);
        }
        *pDestLength = static_cast<int32_t>(cursor);
    }

    kel_aes_ctx aes;
    kel_aes_init_ctx_iv(&aes, digest, digest);
    kel_aes_cbc_encrypt_buffer(&aes, pDest->data, static_cast<uint32_t>(*pDestLength));
    Wipe(&aes, sizeof(aes));
    Wipe(digest, sizeof(digest));
    KEL_EXIT(status);
}

// The checks on the source and destination areas are those of Kel_Utils_EncryptData. The padding
// check follows the container's producer as it is: a last byte of 0 is taken as no padding, and a
// padding length above 16 is not refused as such as long as that many trailing bytes all hold it.
// On a padding failure the length at pDestLength may already have dropped by the padding length.
Kel_StatusCode Kel_Utils_DecryptData(Kel_Memory_Context* pSource, int32_t aSourceLength,
                                     const uint8_t* pPassword, uint32_t aPasswordLength,
                                     Kel_Memory_Context* pDest, int32_t* pDestLength)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSource);
    KEL_REJECT_NULL(pPassword);
    KEL_REJECT_NULL(pDest);
    KEL_REJECT_NULL(pDestLength);
    KEL_REJECT_IF(aSourceLength < 1, Kel_BadInvalidArgument);
    KEL_REJECT_IF(aSourceLength % 16 != 0, Kel_BadInvalidArgument);
    KEL_REJECT_NULL_AS(pSource->data, "pSource->data");
    KEL_REJECT_IF(aSourceLength > pSource->size, Kel_BadOutOfRange);

    Kel_StatusCode status = Kel_Good;
    if (pDest->data != pSource->data)
    {
        KEL_GOTO_CODE_IF(pDest->data == KEL_NULL || pDest->size < aSourceLength, Kel_BadOutOfRange);
        memmove(pDest->data, pSource->data, static_cast<size_t>(aSourceLength));
    }
    *pDestLength = aSourceLength;

    uint8_t digest[16];
    KEL_GOTO_IF_BAD(status, Kel_Utils_Md5Hash(pPassword, aPasswordLength, digest));
    kel_aes_ctx aes;
    kel_aes_init_ctx_iv(&aes, digest, digest);
    kel_aes_cbc_decrypt_buffer(&aes, pDest->data, static_cast<uint32_t>(*pDestLength));
    Wipe(&aes, sizeof(aes));
    Wipe(digest, sizeof(digest));

    const uint8_t pad = pDest->data[*pDestLength - 1];
    KEL_GOTO_CODE_IF(pad > *pDestLength, Kel_Bad);
    *pDestLength -= pad;
    for (uint32_t i = 0; i < pad; ++i)
        KEL_GOTO_CODE_IF(pDest->data[*pDestLength + static_cast<int32_t>(i)] != pad, Kel_Bad);
    KEL_EXIT(status);
}

Kel_StatusCode Kel_Utils_CompressData(Kel_Memory_Context* pSource, int32_t aSourceLength,
                                      Kel_Memory_Context* pDest, int32_t* pDestSize)
{
    KEL_ENTER(Kel_Module_Utils);
    Kel_StatusCode status = Kel_Good;
    KEL_GOTO_IF_BAD(status, Kel_Utils_CompressData2(pSource, aSourceLength, pDest, pDestSize, -1));
    KEL_EXIT(status);
}

// No compressor in this build: after the argument checks the call fails with Kel_BadNotImplemented
// and a destination size of 0. The level (-1 for the default) is not used.
Kel_StatusCode Kel_Utils_CompressData2(Kel_Memory_Context* pSource, int32_t aSourceLength,
                                       Kel_Memory_Context* pDest, int32_t* pDestSize, int32_t aLevel)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSource);
    KEL_REJECT_NULL(pDest);
    KEL_REJECT_NULL(pDestSize);
    KEL_REJECT_IF(aSourceLength < 1, Kel_BadInvalidArgument);
    KEL_REJECT_IF(pSource->data == pDest->data, Kel_BadInvalidArgument);
    (void)aLevel;
    *pDestSize = 0;
    KEL_GOTO_CODE(Kel_BadNotImplemented);
}

Kel_StatusCode Kel_Utils_DecompressData(Kel_Memory_Context* pSource, int32_t aSourceLength,
                                        Kel_Memory_Context* pDest, int32_t* pDestSize)
{
    KEL_ENTER(Kel_Module_Utils);
    KEL_REJECT_NULL(pSource);
    KEL_REJECT_NULL(pDest);
    KEL_REJECT_NULL(pDestSize);
    KEL_REJECT_IF(aSourceLength < 1, Kel_BadInvalidArgument);
    KEL_REJECT_IF(pSource->data == pDest->data, Kel_BadInvalidArgument);
    *pDestSize = 0;
    KEL_GOTO_CODE(Kel_BadNotImplemented);
}
