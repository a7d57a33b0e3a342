// SPDX-License-Identifier: GPL-3.0-or-later
// The cell with an entry's icon, its name and where it was. Main thread.
#pragma once

#include <QImage>
#include <map>
#include <utility>

#include "smartwindow/ContentCell.h"

namespace kestrin {

/// Draws the icon, the name, behind it the badge of its label, and then the original folder,
/// fainter. A name that is too long is cut in its middle, so that its extension stays; the folder
/// has the room that the name leaves, shows its end there, and is left out where that is too
/// little. An entry that is hidden is faint.
class QVImageAndTextCellView : public ContentCell {
    Q_OBJECT

 public:
    using ContentCell::ContentCell;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    /// Where an icon of that size lies in a cell.
    static QRect iconRect(const QRect& cell, QSize iconSize, Qt::LayoutDirection direction);

 private:
    /// Draws the badge behind a name of that width, or where it is cut for it; returns the width
    /// that both take.
    int paintLabel(QPainter& painter, const QStyleOptionViewItem& option, const QRect& texts,
                   int nameWidth, int label) const;
    static void paintFolder(QPainter& painter, const QStyleOptionViewItem& option,
                            const QRect& texts, int nameWidth, const QModelIndex& index);

    mutable std::map<std::pair<int, double>, QImage> m_badges;  ///< by label and pixels a point
};

}  // namespace kestrin
