// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/EraseCount.h"

#include <algorithm>
#include <utility>

#include "base/MainThread.h"
#include "erase/EraseQueue.h"
#include "inventory/QVKestrinFileUtilities.h"

namespace kestrin {

namespace Key = EraseNotification;

OperationQueue& deletionsOperationQueue() {
    static auto& queue = *new OperationQueue("deletions");
    return queue;
}

EraseCount::EraseCount(QVKestrinFileUtilities& trash, NotificationCenter& center,
                       const std::stop_token& stop)
    : m_trash(trash),
      m_center(center),
      m_stop(stop),
      m_onStop(stop, [countStop = m_countStop]() mutable { countStop.request_stop(); }) {}

EraseCount::~EraseCount() {
    m_countStop.request_stop();
}

void EraseCount::begin(const EraseRequest& request, const void* sender) {
    {
        const std::lock_guard lock(m_lock);
        if (!request.isAllDisks) m_figures = {request.size, request.count};
        m_isKnown = !request.isAllDisks && !request.countWillFollow;
    }
    observe();
    if (!request.isAllDisks) return;
    m_trashes = request.volumeArray;
    deletionsOperationQueue().enqueue(
        [self = shared_from_this(), sender] { self->countTrashes(sender); });
}

void EraseCount::observe() {
    Observation observation = m_center.observe(Key::kUpdateCountAndSizeToDelete,
                                               [weak = weak_from_this()](const Notification& told) {
                                                   if (const auto count = weak.lock())
                                                       count->take(told);
                                               });
    const std::lock_guard lock(m_lock);
    m_observation = std::move(observation);
}

void EraseCount::end() {
    m_countStop.request_stop();
    Observation ended;  // outside the lock: it waits for a notification that is being delivered
    const std::lock_guard lock(m_lock);
    ended = std::move(m_observation);
}

void EraseCount::endWhenKnown() {
    if (!isGathering()) end();
}

void EraseCount::take(const Notification& notification) {
    const Figures added{notification.userInfo.value<std::uint64_t>(Key::kSize),
                        notification.userInfo.value<std::uint64_t>(Key::kCount)};
    const auto items = notification.userInfo.value<SharedItemsToErase>(Key::kItemsToErase);
    std::function<void(Figures)> tell;
    std::function<void()> whenKnown;
    {
        const std::lock_guard lock(m_lock);
        if (items) m_itemsToErase = items;
        m_figures.size += added.size;
        m_figures.count += added.count;
        m_isKnown = true;
        tell = m_added;
        whenKnown = std::exchange(m_whenKnown, nullptr);
    }
    m_changed.notify_all();
    if (tell) tell(added);
    if (whenKnown) MainThread::post(std::move(whenKnown));
}

void EraseCount::countTrashes(const void* sender) {
    const std::stop_token stop = m_countStop.get_token();
    TrashScan sum{std::make_shared<ItemsToErase>(), 0, 0};
    for (const TrashLocation& trash : m_trashes) {
        if (trash.trashIsEmpty) continue;
        const auto scan = m_trash.binItemsAndInfoWithURL(trash.trashURL, stop);
        if (stop.stop_requested()) return;  // a count that nobody waits for must not reach others
        if (!scan) continue;
        sum.size += scan->size;
        sum.count += scan->count;
        if (sum.itemsToErase->empty()) {
            sum.itemsToErase = scan->itemsToErase;
        } else {
            auto items = std::make_shared<ItemsToErase>(*sum.itemsToErase);
            items->insert(items->end(), scan->itemsToErase->begin(), scan->itemsToErase->end());
            sum.itemsToErase = items;
        }
    }
    m_center.post(Key::kUpdateCountAndSizeToDelete, sender,
                  UserInfo()
                      .set(Key::kSize, sum.size)
                      .set(Key::kCount, sum.count)
                      .set(Key::kItemsToErase, sum.itemsToErase));
}

EraseCount::Figures EraseCount::follow(std::function<void(Figures)> added) {
    const std::lock_guard lock(m_lock);
    m_added = std::move(added);
    return m_figures;
}

void EraseCount::whenKnown(std::function<void()> call) {
    const std::lock_guard lock(m_lock);
    if (m_isKnown) {
        MainThread::post(std::move(call));
    } else {
        m_whenKnown = std::move(call);
    }
}

bool EraseCount::isGathering() const {
    const std::lock_guard lock(m_lock);
    return m_figures.count == 0;
}

void EraseCount::waitUntilKnown() {
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, m_stop, [this] { return m_figures.count != 0 || m_isKnown; });
}

SharedItemsToErase EraseCount::itemsToErase() const {
    const std::lock_guard lock(m_lock);
    return m_itemsToErase;
}

std::uint64_t EraseCount::raisedTo(Figures erased) {
    const std::lock_guard lock(m_lock);
    m_figures.size = std::max(m_figures.size, erased.size);
    m_figures.count = std::max(m_figures.count, erased.count);
    return m_figures.count;
}

}  // namespace kestrin
