// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "authstore/InternalAuthStore.h"
#include "authstore/PINAlways.h"
#include "util/ComHandles.h"

/// The record that an operation works on.
struct CInternalAuthStore::SFoundRecord
{
    SecureString sSessionId; ///< empty when the store ignores sessions
    SecureString sPath;
    CBstr PINSessionId;
    CSafeArray Value; ///< the PIN as the tree keeps it
    SRecordState State;
};
