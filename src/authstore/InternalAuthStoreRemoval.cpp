// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Removing one PIN, moving many, and emptying the store.

#include "authstore/InternalAuthStore.h"

#include "authstore/AdditionalParameters.h"
#include "authstore/FoundRecord.h"
#include "authstore/PINRecord.h"
#include "authstore/StoreLock.h"
#include "tree/AbstractTree.h"
#include "util/Decimal.h"
#include "util/FctUtils.h"
#include "util/Operation.h"

#include <cstdlib>
#include <set>
#include <vector>

using OV::Framework::SecureString;

namespace
{

/// Cuts the last component off a path.
SecureString CutLast(SecureString& sPath)
{
    const std::size_t uSeparator = sPath.rfind(PathSeparator);
    SecureString sLast = sPath.substr(uSeparator + 1); // all of it when there is no separator
    sPath.resize(uSeparator == SecureString::npos ? 0 : uSeparator);
    return sLast;
}

/// A record as it will be once it has moved, with what its timer is made of.
struct SMovedRecord
{
    SecureString sPath;
    unsigned long dwProcessId;
    CBstr CompartmentId;
    CBstr PINId;
    CBstr PINSessionId;
};

/// Lists the records of a session: session / compartment / PIN identifier [/ process].
HRESULT ListMoved(const COperation& op, CAbstractTree& tree, const SecureString& sFrom, const SecureString& sTo, PinCachingMode enMode,
                  std::vector<SMovedRecord>& records)
{
    std::vector<SecureString> paths;
    RETURN_IF_FAILED(CPINRecord::List(op, tree, sFrom, paths));
    for (const SecureString& sPath : paths) {
        SecureString sCompartmentId = sPath.substr(sFrom.size() + 1);
        const unsigned long dwProcessId = enMode == PinCachingPerProcess ? std::strtoul(CutLast(sCompartmentId).c_str(), nullptr, 10) : 0;
        const SecureString sPINId = CutLast(sCompartmentId);
        CBstr PINSessionId;
        CPINRecord(op, tree, sPath).ReadPINSessionId(PINSessionId); // can be missing: a timer finds the record by its path
        records.push_back({sTo + sPath.substr(sFrom.size()), dwProcessId, CBstr(SysAllocString(sCompartmentId.c_str())),
                           CBstr(SysAllocString(sPINId.c_str())), std::move(PINSessionId)});
    }
    return S_OK;
}

} // namespace

HRESULT CInternalAuthStore::RemovePINData(const SecureString& sCompartmentIdGlobal, int bExpired)
{
    return RunOperation("CInternalAuthStore::RemovePINData", [&](const COperation& op) -> HRESULT {
        m_Mutex.AssertHeld();
        RETURN_IF_FAILED(CheckTree(op));
        const CPINRecord record(op, *m_Tree, sCompartmentIdGlobal);
        RETURN_IF_FAILED(record.RemovePIN());
        CBstr PINSessionId;
        if (const HRESULT hr = record.ReadPINSessionId(PINSessionId); SUCCEEDED(hr)) {
            if (PINSessionId.Get() != nullptr) {
                m_PINSessionIds.erase(PINSessionId.Get());
            }
            RETURN_IF_FAILED(record.RemovePINSessionId());
        } else if (hr != E_INVALIDARG) {
            return hr;
        }
        DropTimer(op, sCompartmentIdGlobal, bExpired);
        return op.Check(m_Tree->RemoveCompartment(sCompartmentIdGlobal, 1, 0), "RemoveCompartment failed");
    });
}

HRESULT CInternalAuthStore::RemoveInternalPIN(const SCaller& caller)
{
    return RunOperation("CInternalAuthStore::RemoveInternalPIN", [&](const COperation& op) -> HRESULT {
        m_Mutex.AssertHeld();
        SFoundRecord found;
        RETURN_IF_FAILED(FindRecord(op, caller, found));
        return op.Check(RemovePINData(found.sPath, caller.bExpired), "RemovePINData failed");
    });
}

