// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Tool.h"

namespace
{

using ToolScriptTest = CToolTest;

TEST_F(ToolScriptTest, Run_QuotedWord_IsReadAsAShellWould)
{
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"'a  b \"c\" \\d $e #f'", "a  b \"c\" \\d $e #f"},
        {"\"a  b 'c' \\\" \\\\ \\$ \\n\"", "a  b 'c' \" \\ $ \\n"},
        {"a\\ b\\'\\\"\\\\", "a b'\"\\"},
        {"''", ""},
        {"$'\\x01\\xff\\n\\t\\'\\\\'", "\x01\xff\n\t'\\"},
        {"--json", "--json"},
        {"word   # a comment with 'an open quote", "word"},
    };
    for (const auto& [sWord, sExpected] : rows) {
        const Outcome outcome = RunScript("store add M --force\ndata set M C i --string " + sWord + "\n\n  # nothing\ndata get M C i\n");
        EXPECT_EQ(outcome.nExitCode, Ok) << sWord << outcome.sError;
        EXPECT_EQ(outcome.sOutput, sExpected + '\n') << sWord;
    }
}

TEST_F(ToolScriptTest, Run_FaultyLine_FailsWithItsPlace)
{
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"store list 'open", "-:2: a quote is not closed"},
        {"store list \\", "-:2: nothing follows the last backslash"},
        {"store list $'\\x00'", "-:2: \\x is followed by the two hexadecimal digits"},
        {std::string("store list\0", 11), "-:2: the line holds a NUL byte"},
        {"run other", "-:2: run other: a script can't start another one"},
    };
    for (const auto& [sLine, sExpected] : rows) {
        const Outcome outcome = RunScript("# first\n" + sLine + "\nstore list --json\n");
        EXPECT_NE(outcome.nExitCode, Ok) << sLine;
        EXPECT_EQ(outcome.sError.rfind("sharedstore: " + sExpected, 0), 0U) << outcome.sError;
        EXPECT_EQ(outcome.sOutput, "") << "went on after " << sLine;
    }
}

TEST_F(ToolScriptTest, Run_KeepGoing_RunsEverythingAndExitsWithTheFirstFailure)
{
    const std::string sScript = "store add M\ndata get M C i\nnonsense\ndata set M C i\ndata set M C i --int 7\r\ndata get M C i\n";
    const Outcome outcome = Run({"run", "-", "--keep-going"}, sScript);
    EXPECT_EQ(outcome.nExitCode, NotFound);
    EXPECT_EQ(outcome.sOutput, "7\n");
    for (const char* pszError : {"-:2: data get M C i: E_INVALIDARG (0x80070057)", "-:3: there is no command 'nonsense'",
                                 "-:4: data set M C i: standard input holds the commands"}) {
        EXPECT_NE(outcome.sError.find(pszError), std::string::npos) << outcome.sError;
    }
}

TEST_F(ToolScriptTest, Shell_AfterAFailure_GoesOnUntilExit)
{
    const Outcome outcome = Run({"shell"}, "store add M\nnonsense\ndata set M C i --string kept\ndata get M C i\nexit\ndata get M C i\n");
    EXPECT_EQ(outcome.nExitCode, Usage);
    EXPECT_EQ(outcome.sOutput, "kept\n");
}

} // namespace
