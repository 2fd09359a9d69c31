// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "client/AuthParameter.h"

#include "util/Operation.h"

#include <climits>

HRESULT GetSafeArrayFromParameterStruct(OV::AuthStore::AuthParameter* pParams, unsigned long ulCount, SAFEARRAY*& psa)
{
    const auto fail = [](HRESULT hr, const char* pszText) {
        pvlogLog(LogComponent, LogError, "GetSafeArrayFromParameterStruct: %s", pszText);
        return hr;
    };
    return RunOperation("GetSafeArrayFromParameterStruct", [&](const COperation&) -> HRESULT {
        if (pParams == nullptr) {
            return fail(E_FAIL, "NULL == pAdditionalParameters");
        }
        if (ulCount == 0) {
            return fail(E_FAIL, "ulCount == 0");
        }
        psa = ulCount <= INT_MAX / 2 ? SafeArrayCreateVector(VT_BSTR, 0, static_cast<unsigned int>(2 * ulCount)) : nullptr;
        int nIndex = 0;
        for (unsigned long i = 0; i < ulCount; ++i) {
            for (const BSTR bstr : {pParams[i].bstrName, pParams[i].bstrValue}) {
                if (const HRESULT hr = SafeArrayPutElement(psa, &nIndex, bstr); FAILED(hr)) {
                    return fail(hr, "SafeArrayPutElement failed");
                }
                ++nIndex;
            }
        }
        return S_OK;
    });
}
