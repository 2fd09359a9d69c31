// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Help.h"

#include "Conventions.h"

#include <algorithm>
#include <sstream>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace Tool
{

namespace
{

/// How long a line of help may be: a terminal's width, within reason.
std::size_t LineWidth()
{
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? std::clamp<std::size_t>(size.ws_col, 60, 120) : 100;
}

/// A term and what it means, as lines whose second column begins at uColumn; a paragraph has no term.
std::string Wrap(const std::string& sTerm, std::size_t uColumn, const std::string& sText)
{
    const std::size_t uWidth = LineWidth();
    std::string sLines = sTerm + std::string(uColumn - sTerm.size(), ' ');
    std::size_t uLine = uColumn;
    std::istringstream words(sText);
    for (std::string sWord; words >> sWord;) {
        const bool bFirst = uLine == uColumn;
        const bool bBreak = !bFirst && uLine + 1 + sWord.size() > uWidth;
        sLines += bBreak ? '\n' + std::string(uColumn, ' ') : bFirst ? "" : " ";
        uLine = (bBreak ? uColumn : uLine + (bFirst ? 0 : 1)) + sWord.size();
        sLines += sWord;
    }
    return sLines + '\n';
}

using Rows = std::vector<std::pair<std::string, std::string>>;

/// Terms and what they mean, in two columns.
std::string Table(const Rows& rows)
{
    constexpr std::size_t Indent = 2;
    std::size_t uColumn = Indent;
    for (const auto& [sTerm, sText] : rows) {
        uColumn = std::max(uColumn, sTerm.empty() ? 0 : Indent + sTerm.size() + 2);
    }
    std::string sLines;
    for (const auto& [sTerm, sText] : rows) {
        sLines += Wrap(std::string(Indent, ' ') + sTerm, sTerm.empty() ? Indent : uColumn, sText);
    }
    return sLines;
}

std::string SectionText(const HelpSection& section)
{
    Rows rows;
    for (const HelpRow& row : section.rows) {
        rows.emplace_back(row.pszTerm, row.pszText);
    }
    return '\n' + std::string(section.pszTitle) + ":\n" + Table(rows);
}

} // namespace

std::string Overview(const std::vector<Command>& commands)
{
    Rows rows;
    for (const Command& command : commands) {
        rows.emplace_back(command.Title(), command.pszSummary);
    }
    rows.emplace_back("help [COMMAND]", "the same as [COMMAND] --help");
    rows.emplace_back("help --man", "write the manual page");
    rows.emplace_back("--version", "print the version");
    std::string sText = Wrap("", 0, std::string("sharedstore ") + Purpose + '.') +
                        "\nUsage: sharedstore COMMAND [ARGUMENTS]; 'sharedstore COMMAND --help' explains one.\n\nCommands:\n" +
                        Table(rows) + "\nExamples:\n" + OverviewExamples;
    for (const HelpSection& section : Conventions()) {
        sText += SectionText(section);
    }
    return sText;
}

std::string OverviewOfNoun(const std::vector<Command>& commands, const std::string& sNoun)
{
    Rows rows;
    for (const Command& command : commands) {
        if (command.pszNoun == sNoun) {
            rows.emplace_back(command.Title(), command.pszSummary);
        }
    }
    return "Usage: sharedstore " + sNoun + " COMMAND [ARGUMENTS]; 'sharedstore " + sNoun + " COMMAND --help' explains one.\n\nCommands:\n" +
           Table(rows);
}

std::string CommandPage(const Command& command)
{
    Rows rows;
    for (const Argument& argument : command.arguments) {
        rows.emplace_back(TermOf(argument), argument.pszHelp);
    }
    rows.emplace_back(TermOf(HelpArgument), HelpArgument.pszHelp);
    return "Usage: sharedstore " + Synopsis(command) + "\n\n" + Wrap("", 0, command.pszSummary) + "\nArguments:\n" + Table(rows) +
           "\nExamples:\n" + command.pszExamples;
}

std::string Synopsis(const Command& command)
{
    std::string sText = command.Title();
    bool bOptions = false;
    for (const Argument& argument : command.arguments) {
        const std::string sName = argument.pszName;
        bOptions = bOptions || !argument.IsPositional();
        if (argument.IsPositional()) {
            sText += ' ' + (argument.takes == Takes::Positional ? sName : '[' + sName + ']');
        }
    }
    return bOptions ? sText + " [OPTIONS]" : sText;
}

std::string TermOf(const Argument& argument)
{
    std::string sTerm = argument.pszName;
    if (const std::size_t uComma = sTerm.find(','); uComma != std::string::npos) {
        sTerm.insert(uComma + 1, " ");
    }
    return *argument.pszValueName == '\0' ? sTerm : sTerm + ' ' + argument.pszValueName;
}

} // namespace Tool
