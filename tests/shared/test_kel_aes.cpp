// AES-128 against the published vectors: the cipher example and key expansion of the standard, and
// the CBC and CTR examples for AES-128, including chaining across calls and the counter carry.
#include "shared/kel_aes.h"

#include "kel_test_hex.h"

#include <gtest/gtest.h>

#include <cstring>

using kel_test::FromHex;
using kel_test::ToHex;

namespace
{
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

TEST(Aes, InitWithIvAndSetIvOnlyTouchTheChainingValue)
{
    kel_aes_ctx withIv = MakeContext(CipherKey, CbcIv);
    kel_aes_ctx keyOnly{};
    kel_aes_init_ctx(&keyOnly, FromHex(CipherKey).data());
    EXPECT_EQ(memcmp(withIv.RoundKey, keyOnly.RoundKey, sizeof(keyOnly.RoundKey)), 0);
    EXPECT_EQ(ToHex(withIv.Iv, 16), CbcIv);

    kel_aes_ctx_set_iv(&keyOnly, FromHex(CtrCounter).data());
    EXPECT_EQ(memcmp(withIv.RoundKey, keyOnly.RoundKey, sizeof(keyOnly.RoundKey)), 0);
    EXPECT_EQ(ToHex(keyOnly.Iv, 16), CtrCounter);
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
