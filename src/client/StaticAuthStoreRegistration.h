// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "client/StoreDirectory.h"
#include "platform/Api.h"

class CInternalAuthStore;

namespace OV::AuthStore
{

/// The identifier of the store that all PIN operations of CStaticAuthCacheClient go to.
inline constexpr const char* DefaultAuthStoreId = "{AEA79AF9-BECB-490a-BCCB-CD0806BA970D}";

/// The directory of all auth stores of the process.
///
/// One object, gStaticAuthStoreRegistration, is made when the library is loaded, and registers the
/// default store: in memory, encrypted, without sessions. It is destroyed when the library is unloaded,
/// which ends all stores and with them all timers.
///
/// A forked child keeps the stores and their PINs as they were, each PIN with the time that was left to it.
///
/// Thread safety: as CStoreDirectory.
class SHAREDSTORE_API StaticAuthStoreRegistration : public CStoreDirectory<CInternalAuthStore>
{
public:
    StaticAuthStoreRegistration() noexcept;
    virtual ~StaticAuthStoreRegistration();
};

} // namespace OV::AuthStore

/// The one directory of the process.
extern SHAREDSTORE_API OV::AuthStore::StaticAuthStoreRegistration gStaticAuthStoreRegistration;
