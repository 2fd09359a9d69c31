// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// What a PIN store is told from outside: the administrator's policy, the callers' sessions, and the
// parameters that callers add to an operation.

#include "authstore/InternalAuthStore.h"

#include "authstore/AdditionalParameters.h"
#include "util/Decimal.h"
#include "util/FctUtils.h"
#include "util/IdList.h"
#include "util/Operation.h"
#include "util/Setting.h"

#include <unistd.h>

using OV::Framework::SecureString;

namespace
{

constexpr const char* AllowPerProcessValue = "AllowPerProcess";
constexpr const char* PINAlwaysValue = "EnablePINCacheForPINAlwaysPrivateKeys";
constexpr const char* TimeoutValue = "Timeout";
constexpr int DefaultTimeoutMinutes = 15;

/// What a switch of the policy chooses; any other number leaves the default.
template <class Mode> struct SChoice
{
    unsigned long dwValue;
    Mode enMode;
    const char* pszMode;
};

constexpr SChoice<PinCachingMode> CachingModes[] = {
    {1, PinCachingPerProcess, "Allow per Process"},
    {0, PinCachingPerSession, "Allow per Session"},
};

constexpr SChoice<PinAlwaysCachingMode> PINAlwaysModes[] = {
    {1, PinAlwaysConfirmationPrompt, "Confirmation Prompt"},
    {0, PinAlwaysPINPrompt, "PIN Prompt"},
};

template <class Mode, std::size_t Count>
void ReadMode(const COperation& op, const char* pszValue, const SChoice<Mode> (&choices)[Count], Mode& enMode)
{
    unsigned long dwValue = 0;
    if (!ReadSetting(op, PINPolicyKey, pszValue, dwValue)) {
        return;
    }
    for (const auto& choice : choices) {
        if (choice.dwValue == dwValue) {
            enMode = choice.enMode;
            pvlogLog(LogComponent, LogDetail, "%s ovRegReadValue(%s) returned Active mode = %s", op.Name(), PINPolicyKey, choice.pszMode);
        }
    }
}

HRESULT ReadText(SAFEARRAY* psa, int nIndex, SecureString& sText)
{
    CBstr text;
    RETURN_IF_FAILED(SafeArrayGetElement(psa, &nIndex, &text.Out()));
    return BSTR2wstring(text.Get(), sText);
}

} // namespace

HRESULT CInternalAuthStore::GetPINCachingMode(PinCachingMode& enMode) const
{
    return RunOperation("CInternalAuthStore::GetPINCachingMode", [&](const COperation& op) -> HRESULT {
        enMode = PinCachingPerSession;
        ReadMode(op, AllowPerProcessValue, CachingModes, enMode);
        return S_OK;
    });
}

HRESULT CInternalAuthStore::GetPINAlwaysCachingMode(PinAlwaysCachingMode& enMode) const
{
    return RunOperation("CInternalAuthStore::GetPINAlwaysCachingMode", [&](const COperation& op) -> HRESULT {
        enMode = PinAlwaysPINPrompt;
        pvlogLog(LogComponent, LogDetail, "%s Reading (%s\\%d) ", op.Name(), PINPolicyKey, static_cast<int>(enMode)); // a number, for %d
        ReadMode(op, PINAlwaysValue, PINAlwaysModes, enMode);
        return S_OK;
    });
}

HRESULT CInternalAuthStore::GetPINCachingTimeout(int& nMinutes) const
{
    return RunOperation("CInternalAuthStore::GetPINCachingTimeout", [&](const COperation& op) -> HRESULT {
        PinCachingMode enMode = PinCachingPerSession;
        RETURN_IF_FAILED(op.Check(GetPINCachingMode(enMode), "GetPINCachingMode failed"));
        nMinutes = DefaultTimeoutMinutes;
        unsigned long dwValue = 0;
        if (ReadSetting(op, PINPolicyKey, TimeoutValue, dwValue)) {
            nMinutes = static_cast<int>(dwValue);
            pvlogLog(LogComponent, LogDetail, "%s ovRegReadValue(%s) returned %d minutes", op.Name(), PINPolicyKey, nMinutes);
        }
        return S_OK;
    });
}

