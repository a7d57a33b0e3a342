// SPDX-License-Identifier: GPL-3.0-or-later
// What works in the background for the list of the trashes: it reads what a source holds, and
// measures its folders. It knows the source alone, and may hang with its volume.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <stop_token>
#include <vector>

#include "inventory/QVSourceItem.h"
#include "inventory/TrashReader.h"

namespace kestrin {

class OperationQueue;

/// The queue on which trashes are read, without a limit; one operation for each trash at a time. It
/// is never destroyed, since a reading may outlive main(). Thread: any.
OperationQueue& sourceListOperationQueue();

/// How a reading ended.
struct ReadingResult {
    bool isChanged = false;  ///< entries came or went
    /// Entries went, and with them the last folder that was still to be measured.
    bool endedGathering = false;
};

/// What a reading, and the measuring after it, tell. All are called on workers, the first and the
/// last also on several at once.
struct ReadingReports {
    std::function<void()> itemsDidArrive;  ///< further children are there
    std::function<void(const ReadingResult&)> ended;
    /// Folders were measured. Comes once until takeMeasured is called.
    std::function<void()> measured;
};

/// What was measured in a source since it was last asked.
struct MeasuredFolders {
    std::size_t count = 0;
    bool isLast = false;  ///< no folder is left to be measured; true for one report alone
};
/// Has the source begin that count anew. Thread: any.
MeasuredFolders takeMeasured(QVSourceItem& source);

/// Reads the trash of a source for the first time, adds its entries to the children in growing
/// pieces and to the totals, and has its folders measured when all of them are listed. A trash that
/// cannot be read has no entries. Thread: a worker.
void loadSource(const std::shared_ptr<QVSourceItem>& source, const std::stop_token& stop,
                const ReadingReports& reports);

/// Lists the trash once more. When the number of its entries is another than that of the children,
/// those that came are added and those that went are removed; when it is the same, nothing changes,
/// also where one entry took the place of another. When the trash is there and cannot be read, the
/// children stay. Thread: a worker.
void checkBinContent(const std::shared_ptr<QVSourceItem>& source, const std::stop_token& stop,
                     const ReadingReports& reports);

/// Has those of the folders measured that are not yet, several at once, in a queue that they share
/// with no other volume. Where no thread is to be had, a worker measures them itself; the main
/// thread must not, and leaves them as they are. Thread: any.
void gatherSizes(const std::shared_ptr<QVSourceItem>& source, ItemList folders,
                 const std::stop_token& stop, const ReadingReports& reports);

}  // namespace kestrin
