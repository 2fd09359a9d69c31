// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "util/FctUtils.h"

#include "util/Operation.h"

#include <cstring>

using OV::Framework::SecureString;

namespace
{

const char* Text(BSTR bstr)
{
    return bstr == nullptr ? "" : bstr;
}

HRESULT CopyValue(const COperation& op, SAFEARRAY* psaIn, SAFEARRAY*& psaOut)
{
    return RunOperation(op, [&](const COperation&) -> HRESULT {
        psaOut = nullptr;
        SafeArrayCopy(psaIn, &psaOut);
        return S_OK;
    });
}

} // namespace

HRESULT BSTR2wstring(BSTR bstr, SecureString& s)
{
    return Guarded("BSTR2wstring", [&](const COperation& op) -> HRESULT {
        pvlogLog(LogComponent, LogTrace, "BSTR2wstring sBSTRCompartmentId = %s", Text(bstr));
        if (SysStringLen(bstr) == 0) {
            return op.Fail(E_INVALIDARG, "sBSTRCompartmentId length = 0");
        }
        s = bstr;
        pvlogLog(LogComponent, LogTrace, "BSTR2wstring sCompartmentId = %s", s.c_str());
        return S_OK;
    });
}

HRESULT wstring2BSTR(const SecureString& s, BSTR& bstr)
{
    pvlogLog(LogComponent, LogTrace, "wstring2BSTR sCompartmentId = %s", s.c_str());
    bstr = SysAllocString(s.c_str());
    pvlogLog(LogComponent, LogTrace, "wstring2BSTR sBSTRCompartmentId = %s", Text(bstr));
    return S_OK;
}

HRESULT GetSafeArrayBytesFromBSTR(BSTR bstrValue, SAFEARRAY*& psa)
{
    return RunOperation("GetSafeArrayBytesFromBSTR", [&](const COperation& op) -> HRESULT {
        if (bstrValue == nullptr) {
            return op.Fail(E_FAIL, "bstrValue == NULL");
        }
        const unsigned int uSize = SysStringByteLen(bstrValue);
        psa = SafeArrayCreateVector(VT_UI1, 0, uSize);
        void* pData = nullptr;
        if (FAILED(SafeArrayAccessData(psa, &pData))) {
            return op.Fail(E_FAIL, "SafeArrayAccessData failed");
        }
        if (uSize != 0) {
            std::memcpy(pData, bstrValue, uSize);
        }
        SafeArrayUnaccessData(psa);
        return S_OK;
    });
}

HRESULT GetBSTRFromSafeArrayBytes(SAFEARRAY* psaValue, BSTR& bstr)
{
    return RunOperation("GetBSTRFromSafeArrayBytes", [&](const COperation& op) -> HRESULT {
        if (psaValue == nullptr) {
            return op.Fail(E_FAIL, "psaValue == NULL");
        }
        // An array can have a first dimension and yet no elements, when another dimension is empty.
        const unsigned int uSize = psaValue->pvData == nullptr ? 0 : psaValue->rgsabound[0].cElements;
        if (uSize == 0) {
            return op.Fail(E_FAIL, "byarValue == NULL");
        }
        void* pData = nullptr;
        HRESULT hr = S_OK;
        if (SUCCEEDED(SafeArrayAccessData(psaValue, &pData))) {
            bstr = SysAllocStringByteLen(static_cast<const char*>(pData), uSize);
            SafeArrayUnaccessData(psaValue);
        } else {
            bstr = SysAllocStringByteLen(nullptr, uSize);
            hr = op.Fail(E_FAIL, "SafeArrayAccessData failed");
        }
        return bstr == nullptr && SUCCEEDED(hr) ? op.Fail(E_FAIL, "byarValue == NULL") : hr;
    });
}

HRESULT EncryptValue(SAFEARRAY* psaIn, SAFEARRAY*& psaOut, int)
{
    return CopyValue(COperation::Traced("EncryptValue"), psaIn, psaOut);
}

HRESULT DecryptValue(SAFEARRAY* psaIn, SAFEARRAY*& psaOut)
{
    return CopyValue(COperation::Traced("DecryptValue"), psaIn, psaOut);
}

HRESULT CFctUtils::BSTR2wstring(BSTR bstr, SecureString& s)
{
    return ::BSTR2wstring(bstr, s);
}

HRESULT CFctUtils::wstring2BSTR(const SecureString& s, BSTR& bstr)
{
    return ::wstring2BSTR(s, bstr);
}
