// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "support/Output.h"
#include "support/Store.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

namespace Tool
{

namespace
{

void List(const CArguments& arguments, Session& session)
{
    CStore store(session, arguments.Text("STORE"));
    const std::string sPath = arguments.TextOr("COMPARTMENT", std::string(WholeStore));
    const std::vector<std::string> names = store.Compartments(sPath);
    if (arguments.Has("--json")) {
        return PrintJson({{"store", JsonText(store.Id())}, {"compartment", JsonText(sPath)}, {"compartments", JsonTexts(names)}});
    }
    Print(DisplayLines(names));
}

void Create(const CArguments& arguments, Session& session)
{
    CStore(session, arguments.Text("STORE")).CreateCompartment(arguments.Text("COMPARTMENT"));
}

void Touch(const CArguments& arguments, Session& session)
{
    CStore(session, arguments.Text("STORE")).TouchCompartment(arguments.Text("COMPARTMENT"));
}

void Remove(const CArguments& arguments, Session& session)
{
    CStore(session, arguments.Text("STORE")).RemoveCompartment(arguments.Text("COMPARTMENT"), arguments.Has("--forget-versions"));
}

void Status(const CArguments& arguments, Session& session)
{
    CStore store(session, arguments.Text("STORE"));
    const std::string sPath = arguments.TextOr("COMPARTMENT", std::string(WholeStore));
    const CompartmentStatus status = store.Status(sPath);
    if (arguments.Has("--json")) {
        return PrintJson({{"store", JsonText(store.Id())},
                          {"compartment", JsonText(sPath)},
                          {"cached", status.bCached},
                          {"compartmentVersion", status.ulCompartmentVersion},
                          {"contentVersion", status.ulContentVersion}});
    }
    Print(Columns({{"cached", status.bCached ? "yes" : "no"},
                   {"compartment version", std::to_string(status.ulCompartmentVersion)},
                   {"content version", std::to_string(status.ulContentVersion)}}));
}

constexpr Argument OptionalCompartment = {"COMPARTMENT", Takes::OptionalPositional,
                                          "the compartment's path; '/', the default, is the whole store"};
constexpr Argument ListArguments[] = {StoreArgument, OptionalCompartment, JsonFlag};
constexpr Argument MakeArguments[] = {StoreArgument, CompartmentArgument};
constexpr Argument RemoveArguments[] = {
    StoreArgument, CompartmentArgument, {"--forget-versions", Takes::Flag, "versions start again at 0 (default: they stay and advance)"}};

const Command Table[] = {
    {"compartment", "list", "list the compartments directly below one", ListArguments, "  sharedstore compartment list Cards Card1\n",
     List},
    {"compartment", "create", "make a compartment and its missing ancestors", MakeArguments,
     "  sharedstore compartment create Cards Card1/Certs\n", Create},
    {"compartment", "touch", "as create, but the versions of one that exists advance too", MakeArguments,
     "  sharedstore compartment touch Cards Card1\n", Touch},
    {"compartment", "remove", "remove a compartment and everything below it", RemoveArguments,
     "  sharedstore compartment remove Cards Card1\n"
     "  sharedstore compartment remove Cards / --forget-versions\n",
     Remove},
    {"compartment", "status",
     "show whether a compartment is cached, and its versions in this process; that it is not cached is an answer too, with exit code 0",
     ListArguments, "  sharedstore compartment status Cards Card1 --json\n", Status},
};

} // namespace

std::span<const Command> CompartmentCommands()
{
    return Table;
}

} // namespace Tool
