// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Fakes.h"
#include "Store.h"

#include "datastore/InternalDataStore.h"
#include "util/RegistryPaths.h"

#include <array>

using namespace OV::DataStore;

TEST(EngineTest, FlushStoreFromSessionId_EmptiesASharedStore)
{
    CInternalDataStore store;
    EXPECT_EQ(store.FlushStoreFromSessionId(5), E_FAIL); // it has not begun
    EXPECT_EQ(store.Begin(CText("Session"), MemoryStore, 0, 1, "P"), S_OK);
    EXPECT_EQ(store.CreateCompartment(0, CText("a")), S_OK);
    EXPECT_EQ(store.FlushStoreFromSessionId(5), S_OK);
    EXPECT_EQ(store.FlushStoreFromSessionId(5), E_INVALIDARG); // it is empty
}

TEST(EngineTest, ShutSession_OpensAfterTheTimeOut)
{
    // configured (0 stands for 15), elapsed, open
    const std::array<int, 3> cases[] = {{0, 14, 0}, {0, 15, 1}, {3, 2, 0}, {3, 3, 1}, {3, -1, 1}};
    CInternalDataStore store;
    const auto available = [&](unsigned long dwSession) {
        int bOpen = -1;
        EXPECT_EQ(store.GetAvailabilityStoreFromSessionId(dwSession, bOpen), S_OK);
        return bOpen;
    };
    for (const auto& [nConfigured, nElapsed, bAvailable] : cases) {
        Configure(SharedStoreKey, "DisableTimeoutAfterEndSession", REG_DWORD, std::string{static_cast<char>(nConfigured), 0, 0, 0});
        CClock clock;
        EXPECT_EQ(store.SetAvailabilityStoreFromSessionId(4, 0), S_OK);
        EXPECT_EQ(available(5), 1); // never marked
        clock.tNow += nElapsed;
        EXPECT_EQ(available(4), bAvailable) << nElapsed;
        clock.tNow -= nElapsed;
        EXPECT_EQ(available(4), bAvailable) << nElapsed; // once open it stays so
    }
}
