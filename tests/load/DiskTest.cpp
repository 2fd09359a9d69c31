// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// A registry store on a disk that can't be written for some time.

#include "load/Load.h"

#include <fstream>
#include <sched.h>
#include <sys/mount.h>

namespace
{

using std::filesystem::path;

void SetWritable(const path& disk, bool bWritable)
{
    EXPECT_EQ(mount("tmpfs", disk.c_str(), nullptr, MS_REMOUNT | (bWritable ? 0 : MS_RDONLY), "size=2m"), 0);
}

/// What makes a disk unwritable, and what ends that.
struct SCondition
{
    const char* pszName;
    long nCode; ///< of the registry
    void (*Begin)(const path& disk);
    void (*End)(const path& disk);
};

constexpr SCondition Conditions[] = {
    {"full", ERROR_DISK_FULL,
     [](const path& disk) { EXPECT_FALSE(std::ofstream(disk / "filler") << std::string(4 << 20, 'f') << std::flush); },
     [](const path& disk) { std::filesystem::remove(disk / "filler"); }},
    {"read-only", ERROR_ACCESS_DENIED, [](const path& disk) { SetWritable(disk, false); },
     [](const path& disk) { SetWritable(disk, true); }},
};

constexpr int NotPermitted = 77;

/// In a child process.
int UseStoreOn(const path& disk, const SCondition& condition)
{
    if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=2m") != 0) {
        return NotPermitted;
    }
    const auto open = [] { return CTestStore("Disk", 1, "Product", OV::DataStore::RegistryStore); };
    const std::string sOld(50000, 'o'), sNew(100000, 'n');
    InChild(disk / "registry", [&] { EXPECT_EQ(open().Set("a/b", "d", sOld), S_OK); });
    condition.Begin(disk);
    UseRegistryIn(disk / "registry");
    CTestStore store = open();
    const SState before = store.State("a/b");
    for (int nTry = 0; nTry < 2; ++nTry) {
        EXPECT_EQ(store.Set("a/b", "d", sNew), E_FAIL);
        EXPECT_EQ(SetValue("key", "v", sNew), condition.nCode);
        EXPECT_EQ(store.Get("a/b", "d"), sOld);
        EXPECT_EQ(store.State("a/b"), before);
        EXPECT_EQ(store.Children("/"), Strings{"a"});
    }
    condition.End(disk);
    EXPECT_EQ(store.Set("a/b", "d", sNew), S_OK);
    EXPECT_EQ(store.Get("a/b", "d"), sNew);
    EXPECT_EQ(RunInChild([&] { return store.Get("a/b", "d") == sNew ? 0 : 1; }), 0);
    return testing::Test::HasFailure() ? 1 : 0;
}

} // namespace

TEST(DiskTest, UnwritableRegistry_IsReadAndIsWrittenAtOnceWhenItCanBe)
{
    for (const SCondition& condition : Conditions) {
        const path disk = NewFolder(condition.pszName);
        std::filesystem::create_directories(disk);
        const int nResult = RunInChild([&] { return UseStoreOn(disk, condition); });
        if (nResult == NotPermitted) {
            GTEST_SKIP() << "mounting is not permitted";
        }
        EXPECT_EQ(nResult, 0) << condition.pszName;
    }
}
