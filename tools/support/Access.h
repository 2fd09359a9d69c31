// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <sys/stat.h>
#include <vector>

namespace Tool
{

/// Who may use a file.
struct FileAccess
{
    std::string sMode; ///< "0600"
    std::string sOwner;
    std::string sGroup;
};
FileAccess AccessOf(const struct stat& status);

/// Something about a file's permissions that is weaker than it should be.
struct AccessWarning
{
    bool bGrave; ///< more than that its own group may read or write it, which can be meant
    std::string sText;
};

/// Why others than its owner and root may read a file or folder, or replace it.
/// @param sWhat what lies there, for example "the key"
std::vector<AccessWarning> AccessWarnings(const std::string& sPath, const struct stat& status, const std::string& sWhat);

/// Whether this user may make a file or folder that is not there, with the missing folders above it.
bool MayMake(const std::string& sPath);

} // namespace Tool
