// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Fakes.h"
#include "Store.h"

using namespace std::string_view_literals;

namespace
{

CStaticDataCacheClient g_client;

/// A store that has begun without its settings: it has no tree and its product is "".
CTestStore MakeBroken(const char* pszId)
{
    const CFault fault("pthread_mutex_init");
    return CTestStore(pszId);
}

} // namespace

TEST(ClientTest, BadStoreOrIdentifier_FailsAndResetsWhatItWouldTell)
{
    const CTestStore store("Client");
    const CTestStore notShared("Not shared", 0);
    const CTestStore broken = MakeBroken("Broken");
    for (const SOperation& operation : Operations) {
        SCOPED_TRACE(operation.pszName);
        const std::string_view sName = operation.pszName;
        SArguments args;
        const auto run = [&](const char* pszStore, const char* pszPath, const char* pszItem) {
            args.State = {7, 7, 7};
            return operation.Run(g_client, CText(pszStore), CText(pszPath), CText(pszItem), args);
        };
        EXPECT_EQ(run("client", "a", "d"), E_FAIL); // there is no such store
        for (const char* pszBad : {static_cast<const char*>(nullptr), ""}) {
            EXPECT_EQ(run(pszBad, "a", "d"), E_INVALIDARG);
            EXPECT_TRUE(operation.nIds < 2 || run("Client", pszBad, "d") == E_INVALIDARG);
            EXPECT_TRUE(operation.nIds < 3 || run("Client", "a", pszBad) == E_INVALIDARG);
        }
        EXPECT_EQ(run("Broken", "a", "d"), sName == "GetDataStoreInfo" ? S_OK : E_FAIL);
        EXPECT_EQ(run("Not shared", "a", "d"), operation.nIds == 1 || sName == "RemoveCompartment" ? S_OK : E_FAIL);
        EXPECT_EQ(args.State.bCached, sName.starts_with("Is") ? 0 : 7);
        EXPECT_EQ(args.State.ulContentVersion, sName == "IsCompartmentCached" ? 0U : 7U);
    }
}

TEST(ClientTest, Stores_AreListedInByteOrderAndTakeEachIdentifierOnce)
{
    const auto list = [](SAFEARRAY** ppsa) { return g_client.ListDataStoreIds(ppsa); };
    EXPECT_EQ(list(nullptr), S_OK);
    Strings expected = Listed(list);
    const CTestStore stores[] = {CTestStore("~b"), CTestStore("~a"), CTestStore("~B")};
    for (const auto& [pszId, hr] : {std::pair("~a", E_FAIL), {"", E_INVALIDARG}, {nullptr, E_INVALIDARG}}) {
        EXPECT_EQ(CStaticDataCacheClient::RegisterDataStore(CText(pszId), OV::DataStore::MemoryStore, 0, 1, CText("Product")), hr);
    }
    expected.insert(expected.end(), {"~B", "~a", "~b"});
    EXPECT_EQ(Listed(list), expected);
}

TEST(ClientTest, FlushDataStores_FlushesOneProductAndGivesTheLastStoresResult)
{
    const CTestStore broken = MakeBroken("~flush1");
    CTestStore upper("~flush2", 1, "P");
    CTestStore lower("~flush3", 1, "p");
    EXPECT_EQ(upper.Create("x"), S_OK);
    EXPECT_EQ(lower.Create("x"), S_OK);
    EXPECT_EQ(g_client.FlushDataStores(nullptr), E_INVALIDARG);
    EXPECT_EQ(g_client.FlushDataStores(CText("P")), S_OK);
    EXPECT_EQ(upper.Children("/"), Strings{"no array"});
    EXPECT_EQ(lower.Children("/"), Strings{"x"});
    const CText noProduct("\0"sv);
    EXPECT_EQ(g_client.FlushDataStores(noProduct), S_OK); // the failure is not the last store's
    const CTestStore last = MakeBroken("~flush4");
    EXPECT_EQ(g_client.FlushDataStores(noProduct), E_FAIL);
}

TEST(ClientTest, NulInAnIdentifier_EndsIt)
{
    CTestStore store("Nul");
    EXPECT_EQ(store.Set("%s\n\0tail"sv, "\0tail"sv, "v"), S_OK);
    EXPECT_EQ(store.Get("%s\n", "\0"sv), "v");
    EXPECT_EQ(store.Children("/"), Strings{"%s\n"});
}

TEST(ClientTest, NullValue_IsRefusedAndTheOldOneIsGone)
{
    const CTestStore store("Null");
    const CText id("Null");
    EXPECT_EQ(g_client.SetData(id, id, id, Bytes("old").get()), S_OK);
    EXPECT_EQ(g_client.GetData(id, id, id, nullptr), S_OK);
    EXPECT_EQ(g_client.SetData(id, id, id, nullptr), E_INVALIDARG);
    EXPECT_EQ(g_client.GetData(id, id, id, nullptr), E_INVALIDARG);
}
