// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace OV::DataStore
{

/// Where a data store keeps its compartments.
enum Type : int {
    MemoryStore = 0,   ///< in the memory of the process
    RegistryStore = 1, ///< in the registry, so that they outlive the process
};

} // namespace OV::DataStore
