// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVContentTableView.h"

#include <QAccessible>
#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <array>
#include <utility>

#include "format/NameSortKey.h"
#include "smartwindow/ContentListModel.h"
#include "smartwindow/QVCheckButtonCellView.h"
#include "smartwindow/QVDateCellView.h"
#include "smartwindow/QVImageAndTextCellView.h"
#include "smartwindow/QVTableHeaderCntrl.h"

namespace kestrin {
namespace {

// So many names are looked at in a few milliseconds, also where each is in memory of its own.
constexpr int kRowsAtOnce = 20000;
constexpr double kFrameRadius = 4;

/// The part of a sort key that says which letters a text has; case and accents follow it.
std::string letters(const std::string& key) {
    return key.substr(0, key.find('\x01'));
}

bool movesByRows(const QKeyEvent& event) {
    if ((event.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier) return false;
    constexpr std::array kKeys{Qt::Key_Up,  Qt::Key_Down,   Qt::Key_Home,
                               Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown};
    return std::ranges::find(kKeys, event.key()) != kKeys.end();
}

}  // namespace

QVContentTableView::QVContentTableView(const QVDateUtilities& dates, QWidget* parent)
    : QTreeView(parent) {
    m_header = new QVTableHeaderCntrl(this);
    setHeader(m_header);
    m_header->setSortIndicator(ContentListModel::Name, Qt::AscendingOrder);
    setSortingEnabled(true);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setExpandsOnDoubleClick(false);
    setUniformRowHeights(true);
    setAlternatingRowColors(true);
    setEditTriggers(NoEditTriggers);
    setSelectionMode(ExtendedSelection);
    setSelectionBehavior(SelectRows);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollMode(ScrollPerPixel);
    const int side = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    setIconSize(QSize(side, side));
    setItemDelegate(new ContentCell(this));
    setItemDelegateForColumn(ContentListModel::Check, new QVCheckButtonCellView(this));
    setItemDelegateForColumn(ContentListModel::Name, new QVImageAndTextCellView(this));
    setItemDelegateForColumn(ContentListModel::DateAdded, new QVDateCellView(dates, this));
}

void QVContentTableView::setContentModel(ContentListModel& model) {
    m_model = &model;
    setModel(&model);
}

// --- Checks ---

/// Whether a check box was hit, which a release at the same place changes.
bool QVContentTableView::beginCheck(QMouseEvent& event) {
    const QModelIndex index = indexAt(event.position().toPoint());
    const bool isHit =
        event.button() == Qt::LeftButton && index.column() == ContentListModel::Check;
    m_pressedCheck = isHit && m_model ? m_model->itemAt(index.row()) : nullptr;
    return isHit;
}

void QVContentTableView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::RightButton || beginCheck(*event)) return;
    QTreeView::mousePressEvent(event);
}

void QVContentTableView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::RightButton || beginCheck(*event)) return;
    QTreeView::mouseDoubleClickEvent(event);
}

void QVContentTableView::mouseMoveEvent(QMouseEvent* event) {
    if (m_pressedCheck || event->buttons().testFlag(Qt::RightButton)) return;
    QTreeView::mouseMoveEvent(event);
}

void QVContentTableView::mouseReleaseEvent(QMouseEvent* event) {
    const auto pressed = std::exchange(m_pressedCheck, nullptr);
    if (!pressed || !m_model) return QTreeView::mouseReleaseEvent(event);
    const QModelIndex index = indexAt(event->position().toPoint());
    if (index.column() != ContentListModel::Check || m_model->itemAt(index.row()) != pressed)
        return;
    m_model->setData(index, pressed->isMarked ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
}

/// Tells assistive tools when the mark of the row that they are at may have changed.
void QVContentTableView::dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                                     const QList<int>& roles) {
    QTreeView::dataChanged(topLeft, bottomRight, roles);
    const QModelIndex current = currentIndex();
    const bool isCurrent = hasFocus() && current.isValid() && topLeft.row() <= current.row() &&
                           current.row() <= bottomRight.row();
    if (!isCurrent || topLeft.column() > ContentListModel::Check || !QAccessible::isActive())
        return;
    QAccessible::State changed;
    changed.checked = true;
    QAccessibleStateChangeEvent event(this, changed);
    // Cells are counted row by row, the header being the first.
    event.setChild((current.row() + 1) * ContentListModel::ColumnCount + current.column());
    QAccessible::updateAccessibility(&event);
}

// --- Keys ---

void QVContentTableView::keyPressEvent(QKeyEvent* event) {
    const bool isSpace = event->key() == Qt::Key_Space;
    if (isSpace && event->isAutoRepeat()) return;
    if (isSpace && event->modifiers() == Qt::ControlModifier) return checkToggled();
    if (isSpace) return spacePressed();
    if (event->matches(QKeySequence::Copy)) return copyRequested();
    const QModelIndex former = currentIndex();
    QTreeView::keyPressEvent(event);
    // A list that gets the keyboard is at its first row, which is not selected by that. A key that
    // leads no further selects it, or that of a single row could not be.
    const bool leadsNowhere = movesByRows(*event) && former.isValid() && former == currentIndex();
    if (leadsNowhere && !selectionModel()->hasSelection()) setCurrentIndex(former);
}