HRESULT CInternalAuthStore::RemovePIN(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId,
                                      SAFEARRAY* pAdditionalParameters)
{
    return RunOperation("CInternalAuthStore::RemovePIN", [&](const COperation& op) -> HRESULT {
        const SCaller caller{dwClientProcessId, bstrCompartmentId, bstrPINId};
        LogCaller(op, caller);
        const CStoreLock lock(*this);
        SAdditionalParameters params;
        RETURN_IF_FAILED(ParseParameters(op, pAdditionalParameters, params));
        const bool bAllProcesses = params.sAllProcess == "True" && m_PinCachingMode == PinCachingPerProcess;
        const bool bAllSessions = params.sAllSession == "True";
        if (!bAllProcesses && !bAllSessions) {
            return op.Check(RemoveInternalPIN(caller), "RemoveInternalPIN failed");
        }
        SecureString sCompartmentId;
        SecureString sPINId;
        RETURN_IF_FAILED(op.Check(BSTR2wstring(bstrCompartmentId, sCompartmentId), "BSTR2wstring failed"));
        RETURN_IF_FAILED(op.Check(BSTR2wstring(bstrPINId, sPINId), "BSTR2wstring failed"));
        if (m_Tree == nullptr) {
            return op.Fail(E_FAIL, "NULL == m_Tree");
        }
        const SecureString sRecordId = ChildPath(sCompartmentId, sPINId);
        return bAllProcesses ? RemoveFromAllProcesses(op, caller, sRecordId) : RemoveFromAllSessions(op, caller, sRecordId);
    });
}

/// The records of all processes lie below the one path. Their timers fire later and find nothing.
HRESULT CInternalAuthStore::RemoveFromAllProcesses(const COperation& op, const SCaller& caller, const SecureString& sRecordId)
{
    SecureString sPath = sRecordId;
    if (m_bIgnoreSession == 0) {
        SecureString sSessionId;
        RETURN_IF_FAILED(op.Check(GetSessionId(caller.dwClientProcessId, sSessionId), "GetSessionId failed"));
        sPath = ChildPath(sSessionId, sRecordId);
    }
    return op.Check(m_Tree->RemoveCompartment(sPath, 1, 0), "RemovePINData failed");
}

/// A session without the record is no failure, as long as one has it.
HRESULT CInternalAuthStore::RemoveFromAllSessions(const COperation& op, const SCaller& caller, const SecureString& sRecordId)
{
    std::set<SecureString> sessionIds;
    for (const auto& entry : m_PINSessionIds) {
        sessionIds.insert(entry.second);
    }
    if (m_bIgnoreSession != 0) {
        sessionIds = {""};
    }
    bool bRemoved = false;
    HRESULT hrFirst = S_OK;
    for (const SecureString& sSessionId : sessionIds) {
        const SecureString sPath = RecordPath(caller, sSessionId, sRecordId);
        const HRESULT hr = RemovePINData(sPath, 0);
        bRemoved = bRemoved || SUCCEEDED(hr);
        const bool bMissing = hr == E_INVALIDARG && CPINRecord(op, *m_Tree, sPath).IsGone();
        if (FAILED(hr) && !bMissing && SUCCEEDED(hrFirst)) {
            hrFirst = op.Fail(hr, "RemovePINData failed");
        }
    }
    return SUCCEEDED(hrFirst) && !bRemoved ? op.Fail(E_INVALIDARG, "RemovePINData failed") : hrFirst;
}

HRESULT CInternalAuthStore::RemovePINCompartment(const SecureString& sCompartmentIdGlobal)
{
    return RunOperation("CInternalAuthStore::RemovePINCompartment", [&](const COperation& op) -> HRESULT {
        m_Mutex.AssertHeld();
        RETURN_IF_FAILED(CheckTree(op));
        RemoveExpiredTimers();
        RETURN_IF_FAILED(op.Check(m_Tree->RemoveCompartment(sCompartmentIdGlobal, 1, 0), "RemoveCompartment failed"));
        if (CPINRecord(op, *m_Tree, sCompartmentIdGlobal).IsGone()) { // a record that stays has to expire
            DropTimer(op, sCompartmentIdGlobal, 0);
        }
        return S_OK;
    });
}

HRESULT CInternalAuthStore::MovePINCompartment(const SecureString& sFrom, const SecureString& sTo)
{
    return RunOperation("CInternalAuthStore::MovePINCompartment", [&](const COperation& op) -> HRESULT {
        m_Mutex.AssertHeld();
        RETURN_IF_FAILED(CheckTree(op));
        return op.Check(m_Tree->MoveCompartmentIds(sFrom, sTo, true), "RemoveCompartment failed");
    });
}

