// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// This program is linked to none of the libraries: it loads and unloads them.

#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <filesystem>
#include <iterator>
#include <malloc.h>
#include <string>
#include <utility>
#include <vector>

namespace
{

auto CountThreadsAndFiles()
{
    using Entries = std::filesystem::directory_iterator;
    return std::pair(std::distance(Entries("/proc/self/task"), {}), std::distance(Entries("/proc/self/fd"), {}));
}

auto& g_leftTimers = *new std::vector<void*>; // they can't be deleted once their code is gone

void LoadUseAndUnload(bool bLeaveTimer)
{
    void* pModule = dlopen(STORE_PROBE, RTLD_NOW);
    ASSERT_NE(pModule, nullptr) << dlerror();
    EXPECT_EQ(reinterpret_cast<int (*)()>(dlsym(pModule, "UseStore"))(), 0);
    if (bLeaveTimer) {
        g_leftTimers.push_back(reinterpret_cast<void* (*)()>(dlsym(pModule, "LeaveTimer"))());
    }
    EXPECT_EQ(dlclose(pModule), 0);
    for (const char* pszLibrary : {"libSharedStore.so.1", "libSharedStoreHost.so.1"}) {
        EXPECT_EQ(dlopen(pszLibrary, RTLD_NOW | RTLD_NOLOAD), nullptr) << pszLibrary;
    }
}

} // namespace

TEST(LoadTest, LoadingAgainAndAgain_ServesEachTimeAndLeavesNothing)
{
    setenv("SHAREDSTORE_LOG", (std::string(std::getenv("SHAREDSTORE_TEST_FOLDER")) + "/log").c_str(), 1);
    setenv("SHAREDSTORE_REGISTRY_SYNC", "relaxed", 1);
    for (int i = 0; i < 10; ++i) {
        LoadUseAndUnload(true);
    }
    const auto before = CountThreadsAndFiles();
    const std::size_t uHeap = mallinfo2().uordblks;
    for (int i = 0; i < (UnderSanitizer ? 50 : 1000) && !HasFailure(); ++i) {
        LoadUseAndUnload(false);
    }
    EXPECT_EQ(CountThreadsAndFiles(), before);
    EXPECT_LE(mallinfo2().uordblks, uHeap + 20000) << "20 bytes for each round";
}
