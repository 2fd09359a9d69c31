// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/SecAllocator.h"
#include "util/Operation.h"

/// Length of every key: AES-128.
inline constexpr unsigned int KeyBytes = 16;

/// Reads the key that registry stores share. The file's first 16 bytes are the key under a mask that is the
/// same everywhere: whoever can read the file has the key. Failures are logged under the operation's name.
/// @param key receives 16 bytes; their content means nothing on failure
/// @return S_OK; E_FAIL for a file that can't be opened or has fewer than 16 bytes
HRESULT ReadKeyFile(const COperation& op, OV::Framework::SecureBytes& key);
