// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// No clear copy of a PIN lies anywhere in the process's memory but where a caller keeps one.

#include "Auth.h"
#include "client/StaticAuthCacheClient.h"
#include "framework/TimerSupport.h"

#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/mman.h>
#include <sys/random.h>

/// The PIN, and behind it a copy of what is searched. The search looks at private memory; this is shared.
constexpr std::size_t PINSize = 24, SharedSize = 1UL << 28;
static char* const g_pShared =
    static_cast<char*>(mmap(nullptr, SharedSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));

/// Counts the PIN's copies in private writable memory.
static int CountCopies()
{
    int nCopies = 0;
    const int nMemory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    std::ifstream maps("/proc/self/maps");
    for (std::string sLine; std::getline(maps, sLine);) {
        unsigned long uFirst = 0, uLast = 0;
        std::sscanf(sLine.c_str(), "%lx-%lx rw-p", &uFirst, &uLast);
        char* p = g_pShared + PINSize;
        const std::size_t uSize = sLine.find(" rw-p ") == std::string::npos ? 0 : std::min(uLast - uFirst, SharedSize - PINSize);
        const char* const pEnd = p + std::max(pread(nMemory, p, uSize, static_cast<off_t>(uFirst)), ssize_t{0});
        while ((p = static_cast<char*>(memmem(p, static_cast<std::size_t>(pEnd - p), g_pShared, PINSize))) != nullptr) {
            ++p, ++nCopies;
        }
    }
    close(nMemory);
    return nCopies;
}

TEST(SecretTest, CachedPIN_IsClearOnlyWhereACallerHoldsIt)
{
    ASSERT_EQ(getrandom(g_pShared, PINSize, 0), ssize_t{PINSize});
    OV::AuthStore::CStaticAuthCacheClient client;
    const CText a("a");
    for (const char cEnd : {'r', 'f', 'e'}) {
        const auto pPolicy = cEnd == 'e' ? std::make_unique<SPolicy>("Timeout", 0U) : nullptr;
        EXPECT_EQ(client.SetPIN(a, a, Bytes({g_pShared, PINSize}).get(), nullptr, 0, nullptr), S_OK);
        EXPECT_EQ(CountCopies(), 0);
        SAFEARRAY* psa = nullptr;
        EXPECT_EQ(client.GetPIN(a, a, nullptr, 0, &psa, nullptr), S_OK);
        EXPECT_EQ(CountCopies(), 1);
        ovSafeArrayDestroy(psa, 0);
        EXPECT_EQ(CountCopies(), 0);
        cEnd == 'r' ? client.RemovePIN(a, a, nullptr, 0) : cEnd == 'f' ? client.FlushStore(nullptr, 0) : (AdvanceClock(5), sleep(2), S_OK);
        EXPECT_EQ(CountCopies(), 0) << cEnd;
    }
}
