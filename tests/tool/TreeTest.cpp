// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Tool.h"

#include <cstdlib>

namespace
{

const std::string Script = "store add Cards\n"
                           "data set Cards Card1 photo --hex 010203\n"
                           "data set Cards Card1/Certs auth --hex ff\n"
                           "data set Cards Card1/Certs names --string a --string bc\n"
                           "data set Cards 'Card2 é' $'n\\x1b' --int 1 --int 2\n";

using ToolTreeTest = CToolTest;

TEST_F(ToolTreeTest, Tree_OtherLocale_IsDrawnInAscii)
{
    setenv("LC_ALL", "C", 1);
    EXPECT_EQ(RunScript(Script + "tree Cards\n").sOutput, "Cards [3, 4] memory, product Pavendo\n"
                                                          "|-- Card1/ [2, 3]\n"
                                                          "|   |-- photo: VT_UI1, 3 bytes\n"
                                                          "|   `-- Certs/ [1, 2]\n"
                                                          "|       |-- auth: VT_UI1, 1 byte\n"
                                                          "|       `-- names: VT_BSTR, 3 bytes\n"
                                                          "`-- Card2 \\xc3\\xa9/ [1, 1]\n"
                                                          "    `-- n\\x1b: VT_UINT, 8 bytes\n");
}

TEST_F(ToolTreeTest, Tree_DeeperThanItsLimit_IsRefused)
{
    std::string sPath = "a";
    for (int n = 0; n < 1000; ++n) {
        sPath += "/a";
    }
    EXPECT_EQ(RunScript("store add M\ncompartment create M " + sPath + "\ntree M\n").nExitCode, Failed);
}

TEST_F(ToolTreeTest, Tree_Json_HoldsNamesTypesSizesAndVersions)
{
    const nlohmann::json tree = nlohmann::json::parse(RunScript(Script + "tree Cards --json\n").sOutput);
    EXPECT_EQ(tree["contentVersion"], 4);
    EXPECT_EQ(tree["compartments"][1]["name"], "Card2 é");
    const nlohmann::json items = {{{"name", "auth"}, {"type", "VT_UI1"}, {"size", 1}},
                                  {{"name", "names"}, {"type", "VT_BSTR"}, {"size", 3}}};
    EXPECT_EQ(tree["compartments"][0]["compartments"][0]["items"], items);
}

} // namespace
