// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// A platform's registry: keys and values in memory, beginning with settings that are built in. It does what the library
// asks for, with the codes that platform/Registry.h promises; of the checks that are there for other callers it
// makes none.

#include "platform/Registry.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace
{

struct SValue
{
    unsigned long ulType;
    std::string sData;
};

using Values = std::map<std::string, SValue>;

struct SRegistry
{
    std::mutex mutex;
    std::map<std::string, Values> keys; // by hive and path, joined by "\"

    SRegistry()
    {
        const std::string sStore = R"(HKEY_LOCAL_MACHINE\Software\Orvane\SharedStore\StoreList\BuiltIn)";
        keys[sStore] = {{"SharedBetweenUserSessions", {REG_DWORD, {1, 0, 0, 0}}}, {"Product", {REG_SZ, "Platform"}}};
        keys[sStore.substr(0, sStore.rfind('\\'))]; // every key has its parents, up to here
    }
};

// The library reads its settings while it is loaded, before this program's static objects are made, and may write
// while it is unloaded, when they are gone: the registry is made on first use and never destroyed.
SRegistry& Registry()
{
    static SRegistry* const pRegistry = new SRegistry;
    return *pRegistry;
}

std::string Path(const char* pszRoot, const char* pszSubKey)
{
    return *pszSubKey == '\0' ? pszRoot : std::string(pszRoot) + "\\" + pszSubKey;
}

// Runs a function on a key's path and the registry's keys, with the lock held.
template <class Function> long WithKey(const std::string& sPath, Function function)
{
    SRegistry& registry = Registry();
    const std::lock_guard lock(registry.mutex);
    const auto key = registry.keys.find(sPath);
    return key == registry.keys.end() ? long{ERROR_FILE_NOT_FOUND} : function(registry.keys, key);
}

template <class Function> long WithValue(const char* pszRoot, const char* pszSubKey, const char* pszName, Function function)
{
    return WithKey(Path(pszRoot, pszSubKey), [&](auto&, auto key) {
        const auto value = key->second.find(pszName);
        return value == key->second.end() ? long{ERROR_FILE_NOT_FOUND} : function(key->second, value);
    });
}

// Fills a caller's buffer; without one, tells the size.
template <class Entry> long Fill(const Entry* pFrom, unsigned long ulCount, Entry* pTo, unsigned long* pulCount)
{
    const bool bFits = pTo == nullptr || ulCount <= *pulCount;
    if (pTo != nullptr && bFits) {
        std::copy_n(pFrom, ulCount, pTo);
    }
    if (pulCount != nullptr) {
        *pulCount = ulCount;
    }
    return bFits ? ERROR_SUCCESS : ERROR_MORE_DATA;
}

// The names directly below a key, in byte order.
template <class Keys> std::vector<ovRegKey> Children(const Keys& keys, const std::string& sPath)
{
    std::vector<ovRegKey> names;
    for (auto key = keys.upper_bound(sPath + "\\"); key != keys.end() && key->first.compare(0, sPath.size() + 1, sPath + "\\") == 0;
         ++key) {
        const std::string sName = key->first.substr(sPath.size() + 1);
        if (sName.find('\\') == std::string::npos) {
            std::strncpy(names.emplace_back().szName, sName.c_str(), sizeof ovRegKey::szName - 1);
        }
    }
    return names;
}

// Removes everything below a key.
template <class Keys> void RemoveBelow(Keys& keys, const std::string& sPath)
{
    keys.erase(keys.lower_bound(sPath + "\\"), keys.lower_bound(sPath + "]")); // "]" follows the backslash
}

} // namespace

// An open key is its path.
struct PvRegKey
{
    std::string sPath;
};

long pvRegCreateKeyEx(const char* pszRoot, const char* pszSubKey, unsigned long, char*, unsigned long, unsigned long, void*, PVHKEY* phKey,
                      unsigned long* pulDisposition)
{
    const std::string sPath = Path(pszRoot, pszSubKey);
    SRegistry& registry = Registry();
    const std::lock_guard lock(registry.mutex);
    const bool bMade = registry.keys.try_emplace(sPath).second;
    for (std::size_t u = sPath.rfind('\\'); u != std::string::npos && u != 0; u = sPath.rfind('\\', u - 1)) {
        registry.keys.try_emplace(sPath.substr(0, u));
    }
    if (pulDisposition != nullptr) {
        *pulDisposition = bMade ? 1 : 2;
    }
    *phKey = new PvRegKey{sPath};
    return ERROR_SUCCESS;
}

long pvRegOpenKeyEx(const char* pszRoot, const char* pszSubKey, unsigned long, unsigned long, PVHKEY* phKey)
{
    return WithKey(Path(pszRoot, pszSubKey), [&](auto&, auto key) {
        *phKey = new PvRegKey{key->first};
        return long{ERROR_SUCCESS};
    });
}

long pvRegCloseKey(PVHKEY hKey)
{
    delete hKey;
    return ERROR_SUCCESS;
}

