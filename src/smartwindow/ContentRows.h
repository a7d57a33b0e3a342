// SPDX-License-Identifier: GPL-3.0-or-later
// The rows of the content list: made on a worker, swapped in on the main thread.
#pragma once

#include <memory>
#include <vector>

#include "inventory/QVSourceItem.h"
#include "smartwindow/ContentListModel.h"
#include "smartwindow/ItemFilter.h"

class QTreeView;

namespace kestrin {

/// What is to be shown, and what there is of it already.
struct ContentQuery {
    std::shared_ptr<QVSourceItem> source;
    std::vector<SortDescriptor> order;
    ItemFilter filter;
    bool needsSort = true;   ///< false: only the filter changed since `sorted` was made
    SharedItemList sorted;   ///< the entries of the source as sorted last; may be nullptr
    SharedItemList tracked;  ///< entries whose new rows are wanted; never nullptr
};

/// What is shown.
struct ContentRows {
    SharedItemList sorted;     ///< all entries of the source; `sorted` of the query when unchanged
    SharedItemList shown;      ///< those that pass the filter; the same list when all do
    std::vector<int> movedTo;  ///< the row of each of `tracked`; -1 for one that is not shown
};

/// Sorts the children of the source, which keeps them in that order, and filters them. The source's
/// lock is held for moments only, never while it sorts. Thread: any.
ContentRows makeRows(const ContentQuery& query);

/// The rows that are selected, in ascending order. Main thread.
std::vector<int> selectedRows(const QTreeView& view);
/// Selects rows, given in ascending order, instead of what was selected, and tells nobody: it is
/// for rows that stand elsewhere now. Main thread.
void selectRows(QTreeView& view, const std::vector<int>& rows);

/// Shows `rows` in the place of those that `view` shows of `model`, which `rows` tracked. What was
/// selected, the current entry and the position stay, as far as the entries are still there. False
/// when fewer are selected now. Main thread.
bool swapRows(QTreeView& view, ContentListModel& model, const ContentRows& rows);

}  // namespace kestrin
