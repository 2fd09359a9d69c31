// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/ComEmulation.h"
#include "support/Com.h"

#include <nlohmann/json_fwd.hpp>

namespace Tool
{

/// Size of a value's elements in bytes, the lengths of its strings for VT_BSTR.
std::size_t ValueSize(SAFEARRAY* psa);

/// What a value looks like in a file: strings and integers one a line, everything else byte by byte.
Bytes ValueContent(SAFEARRAY* psa);

/// The same for a person: strings as Display() shows them, bytes as a hexadecimal dump.
std::string ValueDisplay(SAFEARRAY* psa);

/// "type", "size" and "elements": texts, numbers, or hexadecimal digits; "rows" is added for an array
/// of two dimensions.
nlohmann::json ValueJson(SAFEARRAY* psa);

} // namespace Tool
