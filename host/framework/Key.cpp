// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/Key.h"

#include "framework/AesCbc.h"
#include "framework/Algorithm.h"
#include "framework/FrameworkException.h"
#include "framework/ParameterMap.h"

#include <algorithm>
#include <atomic>
#include <string_view>
#include <sys/random.h>

namespace
{

using OV::Framework::IKey;

std::atomic<std::uint64_t> s_uKeys = 0;

std::size_t CheckKeySize(std::size_t uBytes)
{
    Require(IsAesKeySize(uBytes), FrameworkError::InvalidArgument);
    return uBytes;
}

class CKeyGenerator final : public OV::Framework::KeyGenerator
{
public:
    explicit CKeyGenerator(std::string sLabel) : m_sLabel(std::move(sLabel)) {}

    IKey* Generate(unsigned int uBytes) override
    {
        auto pKey = std::make_unique<CKey>(uBytes, m_sLabel);
        // OpenSSL's generator takes locks that a forked child can find held by a thread that it has not got.
        Require(getrandom(pKey->GetBytes(), uBytes, 0) == static_cast<ssize_t>(uBytes), FrameworkError::CryptoFailure);
        return pKey.release();
    }

private:
    const std::string m_sLabel;
};

} // namespace

CKey::CKey(std::size_t uBytes, std::string sLabel)
    : m_uNumber(++s_uKeys), m_uSize(CheckKeySize(uBytes)), m_sLabel(std::move(sLabel)), m_pBytes(AllocateKeySlot())
{
    // The first fetch takes such locks too. The first key is made when the libraries are loaded.
    const CErrorQueueMark mark;
    FindAesCbc(m_uSize);
}

namespace OV::Framework
{

IKey* IKey::Create(IAlgorithm* pAlgorithm, const char* pszFormat, const SecureBytes& bytes)
{
    GetImplementation<CAlgorithm>(pAlgorithm);
    Require(pszFormat != nullptr, FrameworkError::InvalidArgument);
    Require(std::string_view(pszFormat) == "RAW", FrameworkError::UnknownName);
    auto pKey = std::make_unique<CKey>(bytes.size(), std::string());
    std::copy(bytes.begin(), bytes.end(), pKey->GetBytes());
    return pKey.release();
}

KeyGenerator* KeyGenerator::Create(IAlgorithm* pAlgorithm, ICryptoParserParameterMap* pParams)
{
    GetImplementation<CAlgorithm>(pAlgorithm);
    const auto& params = GetImplementation<CParameterMap>(pParams);
    Require(params.GetKeyType() == "TypeVolatile", FrameworkError::UnknownName);
    return new CKeyGenerator(params.GetKeyLabel());
}

} // namespace OV::Framework
