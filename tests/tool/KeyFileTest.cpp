// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Tool.h"

#include <sys/stat.h>

namespace
{

using ToolKeyFileTest = CToolTest;

TEST_F(ToolKeyFileTest, Create_MakesAPrivateRandomFileThatIsNeverReplacedOrShown)
{
    const std::string sFile = "new/folder/key";
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
    std::filesystem::create_symlink("target", Path("link"));
    EXPECT_EQ(Run({"keyfile", "create", "--file", "link"}).nExitCode, Exists);
    EXPECT_FALSE(std::filesystem::exists(Path("target")));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Path("new/folder")), {}), 2) << "temporary files are left";
}

TEST_F(ToolKeyFileTest, Check_FileThatOthersMayReadOrReplace_Warns)
{
    Succeed({"keyfile", "create", "--file", "open/key"});
    std::filesystem::permissions(Path("open/key"), std::filesystem::perms(0640));
    std::filesystem::permissions(Path("open"), std::filesystem::perms(0775));
    std::filesystem::create_symlink("open/key", Path("link"));
    const nlohmann::json json = SucceedWithJson({"keyfile", "check", "--file", "link", "--json"});
    EXPECT_EQ(json["mode"], "0640");
    EXPECT_EQ(json["warnings"],
              (nlohmann::json{"its mode lets its group or others read or write it",
                              "the folder " + Path("open").string() + " can be written by others, who can replace the key"}));
}

} // namespace
