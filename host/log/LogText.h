// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/SecAllocator.h"

#include <cstdarg>
#include <string_view>
#include <vector>

/// Text of a line. Level 0 lines can carry clear values, so it is wiped when it goes. The copies that
/// spdlog and syslog(3) make of the finished line are not.
using LogText = std::vector<char, OV::Framework::secallocator<char>>;

/// A longer message is cut here, and ends with LogCutMark instead.
constexpr std::size_t MaxLogMessage = 16384;
constexpr std::string_view LogCutMark = " [cut]";

/// The message of a printf(3) format. A format that cannot be carried out is returned as it stands.
[[gnu::format(printf, 1, 0)]] LogText FormatMessage(const char* pszFormat, va_list args);

/// Appends sText, which then prints on one line as what it is: bytes that are not valid UTF-8, and
/// characters that would start a line, move the cursor or change the reading direction, are written
/// as "\x" and two digits for each byte. A backslash stays alone: registry paths remain readable.
void AppendPrintable(LogText& text, std::string_view sText);
