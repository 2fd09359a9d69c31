// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Tool
{

/// Splits a line into words as a shell does: blanks part words, '...' is literal, in "..." a backslash
/// takes the meaning from " $ ` and itself, elsewhere from any character, # begins a comment.
/// $'...' knows \n \r \t \\ \' \" and \xHH, so that a word can hold any byte but NUL. Nothing is
/// expanded. Throws CFailure (ExitCode::Usage) for a quote that is not closed.
std::vector<std::string> SplitWords(std::string_view sLine);

} // namespace Tool
