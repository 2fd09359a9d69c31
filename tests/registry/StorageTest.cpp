// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Where the database lies, and what happens when permissions are in the way.

#include "registry/RegistrySupport.h"

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

TEST(StorageTest, MissingRegistry_IsMadeByTheFirstWriteAndPrivate)
{
    const path folder = NewFolder("private") / "parent" / "registry";
    InChild(folder, [&] {
        umask(0);
        unsigned long ulCount = 1;
        EXPECT_EQ(ReadValue("a", "v"), NotFound);
        EXPECT_EQ(ovRegListKeys(Hive, "", nullptr, &ulCount), ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(ovRegDeleteSubKey(Hive, "a", 0, false), ERROR_FILE_NOT_FOUND);
        EXPECT_FALSE(std::filesystem::exists(folder.parent_path()));
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
    for (const auto& [stateHome, expected] : {std::pair{home / "state", home / "state"}, {"not/absolute", home / ".local/state"}}) {
        setenv("XDG_STATE_HOME", stateHome.c_str(), 1);
        InChild("", [&] {
            BecomeNobody();
            setenv("HOME", home.c_str(), 1);
            EXPECT_EQ(SetValue("a", "v", "1"), ERROR_SUCCESS);
        });
        EXPECT_TRUE(std::filesystem::exists(expected / "sharedstore/registry" / DataFile)) << expected;
    }
}

TEST(StorageTest, Folder_ThatIsRelativeOrBelowAFile_IsRefused)
{
    for (const path& folder : {path("relative/registry"), path("/dev/null/registry"), path("/dev/null")}) {
        InChild(folder, [&] {
            EXPECT_EQ(ReadValue("a", "v").first, ERROR_DIRECTORY) << folder;
            EXPECT_EQ(SetValue("a", "v", "1"), ERROR_DIRECTORY) << folder;
            EXPECT_EQ(ReadValue("a\\\\b", "v").first, ERROR_INVALID_PARAMETER) << "found before the database is opened";
        });
    }
}

TEST(StorageTest, UnwritableRegistry_IsReadAndWrittenOnceItMayBe)
{
    const path folder = MakeRegistryOfNobody("unwritable");
    InChild(folder, [&] {
        BecomeNobody();
        const auto setMode = [&](mode_t uFolder, mode_t uFile) {
            EXPECT_EQ(chmod(folder.c_str(), uFolder), 0);
            EXPECT_EQ(chmod((folder / DataFile).c_str(), uFile), 0);
            EXPECT_EQ(chmod((folder / LockFile).c_str(), uFile), 0);
        };
        setMode(0500, 0);
        EXPECT_EQ(RunInChild([] { return static_cast<int>(ReadValue("kept", "v").first); }), ERROR_ACCESS_DENIED);
        setMode(0500, 0400);
        EXPECT_EQ(ReadValue("kept", "v"), Found("old"));
        EXPECT_EQ(SetValue("kept", "v", "new"), ERROR_ACCESS_DENIED);
        EXPECT_EQ(ovRegDeleteKey(Hive, "kept", true, 0), ERROR_ACCESS_DENIED);
        setMode(0700, 0600);
        EXPECT_EQ(RunInChild([] { return SetValue("kept", "v", "new") == ERROR_SUCCESS ? 0 : 1; }), 0);
        EXPECT_EQ(ReadValue("kept", "v"), Found("new")) << "a reader sees what others write";
        EXPECT_EQ(SetValue("kept", "v", "newer"), ERROR_SUCCESS);
    });
}

} // namespace
