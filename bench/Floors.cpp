// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Floors.h"

#include <filesystem>
#include <keyutils.h>
#include <lmdb.h>
#include <map>
#include <memory>
#include <mutex>
#include <openssl/evp.h>
#include <sqlite3.h>
#include <stdexcept>

namespace
{

constexpr std::string_view ItemPath = "Card1/Certs/Item1";

/// @param nCode what a library answered; 0 is success for all of them
void Check(int nCode, const char* pszWhat)
{
    if (nCode != 0) {
        throw std::runtime_error(std::string(pszWhat) + " failed with " + std::to_string(nCode));
    }
}

/// A new folder next to the registry, and so on the same disk.
std::filesystem::path MakeFolder(const char* pszName)
{
    const char* pszRegistry = std::getenv("SHAREDSTORE_REGISTRY");
    Check(pszRegistry == nullptr, "reading SHAREDSTORE_REGISTRY");
    const std::filesystem::path folder = std::string(pszRegistry) + "-" + pszName;
    std::filesystem::create_directories(folder);
    return folder;
}

/// An LMDB environment with one value.
class CLmdb
{
public:
    explicit CLmdb(std::size_t uSize) : m_sValue(uSize, 'a')
    {
        Check(mdb_env_create(&m_pEnv), "mdb_env_create");
        Check(mdb_env_set_mapsize(m_pEnv, std::size_t{64} << 20), "mdb_env_set_mapsize");
        Check(mdb_env_open(m_pEnv, MakeFolder("lmdb").c_str(), MDB_NOTLS, 0600), "mdb_env_open");
        Write();
        Check(mdb_txn_begin(m_pEnv, nullptr, MDB_RDONLY, &m_pReader), "mdb_txn_begin");
        mdb_txn_reset(m_pReader);
    }
    ~CLmdb()
    {
        mdb_txn_abort(m_pReader);
        mdb_env_close(m_pEnv);
    }
    CLmdb(const CLmdb&) = delete;
    CLmdb& operator=(const CLmdb&) = delete;

    void Read()
    {
        Check(mdb_txn_renew(m_pReader), "mdb_txn_renew");
        MDB_val key = Value(m_sKey);
        MDB_val data;
        Check(mdb_get(m_pReader, m_nTable, &key, &data), "mdb_get");
        const std::string sCopy(static_cast<char*>(data.mv_data), data.mv_size);
        benchmark::DoNotOptimize(sCopy.data());
        mdb_txn_reset(m_pReader);
    }
    void Write()
    {
        MDB_txn* pTxn = nullptr;
        Check(mdb_txn_begin(m_pEnv, nullptr, 0, &pTxn), "mdb_txn_begin");
        Check(mdb_dbi_open(pTxn, nullptr, 0, &m_nTable), "mdb_dbi_open");
        MDB_val key = Value(m_sKey);
        MDB_val data = Value(m_sValue);
        Check(mdb_put(pTxn, m_nTable, &key, &data, 0), "mdb_put");
        Check(mdb_txn_commit(pTxn), "mdb_txn_commit");
    }

private:
    static MDB_val Value(std::string& s) { return {s.size(), s.data()}; }

    std::string m_sKey{ItemPath}, m_sValue;
    MDB_env* m_pEnv = nullptr;
    MDB_dbi m_nTable = 0;
    MDB_txn* m_pReader = nullptr;
};

/// One for readers and writers: LMDB forbids a process to open a folder twice.
std::shared_ptr<CLmdb> Lmdb(std::size_t uSize)
{
    static const std::shared_ptr<CLmdb> pLmdb = std::make_shared<CLmdb>(uSize);
    return pLmdb;
}

} // namespace

