// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "util/ThreadAnnotations.h"

#include <shared_mutex>

/// A lock that many readers or one writer hold.
class SHAREDSTORE_CAPABILITY("mutex") CSharedMutex
{
public:
    void Lock() SHAREDSTORE_ACQUIRE() { m_Mutex.lock(); }
    void Unlock() SHAREDSTORE_RELEASE() { m_Mutex.unlock(); }
    void LockShared() SHAREDSTORE_ACQUIRE_SHARED() { m_Mutex.lock_shared(); }
    void UnlockShared() SHAREDSTORE_RELEASE_SHARED() { m_Mutex.unlock_shared(); }

private:
    std::shared_mutex m_Mutex;
};

/// Reads under a CSharedMutex for as long as it lives.
class SHAREDSTORE_SCOPED_CAPABILITY CReadLock
{
public:
    /// Waits for the mutex.
    explicit CReadLock(CSharedMutex& mutex) SHAREDSTORE_ACQUIRE_SHARED(mutex) : m_Mutex(mutex) { m_Mutex.LockShared(); }
    ~CReadLock() SHAREDSTORE_RELEASE() { m_Mutex.UnlockShared(); }
    CReadLock(const CReadLock&) = delete;
    CReadLock& operator=(const CReadLock&) = delete;

private:
    CSharedMutex& m_Mutex;
};

/// Writes under a CSharedMutex for as long as it lives.
class SHAREDSTORE_SCOPED_CAPABILITY CWriteLock
{
public:
    /// Waits for the mutex.
    explicit CWriteLock(CSharedMutex& mutex) SHAREDSTORE_ACQUIRE(mutex) : m_Mutex(mutex) { m_Mutex.Lock(); }
    ~CWriteLock() SHAREDSTORE_RELEASE() { m_Mutex.Unlock(); }
    CWriteLock(const CWriteLock&) = delete;
    CWriteLock& operator=(const CWriteLock&) = delete;

private:
    CSharedMutex& m_Mutex;
};
