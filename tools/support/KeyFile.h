// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/Access.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Tool
{

/// The file whose first 16 bytes are the key of every encrypted registry store of the machine.
inline constexpr const char* DefaultKeyFile = "/opt/orvane/pv.sharedstore/remanentstore.key";
inline constexpr std::size_t KeySize = 16;

/// What is known of a usable key file. Its bytes are not: nothing here reads them.
struct KeyFile
{
    std::string sPath;
    std::uintmax_t uSize = 0;
    FileAccess access;
    std::vector<AccessWarning> warnings; ///< why others may read or replace it
};

/// Makes a key file of random bytes, mode 0600, and the folders that are missing above it, mode 0755.
/// The file appears when it is complete. Throws CFailure: ExitCode::Exists when the name is taken.
void CreateKeyFile(const std::string& sPath);

/// Opens a key file as the library does. Throws CFailure when the library can't use it:
/// ExitCode::NotFound for none, ExitCode::Usage for one that is no key, ExitCode::Io for one that
/// this user may not read.
KeyFile CheckKeyFile(const std::string& sPath);

} // namespace Tool
