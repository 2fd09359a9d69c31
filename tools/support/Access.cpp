// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/Access.h"

#include "support/Text.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <grp.h>
#include <pwd.h>
#include <set>
#include <unistd.h>

namespace Tool
{

namespace
{

constexpr mode_t ForGroup = S_IRGRP | S_IWGRP;
constexpr mode_t ForAll = S_IROTH | S_IWOTH;
constexpr uid_t UnmappedOwner = 65534; ///< what a user namespace shows for owners outside of it

std::string NameOfUser(uid_t nUser)
{
    const passwd* pEntry = getpwuid(nUser);
    return pEntry == nullptr ? std::to_string(nUser) : pEntry->pw_name;
}

std::string NameOfGroup(gid_t nGroup)
{
    const group* pEntry = getgrgid(nGroup);
    return pEntry == nullptr ? std::to_string(nGroup) : pEntry->gr_name;
}

bool IsForeign(uid_t nOwner)
{
    return nOwner != 0 && nOwner != geteuid() && nOwner != UnmappedOwner;
}

/// The folders above a file: those that its path names and those that symbolic links lead to.
std::set<std::filesystem::path> FoldersAbove(const std::string& sPath)
{
    std::set<std::filesystem::path> folders;
    std::error_code ignored;
    for (std::filesystem::path path : {std::filesystem::absolute(sPath), std::filesystem::canonical(sPath, ignored)}) {
        while (path.has_relative_path()) {
            path = path.parent_path();
            folders.insert(path);
        }
    }
    return folders;
}

} // namespace

FileAccess AccessOf(const struct stat& status)
{
    constexpr mode_t PermissionBits = 07777;
    std::array<char, 8> szMode;
    (void)std::snprintf(szMode.data(), szMode.size(), "%04o", static_cast<unsigned int>(status.st_mode & PermissionBits));
    return {szMode.data(), NameOfUser(status.st_uid), NameOfGroup(status.st_gid)};
}

std::vector<AccessWarning> AccessWarnings(const std::string& sPath, const struct stat& status, const std::string& sWhat)
{
    std::vector<AccessWarning> warnings;
    if ((status.st_mode & (ForGroup | ForAll)) != 0) {
        warnings.push_back({(status.st_mode & ForAll) != 0, "its mode lets its group or others read or write it"});
    }
    if (IsForeign(status.st_uid)) {
        warnings.push_back({true, "its owner " + Display(NameOfUser(status.st_uid)) + " is neither root nor this user"});
    }
    for (const std::filesystem::path& folder : FoldersAbove(sPath)) {
        struct stat above;
        if (stat(folder.c_str(), &above) != 0) {
            continue;
        }
        // Where the sticky bit is set, what lies there can be renamed and removed by its owner alone.
        const bool bWritable = (above.st_mode & (S_IWGRP | S_IWOTH)) != 0 && (above.st_mode & S_ISVTX) == 0;
        if (bWritable || IsForeign(above.st_uid)) {
            warnings.push_back({true, "the folder " + Display(folder.string()) + " can be written by others, who can replace " + sWhat});
        }
    }
    return warnings;
}

bool MayMake(const std::string& sPath)
{
    std::error_code ignored;
    std::filesystem::path folder = std::filesystem::absolute(sPath).parent_path();
    while (folder.has_relative_path() && !std::filesystem::exists(folder, ignored)) {
        folder = folder.parent_path();
    }
    return std::filesystem::is_directory(folder, ignored) && access(folder.c_str(), W_OK | X_OK) == 0;
}

} // namespace Tool
