// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Files that are no registry, or no longer one: a clear code, never a crash, and the file as it was.

#include "registry/RegistrySupport.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <lmdb.h>
#include <map>
#include <random>

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

/// The bytes of a database that another program made with this record in it.
std::string MakeForeignDatabase(std::string sKey)
{
    const path folder = NewFolder("foreign");
    std::filesystem::create_directories(folder);
    MDB_env* pEnv = nullptr;
    MDB_txn* pTxn = nullptr;
    MDB_dbi table = 0;
    MDB_val key = {sKey.size(), sKey.data()};
    EXPECT_EQ(mdb_env_create(&pEnv), 0);
    EXPECT_EQ(mdb_env_open(pEnv, folder.c_str(), MDB_NOTLS, 0600), 0);
    EXPECT_EQ(mdb_txn_begin(pEnv, nullptr, 0, &pTxn), 0);
    EXPECT_EQ(mdb_dbi_open(pTxn, nullptr, 0, &table), 0);
    EXPECT_EQ(mdb_put(pTxn, table, &key, &key, 0), 0);
    EXPECT_EQ(mdb_txn_commit(pTxn), 0);
    mdb_env_close(pEnv);
    return Load(folder / DataFile);
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
            for (int nKey = 0; nKey < Keys; ++nKey) {
                ASSERT_EQ(SetValue(KeyOf(nKey), "gone", std::string(3000, 'g')), ERROR_SUCCESS);
                ASSERT_EQ(SetValue(KeyOf(nKey), "v", DataOf(nKey)), ERROR_SUCCESS);
                ASSERT_EQ(ovRegDeleteValue(Hive, KeyOf(nKey).c_str(), "gone", 0), ERROR_SUCCESS);
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

    /// Reads everything, and when that goes well changes and deletes everything.
    static int UseAll()
    {
        for (int nKey = 0; nKey < Keys; ++nKey) {
            const auto result = ReadValue(KeyOf(nKey), "v");
            if (result.first == ERROR_BADDB || result.first == ERROR_REGISTRY_CORRUPT) {
                return Refused;
            }
            if (result != Found(DataOf(nKey))) {
                return Wrong;
            }
        }
        for (int nKey = 0; nKey < Keys; nKey += 10) {
            if (SetValue(KeyOf(nKey), "new", std::string(5000, 'n')) != ERROR_SUCCESS) {
                return Wrong;
            }
        }
        return ovRegDeleteSubKey(Hive, "key", 0, false) == ERROR_SUCCESS && ListKeys("").empty() ? Right : Wrong;
    }

    /// What becomes of a file with these bytes; minus the signal that killed its user.
    static int Try(const std::string& sBytes)
    {
        const path folder = NewFolder("damaged");
        Save(folder / DataFile, sBytes);
        const int nOutcome = RunInChild([&] {
            UseRegistryIn(folder);
            return UseAll();
        });
        EXPECT_TRUE(nOutcome == Right || Load(folder / DataFile) == sBytes) << "the file was changed";
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
        });
        EXPECT_TRUE(Load(folder / DataFile) == sBytes) << sWhat;
        std::filesystem::remove_all(folder);
    }

    static constexpr int Keys = 150;
    static inline std::string s_sSound;
};

TEST_F(CDamageTest, TruncatedFile_IsCorrupt)
{
    for (const std::size_t uSize : {std::size_t(100), PageSize, PageSize + 100, 2 * PageSize, s_sSound.size() / 2}) {
        ExpectCode(s_sSound.substr(0, uSize), ERROR_REGISTRY_CORRUPT, "cut to " + std::to_string(uSize));
    }
}

TEST_F(CDamageTest, ForeignFile_IsNoRegistry)
{
    std::mt19937 random(1);
    std::string sGarbage(5 * PageSize, '\0');
    std::ranges::generate(sGarbage, [&] { return static_cast<char>(random()); });
    ExpectCode(std::string(s_sSound.size(), '\0'), ERROR_BADDB, "zeros");
    ExpectCode(sGarbage, ERROR_BADDB, "garbage");
    ExpectCode(MakeForeignDatabase("key"), ERROR_BADDB, "LMDB with another program's records");
}

TEST_F(CDamageTest, NewerFormat_IsRefused)
{
    std::string sNewer = s_sSound;
    const std::string sHeader("SSTOREG\n\0\0\0\0\0\0\0\1", 16);
    for (std::size_t uAt = 0; (uAt = sNewer.find(sHeader, uAt)) != std::string::npos; ++uAt) {
        ++sNewer[uAt + sHeader.size() - 1];
    }
    ASSERT_NE(sNewer, s_sSound);
    ExpectCode(sNewer, ERROR_BADDB, "format 2");
}

TEST_F(CDamageTest, DamagedPages_AreNeverTrusted)
{
    constexpr std::size_t MetaEnd = 152;
    std::mt19937 random(20240229);
    std::map<int, int> outcomes;
    for (std::size_t uRound = 0; uRound < 240; ++uRound) {
        const bool bMeta = uRound % 2 == 0; // else one byte or whole stretches, anywhere in the file
        const std::size_t uLength = bMeta ? 1 : std::array{std::size_t(1), std::size_t(8), PageSize}[uRound % 3];
        const std::size_t uStart = bMeta ? random() % 2 * PageSize + random() % MetaEnd : random() % (s_sSound.size() - uLength);
        std::string sBytes = s_sSound;
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

} // namespace
