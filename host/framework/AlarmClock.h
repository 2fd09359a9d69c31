// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <limits>

/// Nanoseconds of CLOCK_BOOTTIME, which counts the time asleep too. Room for 292 years: the longest
/// timer runs 136.
using BootTime = std::int64_t;
constexpr BootTime BootSecond = 1'000'000'000;
constexpr BootTime BootNever = std::numeric_limits<BootTime>::max();

BootTime GetBootTime() noexcept;

/// Wakes one thread at a time that may be moved while it sleeps.
///
/// Thread safety: the queue's lock guards everything but Sleep, which its thread calls without it.
class CAlarmClock
{
public:
    /// Sets the time of the next Sleep, or of the one that is under way.
    void Set(BootTime nTime) noexcept;

    /// As Set, when that is earlier. Costs a comparison otherwise.
    void SetEarlier(BootTime nTime) noexcept
    {
        if (nTime < m_nTime) {
            Set(nTime);
        }
    }

    /// The thread is awake: nobody needs to set the alarm before the thread does so itself.
    void SetAwake() noexcept { m_nTime = 0; }

    /// The descriptor for Sleep.
    int GetDescriptor() const noexcept { return m_nDescriptor; }

    /// Returns at the time that was set. It may return early; it never returns at once over and over.
    static void Sleep(int nDescriptor) noexcept;

    /// Gives the descriptor back; the next Set makes a new one. A forked child begins with this: the
    /// one that it inherited is the parent's alarm.
    void Close() noexcept;

private:
    int m_nDescriptor = -1;
    BootTime m_nTime = 0;
};
