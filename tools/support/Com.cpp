// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/Com.h"

#include "support/Failure.h"

#include <cstring>
#include <new>

namespace Tool
{

namespace
{

unsigned int CheckedCount(std::size_t uCount)
{
    if (uCount > MaxElements) {
        throw CFailure(ExitCode::Usage, "a value has at most " + std::to_string(MaxElements) + " bytes or elements");
    }
    return static_cast<unsigned int>(uCount);
}

ArrayPtr MakeVector(VARTYPE vt, std::size_t uCount)
{
    ArrayPtr psa(SafeArrayCreateVector(vt, 0, CheckedCount(uCount)));
    return psa == nullptr ? throw std::bad_alloc() : std::move(psa);
}

ArrayPtr MakeVectorOf(VARTYPE vt, const void* pElements, std::size_t uCount, std::size_t uElementSize)
{
    ArrayPtr psa = MakeVector(vt, uCount);
    if (uCount != 0) {
        std::memcpy(psa->pvData, pElements, uCount * uElementSize);
    }
    return psa;
}

} // namespace

BstrPtr MakeBstr(std::string_view sText)
{
    BstrPtr bstr(SysAllocStringByteLen(sText.data(), CheckedCount(sText.size())));
    return bstr == nullptr ? throw std::bad_alloc() : std::move(bstr);
}

ArrayPtr MakeByteArray(std::string_view sBytes)
{
    return MakeVectorOf(VT_UI1, sBytes.data(), sBytes.size(), 1);
}

ArrayPtr MakeUintArray(const std::vector<unsigned int>& numbers)
{
    return MakeVectorOf(VT_UINT, numbers.data(), numbers.size(), sizeof(unsigned int));
}

ArrayPtr MakeStringArray(const std::vector<std::string>& texts)
{
    ArrayPtr psa = MakeVector(VT_BSTR, texts.size());
    int nIndex = 0;
    for (const std::string& sText : texts) {
        if (FAILED(SafeArrayPutElement(psa.get(), &nIndex, MakeBstr(sText).get()))) {
            throw std::bad_alloc();
        }
        ++nIndex;
    }
    return psa;
}

VARTYPE ElementType(SAFEARRAY* psa)
{
    VARTYPE vt = VT_EMPTY;
    SafeArrayGetVartype(psa, &vt);
    return vt;
}

std::size_t ElementCount(const SAFEARRAY* psa)
{
    std::size_t uCount = psa == nullptr ? 0 : 1;
    for (unsigned int u = 0; psa != nullptr && u < psa->cDims; ++u) {
        uCount *= psa->rgsabound[u].cElements;
    }
    return uCount;
}

std::string_view RawElements(const SAFEARRAY* psa)
{
    const std::size_t uCount = ElementCount(psa);
    return uCount == 0 ? std::string_view() : std::string_view(static_cast<const char*>(psa->pvData), uCount * psa->cbElements);
}

std::vector<std::string_view> Strings(const SAFEARRAY* psa)
{
    std::vector<std::string_view> texts;
    for (std::size_t u = 0; u < ElementCount(psa); ++u) {
        const BSTR bstr = static_cast<BSTR*>(psa->pvData)[u];
        texts.emplace_back(bstr == nullptr ? "" : bstr, SysStringByteLen(bstr));
    }
    return texts;
}

} // namespace Tool
