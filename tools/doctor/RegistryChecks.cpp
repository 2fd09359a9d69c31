// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "doctor/Checks.h"

#include "registry/Inspection.h"
#include "registry/Location.h"
#include "support/Access.h"
#include "support/CodeNames.h"
#include "support/Registry.h"
#include "support/Text.h"

#include <cerrno>
#include <cstring>
#include <set>

namespace Tool
{

namespace
{

constexpr const char* FolderSubject = "registry folder";
constexpr std::uint64_t MiB = std::uint64_t{1} << 20;
constexpr std::uint64_t LittleSpace = 16 * MiB;

std::string InMiB(std::uint64_t uBytes)
{
    return std::to_string(uBytes / MiB) + " MiB";
}

/// Why the path can't be the registry's folder; empty when it can, though it may not exist.
std::string FaultOf(const std::filesystem::path& folder, struct stat& status)
{
    if (folder.empty()) {
        return "there is none, because this user has no home folder";
    }
    const std::string sFolder = Display(folder.string());
    if (!folder.is_absolute()) {
        return sFolder + " is no absolute path";
    }
    if (stat(folder.c_str(), &status) != 0) {
        return errno == ENOENT ? "" : sFolder + ": " + std::strerror(errno);
    }
    return S_ISDIR(status.st_mode) ? "" : sFolder + " is no folder";
}

void CheckFiles(const std::filesystem::path& folder, Findings& findings)
{
    std::set<std::string> seen;
    for (const char* pszFile : {"data.mdb", "lock.mdb"}) {
        const std::filesystem::path file = folder / pszFile;
        struct stat status = {};
        if (stat(file.c_str(), &status) != 0) {
            continue;
        }
        for (const AccessWarning& warning : AccessWarnings(file.string(), status, "the registry")) {
            if (seen.insert(warning.sText).second) {
                findings.push_back({warning.bGrave ? Grade::Problem : Grade::Note, "registry files", pszFile + (": " + warning.sText),
                                    "let its owner alone read and write the folder (mode 0700) and its files (mode 0600)"});
            }
        }
    }
}

void AddReaders(const Registry::SInspection& inspection, Findings& findings)
{
    const unsigned uNearlyAll = inspection.uReaderSlots / 10 * 9;
    const std::string sText = std::to_string(inspection.uReadersTaken) + " of " + std::to_string(inspection.uReaderSlots) +
                              " slots are taken; stale ones of dead processes, now free again: " + std::to_string(inspection.uReadersFreed);
    findings.push_back({inspection.uReadersTaken >= uNearlyAll ? Grade::Problem : Grade::Ok, "registry readers", sText,
                        "end some of the processes that use the registry"});
}

void AddAccess(const Registry::SInspection& inspection, Findings& findings)
{
    constexpr const char* Subject = "registry access";
    switch (inspection.eAccess) {
    case Registry::EAccess::Write:
        return findings.push_back({Grade::Ok, Subject, "this user may read and write it"});
    case Registry::EAccess::Read:
        return findings.push_back({Grade::Note, Subject, "this user may read it and not write it"});
    case Registry::EAccess::ReadUnregistered:
        return findings.push_back({Grade::Note, Subject,
                                   "this user may read it, but not write the lock file: a reader that is slower than two writes of others "
                                   "starts again"});
    }
}

void AddSize(const Registry::SInspection& inspection, const std::filesystem::path& folder, Findings& findings)
{
    std::error_code error;
    const std::uintmax_t uSpace = std::filesystem::space(folder, error).available;
    const std::string sText = InMiB(inspection.uMapPages * inspection.uPageSize) + " map, which doubles when it is full; " +
                              std::to_string(inspection.uUsedPages * 100 / inspection.uMapPages) + " % in use, " +
                              std::to_string(inspection.counts.uFreePages) + " free pages";
    if (error) {
        return findings.push_back({Grade::Note, "registry size", sText});
    }
    findings.push_back({uSpace < LittleSpace ? Grade::Problem : Grade::Ok, "registry size",
                        sText + ", " + InMiB(uSpace) + " left on its file system", "free some space there"});
}

} // namespace

void CheckRegistryFolder(Session&, Findings& findings)
{
    const Registry::SLocation location = Registry::LocateRegistry();
    struct stat status = {};
    if (const std::string sFault = FaultOf(location.folder, status); !sFault.empty()) {
        return findings.push_back({Grade::Problem, FolderSubject, sFault, "set SHAREDSTORE_REGISTRY to the absolute path of a folder"});
    }
    const std::string sWhere = Display(location.folder.string()) + " (from " + location.pszSource + ")";
    if (status.st_nlink == 0) {
        return findings.push_back({Grade::Note, FolderSubject, sWhere + " does not exist; the first write makes it"});
    }
    const FileAccess access = AccessOf(status);
    findings.push_back({Grade::Ok, FolderSubject, sWhere + ", mode " + access.sMode + ", owner " + Display(access.sOwner)});
    CheckFiles(location.folder, findings);
}

void CheckRegistryContent(Session&, Findings& findings)
{
    constexpr const char* Subject = "registry content";
    Registry::SInspection inspection;
    std::string sReason;
    if (const long lCode = Registry::InspectRegistry(inspection, sReason); lCode != ERROR_SUCCESS) {
        const CodeText text = DescribeRegistryCode(lCode);
        return findings.push_back({Grade::Problem, Subject, text.sName + (sReason.empty() ? "" : ", " + sReason), text.sAdvice});
    }
    if (!inspection.bExists) {
        return findings.push_back({Grade::Note, Subject, "nothing was written yet"});
    }
    findings.push_back({Grade::Ok, Subject,
                        "every page and record is sound; " + std::to_string(inspection.counts.uKeys) + " keys, " +
                            std::to_string(inspection.counts.uValues) + " values"});
    AddSize(inspection, Registry::RegistryFolder(), findings);
    AddReaders(inspection, findings);
    AddAccess(inspection, findings);
}

} // namespace Tool
