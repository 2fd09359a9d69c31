// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

// The data cache in terms of C++ strings, byte vectors and exceptions.

#include "Handles.h"

#include "client/StaticDataCacheClient.h"

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
        return ToBytes(ArrayPointer(psaValue).get());
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
        return ToStrings(ArrayPointer(psaIds).get());
    }

    std::vector<std::string> Items(const std::string& sCompartment)
    {
        SAFEARRAY* psaIds = nullptr;
        Check(m_Client.ListDataIds(m_Store.get(), Bstr(sCompartment).get(), &psaIds), "listing " + sCompartment);
        return ToStrings(ArrayPointer(psaIds).get());
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
    StringPointer m_Store;
};
