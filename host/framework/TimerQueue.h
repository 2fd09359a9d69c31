// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "framework/BootClock.h"
#include "platform/Framework.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <pthread.h>

class CTimerEntry;

/// Entries by the time at which the thread looks at them: at or before their deadline.
using TimerSchedule = std::multimap<BootTime, CTimerEntry*>;

/// A timer as the queue sees it. It belongs to its timer; the queue's lock guards it.
class CTimerEntry
{
public:
    CTimerEntry(unsigned int nSeconds, std::unique_ptr<OV::Framework::ITimerCallbackFunction> pCallback);

private:
    friend class CTimerQueue;

    const BootTime m_nPeriod;
    std::unique_ptr<OV::Framework::ITimerCallbackFunction> m_pCallback;
    BootTime m_nDeadline = 0;
    bool m_bRemoved = false;

    // An entry's node is either here or in the schedule: no start ever allocates memory.
    TimerSchedule::node_type m_Node;
    TimerSchedule::iterator m_Position; // while the node is in the schedule
};

/// Runs the callbacks of all timers of the process, on one thread.
///
/// The first timer starts the thread; unloading the library ends it, whatever timers exist. A restart
/// moves the deadline only: the thread still looks at the timer at its old time, finds the later
/// deadline and puts the timer back. No lock is held while a callback runs. Since there is one thread,
/// a callback that deletes another timer never finds it running, so two callbacks may delete each
/// other's timer.
///
/// The thread waits without a descriptor: programs that become daemons close those that are not their
/// own, and reuse the numbers. No wait ends by itself at a time of CLOCK_BOOTTIME, so while timers
/// exist the thread looks at that clock at least once a second: after the machine slept, a timer fires
/// at most that late. Without timers the thread sleeps until there is one.
///
/// In a forked child the timers go on with the time that was left to them, each in its own copy. The
/// child gets a thread of its own at once when a timer is waiting (what has been cached has to
/// expire there too, and nothing else would call us), otherwise with its next timer. A callback that was
/// running on the thread of the parent is not continued: the child calls it anew. In a child that a
/// callback forks, its thread is the timers' thread, and goes on with them if the callback returns.
class CTimerQueue
{
public:
    static CTimerQueue& GetInstance() noexcept;

    /// Starts a timer. Throws IException* when there is no thread to run it.
    void Add(CTimerEntry& entry);

    /// Starts a timer's period anew.
    void Restart(CTimerEntry& entry) noexcept;

    /// @return the time until a timer's deadline, rounded up; 0 when it has none
    long GetSecondsLeft(const CTimerEntry& entry) noexcept;

    /// Stops a timer for good. Its callback does not run any more when this returns; inside that
    /// callback, the queue takes the callback object over and deletes it when the callback returned.
    void Remove(CTimerEntry& entry) noexcept;

    /// Ends the thread. Timers can still be removed, but none runs any more.
    void Stop() noexcept;

    void PrepareFork() { m_Mutex.lock(); }
    void AfterForkInParent() { m_Mutex.unlock(); }
    void AfterForkInChild() noexcept;

private:
    using Lock = std::unique_lock<std::mutex>;

    bool StartThreadLocked() noexcept;
    bool OnThreadLocked() const { return m_bThread && pthread_equal(m_Thread, pthread_self()) != 0; }
    void ScheduleLocked(CTimerEntry& entry) noexcept;
    void InsertLocked(CTimerEntry& entry) noexcept;
    CTimerEntry* TakeDueLocked(BootTime nNow) noexcept;

    void Run();
    void Call(CTimerEntry& entry, Lock& lock);
    void Sleep(BootTime nNow, Lock& lock);

    std::mutex m_Mutex; // guards what follows, and all entries
    std::condition_variable m_CallbackDone;
    std::condition_variable m_Wake; // the thread waits for it
    TimerSchedule m_Schedule;
    BootTime m_nWakeTime = 0; // when the thread looks at the schedule next; long ago while it is awake
    pthread_t m_Thread{};
    bool m_bThread = false;
    bool m_bStopped = false;
    CTimerEntry* m_pRunning = nullptr;                                // its callback runs now
    std::unique_ptr<OV::Framework::ITimerCallbackFunction> m_pOrphan; // the callback that runs, when it deleted its timer
};
