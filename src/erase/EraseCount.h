// SPDX-License-Identifier: GPL-3.0-or-later
// The figures of one erase and the entries they stand for: known with the request, counted here for
// all disks, or posted by whoever counts for the request.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <vector>

#include "base/NotificationCenter.h"
#include "erase/EraseRequest.h"
#include "inventory/QVItemToErase.h"
#include "inventory/TrashCount.h"

namespace kestrin {

/// Thread: any, but for `begin`.
class EraseCount : public std::enable_shared_from_this<EraseCount> {
 public:
    /// `stop` is the erase's Stop, which ends the count as well. `center` must outlive the count.
    EraseCount(NotificationCenter& center, std::stop_token stop);
    ~EraseCount();
    EraseCount(const EraseCount&) = delete;
    EraseCount& operator=(const EraseCount&) = delete;

    /// Takes the figures of `request`, and hears those that its `countSender` will post. For all
    /// disks it begins to count in the background, and posts what it finds with `engine` as the
    /// sender. Main thread.
    void begin(const EraseRequest& request, const void* engine);
    /// Counts no further and hears no further figures.
    void end();
    /// Does the same when there are figures.
    void endWhenKnown();

    /// Returns the figures so far; `added` is called with those that come later, until another
    /// `follow`.
    TrashFigures follow(std::function<void(const TrashFigures& added)> added);
    /// Has `call` made on the main thread when the figures are known; soon when they are already.
    void whenKnown(std::function<void()> call);
    /// Whether there is nothing to show of the figures yet.
    bool isGathering() const;
    /// Waits until the figures are known, or until Stop.
    void waitUntilKnown();

    /// The entries that came with the figures; never nullptr.
    SharedItemsToErase itemsToErase() const;
    /// The trashes that could not be counted, with the reason.
    std::vector<UnreadableTrash> unreadable() const;
    /// Raises the figures to what was erased already, and returns the entries there are in all.
    std::uint64_t raisedTo(const TrashFigures& erased);

 private:
    void hear(const void* sender);
    void take(const Notification& notification);
    void countTrashes(const std::vector<TrashLocation>& trashes);
    void post(const TrashContents& contents);

    NotificationCenter& m_center;
    const std::stop_token m_stop;
    const void* m_sender = nullptr;  ///< whose figures are taken
    std::shared_ptr<TrashCount> m_trashCount;
    std::optional<std::stop_callback<std::function<void()>>> m_onStop;

    mutable std::mutex m_lock;
    std::condition_variable_any m_changed;
    // Guarded by `m_lock`:
    Observation m_observation;
    TrashFigures m_figures;
    SharedItemsToErase m_itemsToErase = std::make_shared<ItemsToErase>();
    bool m_isKnown = false;
    std::vector<UnreadableTrash> m_unreadable;
    std::function<void(const TrashFigures&)> m_added;
    std::function<void()> m_whenKnown;
};

}  // namespace kestrin
