// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "com/Owners.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <string>
#include <thread>
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
        const ArrayPointer pArray(SafeArrayCreateVector(vt, -1, 3));
        std::string sBytes(3 * uSize, '\0');
        EXPECT_EQ(BytesOf(pArray, sBytes.size()), sBytes);
        for (int nIndex = -1; vt != VT_BSTR && nIndex <= 1; ++nIndex) {
            std::string sElement(uSize, static_cast<char>('b' + nIndex));
            EXPECT_EQ(Put(pArray, {nIndex}, sElement.data()), S_OK);
            sBytes.replace(uSize * static_cast<unsigned int>(nIndex + 1), uSize, sElement);
            std::string sFound(uSize + 1, '-');
            EXPECT_EQ(Get(pArray, {nIndex}, sFound.data()), S_OK);
            EXPECT_EQ(sFound, sElement + '-');
        }
        const ArrayPointer pCopy = Copy(pArray);
        VARTYPE vtFound = VT_EMPTY;
        EXPECT_EQ(SafeArrayGetVartype(pCopy.get(), &vtFound), S_OK);
        EXPECT_EQ(vtFound, vt);
        EXPECT_EQ(SafeArrayGetElemsize(pCopy.get()), uSize);
        EXPECT_EQ(pCopy->rgsabound[0].cElements, 3U);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pCopy->pvData) % alignof(std::max_align_t), 0U);
        EXPECT_EQ(BytesOf(pCopy, sBytes.size()), sBytes);
        for (const Bounds& bounds : {Bounds{{UINT_MAX / uSize, 0}}, {{0x10000, 0}, {0x10000, 0}}, Bounds(3, {UINT_MAX, 0})}) {
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
    const ArrayPointer pArray = MakeArray(VT_UI1, {{2, 10}, {3, -20}});
    EXPECT_EQ(SafeArrayGetDim(pArray.get()), 2U);
    char cNext = 'a';
    for (const int nSecond : {-20, -19, -18}) {
        for (const int nFirst : {10, 11}) {
            EXPECT_EQ(Put(pArray, {nFirst, nSecond}, &cNext), S_OK);
            ++cNext;
        }
    }
    const ArrayPointer pCopy = Copy(pArray);
    const SAFEARRAYBOUND* pBounds = pCopy->rgsabound;
    EXPECT_EQ(std::pair(pBounds[0].cElements, pBounds[0].lLbound), std::pair(3U, -20));
    EXPECT_EQ(std::pair(pBounds[1].cElements, pBounds[1].lLbound), std::pair(2U, 10));
    EXPECT_EQ(BytesOf(pCopy, 6), "abcdef");
    for (const auto& [nFirst, nSecond] : {std::pair{9, -20}, {12, -20}, {10, -21}, {10, -17}, {INT_MIN, -20}, {10, INT_MAX}}) {
        EXPECT_EQ(Put(pArray, {nFirst, nSecond}, &cNext), DISP_E_BADINDEX);
        EXPECT_EQ(Get(pArray, {nFirst, nSecond}, &cNext), DISP_E_BADINDEX);
    }
    EXPECT_EQ(cNext, 'g');
}

TEST(SafeArrayTest, ExtremeLowerBounds_ReachEveryElement)
{
    for (const auto& [nFirst, nOutside] : {std::pair{INT_MIN, INT_MAX}, {INT_MAX - 1, INT_MIN}}) {
        const ArrayPointer pArray(SafeArrayCreateVector(VT_UI1, nFirst, 2));
        char cValue = 'x';
        EXPECT_EQ(Put(pArray, {nFirst + 1}, &cValue), S_OK);
        EXPECT_EQ(BytesOf(pArray, 2), "\0x"sv);
        EXPECT_EQ(Get(pArray, {nOutside}, &cValue), DISP_E_BADINDEX);
    }
}

TEST(SafeArrayTest, DimensionCount_IsFrom1To65535)
{
    const ArrayPointer pArray = MakeArray(VT_I4, Bounds(USHRT_MAX, {1, 5}));
    int nValue = 4711;
    EXPECT_EQ(Put(pArray, std::vector<int>(USHRT_MAX, 5), &nValue), S_OK);
    EXPECT_EQ(*static_cast<int*>(Copy(pArray)->pvData), 4711);
    EXPECT_EQ(MakeArray(VT_I4, Bounds(USHRT_MAX + 1, {1, 0})), nullptr);
    EXPECT_EQ(SafeArrayCreate(VT_I4, 0, pArray->rgsabound), nullptr);
    EXPECT_EQ(SafeArrayCreate(VT_I4, 1, nullptr), nullptr);
}

TEST(SafeArrayTest, EmptyArray_CanBeAccessedAndCopied)
{
    for (const Bounds& bounds : {Bounds{{0, 0}}, {{3, 0}, {0, 0}}, {{UINT_MAX, 0}, {UINT_MAX, 0}, {UINT_MAX, 0}, {0, 0}}}) {
        for (const VARTYPE vt : {VT_UI1, VT_BSTR}) {
            const ArrayPointer pArray = MakeArray(vt, bounds);
            void* pvData = &pvData;
            EXPECT_EQ(SafeArrayAccessData(pArray.get(), &pvData), S_OK);
            EXPECT_EQ(pvData, nullptr);
            EXPECT_EQ(Copy(pArray)->pvData, nullptr);
            EXPECT_EQ(SafeArrayUnaccessData(pArray.get()), S_OK);
            EXPECT_EQ(Get(pArray, std::vector<int>(bounds.size()), &pvData), DISP_E_BADINDEX);
        }
    }
}

