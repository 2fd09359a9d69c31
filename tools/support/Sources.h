// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Command.h"
#include "support/Com.h"

#include <cstdint>
#include <initializer_list>
#include <string>

namespace Tool
{

/// @return the one option of a group that was given, pszDefault when none was; throws CFailure
///         (ExitCode::Usage) for several, and for none when pszDefault is null
std::string GivenSource(const CArguments& arguments, std::initializer_list<const char*> options, const char* pszDefault);

/// A decimal or 0x hexadecimal number; throws CFailure (ExitCode::Usage).
std::uint64_t NumberArgument(const std::string& sText, std::uint64_t uMaximum);

/// Bytes from hexadecimal digits; throws CFailure (ExitCode::Usage).
std::string HexArgument(const std::string& sDigits);

/// Everything that a file or standard input ("-") holds. Standard input is refused when the commands
/// themselves come from there. Throws CFailure (ExitCode::Usage) for more than uMaximum bytes.
Bytes ReadData(const std::string& sPath, const Session& session, std::size_t uMaximum);

} // namespace Tool
