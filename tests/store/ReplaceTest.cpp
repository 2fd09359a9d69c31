// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// A program with a registry of its own: the library is served by it, from the moment it is loaded.

#include "Store.h"

#include <cstring>

extern "C" {

long ovRegListKeysEx(const char*, const char*, ovRegKey* pKeys, unsigned long* pulCount, int)
{
    *pulCount = 1;
    if (pKeys != nullptr) {
        std::strcpy(pKeys->szName, "InMemory");
    }
    return ERROR_SUCCESS;
}

long ovRegListValueNamesEx(const char*, const char*, ovRegValue*, unsigned long* pulCount, int, int)
{
    *pulCount = 0;
    return ERROR_SUCCESS;
}

} // extern "C"

TEST(ReplaceTest, RegistryOfTheProgram_ServesTheLibrary)
{
    CStaticDataCacheClient client;
    EXPECT_EQ(Listed([&](SAFEARRAY** ppsa) { return client.ListDataStoreIds(ppsa); }), Strings{"InMemory"});
}
