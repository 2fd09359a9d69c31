// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Manual.h"

#include "Conventions.h"
#include "Help.h"

#include <algorithm>
#include <cctype>

namespace Tool
{

namespace
{

/// Text as roff shows it literally.
std::string Roff(std::string_view sText)
{
    std::string sRoff;
    for (const char c : sText) {
        if ((c == '.' || c == '\'') && (sRoff.empty() || sRoff.back() == '\n')) {
            sRoff += "\\&"; // else the line would be a request
        }
        if (c == '\\') {
            sRoff += "\\e";
        } else if (c == '\'') {
            sRoff += "\\(aq";
        } else if (c == '-') {
            sRoff += "\\-";
        } else {
            sRoff += c;
        }
    }
    return sRoff;
}

std::string Heading(std::string sTitle)
{
    std::transform(sTitle.begin(), sTitle.end(), sTitle.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return ".SH \"" + (sTitle == "EXIT CODES" ? "EXIT STATUS" : sTitle) + "\"\n";
}

/// A term in bold, and what it means below it.
std::string Entry(const std::string& sTerm, const std::string& sText)
{
    return ".TP\n\\fB" + Roff(sTerm) + "\\fR\n" + Roff(sText) + '\n';
}

std::string Literal(const char* pszLines)
{
    return ".nf\n" + Roff(pszLines) + ".fi\n";
}

std::string CommandText(const Command& command)
{
    std::string sSummary = command.pszSummary;
    sSummary[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(sSummary[0])));
    std::string sText = ".SS \"" + Roff(Synopsis(command)) + "\"\n" + Roff(sSummary) + ".\n";
    for (const Argument& argument : command.arguments) {
        sText += Entry(TermOf(argument), argument.pszHelp);
    }
    return sText + ".PP\n" + Literal(command.pszExamples);
}

std::string RoffSection(const HelpSection& section)
{
    std::string sText = Heading(section.pszTitle);
    const char* pszBreak = "";
    for (const HelpRow& row : section.rows) {
        sText += *row.pszTerm == '\0' ? pszBreak + Roff(row.pszText) + '\n' : Entry(row.pszTerm, row.pszText);
        pszBreak = ".PP\n";
    }
    return sText;
}

} // namespace

std::string Manual(const std::vector<Command>& commands)
{
    std::string sText = ".TH SHAREDSTORE 1 \"\" \"SharedStore " SHAREDSTORE_VERSION "\" \"User Commands\"\n.nh\n.ad l\n" + Heading("Name") +
                        "sharedstore \\- look into data stores, PIN cache and registry\n" + Heading("Synopsis") +
                        "\\fBsharedstore\\fR COMMAND [ARGUMENTS]\n.br\n\\fBsharedstore\\fR COMMAND \\-\\-help\n" + Heading("Description") +
                        "\\fBsharedstore\\fR " + Roff(Purpose) + ".\n" + Heading("Commands");
    for (const Command& command : commands) {
        sText += CommandText(command);
    }
    for (const HelpSection& section : Conventions()) {
        sText += RoffSection(section);
    }
    return sText + Heading("Examples") + Literal(OverviewExamples);
}

} // namespace Tool
