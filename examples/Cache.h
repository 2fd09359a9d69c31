// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

// The data cache in terms of C++ strings, byte vectors and exceptions.

#include "client/StaticDataCacheClient.h"

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
using CBstr = std::unique_ptr<char, BstrDeleter>;
using CArray = std::unique_ptr<SAFEARRAY, ArrayDeleter>;

inline CBstr Bstr(const std::string& s)
{
    return CBstr(SysAllocString(s.c_str()));
}

inline void Check(HRESULT hr, const std::string& sWhat)
{
    if (FAILED(hr)) {
        char szCode[16];
        std::snprintf(szCode, sizeof szCode, "0x%08X", static_cast<unsigned int>(hr));
        throw std::runtime_error(sWhat + " failed with " + szCode);
    }
}

inline CArray ToArray(const Bytes& bytes)
{
    CArray array(SafeArrayCreateVector(VT_UI1, 0, static_cast<unsigned int>(bytes.size())));
    void* pData = nullptr;
    Check(SafeArrayAccessData(array.get(), &pData), "SafeArrayAccessData");
    std::copy(bytes.begin(), bytes.end(), static_cast<unsigned char*>(pData));
    SafeArrayUnaccessData(array.get());
    return array;
}

inline Bytes ToBytes(SAFEARRAY* psa)
{
    void* pData = nullptr;
    Check(SafeArrayAccessData(psa, &pData), "SafeArrayAccessData");
    const auto* pBytes = static_cast<const unsigned char*>(pData);
    Bytes bytes(pBytes, pBytes + psa->rgsabound[0].cElements);
    SafeArrayUnaccessData(psa);
    return bytes;
}

inline std::vector<std::string> ToStrings(SAFEARRAY* psa)
{
    std::vector<std::string> strings;
    for (int i = 0; psa != nullptr && i < static_cast<int>(psa->rgsabound[0].cElements); ++i) {
        BSTR bstr = nullptr;
        Check(SafeArrayGetElement(psa, &i, &bstr), "SafeArrayGetElement");
        strings.emplace_back(CBstr(bstr).get());
    }
    return strings;
}

// A data store, in terms of this program.
class CCache
{
public:
    explicit CCache(const std::string& sStore) : m_Store(Bstr(sStore)) {}

    void Set(const std::string& sCompartment, const std::string& sItem, const Bytes& bytes)
    {
        Check(m_Client.SetData(m_Store.get(), Bstr(sCompartment).get(), Bstr(sItem).get(), ToArray(bytes).get()), "storing " + sItem);
    }

    Bytes Get(const std::string& sCompartment, const std::string& sItem)
    {
        SAFEARRAY* psaValue = nullptr;
        Check(m_Client.GetData(m_Store.get(), Bstr(sCompartment).get(), Bstr(sItem).get(), &psaValue), "reading " + sItem);
        return ToBytes(CArray(psaValue).get());
    }

    void Touch(const std::string& sCompartment)
    {
        Check(m_Client.TouchCompartment(m_Store.get(), Bstr(sCompartment).get()), "touching " + sCompartment);
    }

    void Remove(const std::string& sCompartment)
    {
        Check(m_Client.RemoveCompartment(m_Store.get(), Bstr(sCompartment).get(), 0), "removing " + sCompartment);
    }

    std::vector<std::string> Compartments(const std::string& sCompartment)
    {
        SAFEARRAY* psaIds = nullptr;
        Check(m_Client.ListCompartmentIds(m_Store.get(), Bstr(sCompartment).get(), &psaIds), "listing " + sCompartment);
        return ToStrings(CArray(psaIds).get());
    }

    std::vector<std::string> Items(const std::string& sCompartment)
    {
        SAFEARRAY* psaIds = nullptr;
        Check(m_Client.ListDataIds(m_Store.get(), Bstr(sCompartment).get(), &psaIds), "listing " + sCompartment);
        return ToStrings(CArray(psaIds).get());
    }

    struct SVersions
    {
        unsigned long ulCompartment = 0;
        unsigned long ulContent = 0;

        bool operator!=(const SVersions& other) const { return ulCompartment != other.ulCompartment || ulContent != other.ulContent; }
    };

    SVersions Versions(const std::string& sCompartment)
    {
        SVersions versions;
        int bCached = 0;
        Check(m_Client.IsCompartmentCached(m_Store.get(), Bstr(sCompartment).get(), &versions.ulCompartment, &versions.ulContent, &bCached),
              "asking for " + sCompartment);
        return versions;
    }

private:
    OV::DataStore::CStaticDataCacheClient m_Client;
    CBstr m_Store;
};