long pvRegEnumKeyEx(PVHKEY hKey, unsigned long ulIndex, char* pszName, unsigned long* pulNameSize, unsigned long*, char*, unsigned long*,
                    void*)
{
    return WithKey(hKey->sPath, [&](auto& keys, auto) {
        const auto names = Children(keys, hKey->sPath);
        if (ulIndex >= names.size()) {
            return long{ERROR_NO_MORE_ITEMS};
        }
        const char* pszFound = names[ulIndex].szName;
        const long lRet = Fill(pszFound, std::strlen(pszFound) + 1, pszName, pulNameSize);
        *pulNameSize -= lRet == ERROR_SUCCESS && pszName != nullptr ? 1 : 0; // a name that was read is counted without its NUL
        return lRet;
    });
}

long pvRegSetValueEx(PVHKEY hKey, const char* pszName, unsigned long, unsigned long ulType, const unsigned char* pData,
                     unsigned long ulSize)
{
    return WithKey(hKey->sPath, [&](auto&, auto key) {
        key->second[pszName] = {ulType, std::string(pData, pData + ulSize)};
        return long{ERROR_SUCCESS};
    });
}

long ovRegReadValueEx(const char* pszRoot, const char* pszSubKey, const char* pszName, unsigned long* pulType, unsigned char* pBuffer,
                      unsigned long* pulSize, int)
{
    return WithValue(pszRoot, pszSubKey, pszName, [&](auto&, auto value) {
        const std::string& sData = value->second.sData;
        if (pulType != nullptr) {
            *pulType = value->second.ulType;
        }
        return Fill(reinterpret_cast<const unsigned char*>(sData.data()), sData.size(), pBuffer, pulSize);
    });
}

long ovRegReadDWORDValueEx(const char* pszRoot, const char* pszSubKey, const char* pszName, unsigned long* pulValue, int)
{
    return WithValue(pszRoot, pszSubKey, pszName, [&](auto&, auto value) {
        unsigned int uValue = 0;
        if (value->second.ulType != REG_DWORD || value->second.sData.size() != sizeof uValue) {
            return long{ERROR_UNSUPPORTED_TYPE};
        }
        std::memcpy(&uValue, value->second.sData.data(), sizeof uValue);
        *pulValue = uValue;
        return long{ERROR_SUCCESS};
    });
}

long ovRegReadStringValueEx(const char* pszRoot, const char* pszSubKey, const char* pszName, char* pszBuffer, unsigned long* pulSize, int)
{
    return WithValue(pszRoot, pszSubKey, pszName, [&](auto&, auto value) {
        const char* pszText = value->second.sData.c_str();
        return value->second.ulType != REG_SZ ? long{ERROR_UNSUPPORTED_TYPE} : Fill(pszText, std::strlen(pszText) + 1, pszBuffer, pulSize);
    });
}

long ovRegListKeys(const char* pszRoot, const char* pszSubKey, ovRegKey* pKeys, unsigned long* pulCount)
{
    return WithKey(Path(pszRoot, pszSubKey), [&](auto& keys, auto key) {
        const auto names = Children(keys, key->first);
        return Fill(names.data(), names.size(), pKeys, pulCount);
    });
}

long ovRegListKeysEx(const char* pszRoot, const char* pszSubKey, ovRegKey* pKeys, unsigned long* pulCount, int)
{
    return ovRegListKeys(pszRoot, pszSubKey, pKeys, pulCount);
}

long ovRegListValueNamesEx(const char* pszRoot, const char* pszSubKey, ovRegValue* pValues, unsigned long* pulCount, int nType, int)
{
    return WithKey(Path(pszRoot, pszSubKey), [&](auto&, auto key) {
        std::vector<ovRegValue> listed;
        for (const auto& [sName, value] : key->second) {
            if (nType == -1 || value.ulType == static_cast<unsigned long>(nType)) {
                ovRegValue& entry = listed.emplace_back(ovRegValue{{}, value.ulType, value.sData.size()});
                std::strncpy(entry.szName, sName.c_str(), sizeof entry.szName - 1);
            }
        }
        return Fill(listed.data(), listed.size(), pValues, pulCount);
    });
}

long ovRegDeleteValue(const char* pszRoot, const char* pszSubKey, const char* pszName, int)
{
    return WithValue(pszRoot, pszSubKey, pszName, [](auto& values, auto value) {
        values.erase(value);
        return long{ERROR_SUCCESS};
    });
}

long ovRegDeleteKey(const char* pszRoot, const char* pszSubKey, bool bRecursive, int)
{
    return WithKey(Path(pszRoot, pszSubKey), [&](auto& keys, auto key) {
        const std::string sPath = key->first;
        if (!bRecursive && !Children(keys, sPath).empty()) {
            return long{ERROR_DIR_NOT_EMPTY};
        }
        RemoveBelow(keys, sPath);
        keys.erase(sPath);
        return long{ERROR_SUCCESS};
    });
}

long ovRegDeleteSubKey(const char* pszRoot, const char* pszSubKey, int, bool bKeepKey)
{
    return WithKey(Path(pszRoot, pszSubKey), [&](auto& keys, auto key) {
        RemoveBelow(keys, key->first);
        if (bKeepKey) {
            key->second.clear();
        } else {
            keys.erase(key);
        }
        return long{ERROR_SUCCESS};
    });
}
