// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Every call that an operation on data stores makes of the platform fails once.

#include "Sweep.h"

#include "client/StoreList.h"
#include "datastore/InternalDataStore.h"
#include "store/TreeOperations.h"
#include "tree/DumpTree.h"
#include "tree/DuplicateRegistryTree.h"
#include "tree/RegistryTree.h"
#include "util/RegistryPaths.h"

using namespace OV::DataStore;
using DataFaultTest = SFaultTest;

namespace
{

struct SKind
{
    const char* pszName;
    Type type;
    int bEncrypted;
};
constexpr SKind Kinds[] = {
    {"Memory", MemoryStore, 0}, {"MemoryE", MemoryStore, 1}, {"Registry", RegistryStore, 0}, {"RegistryE", RegistryStore, 1}};

constexpr const char* There = "a compartment or item/with a long name";
CStaticDataCacheClient g_client;

/// Every operation is run on a compartment and an item that are there, and on ones that are not.
struct SCase : SOperation
{
    const SKind& kind;
    const char* pszPath;
    bool bRegistry = kind.type == RegistryStore;
    bool Is(std::string_view s) const { return s == pszName; }
    /// A registry is asked for what there is, and left as it is, without a word.
    bool Forgives() const
    {
        return bRegistry && (Is("IsCompartmentCached") || Is("CreateCompartment") || Is("RemoveCompartment") || Is("FlushStore"));
    }
};

/// What an operation has told and left: its result and out-arguments, the value and the versions at its place.
struct SOutcome
{
    HRESULT hr;
    std::string sOut, sValue;
    bool bAdvanced;
};

/// Runs an operation on a fresh content of the store, with a call failing.
SOutcome RunCase(const SCase& op, CTestStore& store, CFault& fault)
{
    store.Flush(); // fails when a registry store has nothing yet
    EXPECT_EQ(store.Set("other", "d", "kept"), S_OK);
    EXPECT_EQ(store.Set(There, There, "old"), S_OK);
    EXPECT_EQ(store.Set(std::string(There) + "/and one below it", "d", "old"), S_OK);
    const SState before = store.State(op.pszPath);
    SArguments args;
    args.State.bCached = 7;
    const CText id(op.kind.pszName), path(op.pszPath);
    const HRESULT hr = fault.During([&] { return op.Run(g_client, id, path, path, args); });
    SCOPED_TRACE(fault.Failed());
    const ArrayPointer pOut(args.psaOut);
    EXPECT_EQ(args.pIn->cLocks, 0U);
    EXPECT_TRUE(SUCCEEDED(hr) || args.State.bCached % 7 == 0);
    EXPECT_TRUE(SUCCEEDED(hr) || !op.Is("GetData") || pOut == nullptr);
    const int nListed = pOut == nullptr ? -1 : static_cast<int>(pOut->rgsabound[0].cElements);
    const SState after = store.State(op.pszPath);
    const std::string sOut = std::to_string(nListed) + " " + std::to_string(args.State.bCached) + std::to_string(after.bCached);
    const SOutcome outcome{hr, sOut, store.Get(op.pszPath, op.pszPath), !(after == before)};
    EXPECT_TRUE(store.Get("other", "d") == "kept" || op.Is("FlushStore"));
    return outcome;
}

void CheckOutcome(const SCase& op, const SOutcome& outcome, const SOutcome& expected, const CFault& fault)
{
    const bool bLost = outcome.sValue == "no array" && !op.bRegistry && op.Is("SetData"); // memory loses what it can't replace
    EXPECT_TRUE(outcome.sValue == (op.pszPath == There ? "old" : "no array") || outcome.sValue == expected.sValue || bLost)
        << outcome.sValue;
    // The versions of what never had any answer so when they can't be made.
    const bool bNoVersions = fault.Failed() == std::string_view("SafeArrayCreateVector") && expected.bAdvanced;
    EXPECT_TRUE(outcome.hr == expected.hr || (outcome.hr == E_INVALIDARG && bNoVersions) ||
                SFaultTest::IsFailure(outcome.hr, fault, op.bRegistry))
        << outcome.hr;
    if (outcome.hr == expected.hr && !op.Forgives()) {
        EXPECT_EQ(outcome.sOut + outcome.sValue, expected.sOut + expected.sValue);
        EXPECT_TRUE(outcome.bAdvanced == expected.bAdvanced || bNoVersions);
    }
}

} // namespace

TEST_F(DataFaultTest, List_WithAnyCallFailing_CanBeHadTheNextTime)
{
    const CText id("A"), product("Product");
    const CTestStore stores[] = {CTestStore("A"), CTestStore("B")};
    const auto makeCompartment = [&] { EXPECT_EQ(g_client.TouchCompartment(id, id), S_OK); };
    SweepCall("FlushDataStores", makeCompartment, [&] { return g_client.FlushDataStores(product); });
    SAFEARRAY* psa = nullptr;
    const auto destroy = [&] { EXPECT_EQ(ovSafeArrayDestroy(std::exchange(psa, nullptr), 0), S_OK); };
    SweepCall("ListDataStoreIds", destroy, [&] { return g_client.ListDataStoreIds(&psa); });
    destroy();
    Configure(std::string(StoreListKey) + "\\One", "Type", REG_DWORD, std::string("\1\0\0\0", 4));
    Configure(std::string(StoreListKey) + "\\Two", "Product", REG_SZ, "P");
    std::list<_regInfos> infos;
    SweepCall(
        "GetRegInfos", [&] { ClearRegInfos(infos); }, [&] { return GetRegInfos(infos); });
    ClearRegInfos(infos);
}

