// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Files that are no registry, or no longer one: a clear code, never a crash, and the file as it was.

#include "platform/Log.h"
#include "registry/RegistrySupport.h"

#include <algorithm>
#include <cstdarg>
#include <fstream>
#include <iterator>
#include <lmdb.h>
#include <map>
#include <random>

namespace
{

std::vector<std::string> g_LogLines;

} // namespace

/// Takes the place of the library's log.
void pvlogLog(const char*, unsigned int, const char* pszFormat, ...)
{
    char szLine[1000];
    va_list arguments;
    va_start(arguments, pszFormat);
    std::vsnprintf(szLine, sizeof(szLine), pszFormat, arguments);
    va_end(arguments);
    g_LogLines.emplace_back(szLine);
}

namespace
{

using std::filesystem::path;

constexpr std::size_t PageSize = 4096;

std::string Load(const path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void Save(const path& file, const std::string& sBytes)
{
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << sBytes;
}

/// Opens a database behind the registry's back and runs a function in a transaction that is committed.
template <class TFunction> void WithLmdb(const path& folder, TFunction function)
{
    std::filesystem::create_directories(folder);
    MDB_env* pEnv = nullptr;
    MDB_txn* pTxn = nullptr;
    ASSERT_EQ(mdb_env_create(&pEnv), 0);
    ASSERT_EQ(mdb_env_set_maxdbs(pEnv, 4), 0);
    ASSERT_EQ(mdb_env_open(pEnv, folder.c_str(), MDB_NOTLS, 0600), 0);
    ASSERT_EQ(mdb_txn_begin(pEnv, nullptr, 0, &pTxn), 0);
    function(pTxn);
    ASSERT_EQ(mdb_txn_commit(pTxn), 0);
    mdb_env_close(pEnv);
}

void Put(MDB_txn* pTxn, const char* pszTable, unsigned uFlags, std::string sKey, std::string sData)
{
    MDB_dbi table = 0;
    ASSERT_EQ(mdb_dbi_open(pTxn, pszTable, uFlags, &table), 0);
    MDB_val key = {sKey.size(), sKey.data()};
    MDB_val data = {sData.size(), sData.data()};
    ASSERT_EQ(mdb_put(pTxn, table, &key, &data, 0), 0);
}

/// A registry with a tree of some levels, large values, and pages that were freed.
class CDamageTest : public testing::Test
{
protected:
    enum EOutcome { Right = 0, Refused = 1, Wrong = 2 };

    static void SetUpTestSuite()
    {
        const path folder = NewFolder("sound");
        InChild(folder, [] {
            for (int nKey = 0; nKey < 150; ++nKey) {
                const std::string sKey = KeyOf(nKey);
                ASSERT_EQ(SetValue(sKey, "gone", std::string(3000, 'g')), ERROR_SUCCESS);
                ASSERT_EQ(SetValue(sKey, "v", DataOf(nKey)), ERROR_SUCCESS);
                ASSERT_EQ(ovRegDeleteValue(Hive, sKey.c_str(), "gone", 0), ERROR_SUCCESS);
            }
        });
        s_sSound = Load(folder / DataFile);
        ASSERT_GT(s_sSound.size(), 20 * PageSize);
    }

    static std::string KeyOf(int nKey) { return "key\\" + std::to_string(nKey % 12) + "\\" + std::to_string(nKey); }
    static std::string DataOf(int nKey)
    {
        return std::string(nKey % 25 == 0 ? 9000 : static_cast<std::size_t>(nKey), static_cast<char>('a' + nKey % 26));
    }

    /// Reads everything, and when that goes well changes everything.
    static int UseAll()
    {
        std::size_t uKeys = 0;
        for (int nParent = 0; nParent < 12; ++nParent) {
            uKeys += ListKeys("key\\" + std::to_string(nParent)).size();
        }
        for (int nKey = 0; nKey < 150; ++nKey) {
            const auto result = ReadValue(KeyOf(nKey), "v");
            if (result.first == ERROR_BADDB || result.first == ERROR_REGISTRY_CORRUPT) {
                return Refused;
            }
            if (result != Found(DataOf(nKey)) || uKeys != 150) {
                return Wrong;
            }
        }
        for (int nKey = 0; nKey < 150; nKey += 10) {
            if (SetValue(KeyOf(nKey), "new", std::string(5000, 'n')) != ERROR_SUCCESS) {
                return Wrong;
            }
        }
        return ovRegDeleteSubKey(Hive, "key", 0, false) == ERROR_SUCCESS && ListKeys("").empty() ? Right : Wrong;
    }

    /// What becomes of a file with these bytes; minus the signal that killed its user.
    static int Try(const std::string& sBytes)
    {
        static int s_nFolder = 0;
        const path folder = NewFolder("damaged" + std::to_string(++s_nFolder));
        Save(folder / DataFile, sBytes);
        const int nOutcome = RunInChild([&] {
            setenv("SHAREDSTORE_REGISTRY", folder.c_str(), 1);
            setenv("SHAREDSTORE_REGISTRY_SYNC", "relaxed", 1);
            return UseAll();
        });
        if (nOutcome != Right) {
            EXPECT_TRUE(Load(folder / DataFile) == sBytes) << "the file was changed";
        }
        std::filesystem::remove_all(folder);
        return nOutcome;
    }

    /// The code with which a file is refused, by readers and writers alike.
    static void ExpectCode(const std::string& sBytes, long nExpected, const std::string& sWhat)
    {
        const path folder = NewFolder("refused");
        Save(folder / DataFile, sBytes);
        InChild(folder, [&] {
            EXPECT_EQ(ReadValue("key", "v").first, nExpected) << sWhat;
            EXPECT_EQ(SetValue("key", "v", "1"), nExpected) << sWhat;
            EXPECT_EQ(ovRegDeleteKey(Hive, "key", true, 0), nExpected) << sWhat;
        });
        EXPECT_TRUE(Load(folder / DataFile) == sBytes) << sWhat;
        std::filesystem::remove_all(folder);
    }

    static inline std::string s_sSound;
};

TEST_F(CDamageTest, SoundFile_IsAccepted)
{
    EXPECT_EQ(Try(s_sSound), Right);
}

TEST_F(CDamageTest, TruncatedFile_IsCorrupt)
{
    for (const std::size_t uSize : {std::size_t(100), PageSize, PageSize + 100, 2 * PageSize, s_sSound.size() / 2}) {
        ExpectCode(s_sSound.substr(0, uSize), ERROR_REGISTRY_CORRUPT, "cut to " + std::to_string(uSize));
    }
}

TEST_F(CDamageTest, Refusal_IsLoggedOnceAndNamesTheFile)
{
    const path folder = NewFolder("logged");
    Save(folder / DataFile, "garbage");
    InChild(folder, [&] {
        for (int nCall = 0; nCall < 3; ++nCall) {
            EXPECT_EQ(ReadValue("key", "v").first, ERROR_BADDB);
        }
        ASSERT_EQ(g_LogLines.size(), 1U);
        EXPECT_NE(g_LogLines.front().find((folder / DataFile).string()), std::string::npos) << g_LogLines.front();
        EXPECT_NE(g_LogLines.front().find("not a database"), std::string::npos) << g_LogLines.front();
    });
}

TEST_F(CDamageTest, EmptyFile_CountsAsNoRegistry)
{
    const path folder = NewFolder("empty");
    Save(folder / DataFile, "");
    InChild(folder, [] {
        EXPECT_EQ(ReadValue("key", "v"), NotFound);
        EXPECT_EQ(SetValue("key", "v", "1"), ERROR_SUCCESS);
        EXPECT_EQ(ReadValue("key", "v"), Found("1"));
    });
}

TEST_F(CDamageTest, ForeignFile_IsNoRegistry)
{
    std::mt19937 random(1);
    std::string sGarbage(5 * PageSize, '\0');
    std::ranges::generate(sGarbage, [&] { return static_cast<char>(random()); });
    ExpectCode(std::string(10, '\0'), ERROR_BADDB, "a few zeros");
    ExpectCode(std::string(s_sSound.size(), '\0'), ERROR_BADDB, "zeros");
    ExpectCode(sGarbage, ERROR_BADDB, "garbage");
    ExpectCode("SQLite format 3" + sGarbage, ERROR_BADDB, "another database");

    const path folder = NewFolder("foreign");
    WithLmdb(folder, [](MDB_txn*) {});
    ExpectCode(Load(folder / DataFile), ERROR_BADDB, "LMDB without records");
    WithLmdb(folder, [](MDB_txn* pTxn) { Put(pTxn, "table", MDB_CREATE | MDB_DUPSORT, "key", "data"); });
    ExpectCode(Load(folder / DataFile), ERROR_BADDB, "LMDB with another program's tables");
    WithLmdb(NewFolder("duplicates"), [](MDB_txn* pTxn) { Put(pTxn, nullptr, MDB_DUPSORT, "key", "data"); });
    ExpectCode(Load(NewFolder("duplicates") / DataFile), ERROR_BADDB, "LMDB with duplicates");
}

TEST_F(CDamageTest, NewerFormat_IsRefused)
{
    const path folder = NewFolder("newer");
    Save(folder / DataFile, s_sSound);
    WithLmdb(folder, [](MDB_txn* pTxn) {
        MDB_dbi table = 0;
        ASSERT_EQ(mdb_dbi_open(pTxn, nullptr, 0, &table), 0);
        std::string sHeaderKey(9, '\0');
        MDB_val key = {sHeaderKey.size(), sHeaderKey.data()};
        MDB_val data = {};
        ASSERT_EQ(mdb_get(pTxn, table, &key, &data), 0);
        std::string sHeader(static_cast<const char*>(data.mv_data), data.mv_size);
        ASSERT_EQ(sHeader[23], 1) << "the last byte of the version";
        sHeader[23] = 2;
        Put(pTxn, nullptr, 0, sHeaderKey, sHeader);
    });
    ExpectCode(Load(folder / DataFile), ERROR_BADDB, "format 2");
}

TEST_F(CDamageTest, DamagedPages_AreNeverTrusted)
{
    // One byte, eight bytes, and whole stretches, anywhere in the file.
    std::mt19937 random(20240229);
    std::map<int, int> outcomes;
    for (std::size_t uRound = 0; uRound < 150; ++uRound) {
        std::string sBytes = s_sSound;
        const std::size_t aLengths[] = {1, 1, 1, 8, 200, PageSize};
        const std::size_t uLength = aLengths[uRound % std::size(aLengths)];
        const std::size_t uStart = random() % (sBytes.size() - uLength);
        for (std::size_t uByte = uStart; uByte < uStart + uLength; ++uByte) {
            sBytes[uByte] ^= static_cast<char>(1 + random() % 255);
        }
        const int nOutcome = Try(sBytes);
        EXPECT_TRUE(nOutcome == Right || nOutcome == Refused) << nOutcome << ": " << uLength << " bytes from " << uStart;
        ++outcomes[nOutcome];
    }
    EXPECT_GT(outcomes[Right], 10) << "free pages and gaps may hold anything";
    EXPECT_GT(outcomes[Refused], 50);
}

TEST_F(CDamageTest, DamagedMetaPages_AreNeverTrusted)
{
    constexpr std::size_t MetaEnd = 152;
    for (std::size_t uByte = 0; uByte < MetaEnd; uByte += 3) {
        for (const std::size_t uPage : {std::size_t(0), PageSize}) {
            std::string sBytes = s_sSound;
            sBytes[uPage + uByte] = static_cast<char>(~sBytes[uPage + uByte]);
            const int nOutcome = Try(sBytes);
            EXPECT_TRUE(nOutcome == Right || nOutcome == Refused) << nOutcome << ": byte " << uPage + uByte;
        }
    }
}

} // namespace
