// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Many threads, processes and forks at once.

#include "auth/Auth.h"
#include "load/Load.h"

#include <algorithm>

using OV::AuthStore::CStaticAuthCacheClient;

/// The thread sanitizer does not see how a forked child makes the stores' locks anew.
extern "C" SHAREDSTORE_API const char* __tsan_default_options()
{
    return "report_mutex_bugs=0";
}

TEST(ThreadTest, StoresServeWhileOthersRegisterListAndFlush)
{
    constexpr unsigned int Writers = 4, Rounds = 100;
    CTestStore shared("Thread shared", 1, "Thread product");
    std::vector<CTestStore> own;
    for (unsigned int u = 0; u < Writers; ++u) {
        own.emplace_back("Thread " + std::to_string(u));
    }
    CStaticDataCacheClient data;
    CStaticAuthCacheClient auth;
    CTestPins pins;
    const auto added = [](unsigned int uThread, unsigned int uRound) {
        return "Thread added/" + std::to_string(uThread) + "/" + std::to_string(uRound);
    };
    const auto list = [&] {
        return std::pair(Listed([&](SAFEARRAY** ppsa) { return data.ListDataStoreIds(ppsa); }),
                         Listed([&](SAFEARRAY** ppsa) { return auth.ListAuthStoreIds(ppsa); }));
    };
    RunWorkers({
        {Writers, Rounds,
         [&](unsigned int uThread, unsigned int uRound) {
             const std::string sValue = added(uThread, uRound);
             EXPECT_EQ(own[uThread].Set("a/b", "d", sValue), S_OK);
             EXPECT_EQ(own[uThread].Get("a/b", "d"), sValue);
             EXPECT_EQ(own[uThread].Remove("a", 0), S_OK);
             EXPECT_EQ(shared.Set(std::to_string(uThread), "d", sValue), S_OK);
         }},
        {Writers, Rounds,
         [&](unsigned int uThread, unsigned int uRound) {
             const std::string sCard = std::to_string(uThread), sId = std::to_string(uRound % 7);
             EXPECT_EQ(pins.Set(sCard, sId), S_OK);
             pins.Has(sCard, sId);
             pins.Has(std::to_string((uThread + 1) % Writers), sId);
         }},
        {2, Rounds,
         [&](unsigned int uThread, unsigned int uRound) {
             const CText id(added(uThread, uRound));
             EXPECT_EQ(data.RegisterDataStore(id, OV::DataStore::MemoryStore, 1, 1, CText("Thread product")), S_OK);
             EXPECT_EQ(auth.RegisterAuthStore(id, OV::AuthStore::AuthTypeMemory, 1, 1), S_OK);
         }},
        {1, 0,
         [&](unsigned int, unsigned int) {
             EXPECT_EQ(data.FlushDataStores(CText("Thread product")) | auth.FlushAuthStores(), S_OK);
             const auto [dataIds, authIds] = list();
             for (const std::string& sId : authIds) { // its data store was registered before it
                 const HRESULT hr =
                     sId.starts_with("Thread") ? data.GetDataStoreInfo(CText(sId), nullptr, nullptr, nullptr, nullptr) : S_OK;
                 EXPECT_EQ(hr | auth.GetAuthStoreInfo(CText(sId), nullptr, nullptr, nullptr), S_OK) << sId;
             }
         }},
    });
    for (CTestStore& store : own) {
        EXPECT_EQ(store.State("/"), (SState{0, 2 * Rounds, 2 * Rounds})); // made and removed
    }
    const auto [dataIds, authIds] = list();
    for (const Strings& ids : {dataIds, authIds}) {
        EXPECT_EQ(std::ranges::count_if(ids, [](const std::string& sId) { return sId.starts_with("Thread added/"); }), 2 * Rounds);
    }
    EXPECT_EQ(pins.Flush(), S_OK);
}

