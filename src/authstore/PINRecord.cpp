// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "authstore/PINRecord.h"

#include "tree/AbstractTree.h"
#include "util/IdList.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

using OV::Framework::SecureString;

namespace
{

constexpr const char* ValueItem = "PINValue";
constexpr const char* AlwaysStateItem = "PINAlwaysState";
constexpr const char* BypassItem = "PINBypassPINAlwaysState";
constexpr const char* PINSessionIdItem = "PINSessionId";

/// Deeper paths would exhaust the stack of whoever walks along them.
constexpr std::ptrdiff_t MaxComponents = 1000;

constexpr const char* AvailableText = "available";
constexpr const char* UnavailableText = "unavailable";
constexpr const char* BypassText = "True";
constexpr const char* NoBypassText = "False";

} // namespace

HRESULT CPINRecord::List(const COperation& op, CAbstractTree& tree, const SecureString& sParent, std::vector<SecureString>& paths)
{
    if (std::count(sParent.begin(), sParent.end(), PathSeparator) >= MaxComponents) {
        return op.Fail(E_INVALIDARG, "too many components");
    }
    CSafeArray children;
    if (const HRESULT hr = tree.ListCompartmentIds(sParent, &children.Out(), 0); FAILED(hr)) {
        int bCached = 0;
        unsigned long ulVersion = 0;
        // Asked only now: a registry tells a compartment that can't be opened from none only by its list.
        RETURN_IF_FAILED(op.Check(tree.IsCompartmentCached(sParent, &ulVersion, &ulVersion, &bCached, 0), "IsCompartmentCached failed"));
        return hr == E_FAIL && bCached == 0 ? S_OK : op.Fail(hr, "ListCompartmentIds failed");
    }
    for (int i = 0; i < CountIds(children.Get()); ++i) {
        CBstr child;
        RETURN_IF_FAILED(op.Check(SafeArrayGetElement(children.Get(), &i, &child.Out()), "SafeArrayGetElement failed"));
        const SecureString sChild = child.Get() == nullptr ? "" : child.Get(); // empty: that of an unknown PIN session identifier
        const SecureString sPath = sParent == RootCompartment ? sChild : ChildPath(sParent, sChild);
        bool bHas = false;
        RETURN_IF_FAILED(CPINRecord(op, tree, sPath).HasPIN(bHas));
        if (bHas) {
            paths.push_back(sPath);
        }
        RETURN_IF_FAILED(List(op, tree, sPath, paths));
    }
    return S_OK;
}

HRESULT CPINRecord::Read(const char* pszItem, CSafeArray& value) const
{
    const HRESULT hr = m_Tree.GetData(m_sPath, pszItem, value.Out(), 0);
    if (hr == E_INVALIDARG) {
        m_op.Detail("GetData : data not found");
        return hr;
    }
    return m_op.Check(hr, "GetData failed");
}

HRESULT CPINRecord::ReadText(const char* pszItem, CBstr& text) const
{
    CSafeArray value;
    RETURN_IF_FAILED(Read(pszItem, value));
    VARTYPE vt = 0;
    if (FAILED(SafeArrayGetVartype(value.Get(), &vt)) || vt != VT_BSTR) { // the tree can be written by anybody
        return m_op.Fail(E_FAIL, "SafeArrayGetlement failed");
    }
    int nIndex = 0;
    const bool bEmpty = CountIds(value.Get()) == 0; // how an empty text comes back from the registry
    RETURN_IF_FAILED(bEmpty ? MakeId(m_op, "", text)
                            : m_op.Check(SafeArrayGetElement(value.Get(), &nIndex, &text.Out()), "SafeArrayGetlement failed"));
    return m_op.Check(value.Destroy(), "ovSafeArrayDestroy failed");
}

/// Compares an item with a text; a missing one leaves the answer as it is.
HRESULT CPINRecord::ReadFlag(const char* pszItem, const char* pszText, bool& bEqual) const
{
    CBstr text;
    const HRESULT hr = ReadText(pszItem, text);
    if (SUCCEEDED(hr)) {
        bEqual = text.Get() != nullptr && std::strcmp(text.Get(), pszText) == 0;
    }
    return hr == E_INVALIDARG ? S_OK : hr;
}

HRESULT CPINRecord::HasPIN(bool& bHas) const
{
    int bCached = 0;
    const HRESULT hr = m_op.Check(m_Tree.IsDataCached(m_sPath, ValueItem, &bCached, 0), "IsDataCached failed");
    bHas = SUCCEEDED(hr) && bCached != 0;
    return hr;
}

bool CPINRecord::IsGone() const
{
    bool bHas = false;
    return SUCCEEDED(HasPIN(bHas)) && !bHas;
}

HRESULT CPINRecord::ReadPINSessionId(CBstr& PINSessionId) const
{
    return ReadText(PINSessionIdItem, PINSessionId);
}

HRESULT CPINRecord::ReadPIN(CBstr& PINSessionId, CSafeArray& value) const
{
    RETURN_IF_FAILED(ReadPINSessionId(PINSessionId));
    return Read(ValueItem, value);
}

HRESULT CPINRecord::ReadAlwaysState(bool& bAvailable) const
{
    bAvailable = false;
    return ReadFlag(AlwaysStateItem, AvailableText, bAvailable);
}

HRESULT CPINRecord::ReadState(SRecordState& state) const
{
    bool bNoBypass = true;
    RETURN_IF_FAILED(ReadAlwaysState(state.bAvailable));
    RETURN_IF_FAILED(ReadFlag(BypassItem, NoBypassText, bNoBypass));
    state.bBypass = !bNoBypass;
    m_op.Detail("sBypassPINAlwaysStateValue", state.bBypass ? BypassText : NoBypassText);
    return S_OK;
}

HRESULT CPINRecord::WriteItem(const char* pszItem, CSafeArray& value) const
{
    RETURN_IF_FAILED(m_op.Check(m_Tree.SetData(m_sPath, pszItem, value.Get(), 0, 0), "SetData failed"));
    return m_op.Check(value.Destroy(), "ovSafeArrayDestroy failed");
}

HRESULT CPINRecord::WriteText(const char* pszItem, const SecureString& sText) const
{
    CSafeArray text;
    RETURN_IF_FAILED(MakeIdList(m_op, {sText}, &text.Out()));
    return WriteItem(pszItem, text);
}

HRESULT CPINRecord::WriteAlwaysState(bool bAvailable) const
{
    return WriteText(AlwaysStateItem, bAvailable ? AvailableText : UnavailableText);
}

HRESULT CPINRecord::Write(CSafeArray& value, const SRecordState& state, BSTR bstrPINSessionId) const
{
    RETURN_IF_FAILED(WriteItem(ValueItem, value));
    RETURN_IF_FAILED(WriteAlwaysState(state.bAvailable));
    RETURN_IF_FAILED(WriteText(BypassItem, state.bBypass ? BypassText : NoBypassText));
    return WriteText(PINSessionIdItem, bstrPINSessionId == nullptr ? "" : bstrPINSessionId);
}

HRESULT CPINRecord::Remove(const char* pszItem) const
{
    return m_op.Check(m_Tree.RemoveData(m_sPath, pszItem, 0), "RemoveData failed");
}

HRESULT CPINRecord::RemovePIN() const
{
    RETURN_IF_FAILED(Remove(ValueItem));
    RETURN_IF_FAILED(Remove(AlwaysStateItem));
    return Remove(BypassItem);
}

HRESULT CPINRecord::RemovePINSessionId() const
{
    return Remove(PINSessionIdItem);
}
