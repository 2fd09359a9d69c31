// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Rows that tell whether the cost of an operation on one small compartment depends on the rest of the tree.

#include "Trees.h"

#include "Rows.h"

#include <map>
#include <memory>

CDataCaller& TreeOf(int nCompartments)
{
    static std::map<int, CDataCaller> trees;
    const auto [it, bNew] = trees.try_emplace(nCompartments, "Tree" + std::to_string(nCompartments), OV::DataStore::MemoryStore, 0, 100);
    CDataCaller& tree = it->second;
    for (int i = 0; bNew && i < nCompartments; ++i) {
        tree.Select("Group" + std::to_string(i / 1000) + "/Card" + std::to_string(i % 1000));
        tree.Create();
    }
    for (const char* pszChild : {"Group0/Small/A", "Group0/Small/B", "Group0/Small"}) {
        tree.Select(pszChild);
        tree.Set();
    }
    return tree;
}

std::vector<SRow> TreeRows(int nLargest)
{
    std::vector<SRow> rows;
    for (const STreeOperation& operation : TreeOperations) {
        const auto in = [&](int nCompartments) {
            return Repeat([=, run = operation.Run] { return [&tree = TreeOf(nCompartments), run] { run(tree); }; });
        };
        rows.push_back(
            {operation.pszName + (", " + std::to_string(nLargest)) + " compartments", "1000 compartments", 3, in(nLargest), in(1000)});
    }

    // Ten children, each with many descendants, or with none.
    const auto list = [](int nDescendants) {
        return Repeat([=] {
            const std::string sName = "Wide" + std::to_string(nDescendants);
            auto pCaller = std::make_shared<CDataCaller>(sName, OV::DataStore::MemoryStore, 0, 100);
            for (int i = 0; i < 10 * nDescendants; ++i) {
                pCaller->Select("Card/" + std::to_string(i % 10) + "/" + std::to_string(i / 10));
                pCaller->Create();
            }
            for (int i = 0; i < 10; ++i) {
                pCaller->Select("Card/" + std::to_string(i));
                pCaller->Create();
            }
            pCaller->Select("Card");
            return [=] { pCaller->ListChildren(); };
        });
    };
    const std::string sDescendants = std::to_string(nLargest / 10);
    rows.push_back({"ListCompartmentIds, 10 children of " + sDescendants, "10 children of 0", 3, list(nLargest / 10), list(0)});
    return rows;
}
