// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "authstore/InternalAuthStore.h"

/// Holds a store's mutex for as long as it lives, then deletes the timers that were dropped meanwhile.
///
/// A timer's destructor waits for its callback, and the callback may be waiting for the mutex: so the
/// mutex goes first.
class SHAREDSTORE_SCOPED_CAPABILITY CInternalAuthStore::CStoreLock
{
public:
    explicit CStoreLock(CInternalAuthStore& store) SHAREDSTORE_ACQUIRE(store.m_Mutex) : m_Store(store) { m_Store.m_Mutex.Lock(); }
    ~CStoreLock() SHAREDSTORE_RELEASE()
    {
        DroppedPINTimers dropped;
        dropped.swap(m_Store.m_DroppedTimers);
        for (const auto& entry : dropped) {
            *entry.second.pUses = DroppedTimer;
        }
        m_Store.m_Mutex.Unlock();
    }
    CStoreLock(const CStoreLock&) = delete;
    CStoreLock& operator=(const CStoreLock&) = delete;

private:
    CInternalAuthStore& m_Store;
};
