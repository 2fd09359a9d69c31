// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "authstore/InternalAuthStore.h"
#include "store/Fakes.h"
#include "store/Store.h"

#include <map>
#include <sstream>
#include <thread>

/// A value of the administrator's policy, while it lives.
struct SPolicy
{
    SPolicy(const char* psz, unsigned int u, unsigned long ulType = REG_DWORD) : pszName(psz)
    {
        Configure(Key, psz, ulType, {reinterpret_cast<const char*>(&u), sizeof u});
    }
    ~SPolicy() { EXPECT_EQ(ovRegDeleteValue("HKEY_LOCAL_MACHINE", Key, pszName, 0), ERROR_SUCCESS); }
    const char* const pszName;
    static constexpr const char* Key = "Software\\Policies\\Orvane\\SharedStore\\Authentication";
};

/// What an operation takes and gives out.
struct SCall
{
    unsigned long p;              ///< the process
    CText id, text, by;           ///< the PIN, the argument; not null: a PIN session identifier that tells the session...
    ArrayPointer session, params; ///< ... and the bytes of it
    ArrayPointer pin = Bytes(TextOf(text));
    CText c = "C";
    int n = std::atoi(text);
    SAFEARRAY *v = params.get(), *psa = nullptr, *psaSession = nullptr;
    BSTR bstr = nullptr;
    int st = 7; ///< no state
    std::vector<SPINInfo> pins{};
};
using AuthOperations = std::map<std::string, HRESULT (*)(CInternalAuthStore& s, SCall& a)>;

// clang-format off
inline const AuthOperations EngineOperations = {
    {"set", [](auto& s, auto& a) { return a.by == nullptr ? s.SetPIN(a.p, a.c, a.id, a.pin.get(), a.v, &a.bstr)
                                                          : s.SetPINFromPINSessionId(a.p, a.c, a.id, a.by, a.pin.get(), a.v); }},
    {"get", [](auto& s, auto& a) { return a.by == nullptr ? s.GetPIN(a.p, a.c, a.id, a.v, &a.psa, &a.bstr, &a.st)
                                                          : s.GetPINFromPINSessionId(a.p, a.c, a.id, a.by, a.v, &a.psa, &a.st); }},
    {"query", [](auto& s, auto& a) { return a.by == nullptr ? s.IsPINCached(a.p, a.c, a.id, a.v, &a.bstr, &a.st)
                                                            : s.IsPINCachedFromPINSessionId(a.p, a.c, a.id, a.by, a.v, &a.st); }},
    {"change", [](auto& s, auto& a) { return a.by == nullptr ? s.ChangePINState(a.p, a.c, a.id, a.v, a.n)
                                                             : s.ChangePINStateFromPINSessionId(a.p, a.c, a.id, a.by, a.v, a.n); }},
    {"remove", [](auto& s, auto& a) { return a.by == nullptr ? s.RemovePIN(a.p, a.c, a.id, a.v)
                                                             : s.RemovePINFromPINSessionId(a.p, a.c, a.id, a.by, a.v); }},
    {"expire", [](auto& s, auto& a) { return s.RemoveExpiredPINFromPINSessionId(a.p, a.c, a.id, a.by); }},
    {"card", [](auto& s, auto& a) { return s.RemoveCompartment(a.p, a.text, a.v); }},
    {"session", [](auto& s, auto& a) { return s.FlushStoreFromSessionId(static_cast<unsigned long>(a.n)); }},
    {"move", [](auto& s, auto& a) { return s.MoveStore(static_cast<unsigned long>(a.n / 10), static_cast<unsigned long>(a.n % 10)); }},
    {"records", [](auto& s, auto& a) { return s.FlushStore(a.p); }}, {"flush", [](auto& s, auto& a) { return s.FlushStore(a.p, a.v); }},
    {"list", [](auto& s, auto& a) { return s.ListPINs(a.pins); }}, {"end", [](auto& s, auto&) { return s.End(); }},
};
// clang-format on

/// A caller of a store of his own. A copy is another caller of the same store, which ends with the last one.
class CCaller
{
public:
    explicit CCaller(int bIgnoreSession = 0, int nType = 0, int bEncrypt = 1, const AuthOperations& operations = EngineOperations)
        : m_Operations(operations)
    {
        EXPECT_EQ(m_pStore->Begin(CText("Auth"), static_cast<OV::AuthStore::AuthType>(nType), bEncrypt, bIgnoreSession), S_OK);
    }
    CInternalAuthStore* operator->() const { return m_pStore.get(); }

