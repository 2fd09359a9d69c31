// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// The registry functions that make or take an open key.

#include "platform/Registry.h"

#include "registry/Operation.h"

#include <memory>
#include <string>

using namespace Registry;

/// An open key. It refers to the database by ids and a name only, so it survives that the database is
/// opened anew, and goes on working in a forked child.
struct PvRegKey
{
    SKey key;
    std::string sName; // under which the key's parent holds it
};

namespace
{

constexpr unsigned long MadeKey = 1;
constexpr unsigned long OpenedKey = 2;

/// Opens the key that find(database, handle) looks for.
template <class TFind> long OpenHandle(bool bArgumentsValid, const CKeyPath& path, PVHKEY* phKey, TFind find)
{
    return Run(bArgumentsValid && phKey != nullptr && path.IsValid(), [&](CDatabase& database) {
        std::unique_ptr<PvRegKey> pHandle(new PvRegKey{SKey(), std::string(path.LastName())});
        const long nCode = find(database, pHandle->key);
        if (nCode == ERROR_SUCCESS) {
            *phKey = pHandle.release();
        }
        return nCode;
    });
}

long OpenExisting(CDatabase& database, const CKeyPath& path, SKey& key)
{
    return database.Read([&](const CTransaction& transaction) { return FindKey(transaction, path, key); });
}

/// Runs act on a key that has not been deleted since it was opened.
template <class TTransaction, class TAct> long WithAlive(TTransaction& transaction, const PvRegKey& handle, TAct act)
{
    const bool bAlive = transaction.FindSubKey(handle.key.uParentId, handle.sName) == handle.key.uId;
    return bAlive ? act() : static_cast<long>(ERROR_KEY_DELETED);
}

} // namespace

long pvRegCreateKeyEx(const char* pszRoot, const char* pszSubKey, unsigned long ulReserved, char* /*pszClass*/, unsigned long /*ulOptions*/,
                      unsigned long /*ulAccess*/, void* /*pSecurity*/, PVHKEY* phKey, unsigned long* pulDisposition)
{
    const CKeyPath path(pszRoot, pszSubKey);
    bool bMade = false;
    const long nResult = OpenHandle(ulReserved == 0, path, phKey, [&](CDatabase& database, SKey& key) {
        // Most keys exist, and looking costs far less than a transaction that writes.
        const long nCode = OpenExisting(database, path, key);
        return nCode != ERROR_FILE_NOT_FOUND ? nCode : database.Write(EWhenMissing::Create, [&](CTransaction& transaction) -> long {
            bMade = CreateKey(transaction, path, key);
            return ERROR_SUCCESS;
        });
    });
    if (nResult == ERROR_SUCCESS && pulDisposition != nullptr) {
        *pulDisposition = bMade ? MadeKey : OpenedKey;
    }
    return nResult;
}

long pvRegOpenKeyEx(const char* pszRoot, const char* pszSubKey, unsigned long /*ulOptions*/, unsigned long /*ulAccess*/, PVHKEY* phKey)
{
    const CKeyPath path(pszRoot, pszSubKey);
    return OpenHandle(true, path, phKey, [&](CDatabase& database, SKey& key) { return OpenExisting(database, path, key); });
}

long pvRegCloseKey(PVHKEY hKey)
{
    delete hKey;
    return hKey != nullptr ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

long pvRegEnumKeyEx(PVHKEY hKey, unsigned long ulIndex, char* pszName, unsigned long* pulNameSize, unsigned long* /*pulReserved*/,
                    char* /*pszClass*/, unsigned long* /*pulClassSize*/, void* /*pLastWriteTime*/)
{
    if (hKey == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    const CTarget target(pszName, pulNameSize);
    const auto give = [&](std::string_view sName) {
        const long nCode = target.Announce(sName.size() + 1);
        if (target.IsFilledAfter(nCode)) {
            CopyText(sName, pszName);
            *pulNameSize = sName.size();
        }
        return nCode;
    };
    return Run(pulNameSize != nullptr, [&](CDatabase& database) {
        return database.Read([&](const CTransaction& transaction) {
            return WithAlive(transaction, *hKey, [&] {
                long nCode = ERROR_NO_MORE_ITEMS;
                unsigned long ulToSkip = ulIndex;
                transaction.ForEach(hKey->key.uId, ERecord::SubKey, [&](std::string_view sName, std::string_view) {
                    if (ulToSkip > 0) {
                        --ulToSkip;
                        return true;
                    }
                    nCode = give(sName);
                    return false;
                });
                return nCode;
            });
        });
    });
}

long pvRegSetValueEx(PVHKEY hKey, const char* pszName, unsigned long ulReserved, unsigned long ulType, const unsigned char* pData,
                     unsigned long ulSize)
{
    if (hKey == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    const bool bArgumentsValid = IsValueName(pszName) && ulReserved == 0 && (pData != nullptr || ulSize == 0) && ulSize <= MaxValueSize;
    const std::string_view sData(reinterpret_cast<const char*>(pData), ulSize);
    return Run(bArgumentsValid, [&](CDatabase& database) {
        return database.Write(EWhenMissing::Nothing, [&](CTransaction& transaction) {
            return WithAlive(transaction, *hKey, [&]() -> long {
                transaction.SetValue(hKey->key.uId, pszName, ulType, sData);
                return ERROR_SUCCESS;
            });
        });
    });
}
