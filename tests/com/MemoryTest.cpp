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

constexpr std::string_view Secret("\0correct horse", 14); // a wipe must not end at a NUL
constexpr std::string_view SecretTail = Secret.substr(8); // nor before the last byte

struct Heap
{
    bool bWatched = false;
    std::size_t uFailAt = SIZE_MAX; ///< the allocation that fails, counted from 0
    std::size_t uAllocations = 0;   ///< the failed one included
    std::size_t uFrees = 0;
    std::size_t uClearFrees = 0; ///< blocks that were freed with the end of the secret in them
};
Heap g_heap;

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

/// Runs an action that ends with uKept more blocks when it succeeds: first with its first allocation
/// failing, then with its second, until it gets through.
/// @return how many allocations could fail
template <class Action> std::size_t FailEachAllocation(Action action, std::size_t uKept)
{
    for (std::size_t uFailAt = 0;; ++uFailAt) {
        HRESULT hr = E_FAIL;
        const Heap heap = Watch([&] { hr = action(); }, uFailAt);
        const bool bFailed = heap.uAllocations > uFailAt;
        EXPECT_EQ(hr, bFailed ? E_OUTOFMEMORY : S_OK) << uFailAt;
        EXPECT_EQ(heap.uAllocations - heap.uFrees, bFailed ? 1 : uKept) << uFailAt;
        EXPECT_EQ(heap.uClearFrees, 0U) << uFailAt;
        if (!bFailed) {
            return uFailAt;
        }
    }
}

ArrayPointer MakeSecretStrings()
{
    ArrayPointer pArray(SafeArrayCreateVector(VT_BSTR, 0, 3));
    for (int nIndex : {0, 2}) {
        EXPECT_EQ(SafeArrayPutElement(pArray.get(), &nIndex, MakeString(Secret).get()), S_OK);
    }
    return pArray;
}

} // namespace

extern "C" {

void* __libc_malloc(std::size_t uSize);
void* __libc_calloc(std::size_t uCount, std::size_t uSize);
void __libc_free(void* pMemory);

SHAREDSTORE_API void* malloc(std::size_t uSize) noexcept
{
    void* pMemory = MayAllocate() ? __libc_malloc(uSize) : nullptr;
    return pMemory == nullptr ? nullptr : std::memset(pMemory, 0xAA, uSize); // new memory is never zero by chance
}

SHAREDSTORE_API void* calloc(std::size_t uCount, std::size_t uSize) noexcept
{
    return MayAllocate() ? __libc_calloc(uCount, uSize) : nullptr;
}

SHAREDSTORE_API void free(void* pMemory) noexcept
{
    if (g_heap.bWatched && pMemory != nullptr) {
        const std::string_view sBlock(static_cast<char*>(pMemory), malloc_usable_size(pMemory));
        g_heap.uClearFrees += sBlock.find(SecretTail) != std::string_view::npos ? 1 : 0;
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

    const ArrayPointer pReplaced = MakeSecretStrings();
    SAFEARRAY* psaStrings = MakeSecretStrings().release();
    SAFEARRAY* psaBytes = SafeArrayCreateVector(VT_UI1, 0, 500);
    std::memcpy(static_cast<char*>(psaBytes->pvData) + 500 - Secret.size(), Secret.data(), Secret.size());
    BSTR bstrOne = MakeString(Secret).release();
    BSTR bstrOther = MakeString(Secret).release();
    int nIndex = 0;
    const Heap heap = Watch([&] {
        SafeArrayPutElement(pReplaced.get(), &nIndex, nullptr);
        ovSafeArrayDestroy(psaStrings, 0);
        ovSafeArrayDestroy(psaBytes, 0);
        SysFreeString(bstrOne);
        ovSysFreeString(bstrOther, 0);
    });
    EXPECT_EQ(heap.uFrees, 7U);
    EXPECT_EQ(heap.uClearFrees, 0U);
}

TEST(MemoryTest, FailedAllocation_IsOutOfMemoryAndLeavesEverythingAsItWas)
{
    const ArrayPointer pArray = MakeSecretStrings();
    SAFEARRAY* psaCopy = nullptr;
    EXPECT_EQ(FailEachAllocation([&] { return SafeArrayCopy(pArray.get(), &psaCopy); }, 3), 3U);
    EXPECT_EQ(TextOf(StringAt(ArrayPointer(psaCopy), 2)), Secret);

    const StringPointer pNew = MakeString("new");
    int nIndex = 0;
    BSTR bstr = pNew.get();
    const auto get = [&] {
        EXPECT_EQ(bstr, pNew.get());
        return SafeArrayGetElement(pArray.get(), &nIndex, &bstr);
    };
    EXPECT_EQ(FailEachAllocation(get, 1), 1U);
    EXPECT_EQ(TextOf(StringPointer(bstr).get()), Secret);

    const auto put = [&] {
        EXPECT_EQ(TextOf(StringAt(pArray, 0)), Secret);
        return SafeArrayPutElement(pArray.get(), &nIndex, pNew.get());
    };
    EXPECT_EQ(FailEachAllocation(put, 0), 1U);
    EXPECT_EQ(TextOf(StringAt(pArray, 0)), "new");

    Watch([] { EXPECT_EQ(SafeArrayCreateVector(VT_UI1, 0, 100), nullptr); }, 0);
    Watch([] { EXPECT_EQ(SysAllocString("text"), nullptr); }, 0);
}
