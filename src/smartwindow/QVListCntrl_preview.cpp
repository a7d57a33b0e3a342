// SPDX-License-Identifier: GPL-3.0-or-later
// What the preview pane and the quick-look panel get from the content list.
#include <QCoreApplication>
#include <QKeyEvent>
#include <algorithm>

#include "smartwindow/ContentRows.h"
#include "smartwindow/QVContentTableView.h"
#include "smartwindow/QVImageAndTextCellView.h"
#include "smartwindow/QVListCntrl.h"
#include "smartwindow/SmartWindowNotifications.h"
#include "smartwindow/preview/QVItemPreviewCntrl.h"

namespace kestrin {

namespace Key = SmartWindowNotification;

namespace {

/// The part of the column of names that can be seen, in the viewport.
QRect nameColumn(const QTreeView& table) {
    return QRect(table.columnViewportPosition(ContentListModel::Name), 0,
                 table.columnWidth(ContentListModel::Name), table.viewport()->height())
        .intersected(table.viewport()->rect());
}

}  // namespace

void QVListCntrl::makePreviewCntrl() {
    m_previewCntrl = std::make_unique<QVItemPreviewCntrl>(
        m_outlets.previewServices, m_outlets.collectionPreview, m_outlets.emptyPreviewView,
        ItemPreviewOutlets{
            .prepareToShowPreview = [this] { prepareToShowPreview(); },
            .passKeyToTable = [this](QKeyEvent& event) { return passKeyToTable(event); },
            .rectOfItem = [this](const QVSmartWindowItem& item) { return rectOfItem(item); }});
    m_observations.push_back(m_services.center.observe(
        Key::kSplitViewDidCollapse, [this](const Notification&) { splitViewDidCollapse(); },
        &m_outlets.splitView));
    m_observations.push_back(m_services.center.observe(
        Key::kSplitViewDidUncollapse, [this](const Notification&) { splitViewDidUncollapse(); },
        &m_outlets.splitView));
}

// --- The selection ---

std::shared_ptr<QVPreviewItem> QVListCntrl::previewItem(int index) const {
    const auto item = m_model.itemAt(index);
    return item ? std::make_shared<QVPreviewItem>(item, index) : nullptr;
}

/// Most often a selection grows or shrinks by a row: what is shown at both ends of it already is
/// used again, so that a hundred thousand rows are not made anew at every key.
PreviewItemList QVListCntrl::selectedItemsForPreview() const {
    const std::vector<int> rows = selectedRows(m_outlets.tableView);
    const PreviewItemList& known = m_previewCntrl->shownItems();
    PreviewItemList items(rows.size());
    const auto use = [&](std::size_t at, const std::shared_ptr<QVPreviewItem>& item) {
        if (!item->shows(m_model.itemAt(rows[at]))) return false;
        item->setIndex(rows[at]);
        items[at] = item;
        return true;
    };
    const std::size_t most = std::min(known.size(), rows.size());
    std::size_t front = 0;
    while (front < most && use(front, known[front]))
        ++front;
    std::size_t back = 0;
    while (front + back < most && use(rows.size() - 1 - back, known[known.size() - 1 - back]))
        ++back;
    for (std::size_t at = front; at < rows.size() - back; ++at)
        items[at] = previewItem(rows[at]);
    return items;
}

void QVListCntrl::prepareToShowPreview() {
    if (m_previewCntrl->wantsItems())
        m_previewCntrl->showPreviewWithArray(selectedItemsForPreview());
}

void QVListCntrl::setEmptyPreview() {
    m_previewCntrl->showPreviewWithArray({});
}

/// The rows have still to come; until then the preview shows what was selected when this source was
/// shown last.
void QVListCntrl::showStoredSelection() {
    if (!m_sourceItem) return setEmptyPreview();
    PreviewItemList stored = m_sourceItem->selection;
    std::erase_if(stored, [](const auto& selected) { return !selected->item(); });
    m_previewCntrl->showPreviewWithArray(std::move(stored));
}

void QVListCntrl::splitViewDidCollapse() {
    if (!m_previewCntrl->qlPanelIsVisible()) setEmptyPreview();
    m_previewCntrl->setSplitViewIsCollapsed(true);
}

void QVListCntrl::splitViewDidUncollapse() {
    m_previewCntrl->setSplitViewIsCollapsed(false);
    prepareToShowPreview();
}

bool QVListCntrl::passKeyToTable(const QKeyEvent& event) {
    QKeyEvent copy(event.type(), event.key(), event.modifiers(), event.nativeScanCode(),
                   event.nativeVirtualKey(), event.nativeModifiers(), event.text(),
                   event.isAutoRepeat(), static_cast<quint16>(event.count()));
    QCoreApplication::sendEvent(&m_outlets.tableView, &copy);
    return copy.isAccepted();
}

// --- Where an entry stands ---

std::pair<int, int> QVListCntrl::visibleItemsRange() const {
    const QVContentTableView& table = m_outlets.tableView;
    const QRect names = nameColumn(table);
    const QModelIndex first = table.indexAt(QPoint(names.center().x(), names.top()));
    if (!first.isValid()) return {0, 0};
    const QModelIndex last = table.indexAt(QPoint(names.center().x(), names.bottom()));
    const int end = last.isValid() ? last.row() + 1 : m_model.rowCount();
    return {first.row(), end - first.row()};
}

bool QVListCntrl::isItemVisible(const QVSmartWindowItem& item) const {
    const auto [first, count] = visibleItemsRange();
    for (int row = first; row < first + count; ++row)
        if (m_model.itemAt(row).get() == &item) return true;
    return false;
}

QRect QVListCntrl::rectOfNameColumn() const {
    const QVContentTableView& table = m_outlets.tableView;
    const QRect names = nameColumn(table);
    return {table.viewport()->mapToGlobal(names.topLeft()), names.size()};
}

QRect QVListCntrl::rectOfItem(const QVSmartWindowItem& item) const {
    const QVContentTableView& table = m_outlets.tableView;
    if (!table.isVisible() || !isItemVisible(item)) return {};
    const QModelIndex index = m_model.index(m_model.rowOf(&item), ContentListModel::Name);
    const QRect icon = QVImageAndTextCellView::iconRect(table.visualRect(index), table.iconSize(),
                                                        table.layoutDirection());
    const QRect place(table.viewport()->mapToGlobal(icon.topLeft()), icon.size());
    return place.intersects(rectOfNameColumn()) ? place : QRect();
}

}  // namespace kestrin
