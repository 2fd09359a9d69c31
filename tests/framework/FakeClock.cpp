// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Two functions in front of the C library's.

#include "framework/TimerSupport.h"

#include <algorithm>
#include <atomic>
#include <ctime>
#include <mutex>
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace
{

std::atomic<long> s_nAdvanced = 0;

std::mutex s_Mutex; // guards what follows
int s_nDescriptor = -1;
itimerspec s_Setting{}; // in the time that the timers see

int SetAlarmLocked()
{
    itimerspec real = s_Setting;
    if (real.it_value.tv_sec != 0) {
        real.it_value.tv_sec = std::max(real.it_value.tv_sec - s_nAdvanced, 1L); // at once, when it has passed
    }
    return static_cast<int>(syscall(SYS_timerfd_settime, s_nDescriptor, TFD_TIMER_ABSTIME, &real, nullptr));
}

} // namespace

void AdvanceClock(long nSeconds)
{
    const std::lock_guard lock(s_Mutex);
    s_nAdvanced += nSeconds;
    SetAlarmLocked();
}

extern "C" {

__attribute__((visibility("default"))) int clock_gettime(clockid_t nClock, timespec* pTime) noexcept
{
    const auto nResult = static_cast<int>(syscall(SYS_clock_gettime, nClock, pTime));
    if (nClock == CLOCK_BOOTTIME) {
        pTime->tv_sec += s_nAdvanced;
    }
    return nResult;
}

__attribute__((visibility("default"))) int timerfd_settime(int nDescriptor, int, const itimerspec* pNew, itimerspec*) noexcept
{
    const std::lock_guard lock(s_Mutex);
    s_nDescriptor = nDescriptor;
    s_Setting = *pNew;
    return SetAlarmLocked();
}
}
