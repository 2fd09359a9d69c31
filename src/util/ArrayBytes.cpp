// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "util/ArrayBytes.h"

namespace
{

/// An array can have a first bound and yet no elements, when another bound is empty.
std::size_t SizeOfElements(SAFEARRAY* psa, unsigned int uBounds)
{
    std::size_t uSize = psa == nullptr || psa->pvData == nullptr ? 0 : SafeArrayGetElemsize(psa);
    for (unsigned int i = 0; uSize != 0 && i < uBounds; ++i) {
        uSize *= psa->rgsabound[i].cElements;
    }
    return uSize;
}

} // namespace

HRESULT AppendElements(const COperation& op, SAFEARRAY* psa, unsigned int uBounds, OV::Framework::SecureBytes& bytes)
{
    const std::size_t uSize = SizeOfElements(psa, uBounds);
    bytes.reserve(bytes.size() + uSize); // nothing throws while the array is locked
    void* pData = nullptr;
    RETURN_IF_FAILED(op.Check(SafeArrayAccessData(psa, &pData), "SafeArrayAccessData failed"));
    const auto* pElements = static_cast<const unsigned char*>(pData);
    bytes.insert(bytes.end(), pElements, pElements + uSize);
    op.Check(SafeArrayUnaccessData(psa), "SafeArrayUnaccessData failed");
    return S_OK;
}
