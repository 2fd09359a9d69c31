// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "authstore/InternalAuthStore.h"
#include "support/Com.h"

#include <string>
#include <vector>

namespace Tool
{

/// What an operation tells of a PIN.
struct PinAnswer
{
    OV::AuthStore::PINState state = OV::AuthStore::PINStateNotCached;
    std::string sPINSessionId;
    ArrayPtr pin; ///< null unless it was asked for
};

const char* NameOfPinState(OV::AuthStore::PINState state); ///< "cached", "confirm" or "not cached"

/// One PIN of the default auth store of this process, with texts for strings and CFailure for codes:
/// ExitCode::NotFound when there is no such PIN.
///
/// It asks the store's engine: CStaticAuthCacheClient would not tell the result of an operation with
/// additional parameters.
class CPin
{
public:
    /// @param parameters additional parameters as "Name=Value"; throws CFailure (ExitCode::Usage) for other texts and
    ///        unknown names
    CPin(const std::string& sCompartment, const std::string& sPin, const std::vector<std::string>& parameters);

    void Set(const Bytes& pin);
    PinAnswer Get();
    PinAnswer Status();
    void Remove();
    void ChangeState(bool bAvailable);

    static std::vector<SPINInfo> List();
    static void Flush();

private:
    BstrPtr m_bstrCompartment;
    BstrPtr m_bstrPin;
    ArrayPtr m_Parameters;
};

} // namespace Tool
