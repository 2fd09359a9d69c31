// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "registry/Inspection.h"

#include <string>

namespace Tool
{

/// The registry's database as the host's inspection tells of it, with CFailure for codes: ExitCode::NotFound when
/// nothing was written to it yet.
Registry::SInspection InspectRegistry();

/// A number that every commit to the registry changes.
std::uint64_t RegistryState();

/// Copies the database to a folder. Throws CFailure: ExitCode::Exists when a registry lies there already.
/// @return what the copy holds
Registry::SPageCounts BackUpRegistry(const std::string& sFolder);

} // namespace Tool
