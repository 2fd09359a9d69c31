// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "registry/Environment.h"
#include "registry/KeyCache.h"
#include "registry/StorageError.h"
#include "registry/Transaction.h"

#include <array>
#include <functional>
#include <memory>
#include <mutex>

namespace Registry
{

enum class EWhenMissing { Create, Nothing };

/// The registry database of this process: opens it when it is first needed, runs transactions on it,
/// and cures what gets in their way (a map that is too small, dead readers, a failed environment).
///
/// A child that was forked has a database object of its own, and opens the file anew: LMDB's locks
/// and reader slots belong to the process that opened it. What the child inherited is abandoned, not
/// closed, since other threads of the parent may have been in the middle of changing it; descriptors
/// and memory of it stay until the child ends or becomes another program.
///
/// Thread safety: all public functions. Locks, in the order in which they are taken:
/// - m_Writer: one write transaction at a time in this process, so that waiting writers keep no
///   reader from its turn.
/// - the mutexes of m_aReaders, in order of index. A transaction holds one of them, whichever is
///   free. Holding all of them means that no transaction is active: opening, resizing and closing
///   the environment need that.
class CDatabase
{
public:
    /// The object of this process.
    static CDatabase& Instance();

    /// Runs act(const CTransaction&) on the current state and returns its result. A registry that
    /// does not exist is an empty one. It may run several times. Throws CStorageError.
    template <class TAct> long Read(TAct act) { return RunRead(std::ref(act)); }

    /// Runs act(CTransaction&) and commits what it did when it returns 0, nothing otherwise. It may
    /// run several times. With EWhenMissing::Nothing a registry that does not exist is an empty one,
    /// in which act finds nothing to write to. Throws CStorageError; nothing was written then.
    template <class TAct> long Write(EWhenMissing eWhenMissing, TAct act) { return RunWrite(eWhenMissing, std::ref(act)); }

    /// Runs act(CEnvironment&) while no transaction of this process is active. Returns false when there is
    /// no registry. Throws CStorageError.
    template <class TAct> bool Inspect(TAct act) { return RunInspect(std::ref(act)); }

    /// Logs a failure, only the first of its kind until the database is opened or written to again, and
    /// returns its registry code.
    static long Report(const CStorageError& error) noexcept;

private:
    /// Slot of a transaction of this process, with a read transaction that is renewed for every use.
    /// On a cache line of its own: readers on different slots share no memory that is written.
    struct alignas(64) SReader
    {
        std::mutex mutex;
        CTxnPtr pTxn; // reset between uses; null before the first
        CKeyCache cache;
    };
    using Readers = std::array<SReader, 16>;
    struct SClaim
    {
        SReader& reader;
        std::unique_lock<std::mutex> lock;
    };
    class CExclusive;
    friend class CInstance;

    using ReadAct = std::function<long(const CTransaction&)>;
    using WriteAct = std::function<long(CTransaction&)>;

    using InspectAct = std::function<void(CEnvironment&)>;

    CDatabase() = default;
    long RunRead(const ReadAct& act);
    long RunWrite(EWhenMissing eWhenMissing, const WriteAct& act);
    bool RunInspect(const InspectAct& act);
    int TryRead(SReader& reader, const ReadAct& act, long& nResult);
    int TryWrite(const WriteAct& act, long& nResult);
    /// Calls attempt(reader) until it returns 0. Returns false when there is no registry.
    template <class TAttempt> bool Repeat(EWhenMissing eWhenMissing, TAttempt attempt);
    SClaim Claim();
    bool Open(EWhenMissing eWhenMissing);
    /// Does away with what made an attempt fail, or throws it.
    void Cure(int nError, unsigned uAttempt);
    void Close();

    std::mutex m_Writer;
    std::unique_ptr<CEnvironment> m_pEnvironment; // changed only with all readers' mutexes held
    Readers m_aReaders;                           // destroyed before the environment
    CDatabase* m_pInherited = nullptr;            // what was abandoned at a fork, kept reachable for leak checkers
};

} // namespace Registry
