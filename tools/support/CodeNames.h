// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/ComEmulation.h"

#include <string>

namespace Tool
{

/// A result code as people know it, and what usually helps.
struct CodeText
{
    std::string sName;   ///< "E_FAIL (0x80004005)", "ERROR_ACCESS_DENIED (5)"
    std::string sAdvice; ///< one clause; empty when nothing is known
};

CodeText DescribeResult(HRESULT hr);
CodeText DescribeRegistryCode(long lCode);

std::string NameOfElementType(VARTYPE vt);            ///< "VT_UI1", or "type 99"
std::string NameOfRegistryType(unsigned long ulType); ///< "REG_DWORD", or "type 99"

} // namespace Tool