TEST_F(DataFaultTest, Store_WithAnyCallFailing_BeginsOrCanBeRegisteredAgain)
{
    const CText product("P");
    for (const SKind& kind : Kinds) {
        SweepRegister([&](BSTR id) { return g_client.RegisterDataStore(id, kind.type, kind.bEncrypted, 1, product); },
                      [](BSTR id) { return g_client.TouchCompartment(id, id); });
    }
}

TEST_F(DataFaultTest, FirstUseOfACipher_WithAnyCallFailing_LeavesOneForTheNext)
{
    int nStores = 0;
    for (const char* pszOperation : {"SetData", "GetData"}) {
        const auto* pOperation = std::ranges::find(Operations, std::string_view(pszOperation), &SOperation::pszName);
        Sweep(pszOperation, [&](CFault& fault) {
            const CText id("First" + std::to_string(++nStores)), name("a");
            CTestStore store(TextOf(id), 1, "Product", MemoryStore, 1);
            const bool bRead = pOperation->pszName == std::string_view("GetData");
            EXPECT_EQ(bRead ? store.Set("a", "a", "first") : store.Create("a"), S_OK);
            SArguments args;
            const HRESULT hr = fault.During([&] { return pOperation->Run(g_client, id, name, name, args); });
            SCOPED_TRACE(fault.Failed());
            const ArrayPointer pOut(args.psaOut);
            EXPECT_TRUE(hr == S_OK || IsFailure(hr, fault, false)) << hr;
            EXPECT_EQ(store.Set("a", "a", "next"), S_OK);
            EXPECT_EQ(store.Get("a", "a"), "next");
        });
    }
    EXPECT_EQ(failed.count("Initialize"), 1U);
}

TEST_F(DataFaultTest, OperationOfATree_WithAnyCallFailing_SucceedsTheNextTime)
{
    CRegistryTree registry("Tree", 0);
    CDumpTree dump("Dump");
    CDuplicateRegistryTree duplicate("Duplicate");
    for (CAbstractTree* pTree :
         {static_cast<CAbstractTree*>(&registry), static_cast<CAbstractTree*>(&dump), static_cast<CAbstractTree*>(&duplicate)}) {
        SArguments args;
        const auto prepare = [&] {
            EXPECT_EQ(pTree->SetData("a", "d", args.pIn.get(), 0, 0), S_OK);
            EXPECT_EQ(ovSafeArrayDestroy(std::exchange(args.psaOut, nullptr), 0), S_OK);
        };
        for (const STreeOperation& operation : TreeOperations) {
            SweepCall(operation.pszName, prepare, [&] { return operation.Run(*pTree, "a", "d", args); });
        }
        prepare();
    }
}

TEST_F(DataFaultTest, OperationOnSessions_WithAnyCallFailing_SucceedsTheNextTime)
{
    const CText id("Sessions"), path("5/a"), name("a");
    CInternalDataStore shared, own; // of the same registry keys
    EXPECT_EQ(shared.Begin(id, RegistryStore, 0, 1, "P"), S_OK);
    EXPECT_EQ(own.Begin(id, RegistryStore, 0, 0, "P"), S_OK);
    unsigned long ulSession = 5;
    int bOpen = 0;
    const auto prepare = [&] { EXPECT_EQ(shared.SetData(++ulSession, path, name, Bytes("1").get()), S_OK); };
    SweepCall("RemoveCompartment", prepare, [&] { return own.RemoveCompartment(0, name, 1); });
    SweepCall("FlushStoreFromSessionId", prepare, [&] { return own.FlushStoreFromSessionId(5); });
    SweepCall("FlushStoreFromSessionId of any", prepare, [&] { return own.FlushStoreFromSessionId(0); });
    SweepCall("FlushStoreFromSessionId of all", prepare, [&] { return shared.FlushStoreFromSessionId(5); });
    SweepCall("SetAvailability", prepare, [&] { return own.SetAvailabilityStoreFromSessionId(ulSession, 0); });
    SweepCall("GetAvailability", prepare, [&] { return own.GetAvailabilityStoreFromSessionId(ulSession - 1, bOpen); });
}

TEST_F(DataFaultTest, Operation_WithAnyCallFailing_TellsTheTruthAndLeavesTheStoreServing)
{
    for (const SKind& kind : Kinds) {
        CTestStore store(kind.pszName, 1, "Product", kind.type, kind.bEncrypted);
        for (const SOperation& operation : Operations) {
            for (const char* pszPath : {There, "missing"}) {
                const SCase op{{operation}, kind, pszPath};
                CFault none("none");
                const SOutcome expected = RunCase(op, store, none);
                Sweep(operation.pszName + (" " + std::string(kind.pszName)) + pszPath, [&](CFault& fault) {
                    const SOutcome outcome = RunCase(op, store, fault);
                    SCOPED_TRACE(fault.Failed());
                    CheckOutcome(op, outcome, expected, fault);
                });
            }
        }
    }
    EXPECT_GT(failed.size(), 20U); // they do arrive
}
