// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// What fails names the place, the command and the reason, and exits with the code for it.

#include "Tool.h"

#include <cstdlib>
#include <sys/wait.h>

namespace
{

const std::string Header = "SharedStore Registry Export Version 1\n";
const std::string Good = "[HKLM\\Faulty]\n\"good\"=dword:00000001\n";

/// A line that fails, and the beginning of what it says.
const struct
{
    std::string sLine;
    int nExitCode;
    std::string sError;
    std::string sInput = "";
} Failures[] = {
    // clang-format off
    {"bur$'\\x1b'n", Usage, "there is no command 'bur\\x1bn'; 'sharedstore --help'"},
    {"tree S --colour", Usage, "tree: there is no option '--colour'; 'sharedstore tree --help' explains\n"},
    {"tree S C D", Usage, "tree: 'C' is one word too many; "},
    {"sharedstore tree S", Usage, "leave the word 'sharedstore' out"},
    {"store add S --type disk", Usage, "store add: 'disk' is no TYPE; it is memory or registry\n"},
    {"store add 'a\\b'", Usage, "store add 'a\\b': 'a\\b' can't name a store"},
    {"flush --product ''", Usage, "flush: --product needs a name\n"},
    {"flush --product R", NotFound, "flush"},
    {"store remove None", NotFound, "store remove None: "},
    {"tree None", NotFound, "tree None: E_FAIL (0x80004005): there is no store 'None'; 'sharedstore store list' shows what there is\n"},
    {"data set Own C i --int 1", Failed, "data set Own C i: E_FAIL (0x80004005): the store is not shared between user sessions, "
     "and such a store holds no data; 'sharedstore store add Own --shared --force' changes that\n"},

    {"data list M /", Usage, "data list M /: '/' is the whole store"},
    {"data list M Card2", NotFound,
     "data list M Card2: E_INVALIDARG (0x80070057): there is no compartment 'Card2'; 'sharedstore tree M' shows what there is\n"},
    {"data get M 'Card 1' $'a\\x01\\'b'", NotFound, "data get M 'Card 1' $'a\\x01\\'b': E_INVALIDARG (0x80070057): "
     "there is no such compartment or item; 'sharedstore data list M 'Card 1'' shows what there is\n"},
    {"data get M 'Card 1' i --output short", Exists,
     "data get M 'Card 1' i: short: there is such a file already; --force replaces it\n"},
    {"data set M C i --int 1 --string a", Usage, "data set M C i: give one of --file, --string, --int, --hex"},
    {"data set M C i --int -1", Usage, "data set M C i: '-1' is no number from 0 to 4294967295"},
    {"data set M C i --hex 123", Usage, "data set M C i: '123' is no sequence of bytes such as 0aff or '0a ff'"},
    {"data set M C i --file none", NotFound, "data set M C i: none: No such file or directory"},

    {"keyfile check --file none", NotFound, "keyfile check: none: there is no key file; 'sharedstore keyfile create' makes one\n"},
    {"keyfile check --file short", Usage, "keyfile check: short: has 15 bytes, and a key has 16\n"},
    {"keyfile check --file .", Usage, "keyfile check: .: not a regular file\n"},
    {"keyfile check --file script/key", Io, "keyfile check: script/key: Not a directory\n"},
    {"keyfile create --file script/key", Io, "keyfile create: "},
    {"keyfile create --file script", Exists, "keyfile create: "},

    {"pin set C P", Usage, "pin set C P: the PIN is empty"},
    {"pin set C P", Usage, "pin set C P: a PIN has at most 65536 bytes", std::string(70000, 'x')},
    {"pin set C P --param Action", Usage, "pin set C P: 'Action' is no parameter; write Name=Value", "1\n"},
    {"pin set C P --param Acton=None", Usage, "pin set C P: there is no parameter 'Acton'", "1\n"},
    {"pin get C P", NotFound, "pin get C P: there is no such PIN"},
    {"pin get '' P", Usage, "pin get '' P: an identifier is empty"},
    {"pin state C P maybe", Usage, "pin state: 'maybe' is no STATE; it is available or unavailable\n"},
    {"policy set Timeout 71582789", Usage,
     "policy set Timeout 71582789: '71582789' can't be enforced: give a number from 0 to 71582788; the library"},
    {"policy set AllowPerProcess 2", Usage,
     "policy set AllowPerProcess 2: '2' can't be enforced: give a number from 0 to 1; every number but 1 counts as 0"},
    {"policy set DisableTimeoutAfterEndSession 0", Usage, "policy set DisableTimeoutAfterEndSession 0: '0' can't be enforced: "},
    {"policy set Minutes 5", Usage, "policy set: 'Minutes' is no POLICY; it is AllowPerProcess, "},

    {"registry list Software", Usage, "registry list Software: 'Software' is no registry path"},
    {"registry set 'HKLM\\a' '' --dword 4294967296", Usage, "registry set 'HKLM\\a' '': '4294967296' is no number"},
    {"registry remove HKLM -r", Usage, "registry remove HKLM: HKEY_LOCAL_MACHINE is a hive"},
    {"registry remove 'HKLM\\Software'", Failed,
     "registry remove 'HKLM\\Software': key HKEY_LOCAL_MACHINE\\Software: ERROR_DIR_NOT_EMPTY (145): the key has sub-keys; --recursive"},
    {"registry remove 'HKLM\\Software' n", NotFound, "registry remove 'HKLM\\Software' n: "},
    {"registry remove 'HKLM\\A' n --recursive", Usage, "registry remove 'HKLM\\A' n: --recursive is for keys, not for values\n"},
    {"registry import -", Usage, "registry import -: -:1: the first line must be", "Some other file\n" + Good},
    {"registry import -", Usage, "registry import -: -:2: a value stands before the first [KEY]", Header + "\"n\"=dword:00000001\n" + Good},
    {"registry import -", Usage, "registry import -: -:4: expected [KEY], \"NAME\"=DATA or @=DATA", Header + Good + "nonsense\n"},
    {"registry import -", Usage, "registry import -: -:4: a value name has at most 255 bytes and no NUL", Header + Good + "\"a\\x00b\"=hex:\n"},
    {"registry import -", Usage, "registry import -: -:4: a value name has at most 255", Header + Good + '"' + std::string(256, 'n') + "\"=hex:\n"},
    {"registry import -", Usage, "registry import -: -:4: 'Software' is no registry path", Header + Good + "[Software]\n"},
    {"registry import -", Usage, "registry import -: -:6: 'HKLM\\a\\' is no registry path", Header + Good + "; comment\r\n\r\n[HKLM\\a\\]\n"},
    {"registry export 'HKLM\\Faulty'", NotFound, "registry export "}, // none of it was imported

    {"store list 'open", Usage, "a quote is not closed"},
    {"store list \\", Usage, "nothing follows the last backslash"},
    {"store list $'\\x00'", Usage, "\\x is followed by the two hexadecimal digits"},
    {std::string("store list\0", 11), Usage, "the line holds a NUL byte"},
    {"run other", Usage, "run other: a script can't start another one"},
    // clang-format on
};

using ToolFailureTest = CToolTest;

TEST_F(ToolFailureTest, Line_ThatFails_SaysWhereAndWhyAndEndsTheScript)
{
    Write("short", "fifteen bytes..");
    Succeed({"store", "add", "M"});
    Succeed({"store", "add", "Own", "--not-shared"});
    for (const auto& row : Failures) {
        const Outcome outcome = RunScript("data set M 'Card 1' i --int 1\n" + row.sLine + "\nstore list --json\n", row.sInput);
        EXPECT_EQ(outcome.nExitCode, row.nExitCode) << row.sLine;
        const std::string sExpected = "sharedstore: script:2: " + row.sError;
        EXPECT_EQ(outcome.sError.substr(0, sExpected.size()), sExpected);
        EXPECT_EQ(outcome.sOutput, "") << "went on after " << row.sLine;
    }
}

TEST_F(ToolFailureTest, KeepGoing_RunsEverythingAndExitsWithTheFirstFailure)
{
    const std::string sScript = "store add M\ndata get M C i\nnonsense\ndata set M C i\ndata set M C i --int 7\r\ndata get M C i\n";
    const Outcome outcome = Run({"run", "-", "--keep-going"}, sScript);
    EXPECT_EQ(outcome.nExitCode, NotFound);
    EXPECT_EQ(outcome.sOutput, "7\n");
    for (const char* pszError : {"-:2: data get M C i: E_INVALIDARG (0x80070057)", "-:3: there is no command 'nonsense'",
                                 "-:4: data set M C i: standard input holds the commands"}) {
        EXPECT_NE(outcome.sError.find(pszError), std::string::npos) << outcome.sError;
    }
}

TEST_F(ToolFailureTest, Shell_AfterAFailure_GoesOnUntilExit)
{
    const Outcome outcome = Run({"shell"}, "pin set C P\ndata get M C i\nhelp data set\nexit\nhelp data get\n");
    EXPECT_EQ(outcome.nExitCode, Usage);
    EXPECT_EQ(outcome.sOutput, Succeed({"data", "set", "--help"}));
}

TEST_F(ToolFailureTest, MissingCommandOrFullDevice_IsAFailureToo)
{
    EXPECT_EQ(Run({}).nExitCode, Usage);
    const int nStatus = std::system(SHAREDSTORE_TOOL " --help > /dev/full 2> /dev/null");
    EXPECT_EQ(WEXITSTATUS(nStatus), Io);
}

} // namespace
