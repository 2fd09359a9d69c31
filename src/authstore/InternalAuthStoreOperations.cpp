// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// The operations on one PIN as callers see them: each takes the lock and works on the record of a process
// or of a PIN session identifier.

#include "authstore/InternalAuthStore.h"

#include "authstore/StoreLock.h"
#include "util/ComHandles.h"
#include "util/Operation.h"

namespace
{

constexpr int FromPINSessionId = 1;

/// Hands a PIN session identifier to a caller who wants it.
void HandOver(CBstr& PINSessionId, BSTR* pbstrPINSessionId)
{
    if (pbstrPINSessionId != nullptr) {
        *pbstrPINSessionId = PINSessionId.Release();
    }
}

} // namespace

void CInternalAuthStore::LogCaller(const COperation& op, const SCaller& caller)
{
    op.Detail("dwClientProcessId", caller.dwClientProcessId);
    op.Detail("bstrCompartmentId", caller.bstrCompartmentId);
    op.Detail("bstrPINId", caller.bstrPINId);
    if (caller.bFromPINSessionId != 0) {
        op.Detail("bstrPINSessionId", caller.bstrPINSessionId);
    }
}

HRESULT CInternalAuthStore::SetPIN(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPIN,
                                   SAFEARRAY* pAdditionalParameters, BSTR* pbstrPINSessionId)
{
    return RunOperation("CInternalAuthStore::SetPIN", [&](const COperation& op) -> HRESULT {
        const SCaller caller{dwClientProcessId, bstrCompartmentId, bstrPINId};
        LogCaller(op, caller);
        const CStoreLock lock(*this);
        CBstr PINSessionId;
        RETURN_IF_FAILED(op.Check(SetInternalPIN(caller, psaPIN, pAdditionalParameters, PINSessionId), "SetInternalPIN failed"));
        HandOver(PINSessionId, pbstrPINSessionId);
        return S_OK;
    });
}

HRESULT CInternalAuthStore::SetPINFromPINSessionId(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId,
                                                   BSTR bstrPINSessionId, SAFEARRAY* psaPIN, SAFEARRAY* pAdditionalParameters)
{
    return RunOperation("CInternalAuthStore::SetPINFromPINSessionId", [&](const COperation& op) -> HRESULT {
        const SCaller caller{dwClientProcessId, bstrCompartmentId, bstrPINId, FromPINSessionId, bstrPINSessionId};
        LogCaller(op, caller);
        const CStoreLock lock(*this);
        CBstr unused;
        return op.Check(SetInternalPIN(caller, psaPIN, pAdditionalParameters, unused), "SetInternalPIN failed");
    });
}

HRESULT CInternalAuthStore::GetPIN(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId,
                                   SAFEARRAY* pAdditionalParameters, SAFEARRAY** ppsaPIN, BSTR* pbstrPINSessionId, int* pnPINState)
{
    return RunOperation("CInternalAuthStore::GetPIN", [&](const COperation& op) -> HRESULT {
        const SCaller caller{dwClientProcessId, bstrCompartmentId, bstrPINId};
        LogCaller(op, caller);
        const CStoreLock lock(*this);
        CBstr PINSessionId;
        RETURN_IF_FAILED(
            op.Check(GetInternalPIN(caller, pAdditionalParameters, ppsaPIN, PINSessionId, pnPINState), "GetInternalPIN failed"));
        HandOver(PINSessionId, pbstrPINSessionId);
        return S_OK;
    });
}

HRESULT CInternalAuthStore::GetPINFromPINSessionId(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId,
                                                   BSTR bstrPINSessionId, SAFEARRAY* pAdditionalParameters, SAFEARRAY** ppsaPIN,
                                                   int* pnPINState)
{
    return RunOperation("CInternalAuthStore::GetPINFromPINSessionId", [&](const COperation& op) -> HRESULT {
        const SCaller caller{dwClientProcessId, bstrCompartmentId, bstrPINId, FromPINSessionId, bstrPINSessionId};
        LogCaller(op, caller);
        const CStoreLock lock(*this);
        CBstr unused;
        return op.Check(GetInternalPIN(caller, pAdditionalParameters, ppsaPIN, unused, pnPINState), "GetInternalPIN failed");
    });
}

