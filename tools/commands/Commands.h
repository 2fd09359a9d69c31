// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Command.h"

/// @file
/// The commands, one table per noun, and the arguments that several of them take.

namespace Tool
{

std::span<const Command> StoreCommands();
std::span<const Command> CompartmentCommands();
std::span<const Command> DataCommands();
std::span<const Command> TreeCommands();
std::span<const Command> WatchCommands();
std::span<const Command> FlushCommands();
std::span<const Command> PinCommands();
std::span<const Command> PolicyCommands();
std::span<const Command> RegistryCommands();
std::span<const Command> RegistryTextCommands();
std::span<const Command> RegistryFileCommands();
std::span<const Command> KeyFileCommands();
std::span<const Command> ScriptCommands();
std::span<const Command> DoctorCommands();
std::span<const Command> CompletionCommands();

/// All of them, in the order of the help.
std::vector<Command> AllCommands();

inline constexpr Argument StoreArgument = {"STORE", Takes::Positional, "the store's identifier"};
inline constexpr Argument CompartmentArgument = {"COMPARTMENT", Takes::Positional, "the compartment's path, for example Card1/Certs"};
inline constexpr Argument ItemArgument = {"ITEM", Takes::Positional, "the item's identifier"};
inline constexpr Argument KeyArgument = {"KEY", Takes::Positional,
                                         "the key's path, HKEY_LOCAL_MACHINE\\Software\\... or HKLM\\Software\\..."};
inline constexpr Argument JsonFlag = {"-j,--json", Takes::Flag, "write JSON"};
inline constexpr Argument OutputOption = {"-o,--output", Takes::Value, "write to this file (mode 0600) instead of standard output", "FILE"};
inline constexpr Argument ForceFlag = {"--force", Takes::Flag, "replace what is there already"};

} // namespace Tool
