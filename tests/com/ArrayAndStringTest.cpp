// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "com/Owners.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <map>
#include <string>
#include <vector>

using namespace std::string_view_literals;

namespace
{

using Bounds = std::vector<SAFEARRAYBOUND>;

const std::map<VARTYPE, unsigned int> ElementSizes = {{VT_I1, 1},  {VT_UI1, 1}, {VT_I2, 2},   {VT_UI2, 2}, {VT_BOOL, 2},  {VT_I4, 4},
                                                      {VT_UI4, 4}, {VT_INT, 4}, {VT_UINT, 4}, {VT_R4, 4},  {VT_ERROR, 4}, {VT_UNKNOWN, 4},
                                                      {VT_I8, 8},  {VT_UI8, 8}, {VT_R8, 8},   {VT_CY, 8},  {VT_DATE, 8},  {VT_BSTR, 8}};

ArrayPointer MakeArray(VARTYPE vt, Bounds bounds)
{
    return ArrayPointer(SafeArrayCreate(vt, static_cast<unsigned int>(bounds.size()), bounds.data()));
}

std::string_view BytesOf(const ArrayPointer& pArray, std::size_t uBytes)
{
    return {static_cast<char*>(pArray->pvData), uBytes};
}

ArrayPointer Copy(const ArrayPointer& pArray)
{
    SAFEARRAY* psa = nullptr;
    EXPECT_EQ(SafeArrayCopy(pArray.get(), &psa), S_OK);
    return ArrayPointer(psa);
}

HRESULT Put(const ArrayPointer& pArray, std::vector<int> indices, void* pv)
{
    return SafeArrayPutElement(pArray.get(), indices.data(), pv);
}

HRESULT Get(const ArrayPointer& pArray, std::vector<int> indices, void* pv)
{
    return SafeArrayGetElement(pArray.get(), indices.data(), pv);
}

} // namespace

TEST(SafeArrayTest, EveryElementType_KeepsItsElements)
{
    for (const auto& [vt, uSize] : ElementSizes) {
        SCOPED_TRACE(vt);
        const ArrayPointer pArray(SafeArrayCreateVector(vt, -1, 2));
        std::string sBytes(2 * uSize, '\0');
        EXPECT_EQ(BytesOf(pArray, sBytes.size()), sBytes);
        if (vt != VT_BSTR) {
            std::string sElement(uSize, 'x');
            EXPECT_EQ(Put(pArray, {0}, sElement.data()), S_OK);
            sBytes.replace(uSize, uSize, sElement);
            std::string sFound(uSize + 1, '-');
            EXPECT_EQ(Get(pArray, {0}, sFound.data()), S_OK);
            EXPECT_EQ(sFound, sElement + '-');
        }
        const ArrayPointer pCopy = Copy(pArray);
        VARTYPE vtFound = VT_EMPTY;
        EXPECT_EQ(SafeArrayGetVartype(pCopy.get(), &vtFound), S_OK);
        EXPECT_EQ(vtFound, vt);
        EXPECT_EQ(SafeArrayGetElemsize(pCopy.get()), uSize);
        EXPECT_EQ(BytesOf(pCopy, sBytes.size()), sBytes);
        for (const Bounds& bounds : {Bounds{{UINT_MAX / uSize, 0}}, Bounds(3, {UINT_MAX, 0}), Bounds(USHRT_MAX + 1, {1, 0}), Bounds()}) {
            EXPECT_EQ(MakeArray(vt, bounds), nullptr);
        }
    }
    for (unsigned int u = 0; u <= USHRT_MAX; ++u) {
        const auto vt = static_cast<VARTYPE>(u);
        ASSERT_EQ(ArrayPointer(SafeArrayCreateVector(vt, 0, 1)) != nullptr, ElementSizes.contains(vt)) << u;
    }
}

TEST(SafeArrayTest, TwoDimensions_StoreTheLastBoundFirstAndVaryTheFirstDimensionFastest)
{
    const ArrayPointer pArray = MakeArray(VT_UI1, {{2, INT_MIN}, {3, INT_MAX - 2}});
    char szText[] = "abcdef";
    for (int n = 0; n < 6; ++n) {
        EXPECT_EQ(Put(pArray, {INT_MIN + n % 2, INT_MAX - 2 + n / 2}, &szText[n]), S_OK);
    }
    const ArrayPointer pCopy = Copy(pArray);
    EXPECT_EQ(SafeArrayGetDim(pCopy.get()), 2U);
    EXPECT_EQ(pCopy->rgsabound[0].cElements, 3U);
    EXPECT_EQ(pCopy->rgsabound[1].lLbound, INT_MIN);
    EXPECT_EQ(BytesOf(pCopy, 6), szText);
    for (const auto& [nFirst, nSecond] : {std::pair{INT_MIN + 2, INT_MAX}, {INT_MAX, INT_MAX}, {INT_MIN, INT_MAX - 3}}) {
        EXPECT_EQ(Put(pArray, {nFirst, nSecond}, pCopy->pvData), DISP_E_BADINDEX);
        EXPECT_EQ(Get(pArray, {nFirst, nSecond}, pCopy->pvData), DISP_E_BADINDEX);
    }
}

