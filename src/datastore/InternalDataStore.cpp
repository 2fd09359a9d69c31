// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "datastore/InternalDataStore.h"

#include "tree/HistoryTree.h"
#include "tree/MemoryTree.h"
#include "tree/RegistryTree.h"
#include "util/ComHandles.h"
#include "util/FctUtils.h"
#include "util/Operation.h"

#include <list>

using OV::Framework::SecureString;

namespace
{

void LogCompartment(const COperation& op, unsigned long dwClientProcessId, BSTR bstrCompartmentId)
{
    op.Detail("dwClientProcessId", dwClientProcessId);
    op.Detail("sBSTRCompartmentId", bstrCompartmentId);
}

void LogItem(const COperation& op, unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrDataId)
{
    LogCompartment(op, dwClientProcessId, bstrCompartmentId);
    op.Detail("sBSTRDataId", bstrDataId);
}

void LogValue(const COperation& op, unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrDataId)
{
    pvlogLog(LogComponent, LogDetail, "%s dwClientProcessId = %d sBSTRCompartmentId = %s sBSTRDataId = %s", op.Name(),
             static_cast<int>(dwClientProcessId), bstrCompartmentId == nullptr ? "" : bstrCompartmentId,
             bstrDataId == nullptr ? "" : bstrDataId);
}

HRESULT Convert(const COperation& op, BSTR bstrId, SecureString& sId)
{
    return op.Check(BSTR2wstring(bstrId, sId), "BSTR2wstring failed");
}

HRESULT Convert(const COperation& op, BSTR bstrCompartmentId, SecureString& sCompartmentId, BSTR bstrDataId, SecureString& sDataId)
{
    RETURN_IF_FAILED(Convert(op, bstrCompartmentId, sCompartmentId));
    return Convert(op, bstrDataId, sDataId);
}

/// Where a compartment of a session lives in the tree of a store that is not shared.
SecureString SessionCompartment(const SecureString& sSessionId, const SecureString& sCompartmentId)
{
    return sCompartmentId == RootCompartment ? sSessionId : ChildPath(sSessionId, sCompartmentId);
}

} // namespace

CInternalDataStore::CInternalDataStore() = default;

CInternalDataStore::~CInternalDataStore() = default;

/// Called while nobody else can reach the store: before it is in the directory, and after.
void CInternalDataStore::ReplaceTree(std::unique_ptr<CAbstractTree> tree) SHAREDSTORE_NO_THREAD_SAFETY_ANALYSIS
{
    m_Tree = std::move(tree);
}

HRESULT CInternalDataStore::Begin(BSTR bstrDataStoreId, OV::DataStore::Type type, int bEncrypted, int bSharedBetweenUserSessions,
                                  const SecureString& sProduct)
{
    return RunOperation("CInternalDataStore::Begin", [&](const COperation& op) -> HRESULT {
        if (const int nError = m_Mutex.Init(); nError != 0) {
            pvlogLog(LogComponent, LogError, "%s pthread_mutex_init failed with error code 0x%x", op.Name(),
                     static_cast<unsigned int>(nError));
            return S_OK;
        }
        m_ForkMember.Join(
            this, [](void* pStore) { static_cast<CInternalDataStore*>(pStore)->HoldForFork(); },
            [](void* pStore) { static_cast<CInternalDataStore*>(pStore)->ReleaseAfterFork(); });
        SecureString sDataStoreId;
        RETURN_IF_FAILED(Convert(op, bstrDataStoreId, sDataStoreId));
        m_sDataStoreId = sDataStoreId;
        m_Type = type;
        m_bEncrypted = bEncrypted;
        m_bSharedBetweenUserSessions = bSharedBetweenUserSessions;
        m_sProduct = sProduct;
        ReplaceTree(nullptr);
        m_Availability.Clear();
        if (bEncrypted != 0) {
            RETURN_IF_FAILED(op.Check(m_CommonCrypto.initialize(sDataStoreId, IsPersistent()), "GetPINCachingMode failed"));
        }
        if (type == OV::DataStore::RegistryStore) {
            pvlogLog(LogComponent, LogExit, "VistaOrHigher bRet = %s", "false");
            ReplaceTree(std::make_unique<CRegistryTree>(sDataStoreId, 0));
        } else {
            ReplaceTree(std::make_unique<CMemoryTree>(sDataStoreId));
        }
        return S_OK;
    });
}

