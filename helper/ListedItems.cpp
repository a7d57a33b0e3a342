// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/ListedItems.h"

#include <cerrno>
#include <unordered_set>
#include <utility>

#include "base/SystemLog.h"
#include "helper/TrashPath.h"
#include "platform/items/FolderDescent.h"

namespace kestrin {

ListedItems::ListedItems(UserTrashes& trashes, std::vector<std::string_view> paths,
                         UserTrashes::Locks locks)
    : m_trashes(trashes), m_paths(std::move(paths)), m_locks(locks), m_folders(m_paths.size()) {}

bool ListedItems::next(RemovalItem& item) {
    while (m_next < m_paths.size()) {
        const std::size_t index = m_next++;
        const std::string_view path = m_paths[index];
        auto folder = m_trashes.folderOf(path, m_locks);
        if (!folder) {
            const std::lock_guard guard(m_mutex);
            m_stayed.push_back(index);
            continue;
        }
        m_folders[index] = *folder;
        item = {index, (*folder)->descriptor(), (*folder)->path, std::string(splitPath(path).name)};
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
        left += isThere(m_paths[index]) ? 1 : 0;
    for (std::size_t index = m_next; index < m_paths.size(); ++index)
        left += isThere(m_paths[index]) ? 1 : 0;
    return left;
}

/// Of a path that is refused nothing is told, not even that there is nothing.
bool ListedItems::isThere(std::string_view path) {
    const auto folder = m_trashes.folderOf(path, UserTrashes::Locks::Keep);
    if (!folder) return folder.error().systemError != ENOENT;
    return !isCertainlyAbsent((*folder)->descriptor(), std::string(splitPath(path).name));
}

std::vector<std::string_view> withoutRepetitions(const std::vector<std::string>& first,
                                                 const std::vector<std::string>& second) {
    std::vector<std::string_view> paths;
    std::unordered_set<std::string_view> known;
    paths.reserve(first.size() + second.size());
    known.reserve(first.size() + second.size());
    for (const auto* list : {&first, &second}) {
        for (const std::string& path : *list) {
            if (known.insert(path).second) paths.push_back(path);
        }
    }
    return paths;
}

}  // namespace kestrin
