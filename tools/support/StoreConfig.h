// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "client/StaticDataCacheClient.h"
#include "support/Registry.h"

#include <string>
#include <vector>

namespace Tool
{

/// What a store is registered with. The defaults are those of a configuration without values.
struct StoreSettings
{
    OV::DataStore::Type type = OV::DataStore::MemoryStore;
    bool bEncrypted = false;
    bool bShared = false;
    std::string sProduct = "Pavendo";
};

/// How the registry configures a store. The library registers configured stores when it is loaded.
struct StoreConfig
{
    std::string sStore;
    StoreSettings settings;
    std::string sProblem; ///< why the library will not register this store, and none after it; else empty
};

/// The key of one store's configuration; throws CFailure (ExitCode::Usage) for a name no key can have.
KeyPath StoreConfigKey(const std::string& sStore);

std::vector<StoreConfig> ReadStoreConfigs();
bool IsConfigured(const std::string& sStore);
StoreConfig ReadStoreConfig(const std::string& sStore); ///< the store must be configured
void WriteStoreConfig(const std::string& sStore, const StoreSettings& settings);
void DeleteStoreConfig(const std::string& sStore);

} // namespace Tool
