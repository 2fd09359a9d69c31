// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Tool.h"

namespace
{

/// Every type, and names and data with every kind of byte, as export writes them.
const std::string NastyExport = R"(SharedStore Registry Export Version 1

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
    Succeed({"registry", "import", "-", "--dry-run"}, NastyExport);
    EXPECT_EQ(Run({"registry", "list", "HKLM\\Nasty"}).nExitCode, NotFound);
    Succeed({"registry", "import", "-"}, NastyExport);
    Succeed({"registry", "export", "HKLM\\Nasty", "-o", "out"});
    Succeed({"registry", "remove", "HKLM\\Nasty", "--recursive"});
    EXPECT_EQ(Run({"registry", "export", "HKLM\\Nasty"}).nExitCode, NotFound);
    Succeed({"registry", "import", "out"});
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

} // namespace