    /// Runs operations, written as "set 1234, get @21 IsACRPINAlways=Yes, remove %Q". They are about the PIN "P" or
    /// what follows %, of compartment "C", for process 11 or what follows @, or by the PIN session identifier that the
    /// last set gave (#last) or by any other text (#text). Names with "=" are additional parameters, with or without a value.
    /// @param pFault what fails while an operation runs, and not between them
    /// @return the answers: "ok", "none" (E_INVALIDARG), "fail" (E_FAIL), another code; a state and a PIN; paths
    std::string Play(const std::string& sScript, CFault* pFault = nullptr)
    {
        const std::size_t uComma = std::min(sScript.find(','), sScript.size());
        const std::string sAnswer = PlayOne(sScript.substr(0, uComma), pFault);
        return uComma == sScript.size() ? sAnswer : sAnswer + ", " + Play(sScript.substr(uComma + 1), pFault);
    }

    /// Waits until the store's records are these.
    bool ComesTo(const std::string& sPaths, int nTries = 5000)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return Play("list") == sPaths || (nTries > 0 && ComesTo(sPaths, nTries - 1));
    }

private:
    std::string PlayOne(const std::string& sOperation, CFault* pFault)
    {
        std::string sVerb;
        std::map<char, std::string> words{{'@', "11"}, {'%', "P"}, {'#', "none"}};
        Strings texts;
        std::istringstream stream(sOperation);
        stream >> sVerb;
        for (std::string s; stream >> s;) {
            if (const std::size_t uEqual = s.find('='); uEqual == std::string::npos) {
                const bool bPrefix = words.count(s[0]) != 0;
                words[bPrefix ? s[0] : ' '] = s.substr(bPrefix ? 1 : 0);
            } else {
                texts.insert(texts.end(), {s.substr(0, uEqual), s.substr(uEqual + 1)});
                texts.resize(texts.size() - (texts.back().empty() ? 1 : 0));
            }
        }
        const std::string sBy = words['#'] == "last" ? m_sLastId : words['#'];
        SCall a{std::stoul(words['@']), CText(words['%']), CText(words[' ']), CText(sBy == "none" ? nullptr : sBy.c_str()), Bytes(sBy),
                TextArray(texts)};
        CFault::s_pNow = pFault;
        const HRESULT hr = m_Operations.at(sVerb)(*m_pStore, a);
        CFault::s_pNow = nullptr;
        const ArrayPointer pin(a.psa), session(a.psaSession);
        const StringPointer id(session == nullptr ? a.bstr : MakeString(BytesOf(session)).release());
        if (FAILED(hr)) {
            const bool bSaid = &m_Operations != &EngineOperations && hr == E_FAIL; // a client that couldn't hand out all
            EXPECT_TRUE(bSaid || ((a.st == 7 || a.st == 0) && pin == nullptr && id == nullptr)) << sOperation;
            return hr == E_INVALIDARG ? "none" : hr == E_FAIL ? "fail" : std::to_string(hr);
        }
        m_sLastId = id != nullptr && sVerb == "set" ? TextOf(id.get()) : m_sLastId;
        std::string sAnswer = (a.st == 7 ? "" : std::to_string(a.st)) + (pin == nullptr ? "" : " " + BytesOf(pin));
        for (const SPINInfo& info : a.pins) {
            EXPECT_GE(info.lSecondsLeft, 0) << "it would never expire: " << info.sCompartmentIdGlobal;
            sAnswer += (sAnswer.empty() ? "" : " ") + std::string(info.sCompartmentIdGlobal);
        }
        return !sAnswer.empty() ? sAnswer : sVerb == "list" ? "empty" : "ok";
    }

    const AuthOperations& m_Operations;
    std::shared_ptr<CInternalAuthStore> m_pStore{new CInternalAuthStore, [](auto* p) { delete (p->End(), p); }};
    std::string m_sLastId; ///< the PIN session identifier that the last set gave
};

/// A test with a caller and sessions of ten processes each.
struct SAuthTest : testing::Test
{
    CSessions sessions;
    CCaller caller;
};
