// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/FrameworkSupport.h"
#include "support/Child.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <vector>

// Present under sanitizers, which turn mlock into nothing.
extern "C" {
__attribute__((weak)) void __asan_init();
__attribute__((weak)) void __tsan_init();
}

namespace
{

using namespace OV::Framework;

// Not the bytes as such, lest a search of the memory finds this text.
constexpr std::string_view KeyHex = "d1a7c35e88f04b926ce51f7a3390bd04";

/// The key's copies in the writable memory that has a flag ("VmFlags" of proc(5)).
int CountKeyCopies(const char* pszFlag)
{
    constexpr std::uintptr_t MaxBytes = 1024UL * 1024UL; // sanitizers have large mappings of this kind
    const SecureBytes key = FromHex(KeyHex);
    int nCopies = 0;
    std::uintptr_t uStart = 0;
    std::uintptr_t uEnd = 0;
    std::ifstream maps("/proc/self/smaps");
    std::ifstream memory("/proc/self/mem", std::ios::binary);
    for (std::string sLine; std::getline(maps, sLine);) {
        const auto hasFlag = [&](const char* pszWanted) { return sLine.find(pszWanted) != std::string::npos; };
        std::uintptr_t uFirst = 0;
        std::uintptr_t uLast = 0;
        if (std::sscanf(sLine.c_str(), "%lx-%lx ", &uFirst, &uLast) == 2) {
            uStart = uFirst;
            uEnd = uLast;
        } else if (sLine.starts_with("VmFlags:") && hasFlag(pszFlag) && hasFlag(" wr ") && uEnd - uStart <= MaxBytes) {
            SecureBytes content(uEnd - uStart); // read by the kernel: sanitizers refuse to look into mappings of their own
            memory.seekg(static_cast<std::streamoff>(uStart));
            memory.read(reinterpret_cast<char*>(content.data()), std::ssize(content));
            auto found = content.begin();
            while ((found = std::search(found, content.end(), key.begin(), key.end())) != content.end()) {
                ++found;
                ++nCopies;
            }
        }
    }
    return nCopies;
}

TEST(KeyMemoryTest, KeyBytes_AreLockedAndLeftOutOfDumpsAndGoneWithTheKey)
{
    rlimit limit{};
    getrlimit(RLIMIT_MEMLOCK, &limit);
    const bool bCanLock = limit.rlim_cur >= 65536 && __asan_init == nullptr && __tsan_init == nullptr;
    std::vector<std::unique_ptr<IKey>> keys;
    for (int nKey = 0; nKey < 400; ++nKey) {
        keys.push_back(MakeKey(KeyHex));
    }
    const auto isLockedAndNotDumped = [&] { return CountKeyCopies(" dd ") == 400 && CountKeyCopies(" lo ") == (bCanLock ? 400 : 0); };
    EXPECT_TRUE(isLockedAndNotDumped());
    EXPECT_EQ(RunInChild([&] { return isLockedAndNotDumped() ? 0 : 1; }), 0);
    keys.resize(200);
    EXPECT_EQ(CountKeyCopies(" dd "), 200);
    keys.clear();
    EXPECT_EQ(CountKeyCopies(" dd "), 0);
}

} // namespace
