// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "framework/AesCbc.h"
#include "platform/Framework.h"

#include <cstdint>
#include <memory>

class CKey;

/// AES-CBC with PKCS#7 padding.
///
/// The first message with a key sets it up, each later one only sets the IV back. OpenSSL keeps its form of
/// the key in the context, which it wipes when the context goes. It is given whole blocks only, and the padding is
/// made here, because it would keep the last clear block in the context until then.
class CCipher final : public OV::Framework::Cipher
{
public:
    explicit CCipher(const OV::Framework::SecureBytes& iv);

    void Initialize(int nDirection, OV::Framework::IKey* pKey) override;
    void Process(const OV::Framework::SecureBytes& in, OV::Framework::SecureBytes& out) override;

private:
    struct ContextDeleter
    {
        void operator()(EVP_CIPHER_CTX* pContext) const noexcept
        {
            if (IsOpenSslAlive()) { // else the process ends, and the context with it
                EVP_CIPHER_CTX_free(pContext);
            }
        }
    };

    void StartMessage();
    OV::Framework::SecureBytes Encrypt(const OV::Framework::SecureBytes& in);
    OV::Framework::SecureBytes Decrypt(const OV::Framework::SecureBytes& in);
    void TransformBlocks(const unsigned char* pIn, std::size_t uBytes, unsigned char* pOut);

    const OV::Framework::SecureBytes m_IV;
    const std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter> m_pContext;
    const CKey* m_pKey = nullptr;   // the caller's
    std::uint64_t m_uKeyNumber = 0; // an address would not tell a key from one that was there before it
    bool m_bEncrypt = false;
    bool m_bKeyInContext = false;
};
