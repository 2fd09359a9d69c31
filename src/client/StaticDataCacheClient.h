// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "datastore/Type.h"
#include "platform/Api.h"
#include "platform/ComEmulation.h"

namespace OV::DataStore
{

/// The public face of the data cache: finds a data store by its identifier and passes the call on.
///
/// A store holds compartments, named by paths such as "Card1/Certs"; a compartment holds data items,
/// named by strings, whose values are arrays. Every compartment has two version numbers, which tell
/// a reader whether what it read earlier is still current.
///
///     OV::DataStore::CStaticDataCacheClient client;
///     SAFEARRAY* psaValue = nullptr;
///     if (SUCCEEDED(client.GetData(bstrStore, bstrCompartment, bstrItem, &psaValue))) {
///         // ... use it ...
///         ovSafeArrayDestroy(psaValue, 0);
///     }
///
/// An object holds no data: any instance serves, and all of them see the stores of this process,
/// those of the configuration (StoreList.h) and those that RegisterDataStore added.
///
/// Identifiers are case-sensitive. A string argument is used up to its first NUL; none is kept.
/// Results common to all operations with a store identifier:
/// - E_INVALIDARG: an identifier or product is null or empty
/// - E_FAIL: no store has this identifier, or it could not begin
/// - E_FAIL, all but RemoveCompartment, the flushes and GetDataStoreInfo: the store is not shared
///   between user sessions, and such a store holds no data of this interface
/// - E_OUTOFMEMORY: memory is out
/// Codes of the platform are passed on. No operation throws.
///
/// Thread safety: any operation may be called from any thread. Operations on one store run one
/// after the other, those on different stores side by side.
class SHAREDSTORE_API CStaticDataCacheClient
{
public:
    CStaticDataCacheClient();
    virtual ~CStaticDataCacheClient();

    /// Makes a store and adds it to this process. It lives until the library is unloaded.
    /// @param bstrDataStoreId one with a "/" shares its versions with the store named before the "/":
    ///        flushing "S" also resets the versions of a store "S/T"
    /// @param type MemoryStore: gone with the process; RegistryStore: kept in the registry
    /// @param bEncrypted non-zero: values are encrypted before they are stored
    /// @param bSharedBetweenUserSessions non-zero: needed for all data operations
    /// @param bstrProduct the product that FlushDataStores knows the store by
    /// @return S_OK; E_INVALIDARG; E_FAIL when the identifier is taken (that store stays as it is),
    ///         or when the store can't begin
    static HRESULT RegisterDataStore(BSTR bstrDataStoreId, Type type, int bEncrypted, int bSharedBetweenUserSessions, BSTR bstrProduct);

    /// Lists the identifiers of all stores in byte order.
    /// @param ppsaDataStoreIds receives a new VT_BSTR vector, maybe empty, that the caller frees with
    ///        ovSafeArrayDestroy; null lists nothing
    /// @return S_OK; the code of the last identifier when that one can't be put into the vector
    HRESULT ListDataStoreIds(SAFEARRAY** ppsaDataStoreIds);

    /// Tells how a store was registered. Every out-argument may be null and is written only on S_OK.
    /// @param pbstrProduct receives a new string that the caller frees with SysFreeString
    /// @return S_OK; E_INVALIDARG; E_FAIL
    HRESULT GetDataStoreInfo(BSTR bstrDataStoreId, Type* pType, int* pbEncrypted, int* pbSharedBetweenUserSessions, BSTR* pbstrProduct);

    /// Flushes every store of a product (compared byte for byte), as FlushStore does.
    /// @return the result of the last store visited; S_OK when there are no stores; E_INVALIDARG
    HRESULT FlushDataStores(BSTR bstrProduct);

    /// Removes every compartment of a store together with all its versions.
    /// @return S_OK or a common result
    HRESULT FlushStore(BSTR bstrDataStoreId);

    /// Makes a compartment and its missing ancestors, and advances both versions of the compartment
    /// and of every ancestor. A compartment that exists stays as it is.
    /// @return S_OK or a common result
    HRESULT CreateCompartment(BSTR bstrDataStoreId, BSTR bstrCompartmentId);

    /// As CreateCompartment, but the versions of a compartment that exists advance too: every reader
    /// learns that its copy is no longer current.
    /// @return S_OK or a common result
    HRESULT TouchCompartment(BSTR bstrDataStoreId, BSTR bstrCompartmentId);

