// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Command.h"

#include <string>
#include <vector>

namespace Tool
{

/// What a shell sources to complete nouns, verbs and options, written from the same tables as the help. Where none of
/// these fits, the shell completes names of files.
std::string BashCompletion(const std::vector<Command>& commands);
std::string ZshCompletion(const std::vector<Command>& commands);

} // namespace Tool
