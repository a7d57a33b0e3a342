// SPDX-License-Identifier: GPL-3.0-or-later
// The cell with an entry's icon, its name and where it was. Main thread.
#pragma once

#include "smartwindow/ContentCell.h"

namespace kestrin {

/// Draws the icon, the name, and behind it the original folder, fainter. A name that is too long is
/// cut in its middle, so that its extension stays; the folder has the room that the name leaves,
/// shows its end there, and is left out where that is too little. An entry that is hidden is faint.
class QVImageAndTextCellView : public ContentCell {
    Q_OBJECT

 public:
    using ContentCell::ContentCell;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

 private:
    static void paintFolder(QPainter& painter, const QStyleOptionViewItem& option,
                            const QRect& texts, int nameWidth, const QModelIndex& index);
};

}  // namespace kestrin
