// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// What a decrypted value can hold: the input is a cleartext, and the cipher that stands before it is one
// that copies. Whatever array comes out must come back the same when it is encrypted and decrypted again.

#include "Fuzz.h"
#include "crypto/CommonCrypto.h"
#include "platform/Framework.h"
#include "support/Values.h"

#include <algorithm>
#include <cstdint>

using namespace OV::Framework;

namespace
{

class CCopyingCipher : public Cipher
{
public:
    void Initialize(int, IKey*) override {}
    void Process(const SecureBytes& in, SecureBytes& out) override { out = in; }
};

} // namespace

Cipher* Cipher::Create(IAlgorithm*, ICryptoParserParameterMap*)
{
    return new CCopyingCipher;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize)
{
    CommonCrypto crypto;
    Require(crypto.initialize("Fuzz", false) == S_OK);
    const ArrayPointer pClear(SafeArrayCreateVector(VT_UI1, 0, static_cast<unsigned int>(uSize)));
    std::copy_n(pData, uSize, static_cast<std::uint8_t*>(pClear->pvData));
    SAFEARRAY* psa = nullptr;
    const HRESULT hr = crypto.DecryptValue(pClear.get(), psa, false);
    const ArrayPointer pArray(psa);
    Require(hr == (pArray == nullptr ? E_FAIL : S_OK));
    if (pArray != nullptr) {
        SAFEARRAY* psaEncrypted = nullptr;
        SAFEARRAY* psaAgain = nullptr;
        Require(crypto.encryptValue(pArray.get(), psaEncrypted, false) == S_OK);
        Require(crypto.DecryptValue(psaEncrypted, psaAgain, false) == S_OK);
        Require(Describe(ArrayPointer(psaAgain)) == Describe(pArray));
        ovSafeArrayDestroy(psaEncrypted, 0);
    }
    return 0;
}
