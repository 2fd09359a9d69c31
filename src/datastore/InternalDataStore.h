// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "crypto/CommonCrypto.h"
#include "datastore/Type.h"
#include "platform/Api.h"
#include "platform/ComEmulation.h"
#include "platform/SecAllocator.h"
#include "util/ForkMember.h"
#include "util/Mutex.h"
#include "util/SessionAvailability.h"

#include <memory>

class CAbstractTree;
class COperation;
class CSafeArray;

/// One data store: a cache of compartments, each holding data items, in a tree of its own.
///
/// Owner: the data store directory, which calls Begin once before anybody else can see the store, and
/// End once when nobody can any more. m_Mutex serialises all data operations; every identifier is
/// converted and every tree call made under it. Versions are counted in the history tree, whose lock
/// is taken inside this one.
///
/// dwClientProcessId is the process that a call is made for; it is logged and passed to the tree.
/// Arrays given in stay the caller's; arrays handed out are the caller's, freed with ovSafeArrayDestroy.
///
/// Results common to the data operations, in the order of their checks:
/// - E_INVALIDARG: an identifier is null or empty
/// - E_FAIL: the store has not begun, or could not
/// - E_FAIL: the store is not shared between user sessions (not for RemoveCompartment and the flushes)
/// - E_OUTOFMEMORY: memory is out
/// Codes of the tree, the history and the platform are passed on. What was changed before a failure
/// stays changed. No operation throws.
///
/// Thread safety: any thread between Begin and End; neither of them may run beside another operation.
class SHAREDSTORE_API CInternalDataStore
{
public:
    using SecureString = OV::Framework::SecureString; ///< an identifier or a path

    CInternalDataStore();
    ~CInternalDataStore();
    CInternalDataStore(const CInternalDataStore&) = delete;
    CInternalDataStore& operator=(const CInternalDataStore&) = delete;

    /// Starts the store.
    /// @return S_OK, also when the mutex can't be initialised: every data operation then fails with
    ///         E_FAIL; E_INVALIDARG for a null or empty identifier; the code of
    ///         CommonCrypto::initialize for an encrypted store
    HRESULT Begin(BSTR bstrDataStoreId, OV::DataStore::Type type, int bEncrypted, int bSharedBetweenUserSessions,
                  const SecureString& sProduct);

    /// Stops the store and deletes its tree. Always S_OK.
    HRESULT End();

    /// Copies the settings given to Begin. Takes no lock: they never change.
    /// @return S_OK; E_OUTOFMEMORY
    HRESULT GetStoreInfo(OV::DataStore::Type& type, int& bEncrypted, int& bSharedBetweenUserSessions, SecureString& sProduct) const;

    /// Makes a compartment that does not exist and advances both its versions, and those of its ancestors.
    HRESULT CreateCompartment(unsigned long dwClientProcessId, BSTR bstrCompartmentId);

    /// As CreateCompartment, but advances the versions of an existing compartment too.
    HRESULT TouchCompartment(unsigned long dwClientProcessId, BSTR bstrCompartmentId);

    /// Tells whether a compartment exists, and its versions. Each out-argument that is not null is set to
    /// 0 once the identifier is converted.
    /// @return E_FAIL also for a null out-argument
    HRESULT IsCompartmentCached(unsigned long dwClientProcessId, BSTR bstrCompartmentId, unsigned long* pulCompartmentVersion,
                                unsigned long* pulContentVersion, int* pbCached);

    /// Lists the compartments directly below one; "/" is the top level. A memory store leaves the
    /// out-argument untouched when there are none.
    /// @return E_FAIL also for a null out-argument, and for an unknown compartment of a registry store
    HRESULT ListCompartmentIds(unsigned long dwClientProcessId, BSTR bstrCompartmentId, SAFEARRAY** ppsaCompartmentIds);

    /// Lists the items of a compartment.
    /// @return E_FAIL also for an unknown compartment and a null out-argument
    HRESULT ListDataIds(unsigned long dwClientProcessId, BSTR bstrCompartmentId, SAFEARRAY** ppsaDataIds);

    /// Tells whether an item exists. *pbCached is set to 0 once the identifiers are converted.
    /// @return E_FAIL also for a null out-argument
    HRESULT IsDataCached(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrDataId, int* pbCached);

    /// Stores a copy of a value, makes a missing compartment, and advances the content version, or both
    /// versions when it made the compartment.
    /// @return E_INVALIDARG also for a null value, E_FAIL for one in an open registry store; in an open memory
    ///         store an older value of the item is then gone. Also the codes of CommonCrypto::encryptValue.
    HRESULT SetData(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrDataId, SAFEARRAY* psaValue);

