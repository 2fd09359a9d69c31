// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "registry/Environment.h"

#include "registry/DatabaseFiles.h"
#include "registry/FileDescriptor.h"
#include "registry/Location.h"
#include "registry/MetaCheck.h"
#include "registry/PageCheck.h"
#include "registry/StorageError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Registry
{

namespace
{

constexpr unsigned MaxReaders = 4096; // slots of 64 bytes in the lock file, shared by all processes
constexpr unsigned MaxCheckAttempts = 10;

bool IsDenied(int nCode)
{
    return nCode == EACCES || nCode == EPERM;
}

bool MayWrite(const std::filesystem::path& path)
{
    return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

} // namespace

CEnvironment::CEnvironment(const std::filesystem::path& folder, CEnvPtr pEnv)
    : m_Folder(folder), m_pEnv(std::move(pEnv)), m_bRegistersReaders(!HasFlag(MDB_NOLOCK))
{}

std::unique_ptr<CEnvironment> CEnvironment::Open(const std::filesystem::path& folder)
{
    // LMDB maps the file and believes what it says, so it must not see a file that was not looked at.
    {
        const CFileDescriptor file(open((folder / DataFileName).c_str(), O_RDONLY | O_CLOEXEC));
        if (!file.IsOpen() && errno != ENOENT) {
            throw CStorageError(errno);
        }
        if (!file.IsOpen() || !HoldsDatabase(file.Get())) {
            return nullptr;
        }
        ReadMetas(file.Get());
    }

    CEnvPtr pEnv;
    int nCode = TryOpen(folder, IsSyncRelaxed() ? MDB_NOSYNC : 0, pEnv);
    if (IsDenied(nCode)) {
        nCode = TryOpen(folder, MDB_RDONLY, pEnv);
    }
    if (IsDenied(nCode) || nCode == EROFS) {
        nCode = TryOpen(folder, MDB_RDONLY | MDB_NOLOCK, pEnv);
    }
    Require(nCode);

    std::unique_ptr<CEnvironment> pEnvironment(new CEnvironment(folder, std::move(pEnv)));
    fcntl(pEnvironment->File(), F_SETFD, FD_CLOEXEC); // the one descriptor that LMDB leaves inheritable
    pEnvironment->m_nDeadReaders = pEnvironment->ClearDeadReaders();
    pEnvironment->Check();
    return pEnvironment;
}

int CEnvironment::TryOpen(const std::filesystem::path& folder, unsigned uFlags, CEnvPtr& pEnv)
{
    MDB_env* pNew = nullptr;
    Require(mdb_env_create(&pNew));
    pEnv.reset(pNew);
    Require(mdb_env_set_maxreaders(pNew, MaxReaders));
    Require(mdb_env_set_mapsize(pNew, InitialMapSize));
    // Transactions belong to readers of this process, not to threads, which come and go.
    return mdb_env_open(pNew, folder.c_str(), uFlags | MDB_NOTLS, FileMode);
}

bool CEnvironment::HasFlag(unsigned uFlag) const
{
    unsigned uFlags = 0;
    mdb_env_get_flags(m_pEnv.get(), &uFlags);
    return (uFlags & uFlag) != 0;
}

int CEnvironment::File() const
{
    int nFile = -1;
    mdb_env_get_fd(m_pEnv.get(), &nFile);
    return nFile;
}

SPageCounts CEnvironment::Check()
{
    CStorageError fault(EAGAIN, "other processes write too fast to check the database");
    for (unsigned uAttempt = 0; uAttempt < MaxCheckAttempts; ++uAttempt) {
        if (const std::optional<SPageCounts> counts = CheckState(fault)) {
            return *counts;
        }
    }
    throw fault;
}

std::optional<SPageCounts> CEnvironment::CheckState(CStorageError& fault)
{
    CTxnPtr pState;
    const int nCode = BeginTxn(m_pEnv.get(), MDB_RDONLY, pState);
    if (nCode == MDB_MAP_RESIZED) {
        AdoptSize();
        return std::nullopt;
    }
    Require(nCode);
    OpenTable(*pState);
    // Until this transaction ends no page of the state that it sees is used again.
    const std::uint64_t uId = mdb_txn_id(pState.get());

    const SMetaPair pair = ReadMetas(File());
    const SMeta* pMeta = std::ranges::find(pair.aMetas, uId, &SMeta::uTransactionId);
    if (pMeta == std::end(pair.aMetas)) {
        return std::nullopt; // two commits later its meta page is overwritten, its pages are not
    }
    try {
        const SPageCounts counts = CPageCheck(File(), *pMeta).Run();
        return IsIntact(uId) ? std::optional(counts) : std::nullopt;
    } catch (const CStorageError& error) {
        // A fault counts when nobody has committed: the meta page may have been read half written.
        if (ReadMetas(File()) == pair) {
            throw;
        }
        fault = error;
        return std::nullopt;
    }
}

bool CEnvironment::IsIntact(std::uint64_t uTransactionId) const
{
    if (m_bRegistersReaders) {
        return true;
    }
    MDB_envinfo info = {};
    Require(mdb_env_info(m_pEnv.get(), &info));
    return info.me_last_txnid <= uTransactionId + 1;
}

void CEnvironment::Grow()
{
    MDB_envinfo info = {};
    Require(mdb_env_info(m_pEnv.get(), &info));
    Require(mdb_env_set_mapsize(m_pEnv.get(), 2 * info.me_mapsize));
}

void CEnvironment::AdoptSize()
{
    Require(mdb_env_set_mapsize(m_pEnv.get(), 0));
}

int CEnvironment::ClearDeadReaders() const
{
    int nDead = 0;
    Require(mdb_reader_check(m_pEnv.get(), &nDead));
    return nDead;
}

bool CEnvironment::IsWritableByNow() const
{
    const std::filesystem::path lockFile = m_Folder / LockFileName;
    return HasFlag(MDB_RDONLY) && MayWrite(m_Folder / DataFileName) &&
           (MayWrite(lockFile) || (access(lockFile.c_str(), F_OK) != 0 && MayWrite(m_Folder)));
}

bool CEnvironment::IsDiskFull() const
{
    // With the writer's lock, so that nobody else appends there. What lies past the last page means nothing.
    static constexpr std::array<char, std::size_t{64}* 1024> Zeros = {};
    CTxnPtr pLock;
    struct stat status = {};
    rlimit limit = {};
    if (BeginTxn(m_pEnv.get(), 0, pLock) != 0 || fstat(File(), &status) != 0 || getrlimit(RLIMIT_FSIZE, &limit) != 0) {
        return false;
    }
    if (static_cast<rlim_t>(status.st_size) + Zeros.size() > limit.rlim_cur) {
        return true; // trying would raise a signal
    }
    const ssize_t nWritten = pwrite(File(), Zeros.data(), Zeros.size(), status.st_size);
    if (nWritten < 0) {
        return errno == ENOSPC || errno == EDQUOT;
    }
    return ftruncate(File(), status.st_size) == 0 && static_cast<std::size_t>(nWritten) < Zeros.size();
}

} // namespace Registry
