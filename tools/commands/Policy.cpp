// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "support/Failure.h"
#include "support/Output.h"
#include "support/Registry.h"
#include "support/Sources.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

#include <optional>

namespace Tool
{

namespace
{

constexpr const char* PolicyKey = R"(HKEY_LOCAL_MACHINE\Software\Policies\Orvane\SharedStore\Authentication)";
constexpr const char* LibraryKey = R"(HKEY_LOCAL_MACHINE\Software\Orvane\SharedStore)";

constexpr unsigned int Never = 0x80000000;
constexpr unsigned int MaxMinutes = 0xffffffff / 60; ///< more would wrap

struct Policy
{
    const char* pszName;
    const char* pszKey;
    const char* pszUnit;
    unsigned int uDefault;
    unsigned int uMaximum;
    std::string (*pMeaning)(unsigned int uValue);
};

std::string MinutesMeaning(unsigned int uMinutes)
{
    if (uMinutes == Never) {
        return "an unused PIN never expires";
    }
    return "an unused PIN expires after " + (uMinutes == 0 ? "5 seconds" : std::to_string(uMinutes) + " minutes");
}

constexpr Policy Policies[] = {
    {"AllowPerProcess", PolicyKey, "0 or 1", 0, 1,
     [](unsigned int u) -> std::string {
         return u == 1 ? "each process has its own PINs" : "the processes of a login session share PINs";
     }},
    {"EnablePINCacheForPINAlwaysPrivateKeys", PolicyKey, "0 or 1", 0, 1,
     [](unsigned int u) -> std::string {
         return u == 1 ? "keys that need their PIN on every use take the cached one after a confirmation"
                       : "keys that need their PIN on every use ask for it";
     }},
    {"Timeout", PolicyKey, "minutes", 15, MaxMinutes, MinutesMeaning},
    {"DisableTimeoutAfterEndSession", LibraryKey, "seconds", 15, 0xffffffff,
     [](unsigned int u) { return "a session that ended is served again after " + std::to_string(u == 0 ? 15 : u) + " seconds"; }},
};

const Policy& FindPolicy(const std::string& sName)
{
    for (const Policy& policy : Policies) {
        if (sName == policy.pszName) {
            return policy;
        }
    }
    throw CFailure(ExitCode::Usage, "there is no policy '" + Display(sName) + "'; 'sharedstore policy show' lists them");
}

/// @return the number that the library reads; nothing when it takes the default
std::optional<unsigned int> ReadPolicy(const Policy& policy)
{
    unsigned long dwValue = 0;
    const KeyPath key = ParseKeyPath(policy.pszKey);
    const long lCode = ovRegReadDWORDValueEx(key.sHive.c_str(), key.sSubKey.c_str(), policy.pszName, &dwValue, 0);
    if (lCode == ERROR_SUCCESS) {
        return static_cast<unsigned int>(dwValue);
    }
    if (lCode == ERROR_UNSUPPORTED_TYPE) {
        Complain("sharedstore: warning: " + key.Text() + ": '" + policy.pszName + "' is no REG_DWORD, so the library takes the default");
    } else if (lCode != ERROR_FILE_NOT_FOUND) {
        throw RegistryFailure(lCode, key.Text());
    }
    return std::nullopt;
}

void Show(const CArguments& arguments, Session&)
{
    nlohmann::json json = nlohmann::json::array();
    std::vector<std::vector<std::string>> rows = {{"POLICY", "VALUE", "UNIT", "DEFAULT", "IN FORCE"}};
    for (const Policy& policy : Policies) {
        const std::optional<unsigned int> value = ReadPolicy(policy);
        const std::string sMeaning = policy.pMeaning(value.value_or(policy.uDefault));
        rows.push_back(
            {policy.pszName, value.has_value() ? std::to_string(*value) : "-", policy.pszUnit, std::to_string(policy.uDefault), sMeaning});
        json.push_back({{"name", policy.pszName},
                        {"key", policy.pszKey},
                        {"value", nullptr},
                        {"unit", policy.pszUnit},
                        {"default", policy.uDefault},
                        {"inForce", sMeaning}});
        if (value.has_value()) {
            json.back()["value"] = *value;
        }
    }
    arguments.Has("--json") ? PrintJson(json) : Print(Columns(rows));
}

void Set(const CArguments& arguments, Session&)
{
    const Policy& policy = FindPolicy(arguments.Text("POLICY"));
    const std::string& sValue = arguments.Text("VALUE");
    const KeyPath key = ParseKeyPath(policy.pszKey);
    if (sValue == "default") {
        const long lCode = ovRegDeleteValue(key.sHive.c_str(), key.sSubKey.c_str(), policy.pszName, 0);
        return lCode == ERROR_SUCCESS || lCode == ERROR_FILE_NOT_FOUND ? void() : throw RegistryFailure(lCode, key.Text());
    }
    const bool bNever = sValue == "never" && policy.pMeaning == MinutesMeaning;
    CKey(key).Set(DwordValue(policy.pszName, bNever ? Never : static_cast<unsigned int>(NumberArgument(sValue, policy.uMaximum))));
}

constexpr Argument ShowArguments[] = {JsonFlag};
constexpr Argument SetArguments[] = {
    {"POLICY", Takes::Positional, "its name, as 'policy show' lists it"},
    {"VALUE", Takes::Positional, "a number in its unit; 'never' for Timeout; 'default' removes the value"},
};

const Command Table[] = {
    {"policy", "show", "show what the administrator decided about PINs, and what that means", ShowArguments, "  sharedstore policy show\n",
     Show},
    {"policy", "set", "decide; AllowPerProcess counts for processes that start later, everything else from now on", SetArguments,
     "  sharedstore policy set Timeout 5\n"
     "  sharedstore policy set Timeout default\n",
     Set},
};

} // namespace

std::span<const Command> PolicyCommands()
{
    return Table;
}

} // namespace Tool
