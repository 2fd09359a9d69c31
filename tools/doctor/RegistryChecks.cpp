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
#include <optional>
#include <set>

namespace Tool
{

namespace
{

constexpr const char* FolderSubject = "registry folder";
constexpr const char* FilesSubject = "registry files";
constexpr std::uint64_t MiB = std::uint64_t{1} << 20;
constexpr std::uint64_t LittleSpace = 16 * MiB;

std::string InMiB(std::uint64_t uBytes)
{
    return std::to_string(uBytes / MiB) + " MiB";
}

/// Why the path can't be the registry's folder; empty when it can, though it may not exist.
/// @param status receives nothing when it does not exist
std::string FaultOf(const std::filesystem::path& folder, std::optional<struct stat>& status)
{
    if (folder.empty()) {
        return "there is none, because this user has no home folder";
    }
    const std::string sFolder = Display(folder.string());
    if (!folder.is_absolute()) {
        return sFolder + " is no absolute path";
    }
    if (stat(folder.c_str(), &status.emplace()) != 0) {
        status.reset();
        return errno == ENOENT ? "" : sFolder + ": " + std::strerror(errno);
    }
    return S_ISDIR(status->st_mode) ? "" : sFolder + " is no folder";
}

/// @param nOwner the folder's owner
void CheckFiles(const std::filesystem::path& folder, uid_t nOwner, Findings& findings)
{
    std::set<std::string> seen;
    for (const char* pszFile : {"data.mdb", "lock.mdb"}) {
        const std::filesystem::path file = folder / pszFile;
        struct stat status = {};
        if (stat(file.c_str(), &status) != 0) {
            continue;
        }
        if (status.st_uid != nOwner) { // made by a command that another user ran here
            findings.push_back({Grade::Problem, FilesSubject,
                                pszFile + (": its owner " + Display(AccessOf(status).sOwner)) + " is not that of the folder",
                                "give it to the folder's owner"});
        }
        for (const AccessWarning& warning : AccessWarnings(file.string(), status, "the registry")) {
            if (seen.insert(warning.sText).second) {
                findings.push_back({warning.bGrave ? Grade::Problem : Grade::Note, FilesSubject, pszFile + (": " + warning.sText),
                                    "let its owner alone read and write the folder (mode 0700) and its files (mode 0600)"});
            }
        }
    }
}

void AddReaders(const Registry::SInspection& inspection, Findings& findings)
{
    const unsigned uNearlyAll = inspection.uReaderSlots / 10 * 9;
    const std::string sText =
        std::to_string(inspection.uReadersTaken) + " of " + std::to_string(inspection.uReaderSlots) +
        " slots are taken; opening it freed stale ones of dead processes: " + std::to_string(inspection.uReadersFreed);
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
    std::optional<struct stat> status;
    if (const std::string sFault = FaultOf(location.folder, status); !sFault.empty()) {
        return findings.push_back({Grade::Problem, FolderSubject, sFault, "set SHAREDSTORE_REGISTRY to the absolute path of a folder"});
    }
    const std::string sWhere = Display(location.folder.string()) + " (from " + location.pszSource + ")";
    if (!status.has_value()) {
        return MayMake(location.folder)
                   ? findings.push_back({Grade::Note, FolderSubject, sWhere + " does not exist; the first write makes it"})
                   : findings.push_back({Grade::Problem, FolderSubject, sWhere + " does not exist, and this user may not make it",
                                         "make it and give it to this user, or set SHAREDSTORE_REGISTRY to another"});
    }
    const FileAccess access = AccessOf(*status);
    findings.push_back({Grade::Ok, FolderSubject, sWhere + ", mode " + access.sMode + ", owner " + Display(access.sOwner)});
    CheckFiles(location.folder, status->st_uid, findings);
}

void CheckRegistryContent(Session&, Findings& findings)
{
    constexpr const char* Subject = RegistryContentSubject;
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
