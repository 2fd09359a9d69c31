// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "auth/Auth.h"
#include "client/StaticAuthCacheClient.h"
#include "client/StaticAuthStoreRegistration.h"

using namespace OV::AuthStore;

/// The client, and a call in its terms. The strings of an array of parameters lie as parameters do.
struct SClient : CStaticAuthCacheClient
{
    static AuthParameter* V(SCall& a) { return a.v == nullptr ? nullptr : static_cast<AuthParameter*>(a.v->pvData); }
    static unsigned long N(SCall& a) { return a.v == nullptr ? 0 : a.v->rgsabound[0].cElements / 2; }
    static HRESULT List(SCall& a)
    {
        CInternalAuthStore* pStore = nullptr;
        return gStaticAuthStoreRegistration.Find(DefaultAuthStoreId, pStore) ? pStore->ListPINs(a.pins) : E_FAIL;
    }
    static PINState* St(SCall& a) { return reinterpret_cast<PINState*>(&a.st); }
};
inline SClient k;

// clang-format off
inline const AuthOperations ClientOperations = {
    {"set", [](auto&, auto& a) { return a.by == nullptr ? k.SetPIN(a.c, a.id, a.pin.get(), k.V(a), k.N(a), &a.psaSession)
        : k.SetPINFromPINSessionId(a.c, a.id, a.session.get(), a.pin.get(), k.V(a), k.N(a)); }},
    {"get", [](auto&, auto& a) { return a.by == nullptr ? k.GetPIN(a.c, a.id, k.V(a), k.N(a), &a.psa, &a.psaSession)
        : k.GetPINFromPINSessionId(a.c, a.id, a.session.get(), k.V(a), k.N(a), &a.psa); }},
    {"getex", [](auto&, auto& a) { return a.by == nullptr ? k.GetPINEx(a.c, a.id, k.V(a), k.N(a), &a.psa, &a.psaSession, k.St(a))
        : k.GetPINFromPINSessionIdEx(a.c, a.id, a.session.get(), k.V(a), k.N(a), &a.psa, k.St(a)); }},
    {"query", [](auto&, auto& a) { return a.by == nullptr ? k.IsPINCached(a.c, a.id, k.V(a), k.N(a), &a.psaSession, &a.st)
        : k.IsPINCachedFromPINSessionId(a.c, a.id, a.session.get(), k.V(a), k.N(a), &a.st); }},
    {"queryex", [](auto&, auto& a) { return a.by == nullptr ? k.IsPINCachedEx(a.c, a.id, k.V(a), k.N(a), &a.psaSession, k.St(a))
        : k.IsPINCachedFromPINSessionIdEx(a.c, a.id, a.session.get(), k.V(a), k.N(a), k.St(a)); }},
    {"change", [](auto&, auto& a) { return a.by == nullptr ? k.ChangePINState(a.c, a.id, k.V(a), k.N(a), static_cast<PINState>(a.n))
        : k.ChangePINStateFromPINSessionId(a.c, a.id, a.session.get(), k.V(a), k.N(a), static_cast<PINState>(a.n)); }},
    {"remove", [](auto&, auto& a) { return a.by == nullptr ? k.RemovePIN(a.c, a.id, k.V(a), k.N(a))
        : k.RemovePINFromPINSessionId(a.c, a.id, a.session.get(), k.V(a), k.N(a)); }},
    {"card", [](auto&, auto& a) { return k.RemoveCompartment(a.text, k.V(a), k.N(a)); }},
    {"flush", [](auto&, auto& a) { return k.FlushStore(k.V(a), k.N(a)); }}, {"all", [](auto&, auto&) { return k.FlushAuthStores(); }},
    {"list", [](auto&, auto& a) { return k.List(a); }},
};
// clang-format on
