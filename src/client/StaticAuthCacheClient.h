// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "authstore/AuthType.h"
#include "client/AuthParameter.h"
#include "platform/Api.h"
#include "platform/ComEmulation.h"

namespace OV::AuthStore
{

/// The public face of the PIN cache: every component of the process stores the PINs that a user typed, and
/// gets them, here.
///
/// A PIN is named by a compartment (a card, say) and a PIN identifier. It stays until it is removed, flushed
/// or unused for the time that the administrator's policy gives it. Each use of it starts that time anew.
///
///     OV::AuthStore::CStaticAuthCacheClient client;
///     SAFEARRAY* psaPIN = nullptr;
///     if (SUCCEEDED(client.GetPIN(bstrCard, bstrPINId, nullptr, 0, &psaPIN, nullptr)) && psaPIN != nullptr) {
///         // ... log in with it; when the card refuses it, RemovePIN: never try it again ...
///         ovSafeArrayDestroy(psaPIN, 0); // wipes it
///     }
///
/// An object holds no data: any instance serves, and all of them see the stores of this process. The PIN
/// operations go to the default store, which is in memory, encrypted, and the same for all sessions;
/// only RegisterAuthStore, GetAuthStoreInfo, ListAuthStoreIds and FlushAuthStores know others. A library that
/// hosts sessions uses an engine (CInternalAuthStore) of its own.
///
/// Arguments common to the PIN operations:
/// - bstrCompartmentId, bstrPINId: name the PIN; used up to their first NUL, case-sensitive
/// - pParams, ulCount: additional parameters (see AuthParameter); null for none. A count of 0 with a
///   pointer that is not null is E_FAIL.
/// - psaPINSessionId: the bytes of the PIN session identifier that SetPIN gave for the PIN
/// Arguments stay the caller's and none is kept. Arrays handed out are new and freed by the caller with
/// ovSafeArrayDestroy. Out-pointers may be null; on failure they are untouched, unless it is said
/// otherwise.
///
/// **With additional parameters, S_OK does not mean that the operation did what it should**: the result is
/// then that of freeing the parameters, and not that of the operation. What tells is the state and the
/// arrays that came out: set them to PINStateNotCached and null before. Without parameters the result is
/// the operation's own:
/// - S_OK
/// - E_INVALIDARG: an identifier is null or empty; there is no such PIN
/// - E_FAIL: the store could not begin; psaPINSessionId is null or empty
/// - E_OUTOFMEMORY: memory is out; the PIN may be gone
/// Codes of the platform are passed on. No operation throws.
///
/// Thread safety: any operation may be called from any thread.
class SHAREDSTORE_API CStaticAuthCacheClient
{
public:
    CStaticAuthCacheClient();
    virtual ~CStaticAuthCacheClient();

    /// Makes a store and adds it to this process. It lives until the library is unloaded.
    /// @param bEncryptPIN non-zero: PINs are encrypted before they are stored
    /// @param bIgnoreSession non-zero: all sessions share the same PINs
    /// @return S_OK; E_INVALIDARG for a null or empty identifier; E_FAIL when it is taken (that store stays as it
    ///         is), or when the store can't begin
    static HRESULT RegisterAuthStore(BSTR bstrAuthStoreId, AuthType enType, int bEncryptPIN, int bIgnoreSession);

    /// Tells how a store was registered. Every out-argument may be null and is written only on S_OK.
    /// @return S_OK; E_INVALIDARG for a null or empty identifier; E_FAIL for an unknown one
    HRESULT GetAuthStoreInfo(BSTR bstrAuthStoreId, AuthType* penType, int* pbEncryptPIN, int* pbIgnoreSession);

    /// Lists the identifiers of all stores in byte order.
    /// @param ppsaAuthStoreIds receives a new VT_BSTR vector; null lists nothing
    /// @return S_OK; the code of the last identifier when that one can't be put into the vector
    HRESULT ListAuthStoreIds(SAFEARRAY** ppsaAuthStoreIds);

    /// Removes all PINs of all stores.
    /// @return the result of the last store; S_OK when there is none
    HRESULT FlushAuthStores();

