// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/ComEmulation.h"

#include <utility>

/// Owns a BSTR.
class CBstr
{
public:
    CBstr() = default;
    explicit CBstr(BSTR bstr) : m_bstr(bstr) {}
    ~CBstr() { ovSysFreeString(m_bstr, 0); }
    CBstr(CBstr&& other) noexcept : m_bstr(other.Release()) {}
    CBstr& operator=(CBstr&& other) noexcept
    {
        std::swap(m_bstr, other.m_bstr);
        return *this;
    }

    BSTR Get() const { return m_bstr; }
    BSTR Release() { return std::exchange(m_bstr, nullptr); }

    /// For functions that write a new string; holds nothing before.
    BSTR& Out() { return m_bstr; }

private:
    BSTR m_bstr = nullptr;
};

/// Owns a SAFEARRAY.
class CSafeArray
{
public:
    CSafeArray() = default;
    explicit CSafeArray(SAFEARRAY* psa) : m_psa(psa) {}
    ~CSafeArray() { Destroy(); }
    CSafeArray(CSafeArray&& other) noexcept : m_psa(other.Release()) {}
    CSafeArray& operator=(CSafeArray&& other) noexcept
    {
        std::swap(m_psa, other.m_psa);
        return *this;
    }

    SAFEARRAY* Get() const { return m_psa; }
    SAFEARRAY* Release() { return std::exchange(m_psa, nullptr); }

    /// For functions that write a new array; holds nothing before.
    SAFEARRAY*& Out() { return m_psa; }

    /// Destroys the array now. When that fails it is kept, so that the destructor tries again.
    HRESULT Destroy()
    {
        const HRESULT hr = m_psa == nullptr ? S_OK : ovSafeArrayDestroy(m_psa, 0);
        if (SUCCEEDED(hr)) {
            m_psa = nullptr;
        }
        return hr;
    }

private:
    SAFEARRAY* m_psa = nullptr;
};
