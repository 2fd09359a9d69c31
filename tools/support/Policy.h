// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Tool
{

/// What an administrator decides: a number in the registry, and what the library makes of it.
struct Policy
{
    const char* pszName;
    const char* pszKey;
    const char* pszUnit;
    unsigned int uDefault;
    unsigned int uMinimum;
    unsigned int uMaximum;
    const char* pszLimits; ///< why no number outside of minimum and maximum can be enforced
    std::string (*pMeaning)(unsigned int uValue);
    const char* (*pOddity)(unsigned int uValue); ///< what an administrator should know of this value; empty for a usual one
};

std::span<const Policy> Policies();

/// A policy as the registry has it.
struct PolicyValue
{
    std::optional<unsigned int> number; ///< nothing: the default is in force
    std::string sMeaning;
    std::string sOddity; ///< empty for a usual value
};
PolicyValue ReadPolicy(const Policy& policy);

/// Values beside the policies that are none, a misspelt one maybe: nothing reads them.
std::vector<std::string> UnknownPolicies();

/// The number that a text stands for: "never" for the timeout, else a number that can be enforced. Throws CFailure
/// (ExitCode::Usage) with the reason.
unsigned int PolicyNumber(const Policy& policy, const std::string& sText);

} // namespace Tool
