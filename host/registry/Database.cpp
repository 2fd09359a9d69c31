// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "registry/Database.h"

#include "platform/Log.h"
#include "platform/Registry.h"
#include "registry/DatabaseFiles.h"
#include "registry/Location.h"
#include "util/StandardDescriptors.h"

#include <atomic>
#include <cerrno>
#include <new>
#include <thread>

namespace Registry
{

namespace
{

/// More cures than a transaction can need: the map doubles with each.
constexpr unsigned MaxCures = 32;

// Results of an attempt that are no code of LMDB or errno.
constexpr int NotOpen = -1;
constexpr int StateLost = -2; // the pages that a reader saw may have been written under it

/// The kinds of failures that were logged since the database was opened or written to, a bit for each.
std::atomic<std::uint32_t> g_uReported = 0;

} // namespace

/// All readers' mutexes.
class CDatabase::CExclusive
{
public:
    explicit CExclusive(Readers& aReaders) : m_aReaders(aReaders)
    {
        for (SReader& reader : m_aReaders) {
            reader.mutex.lock();
        }
    }
    CExclusive(const CExclusive&) = delete;
    CExclusive& operator=(const CExclusive&) = delete;
    ~CExclusive()
    {
        for (SReader& reader : m_aReaders) {
            reader.mutex.unlock();
        }
    }

private:
    Readers& m_aReaders;
};

CDatabase::SClaim CDatabase::Claim()
{
    // A thread comes back to the reader that it had last time, unless another thread is in it.
    const std::size_t uHome = std::hash<std::thread::id>()(std::this_thread::get_id());
    for (std::size_t uStep = 0; uStep < m_aReaders.size(); ++uStep) {
        SReader& reader = m_aReaders[(uHome + uStep) % m_aReaders.size()];
        if (std::unique_lock lock(reader.mutex, std::try_to_lock); lock.owns_lock()) {
            return {reader, std::move(lock)};
        }
    }
    SReader& reader = m_aReaders[uHome % m_aReaders.size()];
    return {reader, std::unique_lock(reader.mutex)};
}

template <class TAttempt> bool CDatabase::Repeat(EWhenMissing eWhenMissing, TAttempt attempt)
{
    for (unsigned uAttempt = 0;; ++uAttempt) {
        int nError = NotOpen;
        if (const SClaim claim = Claim(); m_pEnvironment) {
            nError = attempt(claim.reader);
        }
        if (nError == MDB_SUCCESS) {
            return true;
        }
        if (nError != NotOpen) {
            Cure(nError, uAttempt);
        } else if (!Open(eWhenMissing)) {
            return false;
        }
    }
}

long CDatabase::RunRead(const ReadAct& act)
{
    long nResult = ERROR_SUCCESS;
    const auto attempt = [&](SReader& reader) { return TryRead(reader, act, nResult); };
    return Repeat(EWhenMissing::Nothing, attempt) ? nResult : act(CTransaction());
}

long CDatabase::RunWrite(EWhenMissing eWhenMissing, const WriteAct& act)
{
    const std::lock_guard writer(m_Writer);
    long nResult = ERROR_SUCCESS;
    const auto attempt = [&](SReader&) { return TryWrite(act, nResult); };
    CTransaction nothing;
    return Repeat(eWhenMissing, attempt) ? nResult : act(nothing);
}

bool CDatabase::RunInspect(const InspectAct& act)
{
    while (Open(EWhenMissing::Nothing)) {
        const CExclusive exclusive(m_aReaders);
        if (!m_pEnvironment) {
            continue; // another thread closed it
        }
        try {
            act(*m_pEnvironment);
            return true;
        } catch (const CStorageError&) {
            Close(); // it may have lost its map; no thread is in a transaction, and the next one opens it anew
            throw;
        }
    }
    return false;
}

int CDatabase::TryRead(SReader& reader, const ReadAct& act, long& nResult)
{
    const int nError = reader.pTxn ? mdb_txn_renew(reader.pTxn.get()) : BeginTxn(m_pEnvironment->Get(), MDB_RDONLY, reader.pTxn);
    if (nError != MDB_SUCCESS) {
        return nError;
    }
    struct SResetter
    {
        void operator()(MDB_txn* pTxn) const { mdb_txn_reset(pTxn); }
    };
    const std::unique_ptr<MDB_txn, SResetter> pReset(reader.pTxn.get());
    const CTransaction transaction(*reader.pTxn, &reader.cache);
    nResult = act(transaction);
    if (!m_pEnvironment->IsIntact(transaction.Id())) {
        reader.cache.Clear();
        return StateLost;
    }
    return MDB_SUCCESS;
}

int CDatabase::TryWrite(const WriteAct& act, long& nResult)
{
    CTxnPtr pTxn;
    int nError = BeginTxn(m_pEnvironment->Get(), 0, pTxn);
    if (nError != MDB_SUCCESS) {
        return nError;
    }
    try {
        CTransaction transaction(*pTxn);
        nResult = act(transaction);
        if (nResult == ERROR_SUCCESS) {
            nError = mdb_txn_commit(pTxn.release());
            if (nError == MDB_SUCCESS) {
                g_uReported = 0;
            }
        }
    } catch (const CStorageError& error) {
        nError = error.Code();
        pTxn.reset();
    }
    return nError == EIO && m_pEnvironment->IsDiskFull() ? ENOSPC : nError;
}

bool CDatabase::Open(EWhenMissing eWhenMissing)
{
    const std::filesystem::path folder = RegistryFolder();
    const CExclusive exclusive(m_aReaders);
    if (m_pEnvironment) {
        return true; // another thread was faster
    }
    if (folder.empty()) {
        if (eWhenMissing == EWhenMissing::Create) {
            throw CStorageError(EACCES, "the user has no home folder");
        }
        return false;
    }
    if (!folder.is_absolute()) {
        throw CStorageError(ENOTDIR, "the path of the registry's folder is not absolute");
    }
    const CStandardDescriptorsTaken taken;
    m_pEnvironment = CEnvironment::Open(folder);
    if (!m_pEnvironment && eWhenMissing == EWhenMissing::Create) {
        CreateDatabase(folder);
        m_pEnvironment = CEnvironment::Open(folder);
    }
    if (!m_pEnvironment) {
        return false;
    }
    g_uReported = 0;
    return true;
}

void CDatabase::Cure(int nError, unsigned uAttempt)
{
    if (uAttempt == MaxCures) {
        throw CStorageError(nError);
    }
    const CExclusive exclusive(m_aReaders);
    if (!m_pEnvironment) {
        return; // another thread closed it
    }
    try {
        switch (nError) {
        case MDB_MAP_FULL:
            m_pEnvironment->ClearDeadReaders(); // they keep pages from being used again
            m_pEnvironment->Grow();
            return;
        case MDB_MAP_RESIZED:
            m_pEnvironment->AdoptSize();
            return;
        case StateLost:
            return;
        case MDB_PANIC: // an earlier commit failed halfway: LMDB wants the environment opened anew
        case MDB_BAD_RSLOT:
            Close();
            return;
        default:
            break;
        }
    } catch (const CStorageError&) {
        Close(); // it may have lost its map
        throw;
    }
    if (nError == MDB_READERS_FULL && m_pEnvironment->ClearDeadReaders() > 0) {
        return;
    }
    if (nError == EACCES && m_pEnvironment->IsWritableByNow()) {
        Close();
        return;
    }
    throw CStorageError(nError);
}

void CDatabase::Close()
{
    for (SReader& reader : m_aReaders) {
        reader.pTxn.reset();
        reader.cache.Clear();
    }
    m_pEnvironment.reset();
}

long CDatabase::Report(const CStorageError& error) noexcept
{
    const long nCode = error.RegistryCode();
    const std::uint32_t uKind = std::uint32_t(1) << (static_cast<unsigned long>(nCode) % 32); // no two of our codes share one
    try {
        if ((g_uReported.fetch_or(uKind) & uKind) == 0) {
            pvlogLog("SRVSHAREDSTORE", 1, "Registry %s: %s (code %d), answered with %ld", (RegistryFolder() / DataFileName).c_str(),
                     error.Reason(), error.Code(), nCode);
        }
    } catch (const std::bad_alloc&) {
        // The line is lost, the code is not.
    }
    return nCode;
}

} // namespace Registry
