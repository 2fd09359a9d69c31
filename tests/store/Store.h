// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "client/StaticDataCacheClient.h"
#include "com/Owners.h"
#include "platform/Registry.h"
#include "platform/SecAllocator.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using OV::DataStore::CStaticDataCacheClient;
using OV::Framework::SecureString;
using Strings = std::vector<std::string>;

/// A string argument; made of a null pointer it is null.
class CText
{
public:
    CText(const char* psz) : m_pText(psz == nullptr ? nullptr : MakeString(psz)) {}
    CText(std::string_view sText) : m_pText(MakeString(sText)) {}
    operator BSTR() const { return m_pText.get(); }

private:
    StringPointer m_pText;
};

/// A vector of bytes.
inline ArrayPointer Bytes(std::string_view sBytes)
{
    ArrayPointer pArray(SafeArrayCreateVector(VT_UI1, 0, static_cast<unsigned int>(sBytes.size())));
    sBytes.copy(static_cast<char*>(pArray->pvData), sBytes.size());
    return pArray;
}

/// A vector of strings; null for none.
inline ArrayPointer TextArray(const Strings& texts)
{
    ArrayPointer pArray(texts.empty() ? nullptr : SafeArrayCreateVector(VT_BSTR, 0, static_cast<unsigned int>(texts.size())));
    for (std::size_t i = 0; i < texts.size(); ++i) {
        static_cast<BSTR*>(pArray->pvData)[i] = MakeString(texts[i]).release();
    }
    return pArray;
}

inline std::string BytesOf(const ArrayPointer& pArray)
{
    return pArray == nullptr ? "no array" : std::string(static_cast<char*>(pArray->pvData), pArray->rgsabound[0].cElements);
}

/// The strings of an array that a call puts out; "no array" when it leaves its out-pointer alone.
template <class Call> Strings Listed(Call call, HRESULT hr = S_OK)
{
    SAFEARRAY* psa = nullptr;
    EXPECT_EQ(call(&psa), hr);
    const ArrayPointer pArray(psa);
    Strings ids(psa == nullptr ? 1 : psa->rgsabound[0].cElements, "no array");
    for (std::size_t i = 0; psa != nullptr && i < ids.size(); ++i) {
        ids[i] = TextOf(StringAt(pArray, static_cast<int>(i)));
    }
    return ids;
}

/// What IsCompartmentCached tells.
struct SState
{
    int bCached = 0;
    unsigned long ulCompartmentVersion = 0;
    unsigned long ulContentVersion = 0;

    bool operator==(const SState&) const = default;
};

/// What the operations of a client take besides identifiers, and what they put out.
struct SArguments
{
    ArrayPointer pIn = Bytes("new");
    int nFlag = 0; ///< of RemoveCompartment
    SAFEARRAY* psaOut = nullptr;
    SState State{};
};

/// One operation of a client that forwards to a store.
struct SOperation
{
    const char* pszName;
    int nIds; ///< 1: store, 2: and compartment, 3: and item
    HRESULT (*Run)(CStaticDataCacheClient& client, BSTR bstrStore, BSTR bstrCompartment, BSTR bstrItem, SArguments& args);
};

