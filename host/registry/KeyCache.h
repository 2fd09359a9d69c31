// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "registry/KeyPath.h"

#include <array>
#include <cstdint>
#include <string>

namespace Registry
{

/// Remembers the keys that a reader found last, because callers read the same few keys over and over.
///
/// A path that was found in the state the reader still sees is right as it stands. In a newer state
/// it is right as long as its last link is there with the same id: key ids are never used again, and
/// a key goes together with its parents.
/// Thread safety: none; it belongs to one reader and is guarded by that reader's mutex.
class CKeyCache
{
public:
    bool Find(const CTransaction& transaction, const CKeyPath& path, SKey& key);
    void Remember(const CTransaction& transaction, const CKeyPath& path, const SKey& key);
    void Clear() { m_aEntries = {}; }

private:
    struct SEntry
    {
        std::string sRoot; // empty in an unused entry
        std::string sSubKey;
        SKey key;
        std::uint64_t uTransactionId = 0;
    };
    SEntry& EntryOf(const CKeyPath& path);

    std::array<SEntry, 16> m_aEntries;
};

} // namespace Registry
