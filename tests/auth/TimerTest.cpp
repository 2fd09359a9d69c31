// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// When PINs expire, and what happens when they do so in the midst of something else.

#include "Auth.h"

#include <future>
#include <semaphore>

using TimerTest = SAuthTest;

/// A timer that can't tell the time that is left, as on a platform that has no other.
struct SMuteTimer final : OV::Framework::ITimer
{
    explicit SMuteTimer(ITimer* p) : pTimer(p) {}
    void Restart() override { pTimer->Restart(); }
    long GetSecondsLeft() const override { return 0; }
    const std::unique_ptr<ITimer> pTimer;
};

/// In front of the platform's: timers that fire at once are mute.
OV::Framework::ITimer* OV::Framework::ITimer::CreateNewTimer(unsigned int nSeconds, ITimerCallbackFunction* pCallback)
{
    constexpr const char* Name = "_ZN2OV9Framework6ITimer14CreateNewTimerEjPNS0_22ITimerCallbackFunctionE";
    ITimer* const pTimer = Serve(Name, nullptr, &CreateNewTimer, nSeconds, pCallback);
    return nSeconds == 0 ? new SMuteTimer(pTimer) : pTimer;
}

TEST_F(TimerTest, Timeout_GivesSecondsOrNoTimer)
{
    for (const auto& [uMinutes, lSeconds] :
         {std::pair(1U, 60L), {15, 900}, {0, 5}, {0x2EEEEEEF, 4}, {0xFFFFFFFF, 0xFFFFFFC4}, {0x80000000, -1}}) {
        const SPolicy policy("Timeout", uMinutes);
        EXPECT_EQ(caller.Play("flush, set 1, change 1"), "ok, ok, ok");
        std::vector<SPINInfo> pins;
        EXPECT_EQ(caller->ListPINs(pins), S_OK);
        EXPECT_TRUE(pins.at(0).lSecondsLeft == lSeconds || (lSeconds > 1 && pins.at(0).lSecondsLeft == lSeconds - 1)); // a second may pass
    }
}

TEST_F(TimerTest, Operation_WhileACallbackIsLate_IsNotUndoneByIt)
{
    const SPolicy atOnce("Timeout", 0x40000000);
    // Where the record is when another callback begins; there is none when the first one finds it unused or gone.
    const std::map<std::string, const char*> rows = {
        // clang-format off
        {"list", ""}, {"get", "1/C/P"}, {"query", "1/C/P"}, {"change 1", "1/C/P"}, {"set 2", "1/C/P"}, {"records", ""}, {"card C", ""},
        {"card C, set 2", "1/C/P"}, {"move 12, move 21", "1/C/P"}, {"end", ""}, {"flush", "1/C/P"}, {"remove", "1/C/P"},
        // clang-format on
    };
    for (const auto& [sScript, pszStays] : rows) {
        std::counting_semaphore<> begun(0), finish(0);
        const CLineHook late("CInternalAuthStore::RemoveExpiredPINFromPINSessionId", [&] { begun.release(), finish.acquire(); });
        CCaller own;
        own.Play("set 1");
        begun.acquire();
        auto run = std::async(std::launch::async, [script = sScript, other = own]() mutable {
            const CSessions here;
            other.Play(script);
        });
        const bool bWaits = sScript == "end" || sScript == "flush" || sScript == "remove"; // for the callback of the timer it deletes
        EXPECT_TRUE(!bWaits || own.ComesTo(sScript == "end" ? "fail" : "empty")) << sScript;
        EXPECT_EQ(run.wait_for(std::chrono::seconds(bWaits ? 0 : 60)), bWaits ? std::future_status::timeout : std::future_status::ready);
        own.Play(bWaits ? "set 2" : "list");
        finish.release();
        if (*pszStays != '\0') {
            begun.acquire();
            EXPECT_EQ(own.Play("list"), pszStays) << sScript;
        }
        finish.release(9);
        EXPECT_TRUE(own.ComesTo(sScript == "end" ? "fail" : "empty"));
    }
}
