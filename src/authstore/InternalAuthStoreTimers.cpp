// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// How PINs expire.
//
// A record's timer is running from the moment the record is stored, and starts anew with every use. When it
// fires, its callback comes to ExpirePIN on the timer thread and removes the record, unless it is too late:
// - The record was used while the callback waited for the mutex. Each use counts, so the count is no longer
//   what the callback saw when it began. A use that came between the expiry and the callback's first step
//   shows only in the timer, on a platform whose timers can tell that they run again. The record stays, and
//   the timer fires another time.
// - The record was removed, and perhaps another one was stored at its path. That one has a timer with a count
//   of its own.

#include "authstore/InternalAuthStore.h"

#include "authstore/PINRecord.h"
#include "authstore/PINTimerRecord.h"
#include "authstore/StoreLock.h"
#include "authstore/TimerCallbackFunction.h"
#include "tree/AbstractTree.h"
#include "util/Operation.h"

#include <optional>

using OV::Framework::ITimer;
using OV::Framework::SecureString;

namespace
{

constexpr unsigned int NeverExpires = 0x80000000; ///< in minutes
constexpr unsigned int ShortestSeconds = 5;
constexpr unsigned int SecondsPerMinute = 60;
constexpr unsigned int NoTimer = 0xffffffff; ///< in seconds

/// The life of an unused record: none when it never expires. Large numbers of minutes wrap.
std::optional<unsigned int> TimerSeconds(int nMinutes)
{
    const auto uMinutes = static_cast<unsigned int>(nMinutes);
    const unsigned int uSeconds = uMinutes == 0 ? ShortestSeconds : uMinutes * SecondsPerMinute;
    return uMinutes == NeverExpires || uSeconds == NoTimer ? std::nullopt : std::optional(uSeconds);
}

void LogTimer(const COperation& op, const char* pszWhat, const SPINTimer& timer)
{
    pvlogLog(LogComponent, LogDetail, "%s %s = %p", op.Name(), pszWhat, static_cast<void*>(timer.pTimer.get()));
}

/// Makes a running timer for a record.
HRESULT MakeTimer(const COperation& op, unsigned int uSeconds, std::unique_ptr<SPINTimerRecord> pRecord, SPINTimer& timer)
{
    if (pRecord->CompartmentId.Get() == nullptr || pRecord->PINId.Get() == nullptr || pRecord->PINSessionId.Get() == nullptr) {
        return op.Fail(E_OUTOFMEMORY, "SysAllocString failed");
    }
    timer.pUses = std::make_shared<PINUseCount>(0UL);
    pRecord->pUses = timer.pUses;
    pvlogLog(LogComponent, LogDetail, "%s timeout = %d s", op.Name(), static_cast<int>(uSeconds));
    timer.pTimer.reset(ITimer::CreateNewTimer(uSeconds, new CTimerCallbackFunction(std::move(pRecord))));
    LogTimer(op, "pTimer", timer);
    return timer.pTimer != nullptr ? S_OK : op.Fail(E_FAIL, "CreateNewTimer failed");
}

} // namespace

