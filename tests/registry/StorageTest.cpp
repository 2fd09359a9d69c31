// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Where the database lies, and what happens when the disk or the permissions are in the way.

#include "registry/RegistrySupport.h"

#include <csignal>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace
{

using std::filesystem::path;

constexpr uid_t Nobody = 65534;

mode_t ModeOf(const path& file)
{
    struct stat status = {};
    return stat(file.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

/// Permissions do not bind root.
void BecomeNobody()
{
    if (geteuid() == 0) {
        ASSERT_EQ(setresgid(Nobody, Nobody, Nobody), 0);
        ASSERT_EQ(setresuid(Nobody, Nobody, Nobody), 0);
    }
}

void ExpectReadOnly(const char* pszValue)
{
    EXPECT_EQ(ReadValue("kept", "v"), Found(pszValue));
    EXPECT_EQ(SetValue("kept", "v", "new"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(CreateKey("new"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(ovRegDeleteKey(Hive, "kept", true, 0), ERROR_ACCESS_DENIED);
    EXPECT_EQ(ReadValue("kept", "v"), Found(pszValue));
}

/// Makes a registry with a value in a folder that belongs to nobody.
path MakeRegistryOfNobody(const std::string& sName)
{
    const path folder = NewFolder(sName);
    InChild(folder, [] { ASSERT_EQ(SetValue("kept", "v", "old"), ERROR_SUCCESS); });
    std::filesystem::permissions(folder.parent_path(), std::filesystem::perms::all);
    if (geteuid() == 0) {
        for (const path& entry : {folder, folder / DataFile, folder / LockFile}) {
            EXPECT_EQ(chown(entry.c_str(), Nobody, Nobody), 0);
        }
    }
    return folder;
}

/// Runs checks on a small file system of their own, which holds the registry; false when that is not permitted.
template <class TChecks> bool InSmallFileSystem(const path& folder, TChecks checks)
{
    constexpr int NotPermitted = 77;
    std::filesystem::create_directories(folder);
    const int nResult = RunInChild([&] {
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=2m") != 0) {
            return NotPermitted;
        }
        setenv("SHAREDSTORE_REGISTRY", (folder / "registry").c_str(), 1);
        checks();
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_TRUE(nResult == 0 || nResult == NotPermitted) << nResult;
    return nResult != NotPermitted;
}

TEST(StorageTest, Read_OfAMissingRegistry_MakesNothing)
{
    const path folder = NewFolder("missing");
    InChild(folder, [] {
        unsigned long ulCount = 1;
        EXPECT_EQ(ReadValue("a", "v"), NotFound);
        EXPECT_EQ(ovRegListKeys(Hive, "", nullptr, &ulCount), ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(ovRegListKeys(Hive, "a\\\\b", nullptr, &ulCount), ERROR_INVALID_PARAMETER);
        EXPECT_EQ(ovRegDeleteValue(Hive, "a", "v", 0), ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(ovRegDeleteSubKey(Hive, "a", 0, false), ERROR_FILE_NOT_FOUND);
    });
    EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST(StorageTest, FirstWrite_MakesAPrivateFolderAndPrivateFiles)
{
    const path folder = NewFolder("private") / "parent" / "registry";
    InChild(folder, [&] {
        umask(0);
        EXPECT_EQ(ReadValue("a", "v"), NotFound) << "a registry that appears later is found later";
        EXPECT_EQ(SetValue("a", "v", "1"), ERROR_SUCCESS);
        EXPECT_EQ(ReadValue("a", "v"), Found("1"));
    });
    EXPECT_EQ(ModeOf(folder.parent_path()), 0700U);
    EXPECT_EQ(ModeOf(folder), 0700U);
    EXPECT_EQ(ModeOf(folder / DataFile), 0600U);
    EXPECT_EQ(ModeOf(folder / LockFile), 0600U);
}

TEST(StorageTest, Location_OfAnOrdinaryUser_FollowsStateHomeThenHome)
{
    const path home = NewFolder("home");
    std::filesystem::create_directory(home);
    std::filesystem::permissions(home, std::filesystem::perms::all);
    std::filesystem::permissions(home.parent_path(), std::filesystem::perms::all);
    struct SPlace
    {
        std::string sStateHome;
        path expected;
    };
    for (const SPlace& place : {SPlace{home / "state", home / "state"}, {"not/absolute", home / ".local/state"}}) {
        InChild("", [&] {
            BecomeNobody();
            setenv("XDG_STATE_HOME", place.sStateHome.c_str(), 1);
            setenv("HOME", home.c_str(), 1);
            EXPECT_EQ(SetValue("a", "v", "1"), ERROR_SUCCESS);
        });
        EXPECT_TRUE(std::filesystem::exists(place.expected / "sharedstore/registry" / DataFile)) << place.sStateHome;
    }
}

TEST(StorageTest, FileSizeLimit_IsADiskThatIsFull)
{
    InChild(NewFolder("limit"), [] {
        ASSERT_EQ(SetValue("kept", "v", "old"), ERROR_SUCCESS);
        signal(SIGXFSZ, SIG_IGN);
        rlimit limit = {};
        ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
        for (const rlim_t uLimit : {100 * 1000UL, 200 * 1000UL, 512 * 1024UL}) {
            const rlimit small = {uLimit, limit.rlim_max};
            ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
            EXPECT_EQ(SetValue("kept", "v", std::string(1000 * 1000, 'x')), ERROR_DISK_FULL) << uLimit;
            EXPECT_EQ(ReadValue("kept", "v"), Found("old"));
        }
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
        EXPECT_EQ(SetValue("kept", "v", std::string(1000 * 1000, 'x')), ERROR_SUCCESS);
    });
}

TEST(StorageTest, FullDisk_KeepsTheOldValueAndWorksOnWhenThereIsRoom)
{
    const path folder = NewFolder("full");
    const bool bPermitted = InSmallFileSystem(folder, [] {
        ASSERT_EQ(SetValue("kept", "v", "old"), ERROR_SUCCESS);
        EXPECT_EQ(SetValue("kept", "v", std::string(4 * 1000 * 1000, 'x')), ERROR_DISK_FULL);
        EXPECT_EQ(ReadValue("kept", "v"), Found("old"));
        for (int nValue = 0; SetValue("many", std::to_string(nValue), std::string(10000, 'x')) == ERROR_SUCCESS; ++nValue) {
            ASSERT_LT(nValue, 1000);
        }
        EXPECT_EQ(SetValue("many", "one more", std::string(10000, 'x')), ERROR_DISK_FULL);
        EXPECT_EQ(ReadValue("many", "0"), Found(std::string(10000, 'x')));
        ASSERT_EQ(mount("tmpfs", std::filesystem::path(std::getenv("SHAREDSTORE_REGISTRY")).parent_path().c_str(), nullptr, MS_REMOUNT,
                        "size=16m"),
                  0);
        EXPECT_EQ(SetValue("many", "one more", std::string(10000, 'x')), ERROR_SUCCESS);
    });
    if (!bPermitted) {
        GTEST_SKIP() << "mounting is not permitted";
    }
}

TEST(StorageTest, ReadOnlyFileSystem_IsReadAndNotWritten)
{
    const path folder = NewFolder("rofs");
    const bool bPermitted = InSmallFileSystem(folder, [&] {
        EXPECT_EQ(RunInChild([] { return SetValue("kept", "v", "old") == ERROR_SUCCESS ? 0 : 1; }), 0);
        ASSERT_EQ(mount(nullptr, folder.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
        ExpectReadOnly("old");
    });
    if (!bPermitted) {
        GTEST_SKIP() << "mounting is not permitted";
    }
}

TEST(StorageTest, UnwritableFiles_AreReadAndWrittenOnceTheyMayBe)
{
    const path folder = MakeRegistryOfNobody("unwritable");
    InChild(folder, [&] {
        BecomeNobody();
        const auto setMode = [&](mode_t uFolder, mode_t uFile) {
            EXPECT_EQ(chmod(folder.c_str(), uFolder), 0);
            EXPECT_EQ(chmod((folder / DataFile).c_str(), uFile), 0);
            EXPECT_EQ(chmod((folder / LockFile).c_str(), uFile), 0);
        };
        setMode(0500, 0400);
        ExpectReadOnly("old");
        setMode(0700, 0600);
        EXPECT_EQ(SetValue("kept", "v", "new"), ERROR_SUCCESS);
        EXPECT_EQ(ReadValue("kept", "v"), Found("new"));
    });
}

TEST(StorageTest, ReaderWithoutWriteAccess_SeesWhatOthersWrite)
{
    for (const mode_t uLockMode : {0600U, 0400U}) { // registered as a reader, and not
        const path folder = MakeRegistryOfNobody("reader" + std::to_string(uLockMode));
        EXPECT_EQ(chmod((folder / DataFile).c_str(), 0400), 0);
        EXPECT_EQ(chmod((folder / LockFile).c_str(), uLockMode), 0);
        InChild(folder, [&] {
            BecomeNobody();
            ExpectReadOnly("old");
            EXPECT_EQ(chmod((folder / DataFile).c_str(), 0600), 0);
            EXPECT_EQ(chmod((folder / LockFile).c_str(), 0600), 0);
            for (int nRound = 0; nRound < 10; ++nRound) {
                const std::string sValue = std::to_string(nRound);
                EXPECT_EQ(RunInChild([&] { return SetValue("kept", "v", sValue) == ERROR_SUCCESS ? 0 : 1; }), 0);
                EXPECT_EQ(ReadValue("kept", "v"), Found(sValue));
            }
        });
    }
}

TEST(StorageTest, UnreadableOrUnmakeableRegistry_IsDenied)
{
    const path folder = MakeRegistryOfNobody("unreadable");
    EXPECT_EQ(chmod((folder / DataFile).c_str(), 0), 0);
    InChild(folder, [] {
        BecomeNobody();
        EXPECT_EQ(ReadValue("kept", "v").first, ERROR_ACCESS_DENIED);
        EXPECT_EQ(SetValue("kept", "v", "new"), ERROR_ACCESS_DENIED);
    });
    EXPECT_EQ(chmod(folder.c_str(), 0500), 0);
    InChild(folder / "below", [] {
        BecomeNobody();
        EXPECT_EQ(ReadValue("kept", "v"), NotFound);
        EXPECT_EQ(SetValue("kept", "v", "new"), ERROR_ACCESS_DENIED);
    });
}

} // namespace
