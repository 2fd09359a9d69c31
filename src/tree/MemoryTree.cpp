// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "tree/MemoryTree.h"

#include "tree/HistoryAccess.h"
#include "util/IdList.h"
#include "util/Operation.h"

#include <algorithm>
#include <iterator>

using OV::Framework::SecureString;

namespace
{

/// Follows the separator in byte order: what lies below "a" is the range from "a/" to "a0".
constexpr char AfterSeparator = PathSeparator + 1;

void LogItem(const COperation& op, const SecureString& sCompartmentId, const SecureString& sDataId)
{
    pvlogLog(LogComponent, LogDetail, "%s sCompartmentId = %s sDataId = %s", op.Name(), sCompartmentId.c_str(), sDataId.c_str());
}

} // namespace

CMemoryTree::CMemoryTree(const SecureString& sTreeId) : m_sTreeId(sTreeId) {}

CMemoryTree::~CMemoryTree() = default;

HRESULT CMemoryTree::GetTreeId(SecureString& sTreeId)
{
    return RunOperation("CMemoryTree::GetTreeId", [&](const COperation&) -> HRESULT {
        sTreeId = m_sTreeId;
        return S_OK;
    });
}

CNode* CMemoryTree::FindNode(const SecureString& sCompartmentId) const
{
    const auto it = m_cFullPathNodeList.find(sCompartmentId);
    return it == m_cFullPathNodeList.end() ? nullptr : &it->second;
}

/// Makes a compartment whose parent exists, or takes back its forgotten node.
CNode* CMemoryTree::AddNode(const SecureString& sPath)
{
    if (auto forgotten = m_cForgottenNodes.extract(sPath); !forgotten.empty()) {
        return &m_cFullPathNodeList.insert(std::move(forgotten)).position->second;
    }
    // The whole path is the name when there is no separator.
    return &m_cFullPathNodeList.try_emplace(sPath, sPath.substr(sPath.rfind(PathSeparator) + 1)).first->second;
}

/// Makes what is missing of a path, ancestors first, so that a failure leaves no compartment without
/// its ancestors.
CNode* CMemoryTree::MakeNode(const SecureString& sCompartmentId)
{
    CNode* pNode = FindNode(sCompartmentId);
    std::vector<std::size_t> missing; // lengths of the paths to make, back to an ancestor that exists
    for (std::size_t uLength = sCompartmentId.size(); pNode == nullptr;) {
        missing.push_back(uLength);
        const std::size_t uSeparator = uLength == 0 ? SecureString::npos : sCompartmentId.rfind(PathSeparator, uLength - 1);
        if (uSeparator == SecureString::npos) {
            break;
        }
        uLength = uSeparator;
        pNode = FindNode(sCompartmentId.substr(0, uLength));
    }
    for (auto it = missing.rbegin(); it != missing.rend(); ++it) {
        pNode = AddNode(sCompartmentId.substr(0, *it));
    }
    return pNode;
}

HRESULT CMemoryTree::SetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY* psaValue, unsigned long, int)
{
    return RunOperation("CMemoryTree::SetData", [&](const COperation& op) -> HRESULT {
        LogItem(op, sCompartmentId, sDataId);
        return MakeNode(sCompartmentId)->AddDataItem(sDataId, psaValue);
    });
}

HRESULT CMemoryTree::GetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY*& psaValue, unsigned long)
{
    return RunOperation("CMemoryTree::GetData", [&](const COperation& op) -> HRESULT {
        LogItem(op, sCompartmentId, sDataId);
        const CNode* pNode = FindNode(sCompartmentId);
        if (pNode == nullptr) {
            pvlogLog(LogComponent, LogExit, "%s sCompartmentId not found", op.Name());
            return E_INVALIDARG;
        }
        return pNode->GetDataItem(sDataId, psaValue);
    });
}

HRESULT CMemoryTree::RemoveData(const SecureString& sCompartmentId, const SecureString& sDataId, unsigned long)
{
    return RunOperation("CMemoryTree::RemoveData", [&](const COperation& op) -> HRESULT {
        LogItem(op, sCompartmentId, sDataId);
        CNode* pNode = FindNode(sCompartmentId);
        if (pNode == nullptr) {
            pvlogLog(LogComponent, LogExit, "%s sCompartmentId not found", op.Name());
            return E_INVALIDARG;
        }
        return pNode->RemoveDataItem(sDataId);
    });
}

