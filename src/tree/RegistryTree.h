// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "tree/AbstractTree.h"

#include <list>

class CBstr;
class COperation;

/// The registry type under which values of an element type are kept. A VT_BSTR array of more than one
/// element is kept as REG_MULTI_SZ instead of the REG_SZ told here.
/// @return S_OK; E_FAIL for an element type that no value can have
SHAREDSTORE_API HRESULT GetRegistryTypeFromSafeArrayType(unsigned short vt, unsigned long& dwRegistryType);

/// The element type of values of a registry type; not the inverse in all cases: VT_I8 comes back as
/// VT_UI8 and VT_INT as VT_UINT. REG_BINARY is VT_UI1, but a value can say that it is VT_I1.
/// @return S_OK; E_FAIL for a registry type that no value can have
SHAREDSTORE_API HRESULT GetSafeArrayTypeFromRegistryType(unsigned long dwRegistryType, unsigned short& vt);

/// A tree in the registry: what it holds outlives the process and is shared with other processes.
///
/// Each compartment is a key, "a/b" below the tree's own key; each item is a value of that key, named by
/// the item's identifier. A backslash in an identifier of a compartment separates keys too. Versions are
/// those of this process: nobody counts what another process changes.
///
/// Results of every operation on a compartment, before any of its own: E_INVALIDARG when the path of its
/// key is longer than 250 characters; E_FAIL when memory for the path is out. A key that an operation
/// opens is closed on every path.
///
/// Thread safety: none; the owner serialises all calls. Other trees and processes may work on the same
/// keys: each change of one value or key happens at once or not at all.
class SHAREDSTORE_API CRegistryTree : public CAbstractTree
{
public:
    /// @param sTreeId the store's identifier: names the tree's key, and versions are counted below it
    /// @param nMode 0 for a tree of its own, 1 for a mirror; both work alike
    CRegistryTree(const SecureString& sTreeId, int nMode);
    ~CRegistryTree() override;
    CRegistryTree(const CRegistryTree&) = delete;
    CRegistryTree& operator=(const CRegistryTree&) = delete;

    HRESULT GetTreeId(SecureString& sTreeId) override;

    /// A failure leaves the former value (unless the key can't be closed), but may leave a compartment that it
    /// made. Rows that would make a table of more than 16 MB when they are read are refused.
    /// @return S_OK; E_INVALIDARG for an identifier of more than 255 characters, a value of more than
    ///         1 MB (1048576 bytes), and a row whose length byte exceeds the row; E_FAIL for a null array,
    ///         an element type that can't be kept, and a registry that can't be written
    HRESULT SetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY* psaValue, unsigned long dwClientProcessId,
                    int nFlag) override;

    /// @param psaValue untouched on failure
    /// @return S_OK; E_INVALIDARG for an unknown compartment or item, and a value that can't be read or is
    ///         malformed; E_FAIL for a value whose registry type has no element type
    HRESULT GetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY*& psaValue,
                    unsigned long dwClientProcessId) override;

    /// @return S_OK; E_INVALIDARG for an identifier of more than 255 characters and whenever the value can't
    ///         be deleted
    HRESULT RemoveData(const SecureString& sCompartmentId, const SecureString& sDataId, unsigned long dwClientProcessId) override;

    HRESULT CreateCompartment(const SecureString& sCompartmentId, unsigned long dwClientProcessId) override;

    /// @param sCompartmentId "/" is the whole tree
    /// @return S_OK for every compartment that exists, even when part of it could not be deleted;
    ///         E_INVALIDARG for one that does not
    HRESULT RemoveCompartment(const SecureString& sCompartmentId, int bUpdateVersions, unsigned long dwClientProcessId) override;

    /// @return S_OK; E_FAIL also for a tree that has no key
    HRESULT FlushTree(unsigned long dwClientProcessId) override;

    HRESULT IsDataCached(const SecureString& sCompartmentId, const SecureString& sDataId, int* pbCached,
                         unsigned long dwClientProcessId) override;
    HRESULT ListDataIds(const SecureString& sCompartmentId, SAFEARRAY** ppsaDataIdList, unsigned long dwClientProcessId) override;

    /// @return S_OK, with an empty vector for a compartment without children; E_FAIL for an unknown one
    HRESULT ListCompartmentIds(const SecureString& sCompartmentId, SAFEARRAY** ppsCompartmentIdList,
                               unsigned long dwClientProcessId) override;

    HRESULT IsCompartmentCached(const SecureString& sCompartmentId, unsigned long* pulCompartmentVersion, unsigned long* pulContentVersion,
                                int* pbCached, unsigned long dwClientProcessId) override;

    /// Lists one chain of compartments: the tree itself, its first compartment, the first compartment of
    /// that one and so on. Each path begins with the tree's identifier.
    HRESULT ListAllCompartmentIds(SAFEARRAY** ppsAllCompartmentIdList) override;

    /// Every operation calls it first; it has nothing to do. Always S_OK.
    HRESULT UpdateRegistryKey(unsigned long dwClientProcessId);

    /// Writes the path of a compartment's key to sKey. Always S_OK.
    HRESULT ConvertString2RegistryFormat(const SecureString& sCompartmentId, SecureString& sKey) const;

    /// Appends the path of one compartment and of the chain below it to a list.
    /// @param pszSubKey path of the compartment's key; more than 250 characters list nothing
    /// @return 0 or a code of the registry; negative when memory is out
    long RegListTree(const char* pszRoot, const char* pszSubKey, std::list<SecureString>& lIds);

    /// Deletes a key and everything below it, and advances the versions of everything below it.
    /// @param pszSubKey path of the key, up to 250 characters
    /// @param bUpdateVersions zero: no version advances
    /// @return whether it deleted the key
    bool RegDelTree(const char* pszRoot, const char* pszSubKey, int bUpdateVersions);

private:
    HRESULT MakeKeyPath(const COperation& op, const SecureString& sCompartmentId, unsigned long dwClientProcessId, CBstr& path,
                        const char* pszArgument = "pSubKey");
    SecureString PathOfKey(const SecureString& sKey) const;

    const char* m_pszRootKey;
    SecureString m_sBaseKey; ///< path of the key below which every tree has its own
    SecureString m_sTreeId;
    [[maybe_unused]] int m_nMode; ///< kept for whoever looks at the tree
};