    /// Reads a value.
    /// @param ppsaValue null only asks whether the item exists
    /// @return E_INVALIDARG also when there is no such compartment or item
    HRESULT GetData(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrDataId, SAFEARRAY** ppsaValue);

    /// Removes an item and advances the content version.
    /// @return E_INVALIDARG also when there is no such compartment or item
    HRESULT RemoveData(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrDataId);

    /// Removes a compartment and everything below it; in a store that is not shared, of every session in
    /// the tree, up to the first failure.
    /// @param bRemoveVersions zero: its versions advance; non-zero: they are removed, and no reader of an
    ///        ancestor notices. Of "/", the versions of its compartments advance always.
    /// @return E_INVALIDARG also when a shared memory store is empty or a registry store has no such compartment
    HRESULT RemoveCompartment(unsigned long dwClientProcessId, BSTR bstrCompartmentId, int bRemoveVersions);

    /// Removes every compartment and all versions of the store.
    /// @return S_OK; E_FAIL when the store has not begun; the code of the history tree
    HRESULT FlushStore(unsigned long dwClientProcessId);

    /// Removes what belongs to one user session; of a shared store, everything.
    /// @return E_INVALIDARG also when a memory store is empty or a registry store has nothing of the session
    HRESULT FlushStoreFromSessionId(unsigned long dwSessionId);

    /// Opens (non-zero) or shuts (0) the store for a user session. For the service that follows the
    /// sessions; no data operation asks. Any thread.
    /// @return S_OK; E_OUTOFMEMORY
    HRESULT SetAvailabilityStoreFromSessionId(unsigned long dwSessionId, int bAvailabled);

    /// Tells whether the store is open for a user session (see CSessionAvailability). Always S_OK. Any thread.
    HRESULT GetAvailabilityStoreFromSessionId(unsigned long dwSessionId, int& bAvailabled);

private:
    void HoldForFork() SHAREDSTORE_NO_THREAD_SAFETY_ANALYSIS;
    void ReleaseAfterFork() SHAREDSTORE_NO_THREAD_SAFETY_ANALYSIS;
    using TreeList = HRESULT (CAbstractTree::*)(const SecureString& sCompartmentId, SAFEARRAY** ppsaIds, unsigned long dwClientProcessId);

    HRESULT List(const char* pszName, TreeList pfnList, unsigned long dwClientProcessId, BSTR bstrCompartmentId, SAFEARRAY** ppsaIds);
    HRESULT MakeCompartment(const char* pszName, unsigned long dwClientProcessId, BSTR bstrCompartmentId, bool bTouch);
    HRESULT RemoveOneCompartmentLocked(unsigned long dwClientProcessId, const SecureString& sCompartmentIdGlobal, int bRemoveVersions)
        SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT CheckTreeLocked(const COperation& op) const SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT CheckGuardsLocked(const COperation& op) const SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT IsCachedLocked(const COperation& op, const SecureString& sCompartmentId, int& bCached) const SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT StoreLocked(const COperation& op, const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY* psaStored,
                        unsigned long dwClientProcessId) SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT LoadLocked(const COperation& op, const SecureString& sCompartmentId, const SecureString& sDataId, CSafeArray& value)
        SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT Advance(const COperation& op, const SecureString& sCompartmentIdGlobal, int mode) const;
    HRESULT RemoveVersions(const COperation& op, const SecureString& sCompartmentIdGlobal) const;
    SecureString VersionKey(const SecureString& sCompartmentIdGlobal) const;
    void ReplaceTree(std::unique_ptr<CAbstractTree> tree);
    bool IsPersistent() const;
    HRESULT Encrypt(const COperation& op, SAFEARRAY* psaValue, CSafeArray& encrypted);
    HRESULT Decrypt(const COperation& op, CSafeArray& value);

    CMutex m_Mutex;
    std::unique_ptr<CAbstractTree> m_Tree SHAREDSTORE_GUARDED_BY(m_Mutex);

    // Constant after Begin.
    SecureString m_sDataStoreId;
    OV::DataStore::Type m_Type = OV::DataStore::MemoryStore;
    int m_bEncrypted = 0;
    int m_bSharedBetweenUserSessions = 0;
    SecureString m_sProduct;
    CommonCrypto m_CommonCrypto;

    // Guard themselves.
    CSessionAvailability m_Availability;
    CForkMember m_ForkMember; ///< the last member: gone first
};
