// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

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

TEST(VersionTest, GetVersion_WithoutWhatItNeeds_FailsAndTellsZero)
{
    unsigned long ulContent = 7;
    EXPECT_EQ(GetVersion("get", nullptr, &ulContent), E_FAIL);
    EXPECT_EQ(ulContent, 0U);
    CAbstractTree* pTree = std::exchange(gHistoryTree, nullptr);
    EXPECT_EQ(VersionsOf("get", E_FAIL), Versions(0, 0));
    gHistoryTree = pTree;
}
