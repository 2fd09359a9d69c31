// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "tree/RegistryValue.h"

#include "tree/RegistryTree.h"
#include "util/Operation.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

using OV::Framework::SecureBytes;

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

/// What each registry type is read as.
constexpr struct
{
    unsigned long ulType;
    VARTYPE vt;
} ReadTypes[] = {
    {REG_NONE, VT_UNKNOWN}, {REG_SZ, VT_BSTR}, {REG_MULTI_SZ, VT_BSTR}, {REG_BINARY, VT_UI1}, {REG_DWORD, VT_UINT}, {REG_QWORD, VT_UI8},
};

/// The first byte of a REG_BINARY value, and of every row of one.
constexpr unsigned char TagSigned = 0x0B;
constexpr unsigned char TagBytes = 0xBA;
constexpr unsigned char TagRows = 0xBB;
constexpr std::size_t HeaderSize = 2; ///< the tag and a length byte

constexpr std::size_t MaxValueSize = 1024UL * 1024;
constexpr std::size_t MaxTableSize = 16 * MaxValueSize; ///< of the array made of rows, each padded to the longest

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
    if (uWidth * psa->rgsabound[0].cElements > MaxTableSize) {
        return op.Fail(E_INVALIDARG, "too many rows");
    }
    RETURN_IF_FAILED(Reserve(op, bytes, uSize, "nSize > 1MB"));
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

HRESULT Malformed(const COperation& op)
{
    return op.Fail(E_INVALIDARG, "the value is malformed");
}

/// Takes a new array and has its elements filled.
/// @param fill writes the elements as fill(pvData) and returns a code
template <class Fill> HRESULT Make(const COperation& op, SAFEARRAY* psa, CSafeArray& array, Fill fill)
{
    CSafeArray made(psa);
    if (psa == nullptr) {
        return op.Fail(E_OUTOFMEMORY, "SafeArrayCreate failed");
    }
    void* pData = nullptr;
    RETURN_IF_FAILED(op.Check(SafeArrayAccessData(psa, &pData), "SafeArrayAccessData failed"));
    const HRESULT hr = fill(pData);
    RETURN_IF_FAILED(op.Check(SafeArrayUnaccessData(psa), "SafeArrayUnaccessData failed"));
    RETURN_IF_FAILED(hr);
    array = std::move(made);
    return S_OK;
}

HRESULT MakeVector(const COperation& op, VARTYPE vt, Bytes data, std::size_t uElemSize, CSafeArray& array)
{
    if (data.size() % uElemSize != 0) {
        return Malformed(op);
    }
    return Make(op, SafeArrayCreateVector(vt, 0, static_cast<unsigned int>(data.size() / uElemSize)), array, [&](void* pData) {
        std::copy(data.begin(), data.end(), static_cast<unsigned char*>(pData));
        return S_OK;
    });
}

/// Makes strings of a text that is cut at zero bytes.
/// @param uCount number of strings; the last one is all that is left
HRESULT MakeStrings(const COperation& op, std::string_view sText, std::size_t uCount, CSafeArray& array)
{
    return Make(op, SafeArrayCreateVector(VT_BSTR, 0, static_cast<unsigned int>(uCount)), array, [&](void* pData) -> HRESULT {
        for (std::size_t i = 0; i < uCount; ++i) {
            const std::size_t uLength = i + 1 == uCount ? sText.size() : sText.find('\0');
            BSTR bstr = SysAllocStringByteLen(sText.data(), static_cast<unsigned int>(uLength));
            if (bstr == nullptr) {
                return op.Fail(E_OUTOFMEMORY, "SysAllocStringByteLen failed");
            }
            static_cast<BSTR*>(pData)[i] = bstr; // the array's from here on
            sText.remove_prefix(std::min(uLength + 1, sText.size()));
        }
        return S_OK;
    });
}

