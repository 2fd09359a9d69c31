// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "doctor/Checks.h"

#include "framework/KeyMemory.h"
#include "support/Failure.h"
#include "support/KeyFile.h"
#include "support/StoreConfig.h"
#include "support/Text.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <sys/mman.h>
#include <sys/resource.h>

namespace Tool
{

namespace
{

constexpr const char* KeySubject = "key file";
constexpr const char* LockSubject = "memory lock";

rlim_t SoftLimit(__rlimit_resource resource)
{
    rlimit limit = {};
    return getrlimit(resource, &limit) == 0 ? limit.rlim_cur : RLIM_INFINITY;
}

/// Limits bind nobody who has the capability to exceed them, so trying is the test.
bool CanLock(std::size_t uBytes)
{
    void* pMemory = mmap(nullptr, uBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pMemory == MAP_FAILED) {
        return false;
    }
    const bool bLocked = mlock(pMemory, uBytes) == 0;
    munmap(pMemory, uBytes);
    return bLocked;
}

std::string FirstLine(const char* pszFile)
{
    std::string sLine;
    std::getline(std::ifstream(pszFile), sLine);
    return sLine;
}

/// How many stores have a key of their own; nothing when the registry can't be read.
std::optional<std::size_t> EncryptedStores()
{
    try {
        const std::vector<StoreConfig> configs = ReadStoreConfigs();
        const auto isEncrypted = [](const StoreConfig& config) { return config.settings.bEncrypted; };
        return static_cast<std::size_t>(std::count_if(configs.begin(), configs.end(), isEncrypted));
    } catch (const CFailure&) {
        return std::nullopt;
    }
}

} // namespace

void CheckKey(Session&, Findings& findings)
{
    const std::vector<StoreConfig> configs = ReadStoreConfigs();
    const bool bNeeded = std::any_of(configs.begin(), configs.end(), [](const StoreConfig& config) {
        return config.settings.bEncrypted && config.settings.type == OV::DataStore::RegistryStore;
    });
    try {
        const KeyFile file = CheckKeyFile(DefaultKeyFile);
        findings.push_back({Grade::Ok, KeySubject, file.sPath + ", mode " + file.access.sMode + ", owner " + Display(file.access.sOwner)});
        for (const AccessWarning& warning : file.warnings) {
            findings.push_back({warning.bGrave ? Grade::Problem : Grade::Note, KeySubject, warning.sText,
                                "let its owner alone read it, and root alone write the folders above it"});
        }
    } catch (const CFailure& failure) {
        bNeeded ? findings.push_back({Grade::Problem, KeySubject, failure.what(),
                                      "encrypted registry stores are configured and can't begin for this user: make the key or let this "
                                      "user read it"})
                : findings.push_back({Grade::Note, KeySubject, failure.what() + std::string("; no configured store needs it")});
    }
}

void CheckMemoryLock(Session&, Findings& findings)
{
    const std::optional<std::size_t> encrypted = EncryptedStores();
    const std::size_t uKeys = 1 + encrypted.value_or(0); // one for the PIN cache
    const std::size_t uNeeded = (uKeys + KeysPerPage - 1) / KeysPerPage * KeyPageBytes;
    const rlim_t uLimit = SoftLimit(RLIMIT_MEMLOCK);
    const std::string sLimit = uLimit == RLIM_INFINITY ? "unlimited" : std::to_string(uLimit) + " bytes";
    const std::string sText = std::string(encrypted.has_value() ? "keys need " : "keys need at least ") + std::to_string(uNeeded) +
                              " bytes of locked memory, the limit is " + sLimit;
    if (uLimit >= uNeeded) {
        return findings.push_back({Grade::Ok, LockSubject, sText});
    }
    if (CanLock(uNeeded)) {
        return findings.push_back({Grade::Ok, LockSubject, sText + ", which does not bind this user"});
    }
    findings.push_back({Grade::Problem, LockSubject, sText + ": keys may reach swap space",
                        "raise RLIMIT_MEMLOCK ('ulimit -l', LimitMEMLOCK= of a unit)"});
}

void CheckCoreDumps(Session&, Findings& findings)
{
    constexpr const char* Subject = "core dumps";
    const bool bPiped = FirstLine("/proc/sys/kernel/core_pattern").starts_with('|'); // the limit does not bind such a pattern
    if (SoftLimit(RLIMIT_CORE) == 0 && !bPiped) {
        return findings.push_back({Grade::Ok, Subject, "off"});
    }
    findings.push_back({Grade::Note, Subject,
                        std::string("on") + (bPiped ? ", handed to a program" : "") +
                            ": key pages are left out of them, values of memory stores that are not encrypted are not"});
}

void CheckSwap(Session&, Findings& findings)
{
    constexpr const char* Subject = "swap";
    std::ifstream swaps("/proc/swaps");
    std::string sLine;
    const bool bKnown = static_cast<bool>(std::getline(swaps, sLine)); // the heading
    const bool bSwap = static_cast<bool>(std::getline(swaps, sLine));
    if (bKnown && !bSwap) {
        return findings.push_back({Grade::Ok, Subject, "there is none"});
    }
    findings.push_back({Grade::Note, Subject,
                        std::string(bKnown ? "there is some" : "/proc/swaps can't be read") +
                            ": values in memory that are not encrypted can reach it; keys can't where memory may be locked"});
}

} // namespace Tool