HRESULT CMemoryTree::CreateCompartment(const SecureString& sCompartmentId, unsigned long)
{
    return RunOperation("CMemoryTree::CreateCompartment", [&](const COperation& op) -> HRESULT {
        op.Detail("sCompartmentId", sCompartmentId.c_str());
        MakeNode(sCompartmentId);
        return S_OK;
    });
}

/// Moves a range of compartments to the forgotten ones, emptied. It does not throw, so a removal is whole.
void CMemoryTree::Forget(NodeMap::iterator first, NodeMap::iterator last)
{
    while (first != last) {
        first->second.Empty();
        m_cForgottenNodes.insert(m_cFullPathNodeList.extract(first++));
    }
}

HRESULT CMemoryTree::RemoveCompartment(const SecureString& sCompartmentId, int, unsigned long)
{
    return RunOperation("CMemoryTree::RemoveCompartment", [&](const COperation& op) -> HRESULT {
        op.Detail("sCompartmentId", sCompartmentId.c_str());
        if (m_cFullPathNodeList.empty()) {
            return op.Fail(E_INVALIDARG, "m_cFullPathNodeList.size() == 0");
        }
        // The history tree has no root of its own: a path of it begins with the identifier of a store.
        const bool bHistory = this == gHistoryTree;
        const bool bWholeTree = sCompartmentId == RootCompartment && !bHistory;
        const auto first = bWholeTree ? m_cFullPathNodeList.begin() : m_cFullPathNodeList.lower_bound(sCompartmentId + PathSeparator);
        const auto last = bWholeTree ? m_cFullPathNodeList.end() : m_cFullPathNodeList.lower_bound(sCompartmentId + AfterSeparator);
        std::vector<SecureString> versionPaths; // of the descendants, before anything changes
        if (!bHistory) {
            std::transform(first, last, std::back_inserter(versionPaths),
                           [this](const auto& entry) { return m_sTreeId + PathSeparator + entry.first; });
        }

        Forget(first, last);
        if (const auto itself = m_cFullPathNodeList.find(sCompartmentId); itself != m_cFullPathNodeList.end()) {
            Forget(itself, std::next(itself));
        }
        HRESULT hr = S_OK;
        for (const SecureString& sPath : versionPaths) {
            op.CheckWithCode(UpdateVersion(sPath, 0), "UpdateVersion failed");
            hr = op.CheckWithCode(UpdateVersion(sPath, 1), "UpdateVersion failed");
        }
        return hr;
    });
}

HRESULT CMemoryTree::FlushTree(unsigned long)
{
    return RunOperation("CMemoryTree::FlushTree", [&](const COperation&) -> HRESULT {
        Forget(m_cFullPathNodeList.begin(), m_cFullPathNodeList.end());
        return S_OK;
    });
}

HRESULT CMemoryTree::IsDataCached(const SecureString& sCompartmentId, const SecureString& sDataId, int* pbCached, unsigned long)
{
    return RunOperation("CMemoryTree::IsDataCached", [&](const COperation& op) -> HRESULT {
        LogItem(op, sCompartmentId, sDataId);
        if (pbCached == nullptr) {
            return op.Fail(E_FAIL, "pbCached == NULL");
        }
        const CNode* pNode = FindNode(sCompartmentId);
        *pbCached = pNode != nullptr && pNode->HasDataItem(sDataId) ? 1 : 0;
        return S_OK;
    });
}

HRESULT CMemoryTree::ListDataIds(const SecureString& sCompartmentId, SAFEARRAY** ppsaDataIdList, unsigned long)
{
    return RunOperation("CMemoryTree::ListDataIds", [&](const COperation& op) -> HRESULT {
        op.Detail("sCompartmentId", sCompartmentId.c_str());
        if (ppsaDataIdList == nullptr) {
            return op.Fail(E_FAIL, "ppsaDataIdList == NULL");
        }
        const CNode* pNode = FindNode(sCompartmentId);
        if (pNode == nullptr) {
            return op.Fail(E_FAIL, "no data ids found");
        }
        std::vector<SecureString> ids;
        RETURN_IF_FAILED(pNode->ListDataItems(ids));
        return MakeIdList(op, ids, ppsaDataIdList);
    });
}

