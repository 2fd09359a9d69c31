// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// What scripts print, and how their words are read.

#include "Tool.h"

#include <numeric>

namespace
{

using ToolOutputTest = CToolTest;

TEST_F(ToolOutputTest, Script_PrintsWhatItWasAskedFor)
{
    const std::string sFill =
        "store add A --product P --force\nstore add B --product Q --force\ncompartment create A a\ncompartment create B b\n";
    const std::string sLists = "\ncompartment list A\ncompartment list B\n";
    const std::string sSet = "registry set 'HKLM\\Types' v ", sGet = "\nregistry get 'HKLM\\Types' v\n";
    Write("bytes", std::string("\0\xff", 2));
    const std::pair<std::string, std::string> rows[] = {
        {sFill + "flush A" + sLists, "b\n"},
        {sFill + "flush --product Q" + sLists, "a\n"},
        {"store add M --force\ncompartment create M a/b\ncompartment create M a/b\ncompartment touch M a\ncompartment list M\n"
         "compartment list M a\ncompartment status M a\ncompartment remove M a\ncompartment status M a\n",
         "a\nb\ncached               yes\ncompartment version  2\ncontent version      2\n"
         "cached               no\ncompartment version  3\ncontent version      3\n"},
        {"store add M --force\ndata set M C b --int 1\ndata set M C a --int 1\ndata list M C\ndata remove M C a\ndata list M C\n",
         "a\nb\nb\n"},
        {sSet + "--dword 0xffffffff" + sGet, "4294967295\n"},
        {sSet + "--qword 18446744073709551615" + sGet, "18446744073709551615\n"},
        {sSet + "--multi-string a --multi-string 'b c'" + sGet, "a\nb c\n"},
        {sSet + "--binary '0a 0b'" + sGet, "\n\v"},
        {sSet + "--file bytes" + sGet + "registry list 'HKLM\\Types'\nregistry remove 'HKLM\\Types' v\n",
         std::string("\0\xff", 2) + "v  REG_BINARY  2  00ff\n"},
        {"store add list\nstore add -- --json\n" // names that look like commands or options
         "data set list ++ --string a -- -x\ndata set list data get --string=\ndata get list data get\ntree list\ntree -- --json\n",
         "\nlist [2, 2] memory, product Pavendo\n├── ++/ [1, 1]\n│   └── -x: VT_BSTR, 1 byte\n└── data/ [1, 1]\n    "
         "└── get: VT_BSTR, 0 bytes\n--json [0, 0] memory, product Pavendo\n"},
    };
    for (const auto& [sScript, sExpected] : rows) {
        const Outcome outcome = RunScript(sScript);
        EXPECT_EQ(outcome.nExitCode, Ok) << outcome.sError;
        EXPECT_EQ(outcome.sOutput, sExpected) << sScript;
    }
}

TEST_F(ToolOutputTest, QuotedWord_IsReadAsAShellWould)
{
    const std::pair<std::string, std::string> rows[] = {
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
        EXPECT_EQ(outcome.sOutput, sExpected + '\n') << sWord << outcome.sError;
    }
}

TEST_F(ToolOutputTest, Value_OfEveryKind_IsShownAsLinesAndAsJson)
{
    const std::tuple<std::string, std::string, nlohmann::json> rows[] = {
        {"--hex '00 ff:0a'", std::string("\0\xff\n", 3), {{"type", "VT_UI1"}, {"size", 3}, {"elements", "00ff0a"}}},
        {"--string één --string -x", "één\n-x\n", {{"type", "VT_BSTR"}, {"size", 7}, {"elements", {"één", "-x"}}}},
        {"--string '\xc3('", "\xc3(\n", {{"type", "VT_BSTR"}, {"size", 2}, {"elements", {{{"hex", "c328"}}}}}},
        {"--int 0 --int 0xffffffff", "0\n4294967295\n", {{"type", "VT_UINT"}, {"size", 8}, {"elements", {0, 4294967295}}}},
    };
    for (const auto& [sOptions, sLines, json] : rows) {
        const std::string sScript = "store add M --force\ndata set M C item " + sOptions + "\ndata get M C item";
        EXPECT_EQ(RunScript(sScript).sOutput, sLines) << sScript;
        EXPECT_EQ(nlohmann::json::parse(RunScript(sScript + " --json").sOutput), json) << sScript;
    }
}

TEST_F(ToolOutputTest, Bytes_OfAFileOrStandardInput_ComeBackExactly)
{
    std::string sAll(512, '\0');
    std::iota(sAll.begin(), sAll.end(), '\0');
    for (const std::string& sBytes : {std::string(), sAll}) {
        EXPECT_EQ(RunScript("store add M --force\ndata set M C i\ndata get M C i --output copy --force\ndata set M C i --file copy\n"
                            "data get M C i\n",
                            sBytes)
                      .sOutput,
                  sBytes);
    }
}

TEST_F(ToolOutputTest, ExistingFile_IsReplacedOnlyWithForce)
{
    const auto get = [this](const std::string& sOutput) {
        return RunScript("store add M --force\ndata set M C i --string new\ndata get M C i --output " + sOutput).nExitCode;
    };
    EXPECT_EQ(get("out"), Ok);
    EXPECT_EQ(Content("out"), "new\n");
    EXPECT_EQ(std::filesystem::status(Path("out")).permissions(), std::filesystem::perms(0600));
    Write("out", "precious");
    EXPECT_EQ(get("out"), Exists);
    EXPECT_EQ(Content("out"), "precious");
    EXPECT_EQ(get("out --force"), Ok);
    EXPECT_EQ(Content("out"), "new\n");
    std::filesystem::create_symlink("out", Path("link"));
    EXPECT_EQ(get("link --force"), Exists); // and no regular file
}

} // namespace
