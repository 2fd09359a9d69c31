// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Help.h"

#include "Conventions.h"
#include "support/Text.h"

#include <sstream>

namespace Tool
{

namespace
{

constexpr std::size_t LineWidth = 118;

/// A paragraph as lines that begin with two blanks.
std::string Wrap(const std::string& sText)
{
    std::string sLines;
    std::size_t uLine = 0;
    std::istringstream words(sText);
    for (std::string sWord; words >> sWord;) {
        const bool bNewLine = sLines.empty() || uLine + 1 + sWord.size() > LineWidth;
        sLines += bNewLine ? (sLines.empty() ? "  " : "\n  ") : " ";
        uLine = (bNewLine ? 2 : uLine + 1) + sWord.size();
        sLines += sWord;
    }
    return sLines + '\n';
}

std::string SectionText(const HelpSection& section)
{
    std::vector<std::vector<std::string>> terms;
    std::string sParagraphs;
    for (const HelpRow& row : section.rows) {
        if (*row.pszTerm == '\0') {
            sParagraphs += Wrap(row.pszText);
        } else {
            terms.push_back({std::string("  ") + row.pszTerm, row.pszText});
        }
    }
    return '\n' + std::string(section.pszTitle) + ":\n" + Columns(terms) + sParagraphs;
}

void AddRow(std::vector<std::vector<std::string>>& rows, const Command& command)
{
    rows.push_back({"  " + command.Title(), command.pszSummary});
}

} // namespace

std::string Overview(const std::vector<Command>& commands)
{
    std::vector<std::vector<std::string>> rows;
    for (const Command& command : commands) {
        AddRow(rows, command);
    }
    rows.push_back({"  help [COMMAND]", "the same as [COMMAND] --help"});
    rows.push_back({"  help --man", "write the manual page"});
    rows.push_back({"  --version", "print the version"});
    std::string sText = std::string("sharedstore ") + Purpose +
                        ".\n\n"
                        "Usage: sharedstore COMMAND [ARGUMENTS]; 'sharedstore COMMAND --help' explains one.\n\nCommands:\n" +
                        Columns(rows) + "\nExamples:\n" + OverviewExamples;
    for (const HelpSection& section : Conventions()) {
        sText += SectionText(section);
    }
    return sText;
}

std::string OverviewOfNoun(const std::vector<Command>& commands, const std::string& sNoun)
{
    std::vector<std::vector<std::string>> rows;
    for (const Command& command : commands) {
        if (command.pszNoun == sNoun) {
            AddRow(rows, command);
        }
    }
    return "Usage: sharedstore " + sNoun + " COMMAND [ARGUMENTS]; 'sharedstore " + sNoun + " COMMAND --help' explains one.\n\nCommands:\n" +
           Columns(rows);
}

} // namespace Tool
