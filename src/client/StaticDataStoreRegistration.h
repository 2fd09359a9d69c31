// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"
#include "platform/SecAllocator.h"
#include "util/SharedMutex.h"

#include <map>
#include <memory>
#include <vector>

class CInternalDataStore;

namespace OV::DataStore
{

/// The directory of all data stores of the process, by identifier in byte order.
///
/// One object, gStaticDataStoreRegistration, is made when the library is loaded: it makes the history
/// tree and registers the stores of the configuration. It is destroyed when the library is unloaded,
/// which ends all stores. Stores are never removed before that, so a store that was found stays valid.
///
/// Owns the stores. m_Lock guards the directory, not the stores; it is the first in the lock order
/// and, until the library is unloaded, never held while a store works.
///
/// A forked child keeps the stores as they were: no thread of the parent is in the middle of one.
///
/// Thread safety: any thread; readers don't block readers. The functions that copy or add throw
/// std::bad_alloc.
class SHAREDSTORE_API StaticDataStoreRegistration
{
public:
    using SecureString = OV::Framework::SecureString;

    StaticDataStoreRegistration() noexcept;
    virtual ~StaticDataStoreRegistration();
    StaticDataStoreRegistration(const StaticDataStoreRegistration&) = delete;
    StaticDataStoreRegistration& operator=(const StaticDataStoreRegistration&) = delete;

    /// Looks a store up.
    /// @param pStore receives the store, which stays the directory's; untouched when there is none
    /// @return whether the directory has such an entry
    bool Find(const SecureString& sDataStoreId, CInternalDataStore*& pStore);

    /// Adds a store.
    /// @return false when the identifier is taken; the store is then destroyed
    bool Add(const SecureString& sDataStoreId, std::unique_ptr<CInternalDataStore> store);

    /// @return all identifiers, in byte order
    std::vector<SecureString> Ids();

    /// @return all stores, in byte order of their identifiers
    std::vector<CInternalDataStore*> Stores();

    /// Takes every lock of the library's data stores in their order, so that a fork finds each of them
    /// between two operations, and gives them back.
    void HoldForFork() SHAREDSTORE_NO_THREAD_SAFETY_ANALYSIS;
    void ReleaseAfterFork(bool bInChild) SHAREDSTORE_NO_THREAD_SAFETY_ANALYSIS;

private:
    CSharedMutex m_Lock;
    std::map<SecureString, std::unique_ptr<CInternalDataStore>> m_DataStores SHAREDSTORE_GUARDED_BY(m_Lock);
};

} // namespace OV::DataStore

extern SHAREDSTORE_API OV::DataStore::StaticDataStoreRegistration gStaticDataStoreRegistration;
