// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace Tool
{

/// Writes to standard output; throws CFailure (ExitCode::Io) when it can't be written.
void Print(std::string_view sText);
void FlushOutput();

/// Writes a line to standard error.
void Complain(std::string_view sText);

bool IsTerminalOutput();

enum class Colour { Red, Green, Yellow };

/// Text in a colour, plain unless standard output is a terminal that is not dumb, and NO_COLOR is not set.
std::string InColour(const std::string& sText, Colour colour);

void PrintJson(const nlohmann::json& json);

/// Bytes as JSON: a string when they are valid UTF-8, else an object such as {"hex": "c328"}. Nothing
/// is lost and the output is always valid.
nlohmann::json JsonText(std::string_view sBytes);
nlohmann::json JsonTexts(const std::vector<std::string>& texts);

} // namespace Tool
