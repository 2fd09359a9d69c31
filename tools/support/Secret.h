// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Command.h"
#include "support/Com.h"

namespace Tool
{

inline constexpr Argument DescriptorOption = {"--fd", Takes::Value, "read the PIN from this descriptor, which the caller opened", "NUMBER"};

/// A PIN: one line, without its end, typed by a person without echo when standard input is a terminal, or
/// else read from standard input or from the descriptor of DescriptorOption, not a byte further. It is in
/// nothing but the bytes that are returned.
///
/// Throws CFailure: ExitCode::Usage for an empty PIN, one of more than 64 KiB, one that was broken off, and
/// when standard input holds the commands.
Bytes ReadSecret(const CArguments& arguments, const Session& session, const std::string& sPrompt);

} // namespace Tool
