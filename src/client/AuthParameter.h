// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"
#include "platform/ComEmulation.h"

namespace OV::AuthStore
{

/// What a caller adds to a PIN operation. Names and values are compared byte for byte; unknown names are
/// passed over:
///
/// | name                | values (the first is the default)             | meaning                                        |
/// |---------------------|-----------------------------------------------|------------------------------------------------|
/// | "IsACRPINAlways"    | "No", "Yes"                                   | the key needs its PIN on every use             |
/// | "Action"            | "None", "Authenticate", "ChangeAuthenticator" | why the PIN is stored or read                  |
/// | "AllProcess"        | "False", "True"                               | remove the PINs of all processes               |
/// | "AllSession"        | "False", "True"                               | remove the PINs of all sessions                |
/// | "BypassPINAlways"   | "False", "True"                               | such keys may always use the PIN being stored  |
/// | "CheckClientCaller" | "Yes", anything                               | accepted, without effect                       |
struct AuthParameter
{
    BSTR bstrName;  ///< one of the table
    BSTR bstrValue; ///< may not be empty
};

} // namespace OV::AuthStore

/// Makes a VT_BSTR vector of parameters: name, value, name, value... Keeps no argument. Any thread.
/// @param pParams ulCount parameters
/// @param psa receives the new vector, which the caller frees with ovSafeArrayDestroy; partly filled after
///        a failed copy
/// @return S_OK; E_FAIL for null and for a count of 0; the code of a failed copy, also when there is no vector
SHAREDSTORE_API HRESULT GetSafeArrayFromParameterStruct(OV::AuthStore::AuthParameter* pParams, unsigned long ulCount, SAFEARRAY*& psa);
