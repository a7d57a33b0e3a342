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

#include "helper/HelperProtocol.h"
#include "helper/UserTrashes.h"
#include "platform/items/TreeRemover.h"

namespace kestrin {

/// One path of a command, with what is to be there.
struct ListedItem {
    std::string_view path;
    ItemIdentity identity{};
};

/// The items to erase, with the locked ones first, or the folders left behind. Each path stands
/// once, in the order in which paths first come. The paths point into `items`.
std::vector<ListedItem> itemsToErase(const EraseItems& items);
std::vector<ListedItem> foldersLeftBehind(const EraseItems& items);

/// Hands out those paths that lie in a trash of the user, in their order, and takes away the record
/// of each top-level entry that is gone.
class ListedItems final : public RemovalItems {
 public:
    /// `trashes` and the bytes behind `items` must outlive this. With Locks::Clear the folders
    /// above an item are unlocked until it is finished.
    ListedItems(UserTrashes& trashes, std::vector<ListedItem> items, UserTrashes::Locks locks);

    bool next(RemovalItem& item) override;
    void finished(const RemovalItem& item, RemovalOutcome outcome) override;

    /// How many items are not gone. Those that were refused or not begun count, and those that
    /// something else has replaced do not. To be called when the removal is over: it looks at the
    /// disk again.
    std::uint64_t countLeft();

 private:
    bool isThere(const ListedItem& item);

    UserTrashes& m_trashes;
    const std::vector<ListedItem> m_items;
    const UserTrashes::Locks m_locks;
    std::size_t m_next = 0;
    /// By index; set while the item is under way.
    std::vector<std::shared_ptr<EntryFolder>> m_folders;
    std::mutex m_mutex;                 ///< guards what follows
    std::vector<std::size_t> m_stayed;  ///< indexes
};

}  // namespace kestrin
