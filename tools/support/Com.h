// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/ComEmulation.h"
#include "platform/SecAllocator.h"

#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Tool
{

/// Values of stores and of the registry: wiped when they go.
using Bytes = OV::Framework::SecureBytes;

inline std::string_view View(const Bytes& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

inline Bytes ToBytes(std::string_view sText)
{
    return {sText.begin(), sText.end()};
}

inline void AppendLine(Bytes& lines, std::string_view sLine)
{
    lines.insert(lines.end(), sLine.begin(), sLine.end());
    lines.push_back('\n');
}

struct FreeBstr
{
    void operator()(BSTR bstr) const { SysFreeString(bstr); }
};
struct FreeArray
{
    void operator()(SAFEARRAY* psa) const { ovSafeArrayDestroy(psa, 0); }
};
using BstrPtr = std::unique_ptr<char, FreeBstr>;
using ArrayPtr = std::unique_ptr<SAFEARRAY, FreeArray>;

/// The most bytes or elements that a value can have: indices are signed.
inline constexpr std::size_t MaxElements = std::numeric_limits<int>::max();

/// Makers of the platform's objects; they throw std::bad_alloc, and CFailure (ExitCode::Usage) above
/// MaxElements.
BstrPtr MakeBstr(std::string_view sText);
ArrayPtr MakeByteArray(std::string_view sBytes);
ArrayPtr MakeStringArray(const std::vector<std::string>& texts);
ArrayPtr MakeUintArray(const std::vector<unsigned int>& numbers);

VARTYPE ElementType(SAFEARRAY* psa);

/// Number of elements in all dimensions; 0 for a null array.
std::size_t ElementCount(const SAFEARRAY* psa);

/// The elements as they lie in memory, valid as long as the array. Not for VT_BSTR.
std::string_view RawElements(const SAFEARRAY* psa);

/// The elements of a VT_BSTR array of one dimension, valid as long as the array.
std::vector<std::string_view> Strings(const SAFEARRAY* psa);

} // namespace Tool
