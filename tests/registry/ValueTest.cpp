// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Values: what is written is what is read, and how callers' buffers are treated.

#include "registry/RegistrySupport.h"

#include <tuple>

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
    EXPECT_EQ(ulValue, 7U);
    EXPECT_EQ(ovRegReadDWORDValueEx(Hive, "Values", "number", &ulValue, 0), ERROR_SUCCESS);
    EXPECT_EQ(ulValue, 0x12345678U);
}

TEST_F(CValueTest, ReadString_EndsAtTheFirstNulAndAddsAMissingOne)
{
    const std::tuple<std::string, unsigned long, const char*> cases[] = {
        {"", 1, ""}, {"abc", 4, "abc"}, {"abc\0"s, 4, "abc"}, {"a\0bc"s, 2, "a"}, {"\0"s, 1, ""}};
    for (const auto& [sStored, ulSize, pszText] : cases) {
        ASSERT_EQ(SetValue("Values", "text", sStored, REG_SZ), ERROR_SUCCESS);
        char szBuffer[] = "?????";
        unsigned long ulGiven = ulSize - 1;
        EXPECT_EQ(ovRegReadStringValueEx(Hive, "Values", "text", szBuffer, &ulGiven, 0), ERROR_MORE_DATA);
        EXPECT_EQ(ulGiven, ulSize);
        EXPECT_STREQ(szBuffer, "?????");
        EXPECT_EQ(ovRegReadStringValueEx(Hive, "Values", "text", szBuffer, &ulGiven, 0), ERROR_SUCCESS);
        EXPECT_STREQ(szBuffer, pszText);
    }
    unsigned long ulSize = 0;
    ASSERT_EQ(SetValue("Values", "text", "abc", REG_BINARY), ERROR_SUCCESS);
    EXPECT_EQ(ovRegReadStringValueEx(Hive, "Values", "text", nullptr, &ulSize, 0), ERROR_UNSUPPORTED_TYPE);
}

TEST_F(CValueTest, Values_AreListedByTypeWhereThereIsRoom)
{
    const std::string sLongest(255, 'z');
    ASSERT_EQ(SetValue("Values\\List", sLongest, sLongest, REG_SZ), ERROR_SUCCESS);
    ASSERT_EQ(SetValue("Values\\List", "", "", REG_QWORD), ERROR_SUCCESS);
    EXPECT_EQ(SetValue("Values\\List", sLongest + "z", ""), ERROR_INVALID_PARAMETER);
    ovRegValue aValues[2] = {};
    unsigned long ulCount = 1;
    EXPECT_EQ(ovRegListValueNamesEx(Hive, "Values\\List", aValues, &ulCount, -1, 0), ERROR_MORE_DATA);
    EXPECT_EQ(ulCount, 2U);
    EXPECT_EQ(aValues[0].ulType, 0U) << "a buffer that is too small is left alone";
    EXPECT_EQ(ovRegListValueNamesEx(Hive, "Values\\List", aValues, &ulCount, -1, 0), ERROR_SUCCESS);
    EXPECT_EQ(aValues[0].ulType, REG_QWORD);
    EXPECT_EQ(aValues[1].szName, sLongest);
    EXPECT_EQ(aValues[1].ulSize, sLongest.size());
    EXPECT_EQ(ovRegListValueNamesEx(Hive, "Values\\List", nullptr, &ulCount, REG_QWORD, 0), ERROR_SUCCESS);
    EXPECT_EQ(ulCount, 1U);
    EXPECT_EQ(ovRegListValueNamesEx(Hive, "None", nullptr, &ulCount, -1, 0), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ovRegDeleteValue(Hive, "Values\\List", "", 0), ERROR_SUCCESS);
    EXPECT_EQ(ovRegDeleteValue(Hive, "Values\\List", "", 0), ERROR_FILE_NOT_FOUND);
}

} // namespace
