// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "framework/AesCbc.h"
#include "platform/Framework.h"

#include <memory>

class CKey;

/// AES-CBC with PKCS#7 padding.
///
/// The first message sets the key up, each later one only sets the IV back. OpenSSL keeps its form of
/// the key in the context, which it wipes when the context goes.
class CCipher final : public OV::Framework::Cipher
{
public:
    explicit CCipher(const OV::Framework::SecureBytes& iv);

    void Initialize(int nDirection, OV::Framework::IKey* pKey) override;
    void Process(const OV::Framework::SecureBytes& in, OV::Framework::SecureBytes& out) override;

private:
    struct ContextDeleter
    {
        void operator()(EVP_CIPHER_CTX* pContext) const noexcept { EVP_CIPHER_CTX_free(pContext); }
    };

    void StartMessage();
    OV::Framework::SecureBytes Transform(const OV::Framework::SecureBytes& in);

    const OV::Framework::SecureBytes m_IV;
    const std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter> m_pContext;
    const CKey* m_pKey = nullptr; // the caller's
    bool m_bEncrypt = false;
    bool m_bKeyInContext = false;
};
