// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <ctime>
#include <limits>

/// Nanoseconds of CLOCK_BOOTTIME, which counts the time asleep too. Room for 292 years: the longest
/// timer runs 136.
using BootTime = std::int64_t;
constexpr BootTime BootSecond = 1'000'000'000;
constexpr BootTime BootNever = std::numeric_limits<BootTime>::max();

inline BootTime GetBootTime() noexcept
{
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return now.tv_sec * BootSecond + now.tv_nsec;
}