HRESULT DecodeStrings(const COperation& op, std::string_view sBytes, CSafeArray& array)
{
    constexpr std::string_view End("\0\0", 2);
    const std::size_t uEnd = sBytes.find(End);
    if (uEnd == std::string_view::npos) {
        return Malformed(op);
    }
    const std::string_view sText = sBytes.substr(0, uEnd);
    const auto nCuts = std::count(sText.begin(), sText.end(), '\0');
    return MakeStrings(op, sText, sText.empty() ? 0 : static_cast<std::size_t>(nCuts) + 1, array);
}

/// Shows each row with its length byte in front.
/// @return false when the bytes are not rows
template <class Visit> bool ForEachRow(Bytes bytes, Visit visit)
{
    while (!bytes.empty()) {
        if (bytes.size() < HeaderSize || bytes[0] != TagRows || bytes.size() - HeaderSize < bytes[1]) {
            return false;
        }
        visit(bytes.subspan(1, 1U + bytes[1]));
        bytes = bytes.subspan(HeaderSize + bytes[1]);
    }
    return true;
}

HRESULT DecodeRows(const COperation& op, Bytes bytes, CSafeArray& array)
{
    std::size_t uRows = 0;
    std::size_t uWidth = 0;
    const bool bRows = ForEachRow(bytes, [&](Bytes row) {
        ++uRows;
        uWidth = std::max(uWidth, row.size());
    });
    if (!bRows || uRows * uWidth > MaxTableSize) {
        return Malformed(op);
    }
    SAFEARRAYBOUND bounds[] = {{static_cast<unsigned int>(uWidth), 0}, {static_cast<unsigned int>(uRows), 0}}; // stored in reverse
    return Make(op, SafeArrayCreate(VT_UI1, 2, bounds), array, [&](void* pData) {
        auto* pRow = static_cast<unsigned char*>(pData);
        ForEachRow(bytes, [&](Bytes row) {
            std::copy(row.begin(), row.end(), pRow);
            pRow += uWidth;
        });
        return S_OK;
    });
}

HRESULT DecodeBinary(const COperation& op, Bytes bytes, CSafeArray& array)
{
    if (bytes.size() < HeaderSize) {
        return Malformed(op);
    }
    switch (bytes[0]) {
    case TagSigned:
        return MakeVector(op, VT_I1, bytes.subspan(HeaderSize), 1, array);
    case TagBytes:
        return MakeVector(op, VT_UI1, bytes.subspan(HeaderSize), 1, array);
    default:
        return DecodeRows(op, bytes, array);
    }
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

HRESULT GetSafeArrayTypeFromRegistryType(unsigned long dwRegistryType, unsigned short& vt)
{
    return RunOperation("GetSafeArrayTypeFromRegistryType", [&](const COperation& op) -> HRESULT {
        const auto* pRead = std::ranges::find_if(ReadTypes, [=](const auto& read) { return read.ulType == dwRegistryType; });
        if (pRead == std::end(ReadTypes)) {
            return op.Fail(E_FAIL, "unsupported dwRegistryType");
        }
        vt = pRead->vt;
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

HRESULT DecodeRegistryValue(const COperation& op, unsigned long ulType, std::span<const unsigned char> bytes, CSafeArray& array)
{
    VARTYPE vt = VT_EMPTY;
    RETURN_IF_FAILED(op.Check(GetSafeArrayTypeFromRegistryType(ulType, vt), "GetSafeArrayTypeFromRegistryType failed"));
    if (bytes.empty()) {
        return MakeVector(op, vt, {}, 1, array);
    }
    const std::string_view sText(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    switch (ulType) {
    case REG_SZ:
        return MakeStrings(op, sText, 1, array);
    case REG_MULTI_SZ:
        return DecodeStrings(op, sText, array);
    case REG_BINARY:
        return DecodeBinary(op, bytes, array);
    case REG_QWORD:
        return MakeVector(op, vt, bytes, sizeof(std::uint64_t), array);
    default:
        return MakeVector(op, vt, bytes, sizeof(std::uint32_t), array);
    }
}
