// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "registry/Record.h"

#include <cstdint>
#include <lmdb.h>
#include <memory>
#include <optional>
#include <string_view>

namespace Registry
{

class CKeyCache;

struct SLmdbDeleter
{
    void operator()(MDB_env* pEnv) const { mdb_env_close(pEnv); }
    void operator()(MDB_txn* pTxn) const { mdb_txn_abort(pTxn); }
    void operator()(MDB_cursor* pCursor) const { mdb_cursor_close(pCursor); }
};
using CEnvPtr = std::unique_ptr<MDB_env, SLmdbDeleter>;
using CTxnPtr = std::unique_ptr<MDB_txn, SLmdbDeleter>;
using CCursorPtr = std::unique_ptr<MDB_cursor, SLmdbDeleter>;

/// mdb_txn_begin into an owning pointer.
int BeginTxn(MDB_env* pEnv, unsigned uFlags, CTxnPtr& pTxn);

/// Makes the table ready in the environment of a transaction: once before it is first used.
void OpenTable(MDB_txn& txn);

/// Data of a value; the bytes lie in the database and live as long as the transaction, or until its next write.
struct SValue
{
    unsigned long ulType;
    std::string_view sData;
};

/// The records of the registry as one LMDB transaction sees them. It borrows the transaction; who
/// began it ends it. Without one it is an empty registry, the state before the first write.
/// Thread safety: none, like LMDB's transactions.
class CTransaction
{
public:
    CTransaction() = default;
    explicit CTransaction(MDB_txn& txn, CKeyCache* pCache = nullptr) : m_pTxn(&txn), m_pCache(pCache) {}

    /// Names the state that is seen: it changes with every commit to the database.
    std::uint64_t Id() const { return mdb_txn_id(m_pTxn); }
    /// What earlier transactions of the same reader learned about paths; null for writers.
    CKeyCache* Cache() const { return m_pCache; }

    std::optional<std::uint64_t> FindSubKey(std::uint64_t uKeyId, std::string_view sName) const;
    std::optional<SValue> FindValue(std::uint64_t uKeyId, std::string_view sName) const;
    static SValue ParseValue(std::string_view sRecord);
    static std::uint64_t ParseSubKey(std::string_view sRecord);

    /// Calls visit(name, record) for the records of one kind of a key, in byte order of the names,
    /// until it returns false. The table must not be written meanwhile.
    template <class TVisit> void ForEach(std::uint64_t uKeyId, ERecord eKind, TVisit visit) const
    {
        CRange range(*this, CRecordKey(uKeyId, eKind));
        for (bool bFound = range.First(); bFound && visit(range.Name(), range.Record()); bFound = range.Next()) {
        }
    }

    /// Makes a sub-key, which must not exist yet, and returns its id.
    std::uint64_t AddSubKey(std::uint64_t uKeyId, std::string_view sName);
    void SetValue(std::uint64_t uKeyId, std::string_view sName, unsigned long ulType, std::string_view sData);
    /// Returns false when there is no such record.
    bool Remove(const CRecordKey& key);
    /// Writes the header of a new database.
    void Initialize();

private:
    /// The records whose keys start with a prefix.
    class CRange
    {
    public:
        CRange(const CTransaction& transaction, const CRecordKey& prefix);
        bool First() { return Get(MDB_SET_RANGE); }
        bool Next() { return Get(MDB_NEXT); }
        std::string_view Name() const;
        std::string_view Record() const;

    private:
        bool Get(MDB_cursor_op eOperation);

        CCursorPtr m_pCursor; // null in an empty registry
        const CRecordKey m_Prefix;
        MDB_val m_Key = {};
        MDB_val m_Record = {};
    };

    std::optional<std::string_view> Get(const CRecordKey& key) const;
    template <class TFill> void Put(const CRecordKey& key, std::size_t uSize, TFill fill);

    MDB_txn* m_pTxn = nullptr;
    CKeyCache* m_pCache = nullptr;
};

} // namespace Registry
