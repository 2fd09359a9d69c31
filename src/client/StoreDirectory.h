// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/SecAllocator.h"
#include "util/SharedMutex.h"

#include <map>
#include <memory>
#include <new>
#include <vector>

/// A directory of stores, by identifier in byte order. Stores are never removed before all of them end,
/// so a store that was found stays valid.
///
/// Owns the stores. m_Lock guards the directory, not the stores; it is the first in the lock order and,
/// until the stores end, never held while one works.
///
/// Thread safety: any thread; readers don't block readers. The functions that copy or add throw
/// std::bad_alloc.
template <class Store> class CStoreDirectory
{
public:
    using SecureString = OV::Framework::SecureString; ///< an identifier or a path

    CStoreDirectory() = default;
    CStoreDirectory(const CStoreDirectory&) = delete;
    CStoreDirectory& operator=(const CStoreDirectory&) = delete;

    /// Looks a store up.
    /// @param pStore receives the store, which stays the directory's; untouched when there is none
    /// @return whether the directory has such an entry
    bool Find(const SecureString& sStoreId, Store*& pStore)
    {
        const CReadLock lock(m_Lock);
        const auto it = m_Stores.find(sStoreId);
        if (it == m_Stores.end()) {
            return false;
        }
        pStore = it->second.get();
        return true;
    }

    /// Adds a store.
    /// @return false when the identifier is taken; the store is then destroyed
    bool Add(const SecureString& sStoreId, std::unique_ptr<Store> store)
    {
        const CWriteLock lock(m_Lock);
        return m_Stores.emplace(sStoreId, std::move(store)).second;
    }

    /// @return all identifiers, in byte order
    std::vector<SecureString> Ids()
    {
        const CReadLock lock(m_Lock);
        std::vector<SecureString> ids;
        for (const auto& entry : m_Stores) {
            ids.push_back(entry.first);
        }
        return ids;
    }

    /// @return all stores, in byte order of their identifiers
    std::vector<Store*> Stores()
    {
        const CReadLock lock(m_Lock);
        std::vector<Store*> stores;
        for (const auto& entry : m_Stores) {
            stores.push_back(entry.second.get());
        }
        return stores;
    }

    /// Takes the directory's lock for a fork.
    void HoldForFork() SHAREDSTORE_NO_THREAD_SAFETY_ANALYSIS { m_Lock.Lock(); }
    /// Gives it back, in the parent or in the child.
    void ReleaseAfterFork(bool bInChild) SHAREDSTORE_NO_THREAD_SAFETY_ANALYSIS
    {
        if (bInChild) {
            new (&m_Lock) CSharedMutex; // the child's thread is not the one that it knows as its holder
        } else {
            m_Lock.Unlock();
        }
    }

protected:
    ~CStoreDirectory() = default;

    /// Ends and deletes all stores.
    void EndAll()
    {
        const CWriteLock lock(m_Lock);
        for (const auto& entry : m_Stores) {
            if (entry.second != nullptr) {
                entry.second->End();
            }
        }
        m_Stores.clear();
    }

private:
    CSharedMutex m_Lock;
    std::map<SecureString, std::unique_ptr<Store>> m_Stores SHAREDSTORE_GUARDED_BY(m_Lock);
};
