// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "authstore/AdditionalParameters.h"
#include "authstore/AuthType.h"

#include <optional>

/// @file
/// The rules for keys that demand their PIN on every use ("PIN Always"), as tables.
///
/// A record's PIN Always state is a permission for one use: available or not.

/// The state of a record as it is read from the store.
struct SRecordState
{
    bool bAvailable = false; ///< the next use of such a key may take the cached PIN
    bool bBypass = false;    ///< such keys may always take it
};

/// Who asks whether a PIN may be used.
enum class EUse : int {
    Query, ///< IsPINCached
    Fetch, ///< GetPIN
};

/// @return the state to store with a PIN
bool IsAvailableAfterStore(const SAdditionalParameters& params, bool bWasAvailable);

/// @return what the caller may do with the PIN; nothing when the policy decides
std::optional<OV::AuthStore::PINState> Decide(EUse use, const SAdditionalParameters& params, const SRecordState& state);

/// @return the state that a fetch leaves behind: a permission is used up
bool IsAvailableAfterFetch(const SAdditionalParameters& params, bool bWasAvailable);
