// Data protection: MD5 against the reference test suite (updates split at the block and padding
// boundaries), AES-128 against the published cipher, key expansion, CBC and CTR examples (chaining
// across calls, the counter carry), then the password encryption and decryption of data buffers
// (container bytes, padding checks, destination handling) and the compression entry points, with their
// error lines.
#include "shared/kel_aes.h"
#include "shared/kel_trace.h"
#include "shared/kel_md5.h"
#include "shared/kel_utils.h"
#include "shared/trace_capture.h"

#include "kel_test_hex.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using kel_test::FromHex;
using kel_test::ToHex;

namespace
{
const std::string Password = "password";

const uint8_t* PasswordBytes()
{
    return reinterpret_cast<const uint8_t*>(Password.data());
}

uint32_t PasswordLength()
{
    return static_cast<uint32_t>(Password.size());
}

std::vector<uint8_t> Bytes(const std::string& aText)
{
    return std::vector<uint8_t>(aText.begin(), aText.end());
}

// An owned buffer holding a copy of aData.
Kel_Memory_Context Owned(const std::vector<uint8_t>& aData)
{
    Kel_Memory_Context memory{};
    EXPECT_EQ(Kel_Memory_Alloc(&memory, static_cast<int32_t>(aData.size())), Kel_Good);
    if (!aData.empty())
        memcpy(memory.data, aData.data(), aData.size());
    return memory;
}

// Encrypts aPlain (already padded by the caller, whole blocks) with key = IV = MD5 of the password,
// bypassing the padding of Kel_Utils_EncryptData, to make containers with chosen padding bytes.
std::vector<uint8_t> RawContainer(std::vector<uint8_t> aPlain)
{
    uint8_t digest[16];
    EXPECT_EQ(Kel_Utils_Md5Hash(PasswordBytes(), PasswordLength(), digest), Kel_Good);
    kel_aes_ctx aes{};
    kel_aes_init_ctx_iv(&aes, digest, digest);
    kel_aes_cbc_encrypt_buffer(&aes, aPlain.data(), static_cast<uint32_t>(aPlain.size()));
    return aPlain;
}

struct Decrypted
{
    Kel_StatusCode status;
    int32_t length;
    std::vector<uint8_t> data; // the first length bytes (all of them on failure)
};

Decrypted Decrypt(const std::vector<uint8_t>& aContainer)
{
    Kel_Memory_Context source = Owned(aContainer);
    Kel_Memory_Context dest = Owned(std::vector<uint8_t>(aContainer.size()));
    Decrypted result{};
    result.length = -1;
    result.status = Kel_Utils_DecryptData(&source, static_cast<int32_t>(aContainer.size()), PasswordBytes(),
                                          PasswordLength(), &dest, &result.length);
    const size_t keep = result.status == Kel_Good ? static_cast<size_t>(result.length) : aContainer.size();
    result.data.assign(dest.data, dest.data + keep);
    Kel_Memory_Free(&source);
    Kel_Memory_Free(&dest);
    return result;
}

// Captures the trace lines written while aAction runs; line numbers are replaced by "#".
template <typename Action> std::string CaptureTrace(Action aAction)
{
    TraceCapture trace("protection_trace.txt");
    aAction();
    return trace.Text();
}

std::string Digest(const std::vector<uint8_t>& aData, const std::vector<uint32_t>& aPieces)
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

// (i * 7 + 3) mod 256 for i = 0 .. aLength - 1.
std::vector<uint8_t> Pattern(uint32_t aLength)
{
    std::vector<uint8_t> data(aLength);
    for (uint32_t i = 0; i < aLength; ++i)
        data[i] = static_cast<uint8_t>(i * 7 + 3);
    return data;
}

struct Vector
{
    std::vector<uint8_t> data;
    const char* digest;
};

std::vector<Vector> ReferenceSuite()
{
    return {
        {Bytes(""), "d41d8cd98f00b204e9800998ecf8427e"},
        {Bytes("a"), "0cc175b9c0f1b6a831c399e269772661"},
        {Bytes("abc"), "900150983cd24fb0d6963f7d28e17f72"},
        {Bytes("message digest"), "f96b697d7cb7938d525a2f31aaf161d0"},
        {Bytes("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b"},
        {Bytes("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {Bytes("1234567890123456789012345678901234567890123456789012345678901234567890123456789"
               "0"),
         "57edf4a22be3c955ac49da2e2107b67a"},
    };
}

// Lengths around the padding limit (55/56) and the block size (63/64/65), and past a second block.
std::vector<Vector> BoundarySuite()
{
    return {
        {Pattern(55), "52c0e574e1198de5fe3f8f11440dcb1b"},
        {Pattern(56), "46c9907fc908ee68b1e7b8e71286a518"},
        {Pattern(63), "a62f6d59e837867693f042f5b8f5a236"},
        {Pattern(64), "7160b8fb5e9e4023d549c3971fbaeead"},
        {Pattern(65), "70bd662e7aefbda85a0f7244167b7897"},
        {Pattern(119), "e84905d4214f4d1ca56c2cdcc152b143"},
        {Pattern(120), "e3eb5a6c8669ea01a8c185b8abc8a5dc"},
        {Pattern(128), "10b2da1a82f16d99a81a7203fe9f02cb"},
    };
}

const std::string CipherKey = "2b7e151628aed2a6abf7158809cf4f3c";

// The four plaintext blocks shared by the mode examples.
const std::string ModePlainText = "6bc1bee22e409f96e93d7e117393172a"
                                  "ae2d8a571e03ac9c9eb76fac45af8e51"
                                  "30c81c46a35ce411e5fbc1191a0a52ef"
                                  "f69f2445df4f9b17ad2b417be66c3710";

const std::string CbcIv = "000102030405060708090a0b0c0d0e0f";
const std::string CbcCipherText = "7649abac8119b246cee98e9b12e9197d"
                                  "5086cb9b507219ee95db113a917678b2"
                                  "73bed6b8e3c1743b7116e69e22229516"
                                  "3ff1caa1681fac09120eca307586e1a7";

const std::string CtrCounter = "f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff";
const std::string CtrCipherText = "874d6191b620e3261bef6864990db6ce"
                                  "9806f66b7970fdff8617187bb9fffdff"
                                  "5ae4df3edbd5d35e5b4f09020db03eab"
                                  "1e031dda2fbe03d1792170a0f3009cee";

kel_aes_ctx MakeContext(const std::string& aKey, const std::string& aIv)
{
    kel_aes_ctx ctx{};
    kel_aes_init_ctx_iv(&ctx, FromHex(aKey).data(), FromHex(aIv).data());
    return ctx;
}
} // namespace

TEST(Md5Hash, DigestOfEmptyAndShortInputs)
{
    uint8_t digest[16];
    memset(digest, 0xAA, sizeof(digest));
    const uint8_t empty = 0;
    EXPECT_EQ(Kel_Utils_Md5Hash(&empty, 0, digest), Kel_Good);
    EXPECT_EQ(ToHex(digest, 16), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(Kel_Utils_Md5Hash(PasswordBytes(), PasswordLength(), digest), Kel_Good);
    EXPECT_EQ(ToHex(digest, 16), "5f4dcc3b5aa765d61d8327deb882cf99");
}

TEST(Md5Hash, NullArgumentsAreRejectedWithTheirNames)
{
    uint8_t digest[16];
    const std::string trace = CaptureTrace(
        [&]
        {
            EXPECT_EQ(Kel_Utils_Md5Hash(nullptr, 0, digest), Kel_BadInvalidArgument);
            EXPECT_EQ(Kel_Utils_Md5Hash(PasswordBytes(), 1, nullptr), Kel_BadInvalidArgument);
        });
    EXPECT_EQ(trace, "<-- ReturnError: Arg pData is NULL!\n, File=shared/src/shared/kel_utils, Line=#\n"
                     "<-- ReturnError: Arg md5 is NULL!\n, File=shared/src/shared/kel_utils, Line=#\n");
}

TEST(EncryptData, ContainerBytesMatchTheReferenceCipher)
{
    // Containers made by an independent AES-128-CBC implementation with key = IV = MD5("password").
    struct Case
    {
        std::string plain;
        const char* container;
    };
    const Case cases[] = {
        {"hello", "a5ecf27c2dbec879abd58fa42ae1766f"},
        {"0123456789abcdef", "e28413724885cec42340cc31b797cef477f58e77d65632218acf292b263863e5"},
    };
    for (const Case& c : cases)
    {
        Kel_Memory_Context source = Owned(Bytes(c.plain));
        Kel_Memory_Context dest = Owned(std::vector<uint8_t>(c.plain.size()));
        int32_t length = -1;
        ASSERT_EQ(Kel_Utils_EncryptData(&source, static_cast<int32_t>(c.plain.size()), PasswordBytes(),
                                        PasswordLength(), &dest, &length),
                  Kel_Good);
        ASSERT_EQ(length, static_cast<int32_t>(strlen(c.container) / 2));
        EXPECT_GE(dest.size, length); // the owned destination grew to hold the padding
        EXPECT_EQ(ToHex(dest.data, static_cast<size_t>(length)), c.container);
        EXPECT_EQ(ToHex(source.data, c.plain.size()), ToHex(Bytes(c.plain))); // source untouched

        const Decrypted back = Decrypt(std::vector<uint8_t>(dest.data, dest.data + length));
        EXPECT_EQ(back.status, Kel_Good);
        EXPECT_EQ(back.length, static_cast<int32_t>(c.plain.size()));
        EXPECT_EQ(back.data, Bytes(c.plain));
        Kel_Memory_Free(&source);
        Kel_Memory_Free(&dest);
    }
}

TEST(EncryptData, LengthsRoundUpToTheNextWholeBlockAndDecryptBack)
{
    for (int32_t size : {1, 5, 15, 16, 17, 31, 32, 33, 100})
    {
        std::vector<uint8_t> plain(static_cast<size_t>(size));
        for (int32_t i = 0; i < size; ++i)
            plain[static_cast<size_t>(i)] = static_cast<uint8_t>(i * 13 + 1);
        Kel_Memory_Context source = Owned(plain);
        Kel_Memory_Context dest = Owned(std::vector<uint8_t>(plain.size()));
        int32_t length = -1;
        ASSERT_EQ(Kel_Utils_EncryptData(&source, size, PasswordBytes(), PasswordLength(), &dest, &length),
                  Kel_Good);
        EXPECT_EQ(length, (size / 16 + 1) * 16) << size;

        // The padding under the encryption: (length - size) bytes, each holding that count.
        std::vector<uint8_t> expectedPlain = plain;
        expectedPlain.resize(static_cast<size_t>(length), static_cast<uint8_t>(length - size));
        EXPECT_EQ(ToHex(dest.data, static_cast<size_t>(length)), ToHex(RawContainer(expectedPlain))) << size;

        const Decrypted back = Decrypt(std::vector<uint8_t>(dest.data, dest.data + length));
        EXPECT_EQ(back.status, Kel_Good) << size;
        EXPECT_EQ(back.length, size);
        EXPECT_EQ(back.data, plain);
        Kel_Memory_Free(&source);
        Kel_Memory_Free(&dest);
    }
}

TEST(EncryptData, InPlaceInOneContext)
{
    const std::vector<uint8_t> plain = Bytes("meter data");
    Kel_Memory_Context memory = Owned(plain);
    int32_t length = 0;
    ASSERT_EQ(Kel_Utils_EncryptData(&memory, 10, PasswordBytes(), PasswordLength(), &memory, &length),
              Kel_Good);
    ASSERT_EQ(length, 16);
    std::vector<uint8_t> padded = plain;
    padded.resize(16, 6);
    EXPECT_EQ(ToHex(memory.data, 16), ToHex(RawContainer(padded)));

    ASSERT_EQ(Kel_Utils_DecryptData(&memory, 16, PasswordBytes(), PasswordLength(), &memory, &length),
              Kel_Good);
    EXPECT_EQ(length, 10);
    EXPECT_EQ(std::vector<uint8_t>(memory.data, memory.data + 10), plain);
    Kel_Memory_Free(&memory);
}

TEST(EncryptData, CallerOwnedDestination)
{
    std::vector<uint8_t> plain(16, 0x42);
    Kel_Memory_Context source{};
    Kel_Memory_CreateContext(&source, plain.data(), 16);

    // Room for the whole container: no growth needed.
    uint8_t roomy[32] = {};
    Kel_Memory_Context dest{};
    Kel_Memory_CreateContext(&dest, roomy, 32);
    int32_t length = 0;
    EXPECT_EQ(Kel_Utils_EncryptData(&source, 5, PasswordBytes(), PasswordLength(), &dest, &length), Kel_Good);
    EXPECT_EQ(length, 16);
    EXPECT_EQ(dest.data, roomy);

    // 16 bytes fit, their padding block does not: the area may not be grown.
    uint8_t tight[16] = {};
    Kel_Memory_CreateContext(&dest, tight, 16);
    length = 0;
    EXPECT_EQ(Kel_Utils_EncryptData(&source, 16, PasswordBytes(), PasswordLength(), &dest, &length),
              Kel_BadOutOfMemory);
    EXPECT_EQ(length, 16);
    EXPECT_EQ(dest.data, tight);
    EXPECT_EQ(dest.owned, 0u);

    // Smaller than the source length: refused before anything is copied.
    uint8_t small[8] = {};
    Kel_Memory_CreateContext(&dest, small, 8);
    length = 0;
    EXPECT_EQ(Kel_Utils_EncryptData(&source, 16, PasswordBytes(), PasswordLength(), &dest, &length),
              Kel_BadOutOfRange);
    EXPECT_EQ(ToHex(small, 8), "0000000000000000");
    EXPECT_EQ(length, 0);
    EXPECT_EQ(Kel_Utils_DecryptData(&source, 16, PasswordBytes(), PasswordLength(), &dest, &length),
              Kel_BadOutOfRange);
}

TEST(EncryptData, ArgumentChecks)
{
    std::vector<uint8_t> plain(16, 1);
    Kel_Memory_Context source{};
    Kel_Memory_CreateContext(&source, plain.data(), 16);
    uint8_t area[64] = {};
    Kel_Memory_Context dest{};
    Kel_Memory_CreateContext(&dest, area, 64);
    int32_t length = 0;
    const uint8_t* pw = PasswordBytes();
    const uint32_t pwLength = PasswordLength();

    for (auto* fn : {&Kel_Utils_EncryptData, &Kel_Utils_DecryptData})
    {
        EXPECT_EQ(fn(nullptr, 16, pw, pwLength, &dest, &length), Kel_BadInvalidArgument);
        EXPECT_EQ(fn(&source, 16, nullptr, pwLength, &dest, &length), Kel_BadInvalidArgument);
        EXPECT_EQ(fn(&source, 16, pw, pwLength, nullptr, &length), Kel_BadInvalidArgument);
        EXPECT_EQ(fn(&source, 16, pw, pwLength, &dest, nullptr), Kel_BadInvalidArgument);
        EXPECT_EQ(fn(&source, 0, pw, pwLength, &dest, &length), Kel_BadInvalidArgument);
        EXPECT_EQ(fn(&source, -16, pw, pwLength, &dest, &length), Kel_BadInvalidArgument);
        // More than the source area holds.
        EXPECT_EQ(fn(&source, 32, pw, pwLength, &dest, &length), Kel_BadOutOfRange);
    }
    // Decryption takes whole blocks only.
    EXPECT_EQ(Kel_Utils_DecryptData(&source, 15, pw, pwLength, &dest, &length), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_DecryptData(&source, 17, pw, pwLength, &dest, &length), Kel_BadInvalidArgument);
    EXPECT_EQ(ToHex(area, 16), "00000000000000000000000000000000"); // nothing written

    const std::string trace = CaptureTrace(
        [&]
        {
            Kel_Utils_DecryptData(&source, 15, pw, pwLength, &dest, &length);
            Kel_Utils_EncryptData(&source, 0, pw, pwLength, &dest, &length);
            Kel_Utils_EncryptData(&source, 16, nullptr, pwLength, &dest, &length);
        });
    EXPECT_EQ(trace, "<-- ReturnError: aSourceLength % 16 != 0 is true! Return 0x80AB0000\n"
                     ", File=shared/src/shared/kel_utils, Line=#\n"
                     "<-- ReturnError: aSourceLength < 1 is true! Return 0x80AB0000\n"
                     ", File=shared/src/shared/kel_utils, Line=#\n"
                     "<-- ReturnError: Arg pPassword is NULL!\n, File=shared/src/shared/kel_utils, Line=#\n");
}

TEST(DecryptData, PaddingChecks)
{
    // Valid padding of 1 and 16.
    std::vector<uint8_t> plain = FromHex("000102030405060708090a0b0c0d0e01");
    Decrypted result = Decrypt(RawContainer(plain));
    EXPECT_EQ(result.status, Kel_Good);
    EXPECT_EQ(result.length, 15);

    // A padding byte that differs from the padding length.
    plain = FromHex("00010203040506070809030303030203");
    result = Decrypt(RawContainer(plain));
    EXPECT_EQ(result.status, Kel_Bad);
    EXPECT_EQ(result.data, plain); // decrypted in place all the same

    // A last byte of 0 is taken as no padding.
    plain = FromHex("00010203040506070809aabbccddee00");
    result = Decrypt(RawContainer(plain));
    EXPECT_EQ(result.status, Kel_Good);
    EXPECT_EQ(result.length, 16);
    EXPECT_EQ(result.data, plain);

    // A padding length above 16 is accepted when that many trailing bytes all hold it.
    plain.assign(32, 0x20); // all 32 bytes hold 0x20, so everything is padding
    result = Decrypt(RawContainer(plain));
    EXPECT_EQ(result.status, Kel_Good);
    EXPECT_EQ(result.length, 0);
    std::vector<uint8_t> longPad(48, 0x20);
    longPad[0] = 0x99;
    longPad[15] = 0x77; // 16 data bytes, then 32 bytes of 0x20
    result = Decrypt(RawContainer(longPad));
    EXPECT_EQ(result.status, Kel_Good);
    EXPECT_EQ(result.length, 16);

    // A padding length above the container's length.
    plain = FromHex("000102030405060708090a0b0c0d0e11");
    result = Decrypt(RawContainer(plain));
    EXPECT_EQ(result.status, Kel_Bad);

    const std::string trace =
        CaptureTrace([&] { Decrypt(RawContainer(FromHex("00000000000000000000000000000002"))); });
    EXPECT_EQ(
        trace,
        "--- GotoError: Kel_Bad. Statuscode 0x80000000\n, File=shared/src/shared/kel_utils, Line=#\n"
        "<-- \"Kel_Utils_DecryptData\" = 0x80000000 (BAD).\n, File=shared/src/shared/kel_utils, Line=#\n");
}

TEST(DecryptData, WrongPasswordFailsThePaddingCheck)
{
    Kel_Memory_Context source = Owned(Bytes("0123456789abcdef"));
    Kel_Memory_Context dest = Owned(std::vector<uint8_t>(16));
    int32_t length = 0;
    ASSERT_EQ(Kel_Utils_EncryptData(&source, 16, PasswordBytes(), PasswordLength(), &dest, &length),
              Kel_Good);
    const std::string wrong = "Password";
    Kel_Memory_Context back = Owned(std::vector<uint8_t>(32));
    int32_t backLength = 0;
    const Kel_StatusCode status =
        Kel_Utils_DecryptData(&dest, length, reinterpret_cast<const uint8_t*>(wrong.data()),
                              static_cast<uint32_t>(wrong.size()), &back, &backLength);
    // Without an integrity tag the only sign is the padding: here the last decrypted byte is 0xA5,
    // more than the 32 bytes there are, so the length stays as it was.
    EXPECT_EQ(status, Kel_Bad);
    EXPECT_EQ(backLength, 32);
    EXPECT_EQ(back.data[31], 0xA5);
    Kel_Memory_Free(&source);
    Kel_Memory_Free(&dest);
    Kel_Memory_Free(&back);
}

TEST(Compression, NotImplementedIntoAnotherAreaInvalidIntoTheSame)
{
    uint8_t sourceArea[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    uint8_t destArea[8] = {};
    Kel_Memory_Context source{};
    Kel_Memory_Context dest{};
    Kel_Memory_CreateContext(&source, sourceArea, 8);
    Kel_Memory_CreateContext(&dest, destArea, 8);

    int32_t size = 123;
    EXPECT_EQ(Kel_Utils_CompressData(&source, 8, &dest, &size), Kel_BadNotImplemented);
    EXPECT_EQ(size, 0);
    size = 123;
    EXPECT_EQ(Kel_Utils_CompressData2(&source, 8, &dest, &size, 9), Kel_BadNotImplemented);
    EXPECT_EQ(size, 0);
    size = 123;
    EXPECT_EQ(Kel_Utils_DecompressData(&source, 8, &dest, &size), Kel_BadNotImplemented);
    EXPECT_EQ(size, 0);

    // Same area, through one context or two: invalid, size left alone.
    Kel_Memory_Context alias{};
    Kel_Memory_CreateContext(&alias, sourceArea, 8);
    size = 123;
    EXPECT_EQ(Kel_Utils_CompressData(&source, 8, &source, &size), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_CompressData2(&source, 8, &alias, &size, -1), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Utils_DecompressData(&source, 8, &alias, &size), Kel_BadInvalidArgument);
    EXPECT_EQ(size, 123);
}

TEST(Compression, ErrorLines)
{
    uint8_t sourceArea[4] = {};
    uint8_t destArea[4] = {};
    Kel_Memory_Context source{};
    Kel_Memory_Context dest{};
    Kel_Memory_CreateContext(&source, sourceArea, 4);
    Kel_Memory_CreateContext(&dest, destArea, 4);
    int32_t size = 0;
    const std::string trace = CaptureTrace(
        [&]
        {
            Kel_Utils_DecompressData(nullptr, 4, &dest, &size);
            Kel_Utils_DecompressData(&source, 4, nullptr, &size);
            Kel_Utils_DecompressData(&source, 4, &dest, nullptr);
            Kel_Utils_DecompressData(&source, 4, &source, &size);
            Kel_Utils_CompressData(&source, 4, &dest, &size);
        });
    const std::string at = ", File=shared/src/shared/kel_utils, Line=#\n";
    EXPECT_EQ(trace, "<-- ReturnError: Arg pSource is NULL!\n" + at +
                         "<-- ReturnError: Arg pDest is NULL!\n" + at +
                         "<-- ReturnError: Arg pDestSize is NULL!\n" + at +
                         "<-- ReturnError: pSource->data == pDest->data is true! Return 0x80AB0000\n" + at +
                         "--- GotoError: Kel_BadNotImplemented. Statuscode 0x80400000\n" + at +
                         "<-- \"Kel_Utils_CompressData2\" = 0x80400000 (BAD).\n" + at +
                         "--- GotoError: Bad statuscode 0x80400000\n" + at +
                         "<-- \"Kel_Utils_CompressData\" = 0x80400000 (BAD).\n" + at);
}

TEST(Md5, ReferenceSuiteInOneUpdate)
{
    for (const Vector& v : ReferenceSuite())
        EXPECT_EQ(Digest(v.data, {}), v.digest) << v.data.size() << " bytes";
}

TEST(Md5, ReferenceSuiteSplitAtEveryPoint)
{
    for (const Vector& v : ReferenceSuite())
        for (uint32_t split = 0; split <= v.data.size(); ++split)
            EXPECT_EQ(Digest(v.data, {split}), v.digest) << v.data.size() << " bytes split at " << split;
}

TEST(Md5, BoundaryLengthsInOneUpdateAndSplit)
{
    for (const Vector& v : BoundarySuite())
    {
        const uint32_t size = static_cast<uint32_t>(v.data.size());
        EXPECT_EQ(Digest(v.data, {}), v.digest) << size;
        for (uint32_t split = 0; split <= size; ++split)
            EXPECT_EQ(Digest(v.data, {split}), v.digest) << size << " split at " << split;
        // Many small pieces, one byte at a time, and pieces of 55 and 9 that straddle blocks.
        EXPECT_EQ(Digest(v.data, std::vector<uint32_t>(size, 1)), v.digest) << size << " bytewise";
        if (size >= 64)
        {
            EXPECT_EQ(Digest(v.data, {55, 9}), v.digest) << size << " as 55 + 9 + rest";
        }
    }
}

TEST(Aes, CipherExampleEncryptsAndDecryptsOneBlock)
{
    kel_aes_ctx ctx{};
    kel_aes_init_ctx(&ctx, FromHex("000102030405060708090a0b0c0d0e0f").data());
    std::vector<uint8_t> block = FromHex("00112233445566778899aabbccddeeff");
    kel_aes_ecb_encrypt(&ctx, block.data());
    EXPECT_EQ(ToHex(block), "69c4e0d86a7b0430d8cdb78070b4c55a");
    kel_aes_ecb_decrypt(&ctx, block.data());
    EXPECT_EQ(ToHex(block), "00112233445566778899aabbccddeeff");
}

TEST(Aes, KeyExpansionMatchesTheExpansionExample)
{
    kel_aes_ctx ctx{};
    kel_aes_init_ctx(&ctx, FromHex(CipherKey).data());
    EXPECT_EQ(ToHex(ctx.RoundKey, 16), CipherKey);
    // w[4..7] and w[40..43] of the example.
    EXPECT_EQ(ToHex(ctx.RoundKey + 16, 16), "a0fafe1788542cb123a339392a6c7605");
    EXPECT_EQ(ToHex(ctx.RoundKey + 160, 16), "d014f9a8c9ee2589e13f0cc8b6630ca6");
}

TEST(Aes, CbcEncryptExampleInOneCallAndAcrossTwo)
{
    kel_aes_ctx ctx = MakeContext(CipherKey, CbcIv);
    std::vector<uint8_t> data = FromHex(ModePlainText);
    kel_aes_cbc_encrypt_buffer(&ctx, data.data(), 64);
    EXPECT_EQ(ToHex(data), CbcCipherText);
    EXPECT_EQ(ToHex(ctx.Iv, 16), CbcCipherText.substr(96)); // the last ciphertext block

    ctx = MakeContext(CipherKey, CbcIv);
    data = FromHex(ModePlainText);
    kel_aes_cbc_encrypt_buffer(&ctx, data.data(), 16);
    kel_aes_cbc_encrypt_buffer(&ctx, data.data() + 16, 48);
    EXPECT_EQ(ToHex(data), CbcCipherText);
}

TEST(Aes, CbcDecryptExampleInOneCallAndAcrossTwo)
{
    kel_aes_ctx ctx = MakeContext(CipherKey, CbcIv);
    std::vector<uint8_t> data = FromHex(CbcCipherText);
    kel_aes_cbc_decrypt_buffer(&ctx, data.data(), 64);
    EXPECT_EQ(ToHex(data), ModePlainText);
    EXPECT_EQ(ToHex(ctx.Iv, 16), CbcCipherText.substr(96));

    ctx = MakeContext(CipherKey, CbcIv);
    data = FromHex(CbcCipherText);
    kel_aes_cbc_decrypt_buffer(&ctx, data.data(), 32);
    kel_aes_cbc_decrypt_buffer(&ctx, data.data() + 32, 32);
    EXPECT_EQ(ToHex(data), ModePlainText);
}

TEST(Aes, CbcShortTailIsProcessedAsAWholeBlock)
{
    // 20 bytes asked: two whole blocks are encrypted, as for 32.
    kel_aes_ctx ctx = MakeContext(CipherKey, CbcIv);
    std::vector<uint8_t> data = FromHex(ModePlainText);
    kel_aes_cbc_encrypt_buffer(&ctx, data.data(), 20);
    EXPECT_EQ(ToHex(data.data(), 32), CbcCipherText.substr(0, 64));
    EXPECT_EQ(ToHex(data.data() + 32, 32), ModePlainText.substr(64)); // untouched
    EXPECT_EQ(ToHex(ctx.Iv, 16), CbcCipherText.substr(32, 32));

    // Length 0 does nothing and keeps the chaining value.
    kel_aes_cbc_decrypt_buffer(&ctx, data.data(), 0);
    EXPECT_EQ(ToHex(data.data(), 32), CbcCipherText.substr(0, 64));
    EXPECT_EQ(ToHex(ctx.Iv, 16), CbcCipherText.substr(32, 32));
}

TEST(Aes, CtrExampleEncryptsAndDecryptsAcrossTwoCalls)
{
    kel_aes_ctx ctx = MakeContext(CipherKey, CtrCounter);
    std::vector<uint8_t> data = FromHex(ModePlainText);
    kel_aes_ctr_xcrypt_buffer(&ctx, data.data(), 64);
    EXPECT_EQ(ToHex(data), CtrCipherText);
    EXPECT_EQ(ToHex(ctx.Iv, 16), "f0f1f2f3f4f5f6f7f8f9fafbfcfdff03"); // carried into byte 14

    ctx = MakeContext(CipherKey, CtrCounter);
    kel_aes_ctr_xcrypt_buffer(&ctx, data.data(), 32);
    kel_aes_ctr_xcrypt_buffer(&ctx, data.data() + 32, 32);
    EXPECT_EQ(ToHex(data), ModePlainText);
}

TEST(Aes, CtrPartialBlockTouchesOnlyItsBytesAndUsesUpOneCounter)
{
    kel_aes_ctx ctx = MakeContext(CipherKey, CtrCounter);
    std::vector<uint8_t> data = FromHex(ModePlainText);
    kel_aes_ctr_xcrypt_buffer(&ctx, data.data(), 5);
    EXPECT_EQ(ToHex(data.data(), 5), CtrCipherText.substr(0, 10));
    EXPECT_EQ(ToHex(data.data() + 5, 59), ModePlainText.substr(10));
    EXPECT_EQ(ToHex(ctx.Iv, 16), "f0f1f2f3f4f5f6f7f8f9fafbfcfdff00");

    // The next call starts on the next counter value: block 2 of the example.
    kel_aes_ctr_xcrypt_buffer(&ctx, data.data() + 16, 16);
    EXPECT_EQ(ToHex(data.data() + 16, 16), CtrCipherText.substr(32, 32));
}

TEST(Aes, CtrCounterCarriesBigEndianAndWraps)
{
    // Key stream of block n is the encrypted counter n; compare each against ECB of the expected counter.
    struct Case
    {
        const char* first;
        const char* second;
    };
    const Case cases[] = {
        {"000102030405060708090a0b0c0dffff", "000102030405060708090a0b0c0e0000"},
        {"00ffffffffffffffffffffffffffffff", "01000000000000000000000000000000"},
        {"ffffffffffffffffffffffffffffffff", "00000000000000000000000000000000"},
    };
    for (const Case& c : cases)
    {
        kel_aes_ctx ctx = MakeContext(CipherKey, c.first);
        uint8_t zeros[32] = {};
        kel_aes_ctr_xcrypt_buffer(&ctx, zeros, 32);

        std::vector<uint8_t> expected = FromHex(c.first);
        std::vector<uint8_t> second = FromHex(c.second);
        kel_aes_ecb_encrypt(&ctx, expected.data());
        kel_aes_ecb_encrypt(&ctx, second.data());
        expected.insert(expected.end(), second.begin(), second.end());
        EXPECT_EQ(ToHex(zeros, 32), ToHex(expected)) << c.first;
    }
}
