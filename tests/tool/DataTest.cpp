// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Tool.h"

#include <numeric>
#include <tuple>

namespace
{

/// The store "M" lives as long as one script.
class ToolDataTest : public CToolTest
{
protected:
    void SetUp() override
    {
        CToolTest::SetUp();
        Succeed({"store", "add", "M"});
    }
};

TEST_F(ToolDataTest, Bytes_OfAFileOrStandardInput_ComeBackExactly)
{
    Write(Path("script"), "data set M C/D item\ndata get M C/D item --output '" + Path("copy") + "'\ndata set M C/D item --file '" +
                              Path("copy") + "'\ndata get M C/D item\n");
    std::string sAll(512, '\0');
    std::iota(sAll.begin(), sAll.end(), '\0');
    for (const std::string& sBytes : {std::string(), sAll}) {
        EXPECT_EQ(Succeed({"run", Path("script")}, sBytes), sBytes);
        std::filesystem::remove(Path("copy"));
    }
}

TEST_F(ToolDataTest, Values_OfEveryKind_AreShownAsLinesAndAsJson)
{
    const std::tuple<std::string, std::string, nlohmann::json> rows[] = {
        {"--hex '00 ff:0a'", std::string("\0\xff\n", 3), {{"type", "VT_UI1"}, {"size", 3}, {"elements", "00ff0a"}}},
        {"--string één --string -x", "één\n-x\n", {{"type", "VT_BSTR"}, {"size", 7}, {"elements", {"één", "-x"}}}},
        {"--string '\xc3('", "\xc3(\n", {{"type", "VT_BSTR"}, {"size", 2}, {"elements", {{{"hex", "c328"}}}}}},
        {"--int 0 --int 0xffffffff", "0\n4294967295\n", {{"type", "VT_UINT"}, {"size", 8}, {"elements", {0, 4294967295}}}},
    };
    for (const auto& [sOptions, sLines, json] : rows) {
        const std::string sScript = "data set M C item " + sOptions + "\ndata get M C item";
        EXPECT_EQ(RunScript(sScript).sOutput, sLines) << sScript;
        EXPECT_EQ(nlohmann::json::parse(RunScript(sScript + " --json").sOutput), json) << sScript;
    }
}

TEST_F(ToolDataTest, Set_WithSeveralSourcesOrABadValue_IsRefusedAndStoresNothing)
{
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"--int 1 --string a", "give one of --file, --string, --int, --hex"},
        {"--int -1", "'-1' is no number from 0 to 4294967295"},
        {"--hex 123", "'123' is no sequence of bytes such as 0aff or '0a ff'"},
        {"--file none", "none: No such file or directory"},
    };
    for (const auto& [sOptions, sExpected] : rows) {
        const Outcome outcome = Run({"run", "-", "--keep-going"}, "data set M C i " + sOptions + "\ndata list M C\n");
        EXPECT_EQ(outcome.sError.rfind("sharedstore: -:1: data set M C i: " + sExpected + "\nsharedstore: -:2: data list M C: ", 0), 0U)
            << outcome.sError;
        EXPECT_EQ(outcome.sOutput, "");
    }
}

TEST_F(ToolDataTest, Output_ExistingFile_IsReplacedOnlyWithForce)
{
    const auto get = [this](const std::string& sPath, const std::string& sOption = "") {
        return RunScript("data set M C i --string new\ndata get M C i --output '" + sPath + "' " + sOption);
    };
    const std::string sOut = Path("out");
    EXPECT_EQ(get(sOut).nExitCode, Ok);
    EXPECT_EQ(Content(sOut), "new\n");
    EXPECT_EQ(std::filesystem::status(sOut).permissions(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    Write(sOut, "precious");
    const Outcome refused = get(sOut);
    EXPECT_EQ(refused.nExitCode, Exists);
    EXPECT_EQ(refused.sError, "sharedstore: -:2: data get M C i: " + sOut + ": there is such a file already; --force replaces it\n");
    EXPECT_EQ(Content(sOut), "precious");
    EXPECT_EQ(get(sOut, "--force").nExitCode, Ok);
    std::filesystem::create_symlink(sOut, Path("link"));
    EXPECT_EQ(get(Path("link"), "--force").nExitCode, Exists); // and no regular file
}

TEST_F(ToolDataTest, Missing_StoreCompartmentOrItem_IsNotFoundAndSaysWhereToLook)
{
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"data get M 'Card 1' $'a\\x01\\'b'",
         "E_INVALIDARG (0x80070057): there is no such compartment or item; 'sharedstore data list M 'Card 1'' shows what there is"},
        {"data list M Card2", "E_INVALIDARG (0x80070057): there is no compartment 'Card2'; 'sharedstore tree M' shows what there is"},
        {"tree None", "E_FAIL (0x80004005): there is no store 'None'; 'sharedstore store list' shows what there is"},
    };
    for (const auto& [sLine, sExpected] : rows) {
        const Outcome outcome = RunScript("data set M 'Card 1' i --int 1\n" + sLine);
        EXPECT_EQ(outcome.nExitCode, NotFound) << sLine;
        EXPECT_EQ(outcome.sError, "sharedstore: -:2: " + sLine + ": " + sExpected + '\n');
    }
    EXPECT_EQ(RunScript("data set M C b --int 1\ndata set M C a --int 1\ndata list M C\ndata remove M C a\ndata list M C\n").sOutput,
              "a\nb\nb\n");
}

} // namespace
