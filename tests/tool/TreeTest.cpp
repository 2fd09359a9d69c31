// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Tool.h"

#include <cstdlib>
#include <regex>

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

TEST_F(ToolTreeTest, Watch_TellsWhatOthersChangeAndEndsOnASignal)
{
    EXPECT_EQ(RunScript("store add M\nstore add W -t registry\nwatch M").nExitCode, Failed);
    Write(Path("script"),
          "t=" SHAREDSTORE_TOOL "; coproc $t watch W --json --interval 10 --for 50; out() { read -r l <&${COPROC[0]}; echo $l; }; out\n"
          "$t data set W A/B i --int 1; out; out; out; $t data set W A/B i --int 2; out; $t compartment remove W A/B\n"
          "out; out; kill -INT $COPROC_PID; wait $COPROC_PID; echo [$?]\n"
          "timeout 20 $t watch W --interval 10 > >(read -r l); echo [$?]\n"); // whose reader goes at once
    const std::string sOut = std::regex_replace(RunShell(), std::regex("\"time\":[^}]*|[{}\"]"), "");
    EXPECT_EQ(sOut,
              "compartment:/,event:watching,item:null,\ncompartment:A,event:added,item:null,\ncompartment:A/B,event:added,item:null,\n"
              "compartment:A/B,event:added,item:i,\ncompartment:A/B,event:changed,item:i,\n"
              "compartment:A/B,event:removed,item:i,\ncompartment:A/B,event:removed,item:null,\n[0]\n[0]\n");
}

} // namespace
