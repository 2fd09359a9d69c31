// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Store.h"

#include "tree/MemoryTree.h"

#include <map>
#include <random>

namespace
{

/// What a memory tree is to its callers, told by walking over all compartments.
struct SModel
{
    std::map<std::string, std::string>& Create(const std::string& sPath)
    {
        for (std::size_t uEnd = sPath.find('/'); uEnd != std::string::npos; uEnd = sPath.find('/', uEnd + 1)) {
            Compartments[sPath.substr(0, uEnd)];
        }
        return Compartments[sPath];
    }
    void Remove(const std::string& sPath)
    {
        std::erase_if(Compartments, [&](const auto& entry) {
            const bool bBelow = sPath == "/" || entry.first.starts_with(sPath + "/");
            Versions[entry.first] += bBelow ? 1 : 0;
            return bBelow || entry.first == sPath;
        });
    }

    std::map<std::string, std::map<std::string, std::string>> Compartments; ///< values by item by path
    std::map<std::string, unsigned long> Versions;                          ///< both versions, by path
};

/// Expects the tree to tell of a compartment what the model tells.
void ExpectEqual(CMemoryTree& tree, SModel& model, const std::string& sPath)
{
    Strings all;
    Strings children;
    for (const auto& entry : model.Compartments) {
        const std::size_t uSlash = entry.first.rfind('/');
        all.push_back(entry.first);
        if (sPath == "/" ? uSlash == std::string::npos : uSlash == sPath.size() && entry.first.starts_with(sPath)) {
            children.push_back(entry.first.substr(uSlash + 1));
        }
    }
    const SecureString sId = sPath.c_str();
    const bool bCached = model.Compartments.contains(sPath);
    Strings items(bCached ? 0 : 1, "no array");
    for (const auto& [sItem, sValue] : bCached ? model.Compartments[sPath] : std::map<std::string, std::string>()) {
        items.push_back(sItem);
        SAFEARRAY* psa = nullptr;
        EXPECT_EQ(tree.GetData(sId, sItem.c_str(), psa, 0), S_OK);
        EXPECT_EQ(BytesOf(ArrayPointer(psa)), sValue);
    }
    children.resize(std::max<std::size_t>(children.size(), 1), "no array");
    EXPECT_EQ(Listed([&](SAFEARRAY** ppsa) { return tree.ListAllCompartmentIds(ppsa); }), all);
    EXPECT_EQ(Listed([&](SAFEARRAY** ppsa) { return tree.ListCompartmentIds(sId, ppsa, 0); }), children);
    EXPECT_EQ(Listed([&](SAFEARRAY** ppsa) { return tree.ListDataIds(sId, ppsa, 0); }, bCached ? S_OK : E_FAIL), items);
    SState state;
    EXPECT_EQ(tree.IsCompartmentCached(sId, &state.ulCompartmentVersion, &state.ulContentVersion, &state.bCached, 0), S_OK);
    const unsigned long ulVersion = sPath == "/" ? 0 : model.Versions[sPath]; // "/" has the versions of the whole tree
    EXPECT_EQ(state, (SState{bCached, ulVersion, ulVersion}));
}

} // namespace

TEST(ModelTest, MemoryTree_AnswersAsAWalkOverAllCompartments)
{
    const Strings paths = {"",     "/",  "//", "a",   "a-", "a-b", "a/", "a//",  "a/b",    "a/b/c", "a/-b", "a/b-c", "a/b0",
                           "a/b/", "a.", "a0", "a0/", "ab", "/a",  "b",  "\xff", "\xff/a", "/a/b",  "/a-b", "ab/c",  "a/\xff"};
    const Strings items = {"", "d", "d/", "\xff"};
    std::mt19937 random(20240611);
    CMemoryTree tree("Model");
    SModel model;
    for (int nStep = 0; nStep < 4000 && !testing::Test::HasFailure(); ++nStep) {
        const std::string sPath = paths[random() % paths.size()];
        const std::string sItem = items[random() % items.size()];
        const SecureString sId = sPath.c_str();
        const unsigned int uAction = random() % 64;
        SCOPED_TRACE("step " + std::to_string(nStep) + " action " + std::to_string(uAction) + " " + sPath);
        if (uAction < 32) {
            EXPECT_EQ(tree.SetData(sId, sItem.c_str(), Bytes(std::to_string(nStep)).get(), 0, 0), S_OK);
            model.Create(sPath)[sItem] = std::to_string(nStep);
        } else if (uAction < 36) {
            EXPECT_EQ(tree.CreateCompartment(sId, 0), S_OK);
            model.Create(sPath);
        } else if (uAction < 48) {
            const bool bRemoved = model.Compartments.contains(sPath) && model.Compartments[sPath].erase(sItem) != 0;
            EXPECT_EQ(tree.RemoveData(sId, sItem.c_str(), 0), bRemoved ? S_OK : E_INVALIDARG);
        } else {
            EXPECT_EQ(tree.RemoveCompartment(sId, 0, 0), model.Compartments.empty() ? E_INVALIDARG : S_OK);
            model.Remove(sPath);
        }
        ExpectEqual(tree, model, sPath);
        ExpectEqual(tree, model, paths[random() % paths.size()]);
    }
}
