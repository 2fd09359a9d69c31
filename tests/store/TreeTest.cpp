// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Store.h"

#include "tree/MemoryTree.h"

#include <array>
#include <list>

namespace
{

struct TreeTest : testing::Test
{
    void Set(const std::string& sPath) { EXPECT_EQ(Tree.SetData(sPath.c_str(), "d", Bytes(sPath).get(), 0, 0), S_OK); }

    CMemoryTree Tree{"Tree"};
};

} // namespace

TEST(SplitTest, KeepsEmptyPiecesAndTheLastOne)
{
    using Pieces = std::vector<SecureString>;
    EXPECT_EQ(split("", L'/'), Pieces{""});
    EXPECT_EQ(split("/ab//c/", L'\x152f'), (Pieces{"", "ab", "", "c", ""})); // only the low byte of the separator counts
}

TEST_F(TreeTest, Search_FindsTheFirstSessionThatHoldsTheSubCompartment)
{
    for (const char* pszPath : {"0/X", "B/X", "A/X/1", "B/Y", "B"}) {
        Set(pszPath);
    }
    std::list<SecureString> sessions{"old"};
    EXPECT_EQ(Tree.GetSessionIdList(sessions), S_OK);
    EXPECT_EQ(sessions, (std::list<SecureString>{"0", "A", "B"}));
    // session, sub-compartment, session found, compartment found
    const std::array<const char*, 4> cases[] = {{"0", "X", "A", "0/X"}, {"0", "Y", "B", ""},
                                                {"0", "Z", "0", ""},    {"A", "X/1", "A", "A/X/1"},
                                                {"A", "1", "A", ""},    {"A/X", "1", "A/X", ""}}; // a session is one component
    for (const auto& [pszSession, pszSub, pszSessionFound, pszCompartmentFound] : cases) {
        SecureString sFound;
        EXPECT_EQ(Tree.FindSessionId(pszSession, pszSub, sFound), S_OK);
        EXPECT_EQ(sFound, pszSessionFound) << pszSub;
        sFound.clear();
        bool bFound = true;
        EXPECT_EQ(Tree.FindCompartmentId(pszSession, pszSub, sFound, bFound), S_OK);
        EXPECT_EQ(sFound, pszCompartmentFound) << pszSub;
        EXPECT_EQ(bFound, !sFound.empty());
    }
}

TEST_F(TreeTest, MoveCompartmentIds_IntoItselfFailsAndKeepsTheSourceWhenTold)
{
    Set("S1/P");
    Set("S1/P/Q");
    EXPECT_EQ(Tree.MoveCompartmentIds("S1/P", "S1/P/Q", true), E_INVALIDARG);
    EXPECT_EQ(Tree.MoveCompartmentIds("S1/P", "S2/P", false), E_FAIL); // of the last leaf
    EXPECT_EQ(Listed([&](SAFEARRAY** ppsa) { return Tree.ListAllCompartmentIds(ppsa); }),
              (Strings{"S1", "S1/P", "S1/P/Q", "S2", "S2/P", "S2/P/Q"}));
}
