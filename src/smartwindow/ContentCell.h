// SPDX-License-Identifier: GPL-3.0-or-later
// What the cells of the content list share. Main thread.
#pragma once

#include <QStyledItemDelegate>

namespace kestrin {

/// A cell with one line of text: Qt::DisplayRole at the edge that Qt::TextAlignmentRole names, the
/// leading one by default. It is faint where the model gives a Qt::ForegroundRole. Painting asks
/// the model alone.
class ContentCell : public QStyledItemDelegate {
    Q_OBJECT

 public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    /// As wide as the text; all rows are equally high.
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    static constexpr int kMargin = 6;  ///< points between the edges of a cell and what is in it

 protected:
    /// What the cell shows as text; sizeHint leaves room for it.
    virtual QString text(const QStyleOptionViewItem& option, const QModelIndex& index) const;
    /// Draws the ground of a selected row, or of one under the pointer, as the style does.
    static void paintGround(QPainter& painter, const QStyleOptionViewItem& option);
    /// The colour of a text on that ground.
    static QColor textColor(const QStyleOptionViewItem& option, bool isFaint);
    /// The part of the cell that is left for what it shows.
    static QRect contentRect(const QStyleOptionViewItem& option);
    /// Draws `line` in `place`, cut as `mode` says. It begins at the leading edge of the layout
    /// (or ends at the trailing one), and reads in the direction of its own script.
    static void drawLine(QPainter& painter, const QRect& place, const QString& line,
                         Qt::TextElideMode mode, Qt::Alignment alignment = Qt::AlignLeading);
};

}  // namespace kestrin
