// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/Cipher.h"

#include "framework/Algorithm.h"
#include "framework/FrameworkException.h"
#include "framework/Key.h"
#include "framework/ParameterMap.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <openssl/core_names.h>
#include <openssl/params.h>
#include <utility>

using OV::Framework::SecureBytes;

namespace
{

constexpr int DirectionEncrypt = 0;
constexpr int DirectionDecrypt = 1;

/// The size of what is in front of PKCS#7 padding (RFC 5652, section 6.3).
std::size_t SizeWithoutPadding(const SecureBytes& padded)
{
    const std::size_t uPad = padded.back();
    Require(uPad >= 1 && uPad <= AesBlockBytes, FrameworkError::BadData);
    const auto isPad = [uPad](unsigned char by) { return by == uPad; };
    Require(std::all_of(padded.end() - static_cast<std::ptrdiff_t>(uPad), padded.end(), isPad), FrameworkError::BadData);
    return padded.size() - uPad;
}

} // namespace

CCipher::CCipher(const SecureBytes& iv) : m_IV(iv), m_pContext(EVP_CIPHER_CTX_new())
{
    Require(m_pContext != nullptr, FrameworkError::CryptoFailure);
}

void CCipher::Initialize(int nDirection, OV::Framework::IKey* pKey)
{
    const auto& key = GetImplementation<CKey>(pKey);
    Require(nDirection == DirectionEncrypt || nDirection == DirectionDecrypt, FrameworkError::InvalidArgument);
    const bool bEncrypt = nDirection == DirectionEncrypt;
    m_bKeyInContext = m_bKeyInContext && key.GetNumber() == m_uKeyNumber && bEncrypt == m_bEncrypt;
    m_pKey = &key;
    m_uKeyNumber = key.GetNumber();
    m_bEncrypt = bEncrypt;
}

void CCipher::Process(const SecureBytes& in, SecureBytes& out)
{
    SecureBytes result;
    try {
        Require(m_pKey != nullptr && in.size() <= INT_MAX - AesBlockBytes, FrameworkError::InvalidArgument);
        const CErrorQueueMark mark;
        result = m_bEncrypt ? Encrypt(in) : Decrypt(in);
    } catch (...) {
        out = SecureBytes();
        throw;
    }
    out = std::move(result);
}

/// Sets up what the context has not got yet: the cipher once, the key for the first message with it, the IV always.
void CCipher::StartMessage()
{
    const EVP_CIPHER* pCipher = nullptr;
    const unsigned char* pKey = nullptr;
    unsigned int uPadding = 0;
    OSSL_PARAM params[] = {OSSL_PARAM_construct_end(), OSSL_PARAM_construct_end()};
    if (!m_bKeyInContext) {
        pKey = m_pKey->GetBytes();
        pCipher = FindAesCbc(m_pKey->GetSize());
        Require(pCipher != nullptr, FrameworkError::CryptoFailure);
        if (pCipher == EVP_CIPHER_CTX_get0_cipher(m_pContext.get())) {
            pCipher = nullptr;
        } else {
            params[0] = OSSL_PARAM_construct_uint(OSSL_CIPHER_PARAM_PADDING, &uPadding);
        }
    }
    m_bKeyInContext = EVP_CipherInit_ex2(m_pContext.get(), pCipher, pKey, m_IV.data(), m_bEncrypt ? 1 : 0, params) == 1;
    Require(m_bKeyInContext, FrameworkError::CryptoFailure);
}

void CCipher::TransformBlocks(const unsigned char* pIn, std::size_t uBytes, unsigned char* pOut)
{
    int nWritten = 0;
    const bool bDone = EVP_CipherUpdate(m_pContext.get(), pOut, &nWritten, pIn, static_cast<int>(uBytes)) == 1;
    Require(bDone && static_cast<std::size_t>(nWritten) == uBytes, FrameworkError::CryptoFailure);
}

SecureBytes CCipher::Encrypt(const SecureBytes& in)
{
    const std::size_t uRest = in.size() % AesBlockBytes;
    const std::size_t uWhole = in.size() - uRest;
    SecureBytes last(AesBlockBytes, static_cast<unsigned char>(AesBlockBytes - uRest));
    std::copy(in.end() - static_cast<std::ptrdiff_t>(uRest), in.end(), last.begin());
    SecureBytes result(uWhole + AesBlockBytes);
    StartMessage();
    TransformBlocks(in.data(), uWhole, result.data());
    TransformBlocks(last.data(), AesBlockBytes, result.data() + uWhole);
    return result;
}

SecureBytes CCipher::Decrypt(const SecureBytes& in)
{
    Require(in.size() % AesBlockBytes == 0 && !in.empty(), FrameworkError::BadData);
    SecureBytes result(in.size());
    StartMessage();
    TransformBlocks(in.data(), in.size(), result.data());
    result.resize(SizeWithoutPadding(result));
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
