// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "client/StaticAuthCacheClient.h"

#include "authstore/InternalAuthStore.h"
#include "client/StaticAuthStoreRegistration.h"
#include "client/StoreOperations.h"
#include "util/FctUtils.h"
#include "util/Operation.h"

using OV::Framework::SecureString;

namespace OV::AuthStore
{

namespace
{

/// This interface serves the whole process, not one of its clients.
constexpr unsigned long NoClient = 0;

/// Writes an error line when hr is a failure: the operation, a colon, what failed and its code.
HRESULT CheckStep(const COperation& op, HRESULT hr, const char* pszStep)
{
    if (FAILED(hr)) {
        pvlogLog(LogComponent, LogError, "%s: %s failed hr = %x", op.Name(), pszStep, static_cast<unsigned int>(hr));
    }
    return hr;
}

HRESULT FindStore(const COperation& op, const SecureString& sAuthStoreId, const char* pszNotFound, CInternalAuthStore*& pStore)
{
    if (!gStaticAuthStoreRegistration.Find(sAuthStoreId, pStore)) {
        return op.Fail(E_FAIL, pszNotFound);
    }
    return pStore == nullptr ? op.Fail(E_FAIL, "pInternalAuthStore is NULL") : S_OK;
}

/// Additional parameters as a caller gives them.
struct SParams
{
    AuthParameter* pParams;
    unsigned long ulCount;
};

/// The shape of every PIN operation: finds the default store, converts the parameters, passes the call on,
/// and frees the parameters.
///
/// When there were parameters, the result is that of freeing them, whatever came before.
/// @param call (op, store, parameter array) does the rest
template <class Call> HRESULT Forward(const char* pszName, const SParams& params, const Call& call)
{
    return RunOperation(pszName, [&](const COperation& op) -> HRESULT {
        CSafeArray array;
        const HRESULT hr = Guarded(op, [&](const COperation&) -> HRESULT {
            CInternalAuthStore* pStore = nullptr;
            RETURN_IF_FAILED(FindStore(op, DefaultAuthStoreId, "Didn't find this id", pStore));
            if (params.pParams != nullptr) {
                RETURN_IF_FAILED(CheckStep(op, GetSafeArrayFromParameterStruct(params.pParams, params.ulCount, array.Out()),
                                           "GetSafeArrayFromParameterStruct"));
            }
            return call(op, *pStore, array.Get());
        });
        return array.Get() == nullptr ? hr : CheckStep(op, array.Destroy(), "ovSafeArrayDestroy");
    });
}

/// As Forward, for an operation that is told its session by a PIN session identifier.
/// @param call (op, store, parameter array, PIN session identifier) does the rest
template <class Call> HRESULT Forward(const char* pszName, const SParams& params, SAFEARRAY* psaPINSessionId, const Call& call)
{
    return Forward(pszName, params, [&](const COperation& op, CInternalAuthStore& store, SAFEARRAY* psaParams) -> HRESULT {
        CBstr PINSessionId;
        RETURN_IF_FAILED(op.Check(GetBSTRFromSafeArrayBytes(psaPINSessionId, PINSessionId.Out()), "GetBSTRFromSafeArrayBytes failed"));
        return call(op, store, psaParams, PINSessionId.Get());
    });
}

/// Hands a PIN session identifier to a caller who wants it.
HRESULT GivePINSessionId(const COperation& op, const CBstr& PINSessionId, SAFEARRAY** ppsaPINSessionId)
{
    if (ppsaPINSessionId == nullptr || SUCCEEDED(GetSafeArrayBytesFromBSTR(PINSessionId.Get(), *ppsaPINSessionId))) {
        return S_OK;
    }
    return op.Fail(E_FAIL, "GetSafeArrayBytesFromBSTR failed");
}

/// Hands a state to a caller who wants it.
void GiveState(int nState, PINState* pState)
{
    if (pState != nullptr) {
        *pState = static_cast<PINState>(nState);
    }
}

/// Hands a caller who wants it whether the PIN may be used as it is.
void GiveState(int nState, int* pbCached)
{
    if (pbCached != nullptr) {
        *pbCached = nState == PINStateCached ? 1 : 0;
    }
}

HRESULT Get(const char* pszName, BSTR bstrCompartmentId, BSTR bstrPINId, const SParams& params, SAFEARRAY** ppsaPIN,
            SAFEARRAY** ppsaPINSessionId, PINState* pState)
{
    return Forward(pszName, params, [&](const COperation& op, CInternalAuthStore& store, SAFEARRAY* psaParams) -> HRESULT {
        CBstr PINSessionId;
        int nState = PINStateNotCached;
        RETURN_IF_FAILED(CheckStep(
            op, store.GetPIN(NoClient, bstrCompartmentId, bstrPINId, psaParams, ppsaPIN, &PINSessionId.Out(), &nState), "GetPIN"));
        const HRESULT hr = GivePINSessionId(op, PINSessionId, ppsaPINSessionId);
        GiveState(nState, pState);
        return hr;
    });
}

HRESULT GetFromSession(const char* pszName, BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId, const SParams& params,
                       SAFEARRAY** ppsaPIN, PINState* pState)
{
    return Forward(pszName, params, psaPINSessionId,
                   [&](const COperation& op, CInternalAuthStore& store, SAFEARRAY* psaParams, BSTR bstrPINSessionId) -> HRESULT {
                       int nState = PINStateNotCached;
                       RETURN_IF_FAILED(CheckStep(op,
                                                  store.GetPINFromPINSessionId(NoClient, bstrCompartmentId, bstrPINId, bstrPINSessionId,
                                                                               psaParams, ppsaPIN, &nState),
                                                  "GetPINFromPINSessionId"));
                       GiveState(nState, pState);
                       return S_OK;
                   });
}

template <class State>
HRESULT Query(const char* pszName, BSTR bstrCompartmentId, BSTR bstrPINId, const SParams& params, SAFEARRAY** ppsaPINSessionId,
              State* pState)
{
    return Forward(pszName, params, [&](const COperation& op, CInternalAuthStore& store, SAFEARRAY* psaParams) -> HRESULT {
        CBstr PINSessionId;
        int nState = PINStateNotCached;
        RETURN_IF_FAILED(CheckStep(op, store.IsPINCached(NoClient, bstrCompartmentId, bstrPINId, psaParams, &PINSessionId.Out(), &nState),
                                   "IsPINCached"));
        const HRESULT hr = GivePINSessionId(op, PINSessionId, ppsaPINSessionId);
        GiveState(nState, pState);
        return hr;
    });
}

template <class State>
HRESULT QueryFromSession(const char* pszName, BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId, const SParams& params,
                         State* pState)
{
    return Forward(pszName, params, psaPINSessionId,
                   [&](const COperation& op, CInternalAuthStore& store, SAFEARRAY* psaParams, BSTR bstrPINSessionId) -> HRESULT {
                       int nState = PINStateNotCached;
                       RETURN_IF_FAILED(CheckStep(
                           op,
                           store.IsPINCachedFromPINSessionId(NoClient, bstrCompartmentId, bstrPINId, bstrPINSessionId, psaParams, &nState),
                           "IsPINCachedFromPINSessionId"));
                       GiveState(nState, pState);
                       return S_OK;
                   });
}

} // namespace

CStaticAuthCacheClient::CStaticAuthCacheClient()
{
    pvlogLog(LogComponent, LogEntry, "CStaticAuthCacheClient::CStaticAuthCacheClient");
    pvlogLog(LogComponent, LogExit, "CStaticAuthCacheClient::CStaticAuthCacheClient");
}

CStaticAuthCacheClient::~CStaticAuthCacheClient()
{
    pvlogLog(LogComponent, LogEntry, "CStaticAuthCacheClient::~CStaticAuthCacheClient");
    pvlogLog(LogComponent, LogExit, "CStaticAuthCacheClient::~CStaticAuthCacheClient");
}

HRESULT CStaticAuthCacheClient::RegisterAuthStore(BSTR bstrAuthStoreId, AuthType enType, int bEncryptPIN, int bIgnoreSession)
{
    return RunOperation("CStaticAuthCacheClient::RegisterAuthStore", [&](const COperation& op) -> HRESULT {
        SecureString sAuthStoreId;
        RETURN_IF_FAILED(op.Check(BSTR2wstring(bstrAuthStoreId, sAuthStoreId), "BSTR2wstring failed"));
        return RegisterStore(op, gStaticAuthStoreRegistration, sAuthStoreId,
                             [&](CInternalAuthStore& store) { return store.Begin(bstrAuthStoreId, enType, bEncryptPIN, bIgnoreSession); });
    });
}

HRESULT CStaticAuthCacheClient::GetAuthStoreInfo(BSTR bstrAuthStoreId, AuthType* penType, int* pbEncryptPIN, int* pbIgnoreSession)
{
    return RunOperation("CStaticAuthCacheClient::GetAuthStoreInfo", [&](const COperation& op) -> HRESULT {
        SecureString sAuthStoreId;
        RETURN_IF_FAILED(op.Check(BSTR2wstring(bstrAuthStoreId, sAuthStoreId), "BSTR2wstring failed"));
        CInternalAuthStore* pStore = nullptr;
        RETURN_IF_FAILED(FindStore(op, sAuthStoreId, "Didn't find IDataStore with this id", pStore));
        AuthType enType = AuthTypeMemory;
        int bEncryptPIN = 0;
        int bIgnoreSession = 0;
        RETURN_IF_FAILED(CheckStep(op, pStore->GetStoreInfo(enType, bEncryptPIN, bIgnoreSession), "GetAuthStoreInfo"));
        if (penType != nullptr) {
            *penType = enType;
        }
        if (pbEncryptPIN != nullptr) {
            *pbEncryptPIN = bEncryptPIN;
        }
        if (pbIgnoreSession != nullptr) {
            *pbIgnoreSession = bIgnoreSession;
        }
        return S_OK;
    });
}

HRESULT CStaticAuthCacheClient::ListAuthStoreIds(SAFEARRAY** ppsaAuthStoreIds)
{
    return ListStoreIds("CStaticAuthCacheClient::ListAuthStoreIds", gStaticAuthStoreRegistration, ppsaAuthStoreIds);
}

HRESULT CStaticAuthCacheClient::FlushAuthStores()
{
    return RunOperation("CStaticAuthCacheClient::FlushAuthStores", [](const COperation& op) -> HRESULT {
        HRESULT hr = S_OK;
        for (CInternalAuthStore* pStore : gStaticAuthStoreRegistration.Stores()) {
            AuthType enType = AuthTypeMemory;
            int bEncryptPIN = 0;
            int bIgnoreSession = 0;
            if (pStore == nullptr) {
                continue;
            }
            hr = op.CheckWithCode(pStore->GetStoreInfo(enType, bEncryptPIN, bIgnoreSession), "GetStoreInfo failed");
            if (FAILED(hr)) {
                continue;
            }
            hr = pStore->FlushStore(NoClient);
            if (FAILED(hr)) {
                pvlogLog(LogComponent, LogError, "%s FlushStore failed lRet = 0x%x, hr = 0x%x", op.Name(), 0U,
                         static_cast<unsigned int>(hr));
            }
        }
        return hr;
    });
}

HRESULT CStaticAuthCacheClient::SetPIN(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPIN, AuthParameter* pParams,
                                       unsigned long ulCount, SAFEARRAY** ppsaPINSessionId)
{
    return Forward("CStaticAuthCacheClient::SetPIN", {pParams, ulCount},
                   [&](const COperation& op, CInternalAuthStore& store, SAFEARRAY* psaParams) -> HRESULT {
                       CBstr PINSessionId;
                       RETURN_IF_FAILED(CheckStep(
                           op, store.SetPIN(NoClient, bstrCompartmentId, bstrPINId, psaPIN, psaParams, &PINSessionId.Out()), "SetPIN"));
                       return GivePINSessionId(op, PINSessionId, ppsaPINSessionId);
                   });
}

HRESULT CStaticAuthCacheClient::SetPINFromPINSessionId(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId,
                                                       SAFEARRAY* psaPIN, AuthParameter* pParams, unsigned long ulCount)
{
    return Forward("CStaticAuthCacheClient::SetPINFromPINSessionId", {pParams, ulCount}, psaPINSessionId,
                   [&](const COperation& op, CInternalAuthStore& store, SAFEARRAY* psaParams, BSTR bstrPINSessionId) {
                       return CheckStep(
                           op, store.SetPINFromPINSessionId(NoClient, bstrCompartmentId, bstrPINId, bstrPINSessionId, psaPIN, psaParams),
                           "SetPINFromPINSessionId");
                   });
}

HRESULT CStaticAuthCacheClient::GetPIN(BSTR bstrCompartmentId, BSTR bstrPINId, AuthParameter* pParams, unsigned long ulCount,
                                       SAFEARRAY** ppsaPIN, SAFEARRAY** ppsaPINSessionId)
{
    return Get("CStaticAuthCacheClient::GetPIN", bstrCompartmentId, bstrPINId, {pParams, ulCount}, ppsaPIN, ppsaPINSessionId, nullptr);
}

HRESULT CStaticAuthCacheClient::GetPINEx(BSTR bstrCompartmentId, BSTR bstrPINId, AuthParameter* pParams, unsigned long ulCount,
                                         SAFEARRAY** ppsaPIN, SAFEARRAY** ppsaPINSessionId, PINState* pState)
{
    return Get("CStaticAuthCacheClient::GetPINEx", bstrCompartmentId, bstrPINId, {pParams, ulCount}, ppsaPIN, ppsaPINSessionId, pState);
}

HRESULT CStaticAuthCacheClient::GetPINFromPINSessionId(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId,
                                                       AuthParameter* pParams, unsigned long ulCount, SAFEARRAY** ppsaPIN)
{
    return GetFromSession("CStaticAuthCacheClient::GetPINFromPINSessionId", bstrCompartmentId, bstrPINId, psaPINSessionId,
                          {pParams, ulCount}, ppsaPIN, nullptr);
}

HRESULT CStaticAuthCacheClient::GetPINFromPINSessionIdEx(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId,
                                                         AuthParameter* pParams, unsigned long ulCount, SAFEARRAY** ppsaPIN,
                                                         PINState* pState)
{
    return GetFromSession("CStaticAuthCacheClient::GetPINFromPINSessionIdEx", bstrCompartmentId, bstrPINId, psaPINSessionId,
                          {pParams, ulCount}, ppsaPIN, pState);
}

HRESULT CStaticAuthCacheClient::IsPINCached(BSTR bstrCompartmentId, BSTR bstrPINId, AuthParameter* pParams, unsigned long ulCount,
                                            SAFEARRAY** ppsaPINSessionId, int* pbCached)
{
    return Query("CStaticAuthCacheClient::IsPINCached", bstrCompartmentId, bstrPINId, {pParams, ulCount}, ppsaPINSessionId, pbCached);
}

HRESULT CStaticAuthCacheClient::IsPINCachedEx(BSTR bstrCompartmentId, BSTR bstrPINId, AuthParameter* pParams, unsigned long ulCount,
                                              SAFEARRAY** ppsaPINSessionId, PINState* pState)
{
    return Query("CStaticAuthCacheClient::IsPINCachedEx", bstrCompartmentId, bstrPINId, {pParams, ulCount}, ppsaPINSessionId, pState);
}

HRESULT CStaticAuthCacheClient::IsPINCachedFromPINSessionId(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId,
                                                            AuthParameter* pParams, unsigned long ulCount, int* pbCached)
{
    return QueryFromSession("CStaticAuthCacheClient::IsPINCachedFromPINSessionId", bstrCompartmentId, bstrPINId, psaPINSessionId,
                            {pParams, ulCount}, pbCached);
}

HRESULT CStaticAuthCacheClient::IsPINCachedFromPINSessionIdEx(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId,
                                                              AuthParameter* pParams, unsigned long ulCount, PINState* pState)
{
    return QueryFromSession("CStaticAuthCacheClient::IsPINCachedFromPINSessionIdEx", bstrCompartmentId, bstrPINId, psaPINSessionId,
                            {pParams, ulCount}, pState);
}

HRESULT CStaticAuthCacheClient::RemovePIN(BSTR bstrCompartmentId, BSTR bstrPINId, AuthParameter* pParams, unsigned long ulCount)
{
    return Forward("CStaticAuthCacheClient::RemovePIN", {pParams, ulCount},
                   [&](const COperation& op, CInternalAuthStore& store, SAFEARRAY* psaParams) {
                       return CheckStep(op, store.RemovePIN(NoClient, bstrCompartmentId, bstrPINId, psaParams), "RemovePIN");
                   });
}

HRESULT CStaticAuthCacheClient::RemovePINFromPINSessionId(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId,
                                                          AuthParameter* pParams, unsigned long ulCount)
{
    return Forward("CStaticAuthCacheClient::RemovePINFromPINSessionId", {pParams, ulCount}, psaPINSessionId,
                   [&](const COperation& op, CInternalAuthStore& store, SAFEARRAY* psaParams, BSTR bstrPINSessionId) {
                       return CheckStep(
                           op, store.RemovePINFromPINSessionId(NoClient, bstrCompartmentId, bstrPINId, bstrPINSessionId, psaParams),
                           "RemovePINFromPINSessionId");
                   });
}

HRESULT CStaticAuthCacheClient::ChangePINState(BSTR bstrCompartmentId, BSTR bstrPINId, AuthParameter* pParams, unsigned long ulCount,
                                               PINState state)
{
    return Forward("CStaticAuthCacheClient::ChangePINState", {pParams, ulCount},
                   [&](const COperation& op, CInternalAuthStore& store, SAFEARRAY* psaParams) {
                       return CheckStep(op, store.ChangePINState(NoClient, bstrCompartmentId, bstrPINId, psaParams, state),
                                        "ChangePINState");
                   });
}

HRESULT CStaticAuthCacheClient::ChangePINStateFromPINSessionId(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId,
                                                               AuthParameter* pParams, unsigned long ulCount, PINState state)
{
    return Forward("CStaticAuthCacheClient::ChangePINStateFromPINSessionId", {pParams, ulCount}, psaPINSessionId,
                   [&](const COperation& op, CInternalAuthStore& store, SAFEARRAY* psaParams, BSTR bstrPINSessionId) {
                       return CheckStep(
                           op,
                           store.ChangePINStateFromPINSessionId(NoClient, bstrCompartmentId, bstrPINId, bstrPINSessionId, psaParams, state),
                           "ChangePINStateFromPINSessionIde"); // this spelling is what log readers look for
                   });
}

HRESULT CStaticAuthCacheClient::FlushStore(AuthParameter* pParams, unsigned long ulCount)
{
    return Forward("CStaticAuthCacheClient::FlushStore", {pParams, ulCount},
                   [](const COperation& op, CInternalAuthStore& store, SAFEARRAY* psaParams) {
                       return CheckStep(op, store.FlushStore(NoClient, psaParams), "FlushStore");
                   });
}

HRESULT CStaticAuthCacheClient::RemoveCompartment(BSTR bstrCompartmentId, AuthParameter* pParams, unsigned long ulCount)
{
    return Forward("CStaticAuthCacheClient::RemoveCompartment", {pParams, ulCount},
                   [&](const COperation& op, CInternalAuthStore& store, SAFEARRAY* psaParams) {
                       return CheckStep(op, store.RemoveCompartment(NoClient, bstrCompartmentId, psaParams), "RemoveCompartment");
                   });
}

} // namespace OV::AuthStore
