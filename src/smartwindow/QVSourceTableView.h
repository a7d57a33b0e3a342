// SPDX-License-Identifier: GPL-3.0-or-later
// The list of the trashes, one row a volume. Main thread.
#pragma once

#include <QListView>

namespace kestrin {

/// A list that keeps one row selected once there is one: a click on no row changes nothing. A line
/// is drawn under every row but the last. Rows that cannot be selected are passed over.
class QVSourceTableView : public QListView {
    Q_OBJECT

 public:
    explicit QVSourceTableView(QWidget* parent = nullptr);

    /// Leaves room for all columns of the list in a window of the first size.
    QSize sizeHint() const override { return {224, 360}; }

 Q_SIGNALS:
    /// A menu is wanted for a row that can be used, at a place on the screen.
    void contextMenuRequested(const QModelIndex& row, const QPoint& globalPosition);

 protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                         const QEvent* event) const override;
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace kestrin
