// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Registry.h"
#include "support/Com.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace Tool
{

inline constexpr std::size_t MaxKeyName = 254;
inline constexpr std::size_t MaxValueName = 255;
inline constexpr std::size_t MaxValueData = 16777216;

/// A key: hive, and path below it ("Software\Orvane", empty for the hive itself).
struct KeyPath
{
    std::string sHive;
    std::string sSubKey;

    KeyPath Child(std::string_view sName) const { return {sHive, sSubKey + (sSubKey.empty() ? "" : "\\") + std::string(sName)}; }
    std::string Text() const { return sHive + (sSubKey.empty() ? "" : "\\") + sSubKey; }
};

/// Reads "HKEY_LOCAL_MACHINE\Software\..." or "HKLM\Software\..."; throws CFailure (ExitCode::Usage).
KeyPath ParseKeyPath(std::string_view sPath);

/// Passes a name on that a value can have; throws CFailure (ExitCode::Usage) for any other.
const std::string& CheckedValueName(const std::string& sName);

/// A value without its data, and with it.
struct ValueInfo
{
    std::string sName;
    unsigned long ulType;
    unsigned long ulSize;
};
struct RegistryValue
{
    std::string sName;
    unsigned long ulType = REG_NONE;
    Bytes data;
};

/// Readers, in byte order. Each throws CFailure, with ExitCode::NotFound when the key or value is missing.
std::vector<std::string> ListKeys(const KeyPath& key);
std::vector<ValueInfo> ListValues(const KeyPath& key);
RegistryValue ReadValue(const KeyPath& key, const std::string& sName);
bool KeyExists(const KeyPath& key);

/// Reads all values of a key. What another process deletes meanwhile is left out.
std::vector<RegistryValue> ReadValues(const KeyPath& key);

/// An open key, made when it is missing.
class CKey
{
public:
    explicit CKey(const KeyPath& key);
    ~CKey() { pvRegCloseKey(m_hKey); }
    CKey(const CKey&) = delete;
    CKey& operator=(const CKey&) = delete;

    void Set(const RegistryValue& value);

private:
    KeyPath m_Path;
    PVHKEY m_hKey = nullptr;
};

RegistryValue DwordValue(const std::string& sName, unsigned int uNumber);
RegistryValue QwordValue(const std::string& sName, unsigned long long uNumber);
RegistryValue TextValue(const std::string& sName, std::string_view sText);
RegistryValue MultiTextValue(const std::string& sName, const std::vector<std::string>& texts);

/// The number of a REG_DWORD or REG_QWORD whose size is right.
bool NumberOf(const RegistryValue& value, unsigned long long& uNumber);

/// The strings of REG_SZ, REG_EXPAND_SZ (one, maybe with a NUL at its end) or REG_MULTI_SZ (each with
/// its NUL, and one NUL more), without their NULs.
/// @return false for other types, and for data that says more than such strings, or less
bool TextsOf(const RegistryValue& value, std::vector<std::string_view>& texts);

} // namespace Tool
