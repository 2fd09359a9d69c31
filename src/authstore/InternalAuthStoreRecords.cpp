// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Storing, reading, querying and changing one PIN.

#include "authstore/InternalAuthStore.h"

#include "authstore/AdditionalParameters.h"
#include "authstore/FoundRecord.h"
#include "authstore/PINRecord.h"
#include "authstore/StoreLock.h"
#include "tree/AbstractTree.h"
#include "util/Decimal.h"
#include "util/FctUtils.h"
#include "util/Operation.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

using namespace OV::AuthStore;
using OV::Framework::SecureString;

namespace
{

constexpr const char* RandomUUIDFile = "/proc/sys/kernel/random/uuid"; // random(4)
constexpr std::size_t UUIDLength = 36;

HRESULT Convert(const COperation& op, BSTR bstrId, SecureString& sId)
{
    return op.Check(BSTR2wstring(bstrId, sId), "BSTR2wstring failed");
}

/// Makes a PIN session identifier: a random UUID, or an empty text when the system has none to give.
HRESULT MakePINSessionId(const COperation& op, CBstr& PINSessionId)
{
    char uuid[UUIDLength + 1] = {};
    if (const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pFile(std::fopen(RandomUUIDFile, "re"), &std::fclose); pFile != nullptr) {
        uuid[std::fread(uuid, 1, UUIDLength, pFile.get())] = '\0';
    }
    RETURN_IF_FAILED(op.Check(wstring2BSTR(uuid, PINSessionId.Out()), "wstring2BSTR failed"));
    return PINSessionId.Get() == nullptr ? op.Fail(E_OUTOFMEMORY, "wstring2BSTR failed") : S_OK;
}

} // namespace

/// Where the record of a caller lives; the session is empty when the store ignores sessions.
SecureString CInternalAuthStore::RecordPath(const SCaller& caller, const SecureString& sSessionId, const SecureString& sRecordId) const
{
    const SecureString sPath = m_bIgnoreSession != 0 ? sRecordId : ChildPath(sSessionId, sRecordId);
    return m_PinCachingMode == PinCachingPerProcess ? ChildPath(sPath, Decimal(caller.dwClientProcessId)) : sPath;
}

/// An unknown PIN session identifier has the empty session.
HRESULT CInternalAuthStore::FindSession(const COperation& op, const SCaller& caller, SecureString& sSessionId)
{
    if (m_bIgnoreSession != 0) {
        return S_OK;
    }
    if (caller.bFromPINSessionId == 0) {
        return op.Check(GetSessionId(caller.dwClientProcessId, sSessionId), "GetSessionId failed");
    }
    SecureString sPINSessionId;
    RETURN_IF_FAILED(Convert(op, caller.bstrPINSessionId, sPINSessionId));
    const auto it = m_PINSessionIds.find(sPINSessionId);
    if (it == m_PINSessionIds.end()) {
        op.Error("sPINSessionId not found");
        return S_OK;
    }
    sSessionId = it->second;
    const unsigned long dwSessionId = std::strtoul(sSessionId.c_str(), nullptr, 10);
    return caller.bExpired != 0 ? S_OK : op.Check(CheckAvailable(op, dwSessionId), "GetSessionId failed");
}

HRESULT CInternalAuthStore::FindRecord(const COperation& op, const SCaller& caller, SFoundRecord& found)
{
    RETURN_IF_FAILED(CheckTree(op));
    RETURN_IF_FAILED(FindSession(op, caller, found.sSessionId));
    SecureString sCompartmentId;
    SecureString sPINId;
    RETURN_IF_FAILED(Convert(op, caller.bstrCompartmentId, sCompartmentId));
    RETURN_IF_FAILED(Convert(op, caller.bstrPINId, sPINId));
    found.sPath = RecordPath(caller, found.sSessionId, ChildPath(sCompartmentId, sPINId));
    return S_OK;
}

/// Finds a record and reads it, for those who ask what may be done with its PIN.
HRESULT CInternalAuthStore::ReadRecord(const COperation& op, const SCaller& caller, int* pnPINState, SFoundRecord& found)
{
    if (pnPINState == nullptr) {
        return op.Fail(E_INVALIDARG, "pnPINState == NULL");
    }
    *pnPINState = PINStateNotCached;
    RETURN_IF_FAILED(FindRecord(op, caller, found));
    const CPINRecord record(op, *m_Tree, found.sPath);
    RETURN_IF_FAILED(record.ReadPIN(found.PINSessionId, found.Value));
    return record.ReadState(found.State);
}

