// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// What a PIN record holds, what may be done with it, and what removes it: by the administrator's policy, the
// callers' sessions and their additional parameters.

#include "Auth.h"
#include "support/KeyFile.h"
#include "support/Values.h"

using RecordTest = SAuthTest;

TEST_F(RecordTest, OnlyTheNumberOneGivesEachProcessARecord_AlsoWithoutASession)
{
    for (const auto& [uValue, ulType] : {std::pair<unsigned int, unsigned long>(0, REG_DWORD), {2, REG_DWORD}, {1, REG_BINARY}}) {
        const SPolicy policy("AllowPerProcess", uValue, ulType);
        EXPECT_EQ(CCaller().Play("set 1, list"), "ok, 1/C/P");
    }
    const SPolicy policy("AllowPerProcess", 1);
    sessions.Find = [](int) { return -1; };
    EXPECT_EQ(CCaller().Play("set lost, list"), "ok, 18446744073709551615/C/P/11");
}

TEST_F(RecordTest, ShutSession_FailsButExpires)
{
    EXPECT_EQ(caller.Play("set 1 %Q, set 1234"), "ok, ok");
    EXPECT_EQ(caller->SetAvailabilityStoreFromSessionId(1, 0), S_OK);
    EXPECT_EQ(caller.Play("get, set 1, remove #last, card C, get @21, expire %Q #last, list"), "fail, fail, fail, fail, none, ok, 1/C/P");
}

TEST_F(RecordTest, PIN_ComesBackFromEveryKindOfStore)
{
    const CKeyFile keyFile;
    const std::string sLong(5000, 'x');
    for (int nKind = 0; nKind < 12; ++nKind) {
        CCaller own(nKind & 1, nKind / 4, nKind & 2);
        EXPECT_EQ(own.Play("set 1234, get, set, get, set " + sLong + ", get, remove, get, query, list"),
                  "ok, 1 1234, ok, 1 , ok, 1 " + sLong + ", ok, none, none, empty");
    }
}

TEST_F(RecordTest, NullOrWrongArguments_FailOrAskForNothing)
{
    const CText c("C");
    int nState = 7;
    EXPECT_EQ(caller->SetPIN(11, c, c, Bytes("1234").get(), nullptr, nullptr), S_OK);
    EXPECT_EQ(caller->GetPIN(11, c, c, nullptr, nullptr, nullptr, &nState), S_OK);
    EXPECT_EQ(caller->GetPIN(11, c, c, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(caller->IsPINCached(11, c, c, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(caller->SetPIN(11, c, CText("P"), nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(caller.Play("get %, query %, set 1 %, change 1 %, remove %, remove % AllSession=True, remove %Q AllSession=True, card"),
              "none, none, none, none, none, none, none, none");
    EXPECT_EQ(caller->FlushStore(0, MakeValue(VT_BSTR, {{2, 0}, {2, 0}}).get()), E_INVALIDARG);
    EXPECT_EQ(caller->FlushStore(0, TextArray({"Action", ""}).get()), E_INVALIDARG);
    EXPECT_EQ(caller->FlushStore(0, Bytes("no strings").get()), S_OK);
    const CFault fault("pthread_mutex_init");
    EXPECT_EQ(CCaller(1).Play("set 1, get, query, change 1, remove, remove AllSession=True, records, flush, move 12, card C, end"),
              "fail, fail, fail, fail, fail, fail, fail, fail, fail, fail, ok");
    EXPECT_EQ(CInternalAuthStore().Begin(CText("Keyless"), OV::AuthStore::AuthTypeRegistry, 1, 1), E_FAIL);
}

TEST_F(RecordTest, PathTooDeepToWalk_IsServedButNeitherMovedNorListed)
{
    std::string sDeep = "C";
    for (int i = 0; i < 1000; ++i) {
        sDeep += "/d";
    }
    EXPECT_EQ(caller->SetPIN(11, CText(sDeep), CText("P"), Bytes("1").get(), nullptr, nullptr), S_OK);
    EXPECT_EQ(caller.Play("move 12, list"), "none, none");
    EXPECT_EQ(caller->RemovePIN(11, CText(sDeep), CText("P"), nullptr), S_OK);
}
