// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/StoreConfig.h"

#include "support/Failure.h"
#include "support/Text.h"

namespace Tool
{

namespace
{

constexpr const char* StoreListPath = "HKEY_LOCAL_MACHINE\\Software\\Orvane\\SharedStore\\StoreList";
constexpr const char* TypeName = "Type";
constexpr const char* EncryptedName = "Encrypted";
constexpr const char* SharedName = "SharedBetweenUserSessions";
constexpr const char* ProductName = "Product";

void AddProblem(const RegistryValue& value, const char* pszType, std::string& sProblem)
{
    sProblem += (sProblem.empty() ? "value " : ", value ") + value.sName + " is no " + pszType;
}

/// The library reads 1 as yes and every other number as no.
bool IsOne(const RegistryValue& value, std::string& sProblem)
{
    unsigned long long uNumber = 0;
    if (value.ulType != REG_DWORD || !NumberOf(value, uNumber)) {
        AddProblem(value, "REG_DWORD", sProblem);
    }
    return uNumber == 1;
}

bool CanNameKey(const std::string& sStore)
{
    return !sStore.empty() && sStore.size() <= MaxKeyName && sStore.find('\\') == std::string::npos;
}

void Apply(const RegistryValue& value, StoreConfig& config)
{
    if (value.sName == TypeName) {
        config.settings.type = IsOne(value, config.sProblem) ? OV::DataStore::RegistryStore : OV::DataStore::MemoryStore;
    } else if (value.sName == EncryptedName) {
        config.settings.bEncrypted = IsOne(value, config.sProblem);
    } else if (value.sName == SharedName) {
        config.settings.bShared = IsOne(value, config.sProblem);
    } else if (value.sName == ProductName) {
        if (value.ulType == REG_SZ) {
            const std::string_view sText = View(value.data);
            config.settings.sProduct = sText.substr(0, sText.find('\0')); // as the library reads it
        } else {
            AddProblem(value, "REG_SZ", config.sProblem);
        }
    }
}

} // namespace

KeyPath StoreConfigKey(const std::string& sStore)
{
    if (!CanNameKey(sStore)) {
        throw CFailure(ExitCode::Usage, "'" + Display(sStore) + "' can't name a store: it needs 1 to " + std::to_string(MaxKeyName) +
                                            " bytes and no backslash, for it names a registry key");
    }
    return ParseKeyPath(StoreListPath).Child(sStore);
}

std::vector<StoreConfig> ReadStoreConfigs()
{
    const KeyPath list = ParseKeyPath(StoreListPath);
    std::vector<StoreConfig> configs;
    if (KeyExists(list)) {
        for (const std::string& sStore : ListKeys(list)) {
            configs.push_back(ReadStoreConfig(sStore));
        }
    }
    return configs;
}

bool IsConfigured(const std::string& sStore)
{
    return CanNameKey(sStore) && KeyExists(StoreConfigKey(sStore));
}

StoreConfig ReadStoreConfig(const std::string& sStore)
{
    const KeyPath key = StoreConfigKey(sStore);
    StoreConfig config;
    config.sStore = sStore;
    for (const ValueInfo& info : ListValues(key)) {
        Apply(ReadValue(key, info.sName), config);
    }
    return config;
}

void WriteStoreConfig(const std::string& sStore, const StoreSettings& settings)
{
    // Each value is written on its own. Until the last one is there the store is not shared and refuses
    // all data: a write that is cut short leaves no usable store with weaker settings than were asked for.
    CKey key(StoreConfigKey(sStore));
    key.Set(DwordValue(SharedName, 0));
    key.Set(DwordValue(EncryptedName, settings.bEncrypted ? 1 : 0));
    key.Set(DwordValue(TypeName, settings.type == OV::DataStore::RegistryStore ? 1 : 0));
    key.Set(TextValue(ProductName, settings.sProduct));
    key.Set(DwordValue(SharedName, settings.bShared ? 1 : 0));
}

void DeleteStoreConfig(const std::string& sStore)
{
    const KeyPath key = StoreConfigKey(sStore);
    const long lCode = ovRegDeleteKey(key.sHive.c_str(), key.sSubKey.c_str(), true, 0);
    if (lCode != ERROR_SUCCESS) {
        throw RegistryFailure(lCode, "key " + Display(key.Text()));
    }
}

} // namespace Tool
