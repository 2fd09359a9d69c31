// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Keys: paths, handles, listing and deletion.

#include "registry/RegistrySupport.h"

namespace
{

PVHKEY OpenKey(const std::string& sKey)
{
    PVHKEY hKey = nullptr;
    EXPECT_EQ(pvRegOpenKeyEx(Hive, sKey.c_str(), 0, 0, &hKey), ERROR_SUCCESS);
    return hKey;
}

class CKeyTest : public testing::Test
{
protected:
    void SetUp() override { setenv("SHAREDSTORE_REGISTRY_SYNC", "relaxed", 1); }
    void TearDown() override { ovRegDeleteSubKey(Hive, "", 0, true); }
};

TEST_F(CKeyTest, Create_MakesMissingParentsAndTellsWhetherItWasThere)
{
    using Case = std::pair<const char*, unsigned long>;
    for (const auto& [pszKey, ulExpected] : {Case{"a\\b\\c", 1}, {"a\\b", 2}, {"a\\B", 1}}) { // names are compared byte for byte
        unsigned long ulDisposition = 0;
        PVHKEY hKey = nullptr;
        ASSERT_EQ(pvRegCreateKeyEx(Hive, pszKey, 0, nullptr, 0, 0, nullptr, &hKey, &ulDisposition), ERROR_SUCCESS);
        EXPECT_EQ(ulDisposition, ulExpected);
        EXPECT_EQ(pvRegCloseKey(hKey), ERROR_SUCCESS);
    }
    PVHKEY hKey = nullptr;
    EXPECT_EQ(pvRegOpenKeyEx(Hive, "a\\C", 0, 0, &hKey), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(pvRegOpenKeyEx("HKEY_CURRENT_USER", "a", 0, 0, &hKey), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(hKey, nullptr);
}

TEST_F(CKeyTest, Path_WithABadComponent_IsRefusedByEveryFunction)
{
    const std::string sTooLong(255, 'k');
    const std::pair<const char*, const char*> paths[] = {{nullptr, "a"}, {Hive, nullptr}, {"", "a"},        {"a\\b", ""},
                                                         {Hive, "\\a"},  {Hive, "a\\"},   {Hive, "a\\\\b"}, {Hive, sTooLong.c_str()}};
    for (const auto& [pszRoot, pszSubKey] : paths) {
        SCOPED_TRACE(pszSubKey != nullptr ? pszSubKey : "null");
        PVHKEY hKey = nullptr;
        unsigned long ulNumber = 0;
        EXPECT_EQ(pvRegCreateKeyEx(pszRoot, pszSubKey, 0, nullptr, 0, 0, nullptr, &hKey, nullptr), ERROR_INVALID_PARAMETER);
        EXPECT_EQ(pvRegOpenKeyEx(pszRoot, pszSubKey, 0, 0, &hKey), ERROR_INVALID_PARAMETER);
        EXPECT_EQ(ovRegReadValueEx(pszRoot, pszSubKey, "v", nullptr, nullptr, &ulNumber, 0), ERROR_INVALID_PARAMETER);
        EXPECT_EQ(ovRegListKeys(pszRoot, pszSubKey, nullptr, &ulNumber), ERROR_INVALID_PARAMETER);
        EXPECT_EQ(ovRegListValueNamesEx(pszRoot, pszSubKey, nullptr, &ulNumber, -1, 0), ERROR_INVALID_PARAMETER);
        EXPECT_EQ(ovRegDeleteValue(pszRoot, pszSubKey, "v", 0), ERROR_INVALID_PARAMETER);
        EXPECT_EQ(ovRegDeleteKey(pszRoot, pszSubKey, true, 0), ERROR_INVALID_PARAMETER);
        EXPECT_EQ(ovRegDeleteSubKey(pszRoot, pszSubKey, 0, true), ERROR_INVALID_PARAMETER);
        EXPECT_EQ(hKey, nullptr);
    }
}

TEST_F(CKeyTest, ListKeys_IntoTooFew_TellsTheCountThatIsNeededAndNothingElse)
{
    for (const std::string& sName : {std::string("b"), std::string(254, 'x')}) {
        ASSERT_EQ(SetValue("list\\" + sName + "\\below", "v", "not listed"), ERROR_SUCCESS);
    }
    ovRegKey aKeys[1] = {};
    unsigned long ulCount = 1;
    EXPECT_EQ(ovRegListKeysEx(Hive, "list", aKeys, &ulCount, 0), ERROR_MORE_DATA);
    EXPECT_EQ(ulCount, 2U);
    EXPECT_STREQ(aKeys[0].szName, "");
    EXPECT_EQ(ListKeys("list"), (std::vector<std::string>{"b", std::string(254, 'x')}));
}

TEST_F(CKeyTest, EnumKey_WalksByIndex)
{
    ASSERT_EQ(SetValue("enum\\first", "v", ""), ERROR_SUCCESS);
    ASSERT_EQ(SetValue("enum\\second", "v", ""), ERROR_SUCCESS);
    PVHKEY hKey = OpenKey("enum");
    char szName[8] = "?";
    unsigned long ulSize = 0;
    EXPECT_EQ(pvRegEnumKeyEx(hKey, 1, nullptr, &ulSize, nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
    EXPECT_EQ(ulSize, 7U) << "what a buffer needs";
    ulSize = 6;
    EXPECT_EQ(pvRegEnumKeyEx(hKey, 1, szName, &ulSize, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
    EXPECT_EQ(ulSize, 7U);
    EXPECT_STREQ(szName, "?");
    EXPECT_EQ(pvRegEnumKeyEx(hKey, 1, szName, &ulSize, nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
    EXPECT_EQ(ulSize, 6U) << "without the NUL";
    EXPECT_STREQ(szName, "second");
    EXPECT_EQ(pvRegEnumKeyEx(hKey, 2, szName, &ulSize, nullptr, nullptr, nullptr, nullptr), ERROR_NO_MORE_ITEMS);
    EXPECT_EQ(pvRegEnumKeyEx(hKey, 0, szName, nullptr, nullptr, nullptr, nullptr, nullptr), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(pvRegCloseKey(hKey), ERROR_SUCCESS);
}

TEST_F(CKeyTest, Handle_OfADeletedKey_StaysDeadWhenTheKeyIsMadeAgain)
{
    ASSERT_EQ(SetValue("parent\\child", "v", "old"), ERROR_SUCCESS);
    PVHKEY hKey = OpenKey("parent\\child");
    EXPECT_EQ(ReadValue("parent\\child", "v"), Found("old"));
    ASSERT_EQ(ovRegDeleteKey(Hive, "parent", true, 0), ERROR_SUCCESS);
    ASSERT_EQ(SetValue("parent\\child", "new", ""), ERROR_SUCCESS);

    char szName[255];
    unsigned long ulSize = sizeof(szName);
    EXPECT_EQ(pvRegSetValueEx(hKey, "v", 0, REG_SZ, nullptr, 0), ERROR_KEY_DELETED);
    EXPECT_EQ(pvRegEnumKeyEx(hKey, 0, szName, &ulSize, nullptr, nullptr, nullptr, nullptr), ERROR_KEY_DELETED);
    EXPECT_EQ(pvRegCloseKey(hKey), ERROR_SUCCESS);
    EXPECT_EQ(ReadValue("parent\\child", "v"), NotFound) << "what was remembered of the old key is not used";

    EXPECT_EQ(pvRegSetValueEx(nullptr, "v", 0, REG_SZ, nullptr, 0), ERROR_INVALID_HANDLE);
    EXPECT_EQ(pvRegCloseKey(nullptr), ERROR_INVALID_HANDLE);
}

TEST_F(CKeyTest, DeleteKey_NotRecursive_SparesAKeyWithSubKeys)
{
    ASSERT_EQ(SetValue("a\\b", "v", "1"), ERROR_SUCCESS);
    ASSERT_EQ(SetValue("a", "v", "2"), ERROR_SUCCESS);
    EXPECT_EQ(ovRegDeleteKey(Hive, "a", false, 0), ERROR_DIR_NOT_EMPTY);
    EXPECT_EQ(ReadValue("a", "v"), Found("2"));
    EXPECT_EQ(ovRegDeleteKey(Hive, "a\\b", false, 0), ERROR_SUCCESS);
    EXPECT_EQ(ovRegDeleteKey(Hive, "a", false, 0), ERROR_SUCCESS);
    EXPECT_EQ(ovRegDeleteKey(Hive, "a", true, 0), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ovRegDeleteKey(Hive, "", true, 0), ERROR_INVALID_PARAMETER) << "the hive itself";
}

TEST_F(CKeyTest, DeleteSubKey_TakesTheWholeTreeAndNothingElse)
{
    std::string sDeep = "a\\b";
    for (int nLevel = 0; nLevel < 2000; ++nLevel) {
        sDeep += "\\deep";
        ASSERT_EQ(SetValue("a\\b\\wide" + std::to_string(nLevel), "v", "leaf"), ERROR_SUCCESS);
    }
    ASSERT_EQ(SetValue(sDeep, "v", "bottom"), ERROR_SUCCESS);
    ASSERT_EQ(SetValue("a\\bc", "v", "beside"), ERROR_SUCCESS);
    EXPECT_EQ(ReadValue(sDeep, "v"), Found("bottom"));
    EXPECT_EQ(ovRegDeleteSubKey(Hive, "a\\b", 0, true), ERROR_SUCCESS);
    EXPECT_EQ(ListKeys("a"), (std::vector<std::string>{"b", "bc"}));
    EXPECT_TRUE(ListKeys("a\\b").empty());
    EXPECT_EQ(ovRegDeleteSubKey(Hive, "a\\b", 0, false), ERROR_SUCCESS);
    EXPECT_EQ(ListKeys("a"), std::vector<std::string>{"bc"});
    EXPECT_EQ(ReadValue("a\\bc", "v"), Found("beside"));
    EXPECT_EQ(ovRegDeleteSubKey(Hive, "a\\b", 0, false), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ovRegDeleteSubKey(Hive, "", 0, false), ERROR_INVALID_PARAMETER) << "the hive itself";
}

} // namespace
