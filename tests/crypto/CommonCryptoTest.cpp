// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "crypto/CommonCrypto.h"

#include "store/Fakes.h"
#include "store/Store.h"
#include "support/KeyFile.h"
#include "support/Values.h"

#include <openssl/evp.h>

using namespace std::string_literals;

namespace
{

using Operation = HRESULT (CommonCrypto::*)(SAFEARRAY*, SAFEARRAY*&, bool) const;

/// What an operation puts out; nothing when it leaves its out-argument alone.
ArrayPointer Call(const CommonCrypto& crypto, Operation pOperation, const ArrayPointer& pIn, HRESULT hr = S_OK, bool bPersistent = true)
{
    SAFEARRAY* psa = nullptr;
    EXPECT_EQ((crypto.*pOperation)(pIn.get(), psa, bPersistent), hr);
    return ArrayPointer(psa);
}

struct CommonCryptoTest : testing::Test
{
    CommonCryptoTest() { EXPECT_EQ(m_crypto.initialize("Store", true), S_OK); }
    auto Encrypt(const ArrayPointer& p, HRESULT hr = S_OK) const { return Call(m_crypto, &CommonCrypto::encryptValue, p, hr); }
    auto Decrypt(const ArrayPointer& p, HRESULT hr = S_OK) const { return Call(m_crypto, &CommonCrypto::DecryptValue, p, hr); }

