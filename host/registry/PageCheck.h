// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "registry/PageLayout.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Registry
{

/// What a check went through.
struct SPageCounts
{
    std::uint64_t uFreePages = 0; ///< pages that a later transaction may use again
    std::uint64_t uKeys = 0;      ///< hives among them
    std::uint64_t uValues = 0;
};

/// Checks everything that can be reached from a meta page: where LMDB would follow a wild page
/// number or offset, this throws MDB_CORRUPTED, and MDB_INVALID for a table that is not a registry.
/// Also checked are the order of the keys, the checksums of the records, and that no page has two
/// uses, so that LMDB neither reads nor writes amiss afterwards.
///
/// Reads every page that is in use once, which makes the cost linear in their number. The caller
/// sees to it that these pages are not used again meanwhile: by a read transaction of that state.
class CPageCheck
{
public:
    /// @param meta a meta page that ReadMetas let pass
    CPageCheck(int nFile, const SMeta& meta);
    SPageCounts Run();

private:
    enum class ETree { Table, FreeList };

    /// A node of the page that is being walked; key and data borrow from it.
    struct SNode
    {
        SNodeHeader header;
        std::string_view sKey;
        std::string_view sData; // in the page; nothing in a branch
    };

    void RunTree(ETree eTree, const STree& tree);
    void Walk(std::uint64_t uPage, unsigned uLevel);
    std::vector<SNode> Nodes(std::string_view sPage, bool bLeaf) const;
    void CheckSeparator(std::string_view sKey);
    void CheckLeaf(const SNode& node);
    void CheckFreePages(std::string_view sKey, std::string_view sData);
    std::string_view ReadRun(const SNode& node);
    void ReadPages(std::uint64_t uPage, std::size_t uOffset, char* pBuffer, std::size_t uSize) const;
    /// Notes the only use that pages may have.
    void Claim(std::uint64_t uFirst, std::uint64_t uCount);

    const int m_nFile;
    const SMeta m_Meta;
    const std::uint32_t m_uPageSize;
    std::vector<bool> m_aUsed;               // by page number
    std::vector<std::vector<char>> m_aPages; // one per level of the tree
    std::vector<char> m_aRun;                // data of an overflow run
    SPageCounts m_Counts;

    // of the tree that is being walked
    ETree m_eTree = ETree::Table;
    unsigned m_uDepth = 0;
    std::string m_sLastKey;       // lower bound of what may come next
    bool m_bSeparatorLast = true; // the bound is a separator, which its leaf may repeat
    bool m_bHeaderSeen = false;
};

} // namespace Registry
