// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Command.h"

#include <optional>
#include <string>
#include <vector>

namespace Tool
{

/// Matches words with the arguments that a command declares. Throws CFailure (ExitCode::Usage) when
/// they don't fit.
/// @param words what follows noun and verb
/// @return nothing when help was asked for; it has then been written to standard output
std::optional<CArguments> ParseArguments(const Command& command, const std::vector<std::string>& words);

} // namespace Tool
