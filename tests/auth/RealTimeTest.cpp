// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// The shortest life of a PIN, in the time that passes for everybody.

#include "Auth.h"

TEST(RealTimeTest, PIN_LivesFiveSecondsFromItsLastUse)
{
    const SPolicy policy("Timeout", 0);
    CCaller caller(1);
    const auto wait = [](int nSeconds) { std::this_thread::sleep_for(std::chrono::seconds(nSeconds)); };
    EXPECT_EQ(caller.Play("set 1 %used, set 1 %unused"), "ok, ok");
    wait(3);
    EXPECT_EQ(caller.Play("get %used"), "1 1");
    wait(3); // after the end of the time that began with the set
    EXPECT_EQ(caller.Play("list"), "C/used");
    wait(4);
    EXPECT_EQ(caller.Play("list"), "empty");
}
