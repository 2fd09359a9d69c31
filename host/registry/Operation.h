// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Registry.h"
#include "registry/Database.h"
#include "registry/KeyPath.h"
#include "registry/Record.h"
#include "registry/StorageError.h"
#include "registry/Transaction.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

namespace Registry
{

/// @file
/// The shape that all registry functions have: check the arguments, run a transaction, return a
/// code. What runs in a transaction may run more than once, so it changes nothing but its out-arguments.

/// Runs act(database) when the arguments were found valid. The one place where exceptions stop.
template <class TAct> long Run(bool bArgumentsValid, TAct act) noexcept
{
    if (!bArgumentsValid) {
        return ERROR_INVALID_PARAMETER;
    }
    try {
        return act(CDatabase::Instance());
    } catch (const CStorageError& error) {
        return CDatabase::Report(error);
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    } catch (...) {
        return ERROR_IO_DEVICE;
    }
}

/// Runs act(transaction, key) on a key that is there.
template <class TAct> long ReadKey(bool bArgumentsValid, const CKeyPath& path, TAct act)
{
    return Run(bArgumentsValid && path.IsValid(), [&](CDatabase& database) {
        return database.Read([&](const CTransaction& transaction) {
            SKey key;
            const long nCode = FindKey(transaction, path, key);
            return nCode == ERROR_SUCCESS ? act(transaction, key) : nCode;
        });
    });
}

/// As ReadKey, in a transaction that writes to an existing registry.
template <class TAct> long ChangeKey(bool bArgumentsValid, const CKeyPath& path, TAct act)
{
    return Run(bArgumentsValid && path.IsValid(), [&](CDatabase& database) {
        return database.Write(EWhenMissing::Nothing, [&](CTransaction& transaction) {
            SKey key;
            const long nCode = FindKey(transaction, path, key);
            return nCode == ERROR_SUCCESS ? act(transaction, key) : nCode;
        });
    });
}

inline bool IsValueName(const char* pszName)
{
    return pszName != nullptr && std::strlen(pszName) <= MaxValueNameSize;
}

/// A caller's buffer, which may be missing, and the argument with its size, which is overwritten.
class CTarget
{
public:
    CTarget(const void* pBuffer, unsigned long* pulSize)
        : m_bAsksForSize(pBuffer == nullptr), m_pulSize(pulSize), m_ulCapacity(pulSize != nullptr ? *pulSize : 0)
    {}

    /// Tells the caller the size, and returns 0 or ERROR_MORE_DATA.
    long Announce(unsigned long ulNeeded) const
    {
        if (m_pulSize != nullptr) {
            *m_pulSize = ulNeeded;
        }
        return m_bAsksForSize || ulNeeded <= m_ulCapacity ? ERROR_SUCCESS : ERROR_MORE_DATA;
    }

    /// True when the caller's buffer is to be filled after Announce returned nCode.
    bool IsFilledAfter(long nCode) const { return nCode == ERROR_SUCCESS && !m_bAsksForSize; }

private:
    bool m_bAsksForSize;
    unsigned long* m_pulSize;
    unsigned long m_ulCapacity;
};

inline void CopyText(std::string_view sText, char* pszTarget)
{
    *std::ranges::copy(sText, pszTarget).out = '\0';
}

} // namespace Registry
