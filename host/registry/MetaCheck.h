// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "registry/PageLayout.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace Registry
{

/// Both versions of the meta page.
struct SMetaPair
{
    SMeta aMetas[MetaPageCount];
    std::uint64_t uFilePages;

    const SMeta& Newest() const { return aMetas[aMetas[0].uTransactionId < aMetas[1].uTransactionId ? 1 : 0]; }
    bool operator==(const SMetaPair& other) const { return std::memcmp(this, &other, sizeof(other)) == 0; }
};

static_assert(std::has_unique_object_representations_v<SMetaPair>);

/// Reads and checks the meta pages of a database file, which other processes may be writing. LMDB
/// trusts them: the page size, the length of its map and the roots of its trees come from there.
/// Throws MDB_INVALID for a file that is not LMDB's, or of a newer LMDB, and MDB_CORRUPTED for a
/// damaged one. Costs two reads.
SMetaPair ReadMetas(int nFile);

} // namespace Registry