HRESULT CInternalDataStore::End()
{
    return RunOperation("CInternalDataStore::End", [&](const COperation&) -> HRESULT {
        m_Availability.Clear();
        ReplaceTree(nullptr);
        return S_OK;
    });
}

HRESULT CInternalDataStore::GetStoreInfo(OV::DataStore::Type& type, int& bEncrypted, int& bSharedBetweenUserSessions,
                                         SecureString& sProduct) const
{
    return RunOperation("CInternalDataStore::GetStoreInfo", [&](const COperation&) -> HRESULT {
        type = m_Type;
        bEncrypted = m_bEncrypted;
        bSharedBetweenUserSessions = m_bSharedBetweenUserSessions;
        sProduct = m_sProduct;
        return S_OK;
    });
}

HRESULT CInternalDataStore::CheckTreeLocked(const COperation& op) const
{
    return m_Tree == nullptr ? op.Fail(E_FAIL, "m_Tree == NULL") : S_OK;
}

HRESULT CInternalDataStore::CheckGuardsLocked(const COperation& op) const
{
    RETURN_IF_FAILED(CheckTreeLocked(op));
    if (m_bSharedBetweenUserSessions == 0) {
        return op.Fail(E_FAIL, "Shared between user sessions is not supported on this product. Please change the store configuration.");
    }
    return S_OK;
}

HRESULT CInternalDataStore::IsCachedLocked(const COperation& op, const SecureString& sCompartmentId, int& bCached) const
{
    unsigned long ulCompartmentVersion = 0;
    unsigned long ulContentVersion = 0;
    return op.Check(m_Tree->IsCompartmentCached(sCompartmentId, &ulCompartmentVersion, &ulContentVersion, &bCached, 0),
                    "IsCompartmentCached failed");
}

/// The path under which the history tree counts a compartment of this store.
SecureString CInternalDataStore::VersionKey(const SecureString& sCompartmentIdGlobal) const
{
    return ChildPath(m_sDataStoreId, sCompartmentIdGlobal);
}

HRESULT CInternalDataStore::Advance(const COperation& op, const SecureString& sCompartmentIdGlobal, int mode) const
{
    return op.Check(UpdateHistoryTree(VersionKey(sCompartmentIdGlobal), mode), "UpdateHistoryTree failed");
}

HRESULT CInternalDataStore::RemoveVersions(const COperation& op, const SecureString& sCompartmentIdGlobal) const
{
    const CMutexLock lock(gHistoryMutex);
    if (gHistoryTree == nullptr) {
        op.Detail("gHistoryTree == NULL");
        return S_OK;
    }
    return op.Check(gHistoryTree->RemoveCompartment(VersionKey(sCompartmentIdGlobal), 1, 0), "RemoveCompartment failed");
}

HRESULT CInternalDataStore::MakeCompartment(const char* pszName, unsigned long dwClientProcessId, BSTR bstrCompartmentId, bool bTouch)
{
    return RunOperation(pszName, [&](const COperation& op) -> HRESULT {
        LogCompartment(op, dwClientProcessId, bstrCompartmentId);
        const CMutexLock lock(m_Mutex);
        SecureString sCompartmentId;
        RETURN_IF_FAILED(Convert(op, bstrCompartmentId, sCompartmentId));
        RETURN_IF_FAILED(CheckGuardsLocked(op));
        int bCached = 0;
        RETURN_IF_FAILED(IsCachedLocked(op, sCompartmentId, bCached));
        if (bCached != 0 && !bTouch) {
            return S_OK;
        }
        if (bCached == 0) {
            RETURN_IF_FAILED(op.Check(m_Tree->CreateCompartment(sCompartmentId, dwClientProcessId), "CreateCompartment failed"));
        }
        return Advance(op, sCompartmentId, HistoryBoth);
    });
}

