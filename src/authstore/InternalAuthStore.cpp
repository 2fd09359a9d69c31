// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// A PIN store's life.

#include "authstore/InternalAuthStore.h"

#include "authstore/StoreLock.h"
#include "tree/MemoryTree.h"
#include "tree/RegistryTree.h"
#include "util/FctUtils.h"
#include "util/Operation.h"

using namespace OV::AuthStore;
using OV::Framework::SecureString;

CInternalAuthStore::CInternalAuthStore() = default;

CInternalAuthStore::~CInternalAuthStore() = default;

HRESULT CInternalAuthStore::Begin(BSTR bstrStoreId, AuthType enType, int bEncryptPIN, int bIgnoreSession)
{
    return RunOperation("CInternalAuthStore::Begin", [&](const COperation& op) -> HRESULT {
        if (const int nError = m_Mutex.Init(); nError != 0) {
            pvlogLog(LogComponent, LogError, "%s pthread_mutex_init failed with error code 0x%x", op.Name(),
                     static_cast<unsigned int>(nError));
            return S_OK;
        }
        m_ForkMember.Join(
            this, [](void* pStore) { static_cast<CInternalAuthStore*>(pStore)->HoldForFork(); },
            [](void* pStore) { static_cast<CInternalAuthStore*>(pStore)->ReleaseAfterFork(); });
        m_AuthType = enType;
        m_bEncryptPIN = bEncryptPIN;
        m_bIgnoreSession = bIgnoreSession;
        SecureString sStoreId;
        RETURN_IF_FAILED(op.Check(BSTR2wstring(bstrStoreId, sStoreId), "BSTR2wstring failed"));
        if (bEncryptPIN != 0) {
            RETURN_IF_FAILED(op.Check(m_Crypto.initialize(sStoreId, enType != AuthTypeMemory), "GetPINCachingMode failed"));
        }
        const CStoreLock lock(*this);
        if (enType == AuthTypeRegistry) {
            m_Tree = std::make_unique<CRegistryTree>(sStoreId, 0);
        } else {
            m_Tree = std::make_unique<CMemoryTree>(sStoreId);
        }
        m_PinCachingMode = PinCachingPerSession;
        RETURN_IF_FAILED(op.Check(GetPINCachingMode(m_PinCachingMode), "GetPINCachingMode failed"));
        DropAllTimers(op);
        m_PINSessionIds.clear();
        m_Availability.Clear();
        return S_OK;
    });
}

HRESULT CInternalAuthStore::End()
{
    return RunOperation("CInternalAuthStore::End", [&](const COperation& op) -> HRESULT {
        // A callback that waits for the mutex finds nothing afterwards, and giving it back waits for it.
        const CStoreLock lock(*this);
        DropAllTimers(op);
        m_PINSessionIds.clear();
        m_Availability.Clear();
        m_Tree = nullptr;
        return S_OK;
    });
}

HRESULT CInternalAuthStore::GetStoreInfo(AuthType& enType, int& bEncryptPIN, int& bIgnoreSession) const
{
    return RunOperation("CInternalAuthStore::GetStoreInfo", [&](const COperation&) -> HRESULT {
        enType = m_AuthType;
        bEncryptPIN = m_bEncryptPIN;
        bIgnoreSession = m_bIgnoreSession;
        return S_OK;
    });
}

HRESULT CInternalAuthStore::CheckTree(const COperation& op) const
{
    return m_Tree == nullptr ? op.Fail(E_FAIL, "m_Tree == NULL") : S_OK;
}

void CInternalAuthStore::HoldForFork()
{
    m_Mutex.Lock();
    m_Availability.HoldForFork();
}

void CInternalAuthStore::ReleaseAfterFork()
{
    m_Availability.ReleaseAfterFork();
    m_Mutex.Unlock();
}
