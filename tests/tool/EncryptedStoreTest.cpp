// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Tool.h"
#include "support/KeyFile.h"

#include <regex>

namespace
{

const std::string Compartment = "HKLM\\Software\\Orvane\\SharedStore\\RemanentDataStore\\Wallet\\Card1";

/// An encrypted registry store with two items, each command a process of its own.
class ToolEncryptedStoreTest : public CToolTest
{
protected:
    void SetUp() override
    {
        CToolTest::SetUp();
        Succeed({"store", "add", "Wallet", "--type", "registry", "--encrypted"});
        Succeed({"data", "set", "Wallet", "Card1", "holder", "--string", "Ada Lovelace"});
        Succeed({"data", "set", "Wallet", "Card1", "id", "--hex", "0102"});
    }

    const CKeyFile m_Key;
};

TEST_F(ToolEncryptedStoreTest, Value_IsReadByAnotherProcessAndIsCiphertextInTheRegistry)
{
    EXPECT_EQ(Succeed({"data", "get", "Wallet", "Card1", "holder"}), "Ada Lovelace\n");
    const std::regex list("holder  REG_BINARY  34  ba20[0-9a-f]{44}\\.\\.\\. \\+10\nid      REG_BINARY  18  ba10[0-9a-f]{32}\n");
    EXPECT_TRUE(std::regex_match(Succeed({"registry", "list", Compartment}), list));
    const std::string sFile = Content("registry/data.mdb");
    EXPECT_NE(sFile.find("holder"), std::string::npos);
    EXPECT_EQ(sFile.find("Lovelace"), std::string::npos);
}

TEST_F(ToolEncryptedStoreTest, DamagedValue_IsReportedAndTheRestIsServed)
{
    Succeed({"registry", "set", Compartment, "holder", "--binary", "ba01ff"});
    EXPECT_EQ(Run({"data", "get", "Wallet", "Card1", "holder"}).nExitCode, Failed);
    const Outcome tree = Run({"tree", "Wallet"});
    EXPECT_EQ(tree.nExitCode, Failed);
    EXPECT_EQ(tree.sError, "sharedstore: tree Wallet: 1 item could not be read\n");
    EXPECT_TRUE(std::regex_search(tree.sOutput, std::regex("holder: E_.*\n.*id: VT_UI1, 2 bytes\n"))) << tree.sOutput;
}

TEST_F(ToolEncryptedStoreTest, OtherOrMissingKey_IsReportedUntilTheKeyIsBack)
{
    m_Key.Write("another 16 bytes");
    EXPECT_EQ(Run({"data", "get", "Wallet", "Card1", "id"}).nExitCode, Failed);
    m_Key.Remove();
    EXPECT_NE(Run({"data", "get", "Wallet", "Card1", "id"}).sError.find("could not begin; "), std::string::npos);
    m_Key.Write(SomeKey);
    EXPECT_EQ(Succeed({"data", "get", "Wallet", "Card1", "id"}), "\x01\x02");
}

} // namespace
