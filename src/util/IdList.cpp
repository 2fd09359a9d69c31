// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "util/IdList.h"

#include "util/FctUtils.h"

using OV::Framework::SecureString;

HRESULT MakeId(const COperation& op, const SecureString& sId, CBstr& bstrId)
{
    RETURN_IF_FAILED(op.Check(wstring2BSTR(sId, bstrId.Out()), "wstring2BSTR failed"));
    return bstrId.Get() == nullptr ? op.Fail(E_OUTOFMEMORY, "wstring2BSTR failed") : S_OK;
}

HRESULT MakeIdList(const COperation& op, const std::vector<SecureString>& ids, SAFEARRAY** ppsaIds)
{
    *ppsaIds = SafeArrayCreateVector(VT_BSTR, 0, static_cast<unsigned int>(ids.size()));
    if (*ppsaIds == nullptr) {
        return op.Fail(E_OUTOFMEMORY, "SafeArrayCreateVector failed");
    }
    int nIndex = 0;
    for (const SecureString& sId : ids) {
        CBstr bstrId;
        RETURN_IF_FAILED(MakeId(op, sId, bstrId));
        RETURN_IF_FAILED(op.Check(SafeArrayPutElement(*ppsaIds, &nIndex, bstrId.Get()), "SafeArrayPutElement failed"));
        ++nIndex;
    }
    return S_OK;
}

HRESULT GetId(const COperation& op, SAFEARRAY* psaIds, int nIndex, SecureString& sId)
{
    CBstr bstrId;
    RETURN_IF_FAILED(op.Check(SafeArrayGetElement(psaIds, &nIndex, &bstrId.Out()), "SafeArrayGetElement failed"));
    return op.Check(BSTR2wstring(bstrId.Get(), sId), "BSTR2wstring failed");
}
