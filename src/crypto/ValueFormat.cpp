// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "crypto/ValueFormat.h"

#include "util/ArrayBytes.h"
#include "util/ComHandles.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

using OV::Framework::SecureBytes;

namespace
{

struct SValueType
{
    std::string_view sName;
    VARTYPE vt;
    unsigned int uElementBytes; ///< in the stored form, whatever the platform's own sizes; strings have none
};

constexpr SValueType ValueTypes[] = {
    {"UNKNOWN", VT_UNKNOWN, 4}, {"INT", VT_INT, 4}, {"I8", VT_I8, 8}, {"UINT", VT_UINT, 4},
    {"UI8", VT_UI8, 8},         {"UI1", VT_UI1, 1}, {"I1", VT_I1, 1}, {"BSTR", VT_BSTR, 0},
};

constexpr std::string_view ByteMatrix = "UI1_MULTI";
constexpr unsigned int MatrixDimensions = 2;

constexpr const char* UnknownName = "*pDescrOut unknown";

template <class Key> const SValueType* FindType(Key SValueType::*pMember, const Key& key)
{
    const auto* pType = std::ranges::find(ValueTypes, key, pMember);
    return pType == std::end(ValueTypes) ? nullptr : pType;
}

/// The name of an array's type, empty when there is none.
std::string NameType(VARTYPE vt, SAFEARRAY* psa)
{
    const unsigned int uDimensions = SafeArrayGetDim(psa);
    if (vt != VT_UI1 || uDimensions < MatrixDimensions) {
        const SValueType* pType = FindType(&SValueType::vt, vt);
        return pType == nullptr ? std::string() : std::string(pType->sName);
    }
    std::string sName(ByteMatrix);
    for (unsigned int i = 0; i < MatrixDimensions; ++i) {
        sName += ' ' + std::to_string(psa->rgsabound[i].cElements);
    }
    return uDimensions == MatrixDimensions ? sName + ' ' : std::string();
}

/// Appends a list of strings. An element that is null or can't be read is left out.
void AppendStrings(const COperation& op, SAFEARRAY* psa, SecureBytes& clear)
{
    std::vector<CBstr> strings;
    std::size_t uSize = 0;
    std::vector<int> indices(SafeArrayGetDim(psa)); // the last dimension is the first stored bound
    for (unsigned int i = 0; i < psa->rgsabound[0].cElements; ++i) {
        indices.back() = static_cast<int>(i);
        CBstr bstr;
        const HRESULT hr = op.Check(SafeArrayGetElement(psa, indices.data(), &bstr.Out()), "SafeArrayGetElement failed");
        if (SUCCEEDED(hr) && bstr.Get() != nullptr) {
            uSize += std::strlen(bstr.Get()) + 1;
            strings.push_back(std::move(bstr));
        }
    }
    const std::size_t uEnd = strings.empty() ? 2 : 1;
    clear.reserve(clear.size() + uSize + uEnd);
    for (const CBstr& bstr : strings) {
        clear.insert(clear.end(), bstr.Get(), bstr.Get() + std::strlen(bstr.Get()) + 1);
    }
    clear.insert(clear.end(), uEnd, 0);
}

HRESULT DecodeStrings(const COperation& op, std::string_view sValue, SAFEARRAY*& psaOut)
{
    std::vector<std::string_view> strings;
    for (std::size_t uLength = 0; (uLength = sValue.find('\0')) != 0; sValue.remove_prefix(uLength + 1)) {
        if (uLength == std::string_view::npos) {
            return op.Fail(E_FAIL, "list of strings without an end");
        }
        strings.push_back(sValue.substr(0, uLength));
    }
    if (strings.empty()) {
        pvlogLog(LogComponent, LogTrace, "%s nbElem = 0", op.Name());
    }
    psaOut = SafeArrayCreateVector(VT_BSTR, 0, static_cast<unsigned int>(strings.size()));
    if (psaOut == nullptr) {
        return op.Fail(E_OUTOFMEMORY, "SafeArrayCreateVector failed");
    }
    int nIndex = 0;
    for (const std::string_view sString : strings) {
        const CBstr bstr(SysAllocStringByteLen(sString.data(), static_cast<unsigned int>(sString.size())));
        const HRESULT hr = bstr.Get() == nullptr ? E_OUTOFMEMORY : SafeArrayPutElement(psaOut, &nIndex, bstr.Get());
        RETURN_IF_FAILED(op.Check(hr, "SafeArrayPutElement failed"));
        ++nIndex;
    }
    return S_OK;
}

/// Cuts the next decimal number off a text.
bool CutNumber(std::string_view& sText, unsigned int& uNumber)
{
    sText.remove_prefix(std::min(sText.find_first_not_of(' '), sText.size()));
    const auto [pEnd, error] = std::from_chars(sText.data(), sText.data() + sText.size(), uNumber);
    sText.remove_prefix(static_cast<std::size_t>(pEnd - sText.data()));
    return error == std::errc();
}

HRESULT DecodeMatrix(const COperation& op, std::string_view sCounts, std::span<const unsigned char> value, SAFEARRAY*& psaOut)
{
    SAFEARRAYBOUND bounds[MatrixDimensions]{};
    // An array is made with its first dimension first and stores its last one first.
    const bool bNumbers = CutNumber(sCounts, bounds[1].cElements) && CutNumber(sCounts, bounds[0].cElements);
    if (!bNumbers || std::uint64_t{bounds[0].cElements} * bounds[1].cElements != value.size()) {
        return op.Fail(E_FAIL, "counts of elements that are not those of the value");
    }
    return FillArray(op, CSafeArray(SafeArrayCreate(VT_UI1, MatrixDimensions, bounds)), value, psaOut);
}

} // namespace

