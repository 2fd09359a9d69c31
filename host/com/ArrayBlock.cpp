// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "com/ArrayBlock.h"

#include "platform/SecAllocator.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

namespace Host::Com
{

namespace
{

/// Size of an element by its type; 0 where no array can have that type.
constexpr auto ElementSizes = [] {
    std::array<unsigned char, VT_UINT + 1> sizes{};
    const auto set = [&sizes](std::size_t uSize, std::initializer_list<VARTYPE> types) {
        for (VARTYPE vt : types) {
            sizes[vt] = static_cast<unsigned char>(uSize);
        }
    };
    set(1, {VT_I1, VT_UI1});
    set(2, {VT_I2, VT_UI2, VT_BOOL});
    set(4, {VT_I4, VT_UI4, VT_INT, VT_UINT, VT_R4, VT_ERROR, VT_UNKNOWN});
    set(8, {VT_I8, VT_UI8, VT_R8, VT_CY, VT_DATE});
    set(sizeof(BSTR), {VT_BSTR});
    return sizes;
}();

constexpr std::size_t MaxDimensions = std::numeric_limits<decltype(SAFEARRAY::cDims)>::max();

unsigned int ElementSize(VARTYPE vt)
{
    return vt < ElementSizes.size() ? ElementSizes[vt] : 0U;
}

/// Multiplies the element counts into uTotal.
/// @return false when the product leaves 32 bits; a single empty dimension makes any array empty
bool CountElements(std::span<const SAFEARRAYBOUND> bounds, std::uint32_t& uTotal)
{
    const auto isEmpty = [](const SAFEARRAYBOUND& bound) { return bound.cElements == 0; };
    uTotal = std::ranges::any_of(bounds, isEmpty) ? 0 : 1;
    return std::ranges::all_of(bounds, [&](const auto& bound) { return !__builtin_mul_overflow(uTotal, bound.cElements, &uTotal); });
}

} // namespace

CArrayBlock::CArrayBlock(VARTYPE vt, std::size_t uDimensions, std::uint32_t uElements) noexcept
    : m_uElements(uElements), m_uDataOffset(static_cast<std::uint32_t>(DataOffset(uDimensions))),
      m_uBytes(m_uDataOffset + uElements * ElementSize(vt)), m_vt(vt), m_array{}
{
    m_array.cDims = static_cast<unsigned short>(uDimensions);
    m_array.cbElements = ElementSize(vt);
    m_array.pvData = uElements == 0 ? nullptr : Data();
}

CArrayBlock::Pointer CArrayBlock::Create(VARTYPE vt, std::span<const SAFEARRAYBOUND> bounds) noexcept
{
    std::uint32_t uElements = 0;
    if (ElementSize(vt) == 0 || bounds.empty() || bounds.size() > MaxDimensions || !CountElements(bounds, uElements)) {
        return nullptr;
    }
    const std::uint64_t uBytes = DataOffset(bounds.size()) + std::uint64_t{uElements} * ElementSize(vt);
    if (uBytes > std::numeric_limits<decltype(m_uBytes)>::max()) {
        return nullptr;
    }
    void* pMemory = std::calloc(uBytes, 1);
    if (pMemory == nullptr) {
        return nullptr;
    }
    Pointer pBlock(new (pMemory) CArrayBlock(vt, bounds.size(), uElements));
    std::ranges::reverse_copy(bounds, pBlock->m_array.rgsabound);
    return pBlock;
}

CArrayBlock* CArrayBlock::Of(SAFEARRAY* psa) noexcept
{
    static_assert(std::is_standard_layout_v<CArrayBlock>);
    return reinterpret_cast<CArrayBlock*>(reinterpret_cast<std::byte*>(psa) - offsetof(CArrayBlock, m_array));
}

CArrayBlock::Pointer CArrayBlock::Copy() const noexcept
{
    void* pMemory = std::malloc(m_uBytes);
    if (pMemory == nullptr) {
        return nullptr;
    }
    Pointer pCopy(new (pMemory) CArrayBlock(m_vt, m_array.cDims, m_uElements));
    std::copy_n(m_array.rgsabound, m_array.cDims, pCopy->m_array.rgsabound);
    if (m_vt != VT_BSTR) {
        std::memcpy(pCopy->Data(), Data(), m_uBytes - m_uDataOffset);
        return pCopy;
    }
    const std::span<BSTR> copies = pCopy->Strings();
    std::ranges::fill(copies, nullptr); // so that a copy that ends half-way can be destroyed
    for (std::size_t i = 0; i < copies.size(); ++i) {
        if (!DuplicateString(Strings()[i], copies[i])) {
            return nullptr;
        }
    }
    return pCopy;
}

void CArrayBlock::Destroy::operator()(CArrayBlock* pBlock) const noexcept
{
    std::ranges::for_each(pBlock->Strings(), SysFreeString);
    OV::Framework::WipeMemory(pBlock, pBlock->m_uBytes);
    std::free(pBlock);
}

std::byte* CArrayBlock::FindElement(const int* pIndices) noexcept
{
    // The bounds are stored last dimension first and the last stored one varies fastest: the first dimension
    // has stride 1, and each further one steps over all dimensions before it.
    const std::span<const SAFEARRAYBOUND> bounds(m_array.rgsabound, m_array.cDims);
    const int* pIndex = pIndices + bounds.size();
    std::size_t uElement = 0;
    for (const SAFEARRAYBOUND& bound : bounds) {
        const std::int64_t nDistance = std::int64_t{*--pIndex} - bound.lLbound;
        if (nDistance < 0 || nDistance >= bound.cElements) {
            return nullptr;
        }
        uElement = uElement * bound.cElements + static_cast<std::size_t>(nDistance);
    }
    return Data() + uElement * m_array.cbElements;
}

bool CArrayBlock::Lock() noexcept
{
    return MoveLockCount(std::numeric_limits<unsigned int>::max(), 1U);
}

bool CArrayBlock::Unlock() noexcept
{
    return MoveLockCount(0, -1U);
}

bool CArrayBlock::IsLocked() noexcept
{
    return std::atomic_ref(m_array.cLocks).load() != 0;
}

/// Adds uStep (which may wrap) to the lock count unless it stands at uEnd.
bool CArrayBlock::MoveLockCount(unsigned int uEnd, unsigned int uStep) noexcept
{
    std::atomic_ref locks(m_array.cLocks);
    unsigned int uLocks = locks.load();
    while (uLocks != uEnd) {
        if (locks.compare_exchange_weak(uLocks, uLocks + uStep)) {
            return true;
        }
    }
    return false;
}

std::size_t CArrayBlock::DataOffset(std::size_t uDimensions) noexcept
{
    constexpr std::size_t Alignment = alignof(std::max_align_t);
    const std::size_t uEnd = offsetof(CArrayBlock, m_array) + offsetof(SAFEARRAY, rgsabound) + uDimensions * sizeof(SAFEARRAYBOUND);
    return (uEnd + Alignment - 1) / Alignment * Alignment;
}

std::byte* CArrayBlock::Data() const noexcept
{
    return reinterpret_cast<std::byte*>(const_cast<CArrayBlock*>(this)) + m_uDataOffset;
}

std::span<BSTR> CArrayBlock::Strings() const noexcept
{
    return {reinterpret_cast<BSTR*>(Data()), m_vt == VT_BSTR ? m_uElements : 0};
}

bool DuplicateString(BSTR bstr, BSTR& bstrCopy) noexcept
{
    BSTR bstrNew = bstr == nullptr ? nullptr : SysAllocStringByteLen(bstr, SysStringByteLen(bstr));
    if (bstr != nullptr && bstrNew == nullptr) {
        return false;
    }
    bstrCopy = bstrNew;
    return true;
}

} // namespace Host::Com
