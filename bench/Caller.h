// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "client/StaticAuthCacheClient.h"
#include "client/StaticDataCacheClient.h"
#include "com/Owners.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>

/// @file
/// Callers of the exported classes, whose arguments are made once: a loop around their functions pays for the
/// operation, and for freeing what it handed out, alone.

/// A failed operation is fast and would be measured as such, so it ends the program.
inline void Require(HRESULT hr)
{
    if (hr != S_OK) {
        std::fprintf(stderr, "an operation failed with %#x\n", static_cast<unsigned int>(hr));
        std::exit(EXIT_FAILURE);
    }
}

inline ArrayPointer MakeBytes(std::size_t uSize)
{
    ArrayPointer pArray(SafeArrayCreateVector(VT_UI1, 0, static_cast<unsigned int>(uSize)));
    for (std::size_t i = 0; i < uSize; ++i) {
        static_cast<unsigned char*>(pArray->pvData)[i] = static_cast<unsigned char>('a' + i % 26);
    }
    return pArray;
}

/// Receives an array and frees it at the end of the call's statement.
class COut
{
public:
    COut() = default;
    ~COut() { ovSafeArrayDestroy(m_psa, 0); }
    COut(const COut&) = delete;
    COut& operator=(const COut&) = delete;
    operator SAFEARRAY**() { return &m_psa; }

private:
    SAFEARRAY* m_psa = nullptr;
};

/// A caller of one data store, who works on one item of one compartment.
class CDataCaller
{
public:
    CDataCaller(const std::string& sStore, OV::DataStore::Type type, int bEncrypted, std::size_t uSize)
        : m_Store(MakeString(sStore)), m_Value(MakeBytes(uSize))
    {
        Require(OV::DataStore::CStaticDataCacheClient::RegisterDataStore(m_Store.get(), type, bEncrypted, 1, m_Item.get()));
        Set();
    }

    void Select(std::string_view sCompartment) { m_Compartment = MakeString(sCompartment); }
    void SelectItem(std::string_view sItem) { m_Item = MakeString(sItem); }

    void Create() { Require(m_Client.CreateCompartment(m_Store.get(), m_Compartment.get())); }
    void Remove() { Require(m_Client.RemoveCompartment(m_Store.get(), m_Compartment.get(), 0)); }
    void Flush() { Require(m_Client.FlushStore(m_Store.get())); }
    void Set() { Require(m_Client.SetData(m_Store.get(), m_Compartment.get(), m_Item.get(), m_Value.get())); }
    void Get() { Require(m_Client.GetData(m_Store.get(), m_Compartment.get(), m_Item.get(), COut())); }
    void ListItems() { Require(m_Client.ListDataIds(m_Store.get(), m_Compartment.get(), COut())); }
    void ListChildren() { Require(m_Client.ListCompartmentIds(m_Store.get(), m_Compartment.get(), COut())); }
    void Ask()
    {
        unsigned long ulCompartmentVersion = 0;
        unsigned long ulContentVersion = 0;
        int bCached = 0;
        Require(m_Client.IsCompartmentCached(m_Store.get(), m_Compartment.get(), &ulCompartmentVersion, &ulContentVersion, &bCached));
    }

private:
    OV::DataStore::CStaticDataCacheClient m_Client;
    StringPointer m_Store, m_Compartment = MakeString("Card1/Certs"), m_Item = MakeString("Item1");
    ArrayPointer m_Value;
};

/// A caller of the default PIN store, who works on one PIN.
class CPINCaller
{
public:
    CPINCaller() { Set(); }

    void Select(std::string_view sPIN) { m_Id = MakeString(sPIN); }

    void Set() { Require(m_Client.SetPIN(m_Card.get(), m_Id.get(), m_PIN.get(), nullptr, 0, nullptr)); }
    void Get() { Require(m_Client.GetPIN(m_Card.get(), m_Id.get(), nullptr, 0, COut(), nullptr)); }
    void Ask()
    {
        int bCached = 0;
        Require(m_Client.IsPINCached(m_Card.get(), m_Id.get(), nullptr, 0, nullptr, &bCached));
    }

private:
    OV::AuthStore::CStaticAuthCacheClient m_Client;
    StringPointer m_Card = MakeString("Card1"), m_Id = MakeString("PIN1");
    ArrayPointer m_PIN = MakeBytes(8);
};
