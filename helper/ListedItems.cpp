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

constexpr std::size_t kMaximumLogged = 20;  // a user's entries must not fill the journal

/// Gathers paths, each once.
class DistinctItems {
 public:
    DistinctItems(const EraseItems& items, const std::atomic<bool>& stop)
        : m_identities(items.identities), m_stop(stop) {}

    /// `first` is the index at which the identities of these paths begin.
    void add(const std::vector<std::string>& paths, std::size_t first, bool keepsLocked = false) {
        m_items.reserve(m_items.size() + paths.size());
        m_known.reserve(m_known.size() + paths.size());
        for (std::size_t index = 0; index < paths.size(); ++index) {
            if (m_stop) return;
            if (!m_known.insert(paths[index]).second) continue;
            const std::size_t at = first + index;
            m_items.push_back({paths[index],
                               m_identities.empty() ? ItemIdentity() : m_identities.at(at),
                               keepsLocked});
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
    distinct.add(items.permissionsItems, items.unlockItems.size(), items.keepsLocked);
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

ListedItems::~ListedItems() {
    if (m_recordsLeft <= kMaximumLogged) return;
    qCWarning(lcHelper, "%zu records of erased entries stay", m_recordsLeft.load());
}

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
        item = {index,
                (*folder)->descriptor(),
                (*folder)->path,
                std::string(splitPath(path).name),
                m_items[index].identity,
                m_items[index].keepsLocked};
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

void ListedItems::finished(const RemovalItem& item, RemovalOutcome outcome) {
    const bool isGone = outcome == RemovalOutcome::Gone;
    std::shared_ptr<EntryFolder> folder;
    {
        const std::lock_guard guard(m_mutex);
        if (!isGone && outcome != RemovalOutcome::Replaced) m_stayed.push_back(item.tag);
        folder = std::move(m_folders.at(item.tag));
    }
    if (isGone && folder->isFiles()) removeRecord(*folder->trash, item.name);
    // The folder that held it is locked again by that, and only then may an item around it begin.
    folder.reset();
    const std::lock_guard guard(m_mutex);
    m_folders.erase(item.tag);
}

void ListedItems::removeRecord(UserTrash& trash, const std::string& name) {
    trash.somethingWent = true;
    const MaybeError error = trash.folder.removeRecord(name);
    if (!error || m_recordsLeft++ >= kMaximumLogged) return;
    qCWarning(lcHelper, "The record of an erased entry stays: %s",
              error->localizedDescription().c_str());
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
    if (!folder) {
        const int error = folder.error().systemError;
        return error != ENOENT && error != ENOTDIR;
    }
    const std::string name(splitPath(item.path).name);
    const ItemIdentity found = identityAt((*folder)->descriptor(), name.c_str());
    return found.isKnown() ? isSameItem(item.identity, found) : errno != ENOENT;
}

}  // namespace kestrin