    /// Stores a PIN, replacing an earlier one.
    /// @param psaPIN its bytes, of any array type that can be encrypted
    /// @param ppsaPINSessionId receives the bytes of the PIN's session identifier
    HRESULT SetPIN(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPIN, AuthParameter* pParams, unsigned long ulCount,
                   SAFEARRAY** ppsaPINSessionId);
    /// As SetPIN, in the session of a PIN that was stored before.
    HRESULT SetPINFromPINSessionId(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId, SAFEARRAY* psaPIN,
                                   AuthParameter* pParams, unsigned long ulCount);

    /// Reads a PIN, whatever its state, and uses up a permission for a key that needs its PIN on every use
    /// (unless the "Action" is "Authenticate" or "ChangeAuthenticator").
    /// @param ppsaPIN receives the PIN as it was stored
    /// @param ppsaPINSessionId receives the bytes of its session identifier; when they can't be made, the result is E_FAIL
    ///        though the PIN and its state have been handed out
    HRESULT GetPIN(BSTR bstrCompartmentId, BSTR bstrPINId, AuthParameter* pParams, unsigned long ulCount, SAFEARRAY** ppsaPIN,
                   SAFEARRAY** ppsaPINSessionId);
    /// As GetPIN.
    /// @param pState receives what may be done with the PIN
    HRESULT GetPINEx(BSTR bstrCompartmentId, BSTR bstrPINId, AuthParameter* pParams, unsigned long ulCount, SAFEARRAY** ppsaPIN,
                     SAFEARRAY** ppsaPINSessionId, PINState* pState);
    /// As GetPIN, by the PIN session identifier.
    HRESULT GetPINFromPINSessionId(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId, AuthParameter* pParams,
                                   unsigned long ulCount, SAFEARRAY** ppsaPIN);
    /// As GetPINEx, by the PIN session identifier.
    HRESULT GetPINFromPINSessionIdEx(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId, AuthParameter* pParams,
                                     unsigned long ulCount, SAFEARRAY** ppsaPIN, PINState* pState);

    /// Tells what may be done with a PIN, without reading it.
    /// @param pbCached receives 1 for PINStateCached, 0 for any other state
    HRESULT IsPINCached(BSTR bstrCompartmentId, BSTR bstrPINId, AuthParameter* pParams, unsigned long ulCount, SAFEARRAY** ppsaPINSessionId,
                        int* pbCached);
    /// As IsPINCached.
    /// @param pState receives what may be done with the PIN
    HRESULT IsPINCachedEx(BSTR bstrCompartmentId, BSTR bstrPINId, AuthParameter* pParams, unsigned long ulCount,
                          SAFEARRAY** ppsaPINSessionId, PINState* pState);
    /// As IsPINCached, by the PIN session identifier.
    HRESULT IsPINCachedFromPINSessionId(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId, AuthParameter* pParams,
                                        unsigned long ulCount, int* pbCached);
    /// As IsPINCachedEx, by the PIN session identifier.
    HRESULT IsPINCachedFromPINSessionIdEx(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId, AuthParameter* pParams,
                                          unsigned long ulCount, PINState* pState);

    /// Removes a PIN.
    HRESULT RemovePIN(BSTR bstrCompartmentId, BSTR bstrPINId, AuthParameter* pParams, unsigned long ulCount);
    /// As RemovePIN, by the PIN session identifier.
    HRESULT RemovePINFromPINSessionId(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId, AuthParameter* pParams,
                                      unsigned long ulCount);

    /// Gives (PINStateCached) or takes (any other) the permission to use a PIN once for a key that needs it on
    /// every use.
    HRESULT ChangePINState(BSTR bstrCompartmentId, BSTR bstrPINId, AuthParameter* pParams, unsigned long ulCount, PINState state);
    /// As ChangePINState, by the PIN session identifier.
    HRESULT ChangePINStateFromPINSessionId(BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPINSessionId, AuthParameter* pParams,
                                           unsigned long ulCount, PINState state);

    /// Removes all PINs.
    HRESULT FlushStore(AuthParameter* pParams, unsigned long ulCount);

    /// Removes all PINs of a compartment.
    /// @return E_INVALIDARG also when there are no PINs at all
    HRESULT RemoveCompartment(BSTR bstrCompartmentId, AuthParameter* pParams, unsigned long ulCount);
};

} // namespace OV::AuthStore
