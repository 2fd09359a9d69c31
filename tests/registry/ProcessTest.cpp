// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Several processes and threads on one registry: side by side, across a fork, and dying in the middle.

#include "registry/RegistrySupport.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <thread>

namespace
{

TEST(ProcessTest, Writers_ThatMakeTheRegistryTogether_LoseNothing)
{
    constexpr int Writers = 4;
    constexpr int Values = 50;
    const auto folder = NewFolder("writers");
    std::vector<pid_t> children;
    for (int nWriter = 0; nWriter < Writers; ++nWriter) {
        children.push_back(StartChild([&, sWriter = std::to_string(nWriter)] {
            UseRegistryIn(folder);
            for (int nValue = 0; nValue < Values; ++nValue) {
                EXPECT_EQ(SetValue("shared\\" + sWriter, std::to_string(nValue), sWriter), ERROR_SUCCESS);
            }
            return testing::Test::HasFailure() ? 1 : 0;
        }));
    }
    for (const pid_t nChild : children) {
        EXPECT_EQ(WaitForChild(nChild), 0);
    }
    InChild(folder, [&] {
        for (int nWriter = 0; nWriter < Writers; ++nWriter) {
            unsigned long ulCount = 0;
            const std::string sKey = "shared\\" + std::to_string(nWriter);
            EXPECT_EQ(ovRegListValueNamesEx(Hive, sKey.c_str(), nullptr, &ulCount, -1, 0), ERROR_SUCCESS);
            EXPECT_EQ(ulCount, static_cast<unsigned long>(Values));
        }
    });
}

TEST(ProcessTest, Fork_OfAUser_LeavesBothWithAWorkingRegistry)
{
    ASSERT_EQ(SetValue("fork", "before", "1"), ERROR_SUCCESS);
    PVHKEY hKey = nullptr;
    ASSERT_EQ(pvRegOpenKeyEx(Hive, "fork", 0, 0, &hKey), ERROR_SUCCESS);
    const auto write = [&](const char* pszName) { return pvRegSetValueEx(hKey, pszName, 0, REG_NONE, nullptr, 0) == ERROR_SUCCESS; };
    const int nChild = RunInChild([&] {
        const bool bReadsAndWrites = ReadValue("fork", "before") == Found("1") && write("child");
        const int nGrandchild = RunInChild([&] { return write("grandchild") ? 0 : 1; });
        return bReadsAndWrites && nGrandchild == 0 && ReadValue("fork", "grandchild") == Found("") ? 0 : 1;
    });
    EXPECT_EQ(nChild, 0);
    EXPECT_EQ(ReadValue("fork", "child"), Found(""));
    EXPECT_TRUE(write("parent"));
    EXPECT_EQ(pvRegCloseKey(hKey), ERROR_SUCCESS);
}

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

TEST(ProcessTest, Writer_KilledAtAnyMoment_LosesNothingThatItHadWritten)
{
    const auto folder = NewFolder("killed");
    const auto dataOf = [](int nValue) { return std::string(static_cast<std::size_t>(nValue) * 97 % 9000, 'k'); };
    for (int nRound = 0; nRound < 20; ++nRound) {
        int aPipe[2];
        ASSERT_EQ(pipe(aPipe), 0);
        const std::string sKey = "round" + std::to_string(nRound);
        const pid_t nWriter = StartChild([&] {
            UseRegistryIn(folder);
            for (int nValue = 0; SetValue(sKey, std::to_string(nValue), dataOf(nValue)) == ERROR_SUCCESS; ++nValue) {
                if (write(aPipe[1], &nValue, sizeof(nValue)) != sizeof(nValue)) {
                    break;
                }
            }
            return 1;
        });
        close(aPipe[1]);
        int nLast = -1;
        while (read(aPipe[0], &nLast, sizeof(nLast)) == static_cast<ssize_t>(sizeof(nLast))) {
            if (nLast == 3 + nRound * 2) {
                kill(nWriter, SIGKILL);
            }
        }
        EXPECT_EQ(WaitForChild(nWriter), -SIGKILL);
        close(aPipe[0]);
        InChild(folder, [&] {
            for (int nValue = 0; nValue <= nLast; ++nValue) {
                EXPECT_EQ(ReadValue(sKey, std::to_string(nValue)), Found(dataOf(nValue)));
            }
            EXPECT_EQ(SetValue(sKey, "after", "1"), ERROR_SUCCESS);
        });
    }
}

TEST(ProcessTest, Map_GrownByOneProcess_IsAdoptedByAnother)
{
    constexpr int Values = 16; // four times the map that a registry starts with
    const auto folder = NewFolder("growth");
    const auto dataOf = [](int nValue) { return std::string(4 * 1024 * 1024, static_cast<char>('a' + nValue)); };
    const pid_t nReader = StartChild([&] {
        UseRegistryIn(folder);
        for (int nValue = 0; nValue < Values;) {
            const auto found = ReadValue("big", std::to_string(nValue));
            if (found != NotFound && found != Found(dataOf(nValue))) {
                return 1;
            }
            nValue += found == NotFound ? 0 : 1;
        }
        return SetValue("big", "reader", "writes too") == ERROR_SUCCESS ? 0 : 2;
    });
    InChild(folder, [&] {
        for (int nValue = 0; nValue < Values; ++nValue) {
            ASSERT_EQ(SetValue("big", std::to_string(nValue), dataOf(nValue)), ERROR_SUCCESS);
        }
    });
    EXPECT_EQ(WaitForChild(nReader), 0);
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