TEST(ThreadTest, Fork_WhileOthersWorkAndPINsExpire_TheChildUsesBothClients)
{
    if (UnderAddressSanitizer) {
        GTEST_SKIP() << "its allocator may be locked when another thread forks";
    }
    const SPolicy policy("Timeout", 0x40000000); // they expire at once
    CTestStore memory("Fork memory");
    CTestStore registry("Fork registry", 1, "Product", OV::DataStore::RegistryStore);
    CTestPins pins;
    const auto useData = [&](CTestStore& store, const std::string& sItem) {
        return store.Set("a/b", sItem, sItem) == S_OK && store.Get("a/b", sItem) == sItem;
    };
    const auto usePins = [&](const std::string& sCard) {
        const HRESULT hr = pins.Set(sCard, "id");
        while (pins.Has(sCard, "id")) {
        }
        return hr == S_OK;
    };
    RunWorkers({
        {2, 0, [&](unsigned int uThread, unsigned int) { EXPECT_TRUE(useData(memory, std::to_string(uThread))); }},
        {1, 0, [&](unsigned int, unsigned int) { EXPECT_TRUE(useData(registry, "parent")); }},
        {UnderThreadSanitizer ? 0U : 2U, 0,
         [&](unsigned int uThread, unsigned int) { EXPECT_EQ(pins.Set(std::to_string(uThread), "id"), S_OK); }},
        {1, 25,
         [&](unsigned int, unsigned int) { // under the thread sanitizer a child of threads can start none for the timers
             EXPECT_EQ(RunInChild([&] {
                           const bool bData = useData(memory, "child") && useData(registry, "child");
                           return bData && (UnderThreadSanitizer || usePins("child")) ? 0 : 1;
                       }),
                       0);
         }},
    });
}

TEST(ThreadTest, ProcessesOnOneStore_SeeAllThatOthersHaveWritten)
{
    constexpr unsigned int Processes = 4, Rounds = 60;
    const auto folder = NewFolder("sum");
    const auto open = [] { return CTestStore("Sum", 1, "Product", OV::DataStore::RegistryStore); };
    const auto numberIn = [](CTestStore& store, const std::string& sPath, unsigned int uItem) {
        return static_cast<unsigned int>(std::atoi(store.Get(sPath, std::to_string(uItem)).c_str())); // 0 when there is none
    };
    std::vector<pid_t> children;
    for (unsigned int uOwn = 0; uOwn < Processes; ++uOwn) {
        children.push_back(StartChild([&, uOwn] {
            UseRegistryIn(folder);
            CTestStore store = open();
            std::vector<unsigned int> last(Processes);
            for (unsigned int uRound = 1; uRound <= Rounds && !testing::Test::HasFailure(); ++uRound) {
                const std::string sRound = std::to_string(uRound);
                EXPECT_EQ(store.Set("sum/" + std::to_string(uOwn), sRound, sRound), S_OK);
                EXPECT_EQ(store.Set("sum", std::to_string(uOwn), sRound), S_OK);
                for (unsigned int uOther = 0; uOther < Processes; ++uOther) {
                    const unsigned int uSeen = numberIn(store, "sum", uOther);
                    EXPECT_GE(uSeen, last[uOther]) << uOther;
                    EXPECT_EQ(numberIn(store, "sum/" + std::to_string(uOther), uSeen), uSeen) << "it was written before";
                    last[uOther] = uSeen;
                }
            }
            return testing::Test::HasFailure() ? 1 : 0;
        }));
    }
    for (const pid_t nChild : children) {
        EXPECT_EQ(WaitForChild(nChild), 0);
    }
    InChild(folder, [&] {
        CTestStore store = open();
        unsigned int uSum = 0;
        for (unsigned int u = 0; u < Processes * Rounds; ++u) {
            uSum += numberIn(store, "sum/" + std::to_string(u / Rounds), u % Rounds + 1);
        }
        EXPECT_EQ(uSum, Processes * Rounds * (Rounds + 1) / 2);
    });
}
