// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "support/Output.h"
#include "support/Pin.h"
#include "support/Secret.h"
#include "support/Text.h"
#include "support/Value.h"

#include <nlohmann/json.hpp>

namespace Tool
{

namespace
{

constexpr const char* Available = "available";
constexpr const char* Unavailable = "unavailable";

CPin PinOf(const CArguments& arguments)
{
    return {arguments.Text("COMPARTMENT"), arguments.Text("PIN"), arguments.All("--param")};
}

void Set(const CArguments& arguments, Session& session)
{
    CPin pin = PinOf(arguments);
    pin.Set(ReadSecret(arguments, session, "PIN for " + Display(arguments.Text("COMPARTMENT") + ' ' + arguments.Text("PIN")) + ": "));
    if (!session.bManyCommands) {
        Complain("sharedstore: warning: the PIN lives in this process, which ends now; 'sharedstore shell' and 'run' keep it");
    }
}

/// What is told of a PIN; the PIN itself only when it was asked for.
void Show(const CArguments& arguments, const PinAnswer& answer, bool bPin)
{
    if (arguments.Has("--json")) {
        nlohmann::json json{{"state", NameOfPinState(answer.state)}, {"pinSessionId", answer.sPINSessionId}};
        if (bPin) {
            json["pin"] = Hex(RawElements(answer.pin.get()));
        }
        return PrintJson(json);
    }
    if (!bPin) {
        return Print(NameOfPinState(answer.state) + std::string("\n"));
    }
    IsTerminalOutput() ? Print(Display(RawElements(answer.pin.get())) + '\n') : Print(RawElements(answer.pin.get()));
}

void Get(const CArguments& arguments, Session&)
{
    Show(arguments, PinOf(arguments).Get(), arguments.Has("--show"));
}

void Status(const CArguments& arguments, Session&)
{
    Show(arguments, PinOf(arguments).Status(), false);
}

void Remove(const CArguments& arguments, Session&)
{
    PinOf(arguments).Remove();
}

void ChangeState(const CArguments& arguments, Session&)
{
    PinOf(arguments).ChangeState(arguments.Text("STATE") == Available);
}

std::string TimeLeft(long lSeconds)
{
    return lSeconds < 0 ? "-" : std::to_string(lSeconds) + " s";
}

void List(const CArguments& arguments, Session&)
{
    nlohmann::json json = nlohmann::json::array();
    std::vector<std::vector<std::string>> rows = {{"PIN", "PIN ALWAYS", "BYPASS", "TIME LEFT"}};
    for (const SPINInfo& pin : CPin::List()) {
        const char* pszState = pin.bAvailable ? Available : Unavailable;
        const std::string sPath(pin.sCompartmentIdGlobal);
        rows.push_back({Display(sPath), pszState, pin.bBypass ? "yes" : "no", TimeLeft(pin.lSecondsLeft)});
        json.push_back({{"path", JsonText(sPath)}, {"state", pszState}, {"bypass", pin.bBypass}, {"secondsLeft", nullptr}});
        if (pin.lSecondsLeft >= 0) {
            json.back()["secondsLeft"] = pin.lSecondsLeft;
        }
    }
    if (arguments.Has("--json")) {
        PrintJson(json);
    } else if (rows.size() > 1) {
        Print(Columns(rows));
    }
}

void Flush(const CArguments&, Session&)
{
    CPin::Flush();
}

constexpr Argument CompartmentOfPin = {"COMPARTMENT", Takes::Positional, "the compartment, for example that of a card"};
constexpr Argument PinArgument = {"PIN", Takes::Positional, "the PIN's identifier; never the PIN itself"};
constexpr Argument ParamOption = {
    "-p,--param", Takes::Values,
    "an additional parameter: IsACRPINAlways=Yes|No, Action=None|Authenticate|ChangeAuthenticator, BypassPINAlways=True|False, "
    "AllProcess=True|False, AllSession=True|False, CheckClientCaller=Yes|No",
    "NAME=VALUE"};

constexpr Argument SetArguments[] = {CompartmentOfPin, PinArgument, DescriptorOption, ParamOption};
constexpr Argument GetArguments[] = {CompartmentOfPin,
                                     PinArgument,
                                     {"--show", Takes::Flag, "write the PIN itself; JSON has its bytes in hexadecimal digits"},
                                     ParamOption,
                                     JsonFlag};
constexpr Argument StatusArguments[] = {CompartmentOfPin, PinArgument, ParamOption, JsonFlag};
constexpr Argument RemoveArguments[] = {CompartmentOfPin, PinArgument, ParamOption};
constexpr Argument StateArguments[] = {CompartmentOfPin,
                                       PinArgument,
                                       {"STATE", Takes::Positional,
                                        "available: a key that needs its PIN on every use may take it once; or unavailable", "",
                                        [] {
                                            return std::vector<std::string>{Available, Unavailable};
                                        }},
                                       ParamOption};
constexpr Argument ListArguments[] = {JsonFlag};

const Command Table[] = {
    {"pin", "set", "cache a PIN: a line that is typed without echo, or read from standard input or a descriptor", SetArguments,
     "  pin set Card1 PIN1                 (within 'sharedstore shell')\n"
     "  pin set Card1 PIN1 --param Action=Authenticate\n"
     "  sharedstore run commands.txt < pin.txt\n",
     Set},
    {"pin", "get", "use a cached PIN as a caller does, and tell what may be done with it", GetArguments,
     "  pin get Card1 PIN1\n"
     "  pin get Card1 PIN1 --param IsACRPINAlways=Yes --show\n",
     Get},
    {"pin", "status", "ask what may be done with a PIN, without reading it; counts as a use of it too", StatusArguments,
     "  pin status Card1 PIN1 --param IsACRPINAlways=Yes\n", Status},
    {"pin", "state", "give or take the permission for one use with a key that needs its PIN on every use", StateArguments,
     "  pin state Card1 PIN1 available\n", ChangeState},
    {"pin", "remove", "forget a PIN", RemoveArguments, "  pin remove Card1 PIN1\n", Remove},
    {"pin", "list", "list the cached PINs of this process, and the time until each expires unless it is used", ListArguments,
     "  pin list\n", List},
    {"pin", "flush", "forget all PINs", {}, "  pin flush\n", Flush},
};

} // namespace

std::span<const Command> PinCommands()
{
    return Table;
}

} // namespace Tool
