// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "support/CodeNames.h"
#include "support/Failure.h"
#include "support/Output.h"
#include "support/Progress.h"
#include "support/Store.h"
#include "support/Text.h"
#include "support/Value.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace Tool
{

namespace
{

/// The reading and the drawing of a tree go down with it on the stack.
constexpr std::size_t MaxDepth = 1000;

/// The pieces of lines that draw a tree.
struct Strokes
{
    const char* pszBranch;
    const char* pszLastBranch;
    const char* pszTrunk;
};
constexpr Strokes BoxStrokes = {"├── ", "└── ", "│   "};
constexpr Strokes AsciiStrokes = {"|-- ", "`-- ", "|   "};

struct Item
{
    std::string sName;
    std::string sType; ///< empty when the value can't be read
    std::size_t uSize = 0;
    std::string sProblem;
};

struct Node
{
    std::string sName;
    CompartmentStatus status;
    std::vector<Item> items;
    std::vector<Node> compartments;
};

Item ReadItem(CStore& store, const std::string& sPath, const std::string& sItem)
{
    try {
        const ArrayPtr value = store.Get(sPath, sItem);
        return {sItem, NameOfElementType(ElementType(value.get())), ValueSize(value.get()), ""};
    } catch (const CFailure& failure) {
        return {sItem, "", 0, failure.what()};
    }
}

/// @param uDepth number of compartments above
Node ReadNode(CStore& store, const std::string& sPath, const std::string& sName, std::size_t uDepth, CProgress& progress)
{
    progress.Step();
    if (uDepth > MaxDepth) {
        throw CFailure(ExitCode::Failed, "the store is deeper than " + std::to_string(MaxDepth) +
                                             " compartments; 'sharedstore compartment list' shows it level by level");
    }
    Node node{sName, store.Status(sPath), {}, {}};
    if (sPath != WholeStore) {
        for (const std::string& sItem : store.Items(sPath)) {
            node.items.push_back(ReadItem(store, sPath, sItem));
        }
    }
    const std::string sParent = sPath == WholeStore ? "" : sPath + '/';
    for (const std::string& sChild : store.Compartments(sPath)) {
        const std::string sChildPath = sParent + sChild;
        if (sChildPath.empty()) { // no path names it alone: "" is none, and "/" is the whole store
            node.items.push_back({"/", "", 0, "compartments whose path begins with '/' can't be drawn"});
            continue;
        }
        node.compartments.push_back(ReadNode(store, sChildPath, sChild, uDepth + 1, progress));
    }
    return node;
}

Node ReadAll(CStore& store)
{
    CProgress progress("compartments read", 0);
    return ReadNode(store, std::string(WholeStore), store.Id(), 0, progress);
}

std::string Versions(const Node& node)
{
    return " [" + std::to_string(node.status.ulCompartmentVersion) + ", " + std::to_string(node.status.ulContentVersion) + "]";
}

/// Appends the lines of what is below a node. The indent is the same again when it returns.
void Draw(const Node& node, const Strokes& strokes, std::string& sIndent, std::string& sLines)
{
    const std::size_t uIndent = sIndent.size();
    std::size_t uLeft = node.items.size() + node.compartments.size();
    const auto branch = [&] { return sIndent + (--uLeft == 0 ? strokes.pszLastBranch : strokes.pszBranch); };
    for (const Item& item : node.items) {
        sLines += branch() + Display(item.sName) + ": ";
        sLines +=
            item.sType.empty() ? item.sProblem : item.sType + ", " + std::to_string(item.uSize) + (item.uSize == 1 ? " byte" : " bytes");
        sLines += '\n';
    }
    for (const Node& child : node.compartments) {
        sLines += branch() + Display(child.sName) + '/' + Versions(child) + '\n';
        sIndent += uLeft == 0 ? "    " : strokes.pszTrunk;
        Draw(child, strokes, sIndent, sLines);
        sIndent.resize(uIndent);
    }
}

nlohmann::json Json(const Node& node)
{
    nlohmann::json items = nlohmann::json::array();
    for (const Item& item : node.items) {
        items.push_back(item.sType.empty() ? nlohmann::json{{"name", JsonText(item.sName)}, {"problem", JsonText(item.sProblem)}}
                                           : nlohmann::json{{"name", JsonText(item.sName)}, {"type", item.sType}, {"size", item.uSize}});
    }
    nlohmann::json compartments = nlohmann::json::array();
    for (const Node& child : node.compartments) {
        compartments.push_back(Json(child));
    }
    return {{"name", JsonText(node.sName)},
            {"compartmentVersion", node.status.ulCompartmentVersion},
            {"contentVersion", node.status.ulContentVersion},
            {"items", std::move(items)},
            {"compartments", std::move(compartments)}};
}

std::string Drawing(const CStore& store, const Node& root)
{
    const StoreSettings& settings = store.Settings();
    std::string sIndent;
    std::string sLines = Display(store.Id()) + Versions(root) + ' ' + NameOfStoreType(settings.type) +
                         (settings.bEncrypted ? ", encrypted" : "") + ", product " + Display(settings.sProduct) + '\n';
    Draw(root, IsUtf8Locale() ? BoxStrokes : AsciiStrokes, sIndent, sLines);
    return sLines;
}

std::size_t CountProblems(const Node& node)
{
    const auto hasProblem = [](const Item& item) { return !item.sProblem.empty(); };
    auto uCount = static_cast<std::size_t>(std::count_if(node.items.begin(), node.items.end(), hasProblem));
    for (const Node& child : node.compartments) {
        uCount += CountProblems(child);
    }
    return uCount;
}

void Tree(const CArguments& arguments, Session& session)
{
    CStore store(session, arguments.Text("STORE"));
    const Node root = ReadAll(store);
    arguments.Has("--json") ? PrintJson(Json(root)) : Print(Drawing(store, root));
    if (const std::size_t uProblems = CountProblems(root); uProblems > 0) {
        FlushOutput();
        throw CFailure(ExitCode::Failed, std::to_string(uProblems) + (uProblems == 1 ? " item" : " items") + " could not be read");
    }
}

constexpr Argument Arguments[] = {StoreArgument, JsonFlag};

const Command Table[] = {
    {"tree", "",
     "draw a store: compartments with [compartment version, content version], items with type and size, or why they can't be read",
     Arguments,
     "  sharedstore tree Cards\n"
     "  sharedstore tree Cards --json\n",
     Tree},
};

} // namespace

std::span<const Command> TreeCommands()
{
    return Table;
}

} // namespace Tool
