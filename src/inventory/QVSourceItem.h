// SPDX-License-Identifier: GPL-3.0-or-later
// One volume's trash as the browsing window lists it.
#pragma once

#include <QString>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <vector>

#include "base/FileUrl.h"
#include "fsutil/QVFilesUtilities.h"
#include "inventory/QVPreviewItem.h"
#include "inventory/QVSmartWindowItem.h"

namespace kestrin {

/// One level of a list's sort order.
struct SortDescriptor {
    std::string key;  ///< one of ColumnKey
    bool ascending = true;
    friend bool operator==(const SortDescriptor&, const SortDescriptor&) = default;
};

/// A plain record: those who fill and show it keep its values in step. What threads share is an
/// atomic, or stands under `lock`; everything else belongs to the main thread.
struct QVSourceItem {
    /// The source of a trash as it was listed; `mountId` as in MountedVolume.
    QVSourceItem(TrashLocation trashLocation, int mountId);
    QVSourceItem(const QVSourceItem&) = delete;
    QVSourceItem& operator=(const QVSourceItem&) = delete;

    const TrashLocation location;                ///< its `trashIsEmpty` is of the first listing
    const int mountId;                           ///< tells its volume from another one at the path
    const std::shared_ptr<const FileUrl> trash;  ///< the trash folder, for the entries to share

    const FileUrl& url() const { return *trash; }
    const FileUrl& volumeUrl() const { return location.volumeURL; }
    const std::string& path() const { return trash->path(); }
    const std::string& volumePath() const { return location.volumePath; }

    std::string name;     ///< of the volume's root on disk, exact bytes
    QString displayName;  ///< of the volume as menus show it, made fit to be read
    /// Why its contents cannot be acted upon now, fit to be read; empty when they can. No
    /// request holds entries of a source with a note.
    QString note;
    std::uint64_t row = 0;  ///< position in the source list when it was made
    bool isCollapsed = false;

    PreviewItemList selection;                    ///< in the content list, in the order of rows
    std::vector<SortDescriptor> sortDescriptors;  ///< the first counts most

    std::int64_t markedStatus = 0;  ///< 1 every child is marked, -1 some are, 0 none or no children
    std::uint64_t markedSize = 0;   ///< bytes of the marked children
    std::uint64_t markedCount = 0;  ///< how many children are marked

    /// Held for moments only, never while a disk is asked. It guards the two below, and the
    /// counters are changed under it.
    mutable std::recursive_mutex lock;
    ItemList children;
    std::size_t measuredCount = 0;  ///< folders measured since the list of the sources took notice
    std::atomic<bool> trashIsEmpty = false;
    std::atomic<std::uint64_t> size = 0;                ///< bytes of the children that are measured
    std::atomic<std::uint64_t> count = 0;               ///< how many children are measured
    std::atomic<std::uint64_t> gatheringSizeCount = 0;  ///< folders still to be measured
    /// Requested when the source goes, or its window: what reads and measures for it then ends.
    std::stop_source stop;
};

/// In the order in which they are listed.
using SourceItems = std::vector<std::shared_ptr<QVSourceItem>>;

}  // namespace kestrin
