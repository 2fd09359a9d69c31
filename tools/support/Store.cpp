// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/Store.h"

#include "support/Failure.h"
#include "support/Output.h"
#include "support/Text.h"

#include <algorithm>

namespace Tool
{

namespace
{

BstrPtr Identifier(const std::string& sIdentifier)
{
    return sIdentifier.empty() ? throw CFailure(ExitCode::Usage, "an identifier is empty") : MakeBstr(sIdentifier);
}

std::vector<std::string> SortedTexts(const SAFEARRAY* psa)
{
    const std::vector<std::string_view> texts = Strings(psa);
    std::vector<std::string> sorted(texts.begin(), texts.end());
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

} // namespace

const char* NameOfStoreType(OV::DataStore::Type type)
{
    return type == OV::DataStore::RegistryStore ? "registry" : "memory";
}

std::vector<std::string> RegisteredStores(Session& session)
{
    SAFEARRAY* psaIds = nullptr;
    const HRESULT hr = session.client.ListDataStoreIds(&psaIds);
    const ArrayPtr ids(psaIds);
    return FAILED(hr) ? throw StoreFailure(hr, ExitCode::Failed) : SortedTexts(psaIds);
}

std::optional<StoreSettings> FindStore(Session& session, const std::string& sStore)
{
    int bEncrypted = 0;
    int bShared = 0;
    BSTR bstrProduct = nullptr;
    const BstrPtr id = Identifier(sStore);
    const std::vector<std::string> stores = RegisteredStores(session);
    if (!std::binary_search(stores.begin(), stores.end(), sStore)) {
        return std::nullopt; // asking for its settings would log an error
    }
    OV::DataStore::Type type = OV::DataStore::MemoryStore;
    if (FAILED(session.client.GetDataStoreInfo(id.get(), &type, &bEncrypted, &bShared, &bstrProduct))) {
        return std::nullopt;
    }
    const BstrPtr product(bstrProduct);
    return StoreSettings{type, bEncrypted != 0, bShared != 0, product == nullptr ? "" : product.get()};
}

CStore::CStore(Session& session, const std::string& sStore) : m_Session(session), m_sId(sStore), m_bstrId(Identifier(sStore))
{
    if (const std::optional<StoreSettings> settings = FindStore(session, sStore)) {
        m_Settings = *settings;
    } else if (IsConfigured(sStore)) {
        throw StoreFailure(E_FAIL, ExitCode::Failed,
                           "the store is configured but could not begin; 'sharedstore store list' shows faulty settings, "
                           "'sharedstore keyfile check' the key of encrypted registry stores, SHAREDSTORE_LOG=stderr other reasons");
    } else {
        throw StoreFailure(E_FAIL, ExitCode::NotFound,
                           "there is no store '" + Display(sStore) + "'; 'sharedstore store list' shows what there is");
    }
}

void CStore::CreateCompartment(const std::string& sPath)
{
    Check(m_Session.client.CreateCompartment(m_bstrId.get(), Identifier(sPath).get()));
    WarnWhenLost();
}

void CStore::TouchCompartment(const std::string& sPath)
{
    Check(m_Session.client.TouchCompartment(m_bstrId.get(), Identifier(sPath).get()));
    WarnWhenLost();
}

void CStore::RemoveCompartment(const std::string& sPath, bool bForgetVersions)
{
    Check(m_Session.client.RemoveCompartment(m_bstrId.get(), Identifier(sPath).get(), bForgetVersions ? 1 : 0),
          sPath == WholeStore ? "the store is empty: there is no compartment to remove"
                              : "there is no such compartment; 'sharedstore tree " + Quoted(m_sId) + "' shows what there is");
}

CompartmentStatus CStore::Status(const std::string& sPath)
{
    CompartmentStatus status;
    int bCached = 0;
    Check(m_Session.client.IsCompartmentCached(m_bstrId.get(), Identifier(sPath).get(), &status.ulCompartmentVersion,
                                               &status.ulContentVersion, &bCached));
    status.bCached = bCached != 0;
    return status;
}

std::vector<std::string> CStore::Compartments(const std::string& sPath)
{
    // A registry store that never held anything has no root key to list.
    if (sPath == WholeStore && m_Settings.type == OV::DataStore::RegistryStore && !Status(sPath).bCached) {
        return {};
    }
    RequireCompartment(sPath);
    SAFEARRAY* psaIds = nullptr;
    const HRESULT hr = m_Session.client.ListCompartmentIds(m_bstrId.get(), Identifier(sPath).get(), &psaIds);
    const ArrayPtr ids(psaIds);
    Check(hr);
    return SortedTexts(psaIds);
}

std::vector<std::string> CStore::Items(const std::string& sPath)
{
    RequireCompartment(sPath);
    SAFEARRAY* psaIds = nullptr;
    const HRESULT hr = m_Session.client.ListDataIds(m_bstrId.get(), Identifier(sPath).get(), &psaIds);
    const ArrayPtr ids(psaIds);
    Check(hr);
    return SortedTexts(psaIds);
}

void CStore::Set(const std::string& sPath, const std::string& sItem, SAFEARRAY* psaValue)
{
    Check(m_Session.client.SetData(m_bstrId.get(), Identifier(sPath).get(), Identifier(sItem).get(), psaValue));
    WarnWhenLost();
}

ArrayPtr CStore::Get(const std::string& sPath, const std::string& sItem)
{
    SAFEARRAY* psaValue = nullptr;
    const HRESULT hr = m_Session.client.GetData(m_bstrId.get(), Identifier(sPath).get(), Identifier(sItem).get(), &psaValue);
    if (FAILED(hr) && Holds(sPath, sItem)) {
        throw StoreFailure(hr, ExitCode::Failed,
                           std::string("the item can't be read: it is damaged or of a foreign type") +
                               (m_Settings.bEncrypted ? ", or encrypted with another key" : ""));
    }
    Check(hr, ItemAdvice(sPath));
    return ArrayPtr(psaValue);
}

void CStore::Remove(const std::string& sPath, const std::string& sItem)
{
    Check(m_Session.client.RemoveData(m_bstrId.get(), Identifier(sPath).get(), Identifier(sItem).get()), ItemAdvice(sPath));
}

void CStore::Flush()
{
    Check(m_Session.client.FlushStore(m_bstrId.get()));
}

bool CStore::Holds(const std::string& sPath, const std::string& sItem)
{
    int bCached = 0;
    const HRESULT hr = m_Session.client.IsDataCached(m_bstrId.get(), Identifier(sPath).get(), Identifier(sItem).get(), &bCached);
    return SUCCEEDED(hr) && bCached != 0;
}

/// @param sNotFoundAdvice for operations whose E_INVALIDARG says that something is not there
void CStore::Check(HRESULT hr, const std::string& sNotFoundAdvice) const
{
    if (SUCCEEDED(hr)) {
        return;
    }
    if (hr == E_FAIL && !m_Settings.bShared) {
        throw StoreFailure(hr, ExitCode::Failed,
                           "the store is not shared between user sessions, and such a store holds no data; 'sharedstore store add " +
                               Quoted(m_sId) + " --shared --force' changes that");
    }
    if (hr == E_INVALIDARG && !sNotFoundAdvice.empty()) {
        throw StoreFailure(hr, ExitCode::NotFound, sNotFoundAdvice);
    }
    throw StoreFailure(hr, ExitCode::Failed);
}

void CStore::RequireCompartment(const std::string& sPath)
{
    if (sPath != WholeStore && !Status(sPath).bCached) {
        throw StoreFailure(E_INVALIDARG, ExitCode::NotFound,
                           "there is no compartment '" + Display(sPath) + "'; 'sharedstore tree " + Quoted(m_sId) +
                               "' shows what there is");
    }
}

void CStore::WarnWhenLost() const
{
    if (m_Settings.type == OV::DataStore::MemoryStore && !m_Session.bManyCommands) {
        Complain("sharedstore: warning: '" + Display(m_sId) +
                 "' is a memory store: what this command stores is gone when it ends; 'sharedstore run' and 'sharedstore shell' keep it "
                 "for several commands");
    }
}

std::string CStore::ItemAdvice(const std::string& sPath) const
{
    return "there is no such compartment or item; 'sharedstore data list " + Quoted(m_sId) + ' ' + Quoted(sPath) + "' shows what there is";
}

} // namespace Tool
