// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Fakes.h"
#include "Store.h"

#include "tree/AbstractTree.h"
#include "tree/HistoryTree.h"

#include <utility>

namespace
{

using Versions = std::pair<unsigned long, unsigned long>;

Versions VersionsOf(const std::string& sPath, HRESULT hr = S_OK)
{
    Versions versions{7, 7};
    EXPECT_EQ(GetVersion(sPath.c_str(), &versions.first, &versions.second), hr);
    return versions;
}

/// Writes a content version past the functions that count it.
template <class T> void PutContentVersion(const char* pszPath, VARTYPE vt, T version)
{
    const ArrayPointer pVersion(SafeArrayCreateVector(vt, 0, 1));
    int nIndex = 0;
    EXPECT_EQ(SafeArrayPutElement(pVersion.get(), &nIndex, &version), S_OK);
    const CMutexLock lock(gHistoryMutex);
    EXPECT_EQ(gHistoryTree->SetData(pszPath, "ContentVersion", pVersion.get(), 0, 0), S_OK);
}

} // namespace

TEST(VersionTest, UpdateHistoryTree_AdvancesEveryPrefixInItsMode)
{
    for (const int nMode : {-1, 0, 0, 1, 2, -2}) {
        EXPECT_EQ(UpdateHistoryTree("t/a//", nMode), S_OK);
    }
    for (const char* pszPath : {"t", "t/a", "t/a/", "t/a//"}) {
        EXPECT_EQ(VersionsOf(pszPath), Versions(3, 2)) << pszPath;
    }
}

TEST(VersionTest, UpdateVersion_CountsOneNumberAndWraps)
{
    EXPECT_EQ(UpdateVersion("one/a", 0), S_OK);
    PutContentVersion("one/a", VT_UINT, 0xFFFFFFFFU);
    EXPECT_EQ(VersionsOf("one/a"), Versions(1, 0xFFFFFFFF));
    EXPECT_EQ(UpdateVersion("one/a", 5), S_OK);
    EXPECT_EQ(VersionsOf("one/a"), Versions(1, 0));
    PutContentVersion("one/a", VT_R8, 1.0); // no version at all
    EXPECT_EQ(UpdateVersion("one/a", 1), E_FAIL);
}

TEST(VersionTest, Failure_LeavesWhatWasReadAndCounted)
{
    EXPECT_EQ(UpdateHistoryTree("get", -1), S_OK);
    for (const auto& [pszFunction, hr] : {std::pair("SafeArrayGetElement", E_OUTOFMEMORY), {"SafeArrayCreateVector", S_OK}}) {
        const CFault fault(pszFunction);
        EXPECT_EQ(UpdateVersion("get", 1), hr);
    }
    EXPECT_EQ(VersionsOf("get"), Versions(1, 1));
    EXPECT_EQ(GetVersion("get", nullptr, nullptr), E_FAIL);
    CAbstractTree* pTree = std::exchange(gHistoryTree, nullptr);
    EXPECT_EQ(VersionsOf("get", E_FAIL), Versions(0, 0));
    gHistoryTree = pTree;
}

TEST(VersionTest, StoreOperations_AdvanceTheVersionsTheyChange)
{
    CTestStore store("Versions");
    const struct
    {
        HRESULT (*Act)(CTestStore& store);
        HRESULT hr;
        SState root, a, b; ///< of "/", "a" and "a/b"
    } steps[] = {
        {[](auto& s) { return s.Create("a/b"); }, S_OK, {0, 1, 1}, {1, 1, 1}, {1, 1, 1}},
        {[](auto& s) { return s.Touch("a"); }, S_OK, {0, 2, 2}, {1, 2, 2}, {1, 1, 1}},
        {[](auto& s) { return s.Set("a/b", "d", "v"); }, S_OK, {0, 2, 3}, {1, 2, 3}, {1, 1, 2}},
        {[](auto& s) { return s.RemoveItem("a/b", "d"); }, S_OK, {0, 2, 4}, {1, 2, 4}, {1, 1, 3}},
        {[](auto& s) { return s.Set("c", "d", "v"); }, S_OK, {0, 3, 5}, {1, 2, 4}, {1, 1, 3}}, // makes the compartment
        {[](auto& s) { return s.Remove("a", 0); }, S_OK, {0, 4, 6}, {0, 3, 5}, {0, 2, 4}},
        {[](auto& s) { return s.Touch("a/b"); }, S_OK, {0, 5, 7}, {1, 4, 6}, {1, 3, 5}}, // counts on
        {[](auto& s) { return s.Remove("a", 1); }, S_OK, {0, 5, 7}, {0, 0, 0}, {0, 0, 0}},
        {[](auto& s) { return s.Remove("/", 0); }, S_OK, {0, 6, 8}, {0, 0, 0}, {0, 0, 0}},
        {[](auto& s) { return s.Flush(); }, S_OK, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(&step - steps);
        EXPECT_EQ(step.Act(store), step.hr);
        EXPECT_EQ(store.State("/"), step.root);
        EXPECT_EQ(store.State("a"), step.a);
        EXPECT_EQ(store.State("a/b"), step.b);
    }
}
