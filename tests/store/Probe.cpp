// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// A module that brings both libraries into the process that loads it, and takes them with it.

#include "client/StaticDataCacheClient.h"
#include "com/Owners.h"

/// Registers a store, stores a value and reads it back.
extern "C" SHAREDSTORE_API HRESULT UseStore()
{
    const StringPointer pId = MakeString("Loaded/id");
    const ArrayPointer pValue(SafeArrayCreateVector(VT_UI1, 0, 5));
    OV::DataStore::CStaticDataCacheClient client;
    const HRESULT hr = client.RegisterDataStore(pId.get(), OV::DataStore::MemoryStore, 0, 1, pId.get());
    const HRESULT hrSet = client.SetData(pId.get(), pId.get(), pId.get(), pValue.get());
    return hr | hrSet | client.GetData(pId.get(), pId.get(), pId.get(), nullptr);
}
