// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// A fork finds every store between two operations: all locks of the library are taken before it, in their
// order, and given back in both processes.

#include "client/StaticAuthStoreRegistration.h"
#include "client/StaticDataStoreRegistration.h"
#include "tree/HistoryTree.h"
#include "util/ForkMember.h"

#include <pthread.h>

namespace
{

void HoldAll() SHAREDSTORE_NO_THREAD_SAFETY_ANALYSIS
{
    gStaticDataStoreRegistration.HoldForFork();
    gStaticAuthStoreRegistration.HoldForFork();
    CForkMember::HoldAll();
    gHistoryMutex.Lock(); // all stores take it last
}

void ReleaseAll(bool bInChild) SHAREDSTORE_NO_THREAD_SAFETY_ANALYSIS
{
    gHistoryMutex.Unlock();
    CForkMember::ReleaseAll();
    gStaticAuthStoreRegistration.ReleaseAfterFork(bInChild);
    gStaticDataStoreRegistration.ReleaseAfterFork(bInChild);
}

// Once per process, not once per directory.
[[gnu::constructor]] void RegisterForkHandlers()
{
    pthread_atfork(
        &HoldAll, [] { ReleaseAll(false); }, [] { ReleaseAll(true); });
}

} // namespace
