// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "util/IdList.h"
#include "util/Operation.h"

/// Lists the identifiers of a directory's stores. One that can't be copied is logged and left out, so that
/// there is an unused element at the end for it.
/// @param pszName the operation
/// @param ppsaIds receives a new VT_BSTR vector for the caller; null asks for nothing
/// @return S_OK; the code of the last identifier; E_OUTOFMEMORY
template <class Directory> HRESULT ListStoreIds(const char* pszName, Directory& directory, SAFEARRAY** ppsaIds)
{
    return RunOperation(pszName, [&](const COperation& op) -> HRESULT {
        if (ppsaIds == nullptr) {
            return S_OK;
        }
        const auto ids = directory.Ids();
        *ppsaIds = SafeArrayCreateVector(VT_BSTR, 0, static_cast<unsigned int>(ids.size()));
        HRESULT hr = S_OK;
        int nIndex = 0;
        for (const auto& sId : ids) {
            CBstr bstrId;
            hr = MakeId(op, sId, bstrId);
            if (SUCCEEDED(hr)) {
                hr = op.Check(SafeArrayPutElement(*ppsaIds, &nIndex, bstrId.Get()), "SafeArrayPutElement failed");
            }
            if (SUCCEEDED(hr)) {
                ++nIndex;
            }
        }
        return hr;
    });
}
