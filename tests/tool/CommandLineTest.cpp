// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Tool.h"

#include <cstdlib>
#include <sys/wait.h>

namespace
{

using ToolCommandLineTest = CToolTest;

TEST_F(ToolCommandLineTest, Help_OfACommand_ShowsUsageAndExamples)
{
    for (const std::string sTitle : {"store add", "compartment status", "data get", "registry import", "shell"}) {
        const std::string sPage = Run({"shell"}, "help " + sTitle + "\n").sOutput;
        EXPECT_NE(sPage.find("Usage: sharedstore " + sTitle), std::string::npos) << sPage;
        EXPECT_NE(sPage.find("Examples:\n  "), std::string::npos) << sPage;
    }
    EXPECT_EQ(Run({"shell"}, "help data set\n").sOutput, Succeed({"data", "set", "--help"}));
    EXPECT_EQ(Succeed({"--version"}).rfind("sharedstore ", 0), 0U);
}

TEST_F(ToolCommandLineTest, Misuse_IsAUsageErrorThatNamesTheCommandAndItsHelp)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> rows = {
        {{}, "sharedstore: a command is missing; 'sharedstore --help'"},
        {{"bur\x1bn"}, "sharedstore: there is no command 'bur\\x1bn'; 'sharedstore --help'"},
        {{"tree", "S", "--colour"}, "sharedstore: tree: The following argument was not expected: --colour"},
        {{"store", "add", "S", "--type", "disk"}, "sharedstore: store add S: 'disk' is no type of store; --type is memory or registry\n"},
        {{"store", "add", "a\\b"}, "sharedstore: store add 'a\\b': 'a\\b' can't name a store"},
        {{"flush", "--product", ""}, "sharedstore: flush: --product needs a name\n"},
        {{"data", "list", "S", "/"}, "sharedstore: data list S /: '/' is the whole store"},
        {{"registry", "delete", "HKLM", "-r"}, "sharedstore: registry delete HKLM: HKEY_LOCAL_MACHINE is a hive"},
        {{"registry", "list", "Software"}, "sharedstore: registry list Software: 'Software' is no registry path"},
        {{"registry", "set", "HKLM\\a", "", "--dword", "4294967296"}, "sharedstore: registry set 'HKLM\\a' '': '4294967296' is no number"},
    };
    for (const auto& [words, sExpected] : rows) {
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.nExitCode, Usage) << sExpected;
        EXPECT_EQ(outcome.sOutput, "") << sExpected;
        EXPECT_EQ(outcome.sError.substr(0, sExpected.size()), sExpected);
    }
}

TEST_F(ToolCommandLineTest, Name_ThatLooksLikeACommandOrAnOption_IsTakenAsAName)
{
    const Outcome outcome = RunScript(
        "store add list\nstore add -- --json\n"
        "data set list ++ --string a -- -x\ndata set list data get --string=\ndata get list data get\ntree list\ntree -- --json\n");
    EXPECT_EQ(outcome.nExitCode, Ok) << outcome.sError;
    EXPECT_EQ(outcome.sOutput, "\nlist [2, 2] memory, product Pavendo\n├── ++/ [1, 1]\n│   └── -x: VT_BSTR, 1 byte\n└── data/ [1, 1]\n    "
                               "└── get: VT_BSTR, 0 bytes\n"
                               "--json [0, 0] memory, product Pavendo\n");
}

TEST_F(ToolCommandLineTest, FullDevice_IsAnInputOutputFailure)
{
    const int nStatus = std::system(SHAREDSTORE_TOOL " --help > /dev/full 2> /dev/null");
    ASSERT_TRUE(WIFEXITED(nStatus));
    EXPECT_EQ(WEXITSTATUS(nStatus), Io);
}

} // namespace
