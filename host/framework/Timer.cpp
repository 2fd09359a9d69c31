// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/FrameworkException.h"
#include "framework/TimerQueue.h"

namespace
{

using OV::Framework::ITimer;
using OV::Framework::ITimerCallbackFunction;

/// An entry of the process's queue, in the shape of the platform.
class CTimer final : public ITimer
{
public:
    CTimer(unsigned int nSeconds, std::unique_ptr<ITimerCallbackFunction> pCallback) : m_Entry(nSeconds, std::move(pCallback))
    {
        CTimerQueue::GetInstance().Add(m_Entry);
    }

    ~CTimer() override { CTimerQueue::GetInstance().Remove(m_Entry); }
    CTimer(const CTimer&) = delete;
    CTimer& operator=(const CTimer&) = delete;

    void Restart() override { CTimerQueue::GetInstance().Restart(m_Entry); }
    long GetSecondsLeft() const override { return CTimerQueue::GetInstance().GetSecondsLeft(m_Entry); }

private:
    CTimerEntry m_Entry;
};

} // namespace

namespace OV::Framework
{

ITimer* ITimer::CreateNewTimer(unsigned int nSeconds, ITimerCallbackFunction* pCallback)
{
    std::unique_ptr<ITimerCallbackFunction> pOwned(pCallback);
    Require(pOwned != nullptr, FrameworkError::InvalidArgument);
    return new CTimer(nSeconds, std::move(pOwned));
}

} // namespace OV::Framework
