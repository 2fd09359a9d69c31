// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Values of the registry on their way into arrays, whoever wrote them.

#include "tree/RegistryValue.h"

#include "tree/RegistryTree.h"
#include "util/ArrayBytes.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

using namespace RegistryFormat;

namespace
{

using Bytes = std::span<const unsigned char>;

/// What each registry type is read as.
constexpr struct
{
    unsigned long ulType;
    VARTYPE vt;
} ReadTypes[] = {
    {REG_NONE, VT_UNKNOWN}, {REG_SZ, VT_BSTR}, {REG_MULTI_SZ, VT_BSTR}, {REG_BINARY, VT_UI1}, {REG_DWORD, VT_UINT}, {REG_QWORD, VT_UI8},
};

HRESULT Malformed(const COperation& op)
{
    return op.Fail(E_INVALIDARG, "the value is malformed");
}

HRESULT MakeVector(const COperation& op, VARTYPE vt, Bytes data, std::size_t uElemSize, CSafeArray& array)
{
    if (data.size() % uElemSize != 0) {
        return Malformed(op);
    }
    return FillArray(op, CSafeArray(SafeArrayCreateVector(vt, 0, static_cast<unsigned int>(data.size() / uElemSize))), data, array.Out());
}

/// Makes strings of a text that is cut at zero bytes.
/// @param uCount number of strings; the last one is all that is left
HRESULT MakeStrings(const COperation& op, std::string_view sText, std::size_t uCount, CSafeArray& array)
{
    const auto fill = [&](void* pData) -> HRESULT {
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
    };
    return FillArrayBy(op, CSafeArray(SafeArrayCreateVector(VT_BSTR, 0, static_cast<unsigned int>(uCount))), fill, array.Out());
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
    const auto fill = [&](void* pData) {
        auto* pRow = static_cast<unsigned char*>(pData);
        ForEachRow(bytes, [&](Bytes row) {
            std::copy(row.begin(), row.end(), pRow);
            pRow += uWidth;
        });
        return S_OK;
    };
    return FillArrayBy(op, CSafeArray(SafeArrayCreate(VT_UI1, 2, bounds)), fill, array.Out());
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

HRESULT DecodeRegistryValue(const COperation& op, unsigned long ulType, std::span<const unsigned char> bytes, CSafeArray& array)
{
    VARTYPE vt = VT_EMPTY;
    RETURN_IF_FAILED(op.Check(GetSafeArrayTypeFromRegistryType(ulType, vt), "GetSafeArrayTypeFromRegistryType failed"));
    if (bytes.size() > MaxValueSize) { // strings could take many times the memory
        return Malformed(op);
    }
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
