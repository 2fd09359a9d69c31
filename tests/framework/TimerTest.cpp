// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/TimerSupport.h"

#include <gtest/gtest.h>

namespace
{

/// Lets seconds pass, as far as the timers can tell, and their thread call everything that is due.
void Sleep(long nSeconds)
{
    Counter calls;
    AdvanceClock(nSeconds);
    const Timer pLast = MakeTimer(0, [&] { ++calls; });
    ASSERT_TRUE(Reaches(calls, 1));
}

TEST(TimerTest, TimeAsleep_CountsForAnyPeriod)
{
    Counter calls;
    const Timer pTimer = MakeTimer(4294967295U, [&] { ++calls; });
    Sleep(4294967293);
    EXPECT_EQ(calls, 0);
    Sleep(2);
    EXPECT_EQ(calls, 1);
}

TEST(TimerTest, Restart_ExtendsARunningTimerAndStartsAFiredOneAgain)
{
    Counter calls;
    const Timer pTimer = MakeTimer(60, [&] { ++calls; });
    for (const int nCalls : {0, 1}) {
        Sleep(nCalls == 0 ? 59 : 1);
        EXPECT_EQ(calls, nCalls);
        pTimer->Restart();
        Sleep(59);
        EXPECT_EQ(calls, nCalls);
    }
    Sleep(120);
    EXPECT_EQ(calls, 2) << "once for each start";
}

TEST(TimerTest, Restart_InOwnCallback_FiresAgain)
{
    Counter calls;
    std::atomic<OV::Framework::ITimer*> pSelf = nullptr;
    const Timer pTimer = MakeTimer(60, [&] {
        if (++calls < 3) {
            pSelf.load()->Restart();
        }
    });
    pSelf = pTimer.get();
    for (const int nCalls : {1, 2, 3, 3}) {
        Sleep(60);
        EXPECT_EQ(calls, nCalls);
    }
}

TEST(TimerTest, Delete_InOwnCallback_DeletesTheCallbackOnceItHasReturned)
{
    Counter deleted;
    Counter calls;
    int nDeletedInside = -1;
    Timer pTimer;
    Timer pOther = MakeTimer(120, deleted, [&] { ++calls; });
    pTimer = MakeTimer(60, deleted, [&] {
        pTimer.reset();
        nDeletedInside = deleted;
        pOther.reset();
    });
    Sleep(60);
    EXPECT_EQ(nDeletedInside, 0);
    EXPECT_EQ(deleted, 2);
    Sleep(120);
    EXPECT_EQ(calls, 0) << "of a timer that was deleted before";
}

TEST(TimerTest, Delete_WhileTheCallbackRuns_WaitsForItsEnd)
{
    Counter begun;
    Counter ended;
    Counter deleted;
    Timer pTimer = MakeTimer(60, deleted, [&] {
        ++begun;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        ++ended;
    });
    AdvanceClock(60);
    EXPECT_TRUE(Reaches(begun, 1));
    pTimer.reset();
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(deleted, 1);
}

} // namespace
