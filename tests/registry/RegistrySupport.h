// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Registry.h"
#include "support/Child.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

inline constexpr const char* Hive = "HKEY_LOCAL_MACHINE";
inline constexpr const char* DataFile = "data.mdb";
inline constexpr const char* LockFile = "lock.mdb";

/// A folder of a test's own for a registry; not made yet.
inline std::filesystem::path NewFolder(const std::string& sName)
{
    return std::filesystem::path(std::getenv("SHAREDSTORE_TEST_FOLDER")) / (sName + "-" + std::to_string(getpid()));
}

/// Makes this process find its registry in a folder, with commits that don't wait for the disk.
inline void UseRegistryIn(const std::filesystem::path& folder)
{
    setenv("SHAREDSTORE_REGISTRY", folder.c_str(), 1);
    setenv("SHAREDSTORE_REGISTRY_SYNC", "relaxed", 1);
}

/// Runs checks in a child process with a registry folder. Fails when the checks fail or the child dies.
template <class TChecks> void InChild(const std::filesystem::path& folder, TChecks checks)
{
    const int nResult = RunInChild([&] {
        UseRegistryIn(folder);
        checks();
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(nResult, 0) << "in a child process";
}

inline long SetValue(const std::string& sKey, const std::string& sName, std::string_view sData, unsigned long ulType = REG_BINARY)
{
    PVHKEY hKey = nullptr;
    if (const long nCode = pvRegCreateKeyEx(Hive, sKey.c_str(), 0, nullptr, 0, 0, nullptr, &hKey, nullptr); nCode != ERROR_SUCCESS) {
        return nCode;
    }
    const auto* pData = reinterpret_cast<const unsigned char*>(sData.data());
    const long nCode = pvRegSetValueEx(hKey, sName.c_str(), 0, ulType, pData, sData.size());
    EXPECT_EQ(pvRegCloseKey(hKey), ERROR_SUCCESS);
    return nCode;
}

/// Code and data of a value.
inline std::pair<long, std::string> ReadValue(const std::string& sKey, const std::string& sName)
{
    unsigned long ulSize = 0;
    long nCode = ovRegReadValueEx(Hive, sKey.c_str(), sName.c_str(), nullptr, nullptr, &ulSize, 0);
    std::string sData(ulSize, '\0');
    if (nCode == ERROR_SUCCESS) {
        auto* pData = reinterpret_cast<unsigned char*>(sData.data());
        nCode = ovRegReadValueEx(Hive, sKey.c_str(), sName.c_str(), nullptr, pData, &ulSize, 0);
    }
    return {nCode, sData};
}

inline std::pair<long, std::string> Found(std::string sData)
{
    return {ERROR_SUCCESS, std::move(sData)};
}

inline const std::pair<long, std::string> NotFound = {ERROR_FILE_NOT_FOUND, ""};

/// Names of a key's sub-keys; one name that is no key name when listing fails.
inline std::vector<std::string> ListKeys(const std::string& sKey)
{
    unsigned long ulCount = 0;
    if (const long nCode = ovRegListKeys(Hive, sKey.c_str(), nullptr, &ulCount); nCode != ERROR_SUCCESS) {
        return {"\\" + std::to_string(nCode)};
    }
    std::vector<ovRegKey> keys(ulCount + 1);
    EXPECT_EQ(ovRegListKeys(Hive, sKey.c_str(), keys.data(), &ulCount), ERROR_SUCCESS);
    keys.resize(ulCount);
    std::vector<std::string> names;
    for (const ovRegKey& key : keys) {
        names.emplace_back(key.szName);
    }
    return names;
}
