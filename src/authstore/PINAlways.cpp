// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "authstore/PINAlways.h"

#include <string_view>

using namespace OV::AuthStore;
using OV::Framework::SecureString;

namespace
{

enum class EAfter { Unavailable, Available, Unchanged };

bool Apply(EAfter after, bool bWasAvailable)
{
    return after == EAfter::Unchanged ? bWasAvailable : after == EAfter::Available;
}

// What a condition of a rule asks for.
constexpr int Any = -1;
constexpr const char* AnyText = nullptr;

bool Matches(int nWanted, bool bValue)
{
    return nWanted == Any || (nWanted != 0) == bValue;
}

bool Matches(const char* pszWanted, const SecureString& sValue)
{
    return pszWanted == AnyText || sValue == pszWanted;
}

// In each table the first rule that matches decides; the last one always does.

// clang-format off
constexpr struct
{
    const char* pszAction;
    EAfter after;
} StoreRules[] = {
    {"Authenticate",        EAfter::Available},
    {"ChangeAuthenticator", EAfter::Unchanged},
    {AnyText,               EAfter::Unavailable}, // "None" too
};

constexpr struct
{
    const char* pszIsACRPINAlways;
    int bAvailable;
    int bBypass;
    std::optional<PINState> query;
    std::optional<PINState> fetch;
} UseRules[] = {
    {"No",    Any, Any, PINStateCached,    PINStateCached},
    {"Yes",   1,   Any, PINStateCached,    PINStateCached},
    {"Yes",   0,   1,   PINStateCached,    PINStateCached},
    {"Yes",   0,   0,   std::nullopt,      std::nullopt}, // the policy decides
    {AnyText, Any, Any, PINStateNotCached, PINStateCached},
};

constexpr struct
{
    const char* pszIsACRPINAlways;
    const char* pszAction;
    EAfter after;
} FetchRules[] = {
    {"Yes",   "Authenticate",        EAfter::Unchanged},
    {"Yes",   "ChangeAuthenticator", EAfter::Unchanged},
    {"Yes",   AnyText,               EAfter::Unavailable},
    {"No",    "Authenticate",        EAfter::Unchanged},
    {"No",    "ChangeAuthenticator", EAfter::Unchanged},
    {"No",    AnyText,               EAfter::Unavailable},
    {AnyText, AnyText,               EAfter::Unchanged},
};
// clang-format on

} // namespace

bool IsAvailableAfterStore(const SAdditionalParameters& params, bool bWasAvailable)
{
    const auto* pRule = StoreRules;
    while (!Matches(pRule->pszAction, params.sAction)) {
        ++pRule;
    }
    return Apply(pRule->after, bWasAvailable);
}

std::optional<PINState> Decide(EUse use, const SAdditionalParameters& params, const SRecordState& state)
{
    const auto* pRule = UseRules;
    while (!(Matches(pRule->pszIsACRPINAlways, params.sIsACRPINAlways) && Matches(pRule->bAvailable, state.bAvailable) &&
             Matches(pRule->bBypass, state.bBypass))) {
        ++pRule;
    }
    return use == EUse::Query ? pRule->query : pRule->fetch;
}

bool IsAvailableAfterFetch(const SAdditionalParameters& params, bool bWasAvailable)
{
    const auto* pRule = FetchRules;
    while (!(Matches(pRule->pszIsACRPINAlways, params.sIsACRPINAlways) && Matches(pRule->pszAction, params.sAction))) {
        ++pRule;
    }
    return Apply(pRule->after, bWasAvailable);
}
