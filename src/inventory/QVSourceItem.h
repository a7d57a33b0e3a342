// SPDX-License-Identifier: GPL-3.0-or-later
// One volume's trash as the browsing window lists it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "base/FileUrl.h"
#include "inventory/QVSmartWindowItem.h"

class QImage;

namespace kestrin {

/// One level of a list's sort order.
struct SortDescriptor {
    std::string key;  ///< one of ColumnKey
    bool ascending = true;
    friend bool operator==(const SortDescriptor&, const SortDescriptor&) = default;
};

/// A plain record: those who fill and show it keep its values in step. Its counters, its spinner
/// flags and `children` are shared with the threads that gather folder sizes and are used under
/// `lock`. Only `size` and `count` may be read without it.
struct QVSourceItem {
    QVSourceItem() = default;
    QVSourceItem(const QVSourceItem&) = delete;
    QVSourceItem& operator=(const QVSourceItem&) = delete;
    static std::shared_ptr<QVSourceItem> sourceItem();

    FileUrl url;                         ///< the trash folder
    FileUrl volumeUrl;                   ///< the root of its volume
    std::string name;                    ///< of the volume's root on disk, exact bytes
    std::shared_ptr<const QImage> icon;  ///< the volume's, 80 by 80 points; nullptr until it is set
    std::uint64_t row = 0;               ///< position in the source list when it was made
    bool trashIsEmpty = false;
    bool isCollapsed = false;

    std::vector<std::shared_ptr<QVSmartWindowItem>> selection;  ///< in the content list
    std::set<std::size_t> selectionIndexes;                     ///< their rows
    std::vector<SortDescriptor> sortDescriptors;                ///< the first counts most

    std::int64_t markedStatus = 0;  ///< 1 every child is marked, -1 some are, 0 none or no children
    std::uint64_t markedSize = 0;   ///< bytes of the marked children
    std::uint64_t markedCount = 0;  ///< file-system entries of the marked children

    mutable std::recursive_mutex lock;
    std::vector<std::shared_ptr<QVSmartWindowItem>> children;
    std::atomic<std::uint64_t> size = 0;  ///< bytes of the children; grows while sizes are gathered
    std::atomic<std::uint64_t> count = 0;  ///< file-system entries of the children
    std::uint64_t gatheringSizeCount = 0;  ///< folder sizes still being gathered
    bool spinnerAlreadyStarted = false;    ///< the row's busy indicator runs
    bool waitingAlreadyStarted = false;    ///< a wait for the row has begun

    const std::string& path() const { return url.path(); }
    const std::string& volumePath() const { return volumeUrl.path(); }
};

}  // namespace kestrin