HRESULT CInternalAuthStore::IsPINCached(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId,
                                        SAFEARRAY* pAdditionalParameters, BSTR* pbstrPINSessionId, int* pnPINState)
{
    return RunOperation("CInternalAuthStore::IsPINCached", [&](const COperation& op) -> HRESULT {
        const SCaller caller{dwClientProcessId, bstrCompartmentId, bstrPINId};
        LogCaller(op, caller);
        const CStoreLock lock(*this);
        CBstr PINSessionId;
        RETURN_IF_FAILED(
            op.Check(IsInternalPINCached(caller, pAdditionalParameters, PINSessionId, pnPINState), "IsInternalPINCached failed"));
        HandOver(PINSessionId, pbstrPINSessionId);
        return S_OK;
    });
}

HRESULT CInternalAuthStore::IsPINCachedFromPINSessionId(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId,
                                                        BSTR bstrPINSessionId, SAFEARRAY* pAdditionalParameters, int* pnPINState)
{
    return RunOperation("CInternalAuthStore::IsPINCachedFromPINSessionId", [&](const COperation& op) -> HRESULT {
        const SCaller caller{dwClientProcessId, bstrCompartmentId, bstrPINId, FromPINSessionId, bstrPINSessionId};
        LogCaller(op, caller);
        const CStoreLock lock(*this);
        CBstr unused;
        return op.Check(IsInternalPINCached(caller, pAdditionalParameters, unused, pnPINState), "IsInternalPINCached failed");
    });
}

HRESULT CInternalAuthStore::ChangePINState(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY*, int nState)
{
    return RunOperation("CInternalAuthStore::ChangePINState", [&](const COperation& op) -> HRESULT {
        const SCaller caller{dwClientProcessId, bstrCompartmentId, bstrPINId};
        LogCaller(op, caller);
        const CStoreLock lock(*this);
        return op.Check(ChangeInternalPINState(caller, nState), "ChangeInternalPINState failed");
    });
}

HRESULT CInternalAuthStore::ChangePINStateFromPINSessionId(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId,
                                                           BSTR bstrPINSessionId, SAFEARRAY*, int nState)
{
    return RunOperation("CInternalAuthStore::ChangePINStateFromPINSessionId", [&](const COperation& op) -> HRESULT {
        const SCaller caller{dwClientProcessId, bstrCompartmentId, bstrPINId, FromPINSessionId, bstrPINSessionId};
        LogCaller(op, caller);
        const CStoreLock lock(*this);
        return op.Check(ChangeInternalPINState(caller, nState), "ChangeInternalPINState failed");
    });
}

HRESULT CInternalAuthStore::RemovePINFromPINSessionId(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId,
                                                      BSTR bstrPINSessionId, SAFEARRAY*)
{
    return RunOperation("CInternalAuthStore::RemovePINFromPINSessionId", [&](const COperation& op) -> HRESULT {
        const SCaller caller{dwClientProcessId, bstrCompartmentId, bstrPINId, FromPINSessionId, bstrPINSessionId};
        LogCaller(op, caller);
        const CStoreLock lock(*this);
        return op.Check(RemoveInternalPIN(caller), "RemoveInternalPIN failed");
    });
}

HRESULT CInternalAuthStore::RemoveExpiredPINFromPINSessionId(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId,
                                                             BSTR bstrPINSessionId)
{
    return RunOperation("CInternalAuthStore::RemoveExpiredPINFromPINSessionId", [&](const COperation& op) -> HRESULT {
        const SCaller caller{dwClientProcessId, bstrCompartmentId, bstrPINId, FromPINSessionId, bstrPINSessionId, 1};
        LogCaller(op, caller);
        const CStoreLock lock(*this);
        return op.Check(RemoveInternalPIN(caller), "RemoveInternalPIN failed");
    });
}
