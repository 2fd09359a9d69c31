// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "authstore/PINAlways.h"
#include "util/ComHandles.h"
#include "util/Operation.h"

#include <vector>

class CAbstractTree;

/// One PIN record in a store's tree, for the time of one operation, under whose name it logs. The tree is
/// the store's, and so is its lock.
class CPINRecord
{
public:
    using SecureString = OV::Framework::SecureString;

    /// @param sPath of the record's compartment; neither it nor the tree may go before the record
    CPINRecord(const COperation& op, CAbstractTree& tree, const SecureString& sPath) : m_op(op), m_Tree(tree), m_sPath(sPath) {}

    /// Appends the paths of all records below a compartment, or below "/".
    /// @return S_OK, also when there is no such compartment; E_INVALIDARG when a path has more than 1000 components;
    ///         the code of the first one that can't be read
    static HRESULT List(const COperation& op, CAbstractTree& tree, const SecureString& sParent, std::vector<SecureString>& paths);

    /// Tells whether the path is that of a record.
    /// @return S_OK; the code of the tree
    HRESULT HasPIN(bool& bHas) const;

    /// @return whether the tree surely holds no PIN at the path. A registry answers E_INVALIDARG to every removal
    ///         that fails, also when the PIN is still there.
    bool IsGone() const;

    /// Reads the record's PIN session identifier and its PIN, as the tree keeps it.
    /// @return E_INVALIDARG when one of them is missing
    HRESULT ReadPIN(CBstr& PINSessionId, CSafeArray& value) const;

    /// Reads the record's PIN session identifier.
    HRESULT ReadPINSessionId(CBstr& PINSessionId) const;

    /// Reads whether a PIN Always key may take the PIN; false when it is missing.
    HRESULT ReadAlwaysState(bool& bAvailable) const;

    /// Reads the record's state; what is missing of it is false.
    HRESULT ReadState(SRecordState& state) const;

    /// Writes the whole record; stops at the first failure.
    HRESULT Write(CSafeArray& value, const SRecordState& state, BSTR bstrPINSessionId) const;

    HRESULT WriteAlwaysState(bool bAvailable) const;

    /// Removes the items that are the PIN; stops at the first failure. The PIN itself goes first.
    HRESULT RemovePIN() const;
    HRESULT RemovePINSessionId() const;

private:
    HRESULT Read(const char* pszItem, CSafeArray& value) const;
    HRESULT ReadText(const char* pszItem, CBstr& text) const;
    HRESULT ReadFlag(const char* pszItem, const char* pszText, bool& bEqual) const;
    HRESULT WriteItem(const char* pszItem, CSafeArray& value) const;
    HRESULT WriteText(const char* pszItem, const SecureString& sText) const;
    HRESULT Remove(const char* pszItem) const;

    const COperation& m_op;
    CAbstractTree& m_Tree;
    const SecureString& m_sPath;
};
