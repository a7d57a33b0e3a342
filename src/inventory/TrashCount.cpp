// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/TrashCount.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <iterator>
#include <utility>

#include "base/MainThread.h"
#include "base/OperationQueue.h"
#include "inventory/QVKestrinFileUtilities.h"
#include "platform/items/FolderWalk.h"
#include "platform/items/HostErrors.h"
#include "platform/items/TreeScanner.h"

namespace kestrin {

namespace {

bool isAbsent(const HostError& error) {
    return error.systemError == ENOENT;
}

/// Lets `count` add each trash in turn. It returns why a trash could not be read, if so.
TrashContents countEach(const std::vector<FileUrl>& trashes, const std::stop_token& stop,
                        const std::function<MaybeError(const FileUrl&, TrashContents&)>& count) {
    TrashContents contents;
    for (const FileUrl& trash : trashes) {
        if (stop.stop_requested()) break;
        MaybeError error = count(trash, contents);
        if (error && !isAbsent(*error)) contents.unreadable.push_back({trash, *std::move(error)});
    }
    return contents;
}

TrashContents withoutMemory(const std::vector<FileUrl>& trashes) {
    TrashContents contents;
    for (const FileUrl& trash : trashes)
        contents.unreadable.push_back({trash, errorFromErrno(ENOMEM, HostAccess::Read)});
    return contents;
}

}  // namespace

TrashFigures& TrashFigures::operator+=(const TrashFigures& other) {
    size += other.size;
    count += other.count;
    return *this;
}

TrashFigures figuresOf(const ItemsToErase& items) {
    TrashFigures figures;
    for (const QVItemToErase& item : items)
        figures += {item.size, item.count};
    return figures;
}

TrashContents countEntries(const std::vector<FileUrl>& trashes, const std::stop_token& stop) {
    auto all = std::make_shared<ItemsToErase>();
    TrashContents contents =
        countEach(trashes, stop, [&](const FileUrl& trash, TrashContents& sum) -> MaybeError {
            Result<ItemsToErase> items = itemsOfFolder(trash, stop);
            if (!items) return items.error();
            sum.figures += figuresOf(*items);
            if (all->empty()) {
                all->swap(*items);  // the usual single trash: no second copy of a million names
            } else {
                std::ranges::move(*items, std::back_inserter(*all));
            }
            return std::nullopt;
        });
    contents.itemsToErase = std::move(all);
    return contents;
}

TrashContents countFigures(const std::vector<FileUrl>& trashes, const std::stop_token& stop) {
    return countEach(trashes, stop, [&](const FileUrl& trash, TrashContents& sum) -> MaybeError {
        const auto entries = scanTree(trash, stop);
        if (!entries) return entries.error();
        for (const ScannedEntry& entry : *entries)
            sum.figures += {entry.size, entry.count};
        return std::nullopt;
    });
}

Result<bool> trashHoldsEntries(const FileUrl& trash) {
    bool holdsEntries = false;
    const auto look = [&](std::string_view, EntryType) {
        holdsEntries = true;
        return false;
    };
    const MaybeError error = visitFolder(trash, look);
    if (error && !isAbsent(*error)) return *error;
    return holdsEntries;
}

/// The counts whose threads have not returned, and among them those that have not begun, because
/// they wait for one that was called off. Main thread.
class TrashCount::Schedule {
 public:
    static Schedule& shared() {
        static auto& schedule = *new Schedule;
        return schedule;
    }

    void add(std::shared_ptr<TrashCount> count, OperationQueue& queue, std::vector<FileUrl> trashes,
             Counter counter) {
        m_entries.push_back({std::move(count), &queue, std::move(trashes), std::move(counter)});
        beginWhatMay();
    }
    void remove(const TrashCount& returned) {
        std::erase_if(m_entries,
                      [&](const Entry& entry) { return entry.count.get() == &returned; });
        beginWhatMay();
    }

 private:
    struct Entry {
        std::shared_ptr<TrashCount> count;
        OperationQueue* queue;
        std::vector<FileUrl> trashes;
        Counter counter;
        bool hasBegun = false;

        bool isStopped() const { return count->state() == State::Stopped; }
    };

    void beginWhatMay() {
        std::erase_if(m_entries,
                      [](const Entry& entry) { return !entry.hasBegun && entry.isStopped(); });
        for (Entry& entry : m_entries) {
            if (!entry.hasBegun && !hasToWait(entry)) begin(entry);
        }
    }
    bool hasToWait(const Entry& entry) const {
        return std::ranges::any_of(m_entries, [&](const Entry& other) {
            return other.hasBegun && other.isStopped() &&
                   std::ranges::find_first_of(other.trashes, entry.trashes) != other.trashes.end();
        });
    }
    static void begin(Entry& entry) {
        entry.hasBegun = true;
        // The count is destroyed on the main thread, even when nobody else keeps it.
        const auto tell = [](std::shared_ptr<TrashCount> count, TrashContents contents) {
            MainThread::post([count = std::move(count), contents = std::move(contents)]() mutable {
                count->finish(std::move(contents));
            });
        };
        try {
            entry.queue->enqueue([count = entry.count, trashes = entry.trashes,
                                  counter = entry.counter, tell]() mutable {
                TrashContents contents;
                try {
                    contents = counter(trashes, count->m_stop.get_token());
                } catch (const std::exception&) {  // no memory, or no thread to be had
                    contents = withoutMemory(trashes);
                }
                tell(std::move(count), std::move(contents));
            });
        } catch (const std::exception&) {
            tell(entry.count, withoutMemory(entry.trashes));
        }
    }

    std::vector<Entry> m_entries;
};

std::shared_ptr<TrashCount> TrashCount::start(OperationQueue& queue, std::vector<FileUrl> trashes,
                                              Counter counter, Handler finished) {
    const std::shared_ptr<TrashCount> count(new TrashCount);
    count->m_finished = std::move(finished);
    Schedule::shared().add(count, queue, std::move(trashes), std::move(counter));
    return count;
}

void TrashCount::finish(TrashContents contents) {
    const Handler finished = std::move(m_finished);
    const bool isStopped = m_stop.stop_requested();
    if (!isStopped) {
        m_contents = std::move(contents);
        m_isFinished = true;
    }
    Schedule::shared().remove(*this);
    if (finished && !isStopped) finished(*this);
}

TrashCount::State TrashCount::state() const {
    if (m_isFinished) return State::Finished;
    return m_stop.stop_requested() ? State::Stopped : State::Counting;
}

}  // namespace kestrin