    CKeyFile m_file;
    CommonCrypto m_crypto;
};

/// A text encrypted by other means with the key of the key file.
ArrayPointer Reference(std::string_view sClear)
{
    OV::Framework::SecureBytes key;
    EXPECT_EQ(CommonCrypto::GetKeyFromFile(key), S_OK);
    unsigned char iv[16];
    for (unsigned int i = 0; i < 16; ++i) {
        iv[i] = static_cast<unsigned char>(CommonCrypto::m_const_EntropyData[i] ^ (i + 1));
    }
    ArrayPointer pOut = Bytes(std::string((sClear.size() / 16 + 1) * 16, '\0'));
    auto* pData = static_cast<unsigned char*>(pOut->pvData);
    int sizes[2]{};
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> pContext(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    EVP_EncryptInit_ex(pContext.get(), EVP_aes_128_cbc(), nullptr, key.data(), iv);
    EVP_EncryptUpdate(pContext.get(), pData, &sizes[0], reinterpret_cast<const unsigned char*>(sClear.data()),
                      static_cast<int>(sClear.size()));
    EXPECT_EQ(EVP_EncryptFinal_ex(pContext.get(), pData + sizes[0], &sizes[1]), 1);
    return pOut;
}

} // namespace

// clang-format off
TEST_F(CommonCryptoTest, Cleartext_IsATypeAndItsElementsOrRefused)
{
    // Written: this is how the array is encrypted, too. Without an array the text is refused.
    const struct { std::string sClear; const char* pszArray = nullptr; bool bWritten = true; } cases[] = {
        {"UNKNOWN\0"s, "13 [0+0] "}, {"UNKNOWN\0abcd"s, "13 [0+1] abcd"}, {"I1\0"s, "16 [0+0] "}, {"I1\0ab"s, "16 [0+2] ab"},
        {"UI1\0"s, "17 [0+0] "}, {"UI1\0a"s, "17 [0+1] a"}, {"UI1\0abcdefghijkl"s, "17 [0+12] abcdefghijkl"}, // a whole block
        {"I8\0"s, "20 [0+0] "}, {"I8\0abcdefgh"s, "20 [0+1] abcdefgh"}, {"UI8\0"s, "21 [0+0] "}, {"UI8\0abcdefgh"s, "21 [0+1] abcdefgh"},
        {"INT\0"s, "22 [0+0] "}, {"INT\0abcdefgh"s, "22 [0+2] abcdefgh"}, {"UINT\0"s, "23 [0+0] "}, {"UINT\0abcd"s, "23 [0+1] abcd"},
        {"UI1_MULTI 2 3 \0abcdef"s, "17 [0+2] [0+3] abcdef"}, {"UI1_MULTI 4000000000 0 \0"s, "17 [0+4000000000] [0+0] "},
        {"BSTR\0\0\0"s, "8 [0+0]"}, {"BSTR\0ab\0\0"s, "8 [0+1] 'ab'"}, {"BSTR\0ab\0c\0\0"s, "8 [0+2] 'ab' 'c'"},
        {"INT\0abcdef"s, "22 [0+1] abcd", false}, {"I8\0abcdefg"s, "20 [0+0] ", false},
        {"BSTR\0a\0\0b\0\0"s, "8 [0+1] 'a'", false}, {"BSTR\0\0b\0\0"s, "8 [0+0]", false},
        {""s}, {"UI1"s}, {"\0abc"s}, {"I4\0abcd"s}, {"UI1 \0a"s}, {"BSTR\0"s}, {"BSTR\0ab"s}, {"BSTR\0ab\0"s}, {"UI1_MULTI\0"s},
        {"UI1_MULTI 2 \0ab"s}, {"UI1_MULTI 2 3 \0abcde"s}, {"UI1_MULTI 2 3 \0abcdefg"s}, {"UI1_MULTI 2 2 3 \0abcdefghijkl"s},
        {"UI1_MULTI -2 -3 \0abcdef"s}, {"UI1_MULTI 65536 65536 \0"s}, {"UI1_MULTI 4294967298 1 \0ab"s},
    };
    for (const auto& [sClear, pszArray, bWritten] : cases) {
        const ArrayPointer pArray = Decrypt(Reference(sClear), pszArray == nullptr ? E_FAIL : S_OK);
        EXPECT_EQ(Describe(pArray), pszArray == nullptr ? "no array" : pszArray) << sClear;
        if (pArray != nullptr && bWritten) {
            EXPECT_EQ(BytesOf(Encrypt(pArray)), BytesOf(Reference(sClear))) << pszArray;
        }
    }
}

TEST_F(CommonCryptoTest, Encrypt_LeavesOutWhatHasNoForm)
{
    const CText strings[] = {nullptr, std::string_view("b\0x", 3), "", "c"};
    ArrayPointer pList = MakeValue(VT_BSTR, {{4, 0}});
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(SafeArrayPutElement(pList.get(), &i, strings[i]), S_OK);
    }
    const std::pair<ArrayPointer, std::string> cases[] = {
        {MakeValue(VT_I1, {{2, 5}}), "I1\0ab"s}, {MakeValue(VT_UI1, {{3, 7}, {2, 8}}), "UI1_MULTI 2 3 \0abcdef"s},
        {MakeValue(VT_I1, {{3, 0}, {2, 0}}), "I1\0abcdef"s}, {MakeValue(VT_BSTR, {{3, 0}, {2, 0}}), "BSTR\0string 0\0string 3\0\0"s},
        {std::move(pList), "BSTR\0b\0\0c\0\0"s},
    };
    for (const auto& [pIn, sClear] : cases) {
        EXPECT_EQ(BytesOf(Encrypt(pIn)), BytesOf(Reference(sClear))) << sClear;
    }
    EXPECT_EQ(Encrypt(MakeValue(VT_I4, {{1, 0}}), E_FAIL), nullptr);
    EXPECT_EQ(Encrypt(nullptr, E_INVALIDARG), nullptr);
    CTranscript transcript;
    EXPECT_EQ(Encrypt(MakeValue(VT_UI1, {{1, 0}, {2, 0}, {3, 0}}), E_FAIL), nullptr);
    EXPECT_EQ(transcript.sLines, "\n1 CommonCrypto::encryptValue unsupported vt");
}
// clang-format on

