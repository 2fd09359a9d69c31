// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "util/ThreadAnnotations.h"

#include <pthread.h>

/// A process-private, non-recursive POSIX mutex. Zero-initialised, it can be locked before Init and
/// after a failed Init; it is never destroyed.
class SHAREDSTORE_CAPABILITY("mutex") CMutex
{
public:
    CMutex() = default;
    CMutex(const CMutex&) = delete;
    CMutex& operator=(const CMutex&) = delete;

    /// Initialises the mutex with default attributes, once and before its first use by threads.
    /// @return 0 or the error number of pthread_mutex_init(3)
    int Init() { return pthread_mutex_init(&m_Mutex, nullptr); }
    void Lock() SHAREDSTORE_ACQUIRE() { pthread_mutex_lock(&m_Mutex); }
    void Unlock() SHAREDSTORE_RELEASE() { pthread_mutex_unlock(&m_Mutex); }

    /// Tells the analysis what it can't see: the caller of the caller holds the mutex.
    void AssertHeld() const SHAREDSTORE_ASSERT_CAPABILITY() {}

private:
    pthread_mutex_t m_Mutex = PTHREAD_MUTEX_INITIALIZER;
};

/// Holds a CMutex for as long as it lives.
class SHAREDSTORE_SCOPED_CAPABILITY CMutexLock
{
public:
    /// Waits for the mutex.
    explicit CMutexLock(CMutex& mutex) SHAREDSTORE_ACQUIRE(mutex) : m_Mutex(mutex) { m_Mutex.Lock(); }
    ~CMutexLock() SHAREDSTORE_RELEASE() { m_Mutex.Unlock(); }
    CMutexLock(const CMutexLock&) = delete;
    CMutexLock& operator=(const CMutexLock&) = delete;

private:
    CMutex& m_Mutex;
};