HRESULT CInternalAuthStore::SetInternalTimer(const SecureString& sCompartmentIdGlobal, unsigned long dwClientProcessId,
                                             BSTR bstrCompartmentId, BSTR bstrPINId, BSTR bstrPINSessionId)
{
    return RunOperation("CInternalAuthStore::SetInternalTimer", [&](const COperation& op) -> HRESULT {
        m_Mutex.AssertHeld();
        RemoveExpiredTimers();
        const auto it = m_Timers.find(sCompartmentIdGlobal);
        const bool bMissing = it == m_Timers.end();
        const HRESULT hr = Guarded(op, [&](const COperation&) -> HRESULT {
            m_Mutex.AssertHeld();
            if (bMissing) {
                op.Detail("sCompartmentIdGlobal not found in list");
            }
            int nMinutes = 0;
            RETURN_IF_FAILED(op.Check(GetPINCachingTimeout(nMinutes), "GetPINCachingTimeout failed"));
            const std::optional<unsigned int> seconds = TimerSeconds(nMinutes);
            if (!seconds) {
                return S_OK;
            }
            if (!bMissing) {
                it->second.pTimer->Restart();
                ++*it->second.pUses; // no sooner: a platform whose Restart fails has not called the expiry off
                return S_OK;
            }
            auto pRecord = std::make_unique<SPINTimerRecord>(
                SPINTimerRecord{this, dwClientProcessId, CBstr(SysAllocString(bstrCompartmentId)), CBstr(SysAllocString(bstrPINId)),
                                CBstr(SysAllocString(bstrPINSessionId == nullptr ? "" : bstrPINSessionId)), sCompartmentIdGlobal, nullptr});
            // The entry comes first: once there is a timer, its callback can wait for the mutex, and it can't be deleted here.
            return MakeTimer(op, *seconds, std::move(pRecord), m_Timers[sCompartmentIdGlobal]);
        });
        if (FAILED(hr) && bMissing) { // nothing else would ever remove the record
            m_Timers.erase(sCompartmentIdGlobal);
            RemovePINData(sCompartmentIdGlobal, 0);
        }
        return hr;
    });
}

HRESULT CInternalAuthStore::ExpirePIN(const SPINTimerRecord& timer, unsigned long ulUses)
{
    return RunOperation("CInternalAuthStore::RemoveExpiredPINFromPINSessionId", [&](const COperation& op) -> HRESULT {
        op.Detail("sCompartmentIdGlobal", timer.sCompartmentIdGlobal.c_str());
        const CStoreLock lock(*this);
        RETURN_IF_FAILED(CheckTree(op));
        const auto it = m_Timers.find(timer.sCompartmentIdGlobal);
        const bool bRemoved = it == m_Timers.end() || it->second.pUses != timer.pUses;
        if (bRemoved || *timer.pUses != ulUses || it->second.pTimer->GetSecondsLeft() > 0) {
            op.Detail("the record was used or removed meanwhile");
            return S_OK;
        }
        const HRESULT hr = op.Check(RemovePINData(timer.sCompartmentIdGlobal, 1), "RemovePINData failed");
        if (SUCCEEDED(hr) || CPINRecord(op, *m_Tree, timer.sCompartmentIdGlobal).IsGone()) {
            DropTimer(op, timer.sCompartmentIdGlobal, 1); // still there when there was no record
        } else if (const auto itLeft = m_Timers.find(timer.sCompartmentIdGlobal); itLeft != m_Timers.end()) {
            itLeft->second.pTimer->Restart(); // the tree could not be written: try again later
        }
        return hr;
    });
}

HRESULT CInternalAuthStore::RemoveExpiredTimers()
{
    return RunOperation("CInternalAuthStore::RemoveExpiredTimers", [&](const COperation& op) -> HRESULT {
        m_Mutex.AssertHeld();
        for (const auto& entry : m_ExpiredTimers) {
            LogTimer(op, "pTimer", entry.second);
        }
        m_DroppedTimers.merge(m_ExpiredTimers);
        return S_OK;
    });
}

/// Takes a record's timer out: to be deleted when the mutex is given back or, because it may be the one
/// whose callback runs here, by a later operation.
void CInternalAuthStore::DropTimer(const COperation& op, const SecureString& sCompartmentIdGlobal, int bExpired)
{
    auto node = m_Timers.extract(sCompartmentIdGlobal);
    if (!node.empty() && bExpired != 0) {
        m_ExpiredTimers.insert(std::move(node));
    } else if (!node.empty()) {
        LogTimer(op, "pTimer", node.mapped());
        m_DroppedTimers.insert(std::move(node));
    }
}

void CInternalAuthStore::DropAllTimers(const COperation& op)
{
    for (const auto& entry : m_Timers) {
        LogTimer(op, "pTimer", entry.second);
    }
    for (const auto& entry : m_ExpiredTimers) {
        LogTimer(op, "Expired pTimer", entry.second);
    }
    m_DroppedTimers.merge(m_Timers);
    m_DroppedTimers.merge(m_ExpiredTimers);
}
