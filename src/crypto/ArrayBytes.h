// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/SecAllocator.h"
#include "util/ComHandles.h"
#include "util/Operation.h"

#include <span>

/// @file
/// Copies between the elements of arrays and plain bytes.

/// Appends the elements of an array to bytes, which grow once and before they are copied. Failures are
/// logged under the operation's name.
/// @param uBounds how many of the stored bounds count: 1 takes as many elements as the first bound has
/// @return S_OK, also when the array can't be unlocked; the code for an array that can't be accessed
HRESULT AppendElements(const COperation& op, SAFEARRAY* psa, unsigned int uBounds, OV::Framework::SecureBytes& bytes);

/// Copies bytes into a new array and hands it out. Failures are logged under the operation's name.
/// @param array at least as large as the bytes; null when it could not be made
/// @param psaOut receives the array for the caller; untouched on failure
/// @return S_OK; E_OUTOFMEMORY for a null array; the code for an array that can't be accessed or unlocked
HRESULT FillArray(const COperation& op, CSafeArray array, std::span<const unsigned char> bytes, SAFEARRAY*& psaOut);