Operation KeyringRead()
{
    const char secret[] = "abcdefg";
    if (add_key("user", "Card1/PIN1", secret, sizeof secret, KEY_SPEC_PROCESS_KEYRING) < 0) {
        return nullptr;
    }
    return [] {
        const auto nKey = static_cast<key_serial_t>(keyctl_search(KEY_SPEC_PROCESS_KEYRING, "user", "Card1/PIN1", 0));
        char buffer[sizeof secret];
        Check(nKey < 0 || keyctl_read(nKey, buffer, sizeof buffer) != sizeof buffer, "keyctl_read");
        Check(static_cast<int>(keyctl_set_timeout(nKey, 900)), "keyctl_set_timeout");
    };
}

Operation MapRead(std::size_t uSize)
{
    auto pMutex = std::make_shared<std::mutex>();
    const std::map<std::string, std::string> values{{std::string(ItemPath), std::string(uSize, 'a')}};
    return [=] {
        const std::lock_guard lock(*pMutex);
        const std::string sCopy = values.find(std::string(ItemPath))->second;
        benchmark::DoNotOptimize(sCopy.data());
    };
}

Operation CipherRun(bool bEncrypt, std::size_t uSize)
{
    const std::shared_ptr<EVP_CIPHER_CTX> pContext(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    const unsigned char key[16] = {1, 2, 3};
    std::vector<unsigned char> from(uSize);
    std::vector<unsigned char> to(uSize + 32);
    Check(EVP_CipherInit_ex(pContext.get(), EVP_aes_128_cbc(), nullptr, key, key, bEncrypt ? 1 : 0) != 1, "EVP_CipherInit_ex");
    Check(EVP_CIPHER_CTX_set_padding(pContext.get(), 0) != 1, "EVP_CIPHER_CTX_set_padding"); // random bytes have none
    return [=]() mutable {
        int nSize = 0;
        EVP_CipherInit_ex(pContext.get(), nullptr, nullptr, nullptr, key, -1);
        Check(EVP_CipherUpdate(pContext.get(), to.data(), &nSize, from.data(), static_cast<int>(from.size())) != 1, "EVP_CipherUpdate");
        benchmark::DoNotOptimize(to.data());
    };
}

Operation LmdbRead(std::size_t uSize)
{
    return [p = Lmdb(uSize)] { p->Read(); };
}

Operation LmdbWrite(std::size_t uSize)
{
    return [p = Lmdb(uSize)] { p->Write(); };
}

Operation SqliteRead(std::size_t uSize)
{
    sqlite3* pDatabase = nullptr;
    sqlite3_stmt* pStatement = nullptr;
    Check(sqlite3_open((MakeFolder("sqlite") / "data").c_str(), &pDatabase), "sqlite3_open");
    const std::string sMake =
        "PRAGMA journal_mode = WAL; CREATE TABLE IF NOT EXISTS Data (Path TEXT PRIMARY KEY, Value BLOB) WITHOUT ROWID;"
        "INSERT OR REPLACE INTO Data VALUES ('" +
        std::string(ItemPath) + "', zeroblob(" + std::to_string(uSize) + "))";
    Check(sqlite3_exec(pDatabase, sMake.c_str(), nullptr, nullptr, nullptr), "sqlite3_exec");
    Check(sqlite3_prepare_v2(pDatabase, "SELECT Value FROM Data WHERE Path = ?", -1, &pStatement, nullptr), "sqlite3_prepare_v2");
    Check(sqlite3_bind_text(pStatement, 1, ItemPath.data(), static_cast<int>(ItemPath.size()), SQLITE_STATIC), "sqlite3_bind_text");
    return [=, pOwner = std::shared_ptr<sqlite3>(pDatabase, sqlite3_close_v2),
            pStatementOwner = std::shared_ptr<sqlite3_stmt>(pStatement, sqlite3_finalize)] {
        Check(sqlite3_step(pStatement) != SQLITE_ROW, "sqlite3_step");
        const auto uBytes = static_cast<std::size_t>(sqlite3_column_bytes(pStatement, 0));
        const std::string sCopy(static_cast<const char*>(sqlite3_column_blob(pStatement, 0)), uBytes);
        benchmark::DoNotOptimize(sCopy.data());
        Check(sqlite3_reset(pStatement), "sqlite3_reset");
    };
}
