// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "registry/KeyPath.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace Registry
{

/// Remembers the keys that a reader looked for last, because callers read the same few keys over and over.
///
/// What was learned in the state that the reader still sees holds as it stands. In a newer state a key that was
/// found is right as long as its last link is there with the same id: key ids are never used again, and a key
/// goes together with its parents. One that was not there may have been made.
/// Thread safety: none; it belongs to one reader and is guarded by that reader's mutex.
class CKeyCache
{
public:
    /// @return whether there is such a key, which is then written to key; nothing when that is not known
    std::optional<bool> Find(const CTransaction& transaction, const CKeyPath& path, SKey& key);
    /// @param key what was found, or nothing when there is no such key
    void Remember(const CTransaction& transaction, const CKeyPath& path, const std::optional<SKey>& key);
    void Clear() { m_aEntries = {}; }

private:
    struct SEntry
    {
        std::string sRoot; // empty in an unused entry
        std::string sSubKey;
        std::optional<SKey> key;
        std::uint64_t uTransactionId = 0;
    };
    SEntry& EntryOf(const CKeyPath& path);

    std::array<SEntry, 16> m_aEntries;
};

} // namespace Registry
