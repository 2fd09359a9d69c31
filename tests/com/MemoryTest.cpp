// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// What the emulation leaves in freed memory, and what it does when memory is out. The allocation
// functions of this program are its own: they count, look and fail while Watch runs an action.

#include "com/Owners.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <malloc.h>

namespace
{

constexpr std::string_view Secret("\0correct horse", 14); // a wipe ends neither at a NUL nor before the last byte

struct Heap
{
    bool bWatched = false;
    std::size_t uFailAt = SIZE_MAX; ///< the allocation that fails, counted from 0
    std::size_t uAllocations = 0;
    std::size_t uFrees = 0;
    std::size_t uClearFrees = 0; ///< blocks that were freed with the end of the secret in them
} g_heap;

bool MayAllocate()
{
    return !g_heap.bWatched || g_heap.uAllocations++ != g_heap.uFailAt;
}

template <class Action> Heap Watch(Action action, std::size_t uFailAt = SIZE_MAX)
{
    g_heap = {true, uFailAt};
    action();
    g_heap.bWatched = false;
    return g_heap;
}

ArrayPointer MakeSecretStrings()
{
    ArrayPointer pArray(SafeArrayCreateVector(VT_BSTR, 0, 2));
    static_cast<BSTR*>(pArray->pvData)[0] = MakeString(Secret).release();
    static_cast<BSTR*>(pArray->pvData)[1] = MakeString(Secret).release();
    return pArray;
}

} // namespace

extern "C" {

void* __libc_malloc(std::size_t uSize);
void* __libc_calloc(std::size_t uCount, std::size_t uSize);
void __libc_free(void* pMemory);

SHAREDSTORE_API void* malloc(std::size_t uSize) noexcept
{
    return MayAllocate() ? __libc_malloc(uSize) : nullptr;
}

SHAREDSTORE_API void* calloc(std::size_t uCount, std::size_t uSize) noexcept
{
    return MayAllocate() ? __libc_calloc(uCount, uSize) : nullptr;
}

SHAREDSTORE_API void free(void* pMemory) noexcept
{
    if (g_heap.bWatched && pMemory != nullptr) {
        const std::string_view sBlock(static_cast<char*>(pMemory), malloc_usable_size(pMemory));
        g_heap.uClearFrees += sBlock.find(Secret.substr(8)) != std::string_view::npos ? 1 : 0;
        ++g_heap.uFrees;
    }
    __libc_free(pMemory);
}

} // extern "C"

TEST(MemoryTest, FreedMemory_HoldsNoClearBytes)
{
    void* pClear = std::malloc(100);
    std::memcpy(pClear, Secret.data(), Secret.size());
    ASSERT_EQ(Watch([&] { std::free(pClear); }).uClearFrees, 1U); // the watch sees what is not wiped

    SAFEARRAY* psaStrings = MakeSecretStrings().release();
    SAFEARRAY* psaBytes = SafeArrayCreateVector(VT_UI1, 0, Secret.size());
    std::memcpy(psaBytes->pvData, Secret.data(), Secret.size());
    int nIndex = 0;
    const Heap heap = Watch([&] {
        SafeArrayPutElement(psaStrings, &nIndex, nullptr);
        ovSafeArrayDestroy(psaStrings, 0);
        ovSafeArrayDestroy(psaBytes, 0);
    });
    EXPECT_EQ(heap.uFrees, 4U);
    EXPECT_EQ(heap.uClearFrees, 0U);
}

TEST(MemoryTest, FailedAllocation_IsOutOfMemoryAndLeavesEverythingAsItWas)
{
    const ArrayPointer pArray = MakeSecretStrings();
    for (const std::size_t uFailAt : {0U, 1U, 2U}) { // the copy of the array, and of each string
        SAFEARRAY* psaCopy = pArray.get();
        const Heap heap = Watch([&] { EXPECT_EQ(SafeArrayCopy(pArray.get(), &psaCopy), E_OUTOFMEMORY); }, uFailAt);
        EXPECT_EQ(psaCopy, nullptr);
        EXPECT_EQ(heap.uFrees, uFailAt);
        EXPECT_EQ(heap.uClearFrees, 0U);
    }
    int nIndex = 0;
    const StringPointer pNew = MakeString("new");
    Watch([&] { EXPECT_EQ(SafeArrayPutElement(pArray.get(), &nIndex, pNew.get()), E_OUTOFMEMORY); }, 0);
    EXPECT_EQ(TextOf(StringAt(pArray, 0)), Secret);
    Watch([] { EXPECT_EQ(SysAllocString("text"), nullptr); }, 0);
    Watch([] { EXPECT_EQ(SafeArrayCreateVector(VT_UI1, 0, 100), nullptr); }, 0);
}
