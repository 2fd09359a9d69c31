// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "tree/DuplicateRegistryTree.h"

#include "tree/ForwardingTree.h"
#include "tree/RegistryTree.h"

using OV::Framework::SecureString;

CDuplicateRegistryTree::CDuplicateRegistryTree(const SecureString& sTreeId)
    : m_pFirstTree(std::make_unique<CRegistryTree>(sTreeId, 0)), m_pSecondTree(std::make_unique<CRegistryTree>(sTreeId, 1)),
      m_sTreeId(sTreeId)
{}

CDuplicateRegistryTree::~CDuplicateRegistryTree() = default;

/// @param call runs the operation as call(tree)
template <class Call> HRESULT CDuplicateRegistryTree::First(const char* pszName, Call call)
{
    return RunOperation(pszName, [&](const COperation&) -> HRESULT { return call(*m_pFirstTree); });
}

/// @param call runs the removal as call(tree, dwProcessId, bUpdateVersions)
template <class Call> HRESULT CDuplicateRegistryTree::RemoveFromBoth(const char* pszName, unsigned long dwClientProcessId, Call call)
{
    return RunOnBoth(
        pszName, [&] { return call(*m_pFirstTree, 0UL, 1); }, [&] { return call(*m_pSecondTree, dwClientProcessId, 0); },
        [](HRESULT hr, HRESULT hr1) { return hr1 == E_INVALIDARG ? hr : hr1; });
}

HRESULT CDuplicateRegistryTree::GetTreeId(SecureString& sTreeId)
{
    return RunOperation("CDuplicateRegistryTree::GetTreeId", [&](const COperation&) -> HRESULT {
        sTreeId = m_sTreeId;
        return S_OK;
    });
}

HRESULT CDuplicateRegistryTree::SetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY* psaValue, unsigned long,
                                        int)
{
    return First("CDuplicateRegistryTree::SetData",
                 [&](CAbstractTree& tree) { return tree.SetData(sCompartmentId, sDataId, psaValue, 0, 0); });
}

HRESULT CDuplicateRegistryTree::GetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY*& psaValue,
                                        unsigned long)
{
    return First("CDuplicateRegistryTree::GetData",
                 [&](CAbstractTree& tree) { return tree.GetData(sCompartmentId, sDataId, psaValue, 0); });
}

HRESULT CDuplicateRegistryTree::RemoveData(const SecureString& sCompartmentId, const SecureString& sDataId, unsigned long dwClientProcessId)
{
    return RemoveFromBoth(
        "CDuplicateRegistryTree::RemoveData", dwClientProcessId,
        [&](CAbstractTree& tree, unsigned long dwProcessId, int) { return tree.RemoveData(sCompartmentId, sDataId, dwProcessId); });
}

HRESULT CDuplicateRegistryTree::CreateCompartment(const SecureString& sCompartmentId, unsigned long dwClientProcessId)
{
    return First("CDuplicateRegistryTree::CreateCompartment",
                 [&](CAbstractTree& tree) { return tree.CreateCompartment(sCompartmentId, dwClientProcessId); });
}

HRESULT CDuplicateRegistryTree::RemoveCompartment(const SecureString& sCompartmentId, int, unsigned long dwClientProcessId)
{
    return RemoveFromBoth("CDuplicateRegistryTree::RemoveCompartment", dwClientProcessId,
                          [&](CAbstractTree& tree, unsigned long dwProcessId, int bUpdateVersions) {
                              return tree.RemoveCompartment(sCompartmentId, bUpdateVersions, dwProcessId);
                          });
}

HRESULT CDuplicateRegistryTree::FlushTree(unsigned long dwClientProcessId)
{
    return RemoveFromBoth("CDuplicateRegistryTree::FlushTree", dwClientProcessId,
                          [&](CAbstractTree& tree, unsigned long dwProcessId, int) { return tree.FlushTree(dwProcessId); });
}

HRESULT CDuplicateRegistryTree::IsDataCached(const SecureString& sCompartmentId, const SecureString& sDataId, int* pbCached, unsigned long)
{
    return First("CDuplicateRegistryTree::IsDataCached",
                 [&](CAbstractTree& tree) { return tree.IsDataCached(sCompartmentId, sDataId, pbCached, 0); });
}

HRESULT CDuplicateRegistryTree::ListDataIds(const SecureString& sCompartmentId, SAFEARRAY** ppsaDataIdList, unsigned long)
{
    return First("CDuplicateRegistryTree::ListDataIds",
                 [&](CAbstractTree& tree) { return tree.ListDataIds(sCompartmentId, ppsaDataIdList, 0); });
}

HRESULT CDuplicateRegistryTree::ListCompartmentIds(const SecureString& sCompartmentId, SAFEARRAY** ppsCompartmentIdList, unsigned long)
{
    return First("CDuplicateRegistryTree::ListCompartmentIds",
                 [&](CAbstractTree& tree) { return tree.ListCompartmentIds(sCompartmentId, ppsCompartmentIdList, 0); });
}

HRESULT CDuplicateRegistryTree::IsCompartmentCached(const SecureString& sCompartmentId, unsigned long* pulCompartmentVersion,
                                                    unsigned long* pulContentVersion, int* pbCached, unsigned long)
{
    return First("CDuplicateRegistryTree::IsCompartmentCached", [&](CAbstractTree& tree) {
        return tree.IsCompartmentCached(sCompartmentId, pulCompartmentVersion, pulContentVersion, pbCached, 0);
    });
}

HRESULT CDuplicateRegistryTree::ListAllCompartmentIds(SAFEARRAY** ppsAllCompartmentIdList)
{
    return First("CDuplicateRegistryTree::ListAllCompartmentIds",
                 [&](CAbstractTree& tree) { return tree.ListAllCompartmentIds(ppsAllCompartmentIdList); });
}
