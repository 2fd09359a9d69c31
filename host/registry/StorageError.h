// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace Registry
{

/// Ends an operation: an errno (positive) or a code of LMDB (negative), and why when that says more
/// than the code's own text.
class CStorageError
{
public:
    explicit CStorageError(int nCode, const char* pszReason = nullptr) : m_nCode(nCode), m_pszReason(pszReason) {}

    int Code() const { return m_nCode; }
    const char* Reason() const;
    /// The code of platform/Registry.h that callers get.
    long RegistryCode() const;

private:
    int m_nCode;
    const char* m_pszReason; // a literal
};

/// Throws unless nCode is 0.
inline void Require(int nCode)
{
    if (nCode != 0) {
        throw CStorageError(nCode);
    }
}

} // namespace Registry