void QVContentTableView::selectAll() {
    if (!m_model || m_model->rowCount() == 0) return;
    selectionModel()->select(
        QItemSelection(m_model->index(0, 0),
                       m_model->index(m_model->rowCount() - 1, m_model->columnCount() - 1)),
        QItemSelectionModel::ClearAndSelect);
}

void QVContentTableView::keyboardSearch(const QString& text) {
    if (!m_model || text.isEmpty() || text.contains(u' ')) return;
    const bool goesOn =
        m_lastTyped.isValid() && m_lastTyped.elapsed() <= QApplication::keyboardInputInterval();
    m_lastTyped.start();
    // One key again and again goes from one such name to the next.
    const bool isRepeated = goesOn && m_typed == text;
    if (!isRepeated) m_typed = goesOn ? m_typed + text : text;
    m_prefix = letters(nameSortKey(m_typed.toStdString()));
    if (m_prefix.empty()) return;
    const bool staysHere = m_typed.size() > text.size();
    m_nextRow = std::max(0, currentIndex().row() + (staysHere ? 0 : 1));
    m_rowsLeft = m_model->rowCount();
    searchOn();
}

/// Looks at some rows; the others have their turn when the event loop has.
void QVContentTableView::searchOn() {
    m_search.stop();
    const int rows = m_model ? m_model->rowCount() : 0;
    for (int looks = 0; m_rowsLeft > 0 && rows > 0; --m_rowsLeft, ++m_nextRow, ++looks) {
        if (looks == kRowsAtOnce) return m_search.start(0, this);
        const int row = m_nextRow % rows;
        if (m_model->itemAt(row)->nameKey.starts_with(m_prefix))
            return setCurrentIndex(m_model->index(row, ContentListModel::Name));
    }
}

void QVContentTableView::timerEvent(QTimerEvent* event) {
    if (event->timerId() != m_search.timerId()) return QTreeView::timerEvent(event);
    searchOn();
}

// --- The menu, and what it acts on ---

void QVContentTableView::contextMenuEvent(QContextMenuEvent* event) {
    const bool isByKey = event->reason() == QContextMenuEvent::Keyboard;
    const bool hasSelection = selectionModel() && selectionModel()->hasSelection();
    const QModelIndex keyed = hasSelection ? QModelIndex() : currentIndex();
    const QModelIndex clicked = isByKey ? keyed : indexAt(event->pos());
    if (!clicked.isValid() && !hasSelection) return;
    if (isByKey) scrollTo(currentIndex());
    Q_EMIT contextMenuRequested(clicked, isByKey ? keyboardMenuPosition() : event->globalPos());
}

/// At the name of the current row, where it can be seen.
QPoint QVContentTableView::keyboardMenuPosition() const {
    const QModelIndex current = currentIndex().siblingAtColumn(ContentListModel::Name);
    const QRect row = visualRect(current).intersected(viewport()->rect());
    const bool isRightToLeft = layoutDirection() == Qt::RightToLeft;
    return viewport()->mapToGlobal(isRightToLeft ? row.bottomRight() : row.bottomLeft());
}

void QVContentTableView::beginTargets(const QModelIndex& clicked) {
    m_hasTargets = true;
    m_clicked = clicked.isValid() ? m_model->itemAt(clicked.row()) : nullptr;
    viewport()->update();
}

void QVContentTableView::endTargets() {
    m_hasTargets = false;
    m_clicked = nullptr;
    viewport()->update();
}

bool QVContentTableView::isTarget(const QModelIndex& index) const {
    return m_hasTargets && (selectionModel()->isSelected(index) ||
                            (m_clicked && m_model->itemAt(index.row()) == m_clicked));
}

/// The frame goes around the whole row, of which the base draws one cell anew.
void QVContentTableView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QTreeView::currentChanged(current, previous);
    for (const QModelIndex& index : {current, previous}) {
        const QRect cell = visualRect(index);
        if (cell.isValid()) viewport()->update(0, cell.y(), viewport()->width(), cell.height());
    }
}

void QVContentTableView::drawRow(QPainter* painter, const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const {
    QTreeView::drawRow(painter, option, index);
    const bool isCurrent = hasFocus() && index.row() == currentIndex().row();
    const bool isFramed = isTarget(index);
    if (!isCurrent && !isFramed) return;
    // Styles draw the focus so faintly that nobody who goes by the keyboard finds it.
    const bool isSelected = selectionModel()->isSelected(index);
    QColor color = palette().color(isSelected ? QPalette::HighlightedText : QPalette::Highlight);
    if (isSelected && !isFramed) color.setAlphaF(0.6F);
    const double width = isFramed ? 2 : 1;
    const double inset = width / 2 + 1;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(color, width));
    painter->setBrush(Qt::NoBrush);
    painter->drawRoundedRect(QRectF(0, option.rect.y(), viewport()->width(), option.rect.height())
                                 .adjusted(inset, inset, -inset, -inset),
                             kFrameRadius, kFrameRadius);
    painter->restore();
}

}  // namespace kestrin
