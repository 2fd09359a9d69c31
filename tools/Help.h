// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Command.h"

#include <string>
#include <vector>

namespace Tool
{

/// The page of the whole command: every command, the exit codes, the conventions.
std::string Overview(const std::vector<Command>& commands);

/// The page of one noun.
std::string OverviewOfNoun(const std::vector<Command>& commands, const std::string& sNoun);

/// The page of one command.
std::string CommandPage(const Command& command);

/// What the manual page says in the same words: "store add STORE [OPTIONS]", "-o, --output FILE".
std::string Synopsis(const Command& command);
std::string TermOf(const Argument& argument);

} // namespace Tool
