// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "com/Owners.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>

using namespace std::string_view_literals;

TEST(StringTest, NewString_HasPrefixBytesAndNul)
{
    for (const auto sText : {"a\0b\0"sv, "PIN"sv, ""sv}) {
        const StringPointer pString = MakeString(sText);
        ASSERT_NE(pString, nullptr);
        unsigned int uPrefix = UINT_MAX;
        std::memcpy(&uPrefix, pString.get() - sizeof(uPrefix), sizeof(uPrefix));
        EXPECT_EQ(uPrefix, sText.size());
        EXPECT_EQ(SysStringLen(pString.get()), sText.size());
        EXPECT_EQ(TextOf(pString.get()), sText);
        EXPECT_EQ(pString.get()[sText.size()], '\0');
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pString.get()) % alignof(void*), 0U);
    }
    EXPECT_EQ(TextOf(StringPointer(SysAllocString("PIN\0tail")).get()), "PIN");
    EXPECT_EQ(TextOf(StringPointer(SysAllocStringByteLen(nullptr, 3)).get()), "\0\0\0"sv);
}

TEST(StringTest, NullString_IsEmptyAndCanBeFreed)
{
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0U);
    EXPECT_EQ(SysStringByteLen(nullptr), 0U);
    SysFreeString(nullptr);
    ovSysFreeString(nullptr, 0);
}

TEST(StringTest, LengthWithoutRoomForPrefixAndNul_IsRefused)
{
    EXPECT_EQ(SysAllocStringByteLen("short", UINT_MAX), nullptr);
    EXPECT_EQ(SysAllocStringByteLen("short", UINT_MAX - sizeof(unsigned int)), nullptr);
}
