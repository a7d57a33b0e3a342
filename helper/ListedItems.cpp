// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/ListedItems.h"

#include <algorithm>
#include <cerrno>
#include <memory_resource>
#include <unordered_set>
#include <utility>

#include "base/SystemLog.h"
#include "helper/TrashPath.h"

namespace kestrin {

namespace {

/// Gathers paths, each once.
class DistinctItems {
 public:
    DistinctItems(const EraseItems& items, const std::atomic<bool>& stop)
        : m_identities(items.identities), m_stop(stop) {}

    /// `first` is the index at which the identities of these paths begin.
    void add(const std::vector<std::string>& paths, std::size_t first) {
        m_items.reserve(m_items.size() + paths.size());
        m_known.reserve(m_known.size() + paths.size());
        for (std::size_t index = 0; index < paths.size(); ++index) {
            if (m_stop) return;
            if (!m_known.insert(paths[index]).second) continue;
            const std::size_t at = first + index;
            m_items.push_back(
                {paths[index], m_identities.empty() ? ItemIdentity() : m_identities.at(at)});
        }
    }
    std::vector<ListedItem> take() { return std::move(m_items); }

 private:
    const std::vector<ItemIdentity>& m_identities;
    const std::atomic<bool>& m_stop;
    std::vector<ListedItem> m_items;
    std::pmr::monotonic_buffer_resource m_memory;  // millions of paths are let go at once
    std::pmr::unordered_set<std::string_view> m_known{&m_memory};
};

}  // namespace

std::vector<ListedItem> itemsToErase(const EraseItems& items, const std::atomic<bool>& stop) {
    DistinctItems distinct(items, stop);
    distinct.add(items.unlockItems, 0);
    distinct.add(items.permissionsItems, items.unlockItems.size());
    return distinct.take();
}

std::vector<ListedItem> foldersLeftBehind(const EraseItems& items, const std::atomic<bool>& stop) {
    DistinctItems distinct(items, stop);
    if (items.notTrashedBecauseFolderNotEmpty) {
        distinct.add(*items.notTrashedBecauseFolderNotEmpty,
                     items.unlockItems.size() + items.permissionsItems.size());
    }
    return distinct.take();
}

ListedItems::ListedItems(UserTrashes& trashes, std::vector<ListedItem> items,
                         UserTrashes::Locks locks, const std::atomic<bool>& stop)
    : m_trashes(trashes), m_items(std::move(items)), m_locks(locks), m_stop(stop) {}

bool ListedItems::next(RemovalItem& item) {
    while (m_next < countOfTurn() && !m_stop) {
        const std::size_t index = indexAt(m_next++);
        const std::string_view path = m_items[index].path;
        if (isToBePutOff(path)) {
            m_putOff.push_back(index);
            continue;
        }
        auto folder = m_trashes.folderOf(path, m_locks, m_stop);
        const std::lock_guard guard(m_mutex);
        if (!folder) {
            m_stayed.push_back(index);
            continue;
        }
        item = {index, (*folder)->descriptor(), (*folder)->path, std::string(splitPath(path).name),
                m_items[index].identity};
        m_folders.emplace(index, std::move(*folder));
        return true;
    }
    return false;
}

bool ListedItems::isToBePutOff(std::string_view path) const {
    const std::lock_guard guard(m_mutex);
    return std::ranges::any_of(m_folders, [&](const auto& one) {
        const std::string_view other = m_items[one.first].path;
        return !partBelow(path, other).empty() || !partBelow(other, path).empty();
    });
}

bool ListedItems::takeUpWhatWasPutOff() {
    if (m_putOff.empty() || m_stop) return false;
    m_order = std::exchange(m_putOff, {});
    m_next = 0;
    return true;
}

std::shared_ptr<EntryFolder> ListedItems::end(std::size_t index, bool isLeft) {
    const std::lock_guard guard(m_mutex);
    if (isLeft) m_stayed.push_back(index);
    return std::move(m_folders.extract(index).mapped());
}

void ListedItems::finished(const RemovalItem& item, RemovalOutcome outcome) {
    const bool isGone = outcome == RemovalOutcome::Gone;
    // The folder that held it is locked again when this goes.
    const auto folder = end(item.tag, !isGone && outcome != RemovalOutcome::Replaced);
    if (!isGone || !folder->isFiles()) return;
    folder->trash->somethingWent = true;
    if (const MaybeError error = folder->trash->folder.removeRecord(item.name)) {
        qCWarning(lcHelper, "The record of an erased entry stays: %s",
                  error->localizedDescription().c_str());
    }
}

std::uint64_t ListedItems::countLeft() {
    std::uint64_t left = 0;
    for (const std::size_t index : m_stayed)
        left += m_stop || isThere(m_items[index]) ? 1 : 0;
    for (std::size_t place = m_next; place < countOfTurn(); ++place)
        left += m_stop || isThere(m_items[indexAt(place)]) ? 1 : 0;
    for (const std::size_t index : m_putOff)
        left += m_stop || isThere(m_items[index]) ? 1 : 0;
    return left;
}

/// Nothing is told about a path that is refused, not even that there is nothing.
bool ListedItems::isThere(const ListedItem& item) {
    const auto folder = m_trashes.folderOf(item.path, UserTrashes::Locks::Keep, m_stop);
    if (!folder) return folder.error().systemError != ENOENT;
    const std::string name(splitPath(item.path).name);
    const ItemIdentity found = identityAt((*folder)->descriptor(), name.c_str());
    return found.isKnown() ? isSameItem(item.identity, found) : errno != ENOENT;
}

}  // namespace kestrin