/// Gives a record that is about to be stored its PIN session identifier: the caller's own, or a new one.
HRESULT CInternalAuthStore::GivePINSessionId(const COperation& op, const SCaller& caller, SFoundRecord& found)
{
    if (caller.bFromPINSessionId != 0) {
        found.PINSessionId = CBstr(SysAllocString(caller.bstrPINSessionId == nullptr ? "" : caller.bstrPINSessionId));
        return found.PINSessionId.Get() == nullptr ? op.Fail(E_OUTOFMEMORY, "SysAllocString failed") : S_OK;
    }
    RETURN_IF_FAILED(MakePINSessionId(op, found.PINSessionId));
    if (m_bIgnoreSession == 0) { // otherwise nobody looks a session up
        m_PINSessionIds[found.PINSessionId.Get()] = found.sSessionId;
    }
    return S_OK;
}

/// Makes of a PIN what the tree keeps.
HRESULT CInternalAuthStore::Protect(const COperation& op, SAFEARRAY* psaPIN, CSafeArray& value)
{
    return m_bEncryptPIN != 0 ? op.Check(m_Crypto.encryptValue(psaPIN, value.Out(), m_AuthType != AuthTypeMemory), "EncryptValue failed")
                              : op.Check(SafeArrayCopy(psaPIN, &value.Out()), "SafeArrayCopy failed");
}

/// Makes of what the tree keeps a PIN.
HRESULT CInternalAuthStore::Unprotect(const COperation& op, CSafeArray& value)
{
    if (m_bEncryptPIN == 0) {
        return S_OK;
    }
    CSafeArray pin;
    RETURN_IF_FAILED(op.Check(m_Crypto.DecryptValue(value.Get(), pin.Out(), m_AuthType != AuthTypeMemory), "DecryptValue failed"));
    value = std::move(pin);
    return S_OK;
}

HRESULT CInternalAuthStore::DecideState(const COperation& op, EUse use, const SAdditionalParameters& params, const SRecordState& state,
                                        int& nPINState) const
{
    if (const std::optional<PINState> decided = Decide(use, params, state)) {
        nPINState = *decided;
        return S_OK;
    }
    PinAlwaysCachingMode enMode = PinAlwaysPINPrompt;
    RETURN_IF_FAILED(op.Check(GetPINAlwaysCachingMode(enMode), "GetPINAlwaysCachingMode failed"));
    nPINState = enMode == PinAlwaysConfirmationPrompt ? PINStateConfirm : PINStateNotCached;
    return S_OK;
}

HRESULT CInternalAuthStore::StartTimer(const COperation& op, const SCaller& caller, const SFoundRecord& found)
{
    return op.Check(
        SetInternalTimer(found.sPath, caller.dwClientProcessId, caller.bstrCompartmentId, caller.bstrPINId, found.PINSessionId.Get()),
        "SetInternalTimer failed");
}

HRESULT CInternalAuthStore::SetInternalPIN(const SCaller& caller, SAFEARRAY* psaPIN, SAFEARRAY* pAdditionalParameters, CBstr& PINSessionId)
{
    return RunOperation("CInternalAuthStore::SetInternalPIN", [&](const COperation& op) -> HRESULT {
        m_Mutex.AssertHeld();
        SFoundRecord found;
        RETURN_IF_FAILED(FindRecord(op, caller, found));
        RETURN_IF_FAILED(GivePINSessionId(op, caller, found));
        RETURN_IF_FAILED(Protect(op, psaPIN, found.Value));
        const CPINRecord record(op, *m_Tree, found.sPath);
        RETURN_IF_FAILED(record.ReadAlwaysState(found.State.bAvailable));
        SAdditionalParameters params;
        RETURN_IF_FAILED(ParseParameters(op, pAdditionalParameters, params));
        const SRecordState state{IsAvailableAfterStore(params, found.State.bAvailable), params.sBypassPINAlways == "True"};
        // What was written of a record expires too, when the rest could not be.
        const HRESULT hrWritten =
            Guarded(op, [&](const COperation&) { return record.Write(found.Value, state, found.PINSessionId.Get()); });
        const HRESULT hrStarted = StartTimer(op, caller, found);
        PINSessionId = std::move(found.PINSessionId);
        return FAILED(hrWritten) ? hrWritten : hrStarted;
    });
}