TEST(SafeArrayTest, LockedArray_IsNotDestroyedAndItsCopyIsUnlocked)
{
    const ArrayPointer pArray(SafeArrayCreateVector(VT_UI1, 0, 0));
    void* pvData = &pvData;
    EXPECT_EQ(SafeArrayAccessData(pArray.get(), &pvData), S_OK);
    EXPECT_EQ(SafeArrayAccessData(pArray.get(), &pvData), S_OK);
    EXPECT_EQ(pvData, nullptr); // no elements
    EXPECT_EQ(Copy(pArray)->cLocks, 0U);
    EXPECT_EQ(SafeArrayUnaccessData(pArray.get()), S_OK);
    EXPECT_EQ(ovSafeArrayDestroy(pArray.get(), 0), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(SafeArrayUnaccessData(pArray.get()), S_OK);
    EXPECT_EQ(SafeArrayUnaccessData(pArray.get()), E_UNEXPECTED);
}

TEST(SafeArrayTest, Strings_AreCopiedInAndOut)
{
    const ArrayPointer pArray(SafeArrayCreateVector(VT_BSTR, 0, 2));
    EXPECT_EQ(Put(pArray, {0}, MakeString("a\0b"sv).get()), S_OK);
    EXPECT_EQ(Put(pArray, {0}, StringAt(pArray, 0)), S_OK); // its own element
    EXPECT_EQ(Put(pArray, {1}, StringAt(pArray, 0)), S_OK);
    EXPECT_EQ(Put(pArray, {1}, nullptr), S_OK);
    const ArrayPointer pCopy = Copy(pArray);
    EXPECT_NE(StringAt(pArray, 0), StringAt(pCopy, 0));
    EXPECT_EQ(StringAt(pCopy, 1), nullptr);
    BSTR bstr = nullptr;
    EXPECT_EQ(Get(pCopy, {0}, &bstr), S_OK);
    EXPECT_EQ(TextOf(StringPointer(bstr).get()), "a\0b"sv);
}

TEST(StringTest, NewString_HasPrefixBytesAndNul)
{
    for (const auto sText : {"a\0b\0"sv, "PIN"sv, ""sv}) {
        const StringPointer pString = MakeString(sText);
        unsigned int uPrefix = UINT_MAX;
        std::memcpy(&uPrefix, pString.get() - sizeof(uPrefix), sizeof(uPrefix));
        EXPECT_EQ(uPrefix, sText.size());
        EXPECT_EQ(TextOf(pString.get()), sText);
        EXPECT_EQ(pString.get()[sText.size()], '\0');
    }
    EXPECT_EQ(TextOf(StringPointer(SysAllocString("PIN\0tail")).get()), "PIN");
    EXPECT_EQ(TextOf(StringPointer(SysAllocStringByteLen(nullptr, 3)).get()), "\0\0\0"sv);
    EXPECT_EQ(SysAllocStringByteLen("no room for the prefix", UINT_MAX - sizeof(unsigned int)), nullptr);
}

TEST(NullTest, NullArguments_AreInvalidOrEmpty)
{
    const ArrayPointer pArray(SafeArrayCreateVector(VT_I4, 0, 1));
    SAFEARRAY* psa = pArray.get();
    int nIndex = 0;
    for (const HRESULT hr :
         {SafeArrayGetElement(nullptr, &nIndex, &psa), SafeArrayGetElement(psa, nullptr, &psa), SafeArrayPutElement(nullptr, &nIndex, &psa),
          SafeArrayPutElement(psa, &nIndex, nullptr), SafeArrayGetVartype(psa, nullptr), SafeArrayAccessData(psa, nullptr),
          SafeArrayUnaccessData(nullptr), SafeArrayCopy(psa, nullptr), SafeArrayCopy(nullptr, &psa)}) {
        EXPECT_EQ(hr, E_INVALIDARG);
    }
    EXPECT_EQ(psa, nullptr);
    EXPECT_EQ(SafeArrayGetElemsize(psa) + SafeArrayGetDim(psa), 0U);
    EXPECT_EQ(ovSafeArrayDestroy(psa, 0), S_OK);
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr) + SysStringByteLen(nullptr), 0U);
    ovSysFreeString(nullptr, 0);
}
