// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Tool.h"

#include <tuple>

namespace
{

const std::string Header = "SharedStore Registry Export Version 1\n";

/// Every type, and names and data with every kind of byte, as export writes them.
const std::string NastyExport = Header + R"(
[HKEY_LOCAL_MACHINE\Nasty]
@="the default \"value\" of C:\\"
"\x01\x0a\x7f\xc3("=hex:
"[a]=\"b\\\""=hex:00,01,0a,ff
"cut"=hex(4):01,02
"huge type"=hex(ffffffff):01
"not text"=hex(1):c3,28
"two texts"=hex(1):61,00,62
"é"="\x09 é ; # ="

[HKEY_LOCAL_MACHINE\Nasty\\\x0akey]x"é]

[HKEY_LOCAL_MACHINE\Nasty\\\x0akey]x"é\\\xff]
"deep"=""

[HKEY_LOCAL_MACHINE\Nasty\x41]
)";

using ToolRegistryTest = CToolTest;

TEST_F(ToolRegistryTest, ImportAndExport_KeepTypesNamesAndBytes)
{
    Succeed({"registry", "import", "-"}, NastyExport);
    Succeed({"registry", "export", "HKLM\\Nasty", "-o", Path("out")});
    Succeed({"registry", "delete", "HKLM\\Nasty", "--recursive"});
    EXPECT_EQ(Run({"registry", "export", "HKLM\\Nasty"}).nExitCode, NotFound);
    Succeed({"registry", "import", Path("out")});
    EXPECT_EQ(Succeed({"registry", "export", "HKLM\\Nasty"}), NastyExport);
    const nlohmann::json json = SucceedWithJson({"registry", "list", "HKLM\\Nasty", "--json"});
    const nlohmann::json expected = {
        {{"name", ""}, {"type", "REG_SZ"}, {"size", 26}, {"data", "the default \"value\" of C:\\"}},
        {{"name", {{"hex", "010a7fc328"}}}, {"type", "REG_BINARY"}, {"size", 0}, {"data", ""}},
        {{"name", "[a]=\"b\\\""}, {"type", "REG_BINARY"}, {"size", 4}, {"data", "00010aff"}},
        {{"name", "cut"}, {"type", "REG_DWORD"}, {"size", 2}, {"data", "0102"}},
        {{"name", "huge type"}, {"type", "type 4294967295"}, {"size", 1}, {"data", "01"}},
        {{"name", "not text"}, {"type", "REG_SZ"}, {"size", 2}, {"data", {{"hex", "c328"}}}},
        {{"name", "two texts"}, {"type", "REG_SZ"}, {"size", 3}, {"data", {{"hex", "610062"}}}},
        {{"name", "é"}, {"type", "REG_SZ"}, {"size", 10}, {"data", "\t é ; # ="}},
    };
    EXPECT_EQ(json["values"], expected);
    EXPECT_EQ(json["keys"], (nlohmann::json{"\nkey]x\"é", "x41"}));
}

TEST_F(ToolRegistryTest, Import_FaultyText_NamesTheLineAndWritesNothing)
{
    const std::string sGood = "[HKLM\\Faulty]\n\"good\"=dword:00000001\n";
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"Some other file\n" + sGood, "-:1: the first line must be"},
        {Header + "\"n\"=dword:00000001\n" + sGood, "-:2: a value stands before the first [KEY]"},
        {Header + sGood + "nonsense\n", "-:4: expected [KEY], \"NAME\"=DATA or @=DATA"},
        {Header + sGood + "\"a\\x00b\"=hex:\n", "-:4: a value name has at most 255 bytes and no NUL"},
        {Header + sGood + '"' + std::string(256, 'n') + "\"=hex:\n", "-:4: a value name has at most 255 bytes"},
        {Header + sGood + "[Software]\n", "-:4: 'Software' is no registry path"},
        {Header + sGood + "; comment\r\n\r\n[HKLM\\a\\]\n", "-:6: 'HKLM\\a\\' is no registry path"},
    };
    for (const auto& [sText, sExpected] : rows) {
        const Outcome outcome = Run({"registry", "import", "-"}, sText);
        EXPECT_EQ(outcome.nExitCode, Usage) << sText;
        EXPECT_EQ(outcome.sError.rfind("sharedstore: registry import -: " + sExpected, 0), 0U) << outcome.sError;
    }
    Succeed({"registry", "import", "-", "--dry-run"}, Header + sGood);
    EXPECT_EQ(Run({"registry", "list", "HKLM\\Faulty"}).nExitCode, NotFound);
}

TEST_F(ToolRegistryTest, SetThenGet_OfEachType_ShowsTheValue)
{
    Write(Path("bytes"), std::string("\0\xff", 2));
    const std::pair<std::string, std::string> rows[] = {
        {"--dword 0xffffffff", "4294967295\n"},
        {"--qword 18446744073709551615", "18446744073709551615\n"},
        {"--multi-string a --multi-string 'b c'", "a\nb c\n"},
        {"--binary '0a 0b'", "\n\v"},
        {"--file '" + Path("bytes") + "'", std::string("\0\xff", 2)},
    };
    for (const auto& [sOptions, sExpected] : rows) {
        EXPECT_EQ(RunScript("registry set 'HKLM\\Types' v " + sOptions + "\nregistry get 'HKLM\\Types' v\n").sOutput, sExpected)
            << sOptions;
    }
    EXPECT_EQ(Succeed({"registry", "list", "HKLM\\Types"}), "v  REG_BINARY  2  00ff\n");
}

TEST_F(ToolRegistryTest, Delete_OfValuesAndKeys_RefusesWhatItMust)
{
    Succeed({"registry", "set", "HKLM\\A\\B", "", "--dword", "1"});
    const std::tuple<std::string, int, std::string> rows[] = {
        {"'HKLM\\A'", Failed, "ERROR_DIR_NOT_EMPTY (145): the key has sub-keys; --recursive deletes them too"},
        {"'HKLM\\A' n", NotFound,
         "ERROR_FILE_NOT_FOUND (2): there is no such key or value; 'sharedstore registry list' shows what there is"},
        {"'HKLM\\A' n --recursive", Usage, "--recursive is for keys, not for values"},
    };
    for (const auto& [sArguments, nExitCode, sExpected] : rows) {
        const Outcome outcome = RunScript("registry delete " + sArguments);
        EXPECT_EQ(outcome.nExitCode, nExitCode) << sArguments;
        EXPECT_NE(outcome.sError.find(": " + sExpected + '\n'), std::string::npos) << outcome.sError;
    }
    Succeed({"registry", "delete", "HKLM\\A\\B", ""});
}

} // namespace
