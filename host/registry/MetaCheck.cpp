// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "registry/MetaCheck.h"

#include "registry/StorageError.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <chrono>
#include <lmdb.h>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace Registry
{

namespace
{

/// A map or a file beyond this is damage: no address space has room for it.
constexpr std::uint64_t MaxMapSize = std::uint64_t(1) << 47;

/// Pages that a transaction used and freed again need not have been written, so the last page may lie
/// past the end of the file. This is far more than one transaction can leave there.
constexpr std::uint64_t MaxUnwrittenPages = std::uint64_t(1) << 24;

bool IsPageSize(std::uint32_t uSize)
{
    return std::has_single_bit(uSize) && uSize >= MinPageSize && uSize <= MaxPageSize;
}

SMeta ReadMeta(int nFile, std::uint64_t uOffset)
{
    SMeta meta = {}; // a file that ends early reads as zeros: no magic
    if (pread(nFile, &meta, sizeof(meta), static_cast<off_t>(uOffset)) < 0) {
        throw CStorageError(errno);
    }
    return meta;
}

std::uint32_t PageSizeOf(const SMeta& meta)
{
    return IsPageSize(meta.freeList.uPageSize) ? meta.freeList.uPageSize : static_cast<std::uint32_t>(getpagesize());
}

SMetaPair ReadPair(int nFile)
{
    SMetaPair pair = {};
    pair.aMetas[0] = ReadMeta(nFile, 0);
    const std::uint32_t uPageSize = PageSizeOf(pair.aMetas[0]);
    pair.aMetas[1] = ReadMeta(nFile, uPageSize);
    struct stat file = {};
    if (fstat(nFile, &file) != 0) {
        throw CStorageError(errno);
    }
    pair.uFilePages = static_cast<std::uint64_t>(file.st_size) / uPageSize;
    return pair;
}

bool IsRoot(const STree& tree, const SMeta& meta)
{
    return tree.uRoot == NoPage ? tree.uDepth == 0 : tree.uRoot <= meta.uLastPage && tree.uDepth >= 1 && tree.uDepth <= MaxTreeDepth;
}

/// Why a meta page can't be right; null when nothing is wrong with it.
const char* FaultOf(const SMeta& meta, std::uint64_t uNumber, const SMetaPair& pair)
{
    const std::uint32_t uPageSize = meta.freeList.uPageSize;
    if (meta.uMagic != MetaMagic || meta.page.uNumber != uNumber || meta.page.uFlags != MetaPage) {
        return "a meta page is damaged";
    }
    if (!IsPageSize(uPageSize) || uPageSize != pair.aMetas[0].freeList.uPageSize || pair.uFilePages < MetaPageCount) {
        return "the page size does not go with the file";
    }
    if (meta.uMapSize > MaxMapSize || meta.uLastPage < MetaPageCount - 1 || meta.uLastPage >= meta.uMapSize / uPageSize ||
        meta.uLastPage >= pair.uFilePages + MaxUnwrittenPages) {
        return "a meta page names impossible sizes";
    }
    if ((meta.freeList.uFlags & ~NoSubFolder) != IntegerKeys || !IsRoot(meta.freeList, meta) || !IsRoot(meta.table, meta)) {
        return "a meta page names impossible trees";
    }
    return nullptr;
}

const char* FaultOf(const SMetaPair& pair)
{
    for (std::uint64_t uNumber = 0; uNumber < MetaPageCount; ++uNumber) {
        if (const char* pszFault = FaultOf(pair.aMetas[uNumber], uNumber, pair)) {
            return pszFault;
        }
    }
    const std::uint64_t uEven = pair.aMetas[0].uTransactionId;
    const std::uint64_t uOdd = pair.aMetas[1].uTransactionId;
    const bool bNew = uEven == 0 && uOdd == 0;
    if (!bNew && (uEven % 2 != 0 || (uOdd != uEven + 1 && uEven != uOdd + 1))) {
        return "the meta pages are not of two transactions in a row";
    }
    return nullptr;
}

/// What to refuse a file for, if anything.
std::optional<CStorageError> Judge(const SMetaPair& pair)
{
    const auto isLmdb = [](const SMeta& meta) { return meta.uMagic == MetaMagic; };
    if (std::ranges::none_of(pair.aMetas, isLmdb)) {
        return CStorageError(MDB_INVALID, "not a database");
    }
    if (std::ranges::any_of(pair.aMetas, [&](const SMeta& meta) { return isLmdb(meta) && meta.uVersion != DataVersion; })) {
        return CStorageError(MDB_VERSION_MISMATCH);
    }
    if (const char* pszFault = FaultOf(pair)) {
        return CStorageError(MDB_CORRUPTED, pszFault);
    }
    if (pair.Newest().table.uFlags != 0) {
        return CStorageError(MDB_INVALID, "not a registry database"); // a table of another kind than ours
    }
    return std::nullopt;
}

} // namespace

SMetaPair ReadMetas(int nFile)
{
    // A meta page that is being written may be read half: only what stays the same is refused.
    SMetaPair pair = ReadPair(nFile);
    while (const std::optional<CStorageError> refusal = Judge(pair)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const SMetaPair again = ReadPair(nFile);
        if (again == pair) {
            throw *refusal;
        }
        pair = again;
    }
    return pair;
}

} // namespace Registry