HRESULT EncodeValue(const COperation& op, SAFEARRAY* psaIn, SecureBytes& clear)
{
    VARTYPE vt = VT_EMPTY; // stays so when there is no array
    SafeArrayGetVartype(psaIn, &vt);
    const std::string sName = NameType(vt, psaIn);
    clear.assign(sName.begin(), sName.end());
    clear.push_back(0);
    if (vt == VT_BSTR) {
        AppendStrings(op, psaIn, clear);
        return S_OK;
    }
    RETURN_IF_FAILED(AppendElements(op, psaIn, SafeArrayGetDim(psaIn), clear));
    return sName.empty() ? op.Fail(E_FAIL, "unsupported vt") : S_OK;
}

HRESULT DecodeValue(const COperation& op, std::span<const unsigned char> clear, SAFEARRAY*& psaOut)
{
    if (clear.empty()) {
        return op.Fail(E_FAIL, "pDescrOut == NULL");
    }
    const std::string_view sClear(reinterpret_cast<const char*>(clear.data()), clear.size());
    const std::size_t uNameEnd = sClear.find('\0');
    if (uNameEnd == std::string_view::npos) {
        return op.Fail(E_FAIL, UnknownName);
    }
    const std::string_view sName = sClear.substr(0, uNameEnd);
    const auto value = clear.subspan(uNameEnd + 1);
    if (sName.starts_with(ByteMatrix)) {
        return DecodeMatrix(op, sName.substr(ByteMatrix.size()), value, psaOut);
    }
    const SValueType* pType = FindType(&SValueType::sName, sName);
    if (pType == nullptr) {
        return op.Fail(E_FAIL, UnknownName);
    }
    if (pType->vt == VT_BSTR) {
        return DecodeStrings(op, sClear.substr(uNameEnd + 1), psaOut);
    }
    const auto uElements = static_cast<unsigned int>(value.size() / pType->uElementBytes);
    CSafeArray array(SafeArrayCreateVector(pType->vt, 0, uElements));
    return FillArray(op, std::move(array), value.first(std::size_t{uElements} * pType->uElementBytes), psaOut);
}
