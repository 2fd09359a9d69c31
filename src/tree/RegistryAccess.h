// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "util/Operation.h"
#include "util/RegistryKey.h"

#include <cerrno>
#include <cstring>

/// @file
/// What every operation of a registry tree does with the path of a key.

inline constexpr char KeySeparator = '\\';
inline constexpr std::size_t MaxKeyPath = 250;

/// @param pszArgument what the path is called in the error line
/// @return S_OK; E_INVALIDARG for a null path, and with an error line for one that is too long
inline HRESULT CheckKeyPath(const COperation& op, const char* pszPath, const char* pszArgument = "pSubKey")
{
    const std::size_t uLength = pszPath == nullptr ? 0 : std::strlen(pszPath);
    if (uLength > MaxKeyPath) {
        pvlogLog(LogComponent, LogError, "%s length of %s = %d greater than %d", op.Name(), pszArgument, static_cast<int>(uLength),
                 static_cast<int>(MaxKeyPath));
    }
    return pszPath == nullptr || uLength > MaxKeyPath ? E_INVALIDARG : S_OK;
}

/// Opens an existing key; a failure gets an error line.
/// @return 0 or the code of the registry
inline long OpenKey(const COperation& op, const char* pszRoot, const char* pszPath, CRegistryKey& key)
{
    const long lResult = pvRegOpenKeyEx(pszRoot, pszPath, 0, 0, key.Out());
    if (lResult != ERROR_SUCCESS) {
        pvlogLog(LogComponent, LogError, "%s RegOpenKeyEx failed : lResult = %x dwLastError = %x", op.Name(),
                 static_cast<unsigned int>(lResult), static_cast<unsigned int>(errno));
    }
    return lResult;
}
