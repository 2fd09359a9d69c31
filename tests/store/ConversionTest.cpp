// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Store.h"

#include "util/FctUtils.h"

using namespace std::string_view_literals;

namespace
{

/// What a conversion puts out: a string (BSTR) or an array.
template <class To, class From> std::string Converted(HRESULT (*pConvert)(From, To&), std::type_identity_t<From> from, HRESULT hr)
{
    To to = nullptr;
    EXPECT_EQ(pConvert(from, to), hr);
    if constexpr (std::is_same_v<To, BSTR>) {
        return to == nullptr ? "no string" : std::string(TextOf(StringPointer(to).get()));
    } else {
        return BytesOf(ArrayPointer(to));
    }
}

} // namespace

TEST(ConversionTest, Strings_EndBeforeTheirFirstNul)
{
    const std::pair<CText, const char*> cases[] = {{nullptr, nullptr}, {"", nullptr}, {"a\0b"sv, "a"}, {"\0b"sv, ""}};
    for (const auto& [text, pszExpected] : cases) {
        SecureString s = "old";
        EXPECT_EQ(CFctUtils::BSTR2wstring(text, s), pszExpected == nullptr ? E_INVALIDARG : S_OK);
        EXPECT_EQ(s, pszExpected == nullptr ? "old" : pszExpected);
    }
    EXPECT_EQ(Converted(&CFctUtils::wstring2BSTR, SecureString("a\0b", 3), S_OK), "a");
}

TEST(ConversionTest, BytesAndStrings_AreConvertedWhole)
{
    EXPECT_EQ(Converted(&GetSafeArrayBytesFromBSTR, nullptr, E_FAIL), "no array");
    EXPECT_EQ(Converted(&GetSafeArrayBytesFromBSTR, CText(""), S_OK), "");
    EXPECT_EQ(Converted(&GetSafeArrayBytesFromBSTR, CText("a\0b\xff"sv), S_OK), "a\0b\xff"sv);
    EXPECT_EQ(Converted(&GetBSTRFromSafeArrayBytes, nullptr, E_FAIL), "no string");
    EXPECT_EQ(Converted(&GetBSTRFromSafeArrayBytes, Bytes("").get(), E_FAIL), "no string");
    EXPECT_EQ(Converted(&GetBSTRFromSafeArrayBytes, Bytes("a\0b\xff"sv).get(), S_OK), "a\0b\xff"sv);
}
