// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "client/StaticDataStoreRegistration.h"

#include "client/StaticDataCacheClient.h"
#include "client/StoreList.h"
#include "datastore/InternalDataStore.h"
#include "tree/HistoryAccess.h"
#include "util/Operation.h"

#include <new>
#include <pthread.h>

using OV::Framework::SecureString;

OV::DataStore::StaticDataStoreRegistration gStaticDataStoreRegistration;

namespace
{

// Once per process, not once per directory.
[[gnu::constructor]] void RegisterForkHandlers()
{
    pthread_atfork([] { gStaticDataStoreRegistration.HoldForFork(); }, [] { gStaticDataStoreRegistration.ReleaseAfterFork(false); },
                   [] { gStaticDataStoreRegistration.ReleaseAfterFork(true); });
}

} // namespace

namespace OV::DataStore
{

/// A configuration that can't be read, or a store that can't be registered, takes nothing else with it.
StaticDataStoreRegistration::StaticDataStoreRegistration() noexcept
{
    RunOperation("StaticDataStoreRegistration::StaticDataStoreRegistration", [](const COperation&) -> HRESULT {
        CreateHistoryTree();
        std::list<_regInfos> regInfos;
        GetRegInfos(regInfos);
        for (const _regInfos& info : regInfos) {
            CStaticDataCacheClient::RegisterDataStore(info.bstrDataStoreId, info.type, info.bEncrypted, info.bSharedBetweenUserSessions,
                                                      info.bstrProduct);
        }
        ClearRegInfos(regInfos);
        return S_OK;
    });
}

StaticDataStoreRegistration::~StaticDataStoreRegistration()
{
    const CWriteLock lock(m_Lock);
    for (const auto& entry : m_DataStores) {
        if (entry.second != nullptr) {
            entry.second->End();
        }
    }
    m_DataStores.clear(); // a fork that comes yet finds no stores
}

bool StaticDataStoreRegistration::Find(const SecureString& sDataStoreId, CInternalDataStore*& pStore)
{
    const CReadLock lock(m_Lock);
    const auto it = m_DataStores.find(sDataStoreId);
    if (it == m_DataStores.end()) {
        return false;
    }
    pStore = it->second.get();
    return true;
}

bool StaticDataStoreRegistration::Add(const SecureString& sDataStoreId, std::unique_ptr<CInternalDataStore> store)
{
    const CWriteLock lock(m_Lock);
    return m_DataStores.emplace(sDataStoreId, std::move(store)).second;
}

std::vector<SecureString> StaticDataStoreRegistration::Ids()
{
    const CReadLock lock(m_Lock);
    std::vector<SecureString> ids;
    for (const auto& entry : m_DataStores) {
        ids.push_back(entry.first);
    }
    return ids;
}

std::vector<CInternalDataStore*> StaticDataStoreRegistration::Stores()
{
    const CReadLock lock(m_Lock);
    std::vector<CInternalDataStore*> stores;
    for (const auto& entry : m_DataStores) {
        stores.push_back(entry.second.get());
    }
    return stores;
}

void StaticDataStoreRegistration::HoldForFork()
{
    m_Lock.Lock();
    for (const auto& entry : m_DataStores) {
        if (entry.second != nullptr) {
            entry.second->HoldForFork();
        }
    }
    gHistoryMutex.Lock();
}

void StaticDataStoreRegistration::ReleaseAfterFork(bool bInChild)
{
    gHistoryMutex.Unlock();
    for (const auto& entry : m_DataStores) {
        if (entry.second != nullptr) {
            entry.second->ReleaseAfterFork();
        }
    }
    if (bInChild) {
        new (&m_Lock) CSharedMutex; // the child's thread is not the one that it knows as its holder
    } else {
        m_Lock.Unlock();
    }
}

} // namespace OV::DataStore
