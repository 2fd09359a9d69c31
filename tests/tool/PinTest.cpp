// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Tool.h"

namespace
{

class ToolPinTest : public CToolTest
{
protected:
    /// Runs a script whose PINs come from standard input.
    Outcome RunPins(const std::string& sScript, const std::string& sPins)
    {
        Write(Path("script"), sScript);
        return Run({"run", "--keep-going", Path("script")}, sPins);
    }
};

} // namespace

TEST_F(ToolPinTest, Pin_FromStandardInput_IsCachedAndShownOnlyOnRequest)
{
    const Outcome shown = RunPins("pin set C P\npin set C Q -p Action=Authenticate\npin get C P\npin get C P --show\n"
                                  "pin status C P -p IsACRPINAlways=Yes\npin status C Q -p IsACRPINAlways=Yes\npin state C Q unavailable\n"
                                  "pin list\npin remove C P\npin list\npin flush\npin list\n",
                                  "1234\nsecret\n");
    EXPECT_EQ(shown.sOutput, "cached\n1234not cached\ncached\n"
                             "PIN  PIN ALWAYS   BYPASS  TIME LEFT\nC/P  unavailable  no      900 s\nC/Q  unavailable  no      900 s\n"
                             "PIN  PIN ALWAYS   BYPASS  TIME LEFT\nC/Q  unavailable  no      900 s\n");
    EXPECT_EQ(shown.nExitCode, Ok) << shown.sError;
}

TEST_F(ToolPinTest, FaultyCommands_TellWhatIsWrong)
{
    const struct
    {
        std::string sScript;
        std::string sPins;
        int nExitCode;
        const char* pszError;
    } cases[] = {
        {"pin set C P", "", Usage, "the PIN is empty"},
        {"pin set C P", std::string(70000, 'x'), Usage, "at most 65536 bytes"},
        {"pin set C P --param Action", "1\n", Usage, "write Name=Value"},
        {"pin set C P --param Acton=None", "1\n", Usage, "no parameter 'Acton'"},
        {"pin get C P", "", NotFound, "no such PIN"},
        {"pin get '' P", "", Usage, "empty"},
        {"pin state C P maybe", "", Usage, "no state"},
        {"policy set Timeout 71582789", "", Usage, "no number from 0 to 71582788"},
        {"policy set Minutes 5", "", Usage, "no policy"},
    };
    for (const auto& row : cases) {
        const Outcome outcome = RunPins(row.sScript, row.sPins);
        EXPECT_EQ(outcome.nExitCode, row.nExitCode) << row.sScript;
        EXPECT_NE(outcome.sError.find(row.pszError), std::string::npos) << outcome.sError;
    }
    EXPECT_EQ(RunScript("pin set C P").nExitCode, Usage); // the commands come from where the PIN should
}

TEST_F(ToolPinTest, Policy_IsInForceAsShown)
{
    Succeed({"policy", "set", "EnablePINCacheForPINAlwaysPrivateKeys", "1"});
    Succeed({"policy", "set", "Timeout", "never"});
    const Outcome outcome = RunPins("pin set C P\npin status C P -p IsACRPINAlways=Yes\npin list --json\n", "1\n");
    EXPECT_EQ(outcome.sOutput.substr(0, 8), "confirm\n");
    EXPECT_EQ(nlohmann::json::parse(outcome.sOutput.substr(8)).at(0).at("secondsLeft"), nullptr);
    Succeed({"policy", "set", "Timeout", "default"});
    const nlohmann::json policies = SucceedWithJson({"policy", "show", "--json"});
    EXPECT_EQ(policies.at(1).at("value"), 1);
    EXPECT_EQ(policies.at(2).at("value"), nullptr);
    EXPECT_EQ(policies.at(2).at("inForce"), "an unused PIN expires after 15 minutes");
}
