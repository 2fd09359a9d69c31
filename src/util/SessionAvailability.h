// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"
#include "platform/ComEmulation.h"
#include "util/Mutex.h"

#include <ctime>
#include <map>

class COperation;

/// Which user sessions a store is shut for: a session that ended stays shut for a while, so that
/// nobody is served in its name.
///
/// Thread safety: guards itself; any thread.
class SHAREDSTORE_API CSessionAvailability
{
public:
    /// Opens (non-zero) or shuts (0) the store for a session from now on.
    /// @param pszName the store's operation that does so
    /// @return S_OK; E_OUTOFMEMORY
    HRESULT Set(const char* pszName, unsigned long dwSessionId, int bAvailabled);

    /// Tells whether the store is open (non-zero) for a session. A session that was never set is open; one
    /// that was shut opens again after "DisableTimeoutAfterEndSession" seconds (read from the registry,
    /// 15 when missing or 0), or at once when the clock was set back before the moment it was shut.
    /// Always S_OK.
    /// @param pszName the store's operation that asks
    HRESULT Get(const char* pszName, unsigned long dwSessionId, int& bAvailabled);

    /// Forgets all sessions.
    void Clear();

    /// Takes the lock for a fork.
    void HoldForFork() SHAREDSTORE_ACQUIRE(m_Mutex) { m_Mutex.Lock(); }
    /// Gives it back, in the parent and in the child.
    void ReleaseAfterFork() SHAREDSTORE_RELEASE(m_Mutex) { m_Mutex.Unlock(); }

private:
    struct SState
    {
        int bAvailable;
        std::time_t tTimeStamp;
    };

    static int Refresh(const COperation& op, SState& state);

    CMutex m_Mutex;
    std::map<unsigned long, SState> m_States SHAREDSTORE_GUARDED_BY(m_Mutex);
};
