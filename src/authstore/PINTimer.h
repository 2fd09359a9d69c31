// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Framework.h"
#include "platform/SecAllocator.h"

#include <atomic>
#include <map>
#include <memory>

/// Counts the uses of a record since its timer was made. Changed under the store's mutex only; read by the
/// timer's callback before it has the mutex, which so learns whether the record was used while it waited.
using PINUseCount = std::atomic<unsigned long>;

/// The count of a timer that its store has dropped. Its callback touches nothing any more, not even in a forked
/// child, where the thread that was about to delete the timer does not exist.
inline constexpr unsigned long DroppedTimer = ~0UL;

/// A record's timer as its store sees it. The count tells it from a later timer of the same path.
struct SPINTimer
{
    std::unique_ptr<OV::Framework::ITimer> pTimer; ///< calls back with the same count
    std::shared_ptr<PINUseCount> pUses;            ///< shared with the callback
};

/// What a store tells of a record without counting as a use of it.
struct SPINInfo
{
    OV::Framework::SecureString sCompartmentIdGlobal; ///< its path
    bool bAvailable = false;                          ///< a PIN Always key may take the PIN once
    bool bBypass = false;                             ///< a PIN Always key may always take it
    long lSecondsLeft = -1;                           ///< until it expires when it is not used; -1: unknown, or never
};

/// Timers by path, at most one each, and in DroppedPINTimers those that wait for their deletion. Entries move from the one to
/// the other as they are, so dropping a timer never runs out of memory.
using PINTimers = std::map<OV::Framework::SecureString, SPINTimer>;
/// As PINTimers, but a path can have several.
using DroppedPINTimers = std::multimap<OV::Framework::SecureString, SPINTimer>;
