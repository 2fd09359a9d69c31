// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Tool.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <sys/wait.h>

void CToolTest::SetUp()
{
    const auto* pTest = testing::UnitTest::GetInstance()->current_test_info();
    m_Folder = std::filesystem::path(std::getenv("SHAREDSTORE_TEST_FOLDER")) / pTest->test_suite_name() / pTest->name();
    std::filesystem::create_directories(m_Folder);
    setenv("SHAREDSTORE_REGISTRY", Path("registry").c_str(), 1);
    setenv("SHAREDSTORE_LOG", Path("log").c_str(), 1);
    setenv("LC_ALL", "C.UTF-8", 1);
}

Outcome CToolTest::Run(const std::vector<std::string>& arguments, const std::string& sInput) const
{
    Write("stdin", sInput);
    std::string sCommand = "cd '" + m_Folder.string() + "' && " SHAREDSTORE_TOOL;
    for (const std::string& sArgument : arguments) {
        sCommand += " '" + std::regex_replace(sArgument, std::regex("'"), "'\\''") + "'";
    }
    const int nStatus = std::system((sCommand + " <stdin >stdout 2>stderr").c_str());
    return {WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1, Content("stdout"), Content("stderr")};
}

std::string CToolTest::Succeed(const std::vector<std::string>& arguments, const std::string& sInput) const
{
    const Outcome outcome = Run(arguments, sInput);
    EXPECT_EQ(outcome.nExitCode, Ok) << testing::PrintToString(arguments);
    EXPECT_EQ(outcome.sError, "") << testing::PrintToString(arguments);
    return outcome.sOutput;
}

std::string CToolTest::RunShell() const
{
    EXPECT_NE(std::system(("cd '" + m_Folder.string() + "' && bash script >out 2>err").c_str()), -1);
    return Content("out");
}

Outcome CToolTest::RunScript(const std::string& sScript, const std::string& sInput) const
{
    Write("script", sScript);
    return Run({"run", "script"}, sInput);
}

std::string CToolTest::Content(const std::string& sName) const
{
    std::ifstream file(Path(sName), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void CToolTest::Write(const std::string& sName, const std::string& sContent) const
{
    std::ofstream(Path(sName), std::ios::binary) << sContent;
}
