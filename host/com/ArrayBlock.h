// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/ComEmulation.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace Host::Com
{

/// The one block of memory behind an array:
///
///     what only the emulation knows | SAFEARRAY | further bounds | padding | elements
///
/// The private part remembers the element type, the element count and where the block's parts end, so
/// that destroying an array never depends on the fields that its users can see. The elements are aligned
/// for every type. Strings in the array belong to it; they are made and freed with the exported
/// string functions, like every other BSTR of the process.
///
/// Thread safety: none of its own, except that the lock count is atomic, so that threads may access
/// one array for reading at the same time.
class CArrayBlock
{
public:
    struct Destroy
    {
        void operator()(CArrayBlock* pBlock) const noexcept;
    };
    using Pointer = std::unique_ptr<CArrayBlock, Destroy>;

    /// @param bounds first dimension first
    /// @return a block whose elements are zero; null when there is no such array or memory is out
    static Pointer Create(VARTYPE vt, std::span<const SAFEARRAYBOUND> bounds) noexcept;

    /// @param psa an array of a block; not null
    static CArrayBlock* Of(SAFEARRAY* psa) noexcept;

    /// @return an unlocked copy with copies of the strings; null when memory is out
    Pointer Copy() const noexcept;

    /// @param pIndices one index per dimension, first dimension first
    /// @return the element; null when an index is outside its bounds
    std::byte* FindElement(const int* pIndices) noexcept;

    /// @return false when the count is at its maximum already
    bool Lock() noexcept;
    /// @return false when the array is not locked
    bool Unlock() noexcept;
    bool IsLocked() noexcept;

    SAFEARRAY* GetArray() noexcept { return &m_array; }
    VARTYPE GetVartype() const noexcept { return m_vt; }

private:
    CArrayBlock(VARTYPE vt, std::size_t uDimensions, std::uint32_t uElements) noexcept;

    static std::size_t DataOffset(std::size_t uDimensions) noexcept;
    bool MoveLockCount(unsigned int uEnd, unsigned int uStep) noexcept;
    std::byte* Data() const noexcept;
    std::span<BSTR> Strings() const noexcept; ///< empty for other element types

    const std::uint32_t m_uElements;
    const std::uint32_t m_uDataOffset;
    const std::uint32_t m_uBytes; ///< of the whole block
    const VARTYPE m_vt;
    SAFEARRAY m_array; ///< last, because its bounds go on behind it
};

/// Copies a string with its NULs.
/// @param bstrCopy receives the new string, or null for a null string; untouched on failure
/// @return false when memory is out
bool DuplicateString(BSTR bstr, BSTR& bstrCopy) noexcept;

} // namespace Host::Com
