// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <filesystem>
#include <sys/types.h>

namespace Registry
{

/// The names that LMDB gives its files.
constexpr const char* DataFileName = "data.mdb";
constexpr const char* LockFileName = "lock.mdb";

/// Modest, because the map is address space of the host process. It doubles on demand.
constexpr std::size_t InitialMapSize = std::size_t{16} * 1024 * 1024;
constexpr mode_t FileMode = 0600;
constexpr mode_t FolderMode = 0700;

/// Makes a folder and those that are missing above it, durable. One that is there is left as it is.
void MakeFolder(const std::filesystem::path& folder);

/// Makes a new entry of a folder durable, as far as its file system and permissions allow.
void SyncFolder(const std::filesystem::path& folder);

/// Makes the folder and an empty registry database in it, both durable, unless there is one already.
/// A database appears complete or not at all, whenever its maker dies. This process must not have the
/// database open: LMDB's file locks would go. Throws CStorageError.
void CreateDatabase(const std::filesystem::path& folder);

/// Whether an open data file holds a database. An empty file counts as none.
bool HoldsDatabase(int nFile);

} // namespace Registry
