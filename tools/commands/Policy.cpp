// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "support/Failure.h"
#include "support/Output.h"
#include "support/Policy.h"
#include "support/Registry.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace Tool
{

namespace
{

std::vector<std::string> PolicyNames()
{
    std::vector<std::string> names;
    for (const Policy& policy : Policies()) {
        names.emplace_back(policy.pszName);
    }
    return names;
}

void Show(const CArguments& arguments, Session&)
{
    nlohmann::json json = nlohmann::json::array();
    std::vector<std::vector<std::string>> rows = {{"POLICY", "VALUE", "UNIT", "DEFAULT", "IN FORCE"}};
    for (const Policy& policy : Policies()) {
        const PolicyValue value = ReadPolicy(policy);
        rows.push_back({policy.pszName, value.number.has_value() ? std::to_string(*value.number) : "-", policy.pszUnit,
                        std::to_string(policy.uDefault), value.sMeaning + (value.sOddity.empty() ? "" : " (" + value.sOddity + ")")});
        json.push_back({{"name", policy.pszName},
                        {"key", policy.pszKey},
                        {"value", nullptr},
                        {"unit", policy.pszUnit},
                        {"default", policy.uDefault},
                        {"inForce", value.sMeaning},
                        {"remark", value.sOddity}});
        if (value.number.has_value()) {
            json.back()["value"] = *value.number;
        }
    }
    arguments.Has("--json") ? PrintJson(json) : Print(Columns(rows));
    for (const std::string& sName : UnknownPolicies()) {
        Complain("sharedstore: warning: '" + Display(sName) + "' stands beside the policies and does nothing: there is no such policy");
    }
}

void Set(const CArguments& arguments, Session&)
{
    const std::string& sName = arguments.Text("POLICY"); // one of PolicyNames
    const Policy& policy =
        *std::find_if(Policies().begin(), Policies().end(), [&sName](const Policy& row) { return sName == row.pszName; });
    const std::string& sValue = arguments.Text("VALUE");
    const KeyPath key = ParseKeyPath(policy.pszKey);
    if (sValue == "default") {
        const long lCode = ovRegDeleteValue(key.sHive.c_str(), key.sSubKey.c_str(), policy.pszName, 0);
        return lCode == ERROR_SUCCESS || lCode == ERROR_FILE_NOT_FOUND ? void() : throw RegistryFailure(lCode, key.Text());
    }
    const unsigned int uNumber = PolicyNumber(policy, sValue);
    CKey(key).Set(DwordValue(policy.pszName, uNumber));
}

constexpr Argument ShowArguments[] = {JsonFlag};
constexpr Argument SetArguments[] = {
    {"POLICY", Takes::Positional, "its name, as 'policy show' lists it", "", PolicyNames},
    {"VALUE", Takes::Positional, "a number in its unit; 'never' for Timeout; 'default' removes the value"},
};

const Command Table[] = {
    {"policy", "show", "show what the administrator decided about PINs, what that means, and what is unusual or wrong about it",
     ShowArguments, "  sharedstore policy show\n", Show},
    {"policy", "set",
     "decide, unless it could not be enforced; AllowPerProcess counts for processes that start later, everything else from now on",
     SetArguments,
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
