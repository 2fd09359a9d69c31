// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Command.h"

#include <string>
#include <vector>

/// @file
/// What 'sharedstore doctor' looks at. Checks change nothing of it; one that fails itself is a problem too. Reading the
/// registry frees the reader slots of processes that died, as it does in every process.

namespace Tool
{

enum class Grade {
    Ok,
    Note,    ///< unusual, or good to know
    Problem, ///< keeps something from working, or weakens it
};

struct Finding
{
    Grade grade;
    std::string sSubject;
    std::string sText;
    std::string sAdvice{}; ///< what to do about a problem
};
using Findings = std::vector<Finding>;

inline constexpr const char* RegistryContentSubject = "registry content";

void CheckRegistryFolder(Session& session, Findings& findings);
void CheckRegistryContent(Session& session, Findings& findings);

void CheckKey(Session& session, Findings& findings);
void CheckMemoryLock(Session& session, Findings& findings);
void CheckCoreDumps(Session& session, Findings& findings);
void CheckSwap(Session& session, Findings& findings);

void CheckStores(Session& session, Findings& findings);
void CheckPolicies(Session& session, Findings& findings);
void CheckEnvironment(Session& session, Findings& findings);
void CheckLog(Session& session, Findings& findings);

/// What no check can find, because the library does not protect against it.
std::vector<std::string> Limits();

} // namespace Tool
