// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVSourceTableView.h"

#include <QContextMenuEvent>
#include <QPainter>
#include <QStyle>

namespace kestrin {

QVSourceTableView::QVSourceTableView(QWidget* parent) : QListView(parent) {
    setSelectionMode(QAbstractItemView::SingleSelection);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setUniformItemSizes(true);
}

/// The Control key would take the selection from the row.
QItemSelectionModel::SelectionFlags QVSourceTableView::selectionCommand(const QModelIndex& index,
                                                                        const QEvent* event) const {
    const auto flags = QListView::selectionCommand(index, event);
    const bool takesAway =
        flags.testAnyFlags({QItemSelectionModel::Deselect, QItemSelectionModel::Toggle});
    if (takesAway || (!index.isValid() && flags.testFlag(QItemSelectionModel::Clear)))
        return QItemSelectionModel::NoUpdate;
    return flags;
}

void QVSourceTableView::contextMenuEvent(QContextMenuEvent* event) {
    const bool isByKeyboard = event->reason() == QContextMenuEvent::Keyboard;
    const QModelIndex row = isByKeyboard ? currentIndex() : indexAt(event->pos());
    if (!row.isValid() || !row.flags().testFlag(Qt::ItemIsEnabled)) return;
    const QPoint place =
        isByKeyboard ? viewport()->mapToGlobal(visualRect(row).center()) : event->globalPos();
    Q_EMIT contextMenuRequested(row, place);
}

void QVSourceTableView::paintEvent(QPaintEvent* event) {
    QListView::paintEvent(event);
    if (!model()) return;
    QPainter painter(viewport());
    QColor line = palette().color(QPalette::Text);
    line.setAlphaF(0.15F);
    for (int row = 0; row + 1 < model()->rowCount(rootIndex()); ++row) {
        const QRect rect = visualRect(model()->index(row, modelColumn(), rootIndex()));
        painter.fillRect(QRect(rect.left(), rect.bottom(), rect.width(), 1), line);
    }
}

}  // namespace kestrin
