// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/SecAllocator.h"
#include "util/ComHandles.h"
#include "util/Operation.h"

#include <algorithm>
#include <span>
#include <utility>

/// @file
/// Copies between the elements of arrays and plain bytes.

/// Appends the elements of an array to bytes, which grow once and before they are copied. Failures are
/// logged under the operation's name.
/// @param uBounds how many of the stored bounds count: 1 takes as many elements as the first bound has
/// @return S_OK, also when the array can't be unlocked; the code for an array that can't be accessed
HRESULT AppendElements(const COperation& op, SAFEARRAY* psa, unsigned int uBounds, OV::Framework::SecureBytes& bytes);

/// Has the elements of a new array filled and hands it out. Failures are logged under the operation's name.
/// @param array null when it could not be made
/// @param fill writes the elements as fill(pvData) and returns a code
/// @param psaOut receives the array for the caller; untouched on failure
/// @return S_OK; E_OUTOFMEMORY for a null array; the code for an array that can't be accessed or unlocked; that
///         of fill
template <class Fill> HRESULT FillArrayBy(const COperation& op, CSafeArray array, const Fill& fill, SAFEARRAY*& psaOut)
{
    if (array.Get() == nullptr) {
        return op.Fail(E_OUTOFMEMORY, "SafeArrayCreate failed");
    }
    void* pData = nullptr;
    RETURN_IF_FAILED(op.Check(SafeArrayAccessData(array.Get(), &pData), "SafeArrayAccessData failed"));
    const HRESULT hr = fill(pData);
    RETURN_IF_FAILED(op.Check(SafeArrayUnaccessData(array.Get()), "SafeArrayUnaccessData failed"));
    RETURN_IF_FAILED(hr);
    psaOut = array.Release();
    return S_OK;
}

/// Copies bytes into a new array, which is at least as large, and hands it out as FillArrayBy does.
inline HRESULT FillArray(const COperation& op, CSafeArray array, std::span<const unsigned char> bytes, SAFEARRAY*& psaOut)
{
    const auto copy = [bytes](void* pData) {
        std::copy(bytes.begin(), bytes.end(), static_cast<unsigned char*>(pData));
        return S_OK;
    };
    return FillArrayBy(op, std::move(array), copy, psaOut);
}
