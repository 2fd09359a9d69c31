// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/Store.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Tool
{

/// What a part of a store holds at some moment: of each compartment the items, of each item a hash of its value, which
/// is 0 for one that can't be read.
using Snapshot = std::map<std::string, std::map<std::string, std::size_t>>;

/// Reads a compartment and everything below it; what other processes remove meanwhile is left out.
/// @param stops asked ahead of each compartment; when it says yes there is no snapshot
std::optional<Snapshot> TakeSnapshot(CStore& store, const std::string& sPath, const std::function<bool()>& stops);

/// A difference between two snapshots.
struct Change
{
    const char* pszWhat; ///< "added", "changed" or "removed"
    std::string sCompartment;
    std::string sItem; ///< empty when it is about the compartment
};
std::vector<Change> Changes(const Snapshot& before, const Snapshot& after);

} // namespace Tool
