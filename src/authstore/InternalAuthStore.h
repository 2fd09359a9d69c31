// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "authstore/AuthType.h"
#include "authstore/PINTimer.h"
#include "crypto/CommonCrypto.h"
#include "platform/Api.h"
#include "platform/ComEmulation.h"
#include "platform/SecAllocator.h"
#include "util/ForkMember.h"
#include "util/Mutex.h"
#include "util/SessionAvailability.h"

#include <map>
#include <memory>
#include <vector>

class CAbstractTree;
class CBstr;
class COperation;
class CSafeArray;
enum class EUse : int;
struct SAdditionalParameters;
struct SPINTimerRecord;
struct SRecordState;

/// One auth store: a cache of PINs, each a record of one key for one caller.
///
/// A record is named by a compartment and a PIN identifier. It lives in the store's tree at
///
///     [session "/"] compartment "/" PIN identifier ["/" process]
///
/// with the session unless the store ignores sessions, and the process when the policy caches PINs per
/// process. Besides the PIN it holds its PIN Always state, its bypass of PIN Always, and its PIN session
/// identifier, by which a caller reaches the record without its process.
///
/// Every record has a timer. Storing, reading, querying and changing a record starts the timer anew; when
/// it fires, the record is removed. A timer that can't be made takes its record with it.
///
/// Owner: the auth store directory, which calls Begin once before anybody else can see the store, and
/// End once when nobody can any more. m_Mutex serialises all operations and the timers' callbacks. A
/// timer is never deleted while it is held, because deleting waits for a callback that may be waiting for
/// the mutex: see CStoreLock.
///
/// Arguments common to the operations:
/// - dwClientProcessId: the process that a call is made for; 0 for none, with which only a store that
///   ignores sessions can be used
/// - bstrPINSessionId: what SetPIN gave for the record; it stays known as long as the store, so that older ones
///   find the record too. An unknown one stands for a session without a name, which all of them share.
/// - pAdditionalParameters: a VT_BSTR vector of names and values in turn, or null (see
///   GetAdditionalParameters)
/// Arrays and strings given in stay the caller's; those handed out are the caller's, freed with
/// ovSafeArrayDestroy and SysFreeString. An out-pointer may be null unless it is said otherwise. Nothing is handed out on failure.
///
/// Results common to the operations:
/// - E_FAIL: the store has not begun, or could not
/// - E_FAIL: the caller has no session, or the store is shut for it (not when sessions are ignored)
/// - E_INVALIDARG: an identifier is null or empty; the record does not exist
/// - the code of the first element of pAdditionalParameters that can't be read
/// - E_OUTOFMEMORY: memory is out
/// Codes of the tree, the cipher and the platform are passed on. What was changed before a failure stays
/// changed. No operation throws.
///
/// Thread safety: any thread between Begin and End; neither of them may run beside another operation.
class SHAREDSTORE_API CInternalAuthStore
{
public:
    using SecureString = OV::Framework::SecureString; ///< an identifier or a path

    CInternalAuthStore();
    ~CInternalAuthStore();
    CInternalAuthStore(const CInternalAuthStore&) = delete;
    CInternalAuthStore& operator=(const CInternalAuthStore&) = delete;

    /// Starts the store.
    /// @param bEncryptPIN non-zero: PINs are encrypted before they are stored
    /// @param bIgnoreSession non-zero: all sessions share the same records
    /// @return S_OK, also when the mutex can't be initialised: every operation then fails with E_FAIL;
    ///         E_INVALIDARG for a null or empty identifier; the code of CommonCrypto::initialize
    HRESULT Begin(BSTR bstrStoreId, OV::AuthStore::AuthType enType, int bEncryptPIN, int bIgnoreSession);

    /// Stops the store: no timer of it runs any more, nor any callback, when this returns. A store in
    /// memory forgets its PINs. Always S_OK.
    HRESULT End();

    /// Copies the settings given to Begin. Takes no lock: they never change. Always S_OK.
    HRESULT GetStoreInfo(OV::AuthStore::AuthType& enType, int& bEncryptPIN, int& bIgnoreSession) const;

