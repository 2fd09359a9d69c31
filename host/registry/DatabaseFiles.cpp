// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "registry/DatabaseFiles.h"

#include "registry/FileDescriptor.h"
#include "registry/StorageError.h"
#include "registry/Transaction.h"

#include <cerrno>
#include <fcntl.h>
#include <lmdb.h>
#include <sys/stat.h>

namespace Registry
{

namespace
{

using std::filesystem::path;

/// Waits until no other process makes a database in the folder; the lock ends with the descriptor.
///
/// A lock of fcntl, because one of flock would live on in a child that is forked meanwhile. It is on a
/// byte of the lock file that LMDB does not use: LMDB locks byte 0 and those of process ids.
CFileDescriptor LockMaking(const path& folder)
{
    CFileDescriptor file(open((folder / LockFileName).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, FileMode));
    if (!file.IsOpen()) {
        throw CStorageError(errno);
    }
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = off_t(1) << 40;
    lock.l_len = 1;
    while (fcntl(file.Get(), F_SETLKW, &lock) != 0) {
        if (errno != EINTR) {
            throw CStorageError(errno);
        }
    }
    return file;
}

/// Writes a database that holds its header and nothing else.
void WriteEmptyDatabase(const path& file)
{
    MDB_env* pNew = nullptr;
    Require(mdb_env_create(&pNew));
    const CEnvPtr pEnv(pNew);
    Require(mdb_env_set_mapsize(pEnv.get(), InitialMapSize));
    Require(mdb_env_open(pEnv.get(), file.c_str(), MDB_NOSUBDIR | MDB_NOLOCK, FileMode));
    CTxnPtr pTxn;
    Require(BeginTxn(pEnv.get(), 0, pTxn));
    OpenTable(*pTxn);
    CTransaction(*pTxn).Initialize();
    Require(mdb_txn_commit(pTxn.release()));
}

} // namespace

void SyncFolder(const path& folder)
{
    if (const CFileDescriptor file(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)); file.IsOpen()) {
        fsync(file.Get());
    }
}

void MakeFolder(const path& folder)
{
    int nResult = mkdir(folder.c_str(), FolderMode);
    if (nResult != 0 && errno == ENOENT && folder.has_parent_path()) {
        MakeFolder(folder.parent_path());
        nResult = mkdir(folder.c_str(), FolderMode);
    }
    if (nResult == 0) {
        SyncFolder(folder.has_parent_path() ? folder.parent_path() : ".");
    } else if (errno != EEXIST) {
        throw CStorageError(errno);
    }
}

bool HoldsDatabase(int nFile)
{
    struct stat status = {};
    if (fstat(nFile, &status) != 0) {
        throw CStorageError(errno);
    }
    return status.st_size > 0;
}

void CreateDatabase(const path& folder)
{
    MakeFolder(folder);
    const CFileDescriptor lock = LockMaking(folder);
    const path dataFile = folder / DataFileName;
    const CFileDescriptor existing(open(dataFile.c_str(), O_RDONLY | O_CLOEXEC));
    if (!existing.IsOpen() ? errno != ENOENT : HoldsDatabase(existing.Get())) {
        return; // somebody else was faster, or opening it will tell what is wrong
    }
    const path newFile = folder / "data.mdb.new";
    unlink(newFile.c_str()); // of a maker that died
    WriteEmptyDatabase(newFile);
    if (rename(newFile.c_str(), dataFile.c_str()) != 0) {
        throw CStorageError(errno);
    }
    SyncFolder(folder);
}

} // namespace Registry
