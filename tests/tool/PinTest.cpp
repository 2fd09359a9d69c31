// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Tool.h"

using ToolPinTest = CToolTest;

TEST_F(ToolPinTest, Pin_FromStandardInput_IsCachedAndShownOnlyOnRequest)
{
    const Outcome shown = RunScript("pin set C P\npin set C Q -p Action=Authenticate\npin get C P\npin get C P --show\n"
                                    "pin status C P -p IsACRPINAlways=Yes\npin status C Q -p IsACRPINAlways=Yes\n"
                                    "pin state C Q unavailable\npin list\npin remove C P\npin list\npin flush\npin list\n",
                                    "1234\nsecret\n");
    EXPECT_EQ(shown.sOutput, "cached\n1234not cached\ncached\n"
                             "PIN  PIN ALWAYS   BYPASS  TIME LEFT\nC/P  unavailable  no      900 s\nC/Q  unavailable  no      900 s\n"
                             "PIN  PIN ALWAYS   BYPASS  TIME LEFT\nC/Q  unavailable  no      900 s\n");
    EXPECT_EQ(shown.nExitCode, Ok) << shown.sError;
}

TEST_F(ToolPinTest, Policy_IsInForceAsShown)
{
    Succeed({"policy", "set", "EnablePINCacheForPINAlwaysPrivateKeys", "1"});
    Succeed({"policy", "set", "Timeout", "never"});
    const Outcome outcome = RunScript("pin set C P\npin status C P -p IsACRPINAlways=Yes\npin list --json\n", "1\n");
    EXPECT_EQ(outcome.sOutput.substr(0, 8), "confirm\n");
    EXPECT_EQ(nlohmann::json::parse(outcome.sOutput.substr(8)).at(0).at("secondsLeft"), nullptr);
    Succeed({"policy", "set", "Timeout", "default"});
    const nlohmann::json policies = SucceedWithJson({"policy", "show", "--json"});
    EXPECT_EQ(policies.at(1).at("value"), 1);
    EXPECT_EQ(policies.at(2).at("value"), nullptr);
    EXPECT_EQ(policies.at(2).at("inForce"), "an unused PIN expires after 15 minutes");
}
