// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <new>
#include <string>
#include <vector>

namespace OV::Framework
{

/// Overwrites memory with zeros in a way that the compiler may not leave out, even when the memory
/// is freed right afterwards.
/// @param pMemory first byte; may be null when uBytes is 0
/// @param uBytes number of bytes
inline void WipeMemory(void* pMemory, std::size_t uBytes) noexcept
{
    if (uBytes != 0) {
        __builtin_memset(pMemory, 0, uBytes);
        __asm__ __volatile__("" : : "r"(pMemory) : "memory"); // the zeros count as read
    }
}

/// A stateless standard allocator that wipes every block before it returns it to the heap.
///
/// Containers of this allocator leave no copy of their content behind when they grow, shrink or go.
/// It does not wipe what a container keeps inside itself: a short basic_string lives in the string
/// object. Clear values therefore travel in SecureBytes.
///
/// Thread safety: no state, any thread.
template <class T> class secallocator
{
public:
    using value_type = T; ///< as a standard allocator has it

    secallocator() noexcept = default;
    /// All of them are equal.
    template <class U> secallocator(const secallocator<U>&) noexcept {}

    /// Memory for uCount objects from the global operator new. Throws std::bad_alloc, and
    /// std::bad_array_new_length when the byte count does not fit in a std::size_t.
    T* allocate(std::size_t uCount)
    {
        if (uCount > static_cast<std::size_t>(-1) / sizeof(T)) {
            throw std::bad_array_new_length();
        }
        return static_cast<T*>(::operator new(uCount * sizeof(T)));
    }

    /// Wipes and frees memory that allocate(uCount) returned.
    void deallocate(T* pMemory, std::size_t uCount) noexcept
    {
        WipeMemory(pMemory, uCount * sizeof(T));
        ::operator delete(pMemory);
    }

    /// They have no state in which they could differ.
    friend bool operator==(const secallocator&, const secallocator&) noexcept { return true; }
    /// Never true.
    friend bool operator!=(const secallocator&, const secallocator&) noexcept { return false; }
};

/// Identifiers, paths and textual values inside the library.
using SecureString = std::basic_string<char, std::char_traits<char>, secallocator<char>>;

/// Key bytes and clear values.
using SecureBytes = std::vector<unsigned char, secallocator<unsigned char>>;

} // namespace OV::Framework
