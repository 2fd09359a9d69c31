// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/SecAllocator.h"
#include "util/Operation.h"

#include <span>

/// @file
/// The form that a value has before it is encrypted: the name of its element type, a zero byte, and its
/// bytes. Strings are stored one after another, each with its closing NUL, and an empty one ends the
/// list. The name of a two-dimensional byte array ends with the two counts of elements in the order of
/// its stored bounds: "UI1_MULTI 3 4 ".

/// Writes a value. Failures are logged under the operation's name.
/// @param clear replaced
/// @return S_OK; E_FAIL for a type without a name; the code for an array that can't be accessed
HRESULT EncodeValue(const COperation& op, SAFEARRAY* psaIn, OV::Framework::SecureBytes& clear);

/// Makes an array of any bytes whatever. Failures are logged under the operation's name.
/// @param psaOut receives a new array for the caller; on failure it is untouched, but that a list of strings
///        may be there half-filled or null
/// @return S_OK; E_FAIL for bytes that are no value; E_OUTOFMEMORY; the code of the platform
HRESULT DecodeValue(const COperation& op, std::span<const unsigned char> clear, SAFEARRAY*& psaOut);
