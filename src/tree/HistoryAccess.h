// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "tree/HistoryTree.h"

/// @file
/// What the inside of the library does with the history tree.

/// Makes the history tree when there is none. It lives until the library's static objects are
/// destroyed, longer than every object whose constructor has called this.
void CreateHistoryTree();

/// As GetVersion, for callers that hold gHistoryMutex: the history tree itself, asked for its own versions.
HRESULT GetVersionLocked(const OV::Framework::SecureString& sCompartmentIdGlobal, unsigned long* pulCompartmentVersion,
                         unsigned long* pulContentVersion) SHAREDSTORE_REQUIRES(gHistoryMutex);
