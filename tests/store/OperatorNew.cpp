// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// In a file of its own: inlined, its malloc and free look like mismatches to the compiler.

#include "Fakes.h"

#include <cstdlib>
#include <new>

void* operator new(std::size_t uSize)
{
    void* pMemory = CFault::Fails("operator new") ? nullptr : std::malloc(uSize);
    return pMemory != nullptr ? pMemory : throw std::bad_alloc();
}

void operator delete(void* pMemory) noexcept
{
    std::free(pMemory);
}

void operator delete(void* pMemory, std::size_t) noexcept
{
    std::free(pMemory);
}
