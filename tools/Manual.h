// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Command.h"

#include <string>
#include <vector>

namespace Tool
{

/// The manual page sharedstore(1), written from the same tables as the help.
std::string Manual(const std::vector<Command>& commands);

} // namespace Tool
