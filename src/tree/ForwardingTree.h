// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "util/Operation.h"

/// An operation of a tree that is made of two: it runs on the first one and, only when that succeeds, on the
/// second one, whose result is logged.
/// @param first, second run it on the one tree
/// @param result tells the result of the whole from those of both
template <class First, class Second, class Result>
HRESULT RunOnBoth(const char* pszName, First first, Second second, Result result) noexcept
{
    return RunOperation(pszName, [&](const COperation& op) -> HRESULT {
        const HRESULT hr = first();
        RETURN_IF_FAILED(hr);
        const HRESULT hr1 = second();
        pvlogLog(LogComponent, LogDetail, "%s hr1 = 0x%x", op.Name(), static_cast<unsigned int>(hr1));
        return result(hr, hr1);
    });
}
