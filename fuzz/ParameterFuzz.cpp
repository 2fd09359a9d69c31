// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// The additional parameters of PIN operations, as arrays of any kind: the input is a script of operations on one PIN
// that two sessions cache, and after each of them its code, what it put out and what is left must be as told here.
//
// A line is an operation of EngineOperations, an element type, bounds and elements; a line without operation queries:
//
//     set 8 2 Action Authenticate     two strings; a session is 1, that of "set2" is 2
//     get 8 1@5x2 a ~                 two dimensions; the first one's index begins at 5; ~ is a null string, '' an empty one
//     card 17! 3 abc                  bytes; ! locks the array
//     remove -                        no array
//
// It needs a registry without policies, as scripts/fuzz.sh gives it.

#include "Fuzz.h"
#include "auth/Auth.h"
#include "client/AuthParameter.h"
#include "support/Values.h"

#include <cstdint>
#include <set>

namespace
{

using Meaning = std::map<std::string, std::string>;

constexpr const char* Names[] = {"IsACRPINAlways", "Action", "AllProcess", "AllSession", "CheckClientCaller", "BypassPINAlways"};

ArrayPointer ReadArray(std::istringstream& line)
{
    constexpr unsigned int MaxElements = 32; // of a dimension
    std::string sType, sBounds, sText;
    line >> sType >> sBounds;
    std::vector<SAFEARRAYBOUND> bounds;
    std::istringstream dimensions(sBounds);
    for (std::string s; bounds.size() < 3 && std::getline(dimensions, s, 'x');) {
        const int nFirst = s.find('@') == s.npos ? 0 : static_cast<int>(std::strtol(&s[s.find('@') + 1], nullptr, 10));
        bounds.push_back({static_cast<unsigned int>(std::strtoul(s.c_str(), nullptr, 10)) % MaxElements, nFirst});
    }
    const auto vt = static_cast<VARTYPE>(std::strtoul(sType.c_str(), nullptr, 10));
    ArrayPointer pArray(SafeArrayCreate(vt, static_cast<unsigned int>(bounds.size()), bounds.data()));
    const std::size_t uElements = pArray == nullptr ? 0 : CountElements(pArray);
    for (std::size_t i = 0; i < uElements && line >> sText; ++i) {
        if (vt == VT_BSTR) {
            static_cast<BSTR*>(pArray->pvData)[i] = sText == "~" ? nullptr : MakeString(sText == "''" ? "" : sText).release();
        } else {
            sText.copy(static_cast<char*>(pArray->pvData), uElements * pArray->cbElements);
        }
    }
    if (void* pData = nullptr; sType.ends_with('!')) {
        SafeArrayAccessData(pArray.get(), &pData);
    }
    return pArray;
}

bool HoldsStrings(const ArrayPointer& pArray)
{
    VARTYPE vt = VT_EMPTY;
    SafeArrayGetVartype(pArray.get(), &vt);
    return vt == VT_BSTR;
}

/// What parameters mean, and whether they can be read.
HRESULT Understand(const ArrayPointer& pArray, Meaning& meaning)
{
    if (!HoldsStrings(pArray)) {
        return S_OK;
    }
    const auto [uElements, nFirst] = pArray->rgsabound[0];
    std::string sName;
    for (long lIndex = 0; pArray->cDims == 1 && lIndex < uElements + uElements % 2; ++lIndex) { // the last value may be missing
        if (lIndex < nFirst || lIndex - nFirst >= uElements) {
            return DISP_E_BADINDEX;
        }
        const std::string_view sText = TextOf(StringAt(pArray, static_cast<int>(lIndex - nFirst)));
        if (sText.empty()) {
            return E_INVALIDARG;
        }
        const std::string sRead(sText.substr(0, sText.find('\0')));
        if (const auto it = meaning.find(sName); lIndex % 2 == 1 && it != meaning.end()) {
            it->second = sRead;
        }
        sName = sRead;
    }
    return pArray->cDims == 1 ? S_OK : E_INVALIDARG;
}

void RequireMeaning(const CInternalAuthStore& store, const ArrayPointer& pArray, HRESULT hrRead, const Meaning& meaning)
{
    SecureString s[std::size(Names)];
    Require(store.GetAdditionalParameters(pArray.get(), s[0], s[1], s[2], s[3], s[4], s[5]) == hrRead);
    for (std::size_t i = 0; i < std::size(Names); ++i) {
        Require(FAILED(hrRead) || meaning.at(Names[i]) == s[i].c_str());
    }
}

/// An array that is made of parameters holds them in turn.
void RequireArrayOfParameters(const ArrayPointer& pArray)
{
    const bool bStrings = HoldsStrings(pArray) && pArray->cDims == 1;
    std::vector<OV::AuthStore::AuthParameter> params(bStrings ? pArray->rgsabound[0].cElements / 2 : 0);
    for (std::size_t i = 0; i < params.size(); ++i) {
        params[i] = {StringAt(pArray, static_cast<int>(2 * i)), StringAt(pArray, static_cast<int>(2 * i + 1))};
    }
    SAFEARRAY* psa = nullptr;
    Require(GetSafeArrayFromParameterStruct(params.data(), params.size(), psa) == (params.empty() ? E_FAIL : S_OK));
    const ArrayPointer pMade(psa);
    for (int i = 0; i < 2 * static_cast<int>(params.size()); ++i) {
        Require(TextOf(StringAt(pMade, i)) == TextOf(StringAt(pArray, i)));
    }
}

/// Runs an operation for a session, and keeps the set of sessions that have the PIN.
void Run(CInternalAuthStore& store, std::set<unsigned long>& cached, const std::string& s, unsigned long ulSession,
         const ArrayPointer& pArray)
{
    Meaning meaning{{Names[0], "No"}, {Names[1], "None"}, {Names[2], "False"}, {Names[3], "False"}, {Names[4], "Yes"}, {Names[5], "False"}};
    const HRESULT hrRead = Understand(pArray, meaning);
    RequireMeaning(store, pArray, hrRead, meaning);
    const bool bAll = s == "flush" || (s == "remove" && meaning["AllSession"] == "True");
    const bool bServed = s == "set" || s == "flush" || cached.count(ulSession) != 0 || (bAll && !cached.empty());
    const bool bRecordFirst = s == "get" || s == "query" || s == "change"; // before the parameters, which a change doesn't read
    const HRESULT hrServed = s == "change" ? S_OK : hrRead;
    const HRESULT hrExpected = bServed ? hrServed : bRecordFirst || SUCCEEDED(hrRead) ? E_INVALIDARG : hrRead;

    SCall call{10 * ulSession, "P", s == "card" ? "C" : "1", nullptr, nullptr, nullptr};
    call.v = pArray.get();
    const HRESULT hr = EngineOperations.at(s)(store, call);
    const ArrayPointer pPIN(call.psa);
    const StringPointer id(call.bstr);
    Require(hr == hrExpected || (s == "card" && hr == S_OK && SUCCEEDED(hrRead))); // its compartment may be there without PINs
    Require(FAILED(hr) ? pPIN == nullptr && id == nullptr : BytesOf(pPIN) == (s == "get" ? "1" : "no array"));
    if (SUCCEEDED(hr) && (bAll || s == "remove" || s == "card")) {
        bAll ? cached.clear() : void(cached.erase(ulSession));
    } else if (SUCCEEDED(hr) && s == "set") {
        cached.insert(ulSession);
    }
    for (const unsigned long ul : {1UL, 2UL}) { // the store serves on
        const HRESULT hrQuery = store.IsPINCached(10 * ul, call.c, call.id, nullptr, nullptr, &call.st);
        Require(hrQuery == (cached.count(ul) != 0 ? S_OK : E_INVALIDARG));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize)
{
    const CSessions sessions;
    CInternalAuthStore store;
    std::set<unsigned long> cached;
    Require(store.Begin(CText("Fuzz"), OV::AuthStore::AuthTypeMemory, 1, 0) == S_OK);
    std::istringstream script(std::string(reinterpret_cast<const char*>(pData), uSize));
    for (std::string sLine, sOperation; std::getline(script, sLine);) {
        std::istringstream line(sLine);
        line >> sOperation;
        const bool bSecond = !sOperation.empty() && sOperation.back() == '2';
        sOperation.resize(sOperation.size() - (bSecond ? 1 : 0));
        const bool bKnown = std::set<std::string>{"set", "get", "change", "remove", "card", "flush"}.count(sOperation) != 0;
        ArrayPointer pArray = ReadArray(line);
        const unsigned int uLocks = pArray == nullptr ? 0 : pArray->cLocks;
        const std::string sBefore = Describe(pArray);
        RequireArrayOfParameters(pArray);
        Run(store, cached, bKnown ? sOperation : "query", bSecond ? 2 : 1, pArray);
        Require(Describe(pArray) == sBefore && (uLocks == 0 || SafeArrayUnaccessData(pArray.get()) == S_OK));
        Require(ovSafeArrayDestroy(pArray.release(), 0) == S_OK); // it fails for an array that was left locked
    }
    store.End();
    return 0;
}
