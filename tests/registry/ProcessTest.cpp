// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Several processes and threads on one registry: side by side, across a fork, and dying in the middle.

#include "registry/RegistrySupport.h"

#include <atomic>
#include <csignal>
#include <functional>
#include <sys/wait.h>
#include <thread>

namespace
{

/// Starts a child that runs a function and ends with its result.
pid_t Start(const std::function<int()>& function)
{
    const pid_t nChild = fork();
    if (nChild == 0) {
        alarm(60);
        _exit(function());
    }
    return nChild;
}

int ExitCodeOf(pid_t nChild)
{
    int nStatus = 0;
    waitpid(nChild, &nStatus, 0);
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -WTERMSIG(nStatus);
}

void UseRegistryIn(const std::filesystem::path& folder)
{
    setenv("SHAREDSTORE_REGISTRY", folder.c_str(), 1);
    setenv("SHAREDSTORE_REGISTRY_SYNC", "relaxed", 1);
}

TEST(ProcessTest, Writers_ThatMakeTheRegistryTogether_LoseNothing)
{
    constexpr int Writers = 4;
    constexpr int Values = 50;
    const auto folder = NewFolder("writers");
    std::vector<pid_t> children;
    for (int nWriter = 0; nWriter < Writers; ++nWriter) {
        children.push_back(Start([&, sWriter = std::to_string(nWriter)] {
            UseRegistryIn(folder);
            int nFailed = 0;
            for (int nValue = 0; nValue < Values; ++nValue) {
                nFailed += SetValue("shared\\" + sWriter, std::to_string(nValue), sWriter) != ERROR_SUCCESS ? 1 : 0;
            }
            return nFailed;
        }));
    }
    for (const pid_t nChild : children) {
        EXPECT_EQ(ExitCodeOf(nChild), 0);
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
    const int nChild = RunInChild([&] {
        const bool bReads = ReadValue("fork", "before") == Found("1");
        const bool bWrites = pvRegSetValueEx(hKey, "child", 0, REG_NONE, nullptr, 0) == ERROR_SUCCESS;
        const int nGrandchild = RunInChild([] { return SetValue("fork", "grandchild", "3") == ERROR_SUCCESS ? 0 : 1; });
        const bool bReadsOn = ReadValue("fork", "grandchild") == Found("3");
        return bReads && bWrites && nGrandchild == 0 && bReadsOn && pvRegCloseKey(hKey) == ERROR_SUCCESS ? 0 : 1;
    });
    EXPECT_EQ(nChild, 0);
    EXPECT_EQ(ReadValue("fork", "child"), Found(""));
    EXPECT_EQ(ReadValue("fork", "grandchild"), Found("3"));
    EXPECT_EQ(pvRegSetValueEx(hKey, "parent", 0, REG_NONE, nullptr, 0), ERROR_SUCCESS);
    EXPECT_EQ(pvRegCloseKey(hKey), ERROR_SUCCESS);
}

TEST(ProcessTest, Fork_WhileThreadsAreAtWork_LeavesTheChildNoLock)
{
    InChild(NewFolder("forks"), [] {
        std::atomic<bool> bStop = false;
        std::vector<std::thread> threads;
        for (int nThread = 0; nThread < 2; ++nThread) {
            threads.emplace_back([&bStop, sName = std::to_string(nThread)] {
                while (!bStop) {
                    SetValue("busy", sName, "value");
                    ReadValue("busy", sName);
                }
            });
        }
        for (int nRound = 0; nRound < 20; ++nRound) {
            EXPECT_EQ(RunInChild([] { return SetValue("busy", "child", "1") == ERROR_SUCCESS ? 0 : 1; }), 0);
        }
        bStop = true;
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(ReadValue("busy", "child"), Found("1"));
    });
}

TEST(ProcessTest, Writer_KilledAtAnyMoment_LosesNothingThatItHadWritten)
{
    const auto folder = NewFolder("killed");
    for (int nRound = 0; nRound < 20; ++nRound) {
        int aPipe[2];
        ASSERT_EQ(pipe(aPipe), 0);
        const std::string sKey = "round" + std::to_string(nRound);
        const pid_t nWriter = Start([&] {
            UseRegistryIn(folder);
            for (int nValue = 0;; ++nValue) {
                const std::string sValue = std::to_string(nValue);
                const std::string sData(static_cast<std::size_t>(nValue) * 97 % 9000, 'k');
                if (SetValue(sKey, sValue, sData) != ERROR_SUCCESS || write(aPipe[1], &nValue, sizeof(nValue)) != sizeof(nValue)) {
                    return 1;
                }
            }
        });
        close(aPipe[1]);
        int nLast = -1;
        while (nLast < 3 + nRound * 2) {
            ASSERT_EQ(read(aPipe[0], &nLast, sizeof(nLast)), static_cast<ssize_t>(sizeof(nLast)));
        }
        kill(nWriter, SIGKILL);
        EXPECT_EQ(ExitCodeOf(nWriter), -SIGKILL);
        while (read(aPipe[0], &nLast, sizeof(nLast)) == static_cast<ssize_t>(sizeof(nLast))) {
        }
        close(aPipe[0]);
        InChild(folder, [&] {
            for (int nValue = 0; nValue <= nLast; ++nValue) {
                EXPECT_EQ(ReadValue(sKey, std::to_string(nValue)).second.size(), static_cast<std::size_t>(nValue) * 97 % 9000);
            }
            EXPECT_EQ(SetValue(sKey, "after", "1"), ERROR_SUCCESS);
        });
    }
}

TEST(ProcessTest, Map_GrownByOneProcess_IsAdoptedByAnother)
{
    constexpr std::size_t Size = 4 * 1024 * 1024;
    constexpr int Values = 16; // four times the map that a registry starts with
    const auto folder = NewFolder("growth");
    InChild(folder, [] { ASSERT_EQ(SetValue("big", "0", std::string(Size, 'a')), ERROR_SUCCESS); });
    const pid_t nReader = Start([&] {
        UseRegistryIn(folder);
        for (int nValue = 0; nValue < Values;) {
            const auto [nCode, sData] = ReadValue("big", std::to_string(nValue));
            if (nCode == ERROR_SUCCESS && sData == std::string(Size, static_cast<char>('a' + nValue))) {
                ++nValue;
            } else if (nCode != ERROR_FILE_NOT_FOUND) {
                return 1;
            }
        }
        return SetValue("big", "reader", "writes too") == ERROR_SUCCESS ? 0 : 2;
    });
    InChild(folder, [] {
        for (int nValue = 1; nValue < Values; ++nValue) {
            ASSERT_EQ(SetValue("big", std::to_string(nValue), std::string(Size, static_cast<char>('a' + nValue))), ERROR_SUCCESS);
        }
    });
    EXPECT_EQ(ExitCodeOf(nReader), 0);
}

TEST(ThreadTest, Readers_SeeWholeValuesWhileWritersGrowTheMap)
{
    InChild(NewFolder("threads"), [] {
        constexpr std::size_t Size = 512 * 1024;
        std::atomic<int> nWritten = 0;
        std::atomic<int> nTorn = 0;
        ASSERT_EQ(SetValue("threads", "0", std::string(Size, 'a')), ERROR_SUCCESS);
        std::vector<std::thread> readers;
        for (int nReader = 0; nReader < 3; ++nReader) {
            readers.emplace_back([&] {
                while (nWritten < 60) {
                    const auto [nCode, sData] = ReadValue("threads", std::to_string(nWritten));
                    const bool bWhole = sData.size() == Size && sData.find_first_not_of(sData.front()) == std::string::npos;
                    nTorn += nCode == ERROR_SUCCESS && bWhole ? 0 : 1;
                }
            });
        }
        std::thread writer([&] {
            while (nWritten < 60) {
                const int nNext = nWritten + 1;
                EXPECT_EQ(SetValue("threads", std::to_string(nNext), std::string(Size, static_cast<char>('a' + nNext % 26))),
                          ERROR_SUCCESS);
                nWritten = nNext;
            }
        });
        writer.join();
        for (std::thread& reader : readers) {
            reader.join();
        }
        EXPECT_EQ(nTorn, 0);
    });
}

} // namespace