HRESULT CInternalAuthStore::IsInternalPINCached(const SCaller& caller, SAFEARRAY* pAdditionalParameters, CBstr& PINSessionId,
                                                int* pnPINState)
{
    return RunOperation("CInternalAuthStore::IsInternalPINCached", [&](const COperation& op) -> HRESULT {
        m_Mutex.AssertHeld();
        SFoundRecord found;
        RETURN_IF_FAILED(ReadRecord(op, caller, pnPINState, found));
        RETURN_IF_FAILED(StartTimer(op, caller, found));
        SAdditionalParameters params;
        RETURN_IF_FAILED(ParseParameters(op, pAdditionalParameters, params));
        PINSessionId = std::move(found.PINSessionId);
        return DecideState(op, EUse::Query, params, found.State, *pnPINState);
    });
}

HRESULT CInternalAuthStore::GetInternalPIN(const SCaller& caller, SAFEARRAY* pAdditionalParameters, SAFEARRAY** ppsaPIN,
                                           CBstr& PINSessionId, int* pnPINState)
{
    return RunOperation("CInternalAuthStore::GetInternalPIN", [&](const COperation& op) -> HRESULT {
        m_Mutex.AssertHeld();
        SFoundRecord found;
        RETURN_IF_FAILED(ReadRecord(op, caller, pnPINState, found));
        SAdditionalParameters params;
        RETURN_IF_FAILED(ParseParameters(op, pAdditionalParameters, params));
        int nState = PINStateNotCached;
        RETURN_IF_FAILED(DecideState(op, EUse::Fetch, params, found.State, nState));
        // Writing back the state that was read is work that nobody sees.
        if (const bool bAvailable = IsAvailableAfterFetch(params, found.State.bAvailable); bAvailable != found.State.bAvailable) {
            RETURN_IF_FAILED(CPINRecord(op, *m_Tree, found.sPath).WriteAlwaysState(bAvailable));
        }
        RETURN_IF_FAILED(Unprotect(op, found.Value));
        RETURN_IF_FAILED(StartTimer(op, caller, found));
        *pnPINState = nState;
        PINSessionId = std::move(found.PINSessionId);
        if (ppsaPIN != nullptr) {
            *ppsaPIN = found.Value.Release();
        }
        return S_OK;
    });
}

HRESULT CInternalAuthStore::ChangeInternalPINState(const SCaller& caller, int nState)
{
    return RunOperation("CInternalAuthStore::ChangeInternalPINState", [&](const COperation& op) -> HRESULT {
        m_Mutex.AssertHeld();
        SFoundRecord found;
        RETURN_IF_FAILED(FindRecord(op, caller, found));
        const CPINRecord record(op, *m_Tree, found.sPath);
        RETURN_IF_FAILED(record.ReadPIN(found.PINSessionId, found.Value));
        op.Detail("enPINAlwaysState", nState);
        RETURN_IF_FAILED(record.WriteAlwaysState(nState == PINStateCached));
        return StartTimer(op, caller, found);
    });
}

HRESULT CInternalAuthStore::ListPINs(std::vector<SPINInfo>& pins)
{
    return RunOperation("CInternalAuthStore::ListPINs", [&](const COperation& op) -> HRESULT {
        const CStoreLock lock(*this);
        RETURN_IF_FAILED(CheckTree(op));
        pins.clear();
        std::vector<SecureString> paths;
        RETURN_IF_FAILED(CPINRecord::List(op, *m_Tree, RootCompartment, paths));
        for (const SecureString& sPath : paths) {
            SRecordState state;
            RETURN_IF_FAILED(CPINRecord(op, *m_Tree, sPath).ReadState(state));
            const auto it = m_Timers.find(sPath);
            pins.push_back({sPath, state.bAvailable, state.bBypass, it == m_Timers.end() ? -1 : it->second.pTimer->GetSecondsLeft()});
        }
        return S_OK;
    });
}
