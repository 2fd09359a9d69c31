// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/TimerQueue.h"

#include "framework/FrameworkException.h"
#include "platform/Log.h"
#include "util/NeverDestroyed.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <new>
#include <utility>

using OV::Framework::ITimerCallbackFunction;

namespace
{

constexpr const char* ThreadName = "ss-timer";
constexpr std::size_t ThreadStackBytes = 256UL * 1024UL;
constexpr BootTime LongestWait = BootSecond;

CNeverDestroyed<CTimerQueue> s_Queue;

struct StopAtUnload
{
    ~StopAtUnload() { s_Queue.Value.Stop(); }
};
const StopAtUnload s_StopAtUnload;

[[gnu::constructor]] void RegisterForkHandlers()
{
    pthread_atfork([] { s_Queue.Value.PrepareFork(); }, [] { s_Queue.Value.AfterForkInParent(); },
                   [] { s_Queue.Value.AfterForkInChild(); });
}

} // namespace

CTimerEntry::CTimerEntry(unsigned int nSeconds, std::unique_ptr<ITimerCallbackFunction> pCallback)
    : m_nPeriod(nSeconds * BootSecond), m_pCallback(std::move(pCallback))
{
    TimerSchedule maker;
    m_Node = maker.extract(maker.emplace(0, this));
}

CTimerQueue& CTimerQueue::GetInstance() noexcept
{
    return s_Queue.Value;
}

void CTimerQueue::Add(CTimerEntry& entry)
{
    const Lock lock(m_Mutex);
    Require(!m_bStopped && (m_bThread || StartThreadLocked()), FrameworkError::NoTimerThread);
    ScheduleLocked(entry);
}

void CTimerQueue::Restart(CTimerEntry& entry) noexcept
{
    const Lock lock(m_Mutex);
    if (!entry.m_bRemoved) {
        ScheduleLocked(entry);
    }
}

long CTimerQueue::GetSecondsLeft(const CTimerEntry& entry) noexcept
{
    const Lock lock(m_Mutex);
    const BootTime nLeft = entry.m_Node.empty() ? entry.m_nDeadline - GetBootTime() : 0;
    return nLeft <= 0 ? 0 : static_cast<long>((nLeft + BootSecond - 1) / BootSecond);
}

void CTimerQueue::Remove(CTimerEntry& entry) noexcept
{
    Lock lock(m_Mutex);
    entry.m_bRemoved = true; // its callback cannot start it again
    if (entry.m_Node.empty()) {
        entry.m_Node = m_Schedule.extract(entry.m_Position);
    }
    if (m_pRunning != &entry) {
        return;
    }
    if (OnThreadLocked()) {
        m_pOrphan = std::move(entry.m_pCallback);
        m_pRunning = nullptr;
    } else {
        m_CallbackDone.wait(lock, [&] { return m_pRunning != &entry; });
    }
}

void CTimerQueue::Stop() noexcept
{
    Lock lock(m_Mutex);
    m_bStopped = true;
    if (!m_bThread || OnThreadLocked()) { // a callback may end the process
        return;
    }
    m_Wake.notify_one();
    lock.unlock();
    pthread_join(m_Thread, nullptr);
    lock.lock();
    m_bThread = false;
}

void CTimerQueue::AfterForkInChild() noexcept
{
    std::unique_ptr<ITimerCallbackFunction> pOrphan; // deleted without the lock
    new (&m_CallbackDone) std::condition_variable;   // whoever waited does not exist here
    new (&m_Wake) std::condition_variable;
    if (!OnThreadLocked()) {
        m_bThread = false;
        pOrphan = std::move(m_pOrphan);
        CTimerEntry* pInterrupted = std::exchange(m_pRunning, nullptr);
        if (pInterrupted != nullptr && !pInterrupted->m_bRemoved && !pInterrupted->m_Node.empty()) {
            InsertLocked(*pInterrupted);
        }
        if (!m_bStopped && !m_Schedule.empty() && !StartThreadLocked()) {
            pvlogLog("SHAREDSTOREHOST", 1, "no timer thread in a forked child: its timers wait for the next one to be made");
        }
    }
    m_Mutex.unlock();
}

bool CTimerQueue::StartThreadLocked() noexcept
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, ThreadStackBytes);
    const auto main = [](void* pQueue) -> void* {
        static_cast<CTimerQueue*>(pQueue)->Run();
        return nullptr;
    };

    pthread_sigmask(SIG_SETMASK, &all, &before); // inherited: the application's signals are not handled there
    m_bThread = pthread_create(&m_Thread, &attributes, main, this) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    if (m_bThread) {
        pthread_setname_np(m_Thread, ThreadName);
    }
    return m_bThread;
}

void CTimerQueue::ScheduleLocked(CTimerEntry& entry) noexcept
{
    const BootTime nNow = GetBootTime();
    entry.m_nDeadline = nNow + entry.m_nPeriod;
    if (!entry.m_Node.empty()) { // otherwise the thread finds the new deadline at the old time
        InsertLocked(entry);
        if (entry.m_nDeadline < m_nWakeTime || m_nWakeTime <= nNow) { // it is awake, or late: the machine slept
            m_Wake.notify_one();
        }
    }
}

void CTimerQueue::InsertLocked(CTimerEntry& entry) noexcept
{
    entry.m_Node.key() = entry.m_nDeadline;
    entry.m_Position = m_Schedule.insert(std::move(entry.m_Node));
}

CTimerEntry* CTimerQueue::TakeDueLocked(BootTime nNow) noexcept
{
    while (!m_Schedule.empty() && m_Schedule.begin()->first <= nNow) {
        CTimerEntry& entry = *m_Schedule.begin()->second;
        entry.m_Node = m_Schedule.extract(m_Schedule.begin());
        if (entry.m_nDeadline == entry.m_Node.key()) {
            return &entry;
        }
        InsertLocked(entry); // restarted meanwhile
    }
    return nullptr;
}

void CTimerQueue::Run()
{
    Lock lock(m_Mutex);
    while (!m_bStopped) {
        const BootTime nNow = GetBootTime();
        if (CTimerEntry* pEntry = TakeDueLocked(nNow)) {
            Call(*pEntry, lock);
        } else {
            Sleep(nNow, lock);
        }
    }
}

void CTimerQueue::Call(CTimerEntry& entry, Lock& lock)
{
    m_pRunning = &entry;
    ITimerCallbackFunction& callback = *entry.m_pCallback;
    lock.unlock();
    callback.InvokeFunction();
    lock.lock();
    m_pRunning = nullptr; // the entry may be gone
    m_CallbackDone.notify_all();
    if (auto pOrphan = std::move(m_pOrphan)) {
        lock.unlock();
        pOrphan.reset();
        lock.lock();
    }
}

void CTimerQueue::Sleep(BootTime nNow, Lock& lock)
{
    if (m_Schedule.empty()) {
        m_nWakeTime = BootNever;
        m_Wake.wait(lock);
    } else {
        const BootTime nWait = std::min(m_Schedule.begin()->first - nNow, LongestWait);
        m_nWakeTime = nNow + nWait;
        m_Wake.wait_for(lock, std::chrono::nanoseconds(nWait));
    }
    m_nWakeTime = 0;
}
