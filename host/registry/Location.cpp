// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "registry/Location.h"

#include <cstdlib>
#include <pwd.h>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace Registry
{

namespace
{

using std::filesystem::path;

path FromEnvironment(const char* pszVariable)
{
    const char* pszValue = secure_getenv(pszVariable);
    return pszValue != nullptr ? path(pszValue) : path();
}

/// The home of the effective user in the user database, for programs whose HOME is not to be trusted.
path HomeOfUser()
{
    std::vector<char> buffer(std::size_t{16} * 1024);
    passwd entry = {};
    passwd* pEntry = nullptr;
    getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &pEntry);
    return pEntry != nullptr ? path(pEntry->pw_dir) : path();
}

SLocation StateFolder()
{
    if (path state = FromEnvironment("XDG_STATE_HOME"); state.is_absolute()) {
        return {state, "XDG_STATE_HOME"};
    }
    const path home = FromEnvironment("HOME");
    if (!home.empty()) {
        return {home / ".local/state", "HOME"};
    }
    const path homeOfUser = HomeOfUser();
    return {homeOfUser.empty() ? path() : homeOfUser / ".local/state", "the user's home folder"};
}

} // namespace

SLocation LocateRegistry()
{
    if (path folder = FromEnvironment("SHAREDSTORE_REGISTRY"); !folder.empty()) {
        return {folder, "SHAREDSTORE_REGISTRY"};
    }
    if (geteuid() == 0) {
        return {"/var/lib/sharedstore/registry", "the default for root"};
    }
    SLocation location = StateFolder();
    location.folder /= location.folder.empty() ? "" : "sharedstore/registry";
    return location;
}

bool IsSyncRelaxed()
{
    const char* pszSync = secure_getenv("SHAREDSTORE_REGISTRY_SYNC");
    return pszSync != nullptr && std::string_view(pszSync) == "relaxed";
}

} // namespace Registry
