// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Several processes and threads on one registry: side by side and across a fork.

#include "registry/RegistrySupport.h"

#include <atomic>
#include <fcntl.h>
#include <thread>

namespace
{

TEST(ProcessTest, ClosedStandardDescriptors_StayClosed)
{
    const auto writeAndRead = [folder = NewFolder("closed")] {
        UseRegistryIn(folder);
        for (const int nDescriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            close(nDescriptor);
        }
        const bool bWorks = SetValue("a", "v", "1") == ERROR_SUCCESS && ReadValue("a", "v") == Found("1");
        const int nLowestFree = open("/dev/null", O_RDONLY);
        return bWorks && nLowestFree == 0 && dup(0) == 1 && dup(0) == 2 ? 0 : 1;
    };
    EXPECT_EQ(RunInChild(writeAndRead), 0) << "the one that makes the registry";
    EXPECT_EQ(RunInChild(writeAndRead), 0) << "one that opens it";
}

TEST(ProcessTest, ThreadsThatGrowTheMap_ReadWholeValuesAndLeaveAForkedChildNoLock)
{
    InChild(NewFolder("threads"), [] {
        constexpr int Values = 60;
        const auto dataOf = [](int nValue) { return std::string(512 * 1024, static_cast<char>('a' + nValue % 26)); };
        std::atomic<int> nWritten = 0;
        ASSERT_EQ(SetValue("threads", "0", dataOf(0)), ERROR_SUCCESS);
        const std::jthread writer([&] {
            for (; nWritten < Values; ++nWritten) {
                EXPECT_EQ(SetValue("threads", std::to_string(nWritten + 1), dataOf(nWritten + 1)), ERROR_SUCCESS);
            }
        });
        const std::jthread reader([&] {
            for (int nLast = 0; nLast < Values; nLast = nWritten) {
                EXPECT_TRUE(ReadValue("threads", std::to_string(nLast)) == Found(dataOf(nLast))) << nLast;
            }
        });
        while (nWritten < Values) {
            EXPECT_EQ(RunInChild([] { return SetValue("threads", "child", "1") == ERROR_SUCCESS ? 0 : 1; }), 0);
        }
    });
}

} // namespace
