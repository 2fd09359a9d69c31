// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "client/StaticAuthStoreRegistration.h"

#include "authstore/InternalAuthStore.h"
#include "client/StaticAuthCacheClient.h"
#include "tree/HistoryAccess.h"
#include "util/ComHandles.h"
#include "util/Operation.h"

OV::AuthStore::StaticAuthStoreRegistration gStaticAuthStoreRegistration;

namespace OV::AuthStore
{

/// A default store that can't be registered leaves the directory without it.
StaticAuthStoreRegistration::StaticAuthStoreRegistration() noexcept
{
    RunOperation("StaticAuthStoreRegistration::StaticAuthStoreRegistration", [](const COperation&) -> HRESULT {
        CreateHistoryTree(); // the stores' trees use it until they are deleted
        CStaticAuthCacheClient::RegisterAuthStore(CBstr(SysAllocString(DefaultAuthStoreId)).Get(), AuthTypeMemory, 1, 1);
        return S_OK;
    });
}

StaticAuthStoreRegistration::~StaticAuthStoreRegistration()
{
    pvlogLog(LogComponent, LogEntry, "StaticAuthStoreRegistration::~StaticAuthStoreRegistration");
    EndAll();
}

} // namespace OV::AuthStore
