// Data protection: MD5 digest, password encryption and decryption of data buffers (container bytes,
// padding checks, destination handling) and the compression entry points, with their error lines.
#include "shared/kel_aes.h"
#include "shared/kel_trace.h"
#include "shared/kel_utils.h"

#include "kel_test_hex.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <regex>
#include <sstream>
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

std::string ReadFile(const char* pPath)
{
    std::ifstream in(pPath); // text mode: the Windows build writes CRLF line ends
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// Captures the trace lines written while aAction runs; line numbers are replaced by "#".
template <typename Action> std::string CaptureTrace(Action aAction)
{
    remove("protection_trace.txt");
    EXPECT_EQ(Kel_Trace_Initialize(4), Kel_Good);
    EXPECT_EQ(Kel_P_Trace_File_Enable("protection_trace.txt"), Kel_Good);
    aAction();
    EXPECT_EQ(Kel_P_Trace_File_Disable(), Kel_Good);
    Kel_Trace_Finalize();
    return std::regex_replace(ReadFile("protection_trace.txt"), std::regex("Line=[0-9]+"), "Line=#");
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

    for (auto* fn : {&Kel_Utils_CompressData, &Kel_Utils_DecompressData})
    {
        EXPECT_EQ(fn(nullptr, 8, &dest, &size), Kel_BadInvalidArgument);
        EXPECT_EQ(fn(&source, 8, nullptr, &size), Kel_BadInvalidArgument);
        EXPECT_EQ(fn(&source, 8, &dest, nullptr), Kel_BadInvalidArgument);
        EXPECT_EQ(fn(&source, 0, &dest, &size), Kel_BadInvalidArgument);
    }
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
