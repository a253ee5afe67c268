// Data protection: MD5 against the reference suite (updates split at every point and across the block
// and padding boundaries), the published AES-128 CBC and CTR examples (chaining across calls, the
// counter carry), the password container's padding checks and destinations, and the compression entry
// points. The container's bytes at many lengths are compared with openssl by protection_openssl.sh;
// rejected arguments are in the utilities' table.
#include "shared/kel_aes.h"
#include "shared/kel_md5.h"
#include "shared/kel_utils.h"
#include "shared/trace_capture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace
{
using Bytes = std::vector<uint8_t>;

Bytes FromHex(const std::string& aText)
{
    Bytes bytes;
    for (size_t i = 0; i + 1 < aText.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(std::stoi(aText.substr(i, 2), nullptr, 16)));
    return bytes;
}

std::string ToHex(const uint8_t* pData, size_t aSize)
{
    std::string text;
    char byte[3];
    for (size_t i = 0; i < aSize; ++i)
        text += (snprintf(byte, sizeof(byte), "%02x", pData[i]), byte);
    return text;
}

std::string ToHex(const Bytes& aData)
{
    return ToHex(aData.data(), aData.size());
}

const Bytes Password = {'p', 'a', 's', 's', 'w', 'o', 'r', 'd'};

Kel_Memory_Context Owned(const Bytes& aData)
{
    Kel_Memory_Context memory{};
    EXPECT_EQ(Kel_Memory_Alloc(&memory, static_cast<int32_t>(aData.size())), Kel_Good);
    if (!aData.empty())
        memcpy(memory.data, aData.data(), aData.size());
    return memory;
}

// AES-128-CBC of whole blocks with key = IV = MD5 of the password, without padding: containers with
// chosen padding bytes.
Bytes RawContainer(Bytes aPlain)
{
    uint8_t digest[16];
    EXPECT_EQ(Kel_Utils_Md5Hash(Password.data(), 8, digest), Kel_Good);
    kel_aes_ctx aes{};
    kel_aes_init_ctx_iv(&aes, digest, digest);
    kel_aes_cbc_encrypt_buffer(&aes, aPlain.data(), static_cast<uint32_t>(aPlain.size()));
    return aPlain;
}

// Runs Kel_Utils_DecryptData between owned buffers; the result's bytes are the first *pLength of the
// destination (all of it on failure).
Bytes Decrypt(const Bytes& aInput, Kel_StatusCode* pStatus, int32_t* pLength)
{
    Kel_Memory_Context source = Owned(aInput), dest = Owned(Bytes(aInput.size()));
    *pLength = -1;
    *pStatus = Kel_Utils_DecryptData(&source, static_cast<int32_t>(aInput.size()), Password.data(), 8, &dest,
                                     pLength);
    const Bytes result(dest.data, dest.data + (*pStatus == Kel_Good ? *pLength : dest.size));
    Kel_Memory_Free(&source);
    Kel_Memory_Free(&dest);
    return result;
}

std::string Digest(const Bytes& aData, const std::vector<uint32_t>& aPieces)
{
    kel_md5_context ctx{};
    kel_md5_starts(&ctx);
    uint32_t offset = 0;
    for (uint32_t piece : aPieces)
    {
        kel_md5_update(&ctx, aData.data() + offset, piece);
        offset += piece;
    }
    kel_md5_update(&ctx, aData.data() + offset, static_cast<uint32_t>(aData.size()) - offset);
    uint8_t digest[16];
    kel_md5_finish(&ctx, digest);
    return ToHex(digest, 16);
}

const auto Text = [](const std::string& aText) { return Bytes(aText.begin(), aText.end()); };

// (i * 7 + 3) mod 256 for i = 0 .. aLength - 1.
Bytes Pattern(uint32_t aLength)
{
    Bytes data(aLength);
    for (uint32_t i = 0; i < aLength; ++i)
        data[i] = static_cast<uint8_t>(i * 7 + 3);
    return data;
}

const std::string CipherKey = "2b7e151628aed2a6abf7158809cf4f3c";
const std::string ModePlainText = "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                                  "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";
const std::string CbcIv = "000102030405060708090a0b0c0d0e0f";
const std::string CbcCipherText = "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
                                  "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7";
const std::string CtrCounter = "f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff";
const std::string CtrCipherText = "874d6191b620e3261bef6864990db6ce9806f66b7970fdff8617187bb9fffdff"
                                  "5ae4df3edbd5d35e5b4f09020db03eab1e031dda2fbe03d1792170a0f3009cee";

kel_aes_ctx MakeContext(const std::string& aKey, const std::string& aIv)
{
    kel_aes_ctx ctx{};
    kel_aes_init_ctx_iv(&ctx, FromHex(aKey).data(), FromHex(aIv).data());
    return ctx;
}
} // namespace

