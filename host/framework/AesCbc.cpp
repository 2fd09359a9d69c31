// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/AesCbc.h"

#include <algorithm>
#include <iterator>
#include <openssl/crypto.h>
#include <utility>

namespace
{

struct AesVariant
{
    std::size_t uKeyBytes;
    const char* pszName;
};

constexpr AesVariant Variants[] = {
    {16, "AES-128-CBC"},
    {24, "AES-192-CBC"},
    {32, "AES-256-CBC"},
};

constexpr std::size_t FindVariant(std::size_t uKeyBytes)
{
    const auto* pVariant =
        std::find_if(std::begin(Variants), std::end(Variants), [=](const AesVariant& v) { return v.uKeyBytes == uKeyBytes; });
    return static_cast<std::size_t>(pVariant - std::begin(Variants));
}

EVP_CIPHER* s_Fetched[std::size(Variants)];

/// Fills s_Fetched in its lifetime. Made after OpenSSL has registered its own clean-up for the end of
/// the process, it is destroyed before that runs; in a process that cleaned OpenSSL up by hand
/// the ciphers are gone already, which is when initialising OpenSSL fails.
class CFetchedCiphers
{
public:
    CFetchedCiphers()
    {
        OPENSSL_init_crypto(0, nullptr);
        for (std::size_t u = 0; u < std::size(Variants); ++u) {
            s_Fetched[u] = EVP_CIPHER_fetch(nullptr, Variants[u].pszName, nullptr);
        }
    }

    ~CFetchedCiphers()
    {
        const bool bAlive = IsOpenSslAlive();
        for (EVP_CIPHER*& pCipher : s_Fetched) {
            EVP_CIPHER* pFetched = std::exchange(pCipher, nullptr);
            if (bAlive) {
                EVP_CIPHER_free(pFetched);
            }
        }
    }
};

} // namespace

bool IsOpenSslAlive()
{
    return OPENSSL_init_crypto(0, nullptr) == 1;
}

bool IsAesKeySize(std::size_t uBytes)
{
    return FindVariant(uBytes) < std::size(Variants);
}

const EVP_CIPHER* FindAesCbc(std::size_t uKeyBytes)
{
    static const CFetchedCiphers s_Lifetime;
    return s_Fetched[FindVariant(uKeyBytes)];
}