TEST(SafeArrayTest, LockedArray_IsNotDestroyedAndItsCopyIsUnlocked)
{
    ArrayPointer pArray(SafeArrayCreateVector(VT_UI1, 0, 1));
    void* pvData = nullptr;
    EXPECT_EQ(SafeArrayAccessData(pArray.get(), &pvData), S_OK);
    EXPECT_EQ(SafeArrayAccessData(pArray.get(), &pvData), S_OK);
    EXPECT_EQ(pArray->cLocks, 2U);
    EXPECT_EQ(Copy(pArray)->cLocks, 0U);
    EXPECT_EQ(SafeArrayUnaccessData(pArray.get()), S_OK);
    EXPECT_EQ(ovSafeArrayDestroy(pArray.get(), 0), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(Put(pArray, {0}, &pvData), S_OK);
    EXPECT_EQ(SafeArrayUnaccessData(pArray.get()), S_OK);
    EXPECT_EQ(SafeArrayUnaccessData(pArray.get()), E_UNEXPECTED);
    pArray->cLocks = UINT_MAX;
    EXPECT_EQ(SafeArrayAccessData(pArray.get(), &pvData), E_UNEXPECTED);
    pArray->cLocks = 0;
    EXPECT_EQ(ovSafeArrayDestroy(pArray.release(), 0), S_OK);
}

TEST(SafeArrayTest, SeveralReaders_LeaveTheArrayUnlocked)
{
    const ArrayPointer pArray(SafeArrayCreateVector(VT_UI1, 0, 100));
    const auto read = [&pArray] {
        for (int i = 0; i < 2000; ++i) {
            void* pvData = nullptr;
            EXPECT_EQ(SafeArrayAccessData(pArray.get(), &pvData), S_OK);
            EXPECT_EQ(Copy(pArray)->cLocks, 0U);
            EXPECT_EQ(SafeArrayUnaccessData(pArray.get()), S_OK);
        }
    };
    std::thread other(read);
    read();
    other.join();
    EXPECT_EQ(pArray->cLocks, 0U);
}

TEST(SafeArrayTest, Strings_AreCopiedInAndOut)
{
    const ArrayPointer pArray = MakeArray(VT_BSTR, {{2, 0}, {2, 0}});
    for (const auto sText : {"old"sv, "a\0b"sv}) {
        EXPECT_EQ(Put(pArray, {0, 0}, MakeString(sText).get()), S_OK);
    }
    EXPECT_EQ(Put(pArray, {0, 0}, StringAt(pArray, 0)), S_OK); // its own element
    EXPECT_EQ(Put(pArray, {0, 1}, MakeString("").get()), S_OK);
    EXPECT_EQ(Put(pArray, {1, 1}, MakeString("gone").get()), S_OK);
    EXPECT_EQ(Put(pArray, {1, 1}, nullptr), S_OK);
    const ArrayPointer pCopy = Copy(pArray);
    EXPECT_NE(StringAt(pCopy, 2), nullptr);
    EXPECT_EQ(TextOf(StringAt(pCopy, 2)), "");
    BSTR bstr = StringAt(pCopy, 0);
    EXPECT_EQ(Get(pCopy, {1, 1}, &bstr), S_OK);
    EXPECT_EQ(bstr, nullptr);
    EXPECT_EQ(Get(pCopy, {0, 0}, &bstr), S_OK);
    EXPECT_EQ(TextOf(StringPointer(bstr).get()), "a\0b"sv);
    EXPECT_NE(bstr, StringAt(pCopy, 0));
    EXPECT_NE(StringAt(pArray, 0), StringAt(pCopy, 0));
}

TEST(SafeArrayTest, NullArguments_AreInvalid)
{
    const ArrayPointer pArray(SafeArrayCreateVector(VT_I4, 0, 1));
    SAFEARRAY* psa = pArray.get();
    int nIndex = 0;
    VARTYPE vt = VT_EMPTY;
    void* pvData = nullptr;
    for (const HRESULT hr :
         {SafeArrayGetElement(nullptr, &nIndex, &pvData), SafeArrayGetElement(psa, nullptr, &pvData),
          SafeArrayGetElement(psa, &nIndex, nullptr), SafeArrayPutElement(nullptr, &nIndex, &pvData),
          SafeArrayPutElement(psa, nullptr, &pvData), SafeArrayPutElement(psa, &nIndex, nullptr), SafeArrayGetVartype(nullptr, &vt),
          SafeArrayGetVartype(psa, nullptr), SafeArrayAccessData(nullptr, &pvData), SafeArrayAccessData(psa, nullptr),
          SafeArrayUnaccessData(nullptr), SafeArrayCopy(psa, nullptr), SafeArrayCopy(nullptr, &psa)}) {
        EXPECT_EQ(hr, E_INVALIDARG);
    }
    EXPECT_EQ(psa, nullptr);
    EXPECT_EQ(pArray->cLocks, 0U);
    EXPECT_EQ(SafeArrayGetElemsize(nullptr) + SafeArrayGetDim(nullptr), 0U);
    EXPECT_EQ(ovSafeArrayDestroy(nullptr, 0), S_OK);
}
