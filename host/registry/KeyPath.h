// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <string_view>

namespace Registry
{

class CTransaction;

/// A registry key that was found: its id and its parent's.
struct SKey
{
    std::uint64_t uParentId = 0;
    std::uint64_t uId = 0;
};

/// A hive and the path of a key below it, as callers give them. It borrows the strings.
class CKeyPath
{
public:
    CKeyPath(const char* pszRoot, const char* pszSubKey);

    std::string_view Root() const { return m_sRoot; }
    std::string_view SubKey() const { return m_sSubKey; }
    bool IsHive() const { return m_sSubKey.empty(); }

    /// False for a null string, an empty component and a name over its limit.
    bool IsValid() const;
    /// The name under which the key's parent holds it.
    std::string_view LastName() const;

    /// Calls visit(name) for the hive and every component until it returns false.
    template <class TVisit> void ForEachName(TVisit visit) const
    {
        if (!visit(m_sRoot) || m_sSubKey.empty()) {
            return;
        }
        for (std::string_view sRest = m_sSubKey;;) {
            const std::size_t uEnd = sRest.find(Separator);
            if (!visit(sRest.substr(0, uEnd)) || uEnd == std::string_view::npos) {
                return;
            }
            sRest.remove_prefix(uEnd + 1);
        }
    }

private:
    static constexpr char Separator = '\\';

    bool m_bNull;
    std::string_view m_sRoot;
    std::string_view m_sSubKey;
};

/// Finds the key of a valid path. Returns 0 or ERROR_FILE_NOT_FOUND.
long FindKey(const CTransaction& transaction, const CKeyPath& path, SKey& key);

/// Finds the key of a valid path, and makes it and its missing parents. Returns true when it was made.
bool CreateKey(CTransaction& transaction, const CKeyPath& path, SKey& key);

/// Deletes all values and sub-keys of a key, at any depth.
void EmptyKey(CTransaction& transaction, std::uint64_t uKeyId);

} // namespace Registry
