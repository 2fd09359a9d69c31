// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Tool.h"

#include <sys/stat.h>
#include <tuple>

namespace
{

using ToolKeyFileTest = CToolTest;

TEST_F(ToolKeyFileTest, Create_MakesAPrivateRandomFileThatIsNeverReplacedOrShown)
{
    const std::string sFile = Path("new/folder/key");
    const mode_t nOldMask = umask(0077);
    std::string sShown = Succeed({"keyfile", "create", "--file", sFile});
    sShown += Succeed({"keyfile", "check", "--file", sFile});
    umask(nOldMask);
    const std::string sKey = Content(sFile);
    EXPECT_EQ(sKey.size(), 16U);
    EXPECT_EQ(sShown.find(sKey), std::string::npos);
    for (const auto& [sName, nMode] : {std::pair("new", 0755), {"new/folder", 0755}, {"new/folder/key", 0600}}) {
        EXPECT_EQ(std::filesystem::status(Path(sName)).permissions(), std::filesystem::perms(nMode)) << sName;
    }
    EXPECT_EQ(Run({"keyfile", "create", "--file", sFile}).nExitCode, Exists);
    EXPECT_EQ(Content(sFile), sKey);
    Succeed({"keyfile", "create", "--file", sFile + "2"});
    EXPECT_NE(Content(sFile + "2"), sKey);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Path("new/folder")), {}), 2) << "temporary files are left";
}

TEST_F(ToolKeyFileTest, Create_WhereItCannotWrite_FailsAndLeavesNothing)
{
    Write(Path("file"), "");
    std::filesystem::create_symlink(Path("target"), Path("link"));
    for (const auto& [sFile, nExitCode] : {std::pair(Path("file/key"), Io), {Path("link"), Exists}}) {
        EXPECT_EQ(Run({"keyfile", "create", "--file", sFile}).nExitCode, nExitCode) << sFile;
    }
    EXPECT_FALSE(std::filesystem::exists(Path("target")));
}

TEST_F(ToolKeyFileTest, Check_UnusableFile_SaysWhatIsWrong)
{
    Write(Path("short"), std::string(15, 'k'));
    const std::tuple<std::string, int, std::string> rows[] = {
        {"none", NotFound, ": there is no key file; 'sharedstore keyfile create' makes one\n"},
        {"short", Usage, ": has 15 bytes, and a key has 16\n"},
        {"", Usage, ": not a regular file\n"},
        {"short/key", Io, ": Not a directory\n"},
    };
    for (const auto& [sName, nExitCode, sExpected] : rows) {
        const Outcome outcome = Run({"keyfile", "check", "--file", Path(sName)});
        EXPECT_EQ(outcome.nExitCode, nExitCode) << sName;
        EXPECT_EQ(outcome.sError, "sharedstore: keyfile check: " + Path(sName) + sExpected);
    }
}

TEST_F(ToolKeyFileTest, Check_FileThatOthersMayReadOrReplace_Warns)
{
    Succeed({"keyfile", "create", "--file", Path("open/key")});
    std::filesystem::permissions(Path("open/key"), std::filesystem::perms(0640));
    std::filesystem::permissions(Path("open"), std::filesystem::perms(0775));
    std::filesystem::create_symlink(Path("open/key"), Path("link"));
    const nlohmann::json json = SucceedWithJson({"keyfile", "check", "--file", Path("link"), "--json"});
    EXPECT_EQ(json["mode"], "0640");
    EXPECT_EQ(json["warnings"], (nlohmann::json{"its mode lets its group or others read or write it",
                                                "the folder " + Path("open") + " can be written by others, who can replace the key"}));
}

} // namespace
