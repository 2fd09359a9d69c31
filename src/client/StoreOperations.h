// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "client/StoreDirectory.h"
#include "util/IdList.h"
#include "util/Operation.h"

/// @file
/// The operations that both clients have on their directories.

/// Makes a store and adds it to a directory.
/// @param begin starts the new store as begin(store) and returns a code
/// @return S_OK; E_FAIL when the identifier is taken; the code of begin
template <class Store, class Begin>
HRESULT RegisterStore(const COperation& op, CStoreDirectory<Store>& directory, const OV::Framework::SecureString& sStoreId,
                      const Begin& begin)
{
    constexpr const char* Taken = "This DataStore id already exist !";
    Store* pExisting = nullptr;
    if (directory.Find(sStoreId, pExisting)) {
        return op.Fail(E_FAIL, Taken);
    }
    auto store = std::make_unique<Store>();
    const HRESULT hr = begin(*store);
    if (FAILED(hr)) {
        op.Detail("Begin failed");
        return hr;
    }
    // The lock was not held while the store began: somebody else may have been faster.
    return directory.Add(sStoreId, std::move(store)) ? hr : op.Fail(E_FAIL, Taken);
}

/// Lists the identifiers of a directory's stores. One that can't be copied is logged and left out, so that
/// there is an unused element at the end for it.
/// @param pszName the operation
/// @param ppsaIds receives a new VT_BSTR vector for the caller; null asks for nothing
/// @return S_OK; the code of the last identifier; E_OUTOFMEMORY
template <class Store> HRESULT ListStoreIds(const char* pszName, CStoreDirectory<Store>& directory, SAFEARRAY** ppsaIds)
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