TEST(Md5, ReferenceSuiteAndBoundaryLengthsInEveryUpdateSplit)
{
    const std::pair<Bytes, const char*> vectors[] = {
        {Text(""), "d41d8cd98f00b204e9800998ecf8427e"},
        {Text("abc"), "900150983cd24fb0d6963f7d28e17f72"},
        {Text("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
         "57edf4a22be3c955ac49da2e2107b67a"},
        {Text("password"), "5f4dcc3b5aa765d61d8327deb882cf99"},
        // Around the padding limit (55/56), the block size (63/64/65) and past a second block.
        {Pattern(55), "52c0e574e1198de5fe3f8f11440dcb1b"},
        {Pattern(56), "46c9907fc908ee68b1e7b8e71286a518"},
        {Pattern(63), "a62f6d59e837867693f042f5b8f5a236"},
        {Pattern(64), "7160b8fb5e9e4023d549c3971fbaeead"},
        {Pattern(65), "70bd662e7aefbda85a0f7244167b7897"},
        {Pattern(120), "e3eb5a6c8669ea01a8c185b8abc8a5dc"},
        {Pattern(128), "10b2da1a82f16d99a81a7203fe9f02cb"},
    };
    for (const auto& [data, digest] : vectors)
    {
        const uint32_t size = static_cast<uint32_t>(data.size());
        uint8_t md5[16];
        const uint8_t none = 0;
        EXPECT_EQ(Kel_Utils_Md5Hash(size > 0 ? data.data() : &none, size, md5), Kel_Good);
        EXPECT_EQ(ToHex(md5, 16), digest) << size;
        for (uint32_t split = 0; split <= size; ++split)
            EXPECT_EQ(Digest(data, {split}), digest) << size << " split at " << split;
        EXPECT_EQ(Digest(data, std::vector<uint32_t>(size, 1)), digest) << size << " bytewise";
    }
}

TEST(Aes, CbcExampleInOneCallAndAcrossCalls)
{
    // Each row: the pieces the 64 bytes are handed over in.
    for (const std::vector<uint32_t>& pieces : {std::vector<uint32_t>{64}, {16, 48}, {32, 32}})
    {
        kel_aes_ctx encrypt = MakeContext(CipherKey, CbcIv), decrypt = MakeContext(CipherKey, CbcIv);
        Bytes data = FromHex(ModePlainText), back = FromHex(CbcCipherText);
        for (uint32_t offset = 0, i = 0; i < pieces.size(); offset += pieces[i++])
        {
            kel_aes_cbc_encrypt_buffer(&encrypt, data.data() + offset, pieces[i]);
            kel_aes_cbc_decrypt_buffer(&decrypt, back.data() + offset, pieces[i]);
        }
        EXPECT_EQ(ToHex(data), CbcCipherText);
        EXPECT_EQ(ToHex(back), ModePlainText);
        EXPECT_EQ(ToHex(encrypt.Iv, 16), CbcCipherText.substr(96)); // the last ciphertext block
        EXPECT_EQ(ToHex(decrypt.Iv, 16), CbcCipherText.substr(96));
    }
    // 20 bytes asked: two whole blocks are encrypted, as for 32; length 0 keeps the chaining value.
    kel_aes_ctx ctx = MakeContext(CipherKey, CbcIv);
    Bytes data = FromHex(ModePlainText);
    kel_aes_cbc_encrypt_buffer(&ctx, data.data(), 20);
    kel_aes_cbc_decrypt_buffer(&ctx, data.data(), 0);
    EXPECT_EQ(ToHex(data), CbcCipherText.substr(0, 64) + ModePlainText.substr(64));
    EXPECT_EQ(ToHex(ctx.Iv, 16), CbcCipherText.substr(32, 32));
}

TEST(Aes, CtrExampleAcrossCallsAndTheCounterCarry)
{
    kel_aes_ctx ctx = MakeContext(CipherKey, CtrCounter);
    Bytes data = FromHex(ModePlainText);
    kel_aes_ctr_xcrypt_buffer(&ctx, data.data(), 64);
    EXPECT_EQ(ToHex(data), CtrCipherText);
    EXPECT_EQ(ToHex(ctx.Iv, 16), "f0f1f2f3f4f5f6f7f8f9fafbfcfdff03"); // carried into byte 14
    // The counter is one big-endian number that wraps: key stream block n is the encrypted counter n.
    for (const auto& [first, second] :
         {std::pair{"000102030405060708090a0b0c0dffff", "000102030405060708090a0b0c0e0000"},
          std::pair{"ffffffffffffffffffffffffffffffff", "00000000000000000000000000000000"}})
    {
        ctx = MakeContext(CipherKey, first);
        uint8_t stream[32] = {};
        kel_aes_ctr_xcrypt_buffer(&ctx, stream, 32);
        Bytes expected = FromHex(std::string(first) + second);
        kel_aes_ecb_encrypt(&ctx, expected.data());
        kel_aes_ecb_encrypt(&ctx, expected.data() + 16);
        EXPECT_EQ(ToHex(stream, 32), ToHex(expected)) << first;
    }
}

TEST(Container, PaddingChecksOnDecryption)
{
    const std::tuple<Bytes, Kel_StatusCode, int32_t> cases[] = {
        {FromHex("000102030405060708090a0b0c0d0e01"), Kel_Good, 15},
        {FromHex("00010203040506070809030303030203"), Kel_Bad, 13},  // a byte differs from the count
        {FromHex("00010203040506070809aabbccddee00"), Kel_Good, 16}, // a last byte of 0: no padding
        {FromHex("000102030405060708090a0b0c0d0e11"), Kel_Bad, 16},  // more than the container holds
        {Bytes(32, 0x20), Kel_Good, 0},                              // above 16, all padding
    };
    for (const auto& [plain, expectedStatus, expectedLength] : cases)
    {
        Kel_StatusCode status;
        int32_t length;
        const Bytes result = Decrypt(RawContainer(plain), &status, &length);
        EXPECT_EQ(status, expectedStatus) << ToHex(plain);
        EXPECT_EQ(length, expectedLength) << ToHex(plain);
        EXPECT_EQ(Bytes(result.begin(), result.begin() + expectedLength),
                  Bytes(plain.begin(), plain.begin() + expectedLength));
    }
    TraceCapture trace;
    Kel_StatusCode status;
    int32_t length;
    Decrypt(RawContainer(FromHex("00000000000000000000000000000002")), &status, &length);
    EXPECT_EQ(
        trace.Text(),
        "--- GotoError: Kel_Bad. Statuscode 0x80000000\n, File=shared/src/shared/kel_utils, Line=#\n"
        "<-- \"Kel_Utils_DecryptData\" = 0x80000000 (BAD).\n, File=shared/src/shared/kel_utils, Line=#\n");
}

TEST(Container, InPlaceAndCallerOwnedDestinations)
{
    const Bytes plain = Text("meter data");
    Kel_Memory_Context memory = Owned(plain);
    int32_t length = 0;
    ASSERT_EQ(Kel_Utils_EncryptData(&memory, 10, Password.data(), 8, &memory, &length), Kel_Good);
    Bytes padded = plain;
    padded.resize(16, 6);
    EXPECT_EQ(ToHex(memory.data, 16), ToHex(RawContainer(padded)));
    ASSERT_EQ(Kel_Utils_DecryptData(&memory, 16, Password.data(), 8, &memory, &length), Kel_Good);
    EXPECT_EQ(Bytes(memory.data, memory.data + length), plain);
    Kel_Memory_Free(&memory);

    uint8_t source[16], roomy[32] = {}, tight[16] = {}, small[8] = {};
    memset(source, 0x42, sizeof(source));
    Kel_Memory_Context from{}, dest{};
    Kel_Memory_CreateContext(&from, source, 16);
    Kel_Memory_CreateContext(&dest, roomy, 32);
    EXPECT_EQ(Kel_Utils_EncryptData(&from, 5, Password.data(), 8, &dest, &length), Kel_Good);
    EXPECT_EQ(length, 16);
    // 16 bytes fit, their padding block does not: a caller's area is not grown.
    Kel_Memory_CreateContext(&dest, tight, 16);
    EXPECT_EQ(Kel_Utils_EncryptData(&from, 16, Password.data(), 8, &dest, &length), Kel_BadOutOfMemory);
    EXPECT_EQ(dest.data, tight);
    // Smaller than the source length, or a source length beyond the source: refused, nothing written.
    Kel_Memory_CreateContext(&dest, small, 8);
    EXPECT_EQ(Kel_Utils_EncryptData(&from, 16, Password.data(), 8, &dest, &length), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_Utils_DecryptData(&from, 16, Password.data(), 8, &dest, &length), Kel_BadOutOfRange);
    EXPECT_EQ(Kel_Utils_EncryptData(&from, 32, Password.data(), 8, &dest, &length), Kel_BadOutOfRange);
    EXPECT_EQ(ToHex(small, 8), "0000000000000000");
}

TEST(Compression, NotImplementedIntoAnotherAreaInvalidIntoTheSame)
{
    uint8_t sourceArea[8] = {1, 2, 3, 4, 5, 6, 7, 8}, destArea[8] = {};
    Kel_Memory_Context source{}, dest{}, alias{};
    Kel_Memory_CreateContext(&source, sourceArea, 8);
    Kel_Memory_CreateContext(&dest, destArea, 8);
    Kel_Memory_CreateContext(&alias, sourceArea, 8);
    int32_t size = 123;
    EXPECT_EQ(Kel_Utils_DecompressData(&source, 8, &dest, &size), Kel_BadNotImplemented);
    EXPECT_EQ(size, 0);
    size = 123;
    EXPECT_EQ(Kel_Utils_CompressData(&source, 8, &alias, &size), Kel_BadInvalidArgument);
    EXPECT_EQ(size, 123);
    TraceCapture trace;
    EXPECT_EQ(Kel_Utils_CompressData(&source, 8, &dest, &size), Kel_BadNotImplemented);
    EXPECT_EQ(size, 0);
    const std::string at = ", File=shared/src/shared/kel_utils, Line=#\n";
    EXPECT_EQ(trace.Text(), "--- GotoError: Kel_BadNotImplemented. Statuscode 0x80400000\n" + at +
                                "<-- \"Kel_Utils_CompressData2\" = 0x80400000 (BAD).\n" + at +
                                "--- GotoError: Bad statuscode 0x80400000\n" + at +
                                "<-- \"Kel_Utils_CompressData\" = 0x80400000 (BAD).\n" + at);
}