    /// Removes a compartment and everything below it. In a store that is not shared between user
    /// sessions it is removed in every session.
    /// @param bstrCompartmentId "/" is the whole store; its compartments' versions advance always
    /// @param bRemoveVersions zero: versions stay and advance, so that a compartment made anew is
    ///        newer than this one; non-zero: they are removed and start again at 0, and those of the
    ///        ancestors stay as they are
    /// @return S_OK, also when other compartments exist but not this one; E_INVALIDARG also when a
    ///         shared memory store is empty or a registry store has no such compartment
    HRESULT RemoveCompartment(BSTR bstrDataStoreId, BSTR bstrCompartmentId, int bRemoveVersions);

    /// Tells whether a compartment exists, and its versions. They are counted per process, from 0
    /// (never changed), and wrap at 2^32. A compartment that is gone can still have versions.
    /// @param bstrCompartmentId "/" asks for the versions of the whole store
    /// @param pulCompartmentVersion advances when the compartment, or one below it, is made, touched or
    ///        removed (unless it is removed with its versions)
    /// @param pulContentVersion advances then too, and when an item in it or below it is set or removed
    /// @param pbCached receives 1 or 0
    /// @return S_OK; E_FAIL also for a null out-argument. On failure the out-arguments are 0, or
    ///         untouched when no store was reached or an identifier was refused.
    HRESULT IsCompartmentCached(BSTR bstrDataStoreId, BSTR bstrCompartmentId, unsigned long* pulCompartmentVersion,
                                unsigned long* pulContentVersion, int* pbCached);

    /// Lists the names (last path components) of the compartments directly below one, in byte order.
    /// @param bstrCompartmentId "/" lists the top level
    /// @param ppsaCompartmentIds receives a new VT_BSTR vector that the caller frees with
    ///        ovSafeArrayDestroy; a memory store leaves it untouched when there are none
    /// @return S_OK, also for an unknown compartment of a memory store; E_FAIL also for a null out-argument, and for
    ///         an unknown compartment of a registry store
    HRESULT ListCompartmentIds(BSTR bstrDataStoreId, BSTR bstrCompartmentId, SAFEARRAY** ppsaCompartmentIds);

    /// Stores a copy of a value, replacing an older one, and makes the compartment when it is missing.
    /// Advances the content versions up the path, and the compartment versions too when it was made.
    /// @param psaValue bytes (VT_UI1), strings (VT_BSTR) or integers; stays the caller's
    /// @return S_OK; E_INVALIDARG also for a null value (in a memory store that is not encrypted an older value is
    ///         then gone, and a compartment that was missing is made, without counting a version); E_FAIL for
    ///         one in a registry store that is not encrypted, and for an element type that the store can't keep
    HRESULT SetData(BSTR bstrDataStoreId, BSTR bstrCompartmentId, BSTR bstrDataId, SAFEARRAY* psaValue);

    /// Reads a value.
    /// @param ppsaValue receives a new array that the caller frees with ovSafeArrayDestroy; null only
    ///        asks whether the item exists. Untouched on failure.
    /// @return S_OK; E_INVALIDARG also when there is no such compartment or item
    HRESULT GetData(BSTR bstrDataStoreId, BSTR bstrCompartmentId, BSTR bstrDataId, SAFEARRAY** ppsaValue);

    /// Removes an item and advances the content versions up the path.
    /// @return S_OK; E_INVALIDARG also when there is no such compartment or item
    HRESULT RemoveData(BSTR bstrDataStoreId, BSTR bstrCompartmentId, BSTR bstrDataId);

    /// Tells whether an item exists.
    /// @param pbCached receives 1 or 0 (on failure 0, or untouched as in IsCompartmentCached)
    /// @return S_OK, also for an unknown compartment; E_FAIL also for a null out-argument
    HRESULT IsDataCached(BSTR bstrDataStoreId, BSTR bstrCompartmentId, BSTR bstrDataId, int* pbCached);

    /// Lists the identifiers of a compartment's items in byte order.
    /// @param ppsaDataIds receives a new VT_BSTR vector, maybe empty, that the caller frees with
    ///        ovSafeArrayDestroy
    /// @return S_OK; E_FAIL also for an unknown compartment and for a null out-argument
    HRESULT ListDataIds(BSTR bstrDataStoreId, BSTR bstrCompartmentId, SAFEARRAY** ppsaDataIds);
};

} // namespace OV::DataStore
