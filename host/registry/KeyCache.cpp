// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "registry/KeyCache.h"

#include "registry/Transaction.h"

namespace Registry
{

CKeyCache::SEntry& CKeyCache::EntryOf(const CKeyPath& path)
{
    return m_aEntries[(Mix(0, path.SubKey()) >> 32) % m_aEntries.size()];
}

std::optional<bool> CKeyCache::Find(const CTransaction& transaction, const CKeyPath& path, SKey& key)
{
    SEntry& entry = EntryOf(path);
    if (entry.sRoot.empty() || entry.sSubKey != path.SubKey() || entry.sRoot != path.Root()) {
        return std::nullopt;
    }
    if (const std::uint64_t uNow = transaction.Id(); entry.uTransactionId != uNow) {
        if (!entry.key || transaction.FindSubKey(entry.key->uParentId, path.LastName()) != entry.key->uId) {
            return std::nullopt;
        }
        entry.uTransactionId = uNow;
    }
    key = entry.key.value_or(SKey());
    return entry.key.has_value();
}

void CKeyCache::Remember(const CTransaction& transaction, const CKeyPath& path, const std::optional<SKey>& key)
{
    SEntry& entry = EntryOf(path);
    entry.sRoot.clear(); // no half-written entry when memory runs out below
    entry.sSubKey = path.SubKey();
    entry.key = key;
    entry.uTransactionId = transaction.Id();
    entry.sRoot = path.Root();
}

} // namespace Registry
