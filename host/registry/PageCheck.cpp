// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "registry/PageCheck.h"

#include "registry/Record.h"
#include "registry/StorageError.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <lmdb.h>
#include <unistd.h>

namespace Registry
{

namespace
{

void Demand(bool bHolds, const char* pszFault)
{
    if (!bHolds) {
        throw CStorageError(MDB_CORRUPTED, pszFault);
    }
}

template <class TValue> TValue Load(std::string_view sBytes, std::size_t uOffset)
{
    TValue value;
    std::memcpy(&value, sBytes.data() + uOffset, sizeof(value));
    return value;
}

constexpr std::size_t RoundUpToEven(std::size_t uSize)
{
    return (uSize + 1) & ~std::size_t(1);
}

} // namespace

CPageCheck::CPageCheck(int nFile, const SMeta& meta)
    : m_nFile(nFile), m_Meta(meta), m_uPageSize(meta.freeList.uPageSize), m_aUsed(meta.uLastPage + 1)
{}

SPageCounts CPageCheck::Run()
{
    Claim(0, MetaPageCount);
    RunTree(ETree::Table, m_Meta.table);
    if (!m_bHeaderSeen) {
        throw CStorageError(MDB_INVALID, "not a registry database");
    }
    RunTree(ETree::FreeList, m_Meta.freeList);
    return m_Counts;
}

void CPageCheck::RunTree(ETree eTree, const STree& tree)
{
    m_eTree = eTree;
    m_uDepth = tree.uDepth;
    m_sLastKey.clear();
    m_bSeparatorLast = true;
    m_aPages.resize(std::max<std::size_t>(m_aPages.size(), tree.uDepth));
    if (tree.uRoot != NoPage) {
        Walk(tree.uRoot, 0);
    }
}

void CPageCheck::Walk(std::uint64_t uPage, unsigned uLevel)
{
    Claim(uPage, 1);
    std::vector<char>& page = m_aPages[uLevel];
    page.resize(m_uPageSize);
    ReadPages(uPage, 0, page.data(), page.size());
    const std::string_view sPage(page.data(), page.size());

    const auto header = Load<SPageHeader>(sPage, 0);
    const bool bLeaf = uLevel + 1 == m_uDepth;
    Demand(header.uNumber == uPage, "a page has another page's number");
    Demand(header.uFlags == (bLeaf ? LeafPage : BranchPage), "a page is of the wrong kind");

    bool bFirst = true;
    for (const SNode& node : Nodes(sPage, bLeaf)) {
        if (bLeaf) {
            CheckLeaf(node);
        } else {
            if (!bFirst) { // the first child of a branch has no separator
                CheckSeparator(node.sKey);
            }
            Walk(node.header.Child(), uLevel + 1);
        }
        bFirst = false;
    }
}

std::vector<CPageCheck::SNode> CPageCheck::Nodes(std::string_view sPage, bool bLeaf) const
{
    const auto header = Load<SPageHeader>(sPage, 0);
    Demand(header.uLower >= sizeof(SPageHeader) && header.uLower <= header.uUpper && header.uUpper <= sPage.size() &&
               header.uLower % 2 == 0 && header.uUpper % 2 == 0,
           "a page's bounds are wrong");
    const std::size_t uCount = (header.uLower - sizeof(SPageHeader)) / sizeof(std::uint16_t);
    // While LMDB rebalances the free list, a branch may have a single child there.
    Demand(uCount >= (bLeaf || m_eTree == ETree::FreeList ? 1 : 2), "a page has too few nodes");

    std::vector<SNode> nodes(uCount);
    std::vector<std::pair<std::size_t, std::size_t>> extents(uCount); // start and end
    for (std::size_t uNode = 0; uNode < uCount; ++uNode) {
        SNode& node = nodes[uNode];
        const std::size_t uStart = Load<std::uint16_t>(sPage, sizeof(SPageHeader) + uNode * sizeof(std::uint16_t));
        Demand(uStart >= header.uUpper && uStart + sizeof(SNodeHeader) <= sPage.size(), "a node lies outside its page");
        node.header = Load<SNodeHeader>(sPage, uStart);
        std::size_t uDataSize = 0;
        if (bLeaf) {
            uDataSize = node.header.uFlags == OverflowNode ? sizeof(std::uint64_t) : node.header.DataSize();
        }
        const std::size_t uKeyStart = uStart + sizeof(SNodeHeader);
        const std::size_t uDataStart = uKeyStart + node.header.uKeySize;
        const std::size_t uEnd = RoundUpToEven(uDataStart + uDataSize);
        Demand(uEnd <= sPage.size(), "a node runs past its page");
        node.sKey = sPage.substr(uKeyStart, node.header.uKeySize);
        node.sData = sPage.substr(uDataStart, uDataSize);
        extents[uNode] = {uStart, uEnd};
    }
    std::ranges::sort(extents);
    std::size_t uExpected = header.uUpper;
    for (const auto& [uStart, uEnd] : extents) {
        Demand(uStart == uExpected, "nodes overlap or leave a gap");
        uExpected = uEnd;
    }
    Demand(uExpected == sPage.size(), "nodes overlap or leave a gap");
    return nodes;
}

void CPageCheck::CheckSeparator(std::string_view sKey)
{
    std::string sOrdered(sKey);
    if (m_eTree == ETree::FreeList) {
        Demand(sKey.size() == sizeof(std::uint64_t), "a free list's key is no number");
        StoreNumber(sOrdered.data(), Load<std::uint64_t>(sKey, 0));
    }
    Demand(sOrdered > m_sLastKey, "separators are out of order");
    m_sLastKey = std::move(sOrdered);
    m_bSeparatorLast = true;
}

void CPageCheck::CheckLeaf(const SNode& node)
{
    // The header is the first record of a registry; another program's table may hold anything.
    if (m_eTree == ETree::Table && !m_bHeaderSeen) {
        RequireHeader(node.sKey, node.sData);
        m_bHeaderSeen = true;
    }
    Demand(node.header.uFlags == PlainNode || node.header.uFlags == OverflowNode, "a node is of the wrong kind");
    const std::string_view sData = node.header.uFlags == OverflowNode ? ReadRun(node) : node.sData;

    std::string sOrdered(node.sKey);
    if (m_eTree == ETree::FreeList) {
        CheckFreePages(node.sKey, sData);
        StoreNumber(sOrdered.data(), Load<std::uint64_t>(node.sKey, 0));
    } else {
        Demand(IsSound(node.sKey, sData), "a record is damaged");
        const auto eKind = static_cast<ERecord>(node.sKey[NumberSize]);
        m_Counts.uKeys += eKind == ERecord::SubKey ? 1 : 0;
        m_Counts.uValues += eKind == ERecord::Value ? 1 : 0;
    }
    const int nOrder = sOrdered.compare(m_sLastKey);
    Demand(nOrder > 0 || (nOrder == 0 && m_bSeparatorLast), "keys are out of order");
    m_sLastKey = std::move(sOrdered);
    m_bSeparatorLast = false;
}

void CPageCheck::CheckFreePages(std::string_view sKey, std::string_view sData)
{
    Demand(sKey.size() == sizeof(std::uint64_t) && Load<std::uint64_t>(sKey, 0) <= m_Meta.uTransactionId,
           "a free list is of no transaction");
    Demand(sData.size() >= sizeof(std::uint64_t), "a free list has no length");
    const auto uCount = Load<std::uint64_t>(sData, 0);
    Demand(uCount <= sData.size() / sizeof(std::uint64_t) - 1, "a free list is longer than its record");
    m_Counts.uFreePages += uCount;
    std::uint64_t uAbove = NoPage;
    for (std::uint64_t uIndex = 1; uIndex <= uCount; ++uIndex) {
        const auto uPage = Load<std::uint64_t>(sData, uIndex * sizeof(std::uint64_t));
        Demand(uPage < uAbove, "a free list is out of order");
        Claim(uPage, 1);
        uAbove = uPage;
    }
}

std::string_view CPageCheck::ReadRun(const SNode& node)
{
    const std::size_t uSize = node.header.DataSize();
    const auto uFirst = Load<std::uint64_t>(node.sData, 0);
    // Bounds what is allocated below. A free list names no page twice.
    Demand(uSize <= (m_eTree == ETree::Table ? MaxRecordSize : (m_aUsed.size() + 1) * sizeof(std::uint64_t)), "a record is too large");
    Claim(uFirst, 1);
    SPageHeader header;
    ReadPages(uFirst, 0, reinterpret_cast<char*>(&header), sizeof(header));
    Demand(header.uNumber == uFirst && header.uFlags == OverflowPage, "an overflow page is of the wrong kind");
    Demand(sizeof(header) + uSize <= std::uint64_t(header.RunLength()) * m_uPageSize, "an overflow run is too short");
    Claim(uFirst + 1, header.RunLength() - 1);
    m_aRun.resize(uSize);
    ReadPages(uFirst, sizeof(header), m_aRun.data(), uSize);
    return {m_aRun.data(), uSize};
}

void CPageCheck::ReadPages(std::uint64_t uPage, std::size_t uOffset, char* pBuffer, std::size_t uSize) const
{
    off_t nPosition = static_cast<off_t>(uPage * m_uPageSize + uOffset);
    while (uSize > 0) {
        const ssize_t nRead = pread(m_nFile, pBuffer, uSize, nPosition);
        if (nRead < 0 && errno != EINTR) {
            throw CStorageError(errno);
        }
        Demand(nRead != 0, "the file ends before a page that is in use");
        if (nRead > 0) {
            pBuffer += nRead;
            nPosition += nRead;
            uSize -= static_cast<std::size_t>(nRead);
        }
    }
}

void CPageCheck::Claim(std::uint64_t uFirst, std::uint64_t uCount)
{
    const std::uint64_t uEnd = m_Meta.uLastPage + 1;
    Demand(uFirst <= uEnd && uCount <= uEnd - uFirst, "a page number is past the last page");
    for (std::uint64_t uPage = uFirst; uPage < uFirst + uCount; ++uPage) {
        Demand(!m_aUsed[uPage], "a page has two uses");
        m_aUsed[uPage] = true;
    }
}

} // namespace Registry
