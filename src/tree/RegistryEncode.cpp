// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Arrays on their way into the registry.

#include "tree/RegistryValue.h"

#include "tree/RegistryTree.h"
#include "util/Operation.h"

#include <algorithm>

using OV::Framework::SecureBytes;
using namespace RegistryFormat;

namespace
{

using Bytes = std::span<const unsigned char>;

/// What each element type is kept as.
constexpr struct
{
    VARTYPE vt;
    unsigned long ulType;
} KeptTypes[] = {
    {VT_BSTR, REG_SZ},  {VT_UNKNOWN, REG_NONE}, {VT_I1, REG_BINARY}, {VT_UI1, REG_BINARY},
    {VT_I8, REG_QWORD}, {VT_UI8, REG_QWORD},    {VT_INT, REG_DWORD}, {VT_UINT, REG_DWORD},
};

/// The elements of the first dimension, none when another dimension is empty.
template <class Element> std::span<const Element> FirstDimension(const SAFEARRAY* psa, std::size_t uPerElement = 1)
{
    return {static_cast<const Element*>(psa->pvData), psa->pvData == nullptr ? 0 : psa->rgsabound[0].cElements * uPerElement};
}

/// Makes room for a value of exactly that size, so that it is never moved.
HRESULT Reserve(const COperation& op, SecureBytes& bytes, std::size_t uSize, const char* pszTooLong)
{
    if (uSize > MaxValueSize) {
        return op.Fail(E_INVALIDARG, pszTooLong);
    }
    bytes.reserve(uSize);
    return S_OK;
}

HRESULT EncodeStrings(const COperation& op, const SAFEARRAY* psa, SRegistryValue& value)
{
    const auto strings = FirstDimension<BSTR>(psa);
    const bool bMany = strings.size() > 1;
    std::size_t uSize = bMany ? strings.size() + 1 : 0;
    for (BSTR bstr : strings) {
        uSize += SysStringByteLen(bstr);
    }
    RETURN_IF_FAILED(Reserve(op, value.bytes, uSize, "SysStringByteLen(pElem) > 1MB"));
    for (BSTR bstr : strings) {
        value.bytes.insert(value.bytes.end(), bstr, bstr + SysStringByteLen(bstr));
        if (bMany) {
            value.bytes.push_back(0);
        }
    }
    if (bMany) {
        value.bytes.push_back(0);
        value.ulType = REG_MULTI_SZ;
    }
    return S_OK;
}

void AppendBlock(SecureBytes& bytes, unsigned char uTag, Bytes data)
{
    bytes.push_back(uTag);
    bytes.push_back(static_cast<unsigned char>(data.size()));
    bytes.insert(bytes.end(), data.begin(), data.end());
}

/// In memory the rows follow one another, each as long as the second dimension.
HRESULT EncodeRows(const COperation& op, const SAFEARRAY* psa, unsigned char uTag, SecureBytes& bytes)
{
    const std::size_t uStride = psa->rgsabound[1].cElements;
    const Bytes table = FirstDimension<unsigned char>(psa, uStride);
    if (table.empty() && psa->rgsabound[0].cElements != 0) {
        return op.Fail(E_INVALIDARG, "a row has no length byte");
    }
    std::size_t uSize = 0;
    std::size_t uWidth = 0;
    for (std::size_t uRow = 0; uRow < table.size(); uRow += uStride) {
        if (table[uRow] >= uStride) {
            return op.Fail(E_INVALIDARG, "a row's length byte exceeds the row");
        }
        uSize += HeaderSize + table[uRow];
        uWidth = std::max<std::size_t>(uWidth, 1U + table[uRow]);
    }
    RETURN_IF_FAILED(Reserve(op, bytes, uSize, "nSize > 1MB"));
    if (uWidth * psa->rgsabound[0].cElements > MaxTableSize) { // it could not be read back
        return op.Fail(E_INVALIDARG, "too many rows");
    }
    for (std::size_t uRow = 0; uRow < table.size(); uRow += uStride) {
        AppendBlock(bytes, uTag, table.subspan(uRow + 1, table[uRow]));
    }
    return S_OK;
}

HRESULT EncodeBinary(const COperation& op, SAFEARRAY* psa, VARTYPE vt, SecureBytes& bytes)
{
    switch (SafeArrayGetDim(psa)) {
    case 1: {
        const Bytes data = FirstDimension<unsigned char>(psa);
        RETURN_IF_FAILED(Reserve(op, bytes, HeaderSize + data.size(), "nSize > 1MB"));
        AppendBlock(bytes, vt == VT_I1 ? TagSigned : TagBytes, data);
        return S_OK;
    }
    case 2:
        return EncodeRows(op, psa, vt == VT_I1 ? TagSigned : TagRows, bytes);
    default:
        return op.Fail(E_FAIL, "unsupported number of dimensions");
    }
}

HRESULT EncodeNumbers(const COperation& op, SAFEARRAY* psa, SecureBytes& bytes)
{
    const Bytes data = FirstDimension<unsigned char>(psa, SafeArrayGetElemsize(psa));
    RETURN_IF_FAILED(Reserve(op, bytes, data.size(), "dwElemSize*psaDataValue->rgsabound->cElements > 1MB"));
    bytes.assign(data.begin(), data.end());
    return S_OK;
}

} // namespace

HRESULT GetRegistryTypeFromSafeArrayType(unsigned short vt, unsigned long& dwRegistryType)
{
    return RunOperation("GetRegistryTypeFromSafeArrayType", [&](const COperation& op) -> HRESULT {
        const auto* pKept = std::ranges::find_if(KeptTypes, [vt](const auto& kept) { return kept.vt == vt; });
        if (pKept == std::end(KeptTypes)) {
            return op.Fail(E_FAIL, "unsupported vt");
        }
        dwRegistryType = pKept->ulType;
        return S_OK;
    });
}

HRESULT EncodeRegistryValue(const COperation& op, SAFEARRAY* psa, SRegistryValue& value)
{
    VARTYPE vt = VT_EMPTY;
    if (FAILED(SafeArrayGetVartype(psa, &vt))) {
        return op.Fail(E_FAIL, "SafeArrayGetVartype failed");
    }
    RETURN_IF_FAILED(op.Check(GetRegistryTypeFromSafeArrayType(vt, value.ulType), "GetRegistryTypeFromSafeArrayType failed"));
    switch (value.ulType) {
    case REG_SZ:
        return EncodeStrings(op, psa, value);
    case REG_BINARY:
        return EncodeBinary(op, psa, vt, value.bytes);
    default:
        return EncodeNumbers(op, psa, value.bytes);
    }
}
