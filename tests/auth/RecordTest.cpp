// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// What a PIN record holds, what may be done with it, and what removes it: by the administrator's policy, the
// callers' sessions and their additional parameters.

#include "Auth.h"
#include "support/KeyFile.h"
#include "support/Values.h"

using RecordTest = SAuthTest;
using Table = std::vector<std::pair<std::string, std::string>>;

TEST_F(RecordTest, Record_BelongsToTheSessionOrTheProcessOrToAll)
{
    const std::string sScript = "set one, get @12, get @12 #last, set two @12, get, get @0, get @21, get @13 #last, list";
    for (const auto& [uValue, ulType] : {std::pair<unsigned int, unsigned long>(0, REG_DWORD), {2, REG_DWORD}, {1, REG_BINARY}}) {
        const SPolicy policy("AllowPerProcess", uValue, ulType);
        EXPECT_EQ(CCaller().Play(sScript), "ok, 1 one, 1 one, ok, 1 two, fail, none, 1 two, 1/C/P");
        EXPECT_EQ(CCaller(1).Play(sScript), "ok, 1 one, 1 one, ok, 1 two, 1 two, 1 two, 1 two, C/P");
    }
    const SPolicy policy("AllowPerProcess", 1);
    EXPECT_EQ(CCaller().Play(sScript), "ok, none, none, ok, 1 one, fail, none, none, 1/C/P/11 1/C/P/12");
    EXPECT_EQ(CCaller(1).Play(sScript + ", get @12 #any"), "ok, none, none, ok, 1 one, none, none, none, C/P/11 C/P/12, 1 two");
    sessions.Find = [](int) { return -1; };
    EXPECT_EQ(CCaller().Play("set lost, list"), "ok, 18446744073709551615/C/P/11");
}

TEST_F(RecordTest, OperationsBySessionId_ReachTheirRecordAndNothingForAnUnknownId)
{
    EXPECT_EQ(caller.Play("set 1, set 2 #last, change 1 #last, query IsACRPINAlways=Yes, move 12, get #last @0, move 21, query #last, get"),
              "ok, ok, ok, 1, ok, 1 2, ok, 1, 1 2");
    EXPECT_EQ(caller.Play("get #x, query #x, change 1 #x, remove #x, set stray #x, get #y, list, remove #last, get #last, get"),
              "none, none, none, none, ok, 1 stray, /C/P 1/C/P, ok, 1 stray, none"); // the identifier goes with its record
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

// clang-format off
TEST_F(RecordTest, PINAlways_FollowsItsTables)
{
    // The state of a PIN Always key after operations.
    const auto after = [&](const std::string& sScript) { return caller.Play(sScript + ", query IsACRPINAlways=Yes").back(); };
    // What is left of an unavailable and of an available permission when a PIN is stored anew.
    for (const auto& [sAction, sLeft] : Table{{"", "00"}, {"Action=None", "00"}, {"Action=authenticate", "00"},
                                              {"Action=Authenticate", "11"}, {"Action=ChangeAuthenticator", "01"}}) {
        EXPECT_EQ(after("set 1, change 2, set 2 " + sAction), sLeft[0]) << sAction;
        EXPECT_EQ(after("set 1, change 1, set 2 " + sAction), sLeft[1]) << sAction;
    }
    // What is left of an available one when the PIN is read, by key; an unavailable one stays so.
    for (const auto& [sAction, sLeft] : Table{{"None", "001"}, {"Other", "001"}, {"Authenticate", "111"}, {"ChangeAuthenticator", "111"}}) {
        for (const auto& [sKey, c] : {std::pair("Yes", sLeft[0]), {"No", sLeft[1]}, {"yes", sLeft[2]}}) {
            EXPECT_EQ(after("set 1, get Action=" + sAction + " IsACRPINAlways=" + sKey), '0');
            EXPECT_EQ(after("set 1 Action=Authenticate, get Action=" + sAction + " IsACRPINAlways=" + sKey), c) << sAction << sKey;
        }
    }
    // What queries and reads tell, by permission (no, yes), bypass (no, yes) and policy (prompt, confirmation).
    for (const auto& [sKey, sTold] : Table{{"", "11111111 11111111"}, {"IsACRPINAlways=No", "11111111 11111111"},
                                           {"IsACRPINAlways=Yes", "02111111 02111111"}, {"IsACRPINAlways=yes", "00000000 11111111"}}) {
        for (unsigned int i = 0; i < 8; ++i) {
            const SPolicy policy("EnablePINCacheForPINAlwaysPrivateKeys", i % 2 == 0 ? 2 : 1);
            const std::string sSet = std::string("set PIN Action=") + ((i & 4) != 0 ? "Authenticate" : "None");
            EXPECT_EQ(caller.Play(sSet + " BypassPINAlways=" + ((i & 2) != 0 ? "True" : "true") + ", query " + sKey + ", get " + sKey),
                      std::string("ok, ") + sTold[i] + ", " + sTold[9 + i] + " PIN");
        }
    }
}

TEST_F(RecordTest, Removal_TakesTheRecordsInItsReach)
{
    // What is left of the records of processes 11, 12 and 21: per session; per process; sessions ignored.
    const std::string sAll = "1/C/P 2/C/P; 1/C/P/11 1/C/P/12 2/C/P/21; C/P; ";
    for (const auto& [sOperation, sExpected] : Table{
        {"remove", "2/C/P; 1/C/P/12 2/C/P/21; empty; "},
        {"remove AllProcess=True", "2/C/P; 2/C/P/21; empty; "},
        {"remove AllSession=False AllSession=True", "empty; 1/C/P/12 2/C/P/21; empty; "},
        {"remove AllSession=True AllProcess=True", "empty; 2/C/P/21; empty; "},
        {"remove AllSession=true AllProcess=Yes allSession=True", "2/C/P; 1/C/P/12 2/C/P/21; empty; "},
        {"card C", "2/C/P; 2/C/P/21; empty; "}, {"session 1", "2/C/P; 2/C/P/21; C/P; "},
        {"move 13", "2/C/P 3/C/P; 2/C/P/21 3/C/P/11 3/C/P/12; C/P; "},
        {"records", "empty; empty; empty; "}, {"flush AllSession=False", "empty; empty; empty; "}, {"card c", sAll}, {"session 11", sAll},
        {"move 11", sAll}, {"remove AllSession=", sAll}, {"flush AllSession=", sAll}, {"remove %Q", sAll},
    }) {
        std::string sLeft;
        for (const int nMode : {0, 1, 2}) {
            const SPolicy policy("AllowPerProcess", nMode == 1);
            CCaller own(nMode == 2);
            own.Play("set 1, set 1 @12, set 1 @21");
            EXPECT_EQ(own.Play(sOperation), sOperation.back() == 'Q' ? "none" : sOperation.back() == '=' ? "-2147352565" : "ok");
            sLeft += own.Play("list") + "; ";
        }
        EXPECT_EQ(sLeft, sExpected) << sOperation;
    }
}

// clang-format on
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
