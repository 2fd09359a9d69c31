// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "store/Fakes.h"
#include "store/Store.h"
#include "support/KeyFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

/// Every test runs rounds, one for each call that an operation makes of the platform, whatever the function. In its
/// round that call fails; in rounds of their own, all later ones fail with it.
struct SFaultTest : testing::Test
{
    SFaultTest() { setenv("SHAREDSTORE_REGISTRY_SYNC", "relaxed", 1); }

    /// @param round (fault) prepares, runs the operation inside fault.During, and checks what that has left
    template <class Round> void Sweep(const std::string& sOperation, Round round, bool bLaterToo = true)
    {
        for (int nPass = 0; nPass < (bLaterToo ? 2 : 1); ++nPass) {
            const bool bLater = nPass == 1;
            bool bFired = true;
            for (int nCall = 1; bFired; ++nCall) {
                SCOPED_TRACE(sOperation + (bLater ? " from call " : " call ") + std::to_string(nCall));
                CFault fault(CFault::AnyFunction, nCall, bLater);
                CFault::s_pNow = nullptr;
                round(fault);
                bFired = fault.Fired();
                EXPECT_EQ(g_nOpenKeys, 0);
                failed.insert(fault.Failed());
            }
        }
    }

    /// A sweep over a call that gives the same result whenever it comes after its preparation.
    template <class Prepare, class Call> void SweepCall(const std::string& sOperation, Prepare prepare, Call call)
    {
        prepare();
        const HRESULT hrExpected = call();
        Sweep(sOperation, [&](CFault& fault) {
            prepare();
            const HRESULT hr = fault.During(call);
            SCOPED_TRACE(fault.Failed());
            EXPECT_TRUE(hr == hrExpected || IsFailure(hr, fault, true)) << hr;
            prepare();
            EXPECT_EQ(call(), hrExpected);
        });
    }

    /// A sweep over the registration of a store, which then serves, or not at all; a store that could not begin can be registered again.
    /// @param use (identifier) E_FAIL from a store that does not serve
    template <class Register, class Use> void SweepRegister(Register registerStore, Use use)
    {
        Sweep("Register", [&](CFault& fault) {
            static int s_nStores = 0;
            const CText id("Registered" + std::to_string(++s_nStores));
            const HRESULT hr = fault.During([&] { return registerStore(id); });
            SCOPED_TRACE(fault.Failed());
            EXPECT_TRUE(hr == S_OK || IsFailure(hr, fault, true)) << hr;
            EXPECT_EQ(use(id), hr == S_OK && fault.Failed() != std::string_view("pthread_mutex_init") ? S_OK : E_FAIL);
            EXPECT_EQ(registerStore(id), hr == S_OK ? E_FAIL : S_OK);
        });
    }

    /// Whether an operation may answer so when calls have failed: memory that is out can hide every other failure.
    /// @param bVague the operation doesn't tell what failed: one on a registry, or of the client of PINs
    static bool IsFailure(HRESULT hr, const CFault& fault, bool bVague)
    {
        const auto isOf = [&](auto... names) { return (std::string_view(fault.Failed()).starts_with(names) || ...); };
        switch (hr) {
        case E_OUTOFMEMORY:
            return fault.Fired();
        case DISP_E_ARRAYISLOCKED:
            return isOf("ovSafeArrayDestroy");
        case E_UNEXPECTED:
            return isOf("SafeArrayAccessData", "SafeArrayUnaccessData");
        case E_FAIL:
            return (bVague && fault.Fired()) || isOf("_Z", "Generate", "Initialize", "Process", "Restart", "SafeArrayGetVartype");
        case E_INVALIDARG:
            return (bVague && fault.Fired()) || isOf("getsid", "SafeArrayGetVartype");
        default:
            return false;
        }
    }

    const CKeyFile keyFile;
    std::set<std::string> failed; ///< the functions that did
};
