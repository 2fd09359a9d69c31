// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Processes that die in the middle of the database's work, or at any time. Its functions are replaced: each can kill its process.

#include "load/Load.h"
#include "store/Fakes.h"
#include "support/Random.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <lmdb.h>
#include <poll.h>
#include <sys/uio.h>

namespace
{

// Fewer readers and a smaller map than a registry has else: both are used up again and again.
constexpr unsigned int ReaderSlots = 8;
constexpr std::size_t FirstMapSize = std::size_t{16} << 20, SmallMapSize = FirstMapSize / 64;

/// Calls the real function, unless this is the call in which the process dies.
template <class Result, class... Args> Result DieOr(const char* pszName, Result (*)(Args...), std::type_identity_t<Args>... args)
{
    if (CFault::Fails(pszName)) {
        raise(SIGKILL);
    }
    return reinterpret_cast<Result (*)(Args...)>(dlsym(RTLD_NEXT, pszName))(args...);
}

} // namespace

extern "C" {

SHAREDSTORE_API int mdb_env_set_maxreaders(MDB_env* pEnv, unsigned int uReaders)
{
    return DieOr("mdb_env_set_maxreaders", &mdb_env_set_maxreaders, pEnv, std::min(uReaders, ReaderSlots));
}

SHAREDSTORE_API int mdb_env_set_mapsize(MDB_env* pEnv, std::size_t uSize)
{
    return DieOr("mdb_env_set_mapsize", &mdb_env_set_mapsize, pEnv, uSize == FirstMapSize ? SmallMapSize : uSize);
}

SHAREDSTORE_API int mdb_get(MDB_txn* pTxn, MDB_dbi table, MDB_val* pKey, MDB_val* pData)
{
    return DieOr("mdb_get", &mdb_get, pTxn, table, pKey, pData);
}

SHAREDSTORE_API int mdb_put(MDB_txn* pTxn, MDB_dbi table, MDB_val* pKey, MDB_val* pData, unsigned int uFlags)
{
    return DieOr("mdb_put", &mdb_put, pTxn, table, pKey, pData, uFlags);
}

SHAREDSTORE_API ssize_t pwrite(int nFile, const void* pData, std::size_t uSize, off_t nOffset)
{
    return DieOr("pwrite", &pwrite, nFile, pData, uSize, nOffset);
}

} // extern "C"

namespace
{

CTestStore Open()
{
    return CTestStore("Crash", 1, "Product", OV::DataStore::RegistryStore);
}

std::string Value(unsigned int uWrite)
{
    return std::string(30000, static_cast<char>('a' + uWrite % 26)) + std::to_string(uWrite);
}

/// The call in which a process dies.
struct SDeath
{
    const char* pszFunction;
    int nCall; ///< 0: it is killed some time after a write
    unsigned int uTimes;
    bool bReads; ///< else it writes
};

constexpr SDeath Deaths[] = {
    {"mdb_put", 20, 3, false},              // with the writer's lock
    {"mdb_get", 30, 3, false},              // with a reader's slot or the writer's lock
    {"pwrite", 3, 3, false},                // before a page is written
    {"pwrite", 10, 3, false},               //
    {"mdb_env_set_mapsize", 1, 3, false},   // before the map is larger
    {"mdb_get", 20, ReaderSlots + 1, true}, // with a reader's slot
    {"nothing", 0, 100, false},
};

/// Uses a store until it dies, and reports each write that has returned.
int UseUntilDeath(CTestStore& store, const SDeath& death, unsigned int uLast, int nPipe)
{
    EXPECT_EQ(store.Get("a", std::to_string(uLast)), Value(uLast)); // the database is open
    const CFault fault(death.pszFunction, death.nCall);
    while (death.bReads && store.Get("a", std::to_string(uLast)) == Value(uLast)) {
    }
    while (store.Set("a", std::to_string(uLast + 1), Value(uLast + 1)) == S_OK) {
        ++uLast;
        EXPECT_GT(write(nPipe, &uLast, sizeof(uLast)), 0);
    }
    return 1;
}

/// Looks for all that was ever acknowledged.
int CountLost(unsigned int uLast)
{
    CTestStore store = Open();
    int nLost = 0;
    for (unsigned int u = 1; u <= uLast; ++u) {
        nLost += store.Get("a", std::to_string(u)) == Value(u) ? 0 : 1;
    }
    return nLost;
}

/// Lets a process die, and reads all the time what it has acknowledged.
void LetDie(const SDeath& death, CTestStore& store, unsigned int& uLast, CRandom& random)
{
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
    const pid_t nChild = StartChild([&] { return UseUntilDeath(store, death, uLast, ends[1]); });
    close(ends[1]);
    if (death.nCall == 0) {
        pollfd written{ends[0], POLLIN, 0};
        EXPECT_EQ(poll(&written, 1, -1), 1);
        std::this_thread::sleep_for(std::chrono::microseconds(random.Below(5000)));
        kill(nChild, SIGKILL);
    }
    for (ssize_t nRead = -1; nRead != 0;) {
        nRead = read(ends[0], &uLast, sizeof(uLast));
        for (const auto u : {uLast, 1 + random.Below(uLast)}) {
            EXPECT_TRUE(store.Get("a", std::to_string(u)) == Value(u)) << u << " of " << uLast;
        }
    }
    close(ends[0]);
    EXPECT_EQ(WaitForChild(nChild), -SIGKILL);
}

} // namespace

TEST(CrashTest, ProcessesThatDieAnywhere_BlockNobodyAndLoseNothing)
{
    const std::filesystem::path folder = NewFolder("crash");
    InChild(folder, [&] {
        CRandom random;
        CTestStore store = Open();
        unsigned int uLast = 1;
        EXPECT_EQ(store.Set("a", "1", Value(1)), S_OK);
        for (const SDeath& death : Deaths) {
            for (unsigned int uTime = 0; uTime < death.uTimes && !testing::Test::HasFailure(); ++uTime) {
                SCOPED_TRACE(death.pszFunction);
                LetDie(death, store, uLast, random);
                const std::string sLast = std::to_string(uLast);
                EXPECT_EQ(RunInChild([&] { return store.Set("b", "child", sLast) == S_OK ? 0 : 1; }), 0);
                EXPECT_EQ(store.Get("b", "child"), sLast);
                EXPECT_EQ(store.Set("b", "parent", sLast), S_OK);
            }
        }
        EXPECT_GT(uLast, 100U);
        EXPECT_EQ(RunInChild([&] { return CountLost(uLast); }), 0);
        EXPECT_GT(std::filesystem::file_size(folder / DataFile), 8 * SmallMapSize);
    });
}
