// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "tree/AbstractTree.h"
#include "tree/HistoryTree.h"
#include "util/Operation.h"

/// @file
/// What the inside of the library does with the history tree.

/// Makes the history tree when there is none. It lives until the library's static objects are
/// destroyed, longer than every object whose constructor has called this.
void CreateHistoryTree();

/// As GetVersion, for callers that hold gHistoryMutex: the history tree itself, asked for its own versions.
HRESULT GetVersionLocked(const OV::Framework::SecureString& sCompartmentIdGlobal, unsigned long* pulCompartmentVersion,
                         unsigned long* pulContentVersion) SHAREDSTORE_REQUIRES(gHistoryMutex);

/// The path under which the versions of a tree's compartment are counted.
inline OV::Framework::SecureString VersionPath(const OV::Framework::SecureString& sTreeId,
                                               const OV::Framework::SecureString& sCompartmentId)
{
    return sCompartmentId == RootCompartment ? sTreeId : ChildPath(sTreeId, sCompartmentId);
}

/// Writes an error line when hr, which is the result of a version function, is a failure; returns hr.
inline HRESULT CheckVersions(const COperation& op, HRESULT hr, const char* pszFailure)
{
    if (FAILED(hr)) {
        pvlogLog(LogComponent, LogError, "%s %s hr = %x", op.Name(), pszFailure, static_cast<unsigned int>(hr));
    }
    return hr;
}
