// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <cstdint>

namespace Registry
{

/// @file
/// How LMDB 0.9 (data version 1, 64 bits) lays out its file, for those who look at it before LMDB does.
///
/// The file is an array of pages of equal size. Pages 0 and 1 are two versions of the meta page;
/// transaction n writes number n modulo 2. A meta page names the roots of two B-trees: the free list
/// (transaction id -> count and numbers of the pages that it freed, largest number first) and the
/// main table. A tree page starts with its header and an array of node offsets in key order; the
/// nodes fill the end of the page without a gap. A large value lies in a run of overflow pages.

static_assert(sizeof(std::size_t) == 8, "the layout below is that of 64-bit LMDB");

constexpr std::uint32_t MetaMagic = 0xBEEFC0DE;
constexpr std::uint32_t DataVersion = 1;
constexpr std::uint64_t NoPage = ~std::uint64_t(0); // root of an empty tree
constexpr std::uint64_t MetaPageCount = 2;
constexpr std::uint32_t MinPageSize = 256;
constexpr std::uint32_t MaxPageSize = 32 * 1024;
constexpr unsigned MaxTreeDepth = 32;

enum EPageFlag : std::uint16_t { BranchPage = 0x01, LeafPage = 0x02, OverflowPage = 0x04, MetaPage = 0x08 };
enum ENodeFlag : std::uint16_t { PlainNode = 0x00, OverflowNode = 0x01 };
enum ETreeFlag : std::uint16_t { IntegerKeys = 0x08, NoSubFolder = 0x4000 };

struct SPageHeader
{
    std::uint64_t uNumber;
    std::uint16_t uReserved;
    std::uint16_t uFlags;
    std::uint16_t uLower; // end of the node offsets
    std::uint16_t uUpper; // start of the nodes

    /// An overflow run has its length there instead.
    std::uint32_t RunLength() const { return static_cast<std::uint32_t>(uUpper) << 16 | uLower; }
};
static_assert(sizeof(SPageHeader) == 16);

struct SNodeHeader
{
    std::uint16_t uLow;
    std::uint16_t uHigh;
    std::uint16_t uFlags;
    std::uint16_t uKeySize;

    std::size_t DataSize() const { return static_cast<std::size_t>(uHigh) << 16 | uLow; }
    /// A branch node has the number of its child there instead.
    std::uint64_t Child() const { return static_cast<std::uint64_t>(uFlags) << 32 | DataSize(); }
};
static_assert(sizeof(SNodeHeader) == 8);

struct STree
{
    std::uint32_t uPageSize; // in the free list's tree only
    std::uint16_t uFlags;
    std::uint16_t uDepth;
    std::uint64_t uBranchPages;
    std::uint64_t uLeafPages;
    std::uint64_t uOverflowPages;
    std::uint64_t uEntries;
    std::uint64_t uRoot;
};

struct SMeta
{
    SPageHeader page;
    std::uint32_t uMagic;
    std::uint32_t uVersion;
    std::uint64_t uAddress;
    std::uint64_t uMapSize;
    STree freeList;
    STree table;
    std::uint64_t uLastPage;
    std::uint64_t uTransactionId;
};
static_assert(sizeof(SMeta) == 152);

} // namespace Registry