// clang-format off
constexpr SOperation Operations[] = {
    {"CreateCompartment",   2, [](auto& client, BSTR s, BSTR c, BSTR, auto&) { return client.CreateCompartment(s, c); }},
    {"TouchCompartment",    2, [](auto& client, BSTR s, BSTR c, BSTR, auto&) { return client.TouchCompartment(s, c); }},
    {"ListCompartmentIds",  2, [](auto& client, BSTR s, BSTR c, BSTR, auto& args) { return client.ListCompartmentIds(s, c, &args.psaOut); }},
    {"ListDataIds",         2, [](auto& client, BSTR s, BSTR c, BSTR, auto& args) { return client.ListDataIds(s, c, &args.psaOut); }},
    {"IsCompartmentCached", 2, [](auto& client, BSTR s, BSTR c, BSTR, auto& args) {
        return client.IsCompartmentCached(s, c, &args.State.ulCompartmentVersion, &args.State.ulContentVersion, &args.State.bCached); }},
    {"IsDataCached",        3, [](auto& client, BSTR s, BSTR c, BSTR i, auto& args) { return client.IsDataCached(s, c, i, &args.State.bCached); }},
    {"GetData",             3, [](auto& client, BSTR s, BSTR c, BSTR i, auto& args) { return client.GetData(s, c, i, &args.psaOut); }},
    {"SetData",             3, [](auto& client, BSTR s, BSTR c, BSTR i, auto& args) { return client.SetData(s, c, i, args.pIn.get()); }},
    {"RemoveData",          3, [](auto& client, BSTR s, BSTR c, BSTR i, auto&) { return client.RemoveData(s, c, i); }},
    {"RemoveCompartment",   2, [](auto& client, BSTR s, BSTR c, BSTR, auto& args) { return client.RemoveCompartment(s, c, args.nFlag); }},
    {"FlushStore",          1, [](auto& client, BSTR s, BSTR, BSTR, auto&) { return client.FlushStore(s); }},
    {"GetDataStoreInfo",    1, [](auto& client, BSTR s, BSTR, BSTR, auto&) { return client.GetDataStoreInfo(s, nullptr, nullptr, nullptr, nullptr); }},
};
// clang-format on

/// A registered store, and what the tests do with it.
class CTestStore
{
public:
    explicit CTestStore(std::string_view sId, int bShared = 1, const char* pszProduct = "Product",
                        OV::DataStore::Type type = OV::DataStore::MemoryStore, int bEncrypted = 0)
        : m_Id(sId)
    {
        EXPECT_EQ(CStaticDataCacheClient::RegisterDataStore(m_Id, type, bEncrypted, bShared, CText(pszProduct)), S_OK);
    }

    HRESULT Create(const char* pszPath) { return m_Client.CreateCompartment(m_Id, CText(pszPath)); }
    HRESULT Remove(const char* pszPath, int bVersions) { return m_Client.RemoveCompartment(m_Id, CText(pszPath), bVersions); }
    HRESULT RemoveItem(const char* pszPath, const char* pszItem) { return m_Client.RemoveData(m_Id, CText(pszPath), CText(pszItem)); }
    HRESULT Flush() { return m_Client.FlushStore(m_Id); }
    HRESULT Set(std::string_view sPath, std::string_view sItem, std::string_view sValue)
    {
        return m_Client.SetData(m_Id, CText(sPath), CText(sItem), Bytes(sValue).get());
    }
    std::string Get(std::string_view sPath, std::string_view sItem)
    {
        SAFEARRAY* psa = nullptr;
        const HRESULT hr = m_Client.GetData(m_Id, CText(sPath), CText(sItem), &psa);
        EXPECT_EQ(hr, psa != nullptr ? S_OK : E_INVALIDARG);
        return BytesOf(ArrayPointer(psa));
    }
    Strings Children(std::string_view sPath)
    {
        return Listed([&](SAFEARRAY** ppsa) { return m_Client.ListCompartmentIds(m_Id, CText(sPath), ppsa); });
    }
    SState State(const char* pszPath)
    {
        SState s;
        EXPECT_EQ(m_Client.IsCompartmentCached(m_Id, CText(pszPath), &s.ulCompartmentVersion, &s.ulContentVersion, &s.bCached), S_OK);
        return s;
    }

private:
    CStaticDataCacheClient m_Client;
    CText m_Id;
};

/// Writes a value into the registry.
inline void Configure(const std::string& sKey, const char* pszValue, unsigned long ulType, std::string_view sData)
{
    PVHKEY hKey = nullptr;
    ASSERT_EQ(pvRegCreateKeyEx("HKEY_LOCAL_MACHINE", sKey.c_str(), 0, nullptr, 0, 0, nullptr, &hKey, nullptr), ERROR_SUCCESS);
    const auto* pData = reinterpret_cast<const unsigned char*>(sData.data());
    EXPECT_EQ(pvRegSetValueEx(hKey, pszValue, 0, ulType, pData, sData.size()), ERROR_SUCCESS);
    EXPECT_EQ(pvRegCloseKey(hKey), ERROR_SUCCESS);
}
