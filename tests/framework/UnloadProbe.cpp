// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// A plugin that links to the host library: loading and unloading the one does so to the other.

#include "framework/TimerSupport.h"
#include "platform/Log.h"
#include "platform/Registry.h"

/// Uses the log, the registry, a cipher and the timers. One timer is left running; the caller keeps the pointer.
extern "C" SHAREDSTORE_API void* UseHostAndLeaveATimer();

void* UseHostAndLeaveATimer()
{
    using namespace OV::Framework;
    pvlogLog("TEST", 1, "loaded");
    PVHKEY hKey = nullptr;
    const long nCode = pvRegCreateKeyEx("HKEY_LOCAL_MACHINE", "unload", 0, nullptr, 0, 0, nullptr, &hKey, nullptr);
    pvRegCloseKey(hKey);

    const auto pKey = MakeKey("000102030405060708090a0b0c0d0e0f");
    const auto pParams = Own(ICryptoParserParameterMap::Create());
    pParams->SetPadding("PKCS7");
    pParams->SetChainingMode("CBC");
    pParams->SetIV(SecureBytes(16));
    const auto pCipher = Own(Cipher::Create(MakeAes().get(), pParams.get()));
    SecureBytes out;
    pCipher->Initialize(0, pKey.get());
    pCipher->Process(SecureBytes(100), out);

    Counter calls;
    const Timer pTimer = MakeTimer(0, [&] { ++calls; });
    return Reaches(calls, 1) && out.size() == 112 && nCode == ERROR_SUCCESS ? MakeTimer(3600, [] {}).release() : nullptr;
}
