// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "support/Failure.h"
#include "support/File.h"
#include "support/Output.h"
#include "support/Sources.h"
#include "support/Store.h"
#include "support/Text.h"
#include "support/Value.h"

#include <nlohmann/json.hpp>

#include <limits>

namespace Tool
{

namespace
{

/// The compartment of items: the whole store holds none, and what was set there could never be listed.
const std::string& Compartment(const CArguments& arguments)
{
    const std::string& sPath = arguments.Text("COMPARTMENT");
    return sPath == WholeStore ? throw CFailure(ExitCode::Usage, "'/' is the whole store, which holds compartments and no items; name one")
                               : sPath;
}

void List(const CArguments& arguments, Session& session)
{
    const std::string& sPath = Compartment(arguments);
    CStore store(session, arguments.Text("STORE"));
    const std::vector<std::string> names = store.Items(sPath);
    if (arguments.Has("--json")) {
        return PrintJson({{"store", JsonText(store.Id())}, {"compartment", JsonText(sPath)}, {"items", JsonTexts(names)}});
    }
    Print(DisplayLines(names));
}

ArrayPtr ValueFrom(const CArguments& arguments, const Session& session)
{
    const std::string sSource = GivenSource(arguments, {"--file", "--string", "--int", "--hex"}, "--file");
    if (sSource == "--string") {
        return MakeStringArray(arguments.All("--string"));
    }
    if (sSource == "--hex") {
        return MakeByteArray(HexArgument(arguments.Text("--hex")));
    }
    if (sSource == "--int") {
        std::vector<unsigned int> numbers;
        for (const std::string& sNumber : arguments.All("--int")) {
            numbers.push_back(static_cast<unsigned int>(NumberArgument(sNumber, std::numeric_limits<unsigned int>::max())));
        }
        return MakeUintArray(numbers);
    }
    return MakeByteArray(View(ReadData(arguments.TextOr("--file", "-"), session, MaxElements)));
}

void Set(const CArguments& arguments, Session& session)
{
    const std::string& sPath = Compartment(arguments);
    CStore store(session, arguments.Text("STORE"));
    store.Set(sPath, arguments.Text("ITEM"), ValueFrom(arguments, session).get());
}

void Get(const CArguments& arguments, Session& session)
{
    const std::string& sPath = Compartment(arguments);
    CStore store(session, arguments.Text("STORE"));
    const ArrayPtr value = store.Get(sPath, arguments.Text("ITEM"));
    if (arguments.Has("--json")) {
        return PrintJson(ValueJson(value.get()));
    }
    if (arguments.Has("--output")) {
        return WriteFile(arguments.Text("--output"), View(ValueContent(value.get())), arguments.Has("--force"));
    }
    IsTerminalOutput() ? Print(ValueDisplay(value.get())) : Print(View(ValueContent(value.get())));
}

void Remove(const CArguments& arguments, Session& session)
{
    const std::string& sPath = Compartment(arguments);
    CStore(session, arguments.Text("STORE")).Remove(sPath, arguments.Text("ITEM"));
}

constexpr Argument ListArguments[] = {StoreArgument, CompartmentArgument, JsonFlag};
constexpr Argument RemoveArguments[] = {StoreArgument, CompartmentArgument, ItemArgument};
constexpr Argument GetArguments[] = {StoreArgument, CompartmentArgument, ItemArgument, OutputOption, ForceFlag, JsonFlag};
constexpr Argument SetArguments[] = {
    StoreArgument,
    CompartmentArgument,
    ItemArgument,
    {"-f,--file", Takes::Value, "bytes of a file; '-', the default, is standard input", "FILE"},
    {"-s,--string", Takes::Values, "a string; given several times, a list of strings", "TEXT"},
    {"-i,--int", Takes::Values, "an unsigned 32-bit number; given several times, a list of numbers", "NUMBER"},
    {"-x,--hex", Takes::Value, "bytes as hexadecimal digits", "DIGITS"},
};

const Command Table[] = {
    {"data", "list", "list the items of a compartment", ListArguments, "  sharedstore data list Cards Card1\n", List},
    {"data", "set", "store bytes, strings or numbers", SetArguments,
     "  sharedstore data set Cards Card1 photo --file photo.jpg\n"
     "  sharedstore data set Cards Card1 labels --string one --string two\n",
     Set},
    {"data", "get", "write a value: bytes as they are, strings and numbers one a line", GetArguments,
     "  sharedstore data get Cards Card1 photo --output photo.jpg\n"
     "  sharedstore data get Cards Card1 labels --json\n",
     Get},
    {"data", "remove", "remove an item", RemoveArguments, "  sharedstore data remove Cards Card1 photo\n", Remove},
};

} // namespace

std::span<const Command> DataCommands()
{
    return Table;
}

} // namespace Tool
