// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// What the client makes of its arguments and of the default store's results.

#include "ClientOperations.h"
#include "client/StaticAuthStoreRegistration.h"

TEST(AuthClientTest, Results_AreHandedOutAndFailuresMaskedWithParameters)
{
    const SPolicy policy("EnablePINCacheForPINAlwaysPrivateKeys", 1);
    CCaller client(1, 0, 1, ClientOperations);
    EXPECT_EQ(client.Play("set 1234, get, getex, query, queryex, get #last, getex #last, query #last, queryex #last"),
              "ok,  1234, 1 1234, 1, 1,  1234, 1 1234, 1, 1");
    EXPECT_EQ(client.Play("getex IsACRPINAlways=Yes, query IsACRPINAlways=Yes, queryex IsACRPINAlways=Yes"), "2 1234, 0, 2");
    EXPECT_EQ(client.Play("query #last IsACRPINAlways=Yes, queryex #last IsACRPINAlways=Yes"), "0, 2");
    EXPECT_EQ(client.Play("change 1, query IsACRPINAlways=Yes, change 0 #last, query IsACRPINAlways=Yes"), "ok, 1, ok, 0");
    EXPECT_EQ(client.Play("set 5 #last, getex, remove #last, remove, set 6, card C, remove, set 7, flush, remove, set 8, all, remove"),
              "ok, 1 5, ok, none, ok, ok, none, ok, ok, none, ok, ok, none");
    EXPECT_EQ(client.Play("get, getex #x, query, queryex #x, change 1, remove #x, set 1 %, get #, remove #"),
              "none, none, none, none, none, none, none, fail, fail");
    EXPECT_EQ(client.Play("get a=b, getex #x a=b, query a=b, queryex #x a=b, change 1 a=b, remove #x a=b, set 1 % a=b, get # a=b"),
              "ok, ok, ok, ok, ok, ok, ok, ok");
    const ArrayPointer parameters = TextArray({"a", "b"});
    EXPECT_EQ(k.FlushStore(static_cast<AuthParameter*>(parameters->pvData), 0), E_FAIL); // nothing was converted, so nothing is freed
    const CFault fault("ovSafeArrayDestroy");
    EXPECT_EQ(k.FlushStore(static_cast<AuthParameter*>(parameters->pvData), 1), DISP_E_ARRAYISLOCKED);
}

TEST(AuthClientTest, Stores_AreListedDescribedAndTakeEachIdentifierOnce)
{
    for (const auto& [pszId, hr] : {std::pair("b", S_OK), {"a", S_OK}, {DefaultAuthStoreId, E_FAIL}, {"", E_INVALIDARG}}) {
        EXPECT_EQ(k.RegisterAuthStore(CText(pszId), static_cast<AuthType>(2), 0, 5), hr);
    }
    EXPECT_EQ(Listed([](SAFEARRAY** ppsa) { return k.ListAuthStoreIds(ppsa); }), (Strings{"a", "b", DefaultAuthStoreId}));
    const CTranscript transcript;
    EXPECT_EQ(k.RegisterAuthStore(CText("a"), AuthTypeMemory, 1, 1), E_FAIL);
    EXPECT_EQ(transcript.sLines, R"(
8 CStaticAuthCacheClient::RegisterAuthStore
1 CStaticAuthCacheClient::RegisterAuthStore This DataStore id already exist !
16 CStaticAuthCacheClient::RegisterAuthStore hr = 0x80004005)");
    AuthType enType{};
    int nEncrypt = 7, nIgnore = 7;
    EXPECT_EQ(k.GetAuthStoreInfo(CText("c"), nullptr, nullptr, nullptr) | k.ListAuthStoreIds(nullptr), E_FAIL);
    EXPECT_EQ(k.GetAuthStoreInfo(CText("a"), &enType, &nEncrypt, &nIgnore), S_OK);
    EXPECT_EQ(enType * 100 + nEncrypt * 10 + nIgnore, 205);
}
