// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

/// What a run of the sharedstore command left behind.
struct Outcome
{
    int nExitCode; ///< 128 and more when it did not exit by itself
    std::string sOutput;
    std::string sError;
};

/// Exit codes as the command's help lists them.
enum : int { Ok = 0, Failed = 1, Usage = 2, NotFound = 3, Io = 4, Exists = 5 };

/// Runs the command as a process of its own, with a fresh registry and folder for each test.
class CToolTest : public testing::Test
{
protected:
    void SetUp() override;

    /// Runs the command with these arguments; its output is not a terminal.
    Outcome Run(const std::vector<std::string>& arguments, const std::string& sInput = "") const;

    /// Runs it and expects exit code 0 and nothing on standard error.
    std::string Succeed(const std::vector<std::string>& arguments, const std::string& sInput = "") const;
    nlohmann::json SucceedWithJson(const std::vector<std::string>& arguments) const { return nlohmann::json::parse(Succeed(arguments)); }

    /// Runs a script from standard input.
    Outcome RunScript(const std::string& sScript) const { return Run({"run", "-"}, sScript); }

    std::string Path(const std::string& sName) const { return (m_Folder / sName).string(); }
    static std::string Content(const std::string& sPath);
    static void Write(const std::string& sPath, const std::string& sContent);

private:
    std::filesystem::path m_Folder;
};
