// SPDX-License-Identifier: GPL-3.0-or-later
// The paths of a command as the remover takes them: each checked, its folder open.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "helper/UserTrashes.h"
#include "platform/items/TreeRemover.h"

namespace kestrin {

/// Hands out those paths that lie in a trash of the user, in their order, and takes away the record
/// of each top-level entry that is gone.
class ListedItems final : public RemovalItems {
 public:
    /// `trashes` and the bytes behind `paths` must outlive this. With Locks::Clear the folders
    /// above an item are unlocked until it is finished.
    ListedItems(UserTrashes& trashes, std::vector<std::string_view> paths,
                UserTrashes::Locks locks);

    bool next(RemovalItem& item) override;
    void finished(const RemovalItem& item, RemovalOutcome outcome) override;

    /// How many are not gone, those that were refused or not begun among them. Call when removal is
    /// over: looks at the disk again.
    std::uint64_t countLeft();

 private:
    bool isThere(std::string_view path);

    UserTrashes& m_trashes;
    const std::vector<std::string_view> m_paths;
    const UserTrashes::Locks m_locks;
    std::size_t m_next = 0;
    /// By index; set while the item is under way.
    std::vector<std::shared_ptr<EntryFolder>> m_folders;
    std::mutex m_mutex;                 ///< guards what follows
    std::vector<std::size_t> m_stayed;  ///< indexes
};

/// The same paths, each once, in the order of their first.
std::vector<std::string_view> withoutRepetitions(const std::vector<std::string>& first,
                                                 const std::vector<std::string>& second);

}  // namespace kestrin
