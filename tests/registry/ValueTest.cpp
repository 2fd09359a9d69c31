// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Values: what is written is what is read, and how callers' buffers are treated.

#include "registry/RegistrySupport.h"

namespace
{

using namespace std::string_literals;

constexpr std::size_t MiB = 1024 * 1024;

class CValueTest : public testing::Test
{
protected:
    void TearDown() override { ovRegDeleteSubKey(Hive, "Values", 0, false); }
};

TEST_F(CValueTest, Value_OfAnySizeAndType_ReadsBackAsWritten)
{
    for (const std::size_t uSize : {0UL, 1UL, 7UL, 100UL, 1980UL, 2100UL, 4096UL, MiB, 16 * MiB}) {
        std::string sData(uSize, '\0');
        for (std::size_t uByte = 0; uByte < uSize; ++uByte) {
            sData[uByte] = static_cast<char>(uByte * 31 + uByte / 256);
        }
        const unsigned long ulType = 0xFFFFFFFF00000000UL + uSize;
        ASSERT_EQ(SetValue("Values\\Sizes", "v", sData, ulType), ERROR_SUCCESS) << uSize;
        EXPECT_TRUE(ReadValue("Values\\Sizes", "v") == Found(sData)) << uSize;
        unsigned long ulReadType = 0;
        EXPECT_EQ(ovRegReadValueEx(Hive, "Values\\Sizes", "v", &ulReadType, nullptr, nullptr, 0), ERROR_SUCCESS);
        EXPECT_EQ(ulReadType, ulType);
    }
    EXPECT_EQ(SetValue("Values\\Sizes", "v", std::string(16 * MiB + 1, 'x')), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ReadValue("Values\\Sizes", "v").second.size(), 16 * MiB);
}

TEST_F(CValueTest, ReadValue_WithTooSmallBuffer_TellsTheSizeAndTouchesNothingElse)
{
    ASSERT_EQ(SetValue("Values", "v", "12345", REG_SZ), ERROR_SUCCESS);
    unsigned char aBuffer[] = {1, 2, 3, 4};
    unsigned long ulSize = sizeof(aBuffer);
    unsigned long ulType = 99;
    EXPECT_EQ(ovRegReadValueEx(Hive, "Values", "v", &ulType, aBuffer, &ulSize, 0), ERROR_MORE_DATA);
    EXPECT_EQ(ulSize, 5U);
    EXPECT_EQ(ulType, 99U);
    EXPECT_EQ(aBuffer[0], 1);

    EXPECT_EQ(ovRegReadValueEx(Hive, "Values", "none", &ulType, aBuffer, &ulSize, 0), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ovRegReadValueEx(Hive, "None", "v", &ulType, aBuffer, &ulSize, 0), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ulSize, 5U) << "not written by a failure";
    EXPECT_EQ(ovRegReadValueEx(Hive, "Values", "v", &ulType, aBuffer, nullptr, 0), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ovRegReadValueEx(Hive, "Values", "v", &ulType, nullptr, &ulSize, 1), ERROR_INVALID_PARAMETER) << "flags";
}

TEST_F(CValueTest, ReadDword_OfAnotherTypeOrSize_IsUnsupported)
{
    ASSERT_EQ(SetValue("Values", "number", "\x78\x56\x34\x12", REG_DWORD), ERROR_SUCCESS);
    ASSERT_EQ(SetValue("Values", "long", "12345", REG_DWORD), ERROR_SUCCESS);
    ASSERT_EQ(SetValue("Values", "binary", "1234", REG_BINARY), ERROR_SUCCESS);
    unsigned long ulValue = 7;
    EXPECT_EQ(ovRegReadDWORDValueEx(Hive, "Values", "long", &ulValue, 0), ERROR_UNSUPPORTED_TYPE);
    EXPECT_EQ(ovRegReadDWORDValueEx(Hive, "Values", "binary", &ulValue, 0), ERROR_UNSUPPORTED_TYPE);
    EXPECT_EQ(ovRegReadDWORDValueEx(Hive, "Values", "none", &ulValue, 0), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ovRegReadDWORDValueEx(Hive, "Values", "number", nullptr, 0), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ulValue, 7U);
    EXPECT_EQ(ovRegReadDWORDValueEx(Hive, "Values", "number", &ulValue, 0), ERROR_SUCCESS);
    EXPECT_EQ(ulValue, 0x12345678U);
}

TEST_F(CValueTest, ReadString_AddsTheNulThatIsMissing)
{
    struct SCase
    {
        std::string sStored;
        unsigned long ulSize;
        std::string sText;
    };
    for (const auto& [sStored, ulSize, sText] : {SCase{"", 1, ""}, {"abc", 4, "abc"}, {"abc\0"s, 4, "abc"}, {"a\0c"s, 3, "a"}}) {
        ASSERT_EQ(SetValue("Values", "text", sStored, REG_SZ), ERROR_SUCCESS);
        unsigned long ulNeeded = 0;
        EXPECT_EQ(ovRegReadStringValueEx(Hive, "Values", "text", nullptr, &ulNeeded, 0), ERROR_SUCCESS);
        EXPECT_EQ(ulNeeded, ulSize);
        char szBuffer[] = "?????";
        unsigned long ulGiven = ulSize - 1;
        EXPECT_EQ(ovRegReadStringValueEx(Hive, "Values", "text", szBuffer, &ulGiven, 0), ERROR_MORE_DATA);
        EXPECT_EQ(ulGiven, ulSize);
        EXPECT_STREQ(szBuffer, "?????");
        EXPECT_EQ(ovRegReadStringValueEx(Hive, "Values", "text", szBuffer, &ulGiven, 0), ERROR_SUCCESS);
        EXPECT_EQ(szBuffer, sText);
    }
    unsigned long ulSize = 0;
    ASSERT_EQ(SetValue("Values", "binary", "abc", REG_BINARY), ERROR_SUCCESS);
    EXPECT_EQ(ovRegReadStringValueEx(Hive, "Values", "binary", nullptr, &ulSize, 0), ERROR_UNSUPPORTED_TYPE);
    EXPECT_EQ(ovRegReadStringValueEx(Hive, "Values", "text", nullptr, nullptr, 0), ERROR_INVALID_PARAMETER);
}

TEST_F(CValueTest, ListValueNames_InByteOrderAndByType)
{
    const std::string sLongest(255, 'z');
    for (const auto& [sName, ulType] : std::initializer_list<std::pair<std::string, unsigned long>>{
             {sLongest, REG_SZ}, {"\xC3\xA9", REG_SZ}, {"", REG_BINARY}, {"b", REG_SZ}, {"B", REG_QWORD}, {"ba", REG_SZ}}) {
        ASSERT_EQ(SetValue("Values\\List", sName, sName, ulType), ERROR_SUCCESS);
    }
    EXPECT_EQ(SetValue("Values\\List", sLongest + "z", ""), ERROR_INVALID_PARAMETER);

    unsigned long ulCount = 0;
    EXPECT_EQ(ovRegListValueNamesEx(Hive, "Values\\List", nullptr, &ulCount, -1, 0), ERROR_SUCCESS);
    ASSERT_EQ(ulCount, 6U);
    ovRegValue aValues[6] = {};
    ulCount = 5;
    EXPECT_EQ(ovRegListValueNamesEx(Hive, "Values\\List", aValues, &ulCount, -1, 0), ERROR_MORE_DATA);
    EXPECT_EQ(ulCount, 6U);
    EXPECT_EQ(aValues[1].ulType, 0U) << "a buffer that is too small is left alone";
    EXPECT_EQ(ovRegListValueNamesEx(Hive, "Values\\List", aValues, &ulCount, -1, 0), ERROR_SUCCESS);
    const std::string aExpected[] = {"", "B", "b", "ba", sLongest, "\xC3\xA9"};
    for (std::size_t uValue = 0; uValue < 6; ++uValue) {
        EXPECT_EQ(aValues[uValue].szName, aExpected[uValue]);
        EXPECT_EQ(aValues[uValue].ulSize, aExpected[uValue].size());
    }
    EXPECT_EQ(aValues[1].ulType, REG_QWORD);

    EXPECT_EQ(ovRegListValueNamesEx(Hive, "Values\\List", aValues, &ulCount, REG_BINARY, 0), ERROR_SUCCESS);
    EXPECT_EQ(ulCount, 1U);
    EXPECT_STREQ(aValues[0].szName, "");
    EXPECT_EQ(ovRegListValueNamesEx(Hive, "None", nullptr, &ulCount, -1, 0), ERROR_FILE_NOT_FOUND);
}

TEST_F(CValueTest, DeleteValue_LeavesTheOthers)
{
    ASSERT_EQ(SetValue("Values", "a", "1"), ERROR_SUCCESS);
    ASSERT_EQ(SetValue("Values", "ab", "2"), ERROR_SUCCESS);
    EXPECT_EQ(ovRegDeleteValue(Hive, "Values", "a", 0), ERROR_SUCCESS);
    EXPECT_EQ(ovRegDeleteValue(Hive, "Values", "a", 0), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ReadValue("Values", "a"), NotFound);
    EXPECT_EQ(ReadValue("Values", "ab"), Found("2"));
}

} // namespace
