// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Random operations of several processes on PIN caches, which must answer as a plain model does.

#include "store/Model.h"
#include "Auth.h"
#include "framework/TimerSupport.h"
#include "support/Random.h"

#include <algorithm>
#include <set>

namespace
{

constexpr long Timeout = 15; ///< minutes, where no policy tells others

/// An operation, as a caller plays it and as the model takes it.
struct SStep
{
    std::string Script() const
    {
        std::string sScript = sVerb + " " + sText + " @" + std::to_string(ulProcess) + " %" + sPIN + (sBy.empty() ? "" : " #" + sBy);
        for (const auto& [sName, sValue] : params) {
            sScript += " " + sName + "=" + sValue;
        }
        return sScript;
    }
    std::string Told(const char* pszName, const char* pszDefault) const
    {
        return params.contains(pszName) ? params.at(pszName) : pszDefault;
    }

    std::string sVerb, sText;
    unsigned long ulProcess; ///< ten to a session
    std::string sPIN, sBy;   ///< by: empty for the process, else a PIN session identifier
    std::map<std::string, std::string> params{};
};

/// The rules of a PIN cache. Answers are those of CCaller::Play.
struct SPINModel
{
    std::string Play(const SStep& step)
    {
        const bool bRemove = step.sVerb == "remove" && step.sBy.empty();
        const bool bAllProcess = bRemove && bPerProcess && step.Told("AllProcess", "False") == "True";
        if (step.sVerb == "flush" || step.sVerb == "records") {
            return tree.Compartments.clear(), "ok";
        }
        if (step.sVerb == "session" || step.sVerb == "move") {
            return step.sVerb == "session" ? RemoveAll(step.sText) : Move(step.sText.substr(0, 1), step.sText.substr(1));
        }
        if (bRemove && !bAllProcess && step.Told("AllSession", "False") == "True") {
            std::set<std::string> paths;
            for (const auto& entry : sessions) {
                paths.insert(Path(step, entry.second));
            }
            paths = bIgnoreSession ? std::set{Path(step, "")} : paths;
            return std::ranges::count_if(paths, [&](const auto& sPath) { return Remove(sPath) == "ok"; }) != 0 ? "ok" : "none";
        }
        if (!bIgnoreSession && step.sBy.empty() && step.ulProcess == 0) {
            return "fail";
        }
        const std::string sKnown = sessions.contains(Id(step)) ? sessions.at(Id(step)) : "";
        const std::string sSession = step.sBy.empty() ? std::to_string(step.ulProcess / 10) : sKnown;
        if (step.sVerb == "card" || bAllProcess) {
            return RemoveAll((bIgnoreSession ? "" : sSession + "/") + (bRemove ? "C/" + step.sPIN : step.sText));
        }
        return step.sVerb == "set" ? Set(step, sSession) : Use(step, Path(step, sSession));
    }

    void Pass(long nMinutes)
    {
        nNow += nMinutes;
        for (auto& [sPath, items] : std::map(tree.Compartments)) {
            if (!items.empty() && std::stol(items.at("used")) + Timeout <= nNow) {
                Remove(sPath);
            }
        }
    }

    std::string List() const
    {
        std::string sPaths;
        for (const auto& [sPath, items] : tree.Compartments) {
            sPaths += items.empty() ? "" : (sPaths.empty() ? "" : " ") + sPath;
        }
        return sPaths.empty() ? "empty" : sPaths;
    }

    std::string Id(const SStep& step) const { return step.sBy == "x" ? "x" : std::to_string(nLast); }
    bool Holds(const std::string& sPath) const { return tree.Compartments.contains(sPath) && !tree.Compartments.at(sPath).empty(); }
    std::string Path(const SStep& step, const std::string& sSession) const
    {
        return (bIgnoreSession ? "" : sSession + "/") + "C/" + step.sPIN + (bPerProcess ? "/" + std::to_string(step.ulProcess) : "");
    }

    std::string Set(const SStep& step, const std::string& sSession)
    {
        SModelTree::Items& record = tree.Create(Path(step, sSession));
        const std::string sAction = step.Told("Action", "None");
        const bool bAvailable = sAction == "Authenticate" || (sAction == "ChangeAuthenticator" && record["state"] == "available");
        if (step.sBy.empty()) {
            sessions[std::to_string(++nLast)] = sSession;
        }
        record = {{"value", step.sText}, {"state", bAvailable ? "available" : "no"}, {"id", Id(step)}, {"used", std::to_string(nNow)}};
        record["bypass"] = step.Told("BypassPINAlways", "False");
        return "ok";
    }

    std::string Use(const SStep& step, const std::string& sPath)
    {
        if (!Holds(sPath) || step.sVerb == "remove" || step.sVerb == "expire") {
            return Remove(sPath);
        }
        SModelTree::Items& record = tree.Compartments[sPath];
        record["used"] = std::to_string(nNow);
        if (step.sVerb == "change") {
            return record["state"] = step.sText == "1" ? "available" : "no", "ok";
        }
        const bool bGet = step.sVerb == "get";
        const std::string sKey = step.Told("IsACRPINAlways", "No");
        const std::string sAction = step.Told("Action", "None");
        std::string sAnswer = sKey == "No" || (sKey == "yes" && bGet) ? "1" : "0";
        if (sKey == "Yes") {
            sAnswer = record["state"] == "available" || record["bypass"] == "True" ? "1" : bConfirm ? "2" : "0";
        }
        if (bGet && sKey != "yes" && sAction != "Authenticate" && sAction != "ChangeAuthenticator") {
            record["state"] = "no";
        }
        return sAnswer + (bGet ? " " + record["value"] : "");
    }

