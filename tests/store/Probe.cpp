// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// A module that brings both libraries into the process that loads it, and takes them with it.

#include "client/StaticAuthCacheClient.h"
#include "client/StaticDataCacheClient.h"
#include "com/Owners.h"
#include "framework/TimerSupport.h"

/// Stores a value in the registry and reads it back, logs that another one is missing, and stores a PIN, whose timer runs from
/// then on.
extern "C" SHAREDSTORE_API HRESULT UseStore()
{
    const StringPointer pId = MakeString("Loaded/id");
    const ArrayPointer pValue(SafeArrayCreateVector(VT_UI1, 0, 5));
    OV::DataStore::CStaticDataCacheClient client;
    const HRESULT hr = client.RegisterDataStore(pId.get(), OV::DataStore::RegistryStore, 0, 1, pId.get());
    const HRESULT hrSet = client.SetData(pId.get(), pId.get(), pId.get(), pValue.get());
    const HRESULT hrGet = client.GetData(pId.get(), pId.get(), pId.get(), nullptr);
    const HRESULT hrPin = OV::AuthStore::CStaticAuthCacheClient().SetPIN(pId.get(), pId.get(), pValue.get(), nullptr, 0, nullptr);
    const bool bMissing = client.RemoveData(pId.get(), pId.get(), MakeString("none").get()) == E_INVALIDARG;
    return hr | hrSet | hrPin | hrGet | (bMissing ? S_OK : E_FAIL);
}

/// A timer that nobody deletes.
extern "C" SHAREDSTORE_API void* LeaveTimer()
{
    return MakeTimer(3600, [] {}).release();
}
