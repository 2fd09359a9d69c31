// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

// The interface's strings, arrays and result codes in terms of C++ values and exceptions.

#include "platform/ComEmulation.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

// The strings and arrays of the interface, freed when they go.
struct BstrDeleter
{
    void operator()(char* bstr) const { SysFreeString(bstr); }
};
struct ArrayDeleter
{
    void operator()(SAFEARRAY* psa) const { ovSafeArrayDestroy(psa, 0); }
};
using StringPointer = std::unique_ptr<char, BstrDeleter>;
using ArrayPointer = std::unique_ptr<SAFEARRAY, ArrayDeleter>;

inline StringPointer Bstr(const std::string& s)
{
    return StringPointer(SysAllocString(s.c_str()));
}

inline void Check(HRESULT hr, const std::string& sWhat)
{
    if (FAILED(hr)) {
        char szCode[16];
        std::snprintf(szCode, sizeof szCode, "0x%08X", static_cast<unsigned int>(hr));
        throw std::runtime_error(sWhat + " failed with " + szCode);
    }
}

template <class TBytes> ArrayPointer ToArray(const TBytes& bytes)
{
    ArrayPointer array(SafeArrayCreateVector(VT_UI1, 0, static_cast<unsigned int>(bytes.size())));
    void* pData = nullptr;
    Check(SafeArrayAccessData(array.get(), &pData), "SafeArrayAccessData");
    std::copy(bytes.begin(), bytes.end(), static_cast<unsigned char*>(pData));
    SafeArrayUnaccessData(array.get());
    return array;
}

template <class TBytes = Bytes> TBytes ToBytes(SAFEARRAY* psa)
{
    void* pData = nullptr;
    Check(SafeArrayAccessData(psa, &pData), "SafeArrayAccessData");
    const auto* pBytes = static_cast<const unsigned char*>(pData);
    TBytes bytes(pBytes, pBytes + psa->rgsabound[0].cElements);
    SafeArrayUnaccessData(psa);
    return bytes;
}

inline std::vector<std::string> ToStrings(SAFEARRAY* psa)
{
    std::vector<std::string> strings;
    for (int i = 0; psa != nullptr && i < static_cast<int>(psa->rgsabound[0].cElements); ++i) {
        BSTR bstr = nullptr;
        Check(SafeArrayGetElement(psa, &i, &bstr), "SafeArrayGetElement");
        strings.emplace_back(StringPointer(bstr).get());
    }
    return strings;
}
