// SPDX-License-Identifier: GPL-3.0-or-later
// The paths of a command as the remover takes them: each checked, its folder open.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
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
    bool keepsLocked = false;  ///< as in RemovalItem
};

/// The items to erase, with the locked ones first, or the folders left behind. Each path stands
/// once, in the order in which paths first come. The paths point into `items`. Once `stop` is true
/// the result is of no use.
std::vector<ListedItem> itemsToErase(const EraseItems& items, const std::atomic<bool>& stop);
std::vector<ListedItem> foldersLeftBehind(const EraseItems& items, const std::atomic<bool>& stop);

/// Hands out those paths that lie in a trash of the user, in their order, and takes away the record
/// of each top-level entry that is gone.
class ListedItems final : public RemovalItems {
 public:
    /// `trashes`, `stop` and the bytes behind `items` must outlive this. With Locks::Clear the
    /// folder that holds an item is unlocked until it is finished. Once `stop` is true no further
    /// item is handed out.
    ListedItems(UserTrashes& trashes, std::vector<ListedItem> items, UserTrashes::Locks locks,
                const std::atomic<bool>& stop);
    ~ListedItems() override;

    /// An item that lies in another one under way, or around it, is put off: each of the two would
    /// lock folders again that the other still needs unlocked.
    bool next(RemovalItem& item) override;
    void finished(const RemovalItem& item, RemovalOutcome outcome) override;

    /// Has `next` go on with the items that were put off; false when there are none. To be called
    /// when all others are finished. They may be given to a single worker only.
    bool takeUpWhatWasPutOff();

    /// How many items are not gone. Those that were refused or not begun count, and those that
    /// something else has replaced do not. To be called when the removal is over: it looks at the
    /// disk again, until `stop` is true. From then on, what is not known to be gone counts.
    std::uint64_t countLeft();

 private:
    std::size_t countOfTurn() const { return m_order.empty() ? m_items.size() : m_order.size(); }
    std::size_t indexAt(std::size_t place) const {
        return m_order.empty() ? place : m_order[place];
    }
    bool isToBePutOff(std::string_view path) const;
    void removeRecord(UserTrash& trash, const std::string& name);
    bool isThere(const ListedItem& item);

    UserTrashes& m_trashes;
    const std::vector<ListedItem> m_items;
    const UserTrashes::Locks m_locks;
    const std::atomic<bool>& m_stop;
    std::vector<std::size_t> m_order;  ///< indexes of those to hand out; none: all, as they stand
    std::size_t m_next = 0;            ///< in that order
    std::vector<std::size_t> m_putOff;
    std::atomic<std::size_t> m_recordsLeft = 0;  ///< how many could not be removed
    mutable std::mutex m_mutex;                  ///< guards what follows
    /// Of the items under way, by index. There are never more of these than workers.
    std::map<std::size_t, std::shared_ptr<EntryFolder>> m_folders;
    std::vector<std::size_t> m_stayed;  ///< indexes
};

}  // namespace kestrin
