// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// The language of the command: the input is a script that "sharedstore run --keep-going" runs in this process, on memory
// stores, a registry and a key file in a folder of its own. Every failure must be reported in printable text, and what
// the script left in the registry must survive an export and an import.
//
// A script names files, and neither reads nor makes one outside of the folder: open, mkostemp and mkdir refuse. PINs come
// from a file that stands for standard input; standard error, which --fd can name, can't be read. What remains of other
// files is that "keyfile check" tells whether they are there. "run" and "shell" are refused within a script.
//
// Started by hand, the fuzzer needs absolute paths, because it changes the current folder.

#include "Dispatch.h"
#include "Fuzz.h"
#include "client/StaticDataStoreRegistration.h"
#include "platform/Log.h"
#include "support/KeyFile.h"
#include "support/OwnFolder.h"
#include "support/Registry.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <dlfcn.h>
#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/syscall.h>

using namespace Tool;

namespace
{

constexpr const char* Hive = "HKEY_LOCAL_MACHINE"; ///< the only one, so that a run can leave an empty registry

/// Calls a function of the system for a path in the folder, where the current folder lies too.
template <class Path, class... Args> int InFolder(const char* pszName, Path* pszPath, Args... args)
{
    const char* pszFolder = std::getenv(FolderVariable);
    const std::string_view sPath = pszPath;
    const bool bInside = !sPath.starts_with('/') || (pszFolder != nullptr && sPath.starts_with(std::string(pszFolder) + '/'));
    if (!bInside || sPath.find("..") != sPath.npos) {
        errno = EACCES;
        return -1;
    }
    return reinterpret_cast<int (*)(Path*, Args...)>(dlsym(RTLD_NEXT, pszName))(pszPath, args...);
}

struct SOutcome
{
    ExitCode code;
    std::string sOutput, sErrors;
};

/// Runs a command, whose output and errors are caught.
SOutcome Run(const std::vector<std::string>& words)
{
    std::FILE* const pStreams[] = {stdout, stderr};
    char *pszOutput = nullptr, *pszErrors = nullptr;
    std::size_t uOutput = 0, uErrors = 0;
    stdout = open_memstream(&pszOutput, &uOutput);
    stderr = open_memstream(&pszErrors, &uErrors);
    Session session;
    const ExitCode code = Dispatch(words, session, "");
    Require(std::fclose(stdout) == 0 && std::fclose(stderr) == 0);
    stdout = pStreams[0];
    stderr = pStreams[1];
    const std::unique_ptr<char, decltype(&std::free)> output(pszOutput, &std::free), errors(pszErrors, &std::free);
    return {code, {pszOutput, uOutput}, {pszErrors, uErrors}};
}

void EmptyRegistry()
{
    for (const std::string& sKey : ListKeys({Hive, ""})) {
        Require(ovRegDeleteKey(Hive, sKey.c_str(), true, 0) == ERROR_SUCCESS);
    }
    for (const ValueInfo& value : ListValues({Hive, ""})) {
        Require(ovRegDeleteValue(Hive, "", value.sName.c_str(), 0) == ERROR_SUCCESS);
    }
}

/// As if the library were unloaded and loaded again.
void RestartStores()
{
    std::destroy_at(&gStaticDataStoreRegistration);
    std::construct_at(&gStaticDataStoreRegistration);
}

std::string Export()
{
    const SOutcome outcome = Run({"registry", "export", Hive});
    Require(outcome.code == ExitCode::Ok && outcome.sErrors.empty());
    return outcome.sOutput;
}

/// A failure is reported with its line, and what is no failure is a warning; each in printable text.
void RequireReported(const SOutcome& outcome)
{
    std::istringstream errors(outcome.sErrors);
    bool bFailed = false;
    for (std::string sLine; std::getline(errors, sLine);) {
        const bool bFailure = sLine.starts_with("sharedstore: script:");
        Require(bFailure || sLine.starts_with("sharedstore: warning: "));
        Require(std::all_of(sLine.begin(), sLine.end(), [](char c) { return c >= ' ' && c <= '~'; }));
        bFailed = bFailed || bFailure;
    }
    Require(bFailed == (outcome.code != ExitCode::Ok) && outcome.code >= ExitCode::Ok && outcome.code <= ExitCode::Exists);
}

} // namespace

/// Nothing is logged: a log lies where the library found it to be when it was loaded, outside of the folder.
void pvlogLog(const char*, unsigned int, const char*, ...) {}

extern "C" {

SHAREDSTORE_API int open(const char* pszPath, int nFlags, ...)
{
    std::va_list args;
    va_start(args, nFlags);
    const mode_t nMode = (nFlags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
    va_end(args);
    return InFolder("open", pszPath, nFlags, nMode);
}

SHAREDSTORE_API int mkostemp(char* pszPath, int nFlags)
{
    return InFolder("mkostemp", pszPath, nFlags);
}

SHAREDSTORE_API int mkdir(const char* pszPath, mode_t nMode) noexcept
{
    return InFolder("mkdir", pszPath, nMode);
}

long pvRegCreateKeyEx(const char* pszHive, const char* pszKey, unsigned long, char*, unsigned long, unsigned long, void*, PVHKEY* phKey,
                      unsigned long*)
{
    const auto pCreate = reinterpret_cast<decltype(&pvRegCreateKeyEx)>(dlsym(RTLD_NEXT, "pvRegCreateKeyEx"));
    return std::string_view(pszHive) == Hive ? pCreate(pszHive, pszKey, 0, nullptr, 0, 0, nullptr, phKey, nullptr) : ERROR_ACCESS_DENIED;
}

int LLVMFuzzerInitialize(int*, char*** pargv)
{
    setenv("SHAREDSTORE_REGISTRY_SYNC", "relaxed", 1);
    if (std::getenv(FolderVariable) == nullptr) {
        std::exit(RestartInOwnFolder(*pargv));
    }
    static const std::filesystem::path folder = std::getenv(FolderVariable);
    std::atexit([] { std::filesystem::remove_all(folder); });
    setenv(KeyFileVariable, (folder / "key").c_str(), 1);
    std::ofstream(folder / "key") << SomeKey;
    std::ofstream(folder / "pins") << "1234\n\nsecret\n";
    const CKey made({Hive, ""});
    Require(dup2(open((folder / "pins").c_str(), O_RDONLY), STDIN_FILENO) == STDIN_FILENO);
    dup2(static_cast<int>(syscall(SYS_open, "/proc/self/fd/2", O_WRONLY | O_APPEND)), STDERR_FILENO); // what can't be opened stays
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize)
{
    const std::filesystem::path work = std::filesystem::path(std::getenv(FolderVariable)) / "work";
    std::filesystem::remove_all(work);
    std::filesystem::create_directory(work);
    std::filesystem::current_path(work);
    lseek(STDIN_FILENO, 0, SEEK_SET);
    std::ofstream("script").write(reinterpret_cast<const char*>(pData), static_cast<std::streamsize>(uSize));
    RequireReported(Run({"run", "--keep-going", "script"}));

    const std::string sLeft = Export();
    EmptyRegistry();
    std::ofstream("export") << sLeft;
    Require(Run({"registry", "import", "export"}).code == ExitCode::Ok && Export() == sLeft);
    RestartStores(); // with whatever the registry holds for a configuration
    EmptyRegistry();
    RestartStores();
    Require(Run({"pin", "flush"}).code == ExitCode::Ok);
    return 0;
}

} // extern "C"
