// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Store.h"
#include "support/Child.h"

#include <atomic>
#include <thread>

TEST(ThreadTest, StoresServeWhileOthersRegisterListAndFlush)
{
    constexpr int Rounds = 100;
    CTestStore shared("Thread shared", 1, "Thread product");
    CStaticDataCacheClient client;
    std::atomic<int> nWorking{3};
    std::vector<std::jthread> threads;
    for (const char* pszName : {"Thread 1", "Thread 2", "Thread 3"}) {
        threads.emplace_back([&, pszName] {
            CTestStore own(pszName);
            for (int i = 0; i < Rounds; ++i) {
                EXPECT_EQ(own.Set("a/b", "d", pszName), S_OK);
                EXPECT_EQ(own.Get("a/b", "d"), pszName);
                EXPECT_EQ(own.Remove("a", 0), S_OK);
                EXPECT_EQ(shared.Set(pszName, "d", "v"), S_OK);
                const CTestStore added(pszName + std::to_string(i), 1, "Thread product");
            }
            EXPECT_EQ(own.State("/"), (SState{0, 2 * Rounds, 2 * Rounds})); // made and removed
            --nWorking;
        });
    }
    while (nWorking > 0) {
        EXPECT_EQ(client.FlushDataStores(CText("Thread product")), S_OK);
        Listed([&](SAFEARRAY** ppsa) { return client.ListDataStoreIds(ppsa); });
    }
}

TEST(ThreadTest, ForkWhileAnotherThreadStores_TheChildIsServed)
{
    CTestStore store("Thread fork");
    ASSERT_EQ(store.Set("a", "d", "v"), S_OK);
    std::atomic<bool> bStop{false};
    std::thread writer([&] {
        while (!bStop) {
            EXPECT_EQ(store.Set("a", "d", "v"), S_OK);
        }
    });
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(RunInChild([&] { return store.Get("a", "d") == "v" && store.State("a").bCached == 1 ? 0 : 1; }), 0);
    }
    bStop = true;
    writer.join();
}
