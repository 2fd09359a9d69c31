// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Every call that an operation makes of the platform fails once.

#include "Fakes.h"
#include "Store.h"

namespace
{

constexpr const char* Name = "a compartment or item/with a long name";
const CText g_store("Faults");
const CText g_name(Name);
CStaticDataCacheClient g_client;

/// Runs an operation on a fresh content of the store, with the nth call of one function failing.
/// @param outcomes one more line for each run that succeeded
/// @return whether there was such a call
bool RunWithFault(const SOperation& operation, const char* pszFunction, int nCall, CTestStore& store, Strings& outcomes)
{
    SCOPED_TRACE(operation.pszName + std::string(" ") + pszFunction + " " + std::to_string(nCall));
    EXPECT_EQ(store.Flush(), S_OK);
    EXPECT_EQ(store.Set(Name, Name, "old"), S_OK);
    EXPECT_EQ(store.Set(std::string(Name) + "/and one below it", "d", "old"), S_OK);
    EXPECT_EQ(store.Set("other", "d", "kept"), S_OK);
    SArguments args;
    const auto [hr, bFired] = [&] {
        const CFault fault(pszFunction, nCall);
        const HRESULT hrRun = operation.Run(g_client, g_store, g_name, g_name, args);
        return std::pair(hrRun, fault.Fired());
    }();
    const ArrayPointer pOut(args.psaOut);
    EXPECT_TRUE(hr == S_OK || (bFired && (hr == E_OUTOFMEMORY || hr == DISP_E_ARRAYISLOCKED))) << hr;
    if (hr == S_OK) {
        outcomes.push_back(std::to_string(pOut == nullptr ? 0 : pOut->rgsabound[0].cElements) + store.Get(Name, Name));
        EXPECT_EQ(outcomes.back(), outcomes.front());
    }
    EXPECT_EQ(store.Get("other", "d"), operation.pszName == std::string_view("FlushStore") ? "no array" : "kept");
    EXPECT_EQ(store.Set(Name, Name, "next"), S_OK);
    EXPECT_EQ(store.Get(Name, Name), "next");
    return bFired;
}

} // namespace

TEST(FaultTest, StoreOperation_WithAnyCallFailing_TellsTheTruthAndLeavesTheStoreServing)
{
    CTestStore store("Faults");
    int nFaults = 0;
    for (const SOperation& operation : Operations) {
        Strings outcomes;
        for (const char* pszFunction :
             {"operator new", "SysAllocString", "SafeArrayCreateVector", "SafeArrayCopy", "SafeArrayGetElement", "ovSafeArrayDestroy"}) {
            for (int nCall = 1; RunWithFault(operation, pszFunction, nCall, store, outcomes); ++nCall, ++nFaults) {
            }
        }
        EXPECT_NE(outcomes.size(), 0U) << operation.pszName;
    }
    EXPECT_GT(nFaults, 100); // they do arrive
}
