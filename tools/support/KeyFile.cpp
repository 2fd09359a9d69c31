// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/KeyFile.h"

#include "support/Access.h"
#include "support/Failure.h"
#include "support/File.h"
#include "support/Text.h"

#include <cerrno>
#include <filesystem>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tool
{

namespace
{

constexpr mode_t FolderMode = 0755;

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
    return {sPath, uSize, AccessOf(status), AccessWarnings(sPath, status, "the key")};
}

} // namespace Tool
