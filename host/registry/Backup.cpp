// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "registry/DatabaseFiles.h"
#include "registry/FileDescriptor.h"
#include "registry/Inspection.h"
#include "registry/MetaCheck.h"
#include "registry/Operation.h"
#include "util/FreeName.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace Registry
{

namespace
{

constexpr const char* RegistryIsThere = "there is a registry already";

/// A new file beside the one that it is to become, which is gone again unless it became it.
class CNewFile
{
public:
    explicit CNewFile(const std::filesystem::path& finalPath)
        : m_FinalPath(finalPath), m_Path(finalPath.string() + ".backup"),
          m_File(open(m_Path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, FileMode))
    {
        if (!m_File.IsOpen()) {
            throw errno == EEXIST ? CStorageError(EEXIST, "another backup is being written there, or died: remove data.mdb.backup")
                                  : CStorageError(errno);
        }
    }
    CNewFile(const CNewFile&) = delete;
    CNewFile& operator=(const CNewFile&) = delete;
    ~CNewFile() { unlink(m_Path.c_str()); }

    int Get() const { return m_File.Get(); }

    void GiveName() const
    {
        if (fsync(Get()) != 0 || RenameToFreeName(m_Path.c_str(), m_FinalPath.c_str()) != 0) {
            throw CStorageError(errno, errno == EEXIST ? RegistryIsThere : nullptr);
        }
        SyncFolder(m_FinalPath.parent_path());
    }

private:
    const std::filesystem::path m_FinalPath;
    const std::filesystem::path m_Path;
    const CFileDescriptor m_File;
};

SPageCounts Copy(const CEnvironment& environment, const std::filesystem::path& folder)
{
    const std::filesystem::path finalPath = folder / DataFileName;
    struct stat status = {};
    if (lstat(finalPath.c_str(), &status) == 0) {
        throw CStorageError(EEXIST, RegistryIsThere);
    }
    MakeFolder(folder);
    const CNewFile file(finalPath);
    CTxnPtr pState;
    Require(BeginTxn(environment.Get(), MDB_RDONLY, pState));
    Require(mdb_env_copyfd2(environment.Get(), file.Get(), MDB_CP_COMPACT));
    if (!environment.IsIntact(mdb_txn_id(pState.get()))) {
        throw CStorageError(EAGAIN, "other processes wrote too fast for one that may not use the lock file");
    }
    const SPageCounts counts = CPageCheck(file.Get(), ReadMetas(file.Get()).Newest()).Run();
    file.GiveName();
    return counts;
}

} // namespace

long BackUpRegistry(const std::filesystem::path& folder, SPageCounts& counts, std::string& sReason) noexcept
{
    return Run(!folder.empty(), [&](CDatabase& database) {
        try {
            const bool bExists = database.Inspect([&](const CEnvironment& environment) { counts = Copy(environment, folder); });
            return bExists ? long{ERROR_SUCCESS} : long{ERROR_FILE_NOT_FOUND};
        } catch (const CStorageError& error) {
            sReason = error.Reason();
            if (error.Code() == EEXIST) {
                return ERROR_ALREADY_EXISTS;
            }
            throw;
        }
    });
}

} // namespace Registry
