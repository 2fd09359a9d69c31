// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "client/StaticDataCacheClient.h"

#include "client/StaticDataStoreRegistration.h"
#include "client/StoreOperations.h"
#include "datastore/InternalDataStore.h"
#include "util/FctUtils.h"
#include "util/Operation.h"

using OV::Framework::SecureString;

namespace OV::DataStore
{

namespace
{

/// This interface serves the whole process, not one of its clients.
constexpr unsigned long NoClient = 0;

HRESULT FindStore(const COperation& op, BSTR bstrDataStoreId, CInternalDataStore*& pStore)
{
    SecureString sDataStoreId;
    RETURN_IF_FAILED(op.Check(BSTR2wstring(bstrDataStoreId, sDataStoreId), "BSTR2wstring failed"));
    if (!gStaticDataStoreRegistration.Find(sDataStoreId, pStore)) {
        return op.Fail(E_FAIL, "Didn't find IDataStore with this id");
    }
    return pStore == nullptr ? op.Fail(E_FAIL, "pInternalDataStore is NULL") : S_OK;
}

/// Finds the store and passes the call on to it.
template <class Call> HRESULT Forward(const char* pszName, BSTR bstrDataStoreId, const Call& call)
{
    return RunOperation(pszName, [&](const COperation& op) -> HRESULT {
        CInternalDataStore* pStore = nullptr;
        RETURN_IF_FAILED(FindStore(op, bstrDataStoreId, pStore));
        const HRESULT hr = call(*pStore);
        if (FAILED(hr)) {
            pvlogLog(LogComponent, LogError, "%s: %s failed hr = %x", op.Name(), op.Method(), static_cast<unsigned int>(hr));
        }
        return hr;
    });
}

} // namespace

CStaticDataCacheClient::CStaticDataCacheClient()
{
    pvlogLog(LogComponent, LogEntry, "CStaticDataCacheClient::CStaticDataCacheClient");
    pvlogLog(LogComponent, LogExit, "CStaticDataCacheClient::CStaticDataCacheClient");
}

CStaticDataCacheClient::~CStaticDataCacheClient()
{
    pvlogLog(LogComponent, LogEntry, "CStaticDataCacheClient::~CStaticDataCacheClient");
    pvlogLog(LogComponent, LogExit, "CStaticDataCacheClient::~CStaticDataCacheClient");
}

HRESULT CStaticDataCacheClient::RegisterDataStore(BSTR bstrDataStoreId, Type type, int bEncrypted, int bSharedBetweenUserSessions,
                                                  BSTR bstrProduct)
{
    return RunOperation("CStaticDataCacheClient::RegisterDataStore", [&](const COperation& op) -> HRESULT {
        SecureString sProduct;
        if (const HRESULT hr = BSTR2wstring(bstrProduct, sProduct); FAILED(hr)) {
            op.Detail("BSTR2wstring failed");
            return hr;
        }
        SecureString sDataStoreId;
        RETURN_IF_FAILED(op.Check(BSTR2wstring(bstrDataStoreId, sDataStoreId), "BSTR2wstring failed"));
        return RegisterStore(op, gStaticDataStoreRegistration, sDataStoreId, [&](CInternalDataStore& store) {
            return store.Begin(bstrDataStoreId, type, bEncrypted, bSharedBetweenUserSessions, sProduct);
        });
    });
}

HRESULT CStaticDataCacheClient::ListDataStoreIds(SAFEARRAY** ppsaDataStoreIds)
{
    return ListStoreIds("CStaticDataCacheClient::ListDataStoreIds", gStaticDataStoreRegistration, ppsaDataStoreIds);
}

HRESULT CStaticDataCacheClient::GetDataStoreInfo(BSTR bstrDataStoreId, Type* pType, int* pbEncrypted, int* pbSharedBetweenUserSessions,
                                                 BSTR* pbstrProduct)
{
    return RunOperation("CStaticDataCacheClient::GetDataStoreInfo", [&](const COperation& op) -> HRESULT {
        CInternalDataStore* pStore = nullptr;
        RETURN_IF_FAILED(FindStore(op, bstrDataStoreId, pStore));
        Type type = MemoryStore;
        int bEncrypted = 0;
        int bSharedBetweenUserSessions = 0;
        SecureString sProduct;
        const HRESULT hr = pStore->GetStoreInfo(type, bEncrypted, bSharedBetweenUserSessions, sProduct);
        if (FAILED(hr)) {
            pvlogLog(LogComponent, LogError, "%s: GetDataStoreInfo failed hr = %x", op.Name(), static_cast<unsigned int>(hr));
            return hr;
        }
        if (pType != nullptr) {
            *pType = type;
        }
        if (pbEncrypted != nullptr) {
            *pbEncrypted = bEncrypted;
        }
        if (pbSharedBetweenUserSessions != nullptr) {
            *pbSharedBetweenUserSessions = bSharedBetweenUserSessions;
        }
        if (pbstrProduct != nullptr) {
            *pbstrProduct = SysAllocString(sProduct.c_str());
        }
        return hr;
    });
}

HRESULT CStaticDataCacheClient::FlushDataStores(BSTR bstrProduct)
{
    return RunOperation("CStaticDataCacheClient::FlushDataStores", [&](const COperation& op) -> HRESULT {
        SecureString sProduct;
        HRESULT hr = BSTR2wstring(bstrProduct, sProduct);
        if (FAILED(hr)) {
            op.Detail("BSTR2wstring failed");
            return hr;
        }
        for (CInternalDataStore* pStore : gStaticDataStoreRegistration.Stores()) {
            if (pStore == nullptr) {
                continue;
            }
            Type type = MemoryStore;
            int bEncrypted = 0;
            int bSharedBetweenUserSessions = 0;
            SecureString sStoreProduct;
            hr = op.CheckWithCode(pStore->GetStoreInfo(type, bEncrypted, bSharedBetweenUserSessions, sStoreProduct), "GetStoreInfo failed");
            if (FAILED(hr)) {
                continue;
            }
            if (sStoreProduct != sProduct) {
                pvlogLog(LogComponent, LogDetail, "%s sProduct = %s <> sProduct1 = %s", op.Name(), sProduct.c_str(), sStoreProduct.c_str());
                continue;
            }
            hr = pStore->FlushStore(NoClient);
            if (FAILED(hr)) {
                pvlogLog(LogComponent, LogError, "%s FlushStore failed lRet = 0x%x, hr = 0x%x", op.Name(), 0U,
                         static_cast<unsigned int>(hr));
            }
        }
        return hr;
    });
}

HRESULT CStaticDataCacheClient::FlushStore(BSTR bstrDataStoreId)
{
    return Forward("CStaticDataCacheClient::FlushStore", bstrDataStoreId,
                   [](CInternalDataStore& store) { return store.FlushStore(NoClient); });
}

HRESULT CStaticDataCacheClient::CreateCompartment(BSTR bstrDataStoreId, BSTR bstrCompartmentId)
{
    return Forward("CStaticDataCacheClient::CreateCompartment", bstrDataStoreId,
                   [&](CInternalDataStore& store) { return store.CreateCompartment(NoClient, bstrCompartmentId); });
}

HRESULT CStaticDataCacheClient::TouchCompartment(BSTR bstrDataStoreId, BSTR bstrCompartmentId)
{
    return Forward("CStaticDataCacheClient::TouchCompartment", bstrDataStoreId,
                   [&](CInternalDataStore& store) { return store.TouchCompartment(NoClient, bstrCompartmentId); });
}

HRESULT CStaticDataCacheClient::RemoveCompartment(BSTR bstrDataStoreId, BSTR bstrCompartmentId, int bRemoveVersions)
{
    return Forward("CStaticDataCacheClient::RemoveCompartment", bstrDataStoreId,
                   [&](CInternalDataStore& store) { return store.RemoveCompartment(NoClient, bstrCompartmentId, bRemoveVersions); });
}

HRESULT CStaticDataCacheClient::IsCompartmentCached(BSTR bstrDataStoreId, BSTR bstrCompartmentId, unsigned long* pulCompartmentVersion,
                                                    unsigned long* pulContentVersion, int* pbCached)
{
    return Forward("CStaticDataCacheClient::IsCompartmentCached", bstrDataStoreId, [&](CInternalDataStore& store) {
        return store.IsCompartmentCached(NoClient, bstrCompartmentId, pulCompartmentVersion, pulContentVersion, pbCached);
    });
}

HRESULT CStaticDataCacheClient::ListCompartmentIds(BSTR bstrDataStoreId, BSTR bstrCompartmentId, SAFEARRAY** ppsaCompartmentIds)
{
    return Forward("CStaticDataCacheClient::ListCompartmentIds", bstrDataStoreId,
                   [&](CInternalDataStore& store) { return store.ListCompartmentIds(NoClient, bstrCompartmentId, ppsaCompartmentIds); });
}

HRESULT CStaticDataCacheClient::SetData(BSTR bstrDataStoreId, BSTR bstrCompartmentId, BSTR bstrDataId, SAFEARRAY* psaValue)
{
    return Forward("CStaticDataCacheClient::SetData", bstrDataStoreId,
                   [&](CInternalDataStore& store) { return store.SetData(NoClient, bstrCompartmentId, bstrDataId, psaValue); });
}

HRESULT CStaticDataCacheClient::GetData(BSTR bstrDataStoreId, BSTR bstrCompartmentId, BSTR bstrDataId, SAFEARRAY** ppsaValue)
{
    return Forward("CStaticDataCacheClient::GetData", bstrDataStoreId,
                   [&](CInternalDataStore& store) { return store.GetData(NoClient, bstrCompartmentId, bstrDataId, ppsaValue); });
}

HRESULT CStaticDataCacheClient::RemoveData(BSTR bstrDataStoreId, BSTR bstrCompartmentId, BSTR bstrDataId)
{
    return Forward("CStaticDataCacheClient::RemoveData", bstrDataStoreId,
                   [&](CInternalDataStore& store) { return store.RemoveData(NoClient, bstrCompartmentId, bstrDataId); });
}

HRESULT CStaticDataCacheClient::IsDataCached(BSTR bstrDataStoreId, BSTR bstrCompartmentId, BSTR bstrDataId, int* pbCached)
{
    return Forward("CStaticDataCacheClient::IsDataCached", bstrDataStoreId,
                   [&](CInternalDataStore& store) { return store.IsDataCached(NoClient, bstrCompartmentId, bstrDataId, pbCached); });
}

HRESULT CStaticDataCacheClient::ListDataIds(BSTR bstrDataStoreId, BSTR bstrCompartmentId, SAFEARRAY** ppsaDataIds)
{
    return Forward("CStaticDataCacheClient::ListDataIds", bstrDataStoreId,
                   [&](CInternalDataStore& store) { return store.ListDataIds(NoClient, bstrCompartmentId, ppsaDataIds); });
}

} // namespace OV::DataStore
