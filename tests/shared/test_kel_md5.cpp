// MD5 against the reference test suite, and updates split at the block and padding boundaries.
#include "shared/kel_md5.h"

#include "kel_test_hex.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using kel_test::ToHex;

namespace
{
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

std::vector<uint8_t> Bytes(const std::string& aText)
{
    return std::vector<uint8_t>(aText.begin(), aText.end());
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
} // namespace

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

TEST(Md5, ByteCountAndStateAfterUpdates)
{
    const std::vector<uint8_t> data = Pattern(65);
    kel_md5_context ctx{};
    kel_md5_starts(&ctx);
    EXPECT_EQ(ctx.state[0], 0x67452301u);
    EXPECT_EQ(ctx.state[3], 0x10325476u);
    kel_md5_update(&ctx, data.data(), 63);
    kel_md5_update(&ctx, data.data() + 63, 2);
    EXPECT_EQ(ctx.total[0], 65u);
    EXPECT_EQ(ctx.total[1], 0u);
    EXPECT_EQ(ctx.buffer[0], data[64]); // the 65th byte starts the next block

    // The block transform alone on the first block gives the same chaining state.
    kel_md5_context direct{};
    kel_md5_starts(&direct);
    kel_md5_process(&direct, data.data());
    EXPECT_EQ(memcmp(direct.state, ctx.state, sizeof(ctx.state)), 0);
}