HRESULT CInternalDataStore::CreateCompartment(unsigned long dwClientProcessId, BSTR bstrCompartmentId)
{
    return MakeCompartment("CInternalDataStore::CreateCompartment", dwClientProcessId, bstrCompartmentId, false);
}

HRESULT CInternalDataStore::TouchCompartment(unsigned long dwClientProcessId, BSTR bstrCompartmentId)
{
    return MakeCompartment("CInternalDataStore::TouchCompartment", dwClientProcessId, bstrCompartmentId, true);
}

HRESULT CInternalDataStore::IsCompartmentCached(unsigned long dwClientProcessId, BSTR bstrCompartmentId,
                                                unsigned long* pulCompartmentVersion, unsigned long* pulContentVersion, int* pbCached)
{
    return RunOperation("CInternalDataStore::IsCompartmentCached", [&](const COperation& op) -> HRESULT {
        LogCompartment(op, dwClientProcessId, bstrCompartmentId);
        const CMutexLock lock(m_Mutex);
        SecureString sCompartmentId;
        RETURN_IF_FAILED(Convert(op, bstrCompartmentId, sCompartmentId));
        if (pbCached != nullptr) {
            *pbCached = 0;
        }
        if (pulCompartmentVersion != nullptr) {
            *pulCompartmentVersion = 0;
        }
        if (pulContentVersion != nullptr) {
            *pulContentVersion = 0;
        }
        RETURN_IF_FAILED(CheckGuardsLocked(op));
        RETURN_IF_FAILED(op.Check(m_Tree->IsCompartmentCached(sCompartmentId, pulCompartmentVersion, pulContentVersion, pbCached, 0),
                                  "IsCompartmentCached failed"));
        pvlogLog(LogComponent, LogDetail, "*pulCompartmentVersion = %d", static_cast<int>(*pulCompartmentVersion));
        pvlogLog(LogComponent, LogDetail, "*pulContentVersion = %d", static_cast<int>(*pulContentVersion));
        pvlogLog(LogComponent, LogDetail, "*pbCached = %x", static_cast<unsigned int>(*pbCached));
        return S_OK;
    });
}

HRESULT CInternalDataStore::List(const char* pszName, TreeList pfnList, unsigned long dwClientProcessId, BSTR bstrCompartmentId,
                                 SAFEARRAY** ppsaIds)
{
    return RunOperation(pszName, [&](const COperation& op) -> HRESULT {
        LogCompartment(op, dwClientProcessId, bstrCompartmentId);
        const CMutexLock lock(m_Mutex);
        SecureString sCompartmentId;
        RETURN_IF_FAILED(Convert(op, bstrCompartmentId, sCompartmentId));
        RETURN_IF_FAILED(CheckGuardsLocked(op));
        const HRESULT hr = ((*m_Tree).*pfnList)(sCompartmentId, ppsaIds, 0);
        if (FAILED(hr)) {
            pvlogLog(LogComponent, LogError, "%s %s failed", op.Name(), op.Method());
        }
        return hr;
    });
}

HRESULT CInternalDataStore::ListCompartmentIds(unsigned long dwClientProcessId, BSTR bstrCompartmentId, SAFEARRAY** ppsaCompartmentIds)
{
    return List("CInternalDataStore::ListCompartmentIds", &CAbstractTree::ListCompartmentIds, dwClientProcessId, bstrCompartmentId,
                ppsaCompartmentIds);
}

HRESULT CInternalDataStore::ListDataIds(unsigned long dwClientProcessId, BSTR bstrCompartmentId, SAFEARRAY** ppsaDataIds)
{
    return List("CInternalDataStore::ListDataIds", &CAbstractTree::ListDataIds, dwClientProcessId, bstrCompartmentId, ppsaDataIds);
}