    // Policy, read from the registry on every call; a value that can't be read stands for its default.
    // Any thread. Always S_OK.

    /// Who shares a PIN; per session unless "AllowPerProcess" is 1.
    HRESULT GetPINCachingMode(PinCachingMode& enMode) const;
    /// What happens for PIN Always keys; a PIN prompt unless "EnablePINCacheForPINAlwaysPrivateKeys" is 1.
    HRESULT GetPINAlwaysCachingMode(PinAlwaysCachingMode& enMode) const;
    /// The life of an unused PIN in minutes: "Timeout", 15 when there is none. See SetInternalTimer for 0 and
    /// other special values.
    HRESULT GetPINCachingTimeout(int& nMinutes) const;

    /// Works out the login session of a process: getsid(2) as decimal text. Any thread.
    /// @return S_OK; E_FAIL for process 0 and for a session that the store is shut for
    HRESULT GetSessionId(unsigned long dwClientProcessId, SecureString& sSessionId);

    /// Opens (non-zero) or shuts (0) the store for a session. For the service that follows the sessions.
    /// Any thread.
    /// @return S_OK; E_OUTOFMEMORY
    HRESULT SetAvailabilityStoreFromSessionId(unsigned long dwSessionId, int bAvailable);

    /// Tells whether the store is open for a session (see CSessionAvailability). Always S_OK. Any thread.
    HRESULT GetAvailabilityStoreFromSessionId(unsigned long dwSessionId, int& bAvailable);

    /// Reads additional parameters. Outputs get their defaults, then the values of the array; unknown names
    /// are passed over, the last of several equal names counts. Any thread.
    /// @return S_OK, also for a null array and one that holds no strings; the code of the first element that
    ///         can't be read: an empty text, or a name without a value
    HRESULT GetAdditionalParameters(SAFEARRAY* pAdditionalParameters, SecureString& sIsACRPINAlways, SecureString& sAction,
                                    SecureString& sAllProcess, SecureString& sAllSession, SecureString& sCheckClientCaller,
                                    SecureString& sBypassPINAlways) const;

    /// Stores a PIN, replacing one that the caller stored before.
    /// @param psaPIN the PIN's bytes, any array that can be encrypted
    /// @param pbstrPINSessionId receives the record's PIN session identifier
    HRESULT SetPIN(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* psaPIN,
                   SAFEARRAY* pAdditionalParameters, BSTR* pbstrPINSessionId);
    /// As SetPIN, in the session of a record that was stored before.
    HRESULT SetPINFromPINSessionId(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId, BSTR bstrPINSessionId,
                                   SAFEARRAY* psaPIN, SAFEARRAY* pAdditionalParameters);

    /// Reads a PIN, whatever its state, and uses a permission for a PIN Always key up.
    /// @param ppsaPIN receives the PIN as it was stored
    /// @param pnPINState receives what may be done with it, PINStateNotCached on failure; null is E_INVALIDARG
    HRESULT GetPIN(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* pAdditionalParameters,
                   SAFEARRAY** ppsaPIN, BSTR* pbstrPINSessionId, int* pnPINState);
    /// As GetPIN, by the PIN session identifier.
    HRESULT GetPINFromPINSessionId(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId, BSTR bstrPINSessionId,
                                   SAFEARRAY* pAdditionalParameters, SAFEARRAY** ppsaPIN, int* pnPINState);

    /// Tells what may be done with a PIN, without changing it.
    /// @param pnPINState as for GetPIN
    HRESULT IsPINCached(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* pAdditionalParameters,
                        BSTR* pbstrPINSessionId, int* pnPINState);
    /// As IsPINCached, by the PIN session identifier.
    HRESULT IsPINCachedFromPINSessionId(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId, BSTR bstrPINSessionId,
                                        SAFEARRAY* pAdditionalParameters, int* pnPINState);

