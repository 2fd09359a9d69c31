// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "framework/FrameworkSupport.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

/// Moves CLOCK_BOOTTIME forward, as this program and the timers see it: what happens to them when
/// the machine sleeps for so long.
void AdvanceClock(long nSeconds);

using Timer = std::unique_ptr<OV::Framework::ITimer>;
using Counter = std::atomic<int>;

/// Waits until a counter has got there; false when it does not within a few seconds.
inline bool Reaches(const Counter& counter, int nValue)
{
    for (int nWait = 0; counter < nValue && nWait < 10000; ++nWait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return counter >= nValue;
}

/// Runs a function, and counts its own end.
class CCallback final : public OV::Framework::ITimerCallbackFunction
{
public:
    CCallback(Counter& deleted, std::function<void()> function) : m_Deleted(deleted), m_Function(std::move(function)) {}
    ~CCallback() override { ++m_Deleted; }

    int InvokeFunction() override
    {
        m_Function();
        return 1;
    }

private:
    Counter& m_Deleted;
    const std::function<void()> m_Function;
};

inline Timer MakeTimer(unsigned int nSeconds, Counter& deleted, std::function<void()> function)
{
    return Own(OV::Framework::ITimer::CreateNewTimer(nSeconds, new CCallback(deleted, std::move(function))));
}

inline Timer MakeTimer(unsigned int nSeconds, std::function<void()> function)
{
    static Counter s_Deleted;
    return MakeTimer(nSeconds, s_Deleted, std::move(function));
}
