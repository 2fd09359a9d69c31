// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// This program is linked to none of the libraries: it loads and unloads them.

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <filesystem>
#include <iterator>
#include <utility>

namespace
{

auto CountThreadsAndFiles()
{
    using Entries = std::filesystem::directory_iterator;
    return std::pair(std::distance(Entries("/proc/self/task"), {}), std::distance(Entries("/proc/self/fd"), {}));
}

void LoadUseAndUnload()
{
    void* pModule = dlopen(STORE_PROBE, RTLD_NOW);
    ASSERT_NE(pModule, nullptr) << dlerror();
    EXPECT_EQ(reinterpret_cast<int (*)()>(dlsym(pModule, "UseStore"))(), 0);
    EXPECT_EQ(dlclose(pModule), 0);
    for (const char* pszLibrary : {"libSharedStore.so.1", "libSharedStoreHost.so.1"}) {
        EXPECT_EQ(dlopen(pszLibrary, RTLD_NOW | RTLD_NOLOAD), nullptr) << pszLibrary;
    }
}

} // namespace

TEST(LoadTest, LoadingAgainAndAgain_ServesEachTimeAndLeavesNothing)
{
    LoadUseAndUnload();
    const auto before = CountThreadsAndFiles();
    for (int i = 0; i < 50; ++i) {
        LoadUseAndUnload();
    }
    EXPECT_EQ(CountThreadsAndFiles(), before);
}
