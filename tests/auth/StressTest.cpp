// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Auth.h"

TEST(AuthStressTest, ThreadsAndTimersAtOnce_LeaveNoRecordThatStays)
{
    const SPolicy policy("Timeout", 0x40000000); // they fire at once
    CCaller caller;
    std::vector<std::jthread> threads;
    for (unsigned int i = 0; i < 4; ++i) {
        threads.emplace_back([i, other = caller, end = std::chrono::steady_clock::now() + std::chrono::seconds(2)]() mutable {
            const Strings scripts{"set 1", "get",     "query",   "set 2 %Q", "get %Q", "change 1",  "remove",
                                  "flush", "records", "move 12", "move 21",  "card C", "session 1", "list"};
            const CSessions sessions;
            for (std::size_t n = i; std::chrono::steady_clock::now() < end; n = n * 6364136223846793005 + 1) {
                other.Play(scripts[(n >> 32) % scripts.size()]);
            }
        });
    }
    threads.clear();
    EXPECT_TRUE(caller.ComesTo("empty"));
}
