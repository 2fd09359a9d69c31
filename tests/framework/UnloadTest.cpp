// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <string>
#include <vector>

namespace
{

auto& s_LeftTimers = *new std::vector<void*>; // they cannot be deleted once their code is gone

std::ptrdiff_t CountEntries(const char* pszFolder)
{
    return std::distance(std::filesystem::directory_iterator(pszFolder), std::filesystem::directory_iterator());
}

void LoadUseAndUnload()
{
    void* pProbe = dlopen(UNLOAD_PROBE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(pProbe, nullptr) << dlerror();
    const auto pUse = reinterpret_cast<void* (*)()>(dlsym(pProbe, "UseHostAndLeaveATimer"));
    s_LeftTimers.push_back(pUse());
    EXPECT_NE(s_LeftTimers.back(), nullptr);
    EXPECT_EQ(dlclose(pProbe), 0);
    EXPECT_EQ(dlopen(HOST_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "it is still loaded";
}

TEST(UnloadTest, HostLibrary_LeavesNoThreadAndNoDescriptor)
{
    setenv("SHAREDSTORE_LOG", (std::string(std::getenv("SHAREDSTORE_TEST_FOLDER")) + "/unload.log").c_str(), 1);
    LoadUseAndUnload(); // what the libraries below keep is open now
    const auto nThreads = CountEntries("/proc/self/task");
    const auto nDescriptors = CountEntries("/proc/self/fd");
    for (int nRound = 0; nRound < 20; ++nRound) {
        LoadUseAndUnload();
    }
    EXPECT_EQ(CountEntries("/proc/self/task"), nThreads);
    EXPECT_EQ(CountEntries("/proc/self/fd"), nDescriptors);
}

} // namespace
