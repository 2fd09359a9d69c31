// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// The registry functions that name a key by its path.

#include "platform/Registry.h"

#include "registry/Operation.h"

#include <cstdint>
#include <optional>

using namespace Registry;

namespace
{

constexpr int AnyType = -1;

/// Runs act(value) on a value that is there.
template <class TAct> long ReadValue(bool bArgumentsValid, const CKeyPath& path, const char* pszName, TAct act)
{
    return ReadKey(bArgumentsValid && IsValueName(pszName), path, [&](const CTransaction& transaction, const SKey& key) -> long {
        const std::optional<SValue> value = transaction.FindValue(key.uId, pszName);
        return value ? act(*value) : static_cast<long>(ERROR_FILE_NOT_FOUND);
    });
}

/// Lists the records of one kind that match(record) takes; fill(entry, name, record) copies one out.
template <class TEntry, class TMatch, class TFill>
long List(bool bArgumentsValid, const CKeyPath& path, ERecord eKind, TEntry* pEntries, unsigned long* pulCount, TMatch match, TFill fill)
{
    const CTarget target(pEntries, pulCount);
    return ReadKey(bArgumentsValid && pulCount != nullptr, path, [&](const CTransaction& transaction, const SKey& key) {
        // Counted first, because a buffer that is too small is left alone.
        unsigned long ulCount = 0;
        transaction.ForEach(key.uId, eKind, [&](std::string_view, std::string_view sRecord) {
            ulCount += match(sRecord) ? 1 : 0;
            return true;
        });
        const long nCode = target.Announce(ulCount);
        if (target.IsFilledAfter(nCode)) {
            TEntry* pEntry = pEntries;
            transaction.ForEach(key.uId, eKind, [&](std::string_view sName, std::string_view sRecord) {
                if (match(sRecord)) {
                    fill(*pEntry++, sName, sRecord);
                }
                return true;
            });
        }
        return nCode;
    });
}

bool HasSubKeys(const CTransaction& transaction, std::uint64_t uKeyId)
{
    bool bFound = false;
    transaction.ForEach(uKeyId, ERecord::SubKey, [&](std::string_view, std::string_view) {
        bFound = true;
        return false;
    });
    return bFound;
}

enum class EDelete { ContentOnly, WithSubKeys, WithoutSubKeys };

long DeleteKey(bool bArgumentsValid, const CKeyPath& path, EDelete eDelete)
{
    const bool bKeepKey = eDelete == EDelete::ContentOnly;
    return ChangeKey(bArgumentsValid && (bKeepKey || !path.IsHive()), path, [&](CTransaction& transaction, const SKey& key) -> long {
        if (eDelete == EDelete::WithoutSubKeys && HasSubKeys(transaction, key.uId)) {
            return ERROR_DIR_NOT_EMPTY;
        }
        EmptyKey(transaction, key.uId);
        if (!bKeepKey) {
            transaction.Remove({key.uParentId, ERecord::SubKey, path.LastName()});
        }
        return ERROR_SUCCESS;
    });
}

} // namespace

long ovRegReadValueEx(const char* pszRoot, const char* pszSubKey, const char* pszName, unsigned long* pulType, unsigned char* pBuffer,
                      unsigned long* pulSize, int nFlags)
{
    const CTarget target(pBuffer, pulSize);
    const bool bArgumentsValid = nFlags == 0 && (pulSize != nullptr || pBuffer == nullptr);
    return ReadValue(bArgumentsValid, {pszRoot, pszSubKey}, pszName, [&](const SValue& value) {
        const long nCode = target.Announce(value.sData.size());
        if (target.IsFilledAfter(nCode)) {
            std::ranges::copy(value.sData, pBuffer);
        }
        if (nCode == ERROR_SUCCESS && pulType != nullptr) {
            *pulType = value.ulType;
        }
        return nCode;
    });
}

