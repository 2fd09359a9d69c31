// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "client/StaticDataStoreRegistration.h"

#include "client/StaticDataCacheClient.h"
#include "client/StoreList.h"
#include "datastore/InternalDataStore.h"
#include "tree/HistoryAccess.h"
#include "util/Operation.h"

OV::DataStore::StaticDataStoreRegistration gStaticDataStoreRegistration;

namespace OV::DataStore
{

/// A configuration that can't be read, or a store that can't be registered, takes nothing else with it.
StaticDataStoreRegistration::StaticDataStoreRegistration() noexcept
{
    RunOperation("StaticDataStoreRegistration::StaticDataStoreRegistration", [](const COperation&) -> HRESULT {
        CreateHistoryTree();
        std::list<_regInfos> regInfos;
        GetRegInfos(regInfos);
        for (const _regInfos& info : regInfos) {
            CStaticDataCacheClient::RegisterDataStore(info.bstrDataStoreId, info.type, info.bEncrypted, info.bSharedBetweenUserSessions,
                                                      info.bstrProduct);
        }
        ClearRegInfos(regInfos);
        return S_OK;
    });
}

StaticDataStoreRegistration::~StaticDataStoreRegistration()
{
    EndAll();
}

} // namespace OV::DataStore
