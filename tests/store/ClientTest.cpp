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

TEST(ClientTest, ValueOfAnotherType_ComesBackEqual)
{
    const CTestStore store("Values");
    const CText id("Values");
    const CText a("a");
    int nIndex = 1;
    const ArrayPointer pValue(SafeArrayCreateVector(VT_BSTR, 0, 3));
    EXPECT_EQ(SafeArrayPutElement(pValue.get(), &nIndex, CText("a\0string"sv)), S_OK);
    EXPECT_EQ(g_client.SetData(id, a, a, pValue.get()), S_OK);
    EXPECT_EQ(Listed([&](SAFEARRAY** ppsa) { return g_client.GetData(id, a, a, ppsa); }), (Strings{"", std::string("a\0string"sv), ""}));
    EXPECT_EQ(g_client.GetData(id, a, a, nullptr), S_OK);
    EXPECT_EQ(g_client.SetData(id, a, a, nullptr), E_INVALIDARG);
    EXPECT_EQ(g_client.GetData(id, a, a, nullptr), E_INVALIDARG); // the old value is gone
}

TEST(ClientTest, IdentifiersOfAnyShape_AreServed)
{
    CTestStore store("Shapes");
    const std::string sLong(1 << 20, 'x');
    for (const std::string_view sId : {"/"sv, "//"sv, "a/"sv, "/a"sv, "\xff\n%s"sv, std::string_view(sLong)}) {
        EXPECT_EQ(store.Set(sId, sId, sId), S_OK);
        EXPECT_EQ(store.Get(sId, sId), sId);
    }
    EXPECT_EQ(store.Children("/"), (Strings{"", "a", sLong, "\xff\n%s"}));
}
