// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/TimerSupport.h"
#include "support/Child.h"
#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <sys/timerfd.h>

/// Asked by the leak sanitizer. A forked child has the memory of threads that it has not got.
extern "C" __attribute__((visibility("default"))) int __lsan_is_turned_off()
{
    static const pid_t s_nFirst = getpid();
    return getpid() == s_nFirst ? 0 : 1;
}

namespace
{

class TimerForkTest : public testing::Test
{
protected:
    void SetUp() override
    {
        __lsan_is_turned_off(); // asked first by the program itself
        if (UnderThreadSanitizer) {
            GTEST_SKIP();
        }
    }
};

TEST_F(TimerForkTest, Child_InheritsTimersWithTheirRemainingTimeAndExitsCleanly)
{
    Counter calls;
    const Timer pTimer = MakeTimer(100, [&] { ++calls; });
    AdvanceClock(99);
    const int nResult = RunInChild([&] {
        const bool bFired = Reaches(calls, 1);
        pTimer->Restart();
        const Timer pNew = MakeTimer(0, [&] { ++calls; });
        const bool bNewFired = Reaches(calls, 2);
        std::exit(bFired && bNewFired && calls == 2 ? 0 : 1); // with pTimer running
        return 2;
    });
    EXPECT_EQ(nResult, 0);
    EXPECT_TRUE(Reaches(calls, 1)) << "the parent's own timer";
}

TEST_F(TimerForkTest, CallbackThatRunsInTheParent_IsCalledAnewInTheChild)
{
    const pid_t nParent = getpid();
    Counter begun;
    Counter released;
    Counter calledInChild;
    Counter deleted;
    Timer pTimer = MakeTimer(0, deleted, [&] {
        if (getpid() != nParent) {
            ++calledInChild;
        } else {
            ++begun;
            Reaches(released, 1);
        }
    });
    ASSERT_TRUE(Reaches(begun, 1));
    EXPECT_EQ(RunInChild([&] { return Reaches(calledInChild, 1) ? 0 : 1; }), 0);
    const auto deleteTimer = [&] { // must not wait for the thread that the child has not got
        pTimer.reset();
        return deleted == 1 ? 0 : 1;
    };
    EXPECT_EQ(RunInChild(deleteTimer), 0);
    ++released;
}

TEST_F(TimerForkTest, ClosedAndReusedDescriptors_LeaveTimersExitAndOtherFilesAlone)
{
    const int nResult = RunInChild([] {
        Counter calls;
        MakeTimer(60, [] {});
        Timer pTimer = MakeTimer(0, [&] { ++calls; });
        bool bGood = Reaches(calls, 1);
        pTimer.reset();
        closefrom(STDERR_FILENO + 1);
        const int nAlarm = timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC); // the application's own
        pTimer = MakeTimer(60, [&] { ++calls; });
        AdvanceClock(60);
        bGood = Reaches(calls, 2) && bGood;
        itimerspec setting{};
        bGood = timerfd_gettime(nAlarm, &setting) == 0 && setting.it_value.tv_sec == 0 && setting.it_value.tv_nsec == 0 && bGood;
        bGood = fcntl(nAlarm + 1, F_GETFD) == -1 && bGood;
        std::exit(bGood ? 0 : 1);
        return 2;
    });
    EXPECT_EQ(nResult, 0);
}

} // namespace