HRESULT CInternalAuthStore::MoveStore(unsigned long dwFromSessionId, unsigned long dwToSessionId)
{
    return RunOperation("CInternalAuthStore::MoveStore", [&](const COperation& op) -> HRESULT {
        const SecureString sFrom = Decimal(dwFromSessionId);
        const SecureString sTo = Decimal(dwToSessionId);
        const CStoreLock lock(*this);
        pvlogLog(LogComponent, LogDetail, "%s sCompartmentIdFromGlobal = %s sCompartmentIdToGlobal = %s", op.Name(), sFrom.c_str(),
                 sTo.c_str());
        RETURN_IF_FAILED(CheckTree(op));
        if (sFrom == sTo) {
            return S_OK; // moving removes the source
        }
        std::vector<SMovedRecord> records; // first of all: once they have moved, every one gets its timer
        RETURN_IF_FAILED(op.Check(ListMoved(op, *m_Tree, sFrom, sTo, m_PinCachingMode, records), "ListMoved failed"));
        HRESULT hr = op.Check(MovePINCompartment(sFrom, sTo), "MovePINCompartment failed");
        for (const SMovedRecord& record : records) {
            const HRESULT hrTimer = op.Check(SetInternalTimer(record.sPath, record.dwProcessId, record.CompartmentId.Get(),
                                                              record.PINId.Get(), record.PINSessionId.Get()),
                                             "SetInternalTimer failed");
            hr = FAILED(hr) ? hr : hrTimer;
        }
        for (auto& entry : m_PINSessionIds) {
            if (entry.second == sFrom) {
                entry.second = sTo;
            }
        }
        return hr;
    });
}

HRESULT CInternalAuthStore::FlushStore(unsigned long dwClientProcessId)
{
    return RunOperation("CInternalAuthStore::FlushStore", [&](const COperation& op) -> HRESULT {
        op.Detail("dwClientProcessId", dwClientProcessId);
        const CStoreLock lock(*this);
        RETURN_IF_FAILED(CheckTree(op));
        return op.Check(m_Tree->FlushTree(dwClientProcessId), "FlushTree failed");
    });
}

HRESULT CInternalAuthStore::FlushStore(unsigned long dwClientProcessId, SAFEARRAY* pAdditionalParameters)
{
    return RunOperation("CInternalAuthStore::FlushStore", [&](const COperation& op) -> HRESULT {
        op.Detail("dwClientProcessId", dwClientProcessId);
        const CStoreLock lock(*this);
        SAdditionalParameters params;
        RETURN_IF_FAILED(ParseParameters(op, pAdditionalParameters, params));
        RETURN_IF_FAILED(CheckTree(op));
        RETURN_IF_FAILED(op.Check(m_Tree->FlushTree(0), "FlushTree failed"));
        DropAllTimers(op); // no sooner: records that stay have to expire
        return S_OK;
    });
}

HRESULT CInternalAuthStore::FlushStoreFromSessionId(unsigned long dwSessionId)
{
    return RunOperation("CInternalAuthStore::FlushStoreFromSessionId", [&](const COperation& op) -> HRESULT {
        op.Detail("dwSessionId", dwSessionId);
        const CStoreLock lock(*this);
        return op.Check(RemovePINCompartment(Decimal(dwSessionId)), "RemovePINCompartment failed");
    });
}

HRESULT CInternalAuthStore::RemoveCompartment(unsigned long dwClientProcessId, BSTR bstrCompartmentId, SAFEARRAY* pAdditionalParameters)
{
    return RunOperation("CInternalAuthStore::RemoveCompartment", [&](const COperation& op) -> HRESULT {
        op.Detail("dwClientProcessId", dwClientProcessId);
        op.Detail("bstrCompartmentId", bstrCompartmentId);
        const CStoreLock lock(*this);
        SAdditionalParameters params;
        RETURN_IF_FAILED(ParseParameters(op, pAdditionalParameters, params));
        SecureString sSessionId;
        if (m_bIgnoreSession == 0) {
            RETURN_IF_FAILED(op.Check(GetSessionId(dwClientProcessId, sSessionId), "GetSessionId failed"));
            op.Detail("sSessionId", sSessionId.c_str());
        }
        SecureString sCompartmentId;
        RETURN_IF_FAILED(op.Check(BSTR2wstring(bstrCompartmentId, sCompartmentId), "BSTR2wstring failed"));
        const SecureString sPath = m_bIgnoreSession != 0 ? sCompartmentId : ChildPath(sSessionId, sCompartmentId);
        return op.Check(RemovePINCompartment(sPath), "RemovePINCompartment failed");
    });
}
