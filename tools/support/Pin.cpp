// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/Pin.h"

#include "client/StaticAuthStoreRegistration.h"
#include "support/Failure.h"
#include "support/Text.h"

#include <algorithm>
#include <iterator>
#include <string_view>

using namespace OV::AuthStore;

namespace Tool
{

namespace
{

constexpr unsigned long NoClient = 0;

constexpr std::string_view ParameterNames[] = {"IsACRPINAlways", "Action",          "AllProcess",
                                               "AllSession",     "BypassPINAlways", "CheckClientCaller"};

CInternalAuthStore& Engine()
{
    CInternalAuthStore* pEngine = nullptr;
    gStaticAuthStoreRegistration.Find(DefaultAuthStoreId, pEngine);
    return pEngine == nullptr ? throw CFailure(ExitCode::Failed, "the default auth store could not begin; the log tells why") : *pEngine;
}

void Check(HRESULT hr)
{
    if (hr == E_INVALIDARG) {
        throw CFailure(ExitCode::NotFound, "there is no such PIN, or it has expired; 'pin list' shows what there is");
    }
    if (FAILED(hr)) {
        throw StoreFailure(hr, ExitCode::Failed);
    }
}

BstrPtr Identifier(const std::string& sIdentifier)
{
    return sIdentifier.empty() ? throw CFailure(ExitCode::Usage, "an identifier is empty") : MakeBstr(sIdentifier);
}

ArrayPtr ParameterArray(const std::vector<std::string>& parameters)
{
    std::vector<std::string> words;
    for (const std::string& sParameter : parameters) {
        const std::size_t uEqual = sParameter.find('=');
        const std::string sName = sParameter.substr(0, uEqual);
        if (uEqual == std::string::npos || uEqual + 1 == sParameter.size()) {
            throw CFailure(ExitCode::Usage, "'" + Display(sParameter) + "' is no parameter; write Name=Value");
        }
        if (std::find(std::begin(ParameterNames), std::end(ParameterNames), sName) == std::end(ParameterNames)) {
            throw CFailure(ExitCode::Usage, "there is no parameter '" + Display(sName) + "'; the help lists them");
        }
        words.insert(words.end(), {sName, sParameter.substr(uEqual + 1)});
    }
    return words.empty() ? nullptr : MakeStringArray(words);
}

PinAnswer MakeAnswer(int nState, BSTR bstrPINSessionId, SAFEARRAY* psaPIN)
{
    const BstrPtr id(bstrPINSessionId);
    return {static_cast<PINState>(nState), id == nullptr ? "" : id.get(), ArrayPtr(psaPIN)};
}

} // namespace

const char* NameOfPinState(PINState state)
{
    return state == PINStateCached ? "cached" : state == PINStateConfirm ? "confirm" : "not cached";
}

CPin::CPin(const std::string& sCompartment, const std::string& sPin, const std::vector<std::string>& parameters)
    : m_bstrCompartment(Identifier(sCompartment)), m_bstrPin(Identifier(sPin)), m_Parameters(ParameterArray(parameters))
{}

void CPin::Set(const Bytes& pin)
{
    Check(Engine().SetPIN(NoClient, m_bstrCompartment.get(), m_bstrPin.get(), MakeByteArray(View(pin)).get(), m_Parameters.get(), nullptr));
}

PinAnswer CPin::Get()
{
    SAFEARRAY* psaPIN = nullptr;
    BSTR bstrId = nullptr;
    int nState = PINStateNotCached;
    Check(Engine().GetPIN(NoClient, m_bstrCompartment.get(), m_bstrPin.get(), m_Parameters.get(), &psaPIN, &bstrId, &nState));
    return MakeAnswer(nState, bstrId, psaPIN);
}

PinAnswer CPin::Status()
{
    BSTR bstrId = nullptr;
    int nState = PINStateNotCached;
    Check(Engine().IsPINCached(NoClient, m_bstrCompartment.get(), m_bstrPin.get(), m_Parameters.get(), &bstrId, &nState));
    return MakeAnswer(nState, bstrId, nullptr);
}

void CPin::Remove()
{
    Check(Engine().RemovePIN(NoClient, m_bstrCompartment.get(), m_bstrPin.get(), m_Parameters.get()));
}

void CPin::ChangeState(bool bAvailable)
{
    Check(Engine().ChangePINState(NoClient, m_bstrCompartment.get(), m_bstrPin.get(), m_Parameters.get(),
                                  bAvailable ? PINStateCached : PINStateNotCached));
}

std::vector<SPINInfo> CPin::List()
{
    std::vector<SPINInfo> pins;
    Check(Engine().ListPINs(pins));
    return pins;
}

void CPin::Flush()
{
    Check(Engine().FlushStore(NoClient, nullptr));
}

} // namespace Tool
