// SPDX-License-Identifier: GPL-3.0-or-later
// The cell with a check box. Main thread.
#pragma once

#include "smartwindow/ContentCell.h"

namespace kestrin {

/// Draws a check box in the middle, on or off as Qt::CheckStateRole says. The view turns clicks
/// into changes.
class QVCheckButtonCellView : public ContentCell {
    Q_OBJECT

 public:
    using ContentCell::ContentCell;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
};

}  // namespace kestrin
