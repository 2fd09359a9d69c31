// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Registry.h"
#include "util/Operation.h"
#include "util/RegistryPaths.h"

/// Reads a setting that is a number. One that can't be read is not an error: its default holds, and a
/// detail line tells why.
/// @param dwValue receives the number, untouched when there is none
/// @return whether there is one
inline bool ReadSetting(const COperation& op, const char* pszKey, const char* pszValue, unsigned long& dwValue)
{
    const long lRet = ovRegReadDWORDValueEx(RegistryHive, pszKey, pszValue, &dwValue, 0);
    if (lRet != ERROR_SUCCESS) {
        pvlogLog(LogComponent, LogDetail, "%s: ovRegReadValue failed : rc = %x", op.Name(), static_cast<unsigned int>(lRet));
    }
    return lRet == ERROR_SUCCESS;
}
