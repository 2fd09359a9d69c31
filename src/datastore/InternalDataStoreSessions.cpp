// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// What a data store does about user sessions and forks, and how it is emptied.

#include "datastore/InternalDataStore.h"

#include "tree/AbstractTree.h"
#include "tree/HistoryTree.h"
#include "util/Decimal.h"
#include "util/Operation.h"

using OV::Framework::SecureString;

HRESULT CInternalDataStore::SetAvailabilityStoreFromSessionId(unsigned long dwSessionId, int bAvailabled)
{
    return m_Availability.Set("CInternalDataStore::SetAvailabilityStoreFromSessionId", dwSessionId, bAvailabled);
}

HRESULT CInternalDataStore::GetAvailabilityStoreFromSessionId(unsigned long dwSessionId, int& bAvailabled)
{
    return m_Availability.Get("CInternalDataStore::GetAvailabilityStoreFromSessionId", dwSessionId, bAvailabled);
}

HRESULT CInternalDataStore::FlushStore(unsigned long dwClientProcessId)
{
    return RunOperation("CInternalDataStore::FlushStore", [&](const COperation& op) -> HRESULT {
        op.Detail("dwClientProcessId", dwClientProcessId);
        const CMutexLock lock(m_Mutex);
        RETURN_IF_FAILED(CheckTreeLocked(op));
        const HRESULT hrFlushed = m_Tree->FlushTree(dwClientProcessId);

        const CMutexLock historyLock(gHistoryMutex);
        if (gHistoryTree == nullptr) {
            return hrFlushed;
        }
        int bCached = 0;
        unsigned long ulCompartmentVersion = 0;
        unsigned long ulContentVersion = 0;
        RETURN_IF_FAILED(op.Check(gHistoryTree->IsCompartmentCached(m_sDataStoreId, &ulCompartmentVersion, &ulContentVersion, &bCached, 0),
                                  "IsCompartmentCached failed"));
        return bCached == 1 ? op.Check(gHistoryTree->RemoveCompartment(m_sDataStoreId, 1, 0), "RemoveCompartment failed") : S_OK;
    });
}

HRESULT CInternalDataStore::FlushStoreFromSessionId(unsigned long dwSessionId)
{
    return RunOperation("CInternalDataStore::FlushStoreFromSessionId", [&](const COperation& op) -> HRESULT {
        const SecureString sSessionId = Decimal(dwSessionId);
        op.Detail("dwSessionId", dwSessionId);
        const CMutexLock lock(m_Mutex);
        op.Detail("sSessionId", sSessionId.c_str());
        RETURN_IF_FAILED(CheckTreeLocked(op));
        SecureString sTarget = RootCompartment; // of a shared store, everything
        if (m_bSharedBetweenUserSessions == 0) {
            RETURN_IF_FAILED(op.Check(m_Tree->FindSessionId(sSessionId, RootCompartment, sTarget), "FindSessionId failed"));
            op.Detail("sSessionIdFound", sTarget.c_str());
        }
        RETURN_IF_FAILED(op.Check(m_Tree->RemoveCompartment(sTarget, 1, 0), "RemoveCompartment failed"));
        return RemoveVersions(op, sTarget);
    });
}

void CInternalDataStore::HoldForFork()
{
    m_Mutex.Lock();
    m_Availability.HoldForFork();
}

void CInternalDataStore::ReleaseAfterFork()
{
    m_Availability.ReleaseAfterFork();
    m_Mutex.Unlock();
}
