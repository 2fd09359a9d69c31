// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/Cipher.h"

#include "framework/Algorithm.h"
#include "framework/FrameworkException.h"
#include "framework/Key.h"
#include "framework/ParameterMap.h"

#include <climits>
#include <utility>

using OV::Framework::SecureBytes;

namespace
{

constexpr int Encrypt = 0;
constexpr int Decrypt = 1;

} // namespace

CCipher::CCipher(const SecureBytes& iv) : m_IV(iv), m_pContext(EVP_CIPHER_CTX_new())
{
    Require(m_pContext != nullptr, FrameworkError::CryptoFailure);
}

void CCipher::Initialize(int nDirection, OV::Framework::IKey* pKey)
{
    const auto& key = GetImplementation<CKey>(pKey);
    Require(nDirection == Encrypt || nDirection == Decrypt, FrameworkError::InvalidArgument);
    m_pKey = &key;
    m_bEncrypt = nDirection == Encrypt;
    m_bKeyInContext = false;
}

void CCipher::Process(const SecureBytes& in, SecureBytes& out)
{
    SecureBytes result;
    try {
        result = Transform(in);
    } catch (...) {
        out = SecureBytes();
        throw;
    }
    out = std::move(result);
}

void CCipher::StartMessage()
{
    const EVP_CIPHER* pCipher = nullptr;
    const unsigned char* pKey = nullptr;
    if (!m_bKeyInContext) {
        pCipher = FindAesCbc(m_pKey->GetSize());
        pKey = m_pKey->GetBytes();
        Require(pCipher != nullptr, FrameworkError::CryptoFailure);
    }
    m_bKeyInContext = EVP_CipherInit_ex2(m_pContext.get(), pCipher, pKey, m_IV.data(), m_bEncrypt ? 1 : 0, nullptr) == 1;
    Require(m_bKeyInContext, FrameworkError::CryptoFailure);
}

SecureBytes CCipher::Transform(const SecureBytes& in)
{
    const std::size_t uRest = in.size() % AesBlockBytes;
    Require(m_pKey != nullptr && in.size() <= INT_MAX - AesBlockBytes, FrameworkError::InvalidArgument);
    Require(m_bEncrypt || (uRest == 0 && !in.empty()), FrameworkError::BadData);

    const CErrorQueueMark mark;
    StartMessage();
    SecureBytes result(m_bEncrypt ? in.size() - uRest + AesBlockBytes : in.size());
    int nBody = 0;
    int nTail = 0;
    Require(EVP_CipherUpdate(m_pContext.get(), result.data(), &nBody, in.data(), static_cast<int>(in.size())) == 1,
            FrameworkError::CryptoFailure);
    Require(EVP_CipherFinal_ex(m_pContext.get(), result.data() + nBody, &nTail) == 1, FrameworkError::BadData);
    result.resize(static_cast<std::size_t>(nBody) + static_cast<std::size_t>(nTail));
    return result;
}

namespace OV::Framework
{

Cipher* Cipher::Create(IAlgorithm* pAlgorithm, ICryptoParserParameterMap* pParams)
{
    GetImplementation<CAlgorithm>(pAlgorithm);
    const auto& params = GetImplementation<CParameterMap>(pParams);
    Require(params.GetPadding() == "PKCS7" && params.GetChainingMode() == "CBC", FrameworkError::UnknownName);
    Require(params.GetIV().size() == AesBlockBytes, FrameworkError::InvalidArgument);
    return new CCipher(params.GetIV());
}

} // namespace OV::Framework