/// The names of the compartments directly below one, each found by seeking past everything below the
/// one before it.
std::vector<SecureString> CMemoryTree::ChildNames(const SecureString& sParent) const
{
    const SecureString sPrefix = sParent == RootCompartment ? SecureString() : sParent + PathSeparator;
    std::vector<SecureString> names;
    auto it = m_cFullPathNodeList.lower_bound(sPrefix);
    while (it != m_cFullPathNodeList.end() && it->first.compare(0, sPrefix.size(), sPrefix) == 0) {
        const SecureString& sPath = it->first;
        const std::size_t uEnd = sPath.find(PathSeparator, sPrefix.size());
        if (uEnd == SecureString::npos) {
            names.push_back(sPath.substr(sPrefix.size()));
            ++it;
        } else {
            it = m_cFullPathNodeList.lower_bound(sPath.substr(0, uEnd) + AfterSeparator);
        }
    }
    return names;
}

HRESULT CMemoryTree::ListCompartmentIds(const SecureString& sCompartmentId, SAFEARRAY** ppsCompartmentIdList, unsigned long)
{
    return RunOperation("CMemoryTree::ListCompartmentIds", [&](const COperation& op) -> HRESULT {
        op.Detail("sCompartmentId", sCompartmentId.c_str());
        if (ppsCompartmentIdList == nullptr) {
            return op.Fail(E_FAIL, "ppsCompartmentIdList == NULL");
        }
        const std::vector<SecureString> names = ChildNames(sCompartmentId);
        op.Detail("ulNbCompartmentFound", names.size());
        return names.empty() ? S_OK : MakeIdList(op, names, ppsCompartmentIdList);
    });
}

HRESULT CMemoryTree::ReadVersions(const SecureString& sCompartmentId, unsigned long& ulCompartmentVersion,
                                  unsigned long& ulContentVersion) const
{
    if (this == gHistoryTree) {
        gHistoryMutex.AssertHeld();
        return GetVersionLocked(sCompartmentId, &ulCompartmentVersion, &ulContentVersion);
    }
    return GetVersion(VersionPath(m_sTreeId, sCompartmentId), &ulCompartmentVersion, &ulContentVersion);
}

HRESULT CMemoryTree::IsCompartmentCached(const SecureString& sCompartmentId, unsigned long* pulCompartmentVersion,
                                         unsigned long* pulContentVersion, int* pbCached, unsigned long)
{
    return RunOperation("CMemoryTree::IsCompartmentCached", [&](const COperation& op) -> HRESULT {
        op.Detail("sCompartmentId", sCompartmentId.c_str());
        if (pbCached == nullptr) {
            return op.Fail(E_FAIL, "pbCached == NULL");
        }
        if (pulCompartmentVersion == nullptr) {
            return op.Fail(E_FAIL, "pulCompartmentVersion == NULL");
        }
        if (pulContentVersion == nullptr) {
            return op.Fail(E_FAIL, "pulContentVersion == NULL");
        }
        unsigned long ulCompartmentVersion = 0;
        unsigned long ulContentVersion = 0;
        RETURN_IF_FAILED(CheckVersions(op, ReadVersions(sCompartmentId, ulCompartmentVersion, ulContentVersion), "GetVersion failed"));
        *pbCached = FindNode(sCompartmentId) != nullptr ? 1 : 0;
        *pulCompartmentVersion = ulCompartmentVersion;
        *pulContentVersion = ulContentVersion;
        return S_OK;
    });
}

HRESULT CMemoryTree::ListAllCompartmentIds(SAFEARRAY** ppsAllCompartmentIdList)
{
    return RunOperation("CMemoryTree::ListAllCompartmentIds", [&](const COperation& op) -> HRESULT {
        if (ppsAllCompartmentIdList == nullptr) {
            return op.Fail(E_FAIL, "ppsAllCompartmentIdList == NULL");
        }
        std::vector<SecureString> paths;
        std::vector<CNode*> nodes;
        RETURN_IF_FAILED(op.Check(ListNodes(paths, nodes), "ListNodes failed"));
        return MakeIdList(op, paths, ppsAllCompartmentIdList);
    });
}

HRESULT CMemoryTree::ListNodes(std::vector<SecureString>& paths, std::vector<CNode*>& nodes) const
{
    return RunOperation("CMemoryTree::ListNodes", [&](const COperation&) -> HRESULT {
        for (auto& entry : m_cFullPathNodeList) {
            paths.push_back(entry.first);
            nodes.push_back(&entry.second);
        }
        return S_OK;
    });
}
