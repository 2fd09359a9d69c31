// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Every call that an operation on PIN stores makes of the platform fails once.

#include "Sweep.h"

#include "auth/ClientOperations.h"

namespace
{

HRESULT CodeOf(const std::string& sAnswer)
{
    return sAnswer == "none" ? E_INVALIDARG : sAnswer == "fail" ? E_FAIL : sAnswer[0] == '-' ? std::stoi(sAnswer) : S_OK;
}

struct AuthFaultTest : SFaultTest
{
    /// Runs each script with a call failing, in a store that has another PIN too.
    /// @param bVague as for IsFailure
    void SweepScripts(CCaller& caller, const Strings& scripts, bool bVague, bool bLaterToo)
    {
        for (const std::string& sScript : scripts) {
            const auto run = [&](CFault* pFault) {
                caller.Play("flush"); // fails when a registry store has nothing yet
                EXPECT_EQ(caller.Play("set 1 %Other, set 1"), "ok, ok");
                return caller.Play(sScript, pFault);
            };
            const std::string sExpected = run(nullptr), sLeft = caller.Play("get"), sOtherLeft = caller.Play("get %Other");
            caller.Play("flush, set 1");
            const std::string sBefore = caller.Play("get");
            const bool bKeeps = sScript[0] == 'g' || sScript[0] == 'q' || sScript[0] == 'l' || sScript.starts_with("change");
            Sweep(
                sScript,
                [&](CFault& fault) {
                    const std::string sAnswer = run(&fault);
                    SCOPED_TRACE(fault.Failed());
                    EXPECT_TRUE(sAnswer == sExpected || IsFailure(CodeOf(sAnswer), fault, bVague)) << sAnswer;
                    EXPECT_GE(CodeOf(caller.Play("list")), 0); // what never expires fails here
                    const std::string sFound = caller.Play("get"), sOther = caller.Play("get %Other");
                    EXPECT_TRUE(sFound == sBefore || sFound == sLeft || (!bKeeps && sFound == "none")) << sFound;
                    EXPECT_TRUE(sOther == sBefore || sOther == sOtherLeft) << sOther;
                },
                bLaterToo);
        }
    }

    CSessions sessions;
};

} // namespace

TEST_F(AuthFaultTest, Operation_WithAnyCallFailing_LeavesNoPINThatNeverExpires)
{
    const Strings scripts = {"set 2",
                             "set 2 %Q Action=Authenticate",
                             "get IsACRPINAlways=Yes",
                             "query IsACRPINAlways=Yes",
                             "change 1",
                             "remove",
                             "remove AllSession=True",
                             "expire #last",
                             "card C",
                             "session 1",
                             "move 12",
                             "records",
                             "flush AllSession=True",
                             "list"};
    const Strings bySession = {"set 2 #last", "get #last", "query #last", "change 1 #last", "remove #last"};
    CCaller memory, registry(0, OV::AuthStore::AuthTypeRegistry);
    SweepScripts(memory, scripts, false, true);
    SweepScripts(memory, bySession, false, true);
    // A registry that can't be written any more keeps a PIN whose timer can't be made.
    SweepScripts(registry, scripts, true, false);
    const SPolicy perProcess("AllowPerProcess", 1);
    CCaller processes;
    SweepScripts(processes, {"remove AllProcess=True", "move 12"}, false, true);
    EXPECT_GT(failed.size(), 25U); // they do arrive
}

TEST_F(AuthFaultTest, OperationOfTheClient_WithAnyCallFailing_LeavesNoPINThatNeverExpires)
{
    CCaller client(1, 0, 1, ClientOperations);
    SweepScripts(client,
                 {"set 2",       "set 2 #last",   "get",       "getex",        "get #last",      "getex #last", "query",        "queryex",
                  "query #last", "queryex #last", "change 1",  "change 1 a=b", "change 1 #last", "remove",      "remove #last", "card C",
                  "card C a=b",  "flush",         "flush a=b", "all"},
                 true, true);
}

TEST_F(AuthFaultTest, Store_WithAnyCallFailing_BeginsOrCanBeRegisteredAgain)
{
    const CText name(DefaultAuthStoreId);
    SAFEARRAY* psa = nullptr;
    const auto destroy = [&] { EXPECT_EQ(ovSafeArrayDestroy(std::exchange(psa, nullptr), 0), S_OK); };
    SweepCall("ListAuthStoreIds", destroy, [&] { return k.ListAuthStoreIds(&psa); });
    SweepCall("GetAuthStoreInfo", destroy, [&] { return k.GetAuthStoreInfo(name, nullptr, nullptr, nullptr); });
    const ArrayPointer pin = Bytes("1234");
    const auto use = [&](BSTR bstrId) {
        CInternalAuthStore* pStore = nullptr;
        const bool bFound = gStaticAuthStoreRegistration.Find(bstrId, pStore);
        return bFound ? pStore->SetPIN(0, name, name, pin.get(), nullptr, nullptr) : E_FAIL;
    };
    for (int nKind = 0; nKind < 4; ++nKind) {
        SweepRegister([&](BSTR bstrId) { return k.RegisterAuthStore(bstrId, static_cast<AuthType>(nKind / 2), nKind % 2, 1); }, use);
    }
}
