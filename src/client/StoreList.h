// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "datastore/Type.h"
#include "platform/Api.h"
#include "platform/ComEmulation.h"

#include <list>

/// One configured data store. Owns its strings; ClearRegInfos frees them.
struct _regInfos // NOLINT(bugprone-reserved-identifier): an established name
{
    BSTR bstrDataStoreId;           ///< name of the store's sub-key
    OV::DataStore::Type type;       ///< "Type": RegistryStore for 1, else MemoryStore
    int bEncrypted;                 ///< "Encrypted": 1 for 1, else 0
    int bSharedBetweenUserSessions; ///< "SharedBetweenUserSessions": 1 for 1, else 0
    BSTR bstrProduct;               ///< "Product", or "Pavendo" when there is none
};

/// Reads the store list from the registry: one record for each sub-key of
/// "HKEY_LOCAL_MACHINE" "Software\Orvane\SharedStore\StoreList", in listing order.
/// @param regInfos emptied first, its records freed; the caller frees its records with ClearRegInfos
/// @return S_OK; E_FAIL when the list can't be read, also when it does not exist: the records read
///         before the failure stay in the list; E_OUTOFMEMORY
/// Thread safety: any thread, for lists of its own.
SHAREDSTORE_API HRESULT GetRegInfos(std::list<_regInfos>& regInfos);

/// Frees the strings of all records and empties the list.
SHAREDSTORE_API void ClearRegInfos(std::list<_regInfos>& regInfos);
