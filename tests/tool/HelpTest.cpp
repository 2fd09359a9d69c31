// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// The help, and what is made of the same tables.

#include "Tool.h"

#include <sstream>

namespace
{

using ToolHelpTest = CToolTest;

TEST_F(ToolHelpTest, EveryCommand_HasHelpWithExamplesAndAPlaceInTheManual)
{
    std::istringstream overview(Succeed({"--help"}));
    const std::string sManual = Succeed({"help", "--man"});
    std::size_t uCommands = 0;
    for (std::string sLine; std::getline(overview, sLine) && sLine != "Examples:";) {
        const std::string sTitle = sLine.starts_with("  ") ? sLine.substr(2, sLine.find("  ", 2) - 2) : "";
        if (sTitle.empty() || sTitle.starts_with("help") || sTitle.starts_with("--")) {
            continue;
        }
        ++uCommands;
        const std::string sPage = Run({"shell"}, "help " + sTitle + "\n").sOutput;
        EXPECT_NE(sPage.find("Usage: sharedstore " + sTitle), std::string::npos) << sPage;
        EXPECT_NE(sPage.find("Examples:\n  "), std::string::npos) << sPage;
        EXPECT_NE(sManual.find("\n.SS \"" + sTitle), std::string::npos) << sTitle;
    }
    EXPECT_GT(uCommands, 35U);
    EXPECT_NE(sManual.find("HKLM\\eSoftware\\eOrvane"), std::string::npos) << "backslashes are lost";
    EXPECT_EQ(Run({"shell"}, "help data set\n").sOutput, Succeed({"data", "set", "--help"}));
    EXPECT_EQ(Succeed({"--version"}).rfind("sharedstore ", 0), 0U);
}

TEST_F(ToolHelpTest, Completion_KnowsNounsVerbsAndOptions)
{
    Write("completion", Succeed({"completion", "bash"}));
    for (const auto& [sWords, sExpected] : {std::pair("sh", "shell\n"),
                                            {"policy ''", "show set\n"},
                                            {"tree S --j", "--json\n"},
                                            {"data set S C I --s", "--string\n"},
                                            {"pin state C P un", "unavailable\n"},
                                            {"store add S --type ''", "memory registry\n"},
                                            {"help registry ba", "backup\n"},
                                            {"tree ''", "\n"}}) {
        Write("script", std::string(". completion; COMP_WORDS=(sharedstore ") + sWords +
                            "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _sharedstore; echo \"${COMPREPLY[*]}\"");
        EXPECT_EQ(RunShell(), sExpected) << sWords;
    }
}

} // namespace
