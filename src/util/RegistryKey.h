// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Registry.h"

#include <utility>

/// Owns an open registry key.
class CRegistryKey
{
public:
    CRegistryKey() = default;
    ~CRegistryKey() { Close(); }
    CRegistryKey(const CRegistryKey&) = delete;
    CRegistryKey& operator=(const CRegistryKey&) = delete;

    PVHKEY Get() const { return m_hKey; }

    /// For functions that open a key; holds nothing before.
    PVHKEY* Out() { return &m_hKey; }

    /// Closes the key now, for callers who want to know how that went.
    /// @return 0, also when there is no key; the code of the registry, the key is given up then too
    long Close() { return m_hKey == nullptr ? ERROR_SUCCESS : pvRegCloseKey(std::exchange(m_hKey, nullptr)); }

private:
    PVHKEY m_hKey = nullptr;
};
