// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Store.h"

#include <map>

/// A tree of compartments, whose every answer comes from walking over all of them.
struct SModelTree
{
    using Items = std::map<std::string, std::string>;

    static bool IsBelow(const std::string& sPath, const std::string& sAbove)
    {
        return sPath != sAbove && (sAbove == "/" || sPath.starts_with(sAbove + "/"));
    }

    Items& Create(const std::string& sPath)
    {
        const std::size_t uMin = bRegistry ? 1 : 0;
        Compartments[bRegistry ? "/" : sPath];
        for (std::size_t uEnd = sPath.find('/'); uEnd != std::string::npos; uEnd = sPath.find('/', uEnd + 1)) {
            Compartments[sPath.substr(0, std::max(uEnd, uMin))];
        }
        return Compartments[sPath];
    }

    /// @return what was removed below the compartment
    Strings Remove(const std::string& sPath)
    {
        Strings below;
        std::erase_if(Compartments, [&](const auto& entry) {
            below.insert(below.end(), IsBelow(entry.first, sPath) ? 1 : 0, entry.first);
            return entry.first == sPath || IsBelow(entry.first, sPath);
        });
        return below;
    }

    /// Moves items to another compartment, which lies neither above nor below. What has no items stays behind and goes, and so
    /// does what lies below an empty name.
    Strings Move(const std::string& sFrom, const std::string& sTo)
    {
        for (const auto& [sPath, items] : std::map(Compartments)) {
            const std::string sRest = sPath == sFrom || IsBelow(sPath, sFrom) ? sPath.substr(sFrom.size()) : "//";
            if (!items.empty() && (sRest + "/").find("//") == std::string::npos) {
                Items moved = items;
                moved.merge(Create(sTo + sRest));
                Compartments[sTo + sRest] = moved;
            }
        }
        return Remove(sFrom);
    }

    /// What removing or moving a compartment gives, by what was there before.
    HRESULT Found(const std::string& sPath) const
    {
        return (bRegistry ? Compartments.contains(sPath) : !Compartments.empty()) ? S_OK : E_INVALIDARG;
    }

    bool bRegistry = false; ///< "/" is the key that holds all others; it comes with the first of them
    std::map<std::string, Items> Compartments{};
};
