// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "doctor/Checks.h"
#include "support/Failure.h"
#include "support/Output.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <exception>

namespace Tool
{

namespace
{

/// The checks, and what a check that fails itself is called.
constexpr struct
{
    const char* pszSubject;
    void (*pRun)(Session&, Findings&);
} Checks[] = {
    {"registry folder", CheckRegistryFolder},
    {RegistryContentSubject, CheckRegistryContent},
    {"key file", CheckKey},
    {"memory lock", CheckMemoryLock},
    {"core dumps", CheckCoreDumps},
    {"swap", CheckSwap},
    {"stores", CheckStores},
    {"policy", CheckPolicies},
    {"environment", CheckEnvironment},
    {"log", CheckLog},
};

constexpr struct
{
    const char* pszName;
    Colour colour;
} Grades[] = {{"ok", Colour::Green}, {"note", Colour::Yellow}, {"problem", Colour::Red}}; // by grade
constexpr std::size_t GradeWidth = 9;

const auto& RowOf(Grade grade)
{
    return Grades[static_cast<std::size_t>(grade)];
}

/// A check that could not be made is a problem, unless a problem with the registry explains it.
Finding NotChecked(const char* pszSubject, const char* pszReason, const Findings& findings)
{
    const bool bExplained = std::any_of(findings.begin(), findings.end(), [](const Finding& finding) {
        return finding.grade == Grade::Problem && finding.sSubject == RegistryContentSubject;
    });
    return bExplained ? Finding{Grade::Note, pszSubject, "not checked, because the registry can't be read"}
                      : Finding{Grade::Problem, pszSubject, pszReason, "see to this first, for the check could not be made"};
}

Findings RunChecks(Session& session)
{
    Findings findings;
    for (const auto& check : Checks) {
        try {
            check.pRun(session, findings);
        } catch (const std::exception& error) {
            findings.push_back(NotChecked(check.pszSubject, error.what(), findings));
        }
    }
    return findings;
}

std::string Line(const Finding& finding)
{
    const std::string sGrade = RowOf(finding.grade).pszName;
    return InColour(sGrade, RowOf(finding.grade).colour) + std::string(GradeWidth - sGrade.size(), ' ') + finding.sSubject + ": " +
           finding.sText + (finding.grade == Grade::Problem ? "; " + finding.sAdvice : "") + '\n';
}

nlohmann::json Json(const Findings& findings)
{
    nlohmann::json json = nlohmann::json::array();
    for (const Finding& finding : findings) {
        json.push_back(
            {{"grade", RowOf(finding.grade).pszName}, {"subject", JsonText(finding.sSubject)}, {"text", JsonText(finding.sText)}});
        if (finding.grade == Grade::Problem) {
            json.back()["advice"] = JsonText(finding.sAdvice);
        }
    }
    return {{"findings", json}, {"notProtectedAgainst", Limits()}};
}

void Doctor(const CArguments& arguments, Session& session)
{
    const Findings findings = RunChecks(session);
    if (arguments.Has("--json")) {
        PrintJson(Json(findings));
    } else {
        for (const Finding& finding : findings) {
            Print(Line(finding));
        }
        Print("\nNot protected against, whatever is ok above:\n");
        for (const std::string& sLimit : Limits()) {
            Print("  " + sLimit + '\n');
        }
    }
    const auto nProblems =
        std::count_if(findings.begin(), findings.end(), [](const auto& finding) { return finding.grade == Grade::Problem; });
    if (nProblems > 0) {
        FlushOutput();
        throw CFailure(ExitCode::Failed, nProblems == 1 ? "there is 1 problem" : "there are " + std::to_string(nProblems) + " problems");
    }
}

constexpr Argument Arguments[] = {JsonFlag};

const Command Table[] = {
    {"doctor", "",
     "check registry, key file, stores, policy, environment and log, and change none of it; each finding is ok, a note or a problem",
     Arguments,
     "  sharedstore doctor\n"
     "  sudo -u cards sharedstore doctor --json\n",
     Doctor},
};

} // namespace

std::span<const Command> DoctorCommands()
{
    return Table;
}

} // namespace Tool
