// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Command.h"
#include "support/Failure.h"

#include <string>
#include <vector>

namespace Tool
{

/// Runs one command and reports its failure, if any, on standard error. This is the only place where
/// exceptions end.
/// @param words the command without the program's name: {"data", "get", "Cards", "Card1", "photo"}
/// @param sWhere put in front of an error: empty, or "FILE:LINE: "
ExitCode Dispatch(const std::vector<std::string>& words, Session& session, const std::string& sWhere) noexcept;

} // namespace Tool
