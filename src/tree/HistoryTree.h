// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"
#include "platform/ComEmulation.h"
#include "platform/SecAllocator.h"
#include "util/Mutex.h"

class CAbstractTree;

/// @file
/// The versions of all compartments of all stores of the process.
///
/// Every compartment has a compartment version, which advances when it is made, touched or removed,
/// and a content version, which advances when an item in it is set or removed. Both are unsigned
/// 32-bit numbers that start at 0 (never changed) and wrap. They live in a tree of their own, so they
/// outlive the compartment: one made again counts on from where its predecessor stopped.
///
/// A compartment's versions are kept under its store's identifier, "/" and its path; those of a
/// store's root under the store's identifier alone.

/// The lock around the history tree; the last in the lock order.
extern SHAREDSTORE_API CMutex gHistoryMutex;

/// The tree of versions: a memory tree named "History" whose compartments hold the items
/// "CompartmentVersion" and "ContentVersion", VT_UINT vectors of one element. Null before the data
/// store directory was made and after the library was unloaded. Whoever calls it directly holds
/// gHistoryMutex; the functions below take it themselves.
extern SHAREDSTORE_API CAbstractTree* gHistoryTree SHAREDSTORE_PT_GUARDED_BY(gHistoryMutex);

/// Adds one to a version of one compartment.
/// @param sPath the store's identifier, "/" and the compartment's path
/// @param bContent zero: the compartment version; non-zero: the content version
/// @return S_OK; E_FAIL without a history tree; the code of a failed array or tree call. When the new
///         number's array can't be made, the code of reading the old one: S_OK where there was one,
///         though nothing advanced.
/// Thread safety: any thread.
SHAREDSTORE_API HRESULT UpdateVersion(const OV::Framework::SecureString& sPath, int bContent);

/// Which versions UpdateHistoryTree advances.
enum HistoryMode : int {
    HistoryBoth = -1,
    HistoryCompartment = 0,
    HistoryContent = 1,
};

/// Adds one to the versions of a compartment and of every ancestor on its path, shortest path first.
/// @param sCompartmentIdGlobal as sPath of UpdateVersion
/// @param mode a HistoryMode; any other number updates nothing
/// @return S_OK; the code of the first failed update, which ends the walk: what was updated stays so
/// Thread safety: any thread; readers see the whole path updated or nothing of it.
SHAREDSTORE_API HRESULT UpdateHistoryTree(const OV::Framework::SecureString& sCompartmentIdGlobal, int mode);

/// Reads both versions of a compartment; one that was never counted is 0.
/// @param pulCompartmentVersion may not be null
/// @param pulContentVersion may be null. What was read is written whatever the result, 0 for what was not.
/// @return S_OK; E_FAIL without a history tree and for a null pulCompartmentVersion; the code of a
///         failed array or tree call
/// Thread safety: any thread.
SHAREDSTORE_API HRESULT GetVersion(const OV::Framework::SecureString& sCompartmentIdGlobal, unsigned long* pulCompartmentVersion,
                                   unsigned long* pulContentVersion);
