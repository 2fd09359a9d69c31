// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "tree/DumpTree.h"

#include "tree/ForwardingTree.h"
#include "tree/MemoryTree.h"
#include "tree/RegistryTree.h"
#include "util/ComHandles.h"

using OV::Framework::SecureString;

CDumpTree::CDumpTree(const SecureString& sTreeId)
    : m_pFirstTree(std::make_unique<CMemoryTree>(sTreeId)), m_pSecondTree(std::make_unique<CRegistryTree>(sTreeId, 0)), m_sTreeId(sTreeId)
{}

CDumpTree::~CDumpTree() = default;

/// @param call runs the operation as call(tree)
template <class Call> HRESULT CDumpTree::Both(const char* pszName, Call call)
{
    const auto on = [&](CAbstractTree& tree) { return [&] { return call(tree); }; };
    return RunOnBoth(pszName, on(*m_pFirstTree), on(*m_pSecondTree), [](HRESULT hr, HRESULT) { return hr; });
}

/// As Both, for operations that put out an array: the caller gets one of them, and the other one is destroyed.
/// @param call runs the operation as call(tree, ppsa)
template <class Call> HRESULT CDumpTree::BothArrays(const char* pszName, SAFEARRAY** ppsa, Call call)
{
    CSafeArray first;
    CSafeArray second;
    const auto on = [&](CAbstractTree& tree, CSafeArray& array) {
        return [&] { return call(tree, ppsa == nullptr ? nullptr : &array.Out()); };
    };
    const auto choose = [&](HRESULT hr, HRESULT hr1) {
        if (SUCCEEDED(hr1) && second.Get() != nullptr) {
            first = std::move(second);
        }
        return hr;
    };
    const HRESULT hr = RunOnBoth(pszName, on(*m_pFirstTree, first), on(*m_pSecondTree, second), choose);
    if (first.Get() != nullptr) {
        *ppsa = first.Release();
    }
    return hr;
}

HRESULT CDumpTree::GetTreeId(SecureString& sTreeId)
{
    return RunOperation("CDumpTree::GetTreeId", [&](const COperation&) -> HRESULT {
        sTreeId = m_sTreeId;
        return S_OK;
    });
}

HRESULT CDumpTree::SetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY* psaValue, unsigned long, int)
{
    return Both("CDumpTree::SetData", [&](CAbstractTree& tree) { return tree.SetData(sCompartmentId, sDataId, psaValue, 0, 0); });
}

HRESULT CDumpTree::GetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY*& psaValue, unsigned long)
{
    return BothArrays("CDumpTree::GetData", &psaValue,
                      [&](CAbstractTree& tree, SAFEARRAY** ppsa) { return tree.GetData(sCompartmentId, sDataId, *ppsa, 0); });
}

HRESULT CDumpTree::RemoveData(const SecureString& sCompartmentId, const SecureString& sDataId, unsigned long)
{
    return Both("CDumpTree::RemoveData", [&](CAbstractTree& tree) { return tree.RemoveData(sCompartmentId, sDataId, 0); });
}

HRESULT CDumpTree::CreateCompartment(const SecureString& sCompartmentId, unsigned long dwClientProcessId)
{
    return Both("CDumpTree::CreateCompartment",
                [&](CAbstractTree& tree) { return tree.CreateCompartment(sCompartmentId, dwClientProcessId); });
}

HRESULT CDumpTree::RemoveCompartment(const SecureString& sCompartmentId, int, unsigned long)
{
    return Both("CDumpTree::RemoveCompartment", [&](CAbstractTree& tree) { return tree.RemoveCompartment(sCompartmentId, 1, 0); });
}

HRESULT CDumpTree::FlushTree(unsigned long)
{
    return Both("CDumpTree::FlushTree", [&](CAbstractTree& tree) { return tree.FlushTree(0); });
}

HRESULT CDumpTree::IsDataCached(const SecureString& sCompartmentId, const SecureString& sDataId, int* pbCached, unsigned long)
{
    return Both("CDumpTree::IsDataCached", [&](CAbstractTree& tree) { return tree.IsDataCached(sCompartmentId, sDataId, pbCached, 0); });
}

HRESULT CDumpTree::ListDataIds(const SecureString& sCompartmentId, SAFEARRAY** ppsaDataIdList, unsigned long)
{
    return BothArrays("CDumpTree::ListDataIds", ppsaDataIdList,
                      [&](CAbstractTree& tree, SAFEARRAY** ppsa) { return tree.ListDataIds(sCompartmentId, ppsa, 0); });
}

HRESULT CDumpTree::ListCompartmentIds(const SecureString& sCompartmentId, SAFEARRAY** ppsCompartmentIdList, unsigned long)
{
    return BothArrays("CDumpTree::ListCompartmentIds", ppsCompartmentIdList,
                      [&](CAbstractTree& tree, SAFEARRAY** ppsa) { return tree.ListCompartmentIds(sCompartmentId, ppsa, 0); });
}

HRESULT CDumpTree::IsCompartmentCached(const SecureString& sCompartmentId, unsigned long* pulCompartmentVersion,
                                       unsigned long* pulContentVersion, int* pbCached, unsigned long)
{
    return Both("CDumpTree::IsCompartmentCached", [&](CAbstractTree& tree) {
        return tree.IsCompartmentCached(sCompartmentId, pulCompartmentVersion, pulContentVersion, pbCached, 0);
    });
}

HRESULT CDumpTree::ListAllCompartmentIds(SAFEARRAY** ppsAllCompartmentIdList)
{
    return BothArrays("CDumpTree::ListAllCompartmentIds", ppsAllCompartmentIdList,
                      [&](CAbstractTree& tree, SAFEARRAY** ppsa) { return tree.ListAllCompartmentIds(ppsa); });
}
