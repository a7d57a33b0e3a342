// SPDX-License-Identifier: GPL-3.0-or-later
// The figures of one erase and the entries they stand for: known with the request, counted here for
// all disks, or posted by whoever counts for the request.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <vector>

#include "base/NotificationCenter.h"
#include "erase/EraseRequest.h"
#include "inventory/QVItemToErase.h"

namespace kestrin {

/// Thread: any, but for `begin`.
class EraseCount : public std::enable_shared_from_this<EraseCount> {
 public:
    struct Figures {
        std::uint64_t size = 0;   ///< bytes
        std::uint64_t count = 0;  ///< entries
    };

    /// `stop` is the erase's Stop, which ends the count as well. The references must outlive the
    /// count, which may be under way for as long as a volume hangs.
    EraseCount(QVKestrinFileUtilities& trash, NotificationCenter& center,
               const std::stop_token& stop);
    ~EraseCount();
    EraseCount(const EraseCount&) = delete;
    EraseCount& operator=(const EraseCount&) = delete;

    /// Takes the figures of `request`. For all disks it begins to count in the background, and
    /// posts what it finds with `sender` as the sender. Main thread.
    void begin(const EraseRequest& request, const void* sender);
    /// Counts no further and hears no further figures.
    void end();
    /// Hears no further figures, if there are any.
    void endWhenKnown();

    /// Returns the figures so far; `added` is called with those that come later, until another
    /// `follow`.
    Figures follow(std::function<void(Figures added)> added);
    /// Has `call` made on the main thread when the figures are known; soon when they are already.
    void whenKnown(std::function<void()> call);
    /// Whether there is nothing to show of the figures yet.
    bool isGathering() const;
    /// Waits until the figures are known, or until Stop.
    void waitUntilKnown();

    /// The entries that came with the figures; never nullptr.
    SharedItemsToErase itemsToErase() const;
    /// Raises the figures to what was erased already, and returns the entries there are in all.
    std::uint64_t raisedTo(Figures erased);

 private:
    void observe();
    void take(const Notification& notification);
    void countTrashes(const void* sender);

    QVKestrinFileUtilities& m_trash;
    NotificationCenter& m_center;
    std::vector<TrashLocation> m_trashes;  ///< what to count
    std::stop_source m_countStop;
    const std::stop_token m_stop;
    std::stop_callback<std::function<void()>> m_onStop;

    mutable std::mutex m_lock;
    std::condition_variable_any m_changed;
    // Guarded by `m_lock`:
    Observation m_observation;
    Figures m_figures;
    SharedItemsToErase m_itemsToErase = std::make_shared<ItemsToErase>();
    bool m_isKnown = false;
    std::function<void(Figures)> m_added;
    std::function<void()> m_whenKnown;
};

}  // namespace kestrin
