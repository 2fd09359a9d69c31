// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/SecAllocator.h"

#include <charconv>
#include <limits>

/// A number as decimal text, without sign or padding: how sessions and processes appear in paths.
inline OV::Framework::SecureString Decimal(unsigned long ulNumber)
{
    char digits[std::numeric_limits<unsigned long>::digits10 + 1];
    return {digits, std::to_chars(std::begin(digits), std::end(digits), ulNumber).ptr};
}
