// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"
#include "platform/ComEmulation.h"
#include "platform/SecAllocator.h"

#include <map>
#include <vector>

/// One compartment of a memory tree: its name and its data items.
///
/// Owner: the memory tree. The node owns the arrays it keeps; arrays given in are copied, arrays
/// handed out are copies for the caller. No operation throws (E_OUTOFMEMORY instead).
/// Thread safety: none; the tree's owner serialises all calls.
class SHAREDSTORE_API CNode
{
public:
    using SecureString = OV::Framework::SecureString; ///< an identifier or a path

    /// @param sNodeId last component of the compartment's path
    explicit CNode(const SecureString& sNodeId);
    ~CNode();
    CNode(const CNode&) = delete;
    CNode& operator=(const CNode&) = delete;

    /// Copies the name.
    HRESULT GetNodeId(SecureString& sNodeId) const;

    /// Stores a copy of a value under sDataId. A former value is destroyed first: when the copy fails,
    /// the item is absent, not old.
    /// @return S_OK; the code of SafeArrayCopy
    HRESULT AddDataItem(const SecureString& sDataId, SAFEARRAY* psa);

    /// @param psa receives a copy for the caller
    /// @return S_OK; E_INVALIDARG for an unknown item; the code of SafeArrayCopy
    HRESULT GetDataItem(const SecureString& sDataId, SAFEARRAY*& psa) const;

    /// @return S_OK; E_INVALIDARG for an unknown item; the code of ovSafeArrayDestroy, the item is then gone too
    HRESULT RemoveDataItem(const SecureString& sDataId);

    /// Appends every item's identifier in byte order.
    HRESULT ListDataItems(std::vector<SecureString>& ids) const;

    /// @return whether there is such an item
    bool HasDataItem(const SecureString& sDataId) const { return m_cDataItemList.count(sDataId) != 0; }

    /// Destroys every item.
    void Empty();

private:
    void DestroyItems(const char* pszName);

    SecureString m_sNodeId;
    std::map<SecureString, SAFEARRAY*> m_cDataItemList;
};
