// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/Registry.h"

#include "support/Failure.h"
#include "support/Text.h"

#include <cstring>

namespace Tool
{

namespace
{

constexpr struct
{
    std::string_view sShort;
    std::string_view sFull;
} Hives[] = {
    {"HKLM", "HKEY_LOCAL_MACHINE"},
    {"HKCU", "HKEY_CURRENT_USER"},
    {"HKCR", "HKEY_CLASSES_ROOT"},
    {"HKU", "HKEY_USERS"},
};

std::string What(const KeyPath& key)
{
    return "key " + Display(key.Text());
}

std::string What(const KeyPath& key, const std::string& sName)
{
    return "value '" + Display(sName) + "' of " + What(key);
}

/// Calls a listing function until its buffer is large enough for what it lists.
template <class Slot, class Call> std::vector<Slot> ReadSlots(const KeyPath& key, Call call)
{
    std::vector<Slot> slots;
    while (true) {
        unsigned long ulCount = slots.size();
        const long lCode = call(slots.empty() ? nullptr : slots.data(), &ulCount);
        if (lCode != ERROR_SUCCESS && lCode != ERROR_MORE_DATA) {
            throw RegistryFailure(lCode, What(key));
        }
        const bool bComplete = lCode == ERROR_SUCCESS && ulCount <= slots.size();
        slots.resize(ulCount);
        if (bComplete) {
            return slots;
        }
    }
}

template <class Number> RegistryValue NumberValue(const std::string& sName, unsigned long ulType, Number number)
{
    const auto* pBytes = reinterpret_cast<const unsigned char*>(&number);
    return {sName, ulType, Bytes(pBytes, pBytes + sizeof number)};
}

} // namespace

KeyPath ParseKeyPath(std::string_view sPath)
{
    const std::size_t uEnd = sPath.find('\\');
    KeyPath key{std::string(sPath.substr(0, uEnd)), uEnd == sPath.npos ? "" : std::string(sPath.substr(uEnd + 1))};
    for (const auto& hive : Hives) {
        key.sHive = key.sHive == hive.sShort ? hive.sFull : key.sHive;
    }
    const auto refuse = [sPath](const std::string& sReason) { throw CFailure(ExitCode::Usage, "'" + Display(sPath) + "' " + sReason); };
    if (!key.sHive.starts_with("HKEY_")) {
        refuse("is no registry path: it begins with a hive, for example HKEY_LOCAL_MACHINE\\Software or HKLM\\Software");
    }
    std::string_view sRest = uEnd == sPath.npos ? std::string_view() : sPath.substr(uEnd);
    while (!sRest.empty()) {
        sRest.remove_prefix(1);
        const std::string_view sName = sRest.substr(0, sRest.find('\\'));
        if (sName.empty() || sName.size() > MaxKeyName) {
            refuse("is no registry path: each key name has 1 to " + std::to_string(MaxKeyName) + " bytes");
        }
        sRest.remove_prefix(sName.size());
    }
    return key;
}

const std::string& CheckedValueName(const std::string& sName)
{
    return sName.size() <= MaxValueName && sName.find('\0') == std::string::npos
               ? sName
               : throw CFailure(ExitCode::Usage, "a value name has at most " + std::to_string(MaxValueName) + " bytes and no NUL");
}

std::vector<std::string> ListKeys(const KeyPath& key)
{
    const auto slots = ReadSlots<ovRegKey>(key, [&key](ovRegKey* pSlots, unsigned long* pulCount) {
        return ovRegListKeys(key.sHive.c_str(), key.sSubKey.c_str(), pSlots, pulCount);
    });
    std::vector<std::string> names;
    names.reserve(slots.size());
    for (const ovRegKey& slot : slots) {
        names.emplace_back(slot.szName);
    }
    return names;
}

std::vector<ValueInfo> ListValues(const KeyPath& key)
{
    const auto slots = ReadSlots<ovRegValue>(key, [&key](ovRegValue* pSlots, unsigned long* pulCount) {
        return ovRegListValueNamesEx(key.sHive.c_str(), key.sSubKey.c_str(), pSlots, pulCount, -1, 0);
    });
    std::vector<ValueInfo> values;
    values.reserve(slots.size());
    for (const ovRegValue& slot : slots) {
        values.push_back({slot.szName, slot.ulType, slot.ulSize});
    }
    return values;
}

RegistryValue ReadValue(const KeyPath& key, const std::string& sName)
{
    RegistryValue value{sName, REG_NONE, {}};
    while (true) {
        unsigned long ulSize = value.data.size();
        unsigned char* pBuffer = value.data.empty() ? nullptr : value.data.data();
        const long lCode = ovRegReadValueEx(key.sHive.c_str(), key.sSubKey.c_str(), sName.c_str(), &value.ulType, pBuffer, &ulSize, 0);
        if (lCode != ERROR_SUCCESS && lCode != ERROR_MORE_DATA) {
            throw RegistryFailure(lCode, What(key, sName));
        }
        const bool bComplete = lCode == ERROR_SUCCESS && ulSize <= value.data.size();
        value.data.resize(ulSize);
        if (bComplete) {
            return value;
        }
    }
}

std::vector<RegistryValue> ReadValues(const KeyPath& key)
{
    std::vector<RegistryValue> values;
    for (const ValueInfo& info : ListValues(key)) {
        try {
            values.push_back(ReadValue(key, info.sName));
        } catch (const CFailure& failure) {
            if (failure.Code() != ExitCode::NotFound) {
                throw;
            }
        }
    }
    return values;
}

bool KeyExists(const KeyPath& key)
{
    PVHKEY hKey = nullptr;
    const long lCode = pvRegOpenKeyEx(key.sHive.c_str(), key.sSubKey.c_str(), 0, 0, &hKey);
    if (lCode != ERROR_SUCCESS && lCode != ERROR_FILE_NOT_FOUND) {
        throw RegistryFailure(lCode, What(key));
    }
    pvRegCloseKey(hKey);
    return lCode == ERROR_SUCCESS;
}

CKey::CKey(const KeyPath& key) : m_Path(key)
{
    const long lCode = pvRegCreateKeyEx(key.sHive.c_str(), key.sSubKey.c_str(), 0, nullptr, 0, 0, nullptr, &m_hKey, nullptr);
    if (lCode != ERROR_SUCCESS) {
        throw RegistryFailure(lCode, What(key));
    }
}

void CKey::Set(const RegistryValue& value)
{
    const long lCode = pvRegSetValueEx(m_hKey, value.sName.c_str(), 0, value.ulType, value.data.data(), value.data.size());
    if (lCode != ERROR_SUCCESS) {
        throw RegistryFailure(lCode, What(m_Path, value.sName));
    }
}

RegistryValue DwordValue(const std::string& sName, unsigned int uNumber)
{
    return NumberValue(sName, REG_DWORD, uNumber);
}

RegistryValue QwordValue(const std::string& sName, unsigned long long uNumber)
{
    return NumberValue(sName, REG_QWORD, uNumber);
}

RegistryValue TextValue(const std::string& sName, std::string_view sText)
{
    return {sName, REG_SZ, ToBytes(sText)};
}

RegistryValue MultiTextValue(const std::string& sName, const std::vector<std::string>& texts)
{
    RegistryValue value{sName, REG_MULTI_SZ, {}};
    for (const std::string& sText : texts) {
        if (sText.empty()) {
            throw CFailure(ExitCode::Usage, "an empty string ends a list of strings and can't be one of them");
        }
        value.data.insert(value.data.end(), sText.c_str(), sText.c_str() + sText.size() + 1);
    }
    value.data.push_back(0);
    return value;
}

bool NumberOf(const RegistryValue& value, unsigned long long& uNumber)
{
    const std::size_t uSize = value.ulType == REG_DWORD ? sizeof(unsigned int) : value.ulType == REG_QWORD ? sizeof(unsigned long long) : 0;
    if (uSize == 0 || value.data.size() != uSize) {
        return false;
    }
    uNumber = 0; // the bytes of a number lie lowest first, whatever its size
    std::memcpy(&uNumber, value.data.data(), uSize);
    return true;
}

bool TextsOf(const RegistryValue& value, std::vector<std::string_view>& texts)
{
    std::string_view sRest = View(value.data);
    if (value.ulType == REG_SZ || value.ulType == REG_EXPAND_SZ) {
        sRest.remove_suffix(sRest.ends_with('\0') ? 1 : 0);
        texts = {sRest};
        return sRest.find('\0') == sRest.npos;
    }
    if (value.ulType != REG_MULTI_SZ) {
        return false;
    }
    texts.clear();
    for (std::size_t uEnd = sRest.find('\0'); uEnd != 0 && uEnd != sRest.npos; uEnd = sRest.find('\0')) {
        texts.push_back(sRest.substr(0, uEnd));
        sRest.remove_prefix(uEnd + 1);
    }
    return sRest.size() == 1 && sRest[0] == '\0'; // the NUL that ends the list, and nothing behind it
}

} // namespace Tool
