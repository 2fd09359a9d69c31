// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/Snapshot.h"

#include "support/Failure.h"
#include "support/Value.h"

namespace Tool
{

namespace
{

std::size_t HashOf(CStore& store, const std::string& sPath, const std::string& sItem)
{
    try {
        const ArrayPtr value = store.Get(sPath, sItem);
        return std::hash<std::string_view>()(View(ValueContent(value.get()))) ^ ElementType(value.get());
    } catch (const CFailure&) {
        return 0;
    }
}

/// Calls read, and takes what was removed before it could be read for empty.
template <class Read> auto EmptyWhenGone(Read read) -> decltype(read())
{
    try {
        return read();
    } catch (const CFailure& failure) {
        if (failure.Code() != ExitCode::NotFound) {
            throw;
        }
        return {};
    }
}

} // namespace

std::optional<Snapshot> TakeSnapshot(CStore& store, const std::string& sPath, const std::function<bool()>& stops)
{
    Snapshot snapshot;
    std::vector<std::string> pending = {sPath};
    while (!pending.empty()) {
        if (stops()) {
            return std::nullopt;
        }
        const std::string sCompartment = pending.back();
        pending.pop_back();
        const bool bWhole = sCompartment == WholeStore;
        if (!bWhole && store.Status(sCompartment).bCached) {
            auto& items = snapshot[sCompartment];
            for (const std::string& sItem : EmptyWhenGone([&] { return store.Items(sCompartment); })) {
                items[sItem] = HashOf(store, sCompartment, sItem);
            }
        }
        for (const std::string& sChild : EmptyWhenGone([&] { return store.Compartments(sCompartment); })) {
            if (!sChild.empty()) { // below an empty name lies what no path names alone
                pending.push_back(bWhole ? sChild : std::string(sCompartment).append(1, '/').append(sChild));
            }
        }
    }
    return snapshot;
}

std::vector<Change> Changes(const Snapshot& before, const Snapshot& after)
{
    static const std::map<std::string, std::size_t> Nothing;
    const auto itemsOf = [](const Snapshot& snapshot, const std::string& sCompartment) -> const auto&
    {
        const auto it = snapshot.find(sCompartment);
        return it == snapshot.end() ? Nothing : it->second;
    };
    std::vector<Change> changes;
    for (const auto& [sCompartment, items] : after) {
        if (!before.contains(sCompartment)) {
            changes.push_back({"added", sCompartment, ""});
        }
        const auto& itemsBefore = itemsOf(before, sCompartment);
        for (const auto& [sItem, uHash] : items) {
            const auto it = itemsBefore.find(sItem);
            if (it == itemsBefore.end() || it->second != uHash) {
                changes.push_back({it == itemsBefore.end() ? "added" : "changed", sCompartment, sItem});
            }
        }
    }
    for (const auto& [sCompartment, items] : before) {
        for (const auto& [sItem, uHash] : items) {
            if (!itemsOf(after, sCompartment).contains(sItem)) {
                changes.push_back({"removed", sCompartment, sItem});
            }
        }
        if (!after.contains(sCompartment)) {
            changes.push_back({"removed", sCompartment, ""});
        }
    }
    return changes;
}

} // namespace Tool
