// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "client/StoreDirectory.h"
#include "platform/Api.h"

class CInternalDataStore;

namespace OV::DataStore
{

/// The directory of all data stores of the process.
///
/// One object, gStaticDataStoreRegistration, is made when the library is loaded: it makes the history
/// tree and registers the stores of the configuration. It is destroyed when the library is unloaded,
/// which ends all stores.
///
/// A forked child keeps the stores as they were: no thread of the parent is in the middle of one.
///
/// Thread safety: as CStoreDirectory.
class SHAREDSTORE_API StaticDataStoreRegistration : public CStoreDirectory<CInternalDataStore>
{
public:
    StaticDataStoreRegistration() noexcept;
    virtual ~StaticDataStoreRegistration();
};

} // namespace OV::DataStore

/// The one directory of the process.
extern SHAREDSTORE_API OV::DataStore::StaticDataStoreRegistration gStaticDataStoreRegistration;
