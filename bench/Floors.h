// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Rows.h"

/// @file
/// The least that could do the same work, or another program's way of doing it. Each is ready to be repeated.

/// Finds a secret in the kernel's keyring of this process, reads it and sets its timeout anew.
/// @return null where the kernel refuses
Operation KeyringRead();

/// Copies a value out of a std::map under a mutex.
Operation MapRead(std::size_t uSize);

/// Encrypts or decrypts bytes with AES-128-CBC in a context that is kept.
Operation CipherRun(bool bEncrypt, std::size_t uSize);

/// Reads a value in a transaction of its own; replaces it durably.
Operation LmdbRead(std::size_t uSize);
Operation LmdbWrite(std::size_t uSize);

/// Reads a value by a prepared statement from a database with a write-ahead log.
Operation SqliteRead(std::size_t uSize);
