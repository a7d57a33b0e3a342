// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/ListedItems.h"

#include <cerrno>
#include <unordered_set>
#include <utility>

#include "base/SystemLog.h"
#include "helper/TrashPath.h"

namespace kestrin {

namespace {

/// Gathers paths, each once.
class DistinctItems {
 public:
    explicit DistinctItems(const EraseItems& items) : m_identities(items.identities) {}

    /// `first` is the index at which the identities of these paths begin.
    void add(const std::vector<std::string>& paths, std::size_t first) {
        m_items.reserve(m_items.size() + paths.size());
        m_known.reserve(m_known.size() + paths.size());
        for (std::size_t index = 0; index < paths.size(); ++index) {
            if (!m_known.insert(paths[index]).second) continue;
            const std::size_t at = first + index;
            m_items.push_back(
                {paths[index], m_identities.empty() ? ItemIdentity() : m_identities.at(at)});
        }
    }
    std::vector<ListedItem> take() { return std::move(m_items); }

 private:
    const std::vector<ItemIdentity>& m_identities;
    std::vector<ListedItem> m_items;
    std::unordered_set<std::string_view> m_known;
};

}  // namespace

std::vector<ListedItem> itemsToErase(const EraseItems& items) {
    DistinctItems distinct(items);
    distinct.add(items.unlockItems, 0);
    distinct.add(items.permissionsItems, items.unlockItems.size());
    return distinct.take();
}

std::vector<ListedItem> foldersLeftBehind(const EraseItems& items) {
    DistinctItems distinct(items);
    if (items.notTrashedBecauseFolderNotEmpty) {
        distinct.add(*items.notTrashedBecauseFolderNotEmpty,
                     items.unlockItems.size() + items.permissionsItems.size());
    }
    return distinct.take();
}

ListedItems::ListedItems(UserTrashes& trashes, std::vector<ListedItem> items,
                         UserTrashes::Locks locks)
    : m_trashes(trashes), m_items(std::move(items)), m_locks(locks), m_folders(m_items.size()) {}

bool ListedItems::next(RemovalItem& item) {
    while (m_next < m_items.size()) {
        const std::size_t index = m_next++;
        const std::string_view path = m_items[index].path;
        auto folder = m_trashes.folderOf(path, m_locks);
        if (!folder) {
            const std::lock_guard guard(m_mutex);
            m_stayed.push_back(index);
            continue;
        }
        m_folders[index] = *folder;
        item = {index, (*folder)->descriptor(), (*folder)->path, std::string(splitPath(path).name),
                m_items[index].identity};
        return true;
    }
    return false;
}

void ListedItems::finished(const RemovalItem& item, RemovalOutcome outcome) {
    // The folders above are locked again when this goes.
    const auto folder = std::exchange(m_folders[item.tag], nullptr);
    if (outcome != RemovalOutcome::Gone) {
        const std::lock_guard guard(m_mutex);
        m_stayed.push_back(item.tag);
    } else if (folder->isFiles()) {
        folder->trash->somethingWent = true;
        if (const MaybeError error = folder->trash->folder.removeRecord(item.name)) {
            qCWarning(lcHelper, "The record of an erased entry stays: %s",
                      error->localizedDescription().c_str());
        }
    }
}

std::uint64_t ListedItems::countLeft() {
    std::uint64_t left = 0;
    for (const std::size_t index : m_stayed)
        left += isThere(m_items[index]) ? 1 : 0;
    for (std::size_t index = m_next; index < m_items.size(); ++index)
        left += isThere(m_items[index]) ? 1 : 0;
    return left;
}

/// Nothing is told about a path that is refused, not even that there is nothing.
bool ListedItems::isThere(const ListedItem& item) {
    const auto folder = m_trashes.folderOf(item.path, UserTrashes::Locks::Keep);
    if (!folder) return folder.error().systemError != ENOENT;
    const std::string name(splitPath(item.path).name);
    const ItemIdentity found = identityAt((*folder)->descriptor(), name.c_str());
    return found.isKnown() ? isSameItem(item.identity, found) : errno != ENOENT;
}

}  // namespace kestrin
