// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"
#include "registry/PageCheck.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Registry
{

/// @file
/// What an administrator asks of the registry database, and no program that keeps values in it. But for WriteValues nothing
/// here changes a record; as every process that opens the registry does, these functions free the reader slots of processes that died.
/// Inspection and backup wait for the transactions of this process, and no other thread of it gets at the registry meanwhile.

/// What the permissions of the registry's files allow this process.
enum class EAccess {
    Write,
    Read,
    ReadUnregistered, ///< the lock file can't be opened: writers take no account of this process
};

struct SInspection
{
    bool bExists = false; ///< false: nothing was written yet, and what follows means nothing
    EAccess eAccess = EAccess::Write;
    std::uint64_t uPageSize = 0;
    std::uint64_t uMapPages = 0; ///< the map doubles when they are used up
    std::uint64_t uUsedPages = 0;
    SPageCounts counts;
    unsigned uReaderSlots = 0;
    unsigned uReadersTaken = 0;
    unsigned uReadersFreed = 0; ///< of processes that had died, when this process opened the registry
    std::vector<std::string> hives;
};

/// Checks every page and record, and tells what there is.
/// @param sReason why, when it fails
/// @return a code of platform/Registry.h
SHAREDSTORE_API long InspectRegistry(SInspection& inspection, std::string& sReason) noexcept;

/// A number that every commit to the registry changes, from whichever process, for those who wait for changes. Costs
/// next to nothing.
/// @return a code of platform/Registry.h
SHAREDSTORE_API long ReadRegistryState(std::uint64_t& uState) noexcept;

/// Writes a consistent copy of the registry to a folder, which is made when it is missing and must not hold a registry;
/// other processes read and write meanwhile. The copy has no free pages, mode 0600 and was checked before it gets its name.
/// @param counts what the copy holds
/// @return a code of platform/Registry.h; ERROR_FILE_NOT_FOUND when there is no registry, ERROR_ALREADY_EXISTS when the
///         folder holds one
SHAREDSTORE_API long BackUpRegistry(const std::filesystem::path& folder, SPageCounts& counts, std::string& sReason) noexcept;

/// A value to be written. It borrows the strings.
struct SNewValue
{
    const char* pszHive;
    const char* pszSubKey;
    const char* pszName; ///< null: the key alone is made
    unsigned long ulType;
    std::string_view sData;
};

/// Writes values, and makes their keys where they are missing, in one transaction: all of them or none, and the disk is
/// waited for once. Other processes can't write meanwhile.
/// @return a code of platform/Registry.h
SHAREDSTORE_API long WriteValues(std::span<const SNewValue> values) noexcept;

/// A Win32 number that no function of platform/Registry.h answers.
constexpr long ERROR_ALREADY_EXISTS = 183;

} // namespace Registry
