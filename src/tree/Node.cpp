// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "tree/Node.h"

#include "util/Operation.h"

using OV::Framework::SecureString;

CNode::CNode(const SecureString& sNodeId) : m_sNodeId(sNodeId) {}

CNode::~CNode()
{
    DestroyItems("CNode::~CNode");
}

HRESULT CNode::GetNodeId(SecureString& sNodeId) const
{
    return RunOperation(COperation::Traced("CNode::GetNodeId"), [&](const COperation&) -> HRESULT {
        sNodeId = m_sNodeId;
        return S_OK;
    });
}

HRESULT CNode::AddDataItem(const SecureString& sDataId, SAFEARRAY* psa)
{
    return RunOperation(COperation::Traced("CNode::AddDataItem"), [&](const COperation& op) -> HRESULT {
        const HRESULT hrRemoved = RemoveDataItem(sDataId);
        pvlogLog(LogComponent, LogDetail, "%s RemoveDataItem hr = 0x%x", op.Name(), static_cast<unsigned int>(hrRemoved));

        // The entry comes first, so that nothing can fail once there is a copy to own.
        const auto it = m_cDataItemList.emplace(sDataId, nullptr).first;
        const HRESULT hr = SafeArrayCopy(psa, &it->second);
        if (FAILED(hr)) {
            m_cDataItemList.erase(it);
        }
        return hr;
    });
}

HRESULT CNode::GetDataItem(const SecureString& sDataId, SAFEARRAY*& psa) const
{
    return RunOperation(COperation::Traced("CNode::GetDataItem"), [&](const COperation& op) -> HRESULT {
        const auto it = m_cDataItemList.find(sDataId);
        if (it == m_cDataItemList.end()) {
            op.Detail("sDataId not found");
            return E_INVALIDARG;
        }
        return SafeArrayCopy(it->second, &psa);
    });
}

HRESULT CNode::RemoveDataItem(const SecureString& sDataId)
{
    return RunOperation(COperation::Traced("CNode::RemoveDataItem"), [&](const COperation& op) -> HRESULT {
        const auto it = m_cDataItemList.find(sDataId);
        if (it == m_cDataItemList.end()) {
            op.Detail("sDataId not found");
            return E_INVALIDARG;
        }
        const HRESULT hr = ovSafeArrayDestroy(it->second, 0);
        m_cDataItemList.erase(it);
        return hr;
    });
}

HRESULT CNode::ListDataItems(std::vector<SecureString>& ids) const
{
    return RunOperation(COperation::Traced("CNode::ListDataItems"), [&](const COperation&) -> HRESULT {
        ids.reserve(ids.size() + m_cDataItemList.size());
        for (const auto& item : m_cDataItemList) {
            ids.push_back(item.first);
        }
        return S_OK;
    });
}

void CNode::Empty()
{
    DestroyItems("CNode::Empty");
}

void CNode::DestroyItems(const char* pszName)
{
    for (const auto& item : m_cDataItemList) {
        const HRESULT hr = ovSafeArrayDestroy(item.second, 0);
        pvlogLog(LogComponent, LogDetail, "%s ovSafeArrayDestroy hr = 0x%x", pszName, static_cast<unsigned int>(hr));
    }
    m_cDataItemList.clear();
}
