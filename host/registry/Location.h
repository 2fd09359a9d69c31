// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"

#include <filesystem>

namespace Registry
{

/// Where the registry lies, and what said so.
struct SLocation
{
    std::filesystem::path folder;
    const char* pszSource; ///< the name of an environment variable, or words
};

/// The folder of the registry: SHAREDSTORE_REGISTRY, else /var/lib/sharedstore/registry for root,
/// else sharedstore/registry below XDG_STATE_HOME or ~/.local/state. The environment is ignored in
/// set-uid programs. Empty for a user without a home, relative when the variable is; a relative
/// XDG_STATE_HOME counts as unset.
SHAREDSTORE_API SLocation LocateRegistry();

inline std::filesystem::path RegistryFolder()
{
    return LocateRegistry().folder;
}

/// True when SHAREDSTORE_REGISTRY_SYNC is "relaxed": commits are handed to the operating system but
/// not flushed to the disk. A process may crash at any moment without harm. A machine that crashes
/// loses the last commits and may leave a database that is refused as damaged.
SHAREDSTORE_API bool IsSyncRelaxed();

} // namespace Registry