long ovRegReadDWORDValueEx(const char* pszRoot, const char* pszSubKey, const char* pszName, unsigned long* pulValue, int nFlags)
{
    return ReadValue(nFlags == 0 && pulValue != nullptr, {pszRoot, pszSubKey}, pszName, [&](const SValue& value) -> long {
        std::uint32_t uValue = 0;
        if (value.ulType != REG_DWORD || value.sData.size() != sizeof(uValue)) {
            return ERROR_UNSUPPORTED_TYPE;
        }
        std::memcpy(&uValue, value.sData.data(), sizeof(uValue));
        *pulValue = uValue;
        return ERROR_SUCCESS;
    });
}

long ovRegReadStringValueEx(const char* pszRoot, const char* pszSubKey, const char* pszName, char* pszBuffer, unsigned long* pulSize,
                            int nFlags)
{
    const CTarget target(pszBuffer, pulSize);
    return ReadValue(nFlags == 0 && pulSize != nullptr, {pszRoot, pszSubKey}, pszName, [&](const SValue& value) -> long {
        if (value.ulType != REG_SZ) {
            return ERROR_UNSUPPORTED_TYPE;
        }
        const std::string_view sText = value.sData.substr(0, value.sData.find('\0'));
        const long nCode = target.Announce(sText.size() + 1);
        if (target.IsFilledAfter(nCode)) {
            CopyText(sText, pszBuffer);
        }
        return nCode;
    });
}

long ovRegListKeys(const char* pszRoot, const char* pszSubKey, ovRegKey* pKeys, unsigned long* pulCount)
{
    return ovRegListKeysEx(pszRoot, pszSubKey, pKeys, pulCount, 0);
}

long ovRegListKeysEx(const char* pszRoot, const char* pszSubKey, ovRegKey* pKeys, unsigned long* pulCount, int nFlags)
{
    const auto matchAll = [](std::string_view) { return true; };
    const auto fill = [](ovRegKey& entry, std::string_view sName, std::string_view) { CopyText(sName, entry.szName); };
    return List(nFlags == 0, {pszRoot, pszSubKey}, ERecord::SubKey, pKeys, pulCount, matchAll, fill);
}

long ovRegListValueNamesEx(const char* pszRoot, const char* pszSubKey, ovRegValue* pValues, unsigned long* pulCount, int nType, int nFlags)
{
    const auto match = [nType](std::string_view sRecord) {
        return nType == AnyType || CTransaction::ParseValue(sRecord).ulType == static_cast<unsigned long>(nType);
    };
    const auto fill = [](ovRegValue& entry, std::string_view sName, std::string_view sRecord) {
        const SValue value = CTransaction::ParseValue(sRecord);
        CopyText(sName, entry.szName);
        entry.ulType = value.ulType;
        entry.ulSize = value.sData.size();
    };
    return List(nFlags == 0, {pszRoot, pszSubKey}, ERecord::Value, pValues, pulCount, match, fill);
}

long ovRegDeleteValue(const char* pszRoot, const char* pszSubKey, const char* pszName, int nFlags)
{
    return ChangeKey(nFlags == 0 && IsValueName(pszName), {pszRoot, pszSubKey}, [&](CTransaction& transaction, const SKey& key) {
        return transaction.Remove({key.uId, ERecord::Value, pszName}) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
    });
}

long ovRegDeleteKey(const char* pszRoot, const char* pszSubKey, bool bRecursive, int nFlags)
{
    return DeleteKey(nFlags == 0, {pszRoot, pszSubKey}, bRecursive ? EDelete::WithSubKeys : EDelete::WithoutSubKeys);
}

long ovRegDeleteSubKey(const char* pszRoot, const char* pszSubKey, int nFlags, bool bKeepKey)
{
    return DeleteKey(nFlags == 0, {pszRoot, pszSubKey}, bKeepKey ? EDelete::ContentOnly : EDelete::WithSubKeys);
}
