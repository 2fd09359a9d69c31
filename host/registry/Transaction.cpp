// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "registry/Transaction.h"

#include "registry/StorageError.h"

#include <algorithm>

namespace Registry
{

namespace
{

/// The handle of LMDB's main table, the one without a name.
constexpr MDB_dbi Table = 1;

MDB_val ToLmdb(std::string_view sBytes)
{
    return {sBytes.size(), const_cast<char*>(sBytes.data())}; // LMDB does not write to keys
}

std::string_view FromLmdb(const MDB_val& bytes)
{
    return {static_cast<const char*>(bytes.mv_data), bytes.mv_size};
}

} // namespace

int BeginTxn(MDB_env* pEnv, unsigned uFlags, CTxnPtr& pTxn)
{
    MDB_txn* pNew = nullptr;
    const int nCode = mdb_txn_begin(pEnv, nullptr, uFlags, &pNew);
    if (nCode == 0) {
        pTxn.reset(pNew);
    }
    return nCode;
}

void OpenTable(MDB_txn& txn)
{
    MDB_dbi table = 0;
    Require(mdb_dbi_open(&txn, nullptr, 0, &table)); // is always Table, and sets its order of keys
}

std::optional<std::string_view> CTransaction::Get(const CRecordKey& key) const
{
    if (m_pTxn == nullptr) {
        return std::nullopt;
    }
    MDB_val lmdbKey = ToLmdb(key.Bytes());
    MDB_val record = {};
    const int nCode = mdb_get(m_pTxn, Table, &lmdbKey, &record);
    if (nCode == MDB_NOTFOUND) {
        return std::nullopt;
    }
    Require(nCode);
    return FromLmdb(record);
}

template <class TFill> void CTransaction::Put(const CRecordKey& key, std::size_t uSize, TFill fill)
{
    MDB_val lmdbKey = ToLmdb(key.Bytes());
    MDB_val record = {uSize, nullptr};
    Require(mdb_put(m_pTxn, Table, &lmdbKey, &record, MDB_RESERVE));
    const auto pRecord = static_cast<char*>(record.mv_data);
    fill(pRecord);
    Seal(key.Bytes(), pRecord, uSize);
}

SValue CTransaction::ParseValue(std::string_view sRecord)
{
    if (sRecord.size() < 2 * NumberSize) {
        throw CStorageError(MDB_CORRUPTED);
    }
    return {LoadNumber(sRecord.data() + NumberSize), sRecord.substr(2 * NumberSize)};
}

std::uint64_t CTransaction::ParseSubKey(std::string_view sRecord)
{
    if (sRecord.size() != 2 * NumberSize) {
        throw CStorageError(MDB_CORRUPTED);
    }
    return LoadNumber(sRecord.data() + NumberSize);
}

std::optional<std::uint64_t> CTransaction::FindSubKey(std::uint64_t uKeyId, std::string_view sName) const
{
    const std::optional<std::string_view> sRecord = Get(CRecordKey(uKeyId, ERecord::SubKey, sName));
    return sRecord ? std::optional(ParseSubKey(*sRecord)) : std::nullopt;
}

std::optional<SValue> CTransaction::FindValue(std::uint64_t uKeyId, std::string_view sName) const
{
    const std::optional<std::string_view> sRecord = Get(CRecordKey(uKeyId, ERecord::Value, sName));
    return sRecord ? std::optional(ParseValue(*sRecord)) : std::nullopt;
}

std::uint64_t CTransaction::AddSubKey(std::uint64_t uKeyId, std::string_view sName)
{
    const CRecordKey headerKey(RootKeyId, ERecord::Header);
    const std::optional<std::string_view> sHeader = Get(headerKey);
    if (!sHeader || sHeader->size() != SHeader::RecordSize) {
        throw CStorageError(MDB_CORRUPTED);
    }
    SHeader header = LoadHeader(*sHeader);
    const std::uint64_t uNewId = header.uNextKeyId++;
    Put(headerKey, SHeader::RecordSize, [&](char* pRecord) { StoreHeader(pRecord, header); });
    Put(CRecordKey(uKeyId, ERecord::SubKey, sName), 2 * NumberSize, [&](char* pRecord) { StoreNumber(pRecord + NumberSize, uNewId); });
    return uNewId;
}

void CTransaction::SetValue(std::uint64_t uKeyId, std::string_view sName, unsigned long ulType, std::string_view sData)
{
    Put(CRecordKey(uKeyId, ERecord::Value, sName), 2 * NumberSize + sData.size(), [&](char* pRecord) {
        StoreNumber(pRecord + NumberSize, ulType);
        std::ranges::copy(sData, pRecord + 2 * NumberSize);
    });
}

bool CTransaction::Remove(const CRecordKey& key)
{
    MDB_val lmdbKey = ToLmdb(key.Bytes());
    const int nCode = m_pTxn != nullptr ? mdb_del(m_pTxn, Table, &lmdbKey, nullptr) : MDB_NOTFOUND;
    if (nCode == MDB_NOTFOUND) {
        return false;
    }
    Require(nCode);
    return true;
}

void CTransaction::Initialize()
{
    Put(CRecordKey(RootKeyId, ERecord::Header), SHeader::RecordSize, [](char* pRecord) {
        StoreHeader(pRecord, {FormatVersion, RootKeyId + 1});
    });
}

CTransaction::CRange::CRange(const CTransaction& transaction, const CRecordKey& prefix) : m_Prefix(prefix)
{
    if (transaction.m_pTxn != nullptr) {
        MDB_cursor* pCursor = nullptr;
        Require(mdb_cursor_open(transaction.m_pTxn, Table, &pCursor));
        m_pCursor.reset(pCursor);
    }
}

bool CTransaction::CRange::Get(MDB_cursor_op eOperation)
{
    if (!m_pCursor) {
        return false;
    }
    if (eOperation == MDB_SET_RANGE) {
        m_Key = ToLmdb(m_Prefix.Bytes());
    }
    const int nCode = mdb_cursor_get(m_pCursor.get(), &m_Key, &m_Record, eOperation);
    if (nCode == MDB_NOTFOUND) {
        return false;
    }
    Require(nCode);
    return FromLmdb(m_Key).starts_with(m_Prefix.Bytes());
}

std::string_view CTransaction::CRange::Name() const
{
    return FromLmdb(m_Key).substr(m_Prefix.Bytes().size());
}

std::string_view CTransaction::CRange::Record() const
{
    return FromLmdb(m_Record);
}

} // namespace Registry
