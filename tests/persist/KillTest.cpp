// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Encrypted registry stores whose writers die, share a compartment, or can't write.

#include "store/Fakes.h"
#include "store/Store.h"
#include "support/Child.h"
#include "support/KeyFile.h"

#include <csignal>
#include <fcntl.h>
#include <random>

/// The thread sanitizer does not see how a forked child makes the stores' lock anew, and would take the child
/// for a thread that the lock is held from. Data races are still reported.
extern "C" SHAREDSTORE_API const char* __tsan_default_options()
{
    return "report_mutex_bugs=0";
}

namespace
{

constexpr unsigned int Items = 8; ///< written in turn

// clang-format off
std::string Item(unsigned int uWrite) { return std::to_string(uWrite % Items); }
std::string Value(unsigned int uWrite) { return std::to_string(uWrite) + std::string(300, 'v'); }
CTestStore Open(const char* pszStore) { return CTestStore(pszStore, 1, "Product", OV::DataStore::RegistryStore, 1); }
// clang-format on

/// Writes until it is killed, and reports each write that has returned.
int Write(unsigned int uWrite, int nPipe)
{
    CTestStore store = Open("Killed");
    while (store.Set("a/b", Item(uWrite), Value(uWrite)) == S_OK && write(nPipe, &uWrite, sizeof(uWrite)) > 0) {
        ++uWrite;
    }
    return 1;
}

/// The last write of each item must be there; only the one that nobody has acknowledged may have replaced its item's.
int Check(unsigned int uLast)
{
    CTestStore store = Open("Killed");
    for (unsigned int uWrite = uLast < Items ? 1 : uLast - Items + 1; uWrite <= uLast; ++uWrite) {
        const std::string sValue = store.Get("a/b", Item(uWrite));
        EXPECT_TRUE(sValue == Value(uWrite) || (uWrite + Items == uLast + 1 && sValue == Value(uLast + 1))) << uWrite << " " << sValue;
    }
    return testing::Test::HasFailure() ? 1 : 0;
}

} // namespace

TEST(KillTest, KilledWriter_LeavesAStoreThatOpensAndHoldsWhatWasAcknowledged)
{
    const CKeyFile keyFile;
    const unsigned int uSeed = std::random_device()();
    std::printf("seed = %u\n", uSeed);
    std::mt19937 random(uSeed);
    unsigned int uLast = 0;
    for (int nKill = 0; nKill < 200 && !HasFailure(); ++nKill) {
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        const pid_t nChild = StartChild([&] { return Write(uLast + 1, ends[1]); });
        close(ends[1]);
        for (auto uReports = random() % 3; uReports > 0; --uReports) {
            EXPECT_GT(read(ends[0], &uLast, sizeof(uLast)), 0);
        }
        usleep(static_cast<useconds_t>(random() % 5000));
        kill(nChild, SIGKILL);
        while (read(ends[0], &uLast, sizeof(uLast)) > 0) {
        }
        close(ends[0]);
        EXPECT_EQ(WaitForChild(nChild), -SIGKILL);
        EXPECT_EQ(RunInChild([&] { return Check(uLast); }), 0);
    }
    EXPECT_GT(uLast, 100U);
}

TEST(KillTest, TwoWritersOfOneCompartment_LoseNothing)
{
    const CKeyFile keyFile;
    const auto write = [](const char* pszWriter) {
        CTestStore store = Open("Two");
        for (unsigned int u = 0; u < Items; ++u) {
            EXPECT_EQ(store.Set("a/b", pszWriter + Item(u), pszWriter + Value(u)), S_OK);
        }
        return store;
    };
    const pid_t nChild = StartChild([&] { return write("child"), testing::Test::HasFailure() ? 1 : 0; });
    CTestStore store = write("parent");
    EXPECT_EQ(WaitForChild(nChild), 0);
    for (unsigned int u = 0; u < Items; ++u) {
        EXPECT_EQ(store.Get("a/b", "child" + Item(u)) + store.Get("a/b", "parent" + Item(u)), "child" + Value(u) + "parent" + Value(u));
    }
}

TEST(KillTest, FullDisk_LeavesTheOldValueAndAServingStore)
{
    const CKeyFile keyFile;
    CTestStore store = Open("Full");
    EXPECT_EQ(store.Set("a", "d", "old"), S_OK);
    const CFault fault("pvRegSetValueEx");
    EXPECT_EQ(store.Set("a", "d", "lost"), E_FAIL);
    EXPECT_EQ(store.Get("a", "d"), "old");
    EXPECT_EQ(store.Set("a", "d", "new"), S_OK);
}
