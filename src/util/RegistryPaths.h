// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// @file
/// Where the library's settings live in the registry.

inline constexpr const char* RegistryHive = "HKEY_LOCAL_MACHINE";

/// Settings of the library itself.
inline constexpr const char* SharedStoreKey = "Software\\Orvane\\SharedStore";

/// One sub-key per data store that exists from the moment the library is loaded.
inline constexpr const char* StoreListKey = "Software\\Orvane\\SharedStore\\StoreList";

/// Holds the key of every tree that is kept in the registry, by the tree's identifier.
inline constexpr const char* RemanentStoreKey = "Software\\Orvane\\SharedStore\\RemanentDataStore\\";

/// What the administrator decides about PINs.
inline constexpr const char* PINPolicyKey = "Software\\Policies\\Orvane\\SharedStore\\Authentication";
