// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Tool.h"
#include "support/Sanitizers.h"

#include <cstdlib>
#include <regex>

namespace
{

using ToolDoctorTest = CToolTest;

TEST_F(ToolDoctorTest, EveryFault_IsFoundAndDecidesTheExitCode)
{
    const std::string sPolicy = "registry set 'HKLM\\Software\\Policies\\Orvane\\SharedStore\\Authentication' ";
    const struct
    {
        const char* pszVariable;
        const char* pszValue;
        std::string sScript;
        std::vector<std::string> lines; ///< how lines of the output begin
    } rows[] = {
        {"LC_ALL", "C", "store add M", {"ok       registry content: every page", "ok       store M: began: memory, in the clear"}},
        {"LC_ALL", "C", "policy set Timeout never", {"note     policy Timeout: an unused PIN never expires (unusual"}},
        {"LC_ALL", "C", sPolicy + "Timeout --dword 71582789", {"problem  policy Timeout: an unused PIN expires after 44 seconds (wrong"}},
        {"LC_ALL", "C", sPolicy + "Timout --dword 5", {"note     policy Timout: does nothing"}},
        {"LC_ALL", "C", sPolicy + "Timeout --string 5", {"problem  policy Timeout: an unused PIN expires after 15 minutes (wrong"}},
        {"LC_ALL", "C", "store add A\nstore add W -t registry -e", {"problem  key file: ", "problem  store W: could not begin"}},
        {"LC_ALL",
         "C",
         "store add A\nstore add B\nstore add C\nregistry set 'HKLM\\Software\\Orvane\\SharedStore\\StoreList\\B' Encrypted --string 1",
         {"ok       store A: began", "problem  store B: value Encrypted is no REG_DWORD", "problem  store C: could not begin"}},
        {"LC_ALL", "C", "store add O --not-shared", {"note     store O: began, but is not shared", "note     key file: "}},
        {"SHAREDSTORE_LOG_TRACE", "1", "", {"problem  log trace: on"}},
        {"SHAREDSTORE_LOG_LEVEL", "2", "", {"note     log level: 2, errors are not logged"}},
        {"SHAREDSTORE_LOG_LEVEL", "high", "", {"note     environment: SHAREDSTORE_LOG_LEVEL is ignored"}},
        {"SHAREDSTORE_REGISTRY_SINK", "x", "", {"note     environment: SHAREDSTORE_REGISTRY_SINK is ignored: there is no such"}},
        {"SHAREDSTORE_LOG", "log", "", {"note     log: goes to the file log in the folder"}},
        {"SHAREDSTORE_LOG", "/dev/null/log", "", {"problem  log: /dev/null/log can't be written"}},
        {"SHAREDSTORE_REGISTRY",
         "relative",
         "",
         {"problem  registry folder: relative is no absolute path", "note     policy: not checked, because",
          "ok       memory lock: keys need at least"}},
        {"SHAREDSTORE_REGISTRY", "/tmp/none", "", {"note     registry folder: /tmp/none (from SHAREDSTORE_REGISTRY) does not exist; the"}},
        {"SHAREDSTORE_REGISTRY", "/dev/null/x", "", {"problem  registry folder: /dev/null/x: Not a directory"}},
    };
    for (const auto& row : rows) {
        SetUp();
        std::filesystem::remove_all(Path("registry"));
        (void)Run({"run", "--keep-going", "-"}, row.sScript);
        setenv(row.pszVariable, row.pszValue, 1);
        const Outcome outcome = Run({"doctor"});
        unsetenv(row.pszVariable);
        for (const std::string& sLine : row.lines) {
            EXPECT_NE(('\n' + outcome.sOutput).find('\n' + sLine), std::string::npos) << sLine << "\n" << outcome.sOutput;
        }
        const bool bProblem = ('\n' + outcome.sOutput).find("\nproblem") != std::string::npos;
        EXPECT_EQ(outcome.nExitCode, bProblem ? Failed : Ok) << outcome.sOutput;
    }
}

TEST_F(ToolDoctorTest, OpenFilesStaleReadersAndDamage_AreFound)
{
    Succeed({"store", "add", "M"});
    const std::string sFile = Path("registry/data.mdb");
    // One process has the registry open while another is ended by a signal in the middle of its output.
    Write("script", "coproc " SHAREDSTORE_TOOL " run -\n"
                    "echo store list >&${COPROC[1]}; read -r line <&${COPROC[0]}\n"
                    "(ulimit -f 0; exec " SHAREDSTORE_TOOL " store list >cut) 2>/dev/null\n" SHAREDSTORE_TOOL " registry check --json\n");
    const nlohmann::json checked = nlohmann::json::parse(RunShell());
    if (!UnderThreadSanitizer) { // under it a signal that ends a process leaves no reader behind
        EXPECT_EQ(checked["readersFreed"], 1);
    }

    std::filesystem::permissions(sFile, std::filesystem::perms(0644));
    const std::string sBefore = Content(sFile);
    const nlohmann::json findings = nlohmann::json::parse(Run({"doctor", "--json"}).sOutput)["findings"];
    EXPECT_EQ(Content(sFile), sBefore);
    EXPECT_EQ(findings[1]["subject"], "registry files");
    EXPECT_EQ(findings[1]["grade"], "problem");

    Write(sFile, std::regex_replace(sBefore, std::regex("Pavendo"), "Lavendo")); // in old versions of the page too
    EXPECT_NE(Run({"doctor"}).sOutput.find("\nproblem  registry content: ERROR_REGISTRY_CORRUPT (1015), a record is damaged; "),
              std::string::npos);
    EXPECT_EQ(Run({"registry", "check"}).nExitCode, Io);
}

TEST_F(ToolDoctorTest, Backup_IsACompletePrivateCopyThatReplacesNothing)
{
    EXPECT_EQ(Run({"registry", "backup", Path("copy")}).nExitCode, NotFound);
    Succeed({"registry", "set", "HKLM\\A", "big", "--string", std::string(100000, 'b')});
    Succeed({"registry", "set", "HKCU\\B", "", "--dword", "1"});
    Succeed({"registry", "remove", "HKLM\\A", "big"});
    const std::string sAll = Succeed({"registry", "export"});
    EXPECT_GT(SucceedWithJson({"registry", "check", "--json"})["freePages"], 20);
    EXPECT_EQ(Run({"registry", "backup", Path("busy/copy")}).nExitCode, Exists);
    EXPECT_EQ(Run({"registry", "backup", Path("network/busy/copy")}).nExitCode, Exists);
    for (const char* pszFolder : {"new/copy", "network/copy"}) {
        setenv("SHAREDSTORE_REGISTRY", Path("registry").c_str(), 1);
        const std::string sFolder = Path(pszFolder);
        EXPECT_EQ(Succeed({"registry", "backup", sFolder}), sFolder + ": 4 keys, 1 values\n");
        EXPECT_EQ(std::filesystem::status(sFolder + "/data.mdb").permissions(), std::filesystem::perms(0600));
        EXPECT_EQ(Run({"registry", "backup", sFolder}).nExitCode, Exists);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(sFolder), {}), 1) << "a temporary file is left";
        Succeed({"registry", "export", "-o", sFolder + "/text"});
        EXPECT_EQ(Run({"registry", "export", "-o", sFolder + "/text"}).nExitCode, Exists);

        setenv("SHAREDSTORE_REGISTRY", sFolder.c_str(), 1);
        EXPECT_EQ(Succeed({"registry", "export"}), sAll);
        EXPECT_EQ(SucceedWithJson({"registry", "check", "--json"})["freePages"], 0);
    }
}

TEST_F(ToolDoctorTest, Import_ThatFailsHalfway_TellsHowFarItCame)
{
    Succeed({"registry", "set", "HKLM\\I", "small", "--dword", "1"});
    Succeed({"registry", "set", "HKLM\\I", "x", "--string", std::string(100000, 'x')});
    Succeed({"registry", "export", "HKLM\\I", "-o", Path("text")});
    std::filesystem::remove_all(Path("registry"));
    Succeed({"store", "add", "M"});
    Write("script", "trap '' XFSZ; ulimit -f 45; " SHAREDSTORE_TOOL " registry import text 2>&1");
    const std::string sError = RunShell();
    EXPECT_NE(sError.find("; the first 1 of 2 values are written: import again to complete them\n"), std::string::npos) << sError;
    Succeed({"registry", "import", Path("text")});
    EXPECT_EQ(Succeed({"registry", "export", "HKLM\\I"}), Content("text"));
}

} // namespace
