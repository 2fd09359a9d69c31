// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// A function in front of the C library's.

#include "framework/TimerSupport.h"

#include <atomic>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

std::atomic<long> s_nAdvanced = 0;

} // namespace

void AdvanceClock(long nSeconds)
{
    s_nAdvanced += nSeconds;
}

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t nClock, timespec* pTime) noexcept
{
    const auto nResult = static_cast<int>(syscall(SYS_clock_gettime, nClock, pTime));
    if (nClock == CLOCK_BOOTTIME) {
        pTime->tv_sec += s_nAdvanced;
    }
    return nResult;
}
