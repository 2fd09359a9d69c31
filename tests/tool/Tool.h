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

/// Runs the command as a process of its own, with a fresh registry for each test, in a fresh folder that files are named from.
class CToolTest : public testing::Test
{
protected:
    void SetUp() override;

    /// Runs the command with these arguments; its output is not a terminal.
    Outcome Run(const std::vector<std::string>& arguments, const std::string& sInput = "") const;

    /// Runs it and expects exit code 0 and nothing on standard error.
    std::string Succeed(const std::vector<std::string>& arguments, const std::string& sInput = "") const;
    nlohmann::json SucceedWithJson(const std::vector<std::string>& arguments) const { return nlohmann::json::parse(Succeed(arguments)); }

    /// Runs a script, the file "script", up to its first failure.
    Outcome RunScript(const std::string& sScript, const std::string& sInput = "") const;

    /// Runs the file "script" with bash in the test's folder, and returns its output.
    std::string RunShell() const;

    std::filesystem::path Path(const std::string& sName) const { return m_Folder / sName; }
    std::string Content(const std::string& sName) const;
    void Write(const std::string& sName, const std::string& sContent) const;

private:
    std::filesystem::path m_Folder;
};
