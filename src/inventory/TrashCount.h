// SPDX-License-Identifier: GPL-3.0-or-later
// Counts what trashes hold. This is the one place where scans are summed up. A trash that is not
// there holds nothing; one that cannot be read is never taken for empty.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "base/FileUrl.h"
#include "base/Result.h"
#include "inventory/QVItemToErase.h"

namespace kestrin {

class OperationQueue;

struct TrashFigures {
    std::uint64_t size = 0;   ///< bytes
    std::uint64_t count = 0;  ///< entries at every depth, folders included
    TrashFigures& operator+=(const TrashFigures& other);
    friend bool operator==(const TrashFigures&, const TrashFigures&) = default;
};

/// The sum of what stands in a list of entries.
TrashFigures figuresOf(const ItemsToErase& items);

struct UnreadableTrash {
    FileUrl trash;
    HostError error;
};

/// What one or several trashes hold together.
struct TrashContents {
    TrashFigures figures;
    /// The entries directly inside, trash after trash. Never nullptr; empty when only the figures
    /// were asked for.
    SharedItemsToErase itemsToErase = std::make_shared<const ItemsToErase>();
    std::vector<UnreadableTrash> unreadable;  ///< these add nothing to the above
};

/// Counts on the caller's thread, which may hang with a volume. When `stop` is requested it returns
/// early with what it has. Thread: any.
TrashContents countEntries(const std::vector<FileUrl>& trashes, const std::stop_token& stop = {});
/// The same without the list of the entries, which may be long.
TrashContents countFigures(const std::vector<FileUrl>& trashes, const std::stop_token& stop = {});

/// Whether anything is in a trash, hidden entries too. Looks at one entry and keeps no names.
/// Thread: any.
Result<bool> trashHoldsEntries(const FileUrl& trash);

/// A count in the background. Thread: the main thread, except for `stop`; needs the main thread's
/// mailbox. The count goes on when nobody keeps it. Its volume may hang, so nobody ever waits for
/// its thread.
class TrashCount {
 public:
    enum class State { Counting, Finished, Stopped };
    /// What counts on a thread of the queue: countEntries, countFigures, or a function that calls
    /// them. When it throws, all of its trashes count as unreadable.
    using Counter =
        std::function<TrashContents(const std::vector<FileUrl>&, const std::stop_token&)>;
    using Handler = std::function<void(const TrashCount&)>;

    /// Begins to count. `finished` is called once on the main thread, later, unless `stop` comes
    /// first. A count of a trash begins only when every count of it that was called off has
    /// returned, so that a volume that hangs costs one thread, however often it is asked. `queue`
    /// must outlive the count.
    static std::shared_ptr<TrashCount> start(OperationQueue& queue, std::vector<FileUrl> trashes,
                                             Counter counter, Handler finished);
    TrashCount(const TrashCount&) = delete;
    TrashCount& operator=(const TrashCount&) = delete;

    /// Calls the count off. Thread: any.
    void stop() { m_stop.request_stop(); }
    State state() const;
    /// All zero and empty before the count is finished.
    const TrashContents& contents() const { return m_contents; }

 private:
    class Schedule;

    TrashCount() = default;
    void finish(TrashContents contents);

    std::stop_source m_stop;
    Handler m_finished;
    TrashContents m_contents;
    bool m_isFinished = false;
};

}  // namespace kestrin
