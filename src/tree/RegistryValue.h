// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Registry.h"
#include "platform/SecAllocator.h"
#include "util/ComHandles.h"

#include <span>

class COperation;

/// @file
/// How an array is kept as a registry value. The type follows from the element type (see
/// GetRegistryTypeFromSafeArrayType), the bytes are:
/// - REG_SZ: the bytes of the only string, or nothing for an array without strings
/// - REG_MULTI_SZ: each string and a zero byte, and one more zero byte
/// - REG_DWORD, REG_QWORD, REG_NONE: the elements
/// - REG_BINARY: a tag, the low byte of the length, and the elements; for a two-dimensional array the
///   same for each row, where the row begins with its own length byte and what follows it in the array
///   is left out
///
/// A string with a zero byte in it comes back cut among others, and an empty string after another one ends a
/// list. Of an array of numbers with several dimensions the elements of the first are kept. Rows of VT_I1 come back
/// as one vector, with the headers of all rows but the first inside.

namespace RegistryFormat
{

/// The first byte of a REG_BINARY value, and of every row of one.
inline constexpr unsigned char TagSigned = 0x0B;
inline constexpr unsigned char TagBytes = 0xBA;
inline constexpr unsigned char TagRows = 0xBB;
inline constexpr std::size_t HeaderSize = 2; ///< the tag and a length byte

inline constexpr std::size_t MaxValueSize = 1024UL * 1024;
inline constexpr std::size_t MaxTableSize = 16 * MaxValueSize; ///< of the array made of rows, each padded to the longest

} // namespace RegistryFormat

/// A value on its way into the registry.
struct SRegistryValue
{
    unsigned long ulType = REG_NONE;
    OV::Framework::SecureBytes bytes;
};

/// Failures are logged under the operation's name.
/// @return S_OK; E_FAIL for an array that can't be kept; E_INVALIDARG for a value that is too long and for a
///         row whose length byte exceeds it
HRESULT EncodeRegistryValue(const COperation& op, SAFEARRAY* psa, SRegistryValue& value);

/// Takes any bytes, whoever wrote them. Failures are logged under the operation's name.
/// @param array receives the new array on success
/// @return S_OK; E_FAIL for a type that has no element type; E_INVALIDARG for bytes that can't be the type's;
///         E_OUTOFMEMORY
HRESULT DecodeRegistryValue(const COperation& op, unsigned long ulType, std::span<const unsigned char> bytes, CSafeArray& array);
