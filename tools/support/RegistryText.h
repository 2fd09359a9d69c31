// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/Registry.h"

#include <string>
#include <string_view>
#include <vector>

namespace Tool
{

/// @file
/// The text form of a part of the registry. After the header line come sections, one per key, and
/// below each key its values, one a line:
///
///     SharedStore Registry Export Version 1
///
///     [HKEY_LOCAL_MACHINE\Software\Example]
///     @="the value without a name"
///     "Name"="text"
///     "Count"=dword:0000002a
///     "Icon"=hex:01,02,ff
///     "List"=hex(7):61,00,00
///
/// hex is REG_BINARY and hex(N) the type of that hexadecimal number. Text is REG_SZ and is used when
/// the data is UTF-8 without NUL; dword is a REG_DWORD of 4 bytes; all other data is written as
/// hex(N), byte by byte. Inside quotes \\ and \" stand for themselves and \xHH for a byte. Inside
/// brackets, where a backslash parts key names, \\xHH (an empty name, which no key has) stands for a
/// byte. Empty lines and those that begin with ";" mean nothing. What is written is read back
/// exactly, whatever bytes names and data hold.

inline constexpr std::string_view RegistryTextHeader = "SharedStore Registry Export Version 1";

struct RegistrySection
{
    KeyPath key;
    std::vector<RegistryValue> values;
};

/// One section with its empty line, without the header.
std::string FormatSection(const RegistrySection& section);

/// Reads a whole text; throws CFailure (ExitCode::Usage) with "NAME:LINE: " in front.
std::vector<RegistrySection> ParseRegistryText(std::string_view sText, const std::string& sFileName);

} // namespace Tool
