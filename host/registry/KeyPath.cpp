// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "registry/KeyPath.h"

#include "platform/Registry.h"
#include "registry/KeyCache.h"
#include "registry/Transaction.h"

#include <string>
#include <vector>

namespace Registry
{

CKeyPath::CKeyPath(const char* pszRoot, const char* pszSubKey) : m_bNull(pszRoot == nullptr || pszSubKey == nullptr)
{
    if (pszRoot != nullptr && pszSubKey != nullptr) {
        m_sRoot = pszRoot;
        m_sSubKey = pszSubKey;
    }
}

bool CKeyPath::IsValid() const
{
    // A hive's name could not be told from a path if it held a separator.
    bool bValid = !m_bNull && m_sRoot.find(Separator) == std::string_view::npos;
    if (bValid) {
        ForEachName([&](std::string_view sName) { return bValid = !sName.empty() && sName.size() <= MaxKeyNameSize; });
    }
    return bValid;
}

std::string_view CKeyPath::LastName() const
{
    return IsHive() ? m_sRoot : m_sSubKey.substr(m_sSubKey.rfind(Separator) + 1);
}

long FindKey(const CTransaction& transaction, const CKeyPath& path, SKey& key)
{
    CKeyCache* pCache = transaction.Cache();
    const std::optional<bool> bKnown = pCache != nullptr ? pCache->Find(transaction, path, key) : std::nullopt;
    if (bKnown.has_value()) {
        return *bKnown ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
    }
    SKey found;
    bool bFound = true;
    path.ForEachName([&](std::string_view sName) {
        const std::optional<std::uint64_t> uId = transaction.FindSubKey(found.uId, sName);
        bFound = uId.has_value();
        found = {found.uId, uId.value_or(0)};
        return bFound;
    });
    if (pCache != nullptr) {
        pCache->Remember(transaction, path, bFound ? std::optional(found) : std::nullopt);
    }
    if (!bFound) {
        return ERROR_FILE_NOT_FOUND;
    }
    key = found;
    return ERROR_SUCCESS;
}

bool CreateKey(CTransaction& transaction, const CKeyPath& path, SKey& key)
{
    bool bMade = false;
    key = SKey();
    path.ForEachName([&](std::string_view sName) {
        std::optional<std::uint64_t> uId = transaction.FindSubKey(key.uId, sName);
        bMade = !uId;
        key = {key.uId, uId ? *uId : transaction.AddSubKey(key.uId, sName)};
        return true;
    });
    return bMade;
}

void EmptyKey(CTransaction& transaction, std::uint64_t uKeyId)
{
    // A list of what is still to be emptied instead of recursion: a tree may be deeper than the stack.
    // Names are taken out of the table in batches, as it can't be walked and changed at once.
    constexpr std::size_t BatchSize = 1024;
    std::vector<std::uint64_t> pendingIds = {uKeyId};
    std::vector<std::string> names;
    while (!pendingIds.empty()) {
        const std::uint64_t uId = pendingIds.back();
        pendingIds.pop_back();
        for (const ERecord eKind : {ERecord::Value, ERecord::SubKey}) {
            do {
                names.clear();
                transaction.ForEach(uId, eKind, [&](std::string_view sName, std::string_view sRecord) {
                    names.emplace_back(sName);
                    if (eKind == ERecord::SubKey) {
                        pendingIds.push_back(CTransaction::ParseSubKey(sRecord));
                    }
                    return names.size() < BatchSize;
                });
                for (const std::string& sName : names) {
                    transaction.Remove(CRecordKey(uId, eKind, sName));
                }
            } while (names.size() == BatchSize);
        }
    }
}

} // namespace Registry
