// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "crypto/CommonCrypto.h"

#include "crypto/KeyFile.h"
#include "crypto/ValueFormat.h"
#include "platform/Framework.h"
#include "util/ArrayBytes.h"
#include "util/Operation.h"

#include <atomic>
#include <iterator>
#include <limits>
#include <utility>

using namespace OV::Framework;

namespace
{

constexpr int Encrypt = 0;
constexpr int Decrypt = 1;

constexpr unsigned int InvalidArgumentCode = 4000;

/// Runs work of the framework: the only place where its exceptions end.
template <class Work> HRESULT RunFramework(const COperation& op, const char* pszFailure, Work&& work)
{
    try {
        std::forward<Work>(work)();
        return S_OK;
    } catch (IException* pException) {
        const HRESULT hr = CommonCrypto::util_ConvertCryptoError(std::unique_ptr<IException>(pException)->GetErrorCode());
        return op.Fail(hr, pszFailure);
    }
}

std::unique_ptr<IAlgorithm> MakeAes()
{
    const std::unique_ptr<IAlgorithmParameters> pParams(IAlgorithmParameters::Create());
    return std::unique_ptr<IAlgorithm>(IAlgorithm::CreateFromFriendlyName("AES", pParams.get()));
}

HRESULT MakeIV(const COperation& op, SecureBytes& iv)
{
    const HRESULT hr = Guarded(op, [&](const COperation&) -> HRESULT {
        iv.assign(std::begin(CommonCrypto::m_const_EntropyData), std::end(CommonCrypto::m_const_EntropyData));
        return S_OK;
    });
    RETURN_IF_FAILED(op.Check(hr, "pbTemp allocation failed"));
    for (std::size_t i = 0; i < iv.size(); ++i) {
        iv[i] = static_cast<unsigned char>(iv[i] ^ (i + 1));
    }
    return S_OK;
}

std::unique_ptr<Cipher> MakeCipher(const SecureBytes& iv)
{
    const auto pAes = MakeAes();
    const std::unique_ptr<ICryptoParserParameterMap> pParams(ICryptoParserParameterMap::Create());
    pParams->SetPadding("PKCS7");
    pParams->SetIV(iv);
    pParams->SetChainingMode("CBC");
    return std::unique_ptr<Cipher>(Cipher::Create(pAes.get(), pParams.get()));
}

} // namespace

/// A key, and for each direction an idle cipher: making one costs more than a short value does.
///
/// Whoever processes a value takes the cipher away meanwhile, and makes another when there is none, so that no
/// lock is needed. A cipher that failed is not put back.
class CommonCrypto::CReadyKey
{
public:
    explicit CReadyKey(std::unique_ptr<IKey> pKey) : m_pKey(std::move(pKey)) {}
    ~CReadyKey()
    {
        for (std::atomic<Cipher*>& idle : m_Idle) {
            delete idle.load();
        }
    }
    CReadyKey(const CReadyKey&) = delete;
    CReadyKey& operator=(const CReadyKey&) = delete;

    IKey* Get() const { return m_pKey.get(); }
    std::unique_ptr<Cipher> Take(int nDirection) { return std::unique_ptr<Cipher>(m_Idle[nDirection].exchange(nullptr)); }
    void PutBack(int nDirection, std::unique_ptr<Cipher> pCipher) { pCipher.reset(m_Idle[nDirection].exchange(pCipher.release())); }

private:
    const std::unique_ptr<IKey> m_pKey;
    std::atomic<Cipher*> m_Idle[2] = {}; ///< by direction; owned
};

const unsigned char CommonCrypto::m_const_EntropyData[16] = {0x9f, 0x79, 0x23, 0x5e, 0x13, 0x8d, 0xbb, 0x5f,
                                                             0xa2, 0x77, 0x77, 0x46, 0xef, 0x8a, 0x12, 0xfd};

CommonCrypto::CommonCrypto()
{
    pvlogLog(LogComponent, LogEntry, "CommonCrypto::CommonCrypto");
    pvlogLog(LogComponent, LogExit, "CommonCrypto::CommonCrypto");
}

CommonCrypto::~CommonCrypto()
{
    m_pPersistentKey.reset();
    m_pVolatileKey.reset();
    pvlogLog(LogComponent, LogExit, "CommonCrypto::~CommonCrypto");
}

HRESULT CommonCrypto::initialize(const SecureString& storeName, bool bPersistent)
{
    return RunOperation("CommonCrypto::initialize", [&](const COperation&) -> HRESULT {
        return bPersistent ? CreateNewPersistentKey(storeName + "_AES_ORVANE_PERSISTENT_KEY")
                           : CreateNewVolatileKey(storeName + "_AES_ORVANE_VOLATILE_KEY");
    });
}

