// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "platform/ComEmulation.h"

#include "com/ArrayBlock.h"

#include <cstring>
#include <utility>

using Host::Com::CArrayBlock;
using Host::Com::DuplicateString;

namespace
{

SAFEARRAY* Release(CArrayBlock::Pointer pBlock)
{
    return pBlock == nullptr ? nullptr : pBlock.release()->GetArray();
}

} // namespace

// The exported functions of arrays do not call each other: each can be replaced on its own by the executable.

SAFEARRAY* SafeArrayCreate(VARTYPE vt, unsigned int cDims, SAFEARRAYBOUND* rgsabound)
{
    return rgsabound == nullptr ? nullptr : Release(CArrayBlock::Create(vt, {rgsabound, cDims}));
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, int lLbound, unsigned int cElements)
{
    const SAFEARRAYBOUND bound{cElements, lLbound};
    return Release(CArrayBlock::Create(vt, {&bound, 1}));
}

HRESULT SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut)
{
    if (ppsaOut == nullptr) {
        return E_INVALIDARG;
    }
    *ppsaOut = nullptr;
    if (psa == nullptr) {
        return E_INVALIDARG;
    }
    *ppsaOut = Release(CArrayBlock::Of(psa)->Copy());
    return *ppsaOut == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT SafeArrayGetElement(SAFEARRAY* psa, int* rgIndices, void* pv)
{
    if (psa == nullptr || rgIndices == nullptr || pv == nullptr) {
        return E_INVALIDARG;
    }
    CArrayBlock* pBlock = CArrayBlock::Of(psa);
    std::byte* pElement = pBlock->FindElement(rgIndices);
    if (pElement == nullptr) {
        return DISP_E_BADINDEX;
    }
    if (pBlock->GetVartype() == VT_BSTR) {
        return DuplicateString(*reinterpret_cast<BSTR*>(pElement), *static_cast<BSTR*>(pv)) ? S_OK : E_OUTOFMEMORY;
    }
    std::memmove(pv, pElement, psa->cbElements);
    return S_OK;
}

HRESULT SafeArrayPutElement(SAFEARRAY* psa, int* rgIndices, void* pv)
{
    if (psa == nullptr || rgIndices == nullptr) {
        return E_INVALIDARG;
    }
    CArrayBlock* pBlock = CArrayBlock::Of(psa);
    const bool bString = pBlock->GetVartype() == VT_BSTR;
    if (pv == nullptr && !bString) {
        return E_INVALIDARG;
    }
    std::byte* pElement = pBlock->FindElement(rgIndices);
    if (pElement == nullptr) {
        return DISP_E_BADINDEX;
    }
    if (bString) {
        BSTR bstrNew = nullptr;
        if (!DuplicateString(static_cast<BSTR>(pv), bstrNew)) {
            return E_OUTOFMEMORY;
        }
        SysFreeString(std::exchange(*reinterpret_cast<BSTR*>(pElement), bstrNew));
        return S_OK;
    }
    std::memmove(pElement, pv, psa->cbElements); // pv may point into the array itself
    return S_OK;
}

HRESULT SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt)
{
    if (psa == nullptr || pvt == nullptr) {
        return E_INVALIDARG;
    }
    *pvt = CArrayBlock::Of(psa)->GetVartype();
    return S_OK;
}

unsigned int SafeArrayGetElemsize(SAFEARRAY* psa)
{
    return psa == nullptr ? 0 : psa->cbElements;
}

unsigned int SafeArrayGetDim(SAFEARRAY* psa)
{
    return psa == nullptr ? 0 : psa->cDims;
}

HRESULT SafeArrayAccessData(SAFEARRAY* psa, void** ppvData)
{
    if (psa == nullptr || ppvData == nullptr) {
        return E_INVALIDARG;
    }
    if (!CArrayBlock::Of(psa)->Lock()) {
        return E_UNEXPECTED;
    }
    *ppvData = psa->pvData;
    return S_OK;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* psa)
{
    if (psa == nullptr) {
        return E_INVALIDARG;
    }
    return CArrayBlock::Of(psa)->Unlock() ? S_OK : E_UNEXPECTED;
}

HRESULT ovSafeArrayDestroy(SAFEARRAY* psa, int /*nReserved*/)
{
    if (psa == nullptr) {
        return S_OK;
    }
    CArrayBlock* pBlock = CArrayBlock::Of(psa);
    if (pBlock->IsLocked()) {
        return DISP_E_ARRAYISLOCKED;
    }
    CArrayBlock::Destroy{}(pBlock);
    return S_OK;
}
