// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "registry/PageCheck.h"
#include "registry/StorageError.h"
#include "registry/Transaction.h"

#include <cstdint>
#include <filesystem>
#include <lmdb.h>
#include <memory>
#include <optional>

namespace Registry
{

/// An open LMDB environment, known to be sound. At most one per process and folder: a second one
/// would break the file locks of the first. LMDB tells the readers of different processes apart by
/// process id, so the processes that share a registry also share a PID namespace.
///
/// There are three ways to open it, and the best one that permissions allow is taken: for reading and
/// writing; for reading, registered as a reader; for reading without the lock file (see IsIntact).
///
/// Thread safety: Grow, AdoptSize, Check and the destructor need that no transaction is active in this
/// process; the other functions may run at any time.
class CEnvironment
{
public:
    /// Null when the folder holds no registry yet. Throws CStorageError for one that can't be opened,
    /// is foreign or is damaged; no file has been changed then.
    static std::unique_ptr<CEnvironment> Open(const std::filesystem::path& folder);

    MDB_env* Get() const { return m_pEnv.get(); }

    /// Checks every page and record of the current state; opening it did. Throws CStorageError.
    SPageCounts Check();

    /// Makes room in the map, which was too small for a transaction. After an exception the
    /// environment has no map and can only be destroyed.
    void Grow();
    /// Adopts the map size to which another process grew the database. As Grow.
    void AdoptSize();
    /// Frees the reader slots of processes that died, and returns how many there were.
    int ClearDeadReaders() const;
    /// How many of them opening found.
    int DeadReadersFound() const { return m_nDeadReaders; }
    /// True when it is open for reading only, though permissions meanwhile allow to write.
    bool IsWritableByNow() const;
    /// Tells a full disk from a broken one after a write failed: LMDB reports a write that was cut
    /// short as EIO. Call without a write transaction.
    bool IsDiskFull() const;
    /// False when the pages that a read transaction saw may have been written meanwhile, which happens
    /// to an unregistered reader only. The pages that commit n frees are used again by commit n + 2 at
    /// the earliest, so a state is intact until the second commit after it. The check comes after the
    /// fact: LMDB could stumble in a reader that is held up for two commits in the middle of a read.
    /// That takes a reader who may open the data file but not the lock file (a read-only mount, say)
    /// while somebody else may write both.
    bool IsIntact(std::uint64_t uTransactionId) const;
    bool HasFlag(unsigned uFlag) const; ///< one of mdb_env_open

private:
    CEnvironment(const std::filesystem::path& folder, CEnvPtr pEnv);
    static int TryOpen(const std::filesystem::path& folder, unsigned uFlags, CEnvPtr& pEnv);
    int File() const;
    /// Checks the current state. Nothing when it went away meanwhile, with the fault that it may have had.
    std::optional<SPageCounts> CheckState(CStorageError& fault);

    const std::filesystem::path m_Folder;
    const CEnvPtr m_pEnv;
    const bool m_bRegistersReaders;
    int m_nDeadReaders = 0;
};

} // namespace Registry