TEST_F(CommonCryptoTest, Decrypt_OfChangedOrForeignCiphertext_Fails)
{
    const std::string sWhole = BytesOf(Encrypt(Bytes("a value that is longer than three blocks of the cipher")));
    for (std::size_t uSize = 0; uSize < sWhole.size(); ++uSize) {
        EXPECT_EQ(Decrypt(Bytes(sWhole.substr(0, uSize)), E_FAIL), nullptr) << uSize;
        std::string sTampered = sWhole;
        sTampered[uSize] = static_cast<char>(sTampered[uSize] ^ 1);
        const bool bNoticed = uSize < 16 || uSize >= 42; // the block of the name, and where a change reaches the padding
        EXPECT_EQ(Decrypt(Bytes(sTampered), bNoticed ? E_FAIL : S_OK) == nullptr, bNoticed) << uSize;
    }
    EXPECT_EQ(Decrypt(nullptr, E_INVALIDARG), nullptr);
    EXPECT_EQ(Decrypt(MakeValue(VT_UI1, {{0, 0}, {4000000000, 0}}), E_FAIL), nullptr);
    m_file.Write("another key file");
    EXPECT_EQ(m_crypto.initialize("Store", true), S_OK);
    CTranscript transcript;
    EXPECT_EQ(Decrypt(Bytes(sWhole), E_FAIL), nullptr);
    EXPECT_EQ(transcript.sLines, "\n8 CommonCrypto::util_ConvertCryptoError\n16 CommonCrypto::util_ConvertCryptoError: return rv = "
                                 "0x80004005\n1 CommonCrypto::DecryptValue : Impossible to retrieve Certificate");
}

TEST_F(CommonCryptoTest, Key_IsTheStartOfTheKeyFileOrRandom)
{
    const std::string sEncrypted = BytesOf(Encrypt(Bytes("a")));
    m_file.Write(std::string(SomeKey) + "and 16 more bytes");
    EXPECT_EQ(m_crypto.initialize("Another store", true), S_OK);
    EXPECT_EQ(BytesOf(Encrypt(Bytes("a"))), sEncrypted);
    CommonCrypto crypto;
    EXPECT_EQ(Call(crypto, &CommonCrypto::encryptValue, Bytes("a"), E_FAIL), nullptr);
    EXPECT_EQ(Call(crypto, &CommonCrypto::DecryptValue, Bytes(sEncrypted), E_FAIL), nullptr);
    EXPECT_EQ(crypto.initialize("Store", false), S_OK);
    const ArrayPointer pRandom = Call(crypto, &CommonCrypto::encryptValue, Bytes("a"), S_OK, false);
    EXPECT_EQ(BytesOf(Call(crypto, &CommonCrypto::DecryptValue, pRandom, S_OK, false)), "a");
    EXPECT_EQ(Call(crypto, &CommonCrypto::encryptValue, Bytes("a"), E_INVALIDARG), nullptr) << "it has only the other key";
    EXPECT_EQ(crypto.initialize("Store", false), S_OK);
    EXPECT_EQ(Call(crypto, &CommonCrypto::DecryptValue, pRandom, E_FAIL, false), nullptr);
}

TEST_F(CommonCryptoTest, Initialize_WithoutAWholeKeyFile_Fails)
{
    const auto fails = [this](const char* pszLine) {
        CTranscript transcript;
        EXPECT_EQ(m_crypto.initialize("Store", true), E_FAIL);
        EXPECT_NE(transcript.sLines.find(pszLine), std::string::npos) << transcript.sLines;
        EXPECT_NE(transcript.sLines.find("\n1 CommonCrypto::CreateNewPersistentKey GetKeyFromFile failed\n"), std::string::npos);
    };
    m_file.Write("fifteen bytes..");
    fails("\n1 CommonCrypto::GetKeyFromFile : Unable to read the complete key from file (len = 15)\n");
    m_file.Remove();
    fails("\n1 CommonCrypto::GetKeyFromFile : Unable to open the key file\n");
}
