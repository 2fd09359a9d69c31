// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "client/StaticAuthCacheClient.h"
#include "registry/RegistrySupport.h"
#include "store/Store.h"
#include "support/Sanitizers.h"

#include <atomic>
#include <functional>
#include <thread>

/// What some threads do again and again.
struct SWorker
{
    unsigned int uThreads;
    unsigned int uRounds; ///< 0: until all workers with a number have done theirs
    std::function<void(unsigned int uThread, unsigned int uRound)> Work;
};

/// Runs workers side by side until they have done their rounds, or a check has failed.
inline void RunWorkers(const std::vector<SWorker>& workers)
{
    std::atomic<unsigned int> uBusy = 0;
    for (const SWorker& worker : workers) {
        uBusy += worker.uRounds > 0 ? worker.uThreads : 0;
    }
    std::vector<std::jthread> threads;
    for (const SWorker& worker : workers) {
        for (unsigned int uThread = 0; uThread < worker.uThreads; ++uThread) {
            threads.emplace_back([&worker, &uBusy, uThread] {
                const bool bEndless = worker.uRounds == 0;
                for (unsigned int u = 0; (bEndless ? uBusy > 0 : u < worker.uRounds) && !testing::Test::HasFailure(); ++u) {
                    worker.Work(uThread, u);
                }
                uBusy -= bEndless ? 0 : 1;
            });
        }
    }
}

/// The PIN cache, and a PIN that tells what it belongs to.
class CTestPins
{
public:
    static std::string PinOf(const std::string& sCard, const std::string& sId) { return sCard + ":" + sId; }

    HRESULT Set(const std::string& sCard, const std::string& sId)
    {
        return m_Client.SetPIN(CText(sCard), CText(sId), Bytes(PinOf(sCard, sId)).get(), nullptr, 0, nullptr);
    }
    HRESULT Remove(const std::string& sCard, const std::string& sId) { return m_Client.RemovePIN(CText(sCard), CText(sId), nullptr, 0); }
    HRESULT Flush() { return m_Client.FlushStore(nullptr, 0); }

    /// Whether a PIN is there. One that is must be the one that was set.
    bool Has(const std::string& sCard, const std::string& sId)
    {
        SAFEARRAY* psa = nullptr;
        const HRESULT hr = m_Client.GetPIN(CText(sCard), CText(sId), nullptr, 0, &psa, nullptr);
        EXPECT_EQ(hr, psa != nullptr ? S_OK : E_INVALIDARG);
        const ArrayPointer pPin(psa);
        EXPECT_TRUE(psa == nullptr || BytesOf(pPin) == PinOf(sCard, sId));
        return psa != nullptr;
    }

private:
    OV::AuthStore::CStaticAuthCacheClient m_Client;
};
