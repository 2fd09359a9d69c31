// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// The log reads its environment once per process, so every case logs in a child of its own.

#include "platform/Log.h"
#include "support/Child.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <tuple>
#include <vector>

// In front of the C library's functions, of which optimised builds call the second one.
extern "C" {
__attribute__((visibility("default"))) void vsyslog(int nPriority, const char* pszFormat, va_list args)
{
    std::fprintf(stderr, "<%d>", nPriority);
    std::vfprintf(stderr, pszFormat, args);
    std::fputc('\n', stderr);
}

__attribute__((visibility("default"))) void syslog(int nPriority, const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    vsyslog(nPriority, pszFormat, args);
    va_end(args);
}

__attribute__((visibility("default"))) void __syslog_chk(int nPriority, int, const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    vsyslog(nPriority, pszFormat, args);
    va_end(args);
}
}

namespace
{

using Environment = std::map<std::string, std::string>;
using Lines = std::vector<std::string>;

std::filesystem::path FileOf(const char* pszName)
{
    return std::filesystem::path(std::getenv("SHAREDSTORE_TEST_FOLDER")) / pszName;
}

/// Calls a function in a child with these settings.
template <class Function> void RunLogger(const Environment& environment, Function function)
{
    std::filesystem::remove(FileOf("stderr"));
    const int nResult = RunInChild([&] {
        for (const auto& [sName, sValue] : environment) {
            setenv(sName.c_str(), sValue.c_str(), 1);
        }
        dup2(open(FileOf("stderr").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600), STDERR_FILENO);
        function();
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(nResult, 0);
}

/// The lines of a log. Time, process and thread are checked and left out; what went to syslog begins
/// with its priority.
Lines ReadLines(const char* pszFile = "stderr")
{
    Lines lines;
    std::ifstream file(FileOf(pszFile));
    for (std::string sLine; std::getline(file, sLine);) {
        int n[3] = {};
        int nText = 0;
        const bool bSyslog = std::sscanf(sLine.c_str(), "<%d>%d %d %n", &n[0], &n[1], &n[2], &nText) == 3;
        const char* pszFileFormat = "%*4d-%*2d-%*2dT%*2d:%*2d:%*2d.%*3d%*3d:%*2d %d %d %n";
        EXPECT_TRUE(bSyslog || std::sscanf(sLine.c_str(), pszFileFormat, &n[0], &n[1], &nText) == 2) << sLine;
        lines.push_back((bSyslog ? sLine.substr(0, 3) : "") + sLine.substr(static_cast<std::size_t>(nText)));
    }
    return lines;
}

void LogEveryLevel()
{
    for (const unsigned int uLevel : {0U, 1U, 2U, 8U, 16U}) {
        pvlogLog("TEST", uLevel, "level=%u", uLevel);
    }
}

TEST(LogTest, Environment_DecidesWhatIsWrittenAndWhere)
{
    const Lines all = {"TEST error level=1", "TEST detail level=2", "TEST entry level=8", "TEST exit level=16"};
    const Lines invalid = {"SHAREDSTORELOG error SHAREDSTORE_LOG_LEVEL is not a bit mask: 1 is used", "TEST error level=1"};
    const std::tuple<const char*, const char*, const char*, Lines> cases[] = {
        {"", "", "", {"<3>TEST error level=1"}}, // LOG_ERR in the application's own facility
        {"syslog", "0x12", "1", {"<7>TEST trace level=0", "<6>TEST detail level=2", "<7>TEST exit level=16"}},
        {"stderr", "0XFFFFFFFF", "yes", all}, // no mask turns level 0 on
        {"stderr", "0", "1", {"TEST trace level=0"}},
        {"stderr", "all", "", invalid},
        {"stderr", "99999999999", "", invalid},
    };
    for (const auto& [pszTarget, pszMask, pszTrace, lines] : cases) {
        RunLogger({{"SHAREDSTORE_LOG", pszTarget}, {"SHAREDSTORE_LOG_LEVEL", pszMask}, {"SHAREDSTORE_LOG_TRACE", pszTrace}}, LogEveryLevel);
        EXPECT_EQ(ReadLines(), lines) << pszTarget << ' ' << pszMask << ' ' << pszTrace;
    }
}

TEST(LogTest, Text_ThatCouldForgeALine_IsEscaped)
{
    const std::map<std::string, std::string> texts = {
        {"a\nb\r\tc\x1b[2J\x7f", "a\\x0ab\\x0d\\x09c\\x1b[2J\\x7f"},
        {"Software\\Key \xc3\xa4 \xe2\x82\xac \xf0\x9f\x94\x91", "Software\\Key \xc3\xa4 \xe2\x82\xac \xf0\x9f\x94\x91"}, // printable
        {"\xc2\x85|\xe2\x80\xa8|\xe2\x80\xae", "\\xc2\\x85|\\xe2\\x80\\xa8|\\xe2\\x80\\xae"}, // next line, line separator, override
        {"\xc0\x8a|\xe0\x80\x8a|\xed\xa0\x80|\xf5\x80\x80\x80",
         "\\xc0\\x8a|\\xe0\\x80\\x8a|\\xed\\xa0\\x80|\\xf5\\x80\\x80\\x80"}, // not UTF-8
        {"\xc3(|\x80|\xe2\x82", "\\xc3(|\\x80|\\xe2\\x82"},                  // incomplete
        {std::string(100000, 'x'), std::string(16384 - 6, 'x') + " [cut]"},
    };
    for (const auto& text : texts) {
        RunLogger({{"SHAREDSTORE_LOG", "stderr"}}, [&] { pvlogLog("TE\nST", 1, "%s", text.first.c_str()); });
        EXPECT_EQ(ReadLines(), Lines{"TE\\x0aST error " + text.second});
    }
}

TEST(LogTest, Call_KeepsErrnoAndTakesNullForNothing)
{
    RunLogger({{"SHAREDSTORE_LOG", FileOf("errno.log")}}, [] {
        const std::string sFormat = "%s: %m"; // a literal would be a pedantic warning
        pvlogLog("TEST", 1, nullptr);
        errno = ENOENT;
        pvlogLog(nullptr, 1, sFormat.c_str(), "key");
        EXPECT_EQ(errno, ENOENT);
    });
    EXPECT_EQ(ReadLines("errno.log"), Lines{"- error key: No such file or directory"});
}

TEST(LogTest, File_IsPrivateAndRotated)
{
    for (const auto& [pszFolder, nLines, nExpected] : {std::tuple("new/folder", 1, 1), std::tuple("logs", 400, 4)}) {
        const std::string sFile = std::string(pszFolder) + "/store.log";
        RunLogger({{"SHAREDSTORE_LOG", FileOf(sFile.c_str())}}, [nCount = nLines] {
            umask(0);
            for (int nLine = 1; nLine <= nCount; ++nLine) {
                pvlogLog("TEST", 1, "%16000d", nLine);
            }
        });
        int nFiles = 0;
        for (const auto& entry : std::filesystem::directory_iterator(FileOf(pszFolder))) {
            ++nFiles;
            EXPECT_LE(entry.file_size(), 1024U * 1024U) << entry.path();
            EXPECT_EQ(entry.status().permissions(), static_cast<std::filesystem::perms>(0600)) << entry.path();
        }
        EXPECT_EQ(nFiles, nExpected);
        EXPECT_TRUE(ReadLines(sFile.c_str()).back().ends_with(' ' + std::to_string(nLines)));
    }
}

TEST(LogTest, File_NeverTakesAStandardDescriptor)
{
    RunLogger({{"SHAREDSTORE_LOG", FileOf("closed/store.log")}}, [] {
        const int nStandard[] = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
        std::ranges::for_each(nStandard, close);
        for (int nLine = 0; nLine < 100; ++nLine) { // rotated once
            pvlogLog("TEST", 1, "%16000d", nLine);
            EXPECT_TRUE(std::ranges::none_of(nStandard, [](int nDescriptor) { return fcntl(nDescriptor, F_GETFD) >= 0; }));
        }
    });
    EXPECT_TRUE(ReadLines("closed/store.log").back().ends_with(" 99"));
}

TEST(LogTest, File_ThatCannotBeWritten_FallsBackToSyslog)
{
    const std::string sNeverOpened = "<3>SHAREDSTORELOG error the file that SHAREDSTORE_LOG names cannot be opened: syslog is used";
    const std::string sGivenUp = "<3>SHAREDSTORELOG error the log file cannot be written any more: syslog is used";
    for (const auto& [sFile, sReason] : Environment{{"/proc/no/such/folder/store.log", sNeverOpened}, {"/dev/full", sGivenUp}}) {
        RunLogger({{"SHAREDSTORE_LOG", sFile}, {"SHAREDSTORE_LOG_LEVEL", "3"}}, LogEveryLevel);
        EXPECT_EQ(ReadLines(), (Lines{sReason, "<3>TEST error level=1", "<6>TEST detail level=2"}));
    }
}

TEST(LogTest, ForkWhileAnotherThreadLogs_LeavesTheChildAbleToLog)
{
    constexpr int Children = 50;
    RunLogger({{"SHAREDSTORE_LOG", "stderr"}}, [] {
        const std::jthread busy([](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                pvlogLog("TEST", 1, "busy");
            }
        });
        const auto logLine = [] {
            pvlogLog("CHILD", 1, "forked");
            return 0;
        };
        for (int nChild = 0; nChild < Children; ++nChild) {
            EXPECT_EQ(RunInChild(logLine), 0);
        }
    });
    EXPECT_EQ(std::ranges::count(ReadLines(), "CHILD error forked"), Children);
}

} // namespace