HRESULT CInternalDataStore::IsDataCached(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrDataId, int* pbCached)
{
    return RunOperation("CInternalDataStore::IsDataCached", [&](const COperation& op) -> HRESULT {
        LogItem(op, dwClientProcessId, bstrCompartmentId, bstrDataId);
        const CMutexLock lock(m_Mutex);
        SecureString sCompartmentId;
        SecureString sDataId;
        RETURN_IF_FAILED(Convert(op, bstrCompartmentId, sCompartmentId, bstrDataId, sDataId));
        if (pbCached != nullptr) {
            *pbCached = 0;
        }
        RETURN_IF_FAILED(CheckGuardsLocked(op));
        RETURN_IF_FAILED(op.Check(m_Tree->IsDataCached(sCompartmentId, sDataId, pbCached, 0), "IsDataCached failed"));
        pvlogLog(LogComponent, LogDetail, "*pbCached = %x", static_cast<unsigned int>(*pbCached));
        return S_OK;
    });
}

/// A store with a persistent key: any that is not a plain store in memory.
bool CInternalDataStore::IsPersistent() const
{
    return m_Type != OV::DataStore::MemoryStore;
}

/// Makes of a value what an encrypted store keeps; of an open store's, nothing.
HRESULT CInternalDataStore::Encrypt(const COperation& op, SAFEARRAY* psaValue, CSafeArray& encrypted)
{
    return m_bEncrypted == 0 ? S_OK
                             : op.Check(m_CommonCrypto.encryptValue(psaValue, encrypted.Out(), IsPersistent()), "EncryptValue failed");
}

/// Makes of what the store keeps a value.
HRESULT CInternalDataStore::Decrypt(const COperation& op, CSafeArray& value)
{
    if (m_bEncrypted == 0) {
        return S_OK;
    }
    CSafeArray plain;
    RETURN_IF_FAILED(op.Check(m_CommonCrypto.DecryptValue(value.Get(), plain.Out(), IsPersistent()), "DecryptValue failed"));
    RETURN_IF_FAILED(op.Check(value.Destroy(), "ovSafeArrayDestroy failed"));
    value = std::move(plain);
    return S_OK;
}

HRESULT CInternalDataStore::StoreLocked(const COperation& op, const SecureString& sCompartmentId, const SecureString& sDataId,
                                        SAFEARRAY* psaStored, unsigned long dwClientProcessId)
{
    RETURN_IF_FAILED(CheckGuardsLocked(op));
    int bCached = 0;
    RETURN_IF_FAILED(IsCachedLocked(op, sCompartmentId, bCached));
    RETURN_IF_FAILED(op.Check(m_Tree->SetData(sCompartmentId, sDataId, psaStored, dwClientProcessId, m_bEncrypted), "SetData failed"));
    return Advance(op, sCompartmentId, bCached != 0 ? HistoryContent : HistoryBoth);
}

HRESULT CInternalDataStore::SetData(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrDataId, SAFEARRAY* psaValue)
{
    return RunOperation("CInternalDataStore::SetData", [&](const COperation& op) -> HRESULT {
        LogValue(op, dwClientProcessId, bstrCompartmentId, bstrDataId);
        const CMutexLock lock(m_Mutex);
        SecureString sCompartmentId;
        SecureString sDataId;
        RETURN_IF_FAILED(Convert(op, bstrCompartmentId, sCompartmentId, bstrDataId, sDataId));
        CSafeArray encrypted;
        RETURN_IF_FAILED(Encrypt(op, psaValue, encrypted));
        SAFEARRAY* psaStored = m_bEncrypted != 0 ? encrypted.Get() : psaValue;
        const HRESULT hr = StoreLocked(op, sCompartmentId, sDataId, psaStored, dwClientProcessId);
        op.CheckWithCode(encrypted.Destroy(), "ovSafeArrayDestroy failed");
        return hr;
    });
}

HRESULT CInternalDataStore::LoadLocked(const COperation& op, const SecureString& sCompartmentId, const SecureString& sDataId,
                                       CSafeArray& value)
{
    RETURN_IF_FAILED(CheckGuardsLocked(op));
    const HRESULT hr = m_Tree->GetData(sCompartmentId, sDataId, value.Out(), 0);
    if (hr == E_INVALIDARG) {
        op.Detail("GetData : data not found");
        return hr;
    }
    RETURN_IF_FAILED(op.Check(hr, "GetData failed"));
    return Decrypt(op, value);
}

