// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/FrameworkSupport.h"
#include "support/Child.h"
#include "support/Secret.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <vector>

TEST(KeyMemoryTest, KeyBytes_AreLockedAndLeftOutOfDumpsAndGoneWithTheKey)
{
    using namespace OV::Framework;
    rlimit limit{};
    getrlimit(RLIMIT_MEMLOCK, &limit);
    const bool bCanLock = limit.rlim_cur >= 65536 && !UnderSanitizer;
    const CSecret secret(16);
    std::vector<std::unique_ptr<IKey>> keys;
    for (int nKey = 0; nKey < 400; ++nKey) {
        keys.push_back(Own(IKey::Create(MakeAes().get(), "RAW", SecureBytes(secret.Bytes().begin(), secret.Bytes().end()))));
    }
    const auto isLockedAndNotDumped = [&] {
        return secret.CountCopies() == 400 && secret.CountCopies(" dd ") == 400 && secret.CountCopies(" lo ") == (bCanLock ? 400 : 0);
    };
    EXPECT_TRUE(isLockedAndNotDumped());
    EXPECT_EQ(RunInChild([&] { return isLockedAndNotDumped() ? 0 : 1; }), 0);
    keys.resize(200);
    EXPECT_EQ(secret.CountCopies(), 200);
    keys.clear();
    EXPECT_EQ(secret.CountCopies(), 0);
}
