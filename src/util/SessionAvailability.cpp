// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "util/SessionAvailability.h"

#include "util/Operation.h"
#include "util/Setting.h"

#include <cstdint>

namespace
{

constexpr const char* TimeOutValue = "DisableTimeoutAfterEndSession";
constexpr unsigned long DefaultTimeOut = 15;

unsigned long ReadTimeOut(const COperation& op)
{
    unsigned long dwTimeOut = 0;
    if (!ReadSetting(op, SharedStoreKey, TimeOutValue, dwTimeOut)) {
        return DefaultTimeOut;
    }
    pvlogLog(LogComponent, LogDetail, "%s ovRegReadValue(%s) returned %d seconds", op.Name(), SharedStoreKey, static_cast<int>(dwTimeOut));
    return dwTimeOut == 0 ? DefaultTimeOut : dwTimeOut;
}

} // namespace

HRESULT CSessionAvailability::Set(const char* pszName, unsigned long dwSessionId, int bAvailabled)
{
    return RunOperation(pszName, [&](const COperation& op) -> HRESULT {
        op.Detail("dwSessionId", dwSessionId);
        op.Detail("bAvailabled", bAvailabled);
        const CMutexLock lock(m_Mutex);
        const std::time_t tNow = time(nullptr);
        pvlogLog(LogComponent, LogDetail, "%s tTimeStamp = %ld", op.Name(), static_cast<long>(tNow));
        m_States[dwSessionId] = {bAvailabled, tNow};
        return S_OK;
    });
}

HRESULT CSessionAvailability::Get(const char* pszName, unsigned long dwSessionId, int& bAvailabled)
{
    return RunOperation(
        pszName,
        [&](const COperation& op) -> HRESULT {
            const CMutexLock lock(m_Mutex);
            const auto it = m_States.find(dwSessionId);
            bAvailabled = it == m_States.end() ? 1 : Refresh(op, it->second);
            return S_OK;
        },
        [&](const COperation& op, HRESULT) { pvlogLog(LogComponent, LogExit, "%s bAvailabled = %d", op.Name(), bAvailabled); });
}

/// Opens a session whose time is over.
int CSessionAvailability::Refresh(const COperation& op, SState& state)
{
    if (state.bAvailable != 0) {
        return state.bAvailable;
    }
    const unsigned long dwTimeOut = ReadTimeOut(op);
    const std::time_t tNow = time(nullptr);
    pvlogLog(LogComponent, LogDetail, "%s: tTime1 = %ld", op.Name(), static_cast<long>(tNow));
    pvlogLog(LogComponent, LogDetail, "%s: it1->second = %ld", op.Name(), static_cast<long>(state.tTimeStamp));
    pvlogLog(LogComponent, LogDetail, "%s: dwTimeOut = %d", op.Name(), static_cast<int>(dwTimeOut));
    // Unsigned on purpose: a time stamp in the future is a huge age, and opens the store.
    const std::uint64_t ullAge = static_cast<std::uint64_t>(tNow) - static_cast<std::uint64_t>(state.tTimeStamp);
    if (ullAge >= dwTimeOut) {
        state = {1, tNow};
    }
    return state.bAvailable;
}

void CSessionAvailability::Clear()
{
    const CMutexLock lock(m_Mutex);
    m_States.clear();
}
