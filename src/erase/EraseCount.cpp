// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/EraseCount.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "base/MainThread.h"
#include "erase/EraseQueue.h"

namespace kestrin {

namespace Key = EraseNotification;

OperationQueue& deletionsOperationQueue() {
    static auto& queue = *new OperationQueue("deletions");
    return queue;
}

void runInBackground(const std::function<void()>& operation) {
    try {
        deletionsOperationQueue().enqueue(operation);
    } catch (const std::exception&) {
        MainThread::post(operation);
    }
}

EraseCount::EraseCount(NotificationCenter& center, std::stop_token stop)
    : m_center(center), m_stop(std::move(stop)) {}

EraseCount::~EraseCount() {
    if (m_trashCount) m_trashCount->stop();
}

void EraseCount::begin(const EraseRequest& request, const void* engine) {
    {
        const std::lock_guard lock(m_lock);
        if (!request.isAllDisks) m_figures = {request.size, request.count};
        m_isKnown = !request.isAllDisks && !request.countSender;
    }
    if (request.isAllDisks) {
        hear(engine);
        countTrashes(request.volumeArray);
    } else if (request.countSender) {
        hear(*request.countSender);
    }
}

void EraseCount::hear(const void* sender) {
    m_sender = sender;
    Observation observation = m_center.observe(Key::kUpdateCountAndSizeToDelete,
                                               [weak = weak_from_this()](const Notification& told) {
                                                   if (const auto count = weak.lock())
                                                       count->take(told);
                                               });
    const std::lock_guard lock(m_lock);
    m_observation = std::move(observation);
}

void EraseCount::countTrashes(const std::vector<TrashLocation>& trashes) {
    std::vector<FileUrl> full;
    for (const TrashLocation& trash : trashes)
        if (!trash.trashIsEmpty) full.push_back(trash.trashURL);
    m_trashCount = TrashCount::start(deletionsOperationQueue(), std::move(full), countEntries,
                                     [weak = weak_from_this()](const TrashCount& count) {
                                         if (const auto self = weak.lock())
                                             self->post(count.contents());
                                     });
    m_onStop.emplace(m_stop, [count = m_trashCount] { count->stop(); });
}

void EraseCount::post(const TrashContents& contents) {
    {
        const std::lock_guard lock(m_lock);
        m_unreadable = contents.unreadable;
    }
    m_center.post(Key::kUpdateCountAndSizeToDelete, m_sender,
                  UserInfo()
                      .set(Key::kSize, contents.figures.size)
                      .set(Key::kCount, contents.figures.count)
                      .set(Key::kItemsToErase, contents.itemsToErase));
}

void EraseCount::end() {
    if (m_trashCount) m_trashCount->stop();
    Observation ended;  // outside the lock: it waits for a notification that is being delivered
    const std::lock_guard lock(m_lock);
    ended = std::move(m_observation);
}

void EraseCount::endWhenKnown() {
    if (!isGathering()) end();
}

/// Anybody may post under that name, and some posts only say that a source has been measured.
void EraseCount::take(const Notification& notification) {
    const auto* const size = notification.userInfo.find<std::uint64_t>(Key::kSize);
    const auto* const count = notification.userInfo.find<std::uint64_t>(Key::kCount);
    if (notification.sender != m_sender || !size || !count) return;
    const TrashFigures added{*size, *count};
    const auto items = notification.userInfo.value<SharedItemsToErase>(Key::kItemsToErase);
    std::function<void(const TrashFigures&)> tell;
    std::function<void()> whenKnown;
    {
        const std::lock_guard lock(m_lock);
        if (items) m_itemsToErase = items;
        m_figures += added;
        m_isKnown = true;
        tell = m_added;
        whenKnown = std::exchange(m_whenKnown, nullptr);
    }
    m_changed.notify_all();
    if (tell) tell(added);
    if (whenKnown) MainThread::post(std::move(whenKnown));
}

TrashFigures EraseCount::follow(std::function<void(const TrashFigures&)> added) {
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

std::vector<UnreadableTrash> EraseCount::unreadable() const {
    const std::lock_guard lock(m_lock);
    return m_unreadable;
}

std::uint64_t EraseCount::raisedTo(const TrashFigures& erased) {
    const std::lock_guard lock(m_lock);
    m_figures.size = std::max(m_figures.size, erased.size);
    m_figures.count = std::max(m_figures.count, erased.count);
    return m_figures.count;
}

}  // namespace kestrin