HRESULT CInternalDataStore::GetData(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrDataId, SAFEARRAY** ppsaValue)
{
    return RunOperation("CInternalDataStore::GetData", [&](const COperation& op) -> HRESULT {
        LogValue(op, dwClientProcessId, bstrCompartmentId, bstrDataId);
        const CMutexLock lock(m_Mutex);
        SecureString sCompartmentId;
        SecureString sDataId;
        RETURN_IF_FAILED(Convert(op, bstrCompartmentId, sCompartmentId, bstrDataId, sDataId));
        CSafeArray value;
        const HRESULT hr = LoadLocked(op, sCompartmentId, sDataId, value);
        if (SUCCEEDED(hr) && ppsaValue != nullptr) {
            *ppsaValue = value.Release(); // the tree's copy is ours alone
        }
        op.CheckWithCode(value.Destroy(), "ovSafeArrayDestroy failed");
        return hr;
    });
}

HRESULT CInternalDataStore::RemoveData(unsigned long dwClientProcessId, BSTR bstrCompartmentId, BSTR bstrDataId)
{
    return RunOperation("CInternalDataStore::RemoveData", [&](const COperation& op) -> HRESULT {
        LogItem(op, dwClientProcessId, bstrCompartmentId, bstrDataId);
        const CMutexLock lock(m_Mutex);
        SecureString sCompartmentId;
        SecureString sDataId;
        RETURN_IF_FAILED(Convert(op, bstrCompartmentId, sCompartmentId, bstrDataId, sDataId));
        RETURN_IF_FAILED(CheckGuardsLocked(op));
        RETURN_IF_FAILED(op.Check(m_Tree->RemoveData(sCompartmentId, sDataId, dwClientProcessId), "RemoveData failed"));
        return Advance(op, sCompartmentId, HistoryContent);
    });
}

HRESULT CInternalDataStore::RemoveCompartment(unsigned long dwClientProcessId, BSTR bstrCompartmentId, int bRemoveVersions)
{
    return RunOperation("CInternalDataStore::RemoveCompartment", [&](const COperation& op) -> HRESULT {
        LogCompartment(op, dwClientProcessId, bstrCompartmentId);
        op.Detail("bRemoveVersions", bRemoveVersions);
        const CMutexLock lock(m_Mutex);
        SecureString sCompartmentId;
        RETURN_IF_FAILED(Convert(op, bstrCompartmentId, sCompartmentId));
        RETURN_IF_FAILED(CheckTreeLocked(op));
        if (m_bSharedBetweenUserSessions != 0) {
            return op.Check(RemoveOneCompartmentLocked(dwClientProcessId, sCompartmentId, bRemoveVersions), "RemoveOneCompartment failed");
        }
        std::list<SecureString> sessionIds;
        RETURN_IF_FAILED(op.Check(m_Tree->GetSessionIdList(sessionIds), "GetSessionIdList failed"));
        for (const SecureString& sSessionId : sessionIds) {
            const SecureString sTarget = SessionCompartment(sSessionId, sCompartmentId);
            RETURN_IF_FAILED(
                op.Check(RemoveOneCompartmentLocked(dwClientProcessId, sTarget, bRemoveVersions), "RemoveOneCompartment failed"));
        }
        return S_OK;
    });
}

HRESULT CInternalDataStore::RemoveOneCompartmentLocked(unsigned long dwClientProcessId, const SecureString& sCompartmentIdGlobal,
                                                       int bRemoveVersions)
{
    CAbstractTree& tree = *m_Tree; // the caller's lock is not seen inside the work
    return RunOperation("CInternalDataStore::RemoveOneCompartment", [&](const COperation& op) -> HRESULT {
        pvlogLog(LogComponent, LogDetail, "%s dwClientProcessId = %x sCompartmentIdGlobal = %s bRemoveVersions = %d", op.Name(),
                 static_cast<unsigned int>(dwClientProcessId), sCompartmentIdGlobal.c_str(), bRemoveVersions);
        RETURN_IF_FAILED(op.Check(tree.RemoveCompartment(sCompartmentIdGlobal, 1, dwClientProcessId), "RemoveCompartment failed"));
        return bRemoveVersions != 0 ? RemoveVersions(op, sCompartmentIdGlobal) : Advance(op, sCompartmentIdGlobal, HistoryBoth);
    });
}
