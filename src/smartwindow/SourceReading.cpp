// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/SourceReading.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <exception>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <unordered_set>
#include <utility>

#include "base/MainThread.h"
#include "base/OperationQueue.h"
#include "fsutil/QVFilesUtilities.h"

namespace kestrin {

namespace {

using SourcePtr = std::shared_ptr<QVSourceItem>;

/// How many folders of a volume are measured at once. A disk answers several questions at once
/// faster than one after the other.
std::size_t gatheringLimit() {
    return std::clamp(2 * std::thread::hardware_concurrency(), 4U, 16U);
}

/// One queue for each volume, so that a volume that hangs keeps no other one waiting.
OperationQueue& gatheringQueue(const QVSourceItem& source) {
    static auto& mutex = *new std::mutex;
    static auto& queues = *new std::map<std::pair<std::string, int>, OperationQueue*>;
    const std::lock_guard lock(mutex);
    auto& queue = queues[{source.volumePath(), source.mountId}];
    if (!queue) queue = new OperationQueue("gatherSizes", gatheringLimit());
    return *queue;
}

/// Adds a measured folder to the totals, unless somebody did so or the folder went meanwhile. True
/// when that is to be reported: nobody has reported anything that was not heard yet.
bool takeSize(QVSourceItem& source, QVSmartWindowItem& folder, std::uint64_t size,
              std::uint64_t found) {
    const std::lock_guard lock(source.lock);
    if (folder.isMeasured) return false;
    folder.actualCount = found;
    folder.size = size;
    folder.isMeasured = true;
    source.size += size;
    ++source.count;
    --source.gatheringSizeCount;
    return source.measuredCount++ == 0;
}

/// Folders of one source that are measured by several operations.
class Gathering {
 public:
    Gathering(SourcePtr source, ItemList folders, std::stop_token stop,
              std::function<void()> measured)
        : m_source(std::move(source)),
          m_folders(std::move(folders)),
          m_stop(std::move(stop)),
          m_measured(std::move(measured)) {}

    /// Measures one folder after the other that nobody has begun with. One that is being measured
    /// when it is stopped stays as it is.
    void work() {
        for (std::size_t i = 0; (i = m_begun++) < m_folders.size();) {
            QVSmartWindowItem& folder = *m_folders[i];
            if (folder.isMeasured) continue;
            if (m_stop.stop_requested()) return;
            std::uint64_t found = 0;
            const SizePair sizes = measure(folder, found);
            if (m_stop.stop_requested()) return;
            if (takeSize(*m_source, folder, sizes.totalFileSize, found)) m_measured();
        }
    }

 private:
    /// Where memory or threads are short, a folder counts as one that cannot be read.
    SizePair measure(const QVSmartWindowItem& folder, std::uint64_t& found) const try {
        return QVFilesUtilities::sharedControl().iterateFolderForSize(folder.url(), found, m_stop);
    } catch (const std::exception&) {
        found = 0;
        return {};
    }

