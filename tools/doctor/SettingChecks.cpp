// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "doctor/Checks.h"

#include "log/LogSettings.h"
#include "registry/Location.h"
#include "support/Access.h"
#include "support/Policy.h"
#include "support/Store.h"
#include "support/Text.h"

#include <algorithm>
#include <cstdlib>
#include <sys/auxv.h>
#include <unistd.h>

namespace Tool
{

namespace
{

constexpr const char* EnvironmentSubject = "environment";
constexpr const char* LogSubject = "log";
constexpr std::string_view OurPrefix = "SHAREDSTORE_";
constexpr unsigned int LogErrorBit = 1;

/// The variables that are read, and the value that each must have to mean something; null for those with a check of
/// their own.
constexpr struct
{
    std::string_view sName;
    const char* pszOnlyValue;
} Variables[] = {
    {"SHAREDSTORE_REGISTRY", nullptr},  {"SHAREDSTORE_REGISTRY_SYNC", "relaxed"}, {"SHAREDSTORE_LOG", nullptr},
    {"SHAREDSTORE_LOG_LEVEL", nullptr}, {"SHAREDSTORE_LOG_TRACE", "1"},
};

/// Why a variable means nothing; empty when it is in force.
std::string WhyIgnored(std::string_view sName, std::string_view sValue)
{
    if (sName == "XDG_STATE_HOME") {
        return sValue.empty() || sValue.starts_with('/') ? "" : "it is no absolute path";
    }
    if (!sName.starts_with(OurPrefix)) {
        return "";
    }
    const auto* pVariable =
        std::find_if(std::begin(Variables), std::end(Variables), [sName](const auto& row) { return row.sName == sName; });
    if (pVariable == std::end(Variables)) {
        return "there is no such setting";
    }
    const char* pszOnly = pVariable->pszOnlyValue;
    return pszOnly == nullptr || sValue.empty() || sValue == pszOnly ? "" : std::string("only '") + pszOnly + "' means something";
}

void CheckLogFile(const std::string& sFile, Findings& findings)
{
    const std::string sShown = Display(sFile);
    struct stat status = {};
    const bool bExists = stat(sFile.c_str(), &status) == 0;
    if (bExists ? access(sFile.c_str(), W_OK) != 0 : !MayMake(sFile)) {
        return findings.push_back({Grade::Problem, LogSubject, sShown + " can't be written, so lines go to syslog",
                                   "set SHAREDSTORE_LOG to a file that this user may write"});
    }
    sFile.starts_with('/')
        ? findings.push_back({Grade::Ok, LogSubject, "goes to the file " + sShown})
        : findings.push_back({Grade::Note, LogSubject, "goes to the file " + sShown + " in the folder that a program happens to work in"});
    if (bExists && (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        findings.push_back(
            {Grade::Note, LogSubject, sShown + " has mode " + AccessOf(status).sMode + ", which is not for its owner alone"});
    }
}

} // namespace

void CheckStores(Session& session, Findings& findings)
{
    const std::vector<StoreConfig> configs = ReadStoreConfigs();
    if (configs.empty()) {
        return findings.push_back({Grade::Ok, "stores", "none is configured"});
    }
    bool bFaultBefore = false;
    for (const StoreConfig& config : configs) {
        const std::string sSubject = "store " + Quoted(config.sStore);
        if (!config.sProblem.empty()) {
            bFaultBefore = true;
            findings.push_back(
                {Grade::Problem, sSubject, config.sProblem + ", so neither it nor the stores behind it begin",
                 "say what it is to be: 'sharedstore store add " + Quoted(config.sStore) + " --force' with options keeps the rest"});
        } else if (!FindStore(session, config.sStore).has_value()) {
            findings.push_back({Grade::Problem, sSubject, "could not begin in this process",
                                bFaultBefore ? "see to the faulty store before it" : "SHAREDSTORE_LOG=stderr shows the reason"});
        } else if (!config.settings.bShared) {
            findings.push_back({Grade::Note, sSubject, "began, but is not shared between user sessions and so serves no data"});
        } else {
            findings.push_back({Grade::Ok, sSubject,
                                std::string("began: ") + NameOfStoreType(config.settings.type) +
                                    (config.settings.bEncrypted ? ", encrypted" : ", in the clear") + ", product " +
                                    Display(config.settings.sProduct)});
        }
    }
}

void CheckPolicies(Session&, Findings& findings)
{
    for (const Policy& policy : Policies()) {
        const PolicyValue value = ReadPolicy(policy);
        const bool bWrong = value.sOddity.starts_with("wrong");
        findings.push_back({value.sOddity.empty() ? Grade::Ok
                            : bWrong              ? Grade::Problem
                                                  : Grade::Note,
                            std::string("policy ") + policy.pszName,
                            value.sMeaning + (value.sOddity.empty() ? "" : " (" + value.sOddity + ")"),
                            std::string("set it: 'sharedstore policy set ") + policy.pszName + " default' or another value"});
    }
    for (const std::string& sName : UnknownPolicies()) {
        findings.push_back({Grade::Note, "policy " + Quoted(sName), "does nothing, for there is no such policy"});
    }
}

void CheckEnvironment(Session&, Findings& findings)
{
    const std::size_t uBefore = findings.size();
    if (getauxval(AT_SECURE) != 0) {
        findings.push_back({Grade::Note, EnvironmentSubject, "ignored, because this process has more rights than its user"});
    }
    for (char** ppszVariable = environ; *ppszVariable != nullptr; ++ppszVariable) {
        const std::string_view sVariable = *ppszVariable;
        const std::string_view sName = sVariable.substr(0, sVariable.find('='));
        const std::string sReason = WhyIgnored(sName, sVariable.substr(std::min(sName.size() + 1, sVariable.size())));
        if (!sReason.empty()) {
            findings.push_back({Grade::Note, EnvironmentSubject, Display(sName) + " is ignored: " + sReason});
        }
    }
    if (ReadLogSettings().bLevelInvalid) {
        findings.push_back({Grade::Note, EnvironmentSubject, "SHAREDSTORE_LOG_LEVEL is ignored: it is no bit mask"});
    }
    if (Registry::IsSyncRelaxed()) {
        findings.push_back(
            {Grade::Note, EnvironmentSubject,
             "SHAREDSTORE_REGISTRY_SYNC is relaxed: when the machine crashes, the last writes may be lost or the registry damaged"});
    }
    if (findings.size() == uBefore) {
        findings.push_back({Grade::Ok, EnvironmentSubject, "every variable of ours that is set is known and read"});
    }
}

void CheckLog(Session&, Findings& findings)
{
    const LogSettings settings = ReadLogSettings();
    if (settings.sTarget == LogToSyslog || settings.sTarget == LogToStderr) {
        findings.push_back({Grade::Ok, LogSubject, "goes to " + settings.sTarget});
    } else {
        CheckLogFile(settings.sTarget, findings);
    }
    const unsigned int uLevel = settings.uMask & ~LogTraceBit;
    findings.push_back({(uLevel & LogErrorBit) != 0 ? Grade::Ok : Grade::Note, "log level",
                        std::to_string(uLevel) + ((uLevel & LogErrorBit) != 0 ? ", errors are logged" : ", errors are not logged")});
    if ((settings.uMask & LogTraceBit) != 0) {
        findings.push_back(
            {Grade::Problem, "log trace", "on: lines that can carry clear values are logged", "unset SHAREDSTORE_LOG_TRACE"});
    }
}

std::vector<std::string> Limits()
{
    return {
        "root, and whoever may debug a process: they can read its memory",
        "other components of a process: a cached PIN serves whoever can call the library there",
        "whoever may write the registry: integrity is not encryption's work, and a value can be replaced by an older one",
        "whoever may read the key file: all encrypted registry stores of the machine share its key",
        "names and sizes: only values are encrypted, and equal values look equal",
    };
}

} // namespace Tool