    /// Sets a record's PIN Always state: available for PINStateCached, else unavailable.
    HRESULT ChangePINState(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* pAdditionalParameters,
                           int nState);
    /// As ChangePINState, by the PIN session identifier.
    HRESULT ChangePINStateFromPINSessionId(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId, BSTR bstrPINSessionId,
                                           SAFEARRAY* pAdditionalParameters, int nState);

    /// Lists all records in the order of the tree, for whoever looks after the store. No record counts as used.
    /// @return S_OK; E_FAIL when the store has not begun; E_INVALIDARG when a path has more than 1000 components;
    ///         E_OUTOFMEMORY
    HRESULT ListPINs(std::vector<SPINInfo>& pins);

    /// Removes the caller's record. With "AllProcess" = "True", and PINs cached per process, that of every
    /// process of the session; else with "AllSession" = "True" that of every session that stored one here.
    /// @return for all sessions: S_OK when one was removed and none failed; the first failure, which does not
    ///         stop the walk; E_INVALIDARG when there was none
    HRESULT RemovePIN(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId, SAFEARRAY* pAdditionalParameters);
    /// As RemovePIN, by the PIN session identifier.
    HRESULT RemovePINFromPINSessionId(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId, BSTR bstrPINSessionId,
                                      SAFEARRAY* pAdditionalParameters);

    /// Removes a record as its timer does: also when the store is shut for the session.
    HRESULT RemoveExpiredPINFromPINSessionId(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrPINId,
                                             BSTR bstrPINSessionId);

    /// Removes the record of a timer that fired, unless it was used, stored again or removed meanwhile.
    /// @param ulUses the record's uses when the callback began
    HRESULT ExpirePIN(const SPINTimerRecord& timer, unsigned long ulUses);

    /// Removes all records; their timers fire later and find nothing.
    HRESULT FlushStore(unsigned long dwClientProcessId);
    /// Removes all records and their timers, whatever the parameters say.
    HRESULT FlushStore(unsigned long dwClientProcessId, SAFEARRAY* pAdditionalParameters);

    /// Removes all records of a session.
    /// @return E_INVALIDARG also when a store in memory is empty
    HRESULT FlushStoreFromSessionId(unsigned long dwSessionId);

    /// Removes all records of a compartment, of every process of the caller's session.
    /// @return as FlushStoreFromSessionId
    HRESULT RemoveCompartment(unsigned long dwClientProcessId, BSTR bstrCompartmentId, SAFEARRAY* pAdditionalParameters);

    /// Moves all records of a session to another one, where each gets a timer of its own.
    /// @return as FlushStoreFromSessionId; E_INVALIDARG, and nothing was moved, also when a path has more than 1000
    ///         components
    HRESULT MoveStore(unsigned long dwFromSessionId, unsigned long dwToSessionId);

private:
    void HoldForFork() SHAREDSTORE_NO_THREAD_SAFETY_ANALYSIS;
    void ReleaseAfterFork() SHAREDSTORE_NO_THREAD_SAFETY_ANALYSIS;
    class CStoreLock;

    /// Which record an operation is about.
    struct SCaller
    {
        unsigned long dwClientProcessId;
        BSTR bstrCompartmentId;
        BSTR bstrPINId;
        int bFromPINSessionId = 0; ///< its session is that of the PIN session identifier, not of the process
        BSTR bstrPINSessionId = nullptr;
        int bExpired = 0; ///< it expires: nobody asks whether the store is open for its session
    };

    struct SFoundRecord;