    const SourcePtr m_source;
    const ItemList m_folders;
    const std::stop_token m_stop;
    const std::function<void()> m_measured;
    std::atomic<std::size_t> m_begun = 0;
};

/// Adds entries to the children and to the totals; the folders that are to be measured go to
/// `folders`. Requires: the source's lock.
void addChildren(QVSourceItem& source, const ItemList& items, ItemList& folders) {
    for (const auto& item : items) {
        source.children.push_back(item);
        if (!item->isMeasured) {
            ++source.gatheringSizeCount;
            folders.push_back(item);
        } else if (item->isFolder() || item->actualCount != 0) {
            ++source.count;
            source.size += item->size;
        }
    }
}

/// Requires: the source's lock.
void takeFromTotals(QVSourceItem& source, QVSmartWindowItem& item) {
    if (!item.isMeasured.exchange(true)) {
        --source.gatheringSizeCount;
    } else if (item.isFolder() || item.actualCount != 0) {
        --source.count;
        source.size -= item.size;
    }
}

bool holdsVisibleEntry(const ItemList& items) {
    return std::ranges::any_of(items, [](const auto& item) { return !item->isHidden; });
}

/// How a trash differs from the children that are known.
struct Difference {
    std::vector<ListedName> added;
    std::unordered_set<const QVSmartWindowItem*> removed;
};

Difference differenceOf(std::vector<ListedName> names, const ItemList& children) {
    Difference difference;
    std::unordered_set<std::string_view> known;
    known.reserve(children.size());
    for (const auto& child : children)
        known.insert(child->name);
    std::unordered_set<std::string_view> listed;
    listed.reserve(names.size());
    for (const ListedName& name : names)
        listed.insert(name.name);
    for (const auto& child : children) {
        if (!listed.contains(child->name)) difference.removed.insert(child.get());
    }
    listed.clear();
    for (ListedName& name : names) {
        if (!known.contains(name.name)) difference.added.push_back(std::move(name));
    }
    return difference;
}

ItemList childrenOf(const QVSourceItem& source) {
    const std::lock_guard lock(source.lock);
    return source.children;
}

std::size_t childCount(const QVSourceItem& source) {
    const std::lock_guard lock(source.lock);
    return source.children.size();
}

/// The names in the trash; none when it is there and cannot be read.
std::optional<std::vector<ListedName>> namesIn(const Result<std::unique_ptr<TrashReader>>& reader,
                                               const std::stop_token& stop) {
    if (!reader) {
        if (reader.error().systemError != ENOENT) return std::nullopt;
        return std::vector<ListedName>();
    }
    auto names = (*reader)->readNames(stop);
    return names ? std::optional(std::move(*names)) : std::nullopt;
}

/// Takes the difference over into the source. The folders that came go to `folders`.
ReadingResult apply(const ItemList& added,
                    const std::unordered_set<const QVSmartWindowItem*>& removed,
                    QVSourceItem& source, ItemList& folders) {
    ReadingResult result;
    ItemList kept;  // the others are freed after the lock is released
    const std::lock_guard lock(source.lock);
    const bool wasGathering = source.gatheringSizeCount != 0;
    for (const auto& child : source.children) {
        if (removed.contains(child.get())) {
            takeFromTotals(source, *child);
        } else if (!removed.empty()) {
            kept.push_back(child);
        }
    }
    if (!removed.empty()) source.children.swap(kept);
    addChildren(source, added, folders);
    result.isChanged = !added.empty() || !removed.empty();
    result.endedGathering = wasGathering && source.gatheringSizeCount == 0;
    if (result.isChanged) source.trashIsEmpty = source.children.empty();
    return result;
}

}  // namespace

OperationQueue& sourceListOperationQueue() {
    static auto& queue = *new OperationQueue("sourceList");
    return queue;
}

MeasuredFolders takeMeasured(QVSourceItem& source) {
    const std::lock_guard lock(source.lock);
    const std::size_t count = std::exchange(source.measuredCount, 0);
    return {count, count != 0 && source.gatheringSizeCount == 0};
}

void loadSource(const SourcePtr& source, const std::stop_token& stop,
                const ReadingReports& reports) {
    ItemList folders;  // guarded by the source's lock while the trash is read
    const auto take = [&](const ItemList& items) {
        {
            const std::lock_guard lock(source->lock);
            addChildren(*source, items, folders);
            if (holdsVisibleEntry(items)) source->trashIsEmpty = false;
        }
        reports.itemsDidArrive();
    };
    const auto reader = TrashReader::open(source->trash, source->volumeUrl());
    const MaybeError error = reader ? (*reader)->readAll(stop, take) : reader.error();
    const bool isRead = !stop.stop_requested() && (!error || error->systemError == ENOENT);
    if (isRead && childCount(*source) == 0) source->trashIsEmpty = true;
    gatherSizes(source, std::move(folders), stop, reports);
    reports.ended({.isChanged = true});
}

void checkBinContent(const SourcePtr& source, const std::stop_token& stop,
                     const ReadingReports& reports) {
    const auto reader = TrashReader::open(source->trash, source->volumeUrl());
    auto names = namesIn(reader, stop);
    if (!names || stop.stop_requested() || names->size() == childCount(*source))
        return reports.ended({});
    Difference difference = differenceOf(*std::move(names), childrenOf(*source));
    ItemList added;
    if (reader) {
        std::mutex mutex;
        const auto take = [&](const ItemList& items) {
            const std::lock_guard lock(mutex);
            added.insert(added.end(), items.begin(), items.end());
        };
        static_cast<void>((*reader)->read(std::move(difference.added), stop, take));
    }
    if (stop.stop_requested()) return reports.ended({});
    ItemList folders;
    const ReadingResult result = apply(added, difference.removed, *source, folders);
    gatherSizes(source, std::move(folders), stop, reports);
    reports.ended(result);
}

void gatherSizes(const SourcePtr& source, ItemList folders, const std::stop_token& stop,
                 const ReadingReports& reports) {
    const std::size_t operations = std::min(gatheringLimit(), folders.size());
    const auto gathering =
        std::make_shared<Gathering>(source, std::move(folders), stop, reports.measured);
    OperationQueue& queue = gatheringQueue(*source);
    try {
        for (std::size_t i = 0; i < operations; ++i)
            queue.enqueue([gathering] { gathering->work(); });
    } catch (const std::system_error&) {  // no thread is to be had
        if (!MainThread::isCurrent()) gathering->work();
    }
}

}  // namespace kestrin
