// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/Policy.h"

#include "support/Failure.h"
#include "support/Registry.h"
#include "support/Text.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace Tool
{

namespace
{

constexpr const char* PolicyKey = R"(HKEY_LOCAL_MACHINE\Software\Policies\Orvane\SharedStore\Authentication)";
constexpr const char* LibraryKey = R"(HKEY_LOCAL_MACHINE\Software\Orvane\SharedStore)";

constexpr unsigned int Never = 0x80000000;
constexpr unsigned int MaxNumber = std::numeric_limits<unsigned int>::max();
constexpr unsigned int MaxMinutes = MaxNumber / 60; ///< the seconds of more would wrap
constexpr unsigned int MinutesOfADay = 24 * 60;

constexpr const char* SwitchLimits = "every number but 1 counts as 0";

const char* SwitchOddity(unsigned int uValue, const char* pszOfOne)
{
    return uValue == 1 ? pszOfOne : uValue == 0 ? "" : "neither 0 nor 1: counts as 0";
}

std::string MinutesMeaning(unsigned int uMinutes)
{
    if (uMinutes == Never) {
        return "an unused PIN never expires";
    }
    const std::string sAfter = "an unused PIN expires after ";
    if (uMinutes == 0 || uMinutes > MaxMinutes) {
        return sAfter + std::to_string(uMinutes == 0 ? 5 : uMinutes * 60) + " seconds";
    }
    return sAfter + std::to_string(uMinutes) + (uMinutes == 1 ? " minute" : " minutes");
}

const char* MinutesOddity(unsigned int uMinutes)
{
    if (uMinutes == Never) {
        return "unusual: a PIN stays until its process ends or flushes it";
    }
    return uMinutes > MaxMinutes ? "wrong: its seconds wrap around at 32 bits" : uMinutes > MinutesOfADay ? "unusual: more than a day" : "";
}

constexpr Policy Table[] = {
    {"AllowPerProcess", PolicyKey, "0 or 1", 0, 0, 1, SwitchLimits,
     [](unsigned int u) -> std::string { return u == 1 ? "each process has its own PINs" : "the processes of a login session share PINs"; },
     [](unsigned int u) { return SwitchOddity(u, "unusual: a user types a PIN once for each process"); }},
    {"EnablePINCacheForPINAlwaysPrivateKeys", PolicyKey, "0 or 1", 0, 0, 1, SwitchLimits,
     [](unsigned int u) -> std::string {
         return u == 1 ? "keys that need their PIN on every use take the cached one after a confirmation"
                       : "keys that need their PIN on every use ask for it";
     },
     [](unsigned int u) { return SwitchOddity(u, "unusual: whoever can confirm can sign, without knowing the PIN"); }},
    {"Timeout", PolicyKey, "minutes", 15, 0, MaxMinutes, "the library counts seconds in 32 bits; 'never' stands for no limit",
     MinutesMeaning, MinutesOddity},
    {"DisableTimeoutAfterEndSession", LibraryKey, "seconds", 15, 1, MaxNumber, "0 counts as 15",
     [](unsigned int u) { return "a session that ended is served again after " + std::to_string(u == 0 ? 15 : u) + " seconds"; },
     [](unsigned int u) { return u == 0 ? "0 counts as 15" : ""; }},
};

} // namespace

std::span<const Policy> Policies()
{
    return Table;
}

PolicyValue ReadPolicy(const Policy& policy)
{
    unsigned long dwValue = 0;
    const KeyPath key = ParseKeyPath(policy.pszKey);
    const long lCode = ovRegReadDWORDValueEx(key.sHive.c_str(), key.sSubKey.c_str(), policy.pszName, &dwValue, 0);
    if (lCode == ERROR_SUCCESS) {
        const auto uNumber = static_cast<unsigned int>(dwValue);
        return {uNumber, policy.pMeaning(uNumber), policy.pOddity(uNumber)};
    }
    if (lCode != ERROR_FILE_NOT_FOUND && lCode != ERROR_UNSUPPORTED_TYPE) {
        throw RegistryFailure(lCode, key.Text());
    }
    return {std::nullopt, policy.pMeaning(policy.uDefault), lCode == ERROR_FILE_NOT_FOUND ? "" : "wrong: its value is no REG_DWORD"};
}

std::vector<std::string> UnknownPolicies()
{
    const KeyPath key = ParseKeyPath(PolicyKey);
    std::vector<std::string> unknown;
    if (KeyExists(key)) {
        for (const ValueInfo& info : ListValues(key)) {
            const auto isIt = [&info](const Policy& policy) {
                return policy.pszKey == std::string_view(PolicyKey) && info.sName == policy.pszName;
            };
            if (std::none_of(std::begin(Table), std::end(Table), isIt)) {
                unknown.push_back(info.sName);
            }
        }
    }
    return unknown;
}

unsigned int PolicyNumber(const Policy& policy, const std::string& sText)
{
    if (sText == "never" && policy.pMeaning == MinutesMeaning) {
        return Never;
    }
    const std::optional<std::uint64_t> uNumber = Number(sText, policy.uMaximum);
    if (!uNumber.has_value() || *uNumber < policy.uMinimum) {
        throw CFailure(ExitCode::Usage, "'" + Display(sText) + "' can't be enforced: give a number from " +
                                            std::to_string(policy.uMinimum) + " to " + std::to_string(policy.uMaximum) + "; " +
                                            policy.pszLimits);
    }
    return static_cast<unsigned int>(*uNumber);
}

} // namespace Tool
