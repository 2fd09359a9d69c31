// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tool
{

/// Text for a person: control characters, bytes that are not UTF-8 and characters that turn the
/// writing direction come out as \xHH, and so does everything beyond ASCII where the locale is not
/// UTF-8. No name can move the cursor or forge a line.
std::string Display(std::string_view sBytes);

/// Display() of each text as a line.
std::string DisplayLines(const std::vector<std::string>& texts);

/// A word of a command line as a person can type it: as it stands, 'in quotes' or as $'\xHH'.
std::string Quoted(std::string_view sBytes);

/// Whether the user's locale writes UTF-8. Main sets the locale before anything asks.
bool IsUtf8Locale();

/// Number of bytes of the valid UTF-8 character at the start; 0 when there is none.
std::size_t Utf8Length(std::string_view sBytes);
bool IsUtf8(std::string_view sBytes);

std::string HexNumber(std::uint64_t uNumber, std::size_t uDigits); ///< lower case, padded with zeros
std::string HexByte(char cByte);
std::string Hex(std::string_view sBytes);

/// @return the bytes that hexadecimal digits stand for; blanks, commas and colons may part them
std::optional<std::string> BytesOfHex(std::string_view sHex);

/// @return a decimal or 0x hexadecimal number of at most uMaximum
std::optional<std::uint64_t> Number(std::string_view sText, std::uint64_t uMaximum);

/// Rows of cells as columns two blanks apart; the last column is not padded.
std::string Columns(const std::vector<std::vector<std::string>>& rows);

/// The view of bytes on a terminal: offset, sixteen bytes and their characters a line.
std::string HexDump(std::string_view sBytes);

} // namespace Tool