HRESULT CInternalAuthStore::GetSessionId(unsigned long dwClientProcessId, SecureString& sSessionId)
{
    return RunOperation("CInternalAuthStore::GetSessionId", [&](const COperation& op) -> HRESULT {
        if (dwClientProcessId == 0) {
            return op.Fail(E_FAIL, "GetProcessId failed");
        }
        const auto dwSessionId = static_cast<unsigned long>(getsid(static_cast<pid_t>(dwClientProcessId)));
        RETURN_IF_FAILED(CheckAvailable(op, dwSessionId));
        sSessionId = Decimal(dwSessionId);
        return S_OK;
    });
}

HRESULT CInternalAuthStore::CheckAvailable(const COperation& op, unsigned long dwSessionId)
{
    int bAvailabled = 0;
    GetAvailabilityStoreFromSessionId(dwSessionId, bAvailabled);
    return bAvailabled == 0 ? op.Fail(E_FAIL, "GetAvailabilityStoreFromSessionId returned bAvailabled = FALSE") : S_OK;
}

HRESULT CInternalAuthStore::SetAvailabilityStoreFromSessionId(unsigned long dwSessionId, int bAvailable)
{
    return m_Availability.Set("CInternalAuthStore::SetAvailabilityStoreFromSessionId", dwSessionId, bAvailable);
}

HRESULT CInternalAuthStore::GetAvailabilityStoreFromSessionId(unsigned long dwSessionId, int& bAvailable)
{
    return m_Availability.Get("CInternalAuthStore::GetAvailabilityStoreFromSessionId", dwSessionId, bAvailable);
}

HRESULT CInternalAuthStore::GetAdditionalParameters(SAFEARRAY* pAdditionalParameters, SecureString& sIsACRPINAlways, SecureString& sAction,
                                                    SecureString& sAllProcess, SecureString& sAllSession, SecureString& sCheckClientCaller,
                                                    SecureString& sBypassPINAlways) const
{
    return RunOperation("CInternalAuthStore::GetAdditionalParameters", [&](const COperation& op) -> HRESULT {
        const struct
        {
            const char* pszName;
            const char* pszDefault;
            SecureString& sValue;
        } parameters[] = {
            {"IsACRPINAlways", "No", sIsACRPINAlways},
            {"Action", "None", sAction},
            {"AllProcess", "False", sAllProcess},
            {"AllSession", "False", sAllSession},
            {"CheckClientCaller", "Yes", sCheckClientCaller},
            {"BypassPINAlways", "False", sBypassPINAlways},
        };
        for (const auto& parameter : parameters) {
            parameter.sValue = parameter.pszDefault;
        }
        if (pAdditionalParameters == nullptr) {
            op.Detail("NULL == pAdditionalParameters");
            return S_OK;
        }
        VARTYPE vt = 0;
        if (const HRESULT hr = SafeArrayGetVartype(pAdditionalParameters, &vt); vt != VT_BSTR) {
            op.Detail("bad VARTYPE for pAdditionalParameters");
            return hr;
        }
        if (SafeArrayGetDim(pAdditionalParameters) != 1) {
            return op.Fail(E_INVALIDARG, "wrong parameter in pAdditionalParameters");
        }
        for (int i = 0; i < CountIds(pAdditionalParameters); i += 2) {
            SecureString sName;
            SecureString sValue;
            RETURN_IF_FAILED(op.Check(ReadText(pAdditionalParameters, i, sName), "wrong parameter in pAdditionalParameters"));
            RETURN_IF_FAILED(op.Check(ReadText(pAdditionalParameters, i + 1, sValue), "wrong parameter in pAdditionalParameters"));
            for (const auto& parameter : parameters) {
                if (sName == parameter.pszName) {
                    parameter.sValue = sValue;
                }
            }
        }
        return S_OK;
    });
}

HRESULT CInternalAuthStore::ParseParameters(const COperation& op, SAFEARRAY* pAdditionalParameters, SAdditionalParameters& params) const
{
    return op.Check(GetAdditionalParameters(pAdditionalParameters, params.sIsACRPINAlways, params.sAction, params.sAllProcess,
                                            params.sAllSession, params.sCheckClientCaller, params.sBypassPINAlways),
                    "GetAdditionalParameters failed");
}
