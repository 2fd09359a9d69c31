// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/KeyFile.h"

#include "support/Failure.h"
#include "support/File.h"
#include "support/Text.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <grp.h>
#include <pwd.h>
#include <set>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tool
{

namespace
{

constexpr mode_t FolderMode = 0755;
constexpr mode_t PermissionBits = 07777;
constexpr mode_t ForOthers = S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
constexpr uid_t UnmappedOwner = 65534; ///< what a user namespace shows for owners outside of it

/// The mode of a new folder does not depend on the umask: every user of the key must get through.
void MakeFolders(const std::filesystem::path& folder)
{
    std::filesystem::path made;
    for (const std::filesystem::path& name : folder) {
        made /= name;
        const bool bMade = mkdir(made.c_str(), FolderMode) == 0;
        if ((!bMade && errno != EEXIST) || (bMade && chmod(made.c_str(), FolderMode) != 0)) {
            throw SystemFailure(Display(made.string()));
        }
    }
}

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

std::vector<std::string> Warnings(const std::string& sPath, const struct stat& status)
{
    std::vector<std::string> warnings;
    if ((status.st_mode & ForOthers) != 0) {
        warnings.push_back("its mode lets its group or others read or write it");
    }
    if (IsForeign(status.st_uid)) {
        warnings.push_back("its owner " + Display(NameOfUser(status.st_uid)) + " is neither root nor this user");
    }
    for (const std::filesystem::path& folder : FoldersAbove(sPath)) {
        struct stat above;
        if (stat(folder.c_str(), &above) != 0) {
            continue;
        }
        // Where the sticky bit is set, what lies there can be renamed and removed by its owner alone.
        const bool bWritable = (above.st_mode & (S_IWGRP | S_IWOTH)) != 0 && (above.st_mode & S_ISVTX) == 0;
        if (bWritable || IsForeign(above.st_uid)) {
            warnings.push_back("the folder " + Display(folder.string()) + " can be written by others, who can replace the key");
        }
    }
    return warnings;
}

} // namespace

void CreateKeyFile(const std::string& sPath)
{
    Bytes key(KeySize);
    if (getentropy(key.data(), key.size()) != 0) {
        throw SystemFailure("random bytes");
    }
    MakeFolders(std::filesystem::path(sPath).parent_path());
    try {
        WriteFile(sPath, View(key), false);
    } catch (const CFailure& failure) {
        if (failure.Code() != ExitCode::Exists) {
            throw;
        }
        throw CFailure(ExitCode::Exists,
                       Display(sPath) + ": there is such a file already, and it is never replaced: what was encrypted with a key can't be "
                                        "read without it");
    }
}

KeyFile CheckKeyFile(const std::string& sPath)
{
    const std::string sName = Display(sPath);
    struct stat status;
    if (stat(sPath.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) { // opening a pipe would wait for its writer
        throw CFailure(ExitCode::Usage, sName + ": not a regular file");
    }
    const FilePtr file(std::fopen(sPath.c_str(), "rbe"));
    if (file == nullptr && errno == ENOENT) {
        throw CFailure(ExitCode::NotFound, sName + ": there is no key file; 'sharedstore keyfile create' makes one");
    }
    if (file == nullptr || fstat(fileno(file.get()), &status) != 0) {
        throw SystemFailure(sName);
    }
    const auto uSize = static_cast<std::uintmax_t>(status.st_size);
    if (uSize < KeySize) {
        throw CFailure(ExitCode::Usage, sName + ": has " + std::to_string(uSize) + " bytes, and a key has " + std::to_string(KeySize));
    }
    std::array<char, 8> szMode;
    (void)std::snprintf(szMode.data(), szMode.size(), "%04o", static_cast<unsigned int>(status.st_mode & PermissionBits));
    return {sPath, uSize, szMode.data(), NameOfUser(status.st_uid), NameOfGroup(status.st_gid), Warnings(sPath, status)};
}

} // namespace Tool