    // What operations are made of; each logs under the name of its operation.
    static void LogCaller(const COperation& op, const SCaller& caller);
    HRESULT CheckTree(const COperation& op) const SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT CheckAvailable(const COperation& op, unsigned long dwSessionId);
    HRESULT ParseParameters(const COperation& op, SAFEARRAY* pAdditionalParameters, SAdditionalParameters& params) const;
    HRESULT FindSession(const COperation& op, const SCaller& caller, SecureString& sSessionId) SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT FindRecord(const COperation& op, const SCaller& caller, SFoundRecord& found) SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT ReadRecord(const COperation& op, const SCaller& caller, int* pnPINState, SFoundRecord& found) SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT GivePINSessionId(const COperation& op, const SCaller& caller, SFoundRecord& found) SHAREDSTORE_REQUIRES(m_Mutex);
    SecureString RecordPath(const SCaller& caller, const SecureString& sSessionId, const SecureString& sRecordId) const;
    HRESULT Protect(const COperation& op, SAFEARRAY* psaPIN, CSafeArray& value);
    HRESULT Unprotect(const COperation& op, CSafeArray& value);
    HRESULT DecideState(const COperation& op, EUse use, const SAdditionalParameters& params, const SRecordState& state,
                        int& nPINState) const;
    HRESULT StartTimer(const COperation& op, const SCaller& caller, const SFoundRecord& found) SHAREDSTORE_REQUIRES(m_Mutex);

    // Operations of their own.
    HRESULT SetInternalPIN(const SCaller& caller, SAFEARRAY* psaPIN, SAFEARRAY* pAdditionalParameters, CBstr& PINSessionId)
        SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT GetInternalPIN(const SCaller& caller, SAFEARRAY* pAdditionalParameters, SAFEARRAY** ppsaPIN, CBstr& PINSessionId,
                           int* pnPINState) SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT IsInternalPINCached(const SCaller& caller, SAFEARRAY* pAdditionalParameters, CBstr& PINSessionId, int* pnPINState)
        SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT ChangeInternalPINState(const SCaller& caller, int nState) SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT RemoveInternalPIN(const SCaller& caller) SHAREDSTORE_REQUIRES(m_Mutex);

    HRESULT RemovePINData(const SecureString& sCompartmentIdGlobal, int bExpired) SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT RemovePINCompartment(const SecureString& sCompartmentIdGlobal) SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT MovePINCompartment(const SecureString& sFrom, const SecureString& sTo) SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT SetInternalTimer(const SecureString& sCompartmentIdGlobal, unsigned long dwClientProcessId, BSTR bstrCompartmentId,
                             BSTR bstrPINId, BSTR bstrPINSessionId) SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT RemoveExpiredTimers() SHAREDSTORE_REQUIRES(m_Mutex);

    HRESULT RemoveFromAllProcesses(const COperation& op, const SCaller& caller, const SecureString& sRecordId)
        SHAREDSTORE_REQUIRES(m_Mutex);
    HRESULT RemoveFromAllSessions(const COperation& op, const SCaller& caller, const SecureString& sRecordId) SHAREDSTORE_REQUIRES(m_Mutex);
    void DropTimer(const COperation& op, const SecureString& sCompartmentIdGlobal, int bExpired) SHAREDSTORE_REQUIRES(m_Mutex);
    void DropAllTimers(const COperation& op) SHAREDSTORE_REQUIRES(m_Mutex);

    CMutex m_Mutex;
    std::unique_ptr<CAbstractTree> m_Tree SHAREDSTORE_GUARDED_BY(m_Mutex);
    PINTimers m_Timers SHAREDSTORE_GUARDED_BY(m_Mutex);                                   ///< by the path for which each was made
    DroppedPINTimers m_ExpiredTimers SHAREDSTORE_GUARDED_BY(m_Mutex);                     ///< fired; deleted by a later operation
    DroppedPINTimers m_DroppedTimers SHAREDSTORE_GUARDED_BY(m_Mutex);                     ///< deleted when the mutex is given back
    std::map<SecureString, SecureString> m_PINSessionIds SHAREDSTORE_GUARDED_BY(m_Mutex); ///< the session of each PIN session identifier

    // Constant after Begin.
    OV::AuthStore::AuthType m_AuthType = OV::AuthStore::AuthTypeMemory;
    int m_bEncryptPIN = 0;
    int m_bIgnoreSession = 0;
    PinCachingMode m_PinCachingMode = PinCachingPerSession;
    CommonCrypto m_Crypto;

    // Guard themselves.
    CSessionAvailability m_Availability;
    CForkMember m_ForkMember; ///< the last member: gone first
};
