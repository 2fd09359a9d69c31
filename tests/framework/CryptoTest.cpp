// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/FrameworkSupport.h"

#include <gtest/gtest.h>

#include <openssl/err.h>
#include <string>
#include <tuple>

namespace
{

using namespace OV::Framework;

constexpr int Encrypt = 0;
constexpr int Decrypt = 1;

// NIST SP 800-38A, appendix F.2: keys, IV, plaintext, and ciphertext without padding.
constexpr std::string_view Key128 = "2b7e151628aed2a6abf7158809cf4f3c";
constexpr std::string_view Key192 = "8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b";
constexpr std::string_view Key256 = "603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4";
constexpr std::string_view Iv = "000102030405060708090a0b0c0d0e0f";
constexpr std::string_view Plain = "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                                   "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";
constexpr std::string_view Encrypted128 = "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
                                          "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7";
constexpr std::string_view Encrypted192 = "4f021db243bc633d7178183a9fa071e8b4d9ada9ad7dedf4e5e738763f69145a";
constexpr std::string_view Encrypted256 = "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d";

std::unique_ptr<ICryptoParserParameterMap> MakeParameters(const char* pszPadding, const char* pszMode, const SecureBytes& iv)
{
    auto pParams = Own(ICryptoParserParameterMap::Create());
    pParams->SetPadding(pszPadding);
    pParams->SetChainingMode(pszMode);
    pParams->SetIV(iv);
    return pParams;
}

std::unique_ptr<Cipher> MakeCipher()
{
    return Own(Cipher::Create(MakeAes().get(), MakeParameters("PKCS7", "CBC", FromHex(Iv)).get()));
}

SecureBytes Transform(int nDirection, std::string_view sKey, const SecureBytes& in)
{
    const auto pKey = MakeKey(sKey);
    const auto pCipher = MakeCipher();
    pCipher->Initialize(nDirection, pKey.get());
    SecureBytes out = FromHex("ff");
    pCipher->Process(in, out);
    return out;
}

TEST(CipherTest, KnownVectors_EncryptAndDecryptForEveryKeyLength)
{
    const std::tuple<std::string_view, std::size_t, std::string> vectors[] = {
        {Key128, 0, "c84af0b613435d5d9182801a9bd9320b"},
        {Key128, 15, "9be1e579d107a136c031b645a88da750"},
        {Key128, 64, std::string(Encrypted128) + "8cb82807230e1321d3fae00d18cc2012"},
        {Key192, 32, std::string(Encrypted192) + "c81ca99c3a1e883fa8d834316a2275ec"},
        {Key256, 32, std::string(Encrypted256) + "3a3aa5e0213db1a9901f9036cf5102d2"},
    };
    for (const auto& [sKey, uPlainBytes, sEncrypted] : vectors) {
        const SecureBytes plain = FromHex(Plain.substr(0, 2 * uPlainBytes));
        EXPECT_EQ(Transform(Encrypt, sKey, plain), FromHex(sEncrypted)) << sEncrypted;
        EXPECT_EQ(Transform(Decrypt, sKey, FromHex(sEncrypted)), plain) << sEncrypted;
    }
}

TEST(CipherTest, Decrypt_OfWhatNoEncryptionMade_ThrowsAndLeavesTheCipherUsable)
{
    const SecureBytes whole = Transform(Encrypt, Key128, SecureBytes(20));
    SecureBytes tampered = whole;
    tampered[15] ^= 0xFFU; // the padding's last byte becomes 0xf3
    const SecureBytes uneven(whole.begin(), whole.end() - 1);
    const auto pKey = MakeKey(Key128);
    const auto pCipher = MakeCipher();
    pCipher->Initialize(Decrypt, pKey.get());
    for (const SecureBytes& bad : {tampered, FromHex(Iv), uneven, SecureBytes()}) {
        SecureBytes out = FromHex("ff");
        EXPECT_EQ(CodeOf([&] { pCipher->Process(bad, out); }), BadData) << bad.size();
        EXPECT_TRUE(out.empty());
        out = whole;
        pCipher->Process(out, out);
        EXPECT_EQ(out, SecureBytes(20)) << "in place";
    }
    EXPECT_EQ(ERR_peek_error(), 0U) << "the application's error queue";
}

TEST(CipherTest, CreateAndInitialize_WithWrongArguments_Throw)
{
    const auto pAes = MakeAes();
    const auto create = [&](const char* pszPadding, const char* pszMode, std::size_t uIvBytes) {
        return CodeOf([&] { Own(Cipher::Create(pAes.get(), MakeParameters(pszPadding, pszMode, SecureBytes(uIvBytes)).get())); });
    };
    EXPECT_EQ(create("PKCS5", "CBC", 16), UnknownName);
    EXPECT_EQ(create("PKCS7", "ECB", 16), UnknownName);
    EXPECT_EQ(create(nullptr, "CBC", 16), InvalidArgument);
    EXPECT_EQ(create("PKCS7", "CBC", 15), InvalidArgument);
    EXPECT_EQ(CodeOf([&] { Own(Cipher::Create(pAes.get(), nullptr)); }), InvalidArgument);

    const auto pKey = MakeKey(Key128);
    const auto pCipher = MakeCipher();
    SecureBytes out;
    EXPECT_EQ(CodeOf([&] { pCipher->Process(SecureBytes(16), out); }), InvalidArgument) << "not initialized";
    EXPECT_EQ(CodeOf([&] { pCipher->Initialize(2, pKey.get()); }), InvalidArgument);
    EXPECT_EQ(CodeOf([&] { pCipher->Initialize(Encrypt, nullptr); }), InvalidArgument);
}

TEST(KeyTest, Create_WithAnythingButAnAesKey_Throws)
{
    const auto pParams = Own(IAlgorithmParameters::Create());
    EXPECT_EQ(CodeOf([&] { Own(IAlgorithm::CreateFromFriendlyName("AES-128", pParams.get())); }), UnknownName);
    const auto pAes = MakeAes();
    for (const std::size_t uBytes : {0U, 15U, 17U, 33U}) {
        EXPECT_EQ(CodeOf([&] { Own(IKey::Create(pAes.get(), "RAW", SecureBytes(uBytes))); }), InvalidArgument) << uBytes;
    }
    EXPECT_EQ(CodeOf([&] { Own(IKey::Create(pAes.get(), "PKCS8", SecureBytes(16))); }), UnknownName);
}

} // namespace
