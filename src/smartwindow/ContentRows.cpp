// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/ContentRows.h"

#include <QItemSelectionModel>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QTreeView>
#include <algorithm>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <utility>

#include "smartwindow/ItemOrder.h"

namespace kestrin {
namespace {

/// The children, or none when they are those of `known`.
std::optional<ItemList> childrenUnless(const SharedItemList& known, const QVSourceItem& source) {
    const std::lock_guard lock(source.lock);
    if (known && *known == source.children) return std::nullopt;
    return source.children;
}

/// Gives the source its children in a new order, unless they have changed meanwhile: then whoever
/// changed them has said so, and they are sorted again.
void reorderChildren(QVSourceItem& source, const ItemList& before, ItemList after) {
    const std::lock_guard lock(source.lock);
    if (source.children == before) source.children.swap(after);
}

SharedItemList sortedChildren(const ContentQuery& query) {
    const std::optional<ItemList> changed = childrenUnless(query.sorted, *query.source);
    const ItemList& before = changed ? *changed : *query.sorted;
    ItemList after = before;
    const bool wasSorted = !sortItems(after, query.order);
    if (wasSorted && !changed) return query.sorted;
    if (!wasSorted) reorderChildren(*query.source, before, after);
    return std::make_shared<const ItemList>(std::move(after));
}

std::vector<int> rowsOf(const ItemList& tracked, const ItemList& shown) {
    std::unordered_map<const QVSmartWindowItem*, int> rows;
    rows.reserve(shown.size());
    for (const auto& item : shown)
        rows.emplace(item.get(), static_cast<int>(rows.size()));
    std::vector<int> found;
    found.reserve(tracked.size());
    for (const auto& item : tracked) {
        const auto row = rows.find(item.get());
        found.push_back(row == rows.end() ? -1 : row->second);
    }
    return found;
}

/// An entry on screen, and how far its top is from that of the view, in points.
struct Position {
    int row = -1;
    int top = 0;
};

/// The current entry when it is on screen, else the first one that is. None while the view stands
/// at its beginning: there, what comes to stand first is to be seen.
Position positionOf(const QTreeView& view) {
    const QScrollBar& bar = *view.verticalScrollBar();
    if (bar.value() == bar.minimum()) return {};
    const QRect current = view.visualRect(view.currentIndex());
    if (view.viewport()->rect().intersects(current) && current.isValid())
        return {view.currentIndex().row(), current.top()};
    const QModelIndex first = view.indexAt(QPoint(0, 0));
    return {first.row(), view.visualRect(first).top()};
}

/// Where the first entry from `row` on that is still shown stands now.
int nextThatStayed(const std::vector<int>& movedTo, int row) {
    if (row < 0) return -1;
    const auto stayed =
        std::find_if(movedTo.begin() + row, movedTo.end(), [](int moved) { return moved >= 0; });
    return stayed == movedTo.end() ? -1 : *stayed;
}

void scrollTo(QTreeView& view, const QModelIndex& index, int top) {
    view.scrollTo(index, QAbstractItemView::PositionAtTop);
    const int height = view.visualRect(index).height();
    const bool isByRow = view.verticalScrollMode() == QAbstractItemView::ScrollPerItem;
    if (isByRow && height <= 0) return;
    QScrollBar& bar = *view.verticalScrollBar();
    bar.setValue(bar.value() - (isByRow ? top / height : top));
}

std::vector<int> movedRows(const std::vector<int>& movedTo, const std::vector<int>& rows) {
    std::vector<int> moved;
    moved.reserve(rows.size());
    for (const int row : rows)
        if (movedTo[static_cast<std::size_t>(row)] >= 0)
            moved.push_back(movedTo[static_cast<std::size_t>(row)]);
    std::ranges::sort(moved);
    return moved;
}

}  // namespace

ContentRows makeRows(const ContentQuery& query) {
    ContentRows rows;
    rows.sorted = query.sorted && !query.needsSort ? query.sorted : sortedChildren(query);
    rows.shown = query.filter.passing(rows.sorted);
    if (rows.shown != query.tracked) rows.movedTo = rowsOf(*query.tracked, *rows.shown);
    return rows;
}

std::vector<int> selectedRows(const QTreeView& view) {
    std::vector<int> rows;
    for (const QItemSelectionRange& range : view.selectionModel()->selection())
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.push_back(row);
    std::ranges::sort(rows);
    const auto repeated = std::ranges::unique(rows);
    rows.erase(repeated.begin(), repeated.end());
    return rows;
}

void selectRows(QTreeView& view, const std::vector<int>& rows) {
    const QAbstractItemModel& model = *view.model();
    const int lastColumn = model.columnCount() - 1;
    QItemSelection selection;
    for (auto first = rows.begin(); first != rows.end();) {
        auto last = first;
        while (std::next(last) != rows.end() && *std::next(last) == *last + 1)
            ++last;
        selection.append(
            QItemSelectionRange(model.index(*first, 0), model.index(*last, lastColumn)));
        first = std::next(last);
    }
    const QSignalBlocker blocker(view.selectionModel());
    view.selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    view.viewport()->update();
}

bool swapRows(QTreeView& view, ContentListModel& model, const ContentRows& rows) {
    if (rows.shown == model.rows()) {
        model.figuresChanged();
        return true;
    }
    const std::vector<int> selected = selectedRows(view);
    const std::vector<int> stillSelected = movedRows(rows.movedTo, selected);
    const int current = view.currentIndex().row();
    const int scrolled = view.verticalScrollBar()->value();
    const Position position = positionOf(view);
    model.setRows(rows.shown);
    selectRows(view, stillSelected);
    if (current >= 0 && rows.movedTo[static_cast<std::size_t>(current)] >= 0) {
        // What is current has not changed: that would scroll, and be announced.
        const QSignalBlocker blocker(view.selectionModel());
        const QModelIndex index =
            model.index(rows.movedTo[static_cast<std::size_t>(current)], ContentListModel::Name);
        view.selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    }
    if (const int row = nextThatStayed(rows.movedTo, position.row); row >= 0) {
        scrollTo(view, model.index(row, ContentListModel::Name), position.top);
    } else if (position.row >= 0) {
        view.verticalScrollBar()->setValue(scrolled);
    }
    return stillSelected.size() == selected.size();
}

}  // namespace kestrin
