// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "client/StaticDataCacheClient.h"

#include <map>
#include <span>
#include <string>
#include <vector>

namespace Tool
{

/// How an argument of a command is given.
enum class Takes {
    Positional,         ///< STORE
    OptionalPositional, ///< [STORE]
    Flag,               ///< --json
    Value,              ///< --output FILE
    Values,             ///< --string TEXT, any number of times
};

/// One argument of a command, in the words of its help.
struct Argument
{
    const char* pszName; ///< "STORE", "--json" or "-o,--output"
    Takes takes;
    const char* pszHelp;
    const char* pszValueName = "";                    ///< "FILE": what the help calls the value of an option
    std::vector<std::string> (*pChoices)() = nullptr; ///< the only words that can be given; null when any can

    bool IsPositional() const { return takes == Takes::Positional || takes == Takes::OptionalPositional; }
};

/// Every command has it.
inline constexpr Argument HelpArgument = {"-h,--help", Takes::Flag, "explain the command"};

/// What was given for a command's arguments. A name is the positional's own or that of the long
/// option with its dashes; asking for one that the command does not declare is a programming error.
class CArguments
{
public:
    explicit CArguments(std::map<std::string, std::vector<std::string>> values) : m_Values(std::move(values)) {}

    bool Has(const char* pszName) const { return !All(pszName).empty(); }
    const std::string& Text(const char* pszName) const { return All(pszName).at(0); }
    std::string TextOr(const char* pszName, const std::string& sDefault) const { return Has(pszName) ? Text(pszName) : sDefault; }
    const std::vector<std::string>& All(const char* pszName) const { return m_Values.at(pszName); }

private:
    std::map<std::string, std::vector<std::string>> m_Values;
};

/// What the commands of one process share.
struct Session
{
    OV::DataStore::CStaticDataCacheClient client;
    bool bManyCommands = false;          ///< under run or shell: a memory store outlives the command
    bool bScriptOnStandardInput = false; ///< standard input holds commands, so none of them may read data from it
};

/// One command: a row of its noun's table. All the ways to call it go through this row.
struct Command
{
    const char* pszNoun;
    const char* pszVerb; ///< empty for a noun that is a command itself
    const char* pszSummary;
    std::span<const Argument> arguments;
    const char* pszExamples; ///< lines of the help
    void (*pRun)(const CArguments&, Session&);

    std::string Title() const { return *pszVerb == '\0' ? pszNoun : std::string(pszNoun) + ' ' + pszVerb; }
};

} // namespace Tool
