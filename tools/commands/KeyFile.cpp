// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "support/KeyFile.h"
#include "support/Output.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

namespace Tool
{

namespace
{

/// What a key file is, with a warning for everything about it that is weaker than it should be.
void Show(const CArguments& arguments, const KeyFile& file)
{
    if (arguments.Has("--json")) {
        nlohmann::json warnings = nlohmann::json::array();
        for (const AccessWarning& warning : file.warnings) {
            warnings.push_back(JsonText(warning.sText));
        }
        return PrintJson({{"file", JsonText(file.sPath)},
                          {"size", file.uSize},
                          {"mode", file.access.sMode},
                          {"owner", JsonText(file.access.sOwner)},
                          {"group", JsonText(file.access.sGroup)},
                          {"warnings", warnings}});
    }
    Print(Columns({{"file", Display(file.sPath)},
                   {"size", std::to_string(file.uSize)},
                   {"mode", file.access.sMode},
                   {"owner", Display(file.access.sOwner)},
                   {"group", Display(file.access.sGroup)}}));
    FlushOutput();
    for (const AccessWarning& warning : file.warnings) {
        Complain("sharedstore: warning: " + Display(file.sPath) + ": " + warning.sText);
    }
}

void Create(const CArguments& arguments, Session&)
{
    const std::string sPath = arguments.TextOr("--file", DefaultKeyFile);
    CreateKeyFile(sPath);
    Show(arguments, CheckKeyFile(sPath));
}

void Check(const CArguments& arguments, Session&)
{
    Show(arguments, CheckKeyFile(arguments.TextOr("--file", DefaultKeyFile)));
}

constexpr Argument Arguments[] = {
    {"-f,--file", Takes::Value, "another file than the one that the library reads", "FILE"},
    JsonFlag,
};

const Command Table[] = {
    {"keyfile", "create", "make the key file of encrypted registry stores, of random bytes; one that is there is never replaced", Arguments,
     "  sharedstore keyfile create\n"
     "  sharedstore keyfile create --file /mnt/image/opt/orvane/pv.sharedstore/remanentstore.key\n",
     Create},
    {"keyfile", "check", "show whether the key file can be used, and who else may read or replace it; its bytes are not read", Arguments,
     "  sharedstore keyfile check\n", Check},
};

} // namespace

std::span<const Command> KeyFileCommands()
{
    return Table;
}

} // namespace Tool