    /// The PIN session identifier goes with the record, but not when a whole compartment goes.
    std::string Remove(const std::string& sPath)
    {
        if (!Holds(sPath)) {
            return "none";
        }
        sessions.erase(tree.Compartments[sPath]["id"]);
        return RemoveAll(sPath);
    }

    std::string RemoveAll(const std::string& sPath)
    {
        const HRESULT hr = tree.Found(sPath);
        return tree.Remove(sPath), hr == S_OK ? "ok" : "none";
    }

    std::string Move(const std::string& sFrom, const std::string& sTo)
    {
        for (auto& entry : sessions) {
            entry.second = entry.second == sFrom ? sTo : entry.second;
        }
        for (auto& [sPath, items] : tree.Compartments) {
            if (sFrom != sTo && !items.empty() && SModelTree::IsBelow(sPath, sFrom)) {
                items["used"] = std::to_string(nNow);
            }
        }
        const HRESULT hr = sFrom == sTo ? S_OK : tree.Found(sFrom);
        return (sFrom == sTo ? Strings() : tree.Move(sFrom, sTo)), hr == S_OK ? "ok" : "none";
    }

    bool bIgnoreSession, bPerProcess, bConfirm; ///< the store's setting, and the administrator's policies
    SModelTree tree{};
    std::map<std::string, std::string> sessions{}; ///< by PIN session identifier: the number of its record
    int nLast = 0;
    long nNow = 0; ///< minutes
};

const std::pair<const std::string, std::string> Parameters[] = {
    // clang-format off
    {"IsACRPINAlways", "Yes"}, {"IsACRPINAlways", "Yes"}, {"IsACRPINAlways", "Yes"}, {"IsACRPINAlways", "No"}, {"IsACRPINAlways", "yes"},
    {"Action", "None"}, {"Action", "Other"}, {"Action", "Authenticate"}, {"Action", "Authenticate"}, {"Action", "ChangeAuthenticator"},
    {"BypassPINAlways", "True"}, {"BypassPINAlways", "true"}, {"CheckClientCaller", "No"},
    {"AllProcess", "True"}, {"AllProcess", "true"}, {"AllSession", "True"}, {"AllSession", "true"},
    // clang-format on
};
constexpr const char* Verbs[] = {"get", "query", "change", "remove", "expire", "move", "session", "card", "flush", "records"};
constexpr unsigned long Processes[] = {11, 11, 11, 11, 12, 12, 21, 31, 0};

SStep RandomStep(CRandom& random, int nStep, bool bHasLast)
{
    constexpr const char* Often[] = {"set", "get", "query"};
    SStep step{random.Below(4) != 0 ? random.Of(Often) : random.Of(Verbs), std::to_string(nStep), random.Of(Processes),
               random.Below(4) == 0 ? "Q" : "P", ""};
    for (auto uParameters = random.Below(4); uParameters > 0; --uParameters) {
        step.params.insert(random.Of(Parameters));
    }
    if (step.sVerb != "card" && (random.Below(4) == 0 || step.sVerb == "expire")) {
        step.sBy = bHasLast && random.Below(4) != 0 ? "last" : "x";
    }
    const auto number = [&] { return std::to_string(1 + random.Below(3)); };
    const std::map<std::string, std::string> texts{
        {"move", number() + number()}, {"session", number()}, {"card", random.Below(3) == 0 ? "c" : "C"}, {"change", number()}};
    step.sText = texts.contains(step.sVerb) ? texts.at(step.sVerb) : step.sText;
    return step;
}

} // namespace

TEST(ModelTest, PINCacheOfEveryKind_AnswersAsAPlainModel)
{
    setenv("SHAREDSTORE_REGISTRY_SYNC", "relaxed", 1); // before anything opens the registry
    const CSessions sessions;
    CRandom random;
    for (int nKind = 0; nKind < 16; ++nKind) {
        const SPolicy policy("AllowPerProcess", nKind & 1);
        const SPolicy always("EnablePINCacheForPINAlwaysPrivateKeys", (nKind & 8) / 8);
        CCaller caller((nKind & 2) / 2, 0, nKind & 4);
        SPINModel model{(nKind & 2) != 0, (nKind & 1) != 0, (nKind & 8) != 0};
        for (int nStep = 0; nStep < 700 && !HasFailure(); ++nStep) {
            const SStep step = RandomStep(random, nStep, model.nLast > 0);
            SCOPED_TRACE("kind " + std::to_string(nKind) + " step " + std::to_string(nStep) + " " + step.Script());
            EXPECT_EQ(caller.Play(step.Script()), model.Play(step));
            if (random.Below(10) == 0) {
                const long nMinutes = 5 * (1 + random.Below(3));
                Counter fired = 0;
                AdvanceClock(60 * nMinutes);
                const Timer last = MakeTimer(0, [&] { ++fired; }); // wakes the timers' thread, which then calls all that are due before
                EXPECT_TRUE(Reaches(fired, 1));
                model.Pass(nMinutes);
            }
            EXPECT_EQ(caller.Play("list"), model.List());
        }
    }
}
