// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/AlarmClock.h"

#include <ctime>
#include <sys/timerfd.h>
#include <unistd.h>

namespace
{

/// How often a thread looks at the clock when it has no descriptor to wait for.
constexpr timespec PollPeriod = {.tv_sec = 1, .tv_nsec = 0};

} // namespace

BootTime GetBootTime() noexcept
{
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return now.tv_sec * BootSecond + now.tv_nsec;
}

void CAlarmClock::Set(BootTime nTime) noexcept
{
    m_nTime = nTime;
    itimerspec setting{};
    if (nTime != BootNever) {
        setting.it_value = {.tv_sec = nTime / BootSecond, .tv_nsec = nTime % BootSecond};
    }
    if (m_nDescriptor < 0 || timerfd_settime(m_nDescriptor, TFD_TIMER_ABSTIME, &setting, nullptr) != 0) {
        // The first time, or the application closed a descriptor that is not its own (programs that
        // become daemons do); its number may be another file's by now.
        m_nDescriptor = timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC);
        timerfd_settime(m_nDescriptor, TFD_TIMER_ABSTIME, &setting, nullptr);
    }
}

void CAlarmClock::Sleep(int nDescriptor) noexcept
{
    std::uint64_t uExpirations = 0;
    if (read(nDescriptor, &uExpirations, sizeof uExpirations) != sizeof uExpirations) {
        nanosleep(&PollPeriod, nullptr);
    }
}

void CAlarmClock::Close() noexcept
{
    m_nTime = 0;
    if (m_nDescriptor >= 0) {
        close(m_nDescriptor);
        m_nDescriptor = -1;
    }
}
