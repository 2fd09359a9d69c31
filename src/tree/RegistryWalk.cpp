// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// The walks of a registry tree through a key and what lies below it.

#include "tree/RegistryTree.h"

#include "tree/HistoryAccess.h"
#include "tree/RegistryAccess.h"

#include <algorithm>

using OV::Framework::SecureString;

namespace
{

/// Visits the first sub-key of a key, and what has become the first one then, until a visit returns false.
template <class Visit> void VisitFirstSubKeys(const COperation& op, PVHKEY hKey, SecureString sPath, Visit visit)
{
    if (!sPath.ends_with(KeySeparator)) {
        sPath += KeySeparator;
    }
    for (;;) {
        char szName[MaxKeyPath + 1] = {};
        unsigned long ulSize = sizeof(szName);
        if (pvRegEnumKeyEx(hKey, 0, szName, &ulSize, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
            return;
        }
        const SecureString sChild = sPath + szName;
        if (sChild.size() > MaxKeyPath) {
            op.Error("dwSize too long");
            return;
        }
        if (!visit(sChild)) {
            return;
        }
    }
}

} // namespace

/// The compartment's path of a key below the base key, with the tree's identifier in front: the same path
/// under which its versions are counted.
SecureString CRegistryTree::PathOfKey(const SecureString& sKey) const
{
    SecureString sPath = sKey.substr(std::min(m_sBaseKey.size(), sKey.size()));
    std::replace(sPath.begin(), sPath.end(), KeySeparator, PathSeparator);
    return sPath;
}

long CRegistryTree::RegListTree(const char* pszRoot, const char* pszSubKey, std::list<SecureString>& lIds)
{
    return RunOperation("CRegistryTree::RegListTree", [&](const COperation& op) -> HRESULT {
        if (FAILED(CheckKeyPath(op, pszSubKey))) {
            return S_OK;
        }
        CRegistryKey key;
        if (const long lResult = OpenKey(op, pszRoot, pszSubKey, key); lResult != ERROR_SUCCESS) {
            return static_cast<HRESULT>(lResult);
        }
        lIds.push_back(PathOfKey(pszSubKey));
        op.Detail("sCompartmentId2", lIds.back().c_str());
        long lChild = ERROR_SUCCESS;
        SecureString sUnopenable; // the first sub-key until somebody deletes it
        VisitFirstSubKeys(op, key.Get(), pszSubKey, [&](const SecureString& sChild) {
            if (sChild == sUnopenable) {
                return false;
            }
            lChild = RegListTree(pszRoot, sChild.c_str(), lIds);
            if (lChild == ERROR_SUCCESS) {
                op.Detail("RegListTree failed");
            }
            sUnopenable = sChild;
            return lChild > 0;
        });
        const long lClosed = key.Close();
        return static_cast<HRESULT>(lChild < 0 ? lChild : lClosed);
    });
}

bool CRegistryTree::RegDelTree(const char* pszRoot, const char* pszSubKey, int bUpdateVersions)
{
    const HRESULT hr = RunOperation("CRegistryTree::RegDelTree", [&](const COperation& op) -> HRESULT {
        RETURN_IF_FAILED(CheckKeyPath(op, pszSubKey));
        if (ovRegDeleteKey(pszRoot, pszSubKey, false, 0) == ERROR_SUCCESS) {
            return S_OK;
        }
        CRegistryKey key;
        if (OpenKey(op, pszRoot, pszSubKey, key) != ERROR_SUCCESS) {
            return E_FAIL;
        }
        VisitFirstSubKeys(op, key.Get(), pszSubKey, [&](const SecureString& sChild) {
            if (!RegDelTree(pszRoot, sChild.c_str(), bUpdateVersions)) {
                op.Error("RegDelTree failed");
                return false;
            }
            if (bUpdateVersions != 0) {
                const SecureString sVersionPath = PathOfKey(sChild);
                CheckVersions(op, UpdateVersion(sVersionPath, 0), "UpdateVersion failed");
                CheckVersions(op, UpdateVersion(sVersionPath, 1), "UpdateVersion failed");
            }
            return true;
        });
        key.Close();
        return ovRegDeleteKey(pszRoot, pszSubKey, false, 0) == ERROR_SUCCESS ? S_OK : E_FAIL;
    });
    return SUCCEEDED(hr);
}
