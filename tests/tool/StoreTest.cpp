// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Tool.h"

namespace
{

using ToolStoreTest = CToolTest;

TEST_F(ToolStoreTest, Add_ExistingStore_ChangesItsSettingsOnlyWithForce)
{
    Succeed({"store", "add", "Cards", "--product", "Kiosk"});
    const Outcome refused = Run({"store", "add", "Cards", "--encrypted"});
    EXPECT_EQ(refused.nExitCode, Exists);
    EXPECT_EQ(refused.sError, "sharedstore: store add Cards: there is such a store already; --force changes the settings that are given\n");
    EXPECT_EQ(Succeed({"store", "show", "Cards"}), "           CONFIGURED  REGISTERED\n"
                                                   "type       memory      memory\n"
                                                   "encrypted  no          no\n"
                                                   "shared     yes         yes\n"
                                                   "product    Kiosk       Kiosk\n");
    const Outcome forced = Run({"store", "add", "Cards", "-t", "registry", "-e", "--not-shared", "-p", "\xc3(", "--force"});
    EXPECT_EQ(forced.nExitCode, Ok);
    EXPECT_EQ(forced.sError.rfind("sharedstore: warning: 'Cards' is configured, but can't be used until its key ", 0), 0U) << forced.sError;
    nlohmann::json configured = {{"type", "registry"}, {"encrypted", true}, {"shared", false}, {"product", {{"hex", "c328"}}}};
    EXPECT_EQ(SucceedWithJson({"store", "show", "Cards", "--json"})["configured"], configured);
    Succeed({"store", "add", "Cards", "--not-encrypted", "--shared", "--force"});
    configured["encrypted"] = false;
    configured["shared"] = true;
    EXPECT_EQ(SucceedWithJson({"store", "show", "Cards", "--json"})["configured"], configured);
    Succeed({"registry", "set", "HKLM\\Software\\Orvane\\SharedStore\\StoreList\\Cards", "Product", "--dword", "1"});
    EXPECT_NE(Run({"store", "add", "Cards", "--not-shared", "--force"}).sError.find("(value Product is no REG_SZ): "), std::string::npos);
    configured["product"] = "Pavendo";
    configured["shared"] = false;
    EXPECT_EQ(SucceedWithJson({"store", "show", "Cards", "--json"})["configured"], configured);
}

TEST_F(ToolStoreTest, AddAndRemove_InAScript_TakeEffectAtOnceAndWarnWhereTheyCannot)
{
    const Outcome outcome = RunScript(
        "store add New\ncompartment create New C\nstore add New --type registry --force\nstore remove New\ncompartment list New\n");
    EXPECT_EQ(outcome.nExitCode, Ok);
    EXPECT_EQ(outcome.sOutput, "C\n");
    EXPECT_NE(outcome.sError.find("'New' is configured; this process registered it earlier"), std::string::npos) << outcome.sError;
    EXPECT_NE(outcome.sError.find("'New' is no longer configured; this process keeps the store"), std::string::npos) << outcome.sError;
}

TEST_F(ToolStoreTest, List_ShowsEveryStoreWithNamesOfAnyBytes)
{
    Succeed({"store", "add", "b\x1b[31m\xff"});
    Succeed({"store", "add", "é", "--product", "p q"});
    EXPECT_EQ(Succeed({"store", "list"}), "STORE          TYPE    ENCRYPTED  SHARED  PRODUCT  STATE\n"
                                          "b\\x1b[31m\\xff  memory  no         yes     Pavendo  configured, registered\n"
                                          "é              memory  no         yes     p q      configured, registered\n");
    EXPECT_EQ(SucceedWithJson({"store", "list", "--json"})[0]["store"], (nlohmann::json{{"hex", "621b5b33316dff"}}));
}

} // namespace
