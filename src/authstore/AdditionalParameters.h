// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/SecAllocator.h"

/// What a caller adds to an operation, as text. The table in GetAdditionalParameters has the names and defaults.
struct SAdditionalParameters
{
    using SecureString = OV::Framework::SecureString;

    SecureString sIsACRPINAlways;    ///< "Yes": the key needs its PIN on every use
    SecureString sAction;            ///< why a PIN is stored or read: "None", "Authenticate", "ChangeAuthenticator"
    SecureString sAllProcess;        ///< "True": remove the records of all processes of the session
    SecureString sAllSession;        ///< "True": remove the records of all sessions
    SecureString sCheckClientCaller; ///< nothing depends on it
    SecureString sBypassPINAlways;   ///< "True": the PIN counts as cached even for a key that needs it on every use
};
