// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// A program with a platform of its own. What src/platform declares is found at run time, and the program comes before
// the libraries: Log.cpp and Registry.cpp define log and registry, and strings, arrays, ciphers and timers stay those of
// the host library. A product that brings all of them builds the library with -DSHAREDSTORE_PLATFORM=external, which
// links to none.

#include "../Handles.h"

#include "client/StaticDataCacheClient.h"

#include <cstdlib>

using OV::DataStore::CStaticDataCacheClient;

int main()
{
    CStaticDataCacheClient client;

    // This store is in the settings that the registry begins with.
    int bShared = 0;
    BSTR bstrProduct = nullptr;
    Check(client.GetDataStoreInfo(Bstr("BuiltIn").get(), nullptr, nullptr, &bShared, &bstrProduct), "asking for the store");
    std::printf("store BuiltIn of product %s, %s\n", StringPointer(bstrProduct).get(), bShared != 0 ? "shared" : "not shared");

    // A registry store lies in whatever the platform calls a registry.
    const StringPointer store = Bstr("Cards");
    const StringPointer certificates = Bstr("Card1/Certificates");
    Check(CStaticDataCacheClient::RegisterDataStore(store.get(), OV::DataStore::RegistryStore, 0, 1, Bstr("Platform").get()),
          "registering");
    for (const char* pszItem : {"signing", "mail"}) {
        Check(client.SetData(store.get(), certificates.get(), Bstr(pszItem).get(), ToArray(Bytes(1200, 0x30)).get()), "storing");
    }
    SAFEARRAY* psaItems = nullptr;
    Check(client.ListDataIds(store.get(), certificates.get(), &psaItems), "listing");
    for (const std::string& sItem : ToStrings(ArrayPointer(psaItems).get())) {
        SAFEARRAY* psaValue = nullptr;
        Check(client.GetData(store.get(), certificates.get(), Bstr(sItem).get(), &psaValue), "reading");
        std::printf("%s: %zu bytes\n", sItem.c_str(), ToBytes(ArrayPointer(psaValue).get()).size());
    }
    Check(client.RemoveCompartment(store.get(), Bstr("Card1").get(), 0), "removing");

    // Its log tells of this one.
    const HRESULT hr = client.GetData(store.get(), certificates.get(), Bstr("mail").get(), nullptr);
    std::printf("after the removal: %s\n", hr == E_INVALIDARG ? "not there" : "?");
    return hr == E_INVALIDARG ? EXIT_SUCCESS : EXIT_FAILURE;
}
