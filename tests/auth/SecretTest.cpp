// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// No clear copy of a PIN lies anywhere in the process's memory but where a caller keeps one.

#include "support/Secret.h"
#include "Auth.h"
#include "client/StaticAuthCacheClient.h"
#include "framework/TimerSupport.h"

/// Lets a PIN expire. Asking for one that has not is a use of it.
static HRESULT Expire(OV::AuthStore::CStaticAuthCacheClient& client, BSTR bstrId)
{
    int bCached = 0;
    HRESULT hr = S_OK;
    for (int nTry = 0; hr == S_OK && nTry < 100; ++nTry) {
        AdvanceClock(5);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        hr = client.IsPINCached(bstrId, bstrId, nullptr, 0, nullptr, &bCached);
    }
    EXPECT_EQ(hr, E_INVALIDARG);
    return S_OK;
}

TEST(SecretTest, CachedPIN_IsClearOnlyWhereACallerHoldsIt)
{
    const CSecret pin(24);
    OV::AuthStore::CStaticAuthCacheClient client;
    const CText a("a");
    for (const char cEnd : {'r', 'f', 'e'}) {
        const auto pPolicy = cEnd == 'e' ? std::make_unique<SPolicy>("Timeout", 0U) : nullptr;
        EXPECT_EQ(client.SetPIN(a, a, Bytes(pin.Bytes()).get(), nullptr, 0, nullptr), S_OK);
        EXPECT_EQ(pin.CountCopies(), 0);
        SAFEARRAY* psa = nullptr;
        EXPECT_EQ(client.GetPIN(a, a, nullptr, 0, &psa, nullptr), S_OK);
        EXPECT_EQ(pin.CountCopies(), 1);
        ovSafeArrayDestroy(psa, 0);
        EXPECT_EQ(pin.CountCopies(), 0);
        cEnd == 'r' ? client.RemovePIN(a, a, nullptr, 0) : cEnd == 'f' ? client.FlushStore(nullptr, 0) : Expire(client, a);
        EXPECT_EQ(pin.CountCopies(), 0) << cEnd;
    }
}
