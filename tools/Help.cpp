// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Help.h"

#include "support/Text.h"

namespace Tool
{

namespace
{

constexpr const char* Conventions = R"(
Examples:
  sharedstore store add Cards
  printf 'data set Cards Card1 label --string "Staff card"\ntree Cards\n' | sharedstore run -

Exit codes:
  0  done
  1  the store refused the operation
  2  the command, or a file it reads, was not understood
  3  no such store, compartment, item, key, value or file
  4  the registry or the operating system failed to read or write
  5  something is there already and --force was not given

Words:
  A memory store and the PIN cache live in their process: use 'run' or 'shell' to give it several commands.
  A registry store lives in the registry, below HKLM\Software\Orvane\SharedStore\RemanentDataStore; its versions are
  those of the process. 'registry list' shows what lies there.
  Registry paths are written HKEY_LOCAL_MACHINE\Software\... or HKLM\Software\...; quote the backslashes.
  Words after '--' are never options.

Output:
  Lists show control characters and bytes that are not UTF-8 as \xHH.
  JSON writes a text that is not UTF-8, or that NULs cut short, as {"hex": "..."}, and byte values as hexadecimal digits.

Environment:
  SHAREDSTORE_REGISTRY       the registry's folder
  SHAREDSTORE_REGISTRY_SYNC  relaxed: a write may be lost when the machine crashes
  SHAREDSTORE_LOG            where the library logs: syslog (default), stderr or a file
  SHAREDSTORE_LOG_LEVEL      what it logs, a bit mask: 1 errors (default), 2 details, 8 entries, 16 exits of operations
  SHAREDSTORE_LOG_TRACE      1: it also logs lines that can carry clear values
)";

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
    rows.push_back({"  --version", "print the version"});
    return "sharedstore looks into SharedStore's data stores, its PIN cache and its registry, and drives them.\n\n"
           "Usage: sharedstore COMMAND [ARGUMENTS]; 'sharedstore COMMAND --help' explains one.\n\nCommands:\n" +
           Columns(rows) + Conventions;
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