HRESULT CommonCrypto::CreateNewVolatileKey(const SecureString& keyLabel)
{
    return RunOperation("CommonCrypto::CreateNewVolatileKey", [&](const COperation& op) -> HRESULT {
        return RunFramework(op, ": Impossible to generate new key", [&] {
            const auto pAes = MakeAes();
            const std::unique_ptr<ICryptoParserParameterMap> pParams(ICryptoParserParameterMap::Create());
            pParams->SetKeyType("TypeVolatile");
            pParams->SetKeyLabel(keyLabel.c_str());
            const std::unique_ptr<KeyGenerator> pGenerator(KeyGenerator::Create(pAes.get(), pParams.get()));
            std::unique_ptr<IKey> pKey(pGenerator->Generate(KeyBytes));
            m_pVolatileKey = std::make_unique<CReadyKey>(std::move(pKey));
        });
    });
}

HRESULT CommonCrypto::CreateNewPersistentKey(const SecureString&)
{
    return RunOperation("CommonCrypto::CreateNewPersistentKey", [&](const COperation& op) -> HRESULT {
        SecureBytes key;
        RETURN_IF_FAILED(op.Check(GetKeyFromFile(key), "GetKeyFromFile failed"));
        return RunFramework(op, ": Impossible to generate new key", [&] {
            std::unique_ptr<IKey> pKey(IKey::Create(MakeAes().get(), "RAW", key));
            m_pPersistentKey = std::make_unique<CReadyKey>(std::move(pKey));
        });
    });
}

HRESULT CommonCrypto::GetKeyFromFile(SecureBytes& key)
{
    return RunOperation("CommonCrypto::GetKeyFromFile", [&](const COperation& op) { return ReadKeyFile(op, key); });
}

HRESULT CommonCrypto::util_ConvertCryptoError(unsigned int code)
{
    return RunOperation(
        "CommonCrypto::util_ConvertCryptoError",
        [&](const COperation&) -> HRESULT { return code == InvalidArgumentCode ? E_INVALIDARG : E_FAIL; },
        [](const COperation& op, HRESULT hr) {
            pvlogLog(LogComponent, LogExit, "%s: return rv = 0x%x", op.Name(), static_cast<unsigned int>(hr));
        });
}

HRESULT CommonCrypto::CheckKeys(const COperation& op) const
{
    return m_pPersistentKey == nullptr && m_pVolatileKey == nullptr ? op.Fail(E_FAIL, "No key was set") : S_OK;
}

HRESULT CommonCrypto::Process(const COperation& op, int nDirection, bool bPersistent, const SecureBytes& in, SecureBytes& out) const
{
    CReadyKey* const pReady = (bPersistent ? m_pPersistentKey : m_pVolatileKey).get();
    std::unique_ptr<Cipher> pCipher = pReady != nullptr ? pReady->Take(nDirection) : nullptr;
    SecureBytes iv;
    if (pCipher == nullptr) {
        RETURN_IF_FAILED(MakeIV(op, iv));
    }
    return RunFramework(op, ": Impossible to retrieve Certificate", [&] {
        if (pCipher == nullptr) {
            pCipher = MakeCipher(iv);
        }
        pCipher->Initialize(nDirection, pReady != nullptr ? pReady->Get() : nullptr);
        pCipher->Process(in, out);
        if (pReady != nullptr) {
            pReady->PutBack(nDirection, std::move(pCipher));
        }
    });
}

HRESULT CommonCrypto::encryptValue(SAFEARRAY* psaIn, SAFEARRAY*& psaOut, bool bPersistent) const
{
    return RunOperation(COperation::Traced("CommonCrypto::encryptValue"), [&](const COperation& op) -> HRESULT {
        RETURN_IF_FAILED(CheckKeys(op));
        SecureBytes clear;
        RETURN_IF_FAILED(EncodeValue(op, psaIn, clear));
        SecureBytes encrypted;
        RETURN_IF_FAILED(Process(op, Encrypt, bPersistent, clear, encrypted));
        if (encrypted.size() > std::numeric_limits<unsigned int>::max()) {
            return op.Fail(E_OUTOFMEMORY, "SafeArrayCreate failed");
        }
        pvlogLog(LogComponent, LogTrace, "%s CryptProtectData succeed", op.Name());
        return FillArray(op, CSafeArray(SafeArrayCreateVector(VT_UI1, 0, static_cast<unsigned int>(encrypted.size()))), encrypted, psaOut);
    });
}

HRESULT CommonCrypto::DecryptValue(SAFEARRAY* psaIn, SAFEARRAY*& psaOut, bool bPersistent) const
{
    return RunOperation(COperation::Traced("CommonCrypto::DecryptValue"), [&](const COperation& op) -> HRESULT {
        RETURN_IF_FAILED(CheckKeys(op));
        SecureBytes encrypted;
        RETURN_IF_FAILED(AppendElements(op, psaIn, 1, encrypted));
        SecureBytes clear;
        RETURN_IF_FAILED(Process(op, Decrypt, bPersistent, encrypted, clear));
        pvlogLog(LogComponent, LogTrace, "%s CryptUnProtectData succeed", op.Name());
        return DecodeValue(op, clear, psaOut);
    });
}
