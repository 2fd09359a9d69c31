// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

namespace Tool
{

std::vector<Command> AllCommands()
{
    std::vector<Command> commands;
    for (const auto pTable : {DoctorCommands, StoreCommands, CompartmentCommands, DataCommands, TreeCommands, WatchCommands, FlushCommands,
                              PinCommands, PolicyCommands, KeyFileCommands, RegistryCommands, RegistryTextCommands, RegistryFileCommands,
                              ScriptCommands, CompletionCommands}) {
        const std::span<const Command> table = pTable();
        commands.insert(commands.end(), table.begin(), table.end());
    }
    return commands;
}

} // namespace Tool
